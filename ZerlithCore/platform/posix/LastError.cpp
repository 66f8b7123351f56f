// Error numbers are those of errno, and their texts come from the C library. A text without a number is stored in a
// ring buffer of the whole process and not of the thread, because an error object may ask for its text later and on
// another thread.
//
// A text with serial number n is stored in slot n % 256 and has the error number 0x20000000 + n. When the ring is
// full, the oldest text is replaced, and its number then has no text.
#include "ZerlithCore/platform/LastError.h"

#include "ZerlithCore/encoding/Utf8.h"
#include "ZerlithCore/platform/Language.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <locale.h>
#include <mutex>

namespace KZPlatform {

namespace {

thread_local int lastError = 0;

// Far above the numbers of errno. After `privateNumbers` texts the numbers start again.
constexpr unsigned firstPrivateNumber = 0x20000000U;
constexpr unsigned privateNumbers = 0x10000000U;

class PrivateTexts {
public:
    int NumberOf(std::u16string_view text) {
        std::lock_guard const lock(mutex_);
        auto const found = std::find(texts_.begin(), texts_.end(), text);
        if (found != texts_.end() && !text.empty()) {
            auto const slot = static_cast<unsigned>(found - texts_.begin());
            return Number(next_ - 1 - (next_ - 1 - slot) % kept);
        }
        texts_[next_ % kept] = text;
        return Number(next_++);
    }

    std::optional<std::u16string> Text(int number) {
        std::lock_guard const lock(mutex_);
        unsigned const age = (next_ - 1 - static_cast<unsigned>(number)) % privateNumbers;
        if (age >= std::min(next_, kept)) return std::nullopt;
        return texts_[(next_ - 1 - age) % kept];
    }

private:
    static constexpr unsigned kept = 256;

    static int Number(unsigned serial) noexcept {
        return static_cast<int>(firstPrivateNumber + serial % privateNumbers);
    }

    std::mutex mutex_;
    std::array<std::u16string, kept> texts_;
    unsigned next_ = 0;
};

PrivateTexts & Texts() {
    static PrivateTexts texts;
    return texts;
}

bool IsPrivate(int number) noexcept {
    return number >= 0 && static_cast<unsigned>(number) - firstPrivateNumber < privateNumbers;
}

// The texts of the C library are English, so English needs no locale.
bool IsEnglish(long language) noexcept { return ((language ^ englishLanguage) & 0x3FF) == 0; }

// A locale for messages. Where the system lacks it, the texts are English.
class MessageLocale {
public:
    explicit MessageLocale(char const * name) noexcept
        : locale_(newlocale(LC_MESSAGES_MASK | LC_CTYPE_MASK, name, nullptr)) {}
    ~MessageLocale() {
        if (locale_) freelocale(locale_);
    }
    MessageLocale(MessageLocale const &) = delete;
    MessageLocale & operator=(MessageLocale const &) = delete;

    char const * Text(int number) const noexcept {
        return locale_ ? strerror_l(number, locale_) : strerrordesc_np(number);
    }

private:
    locale_t locale_;
};

} // namespace

int LastErrorNumber() noexcept { return lastError; }

void SetLastErrorNumber(int number) noexcept { lastError = number; }

void SetLastErrorText(std::u16string_view text) { lastError = Texts().NumberOf(text); }

std::optional<std::u16string> ErrorText(int number, long language) {
    if (IsPrivate(number)) return Texts().Text(number);
    if (!strerrordesc_np(number)) return std::nullopt;
    long const wanted = IsNeutralLanguage(language) ? ThreadLanguage() : language;
    if (IsEnglish(wanted))
        return KZEncoding::Utf8ToUnits(strerrordesc_np(number), KZEncoding::Utf8Mode::Replace);
    return KZEncoding::Utf8ToUnits(MessageLocale(LocaleOfLanguage(wanted)).Text(number),
                                   KZEncoding::Utf8Mode::Replace);
}

} // namespace KZPlatform
