// The error with arguments. Each argument is a variant, and the index of the variant is the number by which callers know the
// argument's type.
#include "ZerlithCore/foundation/KZDouble.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/messages/KZFormatContext.h"
#include "ZerlithCore/time/KZDateTime.h"

#include <type_traits>
#include <variant>

namespace {

using Argument = std::variant<std::monostate, double, int, long, KZString, KZDateTime, KZDouble>;

template <std::size_t Type, class T>
constexpr bool holds = std::is_same_v<std::variant_alternative_t<Type, Argument>, T>;
static_assert(holds<KZErrorI::ParamNone, std::monostate> && holds<KZErrorI::ParamDouble, double> &&
              holds<KZErrorI::ParamInt, int> && holds<KZErrorI::ParamLong, long> &&
              holds<KZErrorI::ParamString, KZString> && holds<KZErrorI::ParamDateTime, KZDateTime> &&
              holds<KZErrorI::ParamKZDouble, KZDouble>);

KZString Formatted(char16_t const * format, auto value) {
    KZString text;
    text.Format(format, value);
    return text;
}

// Makes the text of a value. There is one overload for each type.
struct Printer {
    KZString const & dateFormat;

    KZString operator()(std::monostate) const { return {}; }
    KZString operator()(double value) const { return Formatted(u"%f", value); }
    KZString operator()(int value) const { return Formatted(u"%d", value); }
    KZString operator()(long value) const { return Formatted(u"%ld", value); }
    KZString operator()(KZString const & value) const { return value; }
    KZString operator()(KZDateTime const & value) const {
        return dateFormat.IsNull() ? value.AsString() : value.AsString(dateFormat);
    }
    KZString operator()(KZDouble const & value) const { return Formatted(u"%f", double{value}); }
};

} // namespace

struct KZErrorWithArgs::Storage {
    Argument value;
};

KZErrorWithArgs::KZErrorWithArgs(KZSmartPtrToConst<KZMessageSource> const & source, long code,
                                 Severity severity)
    : KZCounted(source, code, severity) {}

KZErrorWithArgs::KZErrorWithArgs(KZErrorWithArgs const & other) = default;

KZErrorWithArgs & KZErrorWithArgs::operator=(KZErrorWithArgs const & other) = default;

KZErrorWithArgs::~KZErrorWithArgs() = default;

int KZErrorWithArgs::GetIUID() const { return Iuid; }

KZSmartPtr<KZObjectI> KZErrorWithArgs::QueryInterface(int iuid) const {
    return KZObjectI::QueryInterface(iuid);
}

KZErrorID KZErrorWithArgs::AsString(KZString & out, KZFormatContext const & context) const {
    return GetFormatter()->AsString(out, KZSmartPtrToConst<KZErrorI>(this), context);
}

unsigned int KZErrorWithArgs::GetParameterCount() const { return static_cast<unsigned int>(params_.size()); }

KZErrorI::ErrorParamType KZErrorWithArgs::GetParameterType(unsigned int index) const {
    return index < params_.size() ? static_cast<ErrorParamType>(params_[index].value.index()) : ParamNone;
}

void const * KZErrorWithArgs::GetParameterValue(unsigned int index) const {
    if (index >= params_.size()) return nullptr;
    return std::visit([](auto const & value) -> void const * { return &value; }, params_[index].value);
}

KZString KZErrorWithArgs::GetParameterValueAsString(unsigned int index, KZExecContext const & context) const {
    if (index >= params_.size()) return {};
    return std::visit(Printer{context.GetFormatContext().GetDateFormat()}, params_[index].value);
}

// A KZDouble is copied when it is stored and when it is returned, and each copy may set a tiny value to 0.
template <class T>
unsigned int KZErrorWithArgs::Append(T const & value) {
    params_.push_back(Storage{value});
    return static_cast<unsigned int>(params_.size() - 1);
}

unsigned int KZErrorWithArgs::AddParam(double const & value) { return Append(value); }
unsigned int KZErrorWithArgs::AddParam(int const & value) { return Append(value); }
unsigned int KZErrorWithArgs::AddParam(long const & value) { return Append(value); }
unsigned int KZErrorWithArgs::AddParam(KZString const & value) { return Append(value); }
unsigned int KZErrorWithArgs::AddParam(KZDateTime const & value) { return Append(value); }
unsigned int KZErrorWithArgs::AddParam(KZDouble const & value) { return Append(value); }

template <class T>
bool KZErrorWithArgs::Get(T & out, unsigned int index) const {
    T const * const value = index < params_.size() ? std::get_if<T>(&params_[index].value) : nullptr;
    if (value) out = *value;
    return value != nullptr;
}

bool KZErrorWithArgs::GetParam(double & out, unsigned int index) const { return Get(out, index); }
bool KZErrorWithArgs::GetParam(int & out, unsigned int index) const { return Get(out, index); }
bool KZErrorWithArgs::GetParam(long & out, unsigned int index) const { return Get(out, index); }
bool KZErrorWithArgs::GetParam(KZString & out, unsigned int index) const { return Get(out, index); }
bool KZErrorWithArgs::GetParam(KZDateTime & out, unsigned int index) const { return Get(out, index); }
bool KZErrorWithArgs::GetParam(KZDouble & out, unsigned int index) const { return Get(out, index); }
