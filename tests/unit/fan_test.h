// The fan area as its tests see it: fan records, thermal settings and health share it.
#ifndef TESTS_FAN_TEST_H
#define TESTS_FAN_TEST_H

#include "accessor_test.h"

inline constexpr uint32_t kFanKey = 12293;
inline constexpr ModuleFacts kFanFacts{"fan/hov_midfan", &g_ptFanCollectAddr, 329040, 17776, kFanKey};
inline constexpr size_t kFanToEnd = 708704 - 329040;  // bytes from the area's start to the end of the shared area

class FanTest : public AccessorTest {
 protected:
    FanTest() : AccessorTest(kFanFacts, kLockError) {}

    // A locked section with these copies.
    static std::vector<std::string> Locked(const std::vector<size_t> &copies = {}) {
        std::vector<std::string> calls = {Lock(kFanKey)};
        for (size_t size : copies) calls.push_back(Copy(size));
        calls.push_back(Unlock(kFanKey));
        return calls;
    }
    static std::vector<std::string> Refused() { return {Lock(kFanKey), Dbg(kRefusal), Unlock(kFanKey)}; }

    // The bytes of the area from an offset on.
    std::vector<uint8_t> Bytes(size_t offset, size_t size) const {
        return {recorder::Area() + At(offset), recorder::Area() + At(offset) + size};
    }

    // A pointer that is not tested: with NULL the accessor goes on to its semaphore.
    void ExpectUntested(const char *name, const std::function<int32_t()> &with_null) {
        SCOPED_TRACE(name);
        recorder::Now().lock_result[kFanKey] = -1;
        EXPECT_EQ(with_null(), -1);
        ExpectCalls(name, {Lock(kFanKey), Dbg(kLockError)});
        recorder::Now().lock_result.clear();
    }

    // Words that are stored and handed out as given.
    struct Word {
        const char *get_name;
        int32_t (*get)(uint32_t *);
        const char *set_name;
        int32_t (*set)(uint32_t);
        size_t offset;
    };
    void CheckWord(const Word &word) {
        SCOPED_TRACE(word.set_name);
        FillArea();
        const Image before = Image::Take();
        for (uint32_t value : {0u, 1u, 0x01020304u, 0xFFFFFFFFu}) {
            EXPECT_EQ(word.set(value), 0);
            ExpectCalls(word.set_name, Locked());
            const Image after = before.With(At(word.offset), value);
            ExpectImage(after);
            uint32_t read = ~value;
            EXPECT_EQ(word.get(&read), 0);
            ExpectCalls(word.get_name, Locked());
            EXPECT_EQ(read, value);
            ExpectImage(after);
        }
    }
};

#endif
