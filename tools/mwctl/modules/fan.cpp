// Fans, and the policy and settings of the fan controller.
#include "fan/hov_midfan.h"
#include "shared.h"
#include "table.h"

namespace mwctl {
namespace {

constexpr Code kFaults[] = {{0, "none"}, {1, "tachometer"}, {2, "out of its limits"}};
constexpr Code kControlModes[] = {
    {MW_FAN_CTRL_FULL_SPEED, "full speed"}, {MW_FAN_CTRL_MANUAL, "manual"}, {MW_FAN_CTRL_AUTO, "auto"}};
constexpr Code kWaves[] = {{0, "direct current"}, {1, "pulse width"}};
constexpr Code kPolicies[] = {{MW_THERMAL_POLICY_AUTO, "auto"}, {MW_THERMAL_POLICY_MANUAL, "manual"}};

// The getters of this family take a pointer to anything.
template <class T, int32_t (*get)(void *)>
int32_t Read(T *record) {
    return get(record);
}
template <class T, int32_t (*get)(void *, uint32_t *)>
int32_t ReadMany(T *records, uint32_t *count) {
    return get(records, count);
}

}  // namespace

using midware::FanArea;

// clang-format off
MW_RECORD(FanOnlinePhyInfo,
          MW_FIELD(dwFanSilkNum, "number"),
          MW_FIELD(dwPresent, "present").Switch(),
          MW_FIELD(dwSpeed, "speed").Unit("rpm").Reading(offsetof(FanOnlinePhyInfo, dwPresent)),
          MW_FIELD(dwRearSpeed, "rear").Unit("rpm").QuietZero().Reading(offsetof(FanOnlinePhyInfo, dwPresent)),
          MW_FIELD(dwMinSpeed, "least").Unit("rpm").QuietZero(),
          MW_FIELD(dwMaxSpeed, "most").Unit("rpm").QuietZero(),
          MW_FIELD(dwPulses, "pulses a turn").QuietZero(),
          MW_FIELD(dwFault, "fault").Codes(kFaults),
          MW_FIELD(acLabel, "label"));

MW_RECORD(FanCtrlState,
          MW_FIELD(dwMode, "mode").Codes(kControlModes),
          MW_FIELD(dwDutyPercent, "duty cycle").Unit("%"),
          MW_FIELD(dwTargetSpeed, "target speed").Unit("rpm").QuietZero(),
          MW_FIELD(dwPwmRaw, "register"),
          MW_FIELD(acZone, "zone"));

MW_RECORD(FanControlPhyInfo,
          MW_FIELD(dwFanSilkNum, "number"),
          MW_FIELD(dwPwmChannel, "output").QuietZero(),
          MW_FIELD(dwPwmFrequency, "frequency").Unit("Hz").QuietZero(),
          MW_FIELD(dwPwmMode, "kind").Codes(kWaves),
          MW_FIELD(dwMinDutyPercent, "least duty cycle").Unit("%").QuietZero(),
          MW_FIELD(dwMaxDutyPercent, "most duty cycle").Unit("%").QuietZero(),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(tState, "state"),
          MW_FIELD(acSource, "source"));

MW_RECORD(FanAssetInfo,
          MW_FIELD(dwFanType, "type"),
          MW_FIELD(dwFanSilkNum, "number"),
          MW_FIELD(dwFanPresent, "present").Switch(),
          MW_FIELD(dwFanSpeed, "speed").Unit("rpm"),
          MW_FIELD(dwFanDutyPercent, "duty cycle").Unit("%").QuietZero(),
          MW_FIELD(dwFanHealthyStatus, "health"),
          MW_FIELD(acFanName, "name"),
          MW_FIELD(acManufacturer, "manufacturer"),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(dwMaxSpeed, "rated speed").Unit("rpm").QuietZero(),
          MW_FIELD(dwRotorNum, "rotors").QuietZero(),
          MW_FIELD(dwRatedPower, "rated power").Unit("mW").QuietZero(),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(aucFanCtrlCopy, "control").As<FanCtrlState>());

MW_RECORD(ThermalPolicy,
          MW_FIELD(dwPolicy, "policy").Codes(kPolicies),
          MW_FIELD(dwPolicyValue, "value"));

MW_RECORD(ThermalCpuOffset, MW_FIELD(iOffset, "offset").Unit("C"));

MW_RECORD(ThermalPidPara,
          MW_FIELD(iTarget, "target").Unit("C"),
          MW_FIELD(iHysteresis, "hysteresis").Unit("C"),
          MW_FIELD(iProportional, "proportional gain"),
          MW_FIELD(iIntegral, "integral gain"),
          MW_FIELD(iDerivative, "derivative gain"),
          MW_FIELD(dwMinPercent, "least speed").Unit("%"),
          MW_FIELD(dwMaxPercent, "most speed").Unit("%"),
          MW_FIELD(dwPeriod, "period").Unit("ms"));

MW_RECORD(ThermalCurvePoint,
          MW_FIELD(iTemp, "from").Unit("C"),
          MW_FIELD(dwPercent, "speed").Unit("%"));

MW_RECORD(ThermalInletTemp,
          MW_FIELD(iHysteresis, "hysteresis").Unit("C"),
          MW_FIELD(dwPointCount, "points"),
          MW_FIELD(dwReserved, ""),
          MW_FIELD(atPoint, "point").CountedBy(offsetof(ThermalInletTemp, dwPointCount)));

MW_RECORD(ThermalThreadStatus, MW_FIELD(dwStatus, "runs").Switch());

MW_RECORD(ThermalPidOffsetPara,
          MW_FIELD(iTempFrom, "from").Unit("C"),
          MW_FIELD(iTempTo, "to").Unit("C"),
          MW_FIELD(tOffset, "corrections"),
          MW_FIELD(adwReserved, ""));

MW_RECORD(DevCoolingParam,
          MW_FIELD(iDevId, "device"),
          MW_FIELD(acDevName, "name"),
          MW_FIELD(atPIDOffsetPara, "set"));

MW_RECORD(FanDevZoneInfo,
          MW_FIELD(dwZoneKeyA, "key A"),
          MW_FIELD(dwFanMask, "fans").Hex(),
          MW_FIELD(iZoneKeyB, "key B"),
          MW_FIELD(iZoneKeyC, "key C"),
          MW_FIELD(aucActionPercent, "warming up").Unit("%").Numbers(),
          MW_FIELD(aucDecreasePercent, "cooling down").Unit("%").Numbers());

MW_RECORD(FanArea,
          MW_FIELD(dwFanNum, "fans"),
          MW_FIELD(atFanOnlinePhyInfo, "fan"),
          MW_FIELD(atFanControlPhyInfo, "fan"),
          MW_FIELD(atFanAssetInfo, "fan"),
          MW_FIELD(tThermalPolicy, "policy"),
          MW_FIELD(dwReserved1, ""),
          MW_FIELD(tCpuOffset, "processor temperature").Get<Read<ThermalCpuOffset, MW_GetThermalCPUOffset>>(),
          MW_FIELD(ucCpuUpBoundary, "upper boundary").Unit("C").Get<MW_GetThermalCPUUpBoundary>(),
          MW_FIELD(ucCpuLowBoundary, "lower boundary").Unit("C").Get<MW_GetThermalCPULowBoundary>(),
          MW_FIELD(ucCpuMidBoundary, "middle boundary").Unit("C").Get<MW_GetThermalCPUMidBoundary>(),
          MW_FIELD(ucPad, ""),
          MW_FIELD(tCpuSmallPID, "processor, small steps").Get<Read<ThermalPidPara, MW_GetThermalCPUSmallPID>>(),
          MW_FIELD(tCpuLargePID, "processor, large steps").Get<Read<ThermalPidPara, MW_GetThermalCPULargePID>>(),
          MW_FIELD(tInletTemp, "speed by inlet temperature").Get<Read<ThermalInletTemp, MW_GetThermalInletTemp>>(),
          MW_FIELD(dwReserved2, ""),
          MW_FIELD(atDevCoolingParam, "device"),
          MW_FIELD(atFanDevZoneInfo, "zone"),
          MW_FIELD(tThermalThreadStatus, "controller's thread")
              .Get<Read<ThermalThreadStatus, MW_GetThermalThreadStatus>>(),
          MW_FIELD(dwCriticalDev, "critical device").Get<MW_GetThermalCriticalDev>(),
          MW_FIELD(dwThermalPrintFlag, "debug prints").Get<MW_GetThermalPrintFlag>(),
          MW_FIELD(dwFanRedundancyStates, "redundancy"),
          MW_FIELD(dwThermalFanType, "fan type").Get<MW_GetThermalFanType>(),
          MW_FIELD(dwFanTotalPower, "total power"),
          MW_FIELD(dwPowerOffFanRotateFlag, "turn with the host off").Get<MW_GetThermalPowerOffFanRotateFlag>(),
          MW_FIELD(dwLeaquidLeakageStatus, "liquid leakage").Get<MW_GetThermalLeaquidLeakageStatus>(),
          MW_FIELD(dwFanHealthyTotal, "total health"),
          MW_FIELD(dwReserved3, ""));

// The words of the area that are about all fans, and what is counted.
struct FanTotals {
    uint32_t dwFanNum;
    uint32_t dwPresentNum;
    uint32_t dwFanRedundancyStates;
    uint32_t dwFanTotalPower;
    uint32_t dwFanHealthyTotal;
};

MW_RECORD(FanTotals,
          MW_FIELD(dwFanNum, "fans"),
          MW_FIELD(dwPresentNum, "present"),
          MW_FIELD(dwFanRedundancyStates, "redundancy"),
          MW_FIELD(dwFanTotalPower, "total power"),
          MW_FIELD(dwFanHealthyTotal, "total health"));
// clang-format on

namespace {

std::vector<std::string> Names() {
    return Texts(ReadList<MW_GetFanAssetInfo>(MW_FAN_MAX), &FanAssetInfo::acFanName);
}

int32_t ReadTotals(FanTotals *totals, uint32_t &) {
    const bool read = MW_GetFanCount(&totals->dwFanNum, &totals->dwPresentNum) >= 0 &&
                      MW_GetFanRedundancyStates(&totals->dwFanRedundancyStates) >= 0 &&
                      MW_GetFanTotalPower(&totals->dwFanTotalPower) >= 0 &&
                      MW_GetFanHealthyStatusInfoByTotal(&totals->dwFanHealthyTotal) >= 0;
    return read ? 0 : -1;
}

// A fan whose record holds nothing but its number is not controlled.
bool HasOutput(const FanControlPhyInfo &control) {
    FanControlPhyInfo none{};
    none.dwFanSilkNum = control.dwFanSilkNum;
    return std::memcmp(&control, &none, sizeof none) != 0;
}

void InWords(const ThermalPolicy &policy, std::vector<Note> &notes) {
    const std::string value = std::to_string(policy.dwPolicyValue);
    if (policy.dwPolicy == MW_THERMAL_POLICY_AUTO)
        notes.push_back({"meaning", "meaning", "cooling mode " + value});
    if (policy.dwPolicy == MW_THERMAL_POLICY_MANUAL)
        notes.push_back({"meaning", "meaning", "fans at " + value + " %"});
}

constexpr Record kFanRecords[] = {
    Custom<FanTotals, ReadTotals>("totals", "Totals", 0),
    List<FanOnlinePhyInfo, ReadMany<FanOnlinePhyInfo, MW_GetFanOnlinePhyInfo>>("speeds", "Speeds", MW_FAN_MAX)
        .Named<Names>(),
    List<FanControlPhyInfo, ReadMany<FanControlPhyInfo, MW_GetFanControlPhyInfo>>("outputs", "Outputs",
                                                                                  MW_FAN_MAX)
        .Used<HasOutput>()
        .Named<Names>(),
    List<FanAssetInfo, MW_GetFanAssetInfo>("assets", "Fans", MW_FAN_MAX),
};
const Plug fans{{"fan", "Fans", &midware::kFan, kFanRecords, &kLayout<FanArea>}};

constexpr Record kThermalRecords[] = {
    One<ThermalPolicy, MW_GetThermalPolicy>("policy", "Policy").Notes<InWords>(),
    Words<FanArea>("settings", "Settings"),
};
const Plug thermal{{"thermal", "Thermal control", &midware::kFan, kThermalRecords}};

}  // namespace
}  // namespace mwctl
