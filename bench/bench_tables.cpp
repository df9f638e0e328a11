// Views that are put together from tables, as the tables grow: the host's disks, and the PCIe cards for upper
// interfaces.
#include <cstdio>
#include <cstring>
#include <thread>

#include "bench.h"
#include "hov_slibc.h"
#include "iniparser.h"
#include "iniparser_cache.h"
#include "midware.h"
#include "oal.h"

namespace bench {
namespace {

constexpr uint32_t kMostDisks = MW_PCH_DISK_MAX - 1;
constexpr char kSettings[] = "/conf/ext/custom_pchdisk_config.ini";
constexpr char kJournal[] = "/data/log/customdiskslot.log";

// The two tables, and the settings of all disks that there are in the largest one: a slot number and a label
// each.
void StoreDisks(uint32_t disks) {
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
    Check(MW_SetPCHDiskAssetInfo(&disk_table) == 0 && MW_SetPCHCtrlAssetInfo(&ctrl_table) == 0,
          "storing the disks");

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
                Check(MW_SaveCustomPchDiskConfig(setting, kWrite) == 0, "storing a disk's settings");
            }
        }
        // A file that was changed a moment ago may change again without a trace, so it is not kept yet.
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        return true;
    }();
}

void ReadDisks(uint32_t disks, uint64_t times) {
    static HostPchHdInfo view;
    for (uint64_t i = 0; i < times; ++i) {
        Check(HOST_GetPCHHdInfo(&view) == 0 && view.dwHdNum == disks, "the view of the disks");
        Clobber();
    }
    Check(view.atHd[disks - 1].ucSlot == 100 + disks - 1, "a disk's slot");
}

void RunDisks() {
    const std::string most = std::to_string(kMostDisks) + " disks";
    for (const uint32_t disks : {1u, 7u, 15u, 31u, kMostDisks}) {
        StoreDisks(disks);
        Race race("disks", std::to_string(disks) + (disks == 1 ? " disk" : " disks"), disks);
        race.Enter(kLibrary, [disks](uint64_t times) { ReadDisks(disks, times); });
        if (disks == kMostDisks) {
            race.Enter("parsing each time", [disks](uint64_t times) {
                const int before = IniCacheEnable(0);
                ReadDisks(disks, times);
                IniCacheEnable(before);
            });
            // What the view is made of.
            race.Enter("its journal lines", [](uint64_t times) {
                for (uint64_t i = 0; i < times * 3 * kMostDisks; ++i) {
                    Check(OAL_Log2File(kJournal, 1,
                                       "[Line:%d Func:%s]get custom config:custom pchdisk slot:%d\n", 240,
                                       "MW_LoadCustomPchDiskConfig", 100) == 0,
                          "a line of the journal");
                }
            });
            race.Enter("its look-ups", [](uint64_t times) {
                for (uint64_t i = 0; i < times * 2 * kMostDisks; ++i) {
                    Check(hov_CustomPchDiskSemLock() >= 0, "the disk file's semaphore");
                    void *file = HOV_IniLoadFile(kSettings);
                    Check(IniGetUInt(file, "Pchdisk custom config", "CPU0_BDF 0000:00:17.0_port31_diskslot",
                                     255) != 255,
                          "a look-up");
                    IniCloseFile(file);
                    hov_CustomPchDiskSemUnLock();
                }
            });
            Want("disks", most, "parsing each time", kLibrary, Is::kAtLeast, 20);
        }
        race.Run(Rounds(15));
    }
}

void RunCards() {
    static PcieAssetInfo records[MW_PCIE_MAX], out[MW_PCIE_UPPER_MAX];
    static NicCardBlock cards;
    for (const bool ocp : {false, true}) {
        // OCP cards are in both tables, under the same slot.
        for (uint32_t i = 0; i < MW_PCIE_MAX; ++i) {
            records[i].ucSlot = static_cast<uint8_t>(i + 1);
            records[i].ucDevType = ocp ? MW_PCIE_TYPE_OCP : 0;
            cards.atNicCard[i].ucNicSlotNum = static_cast<uint8_t>(i + 1);
            cards.atNicCard[i].ucNicSlotType = MW_NIC_SLOT_OCP;
        }
        for (const uint32_t count : {1u, 8u, 16u, 32u, MW_PCIE_MAX}) {
            cards.dwNicCardNum = ocp ? std::min(count, MW_NIC_CARD_MAX) : 0;
            Check(MW_SetPcieAssetInfo(records, count) == 0 && MW_SetNICCardAssetInfo(&cards) == 0,
                  "storing the cards");
            Race race(ocp ? "cards-ocp" : "cards",
                      std::to_string(count) + (ocp          ? (count == 1 ? " OCP card" : " OCP cards")
                                               : count == 1 ? " card"
                                                            : " cards"),
                      count);
            race.Enter(kLibrary, [](uint64_t times) {
                for (uint64_t i = 0; i < times; ++i) {
                    uint32_t n = 0;
                    Check(MW_GetPcieAssetInfoForUpperInterface(out, &n) == 0 && n > 0, "the list of cards");
                    Clobber();
                }
            });
            race.Enter("memcpy of as much", [count](uint64_t times) {
                static NicCardBlock nic;
                for (uint64_t i = 0; i < times; ++i) {
                    std::memcpy(out, records, count * sizeof(PcieAssetInfo));
                    std::memcpy(&nic, &cards, sizeof nic);
                    Clobber(&nic);
                }
            });
            race.Run(Rounds(15));
        }
    }
}

const Measurement kDisks("disks", "the host's view of the disks as their table grows", RunDisks);
const Measurement kCards("cards", "the list of PCIe cards for upper interfaces as their tables grow",
                         RunCards);

}  // namespace
}  // namespace bench
