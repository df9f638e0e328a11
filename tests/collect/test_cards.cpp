// Fibre Channel cards and accelerators.
#include "area.h"
#include "collectors/fc.h"
#include "collectors/gpu.h"
#include "pci_tree.h"

namespace collect {
namespace {

TEST(Fc, SpeedsAreInMegabits) {
    const std::pair<const char *, std::optional<uint32_t>> kSpeeds[] = {{"16 Gbit", 16000},
                                                                        {"1 Gbit", 1000},
                                                                        {"Unknown", 0},
                                                                        {"Not Negotiated", 0},
                                                                        {"", 0},
                                                                        {"fast", std::nullopt},
                                                                        {"16", std::nullopt},
                                                                        {"16 Mbit", std::nullopt},
                                                                        {"-1 Gbit", std::nullopt},
                                                                        {"16 Gbit x", std::nullopt}};
    for (const auto &[text, speed] : kSpeeds) EXPECT_EQ(FcSpeed(text), speed) << text;
    EXPECT_EQ(FcHighestSpeed("4 Gbit, 32 Gbit, 16 Gbit"), 32000u);
    EXPECT_EQ(FcHighestSpeed(""), 0u);
    EXPECT_EQ(FcHighestSpeed("4 Gbit, x"), std::nullopt);
}

TEST(Fc, StatesAndTopologiesAreCodes) {
    EXPECT_EQ(FcState("Online"), MW_FC_PORT_ONLINE);
    EXPECT_EQ(FcState("Offline"), MW_FC_PORT_OFFLINE);
    EXPECT_EQ(FcState("Linkdown"), MW_FC_PORT_LINK_DOWN);
    EXPECT_EQ(FcState("Error"), MW_FC_PORT_ERROR);
    EXPECT_EQ(FcState("Blocked"), MW_FC_PORT_UNKNOWN);
    EXPECT_EQ(FcType("NPort (fabric via point-to-point)"), MW_FC_TYPE_NF);
    EXPECT_EQ(FcType("NLPort (fabric via loop)"), MW_FC_TYPE_NL);
    EXPECT_EQ(FcType("LPort (private loop)"), MW_FC_TYPE_NL);
    EXPECT_EQ(FcType("Point-To-Point (direct nport connection)"), MW_FC_TYPE_N);
    EXPECT_EQ(FcType("Unknown"), MW_FC_TYPE_UNKNOWN);
}

std::string FcHost(Tree &tree, const std::string &way, int number) {
    const std::string dir = fmt::format("{}/host{}/fc_host/host{}", PciDir(way), number, number);
    tree.Link(fmt::format("/sys/class/fc_host/host{}", number), "../.." + dir.substr(4));
    tree.File(dir + "/port_state", "Online\n").File(dir + "/speed", "16 Gbit\n");
    tree.File(dir + "/port_name", fmt::format("0x100000000000{:04x}\n", number))
        .File(dir + "/port_id", "0x010200\n");
    return dir + "/";
}

TEST(Fc, APortSaysWhatTheKernelSays) {
    Tree tree;
    PciDevice(tree, "0000:05:00.0", "0x0c0400");
    const std::string dir = FcHost(tree, "0000:05:00.0", 7);
    tree.File(dir + "node_name", "0x2000000000000007").File(dir + "fabric_name", "0xffffffffffffffff");
    tree.File(dir + "port_type", "NPort (fabric via point-to-point)")
        .File(dir + "supported_speeds", "4 Gbit, 8 Gbit, 16 Gbit");
    tree.File(dir + "statistics/link_failure_count", "0x3")
        .File(dir + "statistics/loss_of_sync_count", "0xffffffffffffffff");
    tree.File(dir + "statistics/invalid_crc_count", "0x1ffffffff");
    HeardHost host(tree);
    const FcCards found = FindFcCards(*host, ReadPciFunctions(*host));
    ASSERT_EQ(found.cards.size(), 1u);
    const FCPortRecord port = ToFcPortRecord(found.cards[0].ports.at(0), 0, 1);
    EXPECT_EQ(port.ucPort, 1);
    EXPECT_EQ(port.ucState, MW_FC_PORT_ONLINE);
    EXPECT_EQ(port.ucType, MW_FC_TYPE_NF);
    EXPECT_EQ(port.dwPortId, 0x010200u);
    EXPECT_EQ(port.aucPortName[0], 0x10);
    EXPECT_EQ(port.aucPortName[7], 0x07);
    EXPECT_EQ(port.aucNodeName[0], 0x20);
    EXPECT_EQ(port.aucFabricName[0], 0);
    EXPECT_EQ(port.dwSpeed, 16000u);
    EXPECT_EQ(port.dwMaxSpeed, 16000u);
    EXPECT_STREQ(port.acHostName, "host7");
    EXPECT_EQ(port.dwLinkFailures, 3u);
    EXPECT_EQ(port.dwLossOfSync, 0u);
    EXPECT_EQ(port.dwInvalidCrc, UINT32_MAX);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Fc, BrokenAttributesAreLeftOutWithALine) {
    Tree tree;
    PciDevice(tree, "0000:05:00.0", "0x0c0400");
    const std::string dir = FcHost(tree, "0000:05:00.0", 7);
    tree.File(dir + "speed", "fast").File(dir + "port_id", "0x1010200").File(dir + "port_name", "garbage");
    HeardHost host(tree);
    const FcPort port = FindFcCards(*host, ReadPciFunctions(*host)).cards.at(0).ports.at(0);
    EXPECT_EQ(port.speed, 0u);
    EXPECT_EQ(port.port_id, 0u);
    EXPECT_EQ(port.port_name, (std::array<uint8_t, 8>{}));
    EXPECT_EQ(host.lines().size(), 3u) << ::testing::PrintToString(host.lines());
}

TEST(Fc, TheFunctionsOfADeviceAreOneCardAndVirtualPortsAreNone) {
    Tree tree;
    PciDevice(tree, "0000:05:00.0", "0x0c0400");
    PciDevice(tree, "0000:05:00.1", "0x0c0400");
    PciDevice(tree, "0000:04:00.0", "0x0c0400");
    PciDevice(tree, "0000:06:00.0", "0x020000");
    FcHost(tree, "0000:05:00.1", 1);
    FcHost(tree, "0000:05:00.0", 2);
    FcHost(tree, "0000:04:00.0", 10);
    FcHost(tree, "0000:06:00.0", 11);  // storage over a network card
    tree.File(PciDir("0000:05:00.0") + "/host2/vport-2:0-0/host3/fc_host/host3/port_state", "Online");
    tree.Link("/sys/class/fc_host/host3",
              "../../devices/pci0000:00/0000:05:00.0/host2/vport-2:0-0/host3/fc_host/host3");
    HeardHost host(tree);
    const FcCards found = FindFcCards(*host, ReadPciFunctions(*host));
    ASSERT_EQ(found.cards.size(), 2u);
    EXPECT_EQ(found.cards[0].function.address.bus, 4);
    EXPECT_EQ(found.cards[1].function.address.function, 0);
    ASSERT_EQ(found.cards[1].ports.size(), 2u);
    EXPECT_EQ(found.cards[1].ports[0].host, "host1");
}

TEST(Fc, WhatDoesNotFitIsCounted) {
    Tree tree;
    for (int i = 0; i < 20; ++i) {
        const std::string way = fmt::format("0000:{:02x}:00.0", i);
        PciDevice(tree, way, "0x0c0400");
        FcHost(tree, way, i);
    }
    HeardHost host(tree);
    const FcCards found = FindFcCards(*host, ReadPciFunctions(*host));
    EXPECT_EQ(found.cards.size(), MW_FC_CARD_MAX);
    EXPECT_EQ(found.cards_left_out, 2u);
    EXPECT_EQ(found.ports_left_out, 4u);
}

using FcStore = OnBlankArea;

TEST_F(FcStore, TheCardIsStoredHereAndInThePcieTable) {
    Tree tree;
    PciDevice(tree, "0000:05:00.0", "0x0c0400");
    tree.File("/sys/bus/pci/slots/6/address", "0000:05:00");
    const std::string dir = FcHost(tree, "0000:05:00.0", 2);
    tree.File(dir + "model", "EX-16G")
        .File(dir + "serial_number", "FC-1")
        .File(dir + "firmware_version", "12.0");
    tree.File(dir + "manufacturer", "Example");
    Once("pcie", tree);
    EXPECT_EQ(Once("fc", tree), 3u);
    FCCardAssetInfo cards;
    ASSERT_EQ(MW_GetFCCardAssetInfo(&cards), 0);
    ASSERT_EQ(cards.dwCardCount, 1u);
    EXPECT_EQ(cards.atCard[0].dwSlot, 6u);
    EXPECT_EQ(cards.atCard[0].ucPortCount, 1);
    EXPECT_STREQ(cards.atCard[0].acModel, "EX-16G");
    PcieAssetInfo record;
    ASSERT_EQ(MW_GetPcieFcInfo(6, &record), 0);
    EXPECT_STREQ(record.acSerialNum, "FC-1");
    EXPECT_STREQ(record.acTextF, "12.0");
    EXPECT_STREQ(record.acTextG, "EX-16G");
    EXPECT_STREQ(record.acDevName, "FC6");

    cards.atCard[0].dwHealthyStatus = 2;
    cards.atCard[0].iTemp = 50;
    ASSERT_EQ(MW_SetFCCardAssetInfo(&cards), 0);
    tree.File(dir + "firmware_version", "12.1");
    EXPECT_EQ(Once("pcie", tree), 0u);  // what the card says stays
    Once("fc", tree);
    ASSERT_EQ(MW_GetFCCardAssetInfo(&cards), 0);
    EXPECT_EQ(cards.atCard[0].dwHealthyStatus, 2u);
    EXPECT_EQ(cards.atCard[0].iTemp, 50);
    EXPECT_STREQ(cards.atCard[0].acFirmwareVersion, "12.1");
    EXPECT_EQ(Once("fc", tree), 1u);  // the port only
}

TEST(Gpu, DisplayAndAcceleratorClassesCount) {
    Tree tree;
    PciDevice(tree, "0000:03:00.0", "0x030000");
    PciDevice(tree, "0000:04:00.0", "0x120000");
    PciDevice(tree, "0000:05:00.0", "0x0b4000");
    PciDevice(tree, "0000:06:00.0", "0x030200");
    tree.Link(PciDir("0000:06:00.0") + "/physfn", "../0000:03:00.0");
    HeardHost host(tree);
    const Gpus found = FindGpus(*host, ReadPciFunctions(*host));
    ASSERT_EQ(found.gpus.size(), 2u);
    EXPECT_EQ(found.gpus[1].function.address.bus, 4);
    const GPURecord record = ToGpuRecord(found.gpus[1], {}, PciNames());
    EXPECT_EQ(record.ucClassCode, 0x12);
    EXPECT_EQ(record.ucTempValid, 0);
    EXPECT_EQ(record.dwMemorySize, 0u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Gpu, ADriversFiguresAreScaled) {
    Tree tree;
    PciDevice(tree, "0000:03:00.0", "0x030000");
    const std::string dir = PciDir("0000:03:00.0") + "/";
    tree.File(dir + "mem_info_vram_total", "17163091968").File(dir + "mem_info_vram_used", "1048575");
    tree.File(dir + "gpu_busy_percent", "37")
        .File(dir + "mem_busy_percent", "101")
        .File(dir + "vbios_version", "EX-1");
    tree.File(dir + "current_link_speed", "16.0 GT/s PCIe").File(dir + "current_link_width", "16");
    const std::string chip = dir + "hwmon/hwmon0/";
    tree.Link("/sys/class/hwmon/hwmon0", "../.." + chip.substr(4))
        .Link(chip + "device", "../../../0000:03:00.0");
    tree.File(chip + "name", "example")
        .File(chip + "power1_average", "25000000")
        .File(chip + "power1_cap", "225000000");
    tree.File(chip + "temp1_label", "edge").File(chip + "temp1_input", "45000");
    tree.File(chip + "temp2_label", "junction").File(chip + "temp2_input", "55000");
    tree.File(chip + "temp3_label", "mem").File(chip + "temp3_input", "60000");
    tree.File(chip + "freq1_label", "sclk").File(chip + "freq1_input", "1700000000");
    tree.File(chip + "freq2_label", "mclk").File(chip + "freq2_input", "1000000000");
    HeardHost host(tree);
    const GPURecord record = ToGpuRecord(FindGpus(*host, ReadPciFunctions(*host)).gpus.at(0), {}, PciNames());
    EXPECT_EQ(record.dwMemorySize, 16368u);
    EXPECT_EQ(record.dwMemoryUsed, 0u);
    EXPECT_EQ(record.dwUtilization, 37u);
    EXPECT_EQ(record.dwMemoryBusy, 0u);
    EXPECT_EQ(record.dwPower, 25000u);
    EXPECT_EQ(record.dwPowerLimit, 225000u);
    EXPECT_EQ(record.ucTempValid, 3);
    EXPECT_EQ(record.iTemp, 45);
    EXPECT_EQ(record.iMemoryTemp, 60);
    EXPECT_EQ(record.dwCoreClock, 1700u);
    EXPECT_EQ(record.dwMemoryClock, 1000u);
    EXPECT_EQ(record.dwLinkSpeed, 16000u);
    EXPECT_EQ(record.dwLinkWidth, 16u);
    EXPECT_STREQ(record.acFirmwareVersion, "EX-1");
    EXPECT_EQ(host.lines().size(), 1u);  // a percentage above 100
}

TEST(Gpu, WhatDoesNotFitIsCounted) {
    Tree tree;
    for (int i = 0; i < 23; ++i) PciDevice(tree, fmt::format("0000:{:02x}:00.0", i), "0x030200");
    HeardHost host(tree);
    const Gpus found = FindGpus(*host, ReadPciFunctions(*host));
    EXPECT_EQ(found.gpus.size(), MW_GPU_MAX);
    EXPECT_EQ(found.left_out, 3u);
}

using GpuStore = OnBlankArea;

TEST_F(GpuStore, HealthAndErrorCountsOfOthersAreKept) {
    Tree tree;
    PciDevice(tree, "0000:03:00.0", "0x030000");
    EXPECT_EQ(Once("gpu", tree), 1u);
    GPUAssetInfo gpus;
    ASSERT_EQ(MW_GetGPUAssetInfo(&gpus), 0);
    gpus.atGpu[0].dwHealthyStatus = 3;
    gpus.atGpu[0].dwUncorrectedErrors = 4;
    ASSERT_EQ(MW_SetGPUAssetInfo(&gpus), 0);
    EXPECT_EQ(Once("gpu", tree), 1u);
    ASSERT_EQ(MW_GetGPUAssetInfo(&gpus), 0);
    EXPECT_EQ(gpus.atGpu[0].dwHealthyStatus, 3u);
    EXPECT_EQ(gpus.atGpu[0].dwUncorrectedErrors, 4u);
    EXPECT_EQ(gpus.atGpu[0].dwPresent, 1u);
}

}  // namespace
}  // namespace collect
