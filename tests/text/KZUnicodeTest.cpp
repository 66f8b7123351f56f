#include "ZerlithCore/text/KZUnicodeInfoReader.h"

#include "ZerlithCore/text/KZString.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Info = KZUnicode::CharSetInfo;

Info Read(std::string const & text) {
    Info info;
    std::istringstream stream(text);
    KZUnicodeInfoReader::Read(info, stream);
    return info;
}

std::string WholeFile() {
    std::ifstream file(UNICODE_DATA);
    std::string const text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    EXPECT_GT(text.size(), 1000000U) << UNICODE_DATA;
    return text;
}

std::vector<std::string> Split(std::string const & text, char separator) {
    std::vector<std::string> parts;
    std::istringstream stream(text);
    for (std::string part; std::getline(stream, part, separator);) parts.push_back(part);
    return parts;
}

// Checks every field of every line, which is split here in another way. A later line overwrites the record that has
// the same lower 16 bits.
void ExpectAgreement(Info const & info, std::string const & text) {
    std::vector<std::vector<std::string>> expected(0x10000);
    for (std::string const & line : Split(text, '\n')) {
        std::vector<std::string> fields = Split(line, ';');
        fields.resize(15);
        expected[std::stoul(fields[0], nullptr, 16) & 0xFFFF] = fields;
    }
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        KZUnicode::CharInfo const & record = info[static_cast<char16_t>(unit)];
        std::vector<std::string> const & fields = expected[unit];
        if (fields.empty()) {
            ASSERT_STREQ(record.name, "");
            continue;
        }
        SCOPED_TRACE(unit);
        ASSERT_EQ(record.name, fields[1]);
        ASSERT_EQ(record.generalCategory, KZUnicode::GetGeneralCategory(fields[2].c_str()));
        ASSERT_EQ(record.combiningClass, std::atoi(fields[3].c_str()));
        ASSERT_EQ(record.bidirectionalCategory, KZUnicode::GetBidirectionalCategory(fields[4].c_str()));
        std::string const tag = fields[5].substr(0, fields[5].find(' '));
        ASSERT_EQ(record.compatibility, KZUnicode::GetCompatibility(tag.c_str()));
        ASSERT_EQ(record.decimalDigitValue, std::atoi(fields[6].c_str()));
        ASSERT_EQ(record.digitValue, std::atoi(fields[7].c_str()));
        ASSERT_EQ(record.numericValue, static_cast<std::int32_t>(std::atol(fields[8].c_str())));
        ASSERT_EQ(record.mirrored, fields[9] == "Y");
        ASSERT_EQ(record.oldName, fields[10]);
        ASSERT_EQ(record.upperCase, static_cast<char16_t>(std::strtoul(fields[12].c_str(), nullptr, 16)));
        ASSERT_EQ(record.lowerCase, static_cast<char16_t>(std::strtoul(fields[13].c_str(), nullptr, 16)));
        ASSERT_EQ(record.titleCase, static_cast<char16_t>(std::strtoul(fields[14].c_str(), nullptr, 16)));
    }
}

TEST(KZUnicodeInfoReader, ReadsTheWholeDatabase) {
    Info info;
    ASSERT_TRUE(KZUnicodeInfoReader::Read(info, UNICODE_DATA));
    std::string const text = WholeFile();
    ExpectAgreement(info, text);
    // Without the lines above U+FFFF no record is overwritten.
    std::string const plane = text.substr(0, text.find("\n10000;") + 1);
    Info const basic = Read(plane);
    EXPECT_STREQ(basic[u'A'].name, "LATIN CAPITAL LETTER A");
    EXPECT_EQ(basic[u'A'].generalCategory, KZUnicode::GeneralCategory::Lu);
    EXPECT_EQ(basic[u'A'].lowerCase, u'a');
    EXPECT_EQ(basic[u'\u00BD'].numericValue, 1);
    EXPECT_EQ(basic[u'\u00BD'].compatibility, KZUnicode::Compatibility::Fraction);
    EXPECT_TRUE(basic[u'('].mirrored);
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        KZUnicode::CharInfo const & record = basic[static_cast<char16_t>(unit)];
        ASSERT_EQ(KZtowupper(static_cast<char16_t>(unit)), record.upperCase ? record.upperCase : unit);
        ASSERT_EQ(KZtowlower(static_cast<char16_t>(unit)), record.lowerCase ? record.lowerCase : unit);
    }
    // Every base letter in the table is the first letter of the decomposition in the database.
    for (std::string const & line : Split(plane, '\n')) {
        std::vector<std::string> const fields = Split(line, ';');
        if (fields[5].empty() || fields[5][0] == '<' || fields[2][0] != 'L') continue;
        auto const unit = static_cast<char16_t>(std::stoul(fields[0], nullptr, 16));
        auto const first = std::stoul(fields[5], nullptr, 16);
        if (first > 0xFFFF || basic[static_cast<char16_t>(first)].name[0] == '\0') continue;
        ASSERT_EQ(KZUnicode::GetEquivalentChar(unit),
                  KZUnicode::GetEquivalentChar(static_cast<char16_t>(first)))
            << line;
    }
}

TEST(KZUnicodeInfoReader, SurvivesDamagedFiles) {
    std::string const line = "0041;A;Lu;230;ON;<font> 0042;1;2;3/4;Y;OLD;comment;0043;0044;0045";
    Info const whole = Read(line + "\r\n" + "0042;B");
    EXPECT_EQ(whole[u'A'].titleCase, u'E');
    EXPECT_STREQ(whole[u'B'].name, "B");
    EXPECT_EQ(whole[u'B'].generalCategory, KZUnicode::GeneralCategory::None);
    EXPECT_EQ(whole[u'B'].compatibility, KZUnicode::Compatibility::None);
    for (std::size_t length = 0; length < line.size(); ++length) {
        Info const cut = Read(line.substr(0, length) + "\n0030;ZERO");
        ASSERT_STREQ(cut[u'0'].name, "ZERO") << length;
        bool const hasUpperCase = length >= line.find("0043") + 4;
        ASSERT_TRUE(!hasUpperCase || cut[u'A'].upperCase == u'C') << length;
    }
    // Only the lower 16 bits of an index are used; a line without an index is skipped; a line that is too long ends
    // the reading.
    Info const odd = Read("\n;x\n110041;WRAPPED\n0042;" + std::string(4080, 'b') + "\n0043;" +
                          std::string(4096, 'c') + "\n0044;D");
    EXPECT_STREQ(odd[u'A'].name, "WRAPPED");
    EXPECT_EQ(std::string(odd[u'B'].name).size(), 4080U);
    EXPECT_STREQ(odd[u'C'].name, "");
    EXPECT_STREQ(odd[u'D'].name, "");
    EXPECT_STREQ(odd[u'\0'].name, "");

    Info info = whole;
    EXPECT_FALSE(KZUnicodeInfoReader::Read(info, "no such file"));
    EXPECT_STREQ(info[u'A'].name, "");
    EXPECT_STREQ(whole[u'A'].name, "A"); // the copy keeps the names in memory
    EXPECT_FALSE(KZUnicodeInfoReader::Read(info, nullptr));
    EXPECT_THROW(KZUnicodeInfoReader::Read(info, "/"), std::ios_base::failure); // can be opened, not read
}

TEST(KZUnicode, NamesItsKeysInOrder) {
    EXPECT_EQ(static_cast<int>(KZUnicode::GetGeneralCategory("Mn")), 0);
    EXPECT_EQ(static_cast<int>(KZUnicode::GetGeneralCategory("So")), 29);
    EXPECT_EQ(static_cast<int>(KZUnicode::GetGeneralCategory("So ")), 30);
    EXPECT_EQ(KZUnicode::GetBidirectionalCategory("WS"), KZUnicode::BidirectionalCategory::WS);
    EXPECT_EQ(KZUnicode::GetCompatibility("<compat>"), KZUnicode::Compatibility::Compat);
    EXPECT_EQ(KZUnicode::GetCompatibility("compat"), KZUnicode::Compatibility::None);
    EXPECT_EQ(KZUnicode::GetGeneralCategory(nullptr), KZUnicode::GeneralCategory::None);
}

} // namespace
