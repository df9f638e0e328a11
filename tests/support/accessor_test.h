// What the unit tests of all modules share: the area before and after a call, the recorded calls, and the checks that
// every guarded accessor must pass.
#ifndef TESTS_ACCESSOR_TEST_H
#define TESTS_ACCESSOR_TEST_H

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "midware.h"
#include "recorder.h"

// The facts of a module that its accessors are checked against, written out by each test.
struct ModuleFacts {
    const char *source;
    void **pointer;
    uint32_t offset;
    uint32_t size;
    uint32_t key;
};

// A picture of the whole shared area.
class Image {
 public:
    static Image Take();

    // The picture with other bytes at an absolute offset: what a call is expected to leave.
    Image With(size_t offset, const void *bytes, size_t size) const;
    template <class T>
    Image With(size_t offset, T value) const {
        return With(offset, &value, sizeof value);
    }
    Image Zeroed(size_t offset, size_t size) const;

    const std::vector<uint8_t> &bytes() const { return bytes_; }

 private:
    std::vector<uint8_t> bytes_;
};

// The wordings of a failed lock. In patterns {S} is the module's source file, {F} the exported function, {E} the error
// text, and {L} a source line, the same one each time, that lies in that function's definition.
inline constexpr char kLockError[] = "[{S}:{L}][{F}] sem lock failed, {E}\n";
inline constexpr char kLockLineError[] = "[{S}:{L}][{F} {L}] sem lock failed, {E}\n";
inline constexpr char kLockAfter[] = "[{S}:{L}][{F}] {L} sem lock failed.\n";
inline constexpr char kLockLine[] = "[{S}:{L}][{F} {L}] sem lock failed.\n";
inline constexpr char kLockNoError[] = "[{S}:{L}][{F}] sem lock failed, \n";

// Recorded calls as patterns.
std::string Lock(uint32_t key);
std::string Unlock(uint32_t key);
std::string Copy(size_t size);
std::string HovCopy(size_t size);
std::string Dbg(const std::string &text, int level = 130);
std::string Runtime(const std::string &text, int level = 135);
std::string Audit(const std::string &text, int level = 180);
std::string Print(const std::string &text);
std::string AttachCall();           // OAL_GetMemResourceAddr(4099)
std::string AttachFailurePrint();   // what MW_MidMemCheck prints, its own line checked
inline constexpr char kRefusal[] = "[{S}:{L}][{F}] access outside the shared area refused\n";

// One accessor as the template sees it.
struct Accessor {
    const char *name;
    std::function<int32_t()> call;       // with valid arguments, on the area as SetUp leaves it: answers `result`
    std::function<int32_t()> null = {};  // with NULL for a pointer that is tested; empty where none is
    const char *lock_text = nullptr;     // the module's usual one where NULL
    const char *attach_log = nullptr;    // what the accessor itself logs at level 130 when attaching fails
    int32_t result = 0;
};

class AccessorTest : public ::testing::Test {
 protected:
    AccessorTest(const ModuleFacts &module, const char *lock_text) : module_(module), lock_text_(lock_text) {}

    void SetUp() override;
    void TearDown() override;

    // Sets the sixteen pointers as a successful attach does, without a recorded call.
    void AttachNow();
    // Clears them: a process that has not attached.
    void Detach();

    // Every byte of the area differs from zero and from its neighbours.
    void FillArea(uint8_t seed = 1);

    // Absolute offset of a place in the module's area.
    size_t At(size_t offset) const { return module_.offset + offset; }

    template <class T>
    T Get(size_t offset_in_module) const {
        T value;
        std::memcpy(&value, recorder::Area() + At(offset_in_module), sizeof value);
        return value;
    }
    template <class T>
    void Put(size_t offset_in_module, T value) {
        std::memcpy(recorder::Area() + At(offset_in_module), &value, sizeof value);
    }
    void PutBytes(size_t offset_in_module, const void *bytes, size_t size) {
        std::memcpy(recorder::Area() + At(offset_in_module), bytes, size);
    }

    // The area is now exactly this.
    void ExpectImage(const Image &expected) const;

    // The calls since the last ExpectCalls are exactly these patterns; forgets them.
    void ExpectCalls(const char *function, const std::vector<std::string> &patterns);
    // Nothing was called at all.
    void ExpectNoCalls() { ExpectCalls("", {}); }

    // NULL, attach failure, lock failure, positive lock result, first call of a process: what every accessor does.
    void CheckGuarded(const Accessor &accessor);

    const ModuleFacts &module() const { return module_; }

 private:
    ModuleFacts module_;
    const char *lock_text_;
};

// Bytes that differ from their neighbours, for records.
std::vector<uint8_t> Pattern(size_t size, uint8_t seed);

template <class T>
T PatternOf(uint8_t seed) {
    T value;
    const std::vector<uint8_t> bytes = Pattern(sizeof value, seed);
    std::memcpy(static_cast<void *>(&value), bytes.data(), sizeof value);
    return value;
}

// Runs `body` in a child process, for functions that keep something for the life of their process. The parent must not
// call such a function outside of this. Expectations count; what they print goes to standard error.
void InFreshProcess(const std::function<void()> &body);

#endif
