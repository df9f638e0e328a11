// Graphics and compute accelerators.
#include "gpu/hov_midgpu.h"
#include "pci.h"

namespace mwctl {

using midware::GpuArea;

namespace {

constexpr Code kReadings[] = {{0x01, "core"}, {0x02, "memory"}};

}  // namespace

// clang-format off
MW_RECORD(GPURecord,
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
          MW_FIELD(ucTempValid, "temperatures read").Flags(kReadings),
          MW_FIELD(dwMemorySize, "memory").Unit("MiB").QuietZero(),
          MW_FIELD(dwMemoryUsed, "memory used").Unit("MiB").QuietZero(),
          MW_FIELD(dwUtilization, "utilisation").Unit("%"),
          MW_FIELD(dwMemoryBusy, "memory busy").Unit("%"),
          MW_FIELD(dwPower, "power").Unit("mW").QuietZero().Reading(),
          MW_FIELD(dwPowerLimit, "power limit").Unit("mW").QuietZero(),
          MW_FIELD(iTemp, "core temperature").Unit("C").Reading(offsetof(GPURecord, ucTempValid), 0x01),
          MW_FIELD(iMemoryTemp, "memory temperature").Unit("C").Reading(offsetof(GPURecord, ucTempValid), 0x02),
          MW_FIELD(dwCoreClock, "core clock").Unit("MHz").QuietZero(),
          MW_FIELD(dwMemoryClock, "memory clock").Unit("MHz").QuietZero(),
          MW_FIELD(dwCorrectedErrors, "corrected memory errors"),
          MW_FIELD(dwUncorrectedErrors, "uncorrected memory errors"),
          MW_FIELD(dwLinkSpeed, "link speed").Unit("MT/s").QuietZero(),
          MW_FIELD(dwLinkWidth, "link width").QuietZero(),
          MW_FIELD(dwHealthyStatus, "health").Health(),
          MW_FIELD(acManufacturer, "manufacturer"),
          MW_FIELD(acModel, "model").Naming(),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acUuid, "UUID"),
          MW_FIELD(acFirmwareVersion, "firmware"),
          MW_FIELD(acDriver, "driver"),
          MW_FIELD(acDriverVersion, "driver version"),
          MW_FIELD(aucReserved, ""));

MW_RECORD(GPUAssetInfo,
          MW_FIELD(dwGpuCount, "accelerators"),
          MW_FIELD(atGpu, "accelerator").CountedBy(offsetof(GPUAssetInfo, dwGpuCount)));

MW_RECORD(GpuArea,
          MW_FIELD(dwUnused, "").Reserved(),
          MW_FIELD(tInfo, "accelerators"));
// clang-format on

namespace {

constexpr Record kRecords[] = {One<GPUAssetInfo, MW_GetGPUAssetInfo>("cards", "Accelerators")};
const Plug plug{{"gpu", "GPUs", &midware::kGpu, kRecords, &kLayout<GpuArea>}};

}  // namespace
}  // namespace mwctl
