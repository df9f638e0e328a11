// Host power, ACPI, boot and reset state, board power and its limits, the board battery.
#include "power/hov_midpwr.h"
#include "table.h"

namespace mwctl {

using midware::PswArea;

namespace {

constexpr Code kPower[] = {{MW_POWER_OFF, "off"}, {MW_POWER_ON, "on"}};
constexpr Code kPolicies[] = {{MW_POWER_POLICY_ALWAYS_OFF, "always off"},
                              {MW_POWER_POLICY_PREVIOUS, "as before"},
                              {MW_POWER_POLICY_ALWAYS_ON, "always on"}};
// The offsets of IPMI sensors of the types 22h and 20h.
constexpr Code kAcpi[] = {{MW_ACPI_S0_WORKING, "S0/G0 working"},
                          {1u << 1, "S1 sleeping"},
                          {1u << 2, "S2 sleeping"},
                          {MW_ACPI_S3_SLEEPING, "S3 sleeping"},
                          {1u << 4, "S4 suspended to disk"},
                          {MW_ACPI_S5_SOFT_OFF, "S5/G2 soft-off"},
                          {1u << 6, "S4/S5 soft-off"},
                          {1u << 7, "G3 mechanical off"},
                          {1u << 8, "sleeping in S1 to S3"},
                          {1u << 9, "G1 sleeping"},
                          {1u << 10, "S5 by override"},
                          {1u << 11, "legacy on"},
                          {1u << 12, "legacy off"},
                          {1u << 14, "unknown"}};
constexpr Code kOsStop[] = {{1u << 0, "critical stop while loading"},
                            {1u << 1, "critical stop at run time"},
                            {1u << 2, "graceful stop"},
                            {MW_OS_STOP_GRACEFUL, "graceful shutdown"},
                            {1u << 4, "soft shutdown by an event filter"},
                            {1u << 5, "agent does not respond"}};
constexpr Code kExceptions[] = {{0, "nothing"}, {1, "hard power off"}, {17, "log an event"}};
constexpr Code kDomains[] = {{0, "board"}, {1, "processors"}, {2, "memory"}};

}  // namespace

// clang-format off
MW_RECORD(BoardPowerInfo,
          MW_FIELD(adwPowerCurrent, "now, least, most, average").Unit("W").FirstReading(),
          MW_FIELD(adwPowerHistory1, "average history, W").QuietZero(),
          MW_FIELD(adwPowerHistory2, "peak history, W").QuietZero(),
          MW_FIELD(adwPowerHistory3, "least history, W").QuietZero(),
          MW_FIELD(dwPowerThres1, "non-critical threshold").Unit("W"),
          MW_FIELD(dwPowerThres2, "critical threshold").Unit("W"),
          MW_FIELD(dwTDP, "thermal design power").Unit("W"));

MW_RECORD(PowerLimitModel,
          MW_FIELD(dwEnable, "enabled").Switch(),
          MW_FIELD(dwPowerLimit, "limit").Unit("W"),
          MW_FIELD(dwCorrectionTime, "correction").Unit("ms"),
          MW_FIELD(dwExceptionAction, "exception").Codes(kExceptions),
          MW_FIELD(dwSamplingPeriod, "sampling").Unit("s"),
          MW_FIELD(dwDomain, "domain").Codes(kDomains));

MW_RECORD(BoardPowerLimitInfo,
          MW_FIELD(dwPowerLimitCtrl1, "board limit active").Switch(),
          MW_FIELD(dwPowerLimitCtrl2, "board limit").Unit("W"),
          MW_FIELD(dwCpuPowerLimit, "processor limit").Unit("W"),
          MW_FIELD(dwBoardPowerLimitModel, "model in force"),
          MW_FIELD(atPowerLimitModel, "model").From(0));

MW_RECORD(BootErrorInfo,
          MW_FIELD(dwNoBootableMediaState, "no bootable medium").State(),
          MW_FIELD(dwNonBootableDisketteState, "medium not bootable").State(),
          MW_FIELD(dwPxeServerNotFoundState, "no PXE server").State(),
          MW_FIELD(dwInvalidBootSectorState, "invalid boot sector").State(),
          MW_FIELD(dwBootSelectionTimeoutState, "no selection in time").State());

MW_RECORD(PswArea,
          MW_FIELD(dwPowerStatus, "power").Codes(kPower).Get<MW_GetPowerStatus>(),
          MW_FIELD(dwPowerPolicy, "after mains returns").Codes(kPolicies).Get<MW_GetPowerPolicy>(),
          MW_FIELD(dwACPIStatus, "ACPI state").Flags(kAcpi).Get<MW_GetPowerACPIStatus>(),
          MW_FIELD(dwPowerButtonState, "power button").Get<MW_GetPowerButtonState>(),
          MW_FIELD(dwShutDownPwrButtonPressed, "shut down by the button").Switch(),
          MW_FIELD(dwOsStopState, "OS stop").Flags(kOsStop).Get<MW_GetOsStopState>(),
          MW_FIELD(dwHostRestartState, "restart causes").Hex().Get<MW_GetHostRestartStatus>(),
          MW_FIELD(dwHostRestartEffect, "restart effect").Hex().Get<MW_GetHostRestartEffect>(),
          MW_FIELD(dwSysFwProgressState, "firmware progress").Hex().Get<MW_GetSystemFirmwareProgressState>(),
          MW_FIELD(dwOsBootState, "OS boot").Hex().Get<MW_GetOsBootState>(),
          MW_FIELD(dwBiosBootUpState, "BIOS boot-up").Hex().Get<MW_GetBiosBootUpState>(),
          MW_FIELD(dwMeState, "Management Engine").Hex().Get<MW_GetMeState>(),
          MW_FIELD(dwCpuPowerGood, "processor power good").Hex().Get<MW_GetPowerFaultState>(),
          MW_FIELD(dwPwrGdErrFlag, "power good error").Hex().Get<MW_GetPwrGdErrFlag>(),
          MW_FIELD(aucUnused1, "").Reserved(),
          MW_FIELD(tPower, "board power"),
          MW_FIELD(tLimit, "power limits"),
          MW_FIELD(aucUnused2, "").Reserved(),
          MW_FIELD(tBootError, "boot errors"),
          MW_FIELD(wBatAdc, "battery reading"),
          MW_FIELD(ucBatAdcInfo, "battery information"),
          MW_FIELD(ucBatProdTestFlag, "production test").Switch(),
          MW_FIELD(aucUnused3, "").Reserved());

struct BoardBattery {
    uint16_t wBatAdc;
    uint8_t ucBatAdcInfo;
    uint8_t ucBatProdTestFlag;
};

MW_RECORD(BoardBattery,
          MW_FIELD(wBatAdc, "reading"),
          MW_FIELD(ucBatAdcInfo, "information").Hex(),
          MW_FIELD(ucBatProdTestFlag, "production test").Switch());
// clang-format on

namespace {

int32_t ReadBattery(BoardBattery *battery) {
    const int32_t result = MW_GetBoardBatAdcInfo(&battery->wBatAdc, &battery->ucBatAdcInfo);
    return result < 0 ? result : MW_GetBoardBatProdTestFlag(&battery->ucBatProdTestFlag);
}

constexpr Record kRecords[] = {
    Words<PswArea>("state", "Host state"),
    One<BoardPowerInfo, MW_GetBoardPowerInfo>("board", "Board power"),
    One<BoardPowerLimitInfo, MW_GetBoardPowerLimitInfo>("limits", "Power limits"),
    One<BootErrorInfo, MW_GetBootErrorInfo>("boot-errors", "Boot errors"),
    One<BoardBattery, ReadBattery>("battery", "Board battery"),
};
const Plug plug{{"power", "Host power", &midware::kPsw, kRecords, &kLayout<PswArea>}};

}  // namespace
}  // namespace mwctl
