// A message file of any bytes is read, written and read again: both readings must give the same messages, and the second
// writing the same bytes as the first. The first byte chooses the language.
#include "ZerlithCore/messages/DBMessage.h"
#include "ZerlithCore/messages/MessageFile.h"

#include <algorithm>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Converter = KZSmartPtr<KZStringConverter>;

std::vector<DBMessage> Read(std::string const & bytes, Converter const & converter) {
    std::vector<DBMessage> messages;
    std::istringstream stream(bytes);
    for (DBMessage message(converter); stream >> message;) messages.push_back(message);
    return messages;
}

std::string Write(std::vector<DBMessage> const & messages) {
    std::ostringstream stream;
    for (DBMessage const & message : messages) stream << message;
    return stream.str();
}

bool IsSame(DBMessage const & a, DBMessage const & b) {
    return a.GetId() == b.GetId() && a.GetText() == b.GetText() && a.IsUtf8() == b.IsUtf8();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(unsigned char const * data, std::size_t size) {
    static Converter const converters[] = {{},
                                           MessageFile::ConverterOf(u"jpn"),
                                           MessageFile::ConverterOf(u"kor"),
                                           MessageFile::ConverterOf(u"cht"),
                                           MessageFile::ConverterOf(u"chs")};
    if (size == 0) return 0;
    Converter const & converter = converters[data[0] % std::size(converters)];
    std::vector<DBMessage> const first = Read(std::string(data + 1, data + size), converter);
    std::string const written = Write(first);
    std::vector<DBMessage> const second = Read(written, converter);
    if (!std::ranges::equal(first, second, IsSame) || Write(second) != written) std::abort();

    MessageFile::Index index;
    std::istringstream stream(written);
    MessageFile::Create(KZString(), KZString())->BuildFileIndex(index, stream);
    for (DBMessage const & message : first)
        if (!index.contains(message.GetId())) std::abort();
    return 0;
}
