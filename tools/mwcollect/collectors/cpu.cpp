#include "cpu.h"

#include <sys/utsname.h>

#include <algorithm>
#include <cmath>
#include <set>

#include "collector.h"
#include "hwmon.h"
#include "midware/area.h"
#include "midware/cpu.h"
#include "smbios.h"

namespace collect {
namespace {

const std::string kCpus = "/sys/devices/system/cpu";

constexpr uint8_t kProcessorStructure = 4;
constexpr uint8_t kCentralProcessor = 3;
constexpr uint8_t kSocketPopulated = 1u << 6;

std::string CpuDir(uint32_t cpu) { return fmt::format("{}/cpu{}", kCpus, cpu); }

std::string_view Value(const CpuInfoBlock &block, std::string_view key) {
    const auto found = block.find(key);
    return found == block.end() ? std::string_view() : std::string_view(found->second);
}

// The number of a cpuinfo line, decimal or 0x..., 0 where there is none.
uint32_t NumberOf(const CpuInfoBlock &block, std::string_view key) {
    const std::string_view text = Value(block, key);
    return ParseNumber<uint32_t>(text, text.starts_with("0x") ? 16 : 10).value_or(0);
}

// "2701.000" in whole MHz.
uint32_t ParseMegahertz(std::string_view text) {
    const std::string_view whole = text.substr(0, text.find('.'));
    const std::string_view rest = text.substr(whole.size());
    const auto number = ParseNumber<uint32_t>(whole);
    const bool fraction =
        rest.empty() || (rest.size() > 1 && rest.find_first_not_of("0123456789", 1) == rest.npos);
    if (!number || !fraction || *number > 100'000) return 0;
    return *number + (rest.size() > 1 && rest[1] >= '5' ? 1 : 0);
}

// The numbers of the online processors by package.
std::map<int64_t, std::vector<uint32_t>> Packages(const Host &host,
                                                  const std::map<uint32_t, CpuInfoBlock> &info) {
    std::map<int64_t, std::vector<uint32_t>> packages;
    std::set<uint32_t> cpus;
    for (const NumberedEntry &entry : host.Numbered(kCpus, "cpu")) cpus.insert(entry.number);
    // A processor that is offline has a directory without a topology and no block in cpuinfo.
    for (const auto &[cpu, block] : info) cpus.insert(cpu);
    for (const uint32_t cpu : cpus) {
        auto id = host.Number<int64_t>(CpuDir(cpu) + "/topology/physical_package_id", "a package number", -1,
                                       INT32_MAX);
        const auto block = info.find(cpu);
        if (!id && block == info.end()) continue;
        if (!id) id = ParseNumber<uint32_t>(Value(block->second, "physical id"));
        packages[id.value_or(-1)].push_back(cpu);
    }
    // Processors of no known package: one package of their own where nothing is known of any, nobody's
    // otherwise.
    if (packages.size() > 1 && packages.erase(-1) > 0) {
        host.log().Once(fmt::format("{}: some processors belong to no known package; they are not counted",
                                    host.Shown(kCpus)));
    }
    return packages;
}

uint32_t CountCores(const Host &host, const std::vector<uint32_t> &logical, const CpuInfoBlock *block) {
    std::set<std::string> cores;
    for (const uint32_t cpu : logical) {
        const auto siblings = host.Text(CpuDir(cpu) + "/topology/thread_siblings_list");
        if (siblings && !siblings->empty()) cores.insert(*siblings);
    }
    if (!cores.empty()) return static_cast<uint32_t>(cores.size());
    return block != nullptr ? NumberOf(*block, "cpu cores") : 0;
}

uint32_t KilohertzFile(const Host &host, const std::string &path) {
    const auto khz = host.Number<uint32_t>(path, "a frequency in kHz", 0, 100'000'000, Refusal::kExpected);
    return khz ? (*khz + 500) / 1000 : 0;
}

void ReadFrequencies(const Host &host, const std::map<uint32_t, CpuInfoBlock> &info, CpuPackage &package) {
    const std::string dir = CpuDir(package.logical.front()) + "/cpufreq/";
    package.max_frequency = KilohertzFile(host, dir + "cpuinfo_max_freq");
    package.min_frequency = KilohertzFile(host, dir + "cpuinfo_min_freq");
    package.frequency = KilohertzFile(host, dir + "scaling_cur_freq");
    if (package.frequency != 0) return;
    uint64_t sum = 0;
    uint32_t count = 0;
    for (const uint32_t cpu : package.logical) {
        const auto block = info.find(cpu);
        const uint32_t mhz = block != info.end() ? ParseMegahertz(Value(block->second, "cpu MHz")) : 0;
        sum += mhz;
        count += mhz != 0 ? 1 : 0;
    }
    if (count != 0) package.frequency = static_cast<uint32_t>((sum + count / 2) / count);
}

void ReadCaches(const Host &host, CpuPackage &package) {
    const std::string dir = CpuDir(package.logical.front()) + "/cache";
    for (const NumberedEntry &entry : host.Numbered(dir, "index")) {
        const std::string index = dir + "/" + entry.name + "/";
        const auto level = host.Number<uint32_t>(index + "level", "a cache level", 1, 8);
        const auto type = host.Text(index + "type");
        const auto text = host.Text(index + "size", Refusal::kExpected);
        if (!level || !type || !text) continue;
        const auto size = ParseCacheSize(*text);
        if (!size) {
            host.Skip(index + "size", "a cache size like 32K", *text);
            continue;
        }
        if (*level == 1 && *type == "Data") package.l1_data = *size;
        if (*level == 1 && *type == "Instruction") package.l1_instruction = *size;
        if (*level == 2 && *type != "Instruction") package.l2 = *size;
        if (*level == 3) package.l3 = *size;
    }
}

std::string Architecture(const Host &host, const CpuInfoBlock &block) {
    if (host.Live()) {
        utsname name{};
        return uname(&name) == 0 ? name.machine : "";
    }
    const auto has = [&](std::string_view key, std::string_view word) {
        const auto words = Words(Value(block, key));
        return std::find(words.begin(), words.end(), word) != words.end();
    };
    if (block.count("vendor_id") != 0) return has("flags", "lm") ? "x86_64" : "i686";
    if (block.count("CPU implementer") != 0) return has("Features", "asimd") ? "aarch64" : "arm";
    return "";
}

void Identify(const Host &host, const CpuInfoBlock &block, CpuPackage &package) {
    package.architecture = Architecture(host, block);
    package.model = CleanText(Value(block, "model name"));
    package.manufacturer = CleanText(Value(block, "vendor_id"));
    // The readers of the area know this maker by its short name, not by what its processors answer.
    if (package.manufacturer == "AuthenticAMD") package.manufacturer = "AMD";
    package.microcode = CleanText(Value(block, "microcode"));
    if (block.count("CPU implementer") != 0) {
        // The identification register's fields; ARM processors have no texts.
        package.family = NumberOf(block, "CPU architecture");
        package.model_number = NumberOf(block, "CPU part");
        package.stepping = NumberOf(block, "CPU revision");
        if (package.manufacturer.empty()) {
            package.manufacturer = fmt::format("implementer {}", CleanText(Value(block, "CPU implementer")));
        }
        if (package.model.empty()) {
            package.model =
                fmt::format("part {} variant {} revision {}", CleanText(Value(block, "CPU part")),
                            CleanText(Value(block, "CPU variant")), CleanText(Value(block, "CPU revision")));
        }
    } else {
        package.family = NumberOf(block, "cpu family");
        package.model_number = NumberOf(block, "model");
        package.stepping = NumberOf(block, "stepping");
    }
    if (package.microcode.empty()) {
        package.microcode =
            CleanText(host.Text(CpuDir(package.logical.front()) + "/microcode/version", Refusal::kExpected)
                          .value_or(""));
    }
}

// SMBIOS knows sockets, not packages: they are told apart only where there are as many filled ones as
// packages.
void NameSockets(const Host &host, std::vector<CpuPackage> &packages) {
    std::vector<SmbiosStructure> sockets = ReadSmbios(host, {kProcessorStructure});
    std::erase_if(sockets, [](const SmbiosStructure &socket) {
        const uint8_t type = socket.Field<uint8_t>(0x05).value_or(0);
        const uint8_t status = socket.Field<uint8_t>(0x18).value_or(0);
        return type != kCentralProcessor || (status & kSocketPopulated) == 0;
    });
    for (size_t i = 0; i < packages.size(); ++i) packages[i].silk = static_cast<uint32_t>(i + 1);
    if (sockets.size() != packages.size()) return;
    std::set<uint32_t> numbers;
    for (size_t i = 0; i < packages.size(); ++i) {
        const SmbiosStructure &socket = sockets[i];
        packages[i].socket = socket.Meaning(0x04);
        packages[i].serial = socket.Meaning(0x20);
        packages[i].part = socket.Meaning(0x22);
        // ARM processors are named by their firmware only.
        if (packages[i].manufacturer.starts_with("implementer ") && !socket.Meaning(0x07).empty()) {
            packages[i].manufacturer = socket.Meaning(0x07);
        }
        if (packages[i].model.starts_with("part ") && !socket.Meaning(0x10).empty()) {
            packages[i].model = socket.Meaning(0x10);
        }
        if (const auto number = TrailingNumber(packages[i].socket)) numbers.insert(*number);
    }
    if (numbers.size() != packages.size()) return;
    for (CpuPackage &package : packages) package.silk = *TrailingNumber(package.socket);
}

CpuTemperature ReadTemperature(const Host &host, const HwmonChip &chip, const std::string &channel) {
    return {HwmonDegrees(host, chip, channel + "_input"), HwmonDegrees(host, chip, channel + "_crit"),
            HwmonDegrees(host, chip, channel + "_max"), false};
}

void ReadTemperatures(const Host &host, std::vector<CpuPackage> &packages) {
    std::vector<CpuTemperature> by_order;  // of chips that do not say which package they sit in
    for (const HwmonChip &chip : HwmonChips(host)) {
        if (chip.name == "coretemp") {
            for (const NumberedEntry &input : host.Numbered(chip.path, "temp", "_input")) {
                const std::string channel = fmt::format("temp{}", input.number);
                const std::string label = HwmonLabel(host, chip, channel);
                constexpr std::string_view kPackage = "Package id ";
                if (!label.starts_with(kPackage)) continue;
                const auto id = ParseNumber<int64_t>(std::string_view(label).substr(kPackage.size()));
                for (CpuPackage &package : packages) {
                    if (!id || package.id != *id) continue;
                    package.temperature = ReadTemperature(host, chip, channel);
                    package.temperature.junction = true;
                }
            }
        } else if (chip.name == "k10temp" || chip.name == "cpu_thermal") {
            by_order.push_back(ReadTemperature(host, chip, "temp1"));
        }
    }
    if (by_order.empty()) return;
    if (by_order.size() != packages.size()) {
        host.log().Once(fmt::format(
            "processor temperatures: {} sensors for {} packages; skipped, since nothing says which "
            "sits where",
            by_order.size(), packages.size()));
        return;
    }
    for (size_t i = 0; i < packages.size(); ++i) packages[i].temperature = by_order[i];
}

CpuPhyInfo ToPhyInfo(const CpuPackage &package, uint32_t index) {
    CpuPhyInfo info{};
    info.dwCpuIndex = index;
    info.dwSilkNum = package.silk;
    info.dwPresent = 1;
    Fill(info.acSilkName, package.socket.empty() ? fmt::format("CPU{}", package.silk) : package.socket);
    info.dwPackageId = static_cast<uint32_t>(package.id);
    return info;
}

uint8_t ToByte(int32_t degrees) { return static_cast<uint8_t>(std::clamp(degrees, 0, 255)); }

CpuTempInfo ToTempInfo(const CpuPackage &package, uint32_t index) {
    const CpuTemperature &temperature = package.temperature;
    CpuTempInfo info{};
    info.dwCpuIndex = index;
    info.dwTempValid = temperature.current ? 1 : 0;
    info.iCurTemp = temperature.current.value_or(0);
    const auto limit = temperature.critical ? temperature.critical : temperature.maximum;
    info.dwUCRTemp = limit && *limit > 0 ? static_cast<uint32_t>(*limit) : 0;
    if (temperature.junction && temperature.critical) {
        info.ucTjmax = ToByte(*temperature.critical);
        if (temperature.maximum) info.ucTcontrol = ToByte(*temperature.critical - *temperature.maximum);
    }
    return info;
}

CpuStatusInfo ToStatusInfo(const CpuPackage &package, uint32_t index) {
    CpuStatusInfo info{};
    info.dwCpuIndex = index;
    info.dwSilkNum = package.silk;
    info.dwPresentStatus = 1;
    info.tTempInfo = ToTempInfo(package, index);
    info.tAlarmInfo.dwCpuIndex = index;
    // An entry takes event data only once it carries its offset.
    for (uint8_t entry = 0; entry < MW_CPU_SEL_ENTRY_MAX; ++entry) info.atAssertEventData[entry][0] = entry;
    return info;
}

CpuAssetInfo ToAssetInfo(const CpuPackage &package, uint32_t index) {
    CpuAssetInfo info{};
    info.dwCpuId = index;
    Fill(info.acManufacturer, package.manufacturer);
    Fill(info.acModel, package.model);
    Fill(info.acSocket, package.socket);
    Fill(info.acSerialNum, package.serial);
    Fill(info.acPartNum, package.part);
    Fill(info.acMicrocode, package.microcode);
    Fill(info.acArchitecture, package.architecture);
    info.dwFamily = package.family;
    info.dwModel = package.model_number;
    info.dwStepping = package.stepping;
    info.dwCoreCount = package.cores;
    info.dwThreadCount = static_cast<uint32_t>(package.logical.size());
    info.dwMaxFrequency = package.max_frequency;
    info.dwMinFrequency = package.min_frequency;
    info.dwL1DataKB = package.l1_data;
    info.dwL1InstructionKB = package.l1_instruction;
    info.dwL2KB = package.l2;
    info.dwL3KB = package.l3;
    info.dwFrequency = package.frequency;
    return info;
}

// What makes a processor another one; its frequency and microcode may change while it stays.
bool SameProcessor(const CpuAssetInfo &a, const CpuAssetInfo &b) {
    return std::memcmp(a.acModel, b.acModel, sizeof(a.acModel)) == 0 &&
           std::memcmp(a.acSerialNum, b.acSerialNum, sizeof(a.acSerialNum)) == 0;
}

class CpuCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        const CpuRecords records = FindCpus(host);
        if (records.left_out > 0) {
            host.log().Once(fmt::format("processors: {} of {} packages left out, there is room for {}",
                                        records.left_out, records.left_out + records.packages.size(),
                                        MW_CPU_MAX));
        }
        if (records.packages.empty()) return;

        const auto count = static_cast<uint32_t>(records.packages.size());
        std::vector<CpuPhyInfo> phys;
        std::vector<CpuStatusInfo> states;
        std::vector<CpuAssetInfo> assets;
        for (uint32_t i = 0; i < count; ++i) {
            phys.push_back(ToPhyInfo(records.packages[i], i));
            states.push_back(ToStatusInfo(records.packages[i], i));
            assets.push_back(ToAssetInfo(records.packages[i], i));
        }
        // Status records carry what other processes set, alarms, health and usage: they are laid out anew
        // only for processors that the area does not know yet. The physical records go last, as the mark of a
        // finished layout.
        if (!Known(phys, assets)) {
            if (!writer.Wrote("processor status records", count,
                              MW_SetCpuIndexAndSilkNumInStatusInfo(states.data(), count))) {
                return;
            }
            writer.Wrote("processor assets", count, MW_SetCpuAssetInfo(assets.data(), count));
            writer.Wrote("processor locations", count, MW_SetCpuPhyInfo(phys.data(), count));
        } else {
            writer.Wrote("processor assets", count, MW_SetCpuAssetInfo(assets.data(), count));
        }
        WriteTemperatures(records.packages, writer);
        for (uint32_t i = 0; i < count; ++i) {
            if (const uint32_t mhz = records.packages[i].frequency) {
                writer.Wrote("processor frequencies", 1, MW_SetCpuFrequency(mhz, assets[i].dwCpuId));
            }
        }
    }

  private:
    static bool Known(const std::vector<CpuPhyInfo> &phys, const std::vector<CpuAssetInfo> &assets) {
        // The getters copy as many records as the area says there are: ask for the counts first.
        std::vector<CpuTempInfo> temperatures(MW_CPU_MAX);
        std::vector<CpuPhyInfo> stored_phys(MW_CPU_MAX);
        std::vector<CpuAssetInfo> stored_assets(MW_CPU_MAX);
        uint32_t count = 0;
        if (MW_GetCpuTempInfo(temperatures.data(), &count) != 0 || count != phys.size()) return false;
        if (MW_GetCpuCount(&count) != 0 || count != assets.size()) return false;
        if (MW_GetCpuPhyInfo(stored_phys.data(), &count) != 0 || count != phys.size()) return false;
        if (MW_GetCpuAssetInfo(stored_assets.data(), &count) != 0 || count != assets.size()) return false;
        return std::equal(assets.begin(), assets.end(), stored_assets.begin(), SameProcessor) &&
               std::memcmp(phys.data(), stored_phys.data(), phys.size() * sizeof(CpuPhyInfo)) == 0;
    }

    void WriteTemperatures(const std::vector<CpuPackage> &packages, Writer &writer) {
        written_.resize(packages.size());
        for (uint32_t i = 0; i < packages.size(); ++i) {
            if (packages[i].temperature.current) {
                const CpuTempInfo info = ToTempInfo(packages[i], i);
                written_[i] = writer.Wrote(
                    "processor temperatures", 1,
                    written_[i] ? MW_SetCpuCurrentTemp(i, info.iCurTemp) : MW_SetCpuTempInfo(&info));
            } else if (written_[i]) {
                // The sensor is gone: 0 marks the last reading as none.
                writer.Wrote("lost processor temperatures", 1, MW_SetCpuCurrentTemp(i, 0));
                written_[i] = false;
            }
        }
    }

    std::vector<bool> written_;  // by processor: its temperature and limits are this process's
};

const Registration registered({"cpu", "processors: identity, caches, frequencies, temperatures", 10,
                               Make<CpuCollector>});

}  // namespace

std::map<uint32_t, CpuInfoBlock> ParseCpuInfo(std::string_view text) {
    std::map<uint32_t, CpuInfoBlock> blocks;
    CpuInfoBlock *block = nullptr;
    for (const std::string_view line : Lines(text)) {
        const size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            if (Trim(line).empty()) block = nullptr;
            continue;
        }
        const std::string_view key = Trim(line.substr(0, colon));
        const std::string_view value = Trim(line.substr(colon + 1));
        if (key == "processor") {
            const auto number = ParseNumber<uint32_t>(value);
            block = number ? &blocks[*number] : nullptr;
        } else if (block != nullptr) {
            (*block)[std::string(key)] = std::string(value);
        }
    }
    return blocks;
}

std::optional<uint32_t> ParseCacheSize(std::string_view text) {
    text = Trim(text);
    uint64_t unit = 0;
    if (text.ends_with('K')) unit = 1;
    if (text.ends_with('M')) unit = 1024;
    if (text.ends_with('G')) unit = 1024 * 1024;
    if (unit == 0) return std::nullopt;
    const auto number = ParseNumber<uint32_t>(text.substr(0, text.size() - 1));
    if (!number || *number * unit > UINT32_MAX) return std::nullopt;
    return static_cast<uint32_t>(*number * unit);
}

CpuRecords FindCpus(const Host &host) {
    CpuRecords records;
    const std::map<uint32_t, CpuInfoBlock> info = ParseCpuInfo(host.File("/proc/cpuinfo").value_or(""));
    for (auto &[id, logical] : Packages(host, info)) {
        CpuPackage package;
        package.id = id;
        package.logical = std::move(logical);
        const auto found = info.find(package.logical.front());
        const CpuInfoBlock block = found != info.end() ? found->second : CpuInfoBlock();
        package.cores = CountCores(host, package.logical, &block);
        Identify(host, block, package);
        ReadFrequencies(host, info, package);
        ReadCaches(host, package);
        records.packages.push_back(std::move(package));
    }
    NameSockets(host, records.packages);
    ReadTemperatures(host, records.packages);
    if (records.packages.size() > MW_CPU_MAX) {
        records.left_out = records.packages.size() - MW_CPU_MAX;
        records.packages.resize(MW_CPU_MAX);
    }
    return records;
}

}  // namespace collect
