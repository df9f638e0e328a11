// Processors.
#include <algorithm>

#include "cpu/hov_midcpu.h"
#include "shared.h"
#include "table.h"

namespace mwctl {

using midware::CpuArea;

// clang-format off
MW_RECORD(CpuPhyInfo,
          MW_FIELD(dwCpuIndex, "index"),
          MW_FIELD(dwSilkNum, "number"),
          MW_FIELD(dwPresent, "present").Switch(),
          MW_FIELD(acSilkName, "label"),
          MW_FIELD(dwPackageId, "package"),
          MW_FIELD(adwReserved, ""));

MW_RECORD(CpuTempInfo,
          MW_FIELD(dwCpuIndex, "index"),
          MW_FIELD(dwTempValid, "valid").Switch(),
          MW_FIELD(iCurTemp, "temperature").Unit("C").Reading(offsetof(CpuTempInfo, dwTempValid)),
          MW_FIELD(dwReserved, ""),
          MW_FIELD(dwUCRTemp, "critical").Unit("C").QuietZero(),
          MW_FIELD(adwReserved, ""),
          MW_FIELD(ucTjmax, "Tjmax").Unit("C").QuietZero(),
          MW_FIELD(ucTcontrol, "Tcontrol").Unit("C").QuietZero(),
          MW_FIELD(aucPad, ""));

MW_RECORD(CpuAlarmInfo,
          MW_FIELD(dwCpuIndex, "index"),
          MW_FIELD(ucIERRState, "IERR").State(),
          MW_FIELD(ucThermalTripState, "thermal trip").State(),
          MW_FIELD(ucFRB1FailureState, "FRB1 failure").State(),
          MW_FIELD(ucFRB2FailureState, "FRB2 failure").State(),
          MW_FIELD(ucFRB3FailureState, "FRB3 failure").State(),
          MW_FIELD(ucConfigurErrorState, "configuration error").State(),
          MW_FIELD(ucComplexErrorState, "complex error").State(),
          MW_FIELD(ucProcessorPresenceState, "present").Switch(),
          MW_FIELD(ucProcessorDisabledState, "disabled").State(),
          MW_FIELD(ucTerminatorPresenceState, "terminator present").State(Sense::kNone),
          MW_FIELD(ucProcessorThrottledState, "throttled").State(),
          MW_FIELD(ucUnCorrectMCEState, "uncorrectable machine check").State(),
          MW_FIELD(ucCorrectMCEState, "correctable machine check").State(),
          MW_FIELD(aucPad, ""));

MW_RECORD(CpuStatusInfo,
          MW_FIELD(dwCpuIndex, "index"),
          MW_FIELD(dwSilkNum, "number"),
          MW_FIELD(dwPresentStatus, "present").Switch(),
          MW_FIELD(adwReserved1, ""),
          MW_FIELD(dwHealthyStatus, "health"),
          MW_FIELD(dwCpuVRPower, "processor").Unit("W").Reading().GetAt<MW_GetCpuxVRPower>(),
          MW_FIELD(dwDimmVRPower, "its DIMMs").Unit("W").Reading().GetAt<MW_GetPxDimmVRPower>(),
          MW_FIELD(tTempInfo, "temperature"),
          MW_FIELD(dwHostCpuUsgEnable, "host's figure").Codes(kValidity).Get<MW_IsHostCpuUsgInfoEnabled>(),
          MW_FIELD(dwHostCpuUsg, "by the host").Unit("%").NoValue().Get<MW_GetCpuUsgInfoFromHostMon>(),
          MW_FIELD(dwHostCpuUsgAlt, "host's other value"),
          MW_FIELD(dwMeUsgValid, "engine's figure").Codes(kValidity),
          MW_FIELD(dwMeUsage, "by the engine").Unit("%").NoValue().Get<MW_GetCpuUsgInfo>(),
          MW_FIELD(adwReserved2, ""),
          MW_FIELD(dwHostCpuUsgAlarm, "alarm").Switch().Alarm().Get<MW_GetHostCpuUsgAlarmStatus>(),
          MW_FIELD(tAlarmInfo, "alarms"),
          MW_FIELD(atAssertEventData, "event").Event(),
          MW_FIELD(aucPad, ""));

MW_RECORD(CpuAssetInfo,
          MW_FIELD(dwCpuId, "identifier"),
          MW_FIELD(acManufacturer, "manufacturer"),
          MW_FIELD(acModel, "model"),
          MW_FIELD(acSocket, "socket"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acMicrocode, "microcode"),
          MW_FIELD(acArchitecture, "architecture"),
          MW_FIELD(dwFamily, "family"),
          MW_FIELD(dwModel, "model number"),
          MW_FIELD(dwStepping, "stepping"),
          MW_FIELD(dwCoreCount, "cores"),
          MW_FIELD(dwThreadCount, "threads"),
          MW_FIELD(dwMaxFrequency, "maximum frequency").Unit("MHz").QuietZero(),
          MW_FIELD(dwMinFrequency, "minimum frequency").Unit("MHz").QuietZero(),
          MW_FIELD(dwL1DataKB, "L1 data cache").Unit("KiB").QuietZero(),
          MW_FIELD(dwL1InstructionKB, "L1 instruction cache").Unit("KiB").QuietZero(),
          MW_FIELD(dwL2KB, "L2 cache").Unit("KiB").QuietZero(),
          MW_FIELD(dwL3KB, "L3 cache").Unit("KiB").QuietZero(),
          MW_FIELD(adwReserved1, ""),
          MW_FIELD(dwFrequency, "frequency").Unit("MHz").QuietZero(),
          MW_FIELD(adwReserved2, ""));

MW_RECORD(CpuArea,
          MW_FIELD(dwCpuNum, "processors"),
          MW_FIELD(dwCpuAssetNum, "asset records").Get<MW_GetCpuCount>(),
          MW_FIELD(iCpuMaxTemp, "peak temperature").Unit("C"),
          MW_FIELD(ucCpuMismatch, "mismatch"),
          MW_FIELD(ucPad, ""),
          MW_FIELD(wCpuTotalPower, "total power").Get<MW_GetCpuTotalPower>(),
          MW_FIELD(dwCpuHealthyTotal, "total health").Get<MW_GetCpuHealthyStatusInfoByTotal>(),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(atCpuPhyInfo, "processor"),
          MW_FIELD(atCpuStatusInfo, "processor"),
          MW_FIELD(atCpuAssetInfo, "asset record"),
          MW_FIELD(atCpuTmargin, "margin"));

struct CpuTmargin {
    uint8_t aucTmargin[MW_CPU_TMARGIN_SIZE];
};

MW_RECORD(CpuTmargin, MW_FIELD(aucTmargin, "margin"));
// clang-format on

namespace {

std::vector<std::string> Labels() {
    return Texts(ReadList<MW_GetCpuPhyInfo>(MW_CPU_MAX), &CpuPhyInfo::acSilkName);
}

int32_t CountProcessors(uint32_t &count) {
    static std::vector<CpuTempInfo> room(MW_CPU_MAX);
    return MW_GetCpuTempInfo(room.data(), &count);
}

int32_t ReadMargins(CpuTmargin *margins, uint32_t &count) {
    int32_t result = 0;
    for (count = 0; result >= 0 && count < MW_CPU_MAX; ++count) {
        result = MW_GetCpuTmargin(count, &margins[count]);
    }
    return result;
}

int32_t ReadEvents(SelEvent *events, uint32_t &count) {
    uint32_t processors = 0;
    int32_t result = CountProcessors(processors);
    std::vector<std::string> labels = Labels();
    labels.resize(std::max<size_t>(labels.size(), processors));
    count = 0;
    for (uint32_t index = 0; result >= 0 && index < processors; ++index) {
        const auto get = [&](uint32_t offset, uint8_t *data) {
            return MW_GetCpuAssertSelEventDataInfo(index, offset, data);
        };
        result = AppendEvents(index, labels[index], get, events, count);
    }
    return result;
}

bool HasMargin(const CpuTmargin &margin) {
    return std::any_of(std::begin(margin.aucTmargin), std::end(margin.aucTmargin),
                       [](uint8_t b) { return b != 0; });
}

constexpr Record kRecords[] = {
    Words<CpuArea>("totals", "Totals"),
    List<CpuPhyInfo, MW_GetCpuPhyInfo>("sockets", "Sockets", MW_CPU_MAX),
    List<CpuAssetInfo, MW_GetCpuAssetInfo>("assets", "Processors", MW_CPU_MAX),
    List<CpuTempInfo, MW_GetCpuTempInfo>("temperatures", "Temperatures", MW_CPU_MAX).Named<Labels>(),
    Custom<CpuTmargin, ReadMargins>("margins", "Thermal margins", MW_CPU_MAX).Used<HasMargin>(),
    Slots<CpuStatusInfo, CountProcessors>("regulators", "Power of the voltage regulators", MW_CPU_MAX)
        .Named<Labels>(),
    List<CpuAlarmInfo, MW_GetCpuAlarmInfo>("alarms", "Alarm states", MW_CPU_MAX).Named<Labels>(),
    Custom<SelEvent, ReadEvents>("events", "Event data", kEventOffsets *MW_CPU_MAX)
        .Notes<NameEvent<CpuAlarmInfo>>(),
    Words<CpuStatusInfo>("usage", "Usage"),
    One<UsageThreshold, MW_GetCpuUsageThreInfo>("threshold", "Usage threshold").FromFile(),
};
const Plug plug{{"cpu", "Processors", &midware::kCpu, kRecords, &kLayout<CpuArea>}};

}  // namespace
}  // namespace mwctl
