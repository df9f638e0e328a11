// The processor area as the tests see it.
#ifndef TESTS_CPU_TEST_H
#define TESTS_CPU_TEST_H

#include "record_checks.h"

inline constexpr ModuleFacts kProcessors{"cpu/hov_midcpu", &g_ptCpuCollectAddr, 311832, 13592, 12290};

class CpuTest : public RecordTest {
 protected:
    CpuTest() : RecordTest(kProcessors, kLockLineError) {}

    static constexpr size_t Status(size_t index) { return 568 + 232 * index; }
    static constexpr size_t Temp(size_t index) { return Status(index) + 56; }
    static constexpr size_t Alarm(size_t index) { return Status(index) + 164; }
    static constexpr size_t Event(size_t index, size_t entry) { return Status(index) + 184 + 3 * entry; }
    static constexpr size_t Asset(size_t index) { return 2424 + 1388 * index; }

    void PutCount(uint32_t count) { Put<uint32_t>(0, count); }

    // A setter of `value` at `offset` of a status record; a loose one takes an index equal to the count.
    void CheckStatusSetter(const char *name, const std::function<int32_t(uint32_t)> &call, uint32_t offset,
                           const std::vector<uint8_t> &value, bool loose = true) {
        const uint32_t first = 568 + offset;
        for (uint32_t count : {0u, 2u, 8u}) {
            FillArea(static_cast<uint8_t>(count + 1));
            PutCount(count);
            std::vector<uint32_t> accepted, refused = {count + 1, 0xFFFFFFFF};
            for (uint32_t index = 0; index < count; ++index) accepted.push_back(index);
            (loose ? accepted : refused).push_back(count);
            CheckIndexed(name, call, first, 232, value, accepted, refused, count_over_);
        }
        FillArea();
        PutCount(0xFFFFFFF0);
        const uint32_t last = LastWithin(first, static_cast<uint32_t>(value.size()), 232);
        CheckIndexed(name, call, first, 232, value, {9, last}, {last + 1, Wrapping(232), 0xFFFFFFEF}, Dbg(kRefusal));
    }

    // A getter of the `size` bytes at `offset` of a counted status record.
    void CheckBoundedGetter(const char *name, const std::function<int32_t(uint32_t, void *)> &call, uint32_t offset,
                            uint32_t size, const std::string &refusal, bool copied) {
        SCOPED_TRACE(name);
        const std::vector<uint8_t> untouched = Pattern(size + 4, 202);
        for (uint32_t count : {0u, 2u, 8u, 9u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(count);
            FillArea(static_cast<uint8_t>(count + 1));
            PutCount(count);
            const Image before = Image::Take();
            for (uint32_t index : {0u, 1u, 2u, 7u, 8u, 9u, 0xFFFFFFFFu}) {
                SCOPED_TRACE(index);
                const bool accepted = count <= 8 && index < count;
                std::vector<uint8_t> out = untouched;
                EXPECT_EQ(call(index, out.data()), accepted ? 0 : -1);
                std::vector<uint8_t> expected = untouched;
                if (accepted) {
                    const std::vector<uint8_t> field = Bytes(Status(index) + offset, size);
                    std::copy(field.begin(), field.end(), expected.begin());
                    ExpectCalls(name, copied ? Locked({Copy(size)}) : Locked());
                } else {
                    ExpectCalls(name, Locked({refusal}));
                }
                EXPECT_TRUE(out == expected);
            }
            ExpectImage(before);
        }
        PutCount(2);
        CheckUntouchedWithoutLock(name, [&](void *to) { return call(1, to); });
    }

    const std::string count_over_ = Print("{F}:{L} Cpu count over \n");
    const std::string count_over_logged_ = Dbg("[{S}:{L}]{F}:{L} Cpu count over \n");
};

#endif
