#include "raidcard/hov_midraidcard.h"

#include <algorithm>

#include "hov_guard.h"

using namespace midware;

namespace {

constexpr List kRaidPhys{offsetof(RaidArea, dwRaidPhyNum), offsetof(RaidArea, atRaidPhy), sizeof(RaidPhyInfo),
                         sizeof(RaidPhyInfo)};
constexpr List kNvmePhys{offsetof(RaidArea, dwNvmePhyNum), offsetof(RaidArea, atNvmePhy), sizeof(NvmePhyInfo),
                         sizeof(NvmePhyInfo)};
constexpr uint32_t kHddBackPanelOffset = offsetof(RaidArea, aucHddBackPanelAsset);

// The entry of a backplane, appended when it is new; NULL when the table is full.
DiskBackPanelEntry *BackPanelEntry(const Guard<RaidArea> &area, uint32_t id) {
    DiskBackPanelInfo &table = area->tDiskBackPanel;
    const uint32_t count = std::min(table.dwBackPanelNum, MW_BACK_PANEL_MAX);
    const int64_t found = FindByWord(area, offsetof(RaidArea, tDiskBackPanel.atBackPanel[0].dwBackPanelId),
                                     sizeof(DiskBackPanelEntry), count, id);
    if (found >= 0) return &table.atBackPanel[found];
    if (count == MW_BACK_PANEL_MAX) return nullptr;
    table.atBackPanel[count].dwBackPanelId = id;
    table.dwBackPanelNum = count + 1;
    return &table.atBackPanel[count];
}

// Copies to `kept` the stored states that do not belong to `owner`: how many there are. The semaphore is not held.
uint32_t KeepOthers(const HdStateInfo &stored, uint8_t owner, HdState (&kept)[MW_HD_MAX]) {
    const uint32_t count = std::min(__atomic_load_n(&stored.dwHdStateNum, __ATOMIC_RELAXED), MW_HD_MAX);
    uint32_t k = 0;
    for (uint32_t i = 0; i < count; ++i) {
        const HdState state = stored.atHdState[i];  // once: another process may be writing
        if (state.ucOwner != owner) memcpy_s(&kept[k++], sizeof state, &state, sizeof state);
    }
    return k;
}

}  // namespace

int32_t MW_GetRaidPhyInfo(uint8_t *pOut, uint32_t *pdwCount) {
    return ReadListCountUntested<RaidArea>(kRaidPhys, pOut, pdwCount);
}

int32_t MW_SetRaidPhyInfo(const uint8_t *pIn, uint32_t dwCount) {
    return WriteList<RaidArea>(kRaidPhys, pIn, dwCount);
}

int32_t MW_GetNvmePhyInfo(uint8_t *pOut, uint32_t *pdwCount) {
    return ReadListCountUntested<RaidArea>(kNvmePhys, pOut, pdwCount);
}

int32_t MW_SetNvmePhyInfo(const uint8_t *pIn, uint32_t dwCount) {
    return WriteList<RaidArea>(kNvmePhys, pIn, dwCount);
}

int32_t MW_GetRaidAssetInfo(RaidAssetInfo *ptOut) {
    return CopyOut<RaidArea>(offsetof(RaidArea, aucRaidAsset), sizeof *ptOut, ptOut);
}

int32_t MW_SetRaidAssetInfo(const RaidAssetInfo *ptIn) {
    return CopyIn<RaidArea>(offsetof(RaidArea, aucRaidAsset), sizeof *ptIn, ptIn);
}

int32_t MW_GetSpr50DeviceAssetInfo(Spr50DeviceAssetInfo *ptOut) {
    return CopyOutOf(kRaid, LockText::kNoError, offsetof(RaidArea, aucSpr50DevAsset), sizeof *ptOut, ptOut, memcpy_s,
                     Here());
}

int32_t MW_SetSpr50DeviceAssetInfo(const Spr50DeviceAssetInfo *ptIn) {
    return CopyInto(kRaid, LockText::kNoError, offsetof(RaidArea, aucSpr50DevAsset), sizeof *ptIn, ptIn, memcpy_s,
                    Here());
}

int32_t MW_GetHdAssetInfo(HdAssetInfo *ptOut) {
    return CopyOut<RaidArea>(offsetof(RaidArea, aucHdAsset), sizeof *ptOut, ptOut);
}

int32_t MW_SetHdAssetInfo(const HdAssetInfo *ptIn) {
    return CopyIn<RaidArea>(offsetof(RaidArea, aucHdAsset), sizeof *ptIn, ptIn);
}

int32_t MW_GetLdAssetInfo(LdAssetInfo *ptOut) {
    return CopyOut<RaidArea>(offsetof(RaidArea, aucLdAsset), sizeof *ptOut, ptOut);
}

int32_t MW_SetLdAssetInfo(const LdAssetInfo *ptIn) {
    return CopyIn<RaidArea>(offsetof(RaidArea, aucLdAsset), sizeof *ptIn, ptIn);
}

int32_t MW_GetNvmeAssetInfo(NvmeAssetInfo *ptOut) {
    return CopyOut<RaidArea>(offsetof(RaidArea, aucNvmeAsset), sizeof *ptOut, ptOut);
}

int32_t MW_SetNvmeAssetInfo(const NvmeAssetInfo *ptIn) {
    return CopyIn<RaidArea>(offsetof(RaidArea, aucNvmeAsset), sizeof *ptIn, ptIn);
}

int32_t MW_GetDiskBackPanelInfo(DiskBackPanelInfo *ptOut) {
    return CopyOut<RaidArea>(offsetof(RaidArea, tDiskBackPanel), sizeof *ptOut, ptOut);
}

int32_t MW_SetDiskBackPanelTempInfo(uint32_t dwKind, const DiskBackPanelEntry *ptIn) {
    if (ptIn == nullptr) return kFail;
    Guard<RaidArea> area;
    if (!area) return kFail;
    DiskBackPanelEntry *entry = BackPanelEntry(area, ptIn->dwBackPanelId);
    if (entry == nullptr) return kOk;
    if (dwKind == 0) entry->dwTemp0 = ptIn->dwTemp0;
    if (dwKind == 1) entry->dwTemp1 = ptIn->dwTemp1;
    return kOk;
}

int32_t MW_SetDiskBackPanelPowerInfo(const DiskBackPanelEntry *ptIn) {
    if (ptIn == nullptr) return kFail;
    Guard<RaidArea> area;
    if (!area) return kFail;
    DiskBackPanelEntry *entry = BackPanelEntry(area, ptIn->dwBackPanelId);
    if (entry != nullptr) entry->dwPower = ptIn->dwPower;
    return kOk;
}

int32_t MW_GetAllDiskBackBoardPowerInfo(uint32_t *pdwPower) {
    if (pdwPower == nullptr) return kFail;
    Guard<RaidArea> area;
    if (!area) return kFail;
    *pdwPower = area->tDiskBackPanel.dwAllDiskBackBoardPower;
    return kOk;
}

int32_t MW_SetAllDiskBackBoardPowerInfo(uint32_t dwPower) {
    Guard<RaidArea> area;
    if (!area) return kFail;
    area->tDiskBackPanel.dwAllDiskBackBoardPower = dwPower;
    return kOk;
}

int32_t MW_GetHDStateInfo(HdStateInfo *ptOut) {
    return CopyOut<RaidArea>(offsetof(RaidArea, tHdState), sizeof *ptOut, ptOut);
}

int32_t MW_SetHDStateInfo(const HdStateInfo *ptIn, uint8_t ucOwner) {
    if (ptIn == nullptr) return kFail;
    const RaidArea *shared = Unguarded<RaidArea>();
    if (shared == nullptr) return kFail;

    HdStateInfo merged;
    memset_s(&merged, sizeof merged, 0, sizeof merged);
    const uint32_t kept = KeepOthers(shared->tHdState, ucOwner, merged.atHdState);
    merged.dwHdStateNum = kept + ptIn->dwHdStateNum;
    // The bounded copy refuses what does not fit. Where size_t has 32 bits the product must not wrap into fitting.
    const uint64_t size = uint64_t{ptIn->dwHdStateNum} * sizeof(HdState);
    memcpy_s(merged.atHdState + kept, (MW_HD_MAX - kept) * sizeof(HdState), ptIn->atHdState,
             static_cast<size_t>(std::min<uint64_t>(size, SIZE_MAX)));

    return CopyIn<RaidArea>(offsetof(RaidArea, tHdState), sizeof merged, &merged);
}

int32_t MW_GetHddBackPanelAssetInfo(HddBackPanelAssetInfo *ptOut) {
    if (ptOut == nullptr || !AttachOrLog(kRaid, "g_ptRaidCollectionAddr")) return kFail;
    return CopyOutOf(kRaid, LockText::kAfter, kHddBackPanelOffset, sizeof *ptOut, ptOut, hov_memcpy_s, Here());
}

int32_t MW_SetHddBackPanelAssetInfo(const HddBackPanelAssetInfo *ptIn) {
    if (ptIn == nullptr || !AttachOrLog(kRaid, "g_ptRaidCollectionAddr")) return kFail;
    Guard<RaidArea> area(LockText::kLine);
    if (!area) return kFail;
    HddBackPanelAssetInfo &block = area->aucHddBackPanelAsset;
    hov_memset_s(&block, sizeof block, 0, sizeof block);
    hov_memcpy_s(&block, sizeof block, ptIn, sizeof block);
    return kOk;
}
