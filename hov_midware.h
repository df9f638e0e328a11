// The shared area: which slice of it belongs to which module, and this process's way to it.
#ifndef HOV_MIDWARE_H
#define HOV_MIDWARE_H

#include <cstdint>

#include "midware/area.h"

namespace midware {

inline constexpr int32_t kOk = 0;
inline constexpr int32_t kFail = -1;

inline constexpr uint32_t kLockTimeoutMs = 500;
inline constexpr int32_t kLevelError = 130;
inline constexpr int32_t kLevelSensor = 134;
inline constexpr int32_t kLevelTrace = 135;
inline constexpr int32_t kLevelAudit = 180;

// The wordings of a failed lock. Every module has one; a few accessors use another.
enum class LockText : uint8_t {
    kError,      // "[%s:%d][%s] sem lock failed, %s\n"
    kNoError,    // the same, with an empty error text
    kLineError,  // "[%s:%d][%s %d] sem lock failed, %s\n"
    kAfter,      // "[%s:%d][%s] %d sem lock failed.\n"
    kLine,       // "[%s:%d][%s %d] sem lock failed.\n"
};

// What the core knows of a module. The name lies in the record itself: a pointer to it would be one more relocation in
// every process.
struct Module {
    void **pointer;   // this process's exported pointer to the module's area
    uint32_t offset;  // of the area in the region
    uint32_t size;
    uint32_t key;     // of the module's semaphore
    LockText lock_text;
    char source[27];  // names the module in messages
};

// In the order of the areas, which is also the order in which attaching publishes the pointers.
inline constexpr Module kModules[] = {
    {&g_ptMemCollectAddr, 0, 311832, 12291, LockText::kError, "mem/hov_midmem"},
    {&g_ptCpuCollectAddr, 311832, 13592, 12290, LockText::kLineError, "cpu/hov_midcpu"},
    {&g_ptPemCollectAddr, 325424, 2540, 12292, LockText::kError, "pem/hov_midpem"},
    {&g_ptPswCollectAddr, 327964, 1076, 12296, LockText::kError, "power/hov_midpwr"},
    {&g_ptFanCollectAddr, 329040, 17776, 12293, LockText::kError, "fan/hov_midfan"},
    {&g_ptNicCollectAddr, 346816, 121168, 12295, LockText::kError, "netcard/hov_midnetcard"},
    {&g_ptFcCardCollectAddr, 467984, 13112, 12299, LockText::kError, "fccard/hov_midfccard"},
    {&g_ptGPUCollectAddr, 481096, 11288, 12300, LockText::kError, "gpu/hov_midgpu"},
    {&g_ptRaidCollectionAddr, 492384, 119040, 12294, LockText::kError, "raidcard/hov_midraidcard"},
    {&g_ptBoardCollectAddr, 611424, 144, 12297, LockText::kLineError, "board/hov_midboard"},
    {&g_ptPcieCollectAddr, 611568, 61728, 12298, LockText::kError, "pcie/hov_midpcie"},
    {&g_ptFwCollectAddr, 673296, 19080, 12301, LockText::kError, "fwinfo/hov_midfw"},
    {&g_ptServCollectAddr, 692376, 1904, 12302, LockText::kError, "services/hov_midserv"},
    {&g_ptPCHCollectAddr, 694280, 10320, 12303, LockText::kError, "pch/hov_midpch"},
    {&g_ptCustCardCollectAddr, 704600, 4104, 12304, LockText::kLineError, "custcard/hov_midcustcard"},
};

inline constexpr const Module &kMem = kModules[0];
inline constexpr const Module &kCpu = kModules[1];
inline constexpr const Module &kPem = kModules[2];
inline constexpr const Module &kPsw = kModules[3];
inline constexpr const Module &kFan = kModules[4];
inline constexpr const Module &kNic = kModules[5];
inline constexpr const Module &kFcCard = kModules[6];
inline constexpr const Module &kGpu = kModules[7];
inline constexpr const Module &kRaid = kModules[8];
inline constexpr const Module &kBoard = kModules[9];
inline constexpr const Module &kPcie = kModules[10];
inline constexpr const Module &kFw = kModules[11];
inline constexpr const Module &kServ = kModules[12];
inline constexpr const Module &kPch = kModules[13];
inline constexpr const Module &kCustCard = kModules[14];

namespace detail {
constexpr bool AreasFollowOneAnother() {
    uint32_t next = 0;
    for (const Module &module : kModules) {
        if (module.offset != next) return false;
        next += module.size;
    }
    return next == MW_AREA_SIZE;
}
}  // namespace detail
static_assert(detail::AreasFollowOneAnother());

// The exported function that a message names, and the line in it.
struct Caller {
    const char *function;
    int line;
};

// As a default argument this is the place of the call.
constexpr Caller Here(const char *function = __builtin_FUNCTION(), int line = __builtin_LINE()) {
    return {function, line};
}

// Another thread may be attaching: the pointers are published and read as atomics.
inline void *PointerOf(const Module &module) { return __atomic_load_n(module.pointer, __ATOMIC_ACQUIRE); }

// True when this process is attached, after attaching it if it was not.
inline bool Attach(const Module &module) {
    void *area = PointerOf(module);
    return area != nullptr || MW_MidMemCheck(area) >= 0;
}

}  // namespace midware

#endif
