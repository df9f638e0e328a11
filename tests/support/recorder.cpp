#include "recorder.h"

#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "dbgout.h"
#include "hov_slibc.h"
#include "iniparser.h"
#include "oal.h"

namespace recorder {
namespace {

constexpr size_t kAreaSize = 708704;
constexpr size_t kGuardSize = 1 << 20;  // never accessible, on both sides of the area

struct Mapping {
    uint8_t *test;
    uint8_t *library;
    size_t size;
};

// The area is mapped twice: for the test, and for the library between stretches that fault. It does not end where its
// last page ends: a write behind it is found by the bytes there, which stay zero.
const Mapping &Memory() {
    static const Mapping mapping = [] {
        const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
        const size_t size = (kAreaSize + page - 1) / page * page;
        const int fd = memfd_create("recorded-area", MFD_CLOEXEC);
        if (fd < 0 || ftruncate(fd, static_cast<off_t>(size)) != 0) abort();
        void *test = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, fd, 0);
        void *fence = mmap(nullptr, size + 2 * kGuardSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        if (test == MAP_FAILED || fence == MAP_FAILED) abort();
        void *library = mmap(static_cast<uint8_t *>(fence) + kGuardSize, size, PROT_NONE, MAP_SHARED | MAP_FIXED, fd, 0);
        if (library == MAP_FAILED) abort();
        close(fd);
        return Mapping{static_cast<uint8_t *>(test), static_cast<uint8_t *>(library), size};
    }();
    return mapping;
}

void Protect() {
    const bool open = Now().open_area || !Now().held.empty();
    if (mprotect(Memory().library, Memory().size, open ? PROT_READ | PROT_WRITE : PROT_NONE) != 0) abort();
}

std::string Format(const char *format, va_list args) {
    char text[4096];
    vsnprintf(text, sizeof text, format, args);
    return text;
}

void Record(Kind kind, std::string text) {
    Now().calls.push_back({kind, std::move(text)});
    if (Now().on_call) Now().on_call(Call(Now().calls.back()));
}

__attribute__((format(printf, 2, 3))) void Record(Kind kind, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Record(kind, Format(format, args));
    va_end(args);
}

}  // namespace

State &Now() {
    static State state;
    return state;
}

const std::vector<std::string> &CallsAtStart() {
    static const std::vector<std::string> calls = Calls();
    return calls;
}

void Reset() {
    CallsAtStart();
    Now() = State{};
    memset(Memory().test, 0, Memory().size);
    Protect();
}

void OpenArea() {
    Now().open_area = true;
    Protect();
}

uint8_t *Area() { return Memory().test; }
void *LibraryArea() { return Memory().library; }

std::vector<std::string> Calls() {
    for (size_t i = kAreaSize; i < Memory().size; ++i) {
        if (Memory().test[i] != 0) Now().faults.push_back("byte " + std::to_string(i) + " behind the area was written");
    }
    std::vector<std::string> texts;
    for (const Call &call : Now().calls) {
        if (call.kind != Kind::kText) texts.push_back(call.text);
    }
    return texts;
}

void ClearCalls() { Now().calls.clear(); }

}  // namespace recorder

using recorder::Kind;
using recorder::Now;
using recorder::Record;

extern "C" {

int32_t OAL_CreatMemResource(uint32_t key, uint32_t size) {
    Record(Kind::kPlatform, "OAL_CreatMemResource(%u, %u)", key, size);
    return Now().create_result;
}

void *OAL_GetMemResourceAddr(uint32_t key) {
    Record(Kind::kPlatform, "OAL_GetMemResourceAddr(%u)", key);
    return Now().region_missing ? nullptr : recorder::LibraryArea();
}

int32_t OAL_SemCreate(uint32_t key) {
    Record(Kind::kPlatform, "OAL_SemCreate(%u)", key);
    return Now().sem_create_result;
}

int32_t OAL_SemLockByKey(uint32_t key, uint32_t timeout_ms) {
    Record(Kind::kPlatform, "OAL_SemLockByKey(%u, %u)", key, timeout_ms);
    auto &held = Now().held;
    if (std::find(held.begin(), held.end(), key) != held.end()) {
        Now().faults.push_back("semaphore " + std::to_string(key) + " taken twice");
    }
    const auto found = Now().lock_result.find(key);
    const int32_t result = found == Now().lock_result.end() ? 0 : found->second;
    if (result < 0) {
        errno = Now().lock_errno;
        return result;
    }
    held.push_back(key);
    recorder::Protect();
    return result;
}

int32_t OAL_SemUnLockByKey(uint32_t key, uint32_t timeout_ms) {
    Record(Kind::kPlatform, "OAL_SemUnLockByKey(%u, %u)", key, timeout_ms);
    auto &held = Now().held;
    const auto found = std::find(held.begin(), held.end(), key);
    if (found == held.end()) {
        Now().faults.push_back("semaphore " + std::to_string(key) + " released but not taken");
    } else {
        held.erase(found);
    }
    recorder::Protect();
    return Now().unlock_result;
}

int32_t OAL_Log2File(const char *path, uint32_t flag, const char *format, ...) {
    va_list args;
    va_start(args, format);
    const std::string text = recorder::Format(format, args);
    va_end(args);
    Record(Kind::kPlatform, "OAL_Log2File(%s, %u, \"%s\")", path, flag, text.c_str());
    return 0;
}

#define RECORD_OUTPUT(function)                                                    \
    int32_t function(int32_t level, const char *format, ...) {                     \
        va_list args;                                                              \
        va_start(args, format);                                                    \
        const std::string text = recorder::Format(format, args);                   \
        va_end(args);                                                              \
        Record(Kind::kPlatform, "%s(%d, \"%s\")", #function, level, text.c_str()); \
        return 0;                                                                  \
    }

RECORD_OUTPUT(IDBG_LINUXAPP_DbgOut)
RECORD_OUTPUT(IDBG_LINUXAPP_Runtime_DbgOut)
RECORD_OUTPUT(IDBG_LINUXAPP_AuditOut)

int hov_printf_s(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const std::string text = recorder::Format(format, args);
    va_end(args);
    Record(Kind::kPlatform, "hov_printf_s(\"%s\")", text.c_str());
    return static_cast<int>(text.size());
}

// --- INI files, kept in State::ini_files -------------------------------------------------------------------------

static void *Load(const char *path, bool create) {
    if (Now().ini_load_fails) return nullptr;
    if (create) Now().ini_files[path];
    const auto found = Now().ini_files.find(path);
    ++Now().ini_open;
    return &Now().ini_handles.emplace_back(found == Now().ini_files.end() ? recorder::IniFile{} : found->second);
}

static recorder::IniFile &File(void *ini) { return *static_cast<recorder::IniFile *>(ini); }

static const std::string *Find(void *ini, const char *section, const char *key) {
    const auto in = File(ini).find(section);
    if (in == File(ini).end()) return nullptr;
    const auto found = in->second.find(key);
    return found == in->second.end() ? nullptr : &found->second;
}

void *IniLoadFile(const char *path) {
    Record(Kind::kPlatform, "IniLoadFile(%s)", path);
    return Load(path, false);
}

void *HOV_IniLoadFile(const char *path) {
    Record(Kind::kPlatform, "HOV_IniLoadFile(%s)", path);
    return Load(path, true);
}

int32_t IniSaveFile(void *ini, const char *path) {
    Record(Kind::kPlatform, "IniSaveFile(%s)", path);
    if (Now().ini_save_result >= 0) Now().ini_files[path] = File(ini);
    return Now().ini_save_result;
}

int32_t IniCloseFile(void *ini) {
    Record(Kind::kPlatform, "IniCloseFile()");
    Now().ini_handles.remove_if([ini](const recorder::IniFile &file) { return &file == ini; });
    --Now().ini_open;
    return 0;
}

const char *IniGetStr(void *ini, const char *section, const char *key, const char *fallback) {
    Record(Kind::kPlatform, "IniGetStr([%s] %s, %s)", section, key, fallback);
    const std::string *value = Find(ini, section, key);
    return value == nullptr ? fallback : value->c_str();
}

uint32_t IniGetUInt(void *ini, const char *section, const char *key, uint32_t fallback) {
    Record(Kind::kPlatform, "IniGetUInt([%s] %s, %u)", section, key, fallback);
    const std::string *value = Find(ini, section, key);
    return value == nullptr ? fallback : static_cast<uint32_t>(strtoul(value->c_str(), nullptr, 10));
}

int32_t IniSetStr(void *ini, const char *section, const char *key, const char *value) {
    Record(Kind::kPlatform, "IniSetStr([%s] %s, %s)", section, key, value);
    File(ini)[section][key] = value;
    return 0;
}

int32_t IniSetUInt(void *ini, const char *section, const char *key, uint32_t value) {
    Record(Kind::kPlatform, "IniSetUInt([%s] %s, %u)", section, key, value);
    File(ini)[section][key] = std::to_string(value);
    return 0;
}

int32_t IniDelEntry(void *ini, const char *section, const char *key) {
    Record(Kind::kPlatform, "IniDelEntry([%s] %s)", section, key);
    return File(ini)[section].erase(key) == 1 ? 0 : -1;
}

// --- bounds-checked copies ---------------------------------------------------------------------------------------

static int Copy(const char *name, void *dest, size_t dest_size, const void *src, size_t count) {
    Record(Kind::kCopy, "%s(%zu, %zu)", name, dest_size, count);
    if (count > dest_size) {
        memset(dest, 0, dest_size);
        return ERANGE;
    }
    memcpy(dest, src, count);
    return 0;
}

static int Fill(const char *name, void *dest, size_t dest_size, int value, size_t count) {
    Record(Kind::kCopy, "%s(%zu, %d, %zu)", name, dest_size, value, count);
    if (count > dest_size) return ERANGE;
    memset(dest, value, count);
    return 0;
}

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return Copy("memcpy_s", dest, dest_size, src, count);
}

int hov_memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return Copy("hov_memcpy_s", dest, dest_size, src, count);
}

int memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return Fill("memset_s", dest, dest_size, value, count);
}

int hov_memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return Fill("hov_memset_s", dest, dest_size, value, count);
}

int strncpy_s(char *dest, size_t dest_size, const char *src, size_t count) {
    Record(Kind::kText, "strncpy_s(%zu, %zu)", dest_size, count);
    const size_t length = strnlen(src, count);
    if (length >= dest_size) {
        if (dest_size != 0) dest[0] = '\0';
        return ERANGE;
    }
    memcpy(dest, src, length);
    dest[length] = '\0';
    return 0;
}

size_t strnlen_s(const char *text, size_t max) {
    Record(Kind::kText, "strnlen_s(%zu)", max);
    return text == nullptr ? 0 : strnlen(text, max);
}

#define RECORD_FORMAT(function)                                                 \
    int function(char *dest, size_t dest_size, const char *format, ...) {       \
        Record(Kind::kText, "%s(%zu, \"%s\")", #function, dest_size, format);   \
        va_list args;                                                           \
        va_start(args, format);                                                 \
        const int length = vsnprintf(dest, dest_size, format, args);            \
        va_end(args);                                                           \
        return length + Now().snprintf_extra;                                   \
    }

RECORD_FORMAT(snprintf_s)
RECORD_FORMAT(hov_snprintf_s)

const char *hov_strerror_s(int error) {
    static char text[32];
    Record(Kind::kText, "hov_strerror_s(%d)", error);
    snprintf(text, sizeof text, "error %d", error);
    return text;
}

int32_t hov_CustomPchDiskSemLock(void) {
    Record(Kind::kPlatform, "hov_CustomPchDiskSemLock()");
    return Now().pch_lock_result;
}

int32_t hov_CustomPchDiskSemUnLock(void) {
    Record(Kind::kPlatform, "hov_CustomPchDiskSemUnLock()");
    return 0;
}

int sysinfo(struct sysinfo *info) noexcept {
    Record(Kind::kPlatform, "sysinfo()");
    *info = {};
    info->uptime = Now().uptime;
    return 0;
}

}  // extern "C"
