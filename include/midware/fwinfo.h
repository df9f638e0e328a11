/* Firmware versions: blocks as collectors write them, and single versions as numbers or as text to show.
 * Semaphore 12301. */
#ifndef MIDWARE_FWINFO_H
#define MIDWARE_FWINFO_H

#include "midware/base.h"

#define FW_STR_MAX_SIZE 64   /* the longest version text that is handed out, with its terminator */
#define MW_FW_CARD_MAX 48    /* card records; cards 1 to 47 can be selected, record 0 never */
#define MW_FW_PSU_MAX 4
#define MW_FW_PSU_TEXT_SIZE 65

/* wVerType of the selectors. */
#define MW_FW_TYPE_EPLD 7u
#define MW_FW_TYPE_BMC 14u
#define MW_FW_TYPE_FRU 15u
#define MW_FW_TYPE_BOOT 20u
#define MW_FW_TYPE_BIOS 26u
#define MW_FW_TYPE_PSU 38u

/* wVerExt of the selectors, by type. EPLD and FRU: 0 main board, 1 to 47 card. Boot: 0. PSU: 1 to 4. */
#define MW_FW_BMC_MASTER 0u
#define MW_FW_BMC_SLAVE 1u
#define MW_FW_BMC_MASTER_OUT 2u /* texts only; the outward version is the one that users are shown */
#define MW_FW_BMC_SLAVE_OUT 3u
#define MW_FW_BIOS_MASTER_OUT 2u
#define MW_FW_BIOS_SLAVE_OUT 3u
#define MW_FW_BIOS_MASTER 4u
#define MW_FW_BIOS_SLAVE 5u

/* Records have no padding between their fields. A flag means valid where it is exactly 1. Texts are NUL-terminated. */
#pragma pack(push, 1)

/* One image of the management controller's firmware. */
typedef struct bmc_version {
    uint32_t dwBmcVer;
    uint8_t aucReserved[12];
    char acBmcVer[FW_STR_MAX_SIZE];
    char acBmcOutVer[FW_STR_MAX_SIZE]; /* outward version */
    char pcBuildTime[FW_STR_MAX_SIZE];
    char pcBuildDate[FW_STR_MAX_SIZE];
} bmc_version;

/* Both images, 548 bytes. */
typedef struct all_bmc_version {
    bmc_version tMBmcVer; /* master */
    uint8_t MBmcValidFlag;
    uint8_t MBmcOutValidFlag;
    bmc_version tSBmcVer; /* slave */
    uint8_t SBmcValidFlag;
    uint8_t SBmcOutValidFlag;
} all_bmc_version;

/* One BIOS version. By SMBIOS it is the BIOS Version and BIOS Release Date of type 0. */
typedef struct bios_version {
    char acBiosVer[FW_STR_MAX_SIZE];
    char pcBuildTime[FW_STR_MAX_SIZE];
} bios_version;

/* Outward and inward versions of both BIOS images, 516 bytes. */
typedef struct all_bios_version {
    bios_version tMBiosOutVer;
    uint8_t MBiosOutValidFlag;
    bios_version tSBiosOutVer;
    uint8_t SBiosOutValidFlag;
    bios_version tMBiosVer;
    uint8_t MBiosValidFlag;
    bios_version tSBiosVer;
    uint8_t SBiosValidFlag;
} all_bios_version;

/* A version by number, with what the collector knows besides; the library reads the number alone. */
typedef struct fw_version {
    uint32_t dwVersion;     /* how its bytes make a text: MW_GetFirmwareVersionString */
    uint32_t dwDeviceId;    /* the part that carries it, as it names itself: JTAG IDCODE, PCI IDs; 0 unknown */
    uint32_t dwBoardId;     /* the board that carries the part; 0 unknown */
    uint32_t dwUpdateTime;  /* when the collector read it, seconds since 1970 */
    char acVersion[FW_STR_MAX_SIZE];   /* the version in the part's own wording */
    char acBuildTime[FW_STR_MAX_SIZE];
} fw_version;

/* Boot firmware, 290 bytes. */
typedef struct all_boot_version {
    fw_version tMBootVer;
    uint8_t MBootValidFlag;
    fw_version tSBootVer; /* the slave's is kept, and never read by the library */
    uint8_t SBootValidFlag;
} all_boot_version;

typedef struct card_epld_version {
    fw_version tEpldVer;
    uint8_t CardEpldValidFlag;
} card_epld_version;

/* Programmable logic of the main board and the cards, 7105 bytes. */
typedef struct all_epld_version {
    fw_version tMEpldVer;
    uint8_t MEpldValidFlag;
    card_epld_version tCardEpldVer[MW_FW_CARD_MAX];
} all_epld_version;

typedef struct card_fru_version {
    fw_version tFruVer;
    uint8_t CardValidFlag;
    char acBoardName[FW_STR_MAX_SIZE];
    uint8_t BoardNameValidFlag;
} card_fru_version;

/* Identity data (FRU) of the main board and the cards, 10290 bytes. */
typedef struct all_fru_version {
    fw_version tMFruVer;
    uint8_t MFruValidFlag;
    card_fru_version tCardFruVer[MW_FW_CARD_MAX];
    char acBoardName[FW_STR_MAX_SIZE]; /* of the main board */
    uint8_t BoardNameValidFlag;
} all_fru_version;

/* Firmware of one power supply, 81 bytes. */
typedef struct psu_version {
    uint32_t dwVersion;         /* of the supply as a whole */
    uint32_t dwPrimaryVersion;  /* of the controller on the input's side */
    uint32_t dwSecondaryVersion; /* of the one on the output's side */
    uint32_t dwCommVersion;     /* of the one that speaks PMBus */
    char acVersion[MW_FW_PSU_TEXT_SIZE];
} psu_version;

#pragma pack(pop)

MW_SIZE_IS(bmc_version, 272);
MW_OFFSET_IS(bmc_version, acBmcVer, 16);
MW_OFFSET_IS(bmc_version, acBmcOutVer, 80);
MW_OFFSET_IS(bmc_version, pcBuildTime, 144);
MW_OFFSET_IS(bmc_version, pcBuildDate, 208);
MW_SIZE_IS(all_bmc_version, 548);
MW_OFFSET_IS(all_bmc_version, MBmcValidFlag, 272);
MW_OFFSET_IS(all_bmc_version, MBmcOutValidFlag, 273);
MW_OFFSET_IS(all_bmc_version, tSBmcVer, 274);
MW_OFFSET_IS(all_bmc_version, SBmcValidFlag, 546);
MW_OFFSET_IS(all_bmc_version, SBmcOutValidFlag, 547);
MW_SIZE_IS(bios_version, 128);
MW_OFFSET_IS(bios_version, pcBuildTime, 64);
MW_SIZE_IS(all_bios_version, 516);
MW_OFFSET_IS(all_bios_version, MBiosOutValidFlag, 128);
MW_OFFSET_IS(all_bios_version, tSBiosOutVer, 129);
MW_OFFSET_IS(all_bios_version, SBiosOutValidFlag, 257);
MW_OFFSET_IS(all_bios_version, tMBiosVer, 258);
MW_OFFSET_IS(all_bios_version, MBiosValidFlag, 386);
MW_OFFSET_IS(all_bios_version, tSBiosVer, 387);
MW_OFFSET_IS(all_bios_version, SBiosValidFlag, 515);
MW_SIZE_IS(fw_version, 144);
MW_OFFSET_IS(fw_version, dwVersion, 0);
MW_SIZE_IS(all_boot_version, 290);
MW_OFFSET_IS(all_boot_version, MBootValidFlag, 144);
MW_SIZE_IS(card_epld_version, 145);
MW_OFFSET_IS(card_epld_version, CardEpldValidFlag, 144);
MW_SIZE_IS(all_epld_version, 7105);
MW_OFFSET_IS(all_epld_version, MEpldValidFlag, 144);
MW_OFFSET_IS(all_epld_version, tCardEpldVer, 145);
MW_SIZE_IS(card_fru_version, 210);
MW_OFFSET_IS(card_fru_version, CardValidFlag, 144);
MW_OFFSET_IS(card_fru_version, acBoardName, 145);
MW_OFFSET_IS(card_fru_version, BoardNameValidFlag, 209);
MW_SIZE_IS(all_fru_version, 10290);
MW_OFFSET_IS(all_fru_version, MFruValidFlag, 144);
MW_OFFSET_IS(all_fru_version, tCardFruVer, 145);
MW_OFFSET_IS(all_fru_version, acBoardName, 10225);
MW_OFFSET_IS(all_fru_version, BoardNameValidFlag, 10289);
MW_SIZE_IS(psu_version, 81);
MW_OFFSET_IS(psu_version, acVersion, 16);

MW_BEGIN_DECLS

/*
 * Blocks. Each function takes semaphore 12301 for one copy and answers 0, or -1 on NULL (silent), when the process
 * could not be attached ("MW_MidMemCheck:LINE Memory init error" on standard output) or when the semaphore was not had
 * within 500 ms (one "sem lock failed" line at level 130). Contents are not validated.
 */

/** Both images of the management controller's firmware: an all_bmc_version, 548 bytes. */
MW_API int32_t MW_GetBmcVerInfo(void *pInfo);
MW_API int32_t MW_SetBmcVerInfo(const void *pInfo);

/** The BIOS images: an all_bios_version, 516 bytes. */
MW_API int32_t MW_GetBiosVerInfo(void *pInfo);
MW_API int32_t MW_SetBiosVerInfo(const void *pInfo);

/** The boot firmware: an all_boot_version, 290 bytes. */
MW_API int32_t MW_GetBootVerInfo(void *pInfo);
MW_API int32_t MW_SetBootVerInfo(const void *pInfo);

/** Identity data: an all_fru_version, 10290 bytes. */
MW_API int32_t MW_GetFruVerInfo(void *pInfo);
MW_API int32_t MW_SetFruVerInfo(const void *pInfo);

/** Programmable logic: an all_epld_version, 7105 bytes. */
MW_API int32_t MW_GetEpldVerInfo(void *pInfo);
MW_API int32_t MW_SetEpldVerInfo(const void *pInfo);

/** The main board's EPLD version number, 4 bytes, whatever its flag says. */
MW_API int32_t MW_GetEpldVersion(uint32_t *pdwVersion);

/** The firmware of all four power supplies: psu_version[4], 324 bytes. */
MW_API int32_t MW_GetPsuVerInfo(void *pInfo);

/**
 * Stores the firmware of one power supply: a psu_version, 81 bytes.
 * @param dwPsu its number, 1 to 4, of which only the low 8 bits are looked at; others: -1, silent, before attaching.
 */
MW_API int32_t MW_SetPsuVerInfo(uint32_t dwPsu, const void *pInfo);

/** Which BIOS image is in use, in the collector's terms; 4 bytes. */
MW_API int32_t MW_GetBiosActiveStatus(uint32_t *pdwStatus);
MW_API int32_t MW_SetBiosActiveStatus(uint32_t dwStatus);

/*
 * Single versions. These copy the whole block through the getter above, and so fail and log as it does; then they
 * decide on the copy. What they log themselves goes to the audit output at level 180, begins with "[STEP:LINE]", the
 * step's name, and ends with a line feed unless noted. A step that finds the version's flag other than 1 logs
 * "RECORD.FLAG is invalid" and fails. On -1 the caller's buffers are as they were.
 */

/**
 * One version number.
 *
 * Steps: MW_GetEpldVersionNumber, MW_GetBmcVersionNumber, MW_GetFruVersionNumber, MW_GetBootVersionNumber.
 *
 * @param wVerType   MW_FW_TYPE_EPLD, _BMC, _FRU or _BOOT; others: -1, silent.
 * @param wVerExt    see above. Not valid: "wVerExt %d is not valid" (BMC, boot), or
 *                   "[err:STEP:LINE]... over max valid Num:47" (EPLD, FRU; nothing is read then).
 * @param pdwVersion NULL: -1, silent.
 * @return 0 or -1. An invalid main-board EPLD is logged under the name of the boot firmware's flag.
 */
MW_API int32_t MW_GetFirmwareVersionInteger(uint32_t wVerType, uint32_t wVerExt, uint32_t *pdwVersion);

/**
 * One version as text.
 *
 * - EPLD: "00.00.%02d.%02d" of bits 8 to 15 and 0 to 7 of the number; boot: "%02x.%02x.%02x.%02x" of its four bytes
 *   from the most significant down. Both succeed with zeros where there is no valid number, after
 *   "MW_GetEpldVersionString is invalid" or "MW_GetBootVersionNumber failed".
 * - FRU: "%02d.%02d.%04d" of bits 24 to 31, 16 to 23 and 0 to 15; logs "Get fru (%u) Version %s".
 * - BMC, BIOS and PSU: the stored text. Exactly lLength bytes are copied, whatever follows the text's terminator
 *   included, and the last one is then set to 0.
 *
 * @param wVerType  one of MW_FW_TYPE_...; others: -1, "MW_GetFirmwareVersionString:LINE Unsupported  wVerType %u".
 * @param wVerExt   see above. Not valid: -1; "MW_GetBmcVersionString:LINE Unsupported  wVerExt %u" (BMC), the same
 *                  on standard output without the bracket (BIOS), nothing (PSU).
 * @param pcVersion NULL: -1, silent.
 * @param lLength   bytes of the buffer; more than 64 count as 64; 1 and less: -1, silent.
 */
MW_API int32_t MW_GetFirmwareVersionString(uint32_t wVerType, uint32_t wVerExt, char *pcVersion, int32_t lLength);

/**
 * When an image of the management controller's firmware was built: two texts of at most 63 characters and a NUL, each
 * into 64 bytes of the caller's. Logs "Master Bmc pcBuildTime:%s, pcBuildDate:%s" or "Slave ...", without a line feed.
 *
 * @param Extinfo 2 master, 3 slave; others: -1, "[err:...]Extinfo %d is not invalid".
 * @return -1 also on NULL ("[err:...]pcBuildTime == NULL"), when the block was not had ("[err:...]get t_all_bmc_version
 *         failed"; neither with a line feed), or, silent, when the image's outward flag is 0.
 */
MW_API int32_t MW_GetBmcVerBuildDateTime(char *pcBuildTime, char *pcBuildDate, int32_t Extinfo);

/**
 * When a BIOS image was built: at most 63 characters and a NUL into 64 bytes of the caller's, whatever the flags say.
 * Logs "pcBuildTime:%s", without a line feed.
 *
 * @param Extinfo 2 master, 3 slave (outward versions); others: -1, "[err:...]Extinfo:%d is invalid".
 * @return -1 also on NULL ("[err:...]pcBuildTime == NULL") or when the block was not had ("[err:...]get
 *         t_all_bios_version failed"; neither with a line feed).
 */
MW_API int32_t MW_GetBiosVerBuildTime(char *pcBuildTime, int32_t Extinfo);

/**
 * The name of a board by its identity data: exactly lLength bytes, of which the last one is then set to 0.
 *
 * @param dwIndex 0 main board, 1 to 47 card; others: -1.
 * @param pcName  NULL: -1.
 * @param lLength bytes of the buffer; more than 64 count as 64; 1 and less: -1.
 * @return -1 also when the name's flag is not 1. Silent but for the block getter.
 */
MW_API int32_t MW_GetFirmwareBoardNameString(uint32_t dwIndex, char *pcName, int32_t lLength);

MW_END_DECLS

#endif
