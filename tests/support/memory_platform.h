// A platform inside one process: the shared area is memory of exactly its size between stretches that fault,
// semaphores are counted, INI files lie in memory, and any call can be told to fail. For programs that call
// very often.
#ifndef TESTS_MEMORY_PLATFORM_H
#define TESTS_MEMORY_PLATFORM_H

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace memory_platform {

inline constexpr size_t kAreaSize = 708704;

// The calls that can fail, one counter each.
enum class Call {
    kCreate,
    kAddress,
    kSemCreate,
    kLock,
    kUnlock,
    kOutput,
    kJournal,
    kPrint,
    kIniLoad,
    kIniSave,
    kIniClose,
    kIniSet,
    kIniDelete,
    kDiskLock,
    kDiskUnlock,
    kCopy,
    kText,
    kCount,
};
inline constexpr size_t kCalls = static_cast<size_t>(Call::kCount);
const char *NameOf(Call call);

using IniFile = std::map<std::string, std::string>;  // "section\nkey": value

struct State {
    uint32_t calls[kCalls] = {};    // how many there were
    uint32_t fail_at[kCalls] = {};  // the one that fails, from 1 on; 0: none

    std::vector<uint32_t> held;  // keys of the semaphores taken now
    uint32_t disk_locks = 0;     // how often the custom disk slot lock is held
    std::string misuse;          // what no library may do; "" as long as it did not

    bool keep_messages = false;
    std::vector<std::string> messages;  // of every kind

    std::map<std::string, IniFile> files;  // by path
    std::string any_value;                 // what an absent key reads as; "": nothing
    std::map<uintptr_t, IniFile> handles;
    uintptr_t last_handle = 0;
};

State &Now();

// Forgets everything; the area is full of zeros, and this process is not attached to it.
void Reset();

uint8_t *Area();

// This process's pointers to the area: all set, or all NULL.
void Attach();
void Detach();

}  // namespace memory_platform

#endif
