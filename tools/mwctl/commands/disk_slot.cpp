// mwctl disk-slot: custom slot numbers and labels of disks behind the PCH.
#include <fmt/format.h>

#include <algorithm>
#include <cstring>
#include <memory>

#include "area.h"
#include "arguments.h"
#include "command.h"
#include "midware/pch.h"
#include "text.h"

namespace mwctl {
namespace {

constexpr size_t kLongestLabel = MW_PCH_SILK_SIZE - 1;
constexpr uint32_t kSettings[] = {MW_PCH_CFG_SLOT, MW_PCH_CFG_SILK};

// A disk's place: "0000:00:17.0" with or without the domain, the port, and the processor.
struct Place {
    std::string address;
    std::string port;
    std::string processor = "0";
    uint32_t bus = 0;
    uint32_t device = 0;
    uint32_t function = 0;
};

bool IsHex(std::string_view text, size_t digits, uint32_t most, uint32_t &number) {
    if (text.size() != digits || text.find_first_not_of("0123456789abcdefABCDEF") != text.npos) return false;
    number = static_cast<uint32_t>(tools::ParseNumber(fmt::format("0x{}", text)).value_or(UINT32_MAX));
    return number <= most;
}

cli::Validator PciAddress(Place &place) {
    return cli::Validator(
        [&place](std::string &text) -> std::string {
            std::string_view rest = text;
            if (std::count(rest.begin(), rest.end(), ':') == 2) {
                if (!rest.starts_with("0000:")) {
                    return fmt::format("the PCI domain of a disk's controller is 0000, unlike '{}'", text);
                }
                rest.remove_prefix(5);
            }
            if (rest.size() == 7 && rest[2] == ':' && rest[5] == '.' &&
                IsHex(rest.substr(0, 2), 2, 0xFF, place.bus) &&
                IsHex(rest.substr(3, 2), 2, 0x1F, place.device) &&
                IsHex(rest.substr(6), 1, 7, place.function)) {
                return {};
            }
            return fmt::format("a PCI address is like 0000:00:17.0, not '{}'", text);
        },
        "BB:DD.F");
}

// As the library formats it when it reads a label, a percent sign begins a conversion: two stand for one.
std::string Stored(const std::string &label) {
    std::string stored;
    for (const char c : label) stored.append(c == '%' ? 2 : 1, c);
    return stored;
}

cli::Validator Label() {
    return cli::Validator(
        [](std::string &text) -> std::string {
            const size_t size = Stored(text).size();
            if (text.empty()) return "a label has at least one byte; see disk-slot remove";
            if (text.find('\n') != text.npos) return "a label is one line, and this one has a line feed";
            const bool controls = std::any_of(text.begin(), text.end(), [](char c) {
                return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
            });
            if (controls) return "a label has no control characters, unlike this one";
            if (!tools::IsUtf8(text)) return "a label is UTF-8 text, unlike this one";
            if (text.find("--") != text.npos) return "a label with '--' in it stands for none";
            if (size <= kLongestLabel) return {};
            return fmt::format("a label has at most {} bytes; this one has {}{}", kLongestLabel, size,
                               size == text.size() ? "" : ", each percent sign counting twice");
        },
        "TEXT");
}

PchDiskCustomCfg ConfigOf(const Place &place) {
    PchDiskCustomCfg config{};
    config.dwBus = place.bus;
    config.dwDev = place.device;
    config.dwFunc = place.function;
    config.ucCpuId = static_cast<uint8_t>(NumberOf(place.processor));
    config.ucPort = static_cast<uint8_t>(NumberOf(place.port));
    return config;
}

std::string NameOf(const PchDiskCustomCfg &disk) {
    return fmt::format("CPU {}, 0000:{:02x}:{:02x}.{:x}, port {}", disk.ucCpuId, disk.dwBus, disk.dwDev,
                       disk.dwFunc, disk.ucPort);
}

const char *NameOf(uint32_t setting) { return setting == MW_PCH_CFG_SLOT ? "slot number" : "label"; }

bool IsSet(const PchDiskCustomCfg &disk, uint32_t setting) {
    return setting == MW_PCH_CFG_SLOT ? disk.ucSlot != MW_HD_NO_SLOT
                                      : std::strstr(disk.acSilkInfo, "--") == nullptr;
}

std::string ValueOf(const PchDiskCustomCfg &disk, uint32_t setting) {
    if (!IsSet(disk, setting)) return "none";
    return setting == MW_PCH_CFG_SLOT ? fmt::format("{}", disk.ucSlot) : tools::Printable(disk.acSilkInfo);
}

std::string Line(const PchDiskCustomCfg &disk, uint32_t setting) {
    return fmt::format("{}: {} {}\n", NameOf(disk), NameOf(setting), ValueOf(disk, setting));
}

// What is stored for the disk. False after a complaint: the file can neither be read nor created.
bool Load(PchDiskCustomCfg &disk) {
    for (const uint32_t setting : kSettings) {
        if (MW_LoadCustomPchDiskConfig(&disk, setting) >= 0) continue;
        Fail(
            "the file of the custom slots cannot be read: see that /conf/ext/custom_pchdisk_config.ini can "
            "be "
            "read, or be created");
        return false;
    }
    return true;
}

// Writes or removes one setting, and reads it back: the library does not say when the file could not be
// written.
bool Save(PchDiskCustomCfg disk, uint32_t setting, bool write, std::string &done) {
    uint8_t command[6] = {};
    command[5] = write ? MW_PCH_OPT_WRITE : 0;
    disk.ucCfgType = static_cast<uint8_t>(setting);
    const std::string wanted = write ? ValueOf(disk, setting) : "none";
    PchDiskCustomCfg saved = disk;
    if (write && setting == MW_PCH_CFG_SILK) {
        const std::string label = Stored(disk.acSilkInfo);
        std::memset(saved.acSilkInfo, 0, sizeof saved.acSilkInfo);
        label.copy(saved.acSilkInfo, kLongestLabel);
    }
    const bool accepted = MW_SaveCustomPchDiskConfig(saved, command) >= 0;
    if (!Load(disk)) return false;
    if (!accepted || ValueOf(disk, setting) != wanted) {
        Fail(fmt::format(
            "{}: the {} could not be {}: see that the directory /conf/ext is writable and not full",
            NameOf(disk), NameOf(setting), write ? "stored" : "removed"));
        return false;
    }
    done += Line(disk, setting);
    return true;
}

void AddPlace(cli::App &command, Place &place) {
    command.add_option("ADDRESS", place.address, "PCI address of the disk's controller")
        ->required()
        ->check(PciAddress(place));
    command.add_option("PORT", place.port, "Port of the controller")
        ->required()
        ->check(NumberIn("a port", 0, 255));
    command.add_option("--cpu", place.processor, "Number of the controller's processor, 0 when not given")
        ->check(NumberIn("the number of a processor", 0, 255));
}

void AddSetCommand(cli::App &app) {
    static Place place;
    static std::string slot, label;
    cli::App *command = app.add_subcommand("set", "Stores a custom slot number or label of a disk");
    AddPlace(*command, place);
    cli::Option *with_slot =
        command->add_option("--slot", slot, "The slot number")->check(NumberIn("a slot number", 0, 254));
    cli::Option *with_label =
        command->add_option("--label", label, "What is printed beside the drive bay")->check(Label());
    command->callback([with_slot, with_label] {
        if (with_slot->count() + with_label->count() == 0) {
            throw cli::UsageError("disk-slot set: one of --slot and --label is required");
        }
        PchDiskCustomCfg disk = ConfigOf(place);
        std::string done;
        bool good = true;
        if (with_slot->count() != 0) {
            disk.ucSlot = static_cast<uint8_t>(NumberOf(slot));
            good = Save(disk, MW_PCH_CFG_SLOT, true, done);
        }
        if (good && with_label->count() != 0) {
            label.copy(disk.acSilkInfo, kLongestLabel);
            good = Save(disk, MW_PCH_CFG_SILK, true, done);
        }
        Finish(done, good ? 0 : 1);
    });
}

void AddRemoveCommand(cli::App &app) {
    static Place place;
    static bool slot = false, label = false;
    cli::App *command =
        app.add_subcommand("remove", "Removes custom settings of a disk, all when none is named");
    AddPlace(*command, place);
    command->add_flag("--slot", slot, "The slot number");
    command->add_flag("--label", label, "The label");
    command->callback([] {
        PchDiskCustomCfg disk = ConfigOf(place);
        if (!Load(disk)) return;
        std::string done;
        const bool all = !slot && !label;
        bool good = true;
        for (const uint32_t setting : kSettings) {
            const bool chosen = setting == MW_PCH_CFG_SLOT ? slot : label;
            if (!good || (!chosen && !(all && IsSet(disk, setting)))) continue;
            if (IsSet(disk, setting)) {
                good = Save(disk, setting, false, done);
            } else {
                Fail(fmt::format("{}: there is no custom {}", NameOf(disk), NameOf(setting)));
                good = false;
            }
        }
        if (good && done.empty()) {
            Fail(fmt::format("{}: there is neither a custom slot number nor a custom label", NameOf(disk)));
            good = false;
        }
        Finish(done, good ? 0 : 1);
    });
}

// The disks of the table that belong to a controller of the other one.
std::vector<PchDiskCustomCfg> KnownDisks() {
    const auto disks = std::make_unique<PchDiskAssetInfo>();
    const auto ctrls = std::make_unique<PchCtrlAssetInfo>();
    std::vector<PchDiskCustomCfg> known;
    if (!Change(&midware::kPch, [&] { return MW_GetPCHDiskAssetInfo(disks.get()); }) ||
        !Change(&midware::kPch, [&] { return MW_GetPCHCtrlAssetInfo(ctrls.get()); }))
        return known;
    for (uint32_t i = 0; i < std::min(disks->dwPCHDiskNum, MW_PCH_DISK_MAX); ++i) {
        const PchDiskInfo &disk = disks->atPchDisk[i];
        for (uint32_t j = 0; j < std::min(ctrls->dwPCHCtrlNum, MW_PCH_CTRL_MAX); ++j) {
            const PchCtrlInfo &ctrl = ctrls->atPchCtrl[j];
            if (ctrl.dwCtrlId != disk.dwCtrlId) continue;
            PchDiskCustomCfg config{};
            config.dwBus = ctrl.dwBus;
            config.dwDev = ctrl.dwDev;
            config.dwFunc = ctrl.dwFunc;
            config.ucCpuId = ctrl.ucCpuId;
            config.ucPort = static_cast<uint8_t>(disk.wPort);
            known.push_back(config);
        }
    }
    return known;
}

void AddListCommand(cli::App &app) {
    cli::App *command = app.add_subcommand("list", "Shows the custom settings of the disks that there are");
    command->callback([] {
        std::string text;
        exit_code = 0;
        const std::vector<PchDiskCustomCfg> disks = KnownDisks();
        if (exit_code != 0) return;
        for (PchDiskCustomCfg disk : disks) {
            if (!Load(disk)) return;
            for (const uint32_t setting : kSettings) {
                if (IsSet(disk, setting)) text += Line(disk, setting);
            }
        }
        if (text.empty())
            text = fmt::format("none of {} disks has a custom slot number or label\n", disks.size());
        Finish(text);
    });
}

void AddDiskSlot(cli::App &app) {
    cli::App *command =
        app.add_subcommand("disk-slot", "Custom slot numbers and labels of the disks behind the PCH");
    command->require_subcommand(1);
    AddSetCommand(*command);
    AddRemoveCommand(*command);
    AddListCommand(*command);
}

const Command kCommand("disk-slot", AddDiskSlot);

}  // namespace
}  // namespace mwctl
