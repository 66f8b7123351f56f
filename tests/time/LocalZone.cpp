// Sets the local zone of all tests in this folder to that of Paris, by a rule that needs no zone files. The library
// reads the zone once, so this happens before the constructors of the tests' constants run.
#include <cstdlib>
#include <ctime>

namespace {

[[gnu::constructor(101)]] void SetLocalZone() {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
}

} // namespace
