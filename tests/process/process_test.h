// What the tests of several processes share.
#ifndef TESTS_PROCESS_TEST_H
#define TESTS_PROCESS_TEST_H

#include <atomic>
#include <cstring>

#include "midware.h"
#include "process.h"

class AreaTest : public ::testing::Test {
 protected:
    // As the start-up program does, in a process of its own.
    void CreateArea() {
        EXPECT_SUCCEEDS(setup_, [] { EXPECT_EQ(MW_MidWareInit(), 0); });
    }

    TempDir root_;
    ProcessSetup setup_ = InRoot(root_);
};

// A record whose bytes are all the same, so that a half-written one shows.
template <class T>
T Plain(int byte) {
    T record;
    std::memset(static_cast<void *>(&record), byte, sizeof record);
    return record;
}

// The byte that all bytes of the record have, or -1.
template <class T>
int PlainByte(const T &record) {
    const auto *bytes = reinterpret_cast<const unsigned char *>(&record);
    for (size_t i = 1; i < sizeof record; ++i) {
        if (bytes[i] != bytes[0]) return -1;
    }
    return bytes[0];
}

// Takes the semaphore of the memory module and keeps it, by the one way that the library has.
inline void HoldMemory() {
    HardDiskUsageInfo usage{};
    usage.dwTotalPart = 27;
    EXPECT_EQ(MW_SetHardDiskUsageInfoFromHostMon(&usage), -1);
}

#endif
