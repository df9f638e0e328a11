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

// What the core knows of a module.
struct Module {
    void **pointer;      // this process's exported pointer to the module's area
    uint32_t offset;     // of the area in the region
    uint32_t size;
    uint32_t key;        // of the module's semaphore
    const char *source;  // names the module in messages
    LockText lock_text;
};

inline constexpr Module kMem{&g_ptMemCollectAddr, 0, 311832, 12291, "mem/hov_midmem", LockText::kError};
inline constexpr Module kCpu{&g_ptCpuCollectAddr, 311832, 13592, 12290, "cpu/hov_midcpu", LockText::kLineError};
inline constexpr Module kPem{&g_ptPemCollectAddr, 325424, 2540, 12292, "pem/hov_midpem", LockText::kError};
inline constexpr Module kPsw{&g_ptPswCollectAddr, 327964, 1076, 12296, "power/hov_midpwr", LockText::kError};
inline constexpr Module kFan{&g_ptFanCollectAddr, 329040, 17776, 12293, "fan/hov_midfan", LockText::kError};
inline constexpr Module kNic{&g_ptNicCollectAddr, 346816, 121168, 12295, "netcard/hov_midnetcard", LockText::kError};
inline constexpr Module kFcCard{&g_ptFcCardCollectAddr, 467984, 13112, 12299, "fccard/hov_midfccard",
                                LockText::kError};
inline constexpr Module kGpu{&g_ptGPUCollectAddr, 481096, 11288, 12300, "gpu/hov_midgpu", LockText::kError};
inline constexpr Module kRaid{&g_ptRaidCollectionAddr, 492384, 119040, 12294, "raidcard/hov_midraidcard",
                              LockText::kError};
inline constexpr Module kBoard{&g_ptBoardCollectAddr, 611424, 144, 12297, "board/hov_midboard",
                               LockText::kLineError};
inline constexpr Module kPcie{&g_ptPcieCollectAddr, 611568, 61728, 12298, "pcie/hov_midpcie", LockText::kError};
inline constexpr Module kFw{&g_ptFwCollectAddr, 673296, 19080, 12301, "fwinfo/hov_midfw", LockText::kError};
inline constexpr Module kServ{&g_ptServCollectAddr, 692376, 1904, 12302, "services/hov_midserv", LockText::kError};
inline constexpr Module kPch{&g_ptPCHCollectAddr, 694280, 10320, 12303, "pch/hov_midpch", LockText::kError};
inline constexpr Module kCustCard{&g_ptCustCardCollectAddr, 704600, 4104, 12304, "custcard/hov_midcustcard",
                                  LockText::kLineError};

// In the order of the areas, which is also the order in which attaching publishes the pointers.
inline constexpr const Module *kModules[] = {&kMem,   &kCpu,  &kPem,   &kPsw,  &kFan, &kNic,  &kFcCard, &kGpu,
                                             &kRaid,  &kBoard, &kPcie, &kFw,   &kServ, &kPch, &kCustCard};

namespace detail {
constexpr bool AreasFollowOneAnother() {
    uint32_t next = 0;
    for (const Module *module : kModules) {
        if (module->offset != next) return false;
        next += module->size;
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
