// The power supply area: supply-wide words, readings, asset records, modes.
#ifndef HOV_MIDPEM_H
#define HOV_MIDPEM_H

#include "hov_midware.h"
#include "midware/pem.h"

namespace midware {

struct PemArea {
    static constexpr const Module &kModule = kPem;

    uint32_t dwPemNum;
    uint32_t dwEntireStatus;  // the total health
    uint32_t dwRedundanceStatus;
    uint32_t dwMixedStatus;
    PemOnlinePhy atPemOnlinePhy[MW_PEM_MAX];
    PemPmbusPhy atPemPmbusPhy[MW_PEM_MAX];
    PemAsset atPemAsset[MW_PEM_MAX];
    uint32_t dwAllowActiveStandby;  // from here on the bytes of a PemMode
    PemModeRecord tPemCfgMode;
    PemModeRecord tPemCurrentMode;
};

static_assert(offsetof(PemArea, dwPemNum) == 0);
static_assert(offsetof(PemArea, dwEntireStatus) == 4);
static_assert(offsetof(PemArea, dwRedundanceStatus) == 8);
static_assert(offsetof(PemArea, dwMixedStatus) == 12);
static_assert(offsetof(PemArea, atPemOnlinePhy) == 16);
static_assert(offsetof(PemArea, atPemPmbusPhy) == 208);
static_assert(offsetof(PemArea, atPemAsset) == 864);
static_assert(offsetof(PemArea, dwAllowActiveStandby) == 2496);
static_assert(offsetof(PemArea, tPemCfgMode) == 2500);
static_assert(offsetof(PemArea, tPemCurrentMode) == 2520);
static_assert(sizeof(PemArea) == kPem.size);

// The head of an asset record, which can be had where the whole record no longer lies within the region.
struct PemPresence {
    uint32_t dwPemIndex;
    uint32_t dwPresentStatus;
    uint32_t dwLastPresentStatus;
    uint32_t dwPresentChCnt;
};

static_assert(offsetof(PemPresence, dwPemIndex) == offsetof(PemAsset, dwPemIndex));
static_assert(offsetof(PemPresence, dwPresentStatus) == offsetof(PemAsset, dwPresentStatus));
static_assert(offsetof(PemPresence, dwLastPresentStatus) == offsetof(PemAsset, dwLastPresentStatus));
static_assert(offsetof(PemPresence, dwPresentChCnt) == offsetof(PemAsset, dwPresentChCnt));

}  // namespace midware

#endif
