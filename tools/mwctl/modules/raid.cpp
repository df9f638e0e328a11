// RAID controllers, the disks and logical drives behind them, NVMe devices; and the disk backplanes, which
// lie in the same area.
#include "disks.h"
#include "midware/pch.h"
#include "pci.h"
#include "raidcard/hov_midraidcard.h"

namespace mwctl {

using midware::RaidArea;

namespace {

constexpr Code kPhyRates[] = {
    {8, "1.5 Gbit/s"}, {9, "3 Gbit/s"}, {10, "6 Gbit/s"}, {11, "12 Gbit/s"}, {12, "22.5 Gbit/s"}};
constexpr Code kAttached[] = {{0, "nothing"}, {1, "end device"}, {2, "expander"}};
constexpr Code kStates[] = {{0, "unconfigured good"},
                            {1, "unconfigured bad"},
                            {2, "hot spare"},
                            {3, "offline"},
                            {4, "failed"},
                            {5, "rebuilding"},
                            {6, "online"},
                            {7, "copying back"},
                            {8, "handed through"}};
constexpr Code kSpares[] = {{0, "none"}, {1, "global"}, {2, "dedicated"}};
constexpr Code kPowerStates[] = {{0, "active"}, {1, "spun down"}};
constexpr Code kLdStates[] = {{0, "offline"}, {1, "partially degraded"}, {2, "degraded"}, {3, "optimal"}};
constexpr Code kReads[] = {{0, "no read-ahead"}, {1, "read-ahead"}};
constexpr Code kWrites[] = {{0, "write-through"}, {1, "write-back"}, {2, "write-back also without battery"}};
constexpr Code kIos[] = {{0, "direct"}, {1, "cached"}};
constexpr Code kAccesses[] = {{0, "read and write"}, {1, "read only"}, {2, "blocked"}};
constexpr Code kDiskCaches[] = {{0, "as it is"}, {1, "on"}, {2, "off"}};
constexpr Code kInits[] = {{0, "none"}, {1, "quick"}, {2, "full"}};
constexpr Code kLevels[] = {{0x01, "0"}, {0x02, "1"}, {0x04, "2"}, {0x08, "3"},
                            {0x10, "4"}, {0x20, "5"}, {0x40, "6"}, {0x400, "10"}};
constexpr Code kWarnings[] = {{0x01, "spare low"}, {0x02, "temperature"},   {0x04, "reliability degraded"},
                              {0x08, "read only"}, {0x10, "backup failed"}, {0x20, "persistent memory"}};
constexpr Code kLocations[] = {{0, "front"}, {1, "rear"}, {2, "inside"}};
constexpr Code kForms[] = {{0, "3.5 inch"}, {1, "2.5 inch"}, {2, "M.2"}, {3, "E1.S"}, {4, "E3.S"}};

}  // namespace

// clang-format off
MW_RECORD(RaidPhyInfo,
          MW_FIELD(dwCtrlId, "controller"),
          MW_FIELD(ucPhyId, "PHY"),
          MW_FIELD(ucLinkRate, "link rate").Codes(kPhyRates),
          MW_FIELD(ucAttachedType, "attached").Codes(kAttached),
          MW_FIELD(ucReserved, ""),
          MW_FIELD(aucAttachedAddress, "attached address"),
          MW_FIELD(dwInvalidDwords, "invalid dwords"),
          MW_FIELD(dwDisparityErrors, "disparity errors"),
          MW_FIELD(dwLossOfSync, "losses of synchronisation"),
          MW_FIELD(dwResetProblems, "reset problems"),
          MW_FIELD(dwReserved, ""));

MW_RECORD(NvmePhyInfo,
          MW_FIELD(dwDeviceId, "device"),
          MW_FIELD(wPciDomain, "PCI domain").Hex(),
          MW_FIELD(ucBus, "PCI bus").Hex(),
          MW_FIELD(ucDevFunc, "PCI device and function").Hex(),
          MW_FIELD(ucLinkSpeed, "link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucLinkWidth, "link width"),
          MW_FIELD(ucMaxLinkSpeed, "maximum link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucMaxLinkWidth, "maximum link width"),
          MW_FIELD(dwReceiverErrors, "receiver errors"),
          MW_FIELD(dwBadTlp, "bad TLPs"),
          MW_FIELD(dwBadDllp, "bad DLLPs"),
          MW_FIELD(dwReplayRollovers, "replay rollovers"),
          MW_FIELD(dwReplayTimeouts, "replay time-outs"),
          MW_FIELD(dwReserved, ""));

MW_RECORD(RaidAssetEntry,
          MW_FIELD(dwCtrlId, "number"),
          MW_FIELD(ucPresent, "present").Switch(),
          MW_FIELD(ucSlot, "slot").NoValue(),
          MW_FIELD(ucCpuId, "processor"),
          MW_FIELD(ucHealth, "health").Codes(kHealth).Health(),
          MW_FIELD(acName, "name").Naming(),
          MW_FIELD(acVendor, "vendor"),
          MW_FIELD(acModel, "model"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acFwVersion, "firmware"),
          MW_FIELD(acBiosVersion, "BIOS"),
          MW_FIELD(acConfigVersion, "configuration data"),
          MW_FIELD(acDriverName, "driver"),
          MW_FIELD(acDriverVersion, "driver version"),
          MW_FIELD(acDeviceName, "device"),
          MW_FIELD(acBdf, "PCI address"),
          MW_FIELD(wVendorId, "vendor ID").Hex(),
          MW_FIELD(wDeviceId, "device ID").Hex(),
          MW_FIELD(wSubVendorId, "subsystem vendor ID").Hex(),
          MW_FIELD(wSubDeviceId, "subsystem ID").Hex(),
          MW_FIELD(aucSasAddress, "SAS address"),
          MW_FIELD(dwMemorySize, "cache memory").Unit("MiB").QuietZero(),
          MW_FIELD(wPortCount, "PHYs"),
          MW_FIELD(wDiskCount, "disks"),
          MW_FIELD(wLdCount, "logical drives"),
          MW_FIELD(ucLinkRate, "fastest link").Codes(kRates).QuietZero(),
          MW_FIELD(ucIfType, "interface").Codes(kInterfaces),
          MW_FIELD(ucPcieLinkSpeed, "PCIe link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucPcieLinkWidth, "PCIe link width").QuietZero(),
          MW_FIELD(ucJbod, "disks handed through").Switch(),
          MW_FIELD(ucCopyBack, "copies back").Switch(),
          MW_FIELD(dwRaidLevels, "RAID levels").Flags(kLevels),
          MW_FIELD(dwMinStripSize, "smallest strip").Unit("KiB").QuietZero(),
          MW_FIELD(dwMaxStripSize, "largest strip").Unit("KiB").QuietZero(),
          MW_FIELD(ucBbuPresent, "cache battery").Switch(),
          MW_FIELD(ucBbuHealth, "battery health").Codes(kHealth).Health(),
          MW_FIELD(ucBbuCharge, "battery charge").Unit("%").QuietZero(),
          MW_FIELD(ucTemperature, "temperature").Unit("C").QuietZero().Reading(),
          MW_FIELD(ucBbuTemperature, "battery temperature").Unit("C").QuietZero().Reading(),
          MW_FIELD(aucPad, ""),
          MW_FIELD(dwCorrectableErrors, "correctable memory errors"),
          MW_FIELD(dwUncorrectableErrors, "uncorrectable memory errors"),
          MW_FIELD(aucReserved, ""));

MW_RECORD(RaidAssetInfo,
          MW_FIELD(dwCtrlNum, "controllers"),
          MW_FIELD(atCtrl, "controller").CountedBy(offsetof(RaidAssetInfo, dwCtrlNum)));

MW_RECORD(Spr50DeviceEntry,
          MW_FIELD(dwDeviceId, "number"),
          MW_FIELD(ucPresent, "present").Switch(),
          MW_FIELD(ucSlot, "slot"),
          MW_FIELD(ucCpuId, "processor"),
          MW_FIELD(ucHealth, "health").Codes(kHealth).Health(),
          MW_FIELD(acVendor, "vendor"),
          MW_FIELD(acModel, "model"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acFwVersion, "firmware"),
          MW_FIELD(acDeviceName, "device").Naming(),
          MW_FIELD(acBdf, "PCI address"),
          MW_FIELD(dwCapacity, "capacity").Unit("MiB"),
          MW_FIELD(wVendorId, "vendor ID").Hex(),
          MW_FIELD(wDeviceId, "device ID").Hex(),
          MW_FIELD(ucTemperature, "temperature").Unit("C").QuietZero().Reading(),
          MW_FIELD(ucRemainingLife, "remaining life").Unit("%").QuietZero(),
          MW_FIELD(aucReserved, ""));

MW_RECORD(Spr50DeviceAssetInfo,
          MW_FIELD(dwDeviceNum, "devices"),
          MW_FIELD(atDevice, "device").CountedBy(offsetof(Spr50DeviceAssetInfo, dwDeviceNum)));

MW_RECORD(HdAssetEntry,
          MW_FIELD(ucPresent, "present").Switch(),
          MW_FIELD(ucSlot, "slot").NoValue(),
          MW_FIELD(ucEnclosureId, "enclosure"),
          MW_FIELD(ucCtrlId, "controller"),
          MW_FIELD(dwDeviceId, "number"),
          MW_FIELD(dwInfoC, "capacity").Unit("MiB"),
          MW_FIELD(dwPowerOnHours, "power-on time").Unit("h").QuietZero(),
          MW_FIELD(dwMediaErrors, "media errors"),
          MW_FIELD(dwOtherErrors, "other errors"),
          MW_FIELD(ucInfoA, "health").Codes(kHealth).Health(),
          MW_FIELD(ucInfoB, "media").Codes(kMedia),
          MW_FIELD(ucState, "state").Codes(kStates),
          MW_FIELD(ucHotSpare, "hot spare").Codes(kSpares),
          MW_FIELD(ucTemperature, "temperature").Unit("C").QuietZero().Reading(),
          MW_FIELD(ucIfType, "interface").Codes(kInterfaces),
          MW_FIELD(ucLinkRate, "link rate").Codes(kRates).QuietZero(),
          MW_FIELD(ucMaxLinkRate, "fastest link rate").Codes(kRates).QuietZero(),
          MW_FIELD(dwPredictedFailures, "predicted failures"),
          MW_FIELD(wSectorSize, "sector").Unit("bytes").QuietZero(),
          MW_FIELD(wPhysicalSectorSize, "physical sector").Unit("bytes").QuietZero(),
          MW_FIELD(aucWwn, "world wide name"),
          MW_FIELD(ucRebuild, "rebuilt").Unit("%").QuietZero(),
          MW_FIELD(ucPatrolRead, "patrol read").Switch(),
          MW_FIELD(ucPowerState, "power state").Codes(kPowerStates),
          MW_FIELD(ucLocate, "locator light").Switch(),
          MW_FIELD(ucRemainingLife, "remaining life").Unit("%").QuietZero(),
          MW_FIELD(ucRotateRate, "revolutions per minute").Codes(kRotations),
          MW_FIELD(wLdId, "logical drive").NoValue(),
          MW_FIELD(aucSasAddress, "SAS address"),
          MW_FIELD(aucReserved1, ""),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acModel, "model"),
          MW_FIELD(acVendor, "vendor"),
          MW_FIELD(acFwVersion, "firmware"),
          MW_FIELD(acDeviceName, "device").Naming(),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(aucReserved2, ""),
          MW_FIELD(acBdf, "PCI address"),
          MW_FIELD(acSilkInfo, "label"),
          MW_FIELD(aucReserved3, ""),
          MW_FIELD(ucCpuId, "processor"),
          MW_FIELD(wPort, "port"),
          MW_FIELD(aucReserved4, ""));

MW_RECORD(HdAssetInfo,
          MW_FIELD(dwHdNum, "disks"),
          MW_FIELD(dwReserved, ""),
          MW_FIELD(atHd, "disk").CountedBy(offsetof(HdAssetInfo, dwHdNum)));

MW_RECORD(HostPchHdInfo,
          MW_FIELD(dwHdNum, "disks"),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(atHd, "disk").CountedBy(offsetof(HostPchHdInfo, dwHdNum)));

MW_RECORD(LdAssetEntry,
          MW_FIELD(dwLdId, "number"),
          MW_FIELD(dwCtrlId, "controller"),
          MW_FIELD(qwCapacity, "capacity").Unit("bytes"),
          MW_FIELD(acName, "name"),
          MW_FIELD(acDeviceName, "device"),
          MW_FIELD(ucRaidLevel, "RAID level").NoValue(),
          MW_FIELD(ucState, "state").Codes(kLdStates),
          MW_FIELD(ucDefaultReadPolicy, "default read policy").Codes(kReads),
          MW_FIELD(ucDefaultWritePolicy, "default write policy").Codes(kWrites),
          MW_FIELD(ucDefaultIoPolicy, "default I/O policy").Codes(kIos),
          MW_FIELD(ucReadPolicy, "read policy").Codes(kReads),
          MW_FIELD(ucWritePolicy, "write policy").Codes(kWrites),
          MW_FIELD(ucIoPolicy, "I/O policy").Codes(kIos),
          MW_FIELD(ucAccessPolicy, "access").Codes(kAccesses),
          MW_FIELD(ucDiskCachePolicy, "caches of the disks").Codes(kDiskCaches),
          MW_FIELD(ucInitState, "initialisation").Codes(kInits),
          MW_FIELD(ucConsistencyCheck, "consistency check").Switch(),
          MW_FIELD(ucBootable, "bootable").Switch(),
          MW_FIELD(ucSpanCount, "spans"),
          MW_FIELD(ucDisksPerSpan, "disks per span"),
          MW_FIELD(ucMediaType, "media").Codes(kMedia),
          MW_FIELD(dwStripSize, "strip").Unit("KiB").QuietZero(),
          MW_FIELD(dwSectorSize, "sector").Unit("bytes").QuietZero(),
          MW_FIELD(awDiskId, "disks").CountedBy(offsetof(LdAssetEntry, dwDiskNum)),
          MW_FIELD(dwDiskNum, "number of disks"),
          MW_FIELD(aucWwn, "world wide name"),
          MW_FIELD(aucReserved, ""));

MW_RECORD(LdAssetInfo,
          MW_FIELD(dwLdNum, "logical drives"),
          MW_FIELD(dwReserved, ""),
          MW_FIELD(atLd, "logical drive").CountedBy(offsetof(LdAssetInfo, dwLdNum)));

MW_RECORD(NvmeAssetEntry,
          MW_FIELD(dwDeviceId, "number"),
          MW_FIELD(ucPresent, "present").Switch(),
          MW_FIELD(ucSlot, "slot").NoValue(),
          MW_FIELD(ucCpuId, "processor"),
          MW_FIELD(ucHealth, "health").Codes(kHealth).Health(),
          MW_FIELD(qwCapacity, "capacity").Unit("bytes"),
          MW_FIELD(acModel, "model"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acFwVersion, "firmware"),
          MW_FIELD(acVendor, "vendor"),
          MW_FIELD(acDeviceName, "device").Naming(),
          MW_FIELD(acBdf, "PCI address"),
          MW_FIELD(wVendorId, "vendor ID").Hex(),
          MW_FIELD(wDeviceId, "device ID").Hex(),
          MW_FIELD(wSubVendorId, "subsystem vendor ID").Hex(),
          MW_FIELD(wSubDeviceId, "subsystem ID").Hex(),
          MW_FIELD(ucLinkSpeed, "link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucLinkWidth, "link width").QuietZero(),
          MW_FIELD(ucMaxLinkSpeed, "maximum link speed").Codes(kLinkSpeeds),
          MW_FIELD(ucMaxLinkWidth, "maximum link width").QuietZero(),
          MW_FIELD(ucCriticalWarning, "critical warnings").Flags(kWarnings).Alarm(),
          MW_FIELD(ucTemperature, "temperature").Unit("C").QuietZero().Reading(),
          MW_FIELD(ucAvailableSpare, "available spare").Unit("%").QuietZero(),
          MW_FIELD(ucPercentageUsed, "used").Unit("%").QuietZero(),
          MW_FIELD(dwPowerOnHours, "power-on time").Unit("h").QuietZero(),
          MW_FIELD(dwMediaErrors, "media errors"),
          MW_FIELD(aucEui64, "EUI-64"),
          MW_FIELD(dwSectorSize, "sector").Unit("bytes").QuietZero(),
          MW_FIELD(aucReserved, ""));

MW_RECORD(NvmeAssetInfo,
          MW_FIELD(dwNvmeNum, "NVMe devices"),
          MW_FIELD(dwReserved, ""),
          MW_FIELD(atNvme, "NVMe device").CountedBy(offsetof(NvmeAssetInfo, dwNvmeNum)));

MW_RECORD(HdState,
          MW_FIELD(ucSlot, "slot"),
          MW_FIELD(ucEnclosureId, "enclosure"),
          MW_FIELD(ucPresent, "present").State(Sense::kNone),
          MW_FIELD(ucFault, "fault").State(),
          MW_FIELD(ucPredictedFailure, "failure predicted").State(),
          MW_FIELD(ucHotSpare, "hot spare").State(Sense::kNone),
          MW_FIELD(ucInCriticalArray, "in critical array").State(),
          MW_FIELD(ucInFailedArray, "in failed array").State(),
          MW_FIELD(ucRebuild, "rebuild").State(Sense::kNone),
          MW_FIELD(ucTemperature, "temperature").Unit("C").QuietZero(),
          MW_FIELD(ucOwner, "owner"));

MW_RECORD(HdStateInfo,
          MW_FIELD(dwHdStateNum, "disk states"),
          MW_FIELD(atHdState, "disk state").CountedBy(offsetof(HdStateInfo, dwHdStateNum)));

MW_RECORD(DiskBackPanelEntry,
          MW_FIELD(dwBackPanelId, "backplane"),
          MW_FIELD(dwTemp0, "temperature 0").Unit("C").Reading(),
          MW_FIELD(dwTemp1, "temperature 1").Unit("C").Reading(),
          MW_FIELD(dwPower, "power").Unit("W").Reading());

MW_RECORD(DiskBackPanelInfo,
          MW_FIELD(dwBackPanelNum, "backplanes"),
          MW_FIELD(dwAllDiskBackBoardPower, "power of all backplanes").Unit("W"),
          MW_FIELD(atBackPanel, "entry").CountedBy(offsetof(DiskBackPanelInfo, dwBackPanelNum)));

MW_RECORD(HddBackPanelEntry,
          MW_FIELD(dwBackPanelId, "number"),
          MW_FIELD(ucPresent, "present").Switch(),
          MW_FIELD(ucLocation, "location").Codes(kLocations),
          MW_FIELD(ucSlotCount, "drive bays"),
          MW_FIELD(ucDiskCount, "bays in use"),
          MW_FIELD(ucFirstSlot, "first bay"),
          MW_FIELD(ucIfType, "interface").Codes(kInterfaces),
          MW_FIELD(ucHealth, "health").Codes(kHealth).Health(),
          MW_FIELD(ucI2cBus, "I2C bus"),
          MW_FIELD(ucI2cAddress, "I2C address").Hex(),
          MW_FIELD(ucFormFactor, "form factor").Codes(kForms),
          MW_FIELD(wBoardId, "board ID").Hex(),
          MW_FIELD(wPcbVersion, "PCB version").Hex(),
          MW_FIELD(wBomVersion, "BOM version").Hex(),
          MW_FIELD(acName, "name").Naming(),
          MW_FIELD(acVendor, "vendor"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acPartNum, "part number"),
          MW_FIELD(acProductName, "product"),
          MW_FIELD(acFwVersion, "firmware"),
          MW_FIELD(acCpldVersion, "CPLD"),
          MW_FIELD(acExpanderVersion, "expander"),
          MW_FIELD(aucReserved, ""));

MW_RECORD(HddBackPanelAssetInfo,
          MW_FIELD(dwBackPanelNum, "backplanes"),
          MW_FIELD(atBackPanel, "backplane").CountedBy(offsetof(HddBackPanelAssetInfo, dwBackPanelNum)));

MW_RECORD(RaidArea,
          MW_FIELD(dwRaidPhyNum, "RAID PHYs"),
          MW_FIELD(atRaidPhy, "RAID PHY").CountedBy(offsetof(RaidArea, dwRaidPhyNum)),
          MW_FIELD(aucSpare1, "").Reserved(),
          MW_FIELD(dwNvmePhyNum, "NVMe PHYs"),
          MW_FIELD(atNvmePhy, "NVMe PHY").CountedBy(offsetof(RaidArea, dwNvmePhyNum)),
          MW_FIELD(aucRaidAsset, "controllers").As<RaidAssetInfo>(),
          MW_FIELD(aucSpr50DevAsset, "Spr50 devices").As<Spr50DeviceAssetInfo>(),
          MW_FIELD(aucSpare2, "").Reserved(),
          MW_FIELD(aucHdAsset, "disks").As<HdAssetInfo>(),
          MW_FIELD(aucLdAsset, "logical drives").As<LdAssetInfo>(),
          MW_FIELD(aucNvmeAsset, "NVMe devices").As<NvmeAssetInfo>(),
          MW_FIELD(tDiskBackPanel, "temperatures and power of backplanes"),
          MW_FIELD(tHdState, "disk states"),
          MW_FIELD(aucHddBackPanelAsset, "backplanes").As<HddBackPanelAssetInfo>());

// What has a getter of its own.
struct BackplanePower {
    uint32_t dwAllDiskBackBoardPower;
};
MW_RECORD(BackplanePower,
          MW_FIELD(dwAllDiskBackBoardPower, "power of all backplanes")
              .Unit("W")
              .Get<MW_GetAllDiskBackBoardPowerInfo>());
// clang-format on

namespace {

void DiskCells(const HdAssetEntry &disk, std::vector<Note> &cells) {
    cells = {{"", "controller", fmt::format("{}", disk.ucCtrlId)},
             {"", "slot",
              disk.ucSlot == MW_HD_NO_SLOT ? "" : fmt::format("{}:{}", disk.ucEnclosureId, disk.ucSlot)},
             {"", "vendor", TextOf(disk.acVendor)},
             {"", "model", TextOf(disk.acModel)},
             {"", "serial number", TextOf(disk.acSerialNum)},
             {"", "capacity", SizeText(disk.dwInfoC)},
             {"", "interface", NameOf(kInterfaces, disk.ucIfType)},
             {"", "state", NameOf(kStates, disk.ucState)},
             {"", "health", NameOf(kHealth, disk.ucInfoA, MW_HD_HEALTH_UNKNOWN)}};
}

void DriveCells(const LdAssetEntry &drive, std::vector<Note> &cells) {
    cells = {{"", "controller", fmt::format("{}", drive.dwCtrlId)},
             {"", "number", fmt::format("{}", drive.dwLdId)},
             {"", "name", TextOf(drive.acName)},
             {"", "device", TextOf(drive.acDeviceName)},
             {"", "level", drive.ucRaidLevel == 255 ? "" : fmt::format("RAID {}", drive.ucRaidLevel)},
             {"", "capacity", SizeText(drive.qwCapacity >> 20)},
             {"", "disks", fmt::format("{}", drive.dwDiskNum)},
             {"", "state", NameOf(kLdStates, drive.ucState)}};
}

void NvmeCells(const NvmeAssetEntry &device, std::vector<Note> &cells) {
    cells = {{"", "slot", device.ucSlot == MW_HD_NO_SLOT ? "" : fmt::format("{}", device.ucSlot)},
             {"", "address", TextOf(device.acBdf)},
             {"", "model", TextOf(device.acModel)},
             {"", "serial number", TextOf(device.acSerialNum)},
             {"", "firmware", TextOf(device.acFwVersion)},
             {"", "capacity", SizeText(device.qwCapacity >> 20)},
             {"", "health", NameOf(kHealth, device.ucHealth, MW_HD_HEALTH_UNKNOWN)}};
}

constexpr auto ReadDisks = ReadEntries<MW_GetHdAssetInfo, &HdAssetInfo::dwHdNum, &HdAssetInfo::atHd>;
constexpr auto ReadDrives = ReadEntries<MW_GetLdAssetInfo, &LdAssetInfo::dwLdNum, &LdAssetInfo::atLd>;
constexpr auto ReadNvme = ReadEntries<MW_GetNvmeAssetInfo, &NvmeAssetInfo::dwNvmeNum, &NvmeAssetInfo::atNvme>;
constexpr auto ReadStates =
    ReadEntries<MW_GetHDStateInfo, &HdStateInfo::dwHdStateNum, &HdStateInfo::atHdState>;
constexpr auto ReadReadings =
    ReadEntries<MW_GetDiskBackPanelInfo, &DiskBackPanelInfo::dwBackPanelNum, &DiskBackPanelInfo::atBackPanel>;
constexpr auto ReadControllers =
    ReadEntries<MW_GetRaidAssetInfo, &RaidAssetInfo::dwCtrlNum, &RaidAssetInfo::atCtrl>;
constexpr auto ReadSpr50 = ReadEntries<MW_GetSpr50DeviceAssetInfo, &Spr50DeviceAssetInfo::dwDeviceNum,
                                       &Spr50DeviceAssetInfo::atDevice>;
constexpr auto ReadBackplanes =
    ReadEntries<MW_GetHddBackPanelAssetInfo, &HddBackPanelAssetInfo::dwBackPanelNum,
                &HddBackPanelAssetInfo::atBackPanel>;

constexpr Record kRaidRecords[] = {
    Custom<RaidAssetEntry, ReadControllers>("controllers", "Controllers", MW_RAID_CTRL_MAX)
        .Numbered("controller", 0),
    Custom<HdAssetEntry, ReadDisks>("disks", "Disks", MW_HD_MAX).Row<DiskCells>().Numbered("disk", 0),
    Custom<LdAssetEntry, ReadDrives>("drives", "Logical drives", MW_LD_MAX)
        .Row<DriveCells>()
        .Numbered("drive", 0),
    Custom<NvmeAssetEntry, ReadNvme>("nvme", "NVMe devices", MW_NVME_MAX)
        .Row<NvmeCells>()
        .Numbered("device", 0),
    Custom<Spr50DeviceEntry, ReadSpr50>("spr50", "Spr50 devices", MW_SPR50_DEVICE_MAX).Numbered("device", 0),
    Custom<HdState, ReadStates>("states", "Disk states", MW_HD_MAX).Numbered("state", 0),
    List<RaidPhyInfo, MW_GetRaidPhyInfo>("phys", "PHYs of controllers", MW_RAID_PHY_MAX).Numbered("place", 0),
    List<NvmePhyInfo, MW_GetNvmePhyInfo>("nvme-links", "Links of NVMe devices", MW_NVME_PHY_MAX)
        .Numbered("place", 0),
};
constexpr const Layout *kPassed[] = {&kLayout<HostPchHdInfo>};
const Plug raid{{"raid", "RAID controllers and their disks", &midware::kRaid, kRaidRecords,
                 &kLayout<RaidArea>, kPassed}};

constexpr Record kBackplaneRecords[] = {
    Words<BackplanePower>("totals", "Totals"),
    Custom<DiskBackPanelEntry, ReadReadings>("readings", "Temperatures and power", MW_BACK_PANEL_MAX)
        .Numbered("entry", 0),
    Custom<HddBackPanelEntry, ReadBackplanes>("assets", "Backplanes", MW_BACK_PANEL_MAX)
        .Numbered("backplane", 0),
};
const Plug backplane{{"backplane", "Disk backplanes", &midware::kRaid, kBackplaneRecords}};

}  // namespace
}  // namespace mwctl
