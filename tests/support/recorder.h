// A platform that records: what the unit tests link in place of the real one. Every call of the library is kept as a
// line of text, and the shared area is memory that can be reached only while one of its semaphores is held.
#ifndef TESTS_RECORDER_H
#define TESTS_RECORDER_H

#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

namespace recorder {

// What a recorded call is; tests compare the first two kinds.
enum class Kind { kPlatform, kCopy, kText };

struct Call {
    Kind kind;
    std::string text;
};

using IniSection = std::map<std::string, std::string>;
using IniFile = std::map<std::string, IniSection>;

// How the platform answers, and what it saw. Fresh for every test.
struct State {
    std::vector<Call> calls;
    std::function<void(const Call &)> on_call;  // sees every call first, to change the answers from there on

    bool region_missing = false;
    int32_t create_result = 0;
    int32_t sem_create_result = 0;
    std::map<uint32_t, int32_t> lock_result;  // by key; 0 where absent
    int lock_errno = 110;
    int32_t unlock_result = 0;
    int32_t pch_lock_result = 0;

    std::map<std::string, IniFile> ini_files;  // by path
    bool ini_load_fails = false;
    int32_t ini_save_result = 0;
    std::list<IniFile> ini_handles;  // loaded and not closed
    int ini_open = 0;                // how many they are

    int snprintf_extra = 0;  // added to the length that snprintf_s answers

    long uptime = 4711;  // seconds, answered by sysinfo

    std::vector<uint32_t> held;     // keys of the semaphores taken now
    bool open_area = false;         // the area can be reached without a semaphore
    std::vector<std::string> faults;  // uses of the platform that no library should make
};

State &Now();

// Forgets everything, empties the shared area and closes it.
void Reset();

// What was called before the first Reset: while the program was loaded.
const std::vector<std::string> &CallsAtStart();

// Lets the library reach the area without a semaphore: for the few reads that are unguarded by design.
void OpenArea();

// The shared area as the test sees it, whatever the semaphores say.
uint8_t *Area();

// The address that the library gets for it.
void *LibraryArea();

// The recorded calls without those of kind kText.
std::vector<std::string> Calls();
void ClearCalls();

}  // namespace recorder

#endif
