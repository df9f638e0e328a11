// A counted table of records in a module's area, walked in order while the module's semaphore is held.
#ifndef HOV_TABLE_H
#define HOV_TABLE_H

#include "hov_guard.h"

namespace midware {

// The stored count is taken as it is: records behind the table's own are the bytes that follow it in the region.
template <class Record>
class Table {
  public:
    Table(const GuardBase &area, uint32_t count, uint32_t first) : area_(area), count_(count), first_(first) {}

    // True when all records lie in the region; one line is logged otherwise. For what is done whole or not at all.
    bool Whole() const { return area_.ReachRecords(first_, count_, sizeof(Record), sizeof(Record)) != nullptr; }

    // The next record; NULL behind the last one, and where it would leave the region, which is logged.
    Record *Next() {
        if (next_ == count_) return nullptr;
        void *record = area_.Reach(first_ + static_cast<int64_t>(next_) * sizeof(Record), sizeof(Record));
        refused_ = record == nullptr;
        ++next_;
        return static_cast<Record *>(record);
    }

    // The next record that `matches` accepts.
    template <class Matches>
    Record *Find(Matches matches) {
        Record *record = Next();
        while (record != nullptr && !matches(*record)) record = Next();
        return record;
    }

    // What a walk that found nothing answers where that is a success.
    int32_t result() const { return refused_ ? kFail : kOk; }
    bool refused() const { return refused_; }

  private:
    const GuardBase &area_;
    uint32_t count_;
    uint32_t first_;
    uint32_t next_ = 0;
    bool refused_ = false;
};

}  // namespace midware

#endif
