// The memory area as the tests see it.
#ifndef TESTS_MEM_TEST_H
#define TESTS_MEM_TEST_H

#include "record_checks.h"

inline constexpr ModuleFacts kMemory{"mem/hov_midmem", &g_ptMemCollectAddr, 0, 311832, 12291};

class MemoryTest : public RecordTest {
 protected:
    MemoryTest() : RecordTest(kMemory, kLockError) {}

    static constexpr size_t Phy(size_t slot) { return 20 + 88 * slot; }
    static constexpr size_t Status(size_t slot) { return 5652 + 3960 * slot; }
    static constexpr size_t Temp(size_t slot) { return Status(slot) + 44; }
    static constexpr size_t Alarm(size_t slot) { return Status(slot) + 3888; }
    static constexpr size_t Event(size_t slot, size_t entry) { return Status(slot) + 3912 + 3 * entry; }
    static constexpr size_t Asset(size_t slot) { return 259096 + 824 * slot; }

    void PutCount(uint32_t count) { Put<uint32_t>(0, count); }

    // As many slots as there are numbers, with these.
    void PutNumbers(const std::vector<uint32_t> &numbers) {
        PutCount(static_cast<uint32_t>(numbers.size()));
        for (size_t slot = 0; slot < numbers.size(); ++slot) Put(Status(slot), numbers[slot]);
    }

    const std::string count_over_ = Print("{F}:{L} Dimm count over \n");
};

#endif
