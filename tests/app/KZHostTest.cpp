// Loads real plug-in libraries into a real host, and compares the whole output on the console.
#include "app/HostProcess.h"

#include <gtest/gtest.h>

namespace {

std::string const Start = "\nWARNING: attempting to run without a configuration file!\n"
                          ">>>> Initializing <ZerlithCore PlugIn>... Done.\n";
std::string const Quit = ">>>> Quit signal received. Requesting exit to all plug-ins...\n";
std::string const End = ">>>> Unloading <ZerlithCore PlugIn>... Done.\n";
std::string const Exit = "Exiting application...\n";

std::string Library(std::string const & name) { return std::string(PLUGIN_DIRECTORY "/") + name + ".osx"; }

std::string Loading(std::vector<std::string> const & names) {
    std::string text;
    for (std::string const & name : names) text += "LoadLibrary on " + Library(name) + "...\n";
    return text;
}

HostResult RunWithList(TestDirectory const & place, std::vector<std::string> const & names,
                       std::function<void(std::string const &, pid_t)> const & watch = {},
                       std::vector<std::string> options = {}) {
    std::string list = "# the plug-ins of this test\n; one a line\n \t \n";
    for (std::string const & name : names) list += "  " + Library(name) + " \n";
    options.push_back("/osxpath:" + place.Write("my.lst", list));
    return RunHost(TEST_HOST, options, place.Path(), watch);
}

std::string Retrieving(TestDirectory const & place, std::vector<std::string> const & names) {
    return Start + "Retrieving plug-ins from " + place.Path("my.lst") + "...\n" + Loading(names);
}

TEST(KZHost, OrdersThreeLevelsAndTearsDownInReverse) {
    TestDirectory const place;
    std::vector<std::string> const names{"c", "a", "b", "d"};
    HostResult const result = RunWithList(place, names);
    EXPECT_EQ(result.console, Retrieving(place, names) +
                                  ">>>> Initializing <A>... Done.\n"
                                  ">>>> Initializing <D>... Done.\n"
                                  ">>>> Initializing <B>... Done.\n"
                                  ">>>> Initializing <C>... Done.\n"
                                  "RUN> Running <A>...\nA runs\n"
                                  "RUN> Running <D>...\nD runs\n"
                                  "RUN> Running <B>...\nB runs\n"
                                  "RUN> Running <C>...\nC runs\n" +
                                  Quit +
                                  ">>>> Unloading <C>... Done.\n>>>> Unloading <B>... Done.\n"
                                  ">>>> Unloading <D>... Done.\n>>>> Unloading <A>... Done.\n" +
                                  End + "C is deleted\nA is deleted\nB is deleted\nD is deleted\n" + Exit);
    EXPECT_EQ(result.status, 0);
}

TEST(KZHost, RefusesWhatItCannotUseAndGoesOn) {
    TestDirectory const place;
    std::vector<std::string> const names{
        "a", "clash", "noentry", "failing", "needsfailing", "needsmissing", "nameless"};
    HostResult const result = RunWithList(place, names, {}, {"/failures"});
    std::string expected = Start + "Retrieving plug-ins from " + place.Path("my.lst") + "...\n";
    expected += Loading({"a", "clash"});
    expected +=
        "ERR> ***<Clash> ID's is used by another plugin or the plugin is already loaded in the application.\n"
        "LoaPlugIn failed on " +
        Library("clash") + ": AddPlugIn failed\nClash is deleted\n";
    expected += Loading({"noentry"}) + "LoadPlugIn failed on " + Library("noentry") +
                ": Cannot locate \"GetPlugInObject\" entry point\n";
    expected += Loading({"failing", "needsfailing", "needsmissing", "nameless"});
    expected += ">>>> Initializing <A>... Done.\n"
                ">>>> Initializing <Failing>...Failed.\nERR> ***refused\n"
                "ERR> ***<Missing> Can't find dependent <Nobody>\n"
                "ERR> ***<Nameless> failed dependency checking (NOT LOADED).\n"
                "ERR> ***<Needs failing> Can't find dependent <Failing>\n"
                "RUN> Running <A>...\nA runs\n";
    expected += Quit + ">>>> Unloading <Failing>... Done.\n>>>> Unloading <A>... Done.\n" + End +
                "A is deleted\nFailing is deleted\nNeeds failing is deleted\nMissing is deleted\nNameless is "
                "deleted\n" +
                Exit;
    // These texts are made after the libraries from which some of them come have been unloaded.
    expected +=
        "FAILED Clash, 1, clash.osx: <Clash> ID's is used by another plugin or the plugin is already "
        "loaded in the application., step 2\n"
        "FAILED , 0, noentry.osx: Cannot locate \"GetPlugInObject\" entry point, step 1\n"
        "FAILED Failing, 5, failing.osx: refused, step 4\n"
        "FAILED Missing, 7, needsmissing.osx: <Missing> Can't find dependent <Nobody>, step 3\n"
        "FAILED Nameless, 8, nameless.osx: <Nameless> failed dependency checking (NOT LOADED)., step 3\n"
        "FAILED Needs failing, 6, needsfailing.osx: <Needs failing> Can't find dependent <Failing>, step 3\n";
    EXPECT_EQ(result.console, expected);
}

TEST(KZHost, ContainsWhateverAPlugInFailsIn) {
    TestDirectory const place;
    std::string const refused = "LoaPlugIn failed on " + Library("d") + ": AddPlugIn failed\n";
    std::string const unnamed = "FAILED , 0, d.osx: in D ", named = "FAILED D, 4, d.osx: in D ";
    std::string const unloaded = ">>>> Unloading <D>... Done.\n";
    struct Case {
        char const * trouble;
        bool runs;
        std::vector<std::string> told;
    };
    Case const cases[] = {
        {"GetPlugInObject",
         false,
         {"ERR> ***in D GetPlugInObject\n" + refused, unnamed + "GetPlugInObject, step 1\n"}},
        {"GetName",
         false,
         {"ERR> ***in D GetName\n" + refused + "D is deleted\n", unnamed + "GetName, step 2\n"}},
        {"GetName fault", false, {"ERR> ***", refused + "D is deleted\n"}},
        {"GetId", false, {"ERR> ***in D GetId\n" + refused, "FAILED D, 0, d.osx: in D GetId, step 2\n"}},
        {"GetStatus", false, {"ERR> ***in D GetStatus\n" + refused, named + "GetStatus, step 2\n"}},
        {"GetDependentV",
         false,
         {"ERR> ***in D GetDependentV\n" + refused, named + "GetDependentV, step 2\n"}},
        {"GetDependentV fault", false, {"ERR> ***", refused + "D is deleted\n"}},
        {"GetUsageInfo", false, {"ERR> ***in D GetUsageInfo\n" + refused, named + "GetUsageInfo, step 2\n"}},
        {"QueryInterface",
         false,
         {">>>> Initializing <D>... Done.\n", named + "QueryInterface, step 5\n", unloaded}},
        {"Init",
         false,
         {">>>> Initializing <D>...Failed.\nERR> ***in D Init\n", named + "Init, step 4\n", unloaded}},
        {"Init fault", false, {">>>> Initializing <D>...", "Failed.\nERR> ***", unloaded}},
        {"Run", false, {"RUN> Running <D>...\nERR> ***in D Run\n", named + "Run, step 5\n", unloaded}},
        {"Run fault", false, {"RUN> Running <D>...\n", "ERR> ***", named.substr(0, 20), unloaded}},
        {"GetName later", true, {"ERR> ***in D GetName\nRUN> Running <D>...\n", unloaded}},
        {"GetStatus later", true, {"ERR> ***in D GetStatus\nRUN> Running <D>...\n", unloaded}},
        {"GetDependentV later", true, {"RUN> Running <D>...\n", unloaded}},
        {"destructor", true, {"D is deleted\nERR> ***in D destructor\n", " stays in memory: a destructor"}},
        {"destructor fault", true, {"D is deleted\n", "ERR> ***", " stays in memory: a destructor"}},
    };
    for (Case const & each : cases) {
        TestVariable const trouble("PLUGIN_TROUBLE", std::string("D ") + each.trouble);
        HostResult const result = RunWithList(place, {"d", "a"}, {}, {"/failures", "/poll:1"});
        std::string const what = std::string(each.trouble) + '\n' + result.console;
        auto const tells = [&](std::string const & text) {
            return result.console.find(text) != std::string::npos;
        };
        for (std::string const & text : each.told) EXPECT_TRUE(tells(text)) << text << "\nin\n" << what;
        EXPECT_EQ(tells("D runs\n"), each.runs) << what;
        EXPECT_EQ(tells("FAILED"), !each.runs) << what;
        EXPECT_TRUE(tells("A runs\n") && tells(Exit)) << what;
        EXPECT_EQ(result.status, 0) << what;
    }
}

TEST(KZHost, LetsGoOfWhatPlugInsLeaveBeforeTheirLibraries) {
    TestDirectory const place;
    TestVariable const mode("PLUGIN_MODE", "leave");
    std::string const told =
        Retrieving(place, {"threaded"}) +
        ">>>> Initializing <Threaded>...Failed.\nERR> ***an error of this library's own\n" + Quit +
        ">>>> Unloading <Threaded>... Done.\n" + End + "subscriber is deleted\ntest is deleted\n";
    std::string const gone = "library is gone\n";
    auto const run = [&](std::vector<std::string> options) {
        options.push_back("/noMenu");
        return RunWithList(place, {"threaded"}, {}, options).console;
    };
    // A hook and an exit function keep the library in memory, the exit function until its thread is gone.
    EXPECT_EQ(run({}), told + "error is deleted\n" + Exit + "left hook runs\n" + gone);
    TestVariable const thread("HOST_ON_THREAD", "1");
    EXPECT_EQ(run({}), told + "error is deleted\n" + Exit + "left exit function runs\n" + gone);
    // So does an object of the library that somebody holds.
    EXPECT_EQ(
        run({"/failures"}),
        told + "The library " + Library("threaded") + " stays in memory: objects of it are still held\n" +
            Exit + "left exit function runs\n" +
            "FAILED Threaded, 100, threaded.osx: an error of this library's own, step 4\nerror is deleted\n" +
            gone);
}

TEST(KZHost, KeepsALibraryInWhichThreadsRun) {
    TestDirectory const place;
    TestVariable const event("PLUGIN_EVENT", place.Path());
    for (char const * const left : {"thread", "pool"}) {
        TestVariable const mode("PLUGIN_MODE", left);
        HostResult const result = RunWithList(place, {"threaded"}, {}, {"/poll:1"});
        std::string const end = End + "The library " + Library("threaded") +
                                " stays in memory: threads may still be running in it\n" + Exit +
                                "left thread goes on\nlibrary is gone\n";
        EXPECT_EQ(result.console.substr(result.console.find(End)), end) << left << '\n' << result.console;
        EXPECT_EQ(result.status, 0) << left;
    }
}

TEST(KZHost, HearsItsPlugInsWhileItWaits) {
    TestDirectory const place;
    TestVariable const mode("PLUGIN_MODE", "ask");
    HostResult const result = RunWithList(place, {"threaded"}, {}, {"/poll:1"});
    EXPECT_NE(result.console.find(">>>> Initializing <Threaded>...found\n Done.\n"), std::string::npos)
        << result.console;
    EXPECT_NE(result.console.find("ERR> ***<ZerlithCore PlugIn> ID's is used"), std::string::npos)
        << result.console;
}

TEST(KZHost, InitialisesMembersBeforeTheirContainer) {
    TestDirectory const place;
    HostResult const good = RunWithList(place, {"container", "a"});
    EXPECT_EQ(good.console,
              Retrieving(place, {"container", "a"}) +
                  ">>>> Initializing <First>... Done.\n>>>> Initializing <A>... Done.\n"
                  ">>>> Initializing <Second>... Done.\n>>>> Initializing <Container>... Done.\n"
                  "RUN> Running <First>...\nRUN> Running <A>...\nA runs\nRUN> Running <Second>...\n" +
                  Quit +
                  ">>>> Unloading <Container>... Done.\n>>>> Unloading <Second>... Done.\n"
                  ">>>> Unloading <A>... Done.\n>>>> Unloading <First>... Done.\n" +
                  End + "A is deleted\n" + Exit);
    HostResult const bad = RunWithList(place, {"badcontainer", "a"});
    EXPECT_EQ(bad.console.find("Initializing <Container>"), std::string::npos) << bad.console;
    EXPECT_NE(bad.console.find("RUN> Running <A>"), std::string::npos) << bad.console;
}

TEST(KZHost, StopsAThreadedPlugInOnSigint) {
    TestDirectory const place;
    bool sent = false;
    HostResult const result = RunWithList(place, {"threaded"}, [&](std::string const & console, pid_t host) {
        if (sent || console.find("thread ready\n") == std::string::npos) return;
        sent = true;
        kill(host, SIGINT);
    });
    EXPECT_EQ(result.console, Retrieving(place, {"threaded"}) +
                                  ">>>> Initializing <Threaded>... Done.\n"
                                  "RUN> Running <Threaded>...(threaded)\nthread ready\n" +
                                  Quit + "thread ends\nthread is gone\n>>>> Unloading <Threaded>... Done.\n" +
                                  End + "library is gone\n" + Exit);
    EXPECT_EQ(result.status, 0);
}

TEST(KZHost, TakesPlugInsFromTheConfigurationFile) {
    TestDirectory const place;
    std::string const config =
        place.Write("host.ini", "[PlugIns]\nfirst=" + Library("a") + "\n" + Library("d") + "\n");
    HostResult const result = RunHost(TEST_HOST, {"/config:" + config, "/osxpath:/nowhere"}, place.Path());
    EXPECT_EQ(result.console, ">>>> Initializing <ZerlithCore PlugIn>... Done.\n"
                              "Retrieving plug-ins from " +
                                  config + "...\n" + Loading({"a", "d"}) +
                                  ">>>> Initializing <A>... Done.\n>>>> Initializing <D>... Done.\n"
                                  "RUN> Running <A>...\nA runs\nRUN> Running <D>...\nD runs\n" +
                                  Quit + ">>>> Unloading <D>... Done.\n>>>> Unloading <A>... Done.\n" + End +
                                  "A is deleted\nD is deleted\n" + Exit);
    std::string const empty = place.Write("empty.ini", "[PlugIns]\n");
    EXPECT_EQ(RunHost(TEST_HOST, {"/config:" + empty}, place.Path()).console,
              ">>>> Initializing <ZerlithCore PlugIn>... Done.\nRetrieving plug-ins from " + empty + "...\n" +
                  Quit + End + Exit);
}

TEST(KZHost, TellsWhatItCannotFind) {
    TestDirectory const place;
    HostResult const nothing = RunHost(TEST_HOST, {}, place.Path());
    EXPECT_EQ(nothing.status, 1);
    EXPECT_EQ(nothing.console, Start +
                                   "Retrieving plug-ins from ./*.osx...\nCouldn't find any OSX to load.\n" +
                                   Quit + End + Exit);
    place.Write("text.osx", "no library\n");
    std::filesystem::create_directory(place.Path("directory.lst"));
    std::filesystem::create_symlink("/proc/self/mem", place.Path("fails.lst")); // opens, but can't be read
    std::tuple<char const *, std::string, char const *> const cases[] = {
        {"/osxpath:/no/such", "Invalid directory: /no/such\n", "FAILED , 0, such: Invalid dir"},
        {"/osxpath:/no/such/my.lst", "The plug-ins list file /no/such/my.lst does not exist.\n",
         ", step 0\n"},
        {"/osxpath:directory.lst", "The plug-ins list file directory.lst does not exist.\n", ", step 0\n"},
        {"/osxpath:fails.lst", "The plug-ins list file fails.lst cannot be read.\n", ", step 0\n"},
        {"/osxpath:.", "LoadLibrary fails on " + place.Path("text.osx") + ": ", ", step 1\n"},
    };
    for (auto const & [option, expected, listed] : cases) {
        HostResult const result = RunHost(TEST_HOST, {option, "/failures"}, place.Path());
        for (std::string const & text : {expected, std::string(listed)})
            EXPECT_NE(result.console.find(text), std::string::npos) << option << '\n' << result.console;
        EXPECT_EQ(result.status, 0) << option;
    }
}

TEST(KZHost, ScansADirectoryAndWritesItsConsoleToAFile) {
    TestDirectory const place;
    std::filesystem::create_directory(place.Path("set"));
    std::filesystem::copy_file(Library("a"), place.Path("set/a.osx"));
    place.Write("set/readme.txt", "not a plug-in");
    HostResult const result =
        RunHost(TEST_HOST, {"/osxpath:set", "/trace:2", "/consoleToFile:console.log"}, place.Path());
    EXPECT_NE(result.console.find("Retrieving plug-ins from set/*.osx...\nLoadLibrary on " +
                                  place.Path("set/a.osx") + "...\n>>>> Initializing <A>... Done.\n"),
              std::string::npos)
        << result.console;
    std::string const text = place.Read("console.log");
    EXPECT_NE(text.find("RUN> Running <A>...\nA runs\n"), std::string::npos) << text;
    EXPECT_NE(text.find("Exiting application...\n"), std::string::npos) << text;
    // The path of a list means the directory of the list, which contains the libraries that the list names.
    place.Write("set/osx.lst", "a.osx\n");
    for (auto const & [directory, option] : {std::pair("", "/osxpath:set"), {"set", "/osxpath:osx.lst"}}) {
        std::string const console = RunHost(TEST_HOST, {option}, place.Path(directory)).console;
        EXPECT_NE(console.find("osx.lst...\nLoadLibrary on " + place.Path("set/a.osx") + "...\n>>>> Init"),
                  std::string::npos)
            << console;
    }
}

} // namespace
