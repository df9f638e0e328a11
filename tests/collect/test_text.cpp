#include <gtest/gtest.h>

#include <algorithm>

#include "text.h"

namespace collect {
namespace {

TEST(Text, TrimsBlanksLineEndsAndNulsAtBothEnds) {
    EXPECT_EQ(Trim(std::string_view(" \t0-63\n\0", 8)), "0-63");
    EXPECT_EQ(Trim("a b"), "a b");
    EXPECT_EQ(Trim(" \n "), "");
    EXPECT_EQ(Trim(""), "");
}

TEST(Text, NumbersAreTakenWholeOrNotAtAll) {
    EXPECT_EQ(ParseNumber<uint32_t>(" 4294967295\n"), 4294967295u);
    EXPECT_EQ(ParseNumber<int32_t>("-1"), -1);
    EXPECT_EQ(ParseNumber<int32_t>("-2147483648"), INT32_MIN);
    EXPECT_EQ(ParseNumber<uint16_t>("0x1af4", 16), 0x1AF4);
    EXPECT_EQ(ParseNumber<uint16_t>("1AF4", 16), 0x1AF4);
    EXPECT_EQ(ParseNumber<uint64_t>("18446744073709551615"), UINT64_MAX);
    for (const char *bad :
         {"", " ", "-1", "+1", "4294967296", "12a", "a12", "1 2", "1.5", "0x10", "99999999999999999999999"}) {
        EXPECT_EQ(ParseNumber<uint32_t>(bad), std::nullopt) << bad;
    }
    EXPECT_EQ(ParseNumber<uint16_t>("0x", 16), std::nullopt);
    EXPECT_EQ(ParseNumber<uint16_t>("0x-1", 16), std::nullopt);
    EXPECT_EQ(ParseNumber<uint16_t>("0x10000", 16), std::nullopt);
    EXPECT_EQ(ParseNumber<int32_t>("2147483648"), std::nullopt);
    EXPECT_EQ(ParseNumber<uint32_t>(std::string_view("1\0002", 3)), std::nullopt);
}

TEST(Text, NaturalOrderComparesRunsOfDigitsAsNumbers) {
    std::vector<std::string> names = {"cpu10", "cpu2",  "cpu",  "cpu2a",
                                      "cpu02", "b1-10", "b1-9", "cpu99999999999999999999999"};
    std::sort(names.begin(), names.end(), NaturalLess);
    EXPECT_EQ(names, (std::vector<std::string>{"b1-9", "b1-10", "cpu", "cpu02", "cpu2", "cpu2a", "cpu10",
                                               "cpu99999999999999999999999"}));
    EXPECT_FALSE(NaturalLess("cpu2", "cpu2"));
}

TEST(Text, FieldsAreCutAtACharacterTerminatedAndZeroedBehind) {
    char field[6];
    Fill(field, "abcdefgh");
    EXPECT_EQ(std::string(field, 6), std::string("abcde\0", 6));
    Fill(field, "ab");
    EXPECT_EQ(std::string(field, 6), std::string("ab\0\0\0\0", 6));
    Fill(field, "abcd\xC3\xA9");  // the last character would be cut in two
    EXPECT_EQ(std::string(field, 6), std::string("abcd\0\0", 6));
    Fill(field, "abc\xC3\xA9");
    EXPECT_STREQ(field, "abc\xC3\xA9");
}

TEST(Text, CleanTextKeepsUtf8AndReplacesWhatIsNone) {
    EXPECT_EQ(CleanText("  M\xC3\xBCller \n"), "M\xC3\xBCller");
    EXPECT_EQ(CleanText("a\x01"
                        "b\x80"
                        "c\xC3"),
              "a?b?c?");
    EXPECT_EQ(CleanText("\xC0\xAF"), "??");
    EXPECT_EQ(CleanText("\xED\xA0\x80"), "???");
}

TEST(Text, PlaceholdersOfFirmwareSayNothing) {
    for (const char *text :
         {"N/A", "To be filled by O.E.M.", " not specified ", "NO DIMM", "", "Unknown", "None"}) {
        EXPECT_EQ(Meaningful(text), "") << text;
    }
    EXPECT_EQ(Meaningful(" DIMM_A1 "), "DIMM_A1");
}

TEST(Text, PrintableIsOneShortLine) {
    EXPECT_EQ(Printable("a\nb\x1B"
                        "c",
                        60),
              "a?b?c");
    EXPECT_EQ(Printable("abcdef", 3), "abc...");
}

TEST(Text, LinesAndWords) {
    EXPECT_EQ(Lines("a\n\nb").size(), 3u);
    EXPECT_EQ(Lines("").size(), 0u);
    EXPECT_EQ(Words("  a\tb  c "), (std::vector<std::string_view>{"a", "b", "c"}));
}

TEST(Text, TheTrailingNumberIsThatOfAName) {
    EXPECT_EQ(TrailingNumber("CPU 12"), 12u);
    EXPECT_EQ(TrailingNumber("Socket_0"), 0u);
    EXPECT_EQ(TrailingNumber("7"), 7u);
    for (const char *name : {"", "CPU", "CPU 1 A", "FAN 4294967296"})
        EXPECT_EQ(TrailingNumber(name), std::nullopt) << name;
}

}  // namespace
}  // namespace collect
