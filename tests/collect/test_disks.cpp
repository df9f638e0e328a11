// Disks and their controllers, on trees of every shape and in the area.
#include "area.h"
#include "collectors/disks.h"
#include "pci_tree.h"

namespace collect {
namespace {

constexpr char kAhci[] = "0000:00:17.0";
constexpr char kUdev[] = "/run/udev/data/b8:0";

// A block device below a directory; its own directory.
std::string Block(Tree &tree, const std::string &below, const std::string &name,
                  const std::string &sectors = "1048576") {
    const std::string dir = below + "/block/" + name;
    tree.Link("/sys/class/block/" + name, "../.." + dir.substr(4));
    tree.File(dir + "/size", sectors + "\n").File(dir + "/removable", "0\n").File(dir + "/dev", "8:0\n");
    tree.File(dir + "/queue/logical_block_size", "512\n").File(dir + "/queue/rotational", "0\n");
    tree.Link(dir + "/device", "../../../" + below.substr(below.rfind('/') + 1));
    return dir;
}

// A SATA disk on a port (from 1 on) of a controller: the directory of its SCSI device.
std::string SataDisk(Tree &tree, const std::string &way, const std::string &name, int ata, int port,
                     const std::string &model = "EXAMPLE MODEL   ") {
    const std::string number = std::to_string(ata);
    const std::string device =
        PciDir(way) + "/ata" + number + "/host" + number + "/target" + number + ":0:0/" + number + ":0:0:0";
    Block(tree, device, name);
    tree.File(device + "/vendor", "ATA     \n").File(device + "/model", model + "\n");
    tree.File(device + "/rev", "1.0 \n").File(device + "/type", "0\n");
    tree.File("/sys/class/ata_port/ata" + number + "/port_no", std::to_string(port) + "\n");
    tree.File("/sys/class/ata_link/link" + number + "/sata_spd", "6.0 Gbps\n");
    return device;
}

// An NVMe namespace: the directory of its block device.
std::string NvmeDisk(Tree &tree, const std::string &way, const std::string &controller,
                     const std::string &name) {
    const std::string device = PciDir(way) + "/nvme/" + controller;
    const std::string dir = device + "/" + name;
    tree.Link("/sys/class/block/" + name, "../.." + dir.substr(4));
    tree.Link(dir + "/device", "../../" + controller);
    tree.File(dir + "/size", "2097152\n").File(dir + "/queue/logical_block_size", "4096\n");
    tree.File(dir + "/queue/rotational", "0\n").File(dir + "/wwid", "eui.0011223344556677\n");
    tree.File(device + "/model", "Example NVMe 1T                         \n");
    tree.File(device + "/serial", "NVME-SERIAL         \n").File(device + "/firmware_rev", "FW000001\n");
    return dir;
}

HostDisks Find(HeardHost &host) { return FindDisks(*host, ReadPciFunctions(*host), {}); }

HostDisk OnlyDisk(HeardHost &host) {
    const HostDisks found = Find(host);
    EXPECT_EQ(found.disks.size(), 1u);
    return found.disks.size() == 1 ? found.disks[0] : HostDisk{};
}

// An ATA information page whose identify data have these words; texts are stored as the standard wants them.
std::string AtaPage(const std::map<size_t, uint32_t> &words, const std::string &serial = "S-1",
                    const std::string &firmware = "FIRM0001",
                    const std::string &model = "EXAMPLE MODEL 4000-LONG NAME") {
    std::string page(60 + 512, '\0');
    page[1] = static_cast<char>(0x89);
    const auto put = [&](size_t word, size_t length, const std::string &text) {
        for (size_t i = 0; i < length; ++i) page[60 + 2 * word + (i ^ 1)] = i < text.size() ? text[i] : ' ';
    };
    put(10, 20, serial);
    put(23, 8, firmware);
    put(27, 40, model);
    for (const auto &[word, value] : words) {
        page[60 + 2 * word] = static_cast<char>(value & 0xFF);
        page[60 + 2 * word + 1] = static_cast<char>(value >> 8);
    }
    return page;
}

std::string VpdPage(unsigned char code, const std::string &data) {
    return std::string{'\0', static_cast<char>(code), '\0', static_cast<char>(data.size())} + data;
}

// --- the pure parts

TEST(Disks, IdentifyDataHaveWholeTexts) {
    const auto identity = ParseAtaPage(AtaPage({{76, 0x0E},
                                                {77, 3 << 1},
                                                {87, 0x4100},
                                                {108, 0x5000},
                                                {109, 0xC500},
                                                {110, 0x1234},
                                                {111, 0xABCD},
                                                {168, 2},
                                                {217, 7200}}));
    ASSERT_TRUE(identity.has_value());
    EXPECT_EQ(identity->serial, "S-1");
    EXPECT_EQ(identity->firmware, "FIRM0001");
    EXPECT_EQ(identity->model, "EXAMPLE MODEL 4000-LONG NAME");
    EXPECT_EQ(identity->rotation, 7200u);
    EXPECT_EQ(identity->form_factor, 2);
    EXPECT_EQ(identity->link_rate, 6.0);
    EXPECT_EQ(identity->wwn, (std::array<uint8_t, 8>{0x50, 0x00, 0xC5, 0x00, 0x12, 0x34, 0xAB, 0xCD}));
}

TEST(Disks, WhatIdentifyDataDoNotHaveIsUnknown) {
    // No SATA, no name, a rotation rate that is reserved.
    for (const uint32_t rotation : {0u, 2u, 0x400u, 0xFFFFu}) {
        const auto identity = ParseAtaPage(
            AtaPage({{76, 0xFFFF}, {77, 3 << 1}, {87, 0x0100}, {108, 0x5000}, {217, rotation}}, "", "", ""));
        ASSERT_TRUE(identity.has_value());
        EXPECT_EQ(*identity, AtaIdentity{}) << rotation;
    }
    EXPECT_EQ(ParseAtaPage(AtaPage({{217, 1}}))->rotation, 1u);
    EXPECT_EQ(ParseAtaPage(AtaPage({{217, 0x401}}))->rotation, 0x401u);
    EXPECT_EQ(ParseAtaPage(AtaPage({}).substr(0, 571)), std::nullopt);
    EXPECT_EQ(ParseAtaPage(""), std::nullopt);
}

TEST(Disks, WorldWideNamesHaveSixteenDigits) {
    const std::array<uint8_t, 8> name{0x50, 0x00, 0xC5, 0x00, 0x01, 0x02, 0x03, 0xFF};
    for (const char *text :
         {"naa.5000c500010203ff", "eui.5000C500010203FF", "0x5000c500010203ff", "5000c500010203ff"}) {
        EXPECT_EQ(ParseWwn(text), name) << text;
    }
    for (const char *text : {"", "naa.", "naa.5000c500010203f", "naa.5000c500010203ff0",
                             "t10.ATA     EXAMPLE", "naa.5000c500010203fg", "uuid.5000c500-0102-03"}) {
        EXPECT_EQ(ParseWwn(text), std::nullopt) << text;
    }
}

TEST(Disks, PropertiesOfTheDeviceManagerAreFoundByTheirWholeName) {
    const std::string record =
        "S:disk/by-id/x\nE:ID_MODEL=short\nE:ID_MODEL_ENC=long\\x20name\\x20\\x20\nE:EMPTY=\nID_BUS=ata";
    EXPECT_EQ(UdevProperty(record, "ID_MODEL"), "short");
    EXPECT_EQ(UdevProperty(record, "ID_MODEL_ENC"), "long name  ");
    EXPECT_EQ(UdevProperty(record, "ID_MOD"), "");
    EXPECT_EQ(UdevProperty(record, "EMPTY"), "");
    EXPECT_EQ(UdevProperty(record, "ID_BUS"), "");
    EXPECT_EQ(UdevProperty("E:A=\\x4\\xZZ\\x\\x41", "A"), "\\x4\\xZZ\\xA");
    EXPECT_EQ(UdevProperty("", "A"), "");
}

TEST(Disks, AControllerIsNamedByItsAddress) {
    EXPECT_EQ(ControllerId({0, 0, 0x17, 0}), 0xB8u);
    EXPECT_EQ(ControllerId({1, 0x3A, 0x1F, 2}), 0x13AFAu);
}

// --- trees

TEST(Disks, ASataDiskOnItsPort) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    const std::string device = SataDisk(tree, kAhci, "sda", 7, 3);
    tree.File(device + "/vpd_pg89",
              AtaPage({{76, 0x0E}, {77, 2 << 1}, {87, 0x4100}, {108, 0x5000}, {168, 3}, {217, 1}}));
    HeardHost host(tree);
    const HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.name, "sda");
    EXPECT_EQ(disk.controller, (PciAddress{0, 0, 0x17, 0}));
    EXPECT_EQ(disk.port, 2);
    EXPECT_EQ(disk.interface, MW_PCH_IF_SATA);
    EXPECT_EQ(disk.vendor, "ATA");
    EXPECT_EQ(disk.model, "EXAMPLE MODEL 4000-LONG NAME");
    EXPECT_EQ(disk.firmware, "FIRM0001");
    EXPECT_EQ(disk.serial, "S-1");
    EXPECT_EQ(disk.rotation, 1u);
    EXPECT_EQ(disk.media, MW_HD_MEDIA_SOLID_STATE);
    EXPECT_EQ(disk.form_factor, 3);
    EXPECT_EQ(disk.link_rate, 6.0) << "of the link, not of the identify data, which may be older";
    EXPECT_EQ(disk.capacity_mb, 512u);
    EXPECT_EQ(disk.sector_size, 512);
    EXPECT_EQ(disk.wwn[0], 0x50);
    EXPECT_EQ(host.Line(), "");
}

TEST(Disks, WithoutIdentifyDataTheOtherPagesAndAttributesSpeak) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    const std::string device = SataDisk(tree, kAhci, "sda", 1, 1);
    tree.File(device + "/vpd_pg80", VpdPage(0x80, "  SERIAL-80 "));
    tree.File(device + "/vpd_pgb1", VpdPage(0xB1, std::string("\x1C\x20\0\x02", 4) + std::string(56, '\0')));
    tree.File(device + "/wwid", "naa.5000c500010203ff\n");
    tree.File(device + "/block/sda/queue/rotational", "1\n");
    HeardHost host(tree);
    const HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.model, "EXAMPLE MODEL");
    EXPECT_EQ(disk.firmware, "1.0");
    EXPECT_EQ(disk.serial, "SERIAL-80");
    EXPECT_EQ(disk.rotation, 7200u);
    EXPECT_EQ(disk.media, MW_HD_MEDIA_ROTATING);
    EXPECT_EQ(disk.form_factor, 2);
    EXPECT_EQ(disk.wwn[7], 0xFF);
    EXPECT_EQ(host.Line(), "");
}

TEST(Disks, TheDeviceManagerKnowsWhatOldKernelsDoNotShow) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    SataDisk(tree, kAhci, "sda", 1, 1);
    tree.File(kUdev,
              "E:ID_ATA=1\nE:ID_MODEL_ENC=EXAMPLE\\x20MODEL\\x204000\\x20\\x20\nE:ID_REVISION=FIRM0001\n"
              "E:ID_SERIAL_SHORT=SERIAL-U\nE:ID_WWN=0x5000c500010203ff\nE:ID_ATA_ROTATION_RATE_RPM=5400\n");
    HeardHost host(tree);
    HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.model, "EXAMPLE MODEL 4000");
    EXPECT_EQ(disk.firmware, "FIRM0001");
    EXPECT_EQ(disk.serial, "SERIAL-U");
    EXPECT_EQ(disk.rotation, 5400u);
    EXPECT_EQ(disk.wwn[0], 0x50);

    tree.File(kUdev, "E:ID_ATA_ROTATION_RATE_RPM=0\n");
    disk = OnlyDisk(host);
    EXPECT_EQ(disk.rotation, 1u);
    EXPECT_EQ(disk.media, MW_HD_MEDIA_SOLID_STATE);
}

TEST(Disks, ARotatingDiskWithoutARateHasNone) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    tree.File(SataDisk(tree, kAhci, "sda", 1, 1) + "/block/sda/queue/rotational", "1\n");
    HeardHost host(tree);
    const HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.rotation, 0u);
    EXPECT_EQ(disk.media, MW_HD_MEDIA_ROTATING);
}

TEST(Disks, LinkRatesThatAreNoneAreUnknown) {
    const std::pair<const char *, double> rates[] = {
        {"1.5 Gbps\n", 1.5}, {"3.0 Gbps", 3.0}, {"<unknown>\n", 0}, {"", 0},
        {"6.0", 0},          {"x.y Gbps", 0},   {"-6.0 Gbps", 0},   {"6.00 Gbps", 6.0},
        {"6.99 Gbps", 0},    {"300 Gbps", 0},   {"6 Gbps", 6.0}};
    for (const auto &[text, rate] : rates) {
        Tree tree;
        PciDevice(tree, kAhci, "0x010601");
        SataDisk(tree, kAhci, "sda", 1, 1);
        tree.File("/sys/class/ata_link/link1/sata_spd", text);
        HeardHost host(tree);
        EXPECT_EQ(OnlyDisk(host).link_rate, rate) << text;
    }
}

TEST(Disks, OldKernelsCountTheHostAdaptersOfAController) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    for (int host = 0; host < 6; ++host) tree.Dir(PciDir(kAhci) + "/host" + std::to_string(host + 4));
    const std::string device = PciDir(kAhci) + "/host9/target9:0:0/9:0:0:0";
    Block(tree, device, "sda");
    tree.File(device + "/vendor", "ATA")
        .File(device + "/model", "M")
        .File(device + "/rev", "R")
        .File(device + "/type", "0");
    HeardHost host(tree);
    const HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.port, 5);
    EXPECT_EQ(disk.interface, MW_PCH_IF_SATA);
}

TEST(Disks, TargetsOfOneHostAdapterAreItsPorts) {
    Tree tree;
    PciDevice(tree, "0000:00:05.0", "0x010000");
    for (const char *target : {"0", "11"}) {
        const std::string id = "2:0:" + std::string(target);
        const std::string device = PciDir("0000:00:05.0") + "/virtio2/host2/target" + id + "/" + id + ":0";
        Block(tree, device, target[0] == '0' ? "sda" : "sdb");
        tree.File(device + "/vendor", "EXAMPLE ")
            .File(device + "/model", "Virtual disk")
            .File(device + "/rev", "2.0");
        tree.File(device + "/type", target[0] == '0' ? "0" : "20");
    }
    HeardHost host(tree);
    const HostDisks found = Find(host);
    ASSERT_EQ(found.disks.size(), 2u);
    EXPECT_EQ(found.disks[0].port, 0);
    EXPECT_EQ(found.disks[1].port, 11);
    EXPECT_EQ(found.disks[1].interface, kUnknownInterface);
    EXPECT_EQ(found.disks[1].vendor, "EXAMPLE");
    ASSERT_EQ(found.controllers.size(), 1u);
    EXPECT_EQ(found.controllers[0].ports, 2);
}

TEST(Disks, AnNvmeNamespace) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x060400");
    const std::string way = "0000:00:01.0/0000:02:00.0";
    PciDevice(tree, way, "0x010802");
    tree.File(PciDir(way) + "/current_link_speed", "8.0 GT/s PCIe\n")
        .File(PciDir(way) + "/current_link_width", "4\n");
    NvmeDisk(tree, way, "nvme0", "nvme0n2");
    tree.File("/sys/class/hwmon/hwmon0/name", "nvme").File("/sys/class/hwmon/hwmon0/temp1_input", "40850");
    tree.Link("/sys/class/hwmon/hwmon0/device", "../../.." + PciDir(way).substr(4) + "/nvme/nvme0");
    HeardHost host(tree);
    const HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.controller, (PciAddress{0, 2, 0, 0}));
    EXPECT_EQ(disk.model, "Example NVMe 1T");
    EXPECT_EQ(disk.serial, "NVME-SERIAL");
    EXPECT_EQ(disk.firmware, "FW000001");
    EXPECT_EQ(disk.vendor, "");
    EXPECT_EQ(disk.port, 1);
    EXPECT_EQ(disk.interface, MW_PCH_IF_PCIE);
    EXPECT_EQ(disk.rotation, 1u);
    EXPECT_EQ(disk.link_rate, 32.0);
    EXPECT_EQ(disk.capacity_mb, 1024u);
    EXPECT_EQ(disk.sector_size, 4096);
    EXPECT_EQ(disk.temperature, 41);
    EXPECT_EQ(disk.wwn[7], 0x77);
    EXPECT_EQ(host.Line(), "");
}

TEST(Disks, OnlyWholeDisksOnTheHostsOwnControllersCount) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    const std::string device = SataDisk(tree, kAhci, "sda", 1, 1);
    tree.File(device + "/block/sda/sda1/partition", "1\n").File(device + "/block/sda/sda1/size", "2048\n");
    tree.Link("/sys/class/block/sda1", "../.." + device.substr(4) + "/block/sda/sda1");
    for (const char *name : {"loop0", "ram0", "dm-0", "md127", "zram0", "nbd0", "nvme1n1"}) {
        tree.File(std::string("/sys/devices/virtual/block/") + name + "/size", "2048\n");
        tree.Link(std::string("/sys/class/block/") + name,
                  std::string("../../devices/virtual/block/") + name);
    }
    // An optical drive, a stick, and a disk behind a RAID adapter.
    tree.File(SataDisk(tree, kAhci, "sr0", 2, 2) + "/type", "5\n");
    PciDevice(tree, "0000:00:14.0", "0x0c0330");
    Block(tree, PciDir("0000:00:14.0") + "/usb1/1-1/1-1:1.0/host8/target8:0:0/8:0:0:0", "sdb");
    PciDevice(tree, "0000:00:03.0", "0x010400");
    Block(tree, PciDir("0000:00:03.0") + "/host9/target9:0:0/9:0:0:0", "sdc");
    PciDevice(tree, "0000:00:04.0", "0x010700");
    Block(tree, PciDir("0000:00:04.0") + "/host10/target10:0:0/10:0:0:0", "sdd");
    Block(tree, "/sys/devices/platform/floppy.0", "fd0");
    tree.File(SataDisk(tree, kAhci, "sde", 5, 5) + "/block/sde/removable", "1\n");
    tree.Link("/sys/class/block/gone", "../../devices/gone");
    HeardHost host(tree);
    const HostDisks found = Find(host);
    ASSERT_EQ(found.disks.size(), 1u);
    EXPECT_EQ(found.disks[0].name, "sda");
    ASSERT_EQ(found.controllers.size(), 1u);
    EXPECT_EQ(found.controllers[0].ports, 1);
    EXPECT_EQ(host.Line(), "");
}

TEST(Disks, TheChipsetsSataControllerCountsInItsRaidModeToo) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010400");
    tree.Link(PciDir(kAhci) + "/driver", "../../../bus/pci/drivers/ahci");
    SataDisk(tree, kAhci, "sda", 1, 1);
    HeardHost host(tree);
    EXPECT_EQ(OnlyDisk(host).name, "sda");
}

TEST(Disks, BrokenFilesAreSaidSoAndNeverWrongNumbers) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    const std::string device = SataDisk(tree, kAhci, "sda", 1, 1);
    tree.File(device + "/block/sda/size", "-1\n")
        .File(device + "/block/sda/queue/logical_block_size", "garbage\n");
    tree.File(device + "/block/sda/queue/rotational", "2\n");
    tree.File("/sys/class/ata_port/ata1/port_no", "0\n");
    tree.File(device + "/vpd_pg80", "no page at all");
    tree.File(device + "/vpd_pg89", std::string("\0\x89\0\0", 4));
    HeardHost host(tree);
    const HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.capacity_mb, 0u);
    EXPECT_EQ(disk.sector_size, 0);
    EXPECT_EQ(disk.rotation, 0u);
    EXPECT_EQ(disk.media, MW_HD_MEDIA_UNKNOWN);
    EXPECT_EQ(disk.port, 0);
    EXPECT_EQ(disk.serial, "");
    EXPECT_EQ(host.lines().size(), 5u) << ::testing::PrintToString(host.lines());
}

TEST(Disks, ADiskWithoutAnyAttributeIsStillADisk) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    const std::string dir = PciDir(kAhci) + "/ata1/host1/target1:0:0/1:0:0:0/block/sda";
    tree.Dir(dir).Link("/sys/class/block/sda", "../.." + dir.substr(4));
    HeardHost host(tree);
    const HostDisk disk = OnlyDisk(host);
    EXPECT_EQ(disk.interface, MW_PCH_IF_SATA);
    EXPECT_EQ(disk.model + disk.vendor + disk.serial + disk.firmware, "");
    EXPECT_EQ(disk.capacity_mb, 0u);
    EXPECT_EQ(host.Line(), "");
}

TEST(Disks, AMachineWithoutDisksHasNone) {
    HeardHost host{Tree()};
    const HostDisks found = Find(host);
    EXPECT_TRUE(found.disks.empty());
    EXPECT_TRUE(found.controllers.empty());
}

TEST(Disks, TheProcessorOfAControllerIsThatOfItsMemoryNode) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    tree.File(PciDir(kAhci) + "/numa_node", "1\n").File("/sys/devices/system/node/node1/cpulist", "4-7,12\n");
    SataDisk(tree, kAhci, "sda", 1, 1);
    CpuPackage first, second;
    first.logical = {0, 1, 2, 3};
    second.logical = {4, 5, 6, 7};
    HeardHost host(tree);
    EXPECT_EQ(FindDisks(*host, ReadPciFunctions(*host), {first, second}).controllers.at(0).cpu, 1);
    EXPECT_EQ(FindDisks(*host, ReadPciFunctions(*host), {first}).controllers.at(0).cpu, 0);
    tree.File("/sys/devices/system/node/node1/cpulist", "\n");
    EXPECT_EQ(FindDisks(*host, ReadPciFunctions(*host), {first, second}).controllers.at(0).cpu, 0);
}

// --- in the area

class DiskStore : public OnBlankArea {
  protected:
    static PchDiskAssetInfo Disks() {
        PchDiskAssetInfo disks{};
        EXPECT_EQ(MW_GetPCHDiskAssetInfo(&disks), 0);
        return disks;
    }
    static PchCtrlAssetInfo Controllers() {
        PchCtrlAssetInfo controllers{};
        EXPECT_EQ(MW_GetPCHCtrlAssetInfo(&controllers), 0);
        return controllers;
    }
};

TEST_F(DiskStore, DisksAreJoinedWithTheirControllers) {
    Tree tree;
    PciDevice(tree, "0000:00:11.4", "0x010601", "0x8086", "0x1234");
    PciDevice(tree, kAhci, "0x010601", "0x8086", "0x5678");
    SataDisk(tree, kAhci, "sda", 7, 3, "HGST MODEL      ");
    EXPECT_EQ(Once("disks", tree), 3u);
    const PchCtrlAssetInfo controllers = Controllers();
    ASSERT_EQ(controllers.dwPCHCtrlNum, 2u);
    EXPECT_EQ(controllers.atPchCtrl[0].dwDev, 0x11u);
    EXPECT_EQ(controllers.atPchCtrl[0].dwFunc, 4u);
    EXPECT_EQ(controllers.atPchCtrl[0].ucPortNum, 0);
    EXPECT_EQ(controllers.atPchCtrl[1].wDeviceId, 0x5678);
    EXPECT_EQ(controllers.atPchCtrl[1].dwClassCode, 0x010601u);
    EXPECT_EQ(controllers.atPchCtrl[1].ucPortNum, 1);

    static HostPchHdInfo view;
    ASSERT_EQ(HOST_GetPCHHdInfo(&view), 0);
    ASSERT_EQ(view.dwHdNum, 1u);
    EXPECT_STREQ(view.atHd[0].acBdf, "0000:00:17.0");
    EXPECT_STREQ(view.atHd[0].acVendor, "HGST");
    EXPECT_STREQ(view.atHd[0].acModel, "HGST MODEL");
    EXPECT_EQ(view.atHd[0].wPort, 2);
    EXPECT_EQ(view.atHd[0].ucIfType, MW_HD_IF_SATA);
    EXPECT_EQ(view.atHd[0].ucLinkRate, MW_HD_LINK_6G);
    EXPECT_EQ(view.atHd[0].ucRotateRate, MW_HD_RPM_NON_ROTATING);
    EXPECT_EQ(view.atHd[0].dwInfoC, 512u);
}

TEST_F(DiskStore, MoreThanSixtyThreeDisksAreSaidSo) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    for (int i = 1; i <= 65; ++i) SataDisk(tree, kAhci, "sd" + std::to_string(i), i, i);
    HeardHost host(tree);
    Round(*New("disks"), host);
    EXPECT_EQ(host.Line(), "disks: 2 of 65 disks left out, there is room for 63");
    const PchDiskAssetInfo disks = Disks();
    EXPECT_EQ(disks.dwPCHDiskNum, 63u);
    EXPECT_EQ(disks.atPchDisk[62].wPort, 62);
    EXPECT_EQ(disks.atPchDisk[63].acModel[0], '\0');
    static HostPchHdInfo view;
    EXPECT_EQ(HOST_GetPCHHdInfo(&view), 0);
}

TEST_F(DiskStore, MoreThanSixteenControllersAreSaidSo) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x060400");
    // Three without disks come first: they are left out before any with one is.
    for (int i = 2; i < 5; ++i) PciDevice(tree, fmt::format("0000:00:{:02x}.0", i), "0x010601");
    for (int i = 0; i < 17; ++i) {
        const std::string way = fmt::format("0000:00:01.0/0000:{:02x}:00.0", i + 16);
        PciDevice(tree, way, "0x010802");
        NvmeDisk(tree, way, fmt::format("nvme{}", i), fmt::format("nvme{}n1", i));
    }
    HeardHost host(tree);
    Round(*New("disks"), host);
    EXPECT_EQ(host.lines(), (Strings{"disks: 4 of 20 controllers left out, there is room for 16",
                                     "disks: 1 of 17 disks left out, there is room for 63"}));
    const PchCtrlAssetInfo controllers = Controllers();
    ASSERT_EQ(controllers.dwPCHCtrlNum, 16u);
    EXPECT_EQ(controllers.atPchCtrl[0].dwBus, 16u);
    EXPECT_EQ(controllers.atPchCtrl[15].dwBus, 31u);
    EXPECT_EQ(Disks().dwPCHDiskNum, 16u);
}

TEST_F(DiskStore, LongTextsAreCutToTheirFields) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    const std::string device = SataDisk(tree, kAhci, "sda", 1, 1, std::string(60, 'm'));
    tree.File(device + "/vendor", std::string(40, 'v')).File(device + "/rev", std::string(20, 'r'));
    tree.File(device + "/vpd_pg80", VpdPage(0x80, std::string(50, 's')));
    Once("disks", tree);
    const PchDiskInfo disk = Disks().atPchDisk[0];
    EXPECT_EQ(std::string(disk.acVendor), std::string(19, 'v'));
    EXPECT_EQ(std::string(disk.acModel), std::string(40, 'm'));
    EXPECT_EQ(std::string(disk.acFwVersion), std::string(8, 'r'));
    EXPECT_EQ(std::string(disk.acSerialNum), std::string(20, 's'));
}

TEST_F(DiskStore, LaterRoundsLeaveTheHealthOfADiskAlone) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    const std::string device = SataDisk(tree, kAhci, "sda", 1, 1);
    tree.File(device + "/vpd_pg80", VpdPage(0x80, "ONE"));
    HeardHost host(tree);
    const auto collector = New("disks");
    Round(*collector, host);
    PchDiskAssetInfo disks = Disks();
    disks.atPchDisk[0].ucInfoA = MW_HD_HEALTH_FAILURE_PREDICTED;
    ASSERT_EQ(MW_SetPCHDiskAssetInfo(&disks), 0);
    Round(*collector, host);
    EXPECT_EQ(Disks().atPchDisk[0].ucInfoA, MW_HD_HEALTH_FAILURE_PREDICTED);

    tree.File(device + "/vpd_pg80", VpdPage(0x80, "TWO"));  // another disk in its place
    Round(*collector, host);
    EXPECT_EQ(Disks().atPchDisk[0].ucInfoA, MW_HD_HEALTH_UNKNOWN);
}

TEST_F(DiskStore, ADiskThatWasPulledLeavesTheTable) {
    Tree tree;
    PciDevice(tree, kAhci, "0x010601");
    SataDisk(tree, kAhci, "sda", 1, 1);
    SataDisk(tree, kAhci, "sdb", 2, 2);
    HeardHost host(tree);
    const auto collector = New("disks");
    Round(*collector, host);
    EXPECT_EQ(Disks().dwPCHDiskNum, 2u);
    std::filesystem::remove(tree.top() + "/sys/class/block/sda");
    std::filesystem::remove(tree.top() + "/sys/class/block/sdb");
    Round(*collector, host);
    EXPECT_EQ(Disks().dwPCHDiskNum, 0u);
    EXPECT_EQ(Controllers().dwPCHCtrlNum, 1u);
}

TEST_F(DiskStore, AMachineWithoutBlockDevicesLeavesTheAreaAlone) {
    EXPECT_EQ(Once("disks", Tree()), 0u);
    Tree empty;
    empty.Dir("/sys/class/block");
    EXPECT_EQ(Once("disks", empty), 0u);
}

}  // namespace
}  // namespace collect
