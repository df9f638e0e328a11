#include "pem/hov_midpem.h"

#include "dbgout.h"
#include "hov_guard.h"
#include "hov_health.h"

using namespace midware;

namespace {

constexpr List kOnlinePhy{offsetof(PemArea, dwPemNum), offsetof(PemArea, atPemOnlinePhy),
                          sizeof(PemOnlinePhy), sizeof(PemOnlinePhy)};
constexpr List kPmbusPhy{offsetof(PemArea, dwPemNum), offsetof(PemArea, atPemPmbusPhy), sizeof(PemPmbusPhy),
                         sizeof(PemPmbusPhy)};
constexpr List kAssets{offsetof(PemArea, dwPemNum), offsetof(PemArea, atPemAsset), sizeof(PemAsset),
                       sizeof(PemAsset)};

constexpr size_t kStatus = offsetof(PemArea, atPemAsset) + offsetof(PemAsset, tStatusInfo);
constexpr HealthTable kHealth{offsetof(PemArea, dwEntireStatus),
                              offsetof(PemArea, atPemAsset) + offsetof(PemAsset, dwPemIndex),
                              kStatus + offsetof(PemStatusInfo, dwHealthyStatus), sizeof(PemAsset),
                              kStatus + offsetof(PemStatusInfo, dwHealthyAux)};

// A place in the asset record of this index. Index -1 is what PEM number 0 leads to.
constexpr int64_t AssetAt(int64_t index, size_t place) {
    return static_cast<int64_t>(offsetof(PemArea, atPemAsset) + place) +
           index * static_cast<int64_t>(sizeof(PemAsset));
}

constexpr int64_t IndexOf(uint32_t pem_number) { return static_cast<int64_t>(pem_number) - 1; }

int32_t ReadAssetWord(int64_t index, size_t place, uint32_t *to, Caller at = Here()) {
    Guard<PemArea> area(at);
    if (!area) return kFail;
    const auto *word = area.At<uint32_t>(AssetAt(index, place));
    if (word == nullptr) return kFail;
    *to = *word;
    return kOk;
}

// One of the identity texts, and what is logged without a buffer or a valid text.
struct Identity {
    size_t block;
    const char *no_buffer;
    const char *not_valid;
};

int32_t ReadIdentity(const Identity &identity, uint32_t pem_number, char *to, Caller at = Here()) {
    if (to == nullptr) {
        IDBG_LINUXAPP_DbgOut(kLevelError, identity.no_buffer, kPem.source, at.line);
        return kFail;
    }
    if (!Attach(kPem)) {
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]MW_MidMemCheck failed", kPem.source, at.line);
        return kFail;
    }
    // A first look at the count, without the semaphore.
    const auto *stored = static_cast<const uint32_t *>(PointerOf(kPem));
    if (stored == nullptr) return kFail;
    const uint32_t limit = __atomic_load_n(stored, __ATOMIC_RELAXED);
    if (pem_number > limit) {
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]pem index %d is more than max count %d", kPem.source,
                             at.line, pem_number, limit);
        return kFail;
    }

    Guard<PemArea> area(at);
    if (!area) return kFail;
    const uint32_t count = area->dwPemNum;
    for (uint32_t i = 0; i < count; ++i) {
        const auto *number = area.At<uint32_t>(AssetAt(i, offsetof(PemAsset, dwPemIndex)));
        if (number == nullptr) return kFail;
        if (*number != pem_number) continue;
        const auto *block = area.At<PemText>(AssetAt(i, identity.block));
        if (block == nullptr) return kFail;
        if (block->dwRes != 0) {
            IDBG_LINUXAPP_DbgOut(kLevelError, identity.not_valid, kPem.source, at.line);
            continue;
        }
        char text[MW_PEM_TEXT_SIZE + 1] = {};  // the stored text may come without a terminator
        __builtin_memcpy(text, block->acText, MW_PEM_TEXT_SIZE);
        snprintf_s(to, MW_PEM_TEXT_SIZE, "%s", text);
        return kOk;
    }
    return kFail;
}

constexpr size_t kBurn = offsetof(PemAsset, tBurnInfo);

constexpr Identity kManufacturer{
    kBurn + offsetof(PemBurnInfo, tPemProductInfo),
    "[%s:%d]MW_GetPemPowerManufacturerByIndex failed! input para PowerManufacture is NULL!",
    "[%s:%d]tPemProductInfo.dwRes is not 0"};
// The first message names the manufacturer's parameter on purpose.
constexpr Identity kModel{kBurn + offsetof(PemBurnInfo, tPemModelNam),
                          "[%s:%d]MW_GetPemModelByIndex failed! input para PowerManufacture is NULL!",
                          "[%s:%d]failed! tPemModelNam.dwRes is not 0"};
constexpr Identity kSerialNumber{kBurn + offsetof(PemBurnInfo, tPemProductSerNum),
                                 "[%s:%d]MW_GetPemSNByIndex failed! input para pSN is NULL!",
                                 "[%s:%d]tPemProductSerNum.dwRes is not 0"};

// This process's reports of a lost redundancy in a row. Used below the module's semaphore.
uint8_t g_ucRedundancyLosses;
constexpr uint8_t kLossesIgnored = 2;

}  // namespace

int32_t MW_GetPemCount(uint32_t *pdwCount) { return ReadField(&PemArea::dwPemNum, pdwCount); }

int32_t MW_GetMaxPemCount(uint32_t *pdwCount) { return ReadFieldUntested(&PemArea::dwPemNum, pdwCount); }

int32_t MW_SetPemCount(uint32_t dwCount) { return WriteField(&PemArea::dwPemNum, dwCount); }

int32_t MW_GetEntireStatus(uint32_t *pdwStatus) {
    return ReadFieldUntested(&PemArea::dwEntireStatus, pdwStatus);
}

int32_t MW_GetRedundanceStatus(uint32_t *pdwStatus) {
    return ReadFieldUntested(&PemArea::dwRedundanceStatus, pdwStatus);
}

int32_t MW_GetMixedStatus(uint32_t *pdwStatus) {
    return ReadFieldUntested(&PemArea::dwMixedStatus, pdwStatus);
}

int32_t MW_GetPemOnlinePhyInfo(PemOnlinePhy *ptInfo, uint32_t *pdwCount) {
    return ReadList<PemArea>(kOnlinePhy, ptInfo, pdwCount);
}

int32_t MW_GetPemPmbusPhyInfo(PemPmbusPhy *ptInfo, uint32_t *pdwCount) {
    return ReadList<PemArea>(kPmbusPhy, ptInfo, pdwCount);
}

int32_t MW_GetPemAssetInfo(PemAsset *ptInfo, uint32_t *pdwCount) {
    return ReadList<PemArea>(kAssets, ptInfo, pdwCount);
}

int32_t MW_SetPemOnlinePhyInfo(const PemOnlinePhy *ptInfo, uint32_t dwCount) {
    return WriteList<PemArea>(kOnlinePhy, ptInfo, dwCount);
}

int32_t MW_SetPemPmbusPhyInfo(const PemPmbusPhy *ptInfo, uint32_t dwCount) {
    return WriteList<PemArea>(kPmbusPhy, ptInfo, dwCount);
}

int32_t MW_GetPemAlarmInfoByIndex(uint32_t dwAlarmKey, PemAlarmPart *ptAlarm) {
    if (ptAlarm == nullptr) return kFail;
    Guard<PemArea> area;
    if (!area) return kFail;
    const uint32_t count = area->dwPemNum;
    for (uint32_t i = 0; i < count; ++i) {
        const auto *part = area.At<PemAlarmPart>(AssetAt(i, offsetof(PemAsset, tAlarmPart)));
        if (part == nullptr) return kFail;
        if (part->tState.dwAlarmKey != dwAlarmKey) continue;
        memcpy_s(ptAlarm, sizeof *ptAlarm, part, sizeof *part);
        return kOk;
    }
    return kOk;  // no alarm part is no error
}

int32_t MW_GetPemPowerManufacturerByIndex(uint32_t dwPemNumber, char *pcText) {
    return ReadIdentity(kManufacturer, dwPemNumber, pcText);
}

int32_t MW_GetPemModelByIndex(uint32_t dwPemNumber, char *pcText) {
    return ReadIdentity(kModel, dwPemNumber, pcText);
}

int32_t MW_GetPemSNByIndex(uint32_t dwPemNumber, char *pcText) {
    return ReadIdentity(kSerialNumber, dwPemNumber, pcText);
}

int32_t MW_GetPemPresentStatus(uint32_t dwPemNumber, uint32_t *pdwPresent) {
    return ReadAssetWord(IndexOf(dwPemNumber), offsetof(PemAsset, dwPresentStatus), pdwPresent);
}

int32_t MW_GetPemPresentStaByIndex(uint32_t dwIndex) {
    uint32_t present = 0;
    const int32_t result = ReadAssetWord(dwIndex, offsetof(PemAsset, dwPresentStatus), &present);
    return result < 0 ? result : static_cast<int32_t>(present);
}

int32_t MW_GetPemPresentChCntByIndex(uint32_t dwIndex, uint32_t *pdwCount) {
    return ReadAssetWord(dwIndex, offsetof(PemAsset, dwPresentChCnt), pdwCount);
}

int32_t MW_SetPemPresentStatus(uint32_t dwPemNumber, uint32_t dwPresent) {
    Guard<PemArea> area;
    if (!area) return kFail;
    auto *pem = area.At<PemPresence>(AssetAt(IndexOf(dwPemNumber), 0));
    if (pem == nullptr) return kFail;
    pem->dwPemIndex = dwPemNumber;
    pem->dwLastPresentStatus = pem->dwPresentStatus;
    if (pem->dwPresentStatus == 0 && dwPresent == 1) ++pem->dwPresentChCnt;
    pem->dwPresentStatus = dwPresent;
    return kOk;
}

int32_t MW_SetPemAssetBurnInfo(uint32_t dwPemNumber, const PemBurnInfo *ptInfo) {
    if (dwPemNumber > MW_PEM_MAX) return kFail;
    return CopyIn<PemArea>(AssetAt(IndexOf(dwPemNumber), kBurn), sizeof *ptInfo, ptInfo);
}

int32_t MW_SetPemAssertBurnRevision(uint32_t dwPemNumber, const PemText *ptRevision) {
    if (dwPemNumber == 0) return kFail;
    return CopyInto(kPem, kPem.lock_text,
                    AssetAt(IndexOf(dwPemNumber), kBurn + offsetof(PemBurnInfo, tPemRevision)),
                    sizeof *ptRevision, ptRevision, hov_memcpy_s, Here());
}

int32_t MW_SetPemAssetStatusInfoExceptHealthStatus(uint32_t dwPemNumber, const PemStatusInfo *ptInfo) {
    if (dwPemNumber > MW_PEM_MAX || ptInfo == nullptr) return kFail;
    Guard<PemArea> area;
    if (!area) return kFail;
    auto *to = static_cast<char *>(
        area.Reach(AssetAt(IndexOf(dwPemNumber), offsetof(PemAsset, tStatusInfo)), sizeof *ptInfo));
    const auto *from = reinterpret_cast<const char *>(ptInfo);
    constexpr size_t kHead = offsetof(PemStatusInfo, dwHealthyAux);
    constexpr size_t kTail = offsetof(PemStatusInfo, dwHealthyStatus) + sizeof ptInfo->dwHealthyStatus;
    memcpy_s(to, kHead, from, kHead);
    memcpy_s(to + kTail, sizeof *ptInfo - kTail, from + kTail, sizeof *ptInfo - kTail);
    return kOk;
}

int32_t MW_SetPemAssetAlarmPartInfo(uint32_t dwPemNumber, const PemAlarmState *ptState) {
    if (dwPemNumber > MW_PEM_MAX) return kFail;
    return CopyIn<PemArea>(AssetAt(IndexOf(dwPemNumber), offsetof(PemAsset, tAlarmPart)), sizeof *ptState,
                           ptState);
}

int32_t MW_SetPemOtherStatus(int32_t lMixed, int32_t lRedundancy, uint32_t dwValue) {
    Guard<PemArea> area;
    if (!area) return kFail;
    constexpr size_t kFlag = offsetof(PemAlarmPart, ucMixedFlag);
    constexpr size_t kValue = offsetof(PemAlarmPart, ucMixedValue) - kFlag;
    const uint32_t count = area->dwPemNum;
    auto *marks =
        static_cast<uint8_t *>(area.ReachRecords(AssetAt(0, offsetof(PemAsset, tAlarmPart) + kFlag), count,
                                                 kValue + sizeof(uint8_t), sizeof(PemAsset)));
    if (marks == nullptr) return kFail;

    area->dwMixedStatus = static_cast<uint32_t>(lMixed);
    if (lRedundancy == static_cast<int32_t>(MW_PEM_REDUNDANT)) {
        area->dwRedundanceStatus = MW_PEM_REDUNDANT;
        g_ucRedundancyLosses = 0;
    } else {
        g_ucRedundancyLosses = static_cast<uint8_t>((g_ucRedundancyLosses & 15) + 1);
        if (g_ucRedundancyLosses > kLossesIgnored) {
            g_ucRedundancyLosses = kLossesIgnored + 1;
            area->dwRedundanceStatus = MW_PEM_REDUNDANCY_LOST;
        }
    }

    const bool mixed = lMixed == static_cast<int32_t>(MW_PEM_MIXED);
    for (uint32_t i = 0; i < count; ++i, marks += sizeof(PemAsset)) {
        marks[0] = mixed ? 1 : 0;
        marks[kValue] = mixed ? static_cast<uint8_t>(dwValue) : 255;
    }
    return kOk;
}

int32_t MW_GetPemMode(PemMode *ptMode) {
    Guard<PemArea> area;
    if (!area) return kFail;
    memcpy_s(ptMode, sizeof *ptMode, area.Reach(offsetof(PemArea, dwAllowActiveStandby), sizeof *ptMode),
             sizeof *ptMode);
    return kOk;
}

int32_t MW_GetPemModeAllowActiveStandby(uint32_t *pdwAllow) {
    return ReadField(&PemArea::dwAllowActiveStandby, pdwAllow);
}

int32_t MW_SetPemAllowActiveStandby(uint32_t dwAllow) {
    return WriteField(&PemArea::dwAllowActiveStandby, dwAllow);
}

int32_t MW_GetPemCfgMode(PemModeRecord *ptMode) {
    return CopyOut<PemArea>(offsetof(PemArea, tPemCfgMode), sizeof *ptMode, ptMode);
}

int32_t MW_SetPemCfgMode(const PemModeRecord *ptMode) {
    return CopyIn<PemArea>(offsetof(PemArea, tPemCfgMode), sizeof *ptMode, ptMode);
}

int32_t MW_GetPemCurrentMode(PemModeRecord *ptMode) {
    return CopyOut<PemArea>(offsetof(PemArea, tPemCurrentMode), sizeof *ptMode, ptMode);
}

int32_t MW_SetPemCurrentMode(const PemModeRecord *ptMode) {
    return CopyIn<PemArea>(offsetof(PemArea, tPemCurrentMode), sizeof *ptMode, ptMode);
}

int32_t MW_ClearAssetInfo(void) {
    Guard<PemArea> area;
    if (!area) return kFail;
    memset_s(area->atPemAsset, sizeof area->atPemAsset, 0, sizeof area->atPemAsset);
    return kOk;
}

int32_t MW_ClearPhyInfo(void) {
    Guard<PemArea> area;
    if (!area) return kFail;
    constexpr size_t kSize = offsetof(PemArea, atPemAsset) - offsetof(PemArea, atPemOnlinePhy);
    memset_s(area.Reach(offsetof(PemArea, atPemOnlinePhy), kSize), kSize, 0, kSize);
    return kOk;
}

int32_t MW_InitPemHealthyStatusInfo(void) { return InitHealth(kPem, kHealth, kPem.lock_text, Here()); }

int32_t MW_SetPemHealthyStatusInfo(uint32_t dwPemNumber, uint32_t dwHealth, uint32_t dwTotalHealth) {
    return SetHealth(kPem, kHealth, kPem.lock_text, dwPemNumber, dwHealth, dwTotalHealth, Here());
}

int32_t MW_GetPemHealthyStatusInfoByInst(uint32_t dwPemNumber, uint32_t *pdwHealth) {
    return GetHealthByInstance(kPem, kHealth, LockText::kLineError, dwPemNumber, pdwHealth, Here());
}

int32_t MW_GetPemHealthyStatusInfoByTotal(uint32_t *pdwHealth) {
    return GetHealthTotal(kPem, kHealth, kPem.lock_text, pdwHealth, Here());
}
