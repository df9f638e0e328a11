// The Fibre Channel area: the card block and the port block.
#ifndef HOV_MIDFCCARD_H
#define HOV_MIDFCCARD_H

#include "hov_midware.h"
#include "midware/fccard.h"

namespace midware {

struct FcCardArea {
    static constexpr const Module &kModule = kFcCard;

    uint32_t dwUnused;
    FCCardAssetInfo tCards;
    FCPortAssetInfo tPorts;
};

static_assert(offsetof(FcCardArea, tCards) == 4);
static_assert(offsetof(FcCardArea, tPorts) == 11888);
static_assert(sizeof(FcCardArea) == kFcCard.size);

}  // namespace midware

#endif
