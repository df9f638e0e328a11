// Checks that memory and processors share: lists of records, fields by index, tables of event data.
#ifndef TESTS_RECORD_CHECKS_H
#define TESTS_RECORD_CHECKS_H

#include "accessor_test.h"

// The stored count lies at the word `count_at` of the module's area.
struct ListGetter {
    const char *name;
    std::function<int32_t(void *, uint32_t *)> call;
    uint32_t count_at;
    uint32_t first;
    uint32_t size;
    uint32_t stride;
    uint32_t slots;      // of the array
    std::string refusal;  // of a count above that; empty where it is taken as it is
};

struct ListSetter {
    const char *name;
    std::function<int32_t(const void *, uint32_t)> call;
    uint32_t count_at;
    uint32_t first;
    uint32_t size;
    uint32_t slots;
};

// A record whose first word is the index of the place that it is stored at, up to and including the count at offset 0 of
// the area.
struct SelfPlaced {
    const char *name;
    std::function<int32_t(const void *)> call;
    uint32_t first;
    uint32_t size;
    uint32_t stride;
    uint32_t slots;
    std::string refusal;  // of an index above the count
};

class RecordTest : public AccessorTest {
 protected:
    using AccessorTest::AccessorTest;

    static constexpr uint32_t kRegion = 708704;

    // What a call below the semaphore records.
    std::vector<std::string> Locked(const std::vector<std::string> &calls = {}) const {
        std::vector<std::string> all = {Lock(module().key)};
        all.insert(all.end(), calls.begin(), calls.end());
        all.push_back(Unlock(module().key));
        return all;
    }

    // The highest index whose bytes [first + stride * index, + size) lie in the region.
    uint32_t LastWithin(uint32_t first, uint32_t size, uint32_t stride) const {
        return (kRegion - module().offset - first - size) / stride;
    }

    // Bytes of the shared area, which calls leave as they were.
    std::vector<uint8_t> Bytes(size_t offset_in_module, size_t size) const {
        const uint8_t *from = recorder::Area() + At(offset_in_module);
        return {from, from + size};
    }

    void CheckListGetter(const ListGetter &getter) {
        SCOPED_TRACE(getter.name);
        const uint32_t most = LastWithin(getter.first, getter.size, getter.stride) + 1;
        std::vector<uint32_t> counts = {0, 1, 2, getter.slots};
        std::vector<uint32_t> refused;
        if (getter.refusal.empty()) {
            counts.insert(counts.end(), {getter.slots + 1, most});
            refused = {most + 1, Wrapping(getter.stride) + 1, 0xFFFFFFFF};
        } else {
            refused = {getter.slots + 1, 0xFFFFFFFF};
        }
        const std::vector<uint8_t> untouched = Pattern((most + 1) * size_t{getter.size}, 200);
        for (uint32_t n : counts) {
            SCOPED_TRACE(n);
            FillArea(static_cast<uint8_t>(n + 1));
            Put(getter.count_at, n);
            const Image before = Image::Take();
            std::vector<uint8_t> expected = untouched;
            for (uint32_t i = 0; i < n; ++i) {
                const std::vector<uint8_t> record = Bytes(getter.first + getter.stride * i, getter.size);
                std::copy(record.begin(), record.end(), expected.begin() + i * getter.size);
            }
            std::vector<uint8_t> out = untouched;
            uint32_t count = 77777;
            EXPECT_EQ(getter.call(out.data(), &count), 0);
            EXPECT_EQ(count, n);
            EXPECT_TRUE(out == expected);
            ExpectCalls(getter.name, Locked(std::vector<std::string>(n, Copy(getter.size))));
            ExpectImage(before);
        }
        const std::string message = getter.refusal.empty() ? Dbg(kRefusal) : getter.refusal;
        for (uint32_t n : refused) {
            SCOPED_TRACE(n);
            FillArea(3);
            Put(getter.count_at, n);
            const Image before = Image::Take();
            std::vector<uint8_t> out = untouched;
            uint32_t count = 77777;
            EXPECT_EQ(getter.call(out.data(), &count), -1);
            EXPECT_EQ(count, 77777u);
            EXPECT_TRUE(out == untouched);
            ExpectCalls(getter.name, Locked({message}));
            ExpectImage(before);
        }
        std::vector<uint8_t> out = untouched;
        uint32_t count = 77777;
        Put(getter.count_at, getter.slots);
        recorder::Now().lock_result[module().key] = -1;
        EXPECT_EQ(getter.call(out.data(), &count), -1);
        EXPECT_EQ(count, 77777u);
        EXPECT_TRUE(out == untouched);
        recorder::Now().lock_result.clear();
        recorder::ClearCalls();
        uint8_t byte = 0;
        Detach();
        EXPECT_EQ(getter.call(nullptr, &count), -1);
        EXPECT_EQ(getter.call(&byte, nullptr), -1);
        ExpectNoCalls();
        AttachNow();
    }

    void CheckListSetter(const ListSetter &setter) {
        SCOPED_TRACE(setter.name);
        const uint32_t most = LastWithin(setter.first, setter.size, setter.size) + 1;
        const std::vector<uint8_t> records = Pattern(most * size_t{setter.size}, 201);
        for (uint32_t n : {0u, 1u, 2u, setter.slots, setter.slots + 1, most}) {
            SCOPED_TRACE(n);
            FillArea(static_cast<uint8_t>(n + 1));
            const Image before = Image::Take();
            EXPECT_EQ(setter.call(records.data(), n), 0);
            ExpectCalls(setter.name, Locked(std::vector<std::string>(n, Copy(setter.size))));
            ExpectImage(before.With(At(setter.count_at), n)
                            .With(At(setter.first), records.data(), n * size_t{setter.size}));
        }
        FillArea();
        const Image before = Image::Take();
        for (uint32_t n : {most + 1, Wrapping(setter.size) + 1, 0xFFFFFFFFu}) {
            SCOPED_TRACE(n);
            EXPECT_EQ(setter.call(records.data(), n), -1);
            ExpectCalls(setter.name, Locked({Dbg(kRefusal)}));
            ExpectImage(before);
        }
    }

    // `call` writes `value` at `first + stride * index` of an accepted index; of a refused one it answers with a line.
    void CheckIndexed(const char *name, const std::function<int32_t(uint32_t)> &call, uint32_t first, uint32_t stride,
                      const std::vector<uint8_t> &value, const std::vector<uint32_t> &accepted,
                      const std::vector<uint32_t> &refused, const std::string &refusal) {
        SCOPED_TRACE(name);
        const Image before = Image::Take();
        for (uint32_t index : accepted) {
            SCOPED_TRACE(index);
            EXPECT_EQ(call(index), 0);
            ExpectCalls(name, Locked());
            ExpectImage(before.With(At(first + size_t{stride} * index), value.data(), value.size()));
            Restore(before);
        }
        for (uint32_t index : refused) {
            SCOPED_TRACE(index);
            EXPECT_EQ(call(index), -1);
            ExpectCalls(name, Locked({refusal}));
            ExpectImage(before);
        }
    }

    void CheckSelfPlaced(const SelfPlaced &setter) {
        SCOPED_TRACE(setter.name);
        const auto store = [&](uint32_t index) {
            std::vector<uint8_t> record = Pattern(setter.size, 204);
            std::memcpy(record.data(), &index, sizeof index);
            return std::pair(setter.call(record.data()), record);
        };
        FillArea();
        Put<uint32_t>(0, setter.slots);
        Put<int32_t>(kPeak, INT32_MAX);
        Image before = Image::Take();
        for (uint32_t index : {0u, 2u, setter.slots - 1, setter.slots}) {  // the last one lies behind the records
            SCOPED_TRACE(index);
            const auto [result, record] = store(index);
            EXPECT_EQ(result, 0);
            ExpectCalls(setter.name, Locked({Copy(setter.size)}));
            ExpectImage(before.With(At(setter.first + size_t{setter.stride} * index), record.data(), record.size()));
            Restore(before);
        }
        Put<int32_t>(kPeak, INT32_MIN);  // a refusal does not raise it either
        before = Image::Take();
        for (uint32_t index : {setter.slots + 1, 0xFFFFFFFFu}) {
            SCOPED_TRACE(index);
            EXPECT_EQ(store(index).first, -1);
            ExpectCalls(setter.name, Locked({setter.refusal}));
            ExpectImage(before);
        }
        Put<uint32_t>(0, 0xFFFFFFFF);
        before = Image::Take();
        const uint32_t last = LastWithin(setter.first, setter.size, setter.stride);
        for (uint32_t index : {last + 1, Wrapping(setter.stride), 0xFFFFFFFFu}) {
            SCOPED_TRACE(index);
            EXPECT_EQ(store(index).first, -1);
            ExpectCalls(setter.name, Locked({Dbg(kRefusal)}));
            ExpectImage(before);
        }
        Put<int32_t>(kPeak, INT32_MAX);
        before = Image::Take();
        const auto [result, record] = store(last);
        EXPECT_EQ(result, 0);
        ExpectImage(before.With(At(setter.first + size_t{setter.stride} * last), record.data(), record.size()));
    }

    // `call` stores its index at the start of that record and its status `status_at` bytes behind, whatever the count is.
    void CheckPresence(const char *name, int32_t (*call)(uint32_t, uint32_t), uint32_t first, uint32_t stride,
                       uint32_t status_at, uint32_t slots) {
        FillArea();
        const Image before = Image::Take();
        const uint32_t last = LastWithin(first, status_at + 4, stride);
        for (uint32_t index : {0u, 1u, slots - 1, slots, last}) {
            SCOPED_TRACE(index);
            const size_t record = At(first + size_t{stride} * index);
            EXPECT_EQ(call(index, 0x01020304), 0);
            ExpectCalls(name, Locked());
            ExpectImage(before.With(record, index).With<uint32_t>(record + status_at, 0x01020304));
            Restore(before);
        }
        for (uint32_t index : {last + 1, Wrapping(stride), 0xFFFFFFFFu}) {
            SCOPED_TRACE(index);
            EXPECT_EQ(call(index, 1), -1);
            ExpectCalls(name, Locked({Dbg(kRefusal)}));
            ExpectImage(before);
        }
    }

    // `store` writes a temperature, and raises the area's peak to it where that is lower.
    void CheckPeak(const std::function<void(int32_t)> &store) {
        const struct {
            int32_t before, reading, after;
        } rows[] = {{0, 80, 80},     {80, 70, 80},    {80, 80, 80}, {80, 81, 81},      {0, -5, 0},
                    {-20, -10, -10}, {-20, -30, -20}, {-1, 0, 0},   {0, INT32_MIN, 0}, {INT32_MIN, INT32_MAX, INT32_MAX}};
        for (const auto &row : rows) {
            SCOPED_TRACE(std::to_string(row.before) + " then " + std::to_string(row.reading));
            Put(kPeak, row.before);
            store(row.reading);
            EXPECT_EQ(Get<int32_t>(kPeak), row.after);
        }
    }

    // `call` fails when the semaphore is not to be had, and leaves the caller's bytes as they were.
    void CheckUntouchedWithoutLock(const char *name, const std::function<int32_t(void *)> &call) {
        SCOPED_TRACE(name);
        const std::vector<uint8_t> untouched = Pattern(4096, 205);
        std::vector<uint8_t> out = untouched;
        recorder::Now().lock_result[module().key] = -1;
        EXPECT_EQ(call(out.data()), -1);
        EXPECT_TRUE(out == untouched);
        recorder::Now().lock_result.clear();
        recorder::ClearCalls();
    }

    static void Restore(const Image &image) {
        std::memcpy(recorder::Area(), image.bytes().data(), image.bytes().size());
    }

    // An index, or one less than a count, whose product with `stride` comes out small in 32 bits.
    static constexpr uint32_t Wrapping(uint32_t stride) { return 0xFFFFFFFF / stride + 1; }

    static constexpr size_t kPeak = 8;  // of both areas' highest temperature
};

// The bytes of a value.
template <class T>
std::vector<uint8_t> BytesOf(T value) {
    std::vector<uint8_t> bytes(sizeof value);
    std::memcpy(bytes.data(), &value, sizeof value);
    return bytes;
}

#endif
