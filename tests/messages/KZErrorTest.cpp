#include "ZerlithCore/messages/KZError.h"

#include "ZerlithCore/errors/KZException.h"
#include "ZerlithCore/foundation/KZDouble.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/messages/MSGLibMessageSource.h"
#include "ZerlithCore/time/KZDateTime.h"
#include "ZerlithCore/time/KZTimeZone.h"
#include "foundation/EndsWithItsLastHandle.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace {

// A static object of a program may make an error before main.
KZString const textBeforeMain = KZErrorID(new KZError(glbKZOREMsgSourceP, 15)).AsString();

// In local time, in which it is also printed.
KZDateTime const birthday = KZString(u"1971/01/01 00:00:00").AsKZDateTime();

KZSmartPtr<KZInRAMMessageSource> Source() {
    KZSmartPtr<KZInRAMMessageSource> const source(new KZInRAMMessageSource);
    source->Add(0, u"all is well");
    source->Add(5, u"%0:s|%1:s|%2:s|%3:s|%4:s|%5:s");
    return source;
}

// An error with one argument of each type, in the order of the types.
KZErrorWithArgs * EveryType() {
    auto * const error = new KZErrorWithArgs(Source(), 5);
    error->AddParam(1.5);
    error->AddParam(-2);
    error->AddParam(3L);
    error->AddParam(KZString(u"text"));
    error->AddParam(birthday);
    EXPECT_EQ(error->AddParam(KZDouble(0.25)), 5U);
    return error;
}

TEST(KZErrorID, IsSuccessWhenNullOrCodeZero) {
    for (KZErrorID const & id : {KZErrorID(0), KZErrorID(), KZErrorID(KZErrorID::Success)}) {
        EXPECT_TRUE(id.Good() && id.IsSuccess() && !id.Bad());
        EXPECT_EQ(id, 0);
        EXPECT_EQ(id.AsString(), u"SUCCESS");
    }
    KZErrorID id(new KZError(Source(), 0));
    EXPECT_TRUE(id.Good());
    EXPECT_EQ(id.AsString(), u"all is well");
    id = KZErrorID(new KZErrorString(u"broken"));
    EXPECT_TRUE(id.Bad());
    EXPECT_EQ(id, -1);
    EXPECT_EQ(id.AsString(), u"broken");
    struct Plain : KZErrorString {};
    EXPECT_TRUE(KZErrorID(new Plain).Good());
    id = KZErrorID::Success;
    EXPECT_TRUE(id.Good());
}

TEST(KZError, EndsWithItsLastHandle) {
    KZSmartPtrToConst<KZMessageSource> const source = Source();
    EXPECT_TRUE(EndsWithItsLastHandle<KZError>(source, 1L) &&
                EndsWithItsLastHandle<KZErrorWithArgs>(source, 1L));
    EXPECT_TRUE(EndsWithItsLastHandle<KZErrorString>(u"") && EndsWithItsLastHandle<KZInRAMMessageSource>());
    EXPECT_TRUE(EndsWithItsLastHandle<RCMessageTableSource>(nullptr));
    EXPECT_TRUE(EndsWithItsLastHandle<MSGLibMessageSource>(u"", u"", nullptr));
}

TEST(KZError, ServesItsInterfaces) {
    KZSmartPtr<KZErrorI> const plain(new KZError(Source(), 0)), rich(new KZErrorWithArgs(Source(), 0)),
        fixed(new KZErrorString(u""));
    std::pair<KZSmartPtr<KZErrorI>, std::vector<int>> const cases[] = {
        {plain, {3, 8}}, {rich, {9}}, {fixed, {3}}};
    for (auto const & [error, served] : cases) {
        EXPECT_EQ(error->GetIUID(), served.front());
        for (int const iuid : {0, 3, 4, 8, 9})
            EXPECT_EQ(error->IsKindOf(iuid), std::count(served.begin(), served.end(), iuid) == 1) << iuid;
    }
}

TEST(KZErrorWithArgs, GivesEachArgumentAsItsOwnTypeOnly) {
    KZSmartPtr<KZErrorWithArgs> const error(EveryType());
    double real = 0;
    int number = 7;
    long wide = 0;
    KZString text;
    KZDateTime date;
    KZDouble small;
    for (unsigned int i = 0; i < 7; ++i) {
        KZErrorI::ErrorParamType const type = error->GetParameterType(i);
        EXPECT_EQ(type, i < 6 ? static_cast<int>(i) + 1 : 0);
        EXPECT_EQ(error->GetParameterValue(i) != nullptr, i < 6);
        EXPECT_EQ(error->GetParam(real, i), type == KZErrorI::ParamDouble) << i;
        EXPECT_EQ(error->GetParam(number, i), type == KZErrorI::ParamInt) << i;
        EXPECT_EQ(error->GetParam(wide, i), type == KZErrorI::ParamLong) << i;
        EXPECT_EQ(error->GetParam(text, i), type == KZErrorI::ParamString) << i;
        EXPECT_EQ(error->GetParam(date, i), type == KZErrorI::ParamDateTime) << i;
        EXPECT_EQ(error->GetParam(small, i), type == KZErrorI::ParamKZDouble) << i;
    }
    EXPECT_EQ(real, 1.5);
    EXPECT_EQ(number, -2) << "untouched by the indexes that aren't its own";
    EXPECT_EQ(text, u"text");
    EXPECT_EQ(date, birthday);
    EXPECT_EQ(*static_cast<int const *>(error->GetParameterValue(1)), -2);
}

TEST(KZErrorWithArgs, CopiesOwnTheirArgumentsAndTellThem) {
    KZSmartPtr<KZErrorWithArgs> copy;
    {
        KZSmartPtr<KZErrorWithArgs> const error(EveryType());
        copy = new KZErrorWithArgs(*error);
        EXPECT_EQ(copy->NbRef(), 1UL);
        EXPECT_EQ(copy->KZError::NbRef(), 0UL) << "the count of the base stays unused";
        EXPECT_NE(copy->GetParameterValue(3), error->GetParameterValue(3));
        *error = *error;
        KZErrorWithArgs other(Source(), 9);
        other.AddParam(1);
        other = *error;
        EXPECT_EQ(other.GetParameterCount(), 6U);
    }
    KZErrorID const id(copy.GetPtr());
    EXPECT_EQ(id.AsString(), u"1.500000|-2|3|text|1971/01/01 00:00:00|0.250000");
    KZString text;
    EXPECT_TRUE(id->AsString(text, KZFormatContext(u"enu", u"%d.%m.%Y")).Good());
    EXPECT_EQ(text, u"1.500000|-2|3|text|01.01.1971|0.250000");
    KZTimeZoneInfo info;
    info.bias = 210;
    KZTimeZone const zone(info, false);
    EXPECT_EQ(KZFormatContext(u"", u"", zone).GetTimeZone(), zone);
    EXPECT_EQ(KZFormatContext().GetTimeZone(), KZTimeZone::GetUTCTimeZone());
}

TEST(KZErrorWithArgs, DropsSmallNumbersOnTheWayInAndOut) {
    KZSmartPtr<KZErrorWithArgs> const error(new KZErrorWithArgs(Source(), 5));
    KZDouble const tiny(1e-12);
    error->AddParam(tiny);
    KZDouble::zeroValueOnAssign = true;
    error->AddParam(tiny);
    KZDouble out(1.0);
    EXPECT_TRUE(error->GetParam(out, 0));
    KZDouble::zeroValueOnAssign = false;
    EXPECT_EQ(double{out}, 0.0);
    EXPECT_EQ(double{*static_cast<KZDouble const *>(error->GetParameterValue(0))}, 1e-12);
    EXPECT_EQ(double{*static_cast<KZDouble const *>(error->GetParameterValue(1))}, 0.0);
}

TEST(KZMsgException, SaysWhatTheSourceSays) {
    EXPECT_STREQ(KZMsgException(0, KZSmartPtr<KZMessageSource>(Source().GetPtr())).what(), "all is well");
    EXPECT_STREQ(KZMsgException(7, nullptr).what(), "");
}

TEST(OwnMessages, AreThereBeforeMain) {
    EXPECT_EQ(textBeforeMain, u"The thread is already started.");
    for (long code = 1; code <= 18; ++code)
        EXPECT_EQ(KZErrorID(new KZError(glbKZOREMsgSourceP, code)).AsString().IsNull(), code == 18) << code;
}

} // namespace
