// The firmware area: version blocks one after another, without padding up to the last word.
#ifndef HOV_MIDFW_H
#define HOV_MIDFW_H

#include "hov_midware.h"
#include "midware/fwinfo.h"

namespace midware {

struct FwArea {
    static constexpr const Module &kModule = kFw;

    all_bmc_version t_all_bmc_version;
    all_bios_version t_all_bios_version;
    all_boot_version t_all_boot_version;
    all_fru_version t_all_fru_version;
    all_epld_version t_all_epld_version;
    psu_version atPsuVersion[MW_FW_PSU_MAX];
    uint8_t aucPad[3];
    uint32_t dwBiosActiveStatus;
};

static_assert(offsetof(FwArea, t_all_bmc_version) == 0);
static_assert(offsetof(FwArea, t_all_bios_version) == 548);
static_assert(offsetof(FwArea, t_all_boot_version) == 1064);
static_assert(offsetof(FwArea, t_all_fru_version) == 1354);
static_assert(offsetof(FwArea, t_all_epld_version) == 11644);
static_assert(offsetof(FwArea, atPsuVersion) == 18749);
static_assert(offsetof(FwArea, dwBiosActiveStatus) == 19076);
static_assert(sizeof(FwArea) == kFw.size);

}  // namespace midware

#endif
