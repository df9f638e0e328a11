#include "memory_platform.h"

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
#include "hov_midware.h"
#include "hov_slibc.h"
#include "iniparser.h"
#include "oal.h"
#include "text.h"

#if defined(__SANITIZE_ADDRESS__)
#define MEMORY_PLATFORM_POISONS
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define MEMORY_PLATFORM_POISONS
#endif
#endif
#ifdef MEMORY_PLATFORM_POISONS
#include <sanitizer/asan_interface.h>
#endif

namespace memory_platform {
namespace {

// Never accessible, on both sides. What follows the area on its last page is poisoned where something watches
// that.
constexpr size_t kFence = size_t{1} << (sizeof(void *) > 4 ? 30 : 24);

uint8_t *MapArea() {
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t size = (kAreaSize + page - 1) / page * page;
    void *fence =
        mmap(nullptr, size + 2 * kFence, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (fence == MAP_FAILED) abort();
    uint8_t *area = static_cast<uint8_t *>(fence) + kFence;
    if (mprotect(area, size, PROT_READ | PROT_WRITE) != 0) abort();
#ifdef MEMORY_PLATFORM_POISONS
    ASAN_POISON_MEMORY_REGION(area + kAreaSize, size - kAreaSize);
#endif
    return area;
}

// Counts a call; true when it is the one to fail.
bool Fails(Call call) {
    const size_t i = static_cast<size_t>(call);
    return ++Now().calls[i] == Now().fail_at[i];
}

void Misuse(const std::string &what) {
    if (Now().misuse.empty()) Now().misuse = what;
}

int Say(const char *format, va_list args) {
    char text[4096];
    const int length = vsnprintf(text, sizeof text, format, args);
    if (Now().keep_messages) Now().messages.emplace_back(text);
    return length;
}

int Copy(void *dest, size_t dest_size, const void *src, size_t count) {
    if (dest == nullptr || src == nullptr || count > dest_size || Fails(Call::kCopy)) {
        if (dest != nullptr) memset(dest, 0, dest_size);
        return ERANGE;
    }
    memmove(dest, src, count);
    return 0;
}

int Fill(void *dest, size_t dest_size, int value, size_t count) {
    if (dest == nullptr || count > dest_size || Fails(Call::kCopy)) {
        if (dest != nullptr) memset(dest, 0, dest_size);
        return ERANGE;
    }
    memset(dest, value, count);
    return 0;
}

int Print(char *dest, size_t dest_size, const char *format, va_list args) {
    int length = -1;
    if (platform::FormatIsHarmless(format) && !Fails(Call::kText))
        length = vsnprintf(dest, dest_size, format, args);
    if (length < 0 && dest_size > 0) dest[0] = '\0';
    return length;
}

void *Load(const char *path) {
    if (Fails(Call::kIniLoad)) return nullptr;
    State &now = Now();
    const auto found = now.files.find(path);
    now.handles[++now.last_handle] = found == now.files.end() ? IniFile() : found->second;
    return reinterpret_cast<void *>(now.last_handle);
}

IniFile *Find(void *ini) {
    const auto found = Now().handles.find(reinterpret_cast<uintptr_t>(ini));
    if (found != Now().handles.end()) return &found->second;
    Misuse("an INI handle that is not open was used");
    return nullptr;
}

std::string KeyOf(const char *section, const char *key) { return std::string(section) + '\n' + key; }

const std::string *ValueOf(void *ini, const char *section, const char *key) {
    const IniFile *file = Find(ini);
    if (file == nullptr) return nullptr;
    const auto found = file->find(KeyOf(section, key));
    if (found != file->end()) return &found->second;
    return Now().any_value.empty() ? nullptr : &Now().any_value;
}

}  // namespace

State &Now() {
    static State state;
    return state;
}

uint8_t *Area() {
    static uint8_t *const area = MapArea();
    return area;
}

void Reset() {
    Now() = State{};
    memset(Area(), 0, kAreaSize);
    Detach();
}

void Attach() {
    g_ptMidWareAddr = Area();
    for (const midware::Module &module : midware::kModules) *module.pointer = Area() + module.offset;
}

void Detach() {
    g_ptMidWareAddr = nullptr;
    for (const midware::Module &module : midware::kModules) *module.pointer = nullptr;
}

const char *NameOf(Call call) {
    static constexpr const char *kNames[kCalls] = {"OAL_CreatMemResource",
                                                   "OAL_GetMemResourceAddr",
                                                   "OAL_SemCreate",
                                                   "OAL_SemLockByKey",
                                                   "OAL_SemUnLockByKey",
                                                   "IDBG_LINUXAPP_...",
                                                   "OAL_Log2File",
                                                   "hov_printf_s",
                                                   "IniLoadFile",
                                                   "IniSaveFile",
                                                   "IniCloseFile",
                                                   "IniSet...",
                                                   "IniDelEntry",
                                                   "hov_CustomPchDiskSemLock",
                                                   "hov_CustomPchDiskSemUnLock",
                                                   "memcpy_s or memset_s",
                                                   "strncpy_s or snprintf_s"};
    return kNames[static_cast<size_t>(call)];
}

}  // namespace memory_platform

using namespace memory_platform;

extern "C" {

int32_t OAL_CreatMemResource(uint32_t key, uint32_t size) {
    if (key != 4099 || size != kAreaSize) Misuse("another region was asked for");
    return Fails(Call::kCreate) ? -1 : 0;
}

void *OAL_GetMemResourceAddr(uint32_t key) {
    if (key != 4099) Misuse("another region was asked for");
    return Fails(Call::kAddress) ? nullptr : Area();
}

int32_t OAL_SemCreate(uint32_t) { return Fails(Call::kSemCreate) ? -1 : 0; }

int32_t OAL_SemLockByKey(uint32_t key, uint32_t) {
    auto &held = Now().held;
    if (std::find(held.begin(), held.end(), key) != held.end()) {
        Misuse("semaphore " + std::to_string(key) + " taken twice");
    }
    if (Fails(Call::kLock)) {
        errno = ETIMEDOUT;
        return -1;
    }
    held.push_back(key);
    return 0;
}

int32_t OAL_SemUnLockByKey(uint32_t key, uint32_t) {
    auto &held = Now().held;
    const auto found = std::find(held.begin(), held.end(), key);
    if (found == held.end()) {
        Misuse("semaphore " + std::to_string(key) + " released but not taken");
    } else {
        held.erase(found);
    }
    return Fails(Call::kUnlock) ? -1 : 0;
}

int32_t OAL_Log2File(const char *, uint32_t, const char *format, ...) {
    va_list args;
    va_start(args, format);
    Say(format, args);
    va_end(args);
    return Fails(Call::kJournal) ? -1 : 0;
}

// A program may listen to what is said itself.
#define OUTPUT_FUNCTION(name)                                              \
    __attribute__((weak)) int32_t name(int32_t, const char *format, ...) { \
        va_list args;                                                      \
        va_start(args, format);                                            \
        Say(format, args);                                                 \
        va_end(args);                                                      \
        return Fails(Call::kOutput) ? -1 : 0;                              \
    }

OUTPUT_FUNCTION(IDBG_LINUXAPP_DbgOut)
OUTPUT_FUNCTION(IDBG_LINUXAPP_Runtime_DbgOut)
OUTPUT_FUNCTION(IDBG_LINUXAPP_AuditOut)

__attribute__((weak)) int hov_printf_s(const char *format, ...) {
    va_list args;
    va_start(args, format);
    const int length = Say(format, args);
    va_end(args);
    return Fails(Call::kPrint) ? -1 : length;
}

void *IniLoadFile(const char *path) { return Load(path); }
void *HOV_IniLoadFile(const char *path) {
    void *ini = Load(path);
    if (ini != nullptr) Now().files[path];
    return ini;
}

int32_t IniSaveFile(void *ini, const char *path) {
    const IniFile *file = Find(ini);
    if (file == nullptr || Fails(Call::kIniSave)) return -1;
    Now().files[path] = *file;
    return 0;
}

int32_t IniCloseFile(void *ini) {
    if (Find(ini) == nullptr) return -1;
    Now().handles.erase(reinterpret_cast<uintptr_t>(ini));
    return Fails(Call::kIniClose) ? -1 : 0;
}

const char *IniGetStr(void *ini, const char *section, const char *key, const char *fallback) {
    const std::string *value = ValueOf(ini, section, key);
    return value == nullptr ? fallback : value->c_str();
}

uint32_t IniGetUInt(void *ini, const char *section, const char *key, uint32_t fallback) {
    const std::string *value = ValueOf(ini, section, key);
    return value == nullptr ? fallback : static_cast<uint32_t>(strtoul(value->c_str(), nullptr, 10));
}

int32_t IniSetStr(void *ini, const char *section, const char *key, const char *value) {
    IniFile *file = Find(ini);
    if (file == nullptr || Fails(Call::kIniSet)) return -1;
    (*file)[KeyOf(section, key)] = value;
    return 0;
}

int32_t IniSetUInt(void *ini, const char *section, const char *key, uint32_t value) {
    return IniSetStr(ini, section, key, std::to_string(value).c_str());
}

int32_t IniDelEntry(void *ini, const char *section, const char *key) {
    IniFile *file = Find(ini);
    if (file == nullptr || Fails(Call::kIniDelete)) return -1;
    return file->erase(KeyOf(section, key)) == 1 ? 0 : -1;
}

int32_t hov_CustomPchDiskSemLock(void) {
    if (Fails(Call::kDiskLock)) return -1;
    if (++Now().disk_locks > 1) Misuse("the custom disk slot lock was taken twice");
    return 0;
}

int32_t hov_CustomPchDiskSemUnLock(void) {
    if (Now().disk_locks == 0) {
        Misuse("the custom disk slot lock was released but not taken");
    } else {
        --Now().disk_locks;
    }
    return Fails(Call::kDiskUnlock) ? -1 : 0;
}

int memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return Copy(dest, dest_size, src, count);
}
int hov_memcpy_s(void *dest, size_t dest_size, const void *src, size_t count) {
    return Copy(dest, dest_size, src, count);
}
int memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return Fill(dest, dest_size, value, count);
}
int hov_memset_s(void *dest, size_t dest_size, int value, size_t count) {
    return Fill(dest, dest_size, value, count);
}

int strncpy_s(char *dest, size_t dest_size, const char *src, size_t count) {
    const size_t length = src == nullptr ? 0 : strnlen(src, std::min(count, dest_size));
    if (length >= dest_size || Fails(Call::kText)) {
        if (dest_size != 0) dest[0] = '\0';
        return ERANGE;
    }
    memmove(dest, src, length);
    dest[length] = '\0';
    return 0;
}

size_t strnlen_s(const char *text, size_t max) { return text == nullptr ? 0 : strnlen(text, max); }

#define PRINT_FUNCTION(name)                                          \
    int name(char *dest, size_t dest_size, const char *format, ...) { \
        va_list args;                                                 \
        va_start(args, format);                                       \
        const int length = Print(dest, dest_size, format, args);      \
        va_end(args);                                                 \
        return length;                                                \
    }

PRINT_FUNCTION(snprintf_s)
PRINT_FUNCTION(hov_snprintf_s)

const char *hov_strerror_s(int error) {
    const char *text = strerrordesc_np(error);
    return text != nullptr ? text : "Unknown error";
}

// The uptime is the same at all times.
int sysinfo(struct sysinfo *info) noexcept {
    *info = {};
    info->uptime = 4711;
    return 0;
}

}  // extern "C"
