// Prints descriptions of options in two columns, with the text wrapped at blanks.
#include "ZerlithCore/app/KZUsageInfo.h"

#include "ZerlithCore/errors/KZErrorID.h"
#include "ZerlithCore/text/detail/KZWriteUnits.h"

#include <ostream>
#include <string_view>

namespace {

constexpr std::size_t optionWidth = 20;
constexpr std::size_t descriptionWidth = 54;
constexpr std::size_t bannerWidth = 78;

KZString FromNarrow(char const * text) {
    KZString string;
    if (text) static_cast<void>(string.SetFromUTF8(text));
    return string;
}

std::u16string Padded(std::u16string_view text, std::size_t width) {
    std::u16string padded(text);
    if (padded.size() < width) padded.resize(width, u' ');
    return padded;
}

/// Removes the next line from `rest` and returns it: the whole rest if it fits, otherwise the text up to the last blank at which
/// the line fits. A word that is too long is cut.
std::u16string_view TakeLine(std::u16string_view & rest) {
    bool const fits = rest.size() <= descriptionWidth;
    std::size_t const blank = fits ? std::u16string_view::npos : rest.rfind(u' ', descriptionWidth);
    bool const breaksAtBlank = blank != std::u16string_view::npos;
    std::u16string_view const line = rest.substr(0, breaksAtBlank ? blank : descriptionWidth);
    rest.remove_prefix(line.size() + (breaksAtBlank ? 1 : 0));
    return line;
}

/// The option with "=" in place of the first ":".
KZString LongOption(KZString const & option) {
    std::u16string text(option);
    if (std::size_t const colon = text.find(u':'); colon != std::u16string::npos) text[colon] = u'=';
    return KZString(std::u16string_view(text));
}

void WriteRow(std::wostream & stream, KZString const & option, KZString const & description,
              std::u16string_view lead) {
    std::u16string_view rest(description);
    std::u16string text = std::u16string(lead) + Padded(std::u16string_view(option), optionWidth);
    if (option.Length() > optionWidth)
        text += u'\n';
    else
        text.append(u" ").append(Padded(TakeLine(rest), descriptionWidth)).append(u"\n");
    while (!rest.empty())
        text.append(4 + optionWidth + 1, u' ').append(Padded(TakeLine(rest), descriptionWidth)).append(u"\n");
    KZDetail::WriteUnits(stream, text);
}

} // namespace

bool KZUsageInfo::GetCmdLineArgDesc(unsigned int index, KZString & option, KZString & description,
                                    bool & flag) const {
    if (index >= descriptions_.size()) return false;
    Description const & found = descriptions_[index];
    option = found.option;
    description = found.description;
    flag = found.flag;
    return true;
}

std::vector<KZString> KZUsageInfo::GetCmdLineArgNames() const {
    std::vector<KZString> names;
    for (Description const & each : descriptions_) {
        std::u16string_view const option(each.option);
        names.emplace_back(option.substr(0, option.find_first_of(u":[={ ")));
    }
    return names;
}

void KZUsageInfo::AddCmdLineArgDesc(KZString const & option, KZString const & description, bool flag) {
    descriptions_.push_back({option, description, flag});
}

void KZUsageInfo::AddCmdLineArgDesc(char const * option, char const * description, bool flag) {
    AddCmdLineArgDesc(FromNarrow(option), FromNarrow(description), flag);
}

void KZWriteUsage(std::wostream & stream, KZString const & appName, std::vector<KZUsageInfo> const & infos,
                  bool longOptions) {
    std::wstring const banner = std::wstring(bannerWidth, L'*') + L'\n';
    stream << banner << banner << L"USAGE: ";
    KZDetail::WriteUnits(stream, std::u16string_view(appName));
    stream << L" [options list] \n" << banner << L"Options list: \n";
    for (KZUsageInfo const & info : infos) {
        if (!info.GetGeneralInfo().IsNull())
            KZDetail::WriteUnits(stream, std::u16string_view(info.GetGeneralInfo())) << L'\n';
        KZString option, description;
        bool flag = false;
        for (unsigned int i = 0; info.GetCmdLineArgDesc(i, option, description, flag); ++i)
            if (longOptions)
                WriteRow(stream, LongOption(option), description, u"  --");
            else
                WriteRow(stream, option, description, u"   /");
    }
}
