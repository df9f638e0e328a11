// Firmware versions: first as the readers are given them, by type and selector, then the blocks that they
// come from.
#include <fmt/format.h>

#include "fwinfo/hov_midfw.h"
#include "shared.h"
#include "table.h"

namespace mwctl {

using midware::FwArea;

namespace {

constexpr Code kValid[] = {{0, "not valid"}, {1, "valid"}};

}  // namespace

// clang-format off
MW_RECORD(bmc_version,
          MW_FIELD(dwBmcVer, "number").Hex(),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(acBmcVer, "version"),
          MW_FIELD(acBmcOutVer, "outward version"),
          MW_FIELD(pcBuildTime, "build time"),
          MW_FIELD(pcBuildDate, "build date"));

MW_RECORD(all_bmc_version,
          MW_FIELD(tMBmcVer, "master").Inline(),
          MW_FIELD(MBmcValidFlag, "master flag").Codes(kValid),
          MW_FIELD(MBmcOutValidFlag, "master outward flag").Codes(kValid),
          MW_FIELD(tSBmcVer, "slave").Inline(),
          MW_FIELD(SBmcValidFlag, "slave flag").Codes(kValid),
          MW_FIELD(SBmcOutValidFlag, "slave outward flag").Codes(kValid));

MW_RECORD(bios_version,
          MW_FIELD(acBiosVer, "version"),
          MW_FIELD(pcBuildTime, "build time"));

MW_RECORD(all_bios_version,
          MW_FIELD(tMBiosOutVer, "master outward").Inline(),
          MW_FIELD(MBiosOutValidFlag, "master outward flag").Codes(kValid),
          MW_FIELD(tSBiosOutVer, "slave outward").Inline(),
          MW_FIELD(SBiosOutValidFlag, "slave outward flag").Codes(kValid),
          MW_FIELD(tMBiosVer, "master").Inline(),
          MW_FIELD(MBiosValidFlag, "master flag").Codes(kValid),
          MW_FIELD(tSBiosVer, "slave").Inline(),
          MW_FIELD(SBiosValidFlag, "slave flag").Codes(kValid));

MW_RECORD(fw_version,
          MW_FIELD(dwVersion, "number").Hex(),
          MW_FIELD(dwDeviceId, "device").Hex().QuietZero(),
          MW_FIELD(dwBoardId, "board").Hex().QuietZero(),
          MW_FIELD(dwUpdateTime, "read at").QuietZero(),
          MW_FIELD(acVersion, "own version"),
          MW_FIELD(acBuildTime, "build time"));

MW_RECORD(all_boot_version,
          MW_FIELD(tMBootVer, "master").Inline(),
          MW_FIELD(MBootValidFlag, "master flag").Codes(kValid),
          MW_FIELD(tSBootVer, "slave").Inline(),
          MW_FIELD(SBootValidFlag, "slave flag").Codes(kValid));

MW_RECORD(card_epld_version,
          MW_FIELD(tEpldVer, "EPLD").Inline(),
          MW_FIELD(CardEpldValidFlag, "EPLD flag").Codes(kValid));

MW_RECORD(all_epld_version,
          MW_FIELD(tMEpldVer, "main board").Inline(),
          MW_FIELD(MEpldValidFlag, "main board flag").Codes(kValid),
          MW_FIELD(tCardEpldVer, "card").From(0));

MW_RECORD(card_fru_version,
          MW_FIELD(tFruVer, "FRU").Inline(),
          MW_FIELD(CardValidFlag, "FRU flag").Codes(kValid),
          MW_FIELD(acBoardName, "name"),
          MW_FIELD(BoardNameValidFlag, "name flag").Codes(kValid));

MW_RECORD(all_fru_version,
          MW_FIELD(tMFruVer, "main board").Inline(),
          MW_FIELD(MFruValidFlag, "main board flag").Codes(kValid),
          MW_FIELD(tCardFruVer, "card").From(0),
          MW_FIELD(acBoardName, "main board name"),
          MW_FIELD(BoardNameValidFlag, "main board name flag").Codes(kValid));

MW_RECORD(psu_version,
          MW_FIELD(dwVersion, "number").Hex(),
          MW_FIELD(dwPrimaryVersion, "input side").Hex().QuietZero(),
          MW_FIELD(dwSecondaryVersion, "output side").Hex().QuietZero(),
          MW_FIELD(dwCommVersion, "communication").Hex().QuietZero(),
          MW_FIELD(acVersion, "version"));

MW_RECORD(FwArea,
          MW_FIELD(t_all_bmc_version, "BMC"),
          MW_FIELD(t_all_bios_version, "BIOS"),
          MW_FIELD(t_all_boot_version, "boot firmware"),
          MW_FIELD(t_all_fru_version, "identity data"),
          MW_FIELD(t_all_epld_version, "programmable logic"),
          MW_FIELD(atPsuVersion, "PSU"),
          MW_FIELD(aucPad, ""),
          MW_FIELD(dwBiosActiveStatus, "BIOS in use").Get<MW_GetBiosActiveStatus>());

// What one of the selectors hands out. The state is "valid", "stored" where there is no flag, or why the version is
// not valid.
struct SelectedVersion {
    char acName[32];
    uint32_t wVerType;
    uint32_t wVerExt;
    char acVersion[FW_STR_MAX_SIZE];
    char acState[64];
};

MW_RECORD(SelectedVersion,
          MW_FIELD(acName, "firmware"),
          MW_FIELD(wVerType, "type"),
          MW_FIELD(wVerExt, "ext"),
          MW_FIELD(acVersion, "version"),
          MW_FIELD(acState, "state"));

struct SelectedNumber {
    char acName[32];
    uint32_t wVerType;
    uint32_t wVerExt;
    uint32_t dwVersion;
    char acState[64];
};

MW_RECORD(SelectedNumber,
          MW_FIELD(acName, "firmware"),
          MW_FIELD(wVerType, "type"),
          MW_FIELD(wVerExt, "ext"),
          MW_FIELD(dwVersion, "number").Hex().QuietNone(),
          MW_FIELD(acState, "state"));

struct SelectedBuild {
    char acName[32];
    char pcBuildTime[FW_STR_MAX_SIZE];
    char pcBuildDate[FW_STR_MAX_SIZE];
    char acState[64];
};

MW_RECORD(SelectedBuild,
          MW_FIELD(acName, "firmware"),
          MW_FIELD(pcBuildTime, "build time"),
          MW_FIELD(pcBuildDate, "build date"),
          MW_FIELD(acState, "state"));

struct SelectedName {
    uint32_t dwIndex;
    char acBoardName[FW_STR_MAX_SIZE];
    char acState[64];
};

MW_RECORD(SelectedName,
          MW_FIELD(dwIndex, "board"),
          MW_FIELD(acBoardName, "name"),
          MW_FIELD(acState, "state"));

// Words that are read without looking at a flag.
struct FirmwareWords {
    uint32_t dwBiosActiveStatus;
    uint32_t dwEpldVersion;
};

MW_RECORD(FirmwareWords,
          MW_FIELD(dwBiosActiveStatus, "BIOS in use").Get<MW_GetBiosActiveStatus>(),
          MW_FIELD(dwEpldVersion, "main board EPLD").Hex().Get<MW_GetEpldVersion>());
// clang-format on

namespace {

constexpr uint32_t kCards = MW_FW_CARD_MAX - 1;

template <size_t size>
void Put(char (&text)[size], std::string_view value) {
    text[value.copy(text, size - 1)] = '\0';
}

// The blocks behind the versions: for what the selectors do not tell, why a version is not valid.
struct Blocks {
    all_bmc_version bmc;
    all_bios_version bios;
    all_boot_version boot;
    all_fru_version fru;
    all_epld_version epld;
    psu_version psu[MW_FW_PSU_MAX];

    int32_t Read() {
        const bool read = MW_GetBmcVerInfo(&bmc) >= 0 && MW_GetBiosVerInfo(&bios) >= 0 &&
                          MW_GetBootVerInfo(&boot) >= 0 && MW_GetFruVerInfo(&fru) >= 0 &&
                          MW_GetEpldVerInfo(&epld) >= 0 && MW_GetPsuVerInfo(psu) >= 0;
        return read ? 0 : -1;
    }
};

// A version is not valid where its flag is another than 1.
struct Selector {
    std::string name;
    uint32_t type;
    uint32_t ext;
    std::string flag_name;
    int flag;         // -1: there is none
    bool has_number;  // besides the text
};

std::vector<Selector> Selectors(const Blocks &blocks) {
    const auto &[bmc, bios, boot, fru, epld, psu] = blocks;
    std::vector<Selector> selectors = {
        {"BMC master", MW_FW_TYPE_BMC, MW_FW_BMC_MASTER, "MBmcValidFlag", bmc.MBmcValidFlag, true},
        {"BMC slave", MW_FW_TYPE_BMC, MW_FW_BMC_SLAVE, "SBmcValidFlag", bmc.SBmcValidFlag, true},
        {"BMC master outward", MW_FW_TYPE_BMC, MW_FW_BMC_MASTER_OUT, "MBmcOutValidFlag", bmc.MBmcOutValidFlag,
         false},
        {"BMC slave outward", MW_FW_TYPE_BMC, MW_FW_BMC_SLAVE_OUT, "SBmcOutValidFlag", bmc.SBmcOutValidFlag,
         false},
        {"BIOS master outward", MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER_OUT, "MBiosOutValidFlag",
         bios.MBiosOutValidFlag, false},
        {"BIOS slave outward", MW_FW_TYPE_BIOS, MW_FW_BIOS_SLAVE_OUT, "SBiosOutValidFlag",
         bios.SBiosOutValidFlag, false},
        {"BIOS master", MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER, "MBiosValidFlag", bios.MBiosValidFlag, false},
        {"BIOS slave", MW_FW_TYPE_BIOS, MW_FW_BIOS_SLAVE, "SBiosValidFlag", bios.SBiosValidFlag, false},
        {"boot firmware", MW_FW_TYPE_BOOT, 0, "MBootValidFlag", boot.MBootValidFlag, true},
        {"EPLD main board", MW_FW_TYPE_EPLD, 0, "MEpldValidFlag", epld.MEpldValidFlag, true},
        {"FRU main board", MW_FW_TYPE_FRU, 0, "MFruValidFlag", fru.MFruValidFlag, true},
    };
    // Of the cards those of which anything is stored.
    const auto stored = [](const auto &record) {
        static const std::remove_cvref_t<decltype(record)> kBlank{};
        return std::memcmp(&record, &kBlank, sizeof record) != 0;
    };
    for (uint32_t card = 1; card <= kCards; ++card) {
        const card_epld_version &record = epld.tCardEpldVer[card];
        if (!stored(record)) continue;
        selectors.push_back({fmt::format("EPLD card {}", card), MW_FW_TYPE_EPLD, card, "CardEpldValidFlag",
                             record.CardEpldValidFlag, true});
    }
    for (uint32_t card = 1; card <= kCards; ++card) {
        const card_fru_version &record = fru.tCardFruVer[card];
        if (!stored(record.tFruVer) && record.CardValidFlag == 0) continue;
        selectors.push_back({fmt::format("FRU card {}", card), MW_FW_TYPE_FRU, card, "CardValidFlag",
                             record.CardValidFlag, true});
    }
    for (uint32_t i = 1; i <= MW_FW_PSU_MAX; ++i) {
        if (stored(psu[i - 1]))
            selectors.push_back({fmt::format("PSU {}", i), MW_FW_TYPE_PSU, i, "", -1, false});
    }
    return selectors;
}

// What there is to say of a version whose flag has this value; -1 where it has none.
std::string StateOf(std::string_view flag_name, int flag, bool has_value) {
    if (flag >= 0 && flag != 1) return fmt::format("{} is {}", flag_name, flag);
    if (!has_value) return "no text is stored";
    return flag < 0 ? "stored" : "valid";
}

int32_t ReadVersions(SelectedVersion *versions, uint32_t &count) {
    static Blocks blocks;
    count = 0;
    if (blocks.Read() < 0) return -1;
    for (const Selector &selector : Selectors(blocks)) {
        SelectedVersion &version = versions[count++];
        Put(version.acName, selector.name);
        version.wVerType = selector.type;
        version.wVerExt = selector.ext;
        char text[FW_STR_MAX_SIZE] = {};
        MW_GetFirmwareVersionString(selector.type, selector.ext, text, sizeof text);
        if (Listen::Current()->HeardLockFailure()) return -1;
        // Behind the terminator the library hands out whatever the record has there.
        Put(version.acVersion, tools::ArrayText(text, sizeof text));
        Put(version.acState, StateOf(selector.flag_name, selector.flag, text[0] != '\0'));
    }
    return 0;
}

// The text comes last: it may be long.
void AddCells(const SelectedVersion &version, std::vector<Note> &cells) {
    cells.push_back({"", "firmware", version.acName});
    cells.push_back({"", "type", std::to_string(version.wVerType)});
    cells.push_back({"", "ext", std::to_string(version.wVerExt)});
    cells.push_back({"", "state", version.acState});
    cells.push_back({"", "version", version.acVersion});
}

int32_t ReadNumbers(SelectedNumber *numbers, uint32_t &count) {
    static Blocks blocks;
    count = 0;
    if (blocks.Read() < 0) return -1;
    for (const Selector &selector : Selectors(blocks)) {
        if (!selector.has_number) continue;
        SelectedNumber &number = numbers[count++];
        Put(number.acName, selector.name);
        number.wVerType = selector.type;
        number.wVerExt = selector.ext;
        number.dwVersion = UINT32_MAX;
        MW_GetFirmwareVersionInteger(selector.type, selector.ext, &number.dwVersion);
        if (Listen::Current()->HeardLockFailure()) return -1;
        Put(number.acState, StateOf(selector.flag_name, selector.flag, true));
    }
    return 0;
}

int32_t ReadBuilds(SelectedBuild *builds, uint32_t &count) {
    static Blocks blocks;
    count = 0;
    if (blocks.Read() < 0) return -1;
    const struct {
        const char *name;
        bool bmc;
        int32_t ext;
        const char *flag_name;
        int flag;
    } kinds[] = {{"BMC master", true, 2, "MBmcOutValidFlag", blocks.bmc.MBmcOutValidFlag},
                 {"BMC slave", true, 3, "SBmcOutValidFlag", blocks.bmc.SBmcOutValidFlag},
                 {"BIOS master", false, 2, "", -1},
                 {"BIOS slave", false, 3, "", -1}};
    for (const auto &kind : kinds) {
        SelectedBuild &build = builds[count++];
        Put(build.acName, kind.name);
        if (kind.bmc) {
            MW_GetBmcVerBuildDateTime(build.pcBuildTime, build.pcBuildDate, kind.ext);
        } else {
            MW_GetBiosVerBuildTime(build.pcBuildTime, kind.ext);
        }
        if (Listen::Current()->HeardLockFailure()) return -1;
        // Here any flag but 0 will do.
        Put(build.acState, StateOf(kind.flag_name, kind.flag > 0 ? 1 : kind.flag,
                                   build.pcBuildTime[0] != '\0' || build.pcBuildDate[0] != '\0'));
    }
    return 0;
}

int32_t ReadNames(SelectedName *names, uint32_t &count) {
    static all_fru_version fru;
    count = 0;
    if (MW_GetFruVerInfo(&fru) < 0) return -1;
    for (uint32_t board = 0; board <= kCards; ++board) {
        const card_fru_version &card = fru.tCardFruVer[board];
        const uint8_t flag = board == 0 ? fru.BoardNameValidFlag : card.BoardNameValidFlag;
        if (board > 0 && flag == 0 && card.acBoardName[0] == '\0') continue;
        SelectedName &name = names[count++];
        name.dwIndex = board;
        char text[FW_STR_MAX_SIZE] = {};
        MW_GetFirmwareBoardNameString(board, text, sizeof text);
        if (Listen::Current()->HeardLockFailure()) return -1;
        Put(name.acBoardName, tools::ArrayText(text, sizeof text));
        Put(name.acState, StateOf("BoardNameValidFlag", flag, text[0] != '\0'));
    }
    return 0;
}

int32_t ReadPsus(psu_version *versions, uint32_t &count) {
    count = MW_FW_PSU_MAX;
    return MW_GetPsuVerInfo(versions);
}

bool IsStored(const psu_version &version) {
    static const psu_version kBlank{};
    return std::memcmp(&version, &kBlank, sizeof version) != 0;
}

constexpr uint32_t kSelectors = 12 + 2 * kCards + MW_FW_PSU_MAX;

constexpr Record kRecords[] = {
    Custom<SelectedVersion, ReadVersions>("versions", "Versions as readers are given them", kSelectors)
        .Row<AddCells>(),
    Custom<SelectedNumber, ReadNumbers>("numbers", "Version numbers as readers are given them", kSelectors),
    Custom<SelectedBuild, ReadBuilds>("builds", "Build dates as readers are given them", 4),
    Custom<SelectedName, ReadNames>("names", "Board names as readers are given them", MW_FW_CARD_MAX),
    Words<FirmwareWords>("words", "Words"),
    One<all_bmc_version, MW_GetBmcVerInfo>("bmc", "BMC images"),
    One<all_bios_version, MW_GetBiosVerInfo>("bios", "BIOS images"),
    One<all_boot_version, MW_GetBootVerInfo>("boot", "Boot firmware"),
    One<all_epld_version, MW_GetEpldVerInfo>("epld", "Programmable logic"),
    One<all_fru_version, MW_GetFruVerInfo>("fru", "Identity data"),
    Custom<psu_version, ReadPsus>("psu", "Power supplies", MW_FW_PSU_MAX).Used<IsStored>().Numbered("PSU", 1),
};
const Plug plug{{"firmware", "Firmware", &midware::kFw, kRecords, &kLayout<FwArea>}};

}  // namespace
}  // namespace mwctl
