// The custom card area: one block.
#ifndef HOV_MIDCUSTCARD_H
#define HOV_MIDCUSTCARD_H

#include "hov_midware.h"
#include "midware/custcard.h"

namespace midware {

struct CustCardArea {
    static constexpr const Module &kModule = kCustCard;

    uint32_t dwUnused;
    CustCardAssetInfo tInfo;
};

static_assert(offsetof(CustCardArea, tInfo) == 4);
static_assert(sizeof(CustCardArea) == kCustCard.size);

}  // namespace midware

#endif
