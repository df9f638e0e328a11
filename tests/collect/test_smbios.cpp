#include "smbios.h"
#include "smbios_builder.h"
#include "tree.h"

namespace collect {
namespace {

std::vector<SmbiosStructure> Parse(const std::string &bytes, const char *expected_problem = "") {
    std::string problem;
    auto structures = ParseSmbios(bytes, &problem);
    EXPECT_EQ(problem, expected_problem);
    return structures;
}

TEST(Smbios, StructuresAndTheirStringsAreTakenApart) {
    const std::string table =
        SmbiosBuilder(1, 8, 0x0102).Text(4, "first").Text(5, "second").Word(6, 0xBEEF).Bytes() +
        SmbiosBuilder(2, 4).Bytes() + EndOfTable();
    const auto structures = Parse(table);
    ASSERT_EQ(structures.size(), 3u);
    EXPECT_EQ(structures[0].type, 1);
    EXPECT_EQ(structures[0].handle, 0x0102);
    EXPECT_EQ(structures[0].Text(4), "first");
    EXPECT_EQ(structures[0].Text(5), "second");
    EXPECT_EQ(structures[0].Field<uint16_t>(6), 0xBEEF);
    EXPECT_EQ(structures[1].type, 2);
    EXPECT_TRUE(structures[1].strings.empty());
    EXPECT_EQ(structures[2].type, 127);
}

TEST(Smbios, FieldsBeyondAnOlderStructureAreNothing) {
    const auto structures = Parse(SmbiosBuilder(17, 8).Byte(7, 9).Bytes());
    ASSERT_EQ(structures.size(), 1u);
    EXPECT_EQ(structures[0].Field<uint8_t>(7), 9);
    EXPECT_EQ(structures[0].Field<uint8_t>(8), std::nullopt);
    EXPECT_EQ(structures[0].Field<uint16_t>(7), std::nullopt);
    EXPECT_EQ(structures[0].Field<uint32_t>(5), std::nullopt);
    EXPECT_EQ(structures[0].Text(8), "");
}

TEST(Smbios, AStringNumberBeyondTheStringsIsEmpty) {
    const auto structures = Parse(SmbiosBuilder(1, 8).Text(4, "only").Byte(5, 2).Byte(6, 255).Bytes());
    ASSERT_EQ(structures.size(), 1u);
    EXPECT_EQ(structures[0].Text(4), "only");
    EXPECT_EQ(structures[0].Text(5), "");
    EXPECT_EQ(structures[0].Text(6), "");
    EXPECT_EQ(structures[0].Text(7), "");
}

TEST(Smbios, WhatFollowsTheEndOfTheTableIsNotRead) {
    EXPECT_EQ(Parse(EndOfTable() + SmbiosBuilder(1, 4).Bytes()).size(), 1u);
    EXPECT_EQ(Parse(EndOfTable() + "garbage").size(), 1u);
}

TEST(Smbios, EveryTruncationOfATableIsSurvivedAndReported) {
    const std::string first = SmbiosBuilder(1, 8).Text(4, "abc").Bytes();
    const std::string table = first + SmbiosBuilder(2, 6).Text(4, "d").Bytes();
    for (size_t size = 0; size < table.size(); ++size) {
        std::string problem;
        const auto structures = ParseSmbios(std::string_view(table).substr(0, size), &problem);
        EXPECT_EQ(structures.size(), size < first.size() ? 0u : 1u) << size;
        EXPECT_EQ(problem.empty(), size == 0 || size == first.size()) << size;
    }
}

TEST(Smbios, ALengthBelowTheHeaderEndsTheWalk) {
    for (const char length : {'\0', '\1', '\3'}) {
        std::string bytes = SmbiosBuilder(1, 4).Bytes() + SmbiosBuilder(2, 4).Bytes();
        bytes[7] = length;
        EXPECT_EQ(Parse(bytes, "a structure at offset 6 of an impossible length").size(), 1u);
    }
}

TEST(Smbios, StringsAreCleanedOnTheirWayOut) {
    const auto structures =
        Parse(SmbiosBuilder(1, 8).Text(4, " pad\x01\xFF ").Text(5, "To be filled by O.E.M.").Bytes());
    ASSERT_EQ(structures.size(), 1u);
    EXPECT_EQ(structures[0].Text(4), "pad??");
    EXPECT_EQ(structures[0].Text(5), "To be filled by O.E.M.");
    EXPECT_EQ(structures[0].Meaning(5), "");
}

TEST(Smbios, AHugeStringIsOneString) {
    const auto structures = Parse(SmbiosBuilder(1, 8).Text(4, std::string(70'000, 'x')).Bytes());
    ASSERT_EQ(structures.size(), 1u);
    EXPECT_EQ(structures[0].Text(4).size(), 70'000u);
}

TEST(Smbios, RandomBytesNeverHarm) {
    uint32_t state = 12345;
    for (int round = 0; round < 2000; ++round) {
        std::string bytes(state % 300, '\0');
        for (char &c : bytes) {
            state = state * 1664525u + 1013904223u;
            c = static_cast<char>((state >> 24) % 3 == 0 ? 0 : state >> 16);
        }
        for (const SmbiosStructure &structure : ParseSmbios(bytes, nullptr)) {
            EXPECT_GE(structure.formatted.size(), 4u);
            for (size_t at = 0; at < 300; at += 7) structure.Text(at);
        }
    }
}

TEST(Smbios, TheTableIsReadBeforeTheSingleEntries) {
    Tree tree;
    tree.File("/sys/firmware/dmi/entries/17-0/raw", MemorySlot("ENTRY_0").Bytes());
    tree.File("/sys/firmware/dmi/entries/17-10/raw", MemorySlot("ENTRY_10").Bytes());
    tree.File("/sys/firmware/dmi/entries/17-2/raw", MemorySlot("ENTRY_2").Bytes());
    tree.File("/sys/firmware/dmi/entries/4-0/raw", Socket("CPU1").Bytes())
        .File("/sys/firmware/dmi/entries/x/raw", "");
    HeardHost host(tree);
    const auto entries = ReadSmbios(*host, {17});
    ASSERT_EQ(entries.size(), 3u);
    EXPECT_EQ(entries[0].Text(0x10), "ENTRY_0");
    EXPECT_EQ(entries[1].Text(0x10), "ENTRY_2");
    EXPECT_EQ(entries[2].Text(0x10), "ENTRY_10");
    tree.File(kDmiTable, Socket("CPU1").Bytes() + MemorySlot("TABLE").Bytes() + EndOfTable());
    const auto table = ReadSmbios(*host, {17});
    ASSERT_EQ(table.size(), 1u);
    EXPECT_EQ(table[0].Text(0x10), "TABLE");
    EXPECT_EQ(ReadSmbios(*host, {17, 4}).size(), 2u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Smbios, ADamagedTableKeepsWhatIsWholeAndSaysSo) {
    Tree tree;
    tree.File(kDmiTable, MemorySlot("A").Bytes() + MemorySlot("B").Bytes().substr(0, 50));
    HeardHost host(tree);
    EXPECT_EQ(ReadSmbios(*host, {17}).size(), 1u);
    EXPECT_EQ(
        host.Line(),
        fmt::format("{}: expected whole SMBIOS structures, found a structure at offset {} of an impossible "
                    "length; skipped",
                    kDmiTable, MemorySlot("A").Bytes().size()));
}

}  // namespace
}  // namespace collect
