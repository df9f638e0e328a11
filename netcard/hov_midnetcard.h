// The network-card area: the cards, then their ports.
#ifndef HOV_MIDNETCARD_H
#define HOV_MIDNETCARD_H

#include "hov_midware.h"
#include "midware/netcard.h"

namespace midware {

struct NicArea {
    static constexpr const Module &kModule = kNic;

    uint32_t dwReserved;
    NicCardBlock tCards;
    NicPortBlock tPorts;
};

static_assert(offsetof(NicArea, tCards) == 4);
static_assert(offsetof(NicArea, tCards.atNicCard) == 8);
static_assert(offsetof(NicArea, tPorts) == 37640);
static_assert(offsetof(NicArea, tPorts.atNicPort) == 37644);
static_assert(offsetof(NicArea, tPorts.aucSpare) == 121164);
static_assert(sizeof(NicArea) == kNic.size);

}  // namespace midware

#endif
