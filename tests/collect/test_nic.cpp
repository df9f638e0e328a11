#include "area.h"
#include "collectors/nic.h"
#include "pci_tree.h"
#include "smbios_builder.h"

namespace collect {
namespace {

NicCards Find(const Host &host) { return FindNicCards(host, ReadPciFunctions(host)); }

TEST(Nic, MacAddressesAreWholeOrNone) {
    EXPECT_EQ(ParseMac("02:00:5e:AB:cd:0f"), (std::array<uint8_t, 6>{2, 0, 0x5E, 0xAB, 0xCD, 0x0F}));
    for (const char *text :
         {"", "02:00:00:00:00", "02:00:00:00:00:0", "02-00-00-00-00-01", "02:00:00:00:00:01:02",
          "0x:00:00:00:00:01", "02:00:00:00:00: 1", "+2:00:00:00:00:01"}) {
        EXPECT_EQ(ParseMac(text), std::nullopt) << text;
    }
}

TEST(Nic, OnlyPhysicalDevicesCount) {
    Tree tree;
    tree.File("/sys/devices/virtual/net/br0/addr_len", "6")
        .Link("/sys/class/net/br0", "../../devices/virtual/net/br0");
    tree.File("/sys/class/net/bonding_masters", "");
    PciDevice(tree, "0000:00:02.0", "0x020000");
    Interface(tree, PciDir("0000:00:02.0"), "eth0");
    HeardHost host(tree);
    const NicCards found = Find(*host);
    ASSERT_EQ(found.cards.size(), 1u);
    ASSERT_EQ(found.cards[0].ports.size(), 1u);
    EXPECT_EQ(found.cards[0].ports[0].name, "eth0");
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Nic, TheFunctionsOfADeviceAreOneCardAndItsPortsAreNumbered) {
    Tree tree;
    PciDevice(tree, "0000:02:00.1", "0x020000");
    PciDevice(tree, "0000:02:00.0", "0x020000");
    PciDevice(tree, "0000:03:00.0", "0x020700");
    PciDevice(tree, "0000:04:00.0", "0x020000");  // without a driver
    Interface(tree, PciDir("0000:02:00.1"), "a");
    Interface(tree, PciDir("0000:02:00.0"), "b");
    tree.File(Interface(tree, PciDir("0000:03:00.0"), "y") + "dev_port", "1");
    tree.File(Interface(tree, PciDir("0000:03:00.0"), "z") + "dev_port", "0");
    HeardHost host(tree);
    const NicCards found = Find(*host);
    ASSERT_EQ(found.cards.size(), 3u);
    const auto names = [&](size_t card) {
        Strings ports;
        for (const NicPort &port : found.cards[card].ports) ports.push_back(port.name);
        return ports;
    };
    EXPECT_EQ(names(0), (Strings{"b", "a"}));
    EXPECT_EQ(names(1), (Strings{"z", "y"}));
    EXPECT_EQ(names(2), Strings{});
    EXPECT_EQ(found.cards[0].function->address.function, 0);
}

TEST(Nic, VirtualFunctionsAreNoCardsOfTheirOwn) {
    Tree tree;
    PciDevice(tree, "0000:02:00.0", "0x020000");
    PciDevice(tree, "0000:02:10.0", "0x020000");
    tree.Link(PciDir("0000:02:10.0") + "/physfn", "../0000:02:00.0");
    Interface(tree, PciDir("0000:02:00.0"), "eth0");
    Interface(tree, PciDir("0000:02:10.0"), "eth0v0");
    HeardHost host(tree);
    const NicCards found = Find(*host);
    ASSERT_EQ(found.cards.size(), 1u);
    EXPECT_EQ(found.cards[0].ports.size(), 1u);
}

TEST(Nic, ADeviceOfAnotherBusIsACardWithoutAPciAddress) {
    Tree tree;
    PciDevice(tree, "0000:00:14.0", "0x0c0330");
    const std::string usb = PciDir("0000:00:14.0") + "/usb1/1-1:1.0";
    tree.Dir(usb);
    Interface(tree, usb, "usb0");
    tree.Link(usb + "/driver", "../../../../bus/usb/drivers/example_usb");
    HeardHost host(tree);
    const NicCards found = Find(*host);
    ASSERT_EQ(found.cards.size(), 1u);
    EXPECT_FALSE(found.cards[0].function);
    const NicCardAssetInfo card = ToNicCardRecord(found.cards[0], {}, PciNames());
    EXPECT_EQ(card.wVendorId, 0);
    EXPECT_STREQ(card.acDriver, "example_usb");
    EXPECT_EQ(card.ucNumaNode, MW_NIC_UNKNOWN);
    EXPECT_EQ(card.ucNicSlotType, 0);
}

TEST(Nic, APortSaysWhatTheKernelSays) {
    Tree tree;
    PciDevice(tree, "0000:02:00.0", "0x020000");
    const std::string dir = Interface(tree, PciDir("0000:02:00.0"), "eth0");
    tree.File(dir + "carrier", "1")
        .File(dir + "duplex", "full")
        .File(dir + "speed", "25000")
        .File(dir + "mtu", "9000");
    tree.File(dir + "ifindex", "4")
        .File(dir + "carrier_changes", "7")
        .File(PciDir("0000:02:00.0") + "/numa_node", "1");
    tree.File(dir + "statistics/rx_packets", "4294967298").File(dir + "statistics/tx_dropped", "3");
    tree.Link(PciDir("0000:02:00.0") + "/driver", "../../../bus/pci/drivers/example");
    HeardHost host(tree);
    const NicCards found = Find(*host);
    const NicPortAssetInfo port = ToNicPortRecord(found.cards.at(0), found.cards[0].ports.at(0), 1);
    EXPECT_EQ(port.ucLinkState, MW_NIC_LINK_UP);
    EXPECT_EQ(port.ucDuplex, 1);
    EXPECT_EQ(port.ucAutoNeg, MW_NIC_UNKNOWN);
    EXPECT_EQ(port.dwSpeed, 25000u);
    EXPECT_EQ(port.dwMtu, 9000u);
    EXPECT_EQ(port.dwIfIndex, 4u);
    EXPECT_EQ(port.dwCarrierChanges, 7u);
    EXPECT_EQ(port.dwRxPackets, 2u);
    EXPECT_EQ(port.dwTxDropped, 3u);
    EXPECT_EQ(port.ucNumaNode, 1);
    EXPECT_EQ(port.ucNetPortId, 1);
    EXPECT_EQ(port.ucBus, 2);
    EXPECT_EQ(port.aucMac[0], 2);
    EXPECT_EQ(port.aucPermMac[5], 1);
    EXPECT_STREQ(port.acIfName, "eth0");
    EXPECT_STREQ(port.acDriver, "example");
    EXPECT_NE(port.iCompleteCode, 0);  // no module was read
    EXPECT_EQ(host.lines(), Strings{});
}

struct PortState {
    const char *carrier, *operstate, *duplex, *speed;
    uint8_t link, shown_duplex;
    uint32_t shown_speed;
    size_t lines;
};

void PrintTo(const PortState &state, std::ostream *out) {
    *out << state.operstate << " \"" << state.speed << '"';
}

class NicPortStates : public ::testing::TestWithParam<PortState> {};

TEST_P(NicPortStates, AreNeverAWrongNumber) {
    const PortState &state = GetParam();
    Tree tree;
    PciDevice(tree, "0000:02:00.0", "0x020000");
    const std::string dir = Interface(tree, PciDir("0000:02:00.0"), "eth0");
    tree.File(dir + "carrier", state.carrier).File(dir + "operstate", state.operstate);
    tree.File(dir + "duplex", state.duplex).File(dir + "speed", state.speed);
    HeardHost host(tree);
    const NicPort port = Find(*host).cards.at(0).ports.at(0);
    EXPECT_EQ(port.link_state, state.link);
    EXPECT_EQ(port.duplex, state.shown_duplex);
    EXPECT_EQ(port.speed, state.shown_speed);
    EXPECT_EQ(host.lines().size(), state.lines) << ::testing::PrintToString(host.lines());
}

INSTANTIATE_TEST_SUITE_P(All, NicPortStates,
                         ::testing::Values(PortState{"1\n", "up", "full\n", "1000\n", 1, 1, 1000, 0},
                                           PortState{"0", "down", "half", "10", 0, 0, 10, 0},
                                           PortState{"", "down", "", "", 0, 255, 0,
                                                     0},  // an interface that is off
                                           PortState{"1", "up", "unknown", "-1", 1, 255, 0, 0},
                                           PortState{"", "unknown", "", "65535", 255, 255, 0, 0},
                                           PortState{"", "up", "full", "4294967295", 1, 1, 0, 0},
                                           PortState{"2", "lowerlayerdown", "x", "fast", 0, 255, 0, 3},
                                           PortState{"1", "up", "full", "99999999999", 1, 1, 0, 1},
                                           PortState{"1", "up", "full", "-2", 1, 1, 0, 1}));

TEST(Nic, OnlyPermanentAddressesArePermanentAndLongOnesAreNone) {
    Tree tree;
    PciDevice(tree, "0000:02:00.0", "0x020000");
    tree.File(Interface(tree, PciDir("0000:02:00.0"), "eth0") + "addr_assign_type", "3");
    const std::string ib = Interface(tree, PciDir("0000:02:00.0"), "ib0");
    tree.File(ib + "addr_len", "20")
        .File(ib + "address", "80:00:00:48:fe:80:00:00:00:00:00:00:00:00:00:00:00:00:00:01");
    tree.File(Interface(tree, PciDir("0000:02:00.0"), "x") + "address", "garbage");
    HeardHost host(tree);
    const NicCards found = Find(*host);
    const NicCard &card = found.cards.at(0);
    ASSERT_EQ(card.ports.size(), 3u);
    EXPECT_TRUE(card.ports[0].mac);
    EXPECT_FALSE(card.ports[0].mac_is_permanent);
    EXPECT_FALSE(card.ports[1].mac);
    EXPECT_FALSE(card.ports[2].mac);
    EXPECT_EQ(ToNicCardRecord(card, {}, PciNames()).ucMacNum, 0);
    EXPECT_EQ(host.lines().size(), 1u);
}

TEST(Nic, ACardTakesItsTextsFromItsOwnDataAndItsSlotFromTheSystem) {
    Tree tree;
    PciDevice(tree, "0000:02:00.0", "0x020000", "0x0001", "0x0002");
    tree.File(
        kDmiTable,
        SmbiosBuilder(9, 0x11).Text(0x04, "OCP 1").Byte(0x05, 0x26).Word(0x09, 4).Byte(0x0F, 2).Bytes());
    tree.File(PciDir("0000:02:00.0") + "/infiniband/dev0/fw_ver", "2.11.500\n");
    tree.File(PciDir("0000:02:00.0") + "/current_link_speed", "8.0 GT/s PCIe");
    Interface(tree, PciDir("0000:02:00.0"), "eth0");
    HeardHost host(tree);
    const NicCards found = Find(*host);
    const NicCardAssetInfo card =
        ToNicCardRecord(found.cards.at(0), ParsePciVpd(Vpd()), PciNames("0001  One\n\t0002  Two\n"));
    EXPECT_EQ(card.ucPresent, 1);
    EXPECT_EQ(card.ucNicSlotType, MW_NIC_SLOT_OCP);
    EXPECT_EQ(card.ucNicSlotNum, 4);
    EXPECT_EQ(card.ucNicSlotId, 4);
    EXPECT_STREQ(card.acSlotName, "OCP 1");
    EXPECT_STREQ(card.acNicText1, "Example Adapter");
    EXPECT_STREQ(card.acNicText2, "2.11.500");
    EXPECT_STREQ(card.acNicText3, "Maker");
    EXPECT_STREQ(card.acNicText4, "A02");
    EXPECT_STREQ(card.acNicText5, "PART-1");
    EXPECT_STREQ(card.acSerialNum, "SER-1");
    EXPECT_STREQ(card.acDeviceName, "Two");
    EXPECT_EQ(card.ucMacNum, 1);
    EXPECT_EQ(card.ucPortNum, 1);
    EXPECT_EQ(card.ucLinkSpeed, 3);
    const NicPortAssetInfo port = ToNicPortRecord(found.cards[0], found.cards[0].ports.at(0), 1);
    EXPECT_EQ(port.ucNetPortOwnerNicSlottype, MW_NIC_SLOT_OCP);
    EXPECT_EQ(port.ucNetPortOwnerNicSlotnum, 4);
}

TEST(Nic, CardsAndPortsBeyondTheTablesAreCounted) {
    Tree tree;
    for (int i = 0; i < 66; ++i) {
        const std::string way = fmt::format("0000:{:02x}:00.0", i);
        PciDevice(tree, way, "0x020000");
        for (int port = 0; port < 4; ++port) Interface(tree, PciDir(way), fmt::format("e{}p{}", i, port));
    }
    HeardHost host(tree);
    const NicCards found = Find(*host);
    EXPECT_EQ(found.cards.size(), 64u);
    EXPECT_EQ(found.cards_left_out, 2u);
    EXPECT_EQ(found.ports_left_out, 24u);
    EXPECT_EQ(found.cards[59].ports.size(), 4u);
    EXPECT_EQ(found.cards[60].ports.size(), 0u);
}

class NicStore : public OnBlankArea {
  protected:
    void SetUp() override {
        OnBlankArea::SetUp();
        PciDevice(tree_, "0000:02:00.0", "0x020000");
        tree_.File("/sys/bus/pci/slots/3/address", "0000:02:00").File("/proc/uptime", "100.5 1");
        port_dir_ = Interface(tree_, PciDir("0000:02:00.0"), "eth0");
    }
    NicCardBlock Cards() {
        NicCardBlock block;
        EXPECT_EQ(MW_GetNICCardAssetInfo(&block), 0);
        return block;
    }
    NicPortBlock Ports() {
        NicPortBlock block;
        EXPECT_EQ(MW_GetNICPortAssetInfo(&block), 0);
        return block;
    }
    Tree tree_;
    std::string port_dir_;
};

TEST_F(NicStore, CardsAreWrittenWhenTheySaySomethingNewAndPortsEveryRound) {
    HeardHost host(tree_);
    const auto collector = New("nic");
    EXPECT_EQ(Round(*collector, host), 2u);
    EXPECT_EQ(Cards().dwNicCardNum, 1u);
    EXPECT_EQ(Cards().atNicCard[0].dwUpdateTime, 100u);
    tree_.File("/proc/uptime", "200.5 1").File(port_dir_ + "statistics/rx_packets", "5");
    EXPECT_EQ(Round(*collector, host), 1u);
    EXPECT_EQ(Cards().atNicCard[0].dwUpdateTime, 100u);
    EXPECT_EQ(Ports().atNicPort[0].dwUpdateTime, 200u);
    EXPECT_EQ(Ports().atNicPort[0].dwRxPackets, 5u);
}

TEST_F(NicStore, LaterRoundsKeepSensorsAndReadingsOfOthers) {
    Once("nic", tree_);
    NicCardBlock cards = Cards();
    cards.atNicCard[0].dwT200Flag = 1;
    cards.atNicCard[0].tT200Info.ucPostStatus = 2;
    cards.atNicCard[0].tT200Info.atSensor[13].ucTemp = 55;
    cards.atNicCard[0].ucNicAttr = 4;
    std::strcpy(cards.atNicCard[0].acNicText2, "9.9");
    ASSERT_EQ(MW_SetNICCardAssetInfo(&cards), 0);
    NicPortBlock ports = Ports();
    ports.atNicPort[0].iCompleteCode = 0;
    ports.atNicPort[0].fPortTemp = 45.5f;
    std::strcpy(ports.atNicPort[0].acModuleVendor, "Example");
    ASSERT_EQ(MW_SetNICPortAssetInfo(&ports), 0);

    tree_.File(PciDir("0000:02:00.0") + "/numa_node", "1");  // the card is written anew
    EXPECT_EQ(Once("nic", tree_), 2u);
    uint8_t temp = 0;
    EXPECT_EQ(MW_GetT200SensorTempByIndex(13, &temp), 0);
    EXPECT_EQ(temp, 55);
    EXPECT_EQ(Cards().atNicCard[0].ucNicAttr, 4);
    EXPECT_STREQ(Cards().atNicCard[0].acNicText2, "9.9");
    EXPECT_EQ(MW_GetNICSinglePortTemp(3, 1, &temp), 0);
    EXPECT_EQ(temp, 45);
    EXPECT_STREQ(Ports().atNicPort[0].acModuleVendor, "Example");

    PciDevice(tree_, "0000:02:00.1", "0x020000");
    tree_.File(PciDir("0000:02:00.0") + "/device", "0x2000");  // another card
    Once("nic", tree_);
    EXPECT_EQ(Cards().atNicCard[0].dwT200Flag, 0u);
}

TEST_F(NicStore, TheTemperatureOfAModuleIsThatOfItsPortUntilItsSensorIsGone) {
    const std::string chip = PciDir("0000:02:00.0") + "/hwmon/hwmon3/";
    tree_.Link("/sys/class/hwmon/hwmon3", "../.." + chip.substr(4)).File(chip + "name", "example");
    tree_.Link(chip + "device", "../../../0000:02:00.0");
    tree_.File(chip + "temp1_label", "asic").File(chip + "temp1_input", "70000");
    tree_.File(chip + "temp2_label", "Module0")
        .File(chip + "temp2_input", "41000")
        .File(chip + "temp2_crit", "75000");
    HeardHost host(tree_);
    const auto collector = New("nic");
    Round(*collector, host);
    uint8_t temp = 0;
    EXPECT_EQ(MW_GetNICSinglePortTemp(3, 1, &temp), 0);
    EXPECT_EQ(temp, 41);
    EXPECT_EQ(Ports().atNicPort[0].fTempHighAlarm, 75.0f);
    tree_.File(chip + "temp2_input", "");
    Round(*collector, host);
    EXPECT_EQ(MW_GetNICSinglePortTemp(3, 1, &temp), -1);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST_F(NicStore, AHostThatLostItsCardsHasNone) {
    Once("nic", tree_);
    Tree empty;
    empty.Dir("/sys/class/net");
    Once("nic", empty);
    EXPECT_EQ(Cards().dwNicCardNum, 0u);
    EXPECT_EQ(Ports().dwNicPortNum, 0u);
}

TEST_F(NicStore, AnOcpCardIsListedOnceWithTheRecordOfItsSlot) {
    tree_.File(kDmiTable, SmbiosBuilder(9, 0x11).Text(0x04, "OCP").Byte(0x05, 0x26).Byte(0x0F, 2).Bytes());
    tree_.File(PciDir("0000:02:00.0") + "/vpd", Vpd());
    Once("pcie", tree_);
    Once("nic", tree_);
    uint8_t mask = 0;
    EXPECT_EQ(MW_GetOcpPresentStatus(&mask), 0);
    EXPECT_EQ(mask, 1 << 2);
    std::vector<PcieAssetInfo> upper(MW_PCIE_UPPER_MAX);
    uint32_t count = 0;
    ASSERT_EQ(MW_GetPcieAssetInfoForUpperInterface(upper.data(), &count), 0);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(upper[0].ucDevType, MW_PCIE_TYPE_OCP);
    EXPECT_STREQ(upper[0].acSlotName, "OCP");
    EXPECT_EQ(upper[0].ucPresentState, 1);
}

}  // namespace
}  // namespace collect
