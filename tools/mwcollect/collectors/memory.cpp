#include "memory.h"

#include <algorithm>
#include <cctype>
#include <tuple>

#include "collector.h"
#include "hwmon.h"
#include "midware/area.h"
#include "midware/mem.h"

namespace collect {
namespace {

constexpr uint8_t kMemoryDevice = 17;
const std::string kEdac = "/sys/devices/system/edac/mc";

// Codes of DSP0134; what is "other", "unknown" or reserved has no text.
// clang-format off
constexpr std::array kFormFactors = {
    "", "", "", "SIMM", "SIP", "Chip", "DIP", "ZIP", "Proprietary Card", "DIMM", "TSOP", "Row of chips", "RIMM",
    "SODIMM", "SRIMM", "FB-DIMM", "Die", "CAMM"};
constexpr std::array kMemoryTypes = {
    "", "", "", "DRAM", "EDRAM", "VRAM", "SRAM", "RAM", "ROM", "FLASH", "EEPROM", "FEPROM", "EPROM", "CDRAM",
    "3DRAM", "SDRAM", "SGRAM", "RDRAM", "DDR", "DDR2", "DDR2 FB-DIMM", "", "", "", "DDR3", "FBD2", "DDR4", "LPDDR",
    "LPDDR2", "LPDDR3", "LPDDR4", "Logical non-volatile device", "HBM", "HBM2", "DDR5", "LPDDR5", "HBM3"};
constexpr std::array kTypeDetails = {
    "", "", "", "Fast-paged", "Static column", "Pseudo-static", "RAMBUS", "Synchronous", "CMOS", "EDO",
    "Window DRAM", "Cache DRAM", "Non-volatile", "Registered (Buffered)", "Unbuffered (Unregistered)", "LRDIMM"};
// clang-format on

template <size_t Count>
const char *CodeName(const std::array<const char *, Count> &names, uint8_t code) {
    return code < Count ? names[code] : "";
}

std::string TypeDetail(uint16_t bits) {
    std::string text;
    for (size_t bit = 0; bit < kTypeDetails.size(); ++bit) {
        if ((bits >> bit & 1u) == 0 || kTypeDetails[bit][0] == '\0') continue;
        text += text.empty() ? "" : " ";
        text += kTypeDetails[bit];
    }
    return text;
}

// A speed, whose word says "see the extended field" with all ones.
uint32_t Speed(const SmbiosStructure &structure, size_t word, size_t extended) {
    const uint32_t speed = structure.Field<uint16_t>(word).value_or(0);
    return speed == 0xFFFF ? structure.Field<uint32_t>(extended).value_or(0) & 0x7FFFFFFFu : speed;
}

uint32_t Width(const SmbiosStructure &structure, size_t at) {
    const uint16_t width = structure.Field<uint16_t>(at).value_or(0);
    return width == 0xFFFF ? 0 : width;
}

// The number that follows a word in a text, whatever stands between them: "P0_Node1_Channel2_Dimm0".
std::optional<uint32_t> NumberAfter(std::string_view text, std::string_view word) {
    for (size_t at = 0; at + word.size() < text.size(); ++at) {
        if (at > 0 && std::isalpha(static_cast<unsigned char>(text[at - 1]))) continue;
        if (!StartsWithNoCase(text.substr(at), word)) continue;
        std::string_view rest = text.substr(at + word.size());
        rest.remove_prefix(std::min(rest.find_first_not_of(" _#:-"), rest.size()));
        const auto number = ParseNumber<uint32_t>(rest.substr(0, rest.find_first_not_of("0123456789")));
        if (number) return number;
    }
    return std::nullopt;
}

// Where a slot is, as far as its names say so by number; the words are those that firmware commonly uses.
std::array<uint32_t, 4> Locate(const std::string &bank, const std::string &locator) {
    static constexpr const char *kWords[4][3] = {{"NODE", "PROC", "CPU"},
                                                 {"MC", "IMC", "CONTROLLER"},
                                                 {"CHANNEL", "CHAN", "CH"},
                                                 {"DIMM", "SLOT", "D"}};
    std::array<uint32_t, 4> location{};
    for (size_t i = 0; i < location.size(); ++i) {
        location[i] = MW_NO_VALUE;
        for (const char *word : kWords[i]) {
            for (const std::string &text : {bank, locator}) {
                const auto number = NumberAfter(text, word);
                if (number && location[i] == MW_NO_VALUE) location[i] = *number;
            }
        }
    }
    return location;
}

// Locations are keys: those that do not tell the slots apart are replaced by the slot's place in the list.
void MakeLocationsUnique(std::vector<MemoryDevice> &devices) {
    std::vector<std::array<uint32_t, 4>> seen;
    for (const MemoryDevice &device : devices) seen.push_back(device.location);
    std::sort(seen.begin(), seen.end());
    if (std::adjacent_find(seen.begin(), seen.end()) == seen.end()) return;
    for (size_t i = 0; i < devices.size(); ++i) {
        devices[i].location = {MW_NO_VALUE, MW_NO_VALUE, MW_NO_VALUE, static_cast<uint32_t>(i)};
    }
}

struct EdacDevice {
    std::string label;
    MemoryDevice device;
};

std::vector<EdacDevice> ReadEdac(const Host &host) {
    std::vector<EdacDevice> found;
    for (const NumberedEntry &controller : host.Numbered(kEdac, "mc")) {
        const std::string dir = kEdac + "/" + controller.name;
        for (const char *prefix : {"dimm", "rank"}) {
            for (const NumberedEntry &entry : host.Numbered(dir, prefix)) {
                const std::string path = dir + "/" + entry.name + "/";
                const auto correctable = host.Number<uint64_t>(path + "dimm_ce_count", "an error count");
                const auto uncorrectable = host.Number<uint64_t>(path + "dimm_ue_count", "an error count");
                const auto size = host.Number<uint32_t>(path + "size", "a size in MiB");
                EdacDevice edac;
                edac.label = CleanText(host.Text(path + "dimm_label").value_or(""));
                MemoryDevice &device = edac.device;
                device.present = size.value_or(0) > 0;
                device.size_mb = size.value_or(0);
                device.locator =
                    edac.label.empty() ? fmt::format("{} {}", controller.name, entry.name) : edac.label;
                device.type = Meaningful(host.Text(path + "dimm_mem_type").value_or(""));
                const std::string location = host.Text(path + "dimm_location").value_or("");
                device.location = {MW_NO_VALUE, controller.number,
                                   NumberAfter(location, "channel").value_or(MW_NO_VALUE),
                                   NumberAfter(location, "slot").value_or(entry.number)};
                if (correctable && uncorrectable) device.errors = MemoryErrors{*correctable, *uncorrectable};
                found.push_back(std::move(edac));
            }
        }
    }
    return found;
}

// Whether a name stands in a text on its own, not as a piece of a longer name: DIMM_A1 is not in DIMM_A10.
bool Names(std::string_view text, std::string_view name) {
    const auto joined = [](char c) { return std::isalnum(static_cast<unsigned char>(c)) || c == '_'; };
    for (size_t at = text.find(name); at != text.npos && !name.empty(); at = text.find(name, at + 1)) {
        const size_t end = at + name.size();
        if ((at == 0 || !joined(text[at - 1])) && (end == text.size() || !joined(text[end]))) return true;
    }
    return false;
}

// Gives each slot the error counts of the one EDAC device whose label names it. Counts whose slot is not
// certain are nobody's: a wrong slot would have the wrong module replaced.
void AddErrors(const Host &host, const std::vector<EdacDevice> &edac, std::vector<MemoryDevice> &devices) {
    size_t nobodys = 0;
    for (const EdacDevice &counted : edac) {
        if (!counted.device.errors) continue;
        MemoryDevice *only = nullptr;
        size_t candidates = 0;
        for (const bool with_bank : {false, true}) {
            if (with_bank && candidates < 2) break;
            candidates = 0;
            for (MemoryDevice &device : devices) {
                if (!device.present || !Names(counted.label, device.locator)) continue;
                if (with_bank && !Names(counted.label, device.bank)) continue;
                only = &device;
                ++candidates;
            }
        }
        if (candidates == 1 && !only->errors) {
            only->errors = counted.device.errors;
        } else if (counted.device.present) {
            ++nobodys;
        }
    }
    if (nobodys > 0) {
        host.log().Once(fmt::format(
            "{}: {} devices have no label that names one memory slot; their error counts are left out",
            host.Shown(kEdac), nobodys));
    }
}

// Sensors on the modules say their I2C bus and address, not their slot. Both follow the order of the slots,
// so they are told apart only where every module has one.
void AddTemperatures(const Host &host, std::vector<MemoryDevice> &devices) {
    struct Sensor {
        uint32_t bus;
        uint32_t address;
        HwmonChip chip;
    };
    std::vector<Sensor> sensors;
    for (const HwmonChip &chip : HwmonChips(host)) {
        if (chip.name != "jc42" && chip.name != "spd5118") continue;
        const size_t dash = chip.device.find('-');
        const auto bus = ParseNumber<uint32_t>(std::string_view(chip.device).substr(0, dash));
        const auto address = dash == std::string::npos
                                 ? std::nullopt
                                 : ParseNumber<uint32_t>(chip.device.substr(dash + 1), 16);
        if (!bus || !address) {
            host.Skip(chip.path + "/device", "a link to an I2C device like 0-0018", chip.device);
            continue;
        }
        sensors.push_back({*bus, *address, chip});
    }
    if (sensors.empty()) return;
    std::sort(sensors.begin(), sensors.end(), [](const Sensor &a, const Sensor &b) {
        return std::tie(a.bus, a.address) < std::tie(b.bus, b.address);
    });
    const auto modules =
        std::count_if(devices.begin(), devices.end(), [](const auto &device) { return device.present; });
    if (static_cast<size_t>(modules) != sensors.size()) {
        host.log().Once(
            fmt::format("memory temperatures: {} sensors for {} modules; skipped, since nothing says which "
                        "sits where",
                        sensors.size(), modules));
        return;
    }
    size_t next = 0;
    for (MemoryDevice &device : devices) {
        if (!device.present) continue;
        const HwmonChip &chip = sensors[next++].chip;
        device.temperature = HwmonDegrees(host, chip, "temp1_input");
        device.critical = HwmonDegrees(host, chip, "temp1_crit");
    }
}

MemPhyInfo ToPhyInfo(const MemoryDevice &device, uint32_t number) {
    MemPhyInfo info{};
    info.dwMemNum = number;
    std::copy(device.location.begin(), device.location.end(), info.adwLocation);
    Fill(info.acSilkName, device.locator);
    info.dwPresent = device.present ? 1 : 0;
    return info;
}

MemTempInfo ToTempInfo(const MemoryDevice &device, uint32_t word) {
    MemTempInfo info{};
    info.dwDimmNum = word;
    info.ucTempValid = device.temperature ? 1 : 0;
    info.iTemp = device.temperature.value_or(0);
    info.dwUpperCritical =
        device.critical && *device.critical > 0 ? static_cast<uint32_t>(*device.critical) : 0;
    return info;
}

MemStatusInfo ToStatusInfo(const MemoryDevice &device, uint32_t number) {
    MemStatusInfo info{};
    info.dwDimmNum = number;
    info.dwPresentStatus = device.present ? 1 : 0;
    info.tTempInfo = ToTempInfo(device, number);
    info.tAlarmInfo.dwDimmNum = number;
    // An entry takes event data only once it carries its offset.
    for (uint8_t entry = 0; entry < MW_MEM_SEL_ENTRY_MAX; ++entry) info.aucSelEventData[entry][0] = entry;
    return info;
}

MemAssetInfo ToAssetInfo(const MemoryDevice &device, uint32_t number) {
    MemAssetInfo info{};
    info.dwDimmNum = number;
    std::copy(device.location.begin(), device.location.end(), info.adwLocation);
    Fill(info.acDeviceLocator, device.locator);
    Fill(info.acBankLocator, device.bank);
    Fill(info.acManufacturer, device.manufacturer);
    Fill(info.acSerialNum, device.serial);
    Fill(info.acPartNum, device.part);
    Fill(info.acAssetTag, device.asset_tag);
    Fill(info.acMemType, device.type);
    Fill(info.acFormFactor, device.form);
    Fill(info.acTypeDetail, device.detail);
    info.dwMaxSpeed = device.max_speed;
    info.dwConfiguredSpeed = device.speed;
    info.dwTotalWidth = device.total_width;
    info.dwDataWidth = device.data_width;
    info.dwRank = device.rank;
    info.dwConfiguredVoltage = device.millivolts;
    info.dwSizeGB = device.size_mb / 1024;
    info.dwSizeMB = device.size_mb;
    info.dwPresent = device.present ? 1 : 0;
    return info;
}

bool SameModule(const MemAssetInfo &a, const MemAssetInfo &b) {
    return a.dwDimmNum == b.dwDimmNum &&
           std::memcmp(a.acSerialNum, b.acSerialNum, sizeof(a.acSerialNum)) == 0 &&
           std::memcmp(a.acPartNum, b.acPartNum, sizeof(a.acPartNum)) == 0;
}

class MemoryCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        const MemoryRecords records = FindMemory(host);
        if (records.left_out > 0) {
            host.log().Once(fmt::format("memory devices: {} of {} slots left out, there is room for {}",
                                        records.left_out, records.left_out + records.devices.size(),
                                        MW_MEM_DIMM_MAX));
        }
        if (records.source == MemorySource::kMeminfo) {
            host.log().Once(
                "memory devices: neither SMBIOS nor EDAC describes them; the total of /proc/meminfo is "
                "stored as one device");
        }
        if (records.devices.empty()) return;

        const std::vector<MemoryDevice> &devices = records.devices;
        const auto count = static_cast<uint32_t>(devices.size());
        std::vector<MemPhyInfo> phys;
        std::vector<MemStatusInfo> states;
        std::vector<MemAssetInfo>
            assets;  // of plugged modules only: their number is the machine's number of modules
        for (uint32_t i = 0; i < count; ++i) {
            phys.push_back(ToPhyInfo(devices[i], i + 1));
            states.push_back(ToStatusInfo(devices[i], i + 1));
            if (devices[i].present) assets.push_back(ToAssetInfo(devices[i], i + 1));
        }
        // As with the processors: status records are laid out anew only for modules that the area does not
        // know yet, and the physical records mark a finished layout.
        const auto modules = static_cast<uint32_t>(assets.size());
        if (!Known(phys, assets)) {
            errors_.clear();
            if (!writer.Wrote("memory status records", count,
                              MW_SetMemDimmNuminStatusInfo(states.data(), count)))
                return;
            writer.Wrote("memory assets", modules, MW_SetMemAssetInfo(assets.data(), modules));
            writer.Wrote("memory locations", count, MW_SetMemPhyInfo(phys.data(), count));
        } else {
            writer.Wrote("memory assets", modules, MW_SetMemAssetInfo(assets.data(), modules));
        }
        errors_.resize(count);
        written_.resize(count);
        for (uint32_t i = 0; i < count; ++i) {
            WriteTemperature(devices[i], i, writer);
            WriteErrors(devices[i], i, writer);
        }
    }

  private:
    static bool Known(const std::vector<MemPhyInfo> &phys, const std::vector<MemAssetInfo> &assets) {
        // The getters copy as many records as the area says there are: ask for the counts first.
        std::vector<MemTempInfo> temperatures(MW_MEM_DIMM_MAX);
        std::vector<MemPhyInfo> stored_phys(MW_MEM_DIMM_MAX);
        std::vector<MemAssetInfo> stored_assets(MW_MEM_DIMM_MAX);
        uint32_t count = 0;
        if (MW_GetMemTempInfo(temperatures.data(), &count) != 0 || count != phys.size()) return false;
        if (MW_GetMemCount(&count) != 0 || count != assets.size()) return false;
        if (MW_GetMemPhyInfo(stored_phys.data(), &count) != 0 || count != phys.size()) return false;
        if (MW_GetMemAssetInfo(stored_assets.data(), &count) != 0 || count != assets.size()) return false;
        return std::equal(assets.begin(), assets.end(), stored_assets.begin(), SameModule) &&
               std::memcmp(phys.data(), stored_phys.data(), phys.size() * sizeof(MemPhyInfo)) == 0;
    }

    void WriteTemperature(const MemoryDevice &device, uint32_t slot, Writer &writer) {
        const uint32_t number = slot + 1;
        if (device.temperature) {
            // The whole record, which brings the limit along, is addressed by its slot; the reading alone by
            // number.
            if (!written_[slot]) {
                const MemTempInfo info = ToTempInfo(device, slot);
                writer.Wrote("memory temperature limits", 1, MW_SetMemTempInfo(&info));
            }
            written_[slot] = writer.Wrote("memory temperatures", 1,
                                          MW_SetMemCurrentTemp(number, *device.temperature, 0, 0));
        } else if (written_[slot]) {
            // The sensor is gone: 0 marks the last reading as none.
            writer.Wrote("lost memory temperatures", 1, MW_SetMemCurrentTemp(number, 0, 0, 0));
            written_[slot] = false;
        }
    }

    // The states are asserted by new errors and left to the services to take back.
    void WriteErrors(const MemoryDevice &device, uint32_t slot, Writer &writer) {
        const uint32_t number = slot + 1;
        if (!device.errors || errors_[slot] == device.errors) return;
        const MemoryErrors &now = *device.errors;
        // The record's count is a byte: it stays at its end rather than start again.
        const auto shown = static_cast<uint32_t>(std::min<uint64_t>(now.correctable, 255));
        MemoryErrors before = errors_[slot].value_or(MemoryErrors{});
        MemAlarmInfo stored{};
        if (!errors_[slot] && MW_GetMemAlarmInfoByDimmNum(&stored, number) == 0 &&
            stored.ucCorrectECCCnt == shown) {
            before.correctable = now.correctable;  // an earlier process has reported them
        }
        bool good = writer.Wrote("correctable error counts", 1, MW_SetMemCorrectECCCnt(number, shown));
        if (now.correctable > before.correctable) {
            good = writer.Wrote("correctable error states", 1, MW_SetMemCorrectECCState(number, 1)) && good;
        }
        if (now.uncorrectable > before.uncorrectable) {
            good =
                writer.Wrote("uncorrectable error states", 1, MW_SetMemUnCorrectECCState(number, 1)) && good;
        }
        if (good) errors_[slot] = now;
    }

    std::vector<std::optional<MemoryErrors>> errors_;  // by slot: what was written last
    std::vector<bool> written_;  // by slot: its temperature and limit are this process's
};

const Registration registered({"memory", "memory devices: identity, error counts, temperatures", 20,
                               Make<MemoryCollector>});

}  // namespace

MemoryDevice ToMemoryDevice(const SmbiosStructure &structure) {
    MemoryDevice device;
    const uint16_t size = structure.Field<uint16_t>(0x0C).value_or(0);
    device.present = size != 0;
    if (size == 0x7FFF) {
        device.size_mb = structure.Field<uint32_t>(0x1C).value_or(0) & 0x7FFFFFFFu;
    } else if (size != 0xFFFF) {
        device.size_mb = (size & 0x8000u) != 0 ? (size & 0x7FFFu) / 1024 : size;
    }
    device.locator = structure.Text(0x10);
    device.bank = structure.Meaning(0x11);
    device.location = Locate(device.bank, device.locator);
    if (!device.present) return device;
    device.total_width = Width(structure, 0x08);
    device.data_width = Width(structure, 0x0A);
    device.form = CodeName(kFormFactors, structure.Field<uint8_t>(0x0E).value_or(0));
    device.type = CodeName(kMemoryTypes, structure.Field<uint8_t>(0x12).value_or(0));
    device.detail = TypeDetail(structure.Field<uint16_t>(0x13).value_or(0));
    device.max_speed = Speed(structure, 0x15, 0x54);
    device.manufacturer = structure.Meaning(0x17);
    device.serial = structure.Meaning(0x18);
    device.asset_tag = structure.Meaning(0x19);
    device.part = structure.Meaning(0x1A);
    device.rank = structure.Field<uint8_t>(0x1B).value_or(0) & 0x0Fu;
    device.speed = Speed(structure, 0x20, 0x58);
    device.millivolts = structure.Field<uint16_t>(0x26).value_or(0);
    return device;
}

std::optional<uint64_t> MeminfoKilobytes(std::string_view text, std::string_view key) {
    for (const std::string_view line : Lines(text)) {
        const std::vector<std::string_view> words = Words(line);
        if (words.size() != 3 || words[2] != "kB" || !words[0].ends_with(':')) continue;
        if (words[0].substr(0, words[0].size() - 1) == key) return ParseNumber<uint64_t>(words[1]);
    }
    return std::nullopt;
}

MemoryRecords FindMemory(const Host &host) {
    MemoryRecords records;
    std::vector<MemoryDevice> &devices = records.devices;
    const std::vector<EdacDevice> edac = ReadEdac(host);
    for (const SmbiosStructure &structure : ReadSmbios(host, {kMemoryDevice})) {
        devices.push_back(ToMemoryDevice(structure));
    }
    if (!devices.empty()) {
        records.source = MemorySource::kSmbios;
        AddErrors(host, edac, devices);
    } else if (!edac.empty()) {
        records.source = MemorySource::kEdac;
        for (const EdacDevice &device : edac) devices.push_back(device.device);
    } else if (const auto text = host.File("/proc/meminfo")) {
        if (const auto total = MeminfoKilobytes(*text, "MemTotal")) {
            MemoryDevice device;
            device.present = true;
            device.locator = "System memory";
            device.size_mb = static_cast<uint32_t>(std::min<uint64_t>(*total / 1024, UINT32_MAX));
            devices.push_back(std::move(device));
            records.source = MemorySource::kMeminfo;
        } else {
            host.Skip("/proc/meminfo", "a line MemTotal in kB", Lines(*text).empty() ? "" : Lines(*text)[0]);
        }
    }
    MakeLocationsUnique(devices);
    if (records.source != MemorySource::kMeminfo) AddTemperatures(host, devices);
    if (devices.size() > MW_MEM_DIMM_MAX) {
        records.left_out = devices.size() - MW_MEM_DIMM_MAX;
        devices.resize(MW_MEM_DIMM_MAX);
    }
    return records;
}

}  // namespace collect
