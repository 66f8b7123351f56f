// Helpers for the tests of documents.
#pragma once

#include "ZerlithCore/platform/libxml2/Limits.h"
#include "ZerlithCore/xml/KZDOMDocument.h"
#include "ZerlithCore/xml/KZDOMException.h"
#include "ZerlithCore/xml/KZDOMNodeList.h"

#include <gtest/gtest.h>

/// Parses `text`; the test fails if that fails.
inline KZDOMDocument Parsed(KZString const & text) {
    KZDOMDocument document = KZDOMDocument::Create();
    EXPECT_TRUE(document.Load(text)) << text.AsUTF8() << ": "
                                     << document.GetLastParseError().GetReason().AsUTF8();
    return document;
}

/// While an object of this class exists, the limits on work are a fiftieth of the usual ones.
class LowLimits {
public:
    LowLimits() {
        KZPlatform::LibXml2::Limits & now = KZPlatform::LibXml2::CurrentLimits();
        now.pathWork /= 50;
        now.transformationWork /= 50;
        now.instructions /= 50;
        now.movedBytes /= 50;
        now.nameComparisons /= 50;
    }
    ~LowLimits() { KZPlatform::LibXml2::CurrentLimits() = {}; }
    LowLimits(LowLimits const &) = delete;
    LowLimits & operator=(LowLimits const &) = delete;
};

/// Parses `text` and prints the document.
inline std::string Formatted(KZDOMNode const & node, unsigned level = 0, bool closeFlush = true,
                             unsigned step = 2) {
    KZString out;
    node.Format(out, level, closeFlush, step);
    return out.AsUTF8();
}

/// The result code of the KZDOMException that `action` throws; 0 when it throws none.
template <class Action>
std::int32_t CodeOf(Action action) {
    try {
        action();
    } catch (KZDOMException const & exception) {
        EXPECT_NE(*exception.What(), u'\0');
        EXPECT_FALSE(exception.GetInterfaceId().IsNull());
        return exception.GetResultCode();
    }
    return 0;
}

inline KZString Repeated(KZString const & text, int count) {
    KZString all;
    for (int i = 0; i < count; ++i) all += text;
    return all;
}
