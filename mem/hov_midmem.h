// The memory area: totals, then where the DIMMs sit, their state and what they are. The host's usage figures lie in the
// first state record.
#ifndef HOV_MIDMEM_H
#define HOV_MIDMEM_H

#include "hov_midware.h"
#include "midware/mem.h"

namespace midware {

struct MemArea {
    static constexpr const Module &kModule = kMem;

    uint32_t dwDimmCount;  // slots in use of atPhyInfo and atStatusInfo
    uint32_t dwMemCount;   // records in use of atAssetInfo
    int32_t iMaxDimmTemp;  // highest temperature ever written; nothing lowers it
    uint16_t wTotalPower;
    uint8_t aucPad1[2];
    uint32_t dwHealthyTotal;
    MemPhyInfo atPhyInfo[MW_MEM_DIMM_MAX];
    MemStatusInfo atStatusInfo[MW_MEM_DIMM_MAX];
    uint8_t aucPad2[4];
    MemAssetInfo atAssetInfo[MW_MEM_DIMM_MAX];
};

static_assert(offsetof(MemArea, dwDimmCount) == 0);
static_assert(offsetof(MemArea, dwMemCount) == 4);
static_assert(offsetof(MemArea, iMaxDimmTemp) == 8);
static_assert(offsetof(MemArea, wTotalPower) == 12);
static_assert(offsetof(MemArea, dwHealthyTotal) == 16);
static_assert(offsetof(MemArea, atPhyInfo) == 20);
static_assert(offsetof(MemArea, atStatusInfo) == 5652);
static_assert(offsetof(MemArea, atAssetInfo) == 259096);
static_assert(sizeof(MemArea) == kMem.size);

}  // namespace midware

#endif
