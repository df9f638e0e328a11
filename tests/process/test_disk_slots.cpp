// Custom slots and labels of PCH disks in a file that several processes read, write and view at once, and
// labels of every kind on the way through that file.
#include <malloc.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <map>
#include <random>
#include <regex>
#include <thread>

#include "process_test.h"

namespace {

constexpr uint8_t kWrite[6] = {0, 0, 0, 0, 0, MW_PCH_OPT_WRITE};
constexpr uint8_t kRemove[6] = {};
constexpr uint32_t kDevice = 0x17;

PchDiskCustomCfg Disk(uint8_t port, uint32_t type = MW_PCH_CFG_SLOT) {
    PchDiskCustomCfg disk{};
    disk.dwDev = kDevice;
    disk.ucPort = port;
    disk.ucCfgType = static_cast<uint8_t>(type);
    return disk;
}

int32_t SaveSlot(uint8_t port, uint8_t slot) {
    PchDiskCustomCfg disk = Disk(port);
    disk.ucSlot = slot;
    return MW_SaveCustomPchDiskConfig(disk, kWrite);
}

// As a management service does it: the label's bytes as far as they fit, with a terminator where there is
// room.
int32_t SaveLabel(uint8_t port, const std::string &label) {
    PchDiskCustomCfg disk = Disk(port, MW_PCH_CFG_SILK);
    label.copy(disk.acSilkInfo, sizeof disk.acSilkInfo);
    return MW_SaveCustomPchDiskConfig(disk, kWrite);
}

int32_t Remove(uint8_t port, uint32_t type) { return MW_SaveCustomPchDiskConfig(Disk(port, type), kRemove); }

uint32_t LoadSlot(uint8_t port) {
    PchDiskCustomCfg disk = Disk(port);
    EXPECT_EQ(MW_LoadCustomPchDiskConfig(&disk, MW_PCH_CFG_SLOT), 0);
    return disk.ucSlot;
}

std::string LoadLabel(uint8_t port) {
    PchDiskCustomCfg disk = Disk(port);
    EXPECT_EQ(MW_LoadCustomPchDiskConfig(&disk, MW_PCH_CFG_SILK), 0);
    return disk.acSilkInfo;
}

class DiskSlots : public AreaTest {
  protected:
    // As many disks as ports, all on one controller.
    void CreateDisks(uint32_t disks) {
        CreateArea();
        EXPECT_SUCCEEDS(setup_, [disks] {
            PchDiskAssetInfo table{};
            PchCtrlAssetInfo ctrls{};
            table.dwPCHDiskNum = disks;
            for (uint32_t i = 0; i < disks; ++i) {
                table.atPchDisk[i].wPort = static_cast<uint16_t>(i);
                std::strcpy(table.atPchDisk[i].acVendor, "ATA");
                std::strcpy(table.atPchDisk[i].acModel, "HGST MODEL");
            }
            ctrls.dwPCHCtrlNum = 1;
            ctrls.atPchCtrl[0].dwDev = kDevice;
            EXPECT_EQ(MW_SetPCHDiskAssetInfo(&table), 0);
            EXPECT_EQ(MW_SetPCHCtrlAssetInfo(&ctrls), 0);
        });
    }

    std::string Settings() const { return root_ / "conf/ext/custom_pchdisk_config.ini"; }

    // The keys of the file and their values, as they stand there. Nothing else may be in it.
    std::map<std::string, std::string> Keys() const {
        std::map<std::string, std::string> keys;
        const std::vector<std::string> lines = LinesOf(ReadFile(Settings()));
        bool in_section = false;
        for (const std::string &line : lines) {
            if (line.empty()) continue;
            if (!in_section) {
                EXPECT_EQ(line, "[Pchdisk custom config]");
                in_section = true;
                continue;
            }
            static const std::regex setting(
                R"((CPU0_BDF 0000:00:17\.0_port\d+_(?:diskslot|customsilk)) =(?: (.*))?)");
            std::smatch match;
            EXPECT_TRUE(std::regex_match(line, match, setting)) << line;
            EXPECT_TRUE(keys.emplace(match[1], match[2]).second) << "twice: " << line;
        }
        return keys;
    }
    static std::string Key(uint32_t port, const char *setting) {
        return "CPU0_BDF 0000:00:17.0_port" + std::to_string(port) + "_" + setting;
    }
};

TEST_F(DiskSlots, WhatOneProcessSavesIsInTheViewOfAnother) {
    CreateDisks(3);
    EXPECT_SUCCEEDS(setup_, [] {
        EXPECT_EQ(SaveSlot(0, 7), 0);
        EXPECT_EQ(SaveLabel(0, "Bay 7; left = top"), 0);
        EXPECT_EQ(SaveLabel(2, "Bay 9"), 0);
        EXPECT_EQ(SaveSlot(2, 8), 0);
        EXPECT_EQ(Remove(2, MW_PCH_CFG_SLOT), 0);
    });
    EXPECT_SUCCEEDS(setup_, [] {
        static HostPchHdInfo view;
        EXPECT_EQ(HOST_GetPCHHdInfo(&view), 0);
        EXPECT_EQ(view.dwHdNum, 3u);
        EXPECT_EQ(view.atHd[0].ucSlot, 7);
        EXPECT_STREQ(view.atHd[0].acSilkInfo, "Bay 7; left = top");
        EXPECT_STREQ(view.atHd[0].acVendor, "HGST");
        EXPECT_STREQ(view.atHd[0].acBdf, "0000:00:17.0");
        EXPECT_EQ(view.atHd[1].ucSlot, MW_HD_NO_SLOT);
        EXPECT_STREQ(view.atHd[1].acSilkInfo, "--");
        EXPECT_EQ(view.atHd[2].ucSlot, MW_HD_NO_SLOT);
        EXPECT_STREQ(view.atHd[2].acSilkInfo, "Bay 9");
    });
}

// --- killed at random

constexpr uint32_t kPorts = 40;        // that are saved to
constexpr uint32_t kRemovedPorts = 8;  // behind them, those that are saved and removed again
constexpr uint32_t kKills = 200;       // of each process

// What the processes have done: numbers that only grow. A setting in the file is one from the last that was
// reported to the last that was begun.
struct Report {
    struct Setting {
        std::atomic<uint32_t> begun{0};
        std::atomic<uint32_t> done{0};
    };
    std::array<Setting, kPorts> slots;
    std::array<Setting, kPorts> labels;
    std::array<Setting, kRemovedPorts> removed;  // odd: saved, even: removed
    std::atomic<uint32_t> next_save{0};
    std::atomic<uint32_t> next_removal{0};
    std::atomic<uint32_t> saves{0}, loads{0}, removals{0}, views{0};
};

std::string LabelOf(uint32_t number) { return "label; no. " + std::to_string(number) + " = [x]"; }

void SaveForever(Report &report) {
    for (;;) {
        const uint32_t turn = report.next_save++;
        const auto port = static_cast<uint8_t>(turn / 2 % kPorts);
        Report::Setting &setting = turn % 2 == 0 ? report.slots[port] : report.labels[port];
        const uint32_t number = setting.begun + 1;
        if (number > 250) Forever();
        setting.begun = number;
        ASSERT_EQ(
            turn % 2 == 0 ? SaveSlot(port, static_cast<uint8_t>(number)) : SaveLabel(port, LabelOf(number)),
            0);
        setting.done = number;
        ++report.saves;
    }
}

// An odd number that was begun but not done is a label that may be there or not, an even one a removal
// likewise.
void RemoveForever(Report &report) {
    for (;;) {
        const uint32_t turn = report.next_removal++ % kRemovedPorts;
        const auto port = static_cast<uint8_t>(kPorts + turn);
        Report::Setting &setting = report.removed[turn];
        const uint32_t number = (setting.begun + 1) | 1;
        setting.begun = number;
        ASSERT_EQ(SaveLabel(port, LabelOf(number)), 0);
        setting.done = number;
        setting.begun = number + 1;
        ASSERT_EQ(Remove(port, MW_PCH_CFG_SILK), 0);
        setting.done = number + 1;
        ++report.removals;
    }
}

bool IsALabel(const std::string &label) {
    static const std::regex form(R"(--|label; no\. \d+ = \[x\])");
    return std::regex_match(label, form);
}

void LoadForever(Report &report) {
    for (uint32_t turn = 0;; ++turn) {
        const auto port = static_cast<uint8_t>(turn % kPorts);
        const uint32_t least = report.slots[port].done;
        const uint32_t slot = LoadSlot(port);
        ASSERT_TRUE(slot == MW_HD_NO_SLOT ? least == 0 : slot >= least) << slot << " after " << least;
        ASSERT_LE(slot == MW_HD_NO_SLOT ? 0 : slot, report.slots[port].begun);
        const std::string label = LoadLabel(port);
        ASSERT_TRUE(IsALabel(label)) << label;
        ++report.loads;
    }
}

void ViewForever(Report &report) {
    static HostPchHdInfo view;
    for (;;) {
        std::array<uint32_t, kPorts> least;
        for (uint32_t port = 0; port < kPorts; ++port) least[port] = report.slots[port].done;
        ASSERT_EQ(HOST_GetPCHHdInfo(&view), 0);
        for (uint32_t port = 0; port < kPorts; ++port) {
            const HostPchHdEntry &disk = view.atHd[port];
            ASSERT_TRUE(disk.ucSlot == MW_HD_NO_SLOT ? least[port] == 0 : disk.ucSlot >= least[port]);
            ASSERT_TRUE(IsALabel(disk.acSilkInfo)) << disk.acSilkInfo;
        }
        ++report.views;
    }
}

TEST_F(DiskSlots, ProcessesKilledAtRandomLeaveTheFileWholeAndLoseNoReportedSetting) {
    if (!DeathIsReported()) GTEST_SKIP() << "the kernel's notice of a dead holder does not arrive here";
    CreateDisks(kPorts);
    Shared<Report> report;
    constexpr void (*kBodies[])(Report &) = {SaveForever, RemoveForever, LoadForever, ViewForever};
    constexpr size_t kProcesses = std::size(kBodies);
    const auto start = [&](size_t which) {
        return Process(setup_, [&report, body = kBodies[which]] { body(*report); });
    };
    std::vector<Process> processes;
    for (size_t i = 0; i < kProcesses; ++i) processes.push_back(start(i));

    // What a setting's number may be: reported before the file is read, begun until it was read.
    struct Bounds {
        uint32_t least, most;
    };
    const auto check = [&] {
        std::array<std::array<Bounds, kPorts>, 2> bounds;
        std::array<uint32_t, kRemovedPorts> removed_before;
        for (uint32_t port = 0; port < kPorts; ++port) {
            bounds[0][port].least = report->slots[port].done;
            bounds[1][port].least = report->labels[port].done;
        }
        for (uint32_t i = 0; i < kRemovedPorts; ++i) removed_before[i] = report->removed[i].done;
        auto keys = Keys();
        for (uint32_t port = 0; port < kPorts; ++port) {
            bounds[0][port].most = report->slots[port].begun;
            bounds[1][port].most = report->labels[port].begun;
            for (const bool is_label : {false, true}) {
                const std::string key = Key(port, is_label ? "customsilk" : "diskslot");
                const auto [least, most] = bounds[is_label][port];
                bool found = least == 0 && !keys.contains(key);
                for (uint32_t number = std::max(least, 1u); number <= most && keys.contains(key); ++number) {
                    found |= keys[key] == (is_label ? '"' + LabelOf(number) + '"' : std::to_string(number));
                }
                ASSERT_TRUE(found) << key << " is '" << keys[key] << "', not one from " << least << " to "
                                   << most;
                keys.erase(key);
            }
        }
        for (uint32_t i = 0; i < kRemovedPorts; ++i) {
            const std::string key = Key(kPorts + i, "customsilk");
            // Settled: nothing of it was begun until the file was read.
            if (report->removed[i].begun == removed_before[i]) {
                ASSERT_EQ(keys.contains(key), removed_before[i] % 2 == 1) << key;
            }
            keys.erase(key);
        }
        ASSERT_TRUE(keys.empty()) << keys.begin()->first;
    };

    std::mt19937 random(20);
    for (uint32_t kill = 0; kill < kKills * kProcesses; ++kill) {
        std::this_thread::sleep_for(std::chrono::microseconds(random() % 6000));
        Process &victim = processes[kill % kProcesses];
        victim.Kill();
        const Outcome outcome = victim.Wait();
        ASSERT_EQ(outcome.signal, SIGKILL) << outcome;
        check();
        if (HasFatalFailure()) return;
        victim = start(kill % kProcesses);
    }
    // All of them get to do something; on a slow machine it may be only now.
    EXPECT_TRUE(Eventually([&] {
        return report->saves > kKills / 10 && report->removals > 0 && report->loads > kKills / 10 &&
               report->views > 0;
    }));
    for (Process &process : processes) process.Kill();
    check();

    // What they left behind is no obstacle.
    EXPECT_SUCCEEDS(setup_, [] {
        EXPECT_EQ(SaveSlot(0, 251), 0);
        EXPECT_EQ(LoadSlot(0), 251u);
    });
    EXPECT_EQ(FilesIn(root_ / "conf/ext"), std::vector<std::string>{"custom_pchdisk_config.ini"});
    for (const std::string file : {"customdiskslot.log.1", "customdiskslot.log"}) {
        static const std::regex line_of_journal(
            R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z \[Line:\d+ Func:.*)");
        const std::string text = ReadFile(root_ / ("data/log/" + file));
        size_t begin = 0;
        for (const std::string &line : LinesOf(text)) {
            // One of a killed process may end where a page does.
            const size_t end = begin + line.size();
            const bool ended = line.ends_with("...");
            const bool cut = (ended || end == text.size()) && (end - (ended ? 3 : 0)) % 4096 == 0;
            ASSERT_TRUE(cut || std::regex_match(line, line_of_journal)) << line;
            begin = end + 1;
        }
    }
}

// --- labels

struct LabelCase {
    std::string label;
    std::string loaded;  // where it does not read as it was saved
};

const LabelCase kLabels[] = {
    {"Bay 3 left", {}},
    {" blanks at both ends  ", {}},
    {"\ttab\t", {}},
    {"[Pchdisk custom config]", {}},
    {"[x", {}},
    {"; no comment", {}},
    {"a;b#c", {}},
    {"# nor this", {}},
    {"slot = 3", {}},
    {"=", {}},
    {"\"quoted\"", {}},
    {"'single'", {}},
    {"back\\slash \\n", {}},
    {"<<<END", {}},
    {"\xC3\x84\xC3\xB6\xC3\xBC \xE2\x82\xAC \xE6\xA7\xBD", {}},
    {"\xFF\xFEnot UTF-8\x80", {}},
    {"0123456789abcdef0123456789abcdef", {}},                                   // 32 bytes
    {"0123456789abcdef0123456789abcdefX", "0123456789abcdef0123456789abcdef"},  // 33, no terminator
    {"two\nlines", {}},
    {"\nCPU0_BDF 0:0_port9_diskslot=3", {}},
    {"x\n[y]\nz = 1", {}},
    {"x\r\ny", {}},
    {"100%", {}},
    {"50 % full", "50  0.000000ull"},  // "% f"
    {"%%", "%"},
    {"%d%5u|%x", "0    0|0"},
    {"%s", "(null)"},
    {"%n", "none"},
    {"%123456789d", {}},
    {"%*.*f%p%c", {}},
    {"A--B", {}},
};

// What is known beforehand of a label's form when it is loaded.
bool IsPlain(const std::string &label) { return label.find('%') == label.npos; }

TEST_F(DiskSlots, ALabelOfAnyKindReadsBackAndTouchesNoOtherKey) {
    EXPECT_SUCCEEDS(setup_, [] {
        EXPECT_EQ(SaveSlot(1, 11), 0);
        EXPECT_EQ(SaveLabel(1, "neighbour"), 0);
        EXPECT_EQ(SaveSlot(2, 22), 0);
    });
    for (const auto &[label, other] : kLabels) {
        SCOPED_TRACE(::testing::PrintToString(label));
        EXPECT_SUCCEEDS(setup_, [&label] { EXPECT_EQ(SaveLabel(2, label), 0); });
        EXPECT_EQ(Keys().size(), 4u);
        EXPECT_SUCCEEDS(setup_, [&label, &other] {
            const std::string loaded = LoadLabel(2);
            EXPECT_LT(loaded.size(), size_t{MW_PCH_SILK_SIZE});
            if (other == "none") {
                EXPECT_EQ(loaded, "");
            } else if (!other.empty()) {
                EXPECT_EQ(loaded, other);
            } else if (IsPlain(label) || label == "100%") {
                EXPECT_EQ(loaded, label);
            }
            EXPECT_EQ(LoadSlot(2), 22u);
            EXPECT_EQ(LoadSlot(1), 11u);
            EXPECT_EQ(LoadLabel(1), "neighbour");
            for (const uint8_t port : {uint8_t{0}, uint8_t{9}}) {
                EXPECT_EQ(LoadSlot(port), uint32_t{MW_HD_NO_SLOT});
                EXPECT_EQ(LoadLabel(port), "--");
            }
            // One with "--" in it counts as none.
            EXPECT_EQ(Remove(2, MW_PCH_CFG_SILK), label == "A--B" ? -1 : 0);
            EXPECT_EQ(LoadLabel(2), label == "A--B" ? label : "--");
        });
        EXPECT_EQ(Keys().size(), label == "A--B" ? 4u : 3u);
    }
}

TEST_F(DiskSlots, NoLabelBreaksALineOfTheJournal) {
    EXPECT_SUCCEEDS(setup_, [] {
        for (const LabelCase &one : kLabels) {
            EXPECT_EQ(SaveLabel(2, one.label), 0);
            LoadLabel(2);
        }
    });
    const std::vector<std::string> lines = LinesOf(ReadFile(root_ / "data/log/customdiskslot.log"));
    EXPECT_EQ(lines.size(), 2 * std::size(kLabels));
    for (const std::string &line : lines) EXPECT_NE(line.find("Z [Line:"), line.npos) << line;
}

// A removal of what is not there leaves its loaded file open: the platform layer has to give those up.
TEST_F(DiskSlots, NeitherLabelsNorRemovalsOfNothingPileUpInAProcess) {
    EXPECT_SUCCEEDS(setup_, [] {
        const auto round = [](int times) {
            for (int i = 0; i < times; ++i) {
                EXPECT_EQ(Remove(5, MW_PCH_CFG_SILK), -1);
                EXPECT_EQ(Remove(5, MW_PCH_CFG_SLOT), -1);
                for (const uint8_t port : {uint8_t{1}, uint8_t{2}}) LoadLabel(port);
            }
            for (const LabelCase &one : kLabels) {
                EXPECT_EQ(SaveLabel(1, one.label), 0);
                LoadLabel(1);
            }
        };
        round(300);
        const size_t before = mallinfo2().uordblks;
        round(1000);
        const size_t after = mallinfo2().uordblks;
        EXPECT_LT(after, before + 100'000) << "was " << before;
        const size_t open_files = FilesIn("/proc/self/fd").size();
        round(1);
        EXPECT_EQ(FilesIn("/proc/self/fd").size(), open_files);
    });
}

}  // namespace
