// The host view of the disks behind the PCH: how it grows with their number, and what it costs to read the
// settings file for every one of them. Every disk has a custom slot number and a label.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <thread>

#include "bench.h"
#include "hov_slibc.h"
#include "iniparser.h"
#include "iniparser_cache.h"
#include "midware.h"
#include "oal.h"

namespace {

constexpr uint32_t kMostDisks = MW_PCH_DISK_MAX - 1;
constexpr uint32_t kCounts[] = {7, 15, 31, kMostDisks};
constexpr char kSettings[] = "/conf/ext/custom_pchdisk_config.ini";
constexpr char kJournal[] = "/data/log/customdiskslot.log";

// The two tables, and the settings of all disks that there are in the largest one.
void Store(uint32_t disks) {
    static PchDiskAssetInfo disk_table;
    static PchCtrlAssetInfo ctrl_table;
    ctrl_table.dwPCHCtrlNum = 1;
    ctrl_table.atPchCtrl[0].dwDev = 0x17;
    disk_table = {};
    disk_table.dwPCHDiskNum = disks;
    for (uint32_t i = 0; i < disks; ++i) {
        PchDiskInfo &disk = disk_table.atPchDisk[i];
        disk.wPort = static_cast<uint16_t>(i);
        disk.dwRotateRate = 7200;
        disk.dLinkRate = 6.0;
        disk.ucIfType = MW_PCH_IF_SATA;
        std::strcpy(disk.acVendor, "ATA");
        std::snprintf(disk.acModel, sizeof disk.acModel, "SEAGATE MODEL %u", i);
        std::snprintf(disk.acSerialNum, sizeof disk.acSerialNum, "SERIAL%u", i);
    }
    if (MW_SetPCHDiskAssetInfo(&disk_table) != 0 || MW_SetPCHCtrlAssetInfo(&ctrl_table) != 0) std::abort();

    [[maybe_unused]] static const bool stored = [] {
        constexpr uint8_t kWrite[6] = {0, 0, 0, 0, 0, MW_PCH_OPT_WRITE};
        for (uint32_t i = 0; i < kMostDisks; ++i) {
            PchDiskCustomCfg setting{};
            setting.dwDev = 0x17;
            setting.ucPort = static_cast<uint8_t>(i);
            setting.ucSlot = static_cast<uint8_t>(100 + i);
            std::snprintf(setting.acSilkInfo, sizeof setting.acSilkInfo, "Bay %u, front", i);
            for (const uint8_t type : {MW_PCH_CFG_SLOT, MW_PCH_CFG_SILK}) {
                setting.ucCfgType = type;
                if (MW_SaveCustomPchDiskConfig(setting, kWrite) != 0) std::abort();
            }
        }
        // A file that was changed a moment ago may change again without a trace, so it is not kept yet.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return true;
    }();
}

void View(benchmark::State &state, uint32_t disks, bool keep) {
    Store(disks);
    const int before = IniCacheEnable(keep ? 1 : 0);
    static HostPchHdInfo view;
    for (auto _ : state) {
        if (HOST_GetPCHHdInfo(&view) != 0 || view.dwHdNum != disks) std::abort();
        benchmark::ClobberMemory();
    }
    if (view.atHd[disks - 1].ucSlot != 100 + disks - 1) std::abort();
    IniCacheEnable(before);
}

// What the view is made of: the lines of its journal, and the file looked up twice a disk under its lock.
void Journal(benchmark::State &state) {
    for (auto _ : state) {
        for (uint32_t i = 0; i < 3 * kMostDisks; ++i) {
            if (OAL_Log2File(kJournal, 1, "[Line:%d Func:%s]get custom config:custom pchdisk slot:%d\n", 240,
                             "MW_LoadCustomPchDiskConfig", 100) != 0) {
                std::abort();
            }
        }
    }
}

void Lookups(benchmark::State &state) {
    Store(kMostDisks);
    for (auto _ : state) {
        for (uint32_t i = 0; i < 2 * kMostDisks; ++i) {
            if (hov_CustomPchDiskSemLock() < 0) std::abort();
            void *file = HOV_IniLoadFile(kSettings);
            benchmark::DoNotOptimize(
                IniGetUInt(file, "Pchdisk custom config", "CPU0_BDF 0000:00:17.0_port31_diskslot", 255));
            IniCloseFile(file);
            hov_CustomPchDiskSemUnLock();
        }
    }
}

const bool kRegistered = [] {
    const auto name = [](const char *what, uint32_t disks) { return what + ("/" + std::to_string(disks)); };
    for (const uint32_t disks : kCounts) {
        benchmark::RegisterBenchmark(name("disk_view", disks).c_str(), View, disks, true);
        if (disks != kCounts[0]) {
            char linear[32];
            std::snprintf(linear, sizeof linear, "linear: %.2f", disks / double{kCounts[0]});
            CompareTimes(name("disk_view", disks), name("disk_view", kCounts[0]), linear);
        }
    }
    const std::string whole = name("disk_view", kMostDisks);
    benchmark::RegisterBenchmark(name("disk_view_parsing", kMostDisks).c_str(), View, kMostDisks, false);
    CompareTimes(name("disk_view_parsing", kMostDisks), whole, "wanted: at least 20");
    benchmark::RegisterBenchmark(name("disk_view_journal", kMostDisks).c_str(), Journal);
    benchmark::RegisterBenchmark(name("disk_view_lookups", kMostDisks).c_str(), Lookups);
    CompareTimes(name("disk_view_journal", kMostDisks), whole, "its share of the view");
    CompareTimes(name("disk_view_lookups", kMostDisks), whole, "its share of the view");
    return true;
}();

}  // namespace
