// Usage figures, which memory and processors keep in the same words: what the host's monitor and the Management Engine
// report, the alarm, and the thresholds in the configuration file.
#ifndef HOV_USAGE_H
#define HOV_USAGE_H

#include "hov_guard.h"

namespace midware {

// The words as they lie in a module's area, in the bytes of its first status record.
struct UsageWords {
    uint32_t host_enable;  // MW_VALID_FLAG: host_usage is valid
    uint32_t host_usage;   // percent
    uint32_t host_alt;     // handed out while not valid
    uint32_t me_flag;      // MW_VALID_FLAG: me_usage is valid
    uint32_t me_usage;     // percent
    uint32_t reserved[3];
    uint32_t host_alarm;   // 0 or 1
};

struct UsageTable {
    const Module &module;
    uint32_t offset;  // of the UsageWords in the module's area
};

// `packed` holds the enable word, the alternative and the usage in its bytes 0, 1 and 2.
int32_t SetHostUsage(const UsageTable &table, uint32_t packed, Caller at = Here());
int32_t GetHostUsage(const UsageTable &table, uint32_t *usage, Caller at = Here());
int32_t ClearHostUsage(const UsageTable &table, Caller at = Here());

// `enable` is not tested; a failed lock reads as in LockText::kLineError.
int32_t GetHostUsageEnable(const UsageTable &table, uint32_t *enable, Caller at = Here());

// Stores 0 and 1 and ignores anything else.
void StoreAlarm(uint32_t *alarm, uint32_t status);
int32_t SetHostAlarm(const UsageTable &table, uint32_t status, Caller at = Here());
int32_t GetHostAlarm(const UsageTable &table, uint32_t *status, Caller at = Here());

// --- the Management Engine's figures -----------------------------------------------------------------------------

// What this process wrote last, so that it does not write the same again. Threads may share it: the words are atomics,
// and two threads that write different values at the same time settle which values stand under the semaphore.
struct MeUsageCache {
    uint32_t usage;
    uint32_t flag;

    bool Holds(uint32_t other_usage, uint32_t other_flag) const;
    void Keep(uint32_t new_usage, uint32_t new_flag);
};

// The flag lies at `offset` of the module's area, the usage in the word after it.
int32_t SetMeUsage(const Module &module, uint32_t offset, MeUsageCache &cache, uint32_t usage, uint32_t flag,
                   Caller at = Here());
int32_t GetMeUsage(const Module &module, uint32_t offset, uint32_t *usage, Caller at = Here());

// --- thresholds --------------------------------------------------------------------------------------------------

// `out` takes the threshold and the hysteresis; it is not tested.
int32_t GetUsageThreshold(const char *section, uint32_t *out);

// The hysteresis that is written is fixed.
int32_t SetUsageThreshold(const Module &module, const char *section, uint32_t threshold, Caller at = Here());

}  // namespace midware

#endif
