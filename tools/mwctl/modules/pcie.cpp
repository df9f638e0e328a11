// The PCIe device table, the list that upper interfaces get, the bus alarm states and the riser cards.
#include <fmt/format.h>

#include "pci.h"
#include "pcie/hov_midpcie.h"
#include "text.h"

namespace mwctl {

using midware::PcieArea;

namespace {

constexpr Code kTypes[] = {{MW_PCIE_TYPE_CARD, "card"},
                           {MW_PCIE_TYPE_HIDDEN, "hidden"},
                           {MW_PCIE_TYPE_OCP, "OCP card"},
                           {MW_PCIE_TYPE_NVME, "NVMe device"}};
constexpr Code kExtTypes[] = {{MW_PCIE_EXT_OCP, "OCP"}};
constexpr Code kHeaderTypes[] = {{0, "endpoint"}, {1, "bridge"}, {2, "CardBus bridge"}};
constexpr Code kAlarms[] = {{MW_PCIE_ALARM_DIAGNOSTIC_INTERRUPT, "diagnostic interrupt"},
                            {MW_PCIE_ALARM_BUS_TIMEOUT, "bus timeout"},
                            {MW_PCIE_ALARM_IO_CHANNEL_CHECK_NMI, "I/O channel check NMI"},
                            {MW_PCIE_ALARM_SOFTWARE_NMI, "software NMI"},
                            {MW_PCIE_ALARM_PCI_PERR, "PCI PERR"},
                            {MW_PCIE_ALARM_PCI_SERR, "PCI SERR"},
                            {MW_PCIE_ALARM_EISA_FAIL_SAFE_TIMEOUT, "EISA fail-safe timeout"},
                            {MW_PCIE_ALARM_BUS_CORRECTABLE_ERROR, "bus correctable error"},
                            {MW_PCIE_ALARM_BUS_UNCORRECTABLE_ERROR, "bus uncorrectable error"},
                            {MW_PCIE_ALARM_FATAL_NMI, "fatal NMI"},
                            {MW_PCIE_ALARM_BUS_FATAL_ERROR, "bus fatal error"},
                            {MW_PCIE_ALARM_BUS_DEGRADED, "bus degraded"}};
static_assert(std::size(kAlarms) == MW_PCIE_ALARM_KINDS);

// Base class and sub-class of what is commonly found; others go by their base class.
constexpr Code kSubClasses[] = {{0x0100, "SCSI controller"},
                                {0x0101, "IDE controller"},
                                {0x0104, "RAID controller"},
                                {0x0105, "ATA controller"},
                                {0x0106, "SATA controller"},
                                {0x0107, "SAS controller"},
                                {0x0108, "NVM controller"},
                                {0x0200, "Ethernet controller"},
                                {0x0207, "InfiniBand controller"},
                                {0x0208, "fabric controller"},
                                {0x0280, "network controller"},
                                {0x0300, "VGA controller"},
                                {0x0302, "3D controller"},
                                {0x0380, "display controller"},
                                {0x0403, "audio device"},
                                {0x0500, "RAM memory"},
                                {0x0502, "CXL memory"},
                                {0x0580, "memory controller"},
                                {0x0600, "host bridge"},
                                {0x0601, "ISA bridge"},
                                {0x0604, "PCI bridge"},
                                {0x0680, "bridge"},
                                {0x0700, "serial controller"},
                                {0x0780, "communication controller"},
                                {0x0800, "interrupt controller"},
                                {0x0801, "DMA controller"},
                                {0x0805, "SD host controller"},
                                {0x0806, "IOMMU"},
                                {0x0807, "event collector"},
                                {0x0880, "system peripheral"},
                                {0x0B40, "co-processor"},
                                {0x0C03, "USB controller"},
                                {0x0C04, "Fibre Channel"},
                                {0x0C05, "SMBus"},
                                {0x1000, "network encryption"},
                                {0x1080, "encryption controller"},
                                {0x1101, "performance counters"},
                                {0x1180, "signal processing"},
                                {0x1200, "processing accelerator"}};

}  // namespace

// clang-format off
MW_RECORD(PcieBiosInfo,
          MW_FIELD(ucValue, "value"),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(qwValue, "wide value").Hex());

MW_RECORD(PcieAssetInfo,
          MW_FIELD(dwIndex, "place in the upper list"),
          MW_FIELD(ucClassCode, "class").Codes(kPciClasses),
          MW_FIELD(ucDevType, "type").Codes(kTypes),
          MW_FIELD(ucSlot, "slot"),
          MW_FIELD(ucPresentState, "present").Switch(),
          MW_FIELD(wVendorId, "vendor ID").Hex(),
          MW_FIELD(wDeviceId, "device ID").Hex(),
          MW_FIELD(wSubVendorId, "subsystem vendor ID").Hex(),
          MW_FIELD(wSubDeviceId, "subsystem ID").Hex(),
          MW_FIELD(dwDomain, "domain").Hex(),
          MW_FIELD(ucBus, "bus").Hex(),
          MW_FIELD(ucDevice, "device").Hex(),
          MW_FIELD(ucFunction, "function"),
          MW_FIELD(ucBiosAttr, "BIOS attribute").NoValue(),
          MW_FIELD(tBiosInfo1, "BIOS pair 1"),
          MW_FIELD(tBiosInfo2, "BIOS pair 2"),
          MW_FIELD(ucCardFlag, "card flag"),
          MW_FIELD(ucSubClass, "sub-class").Hex(),
          MW_FIELD(ucProgIf, "programming interface").Hex(),
          MW_FIELD(ucRevision, "revision").Hex(),
          MW_FIELD(dwMemSize, "memory size").QuietZero(),
          MW_FIELD(dwCardAttr1, "card attribute 1").QuietZero(),
          MW_FIELD(dwCardAttr2, "card attribute 2").QuietZero(),
          MW_FIELD(ucExtType, "extension type").Codes(kExtTypes).QuietZero(),
          MW_FIELD(ucLinkSpeed, "link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucLinkWidth, "link width").QuietZero(),
          MW_FIELD(ucNumaNode, "NUMA node").NoValue(),
          MW_FIELD(dwUpdateTime, "uptime").Unit("s").QuietZero(),
          MW_FIELD(acLocation, "location"),
          MW_FIELD(acSlotName, "slot name"),
          MW_FIELD(acDevName, "device name"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acTextB, "part number"),
          MW_FIELD(acTextC, "manufacturer"),
          MW_FIELD(acTextD, "board revision"),
          MW_FIELD(acTextE, "controller manufacturer"),
          MW_FIELD(acTextF, "firmware"),
          MW_FIELD(acTextG, "product"),
          MW_FIELD(acDevTypeName, "type name"),
          MW_FIELD(ucBiosState1, "BIOS state 1").NoValue(),
          MW_FIELD(ucBiosState2, "BIOS state 2").NoValue(),
          MW_FIELD(ucBiosState3, "BIOS state 3").NoValue(),
          MW_FIELD(ucHeaderType, "header").Codes(kHeaderTypes),
          MW_FIELD(aucBiosExt, "BIOS extension"),
          MW_FIELD(dwGpuValue1, "GPU value 1").QuietZero(),
          MW_FIELD(dwGpuValue2, "GPU value 2").QuietZero(),
          MW_FIELD(dwGpuValue3, "GPU value 3").QuietZero(),
          MW_FIELD(dwGpuMem, "GPU memory").QuietZero(),
          MW_FIELD(acGpuText1, "GPU text 1"),
          MW_FIELD(acGpuText2, "GPU text 2"),
          MW_FIELD(dwGpuValue5, "GPU value 5").QuietZero(),
          MW_FIELD(dwGpuValue6, "GPU value 6").QuietZero(),
          MW_FIELD(ucMaxLinkSpeed, "maximum link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucMaxLinkWidth, "maximum link width").QuietZero(),
          MW_FIELD(aucReserved1, ""),
          MW_FIELD(dwNvmeValue1, "NVMe value 1").QuietZero(),
          MW_FIELD(dwReserved2, ""),
          MW_FIELD(dwNvmeValue2, "NVMe value 2").QuietZero(),
          MW_FIELD(dwNvmeValue3, "NVMe value 3").QuietZero(),
          MW_FIELD(aucAlarmState, "alarm states").States(kAlarms),
          MW_FIELD(aucAlarmSpare, "").Reserved());

MW_RECORD(PcieCardTextBlock,
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acTextB, "part number"),
          MW_FIELD(acTextC, "manufacturer of the card"),
          MW_FIELD(acTextCRest, "not copied"),
          MW_FIELD(acTextD, "board revision"),
          MW_FIELD(acTextE, "manufacturer of the controller"),
          MW_FIELD(acTextF, "firmware version"),
          MW_FIELD(acTextG, "product name"),
          MW_FIELD(acTextGRest, "not copied"),
          MW_FIELD(acDevTypeName, "kind of device"));

MW_RECORD(PcieNicCardInfo,
          MW_FIELD(ucSlot, "slot"),
          MW_FIELD(ucCardFlag, "flag"),
          MW_FIELD(ucNicAttr, "attribute"),
          MW_FIELD(tText, "texts").Inline());

MW_RECORD(PcieFcCardInfo,
          MW_FIELD(ucSlot, "slot"),
          MW_FIELD(tText, "texts").Inline());

MW_RECORD(PcieGpuCardInfo,
          MW_FIELD(dwSlot, "slot"),
          MW_FIELD(dwValue1, "value 1"),
          MW_FIELD(dwValue2, "value 2"),
          MW_FIELD(iValue3, "value 3"),
          MW_FIELD(iMemSize, "memory").Unit("MiB"),
          MW_FIELD(iValue5, "value 5"),
          MW_FIELD(ucCardFlag, "flag"),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(dwValue6, "value 6"),
          MW_FIELD(acGpuText1, "text 1"),
          MW_FIELD(acGpuText2, "text 2"),
          MW_FIELD(tText, "texts").Inline());

MW_RECORD(PcieNvmeCardInfo,
          MW_FIELD(dwSlot, "slot"),
          MW_FIELD(ucDevKind, "kind"),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(dwNvmeValue1, "value 1"),
          MW_FIELD(dwNvmeValue2, "value 2"),
          MW_FIELD(dwNvmeValue3, "value 3"),
          MW_FIELD(ucCardFlag, "flag"),
          MW_FIELD(tText, "texts").Inline());

MW_RECORD(PcieRaidCardInfo,
          MW_FIELD(dwSlot, "slot"),
          MW_FIELD(dwMemSize, "memory"),
          MW_FIELD(tText, "texts").Inline());

MW_RECORD(PcieArea,
          MW_FIELD(dwReserved, ""),
          MW_FIELD(dwPcieNum, "devices").Get<MW_GetPcieCount>(),
          MW_FIELD(atPcieAsset, "device").CountedBy(offsetof(PcieArea, dwPcieNum)),
          MW_FIELD(aucCriticalIntAlarm, "bus alarm states").Numbers(),
          MW_FIELD(aucRisercardAsset, "riser cards"),
          MW_FIELD(aucSpare, "").Reserved());

// The summary of the alarm states as it is handed out.
struct PcieBusAlarms {
    uint8_t aucAlarmState[MW_PCIE_ALARM_KINDS];
    uint8_t aucAlarmSpare[MW_PCIE_ALARM_SIZE - MW_PCIE_ALARM_KINDS];
};
MW_RECORD(PcieBusAlarms,
          MW_FIELD(aucAlarmState, "alarm states").States(kAlarms),
          MW_FIELD(aucAlarmSpare, "").Reserved());

struct RiserCards {
    uint8_t aucRisercardAsset[MW_RISERCARD_SIZE];
};
MW_RECORD(RiserCards, MW_FIELD(aucRisercardAsset, "content"));
// clang-format on

namespace {

int32_t ReadBusAlarms(PcieBusAlarms *alarms, uint32_t &) {
    return MW_GetCriticalIntAlarmInfo(reinterpret_cast<uint8_t *>(alarms));
}

int32_t ReadRiserCards(RiserCards *cards, uint32_t &) {
    return MW_GetRisercardAssetInfo(cards->aucRisercardAsset);
}

std::string_view NameOf(std::span<const Code> codes, uint32_t value) {
    for (const Code &code : codes) {
        if (code.value == value) return code.name;
    }
    return {};
}

template <size_t size>
std::string TextOf(const char (&text)[size]) {
    return std::string(tools::ArrayText(text, size));
}

std::string ClassOf(const PcieAssetInfo &device) {
    const uint32_t code = device.ucClassCode << 8 | device.ucSubClass;
    std::string_view name = NameOf(kSubClasses, code);
    if (name.empty()) name = NameOf(kPciClasses, device.ucClassCode);
    return fmt::format("{}{}[{:04x}]", name, name.empty() ? "" : " ", code);
}

// Manufacturer and product, each once.
std::string Description(const PcieAssetInfo &device) {
    std::string maker = TextOf(device.acTextE);
    if (maker.empty()) maker = TextOf(device.acTextC);
    const std::string product = TextOf(device.acTextG);
    if (product.starts_with(maker)) return product;
    return product.empty() ? maker : maker + " " + product;
}

std::string Asserted(const PcieAssetInfo &device) {
    std::string names;
    for (const Code &kind : kAlarms) {
        const uint32_t state = device.aucAlarmState[kind.value];
        if (state == 0) continue;
        names += (names.empty() ? "" : ", ") + std::string(kind.name);
        if (state != MW_PCIE_ALARM_ASSERTED) names += fmt::format(" ({})", state);
    }
    return names;
}

void AddCells(const PcieAssetInfo &device, std::vector<Note> &cells) {
    const auto add = [&](const char *label, std::string text) {
        cells.push_back({"", label, std::move(text)});
    };
    add("address", fmt::format("{:04x}:{:02x}:{:02x}.{:x}", device.dwDomain, device.ucBus, device.ucDevice,
                               device.ucFunction));
    add("IDs", fmt::format("{:04x}:{:04x}", device.wVendorId, device.wDeviceId));
    add("rev", fmt::format("{:02x}", device.ucRevision));
    add("class", ClassOf(device));
    add("slot", device.ucSlot != 0 ? fmt::format("{}", device.ucSlot) : "");
    add("slot name", TextOf(device.acSlotName));
    add("description", Description(device));
    add("serial number", TextOf(device.acSerialNum));
    add("alarms", Asserted(device));
}

constexpr Record kRecords[] = {
    Words<PcieArea>("totals", "Totals"),
    List<PcieAssetInfo, MW_GetPcieAssetInfo>("devices", "Devices", MW_PCIE_MAX)
        .Numbered("place", 0)
        .Row<AddCells>(),
    Custom<PcieBusAlarms, ReadBusAlarms>("bus", "Bus alarm states", 0),
    Custom<RiserCards, ReadRiserCards>("riser", "Riser cards", 0),
    List<PcieAssetInfo, MW_GetPcieAssetInfoForUpperInterface>("upper", "Devices for upper interfaces",
                                                              MW_PCIE_UPPER_MAX)
        .Numbered("place", 0)
        .Row<AddCells>()
        .OnRequest("upper", "Instead the PCIe devices as upper interfaces get them"),
};
constexpr const Layout *kPassed[] = {&kLayout<PcieNicCardInfo>, &kLayout<PcieFcCardInfo>,
                                     &kLayout<PcieGpuCardInfo>, &kLayout<PcieNvmeCardInfo>,
                                     &kLayout<PcieRaidCardInfo>};
const Plug plug{{"pcie", "PCIe", &midware::kPcie, kRecords, &kLayout<PcieArea>, kPassed}};

}  // namespace
}  // namespace mwctl
