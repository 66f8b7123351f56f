// Runs each work with its n-th call of each kind failing, once and from there on. Each run is a process of its own, forked
// from this one before it has used the library, so that first uses fail as well, and a crash or a hang is a finding like
// others. After the failure the same work is done again with nothing failing: it must come out whole.
//
//     faults [--short] [--kind KIND] [WORK...]              every n, at most 2,000 of each kind; or 40
//     faults --kind KIND [--always] --call N WORK           one run in this process, for a debugger
//     faults --list                                         the names of all works
#include "faults/FailingCalls.h"
#include "faults/Work.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <csignal>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr std::array kindNames{"memory", "write", "read", "open", "mapping", "thread"};

struct Options {
    long calls = 2000; // of each kind that a work is tried with at most
    int kind = -1;
    long call = 0;
    bool always = false;
    std::vector<std::string> works;
};

struct Failure {
    KZFailKind kind;
    long call;
    bool always;
};

/// The directory of one run.
class Place {
public:
    Place() {
        std::string pattern = (std::filesystem::temp_directory_path() / "zerlithcore-XXXXXX").string();
        path_ = mkdtemp(pattern.data());
    }
    ~Place() { std::filesystem::remove_all(path_); }
    Place(Place const &) = delete;
    Place & operator=(Place const &) = delete;
    [[nodiscard]] std::filesystem::path const & Path() const { return path_; }

private:
    std::filesystem::path path_;
};

bool Attempt(Work & work) {
    try {
        return work.Act();
    } catch (std::exception const &) {
        return false;
    }
}

/// Does the work with the failure, then without; the number of calls of that kind.
long Run(WorkEntry const & entry, Failure const & failure, std::filesystem::path const & place,
         std::string & finding) {
    long calls = 0;
    for (bool const isArmed : {true, false}) {
        std::filesystem::path const own = place / (isArmed ? "first" : "again");
        std::filesystem::create_directory(own);
        auto const work = entry.make();
        work->SetPlace(own);
        work->SetFailsForGood(isArmed && failure.always);
        work->Prepare();
        if (isArmed) KZArmFailingCalls(failure.kind, failure.call, failure.always);
        bool const isWhole = Attempt(*work);
        if (isArmed) calls = KZDisarmFailingCalls();
        work->Check(isWhole);
        finding = work->Finding();
        if (finding.empty() && !isWhole && (!isArmed || calls < failure.call || failure.call == 0))
            finding = "an error without a failure";
        if (!finding.empty()) {
            if (!isArmed) finding += " (when done again)";
            break;
        }
    }
    return calls;
}

struct Result {
    long calls = 0;
    std::string finding;
};

/// The same in a process of its own, which ends after a minute at the latest.
Result RunApart(WorkEntry const & entry, Failure const & failure) {
    Place const place;
    std::array<int, 2> ends{};
    if (pipe(ends.data()) != 0) return {0, "no pipe"};
    std::fflush(nullptr);
    pid_t const child = fork();
    if (child == 0) {
        alarm(60);
        if (!std::freopen("/dev/null", "w", stdout)) _exit(3);
        if (!std::freopen((place.Path() / ".errors").c_str(), "w", stderr)) _exit(3);
        std::string finding;
        std::string const report = std::to_string(Run(entry, failure, place.Path(), finding)) + ' ' + finding;
        bool const isTold =
            write(ends[1], report.data(), report.size()) == static_cast<ssize_t>(report.size());
        std::exit(isTold ? 0 : 3); // with the destructors of static objects
    }
    close(ends[1]);
    std::string report;
    std::array<char, 512> buffer;
    for (ssize_t got; (got = read(ends[0], buffer.data(), buffer.size())) > 0;)
        report.append(buffer.data(), static_cast<std::size_t>(got));
    close(ends[0]);
    int status = 0;
    waitpid(child, &status, 0);
    Result result;
    char * rest = report.data();
    result.calls = std::strtol(report.data(), &rest, 10);
    if (*rest != '\0') result.finding = rest + 1;
    if (WIFSIGNALED(status)) result.finding = strsignal(WTERMSIG(status));
    if (WIFEXITED(status) && WEXITSTATUS(status) != 0)
        result.finding = "exit " + std::to_string(WEXITSTATUS(status));
    return result;
}

/// All n, or at most `most` of them evenly spread.
std::vector<long> Calls(long count, long most) {
    std::vector<long> calls;
    long const step = std::max(1L, (count + most - 1) / most);
    for (long call = 1; call <= count; call += step) calls.push_back(call);
    return calls;
}

int Try(WorkEntry const & entry, Options const & options) {
    int findings = 0;
    for (std::size_t kind = 0; kind < kindNames.size(); ++kind) {
        if (options.kind >= 0 && options.kind != static_cast<int>(kind)) continue;
        auto const failKind = static_cast<KZFailKind>(kind);
        auto const report = [&](Failure const & failure, std::string const & finding) {
            ++findings;
            std::string const line = finding.substr(0, finding.find('\n'));
            std::printf("FOUND %s: --kind %s%s --call %ld: %s\n", entry.name, kindNames[kind],
                        failure.always ? " --always" : "", failure.call, line.c_str());
        };
        Failure const noFailure{failKind, 0, false};
        Result const whole = RunApart(entry, noFailure);
        if (!whole.finding.empty()) {
            report(noFailure, whole.finding);
            continue;
        }
        std::vector<long> const calls = Calls(whole.calls, options.calls);
        for (long const call : calls)
            for (bool const always : {false, true})
                if (Result const result = RunApart(entry, {failKind, call, always}); !result.finding.empty())
                    report({failKind, call, always}, result.finding);
        if (whole.calls > 0)
            std::printf("%s: %s: %zu of %ld calls failed in turn\n", entry.name, kindNames[kind],
                        calls.size(), whole.calls);
        std::fflush(stdout);
    }
    return findings;
}

Options ReadOptions(int argc, char ** argv) {
    Options options;
    for (int at = 1; at < argc; ++at) {
        std::string const argument = argv[at];
        bool const hasValue = at + 1 < argc;
        if (argument == "--short") {
            options.calls = 40;
        } else if (argument == "--always") {
            options.always = true;
        } else if (argument == "--call" && hasValue) {
            options.call = std::atol(argv[++at]);
        } else if (argument == "--kind" && hasValue) {
            auto const * const name = std::ranges::find(kindNames, std::string(argv[++at]));
            options.kind = static_cast<int>(name - kindNames.begin());
        } else {
            options.works.push_back(argument);
        }
    }
    return options;
}

} // namespace

int main(int argc, char ** argv) {
    if (argc == 2 && std::strcmp(argv[1], "--list") == 0) {
        for (WorkEntry const * entry = WorkEntry::first; entry; entry = entry->next) std::puts(entry->name);
        return 0;
    }
    Options const options = ReadOptions(argc, argv);
    int findings = 0;
    std::size_t tried = 0;
    for (WorkEntry const * entry = WorkEntry::first; entry; entry = entry->next) {
        if (!options.works.empty() && std::ranges::find(options.works, entry->name) == options.works.end())
            continue;
        ++tried;
        if (options.call == 0) {
            findings += Try(*entry, options);
            continue;
        }
        Place const place;
        std::string finding;
        Failure const failure{static_cast<KZFailKind>(options.kind), options.call, options.always};
        long const calls = Run(*entry, failure, place.Path(), finding);
        std::printf("%s: %ld calls. %s\n", entry->name, calls, finding.c_str());
        findings += finding.empty() ? 0 : 1;
    }
    std::printf("%zu works, %d findings\n", tried, findings);
    return tried == 0 || findings != 0 ? 1 : 0;
}
