#include "pci.h"
#include "pci_tree.h"
#include "smbios_builder.h"

namespace collect {
namespace {

TEST(Pci, AddressesAreWholeOrNone) {
    EXPECT_EQ(ParsePciAddress("0000:02:00.0"), (PciAddress{0, 2, 0, 0}));
    EXPECT_EQ(ParsePciAddress("10000:e1:1f.7"), (PciAddress{0x10000, 0xE1, 0x1F, 7}));
    for (const char *text :
         {"", "0000:02:00", "02:00.0", "0000:02:00.8", "0000:02:20.0", "0000:2:00.0", "0000:02:00.00",
          "0000:02:0g.0", "0000:02:00.0 ", "+000:02:00.0", "000000000:02:00.0"}) {
        EXPECT_EQ(ParsePciAddress(text), std::nullopt) << text;
    }
}

TEST(Pci, AFunctionIsDescribedByItsAttributes) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x020001", "0x8086", "0x1521");
    const std::string dir = PciDir("0000:00:01.0");
    tree.File(dir + "/revision", "0x07\n")
        .File(dir + "/numa_node", "1\n")
        .File(dir + "/label", "Onboard 1\n");
    tree.File(dir + "/config", Config(64, static_cast<char>(0x80)));
    tree.File(dir + "/current_link_speed", "8.0 GT/s PCIe\n").File(dir + "/current_link_width", "4\n");
    tree.File(dir + "/max_link_speed", "16.0 GT/s PCIe\n").File(dir + "/max_link_width", "8\n");
    tree.Link(dir + "/driver", "../../../bus/pci/drivers/example");
    HeardHost host(tree);
    const auto functions = ReadPciFunctions(*host);
    ASSERT_EQ(functions.size(), 1u);
    const PciFunction &function = functions[0];
    EXPECT_EQ(function.address, (PciAddress{0, 0, 1, 0}));
    EXPECT_EQ(function.vendor, 0x8086);
    EXPECT_EQ(function.device, 0x1521);
    EXPECT_EQ(function.sub_vendor, 0x1028);
    EXPECT_EQ(function.sub_device, 0x0002);
    EXPECT_EQ(function.base_class, kPciNetwork);
    EXPECT_EQ(function.sub_class, 0);
    EXPECT_EQ(function.prog_if, 1);
    EXPECT_EQ(function.revision, 7);
    EXPECT_EQ(function.header_type, 0);
    EXPECT_EQ(function.link, (PciLink{3, 4}));
    EXPECT_EQ(function.max_link, (PciLink{4, 8}));
    EXPECT_EQ(function.numa_node, 1);
    EXPECT_EQ(function.driver, "example");
    EXPECT_EQ(function.label, "Onboard 1");
    EXPECT_FALSE(function.is_virtual);
    EXPECT_EQ(function.slot.number, 0);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Pci, WhatIsMissingIsUnknown) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x060400");
    const std::string dir = PciDir("0000:00:01.0");
    tree.File(dir + "/config", Config(64, 1)).File(dir + "/numa_node", "-1\n");
    tree.File(dir + "/current_link_speed", "Unknown\n").File(dir + "/current_link_width", "255\n");
    HeardHost host(tree);
    const auto functions = ReadPciFunctions(*host);
    ASSERT_EQ(functions.size(), 1u);
    EXPECT_EQ(functions[0].revision, 0x21);  // of the configuration space: this kernel has no file for it
    EXPECT_TRUE(functions[0].IsBridge());
    EXPECT_EQ(functions[0].numa_node, std::nullopt);
    EXPECT_EQ(functions[0].link, PciLink{});
    EXPECT_EQ(functions[0].max_link, PciLink{});
    EXPECT_EQ(functions[0].driver, "");
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Pci, AFunctionWhoseIdsAreBrokenIsLeftOutWithALine) {
    for (const char *file : {"vendor", "device", "class"}) {
        Tree tree;
        PciDevice(tree, "0000:00:01.0", "0x020000");
        PciDevice(tree, "0000:00:02.0", "0x020000");
        tree.File(PciDir("0000:00:01.0") + "/" + file, "garbage");
        HeardHost host(tree);
        const auto functions = ReadPciFunctions(*host);
        ASSERT_EQ(functions.size(), 1u) << file;
        EXPECT_EQ(functions[0].address.device, 2);
        EXPECT_EQ(host.lines().size(), 1u);
    }
}

TEST(Pci, ALinkSpeedThatIsNoneIsLeftOutWithALine) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x020000");
    tree.File(PciDir("0000:00:01.0") + "/current_link_speed", "7.0 GT/s");
    HeardHost host(tree);
    EXPECT_EQ(ReadPciFunctions(*host).at(0).link.speed, 0);
    EXPECT_EQ(host.Line(),
              "/sys/bus/pci/devices/0000:00:01.0/current_link_speed: expected a link speed in GT/s, found "
              "\"7.0 GT/s\"; skipped");
}

TEST(Pci, SpeedsAreGenerations) {
    const std::pair<const char *, int> kSpeeds[] = {{"2.5 GT/s", 1},
                                                    {"5 GT/s", 2},
                                                    {"5.0 GT/s PCIe", 2},
                                                    {"8 GT/s", 3},
                                                    {"16.0 GT/s PCIe", 4},
                                                    {"32.0 GT/s PCIe", 5},
                                                    {"64.0 GT/s PCIe", 6},
                                                    {"Unknown", 0},
                                                    {"", 0},
                                                    {"8.0", 0},
                                                    {"8.0 Gb/s", 0},
                                                    {"-1", 0}};
    for (const auto &[text, generation] : kSpeeds) EXPECT_EQ(PciGeneration(text), generation) << text;
}

TEST(Pci, TheLinkIsReadFromTheConfigurationSpaceWhereItIsWhole) {
    const std::string whole = ExpressConfig();
    const auto links = ParsePciLinks(whole);
    ASSERT_TRUE(links);
    EXPECT_EQ(links->now, (PciLink{3, 8}));
    EXPECT_EQ(links->most, (PciLink{4, 16}));
    EXPECT_FALSE(ParsePciLinks(whole.substr(0, 64)));
    EXPECT_FALSE(ParsePciLinks(""));
    std::string loop = whole;
    loop[0x60] = 0x05;
    loop[0x61] = 0x40;  // back to the first one
    EXPECT_FALSE(ParsePciLinks(loop));
    std::string none = whole;
    none[0x06] = 0;
    EXPECT_FALSE(ParsePciLinks(none));
    std::string end = whole;
    end[0x41] = static_cast<char>(0xF0);  // its fields would lie beyond the end
    end[0xF0] = 0x10;
    EXPECT_FALSE(ParsePciLinks(end));

    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x020000");
    tree.File(PciDir("0000:00:01.0") + "/config", whole + std::string(4096 - 256, '\0'));
    HeardHost host(tree);
    EXPECT_EQ(ReadPciFunctions(*host).at(0).link, (PciLink{3, 8}));
    EXPECT_EQ(ReadPciFunctions(*host).at(0).max_link, (PciLink{4, 16}));
}

TEST(Pci, ADeviceThatDoesNotAnswerHasNoHeader) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x020000");
    tree.File(PciDir("0000:00:01.0") + "/config", std::string(256, '\xFF'));
    HeardHost host(tree);
    const PciFunction function = ReadPciFunctions(*host).at(0);
    EXPECT_EQ(function.header_type, 0);
    EXPECT_EQ(function.revision, 0);
    EXPECT_EQ(function.link, PciLink{});
}

TEST(Pci, AShortConfigurationSpaceIsSaid) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x020000");
    tree.File(PciDir("0000:00:01.0") + "/config", "short");
    HeardHost host(tree);
    EXPECT_EQ(ReadPciFunctions(*host).size(), 1u);
    EXPECT_EQ(host.Line(),
              "/sys/bus/pci/devices/0000:00:01.0/config: expected at least 64 bytes, found 5; skipped");
}

TEST(Pci, FunctionsComeByAddress) {
    Tree tree;
    for (const char *way :
         {"0000:80:00.0", "10000:00:00.0", "0000:02:00.1", "0000:02:00.0", "0000:0a:00.0"}) {
        PciDevice(tree, way, "0x020000");
    }
    HeardHost host(tree);
    Strings order;
    for (const PciFunction &function : ReadPciFunctions(*host)) order.push_back(Address(function.path));
    EXPECT_EQ(order,
              (Strings{"0000:02:00.0", "0000:02:00.1", "0000:0a:00.0", "0000:80:00.0", "10000:00:00.0"}));
}

class PciSlots : public ::testing::Test {
  protected:
    PciSlots() {
        PciDevice(tree_, "0000:00:01.0", "0x060400");
        PciDevice(tree_, "0000:00:01.0/0000:02:00.0", "0x020000");
        PciDevice(tree_, "0000:00:01.0/0000:02:00.1", "0x020000");
        PciDevice(tree_, "0000:00:03.0", "0x060400");
        PciDevice(tree_, "0000:00:03.0/0000:03:00.0", "0x060400");  // a bridge on the card
        PciDevice(tree_, "0000:00:03.0/0000:03:00.0/0000:04:08.0", "0x020000");
    }
    // The numbers of the slots of the functions above, in their order.
    std::vector<int> Numbers() {
        std::vector<int> numbers;
        HeardHost host(tree_);
        for (const PciFunction &function : ReadPciFunctions(*host)) {
            numbers.push_back(function.slot.number);
            names_.push_back(function.slot.name);
            ocp_.push_back(function.slot.ocp);
        }
        lines_ = host.lines();
        return numbers;
    }
    void Slot(const std::string &name, const std::string &address) {
        tree_.File("/sys/bus/pci/slots/" + name + "/address", address + "\n");
    }
    static std::string SystemSlot(const std::string &name, uint32_t id, uint32_t bus, uint32_t devfn,
                                  uint32_t type = 0xA5) {
        return SmbiosBuilder(9, 0x11)
            .Text(0x04, name)
            .Byte(0x05, type)
            .Word(0x09, id)
            .Byte(0x0F, bus)
            .Byte(0x10, devfn)
            .Bytes();
    }

    Tree tree_;
    Strings names_;
    std::vector<bool> ocp_;
    Strings lines_;
};

// In the order of the addresses: 00:01.0, 00:03.0, 02:00.0, 02:00.1, 03:00.0, 04:08.0.
TEST_F(PciSlots, AllFunctionsOfADeviceAndThoseBehindACardsBridgeAreInItsSlot) {
    Slot("3", "0000:02:00");
    Slot("07", "0000:03:00");
    EXPECT_EQ(Numbers(), (std::vector{0, 0, 3, 3, 0, 7}));
    EXPECT_EQ(names_, (Strings{"", "", "3", "3", "", "07"}));
    EXPECT_EQ(lines_, Strings{});
}

TEST_F(PciSlots, ASlotWithoutADeviceNumberIsForItsBus) {
    Slot("9", "0000:04");
    EXPECT_EQ(Numbers(), (std::vector{0, 0, 0, 0, 0, 9}));
}

TEST_F(PciSlots, FirmwareNamesThemAndKnowsOthers) {
    Slot("3", "0000:02:00");
    tree_.File(kDmiTable, SystemSlot("Riser 1 Slot 3", 77, 0x02, 0) +
                              SystemSlot("Slot 4", 4, 0x00, 0x18, 0x26) + EndOfTable());
    EXPECT_EQ(Numbers(), (std::vector{0, 0, 3, 3, 0, 4}));
    EXPECT_EQ(names_, (Strings{"", "", "Riser 1 Slot 3", "Riser 1 Slot 3", "", "Slot 4"}));
    EXPECT_EQ(ocp_, (std::vector<bool>{false, false, false, false, false, true}));
}

TEST_F(PciSlots, ANumberThatAnotherSlotHasIsNotGivenTwice) {
    Slot("3", "0000:02:00");
    tree_.File(kDmiTable, SystemSlot("Slot A", 3, 0x03, 0) + EndOfTable());
    EXPECT_EQ(Numbers(), (std::vector{0, 0, 3, 3, 0, 0}));
    EXPECT_EQ(
        lines_,
        Strings{"PCI slot Slot A: no number of its own from 1 to 255; its devices are stored without a slot "
                "number"});
}

TEST_F(PciSlots, NumbersThatDoNotFitAndNamesThatAreNoneAreKeptAsNames) {
    Slot("8191", "0000:02:00");
    Slot("2-1", "0000:03:00");
    EXPECT_EQ(Numbers(), (std::vector{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(names_, (Strings{"", "", "8191", "8191", "", "2-1"}));
    EXPECT_EQ(lines_.size(), 2u);
}

TEST_F(PciSlots, BrokenAddressesAreSkippedAndUnknownOnesSilently) {
    Slot("1", "garbage");
    Slot("2", "0000:02:20");
    Slot("3", "");
    tree_.File(kDmiTable, SystemSlot("Slot 5", 5, 0xFF, 0xFF) + SystemSlot("Slot 6", 6, 0, 0) +
                              SmbiosBuilder(9, 0x0D).Text(0x04, "Old").Bytes() + EndOfTable());
    EXPECT_EQ(Numbers(), (std::vector{0, 0, 0, 0, 0, 0}));
    EXPECT_EQ(lines_.size(), 3u) << ::testing::PrintToString(lines_);
}

TEST(PciVpd, TheReadOnlyFieldsAreRead) {
    const PciVpd vpd = ParsePciVpd(Vpd());
    EXPECT_EQ(vpd.name, "Example Adapter");
    EXPECT_EQ(vpd.part, "PART-1");
    EXPECT_EQ(vpd.serial, "SER-1");
    EXPECT_EQ(vpd.maker, "Maker");
    EXPECT_EQ(vpd.change, "A02");
}

TEST(PciVpd, DamagedDataGiveWhatStandsBeforeTheDamage) {
    const std::string whole = Vpd();
    for (size_t length = 0; length < whole.size(); ++length) {
        const PciVpd vpd = ParsePciVpd(whole.substr(0, length));
        EXPECT_TRUE(vpd.name.empty() || vpd.name == "Example Adapter") << length;
        EXPECT_TRUE(vpd.serial.empty() || vpd.serial == "SER-1") << length;
    }
    EXPECT_EQ(ParsePciVpd(VpdResource(0x90, "SN\x7Fxx")).serial, "");  // a field longer than its resource
    EXPECT_EQ(ParsePciVpd(std::string(300, '\xFF')), PciVpd{});
    EXPECT_EQ(ParsePciVpd(std::string(300, '\0')), PciVpd{});
    EXPECT_EQ(ParsePciVpd(VpdResource(0x90, VpdField("SN", "N/A"))).serial, "");
    EXPECT_EQ(ParsePciVpd(VpdResource(0x91, VpdField("SN", "writable"))).serial, "");
}

TEST(PciVpd, IsReadOncePerDevice) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x020000");
    const std::string file = PciDir("0000:00:01.0") + "/vpd";
    tree.File(file, Vpd("FIRST"));
    HeardHost host(tree);
    PciFunction function = ReadPciFunctions(*host).at(0);
    PciVpdCache cache;
    EXPECT_EQ(cache.Of(*host, function).serial, "FIRST");
    tree.File(file, Vpd("SECOND"));
    EXPECT_EQ(cache.Of(*host, function).serial, "FIRST");
    function.device = 0x1001;  // another card
    EXPECT_EQ(cache.Of(*host, function).serial, "SECOND");
}

const char *const kDatabase =
    "# comment\n"
    "1028  Second Maker\n"
    "\t0001  Other thing\n"
    "8086  First  Maker\n"
    "# in between\n"
    "\t1521  Gigabit thing\n"
    "\t\t1028 0002  Their card\n"
    "\t\t8086 0001  Own card\n"
    "\t1522  Fiber thing\n"
    "ffff  Illegal Vendor ID\n"
    "C 02  Network controller\n"
    "\t00  Ethernet controller\n";

TEST(PciNames, AreFoundByTheirIds) {
    const PciNames names(kDatabase);
    EXPECT_EQ(names.Vendor(0x8086), "First  Maker");
    EXPECT_EQ(names.Vendor(0x1028), "Second Maker");
    EXPECT_EQ(names.Vendor(0xFFFF), "Illegal Vendor ID");
    EXPECT_EQ(names.Vendor(0x0002), "");
    EXPECT_EQ(names.Device(0x8086, 0x1521), "Gigabit thing");
    EXPECT_EQ(names.Device(0x8086, 0x1522), "Fiber thing");
    EXPECT_EQ(names.Device(0x8086, 0x1028), "");
    EXPECT_EQ(names.Device(0x8086, 0x0001), "");
    EXPECT_EQ(names.Device(0xFFFF, 0x0000), "");
    EXPECT_EQ(names.Subsystem(0x8086, 0x1521, 0x1028, 0x0002), "Their card");
    EXPECT_EQ(names.Subsystem(0x8086, 0x1521, 0x1028, 0x0003), "");
    EXPECT_EQ(names.Subsystem(0x8086, 0x1522, 0x1028, 0x0002), "");
}

TEST(PciNames, GarbageHasNone) {
    for (const char *text : {"", "\n\n", "garbage", "8086", "8086 x", "808g  Maker", "\t1521  Thing\n",
                             "8086\tMaker\n", "C 8086  Maker\n"}) {
        EXPECT_EQ(PciNames(text).Vendor(0x8086), "") << text;
        EXPECT_EQ(PciNames(text).Device(0x8086, 0x1521), "") << text;
    }
    EXPECT_EQ(PciNames("8086  Unended").Vendor(0x8086), "Unended");
}

TEST(PciNames, ACardIsCalledByItsOwnDataBeforeTheDatabase) {
    const PciNames names(kDatabase);
    PciFunction function;
    function.vendor = 0x8086;
    function.device = 0x1521;
    function.sub_vendor = 0x1028;
    function.sub_device = 0x0002;
    PciTexts texts = DescribePci(function, {}, names);
    EXPECT_EQ(texts.product, "Their card");
    EXPECT_EQ(texts.maker, "Second Maker");
    EXPECT_EQ(texts.controller_maker, "First  Maker");
    EXPECT_EQ(texts.device, "Gigabit thing");
    texts = DescribePci(function, ParsePciVpd(Vpd()), names);
    EXPECT_EQ(texts.product, "Example Adapter");
    EXPECT_EQ(texts.maker, "Maker");
    function.sub_vendor = 0;
    texts = DescribePci(function, {}, names);
    EXPECT_EQ(texts.product, "Gigabit thing");
    EXPECT_EQ(texts.maker, "");
}

TEST(Pci, TheInnermostFunctionOfAPathIsTheParent) {
    Tree tree;
    PciDevice(tree, "0000:00:01.0", "0x060400");
    PciDevice(tree, "0000:00:01.0/0000:02:00.0", "0x020000");
    HeardHost host(tree);
    const auto functions = ReadPciFunctions(*host);
    EXPECT_EQ(FindPciParent(functions, PciDir("0000:00:01.0/0000:02:00.0/virtio1")), &functions[1]);
    EXPECT_EQ(FindPciParent(functions, PciDir("0000:00:01.0/usb1")), &functions[0]);
    EXPECT_EQ(FindPciParent(functions, PciDir("0000:00:01.0/0000:05:00.0/host1")), nullptr);
    EXPECT_EQ(FindPciParent(functions, "/sys/devices/virtual/net/br0"), nullptr);
    EXPECT_EQ(FindPciParent(functions, ""), nullptr);
}

TEST(Pci, TheUptimeIsInWholeSeconds) {
    Tree tree;
    HeardHost host(tree);
    EXPECT_EQ(UptimeSeconds(*host), 0u);
    tree.File("/proc/uptime", "3725.49 4452.19\n");
    EXPECT_EQ(UptimeSeconds(*host), 3725u);
    EXPECT_EQ(host.lines(), Strings{});
    tree.File("/proc/uptime", "garbage");
    EXPECT_EQ(UptimeSeconds(*host), 0u);
    EXPECT_EQ(host.lines().size(), 1u);
}

}  // namespace
}  // namespace collect
