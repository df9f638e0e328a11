#include "disks.h"

#include <algorithm>
#include <map>
#include <memory>
#include <tuple>

#include "collector.h"
#include "hwmon.h"

namespace collect {
namespace {

const std::string kBlock = "/sys/class/block";

constexpr uint8_t kIde = 0x01;  // sub-classes of storage controllers
constexpr uint8_t kRaid = 0x04;
constexpr uint8_t kSas = 0x07;

constexpr uint32_t kScsiDisk = 0x00;  // device types
constexpr uint32_t kScsiZonedDisk = 0x14;

constexpr size_t kPageMax = 4096;  // of vital product data

uint32_t ByteAt(std::string_view bytes, size_t at) { return static_cast<unsigned char>(bytes[at]); }

// The controllers of RAID and SAS adapters are another subject; the chipset's own SATA controller stays one
// of its kind when firmware has given it the class of a RAID controller.
bool IsOwnController(const PciFunction &function) {
    if (function.base_class != kPciStorage || function.is_virtual) return false;
    return (function.sub_class != kRaid && function.sub_class != kSas) || function.driver == "ahci";
}

// The component of a path that has the form `prefix` and a number; its number, and the path up to before it.
struct Component {
    uint32_t number;
    std::string_view before;
};
std::optional<Component> FindComponent(std::string_view path, std::string_view prefix) {
    for (size_t at = path.find('/'); at != path.npos; at = path.find('/', at + 1)) {
        std::string_view name = path.substr(at + 1, path.find('/', at + 1) - at - 1);
        if (!name.starts_with(prefix)) continue;
        name.remove_prefix(prefix.size());
        if (const auto number = ParseNumber<uint32_t>(name)) return Component{*number, path.substr(0, at)};
    }
    return std::nullopt;
}

// "6.0 Gbps"; nothing for a link that is down ("<unknown>").
double ParseRate(std::string_view text) {
    const std::vector<std::string_view> words = Words(text);
    if (words.size() != 2 || words[1] != "Gbps") return 0;
    const size_t dot = words[0].find('.');
    const auto whole = ParseNumber<uint32_t>(words[0].substr(0, dot));
    const auto tenths =
        dot == words[0].npos ? std::optional<uint32_t>(0) : ParseNumber<uint32_t>(words[0].substr(dot + 1));
    if (!whole || !tenths || *tenths > 9 || *whole > 255) return 0;
    return *whole + *tenths / 10.0;
}

// The line rate of all lanes together, as the rate of a SATA link is its line rate.
double PcieRate(const PciLink &link) {
    static constexpr double kPerLane[] = {0, 2.5, 5, 8, 16, 32, 64};
    return link.speed < std::size(kPerLane) ? kPerLane[link.speed] * link.width : 0;
}

// A page of a SCSI disk's vital product data; "" where the host has no such page of it.
std::string VpdPage(const Host &host, const std::string &device, uint8_t page) {
    const std::string path = fmt::format("{}/vpd_pg{:x}", device, page);
    std::string bytes = host.File(path, kPageMax).value_or("");
    if (bytes.size() >= 4 && ByteAt(bytes, 1) == page) return bytes;
    if (!bytes.empty())
        host.Skip(path, fmt::format("vital product data page {:X}h", page), bytes.substr(0, 4));
    return {};
}

// The first of two texts that says something.
std::string Either(const std::string &first, const std::string &second) {
    return first.empty() ? second : first;
}

void Rotates(HostDisk &disk, uint32_t rotation) {
    disk.rotation = rotation;
    disk.media = rotation == 1 ? MW_HD_MEDIA_SOLID_STATE : rotation > 1 ? MW_HD_MEDIA_ROTATING : disk.media;
}

// A disk that the host sees through its SCSI layer: SATA disks, and those of virtual SCSI adapters. The layer
// shows 16 characters of the model and 4 of the firmware; the disk's own identify data have all of them.
void ReadScsiDisk(const Host &host, const std::string &path, const std::string &udev, HostDisk &disk) {
    const std::string device = path + "/device";
    disk.vendor = Meaningful(host.Text(device + "/vendor").value_or(""));
    const std::string model = Meaningful(host.Text(device + "/model").value_or(""));
    const std::string firmware = Meaningful(host.Text(device + "/rev").value_or(""));

    AtaIdentity own;
    if (const std::string page = VpdPage(host, device, 0x89); !page.empty())
        own = ParseAtaPage(page).value_or(own);
    disk.model = Either(own.model, Either(Meaningful(UdevProperty(udev, "ID_MODEL_ENC")), model));
    disk.firmware = Either(own.firmware, Either(Meaningful(UdevProperty(udev, "ID_REVISION")), firmware));
    disk.serial = own.serial;
    disk.form_factor = own.form_factor;
    disk.link_rate = own.link_rate;
    disk.wwn = own.wwn;
    if (disk.serial.empty()) {
        if (const std::string page = VpdPage(host, device, 0x80); !page.empty()) {
            disk.serial =
                Meaningful(std::string_view(page).substr(4, ByteAt(page, 2) << 8 | ByteAt(page, 3)));
        }
    }
    if (disk.serial.empty()) disk.serial = Meaningful(UdevProperty(udev, "ID_SERIAL_SHORT"));
    if (disk.wwn == std::array<uint8_t, 8>{}) {
        disk.wwn = ParseWwn(Either(host.Text(device + "/wwid", Refusal::kExpected).value_or(""),
                                   UdevProperty(udev, "ID_WWN")))
                       .value_or(disk.wwn);
    }

    uint32_t rotation = own.rotation;
    const std::string page = VpdPage(host, device, 0xB1);  // block device characteristics
    if (page.size() >= 8) {
        if (rotation == 0) rotation = ByteAt(page, 4) << 8 | ByteAt(page, 5);
        if (disk.form_factor == 0) disk.form_factor = ByteAt(page, 7) & 0xF;
    }
    const auto rate = ParseNumber<uint32_t>(UdevProperty(udev, "ID_ATA_ROTATION_RATE_RPM"));
    if (rotation == 0 && rate) rotation = std::max(*rate, 1u);
    Rotates(disk, rotation);

    if (const auto ata = FindComponent(path, "ata")) {
        disk.interface = MW_PCH_IF_SATA;
        const auto number =
            host.Number<uint32_t>(fmt::format("/sys/class/ata_port/ata{}/port_no", ata->number),
                                  "a port number", 1, 256, Refusal::kExpected);
        if (number) disk.port = static_cast<uint16_t>(*number - 1);
        const double link_rate = ParseRate(
            host.Text(fmt::format("/sys/class/ata_link/link{}/sata_spd", ata->number), Refusal::kExpected)
                .value_or(""));
        if (link_rate > 0) disk.link_rate = link_rate;
        if (number) return;
    } else if (UdevProperty(udev, "ID_ATA_SATA") == "1" || disk.vendor == "ATA") {
        disk.interface = MW_PCH_IF_SATA;
    }
    // Without a port of its own: each port of such a controller is a host adapter, or they are the targets of
    // one.
    const auto adapter = FindComponent(path, "host");
    if (!adapter) return;
    const std::vector<NumberedEntry> adapters = host.Numbered(std::string(adapter->before), "host");
    if (adapters.size() > 1) {
        const auto own_place =
            std::find_if(adapters.begin(), adapters.end(),
                         [&](const NumberedEntry &entry) { return entry.number == adapter->number; });
        disk.port = static_cast<uint16_t>(own_place - adapters.begin());
    } else if (const std::string address = host.LinkName(device).value_or(""); !address.empty()) {
        const size_t second = address.find(':', address.find(':') + 1);
        if (second == address.npos) return;
        const std::string_view target = std::string_view(address).substr(second + 1);
        disk.port = ParseNumber<uint16_t>(target.substr(0, target.find(':'))).value_or(0);
    }
}

// A namespace of an NVMe device is its port: "nvme0n1", or "nvme0c0n1" where the host joins several paths to
// it.
void ReadNvmeDisk(const Host &host, const std::string &path, const std::string &name,
                  const PciFunction &function, HostDisk &disk) {
    const std::string device = path + "/device";
    disk.model = Meaningful(host.Text(device + "/model").value_or(""));
    disk.serial = Meaningful(host.Text(device + "/serial").value_or(""));
    disk.firmware = Meaningful(host.Text(device + "/firmware_rev").value_or(""));
    disk.wwn = ParseWwn(host.Text(path + "/wwid", Refusal::kExpected).value_or("")).value_or(disk.wwn);
    disk.interface = MW_PCH_IF_PCIE;
    disk.link_rate = PcieRate(function.link);
    Rotates(disk, 1);
    const auto number = ParseNumber<uint16_t>(std::string_view(name).substr(name.rfind('n') + 1));
    if (number && *number > 0) disk.port = static_cast<uint16_t>(*number - 1);
}

HostDisk ReadDisk(const Host &host, const std::string &path, const std::string &name,
                  const PciFunction &function, const std::vector<HwmonChip> &chips) {
    HostDisk disk;
    disk.controller = function.address;
    disk.name = name;
    const std::string number = host.Text(path + "/dev", Refusal::kExpected).value_or("");
    const std::string udev = number.empty() ? "" : host.File("/run/udev/data/b" + number).value_or("");
    if (name.starts_with("nvme")) {
        ReadNvmeDisk(host, path, name, function, disk);
    } else if (FindComponent(path, "host")) {
        ReadScsiDisk(host, path, udev, disk);
        if (disk.interface == kUnknownInterface && function.sub_class == kIde)
            disk.interface = MW_HD_IF_PARALLEL;
    } else {
        disk.serial = Meaningful(host.Text(path + "/serial", Refusal::kExpected).value_or(""));  // virtio
    }
    if (const auto sectors = host.Number<uint64_t>(path + "/size", "a number of sectors")) {
        disk.capacity_mb = static_cast<uint32_t>(std::min<uint64_t>(*sectors / 2048, UINT32_MAX));
    }
    disk.sector_size =
        host.Number<uint16_t>(path + "/queue/logical_block_size", "a size of a sector", 1).value_or(0);
    const auto rotational = host.Number<uint32_t>(path + "/queue/rotational", "0 or 1", 0, 1);
    if (rotational && disk.media == MW_HD_MEDIA_UNKNOWN) {
        if (*rotational == 0) Rotates(disk, 1);
        if (*rotational == 1) disk.media = MW_HD_MEDIA_ROTATING;
    }
    const std::string device = host.LinkName(path + "/device").value_or("");
    for (const HwmonChip &chip : chips) {
        if (device.empty() || chip.device != device || (chip.name != "drivetemp" && chip.name != "nvme"))
            continue;
        const int32_t degrees = HwmonDegrees(host, chip, "temp1_input").value_or(0);
        if (degrees > 0 && degrees <= 255) disk.temperature = static_cast<uint8_t>(degrees);
    }
    return disk;
}

// Whole disks only: no partitions, and nothing that is made of other disks, of memory or of nothing.
bool IsWholeDisk(const Host &host, const std::string &path) {
    if (path.starts_with("/sys/devices/virtual/") || host.Exists(path + "/partition")) return false;
    if (host.Text(path + "/removable", Refusal::kExpected).value_or("0") == "1") return false;
    if (!FindComponent(path, "host")) return true;
    const auto type =
        host.Number<uint32_t>(path + "/device/type", "a SCSI device type", 0, 0x1F, Refusal::kExpected);
    return !type || *type == kScsiDisk || *type == kScsiZonedDisk;
}

// The number of the processor that a memory node belongs to; the first one where that is not known.
uint8_t ProcessorOf(const Host &host, const std::optional<uint8_t> &node,
                    const std::vector<CpuPackage> &processors) {
    if (!node) return 0;
    const std::string list =
        host.Text(fmt::format("/sys/devices/system/node/node{}/cpulist", *node)).value_or("");
    const auto first = ParseNumber<uint32_t>(std::string_view(list).substr(0, list.find_first_of("-,")));
    for (size_t i = 0; first && i < processors.size() && i <= UINT8_MAX; ++i) {
        const std::vector<uint32_t> &logical = processors[i].logical;
        if (std::find(logical.begin(), logical.end(), *first) != logical.end())
            return static_cast<uint8_t>(i);
    }
    return 0;
}

class DiskCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        if (!host.Exists(kBlock)) return;
        const std::vector<PciFunction> functions = ReadPciFunctions(host);
        if (processors_.empty()) processors_ = FindCpus(host).packages;
        const HostDisks found = FindDisks(host, functions, processors_);
        Say(host, "controllers", found.controllers_left_out, found.controllers.size(), MW_PCH_CTRL_MAX);
        Say(host, "disks", found.disks_left_out, found.disks.size(), kPchDiskMax);

        const auto old_disks = std::make_unique<PchDiskAssetInfo>();
        const auto old_controllers = std::make_unique<PchCtrlAssetInfo>();
        if (MW_GetPCHDiskAssetInfo(old_disks.get()) != 0) old_disks->dwPCHDiskNum = 0;
        if (MW_GetPCHCtrlAssetInfo(old_controllers.get()) != 0) old_controllers->dwPCHCtrlNum = 0;
        const auto disks = std::make_unique<PchDiskAssetInfo>();
        const auto controllers = std::make_unique<PchCtrlAssetInfo>();
        const PciNames &names = InstalledPciNames(host.log());
        for (const DiskController &controller : found.controllers) {
            const uint32_t index = controllers->dwPCHCtrlNum++;
            controllers->atPchCtrl[index] = ToControllerRecord(controller, index, names);
        }
        for (const HostDisk &disk : found.disks) {
            const uint32_t index = disks->dwPCHDiskNum++;
            disks->atPchDisk[index] = ToDiskRecord(disk, index);
            KeepHealth(*old_disks, disks->atPchDisk[index]);
        }
        if (controllers->dwPCHCtrlNum + old_controllers->dwPCHCtrlNum > 0) {
            writer.Wrote("PCH disk controllers", controllers->dwPCHCtrlNum,
                         MW_SetPCHCtrlAssetInfo(controllers.get()));
        }
        if (disks->dwPCHDiskNum + old_disks->dwPCHDiskNum > 0) {
            writer.Wrote("PCH disks", disks->dwPCHDiskNum, MW_SetPCHDiskAssetInfo(disks.get()));
        }
    }

  private:
    static void Say(const Host &host, std::string_view what, size_t left_out, size_t taken, size_t room) {
        if (left_out == 0) return;
        host.log().Once(fmt::format("disks: {} of {} {} left out, there is room for {}", left_out,
                                    left_out + taken, what, room));
    }

    // Who judges a disk's health stores it in its record.
    static void KeepHealth(const PchDiskAssetInfo &stored, PchDiskInfo &found) {
        const auto key = [](const PchDiskInfo &disk) {
            return std::tuple(
                disk.dwCtrlId, disk.wPort,
                std::string_view(disk.acSerialNum, strnlen(disk.acSerialNum, sizeof disk.acSerialNum)));
        };
        for (uint32_t i = 0; i < std::min(stored.dwPCHDiskNum, MW_PCH_DISK_MAX); ++i) {
            if (key(stored.atPchDisk[i]) == key(found)) found.ucInfoA = stored.atPchDisk[i].ucInfoA;
        }
    }

    std::vector<CpuPackage> processors_;
};

const Registration registered({"disks", "disks on the host's own controllers, and those", 50,
                               Make<DiskCollector>});

}  // namespace

std::optional<AtaIdentity> ParseAtaPage(std::string_view page) {
    constexpr size_t kData = 60;
    if (page.size() < kData + 512) return std::nullopt;
    const auto word = [&](size_t number) {
        return ByteAt(page, kData + 2 * number) | ByteAt(page, kData + 2 * number + 1) << 8;
    };
    // Two characters a word, the first one in its upper half.
    const auto text = [&](size_t first, size_t last) {
        std::string characters;
        for (size_t i = first; i <= last; ++i) {
            characters += page[kData + 2 * i + 1];
            characters += page[kData + 2 * i];
        }
        return Meaningful(characters);
    };
    AtaIdentity identity;
    identity.serial = text(10, 19);
    identity.firmware = text(23, 26);
    identity.model = text(27, 46);
    const uint32_t rotation = word(217);
    if (rotation == 1 || (rotation > 0x400 && rotation < 0xFFFF)) identity.rotation = rotation;
    identity.form_factor = word(168) & 0xF;
    static constexpr double kRates[] = {0, 1.5, 3, 6, 0, 0, 0, 0};
    if (word(76) != 0 && word(76) != 0xFFFF) identity.link_rate = kRates[word(77) >> 1 & 7];
    if ((word(87) & 0xC100) == 0x4100) {
        for (size_t i = 0; i < 4; ++i) {
            identity.wwn[2 * i] = static_cast<uint8_t>(word(108 + i) >> 8);
            identity.wwn[2 * i + 1] = static_cast<uint8_t>(word(108 + i));
        }
    }
    return identity;
}

std::optional<std::array<uint8_t, 8>> ParseWwn(std::string_view text) {
    for (const std::string_view prefix : {"naa.", "eui.", "0x"}) {
        if (text.starts_with(prefix)) {
            text.remove_prefix(prefix.size());
            break;
        }
    }
    if (text.size() != 16 || text.find_first_not_of("0123456789abcdefABCDEF") != text.npos)
        return std::nullopt;
    const auto number = ParseNumber<uint64_t>(text, 16);
    std::array<uint8_t, 8> wwn{};
    for (size_t i = 0; number && i < wwn.size(); ++i) wwn[i] = static_cast<uint8_t>(*number >> (56 - 8 * i));
    return wwn;
}

std::string UdevProperty(std::string_view record, std::string_view key) {
    for (const std::string_view line : Lines(record)) {
        if (!line.starts_with("E:") || !line.substr(2).starts_with(key)) continue;
        std::string_view value = line.substr(2 + key.size());
        if (!value.starts_with('=')) continue;
        value.remove_prefix(1);
        std::string text;
        for (size_t at = 0; at < value.size(); ++at) {
            const bool escaped = value.substr(at).starts_with("\\x") && value.size() - at >= 4;
            const auto byte = escaped ? ParseNumber<uint8_t>(value.substr(at + 2, 2), 16) : std::nullopt;
            text += byte ? static_cast<char>(*byte) : value[at];
            if (byte) at += 3;
        }
        return text;
    }
    return {};
}

HostDisks FindDisks(const Host &host, const std::vector<PciFunction> &functions,
                    const std::vector<CpuPackage> &processors) {
    std::vector<HostDisk> disks;
    std::map<PciAddress, std::vector<uint16_t>> ports;  // that have a disk, of each controller
    const std::vector<HwmonChip> chips = HwmonChips(host);
    for (const std::string &name : host.List(kBlock)) {
        const std::optional<std::string> path = host.Resolve(kBlock + "/" + name);
        if (!path) continue;
        const PciFunction *function = FindPciParent(functions, *path);
        if (function == nullptr || !IsOwnController(*function) || !IsWholeDisk(host, *path)) continue;
        disks.push_back(ReadDisk(host, *path, name, *function, chips));
        ports[function->address].push_back(disks.back().port);
    }

    // When not all controllers fit, those without disks are left out first.
    HostDisks found;
    for (const bool with_disks : {true, false}) {
        for (const PciFunction &function : functions) {
            if (!IsOwnController(function) || ports.contains(function.address) != with_disks) continue;
            if (found.controllers.size() == MW_PCH_CTRL_MAX) {
                ++found.controllers_left_out;
                continue;
            }
            std::vector<uint16_t> used = with_disks ? ports[function.address] : std::vector<uint16_t>{};
            std::sort(used.begin(), used.end());
            const auto count = std::unique(used.begin(), used.end()) - used.begin();
            found.controllers.push_back({function, ProcessorOf(host, function.numa_node, processors),
                                         static_cast<uint8_t>(std::min<ptrdiff_t>(count, UINT8_MAX))});
        }
    }
    const auto address = [](const DiskController &controller) { return controller.function.address; };
    std::ranges::sort(found.controllers, {}, address);
    for (HostDisk &disk : disks) {
        const bool known =
            std::ranges::find(found.controllers, disk.controller, address) != found.controllers.end();
        if (known && found.disks.size() < kPchDiskMax) {
            found.disks.push_back(std::move(disk));
        } else {
            ++found.disks_left_out;
        }
    }
    return found;
}

uint32_t ControllerId(const PciAddress &address) {
    return address.domain << 16 | uint32_t{address.bus} << 8 | uint32_t{address.device} << 3 |
           address.function;
}

PchDiskInfo ToDiskRecord(const HostDisk &disk, uint32_t index) {
    PchDiskInfo info{};
    info.dwDiskId = index;
    info.dwCtrlId = ControllerId(disk.controller);
    info.wSectorSize = disk.sector_size;
    info.wPort = disk.port;
    info.ucFormFactor = disk.form_factor;
    info.ucTemperature = disk.temperature;
    info.dwRotateRate = disk.rotation;
    info.ucInfoB = disk.media;
    info.dwInfoC = disk.capacity_mb;
    Fill(info.acVendor, disk.vendor);
    Fill(info.acSerialNum, disk.serial);
    Fill(info.acFwVersion, disk.firmware);
    Fill(info.acModel, disk.model);
    info.ucIfType = disk.interface;
    info.dLinkRate = disk.link_rate;
    std::copy(disk.wwn.begin(), disk.wwn.end(), info.aucWwn);
    return info;
}

PchCtrlInfo ToControllerRecord(const DiskController &controller, uint32_t index, const PciNames &names) {
    const PciFunction &function = controller.function;
    PchCtrlInfo info{};
    info.dwCtrlIndex = index;
    info.dwCtrlId = ControllerId(function.address);
    info.wVendorId = function.vendor;
    info.wDeviceId = function.device;
    info.wSubVendorId = function.sub_vendor;
    info.wSubDeviceId = function.sub_device;
    info.dwClassCode =
        uint32_t{function.base_class} << 16 | uint32_t{function.sub_class} << 8 | function.prog_if;
    info.ucRevisionId = function.revision;
    info.ucPortNum = controller.ports;
    Fill(info.acDriverName, function.driver);
    Fill(info.acName, names.Device(function.vendor, function.device));
    info.ucCpuId = controller.cpu;
    info.dwDomain = function.address.domain;
    info.dwBus = function.address.bus;
    info.dwDev = function.address.device;
    info.dwFunc = function.address.function;
    return info;
}

}  // namespace collect
