// The healthy-status table that memory, processors, fans and power supplies keep: a health value for each instance and
// one for the whole component, which the caller states every time and nothing derives.
#ifndef HOV_HEALTH_H
#define HOV_HEALTH_H

#include "hov_guard.h"

namespace midware {

// Where a module's area keeps it. The instance count is the area's first word.
struct HealthTable {
    uint32_t total;   // offset of the component's health
    uint32_t key;     // of slot 0's instance number
    uint32_t status;  // of slot 0's health
    uint32_t stride;  // from slot to slot
    uint32_t aux;     // of slot 0's word that is cleared with the health; 0 where there is none
};

// Clears the total and the health of every counted slot.
int32_t InitHealth(const Module &module, const HealthTable &table, LockText text, Caller at);

// Stores the total, also when no slot has this number: -1 then.
int32_t SetHealth(const Module &module, const HealthTable &table, LockText text, uint32_t number, uint32_t health,
                  uint32_t total, Caller at);

int32_t GetHealthByInstance(const Module &module, const HealthTable &table, LockText text, uint32_t number,
                            uint32_t *health, Caller at);

int32_t GetHealthTotal(const Module &module, const HealthTable &table, LockText text, uint32_t *total, Caller at);

}  // namespace midware

#endif
