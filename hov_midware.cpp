#include "hov_midware.h"

#include <cerrno>

#include "dbgout.h"
#include "hov_slibc.h"
#include "oal.h"

void *g_ptMidWareAddr;
void *g_ptMemCollectAddr;
void *g_ptCpuCollectAddr;
void *g_ptPemCollectAddr;
void *g_ptPswCollectAddr;
void *g_ptFanCollectAddr;
void *g_ptNicCollectAddr;
void *g_ptFcCardCollectAddr;
void *g_ptGPUCollectAddr;
void *g_ptRaidCollectionAddr;
void *g_ptBoardCollectAddr;
void *g_ptPcieCollectAddr;
void *g_ptFwCollectAddr;
void *g_ptServCollectAddr;
void *g_ptPCHCollectAddr;
void *g_ptCustCardCollectAddr;

void (*pSendRedfunc)(void);

namespace midware {
namespace {

constexpr char kSource[] = "hov_midware";

// The semaphores in the order in which start-up creates them.
constexpr uint32_t kSemaphoreKeys[] = {12290, 12291, 12292, 12296, 12293, 12294, 12295, 12297,
                                       12298, 12299, 12300, 12301, 12302, 12303, 12304};

void Publish(void **pointer, void *value) { __atomic_store_n(pointer, value, __ATOMIC_RELEASE); }

}  // namespace
}  // namespace midware

using namespace midware;

int32_t MW_MidWareInit(void) {
    if (OAL_CreatMemResource(MW_AREA_KEY, MW_AREA_SIZE) < 0) return kFail;

    const int line = __LINE__ + 1;
    if (OAL_SemLockByKey(MW_AREA_KEY, kLockTimeoutMs) < 0) {
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s %d] sem lock failed, %s\n", kSource, line, __func__, line,
                             hov_strerror_s(errno));
        return kFail;
    }
    void *base = OAL_GetMemResourceAddr(MW_AREA_KEY);
    Publish(&g_ptMidWareAddr, base);
    if (base != nullptr) hov_memset_s(base, MW_AREA_SIZE, 0, MW_AREA_SIZE);
    OAL_SemUnLockByKey(MW_AREA_KEY, kLockTimeoutMs);
    if (base == nullptr) return kFail;

    // A semaphore that could not be created shows as a failed lock in its module's accessors.
    for (uint32_t key : kSemaphoreKeys) OAL_SemCreate(key);
    return kOk;
}

int32_t MW_MidMemCheck(const void *ptModule) {
    if (ptModule != nullptr) return kOk;

    void *base = OAL_GetMemResourceAddr(MW_AREA_KEY);
    Publish(&g_ptMidWareAddr, base);
    if (base == nullptr) {
        hov_printf_s("%s:%d Memory init error \n", __func__, __LINE__);
        return kFail;
    }
    for (const Module &module : kModules) Publish(module.pointer, static_cast<char *>(base) + module.offset);
    return kOk;
}

int32_t MW_PostMsgtoAlarm(void) { return kOk; }
