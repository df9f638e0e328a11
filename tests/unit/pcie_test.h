// What the tests of the PCIe module share.
#ifndef TESTS_PCIE_TEST_H
#define TESTS_PCIE_TEST_H

#include "accessor_test.h"

inline constexpr ModuleFacts kPcieFacts{"pcie/hov_midpcie", &g_ptPcieCollectAddr, 611568, 61728, 12298};

// How many records fit between the start of the table and the end of the shared area.
inline constexpr uint32_t kRecordsInReach = (708704 - 611568 - 8) / 856;

constexpr size_t Record(size_t index) { return 8 + 856 * index; }

class PcieTest : public AccessorTest {
 protected:
    PcieTest() : AccessorTest(kPcieFacts, kLockError) {}

    void PutCount(uint32_t count) { Put<uint32_t>(4, count); }

    // The fields that functions search by.
    void PutKeys(size_t index, uint8_t slot, uint8_t type, uint8_t class_code) {
        Put<uint8_t>(Record(index) + 4, class_code);
        Put<uint8_t>(Record(index) + 5, type);
        Put<uint8_t>(Record(index) + 6, slot);
    }

    const std::string lock_ = Lock(12298);
    const std::string unlock_ = Unlock(12298);
};

// The text in an array that need not hold a terminator, cut to fit with one.
inline std::string Text(const void *array, size_t size, size_t capacity) {
    const char *text = static_cast<const char *>(array);
    return std::string(text, std::min(strnlen(text, size), capacity - 1));
}

#endif
