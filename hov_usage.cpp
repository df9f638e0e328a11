#include "hov_usage.h"

#include "dbgout.h"
#include "iniparser.h"

namespace midware {
namespace {

constexpr char kThresholdFile[] = "/conf/ext/hostusagecfg.ini";
constexpr char kThresholdKey[] = "NonCritical";
constexpr char kHysteresisKey[] = "Hysterisis";  // spelled so in every such file
constexpr uint32_t kDefaultThreshold = 75;
constexpr uint32_t kHysteresis = 5;
constexpr uint32_t kMaxPercent = 100;
constexpr size_t kSectionSize = 32;

struct UsageGuard : GuardBase {
    UsageGuard(const Module &module, Caller at) : GuardBase(module, module.lock_text, at) {}
    UsageGuard(const Module &module, LockText text, Caller at) : GuardBase(module, text, at) {}

    UsageWords *At(const UsageTable &table) const {
        return static_cast<UsageWords *>(Reach(table.offset, sizeof(UsageWords)));
    }
};

// A figure of the Management Engine.
struct FlaggedUsage {
    uint32_t flag;
    uint32_t usage;
};

int32_t GetWord(const UsageTable &table, uint32_t UsageWords::*word, uint32_t *to, LockText text, Caller at) {
    UsageGuard area(table.module, text, at);
    if (!area) return kFail;
    *to = area.At(table)->*word;
    return kOk;
}

// Loads the file and forms the section's name; NULL when either fails.
void *OpenThresholds(const char *name, char (&section)[kSectionSize]) {
    void *ini = IniLoadFile(kThresholdFile);
    if (ini == nullptr) return nullptr;
    if (snprintf_s(section, kSectionSize, "%s", name) >= static_cast<int>(kSectionSize)) {
        IniCloseFile(ini);
        return nullptr;
    }
    return ini;
}

}  // namespace

int32_t SetHostUsage(const UsageTable &table, uint32_t packed, Caller at) {
    UsageGuard area(table.module, at);
    if (!area) return kFail;
    UsageWords *words = area.At(table);
    words->host_enable = packed & 0xFF;
    words->host_alt = packed >> 8 & 0xFF;
    words->host_usage = packed >> 16 & 0xFF;
    return kOk;
}

int32_t GetHostUsage(const UsageTable &table, uint32_t *usage, Caller at) {
    if (usage == nullptr) return kFail;
    UsageGuard area(table.module, at);
    if (!area) return kFail;
    const UsageWords *words = area.At(table);
    *usage = words->host_enable == MW_VALID_FLAG ? words->host_usage : words->host_alt;
    return kOk;
}

int32_t ClearHostUsage(const UsageTable &table, Caller at) {
    UsageGuard area(table.module, at);
    if (!area) return kFail;
    UsageWords *words = area.At(table);
    words->host_enable = 0;
    words->host_usage = MW_NO_VALUE;
    words->host_alt = MW_NO_VALUE;
    return kOk;
}

int32_t GetHostUsageEnable(const UsageTable &table, uint32_t *enable, Caller at) {
    return GetWord(table, &UsageWords::host_enable, enable, LockText::kLineError, at);
}

void StoreAlarm(uint32_t *alarm, uint32_t status) {
    if (status <= 1) *alarm = status;
}

int32_t SetHostAlarm(const UsageTable &table, uint32_t status, Caller at) {
    UsageGuard area(table.module, at);
    if (!area) return kFail;
    StoreAlarm(&area.At(table)->host_alarm, status);
    return kOk;
}

int32_t GetHostAlarm(const UsageTable &table, uint32_t *status, Caller at) {
    if (status == nullptr) return kFail;
    return GetWord(table, &UsageWords::host_alarm, status, table.module.lock_text, at);
}

bool MeUsageCache::Holds(uint32_t other_usage, uint32_t other_flag) const {
    return __atomic_load_n(&usage, __ATOMIC_RELAXED) == other_usage &&
           __atomic_load_n(&flag, __ATOMIC_RELAXED) == other_flag;
}

void MeUsageCache::Keep(uint32_t new_usage, uint32_t new_flag) {
    __atomic_store_n(&usage, new_usage, __ATOMIC_RELAXED);
    __atomic_store_n(&flag, new_flag, __ATOMIC_RELAXED);
}

int32_t SetMeUsage(const Module &module, uint32_t offset, MeUsageCache &cache, uint32_t usage, uint32_t flag,
                   Caller at) {
    if (usage > kMaxPercent) return kFail;
    if (cache.Holds(usage, flag)) return kOk;
    UsageGuard area(module, at);
    if (!area) return kFail;
    *static_cast<FlaggedUsage *>(area.Reach(offset, sizeof(FlaggedUsage))) = {flag, usage};
    cache.Keep(usage, flag);
    return kOk;
}

int32_t GetMeUsage(const Module &module, uint32_t offset, uint32_t *usage, Caller at) {
    if (usage == nullptr) return kFail;
    UsageGuard area(module, at);
    if (!area) return kFail;
    const auto *figure = static_cast<const FlaggedUsage *>(area.Reach(offset, sizeof(FlaggedUsage)));
    *usage = figure->flag == MW_VALID_FLAG ? figure->usage : MW_NO_VALUE;
    return kOk;
}

int32_t GetUsageThreshold(const char *section, uint32_t *out) {
    char name[kSectionSize];
    void *ini = OpenThresholds(section, name);
    if (ini == nullptr) return kFail;
    out[0] = IniGetUInt(ini, name, kThresholdKey, kDefaultThreshold);
    out[1] = IniGetUInt(ini, name, kHysteresisKey, kHysteresis);
    IniCloseFile(ini);
    return kOk;
}

int32_t SetUsageThreshold(const Module &module, const char *section, uint32_t threshold, Caller at) {
    if (threshold > kMaxPercent) {
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s] usage threshold can not exceed 100!\n", module.source, at.line,
                             at.function);
        return kFail;
    }
    char name[kSectionSize];
    void *ini = OpenThresholds(section, name);
    if (ini == nullptr) return kFail;
    IniSetUInt(ini, name, kThresholdKey, threshold);
    IniSetUInt(ini, name, kHysteresisKey, kHysteresis);
    IniSaveFile(ini, kThresholdFile);
    IniCloseFile(ini);
    return kOk;
}

}  // namespace midware
