// INI files with any contents: what is set reads back the same, before and after the file was saved and
// loaded again, nothing else changes, and saving again and again does not let the file grow. The library's
// own readers of such files go along.
#include <cstring>
#include <fstream>
#include <iterator>
#include <map>
#include <optional>
#include <utility>
#include <vector>

#include "directory.h"
#include "iniparser.h"
#include "input.h"
#include "midware.h"

namespace {

constexpr char kSlotFile[] = "/conf/ext/custom_pchdisk_config.ini";
constexpr char kUsageFile[] = "/conf/ext/hostusagecfg.ini";
constexpr uint32_t kAbsent = 0xFFFFFFFF;

using Name = std::pair<std::string, std::string>;  // section, key

struct Value {
    std::optional<std::string> text;
    uint32_t number;
    bool operator==(const Value &) const = default;
};

Value Read(void *ini, const Name &name) {
    const char *text = IniGetStr(ini, name.first.c_str(), name.second.c_str(), nullptr);
    return {text != nullptr ? std::optional<std::string>(text) : std::nullopt,
            IniGetUInt(ini, name.first.c_str(), name.second.c_str(), kAbsent)};
}

std::map<Name, Value> ReadAll(void *ini, const std::vector<Name> &names) {
    std::map<Name, Value> values;
    for (const Name &name : names) values[name] = Read(ini, name);
    return values;
}

void Write(const std::string &path, std::string_view bytes) {
    std::ofstream(fuzz::Directory() + path, std::ios::binary | std::ios::trunc)
        .write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string Contents(const std::string &path) {
    std::ifstream in(fuzz::Directory() + path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), {}};
}

std::vector<Name> Names(fuzz::Input &input) {
    std::vector<Name> names = {{"", "key"},       {"section", "key"},     {"section", "Key"},
                               {"Section", "k"},  {"CPU", "NonCritical"}, {"Pchdisk custom config", "key"},
                               {"a\tb", "c \" d"}};
    for (int count = input.Byte() % 8; count > 0; --count) {
        std::string section = input.Text();
        names.emplace_back(std::move(section), input.Text());
    }
    return names;
}

void ChangeOne(fuzz::Input &input, void *ini, const std::vector<Name> &names) {
    const Name &name = names[input.Byte() % names.size()];
    const char *section = name.first.c_str();
    const char *key = name.second.c_str();
    std::map<Name, Value> expected = ReadAll(ini, names);
    int32_t result = -1;
    switch (input.Byte() % 4) {
        case 0: {
            const uint32_t number = input.Word();
            result = IniSetUInt(ini, section, key, number);
            if (result == 0) expected[name] = {std::to_string(number), number};
            break;
        }
        case 1:
            result = IniDelEntry(ini, section, key);
            fuzz::Demand((result == 0) == expected[name].text.has_value(), "a removal answers wrongly");
            if (result == 0) expected[name] = {std::nullopt, kAbsent};
            break;
        default: {
            const std::string text = input.Text();
            result = IniSetStr(ini, section, key, text.c_str());
            if (result == 0) {
                fuzz::Demand(IniGetStr(ini, section, key, nullptr) == text, "a text does not read back");
                expected[name] = Read(ini, name);
            }
        }
    }
    fuzz::Demand(result == 0 || result == -1, "answers another number");
    fuzz::Demand(ReadAll(ini, names) == expected, "another key changed");
}

void CheckSaved(void *ini, const std::vector<Name> &names) {
    const std::map<Name, Value> expected = ReadAll(ini, names);
    fuzz::Demand(IniSaveFile(ini, kSlotFile) == 0, "cannot be saved");
    // The first saves may still move comments and blank lines; then the file stays as it is, or files would
    // grow.
    std::string settled;
    for (int saves = 2; saves <= 5; ++saves) {
        void *again = IniLoadFile(kSlotFile);
        fuzz::Demand(again != nullptr, "a saved file cannot be loaded");
        fuzz::Demand(ReadAll(again, names) == expected, "a saved file reads otherwise");
        fuzz::Demand(IniSaveFile(again, kSlotFile) == 0, "cannot be saved again");
        IniCloseFile(again);
        if (saves == 4) settled = Contents(kSlotFile);
    }
    fuzz::Demand(Contents(kSlotFile) == settled, "a saved file saves otherwise");
}

// A number or a label that is stored for a disk is read for it; a label is a format, so one without "%" is
// used.
void CheckDisk(fuzz::Input &input) {
    PchDiskCustomCfg disk{};
    disk.dwBus = input.Byte();
    disk.dwDev = input.Byte();
    disk.ucCpuId = input.Byte();
    disk.ucPort = input.Byte();
    disk.ucSlot = input.Byte();
    const std::string label = input.Text();
    std::memcpy(disk.acSilkInfo, label.data(), std::min(label.size(), sizeof disk.acSilkInfo));
    const uint8_t command[6] = {0, 0, 0, 0, 0, static_cast<uint8_t>(input.Byte() % 4 != 0)};

    PchDiskCustomCfg read = disk;
    MW_LoadCustomPchDiskConfig(&read, 0);
    MW_LoadCustomPchDiskConfig(&read, 1);
    for (uint8_t type = 0; type < 2; ++type) {
        disk.ucCfgType = type;
        if (MW_SaveCustomPchDiskConfig(disk, command) != 0 || command[5] != 1) continue;
        fuzz::Demand(MW_LoadCustomPchDiskConfig(&read, type) == 0, "a stored disk slot cannot be loaded");
        if (type == 0) fuzz::Demand(read.ucSlot == disk.ucSlot, "a stored slot number reads otherwise");
        if (type == 1 && label.find('%') == label.npos && label.find("--") == label.npos && !label.empty()) {
            fuzz::Demand(std::string_view(read.acSilkInfo) ==
                             std::string_view(label).substr(0, sizeof disk.acSilkInfo - 1),
                         "a stored label reads otherwise");
        }
    }
}

void ReadThresholds() {
    uint32_t percents[2];
    MW_GetCpuUsageThreInfo(percents);
    MW_GetMemUsageThreInfo(percents);
    MW_GetHardDiskUsageThreInfo(percents);
}

bool Prepare() {
    setenv("MIDWARE_ROOT", fuzz::Directory().c_str(), 1);
    std::filesystem::create_directories(fuzz::Directory() + "/conf/ext");
    if (std::freopen("/dev/null", "w", stdout) == nullptr) return false;
    return MW_MidWareInit() == 0;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    static const bool prepared = Prepare();
    fuzz::Demand(prepared, "the shared area cannot be created");
    fuzz::Input input(data, size);
    const uint8_t purpose = input.Byte();
    const std::string_view contents = input.Bytes(input.Word(2));
    Write(kSlotFile, contents);
    if (purpose % 4 == 1) {
        Write(kUsageFile, contents);
        ReadThresholds();
    }
    const std::vector<Name> names = Names(input);
    void *ini = IniLoadFile(kSlotFile);
    if (ini == nullptr) {
        CheckDisk(input);
        return 0;
    }
    for (int step = 0; step < 20 && !input.empty(); ++step) ChangeOne(input, ini, names);
    CheckSaved(ini, names);
    IniCloseFile(ini);
    if (purpose % 4 == 2) CheckDisk(input);
    return 0;
}
