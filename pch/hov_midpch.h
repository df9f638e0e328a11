// The PCH area: the disk table, then the controller table.
#ifndef HOV_MIDPCH_H
#define HOV_MIDPCH_H

#include "hov_midware.h"
#include "midware/pch.h"

namespace midware {

struct PchArea {
    static constexpr const Module &kModule = kPch;

    PchDiskAssetInfo tDisk;
    PchCtrlAssetInfo tCtrl;
    uint8_t aucUnused[4];
};

static_assert(offsetof(PchArea, tDisk) == 0);
static_assert(offsetof(PchArea, tCtrl) == 8712);
static_assert(sizeof(PchArea) == kPch.size);

// Journal of the custom slot settings: what is written, removed and read, and what the host view made of it.
inline constexpr char kSlotJournal[] = "/data/log/customdiskslot.log";
inline constexpr uint32_t kSlotJournalFlag = 1;

// What a disk without custom settings has.
inline constexpr char kNoSilk[] = "--";

}  // namespace midware

#endif
