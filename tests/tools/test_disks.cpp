// mwctl show raid, disks, backplane, and mwctl disk-slot.
#include <cstdio>
#include <cstring>

#include "midware.h"
#include "tools_test.h"

namespace {

template <size_t size>
void Put(char (&text)[size], const char *value) {
    std::snprintf(text, size, "%s", value);
}

void StoreRaid() {
    RaidAssetInfo controllers{};
    controllers.dwCtrlNum = 1;
    RaidAssetEntry &ctrl = controllers.atCtrl[0];
    ctrl.ucPresent = 1;
    ctrl.ucSlot = 255;
    ctrl.ucHealth = MW_HD_HEALTH_GOOD;
    Put(ctrl.acName, "Example RAID 9");
    Put(ctrl.acBdf, "0000:3a:00.0");
    ctrl.aucSasAddress[0] = 0x50;
    ctrl.dwRaidLevels = 0x23;
    ctrl.ucLinkRate = 12;
    ctrl.ucTemperature = 61;
    ASSERT_EQ(MW_SetRaidAssetInfo(&controllers), 0);

    static HdAssetInfo disks;
    disks.dwHdNum = 2;
    disks.atHd[0].ucSlot = 3;
    disks.atHd[0].ucEnclosureId = 1;
    disks.atHd[0].dwInfoC = 953869;
    disks.atHd[0].ucInfoA = MW_HD_HEALTH_FAILURE_PREDICTED;
    disks.atHd[0].ucState = 6;
    disks.atHd[0].ucIfType = MW_HD_IF_SAS;
    disks.atHd[0].ucRotateRate = MW_HD_RPM_10025;
    Put(disks.atHd[0].acVendor, "EXAMPLE");
    Put(disks.atHd[0].acModel, "Disk 10K");
    Put(disks.atHd[0].acSerialNum, "SER-0");
    disks.atHd[1].ucSlot = MW_HD_NO_SLOT;
    disks.atHd[1].ucState = 77;
    ASSERT_EQ(MW_SetHdAssetInfo(&disks), 0);

    static LdAssetInfo drives;
    drives.dwLdNum = 1;
    drives.atLd[0].qwCapacity = 500ull << 30;
    drives.atLd[0].ucRaidLevel = 5;
    drives.atLd[0].ucState = 2;
    drives.atLd[0].dwDiskNum = 3;
    drives.atLd[0].awDiskId[1] = 4;
    drives.atLd[0].awDiskId[2] = 5;
    Put(drives.atLd[0].acName, "data");
    ASSERT_EQ(MW_SetLdAssetInfo(&drives), 0);

    NvmeAssetInfo nvme{};
    nvme.dwNvmeNum = 1;
    nvme.atNvme[0].ucSlot = 9;
    nvme.atNvme[0].qwCapacity = 1ull << 40;
    nvme.atNvme[0].ucCriticalWarning = 0x05;
    Put(nvme.atNvme[0].acModel, "Example NVMe");
    ASSERT_EQ(MW_SetNvmeAssetInfo(&nvme), 0);

    Spr50DeviceAssetInfo spr50{};
    spr50.dwDeviceNum = 1;
    Put(spr50.atDevice[0].acModel, "Example Spr50");
    ASSERT_EQ(MW_SetSpr50DeviceAssetInfo(&spr50), 0);

    HdStateInfo states{};
    states.dwHdStateNum = 1;
    states.atHdState[0] = {3, 1, 1, 0, 1, 0, 1, 0, 0, 44, 2};
    ASSERT_EQ(MW_SetHDStateInfo(&states, 2), 0);

    RaidPhyInfo phy{};
    phy.ucPhyId = 7;
    phy.ucLinkRate = 11;
    phy.ucAttachedType = 1;
    phy.dwInvalidDwords = 21;
    ASSERT_EQ(MW_SetRaidPhyInfo(reinterpret_cast<const uint8_t *>(&phy), 1), 0);
    NvmePhyInfo link{};
    link.ucBus = 0x5e;
    link.ucLinkSpeed = 4;
    link.ucLinkWidth = 4;
    link.dwBadTlp = 3;
    ASSERT_EQ(MW_SetNvmePhyInfo(reinterpret_cast<const uint8_t *>(&link), 1), 0);
}

void StoreBackplanes() {
    DiskBackPanelEntry reading{};
    reading.dwBackPanelId = 7;
    reading.dwTemp0 = 31;
    reading.dwTemp1 = 33;
    reading.dwPower = 12;
    ASSERT_EQ(MW_SetDiskBackPanelTempInfo(0, &reading), 0);
    ASSERT_EQ(MW_SetDiskBackPanelTempInfo(1, &reading), 0);
    ASSERT_EQ(MW_SetDiskBackPanelPowerInfo(&reading), 0);
    ASSERT_EQ(MW_SetAllDiskBackBoardPowerInfo(40), 0);
    static HddBackPanelAssetInfo assets;
    assets.dwBackPanelNum = 1;
    HddBackPanelEntry &panel = assets.atBackPanel[0];
    panel.dwBackPanelId = 7;
    panel.ucPresent = 1;
    panel.ucLocation = 1;
    panel.ucSlotCount = 12;
    panel.ucFormFactor = 3;
    panel.wBoardId = 0xB1;
    Put(panel.acName, "Rear");
    ASSERT_EQ(MW_SetHddBackPanelAssetInfo(&assets), 0);
}

class Storage : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }

    void ExpectShown(const std::string &module) {
        for (const char *option : {"", "--json", "--all"}) {
            std::vector<std::string> arguments{"show", module};
            if (*option != '\0') arguments.emplace_back(option);
            const Outcome outcome = Mwctl(arguments);
            EXPECT_TRUE(outcome.Succeeded()) << outcome;
            EXPECT_EQ(outcome.err, "");
            ExpectGolden(outcome.out, module + (*option == '\0'        ? ".txt"
                                                : *(option + 2) == 'j' ? ".json"
                                                                       : "-all.txt"));
        }
    }

    Outcome Slot(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "disk-slot");
        return Mwctl(arguments);
    }

    static constexpr char kDisk[] = "CPU 1, 0000:00:17.0, port 4: ";
};

TEST_F(Storage, RaidIsShown) {
    Store(StoreRaid);
    ExpectShown("raid");
}

TEST_F(Storage, BackplanesAreShown) {
    Store(StoreBackplanes);
    ExpectShown("backplane");
}

TEST_F(Storage, DisksAreShownAsTheHostSeesThem) {
    Store(StoreDisks);
    ASSERT_TRUE(
        Slot({"set", "0000:00:17.0", "4", "--cpu", "1", "--slot", "9", "--label", "Bay 9; top"}).Succeeded());
    ExpectShown("disks");
    EXPECT_EQ(Jq("show disks", ".disks.view | map([.acVendor, .ucSlot, .acSilkInfo, .decoded.joined])"),
              "[[\"Toshiba\",9,\"Bay 9; top\",null],[\"ATA\",null,\"--\",null],"
              "[\"\",null,\"\",\"no: its controller is not in the table\"]]\n");
}

TEST_F(Storage, ATableThatTheHostViewRefusesIsSaidSo) {
    Store([] {
        static PchDiskAssetInfo disks;
        disks.dwPCHDiskNum = 64;
        ASSERT_EQ(MW_SetPCHDiskAssetInfo(&disks), 0);
    });
    const Outcome outcome = Mwctl({"show", "disks"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_NE(outcome.err.find("mwctl: disks.view: the library says: "), std::string::npos) << outcome;
    EXPECT_NE(outcome.err.find("PCHDiskNum (64) is up to max(64)"), std::string::npos) << outcome;
    EXPECT_EQ(LinesOf(outcome.err).size(), 1u) << outcome;
}

TEST_F(Storage, ASlotAndALabelAreStoredShownAndRemoved) {
    Store(StoreDisks);
    ExpectDone(Slot({"list"}), "none of 2 disks has a custom slot number or label\n");
    ExpectDone(Slot({"set", "00:17.0", "4", "--cpu", "1", "--slot", "0"}),
               std::string(kDisk) + "slot number 0\n");
    ExpectDone(Slot({"set", "00:17.0", "4", "--cpu", "1", "--label", "Bay 4"}),
               std::string(kDisk) + "label Bay 4\n");
    const std::string both = std::string(kDisk) + "slot number 0\n" + kDisk + "label Bay 4\n";
    ExpectDone(Slot({"list"}), both);
    Store([] {
        PchDiskCustomCfg disk{};
        disk.dwDev = 0x17;
        disk.ucCpuId = 1;
        disk.ucPort = 4;
        EXPECT_EQ(MW_LoadCustomPchDiskConfig(&disk, MW_PCH_CFG_SILK), 0);
        EXPECT_STREQ(disk.acSilkInfo, "Bay 4");
    });
    ExpectDone(Slot({"remove", "00:17.0", "4", "--cpu", "1", "--slot"}),
               std::string(kDisk) + "slot number none\n");
    ExpectDone(Slot({"list"}), std::string(kDisk) + "label Bay 4\n");
    ExpectDone(Slot({"remove", "00:17.0", "4", "--cpu", "1"}), std::string(kDisk) + "label none\n");
    ExpectDone(Slot({"list"}), "none of 2 disks has a custom slot number or label\n");
}

TEST_F(Storage, WhatIsNotThereCannotBeRemoved) {
    ExpectRefused(Slot({"remove", "00:17.0", "4", "--slot"}), 1,
                  "mwctl: CPU 0, 0000:00:17.0, port 4: there is no custom slot number\n");
    ExpectRefused(Slot({"remove", "00:17.0", "4", "--label"}), 1,
                  "mwctl: CPU 0, 0000:00:17.0, port 4: there is no custom label\n");
    ExpectRefused(
        Slot({"remove", "00:17.0", "4"}), 1,
        "mwctl: CPU 0, 0000:00:17.0, port 4: there is neither a custom slot number nor a custom label\n");
}

TEST_F(Storage, LabelsOfAnyPrintableTextReadBackTheSame) {
    for (const std::string label : {" blanks ", "[x]", "[x", "a;b # c", "a = b", "100%", "%d%s%n", "50%% %",
                                    "\"x\"", "'x'", "back\\slash", "B\xC3\xA4y \xE2\x82\xAC",
                                    "0123456789abcdef0123456789abcdef", "-x", "- -", "%%%%%%%%%%%%%%%%"}) {
        SCOPED_TRACE(label);
        const Outcome outcome = Slot({"set", "00:17.0", "4", "--label=" + label});
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        Store([&label] {
            PchDiskCustomCfg disk{};
            disk.dwDev = 0x17;
            disk.ucPort = 4;
            EXPECT_EQ(MW_LoadCustomPchDiskConfig(&disk, MW_PCH_CFG_SILK), 0);
            EXPECT_EQ(disk.acSilkInfo, label);
        });
    }
}

TEST_F(Storage, LabelsThatCannotBeStoredAreRefusedBeforeAnythingIsWritten) {
    const std::pair<std::string, const char *> cases[] = {
        {"", "a label has at least one byte; see disk-slot remove"},
        {"two\nlines", "a label is one line, and this one has a line feed"},
        {"tab\t", "a label has no control characters, unlike this one"},
        {"\xFF", "a label is UTF-8 text, unlike this one"},
        {"A--B", "a label with '--' in it stands for none"},
        {std::string(33, 'x'), "a label has at most 32 bytes; this one has 33"},
        {std::string(17, '%'),
         "a label has at most 32 bytes; this one has 34, each percent sign counting twice"},
    };
    for (const auto &[label, why] : cases) {
        ExpectRefused(Slot({"set", "00:17.0", "4", "--slot", "1", "--label", label}), 2,
                      std::string("mwctl: --label: ") + why + " (see --help)\n");
    }
    EXPECT_EQ(FilesIn(dir_ / "conf/ext"), std::vector<std::string>{});
}

TEST_F(Storage, PlacesThatAreNoneAreRefused) {
    const std::pair<std::vector<std::string>, const char *> cases[] = {
        {{"set", "00:17.8", "4", "--slot", "1"},
         "ADDRESS: a PCI address is like 0000:00:17.0, not '00:17.8'"},
        {{"set", "00:20.0", "4", "--slot", "1"},
         "ADDRESS: a PCI address is like 0000:00:17.0, not '00:20.0'"},
        {{"set", "0:17.0", "4", "--slot", "1"}, "ADDRESS: a PCI address is like 0000:00:17.0, not '0:17.0'"},
        {{"set", "0000:00:17.0x", "4", "--slot", "1"},
         "ADDRESS: a PCI address is like 0000:00:17.0, not '0000:00:17.0x'"},
        {{"set", "0001:00:17.0", "4", "--slot", "1"},
         "ADDRESS: the PCI domain of a disk's controller is 0000, unlike '0001:00:17.0'"},
        {{"set", "00:17.0", "256", "--slot", "1"}, "PORT: a port is a number from 0 to 255, not '256'"},
        {{"set", "00:17.0", "4", "--cpu", "256", "--slot", "1"},
         "--cpu: the number of a processor is a number from 0 to 255, not '256'"},
        {{"set", "00:17.0", "4", "--slot", "255"},
         "--slot: a slot number is a number from 0 to 254, not '255'"},
        {{"set", "00:17.0", "4"}, "disk-slot set: one of --slot and --label is required"},
        {{"remove", "00:17.0"}, "PORT is required"},
    };
    for (const auto &[arguments, why] : cases) {
        ExpectRefused(Slot(arguments), 2, std::string("mwctl: ") + why + " (see --help)\n");
    }
}

TEST_F(Storage, AFileThatCannotBeWrittenIsSaidSo) {
    WriteFile(dir_ / "conf", "a file where a directory should be");
    const Outcome outcome = Slot({"set", "00:17.0", "4", "--slot", "1"});
    EXPECT_EQ(outcome.code, 1);
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err,
              "mwctl: the file of the custom slots cannot be read: see that "
              "/conf/ext/custom_pchdisk_config.ini can be read, or be created\n");
}

}  // namespace
