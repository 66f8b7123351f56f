// Reads a log and tells how often the things happened that its configuration file names:
//
//     logwatch server.log /since:2026-03-02T04:10:00
//
// Each line of section [Watch] is a name and a pattern; the patterns match the whole message. Section [Limits] may have a number
// for a name: what happens more often makes the exit code 1. Lines of the log begin with "2026/03/02 04:05:06 ", lines
// without such a stamp belong to the message before.
#include <ZerlithCore/ZerlithCore.h>

#include <string>

namespace {

constexpr std::uint32_t stampUnits = 19; // "2026/03/02 04:05:06"

class Watch {
public:
    Watch(KZString const & name, KZString const & pattern, long limit)
        : name_(name), pattern_(KZStringRegExParser(pattern).Parse()), limit_(limit) {}

    void See(KZString const & message, KZDateTimeEx const & when) {
        if (!pattern_.Match(message)) return;
        if (count_++ == 0) first_ = when;
        last_ = when;
    }

    [[nodiscard]] bool IsBeyondLimit() const { return limit_ >= 0 && count_ > limit_; }

    void Print(std::wostream & out) const {
        KZString line;
        line.Format(u"%-12s %6ld", name_.c_str(), count_);
        out << line;
        if (count_ != 0)
            out << L"  " << first_.AsString(u"%H:%M:%S", KZTimeZone::GetLocalTimeZone()) << L" to "
                << last_.AsString(u"%H:%M:%S", KZTimeZone::GetLocalTimeZone());
        out << (IsBeyondLimit() ? L"  too often\n" : L"\n");
    }

private:
    KZString name_;
    KZRegEx pattern_;
    long limit_; // -1: none
    long count_ = 0;
    KZDateTimeEx first_;
    KZDateTimeEx last_;
};

// One watch for each line of [Watch]. A pattern with an error is told, and its line left out.
std::vector<Watch> ReadWatches(KZConfigFile const & config, std::wostream & out) {
    std::vector<Watch> watches;
    KZConfigFile::const_iterator const section = config.FindSection(u"Watch");
    if (section == config.GetSectionsEnd()) return watches;
    for (auto line = section->GetLinesBegin(); line != section->GetLinesEnd(); ++line) {
        if (KZStringRegExParser(line->GetValue()).Parse().root.IsNull())
            out << L"The pattern of " << line->GetKey() << L" has an error: " << line->GetValue() << L'\n';
        else
            watches.emplace_back(line->GetKey(), line->GetValue(),
                                 config.GetLong(u"Limits", line->GetKey(), -1));
    }
    return watches;
}

// Reads the log, and shows each message since `since` to all watches. Returns the number of these messages.
long ReadLog(KZFileStream & log, KZDateTimeEx const & since, std::vector<Watch> & watches) {
    long messages = 0;
    std::wstring wide;
    while (std::getline(log, wide)) {
        KZString const line = KZString(KZFromWide(wide));
        KZDateTimeEx when;
        KZString const stamp = line.SubStr(0, stampUnits);
        if (when.FromString(stamp, u"%Y/%m/%d %H:%M:%S").Bad() || !when.IsDateAndTime()) continue;
        if (!since.IsNull() && when < since) continue;
        KZString const message = line.SubStr(stampUnits + 1);
        for (Watch & watch : watches) watch.See(message, when);
        ++messages;
    }
    return messages;
}

int Run(KZApplication const & application) {
    std::wostream & out = application.GetCout(0);
    KZSmartPtr<KZConfigFile> const & config = application.GetConfigFile();
    if (config.IsNull()) {
        out << L"There is no logwatch.ini\n" << std::flush;
        return 2;
    }
    KZDateTimeEx since;
    if (application.IsArgPresent(u"since")) {
        KZErrorID const error = since.FromISOString(application.GetArg(u"since", KZString(), KZString()));
        if (error.Bad()) {
            out << error.AsString() << std::endl;
            return 2;
        }
    }
    KZString const name = application.GetCmdLine().GetFileName(0);
    KZFileStream log(name);
    if (!log.is_open()) {
        out << L"Can't read " << name << L": " << KZErrorID(new KZWinLastError).AsString() << std::endl;
        return 2;
    }
    std::vector<Watch> watches = ReadWatches(*config, out);
    long const messages = ReadLog(log, since, watches);
    bool isBeyondLimit = false;
    for (Watch const & watch : watches) {
        watch.Print(out);
        isBeyondLimit = isBeyondLimit || watch.IsBeyondLimit();
    }
    out << messages << L" messages\n" << std::flush;
    return isBeyondLimit ? 1 : 0;
}

} // namespace

int main(int argc, char ** argv) {
    KZApplication application(argc, argv);
    KZUsageInfo usage;
    usage.SetGeneralInfo(u"logwatch LOG tells how often the things in logwatch.ini happened.\n");
    usage.AddCmdLineArgDesc(u"since:{date and time}", u"Skip what is older, as in 2026-03-02T04:10:00");
    application.AddCustomUsageInfo(usage);
    return application.DisplayUsageIfNecessary() ? 0 : Run(application);
}
