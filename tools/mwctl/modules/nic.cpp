// Network cards, their ports and temperatures.
#include <memory>

#include "console.h"
#include "netcard/hov_midnetcard.h"
#include "pci.h"

namespace mwctl {

using midware::NicArea;

namespace {

constexpr Code kSlotTypes[] = {{0, "none"}, {MW_NIC_SLOT_STANDARD, "standard"}, {MW_NIC_SLOT_OCP, "OCP"}};
constexpr Code kLinkStates[] = {{MW_NIC_LINK_DOWN, "down"}, {MW_NIC_LINK_UP, "up"}};
constexpr Code kDuplexes[] = {{0, "half"}, {1, "full"}};
constexpr Code kOffOn[] = {{0, "off"}, {1, "on"}};
constexpr Code kSources[] = {{MW_NIC_SLOT_STANDARD, "port of a standard card"},
                             {MW_NIC_SLOT_OCP, "port of an OCP card"},
                             {3, "T200 sensor"}};

}  // namespace

// clang-format off
MW_RECORD(T200Sensor,
          MW_FIELD(aucReserved1, ""),
          MW_FIELD(ucTemp, "temperature").Unit("C"),
          MW_FIELD(aucReserved2, ""));

MW_RECORD(T200Info,
          MW_FIELD(ucPostStatus, "POST status"),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(atSensor, "sensor"));

MW_RECORD(NicCardAssetInfo,
          MW_FIELD(ucPresent, "present").Switch(),
          MW_FIELD(ucNicSlotType, "slot type").Codes(kSlotTypes),
          MW_FIELD(ucNicSlotId, "slot ID"),
          MW_FIELD(ucNicSlotNum, "slot number"),
          MW_FIELD(acDriver, "driver"),
          MW_FIELD(acNicText1, "product"),
          MW_FIELD(acNicText2, "firmware version"),
          MW_FIELD(acNicText3, "manufacturer"),
          MW_FIELD(acNicText4, "board revision"),
          MW_FIELD(acFirmware, "firmware by the driver"),
          MW_FIELD(aucMac, "permanent MAC"),
          MW_FIELD(ucMacNum, "MAC addresses in use"),
          MW_FIELD(ucPortNum, "ports"),
          MW_FIELD(acDriverVersion, "driver version"),
          MW_FIELD(ucNicAttr, "attribute"),
          MW_FIELD(ucLinkSpeed, "PCIe link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucLinkWidth, "PCIe link width").QuietZero(),
          MW_FIELD(ucMaxLinkSpeed, "maximum link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucMaxLinkWidth, "maximum link width").QuietZero(),
          MW_FIELD(ucNumaNode, "NUMA node").NoValue(),
          MW_FIELD(dwDomain, "PCI domain").Hex(),
          MW_FIELD(ucBus, "PCI bus").Hex(),
          MW_FIELD(ucDevice, "PCI device").Hex(),
          MW_FIELD(ucFunction, "PCI function"),
          MW_FIELD(ucRevision, "revision").Hex(),
          MW_FIELD(acSlotName, "slot name"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(wVendorId, "vendor ID").Hex(),
          MW_FIELD(wDeviceId, "device ID").Hex(),
          MW_FIELD(wSubVendorId, "subsystem vendor ID").Hex(),
          MW_FIELD(wSubDeviceId, "subsystem ID").Hex(),
          MW_FIELD(acNicText5, "part number"),
          MW_FIELD(acDeviceName, "device"),
          MW_FIELD(dwUpdateTime, "uptime").Unit("s"),
          MW_FIELD(adwReserved1, ""),
          MW_FIELD(dwT200Flag, "T200 in use").Switch(),
          MW_FIELD(tT200Info, "T200"),
          MW_FIELD(adwReserved2, ""));

MW_RECORD(NicCardBlock,
          MW_FIELD(dwNicCardNum, "cards"),
          MW_FIELD(atNicCard, "card").CountedBy(offsetof(NicCardBlock, dwNicCardNum)));

MW_RECORD(NicPortAssetInfo,
          MW_FIELD(ucLinkState, "link").Codes(kLinkStates).NoValue(),
          MW_FIELD(ucDuplex, "duplex").Codes(kDuplexes).NoValue(),
          MW_FIELD(ucAutoNeg, "autonegotiation").Codes(kOffOn).NoValue(),
          MW_FIELD(ucConnector, "connector").QuietZero(),
          MW_FIELD(ucModulePresent, "module present").Switch(),
          MW_FIELD(ucNetPortOwnerNicSlottype, "slot type of the card").Codes(kSlotTypes),
          MW_FIELD(ucNetPortOwnerNicSlotnum, "slot number of the card"),
          MW_FIELD(ucNumaNode, "NUMA node").NoValue(),
          MW_FIELD(aucMac, "MAC"),
          MW_FIELD(aucPermMac, "permanent MAC"),
          MW_FIELD(dwSpeed, "speed").Unit("Mbit/s").QuietZero(),
          MW_FIELD(dwMtu, "MTU").Unit("bytes"),
          MW_FIELD(acIfName, "interface"),
          MW_FIELD(ucNetPortId, "port number"),
          MW_FIELD(ucBus, "PCI bus").Hex(),
          MW_FIELD(ucDevice, "PCI device").Hex(),
          MW_FIELD(ucFunction, "PCI function"),
          MW_FIELD(dwDomain, "PCI domain").Hex(),
          MW_FIELD(acDriver, "driver"),
          MW_FIELD(acFirmware, "firmware"),
          MW_FIELD(dwIfIndex, "interface number"),
          MW_FIELD(dwCarrierChanges, "link changes"),
          MW_FIELD(dwUpdateTime, "uptime").Unit("s"),
          MW_FIELD(dwReserved1, ""),
          MW_FIELD(iCompleteCode, "completion code"),
          MW_FIELD(ucModuleType, "module type").QuietZero(),
          MW_FIELD(aucReserved2, ""),
          MW_FIELD(acModuleVendor, "module vendor"),
          MW_FIELD(acModulePartNum, "module part number"),
          MW_FIELD(acModuleSerialNum, "module serial number"),
          MW_FIELD(fTxPower, "transmitted power").Unit("mW"),
          MW_FIELD(fRxPower, "received power").Unit("mW"),
          MW_FIELD(fTxBias, "bias").Unit("mA"),
          MW_FIELD(fModuleVoltage, "module voltage").Unit("V"),
          MW_FIELD(fPortTemp, "module temperature").Unit("C"),
          MW_FIELD(fTempHighAlarm, "high alarm").Unit("C"),
          MW_FIELD(fTempHighWarning, "high warning").Unit("C"),
          MW_FIELD(dwRxPackets, "packets received"),
          MW_FIELD(dwTxPackets, "packets sent"),
          MW_FIELD(dwRxErrors, "receive errors"),
          MW_FIELD(dwTxErrors, "send errors"),
          MW_FIELD(dwRxDropped, "received and dropped"),
          MW_FIELD(dwTxDropped, "not sent and dropped"),
          MW_FIELD(adwReserved3, ""));

MW_RECORD(NicPortBlock,
          MW_FIELD(dwNicPortNum, "ports"),
          MW_FIELD(atNicPort, "port").CountedBy(offsetof(NicPortBlock, dwNicPortNum)),
          MW_FIELD(aucSpare, "").Reserved());

MW_RECORD(NicArea,
          MW_FIELD(dwReserved, ""),
          MW_FIELD(tCards, "cards"),
          MW_FIELD(tPorts, "ports"));

// Computed from the records.
struct NicPresence {
    uint32_t dwNicCount;
    uint8_t ucOcpPresent;
    uint8_t aucPad[3];
};

struct NicTemperature {
    uint8_t ucSource;
    uint8_t ucSlot;
    uint8_t ucNumber;
    uint8_t ucTemp;
};
MW_RECORD(NicTemperature,
          MW_FIELD(ucSource, "source").Codes(kSources),
          MW_FIELD(ucSlot, "card's slot"),
          MW_FIELD(ucNumber, "number"),
          MW_FIELD(ucTemp, "temperature").Unit("C").Reading());

namespace {

int32_t CountCards(uint32_t *count) {
    uint32_t same;
    return MW_GetNICCount(count, &same);
}

constexpr Code kOcpSlots[] = {{0x01, "1"}, {0x02, "2"}, {0x04, "3"}, {0x08, "4"},
                              {0x10, "5"}, {0x20, "6"}, {0x40, "7"}, {0x80, "8"}};

}  // namespace

MW_RECORD(NicPresence,
          MW_FIELD(dwNicCount, "cards").Get<CountCards>(),
          MW_FIELD(ucOcpPresent, "OCP slots in use").Flags(kOcpSlots).Get<MW_GetOcpPresentStatus>(),
          MW_FIELD(aucPad, ""));
// clang-format on

namespace {

// Every temperature that the library answers with. What fails for another reason than a semaphore has none.
int32_t ReadTemperatures(NicTemperature *readings, uint32_t &count) {
    const auto ports = std::make_unique<NicPortBlock>();
    count = 0;
    if (MW_GetNICPortAssetInfo(ports.get()) < 0) return -1;
    const auto add = [&](int32_t result, const NicTemperature &reading) {
        if (result >= 0) readings[count++] = reading;
        return result >= 0 || !Listen::Current()->HeardLockFailure();
    };
    uint8_t exists = 0, slot = 0, status = 0, temp = 0;
    if (MW_GetT200ExistAndSlot(&exists, &slot) < 0 || MW_GetT200PostStatus(&status) < 0) return -1;
    for (uint8_t i = 0; exists != 0 && i < MW_T200_SENSOR_MAX; ++i) {
        const int32_t result = MW_GetT200SensorTempByIndex(i, &temp);
        if (!add(result, {3, slot, i, temp})) return -1;
    }
    for (uint32_t i = 0; i < ports->dwNicPortNum && i < MW_NIC_PORT_MAX; ++i) {
        const NicPortAssetInfo &port = ports->atNicPort[i];
        const uint8_t type = port.ucNetPortOwnerNicSlottype;
        if (port.iCompleteCode != 0 || (type != MW_NIC_SLOT_STANDARD && type != MW_NIC_SLOT_OCP)) continue;
        const auto get = type == MW_NIC_SLOT_OCP ? MW_GetOCPSinglePortTemp : MW_GetNICSinglePortTemp;
        const int32_t result = get(port.ucNetPortOwnerNicSlotnum, port.ucNetPortId, &temp);
        if (!add(result, {type, port.ucNetPortOwnerNicSlotnum, port.ucNetPortId, temp})) return -1;
    }
    return 0;
}

constexpr Record kRecords[] = {
    Words<NicPresence>("totals", "Totals"),
    One<NicCardBlock, MW_GetNICCardAssetInfo>("cards", "Cards"),
    One<NicPortBlock, MW_GetNICPortAssetInfo>("ports", "Ports"),
    Custom<NicTemperature, ReadTemperatures>("temperatures", "Temperatures",
                                             MW_NIC_PORT_MAX + MW_T200_SENSOR_MAX)
        .Numbered("reading", 1),
};
const Plug plug{{"nic", "Network cards", &midware::kNic, kRecords, &kLayout<NicArea>}};

}  // namespace
}  // namespace mwctl
