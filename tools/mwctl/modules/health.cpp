// The healthy-status tables of memory, processors, fans and power supplies.
#include <set>

#include "midware/cpu.h"
#include "midware/fan.h"
#include "midware/mem.h"
#include "midware/pem.h"
#include "shared.h"
#include "table.h"

namespace mwctl {

inline constexpr uint32_t kHealthInstances = 128;

struct HealthInstance {
    uint32_t dwNumber;
    char acName[64];
    uint32_t dwHealthyStatus;
};

struct Health {
    uint32_t dwHealthyTotal;
    uint32_t dwInstanceCount;
    HealthInstance atInstance[kHealthInstances];
};

// clang-format off
MW_RECORD(HealthInstance,
          MW_FIELD(dwNumber, "number"),
          MW_FIELD(acName, "name").Naming(),
          MW_FIELD(dwHealthyStatus, "health").Health());

MW_RECORD(Health,
          MW_FIELD(dwHealthyTotal, "total").Health(),
          MW_FIELD(dwInstanceCount, "instances"),
          MW_FIELD(atInstance, "instance").CountedBy(offsetof(Health, dwInstanceCount)));
// clang-format on

namespace {

// Asks for an instance by its number, once, and appends it where there is one. -1 when the semaphore was not
// had.
class Instances {
  public:
    Instances(Health &health, int32_t (*get)(uint32_t, uint32_t *)) : health_(health), get_(get) {}

    int32_t Ask(uint32_t number, std::string_view name) {
        if (health_.dwInstanceCount == kHealthInstances || !asked_.insert(number).second) return 0;
        HealthInstance &instance = health_.atInstance[health_.dwInstanceCount];
        if (get_(number, &instance.dwHealthyStatus) < 0)
            return Listen::Current()->HeardLockFailure() ? -1 : 0;
        instance.dwNumber = number;
        PutName(instance.acName, name);
        ++health_.dwInstanceCount;
        return 0;
    }

  private:
    Health &health_;
    int32_t (*get_)(uint32_t, uint32_t *);
    std::set<uint32_t> asked_;
};

// `known` are the records that name the instances; an instance without one has a number up to their maximum.
template <auto total, auto instance, class T, size_t size>
int32_t ReadHealth(Health &health, const std::vector<T> &known, uint32_t T::*number, char (T::*name)[size],
                   uint32_t most) {
    if (total(&health.dwHealthyTotal) < 0) return -1;
    Instances instances(health, instance);
    for (const T &record : known) {
        if (instances.Ask(record.*number, tools::ArrayText(record.*name, size)) < 0) return -1;
    }
    for (uint32_t other = 1; other <= most; ++other) {
        if (instances.Ask(other, {}) < 0) return -1;
    }
    return 0;
}

int32_t ReadMemory(Health *health, uint32_t &) {
    return ReadHealth<MW_GetMemHealthyStatusInfoByTotal, MW_GetMemHealthyStatusInfoByInst>(
        *health, ReadList<MW_GetMemPhyInfo>(MW_MEM_DIMM_MAX), &MemPhyInfo::dwMemNum, &MemPhyInfo::acSilkName,
        MW_MEM_DIMM_MAX);
}

int32_t ReadProcessors(Health *health, uint32_t &) {
    return ReadHealth<MW_GetCpuHealthyStatusInfoByTotal, MW_GetCpuHealthyStatusInfoByInst>(
        *health, ReadList<MW_GetCpuPhyInfo>(MW_CPU_MAX), &CpuPhyInfo::dwSilkNum, &CpuPhyInfo::acSilkName,
        MW_CPU_MAX);
}

int32_t ReadFans(Health *health, uint32_t &) {
    return ReadHealth<MW_GetFanHealthyStatusInfoByTotal, MW_GetFanHealthyStatusInfoByInst>(
        *health, ReadList<MW_GetFanAssetInfo>(MW_FAN_MAX), &FanAssetInfo::dwFanSilkNum,
        &FanAssetInfo::acFanName, MW_FAN_MAX);
}

// A supply is called by its place.
struct PemName {
    uint32_t dwPemIndex;
    char acLocation[32];
};

int32_t ReadSupplies(Health *health, uint32_t &) {
    std::vector<PemName> names;
    for (const PemAsset &supply : ReadList<MW_GetPemAssetInfo>(MW_PEM_MAX)) {
        const char(&location)[32] = supply.tStatusInfo.acLocation;
        names.push_back({supply.dwPemIndex, {}});
        PutName(names.back().acLocation, tools::ArrayText(location, sizeof location));
    }
    return ReadHealth<MW_GetPemHealthyStatusInfoByTotal, MW_GetPemHealthyStatusInfoByInst>(
        *health, names, &PemName::dwPemIndex, &PemName::acLocation, MW_PEM_MAX);
}

constexpr Record kRecords[] = {
    Custom<Health, ReadMemory>("memory", "Memory", 0).Under(midware::kMem),
    Custom<Health, ReadProcessors>("cpu", "Processors", 0).Under(midware::kCpu),
    Custom<Health, ReadFans>("fan", "Fans", 0).Under(midware::kFan),
    Custom<Health, ReadSupplies>("pem", "Power supplies", 0).Under(midware::kPem),
};
const Plug plug{{"health", "Health", nullptr, kRecords}};

}  // namespace
}  // namespace mwctl
