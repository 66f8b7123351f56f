// Any bytes are read as a zone file. They are refused, or make a zone in which times can be converted to local time
// and back.
#include "ZerlithCore/time/KZTimeZone.h"

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

constexpr std::int64_t longestOffset = 26 * 3600;

std::filesystem::path MakeFolder() {
    char folder[] = "/tmp/fuzz-zone-XXXXXX";
    if (!mkdtemp(folder) || setenv("TZDIR", folder, 1) != 0) std::abort();
    std::filesystem::create_directory(std::filesystem::path(folder) / "Asia");
    return folder;
}

// Around a change a local time comes twice or not at all, so the result may differ by as much as the clocks change.
void CheckRoundTrip(KZTimeZone const & zone, std::int64_t utc) {
    std::int64_t const offset = zone.GetLocalMinusUTC(utc);
    std::int64_t const back = zone.LocalToUTC(utc + offset);
    if (std::abs(offset) > longestOffset || std::abs(back - utc) > 2 * longestOffset) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const * data, std::size_t size) {
    static std::filesystem::path const folder = MakeFolder();
    std::ofstream(folder / "Asia/Tokyo", std::ios::binary)
        .write(reinterpret_cast<char const *>(data), static_cast<std::streamsize>(size));
    KZTimeZone zone;
    if (!zone.FromWindowsTimeZoneName(u"Tokyo Standard Time")) return 0;
    constexpr std::int64_t year = 31556952;
    for (std::int64_t utc = -100 * year; utc < 100 * year; utc += year / 7) CheckRoundTrip(zone, utc);
    return 0;
}
