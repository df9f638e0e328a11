// Fibre Channel cards and their ports.
#include "fccard/hov_midfccard.h"
#include "table.h"

namespace mwctl {

using midware::FcCardArea;

namespace {

constexpr Code kStates[] = {{MW_FC_PORT_UNKNOWN, "unknown"},
                            {MW_FC_PORT_ONLINE, "online"},
                            {MW_FC_PORT_OFFLINE, "offline"},
                            {MW_FC_PORT_LINK_DOWN, "link down"},
                            {MW_FC_PORT_ERROR, "error"}};
constexpr Code kTopologies[] = {{MW_FC_TYPE_UNKNOWN, "unknown"},
                                {MW_FC_TYPE_N, "point to point"},
                                {MW_FC_TYPE_NL, "arbitrated loop"},
                                {MW_FC_TYPE_NF, "fabric"}};

}  // namespace

// clang-format off
MW_RECORD(FCCardRecord,
          MW_FIELD(dwSlot, "slot"),
          MW_FIELD(dwPresent, "present").Switch(),
          MW_FIELD(wVendorId, "vendor ID").Hex(),
          MW_FIELD(wDeviceId, "device ID").Hex(),
          MW_FIELD(wSubVendorId, "subsystem vendor ID").Hex(),
          MW_FIELD(wSubDeviceId, "subsystem ID").Hex(),
          MW_FIELD(wDomain, "PCI domain").Hex(),
          MW_FIELD(ucBus, "PCI bus").Hex(),
          MW_FIELD(ucDevice, "PCI device").Hex(),
          MW_FIELD(ucFunction, "PCI function"),
          MW_FIELD(ucPortCount, "ports"),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(iTemp, "temperature").Unit("C").QuietZero().Reading(),
          MW_FIELD(dwHealthyStatus, "health").Health(),
          MW_FIELD(acManufacturer, "manufacturer"),
          MW_FIELD(acModel, "model").Naming(),
          MW_FIELD(acDescription, "description"),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acFirmwareVersion, "firmware"),
          MW_FIELD(acDriver, "driver"),
          MW_FIELD(acDriverVersion, "driver version"),
          MW_FIELD(acOptionRomVersion, "option ROM"),
          MW_FIELD(acHardwareVersion, "hardware version"),
          MW_FIELD(aucReserved2, ""));

MW_RECORD(FCCardAssetInfo,
          MW_FIELD(dwCardCount, "cards"),
          MW_FIELD(atCard, "card").CountedBy(offsetof(FCCardAssetInfo, dwCardCount)));

MW_RECORD(FCPortRecord,
          MW_FIELD(ucCardIndex, "place of the card"),
          MW_FIELD(ucPort, "port of the card"),
          MW_FIELD(ucState, "state").Codes(kStates),
          MW_FIELD(ucType, "topology").Codes(kTopologies),
          MW_FIELD(dwPortId, "address identifier").Hex(),
          MW_FIELD(aucPortName, "port name"),
          MW_FIELD(aucNodeName, "node name"),
          MW_FIELD(aucFabricName, "fabric name"),
          MW_FIELD(dwSpeed, "speed").Unit("Mbit/s"),
          MW_FIELD(dwMaxSpeed, "highest speed").Unit("Mbit/s").QuietZero(),
          MW_FIELD(acHostName, "name in the host"),
          MW_FIELD(dwLinkFailures, "link failures"),
          MW_FIELD(dwLossOfSync, "losses of synchronisation"),
          MW_FIELD(dwLossOfSignal, "losses of signal"),
          MW_FIELD(dwInvalidTxWords, "invalid transmission words"),
          MW_FIELD(dwInvalidCrc, "invalid CRCs"));

MW_RECORD(FCPortAssetInfo,
          MW_FIELD(dwPortCount, "ports"),
          MW_FIELD(dwReserved, ""),
          MW_FIELD(atPort, "port").CountedBy(offsetof(FCPortAssetInfo, dwPortCount)));

MW_RECORD(FcCardArea,
          MW_FIELD(dwUnused, "").Reserved(),
          MW_FIELD(tCards, "cards"),
          MW_FIELD(tPorts, "ports"));
// clang-format on

namespace {

constexpr Record kRecords[] = {
    One<FCCardAssetInfo, MW_GetFCCardAssetInfo>("cards", "Cards"),
    One<FCPortAssetInfo, MW_GetFCPortAssetInfo>("ports", "Ports"),
};
const Plug plug{{"fc", "Fibre Channel cards", &midware::kFcCard, kRecords, &kLayout<FcCardArea>}};

}  // namespace
}  // namespace mwctl
