// Custom cards.
#include "custcard/hov_midcustcard.h"
#include "pci.h"

namespace mwctl {

using midware::CustCardArea;

// clang-format off
MW_RECORD(CustCardRecord,
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
          MW_FIELD(ucClassCode, "class").Codes(kPciClasses),
          MW_FIELD(ucSubClass, "sub-class").Hex(),
          MW_FIELD(ucTempValid, "temperature read").Switch(),
          MW_FIELD(iTemp, "temperature").Unit("C").Reading(offsetof(CustCardRecord, ucTempValid)),
          MW_FIELD(dwPower, "power").Unit("mW").QuietZero().Reading(),
          MW_FIELD(dwHealthyStatus, "health").Health(),
          MW_FIELD(acName, "name").Naming(),
          MW_FIELD(acManufacturer, "manufacturer"),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acFirmwareVersion, "firmware"),
          MW_FIELD(aucReserved, ""));

MW_RECORD(CustCardAssetInfo,
          MW_FIELD(dwCardCount, "cards"),
          MW_FIELD(atCard, "card").CountedBy(offsetof(CustCardAssetInfo, dwCardCount)));

MW_RECORD(CustCardArea,
          MW_FIELD(dwUnused, "").Reserved(),
          MW_FIELD(tInfo, "cards"));
// clang-format on

namespace {

constexpr Record kRecords[] = {One<CustCardAssetInfo, MW_GetCustCardAssetInfo>("cards", "Cards")};
const Plug plug{{"custcard", "Custom cards", &midware::kCustCard, kRecords, &kLayout<CustCardArea>}};

}  // namespace
}  // namespace mwctl
