#include "pch/hov_midpch.h"

#include <algorithm>

#include "dbgout.h"
#include "hov_guard.h"
#include "oal.h"

using namespace midware;

namespace {

constexpr uint32_t kMaxDisks = MW_PCH_DISK_MAX - 1;  // the host view takes one less than the table holds

int32_t ReadWord(uint32_t offset, uint32_t *to, Caller at) {
    if (to == nullptr) return kFail;
    Guard<PchArea> area(at);
    if (!area) return kFail;
    *to = Load<uint32_t>(area.Reach(offset, sizeof *to));
    return kOk;
}

// The bounded copy of a text that need not be terminated in its field.
template <size_t To, size_t From>
void CopyText(char (&to)[To], const char (&from)[From]) {
    strncpy_s(to, To, from, strnlen_s(from, From));
}

uint8_t HostIfType(uint8_t type) {
    switch (type) {
        case MW_PCH_IF_SATA: return MW_HD_IF_SATA;
        case MW_PCH_IF_PCIE: return MW_HD_IF_PCIE;
        default: return type;
    }
}

uint8_t HostLinkRate(double rate) {
    uint32_t whole = 0;  // also for NaN
    if (rate >= 4294967296.0) {
        whole = UINT32_MAX;
    } else if (rate > 0) {
        whole = static_cast<uint32_t>(rate);
    }
    switch (const auto code = static_cast<uint8_t>(whole)) {
        case 1: return MW_HD_LINK_1_5G;
        case 3: return MW_HD_LINK_3G;
        case 6: return MW_HD_LINK_6G;
        default: return code;
    }
}

void FillAddress(HostPchHdEntry &entry, const PchCtrlInfo &ctrl) {
    char text[sizeof "0000:00:00.0"] = {};
    hov_snprintf_s(text, sizeof text, "%04x:%02x:%02x.%01x", 0u, ctrl.dwBus, ctrl.dwDev, ctrl.dwFunc);
    CopyText(entry.acBdf, text);
}

// Attaches the custom slot number and label. What cannot be read is what `custom` holds from the disk before.
void getPchSlotInfo(HostPchHdEntry &entry, const PchDiskInfo &disk, const PchCtrlInfo &ctrl, PchDiskCustomCfg &custom) {
    custom.dwBus = ctrl.dwBus;
    custom.dwDev = ctrl.dwDev;
    custom.dwFunc = ctrl.dwFunc;
    custom.ucCpuId = ctrl.ucCpuId;
    custom.ucPort = static_cast<uint8_t>(disk.wPort);
    MW_LoadCustomPchDiskConfig(&custom, MW_PCH_CFG_SLOT);
    MW_LoadCustomPchDiskConfig(&custom, MW_PCH_CFG_SILK);
    entry.ucSlot = custom.ucSlot;
    CopyText(entry.acSilkInfo, custom.acSilkInfo);
    const int line = __LINE__;
    OAL_Log2File(kSlotJournal, kSlotJournalFlag, "[Line:%d Func:%s]%s %d:Pch Disk get ucslot:%d pSilkInfo:%s \n", line,
                 __func__, __func__, line, entry.ucSlot, entry.acSilkInfo);
}

void FillEntry(HostPchHdEntry &entry, const PchDiskInfo &disk, const PchCtrlInfo &ctrl, PchDiskCustomCfg &custom) {
    entry.ucSlot = MW_HD_NO_SLOT;
    entry.ucCpuId = ctrl.ucCpuId;
    FillAddress(entry, ctrl);
    entry.wPort = disk.wPort;
    strncpy_s(entry.acVendor, sizeof entry.acVendor, disk.acVendor, sizeof disk.acVendor);
    CopyText(entry.acModel, disk.acModel);
    getPchSlotInfo(entry, disk, ctrl, custom);
    CopyText(entry.acSerialNum, disk.acSerialNum);
    CopyText(entry.acFwVersion, disk.acFwVersion);
    entry.dwInfoC = disk.dwInfoC;
    entry.ucInfoA = disk.ucInfoA;
    entry.ucInfoB = disk.ucInfoB;
    entry.ucIfType = HostIfType(disk.ucIfType);
    entry.ucLinkRate = HostLinkRate(disk.dLinkRate);
    entry.ucRotateRate = static_cast<uint8_t>(RotateRateChange(disk.dwRotateRate));
    PCH_ParseATAVendorAndModel(entry.acVendor, entry.acModel);
}

}  // namespace

int32_t MW_GetPCHDiskCount(uint32_t *pdwCount) {
    return ReadWord(offsetof(PchArea, tDisk.dwPCHDiskNum), pdwCount, Here());
}

int32_t MW_GetPCHCtrlCount(uint32_t *pdwCount) {
    return ReadWord(offsetof(PchArea, tCtrl.dwPCHCtrlNum), pdwCount, Here());
}

int32_t MW_GetPCHDiskAssetInfo(PchDiskAssetInfo *ptOut) {
    return CopyOut<PchArea>(offsetof(PchArea, tDisk), sizeof *ptOut, ptOut);
}

int32_t MW_SetPCHDiskAssetInfo(const PchDiskAssetInfo *ptIn) {
    return CopyIn<PchArea>(offsetof(PchArea, tDisk), sizeof *ptIn, ptIn);
}

int32_t MW_GetPCHCtrlAssetInfo(PchCtrlAssetInfo *ptOut) {
    return CopyOut<PchArea>(offsetof(PchArea, tCtrl), sizeof *ptOut, ptOut);
}

int32_t MW_SetPCHCtrlAssetInfo(const PchCtrlAssetInfo *ptIn) {
    return CopyIn<PchArea>(offsetof(PchArea, tCtrl), sizeof *ptIn, ptIn);
}

int32_t HOST_GetPCHHdInfo(HostPchHdInfo *ptOut) {
    PchCtrlAssetInfo ctrls;
    PchDiskAssetInfo disks;
    memset_s(&ctrls, sizeof ctrls, 0, sizeof ctrls);
    memset_s(&disks, sizeof disks, 0, sizeof disks);
    if (MW_GetPCHCtrlAssetInfo(&ctrls) != kOk || MW_GetPCHDiskAssetInfo(&disks) != kOk) return kFail;

    if (disks.dwPCHDiskNum > kMaxDisks) {
        IDBG_LINUXAPP_Runtime_DbgOut(kLevelTrace, "[%s:%d] PCHDiskNum (%d) is up to max(64) ", kPch.source, __LINE__,
                                     disks.dwPCHDiskNum);
        return kFail;
    }
    ptOut->dwHdNum = disks.dwPCHDiskNum;

    PchDiskCustomCfg custom{};
    custom.ucSlot = MW_HD_NO_SLOT;
    CopyText(custom.acSilkInfo, kNoSilk);
    const uint32_t joined = std::min(ctrls.dwPCHCtrlNum, MW_PCH_CTRL_MAX);
    for (uint32_t j = 0; j < joined; ++j) {
        const PchCtrlInfo &ctrl = ctrls.atPchCtrl[j];
        for (uint32_t i = 0; i < disks.dwPCHDiskNum; ++i) {
            const PchDiskInfo &disk = disks.atPchDisk[i];
            if (disk.dwCtrlId == ctrl.dwCtrlId) FillEntry(ptOut->atHd[i], disk, ctrl, custom);
        }
    }
    if (ctrls.dwPCHCtrlNum > joined) {
        IDBG_LINUXAPP_Runtime_DbgOut(kLevelTrace, "[%s:%d] PCHConreollerNum (%d) is up to max(16)  ", kPch.source,
                                     __LINE__, ctrls.dwPCHCtrlNum);
    }
    return kOk;
}

int32_t RotateRateChange(uint32_t dwRpm) {
    switch (dwRpm) {
        case 5400: return MW_HD_RPM_5400;
        case 7200: return MW_HD_RPM_7200;
        case 10000: return MW_HD_RPM_10000;
        case 10025: return MW_HD_RPM_10025;
        case 15000: return MW_HD_RPM_15000;
        case 1: return MW_HD_RPM_NON_ROTATING;
        default: return MW_HD_RPM_OTHER;
    }
}
