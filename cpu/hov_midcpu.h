// The processor area: totals, then where the processors sit, their state, what they are, and their thermal margins. The
// host's usage figures lie in the first state record.
#ifndef HOV_MIDCPU_H
#define HOV_MIDCPU_H

#include "hov_midware.h"
#include "midware/cpu.h"

namespace midware {

struct CpuArea {
    static constexpr const Module &kModule = kCpu;

    uint32_t dwCpuNum;       // records in use of atCpuPhyInfo and atCpuStatusInfo
    uint32_t dwCpuAssetNum;  // records in use of atCpuAssetInfo
    int32_t iCpuMaxTemp;     // highest temperature ever written; nothing lowers it
    uint8_t ucCpuMismatch;
    uint8_t ucPad;
    uint16_t wCpuTotalPower;
    uint32_t dwCpuHealthyTotal;
    uint8_t aucReserved[4];
    CpuPhyInfo atCpuPhyInfo[MW_CPU_MAX];
    CpuStatusInfo atCpuStatusInfo[MW_CPU_MAX];
    CpuAssetInfo atCpuAssetInfo[MW_CPU_MAX];
    uint8_t atCpuTmargin[MW_CPU_MAX][MW_CPU_TMARGIN_SIZE];
};

static_assert(offsetof(CpuArea, dwCpuNum) == 0);
static_assert(offsetof(CpuArea, dwCpuAssetNum) == 4);
static_assert(offsetof(CpuArea, iCpuMaxTemp) == 8);
static_assert(offsetof(CpuArea, ucCpuMismatch) == 12);
static_assert(offsetof(CpuArea, wCpuTotalPower) == 14);
static_assert(offsetof(CpuArea, dwCpuHealthyTotal) == 16);
static_assert(offsetof(CpuArea, atCpuPhyInfo) == 24);
static_assert(offsetof(CpuArea, atCpuStatusInfo) == 568);
static_assert(offsetof(CpuArea, atCpuAssetInfo) == 2424);
static_assert(offsetof(CpuArea, atCpuTmargin) == 13528);
static_assert(sizeof(CpuArea) == kCpu.size);

}  // namespace midware

#endif
