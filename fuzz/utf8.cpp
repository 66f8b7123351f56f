// Any bytes, whole or in two pieces, must be the same after decoding and encoding.
#include "ZerlithCore/encoding/Utf8.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const * data, std::size_t size) {
    using namespace KZEncoding;
    std::string_view const bytes(reinterpret_cast<char const *>(data), size);
    std::u16string const units = Utf8ToUnits(bytes, Utf8Mode::Escape);
    if (UnitsToUtf8(units, Utf8Mode::Escape) != bytes) std::abort();

    std::size_t const cut = size ? data[0] % size : 0;
    Utf8Decoder decoder(Utf8Mode::Escape);
    std::u16string pieces;
    decoder.Append(pieces, bytes.substr(0, cut));
    decoder.Append(pieces, bytes.substr(cut));
    decoder.Finish(pieces);
    if (pieces != units) std::abort();
    return 0;
}
