// Power supplies: identity, presence, readings, status, redundancy and modes.
#include <fmt/format.h>

#include "pem/hov_midpem.h"
#include "shared.h"
#include "table.h"

namespace mwctl {

using midware::PemArea;

namespace {

constexpr Code kRedundancy[] = {
    {0, "not reported"}, {MW_PEM_REDUNDANT, "redundant"}, {MW_PEM_REDUNDANCY_LOST, "redundancy lost"}};
constexpr Code kMixed[] = {
    {0, "not mixed"}, {1, "not mixed"}, {MW_PEM_MIXED, "mixed: supplies of different kinds"}};
constexpr Code kInputs[] = {
    {MW_PEM_INPUT_UNKNOWN, "unknown"}, {MW_PEM_INPUT_AC, "AC"}, {MW_PEM_INPUT_DC, "DC"}};
constexpr Code kSensor[] = {{MW_PEM_SENSOR_PRESENT, "present"},
                            {MW_PEM_SENSOR_FAILURE, "failed"},
                            {MW_PEM_SENSOR_PREDICTIVE_FAILURE, "about to fail"},
                            {MW_PEM_SENSOR_INPUT_LOST, "input lost"},
                            {MW_PEM_SENSOR_INPUT_LOST_OR_RANGE, "input lost or out of range"},
                            {MW_PEM_SENSOR_INPUT_OUT_OF_RANGE, "input out of range"},
                            {MW_PEM_SENSOR_CONFIG_ERROR, "configuration error"},
                            {MW_PEM_SENSOR_INACTIVE, "inactive"}};
constexpr Code kOperating[] = {{0, "unknown"}, {1, "active"}, {2, "standby"}, {3, "off"}};
constexpr Code kModes[] = {{0, "all share the load"}, {1, "active-standby"}};
constexpr Code kResults[] = {{0, "valid"}};  // anything else says that it is not
constexpr uint64_t kNoTemperature = static_cast<uint32_t>(MW_PEM_NO_TEMPERATURE);
constexpr uint64_t kNotMixed = 255;

}  // namespace

// clang-format off
MW_RECORD(PemOnlinePhy,
          MW_FIELD(dwPemIndex, "number"),
          MW_FIELD(dwPresent, "present").Switch(),
          MW_FIELD(dwOnline, "online").Switch().QuietNone(),
          MW_FIELD(dwPowerGood, "power good").Switch().QuietNone(),
          MW_FIELD(dwInputPresent, "input present").Switch().QuietNone(),
          MW_FIELD(dwAlert, "alert").Switch().QuietNone(),
          MW_FIELD(dwInputType, "input").Codes(kInputs),
          MW_FIELD(dwRatedPower, "rated power").Unit("W").QuietNone(),
          MW_FIELD(dwBus, "bus").QuietNone(),
          MW_FIELD(dwAddress, "address").Hex().QuietNone(),
          MW_FIELD(dwReadErrors, "failed readings").QuietNone(),
          MW_FIELD(dwReserved, ""));

MW_RECORD(PemPmbusPhy,
          MW_FIELD(dwPemIndex, "number"),
          MW_FIELD(dwRes, "readings").Codes(kResults),
          MW_FIELD(dwStatusWord, "STATUS_WORD").Hex().QuietNone(),
          MW_FIELD(ucStatusVout, "STATUS_VOUT").Hex().QuietZero(),
          MW_FIELD(ucStatusIout, "STATUS_IOUT").Hex().QuietZero(),
          MW_FIELD(ucStatusInput, "STATUS_INPUT").Hex().QuietZero(),
          MW_FIELD(ucStatusTemperature, "STATUS_TEMPERATURE").Hex().QuietZero(),
          MW_FIELD(ucStatusCml, "STATUS_CML").Hex().QuietZero(),
          MW_FIELD(ucStatusOther, "STATUS_OTHER").Hex().QuietZero(),
          MW_FIELD(ucStatusMfrSpecific, "STATUS_MFR_SPECIFIC").Hex().QuietZero(),
          MW_FIELD(ucStatusFans, "STATUS_FANS_1_2").Hex().QuietZero(),
          MW_FIELD(dwVin, "input voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwIin, "input current").Decimals(3).Unit("A").QuietNone(),
          MW_FIELD(dwPin, "input power").Decimals(3).Unit("W").QuietNone(),
          MW_FIELD(dwVcap, "capacitor voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwVout, "output voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwIout, "output current").Decimals(3).Unit("A").QuietNone(),
          MW_FIELD(dwPout, "output power").Decimals(3).Unit("W").QuietNone(),
          MW_FIELD(alTemperature, "temperatures").Decimals(3).Unit("C").QuietNone(kNoTemperature),
          MW_FIELD(adwFanSpeed, "fans").Unit("RPM").QuietNone(),
          MW_FIELD(dwDutyCycle, "duty cycle").Decimals(1).Unit("%").QuietNone(),
          MW_FIELD(dwFrequency, "frequency").Unit("Hz").QuietNone(),
          MW_FIELD(dwEnergyIn, "energy in").Unit("J").QuietNone(),
          MW_FIELD(dwEnergyOut, "energy out").Unit("J").QuietNone(),
          MW_FIELD(dwMfrVinMin, "lowest rated input voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwMfrVinMax, "highest rated input voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwMfrIinMax, "rated input current").Decimals(3).Unit("A").QuietNone(),
          MW_FIELD(dwMfrPinMax, "rated input power").Decimals(3).Unit("W").QuietNone(),
          MW_FIELD(dwMfrVoutMin, "lowest rated output voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwMfrVoutMax, "highest rated output voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwMfrIoutMax, "rated output current").Decimals(3).Unit("A").QuietNone(),
          MW_FIELD(dwMfrPoutMax, "rated output power").Decimals(3).Unit("W").QuietNone(),
          MW_FIELD(lMfrTambientMax, "rated ambient temperature").Decimals(3).Unit("C").QuietNone(kNoTemperature),
          MW_FIELD(dwCapability, "CAPABILITY").Hex().QuietNone(),
          MW_FIELD(dwRevision, "PMBUS_REVISION").Hex().QuietNone(),
          MW_FIELD(dwEfficiency, "efficiency").Decimals(1).Unit("%").QuietNone(),
          MW_FIELD(adwReserved, ""));

MW_RECORD(PemText,
          MW_FIELD(dwRes, "is not valid").QuietZero(),
          MW_FIELD(acText, ""));

MW_RECORD(PemBurnInfo,
          MW_FIELD(dwRatedPower, "rated power").Unit("W").QuietZero(),
          MW_FIELD(dwInputType, "rated input").Codes(kInputs).QuietZero(),
          MW_FIELD(dwReserved, ""),
          MW_FIELD(tPemProductInfo, "manufacturer").Inline(),
          MW_FIELD(tPemProductSerNum, "serial number").Inline(),
          MW_FIELD(tPemProductPartNum, "part number").Inline(),
          MW_FIELD(tPemModelNam, "model").Inline(),
          MW_FIELD(tPemRevision, "revision").Inline());

MW_RECORD(PemStatusInfo,
          MW_FIELD(dwSensorState, "sensor").Flags(kSensor),
          MW_FIELD(dwOperatingState, "operating").Codes(kOperating),
          MW_FIELD(dwInputType, "input").Codes(kInputs),
          MW_FIELD(dwInputVoltage, "input voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwInputCurrent, "input current").Decimals(3).Unit("A").QuietNone(),
          MW_FIELD(dwInputPower, "input power").Decimals(3).Unit("W").QuietNone().Reading(),
          MW_FIELD(dwOutputVoltage, "output voltage").Decimals(3).Unit("V").QuietNone(),
          MW_FIELD(dwOutputCurrent, "output current").Decimals(3).Unit("A").QuietNone(),
          MW_FIELD(dwOutputPower, "output power").Decimals(3).Unit("W").QuietNone().Reading(),
          MW_FIELD(lTemperature, "temperature").Decimals(3).Unit("C").QuietNone(kNoTemperature).Reading(),
          MW_FIELD(dwFanSpeed, "fan").Unit("RPM").QuietNone().Reading(),
          MW_FIELD(dwStatusWord, "STATUS_WORD").Hex().QuietNone(),
          MW_FIELD(dwRatedPower, "rated power").Unit("W").QuietNone(),
          MW_FIELD(dwHealthyAux, "health's companion").QuietZero(),
          MW_FIELD(dwHealthyStatus, "health"),
          MW_FIELD(dwFaultCount, "failures"),
          MW_FIELD(dwInputLossCount, "losses of input"),
          MW_FIELD(dwUpTime, "plugged in for").Unit("s").QuietZero(),
          MW_FIELD(dwUpdateTime, "updated at").QuietZero(),
          MW_FIELD(acFirmwareVersion, "firmware"),
          MW_FIELD(acLocation, "location").Naming(),
          MW_FIELD(acDate, "made"),
          MW_FIELD(adwReserved, ""));

MW_RECORD(PemAlarmState,
          MW_FIELD(dwAlarmKey, "alarm key"),
          MW_FIELD(ucFailure, "failure").State(),
          MW_FIELD(ucPredictiveFailure, "predictive failure").State(),
          MW_FIELD(ucInputLost, "input lost").State(),
          MW_FIELD(ucConfigError, "configuration error").State());

MW_RECORD(PemAlarmPart,
          MW_FIELD(tState, "alarms"),
          MW_FIELD(aucReserved1, ""),
          MW_FIELD(ucMixedFlag, "of a mixed configuration").Switch(),
          MW_FIELD(ucReserved2, ""),
          MW_FIELD(ucMixedValue, "mixed value").NoValue(kNotMixed),
          MW_FIELD(aucReserved3, ""));

MW_RECORD(PemAsset,
          MW_FIELD(dwPemIndex, "number"),
          MW_FIELD(dwPresentStatus, "present").Switch(),
          MW_FIELD(dwLastPresentStatus, "present before").Switch(),
          MW_FIELD(dwPresentChCnt, "times plugged in"),
          MW_FIELD(tBurnInfo, "identity"),
          MW_FIELD(tStatusInfo, "status"),
          MW_FIELD(tAlarmPart, "state"));

MW_RECORD(PemModeRecord,
          MW_FIELD(dwMode, "mode").Codes(kModes),
          MW_FIELD(dwActiveMask, "active").Hex(),
          MW_FIELD(dwStandbyMask, "standing by").Hex(),
          MW_FIELD(dwWakeLoad, "load that wakes").Unit("%"),
          MW_FIELD(dwReserved, ""));

MW_RECORD(PemMode,
          MW_FIELD(dwAllowActiveStandby, "active-standby allowed").Switch(),
          MW_FIELD(tPemCfgMode, "configured"),
          MW_FIELD(tPemCurrentMode, "in force"));

MW_RECORD(PemArea,
          MW_FIELD(dwPemNum, "supplies").Get<MW_GetPemCount>(),
          MW_FIELD(dwEntireStatus, "total health").Get<MW_GetEntireStatus>(),
          MW_FIELD(dwRedundanceStatus, "redundancy").Codes(kRedundancy).Get<MW_GetRedundanceStatus>(),
          MW_FIELD(dwMixedStatus, "mixture").Codes(kMixed).Get<MW_GetMixedStatus>(),
          MW_FIELD(atPemOnlinePhy, "supply"),
          MW_FIELD(atPemPmbusPhy, "supply"),
          MW_FIELD(atPemAsset, "supply"),
          MW_FIELD(dwAllowActiveStandby, "active-standby allowed").Switch(),
          MW_FIELD(tPemCfgMode, "configured mode"),
          MW_FIELD(tPemCurrentMode, "mode in force"));
// clang-format on

namespace {

// The line that says how the supplies stand together.
void Summarise(const PemArea &totals, std::vector<Note> &notes) {
    uint32_t present = 0;
    for (const PemAsset &supply : ReadList<MW_GetPemAssetInfo>(MW_PEM_MAX))
        present += supply.dwPresentStatus == 1;
    std::string text = fmt::format("{} of {} present", present, totals.dwPemNum);
    if (totals.dwRedundanceStatus == MW_PEM_REDUNDANT) text += ", redundant";
    if (totals.dwRedundanceStatus == MW_PEM_REDUNDANCY_LOST) text += ", REDUNDANCY LOST";
    if (totals.dwMixedStatus == MW_PEM_MIXED) text += ", MIXED";
    notes.push_back({"summary", "together", std::move(text)});
}

bool IsKnown(const PemAsset &supply) {
    static const PemAsset kBlank{};
    return std::memcmp(&supply, &kBlank, sizeof supply) != 0;
}

constexpr Record kRecords[] = {
    Words<PemArea>("totals", "Totals").Notes<Summarise>(),
    List<PemAsset, MW_GetPemAssetInfo>("supplies", "Supplies", MW_PEM_MAX).Used<IsKnown>().Numbered("PEM", 1),
    List<PemOnlinePhy, MW_GetPemOnlinePhyInfo>("online", "State without PMBus", MW_PEM_MAX)
        .Numbered("PEM", 1),
    List<PemPmbusPhy, MW_GetPemPmbusPhyInfo>("pmbus", "PMBus readings", MW_PEM_MAX).Numbered("PEM", 1),
    One<PemMode, MW_GetPemMode>("modes", "Modes"),
};
const Plug plug{{"pem", "Power supplies", &midware::kPem, kRecords, &kLayout<PemArea>}};

}  // namespace
}  // namespace mwctl
