#include "area.h"
#include "collectors/pcie.h"
#include "pci_tree.h"

namespace collect {
namespace {

PciFunction Function(uint8_t bus, uint8_t base_class, uint8_t sub_class = 0) {
    PciFunction function;
    function.address.bus = bus;
    function.base_class = base_class;
    function.sub_class = sub_class;
    return function;
}

TEST(Pcie, WithRoomForAllNoneIsLeftOut) {
    std::vector<PciFunction> functions;
    for (uint8_t bus = 0; bus < 64; ++bus)
        functions.push_back(Function(bus, bus % 2 == 0 ? kPciBridge : kPciNetwork));
    const PcieFunctions chosen = ChoosePcieFunctions(functions);
    EXPECT_EQ(chosen.functions.size(), 64u);
    EXPECT_EQ(chosen.left_out, 0u);
}

TEST(Pcie, BridgesAreLeftOutFirstThenPartsOfTheChipset) {
    std::vector<PciFunction> functions;
    for (uint8_t bus = 0; bus < 30; ++bus) functions.push_back(Function(bus, kPciBridge));
    for (uint8_t bus = 30; bus < 80; ++bus) functions.push_back(Function(bus, kPciSystemPeripheral));
    for (uint8_t bus = 80; bus < 100; ++bus) functions.push_back(Function(bus, kPciNetwork));
    functions.push_back(Function(100, kPciNetwork));
    functions.back().is_virtual = true;
    functions.push_back(Function(101, kPciSystemPeripheral));
    functions.back().slot = {7, "7"};
    const PcieFunctions chosen = ChoosePcieFunctions(functions);
    ASSERT_EQ(chosen.functions.size(), 64u);
    EXPECT_EQ(chosen.left_out, functions.size() - 64);
    // 21 devices, a card in a slot among them, and the first 43 parts of the chipset, by address.
    EXPECT_EQ(chosen.functions[0].address.bus, 30);
    EXPECT_EQ(chosen.functions[42].address.bus, 72);
    EXPECT_EQ(chosen.functions[43].address.bus, 80);
    EXPECT_EQ(chosen.functions[62].address.bus, 99);
    EXPECT_EQ(chosen.functions[63].address.bus, 101);
}

TEST(Pcie, TypesFollowFromClassAndSlot) {
    const PciNames names;
    PciFunction card = Function(2, kPciNetwork);
    EXPECT_EQ(ToPcieRecord(card, {}, names).ucDevType, 0);
    card.slot = {3, "3", false};
    EXPECT_EQ(ToPcieRecord(card, {}, names).ucDevType, MW_PCIE_TYPE_CARD);
    EXPECT_EQ(ToPcieRecord(card, {}, names).ucExtType, 0);
    card.slot.ocp = true;
    EXPECT_EQ(ToPcieRecord(card, {}, names).ucDevType, MW_PCIE_TYPE_OCP);
    EXPECT_EQ(ToPcieRecord(card, {}, names).ucExtType, MW_PCIE_EXT_OCP);
    EXPECT_EQ(ToPcieRecord(Function(2, kPciStorage, 8), {}, names).ucDevType, MW_PCIE_TYPE_NVME);
    const std::tuple<int, int, const char *> kNames[] = {
        {1, 4, "RAID"},   {1, 6, "SATA"}, {1, 7, "SAS"},    {1, 8, "NVMe"},  {1, 1, ""},    {2, 0, "NIC"},
        {2, 0x80, "NIC"}, {3, 0, "GPU"},  {0x12, 0, "GPU"}, {0x0C, 4, "FC"}, {0x0C, 3, ""}, {6, 4, ""}};
    for (const auto &[base, sub, name] : kNames) {
        EXPECT_EQ(PcieTypeName(Function(0, static_cast<uint8_t>(base), static_cast<uint8_t>(sub))), name)
            << base << sub;
    }
}

TEST(Pcie, ARecordSaysWhatTheFunctionIs) {
    PciFunction function = Function(0x82, kPciNetwork);
    function.address = {0x10000, 0x82, 0x1F, 7};
    function.vendor = 1, function.device = 2, function.sub_vendor = 3, function.sub_device = 4;
    function.prog_if = 5, function.revision = 6, function.header_type = 0;
    function.link = {3, 8};
    function.max_link = {4, 16};
    function.slot = {12, "Riser 2"};
    function.label = "label";
    const PcieAssetInfo info =
        ToPcieRecord(function, ParsePciVpd(Vpd()), PciNames("0001  One\n\t0002  Two\n"));
    EXPECT_EQ(info.dwDomain, 0x10000u);
    EXPECT_EQ(info.ucBus, 0x82);
    EXPECT_EQ(info.ucDevice, 0x1F);
    EXPECT_EQ(info.ucFunction, 7);
    EXPECT_EQ(info.wVendorId, 1);
    EXPECT_EQ(info.wDeviceId, 2);
    EXPECT_EQ(info.wSubVendorId, 3);
    EXPECT_EQ(info.wSubDeviceId, 4);
    EXPECT_EQ(info.ucProgIf, 5);
    EXPECT_EQ(info.ucRevision, 6);
    EXPECT_EQ(info.ucSlot, 12);
    EXPECT_EQ(info.ucPresentState, 1);
    EXPECT_EQ(info.ucLinkSpeed, 3);
    EXPECT_EQ(info.ucLinkWidth, 8);
    EXPECT_EQ(info.ucMaxLinkSpeed, 4);
    EXPECT_EQ(info.ucMaxLinkWidth, 16);
    EXPECT_EQ(info.ucNumaNode, 255);
    EXPECT_EQ(info.ucBiosAttr, MW_PCIE_UNKNOWN);
    EXPECT_EQ(info.ucBiosState1 & info.ucBiosState2 & info.ucBiosState3, MW_PCIE_UNKNOWN);
    EXPECT_STREQ(info.acLocation, "label");
    EXPECT_STREQ(info.acSlotName, "Riser 2");
    EXPECT_STREQ(info.acDevName, "NIC12");
    EXPECT_STREQ(info.acDevTypeName, "NIC");
    EXPECT_STREQ(info.acSerialNum, "SER-1");
    EXPECT_STREQ(info.acTextB, "PART-1");
    EXPECT_STREQ(info.acTextC, "Maker");
    EXPECT_STREQ(info.acTextD, "A02");
    EXPECT_STREQ(info.acTextE, "One");
    EXPECT_STREQ(info.acTextG, "Example Adapter");
}

class PcieStore : public OnBlankArea {
  protected:
    std::vector<PcieAssetInfo> Table() {
        std::vector<PcieAssetInfo> records(MW_PCIE_MAX);
        uint32_t count = 0;
        EXPECT_EQ(MW_GetPcieAssetInfo(records.data(), &count), 0);
        records.resize(count);
        return records;
    }
    Tree tree_;
};

TEST_F(PcieStore, WhatIsInSlotsIsListedForUpperInterfaces) {
    PciDevice(tree_, "0000:00:01.0", "0x060400");
    PciDevice(tree_, "0000:00:01.0/0000:02:00.0", "0x020000");
    PciDevice(tree_, "0000:00:02.0", "0x030000");
    tree_.File("/sys/bus/pci/slots/5/address", "0000:02:00");
    EXPECT_EQ(Once("pcie", tree_), 3u);
    ASSERT_EQ(Table().size(), 3u);
    std::vector<PcieAssetInfo> upper(MW_PCIE_UPPER_MAX);
    uint32_t count = 0;
    ASSERT_EQ(MW_GetPcieAssetInfoForUpperInterface(upper.data(), &count), 0);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(upper[0].ucSlot, 5);
    EXPECT_EQ(upper[0].ucBus, 2);
}

TEST_F(PcieStore, ATableThatSaysTheSameIsNotWrittenAgain) {
    PciDevice(tree_, "0000:00:02.0", "0x020000");
    EXPECT_EQ(Once("pcie", tree_), 1u);
    EXPECT_EQ(Once("pcie", tree_), 0u);
}

TEST_F(PcieStore, LaterRoundsKeepWhatOthersStored) {
    PciDevice(tree_, "0000:00:02.0", "0x020000");
    tree_.File("/sys/bus/pci/slots/5/address", "0000:00:02");
    const std::string width = PciDir("0000:00:02.0") + "/current_link_width";
    tree_.File(width, "8").File(PciDir("0000:00:02.0") + "/vpd", Vpd());
    Once("pcie", tree_);
    ASSERT_EQ(MW_SetPcieBusDegradedState(MW_PCIE_TYPE_CARD, 5, 1), 0);
    PcieNicCardInfo nic{};
    nic.ucSlot = 5, nic.ucCardFlag = 1, nic.ucNicAttr = 9;
    std::strcpy(nic.tText.acTextF, "1.2.3");
    std::strcpy(nic.tText.acDevTypeName, "OWN");
    ASSERT_EQ(MW_SetPcieNicInfo(&nic), 0);

    tree_.File(width, "4");
    PciDevice(tree_, "0000:00:01.0", "0x030000");  // moves the others down
    EXPECT_EQ(Once("pcie", tree_), 2u);
    const PcieAssetInfo card = Table().at(1);
    EXPECT_EQ(card.ucLinkWidth, 4);
    EXPECT_EQ(card.aucAlarmState[MW_PCIE_ALARM_BUS_DEGRADED], 1);
    EXPECT_EQ(card.ucCardFlag, 1);
    EXPECT_EQ(card.aucBiosExt[MW_PCIE_BIOS_EXT_NIC_ATTR], 9);
    EXPECT_STREQ(card.acTextF, "1.2.3");
    EXPECT_STREQ(card.acDevName, "OWN5");
    EXPECT_STREQ(card.acTextB, "PART-1");  // what the card's owner left empty
    uint8_t summary[MW_PCIE_ALARM_SIZE];
    ASSERT_EQ(MW_GetCriticalIntAlarmInfo(summary), 0);
    EXPECT_EQ(summary[MW_PCIE_ALARM_BUS_DEGRADED], 1);
}

TEST_F(PcieStore, AnotherCardInTheSlotStartsWithoutAlarms) {
    PciDevice(tree_, "0000:00:02.0", "0x020000");
    tree_.File("/sys/bus/pci/slots/5/address", "0000:00:02")
        .File(PciDir("0000:00:02.0") + "/vpd", Vpd("ONE"));
    Once("pcie", tree_);
    ASSERT_EQ(MW_SetPciePCIPERRState(MW_PCIE_TYPE_CARD, 5, 1), 0);
    tree_.File(PciDir("0000:00:02.0") + "/vpd", Vpd("TWO"));
    EXPECT_EQ(Once("pcie", tree_), 1u);
    EXPECT_EQ(Table().at(0).aucAlarmState[MW_PCIE_ALARM_PCI_PERR], 0);
    EXPECT_STREQ(Table().at(0).acSerialNum, "TWO");
}

TEST_F(PcieStore, AHostWithoutABusLeavesTheTableAlone) {
    PciDevice(tree_, "0000:00:02.0", "0x020000");
    Once("pcie", tree_);
    Tree nothing;
    for (const char *name : {"pcie", "nic", "fc", "gpu"}) EXPECT_EQ(Once(name, nothing), 0u) << name;
    EXPECT_EQ(Table().size(), 1u);
}

TEST_F(PcieStore, ABusWithoutDevicesEmptiesTheTable) {
    PciDevice(tree_, "0000:00:02.0", "0x020000");
    Once("pcie", tree_);
    Tree empty;
    empty.Dir("/sys/bus/pci/devices");
    EXPECT_EQ(Once("pcie", empty), 0u);
    EXPECT_EQ(Table().size(), 0u);
}

TEST_F(PcieStore, AStoredCountAboveTheMaximumIsReplaced) {
    PciDevice(tree_, "0000:00:02.0", "0x020000");
    uint32_t count = 0;
    ASSERT_EQ(MW_GetPcieCount(&count), 0);
    static_cast<uint32_t *>(g_ptPcieCollectAddr)[1] = 0xFFFFFFFF;
    EXPECT_EQ(Once("pcie", tree_), 1u);
    EXPECT_EQ(Table().size(), 1u);
}

TEST_F(PcieStore, WhatIsLeftOutIsSaidOnce) {
    for (int i = 0; i < 70; ++i)
        PciDevice(tree_, fmt::format("0000:{:02x}:00.0", i), i < 10 ? "0x060400" : "0x020000");
    HeardHost host(tree_);
    const auto collector = New("pcie");
    EXPECT_EQ(Round(*collector, host), 64u);
    EXPECT_EQ(Round(*collector, host), 0u);
    EXPECT_EQ(host.Line(), "PCIe devices: 6 of 70 functions left out, there is room for 64");
    size_t bridges = 0;
    for (const PcieAssetInfo &record : Table()) bridges += record.ucClassCode == kPciBridge;
    EXPECT_EQ(bridges, 4u);
}

}  // namespace
}  // namespace collect
