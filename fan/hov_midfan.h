// The fan area: fan records, the thermal policy and tuning, the zone table, and single words behind it.
#ifndef HOV_MIDFAN_H
#define HOV_MIDFAN_H

#include "hov_midware.h"
#include "midware/fan.h"

namespace midware {

// Places behind the zone table that only the percent setters reach.
inline constexpr uint32_t kSpareZones = 4;

struct FanArea {
    static constexpr const Module &kModule = kFan;

    uint32_t dwFanNum;
    FanOnlinePhyInfo atFanOnlinePhyInfo[MW_FAN_MAX];
    FanControlPhyInfo atFanControlPhyInfo[MW_FAN_MAX];
    FanAssetInfo atFanAssetInfo[MW_FAN_MAX];
    ThermalPolicy tThermalPolicy;
    uint32_t dwReserved1;
    ThermalCpuOffset tCpuOffset;
    uint8_t ucCpuUpBoundary;
    uint8_t ucCpuLowBoundary;
    uint8_t ucCpuMidBoundary;
    uint8_t ucPad;
    ThermalPidPara tCpuSmallPID;
    ThermalPidPara tCpuLargePID;
    ThermalInletTemp tInletTemp;
    uint32_t dwReserved2;
    DevCoolingParam atDevCoolingParam[MW_COOLING_DEVICE_MAX];
    FanDevZoneInfo atFanDevZoneInfo[MW_FAN_ZONE_MAX + kSpareZones];
    ThermalThreadStatus tThermalThreadStatus;
    uint32_t dwCriticalDev;
    uint32_t dwThermalPrintFlag;
    uint32_t dwFanRedundancyStates;
    uint32_t dwThermalFanType;
    uint32_t dwFanTotalPower;
    uint32_t dwPowerOffFanRotateFlag;
    uint32_t dwLeaquidLeakageStatus;
    uint32_t dwFanHealthyTotal;
    uint32_t dwReserved3;
};

static_assert(offsetof(FanArea, dwFanNum) == 0);
static_assert(offsetof(FanArea, atFanOnlinePhyInfo) == 4);
static_assert(offsetof(FanArea, atFanControlPhyInfo) == 772);
static_assert(offsetof(FanArea, atFanAssetInfo) == 2372);
static_assert(offsetof(FanArea, tThermalPolicy) == 5700);
static_assert(offsetof(FanArea, dwReserved1) == 5708);
static_assert(offsetof(FanArea, tCpuOffset) == 5712);
static_assert(offsetof(FanArea, ucCpuUpBoundary) == 5716);
static_assert(offsetof(FanArea, ucCpuLowBoundary) == 5717);
static_assert(offsetof(FanArea, ucCpuMidBoundary) == 5718);
static_assert(offsetof(FanArea, tCpuSmallPID) == 5720);
static_assert(offsetof(FanArea, tCpuLargePID) == 5752);
static_assert(offsetof(FanArea, tInletTemp) == 5784);
static_assert(offsetof(FanArea, dwReserved2) == 5892);
static_assert(offsetof(FanArea, atDevCoolingParam) == 5896);
static_assert(offsetof(FanArea, atFanDevZoneInfo) == 12552);
static_assert(offsetof(FanArea, atFanDevZoneInfo[MW_FAN_ZONE_MAX]) == 17160);
static_assert(offsetof(FanArea, tThermalThreadStatus) == 17736);
static_assert(offsetof(FanArea, dwCriticalDev) == 17740);
static_assert(offsetof(FanArea, dwThermalPrintFlag) == 17744);
static_assert(offsetof(FanArea, dwFanRedundancyStates) == 17748);
static_assert(offsetof(FanArea, dwThermalFanType) == 17752);
static_assert(offsetof(FanArea, dwFanTotalPower) == 17756);
static_assert(offsetof(FanArea, dwPowerOffFanRotateFlag) == 17760);
static_assert(offsetof(FanArea, dwLeaquidLeakageStatus) == 17764);
static_assert(offsetof(FanArea, dwFanHealthyTotal) == 17768);
static_assert(offsetof(FanArea, dwReserved3) == 17772);
static_assert(sizeof(FanArea) == kFan.size);

}  // namespace midware

#endif
