// The RAID area: PHY lists, blocks that the collectors carry whole, the backplane table and the disk states.
#ifndef HOV_MIDRAIDCARD_H
#define HOV_MIDRAIDCARD_H

#include "hov_midware.h"
#include "midware/raidcard.h"

namespace midware {

struct RaidArea {
    static constexpr const Module &kModule = kRaid;

    uint32_t dwRaidPhyNum;
    RaidPhyInfo atRaidPhy[MW_RAID_PHY_MAX];
    uint8_t aucSpare1[4];
    uint32_t dwNvmePhyNum;
    NvmePhyInfo atNvmePhy[MW_NVME_PHY_MAX];
    RaidAssetInfo aucRaidAsset;
    Spr50DeviceAssetInfo aucSpr50DevAsset;
    uint8_t aucSpare2[4];
    HdAssetInfo aucHdAsset;
    LdAssetInfo aucLdAsset;
    NvmeAssetInfo aucNvmeAsset;
    DiskBackPanelInfo tDiskBackPanel;
    HdStateInfo tHdState;
    HddBackPanelAssetInfo aucHddBackPanelAsset;
};

static_assert(offsetof(RaidArea, dwRaidPhyNum) == 0);
static_assert(offsetof(RaidArea, atRaidPhy) == 4);
static_assert(offsetof(RaidArea, dwNvmePhyNum) == 1448);
static_assert(offsetof(RaidArea, atNvmePhy) == 1452);
static_assert(offsetof(RaidArea, aucRaidAsset) == 2604);
static_assert(offsetof(RaidArea, aucSpr50DevAsset) == 9040);
static_assert(offsetof(RaidArea, aucHdAsset) == 12888);
static_assert(offsetof(RaidArea, aucLdAsset) == 68192);
static_assert(offsetof(RaidArea, aucNvmeAsset) == 96872);
static_assert(offsetof(RaidArea, tDiskBackPanel) == 105072);
static_assert(offsetof(RaidArea, tHdState) == 105592);
static_assert(offsetof(RaidArea, aucHddBackPanelAsset) == 107004);
static_assert(sizeof(RaidArea) == kRaid.size);

}  // namespace midware

#endif
