#include "fan/hov_midfan.h"

#include "dbgout.h"
#include "hov_guard.h"
#include "hov_health.h"

using namespace midware;

namespace {

constexpr uint32_t kAssets = offsetof(FanArea, atFanAssetInfo);

template <class Record>
constexpr List FanList(size_t first) {
    return {offsetof(FanArea, dwFanNum), static_cast<uint32_t>(first), sizeof(Record), sizeof(Record)};
}

constexpr List kOnlineList = FanList<FanOnlinePhyInfo>(offsetof(FanArea, atFanOnlinePhyInfo));
constexpr List kControlList = FanList<FanControlPhyInfo>(offsetof(FanArea, atFanControlPhyInfo));
constexpr List kAssetList = FanList<FanAssetInfo>(kAssets);

constexpr HealthTable kHealth{offsetof(FanArea, dwFanHealthyTotal), kAssets + offsetof(FanAssetInfo, dwFanSilkNum),
                              kAssets + offsetof(FanAssetInfo, dwFanHealthyStatus), sizeof(FanAssetInfo), 0};
static_assert(kHealth.total == 17768 && kHealth.key == 2376 && kHealth.status == 2392 && kHealth.stride == 208);

// Copy one block through a pointer that is not tested.
template <class T>
int32_t GetBlockUntested(T FanArea::*block, void *to, Caller at = Here()) {
    Guard<FanArea> area(at);
    if (!area) return kFail;
    memcpy_s(to, sizeof(T), &((*area).*block), sizeof(T));
    return kOk;
}

template <class T>
int32_t SetBlockUntested(T FanArea::*block, const void *from, Caller at = Here()) {
    Guard<FanArea> area(at);
    if (!area) return kFail;
    memcpy_s(&((*area).*block), sizeof(T), from, sizeof(T));
    return kOk;
}

int32_t RefusePolicy(const char *what, uint32_t value, Caller at = Here()) {
    IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]Set Thermal Policy Failed, %s = %d\n", kFan.source, at.line, what,
                         static_cast<int32_t>(value));
    return kFail;
}

// The low byte of a value, as the boundaries keep it.
constexpr uint8_t LowByte(uint32_t value) { return static_cast<uint8_t>(value); }

// Hands the set of every record of the device to `exchange`: several records may carry one identifier.
template <class Exchange>
int32_t ForEachPidOffset(int32_t dev_id, uint32_t set, const void *buffer, Exchange exchange, Caller at = Here()) {
    if (set >= MW_PID_OFFSET_SETS || buffer == nullptr) return kFail;
    Guard<FanArea> area(at);
    if (!area) return kFail;
    for (DevCoolingParam &device : area->atDevCoolingParam) {
        if (device.iDevId == dev_id) exchange(&device.atPIDOffsetPara[set]);
    }
    return kOk;
}

struct ZoneKeys {
    uint32_t a;
    int32_t b;
    int32_t c;

    bool Match(const FanDevZoneInfo &zone) const {
        return zone.dwZoneKeyA == a && zone.iZoneKeyB == b && zone.iZoneKeyC == c;
    }
};

using PercentTable = uint8_t (FanDevZoneInfo::*)[MW_FAN_PERCENT_SIZE];

int32_t GetPercents(const ZoneKeys &keys, PercentTable table, void *to, Caller at = Here()) {
    if (to == nullptr) return kFail;
    Guard<FanArea> area(at);
    if (!area) return kFail;
    for (uint32_t i = 0; i < MW_FAN_ZONE_MAX; ++i) {
        const FanDevZoneInfo &zone = area->atFanDevZoneInfo[i];
        if (!keys.Match(zone)) continue;
        memcpy_s(to, MW_FAN_PERCENT_SIZE, zone.*table, MW_FAN_PERCENT_SIZE);
        return kOk;
    }
    return kFail;
}

int32_t SetPercents(const ZoneKeys &keys, PercentTable table, const void *from, Caller at = Here()) {
    if (from == nullptr) return kFail;
    Guard<FanArea> area(at);
    if (!area) return kFail;
    for (FanDevZoneInfo &zone : area->atFanDevZoneInfo) {  // the spare places too
        if (keys.Match(zone)) memcpy_s(zone.*table, MW_FAN_PERCENT_SIZE, from, MW_FAN_PERCENT_SIZE);
    }
    return kOk;
}

}  // namespace

// --- fan records -------------------------------------------------------------------------------------------------

int32_t MW_GetFanOnlinePhyInfo(void *ptOut, uint32_t *pdwCount) {
    return ReadList<FanArea>(kOnlineList, ptOut, pdwCount);
}

int32_t MW_SetFanOnlinePhyInfo(const void *ptIn, uint32_t dwCount) {
    return WriteList<FanArea>(kOnlineList, ptIn, dwCount);
}

int32_t MW_GetFanControlPhyInfo(void *ptOut, uint32_t *pdwCount) {
    return ReadList<FanArea>(kControlList, ptOut, pdwCount);
}

int32_t MW_SetFanControlPhyInfo(const void *ptIn, uint32_t dwCount) {
    if (ptIn == nullptr || !Attach(kFan)) {
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s failed\n", kFan.source, __LINE__, __func__);
        return kFail;
    }
    return WriteList<FanArea>(kControlList, ptIn, dwCount);
}

int32_t MW_GetFanAssetInfo(FanAssetInfo *ptOut, uint32_t *pdwCount) {
    return ReadList<FanArea>(kAssetList, ptOut, pdwCount);
}

int32_t MW_SetFanAssetInfo(const FanAssetInfo *ptIn, uint32_t dwCount) {
    if (ptIn == nullptr) return kFail;
    Guard<FanArea> area;
    if (!area) return kFail;
    char *asset = static_cast<char *>(area.ReachRecords(kAssets, dwCount, sizeof *ptIn, sizeof *ptIn));
    if (asset == nullptr) return kFail;
    // The control records lie below the asset records and are shorter: they are in reach as well.
    const char *state = static_cast<const char *>(
        area.Reach(offsetof(FanArea, atFanControlPhyInfo) + offsetof(FanControlPhyInfo, tState), sizeof(FanCtrlState)));
    for (uint32_t i = 0; i < dwCount; ++i, asset += sizeof *ptIn, state += sizeof(FanControlPhyInfo)) {
        char *healthy = asset + offsetof(FanAssetInfo, dwFanHealthyStatus);
        const uint32_t kept = Load<uint32_t>(healthy);
        memcpy_s(asset, sizeof *ptIn, ptIn + i, sizeof *ptIn);
        memcpy_s(asset + offsetof(FanAssetInfo, aucFanCtrlCopy), sizeof(FanCtrlState), state, sizeof(FanCtrlState));
        Store<uint32_t>(healthy, kept);
    }
    return kOk;
}

int32_t MW_SetFanPresentInfo(uint32_t dwIndex, uint32_t dwPresent) {
    if (dwIndex >= MW_FAN_MAX) return kFail;
    Guard<FanArea> area;
    if (!area) return kFail;
    area->atFanAssetInfo[dwIndex].dwFanPresent = dwPresent;
    return kOk;
}

int32_t MW_GetFanCount(uint32_t *pdwFanNum, uint32_t *pdwPresentNum) {
    if (pdwFanNum == nullptr || pdwPresentNum == nullptr) return kFail;
    Guard<FanArea> area;
    if (!area) return kFail;
    const uint32_t count = area->dwFanNum;
    const char *present = static_cast<const char *>(area.ReachRecords(
        kAssets + offsetof(FanAssetInfo, dwFanPresent), count, sizeof(uint32_t), sizeof(FanAssetInfo)));
    if (present == nullptr) return kFail;
    uint32_t found = 0;
    for (uint32_t i = 0; i < count; ++i, present += sizeof(FanAssetInfo)) found += Load<uint32_t>(present) == 1;
    *pdwFanNum = count;
    *pdwPresentNum = found;
    return kOk;
}

int32_t MW_SetFanCount(uint32_t dwCount) { return WriteField(&FanArea::dwFanNum, dwCount); }

int32_t MW_GetFanRedundancyStates(uint32_t *pdwStates) {
    return ReadField(&FanArea::dwFanRedundancyStates, pdwStates);
}

int32_t MW_SetFanRedundancyStates(uint32_t dwStates) { return WriteField(&FanArea::dwFanRedundancyStates, dwStates); }

int32_t MW_GetFanTotalPower(uint32_t *pdwPower) { return ReadField(&FanArea::dwFanTotalPower, pdwPower); }

int32_t MW_SetFanTotalPower(uint32_t dwPower) { return WriteField(&FanArea::dwFanTotalPower, dwPower); }

int32_t MW_SetFanDeviceZoneInfo(const FanDevZoneInfo *ptIn) {
    return CopyIn<FanArea>(offsetof(FanArea, atFanDevZoneInfo), MW_FAN_ZONE_MAX * sizeof *ptIn, ptIn);
}

// --- health ------------------------------------------------------------------------------------------------------

int32_t MW_InitFanHealthyStatusInfo(void) { return InitHealth(kFan, kHealth, kFan.lock_text, Here()); }

int32_t MW_SetFanHealthyStatusInfo(uint32_t dwNumber, uint32_t dwHealthy, uint32_t dwTotal) {
    return SetHealth(kFan, kHealth, kFan.lock_text, dwNumber, dwHealthy, dwTotal, Here());
}

int32_t MW_GetFanHealthyStatusInfoByInst(uint32_t dwNumber, uint32_t *pdwHealthy) {
    return GetHealthByInstance(kFan, kHealth, kFan.lock_text, dwNumber, pdwHealthy, Here());
}

int32_t MW_GetFanHealthyStatusInfoByTotal(uint32_t *pdwTotal) {
    return GetHealthTotal(kFan, kHealth, kFan.lock_text, pdwTotal, Here());
}

// --- thermal policy ----------------------------------------------------------------------------------------------

int32_t MW_GetThermalPolicy(void *ptOut) {
    return CopyOut<FanArea>(offsetof(FanArea, tThermalPolicy), sizeof(ThermalPolicy), ptOut);
}

int32_t MW_SetThermalPolicy(const void *ptIn) {
    if (ptIn == nullptr) return kFail;
    const auto policy = Load<ThermalPolicy>(ptIn);
    if (policy.dwPolicy > MW_THERMAL_POLICY_MANUAL) return RefusePolicy("Policy", policy.dwPolicy);
    const uint32_t value = policy.dwPolicyValue;
    if (policy.dwPolicy == MW_THERMAL_POLICY_MANUAL) {
        if (value < MW_MANUAL_PERCENT_MIN || value > MW_MANUAL_PERCENT_MAX) return RefusePolicy("Percent", value);
    } else if (value > MW_COOLING_MODE_MAX) {
        return RefusePolicy("CoolingMode", value);
    }
    return CopyIn<FanArea>(offsetof(FanArea, tThermalPolicy), sizeof policy, &policy);
}

// --- thermal settings --------------------------------------------------------------------------------------------

int32_t MW_GetThermalPrintFlag(uint32_t *pdwFlag) { return ReadFieldUntested(&FanArea::dwThermalPrintFlag, pdwFlag); }

int32_t MW_SetThermalPrintFlag(uint32_t dwFlag) { return WriteField(&FanArea::dwThermalPrintFlag, dwFlag); }

int32_t MW_GetThermalPowerOffFanRotateFlag(uint32_t *pdwFlag) {
    return ReadFieldUntested(&FanArea::dwPowerOffFanRotateFlag, pdwFlag);
}

int32_t MW_SetThermalPowerOffFanRotateFlag(uint32_t dwFlag) {
    return WriteField(&FanArea::dwPowerOffFanRotateFlag, dwFlag);
}

int32_t MW_GetThermalCriticalDev(uint32_t *pdwDev) { return ReadFieldUntested(&FanArea::dwCriticalDev, pdwDev); }

int32_t MW_SetThermalCriticalDev(uint32_t dwDev) { return WriteField(&FanArea::dwCriticalDev, dwDev); }

int32_t MW_GetThermalFanType(uint32_t *pdwType) { return ReadFieldUntested(&FanArea::dwThermalFanType, pdwType); }

int32_t MW_SetThermalFanType(uint32_t dwType) { return WriteField(&FanArea::dwThermalFanType, dwType); }

int32_t MW_GetThermalLeaquidLeakageStatus(uint32_t *pdwStatus) {
    return ReadFieldUntested(&FanArea::dwLeaquidLeakageStatus, pdwStatus);
}

int32_t MW_SetThermalLeaquidLeakageStatus(uint32_t dwStatus) {
    return WriteField(&FanArea::dwLeaquidLeakageStatus, dwStatus);
}

int32_t MW_GetThermalCPUUpBoundary(uint8_t *pucBoundary) {
    return ReadFieldUntested(&FanArea::ucCpuUpBoundary, pucBoundary);
}

int32_t MW_SetThermalCPUUpBoundary(uint32_t dwBoundary) {
    return WriteField(&FanArea::ucCpuUpBoundary, LowByte(dwBoundary));
}

int32_t MW_GetThermalCPULowBoundary(uint8_t *pucBoundary) {
    return ReadFieldUntested(&FanArea::ucCpuLowBoundary, pucBoundary);
}

int32_t MW_SetThermalCPULowBoundary(uint32_t dwBoundary) {
    return WriteField(&FanArea::ucCpuLowBoundary, LowByte(dwBoundary));
}

int32_t MW_GetThermalCPUMidBoundary(uint8_t *pucBoundary) {
    return ReadFieldUntested(&FanArea::ucCpuMidBoundary, pucBoundary);
}

int32_t MW_SetThermalCPUMidBoundary(uint32_t dwBoundary) {
    return WriteField(&FanArea::ucCpuMidBoundary, LowByte(dwBoundary));
}

int32_t MW_GetThermalCPUSmallPID(void *ptOut) { return GetBlockUntested(&FanArea::tCpuSmallPID, ptOut); }

int32_t MW_SetThermalCPUSmallPID(const void *ptIn) { return SetBlockUntested(&FanArea::tCpuSmallPID, ptIn); }

int32_t MW_GetThermalCPULargePID(void *ptOut) { return GetBlockUntested(&FanArea::tCpuLargePID, ptOut); }

int32_t MW_SetThermalCPULargePID(const void *ptIn) { return SetBlockUntested(&FanArea::tCpuLargePID, ptIn); }

int32_t MW_GetThermalInletTemp(void *ptOut) { return GetBlockUntested(&FanArea::tInletTemp, ptOut); }

int32_t MW_SetThermalInletTemp(const void *ptIn) { return SetBlockUntested(&FanArea::tInletTemp, ptIn); }

int32_t MW_GetThermalThreadStatus(void *ptOut) { return GetBlockUntested(&FanArea::tThermalThreadStatus, ptOut); }

int32_t MW_SetThermalThreadStatus(const void *ptIn) { return SetBlockUntested(&FanArea::tThermalThreadStatus, ptIn); }

int32_t MW_GetThermalCPUOffset(void *ptOut) {
    return CopyOut<FanArea>(offsetof(FanArea, tCpuOffset), sizeof(ThermalCpuOffset), ptOut);
}

int32_t MW_SetThermalCPUOffset(const void *ptIn) {
    return CopyIn<FanArea>(offsetof(FanArea, tCpuOffset), sizeof(ThermalCpuOffset), ptIn);
}

// --- cooling parameters and percentages by device -----------------------------------------------------------------

int32_t MW_SetDeviceCoolingParamToMW(const DevCoolingParam *ptIn) {
    return CopyIn<FanArea>(offsetof(FanArea, atDevCoolingParam), MW_COOLING_DEVICE_MAX * sizeof *ptIn, ptIn);
}

int32_t MW_GetThermalDevPIDOffsetPara(int32_t iDevId, uint32_t dwSet, void *ptOut) {
    return ForEachPidOffset(iDevId, dwSet, ptOut, [ptOut](const ThermalPidOffsetPara *set) {
        memcpy_s(ptOut, sizeof *set, set, sizeof *set);
    });
}

int32_t MW_SetThermalDevPIDOffsetPara(int32_t iDevId, uint32_t dwSet, const void *ptIn) {
    return ForEachPidOffset(iDevId, dwSet, ptIn, [ptIn](ThermalPidOffsetPara *set) {
        memcpy_s(set, sizeof *set, ptIn, sizeof *set);
    });
}

int32_t MW_GetFanActionPercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, void *ptOut) {
    return GetPercents({dwKeyA, iKeyB, iKeyC}, &FanDevZoneInfo::aucActionPercent, ptOut);
}

int32_t MW_SetFanActionPercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, const void *ptIn) {
    return SetPercents({dwKeyA, iKeyB, iKeyC}, &FanDevZoneInfo::aucActionPercent, ptIn);
}

int32_t MW_GetFanActionDecreasePercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, void *ptOut) {
    return GetPercents({dwKeyA, iKeyB, iKeyC}, &FanDevZoneInfo::aucDecreasePercent, ptOut);
}

int32_t MW_SetFanActionDecreasePercentInfo(uint32_t dwKeyA, int32_t iKeyB, int32_t iKeyC, const void *ptIn) {
    return SetPercents({dwKeyA, iKeyB, iKeyC}, &FanDevZoneInfo::aucDecreasePercent, ptIn);
}
