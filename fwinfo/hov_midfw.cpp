#include "fwinfo/hov_midfw.h"

#include "dbgout.h"
#include "hov_guard.h"

using namespace midware;

namespace {

constexpr uint8_t kValid = 1;
constexpr uint32_t kLastCard = MW_FW_CARD_MAX - 1;
static_assert(sizeof bmc_version::pcBuildTime == FW_STR_MAX_SIZE &&
              sizeof bios_version::pcBuildTime == FW_STR_MAX_SIZE);

// Whether a version may be shown; logs where not.
bool Valid(uint8_t flag, const char *invalid, uint32_t card, Caller at) {
    if (flag == kValid) return true;
    IDBG_LINUXAPP_AuditOut(kLevelAudit, invalid, at.function, at.line, card);
    return false;
}

int32_t ShowNumber(uint8_t flag, uint32_t number, uint32_t *to, const char *invalid, uint32_t card = 0,
                   Caller at = Here()) {
    if (!Valid(flag, invalid, card, at)) return kFail;
    *to = number;
    return kOk;
}

// Stored texts move as raw bytes.
int32_t CopyText(const char *text, char *to, int32_t length) {
    const auto size = static_cast<size_t>(length);
    memcpy_s(to, size, text, size);
    to[size - 1] = '\0';
    return kOk;
}

int32_t ShowText(uint8_t flag, const char *text, char *to, int32_t length, const char *invalid,
                 Caller at = Here()) {
    return Valid(flag, invalid, 0, at) ? CopyText(text, to, length) : kFail;
}

bool LengthFits(int32_t length, Caller at = Here()) {
    if (length <= FW_STR_MAX_SIZE) return true;
    IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]length %u  over  FW_STR_MAX_SIZE\n", at.function, at.line,
                           length);
    return false;
}

// Prints a stored text, which may come without a terminator, into a buffer of the same size.
void PrintText(const char (&stored)[FW_STR_MAX_SIZE], char *to) {
    char text[FW_STR_MAX_SIZE + 1];
    __builtin_memcpy(text, stored, FW_STR_MAX_SIZE);
    text[FW_STR_MAX_SIZE] = '\0';
    snprintf_s(to, FW_STR_MAX_SIZE, "%s", text);
}

constexpr uint32_t Bits(uint32_t number, uint32_t from, uint32_t width) {
    return number >> from & ((1u << width) - 1);
}

// --- numbers ------------------------------------------------------------------------------------------------------

int32_t MW_GetBmcVersionNumber(uint32_t wVerExt, uint32_t *pdwVersion) {
    all_bmc_version all;
    const int32_t result = MW_GetBmcVerInfo(&all);
    if (result < 0) return result;
    switch (wVerExt) {
        case MW_FW_BMC_MASTER:
            return ShowNumber(all.MBmcValidFlag, all.tMBmcVer.dwBmcVer, pdwVersion,
                              "[%s:%d]all_bmc_version.MBmcValidFlag is invalid\n");
        case MW_FW_BMC_SLAVE:
            return ShowNumber(all.SBmcValidFlag, all.tSBmcVer.dwBmcVer, pdwVersion,
                              "[%s:%d]all_bmc_version.SBmcValidFlag is invalid\n");
        default:
            IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]wVerExt %d is not valid\n", __func__, __LINE__,
                                   wVerExt);
            return kFail;
    }
}

int32_t MW_GetEpldVersionNumber(uint32_t wVerExt, uint32_t *pdwVersion) {
    if (wVerExt > kLastCard) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]MW_GetEpldVersionNumber over max valid Num:%d\n",
                               __func__, __LINE__, kLastCard);
        return kFail;
    }
    all_epld_version all;
    const int32_t result = MW_GetEpldVerInfo(&all);
    if (result < 0) return result;
    if (wVerExt == 0) {
        // Logged under the boot firmware's name on purpose.
        return ShowNumber(all.MEpldValidFlag, all.tMEpldVer.dwVersion, pdwVersion,
                          "[%s:%d]all_boot_version.MBootValidFlag is invalid\n");
    }
    const card_epld_version &card = all.tCardEpldVer[wVerExt];
    return ShowNumber(card.CardEpldValidFlag, card.tEpldVer.dwVersion, pdwVersion,
                      "[%s:%d]all_epld_version.tCardEpldVer[%u].CardEpldValidFlag is invalid\n", wVerExt);
}

int32_t MW_GetFruVersionNumber(uint32_t wVerExt, uint32_t *pdwVersion) {
    if (wVerExt > kLastCard) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]GetFruVersionNumberFromMid over max valid Num:%d\n",
                               __func__, __LINE__, kLastCard);
        return kFail;
    }
    all_fru_version all;
    const int32_t result = MW_GetFruVerInfo(&all);
    if (result < 0) return result;
    if (wVerExt == 0) {
        return ShowNumber(all.MFruValidFlag, all.tMFruVer.dwVersion, pdwVersion,
                          "[%s:%d]all_fru_version.MFruValidFlag is invalid\n");
    }
    const card_fru_version &card = all.tCardFruVer[wVerExt];
    return ShowNumber(card.CardValidFlag, card.tFruVer.dwVersion, pdwVersion,
                      "[%s:%d]all_fru_version.tCardFruVer[%u].CardValidFlag is invalid\n", wVerExt);
}

int32_t MW_GetBootVersionNumber(uint32_t wVerExt, uint32_t *pdwVersion) {
    all_boot_version all;
    const int32_t result = MW_GetBootVerInfo(&all);
    if (result < 0) return result;
    if (wVerExt != 0) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]wVerExt %u is not valid\n", __func__, __LINE__, wVerExt);
        return kFail;
    }
    return ShowNumber(all.MBootValidFlag, all.tMBootVer.dwVersion, pdwVersion,
                      "[%s:%d]all_boot_version.MBootValidFlag is invalid\n");
}

// --- texts --------------------------------------------------------------------------------------------------------

int32_t MW_GetEpldVersionString(uint32_t wVerExt, char *pcVersion, int32_t lLength) {
    uint32_t version = 0;
    if (MW_GetEpldVersionNumber(wVerExt, &version) < 0) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]MW_GetEpldVersionString is invalid\n", __func__,
                               __LINE__);
    }
    snprintf_s(pcVersion, static_cast<size_t>(lLength), "00.00.%02d.%02d", Bits(version, 8, 8),
               Bits(version, 0, 8));
    return kOk;
}

int32_t MW_GetBootVersionString(uint32_t wVerExt, char *pcVersion, int32_t lLength) {
    uint32_t version = 0;
    if (MW_GetBootVersionNumber(wVerExt, &version) < 0) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]MW_GetBootVersionNumber failed\n", __func__, __LINE__);
    }
    snprintf_s(pcVersion, static_cast<size_t>(lLength), "%02x.%02x.%02x.%02x", Bits(version, 24, 8),
               Bits(version, 16, 8), Bits(version, 8, 8), Bits(version, 0, 8));
    return kOk;
}

int32_t MW_GetFruVersionString(uint32_t wVerExt, char *pcVersion, int32_t lLength) {
    uint32_t version = 0;
    const int32_t result = MW_GetFruVersionNumber(wVerExt, &version);
    if (result < 0) return result;
    snprintf_s(pcVersion, static_cast<size_t>(lLength), "%02d.%02d.%04d", Bits(version, 24, 8),
               Bits(version, 16, 8), Bits(version, 0, 16));
    IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]Get fru (%u) Version %s\n", __func__, __LINE__, wVerExt,
                           pcVersion);
    return kOk;
}

int32_t MW_GetBmcVersionString(uint32_t wVerExt, char *pcVersion, int32_t lLength) {
    if (!LengthFits(lLength)) return kFail;
    all_bmc_version all;
    const int32_t result = MW_GetBmcVerInfo(&all);
    if (result < 0) return result;
    switch (wVerExt) {
        case MW_FW_BMC_MASTER:
            return ShowText(all.MBmcValidFlag, all.tMBmcVer.acBmcVer, pcVersion, lLength,
                            "[%s:%d]all_bmc_version.MBmcValidFlag is invalid\n");
        case MW_FW_BMC_SLAVE:
            return ShowText(all.SBmcValidFlag, all.tSBmcVer.acBmcVer, pcVersion, lLength,
                            "[%s:%d]all_bmc_version.SBmcValidFlag is invalid\n");
        case MW_FW_BMC_MASTER_OUT:
            return ShowText(all.MBmcOutValidFlag, all.tMBmcVer.acBmcOutVer, pcVersion, lLength,
                            "[%s:%d]all_bmc_version.MBmcOutValidFlag is invalid\n");
        case MW_FW_BMC_SLAVE_OUT:
            return ShowText(all.SBmcOutValidFlag, all.tSBmcVer.acBmcOutVer, pcVersion, lLength,
                            "[%s:%d]all_bmc_version.SBmcOutValidFlag is invalid\n");
        default: {
            const int line = __LINE__ + 1;
            IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]%s:%d Unsupported  wVerExt %u\n", __func__, line,
                                   __func__, line, wVerExt);
            return kFail;
        }
    }
}

int32_t MW_GetBiosVersionString(uint32_t wVerExt, char *pcVersion, int32_t lLength) {
    if (!LengthFits(lLength)) return kFail;
    all_bios_version all;
    const int32_t result = MW_GetBiosVerInfo(&all);
    if (result < 0) return result;
    switch (wVerExt) {
        case MW_FW_BIOS_MASTER_OUT:
            return ShowText(all.MBiosOutValidFlag, all.tMBiosOutVer.acBiosVer, pcVersion, lLength,
                            "[%s:%d]all_bios_version.MBiosOutValidFlag is invalid\n");
        case MW_FW_BIOS_SLAVE_OUT:
            return ShowText(all.SBiosOutValidFlag, all.tSBiosOutVer.acBiosVer, pcVersion, lLength,
                            "[%s:%d]all_bios_version.SBiosOutValidFlag is invalid\n");
        case MW_FW_BIOS_MASTER:
            return ShowText(all.MBiosValidFlag, all.tMBiosVer.acBiosVer, pcVersion, lLength,
                            "[%s:%d]all_bios_version.MBiosValidFlag is invalid\n");
        case MW_FW_BIOS_SLAVE:
            return ShowText(all.SBiosValidFlag, all.tSBiosVer.acBiosVer, pcVersion, lLength,
                            "[%s:%d]all_bios_version.SBiosValidFlag is invalid\n");
        default:
            hov_printf_s("%s:%d Unsupported  wVerExt %u\n", __func__, __LINE__, wVerExt);
            return kFail;
    }
}

int32_t MW_GetPsuVersionString(uint32_t wVerExt, char *pcVersion, int32_t lLength) {
    if (wVerExt == 0 || wVerExt > MW_FW_PSU_MAX) return kFail;
    psu_version all[MW_FW_PSU_MAX];
    const int32_t result = MW_GetPsuVerInfo(all);
    return result < 0 ? result : CopyText(all[wVerExt - 1].acVersion, pcVersion, lLength);
}

int32_t PrintBuildDateTime(uint8_t flag, const bmc_version &version, char *time, char *date,
                           const char *format, Caller at = Here()) {
    if (flag == 0) return kFail;  // any other value will do here
    PrintText(version.pcBuildTime, time);
    PrintText(version.pcBuildDate, date);
    IDBG_LINUXAPP_AuditOut(kLevelAudit, format, at.function, at.line, time, date);
    return kOk;
}

}  // namespace

int32_t MW_GetBmcVerInfo(void *pInfo) {
    return CopyOut<FwArea>(offsetof(FwArea, t_all_bmc_version), sizeof(all_bmc_version), pInfo);
}

int32_t MW_SetBmcVerInfo(const void *pInfo) {
    return CopyIn<FwArea>(offsetof(FwArea, t_all_bmc_version), sizeof(all_bmc_version), pInfo);
}

int32_t MW_GetBiosVerInfo(void *pInfo) {
    return CopyOut<FwArea>(offsetof(FwArea, t_all_bios_version), sizeof(all_bios_version), pInfo);
}

int32_t MW_SetBiosVerInfo(const void *pInfo) {
    return CopyIn<FwArea>(offsetof(FwArea, t_all_bios_version), sizeof(all_bios_version), pInfo);
}

int32_t MW_GetBootVerInfo(void *pInfo) {
    return CopyOut<FwArea>(offsetof(FwArea, t_all_boot_version), sizeof(all_boot_version), pInfo);
}

int32_t MW_SetBootVerInfo(const void *pInfo) {
    return CopyIn<FwArea>(offsetof(FwArea, t_all_boot_version), sizeof(all_boot_version), pInfo);
}

int32_t MW_GetFruVerInfo(void *pInfo) {
    return CopyOut<FwArea>(offsetof(FwArea, t_all_fru_version), sizeof(all_fru_version), pInfo);
}

int32_t MW_SetFruVerInfo(const void *pInfo) {
    return CopyIn<FwArea>(offsetof(FwArea, t_all_fru_version), sizeof(all_fru_version), pInfo);
}

int32_t MW_GetEpldVerInfo(void *pInfo) {
    return CopyOut<FwArea>(offsetof(FwArea, t_all_epld_version), sizeof(all_epld_version), pInfo);
}

int32_t MW_SetEpldVerInfo(const void *pInfo) {
    return CopyIn<FwArea>(offsetof(FwArea, t_all_epld_version), sizeof(all_epld_version), pInfo);
}

int32_t MW_GetEpldVersion(uint32_t *pdwVersion) {
    if (pdwVersion == nullptr) return kFail;
    Guard<FwArea> area;
    if (!area) return kFail;
    *pdwVersion = area->t_all_epld_version.tMEpldVer.dwVersion;
    return kOk;
}

int32_t MW_GetPsuVerInfo(void *pInfo) {
    return CopyOut<FwArea>(offsetof(FwArea, atPsuVersion), sizeof(FwArea::atPsuVersion), pInfo);
}

int32_t MW_SetPsuVerInfo(uint32_t dwPsu, const void *pInfo) {
    const auto index = static_cast<uint8_t>(dwPsu - 1);  // the low byte alone counts
    if (index >= MW_FW_PSU_MAX) return kFail;
    return CopyIn<FwArea>(offsetof(FwArea, atPsuVersion) + index * sizeof(psu_version), sizeof(psu_version),
                          pInfo);
}

int32_t MW_GetBiosActiveStatus(uint32_t *pdwStatus) {
    return ReadField(&FwArea::dwBiosActiveStatus, pdwStatus);
}

int32_t MW_SetBiosActiveStatus(uint32_t dwStatus) {
    return WriteField(&FwArea::dwBiosActiveStatus, dwStatus);
}

int32_t MW_GetFirmwareVersionInteger(uint32_t wVerType, uint32_t wVerExt, uint32_t *pdwVersion) {
    if (pdwVersion == nullptr) return kFail;
    switch (wVerType) {
        case MW_FW_TYPE_EPLD:
            return MW_GetEpldVersionNumber(wVerExt, pdwVersion);
        case MW_FW_TYPE_BMC:
            return MW_GetBmcVersionNumber(wVerExt, pdwVersion);
        case MW_FW_TYPE_FRU:
            return MW_GetFruVersionNumber(wVerExt, pdwVersion);
        case MW_FW_TYPE_BOOT:
            return MW_GetBootVersionNumber(wVerExt, pdwVersion);
        default:
            return kFail;
    }
}

int32_t MW_GetFirmwareVersionString(uint32_t wVerType, uint32_t wVerExt, char *pcVersion, int32_t lLength) {
    if (pcVersion == nullptr || lLength <= 1) return kFail;
    if (lLength > FW_STR_MAX_SIZE) lLength = FW_STR_MAX_SIZE;
    switch (wVerType) {
        case MW_FW_TYPE_EPLD:
            return MW_GetEpldVersionString(wVerExt, pcVersion, lLength);
        case MW_FW_TYPE_BMC:
            return MW_GetBmcVersionString(wVerExt, pcVersion, lLength);
        case MW_FW_TYPE_FRU:
            return MW_GetFruVersionString(wVerExt, pcVersion, lLength);
        case MW_FW_TYPE_BOOT:
            return MW_GetBootVersionString(wVerExt, pcVersion, lLength);
        case MW_FW_TYPE_BIOS:
            return MW_GetBiosVersionString(wVerExt, pcVersion, lLength);
        case MW_FW_TYPE_PSU:
            return MW_GetPsuVersionString(wVerExt, pcVersion, lLength);
        default: {
            const int line = __LINE__ + 1;
            IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]%s:%d Unsupported  wVerType %u\n", __func__, line,
                                   __func__, line, wVerType);
            return kFail;
        }
    }
}

int32_t MW_GetBmcVerBuildDateTime(char *pcBuildTime, char *pcBuildDate, int32_t Extinfo) {
    if (pcBuildTime == nullptr || pcBuildDate == nullptr) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]pcBuildTime == NULL", __func__, __LINE__);
        return kFail;
    }
    all_bmc_version all;
    const int32_t result = MW_GetBmcVerInfo(&all);
    if (result < 0) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]get t_all_bmc_version failed", __func__, __LINE__);
        return result;
    }
    switch (Extinfo) {
        case MW_FW_BMC_MASTER_OUT:
            return PrintBuildDateTime(all.MBmcOutValidFlag, all.tMBmcVer, pcBuildTime, pcBuildDate,
                                      "[%s:%d]Master Bmc pcBuildTime:%s, pcBuildDate:%s");
        case MW_FW_BMC_SLAVE_OUT:
            return PrintBuildDateTime(all.SBmcOutValidFlag, all.tSBmcVer, pcBuildTime, pcBuildDate,
                                      "[%s:%d]Slave Bmc pcBuildTime:%s, pcBuildDate:%s");
        default:
            IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]Extinfo %d is not invalid\n", __func__, __LINE__,
                                   Extinfo);
            return kFail;
    }
}

int32_t MW_GetBiosVerBuildTime(char *pcBuildTime, int32_t Extinfo) {
    if (pcBuildTime == nullptr) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]pcBuildTime == NULL", __func__, __LINE__);
        return kFail;
    }
    all_bios_version all;
    if (MW_GetBiosVerInfo(&all) < 0) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]get t_all_bios_version failed", __func__, __LINE__);
        return kFail;
    }
    if (Extinfo != MW_FW_BIOS_MASTER_OUT && Extinfo != MW_FW_BIOS_SLAVE_OUT) {
        IDBG_LINUXAPP_AuditOut(kLevelAudit, "[err:%s:%d]Extinfo:%d is invalid\n", __func__, __LINE__,
                               Extinfo);
        return kFail;
    }
    const bios_version &version = Extinfo == MW_FW_BIOS_MASTER_OUT ? all.tMBiosOutVer : all.tSBiosOutVer;
    PrintText(version.pcBuildTime, pcBuildTime);
    IDBG_LINUXAPP_AuditOut(kLevelAudit, "[%s:%d]pcBuildTime:%s", __func__, __LINE__, pcBuildTime);
    return kOk;
}

int32_t MW_GetFirmwareBoardNameString(uint32_t dwIndex, char *pcName, int32_t lLength) {
    if (pcName == nullptr || lLength <= 1 || dwIndex > kLastCard) return kFail;
    if (lLength > FW_STR_MAX_SIZE) lLength = FW_STR_MAX_SIZE;
    all_fru_version all;
    const int32_t result = MW_GetFruVerInfo(&all);
    if (result < 0) return result;
    const card_fru_version &card = all.tCardFruVer[dwIndex];
    const uint8_t flag = dwIndex == 0 ? all.BoardNameValidFlag : card.BoardNameValidFlag;
    return flag == kValid ? CopyText(dwIndex == 0 ? all.acBoardName : card.acBoardName, pcName, lLength)
                          : kFail;
}
