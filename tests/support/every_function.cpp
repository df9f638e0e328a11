#include "every_function.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <type_traits>
#include <utility>

#include "midware.h"

namespace every {
namespace {

// Bytes behind pointers whose type does not tell, or tells less than the function uses.
struct Extent {
    const char *function;
    const char *parameter;  // NULL: every pointer to bytes
    size_t bytes;
};

constexpr Extent kExtents[] = {
    {"MW_MidMemCheck", nullptr, 1},
    {"MW_GetCpuTmargin", nullptr, 8},
    {"MW_SetCpuTmargin", nullptr, 8},
    {"MW_GetCpuUsageThreInfo", "pdwThreshold", 8},
    {"MW_GetMemUsageThreInfo", "pdwThreshold", 8},
    {"MW_GetHardDiskUsageThreInfo", "pdwThreshold", 8},
    {"MW_GetCpuAssertSelEventDataInfo", nullptr, 3},
    {"MW_GetMemAssertSelEventDataInfo", nullptr, 3},
    {"MW_GetFanOnlinePhyInfo", "ptOut", sizeof(FanOnlinePhyInfo)},
    {"MW_SetFanOnlinePhyInfo", "ptIn", sizeof(FanOnlinePhyInfo)},
    {"MW_GetFanControlPhyInfo", "ptOut", sizeof(FanControlPhyInfo)},
    {"MW_SetFanControlPhyInfo", "ptIn", sizeof(FanControlPhyInfo)},
    {"MW_SetFanDeviceZoneInfo", "ptIn", 32 * sizeof(FanDevZoneInfo)},
    {"MW_SetDeviceCoolingParamToMW", "ptIn", 32 * sizeof(DevCoolingParam)},
    {"MW_GetThermalPolicy", nullptr, sizeof(ThermalPolicy)},
    {"MW_SetThermalPolicy", nullptr, sizeof(ThermalPolicy)},
    {"MW_GetThermalCPUSmallPID", nullptr, sizeof(ThermalPidPara)},
    {"MW_SetThermalCPUSmallPID", nullptr, sizeof(ThermalPidPara)},
    {"MW_GetThermalCPULargePID", nullptr, sizeof(ThermalPidPara)},
    {"MW_SetThermalCPULargePID", nullptr, sizeof(ThermalPidPara)},
    {"MW_GetThermalInletTemp", nullptr, sizeof(ThermalInletTemp)},
    {"MW_SetThermalInletTemp", nullptr, sizeof(ThermalInletTemp)},
    {"MW_GetThermalThreadStatus", nullptr, sizeof(ThermalThreadStatus)},
    {"MW_SetThermalThreadStatus", nullptr, sizeof(ThermalThreadStatus)},
    {"MW_GetThermalCPUOffset", nullptr, sizeof(ThermalCpuOffset)},
    {"MW_SetThermalCPUOffset", nullptr, sizeof(ThermalCpuOffset)},
    {"MW_GetThermalDevPIDOffsetPara", nullptr, sizeof(ThermalPidOffsetPara)},
    {"MW_SetThermalDevPIDOffsetPara", nullptr, sizeof(ThermalPidOffsetPara)},
    {"MW_GetFanActionPercentInfo", nullptr, MW_FAN_PERCENT_SIZE},
    {"MW_GetFanActionDecreasePercentInfo", nullptr, MW_FAN_PERCENT_SIZE},
    {"MW_SetFanActionPercentInfo", nullptr, MW_FAN_PERCENT_SIZE},
    {"MW_SetFanActionDecreasePercentInfo", nullptr, MW_FAN_PERCENT_SIZE},
    {"MW_GetBmcVerInfo", nullptr, sizeof(all_bmc_version)},
    {"MW_SetBmcVerInfo", nullptr, sizeof(all_bmc_version)},
    {"MW_GetBiosVerInfo", nullptr, sizeof(all_bios_version)},
    {"MW_SetBiosVerInfo", nullptr, sizeof(all_bios_version)},
    {"MW_GetBootVerInfo", nullptr, sizeof(all_boot_version)},
    {"MW_SetBootVerInfo", nullptr, sizeof(all_boot_version)},
    {"MW_GetFruVerInfo", nullptr, sizeof(all_fru_version)},
    {"MW_SetFruVerInfo", nullptr, sizeof(all_fru_version)},
    {"MW_GetEpldVerInfo", nullptr, sizeof(all_epld_version)},
    {"MW_SetEpldVerInfo", nullptr, sizeof(all_epld_version)},
    {"MW_GetPsuVerInfo", nullptr, 4 * sizeof(psu_version)},
    {"MW_SetPsuVerInfo", nullptr, sizeof(psu_version)},
    {"MW_GetBmcVerBuildDateTime", nullptr, FW_STR_MAX_SIZE},
    {"MW_GetBiosVerBuildTime", nullptr, FW_STR_MAX_SIZE},
    {"MW_GetFirmwareVersionString", nullptr, 1},
    {"MW_GetFirmwareBoardNameString", nullptr, 1},
    {"MW_GetT200TempInfo", nullptr, sizeof(T200Info)},
    {"MW_SaveCustomPchDiskConfig", "pucOpt", 6},
    {"MW_GetRisercardAssetInfo", nullptr, 6916},
    {"MW_SetRisercardAssetInfo", nullptr, 6916},
    {"MW_GetPcieAlarmInfoByDevTypeSlot", nullptr, 16},
    {"MW_GetCriticalIntAlarmInfo", nullptr, 16},
    {"MW_GetPemPowerManufacturerByIndex", nullptr, 32},
    {"MW_GetPemModelByIndex", nullptr, 32},
    {"MW_GetPemSNByIndex", nullptr, 32},
    {"MW_SetPowerLimitModel", nullptr, sizeof(PowerLimitModel)},
    {"MW_GetBoardPowerLimitInfo", nullptr, sizeof(BoardPowerLimitInfo)},
    {"MW_GetBoardPowerInfo", nullptr, sizeof(BoardPowerInfo)},
    {"MW_GetBootErrorInfo", nullptr, sizeof(BootErrorInfo)},
    {"MW_GetRaidPhyInfo", "pOut", sizeof(RaidPhyInfo)},
    {"MW_SetRaidPhyInfo", "pIn", sizeof(RaidPhyInfo)},
    {"MW_GetNvmePhyInfo", "pOut", sizeof(NvmePhyInfo)},
    {"MW_SetNvmePhyInfo", "pIn", sizeof(NvmePhyInfo)},
    {"MW_SetNtpServerName", nullptr, 128},
    {"findPchFirstSonStrInString", "pcText", 64},
    {"findPchFirstSonStrInString", "pcPrefix", 1},
    {"PCH_ParseATAVendorAndModel", nullptr, 32},
};

// Lengths beyond these are not looked at.
struct Limit {
    const char *function;
    size_t most;
};
constexpr Limit kLimits[] = {{"MW_GetFirmwareVersionString", FW_STR_MAX_SIZE},
                             {"MW_GetFirmwareBoardNameString", FW_STR_MAX_SIZE}};

template <class T>
constexpr size_t SizeBehind() {
    if constexpr (std::is_void_v<T>) {
        return 0;
    } else {
        return sizeof(T);
    }
}

template <class P>
Parameter Describe() {
    if constexpr (std::is_pointer_v<P>) {
        using T = std::remove_pointer_t<P>;
        return {"", std::is_const_v<T> ? Kind::kIn : Kind::kInOut, false, 0, SizeBehind<T>(), -1, 0, false};
    } else if constexpr (std::is_integral_v<P>) {
        return {"", Kind::kNumber, std::is_signed_v<P>, sizeof(P), 0, -1, 0, false};
    } else {
        return {"", Kind::kRecord, false, 0, sizeof(P), -1, 0, false};
    }
}

template <class P>
P As(const Value &value) {
    if constexpr (std::is_pointer_v<P>) {
        return static_cast<P>(value.pointer);
    } else if constexpr (std::is_integral_v<P>) {
        return static_cast<P>(value.number);
    } else {
        P record;
        std::memcpy(&record, value.pointer, sizeof record);
        return record;
    }
}

template <class... P>
std::vector<Parameter> DescribeAll(int32_t (*)(P...)) {
    return {Describe<P>()...};
}

template <class... P, size_t... I>
int32_t Apply(int32_t (*function)(P...), const Value *values, std::index_sequence<I...>) {
    (void)values;
    return function(As<P>(values[I])...);
}

template <class... P>
int32_t Apply(int32_t (*function)(P...), const Value *values) {
    return Apply(function, values, std::index_sequence_for<P...>());
}

template <auto kFunction>
int32_t CallThrough(const Value *values) {
    return Apply(kFunction, values);
}

[[noreturn]] void Wrong(const char *function, const char *what) {
    std::fprintf(stderr, "%s: %s\n", function, what);
    std::abort();
}

// "const Thing *ptThing, uint32_t dwCount": the last word of each is its name.
void Name(std::vector<Parameter> &parameters, const char *name, std::string_view text) {
    for (Parameter &parameter : parameters) {
        const size_t end = std::min(text.find(','), text.size());
        const std::string_view one = text.substr(0, end);
        parameter.name = one.substr(one.find_last_of(" *") + 1);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    if (!text.empty() && text != "void") Wrong(name, "has more parameters than the header shows");
}

bool IsPointer(const Parameter &parameter) {
    return parameter.kind == Kind::kIn || parameter.kind == Kind::kInOut;
}

void Measure(Function &function) {
    const auto find = [&](std::string_view name) {
        const auto found = std::find_if(function.parameters.begin(), function.parameters.end(),
                                        [&](const Parameter &parameter) { return parameter.name == name; });
        return found == function.parameters.end() ? -1
                                                  : static_cast<int>(found - function.parameters.begin());
    };
    const bool is_list = find("pdwCount") > 0;
    for (Parameter &parameter : function.parameters) {
        if (!IsPointer(parameter)) continue;
        for (const Extent &extent : kExtents) {
            if (std::strcmp(extent.function, function.name) == 0 &&
                (extent.parameter == nullptr ? parameter.bytes <= 1 : parameter.name == extent.parameter)) {
                parameter.bytes = extent.bytes;
            }
        }
        if (parameter.bytes == 0) Wrong(function.name, "leads to bytes of an unknown number");
        parameter.is_list = is_list && parameter.name != "pdwCount";
        if (parameter.kind == Kind::kIn) parameter.count = find("dwCount");
        for (const char *length : {"lLength", "dwLength"}) {
            if (parameter.bytes == 1 && find(length) >= 0) parameter.count = find(length);
        }
        for (const Limit &limit : kLimits) {
            if (std::strcmp(limit.function, function.name) == 0) parameter.most = limit.most;
        }
    }
}

std::vector<Function> Build() {
    std::vector<Function> functions = {
#define FUNCTION(name, parameters) {#name, DescribeAll(name), CallThrough<name>},
#include "every_function.inc"
#undef FUNCTION
    };
    const char *const texts[] = {
#define FUNCTION(name, parameters) parameters,
#include "every_function.inc"
#undef FUNCTION
    };
    for (size_t i = 0; i < functions.size(); ++i) {
        Name(functions[i].parameters, functions[i].name, texts[i]);
        Measure(functions[i]);
    }
    for (const Extent &extent : kExtents) {
        const bool exists = std::any_of(functions.begin(), functions.end(), [&](const Function &function) {
            return std::strcmp(function.name, extent.function) == 0;
        });
        if (!exists) Wrong(extent.function, "is not exported");
    }
    return functions;
}

}  // namespace

const std::vector<Function> &Functions() {
    static const std::vector<Function> functions = Build();
    return functions;
}

const Function &Named(std::string_view name) {
    for (const Function &function : Functions()) {
        if (function.name == name) return function;
    }
    Wrong(std::string(name).c_str(), "is not exported");
}

size_t BytesOf(const Function &function, size_t parameter, const std::vector<Value> &values) {
    const Parameter &pointer = function.parameters[parameter];
    if (pointer.count < 0) return pointer.bytes;
    const Parameter &count = function.parameters[static_cast<size_t>(pointer.count)];
    uint64_t number = values[static_cast<size_t>(pointer.count)].number;
    if (count.is_signed && static_cast<int32_t>(number) < 0) number = 0;
    if (pointer.most != 0) number = std::min<uint64_t>(number, pointer.most);
    return static_cast<size_t>(static_cast<uint32_t>(number)) * pointer.bytes;
}

bool AnswersANumber(const Function &function) {
    for (const char *name : {"RotateRateChange", "findPchFirstSonStrInString", "PCH_ParseATAVendorAndModel",
                             "MW_GetSpecificPcieCardPresentCnt", "MW_GetPemPresentStaByIndex"}) {
        if (std::strcmp(function.name, name) == 0) return true;
    }
    return false;
}

}  // namespace every
