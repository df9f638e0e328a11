#include "firmware.h"

#include <algorithm>
#include <cctype>

#include "collector.h"
#include "smbios.h"

namespace collect {
namespace {

const std::string kDmi = "/sys/class/dmi/id";

bool IsDigits(std::string_view text) {
    return !text.empty() &&
           std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isdigit(c) != 0; });
}

// Numbers of these widths, or nothing where one is out of range.
std::optional<BuildTime> Stamp(std::string_view year, std::string_view month, std::string_view day,
                               std::string_view time = {}) {
    if (year.size() != 4 || !IsDigits(year)) return std::nullopt;
    const auto within = [](std::string_view text, uint32_t lowest, uint32_t highest) {
        const auto number = ParseNumber<uint32_t>(text);
        return IsDigits(text) && number && *number >= lowest && *number <= highest;
    };
    if (!within(month, 1, 12) || !within(day, 1, 31) || year < "1970") return std::nullopt;
    BuildTime built;
    built.date = fmt::format("{}-{:0>2}-{:0>2}", year, month, day);
    const bool whole = time.size() == 6 && within(time.substr(0, 2), 0, 23) &&
                       within(time.substr(2, 2), 0, 59) && within(time.substr(4, 2), 0, 60);
    if (whole) built.time = fmt::format("{}:{}:{}", time.substr(0, 2), time.substr(2, 2), time.substr(4, 2));
    return built;
}

// The numbers of a version, "v" or "V" before them allowed; none where there is anything else, or one too
// many.
std::vector<uint32_t> VersionNumbers(std::string_view version, std::initializer_list<uint32_t> highest) {
    version = Trim(version);
    if (version.starts_with('v') || version.starts_with('V')) version.remove_prefix(1);
    std::vector<uint32_t> numbers;
    for (const uint32_t limit : highest) {
        const size_t dot = std::min(version.find('.'), version.size());
        const auto number = ParseNumber<uint32_t>(version.substr(0, dot));
        if (!number || *number > limit) return {};
        numbers.push_back(*number);
        if (dot == version.size()) return numbers;
        version.remove_prefix(dot + 1);
    }
    return {};
}

class FirmwareCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        const DmiIdentity dmi = FindDmiIdentity(host);
        const std::optional<RunningImage> image = FindRunningImage(host);
        if (dmi == DmiIdentity{} && !image) writer.Remark("neither DMI nor os-release on this host");
        Write<all_bios_version, MW_GetBiosVerInfo, MW_SetBiosVerInfo>(dmi, bios_, "BIOS versions", writer);
        Write<all_fru_version, MW_GetFruVerInfo, MW_SetFruVerInfo>(dmi, fru_, "board identities", writer);
        if (image)
            Write<all_bmc_version, MW_GetBmcVerInfo, MW_SetBmcVerInfo>(*image, bmc_, "image versions",
                                                                       writer);
    }

  private:
    // What this process has put into a block: the block as it would be with nothing else in it.
    template <class Block>
    struct Own {
        Block block{};
        bool written = false;
    };

    // The rest of a block is others'. What they have stored since where this host's own values were stays,
    // until the host tells something else or the block is blank, as in a new area.
    template <class Block, auto get, auto set, class Known>
    static void Write(const Known &known, Own<Block> &own, std::string_view what, Writer &writer) {
        static const Block kBlank{};
        const auto same = [](const Block &a, const Block &b) { return std::memcmp(&a, &b, sizeof a) == 0; };
        Block mine{};
        Update(known, mine);
        if (same(mine, kBlank)) return;
        Block stored{};
        if (get(&stored) != 0) {
            writer.Wrote(what, 1, -1);
            return;
        }
        if (own.written && same(mine, own.block) && !same(stored, kBlank)) return;
        Update(known, stored);
        own.written = writer.Wrote(what, 1, set(&stored));
        own.block = mine;
    }

    Own<all_bios_version> bios_;
    Own<all_fru_version> fru_;
    Own<all_bmc_version> bmc_;
};

const Registration registered({"firmware", "board and BIOS identity, version of the running image", 5,
                               Make<FirmwareCollector>});

}  // namespace

DmiIdentity FindDmiIdentity(const Host &host) {
    DmiIdentity dmi;
    if (host.Exists(kDmi)) {
        const auto text = [&](const char *name) {
            return Meaningful(host.Text(kDmi + "/" + name).value_or(""));
        };
        dmi.board_name = text("board_name");
        dmi.board_version = text("board_version");
        dmi.bios_version = text("bios_version");
        dmi.bios_date = text("bios_date");
        return dmi;
    }
    constexpr uint8_t kBios = 0;
    constexpr uint8_t kBaseboard = 2;
    bool has_bios = false;
    bool has_board = false;
    for (const SmbiosStructure &structure : ReadSmbios(host, {kBios, kBaseboard})) {
        if (structure.type == kBios && !has_bios) {
            dmi.bios_version = structure.Meaning(0x05);
            dmi.bios_date = structure.Meaning(0x08);
            has_bios = true;
        } else if (structure.type == kBaseboard && !has_board) {  // the first one is the main board
            dmi.board_name = structure.Meaning(0x05);
            dmi.board_version = structure.Meaning(0x06);
            has_board = true;
        }
    }
    return dmi;
}

std::map<std::string, std::string> ParseOsRelease(std::string_view text) {
    std::map<std::string, std::string> values;
    for (std::string_view line : Lines(text)) {
        line = Trim(line);
        const size_t equals = line.find('=');
        if (line.starts_with('#') || equals == std::string_view::npos) continue;
        const std::string_view quoted = Trim(line.substr(equals + 1));
        std::string value;
        char quote = '\0';
        for (size_t i = 0; i < quoted.size(); ++i) {
            const char c = quoted[i];
            if (c == '\\' && quote != '\'' && i + 1 < quoted.size()) {
                value += quoted[++i];
            } else if (quote == '\0' && (c == '"' || c == '\'')) {
                quote = c;
            } else if (c == quote && quote != '\0') {
                quote = '\0';
            } else if (c == ' ' && quote == '\0') {
                break;
            } else {
                value += c;
            }
        }
        if (quote == '\0') values[std::string(line.substr(0, equals))] = value;
    }
    return values;
}

std::optional<BuildTime> ParseBuildId(std::string_view text) {
    text = Trim(text);
    const size_t digits = std::min(text.find_first_not_of("0123456789"), text.size());
    if (digits == 8 || digits == 12 || digits == 14) {
        return Stamp(text.substr(0, 4), text.substr(4, 2), text.substr(6, 2),
                     digits == 14 ? text.substr(8, 6) : std::string_view());
    }
    if (text.size() < 10 || text[4] != '-' || text[7] != '-' ||
        (text.size() > 10 && IsDigits(text.substr(10, 1)))) {
        return std::nullopt;
    }
    return Stamp(text.substr(0, 4), text.substr(5, 2), text.substr(8, 2));
}

std::optional<BuildTime> ParseKernelBuild(std::string_view text) {
    static constexpr std::array kMonths = {"Jan", "Feb", "Mar", "Apr", "May", "Jun",
                                           "Jul", "Aug", "Sep", "Oct", "Nov", "Dec"};
    const std::vector<std::string_view> words = Words(text.substr(0, text.find('\n')));
    for (size_t i = words.size(); i-- > 0;) {
        // Day of the week, month, day, time, zone, year; or a packager's date in brackets.
        const auto month = std::find(kMonths.begin(), kMonths.end(), words[i]);
        if (month != kMonths.end() && i + 4 < words.size() && words[i + 2].size() == 8) {
            std::string time(words[i + 2]);
            std::erase(time, ':');
            const auto built =
                Stamp(words[i + 4], fmt::format("{}", month - kMonths.begin() + 1), words[i + 1], time);
            if (built && !built->time.empty()) return built;
        }
        if (words[i].size() == 12 && words[i].front() == '(' && words[i].back() == ')') {
            if (const auto built = ParseBuildId(words[i].substr(1, 10))) return built;
        }
    }
    return std::nullopt;
}

std::optional<RunningImage> FindRunningImage(const Host &host) {
    std::optional<std::string> text;
    for (const char *path : {"/etc/os-release", "/usr/lib/os-release"}) {
        if (!text) text = host.File(path, 1u << 16);
    }
    if (!text) return std::nullopt;
    const std::map<std::string, std::string> values = ParseOsRelease(*text);
    const auto value = [&](const char *key) {
        const auto found = values.find(key);
        return found == values.end() ? std::string() : Meaningful(found->second);
    };
    RunningImage image;
    for (const char *key : {"IMAGE_VERSION", "VERSION_ID", "BUILD_ID"}) {
        if (image.version.empty()) image.version = value(key);
    }
    image.name = value("PRETTY_NAME");
    if (image.name.empty()) image.name = std::string(Trim(value("NAME") + " " + value("VERSION")));
    // Distributions do not date their images; the kernel that runs in one was built for it.
    if (const auto built = ParseBuildId(value("BUILD_ID"))) {
        image.built = *built;
    } else if (const auto kernel = host.File("/proc/version", 1u << 16)) {
        image.built = ParseKernelBuild(*kernel).value_or(BuildTime{});
    }
    if (image.version.empty() && image.name.empty()) return std::nullopt;
    return image;
}

std::optional<uint32_t> ImageNumber(std::string_view version) {
    const std::vector<uint32_t> numbers = VersionNumbers(version, {255, 255, 255, 255});
    if (numbers.empty()) return std::nullopt;
    uint32_t number = 0;
    for (size_t i = 0; i < numbers.size(); ++i) number |= numbers[i] << (24 - 8 * i);
    return number;
}

std::optional<uint32_t> BoardNumber(std::string_view version) {
    std::vector<uint32_t> numbers = VersionNumbers(version, {255, 255, 65535});
    if (numbers.empty()) return std::nullopt;
    numbers.resize(3);
    return numbers[0] << 24 | numbers[1] << 16 | numbers[2];
}

void Update(const DmiIdentity &dmi, all_bios_version &bios) {
    // A host knows the BIOS that it was started by: one version, which is also the one that users are shown.
    if (dmi.bios_version.empty()) return;
    bios_version version{};
    Fill(version.acBiosVer, dmi.bios_version);
    Fill(version.pcBuildTime, dmi.bios_date);
    bios.tMBiosOutVer = version;
    bios.tMBiosVer = version;
    bios.MBiosOutValidFlag = 1;
    bios.MBiosValidFlag = 1;
}

void Update(const DmiIdentity &dmi, all_fru_version &fru) {
    if (!dmi.board_name.empty()) {
        Fill(fru.acBoardName, dmi.board_name);
        fru.BoardNameValidFlag = 1;
    }
    if (!dmi.board_version.empty()) {
        // Readers are given the number; a wording that makes none is kept, but not as a valid version.
        const std::optional<uint32_t> number = BoardNumber(dmi.board_version);
        if (!number && fru.MFruValidFlag == 1) return;
        Fill(fru.tMFruVer.acVersion, dmi.board_version);
        fru.tMFruVer.dwVersion = number.value_or(0);
        fru.MFruValidFlag = number ? 1 : 0;
    }
}

void Update(const RunningImage &image, all_bmc_version &bmc) {
    bmc_version version{};
    version.dwBmcVer = ImageNumber(image.version).value_or(0);
    Fill(version.acBmcVer, image.version);
    Fill(version.acBmcOutVer, image.name);
    Fill(version.pcBuildDate, image.built.date);
    Fill(version.pcBuildTime, image.built.time);
    bmc.tMBmcVer = version;
    bmc.MBmcValidFlag = image.version.empty() ? 0 : 1;
    bmc.MBmcOutValidFlag = image.name.empty() ? 0 : 1;
}

}  // namespace collect
