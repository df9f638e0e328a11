#include "mem/hov_midmem.h"

#include <cstring>

#include "dbgout.h"
#include "hov_guard.h"
#include "hov_health.h"
#include "hov_sel.h"
#include "hov_uptime.h"
#include "hov_usage.h"

using namespace midware;

namespace {

constexpr uint32_t kDimmCount = offsetof(MemArea, dwDimmCount);
constexpr uint32_t kStatus = offsetof(MemArea, atStatusInfo);
constexpr uint32_t kStride = sizeof(MemStatusInfo);
constexpr uint32_t kNumber = kStatus + offsetof(MemStatusInfo, dwDimmNum);
constexpr uint32_t kTemp = offsetof(MemStatusInfo, tTempInfo);
constexpr uint32_t kAlarm = offsetof(MemStatusInfo, tAlarmInfo);
constexpr uint32_t kFirstState = offsetof(MemAlarmInfo, ucCorrectECCState);
constexpr uint32_t kStates = offsetof(MemAlarmInfo, ucIsolationState) + 1 - kFirstState;
constexpr uint32_t kUsageBlock = kStatus + offsetof(MemStatusInfo, tUsage);
constexpr uint32_t kMemUsgFlag = kUsageBlock + offsetof(MemUsageBlock, dwMemUsgFlag);
constexpr uint32_t kIoUsgFlag = kUsageBlock + offsetof(MemUsageBlock, dwIoUsgFlag);
constexpr uint32_t kHardDisk = kUsageBlock + offsetof(MemUsageBlock, tHardDisk);

constexpr List kPhyList{kDimmCount, offsetof(MemArea, atPhyInfo), sizeof(MemPhyInfo), sizeof(MemPhyInfo)};
constexpr List kStatusList{kDimmCount, kStatus, kStride, kStride};
constexpr List kTempList{kDimmCount, kStatus + kTemp, sizeof(MemTempInfo), kStride};
constexpr List kAlarmList{kDimmCount, kStatus + kAlarm, sizeof(MemAlarmInfo), kStride};
constexpr List kAssetList{offsetof(MemArea, dwMemCount), offsetof(MemArea, atAssetInfo), sizeof(MemAssetInfo),
                          sizeof(MemAssetInfo)};

constexpr HealthTable kHealth{offsetof(MemArea, dwHealthyTotal), kNumber,
                              kStatus + offsetof(MemStatusInfo, dwHealthyStatus), kStride, 0};

constexpr UsageTable kUsage{kMem, kUsageBlock};
static_assert(offsetof(MemUsageBlock, dwHostMemUsgEnable) == offsetof(UsageWords, host_enable));
static_assert(offsetof(MemUsageBlock, dwHostMemUsg) == offsetof(UsageWords, host_usage));
static_assert(offsetof(MemUsageBlock, dwHostMemUsgAlt) == offsetof(UsageWords, host_alt));
static_assert(offsetof(MemUsageBlock, dwHostMemUsgAlarm) == offsetof(UsageWords, host_alarm));
static_assert(offsetof(MemUsageBlock, dwMemUsg) == offsetof(MemUsageBlock, dwMemUsgFlag) + 4);
static_assert(offsetof(MemUsageBlock, dwIoUsg) == offsetof(MemUsageBlock, dwIoUsgFlag) + 4);

constexpr char kMemThresholds[] = "Mem Usage Thres";
constexpr char kHardDiskThresholds[] = "HD Usage Thres";

MeUsageCache g_mem_usage{0, 0};
MeUsageCache g_io_usage{0, 0};

using MemGuard = Guard<MemArea>;

// Where a slot's status record begins; slots given by callers may lie behind the last one.
constexpr int64_t StatusAt(uint32_t slot) { return kStatus + static_cast<int64_t>(slot) * kStride; }

int32_t CountOver(const MemGuard &area) {
    hov_printf_s("%s:%d Dimm count over \n", area.caller().function, area.caller().line);
    return kFail;
}

int32_t ReadDimmList(const List &list, void *to, uint32_t *count, Caller at = Here()) {
    if (to == nullptr || count == nullptr) return kFail;
    MemGuard area(at);
    if (!area) return kFail;
    return area->dwDimmCount > MW_MEM_DIMM_MAX ? CountOver(area) : CopyListOut(area, list, to, count);
}

// The place of a record that names its own slot, which may equal the count; NULL, and a line, when it is not to be had.
void *PlaceOf(const MemGuard &area, uint32_t slot, uint32_t field, uint32_t size) {
    if (slot > area->dwDimmCount) {
        CountOver(area);
        return nullptr;
    }
    return area.Reach(StatusAt(slot) + field, size);
}

void RaisePeak(const MemGuard &area, int32_t temp) {
    if (area->iMaxDimmTemp < temp) area->iMaxDimmTemp = temp;
}

// The first counted slot of this number, or NULL. For a count that has been tested.
MemStatusInfo *FindDimm(const MemGuard &area, uint32_t number) {
    const int64_t slot = FindByWord(area, kNumber, kStride, area->dwDimmCount, number);
    return slot < 0 ? nullptr : &area->atStatusInfo[slot];
}

enum class CountReport : uint8_t { kPrinted, kSilent };

int32_t SetState(uint8_t MemAlarmInfo::*state, uint32_t number, uint32_t value,
                 CountReport report = CountReport::kPrinted, Caller at = Here()) {
    MemGuard area(at);
    if (!area) return kFail;
    if (area->dwDimmCount > MW_MEM_DIMM_MAX) return report == CountReport::kPrinted ? CountOver(area) : kFail;
    MemStatusInfo *dimm = FindDimm(area, number);
    if (dimm == nullptr) return kFail;
    dimm->tAlarmInfo.*state = static_cast<uint8_t>(value);
    return kOk;
}

// The event data of the DIMM of this number, or NULL; a count out of range is logged.
uint8_t *EventDataOf(const MemGuard &area, uint32_t number) {
    if (area->dwDimmCount > MW_MEM_DIMM_MAX) {
        const Caller &at = area.caller();
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s:%d Dimm count over \n", kMem.source, at.line, at.function, at.line);
        return nullptr;
    }
    MemStatusInfo *dimm = FindDimm(area, number);
    return dimm == nullptr ? nullptr : dimm->aucSelEventData[0];
}

// A name that fills all its bytes has no terminator.
bool SameName(const HardDiskPartInfo &a, const HardDiskPartInfo &b) {
    return strncmp(a.acPartName, b.acPartName, sizeof a.acPartName) == 0;
}

int32_t PartOverflow(MemGuard &area, const char *format, uint32_t count) {
    IDBG_LINUXAPP_DbgOut(kLevelError, format, kMem.source, area.caller().line, area.caller().function, count);
    area.KeepHeld();
    return kFail;
}

}  // namespace

// --- totals ------------------------------------------------------------------------------------------------------

int32_t MW_GetMemCount(uint32_t *pdwCount) { return ReadField(&MemArea::dwMemCount, pdwCount); }

int32_t MW_GetMemTotalPower(uint16_t *pwPower) { return ReadField(&MemArea::wTotalPower, pwPower); }

int32_t MW_SetMemTotalPower(uint32_t dwPower) {
    return WriteField(&MemArea::wTotalPower, static_cast<uint16_t>(dwPower));
}

int32_t MW_GetMemTotalSizeGB(uint32_t *pdwSizeGB) {
    if (pdwSizeGB == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    constexpr uint32_t first = kAssetList.first + offsetof(MemAssetInfo, dwSizeGB);
    const uint32_t count = area->dwMemCount;
    const auto *size = static_cast<const char *>(area.ReachRecords(first, count, sizeof(uint32_t), kAssetList.stride));
    if (size == nullptr) return kFail;
    uint32_t sum = 0;
    for (uint32_t i = 0; i < count; ++i, size += kAssetList.stride) sum += Load<uint32_t>(size);
    *pdwSizeGB = sum;
    return kOk;
}

// --- physical locations ------------------------------------------------------------------------------------------

int32_t MW_GetMemPhyInfo(MemPhyInfo *ptPhyInfo, uint32_t *pdwCount) {
    return ReadList<MemArea>(kPhyList, ptPhyInfo, pdwCount);
}

int32_t MW_GetMemPhyInfoByMemNum(MemPhyInfo *ptPhyInfo, uint32_t dwMemNum) {
    if (ptPhyInfo == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    const int64_t slot = FindByWord(area, kPhyList.first + offsetof(MemPhyInfo, dwMemNum), kPhyList.stride,
                                    area->dwDimmCount, dwMemNum);
    if (slot < 0) return kFail;
    const void *from = area.Reach(kPhyList.first + slot * kPhyList.stride, kPhyList.size);
    if (from == nullptr) return kFail;
    memcpy_s(ptPhyInfo, kPhyList.size, from, kPhyList.size);
    return kOk;
}

int32_t MW_GetMemPhyInfoByPhyInfo(MemPhyInfo *ptPhyInfo) {
    if (ptPhyInfo == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    constexpr uint32_t key = offsetof(MemPhyInfo, adwLocation);
    constexpr uint32_t key_size = sizeof(MemPhyInfo::adwLocation);
    for (uint32_t slot = 0; slot < area->dwDimmCount; ++slot) {
        const int64_t record = kPhyList.first + static_cast<int64_t>(slot) * kPhyList.stride;
        const void *location = area.Reach(record + key, key_size);
        if (location == nullptr) return kFail;
        if (memcmp(location, ptPhyInfo->adwLocation, key_size) != 0) continue;
        const void *from = area.Reach(record, kPhyList.size);
        if (from == nullptr) return kFail;
        memcpy_s(ptPhyInfo, kPhyList.size, from, kPhyList.size);
        return kOk;
    }
    return kFail;
}

int32_t MW_SetMemPhyInfo(const MemPhyInfo *ptPhyInfo, uint32_t dwCount) {
    return WriteList<MemArea>(kPhyList, ptPhyInfo, dwCount);
}

// --- state of the DIMMs ------------------------------------------------------------------------------------------

int32_t MW_SetMemDimmNuminStatusInfo(const MemStatusInfo *ptStatusInfo, uint32_t dwCount) {
    return WriteList<MemArea>(kStatusList, ptStatusInfo, dwCount);
}

int32_t MW_SetMemPresentStatus(uint32_t dwIndex, uint32_t dwStatus) {
    MemGuard area;
    if (!area) return kFail;
    constexpr uint32_t extent = offsetof(MemStatusInfo, dwPresentStatus) + sizeof dwStatus;
    auto *dimm = static_cast<MemStatusInfo *>(area.Reach(StatusAt(dwIndex), extent));
    if (dimm == nullptr) return kFail;
    dimm->dwDimmNum = dwIndex;
    dimm->dwPresentStatus = dwStatus;
    return kOk;
}

int32_t MW_GetMemTempInfo(MemTempInfo *ptTempInfo, uint32_t *pdwCount) {
    return ReadDimmList(kTempList, ptTempInfo, pdwCount);
}

int32_t MW_GetMemTempInfoByDimmNum(MemTempInfo *ptTempInfo, uint32_t dwDimmNum) {
    if (ptTempInfo == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    const Caller &at = area.caller();
    if (area->dwDimmCount > MW_MEM_DIMM_MAX) return CountOver(area);
    if (dwDimmNum > area->dwDimmCount) {
        hov_printf_s("%s:%d dwDimmNum %d over Dimm count\n", at.function, at.line, dwDimmNum);
        return kFail;
    }
    if (dwDimmNum == 0) {
        hov_printf_s("%s:%d dwDimmNum %d invalid\n", at.function, at.line, dwDimmNum);
        return kFail;
    }
    memcpy_s(ptTempInfo, sizeof *ptTempInfo, &area->atStatusInfo[dwDimmNum - 1].tTempInfo, sizeof *ptTempInfo);
    return kOk;
}

int32_t MW_SetMemTempInfo(const MemTempInfo *ptTempInfo) {
    if (ptTempInfo == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    void *to = PlaceOf(area, ptTempInfo->dwDimmNum, kTemp, sizeof *ptTempInfo);
    if (to == nullptr) return kFail;
    RaisePeak(area, ptTempInfo->iTemp);
    memcpy_s(to, sizeof *ptTempInfo, ptTempInfo, sizeof *ptTempInfo);
    return kOk;
}

int32_t MW_SetMemCurrentTemp(uint32_t dwDimmNum, int32_t iTemp, uint32_t dwTempArg3, uint32_t dwTempArg4) {
    MemGuard area;
    if (!area) return kFail;
    if (dwDimmNum > area->dwDimmCount) return CountOver(area);
    if (dwDimmNum == 0) {
        hov_printf_s("%s:%d dwDimmNum invalid \n", area.caller().function, area.caller().line);
        return kFail;
    }
    // Only a temperature other than 0 reaches as far as the alarm record.
    constexpr uint32_t temp_end = kTemp + sizeof(MemTempInfo);
    constexpr uint32_t alarm_end = kAlarm + offsetof(MemAlarmInfo, ucPresetProtectState) + 1;
    auto *dimm = static_cast<MemStatusInfo *>(area.Reach(StatusAt(dwDimmNum - 1), iTemp != 0 ? alarm_end : temp_end));
    if (dimm == nullptr) return kFail;
    RaisePeak(area, iTemp);
    MemTempInfo &temp = dimm->tTempInfo;
    temp.dwDimmNum = dwDimmNum;
    temp.iTemp = iTemp;
    temp.dwTempArg3 = dwTempArg3;
    temp.dwTempArg4 = dwTempArg4;
    if (iTemp != 0) {
        dimm->tAlarmInfo.ucPresetProtectState = 1;
        dimm->dwPresentStatus = 1;
    }
    temp.ucTempValid = iTemp != 0 ? 1 : 0;
    temp.dwUpdateTime = UptimeSeconds();
    return kOk;
}

int32_t MW_GetCpuMemGTemp(uint32_t dwIndex, uint32_t *pdwTemp) {
    if (pdwTemp == nullptr || !Attach(kMem) || dwIndex >= MW_MEM_DIMM_MAX) return kFail;
    MemGuard area;
    if (!area) return kFail;
    *pdwTemp = area->atStatusInfo[dwIndex].tTempInfo.dwCpuMemGTemp;
    return kOk;
}

int32_t MW_SetCpuMemGTemp(uint32_t dwIndex, uint32_t dwTemp) {
    if (!Attach(kMem) || dwIndex >= MW_MEM_DIMM_MAX) return kFail;
    MemGuard area;
    if (!area) return kFail;
    area->atStatusInfo[dwIndex].tTempInfo.dwCpuMemGTemp = dwTemp;
    return kOk;
}

// --- what is plugged in ------------------------------------------------------------------------------------------

int32_t MW_GetMemAssetInfo(MemAssetInfo *ptAssetInfo, uint32_t *pdwCount) {
    return ReadList<MemArea>(kAssetList, ptAssetInfo, pdwCount);
}

int32_t MW_SetMemAssetInfo(const MemAssetInfo *ptAssetInfo, uint32_t dwCount) {
    return WriteList<MemArea>(kAssetList, ptAssetInfo, dwCount);
}

// --- alarm states ------------------------------------------------------------------------------------------------

int32_t MW_GetMemAlarmInfo(MemAlarmInfo *ptAlarmInfo, uint32_t *pdwCount) {
    return ReadDimmList(kAlarmList, ptAlarmInfo, pdwCount);
}

int32_t MW_GetMemAlarmInfoByDimmNum(MemAlarmInfo *ptAlarmInfo, uint32_t dwDimmNum) {
    if (ptAlarmInfo == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    if (area->dwDimmCount > MW_MEM_DIMM_MAX) return CountOver(area);
    const MemStatusInfo *dimm = FindDimm(area, dwDimmNum);
    if (dimm != nullptr) memcpy_s(ptAlarmInfo, sizeof *ptAlarmInfo, &dimm->tAlarmInfo, sizeof *ptAlarmInfo);
    return kOk;  // also for a number that no slot has
}

int32_t MW_SetMemAlarmInfo(const MemAlarmInfo *ptAlarmInfo) {
    if (ptAlarmInfo == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    void *to = PlaceOf(area, ptAlarmInfo->dwDimmNum, kAlarm, sizeof *ptAlarmInfo);
    if (to == nullptr) return kFail;
    memcpy_s(to, sizeof *ptAlarmInfo, ptAlarmInfo, sizeof *ptAlarmInfo);
    return kOk;
}

int32_t MW_SetMemCorrectECCState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucCorrectECCState, dwDimmNum, dwState, CountReport::kSilent);
}

int32_t MW_SetMemUnCorrectECCState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucUnCorrectECCState, dwDimmNum, dwState);
}

int32_t MW_SetMemMemParityState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucMemParityState, dwDimmNum, dwState);
}

int32_t MW_SetMemMemScrubFailState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucMemScrubFailState, dwDimmNum, dwState);
}

int32_t MW_SetMemMemDisabledState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucMemDisabledState, dwDimmNum, dwState);
}

int32_t MW_SetMemCorrectECCLimitState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucCorrectECCLimitState, dwDimmNum, dwState);
}

int32_t MW_SetMemPresetProtectState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucPresetProtectState, dwDimmNum, dwState);
}

int32_t MW_SetMemConfigurErrorState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucConfigurErrorState, dwDimmNum, dwState);
}

int32_t MW_SetMemMemSpareState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucMemSpareState, dwDimmNum, dwState);
}

int32_t MW_SetMemMemAutoThrottledState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucMemAutoThrottledState, dwDimmNum, dwState);
}

int32_t MW_SetMemMemOverTempState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucMemOverTempState, dwDimmNum, dwState);
}

int32_t MW_SetMemPredictiveFailureState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucPredictiveFailureState, dwDimmNum, dwState);
}

int32_t MW_SetMemIsolationState(uint32_t dwDimmNum, uint32_t dwState) {
    return SetState(&MemAlarmInfo::ucIsolationState, dwDimmNum, dwState);
}

int32_t MW_SetMemCorrectECCCnt(uint32_t dwDimmNum, uint32_t dwCount) {
    return SetState(&MemAlarmInfo::ucCorrectECCCnt, dwDimmNum, dwCount, CountReport::kSilent);
}

int32_t MW_ClearMemStatusInfoALLStates(void) {
    MemGuard area;
    if (!area || area->dwDimmCount > MW_MEM_DIMM_MAX) return kFail;
    for (uint32_t slot = 0; slot < area->dwDimmCount; ++slot) {
        memset_s(area.Reach(StatusAt(slot) + kAlarm + kFirstState, kStates), kStates, 0, kStates);
    }
    return kOk;
}

int32_t MW_SetMemAssertSelEventDataInfo(uint32_t dwDimmNum, uint32_t dwEventData) {
    MemGuard area;
    if (!area) return kFail;
    uint8_t *table = EventDataOf(area, dwDimmNum);
    return table != nullptr && StoreEventData(table, dwEventData) ? kOk : kFail;
}

int32_t MW_GetMemAssertSelEventDataInfo(uint32_t dwDimmNum, uint32_t dwEventOffset, uint8_t *pucEventData) {
    if (pucEventData == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    uint8_t *table = EventDataOf(area, dwDimmNum);
    return table != nullptr && LoadEventData(table, dwEventOffset, pucEventData) ? kOk : kFail;
}

// --- health ------------------------------------------------------------------------------------------------------

int32_t MW_InitMemHealthyStatusInfo(void) { return InitHealth(kMem, kHealth, LockText::kLineError, Here()); }

int32_t MW_SetMemHealthyStatusInfo(uint32_t dwInstance, uint32_t dwHealth, uint32_t dwTotalHealth) {
    return SetHealth(kMem, kHealth, LockText::kLineError, dwInstance, dwHealth, dwTotalHealth, Here());
}

int32_t MW_GetMemHealthyStatusInfoByInst(uint32_t dwInstance, uint32_t *pdwHealth) {
    return GetHealthByInstance(kMem, kHealth, LockText::kLineError, dwInstance, pdwHealth, Here());
}

int32_t MW_GetMemHealthyStatusInfoByTotal(uint32_t *pdwTotalHealth) {
    return GetHealthTotal(kMem, kHealth, LockText::kLineError, pdwTotalHealth, Here());
}

// --- usage figures -----------------------------------------------------------------------------------------------

int32_t MW_GetMemUsgInfo(uint32_t *pdwUsage) { return GetMeUsage(kMem, kMemUsgFlag, pdwUsage); }

int32_t MW_GetIoUsgInfo(uint32_t *pdwUsage) { return GetMeUsage(kMem, kIoUsgFlag, pdwUsage); }

int32_t MW_SetMemUsgInfoFromME(uint32_t dwUsage, uint32_t dwFlag) {
    return SetMeUsage(kMem, kMemUsgFlag, g_mem_usage, dwUsage, dwFlag);
}

int32_t MW_SetIoUsgInfoFromME(uint32_t dwUsage, uint32_t dwFlag) {
    return SetMeUsage(kMem, kIoUsgFlag, g_io_usage, dwUsage, dwFlag);
}

int32_t MW_SetMemUsgInfoFromHostMon(uint32_t dwPacked) { return SetHostUsage(kUsage, dwPacked); }

int32_t MW_GetMemUsgInfoFromHostMon(uint32_t *pdwUsage) { return GetHostUsage(kUsage, pdwUsage); }

int32_t MW_IsHostMemUsgInfoEnabled(uint32_t *pdwEnable) { return GetHostUsageEnable(kUsage, pdwEnable); }

int32_t MW_ClearMemUsgInfoFromHostMon(void) { return ClearHostUsage(kUsage); }

int32_t MW_GetHostMemUsgAlarmStatus(uint32_t *pdwStatus) { return GetHostAlarm(kUsage, pdwStatus); }

int32_t MW_SetHostMemUsgAlarmStatus(uint32_t dwStatus) { return SetHostAlarm(kUsage, dwStatus); }

// --- the host's partitions ---------------------------------------------------------------------------------------

int32_t MW_SetHardDiskUsageInfoFromHostMon(const HardDiskUsageInfo *ptUsageInfo) {
    if (ptUsageInfo == nullptr) return kFail;
    MemGuard area;
    if (!area) return kFail;
    const uint32_t total = ptUsageInfo->dwTotalPart;
    if (total > MW_HARD_DISK_PART_MAX) {
        return PartOverflow(area, "[%s:%d][%s] ptHarddiskUsageUnion->dwTotalPart = %d, look out overflow\n", total);
    }
    HardDiskUsageInfo &stored = area->atStatusInfo[0].tUsage.tHardDisk;
    uint32_t n = stored.dwTotalPart;
    if (total != 0 && n > MW_HARD_DISK_PART_MAX) {
        return PartOverflow(area, "[%s:%d][%s] aucDesTotalNum = %d, look out overflow\n", n);
    }
    for (uint8_t i = 0; i < total; ++i) {
        const HardDiskPartInfo &part = ptUsageInfo->atPart[i];
        uint32_t place = 0;
        while (place < n && !SameName(stored.atPart[place], part)) ++place;
        if (place == MW_HARD_DISK_PART_MAX) continue;  // a new name and no room for it
        memcpy_s(&stored.atPart[place], sizeof part, &part, sizeof part);
        if (place == n) ++n;
    }
    stored.dwTotalPart = n;
    return kOk;
}

int32_t MW_GetHardDiskUsgInfoFromHostMon(HardDiskUsageInfo *ptUsageInfo) {
    return CopyOut<MemArea>(kHardDisk, sizeof *ptUsageInfo, ptUsageInfo);
}

// Does not attach: a process that never did has no area to clear.
int32_t MW_ClearHardDiskUsageInfoFromHostMon(void) {
    MemGuard area(AsItStands{});
    if (!area) return kFail;
    HardDiskUsageInfo &stored = area->atStatusInfo[0].tUsage.tHardDisk;
    memset_s(&stored, sizeof stored, 0, sizeof stored);
    return kOk;
}

int32_t MW_GetHostHardDiskUsgAlarmStatus(uint32_t dwIndex, uint32_t *pdwStatus) {
    if (pdwStatus == nullptr || dwIndex >= MW_HARD_DISK_PART_MAX) return kFail;
    MemGuard area;
    if (!area) return kFail;
    *pdwStatus = area->atStatusInfo[0].tUsage.tHardDisk.adwPartAlarm[dwIndex];
    return kOk;
}

int32_t MW_SetHostHardDiskUsgAlarmStatus(uint32_t dwIndex, uint32_t dwStatus) {
    if (dwIndex >= MW_HARD_DISK_PART_MAX) return kFail;
    MemGuard area;
    if (!area) return kFail;
    StoreAlarm(&area->atStatusInfo[0].tUsage.tHardDisk.adwPartAlarm[dwIndex], dwStatus);
    return kOk;
}

// --- thresholds --------------------------------------------------------------------------------------------------

int32_t MW_GetMemUsageThreInfo(uint32_t *pdwThreshold) { return GetUsageThreshold(kMemThresholds, pdwThreshold); }

int32_t MW_SetMemUsageThreInfo(uint32_t dwThreshold, uint32_t) {
    return SetUsageThreshold(kMem, kMemThresholds, dwThreshold);
}

int32_t MW_GetHardDiskUsageThreInfo(uint32_t *pdwThreshold) {
    return GetUsageThreshold(kHardDiskThresholds, pdwThreshold);
}

int32_t MW_SetHardDiskUsageThreInfo(uint32_t dwThreshold, uint32_t) {
    return SetUsageThreshold(kMem, kHardDiskThresholds, dwThreshold);
}
