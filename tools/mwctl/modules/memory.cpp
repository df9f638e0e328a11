// DIMMs, and what the host uses of its memory and disks.
#include "mem/hov_midmem.h"
#include "shared.h"
#include "table.h"

namespace mwctl {

using midware::MemArea;

// clang-format off
MW_RECORD(MemPhyInfo,
          MW_FIELD(dwMemNum, "DIMM"),
          MW_FIELD(adwLocation, "location"),
          MW_FIELD(acSilkName, "label"),
          MW_FIELD(dwPresent, "present").Switch(),
          MW_FIELD(adwReserved, ""));

MW_RECORD(MemTempInfo,
          MW_FIELD(dwDimmNum, "DIMM"),
          MW_FIELD(ucTempValid, "valid").Switch(),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(iTemp, "temperature").Unit("C").Reading(offsetof(MemTempInfo, ucTempValid)),
          MW_FIELD(dwTempArg3, "reading 3").QuietZero(),
          MW_FIELD(dwTempArg4, "reading 4").QuietZero(),
          MW_FIELD(dwCpuMemGTemp, "group").QuietZero(),
          MW_FIELD(dwUpperCritical, "critical").Unit("C").QuietZero(),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(dwUpdateTime, "uptime").Unit("s"));

MW_RECORD(MemAlarmInfo,
          MW_FIELD(dwDimmNum, "DIMM"),
          MW_FIELD(ucCorrectECCState, "correctable ECC").State(),
          MW_FIELD(ucUnCorrectECCState, "uncorrectable ECC").State(),
          MW_FIELD(ucMemParityState, "parity").State(),
          MW_FIELD(ucMemScrubFailState, "scrub failed").State(),
          MW_FIELD(ucMemDisabledState, "disabled").State(),
          MW_FIELD(ucCorrectECCLimitState, "correctable ECC limit").State(),
          MW_FIELD(ucPresetProtectState, "preset protect").State(),
          MW_FIELD(ucConfigurErrorState, "configuration error").State(),
          MW_FIELD(ucMemSpareState, "spare").State(),
          MW_FIELD(ucMemAutoThrottledState, "throttled").State(),
          MW_FIELD(ucMemOverTempState, "over-temperature").State(),
          MW_FIELD(ucPredictiveFailureState, "predictive failure").State(),
          MW_FIELD(ucIsolationState, "isolated").State(),
          MW_FIELD(ucCorrectECCCnt, "corrected"),
          MW_FIELD(aucReserved, ""));

MW_RECORD(MemAssetInfo,
          MW_FIELD(dwDimmNum, "DIMM"),
          MW_FIELD(adwLocation, "location"),
          MW_FIELD(acDeviceLocator, "device locator"),
          MW_FIELD(acBankLocator, "bank locator"),
          MW_FIELD(acManufacturer, "manufacturer"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acAssetTag, "asset tag"),
          MW_FIELD(acMemType, "type"),
          MW_FIELD(acFormFactor, "form factor"),
          MW_FIELD(acTypeDetail, "type detail"),
          MW_FIELD(dwMaxSpeed, "maximum speed").Unit("MT/s").QuietZero(),
          MW_FIELD(dwConfiguredSpeed, "configured speed").Unit("MT/s").QuietZero(),
          MW_FIELD(dwTotalWidth, "total width").Unit("bits").QuietZero(),
          MW_FIELD(dwDataWidth, "data width").Unit("bits").QuietZero(),
          MW_FIELD(dwRank, "ranks").QuietZero(),
          MW_FIELD(dwConfiguredVoltage, "configured voltage").Unit("mV").QuietZero(),
          MW_FIELD(adwReserved1, ""),
          MW_FIELD(dwSizeGB, "whole size").Unit("GiB"),
          MW_FIELD(dwSizeMB, "size").Unit("MiB").QuietZero(),
          MW_FIELD(dwPresent, "present").Switch(),
          MW_FIELD(adwReserved2, ""));

MW_RECORD(HardDiskPartInfo,
          MW_FIELD(ucUsedPercent, "used").Unit("%"),
          MW_FIELD(aucReserved1, ""),
          MW_FIELD(acPartName, "name"),
          MW_FIELD(dwTotalMB, "total").Unit("MiB"),
          MW_FIELD(dwUsedMB, "in use").Unit("MiB"),
          MW_FIELD(ucReserved2, ""));

MW_RECORD(HardDiskUsageInfo,
          MW_FIELD(dwTotalPart, "partitions"),
          MW_FIELD(adwPartAlarm, "usage alarms").Alarm().CountedBy(offsetof(HardDiskUsageInfo, dwTotalPart)),
          MW_FIELD(atPart, "partition").CountedBy(offsetof(HardDiskUsageInfo, dwTotalPart)));

MW_RECORD(MemUsageBlock,
          MW_FIELD(dwHostMemUsgEnable, "host's figure").Codes(kValidity).Get<MW_IsHostMemUsgInfoEnabled>(),
          MW_FIELD(dwHostMemUsg, "memory, by the host").Unit("%").NoValue().Get<MW_GetMemUsgInfoFromHostMon>(),
          MW_FIELD(dwHostMemUsgAlt, "host's other value"),
          MW_FIELD(dwMemUsgFlag, "engine's memory figure").Codes(kValidity),
          MW_FIELD(dwMemUsg, "memory, by the engine").Unit("%").NoValue().Get<MW_GetMemUsgInfo>(),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(dwHostMemUsgAlarm, "memory alarm").Switch().Alarm().Get<MW_GetHostMemUsgAlarmStatus>(),
          MW_FIELD(dwIoUsgFlag, "engine's I/O figure").Codes(kValidity),
          MW_FIELD(dwIoUsg, "I/O, by the engine").Unit("%").NoValue().Get<MW_GetIoUsgInfo>(),
          MW_FIELD(tHardDisk, "host's disks").Get<MW_GetHardDiskUsgInfoFromHostMon>());

MW_RECORD(MemStatusInfo,
          MW_FIELD(dwDimmNum, "DIMM"),
          MW_FIELD(dwPresentStatus, "present").Switch(),
          MW_FIELD(dwHealthyStatus, "health"),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(tTempInfo, "temperature"),
          MW_FIELD(tUsage, "usage"),
          MW_FIELD(tAlarmInfo, "alarms"),
          MW_FIELD(aucSelEventData, "event").Event(),
          MW_FIELD(aucPad, ""));

MW_RECORD(MemArea,
          MW_FIELD(dwDimmCount, "DIMM slots"),
          MW_FIELD(dwMemCount, "asset records").Get<MW_GetMemCount>(),
          MW_FIELD(iMaxDimmTemp, "peak temperature").Unit("C"),
          MW_FIELD(wTotalPower, "total power").Get<MW_GetMemTotalPower>(),
          MW_FIELD(aucPad1, ""),
          MW_FIELD(dwHealthyTotal, "total health").Get<MW_GetMemHealthyStatusInfoByTotal>(),
          MW_FIELD(atPhyInfo, "slot"),
          MW_FIELD(atStatusInfo, "slot"),
          MW_FIELD(aucPad2, ""),
          MW_FIELD(atAssetInfo, "asset record"));

// What is computed from the asset records.
struct MemInstalled {
    uint32_t dwTotalSizeGB;
};

MW_RECORD(MemInstalled, MW_FIELD(dwTotalSizeGB, "total size").Unit("GiB").Get<MW_GetMemTotalSizeGB>());
// clang-format on

namespace {

std::vector<MemPhyInfo> ReadSlots() { return ReadList<MW_GetMemPhyInfo>(MW_MEM_DIMM_MAX); }
std::vector<std::string> Labels() { return Texts(ReadSlots(), &MemPhyInfo::acSilkName); }

int32_t ReadEvents(SelEvent *events, uint32_t &count) {
    uint32_t assets;
    int32_t result = MW_GetMemCount(&assets);  // fails only when nothing can be read
    count = 0;
    for (const MemPhyInfo &slot : ReadSlots()) {
        if (result < 0) break;
        const auto get = [&](uint32_t offset, uint8_t *data) {
            return MW_GetMemAssertSelEventDataInfo(slot.dwMemNum, offset, data);
        };
        const std::string_view name = tools::ArrayText(slot.acSilkName, sizeof slot.acSilkName);
        result = AppendEvents(slot.dwMemNum, name, get, events, count);
    }
    return result;
}

constexpr Record kRecords[] = {
    Words<MemArea>("totals", "Totals"),
    Words<MemInstalled>("installed", "Installed"),
    List<MemPhyInfo, MW_GetMemPhyInfo>("slots", "DIMM slots", MW_MEM_DIMM_MAX),
    List<MemAssetInfo, MW_GetMemAssetInfo>("assets", "DIMMs", MW_MEM_DIMM_MAX),
    List<MemTempInfo, MW_GetMemTempInfo>("temperatures", "Temperatures", MW_MEM_DIMM_MAX).Named<Labels>(),
    List<MemAlarmInfo, MW_GetMemAlarmInfo>("alarms", "Alarm states", MW_MEM_DIMM_MAX).Named<Labels>(),
    Custom<SelEvent, ReadEvents>("events", "Event data", kEventOffsets *MW_MEM_DIMM_MAX)
        .Notes<NameEvent<MemAlarmInfo>>(),
    Words<MemUsageBlock>("usage", "Usage"),
    One<UsageThreshold, MW_GetMemUsageThreInfo>("threshold", "Memory usage threshold").FromFile(),
    One<UsageThreshold, MW_GetHardDiskUsageThreInfo>("disk-threshold", "Disk usage threshold").FromFile(),
};
const Plug plug{{"memory", "Memory", &midware::kMem, kRecords, &kLayout<MemArea>}};

}  // namespace
}  // namespace mwctl
