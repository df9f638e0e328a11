// The PCIe area: the device table, the bus alarm summary and the riser-card block.
#ifndef HOV_MIDPCIE_H
#define HOV_MIDPCIE_H

#include "hov_midware.h"
#include "midware/pcie.h"

namespace midware {

struct PcieArea {
    static constexpr const Module &kModule = kPcie;

    uint32_t dwReserved;
    uint32_t dwPcieNum;
    PcieAssetInfo atPcieAsset[MW_PCIE_MAX];
    uint8_t aucCriticalIntAlarm[MW_PCIE_ALARM_SIZE];
    uint8_t aucRisercardAsset[MW_RISERCARD_SIZE];
    uint8_t aucSpare[4];
};

static_assert(offsetof(PcieArea, dwPcieNum) == 4);
static_assert(offsetof(PcieArea, atPcieAsset) == 8);
static_assert(offsetof(PcieArea, aucCriticalIntAlarm) == 54792);
static_assert(offsetof(PcieArea, aucRisercardAsset) == 54808);
static_assert(offsetof(PcieArea, aucSpare) == 61724);
static_assert(sizeof(PcieArea) == kPcie.size);

}  // namespace midware

#endif
