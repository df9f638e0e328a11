// Identity of board and BIOS, and the running image.
#include "area.h"
#include "collectors/firmware.h"
#include "smbios_builder.h"

namespace collect {
namespace {

const std::string kDmi = "/sys/class/dmi/id/";

void Dmi(Tree &tree, const std::string &bios = "2.07", const std::string &board = "1.2.42") {
    tree.File(kDmi + "board_name", "Board X  \n").File(kDmi + "board_version", board + "\n");
    tree.File(kDmi + "bios_version", bios + "\n").File(kDmi + "bios_date", "03/05/2024\n");
}

void Os(Tree &tree, const std::string &version = "12.5") {
    tree.File("/etc/os-release", "NAME=\"Example\"\nPRETTY_NAME=\"Example Linux " + version +
                                     "\"\nVERSION_ID=\"" + version + "\"\n");
    tree.File("/proc/version", "Linux version 6.1.0 (a@b) (gcc) #1 SMP Tue Mar  5 12:34:56 UTC 2024\n");
}

TEST(Firmware, DmiNamesBoardAndBios) {
    Tree tree;
    Dmi(tree);
    HeardHost host(tree);
    EXPECT_EQ(FindDmiIdentity(*host), (DmiIdentity{"Board X", "1.2.42", "2.07", "03/05/2024"}));
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Firmware, WhatFirmwareHasNotFilledInIsAbsent) {
    for (const char *nothing : {"", " ", "To be filled by O.E.M.", "N/A", "Not Specified", "Default string",
                                "Not Settable", "Type2 - Board Version", "None"}) {
        Tree tree;
        Dmi(tree, nothing, nothing);
        HeardHost host(tree);
        const DmiIdentity dmi = FindDmiIdentity(*host);
        EXPECT_EQ(dmi.bios_version, "") << nothing;
        EXPECT_EQ(dmi.board_version, "") << nothing;
        EXPECT_EQ(dmi.board_name, "Board X");
        EXPECT_EQ(host.lines(), Strings{});
    }
}

TEST(Firmware, TheSmbiosTableStandsInForMissingDmiFiles) {
    Tree tree;
    tree.File(kDmiTable,
              SmbiosBuilder(0, 0x18).Text(0x04, "Maker").Text(0x05, "3.1").Text(0x08, "01/02/2023").Bytes() +
                  SmbiosBuilder(2, 0x08).Text(0x04, "Maker").Text(0x05, "Main").Text(0x06, "N/A").Bytes() +
                  SmbiosBuilder(2, 0x08).Text(0x05, "Riser").Text(0x06, "7").Bytes() + EndOfTable());
    HeardHost host(tree);
    EXPECT_EQ(FindDmiIdentity(*host), (DmiIdentity{"Main", "", "3.1", "01/02/2023"}));
}

TEST(Firmware, OsReleaseIsReadAsAShellWould) {
    const auto values = ParseOsRelease(
        "# comment\nA=plain\nB=\"two words\"\nC='it''s $x \\n'\nD=\"a \\\"b\\\" \\$c\"\nE=\"open\n"
        " F=cut here\nnothing\nG=\n");
    const std::map<std::string, std::string> expected = {{"A", "plain"},      {"B", "two words"},
                                                         {"C", "its $x \\n"}, {"D", "a \"b\" $c"},
                                                         {"F", "cut"},        {"G", ""}};
    EXPECT_EQ(values, expected);
}

TEST(Firmware, ABuildsNameMayBeginWithItsDate) {
    EXPECT_EQ(ParseBuildId("20240102"), (BuildTime{"2024-01-02", ""}));
    EXPECT_EQ(ParseBuildId("20240102030405"), (BuildTime{"2024-01-02", "03:04:05"}));
    EXPECT_EQ(ParseBuildId("20240102250405"), (BuildTime{"2024-01-02", ""}));
    EXPECT_EQ(ParseBuildId("2024-01-02.3"), (BuildTime{"2024-01-02", ""}));
    for (const char *other : {"", "rolling", "2024", "20241302", "20240132", "00000102", "2024-1-02",
                              "2024-01-021", "202401023"}) {
        EXPECT_FALSE(ParseBuildId(other).has_value()) << other;
    }
}

TEST(Firmware, TheKernelTellsWhenItWasBuilt) {
    EXPECT_EQ(ParseKernelBuild("Linux version 6.1 (x) #1 SMP Tue Mar  5 12:34:56 UTC 2024\n"),
              (BuildTime{"2024-03-05", "12:34:56"}));
    EXPECT_EQ(ParseKernelBuild("Linux version 6.1 (x) #1 SMP Packager 6.1.76-1 (2024-02-01)\n"),
              (BuildTime{"2024-02-01", ""}));
    for (const char *other :
         {"", "Linux version 6.1", "Mar", "Tue Mar 5 12:34 UTC 2024", "Mar 45 12:34:56 UTC 2024"}) {
        EXPECT_FALSE(ParseKernelBuild(other).has_value()) << other;
    }
}

TEST(Firmware, VersionsOfNumbersAloneMakeVersionNumbers) {
    EXPECT_EQ(ImageNumber("12.5"), 0x0C050000u);
    EXPECT_EQ(ImageNumber("v1.2.3.255"), 0x010203FFu);
    EXPECT_EQ(BoardNumber("1.2.42"), 0x0102002Au);
    EXPECT_EQ(BoardNumber("V3"), 0x03000000u);
    for (const char *other : {"", "A00", "1.", "1..2", "1.2.3.4.5", "256", "1.-2", "1 2"}) {
        EXPECT_FALSE(ImageNumber(other).has_value()) << other;
        EXPECT_FALSE(BoardNumber(other).has_value()) << other;
    }
    EXPECT_FALSE(BoardNumber("1.2.65536").has_value());
}

TEST(Firmware, TheImagesOwnVersionComesBeforeTheDistributions) {
    Tree tree;
    tree.File("/usr/lib/os-release",
              "ID=x\nNAME=Image\nVERSION=\"9 "
              "(nine)\"\nVERSION_ID=9\nIMAGE_VERSION=9.4.1\nBUILD_ID=20240203040506\n");
    Tree linked;
    linked.File("/usr/lib/os-release", "VERSION_ID=7\n").Link("/etc/os-release", "../usr/lib/os-release");
    HeardHost host(tree);
    EXPECT_EQ(FindRunningImage(*host), (RunningImage{"9.4.1", "Image 9 (nine)", {"2024-02-03", "04:05:06"}}));
    HeardHost other(linked);
    EXPECT_EQ(FindRunningImage(*other), (RunningImage{"7", "", {}}));
}

TEST(Firmware, WithoutOsReleaseThereIsNoImage) {
    Tree tree;
    tree.File("/proc/version", "Linux version 6.1 #1 SMP Tue Mar  5 12:34:56 UTC 2024\n");
    HeardHost host(tree);
    EXPECT_FALSE(FindRunningImage(*host).has_value());
    EXPECT_EQ(host.lines(), Strings{});
    tree.File("/etc/os-release", "garbage\x01\n\n=\n");
    EXPECT_FALSE(FindRunningImage(*host).has_value());
}

std::string Version(uint32_t type, uint32_t ext) {
    char text[FW_STR_MAX_SIZE] = {};
    return MW_GetFirmwareVersionString(type, ext, text, sizeof text) == 0 ? text : "none";
}

using FirmwareStore = OnBlankArea;

TEST_F(FirmwareStore, ReadersAreGivenWhatTheHostTells) {
    Tree tree;
    Dmi(tree);
    Os(tree);
    EXPECT_EQ(Once("firmware", tree), 3u);
    EXPECT_EQ(Version(MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER_OUT), "2.07");
    EXPECT_EQ(Version(MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER), "2.07");
    EXPECT_EQ(Version(MW_FW_TYPE_BIOS, MW_FW_BIOS_SLAVE), "none");
    EXPECT_EQ(Version(MW_FW_TYPE_BMC, MW_FW_BMC_MASTER), "12.5");
    EXPECT_EQ(Version(MW_FW_TYPE_BMC, MW_FW_BMC_MASTER_OUT), "Example Linux 12.5");
    EXPECT_EQ(Version(MW_FW_TYPE_BMC, MW_FW_BMC_SLAVE), "none");
    EXPECT_EQ(Version(MW_FW_TYPE_FRU, 0), "01.02.0042");
    uint32_t number = 0;
    ASSERT_EQ(MW_GetFirmwareVersionInteger(MW_FW_TYPE_BMC, MW_FW_BMC_MASTER, &number), 0);
    EXPECT_EQ(number, 0x0C050000u);
    char name[FW_STR_MAX_SIZE] = {}, time[64] = {}, date[64] = {};
    ASSERT_EQ(MW_GetFirmwareBoardNameString(0, name, sizeof name), 0);
    EXPECT_STREQ(name, "Board X");
    ASSERT_EQ(MW_GetBiosVerBuildTime(time, 2), 0);
    EXPECT_STREQ(time, "03/05/2024");
    ASSERT_EQ(MW_GetBmcVerBuildDateTime(time, date, 2), 0);
    EXPECT_STREQ(time, "12:34:56");
    EXPECT_STREQ(date, "2024-03-05");
}

TEST_F(FirmwareStore, ABoardVersionThatMakesNoNumberIsKeptButNotValid) {
    Tree tree;
    Dmi(tree, "2.07", "A00");
    Once("firmware", tree);
    static all_fru_version fru;
    ASSERT_EQ(MW_GetFruVerInfo(&fru), 0);
    EXPECT_STREQ(fru.tMFruVer.acVersion, "A00");
    EXPECT_EQ(fru.MFruValidFlag, 0);
    EXPECT_EQ(Version(MW_FW_TYPE_FRU, 0), "none");
}

TEST_F(FirmwareStore, OverlongTextsAreCut) {
    Tree tree;
    Dmi(tree, std::string(100, 'b'));
    Once("firmware", tree);
    EXPECT_EQ(Version(MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER), std::string(63, 'b'));
}

TEST_F(FirmwareStore, WhatOthersHaveStoredStays) {
    static all_fru_version fru;
    fru = {};
    fru.tCardFruVer[3].CardValidFlag = 1;
    fru.tMFruVer.dwDeviceId = 5;
    ASSERT_EQ(MW_SetFruVerInfo(&fru), 0);
    all_bios_version bios{};
    Fill(bios.tSBiosVer.acBiosVer, "slave");
    bios.SBiosValidFlag = 1;
    ASSERT_EQ(MW_SetBiosVerInfo(&bios), 0);
    all_bmc_version bmc{};
    Fill(bmc.tSBmcVer.acBmcVer, "slave");
    bmc.SBmcValidFlag = 1;
    ASSERT_EQ(MW_SetBmcVerInfo(&bmc), 0);
    Tree tree;
    Dmi(tree);
    Os(tree);
    HeardHost host(tree);
    const auto collector = New("firmware");
    EXPECT_EQ(Round(*collector, host), 3u);
    EXPECT_EQ(Version(MW_FW_TYPE_BIOS, MW_FW_BIOS_SLAVE), "slave");
    EXPECT_EQ(Version(MW_FW_TYPE_BMC, MW_FW_BMC_SLAVE), "slave");
    ASSERT_EQ(MW_GetFruVerInfo(&fru), 0);
    EXPECT_EQ(fru.tCardFruVer[3].CardValidFlag, 1);
    EXPECT_EQ(+fru.tMFruVer.dwDeviceId, 5u);

    // Another producer's version of the master image stays in later rounds.
    ASSERT_EQ(MW_GetBmcVerInfo(&bmc), 0);
    Fill(bmc.tMBmcVer.acBmcVer, "theirs");
    ASSERT_EQ(MW_SetBmcVerInfo(&bmc), 0);
    EXPECT_EQ(Round(*collector, host), 0u);
    EXPECT_EQ(Version(MW_FW_TYPE_BMC, MW_FW_BMC_MASTER), "theirs");
    // Until the host tells something else, or the area is new.
    Os(tree, "13");
    EXPECT_EQ(Round(*collector, host), 1u);
    EXPECT_EQ(Version(MW_FW_TYPE_BMC, MW_FW_BMC_MASTER), "13");
    ASSERT_EQ(MW_MidWareInit(), 0);
    EXPECT_EQ(Round(*collector, host), 3u);
    EXPECT_EQ(Version(MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER), "2.07");
}

TEST_F(FirmwareStore, AHostThatTellsNothingWritesNothing) {
    Tree tree;
    tree.File(kDmi + "bios_date", "01/01/2020").File(kDmi + "board_name", "N/A");
    EXPECT_EQ(Once("firmware", tree), 0u);
}

}  // namespace
}  // namespace collect
