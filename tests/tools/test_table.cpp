// What the table derives from a struct, and what it refuses.
#include <gtest/gtest.h>

#include "table.h"

namespace mwctl {

struct Inner {
    int32_t iValue;
};
MW_RECORD(Inner, MW_FIELD(iValue, "value"));

int32_t GetWord(uint32_t *) { return 0; }

#pragma pack(push, 1)
struct Sample {
    uint8_t ucByte;
    uint32_t dwWord;
    int16_t sSigned;
    float fReading;
    char acText[5];
    char acTexts[2][3];
    uint8_t aucBytes[4];
    uint8_t aucRows[3][3];
    uint16_t awNumbers[2][2];
    Inner tInner;
    Inner atInner[2];
    uint8_t aucPad[3];
};
#pragma pack(pop)

// clang-format off
MW_RECORD(Sample,
          MW_FIELD(ucByte, "byte"),
          MW_FIELD(dwWord, "word").Hex().Get<GetWord>(),
          MW_FIELD(sSigned, "signed"),
          MW_FIELD(fReading, "reading"),
          MW_FIELD(acText, "text"),
          MW_FIELD(acTexts, "texts"),
          MW_FIELD(aucBytes, "bytes"),
          MW_FIELD(aucRows, "rows").Event(),
          MW_FIELD(awNumbers, "numbers"),
          MW_FIELD(tInner, "inner"),
          MW_FIELD(atInner, "inners"),
          MW_FIELD(aucPad, ""));
// clang-format on

namespace {

constexpr std::span<const Field> kFields = kLayout<Sample>.fields;

TEST(Table, KindOffsetWidthAndCountFollowFromTheStruct) {
    const struct {
        const char *name;
        Kind kind;
        uint32_t offset, width, count;
    } expected[] = {
        {"ucByte", Kind::kUnsigned, 0, 1, 0},     {"dwWord", Kind::kUnsigned, 1, 4, 0},
        {"sSigned", Kind::kSigned, 5, 2, 0},      {"fReading", Kind::kFloat, 7, 4, 0},
        {"acText", Kind::kText, 11, 5, 0},        {"acTexts", Kind::kText, 16, 3, 2},
        {"aucBytes", Kind::kBytes, 22, 4, 0},     {"aucRows", Kind::kEvent, 26, 3, 3},
        {"awNumbers", Kind::kUnsigned, 35, 2, 4}, {"tInner", Kind::kRecord, 43, 4, 0},
        {"atInner", Kind::kRecord, 47, 4, 2},     {"aucPad", Kind::kBytes, 55, 3, 0},
    };
    ASSERT_EQ(kFields.size(), std::size(expected));
    for (size_t i = 0; i < kFields.size(); ++i) {
        EXPECT_EQ(kFields[i].name, expected[i].name);
        EXPECT_EQ(kFields[i].kind, expected[i].kind) << expected[i].name;
        EXPECT_EQ(kFields[i].offset, expected[i].offset) << expected[i].name;
        EXPECT_EQ(kFields[i].width, expected[i].width) << expected[i].name;
        EXPECT_EQ(kFields[i].count, expected[i].count) << expected[i].name;
    }
    EXPECT_EQ(kFields[9].layout, &kLayout<Inner>);
    EXPECT_EQ(kLayout<Sample>.size, sizeof(Sample));
}

TEST(Table, PaddingIsReservedByItsName) {
    EXPECT_TRUE(kFields.back().reserved);
    EXPECT_FALSE(kFields.front().reserved);
}

TEST(Table, ARecordIsRefusedWhenAFieldIsMissingOrOutOfOrder) {
    using detail::FieldsCover;
    EXPECT_TRUE(FieldsCover(kFields, sizeof(Sample)));
    EXPECT_FALSE(FieldsCover(kFields.first(kFields.size() - 1), sizeof(Sample)));
    EXPECT_FALSE(FieldsCover(kFields.subspan(1), sizeof(Sample)));
    const Field swapped[] = {kFields[1], kFields[0]};
    EXPECT_FALSE(FieldsCover(swapped, 5));
}

TEST(Table, BytesCanHoldARecord) {
    const Field record = kFields[6].As<Inner>();
    EXPECT_EQ(record.kind, Kind::kRecord);
    EXPECT_EQ(record.layout, &kLayout<Inner>);
    EXPECT_EQ(record.offset, kFields[6].offset);
    EXPECT_EQ(record.size(), sizeof(Inner));
    EXPECT_EQ(record.count, 0u);
}

TEST(Table, TheValueThatStandsForNoneIsAsWideAsItsField) {
    EXPECT_EQ(kFields[0].NoValue().absent, 0xFFu);
    EXPECT_EQ(kFields[1].NoValue().absent, 0xFFFFFFFFu);
    EXPECT_EQ(kFields[2].NoValue(static_cast<uint64_t>(-32768)).absent, 0x8000u);
    EXPECT_FALSE(kFields[1].no_value);
}

TEST(Table, BytesCanBeNumbers) {
    const Field numbers = kFields[6].Numbers();
    EXPECT_EQ(numbers.kind, Kind::kUnsigned);
    EXPECT_EQ(numbers.width, 1u);
    EXPECT_EQ(numbers.count, 4u);
}

TEST(Table, BytesCanBeStatesWithNames) {
    static constexpr Code kinds[] = {{0, "first"}, {1, "second"}, {2, "third"}, {3, "fourth"}};
    const Field states = kFields[6].States(kinds);
    EXPECT_TRUE(states.IsState());
    EXPECT_EQ(states.width, 1u);
    EXPECT_EQ(states.count, 4u);
    EXPECT_TRUE(kFields[0].State().IsState());
    EXPECT_FALSE(kFields[6].Numbers().IsState());
    EXPECT_FALSE(kFields[8].State().IsState());  // states without names are not told apart
}

}  // namespace
}  // namespace mwctl
