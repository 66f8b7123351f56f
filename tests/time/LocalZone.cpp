// All tests of this folder run in the local zone of Paris, told by a rule that needs no zone files. The library reads it
// once, so it is set before the constructors of the tests' constants run.
#include <cstdlib>
#include <ctime>

namespace {

[[gnu::constructor(101)]] void SetLocalZone() {
    setenv("TZ", "CET-1CEST,M3.5.0,M10.5.0/3", 1);
    tzset();
}

} // namespace
