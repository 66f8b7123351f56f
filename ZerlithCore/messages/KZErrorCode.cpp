#include "ZerlithCore/messages/KZErrorCode.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/messages/KZError.h"
#include "ZerlithCore/platform/LastError.h"

#include <string>

namespace {

// Numbers from here on stand for texts that have no number of the system's; see `KZPlatform::SetLastErrorText`.
constexpr int firstPrivateNumber = 0x20000000;

class Category final : public std::error_category {
public:
    char const * name() const noexcept override { return "ZerlithCore"; }
    std::string message(int code) const override {
        if (code >= firstPrivateNumber)
            if (auto const text = KZPlatform::ErrorText(code))
                return KZString(std::u16string_view(*text)).AsUTF8();
        return "error " + std::to_string(code);
    }
};

KZErrorID SystemError(int number) {
    KZPlatform::SetLastErrorNumber(number);
    return new KZWinLastError;
}

} // namespace

// Never destroyed, since destructors of static objects may hold error codes.
std::error_category const & KZErrorCategory() {
    static Category const & category = *new Category;
    return category;
}

std::error_code KZToErrorCode(KZErrorID const & error) {
    if (error.Good()) return {};
    int const code = error;
    bool const isSystems =
        dynamic_cast<KZWinLastError const *>(&*error.operator->()) && code < firstPrivateNumber;
    return {code, isSystems ? std::system_category() : KZErrorCategory()};
}

KZErrorID KZFromErrorCode(std::error_code const & code) {
    if (!code) return {};
    if (code.category() == std::system_category() || code.category() == std::generic_category())
        return SystemError(code.value());
    if (code.category() != KZErrorCategory()) {
        KZString text;
        static_cast<void>(text.SetFromUTF8(std::string(code.category().name()) + ": " + code.message()));
        return new KZErrorString(text);
    }
    if (code.value() >= firstPrivateNumber) return SystemError(code.value());
    return new KZError(glbKZOREMsgSourceP, code.value());
}
