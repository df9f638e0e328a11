#include "hov_health.h"

namespace midware {
namespace {

struct HealthGuard : GuardBase {
    HealthGuard(const Module &module, LockText text, Caller at) : GuardBase(module, text, at) {}

    uint32_t Word(int64_t offset) const { return Load<uint32_t>(Reach(offset, sizeof(uint32_t))); }
    void Put(int64_t offset, uint32_t value) const { Store<uint32_t>(Reach(offset, sizeof(uint32_t)), value); }

    // The distance from slot 0 to the first slot of this number, or -1.
    int64_t Find(const HealthTable &table, uint32_t number) const {
        const int64_t slot = FindByWord(*this, table.key, table.stride, Word(0), number);
        return slot < 0 ? -1 : slot * table.stride;
    }

    // Slots lie within the region up to the last of these words.
    bool ReachesSlots(const HealthTable &table, uint64_t count) const {
        return ReachRecords(table.status, count, sizeof(uint32_t), table.stride) != nullptr;
    }
};

}  // namespace

int32_t InitHealth(const Module &module, const HealthTable &table, LockText text, Caller at) {
    HealthGuard area(module, text, at);
    if (!area) return kFail;
    const uint32_t count = area.Word(0);
    if (!area.ReachesSlots(table, count)) return kFail;
    area.Put(table.total, 0);
    for (uint32_t i = 0; i < count; ++i) {
        const int64_t slot = static_cast<int64_t>(i) * table.stride;
        area.Put(table.status + slot, 0);
        if (table.aux != 0) area.Put(table.aux + slot, 0);
    }
    return kOk;
}

int32_t SetHealth(const Module &module, const HealthTable &table, LockText text, uint32_t number, uint32_t health,
                  uint32_t total, Caller at) {
    HealthGuard area(module, text, at);
    if (!area) return kFail;
    area.Put(table.total, total);
    const int64_t slot = area.Find(table, number);
    if (slot < 0 || area.Reach(table.status + slot, sizeof health) == nullptr) return kFail;
    area.Put(table.status + slot, health);
    if (table.aux != 0) area.Put(table.aux + slot, 0);
    return kOk;
}

int32_t GetHealthByInstance(const Module &module, const HealthTable &table, LockText text, uint32_t number,
                            uint32_t *health, Caller at) {
    if (health == nullptr) return kFail;
    HealthGuard area(module, text, at);
    if (!area) return kFail;
    const int64_t slot = area.Find(table, number);
    if (slot < 0 || area.Reach(table.status + slot, sizeof *health) == nullptr) return kFail;
    *health = area.Word(table.status + slot);
    return kOk;
}

int32_t GetHealthTotal(const Module &module, const HealthTable &table, LockText text, uint32_t *total, Caller at) {
    if (total == nullptr) return kFail;
    HealthGuard area(module, text, at);
    if (!area) return kFail;
    *total = area.Word(table.total);
    return kOk;
}

}  // namespace midware
