// mwctl show of PCIe devices and add-in cards: what a process stored through the library, another one shows.
#include <cstdio>
#include <cstring>
#include <memory>

#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

template <size_t size>
void Put(char (&text)[size], const char *value) {
    std::snprintf(text, size, "%s", value);
}

void StorePcie() {
    PcieAssetInfo table[4]{};
    PcieAssetInfo &card = table[0];
    card.ucClassCode = MW_PCIE_CLASS_NETWORK;
    card.ucDevType = MW_PCIE_TYPE_CARD;
    card.ucSlot = 3;
    card.ucPresentState = 1;
    card.wVendorId = 0xAAAA, card.wDeviceId = 0x0001, card.wSubVendorId = 0xBBBB, card.wSubDeviceId = 0x0002;
    card.dwDomain = 0x10000, card.ucBus = 0x3B, card.ucDevice = 0x1F, card.ucFunction = 7;
    card.ucBiosAttr = 5;
    card.tBiosInfo1.ucValue = 1, card.tBiosInfo1.qwValue = 0x123456789ABCDEF0;
    card.ucCardFlag = 1, card.ucProgIf = 2, card.ucRevision = 0x10;
    card.ucLinkSpeed = 3, card.ucLinkWidth = 8, card.ucMaxLinkSpeed = 4, card.ucMaxLinkWidth = 16;
    card.ucNumaNode = 255;
    Put(card.acLocation, "mainboardPCIeCard3");
    Put(card.acSlotName, "PCIeCard3");
    Put(card.acDevName, "NIC3");
    Put(card.acSerialNum, "SER-1");
    Put(card.acTextB, "PART-1");
    Put(card.acTextC, "Card Maker");
    Put(card.acTextD, "A02");
    Put(card.acTextE, "Chip Maker");
    Put(card.acTextF, "1.2.3");
    Put(card.acTextG, "Example Adapter");
    Put(card.acDevTypeName, "NIC");
    card.ucBiosState1 = 1, card.ucBiosState2 = card.ucBiosState3 = MW_PCIE_UNKNOWN;
    card.aucBiosExt[4] = 9;
    card.dwGpuMem = 1, card.dwNvmeValue3 = 2;
    card.aucReserved1[1] = 0xA5;
    table[1].ucClassCode = MW_PCIE_CLASS_STORAGE, table[1].ucSubClass = 8,
    table[1].ucDevType = MW_PCIE_TYPE_NVME;
    table[1].ucSlot = 4;
    Put(table[1].acTextG, "\x1b[31mdrive");  // nothing of it reaches the terminal
    table[2].ucClassCode = 6, table[2].ucSubClass = 4, table[2].ucHeaderType = 1;
    table[3].ucClassCode = MW_PCIE_CLASS_NETWORK, table[3].ucDevType = MW_PCIE_TYPE_OCP, table[3].ucSlot = 31;
    Put(table[3].acSerialNum, "OCP-1");
    Put(table[3].acSlotName, "OCP1");
    ASSERT_EQ(MW_SetPcieAssetInfo(table, 4), 0);
    ASSERT_EQ(MW_SetPciePCIPERRState(MW_PCIE_TYPE_CARD, 3, 1), 0);
    ASSERT_EQ(MW_SetPcieBusDegradedState(MW_PCIE_TYPE_CARD, 3, 1), 0);
    ASSERT_EQ(MW_SetPcieBusTimeoutState(MW_PCIE_TYPE_NVME, 4, 2), 0);  // not asserted for the bus
}

void StoreNics() {
    static NicCardBlock cards;
    cards.dwNicCardNum = 2;
    NicCardAssetInfo &card = cards.atNicCard[0];
    card.ucPresent = 1, card.ucNicSlotType = MW_NIC_SLOT_OCP, card.ucNicSlotId = 2, card.ucNicSlotNum = 31;
    Put(card.acDriver, "example");
    Put(card.acNicText1, "OCP Adapter");
    Put(card.acNicText2, "4.5");
    Put(card.acNicText3, "Card Maker");
    Put(card.acNicText4, "B01");
    Put(card.acNicText5, "PART-2");
    Put(card.acFirmware, "4.5.6");
    Put(card.acSerialNum, "OCP-1");
    Put(card.acSlotName, "OCP1");
    Put(card.acDeviceName, "Chip");
    const uint8_t mac[6] = {0x02, 0, 0, 0, 0, 0x0A};
    std::memcpy(card.aucMac[0], mac, sizeof mac);
    card.ucMacNum = 1, card.ucPortNum = 1, card.ucNicAttr = 3;
    card.ucLinkSpeed = 4, card.ucLinkWidth = 8, card.ucNumaNode = 1;
    card.ucBus = 0x5E, card.ucRevision = 1;
    card.wVendorId = 0xAAAA, card.wDeviceId = 0x0003;
    card.dwUpdateTime = 3600;
    card.dwT200Flag = 1;
    card.tT200Info.ucPostStatus = 2;
    for (uint8_t i = 0; i < MW_T200_SENSOR_MAX; ++i)
        card.tT200Info.atSensor[i].ucTemp = static_cast<uint8_t>(40 + i);
    cards.atNicCard[1].ucPresent = 1, cards.atNicCard[1].ucNicSlotType = MW_NIC_SLOT_STANDARD;
    cards.atNicCard[1].ucNicSlotNum = 3, cards.atNicCard[1].ucNumaNode = MW_NIC_UNKNOWN;
    ASSERT_EQ(MW_SetNICCardAssetInfo(&cards), 0);

    static NicPortBlock ports;
    ports.dwNicPortNum = 3;
    NicPortAssetInfo &port = ports.atNicPort[0];
    port.ucLinkState = MW_NIC_LINK_UP, port.ucDuplex = 1, port.ucAutoNeg = MW_NIC_UNKNOWN,
    port.ucConnector = 0x23;
    port.ucModulePresent = 1, port.ucNetPortOwnerNicSlottype = MW_NIC_SLOT_OCP,
    port.ucNetPortOwnerNicSlotnum = 31;
    std::memcpy(port.aucMac, mac, sizeof mac);
    std::memcpy(port.aucPermMac, mac, sizeof mac);
    port.dwSpeed = 25000, port.dwMtu = 1500;
    Put(port.acIfName, "eth0");
    port.ucNetPortId = 1, port.ucBus = 0x5E;
    Put(port.acDriver, "example");
    port.dwIfIndex = 2, port.dwCarrierChanges = 3, port.dwUpdateTime = 3601;
    port.ucModuleType = 3;
    Put(port.acModuleVendor, "Optics");
    port.fTxPower = 0.5f, port.fRxPower = 0.25f, port.fTxBias = 6.5f, port.fModuleVoltage = 3.3f;
    port.fPortTemp = 45.9f, port.fTempHighAlarm = 75;
    port.dwRxPackets = 10, port.dwTxErrors = 1;
    ports.atNicPort[1].ucNetPortOwnerNicSlottype = MW_NIC_SLOT_STANDARD,
    ports.atNicPort[1].ucNetPortOwnerNicSlotnum = 3;
    ports.atNicPort[1].ucNetPortId = 2, ports.atNicPort[1].fPortTemp = -5;
    ports.atNicPort[2].ucNetPortOwnerNicSlottype = MW_NIC_SLOT_STANDARD,
    ports.atNicPort[2].iCompleteCode = -1;
    ports.atNicPort[2].ucLinkState = MW_NIC_UNKNOWN, ports.atNicPort[2].fPortTemp = 99;
    ASSERT_EQ(MW_SetNICPortAssetInfo(&ports), 0);
}

void StoreOthers() {
    static FCCardAssetInfo cards;
    cards.dwCardCount = 1;
    FCCardRecord &card = cards.atCard[0];
    card.dwSlot = 6, card.dwPresent = 1, card.wVendorId = 0xAAAA, card.wDeviceId = 4, card.ucBus = 5,
    card.ucPortCount = 1;
    card.iTemp = 48, card.dwHealthyStatus = 1;
    Put(card.acManufacturer, "Card Maker");
    Put(card.acModel, "EX-16G");
    Put(card.acSerialNum, "FC-1");
    Put(card.acFirmwareVersion, "12.0");
    ASSERT_EQ(MW_SetFCCardAssetInfo(&cards), 0);
    static FCPortAssetInfo ports;
    ports.dwPortCount = 1;
    FCPortRecord &port = ports.atPort[0];
    port.ucPort = 1, port.ucState = MW_FC_PORT_ONLINE, port.ucType = MW_FC_TYPE_NF, port.dwPortId = 0x010200;
    port.aucPortName[0] = 0x10, port.aucPortName[7] = 7, port.dwSpeed = 16000, port.dwMaxSpeed = 32000;
    Put(port.acHostName, "host7");
    port.dwLinkFailures = 3, port.dwInvalidCrc = 4;
    ASSERT_EQ(MW_SetFCPortAssetInfo(&ports), 0);

    static GPUAssetInfo gpus;
    gpus.dwGpuCount = 1;
    GPURecord &gpu = gpus.atGpu[0];
    gpu.dwSlot = 7, gpu.dwPresent = 1, gpu.wVendorId = 0xAAAA, gpu.wDeviceId = 5, gpu.ucBus = 6,
    gpu.ucClassCode = 3;
    gpu.ucSubClass = 2, gpu.ucTempValid = 3, gpu.dwMemorySize = 16384, gpu.dwUtilization = 37,
    gpu.dwPower = 25000;
    gpu.iTemp = 45, gpu.iMemoryTemp = -1, gpu.dwUncorrectedErrors = 2, gpu.dwLinkSpeed = 16000,
    gpu.dwLinkWidth = 16;
    Put(gpu.acModel, "Accelerator");
    ASSERT_EQ(MW_SetGPUAssetInfo(&gpus), 0);

    static CustCardAssetInfo customs;
    customs.dwCardCount = 1;
    CustCardRecord &custom = customs.atCard[0];
    custom.dwSlot = 8, custom.dwPresent = 1, custom.wVendorId = 0xAAAA, custom.ucClassCode = 0x10,
    custom.ucTempValid = 1;
    custom.iTemp = 33, custom.dwPower = 7500, custom.aucReserved[2] = 1;
    Put(custom.acName, "Security module");
    ASSERT_EQ(MW_SetCustCardAssetInfo(&customs), 0);
}

class ShowCards : public ToolsTest {
  protected:
    void SetUp() override {
        CreateArea();
        Store([] {
            StorePcie();
            StoreNics();
            StoreOthers();
        });
    }
    void ExpectShown(const std::vector<std::string> &arguments, const std::string &golden) {
        std::vector<std::string> all{"show"};
        all.insert(all.end(), arguments.begin(), arguments.end());
        const Outcome outcome = Mwctl(all);
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        EXPECT_EQ(outcome.err, "");
        ExpectGolden(outcome.out, golden);
    }
};

TEST_F(ShowCards, PcieDevicesAreALineEach) { ExpectShown({"pcie"}, "pcie.txt"); }

TEST_F(ShowCards, AllFieldsOfPcieDevicesAreShownWhenAskedFor) {
    ExpectShown({"pcie", "--all"}, "pcie-all.txt");
}

TEST_F(ShowCards, TheListForUpperInterfacesHasTheOcpCards) {
    ExpectShown({"pcie", "--upper"}, "pcie-upper.txt");
    ExpectShown({"--upper"}, "pcie-upper.txt");
    EXPECT_EQ(Jq("show --upper", "[keys, (.pcie | keys), [.pcie.upper[] | [.dwIndex, .ucSlot, .ucDevType]]]"),
              "[[\"pcie\"],[\"upper\"],[[0,3,2],[1,4,255],[2,31,38]]]\n");
}

TEST_F(ShowCards, AListThatAModuleDoesNotHaveIsWrongUsage) {
    ExpectRefused(Mwctl({"show", "pcie", "nic", "--upper"}), 2,
                  "mwctl: --upper: there is no such list of nic (see --help)\n");
}

TEST_F(ShowCards, AlarmStatesHaveTheirNamesPerDeviceAndForTheBus) {
    EXPECT_EQ(Jq("show pcie", "[.pcie.devices[] | .decoded.asserted]"),
              "[[\"PCI PERR\",\"bus degraded\"],[\"bus timeout\"],[],[]]\n");
    EXPECT_EQ(Jq("show pcie", ".pcie.bus | [.aucAlarmState, .decoded.asserted]"),
              "[[0,0,0,0,1,0,0,0,0,0,0,1],[\"PCI PERR\",\"bus degraded\"]]\n");
}

TEST_F(ShowCards, JsonHasTheFieldsOfPcieDevicesUnderTheirNames) {
    ExpectShown({"pcie", "--json"}, "pcie.json");
    EXPECT_EQ(Jq("show pcie", "[.pcie | has(\"upper\")]"), "[false]\n");
}

TEST_F(ShowCards, NetworkCards) {
    ExpectShown({"nic"}, "nic.txt");
    ExpectShown({"nic", "--json"}, "nic.json");
}

TEST_F(ShowCards, TemperaturesAreThoseThatTheLibraryAnswersWith) {
    EXPECT_EQ(Jq("show nic", "[.nic.temperatures[-3:][] | [.ucSource, .ucSlot, .ucNumber, .ucTemp]]"),
              "[[3,2,13,53],[2,31,1,45],[1,3,2,0]]\n");
    EXPECT_EQ(Jq("show nic", "[.nic.temperatures | length]"), "[16]\n");
    EXPECT_EQ(Jq("show nic", ".nic.totals | [.dwNicCount, .decoded.ucOcpPresent]"), "[2,[\"2\"]]\n");
}

TEST_F(ShowCards, FibreChannelAcceleratorsAndCustomCards) {
    ExpectShown({"fc", "gpu", "custcard"}, "cards.txt");
    ExpectShown({"fc", "gpu", "custcard", "--json"}, "cards.json");
}

TEST_F(ShowCards, AHeldSemaphoreOfTheNetworkCardsIsReported) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12295, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Mwctl({"show", "nic", "fc"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err.find("mwctl: nic: semaphore 12295 is held by process "), 0u) << outcome;
    EXPECT_NE(outcome.out.find("EX-16G"), std::string::npos) << outcome;
}

class ShowNoCards : public ToolsTest {};

TEST_F(ShowNoCards, AnEmptyAreaHasEmptyLists) {
    CreateArea();
    const Outcome outcome = Mwctl({"show", "pcie", "--upper"});
    ExpectDone(outcome, "PCIe (pcie)\n  Devices for upper interfaces (upper)\n    none\n");
    EXPECT_EQ(Jq("show pcie nic", "[.pcie.devices, .nic.cards.atNicCard, .nic.temperatures]"),
              "[[],[],[]]\n");
}

}  // namespace
