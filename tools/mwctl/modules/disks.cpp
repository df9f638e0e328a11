// Disks behind the platform controller hub: the host's view of them, and the tables that it is made of.
#include "disks.h"

#include "pch/hov_midpch.h"

namespace mwctl {

using midware::PchArea;

namespace {

constexpr uint8_t kUnknownInterface = 255;
constexpr Code kStoredInterfaces[] = {{MW_HD_IF_PARALLEL, "parallel"},
                                      {MW_HD_IF_SAS, "SAS"},
                                      {MW_PCH_IF_SATA, "SATA"},
                                      {MW_PCH_IF_PCIE, "PCIe"},
                                      {kUnknownInterface, "unknown"}};
constexpr Code kFormFactors[] = {
    {0, "unknown"}, {1, "5.25 inch"}, {2, "3.5 inch"}, {3, "2.5 inch"}, {4, "1.8 inch"}};

}  // namespace

// clang-format off
MW_RECORD(PchDiskInfo,
          MW_FIELD(dwDiskId, "number"),
          MW_FIELD(dwCtrlId, "controller ID").Hex(),
          MW_FIELD(wSectorSize, "sector").Unit("bytes").QuietZero(),
          MW_FIELD(wPort, "port"),
          MW_FIELD(ucInfoA, "health").Codes(kHealth).Health(),
          MW_FIELD(ucFormFactor, "form factor").Codes(kFormFactors),
          MW_FIELD(ucTemperature, "temperature").Unit("C").QuietZero().Reading(),
          MW_FIELD(ucReserved, ""),
          MW_FIELD(dwRotateRate, "revolutions per minute").QuietZero(),
          MW_FIELD(ucInfoB, "media").Codes(kMedia),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(dwInfoC, "capacity").Unit("MiB"),
          MW_FIELD(acVendor, "vendor"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acFwVersion, "firmware"),
          MW_FIELD(acModel, "model").Naming(),
          MW_FIELD(ucIfType, "interface").Codes(kStoredInterfaces),
          MW_FIELD(dLinkRate, "link rate").Unit("Gbit/s"),
          MW_FIELD(aucWwn, "world wide name"));

MW_RECORD(PchDiskAssetInfo,
          MW_FIELD(dwPCHDiskNum, "disks"),
          MW_FIELD(aucPad, ""),
          MW_FIELD(atPchDisk, "disk").CountedBy(offsetof(PchDiskAssetInfo, dwPCHDiskNum)));

MW_RECORD(PchCtrlInfo,
          MW_FIELD(dwCtrlIndex, "number"),
          MW_FIELD(dwCtrlId, "controller ID").Hex(),
          MW_FIELD(wVendorId, "vendor ID").Hex(),
          MW_FIELD(wDeviceId, "device ID").Hex(),
          MW_FIELD(wSubVendorId, "subsystem vendor ID").Hex(),
          MW_FIELD(wSubDeviceId, "subsystem ID").Hex(),
          MW_FIELD(dwClassCode, "class code").Hex(),
          MW_FIELD(ucRevisionId, "revision").Hex(),
          MW_FIELD(ucPortNum, "ports in use"),
          MW_FIELD(acDriverName, "driver"),
          MW_FIELD(acName, "name"),
          MW_FIELD(aucReserved, ""),
          MW_FIELD(ucCpuId, "processor"),
          MW_FIELD(dwDomain, "PCI domain").Hex(),
          MW_FIELD(dwBus, "PCI bus").Hex(),
          MW_FIELD(dwDev, "PCI device").Hex(),
          MW_FIELD(dwFunc, "PCI function"),
          MW_FIELD(dwPortsImplemented, "ports").Hex().QuietZero());

MW_RECORD(PchCtrlAssetInfo,
          MW_FIELD(dwPCHCtrlNum, "controllers"),
          MW_FIELD(atPchCtrl, "controller").CountedBy(offsetof(PchCtrlAssetInfo, dwPCHCtrlNum)));

MW_RECORD(PchArea,
          MW_FIELD(tDisk, "disks"),
          MW_FIELD(tCtrl, "controllers"),
          MW_FIELD(aucUnused, "").Reserved());

// What the host view fills of its entries.
struct HostDisk {
    uint8_t ucSlot;
    uint8_t ucInfoA;
    uint8_t ucInfoB;
    uint8_t ucIfType;
    uint8_t ucLinkRate;
    uint8_t ucRotateRate;
    uint8_t ucCpuId;
    uint8_t ucReserved;
    uint16_t wPort;
    uint16_t wReserved;
    uint32_t dwInfoC;
    char acBdf[16];
    char acSilkInfo[64];
    char acVendor[32];
    char acModel[64];
    char acSerialNum[32];
    char acFwVersion[16];
};
MW_RECORD(HostDisk,
          MW_FIELD(ucSlot, "slot").NoValue(),
          MW_FIELD(ucInfoA, "health").Codes(kHealth),
          MW_FIELD(ucInfoB, "media").Codes(kMedia),
          MW_FIELD(ucIfType, "interface").Codes(kInterfaces),
          MW_FIELD(ucLinkRate, "link rate").Codes(kRates),
          MW_FIELD(ucRotateRate, "revolutions per minute").Codes(kRotations),
          MW_FIELD(ucCpuId, "processor"),
          MW_FIELD(ucReserved, ""),
          MW_FIELD(wPort, "port"),
          MW_FIELD(wReserved, ""),
          MW_FIELD(dwInfoC, "capacity").Unit("MiB"),
          MW_FIELD(acBdf, "controller"),
          MW_FIELD(acSilkInfo, "label"),
          MW_FIELD(acVendor, "vendor"),
          MW_FIELD(acModel, "model"),
          MW_FIELD(acSerialNum, "serial number"),
          MW_FIELD(acFwVersion, "firmware"));

struct PchCounts {
    uint32_t dwPCHDiskNum;
    uint32_t dwPCHCtrlNum;
};
MW_RECORD(PchCounts,
          MW_FIELD(dwPCHDiskNum, "disks").Get<MW_GetPCHDiskCount>(),
          MW_FIELD(dwPCHCtrlNum, "controllers").Get<MW_GetPCHCtrlCount>());

MW_RECORD(PchDiskCustomCfg,
          MW_FIELD(dwBus, "bus").Hex(),
          MW_FIELD(dwDev, "device").Hex(),
          MW_FIELD(dwFunc, "function").Hex(),
          MW_FIELD(ucCpuId, "processor"),
          MW_FIELD(ucPort, "port"),
          MW_FIELD(ucCfgType, "setting"),
          MW_FIELD(ucSlot, "slot").NoValue(),
          MW_FIELD(ucReserved, ""),
          MW_FIELD(acSilkInfo, "label"),
          MW_FIELD(aucPad, ""));
// clang-format on

namespace {

template <size_t size>
void Copy(char (&to)[size], const char (&from)[size]) {
    std::copy_n(from, size, to);
}

int32_t ReadView(HostDisk *disks, uint32_t &count) {
    const auto view = std::make_unique<HostPchHdInfo>();
    for (HostPchHdEntry &entry : view->atHd) {  // what stays so was not filled
        entry.ucSlot = MW_HD_NO_SLOT;
        entry.ucIfType = kUnknownInterface;
        entry.ucRotateRate = MW_HD_RPM_OTHER;
    }
    if (HOST_GetPCHHdInfo(view.get()) < 0) return -1;
    count = view->dwHdNum;
    for (uint32_t i = 0; i < std::min(count, MW_PCH_DISK_MAX); ++i) {
        const HostPchHdEntry &entry = view->atHd[i];
        HostDisk &disk = disks[i];
        disk.ucSlot = entry.ucSlot;
        disk.ucInfoA = entry.ucInfoA;
        disk.ucInfoB = entry.ucInfoB;
        disk.ucIfType = entry.ucIfType;
        disk.ucLinkRate = entry.ucLinkRate;
        disk.ucRotateRate = entry.ucRotateRate;
        disk.ucCpuId = entry.ucCpuId;
        disk.wPort = entry.wPort;
        disk.dwInfoC = entry.dwInfoC;
        Copy(disk.acBdf, entry.acBdf);
        Copy(disk.acSilkInfo, entry.acSilkInfo);
        Copy(disk.acVendor, entry.acVendor);
        Copy(disk.acModel, entry.acModel);
        Copy(disk.acSerialNum, entry.acSerialNum);
        Copy(disk.acFwVersion, entry.acFwVersion);
    }
    return 0;
}

// The view passes over a disk whose controller is not in the table: all of its entry is empty.
bool IsJoined(const HostDisk &disk) { return disk.acBdf[0] != '\0'; }

void ViewNotes(const HostDisk &disk, std::vector<Note> &notes) {
    if (!IsJoined(disk)) notes.push_back({"joined", "joined", "no: its controller is not in the table"});
}

void ViewCells(const HostDisk &disk, std::vector<Note> &cells) {
    if (!IsJoined(disk)) {
        cells = {{"", "controller", "not in the table"}};
        return;
    }
    const std::string label = TextOf(disk.acSilkInfo);
    cells = {{"", "slot", disk.ucSlot == MW_HD_NO_SLOT ? "" : fmt::format("{}", disk.ucSlot)},
             {"", "label", label == "--" ? "" : label},
             {"", "vendor", TextOf(disk.acVendor)},
             {"", "model", TextOf(disk.acModel)},
             {"", "serial number", TextOf(disk.acSerialNum)},
             {"", "firmware", TextOf(disk.acFwVersion)},
             {"", "capacity", SizeText(disk.dwInfoC)},
             {"", "interface", NameOf(kInterfaces, disk.ucIfType, kUnknownInterface)},
             {"", "link rate", RateText(disk.ucLinkRate)},
             {"", "rpm", NameOf(kRotations, disk.ucRotateRate)},
             {"", "health", NameOf(kHealth, disk.ucInfoA, MW_HD_HEALTH_UNKNOWN)},
             {"", "CPU", fmt::format("{}", disk.ucCpuId)},
             {"", "controller", TextOf(disk.acBdf)},
             {"", "port", fmt::format("{}", disk.wPort)}};
}

void ControllerCells(const PchCtrlInfo &ctrl, std::vector<Note> &cells) {
    cells = {{"", "CPU", fmt::format("{}", ctrl.ucCpuId)},
             {"", "address",
              fmt::format("{:04x}:{:02x}:{:02x}.{:x}", ctrl.dwDomain, ctrl.dwBus, ctrl.dwDev, ctrl.dwFunc)},
             {"", "vendor:device", fmt::format("{:04x}:{:04x}", ctrl.wVendorId, ctrl.wDeviceId)},
             {"", "class", fmt::format("{:06x}", ctrl.dwClassCode)},
             {"", "driver", TextOf(ctrl.acDriverName)},
             {"", "ports in use", fmt::format("{}", ctrl.ucPortNum)},
             {"", "name", TextOf(ctrl.acName)}};
}

void StoredCells(const PchDiskInfo &disk, std::vector<Note> &cells) {
    cells = {{"", "controller ID", fmt::format("0x{:08x}", disk.dwCtrlId)},
             {"", "port", fmt::format("{}", disk.wPort)},
             {"", "sector", disk.wSectorSize == 0 ? "" : fmt::format("{} bytes", disk.wSectorSize)},
             {"", "media", NameOf(kMedia, disk.ucInfoB, MW_HD_MEDIA_UNKNOWN)},
             {"", "form factor", NameOf(kFormFactors, disk.ucFormFactor, 0)},
             {"", "temperature", disk.ucTemperature == 0 ? "" : fmt::format("{} C", disk.ucTemperature)},
             {"", "vendor", TextOf(disk.acVendor)},
             {"", "model", TextOf(disk.acModel)}};
}

constexpr auto ReadDisks =
    ReadEntries<MW_GetPCHDiskAssetInfo, &PchDiskAssetInfo::dwPCHDiskNum, &PchDiskAssetInfo::atPchDisk>;
constexpr auto ReadControllers =
    ReadEntries<MW_GetPCHCtrlAssetInfo, &PchCtrlAssetInfo::dwPCHCtrlNum, &PchCtrlAssetInfo::atPchCtrl>;

constexpr Record kRecords[] = {
    Words<PchCounts>("totals", "Totals"),
    Custom<HostDisk, ReadView>("view", "As the host sees them", MW_PCH_DISK_MAX)
        .Row<ViewCells>()
        .Notes<ViewNotes>()
        .Numbered("disk", 0),
    Custom<PchCtrlInfo, ReadControllers>("controllers", "Controllers", MW_PCH_CTRL_MAX)
        .Row<ControllerCells>()
        .Numbered("controller", 0),
    Custom<PchDiskInfo, ReadDisks>("stored", "As they are stored", MW_PCH_DISK_MAX)
        .Row<StoredCells>()
        .Numbered("disk", 0),
};
constexpr const Layout *kPassed[] = {&kLayout<PchDiskCustomCfg>};
const Plug plug{
    {"disks", "Disks behind the PCH", &midware::kPch, kRecords, &kLayout<PchArea>, kPassed}};

}  // namespace
}  // namespace mwctl
