// RAID controllers, their disks, NVMe devices and disk backplanes.
#include <algorithm>

#include "accessor_test.h"

namespace {

constexpr ModuleFacts kRaidFacts{"raidcard/hov_midraidcard", &g_ptRaidCollectionAddr, 492384, 119040, 12294};
constexpr size_t kRegion = 708704;
constexpr size_t kTable = 105072;
constexpr size_t kStates = 105592;

class Raid : public AccessorTest {
 protected:
    Raid() : AccessorTest(kRaidFacts, kLockError) {}

    // A guarded function that makes these copies.
    std::vector<std::string> Held(std::vector<std::string> copies = {}) {
        copies.insert(copies.begin(), Lock(12294));
        copies.push_back(Unlock(12294));
        return copies;
    }

    // Bytes for and from accessors of any record.
    uint8_t *Buffer() { return reinterpret_cast<uint8_t *>(buffer_.data()); }

    std::vector<uint64_t> buffer_ = std::vector<uint64_t>(kRegion / 8);
    uint32_t count_ = 0;
    DiskBackPanelEntry entry_{};
    HdStateInfo states_{};
};

// --- the whole blocks ----------------------------------------------------------------------------------------------

struct Block {
    const char *getter;
    const char *setter;
    int32_t (*get)(void *);
    int32_t (*set)(const void *);
    size_t offset;
    size_t size;
    const char *lock_text;
};

template <auto Get, class T>
int32_t CallGet(void *out) {
    return Get(static_cast<T *>(out));
}
template <auto Set, class T>
int32_t CallSet(const void *in) {
    return Set(static_cast<const T *>(in));
}

#define BLOCK(name, type, offset, size, text) \
    {"MW_Get" #name, "MW_Set" #name, CallGet<MW_Get##name, type>, CallSet<MW_Set##name, type>, offset, size, text}
const Block kBlocks[] = {
    BLOCK(RaidAssetInfo, RaidAssetInfo, 2604, 6436, kLockError),
    BLOCK(Spr50DeviceAssetInfo, Spr50DeviceAssetInfo, 9040, 3844, kLockNoError),
    BLOCK(HdAssetInfo, HdAssetInfo, 12888, 55304, kLockError),
    BLOCK(LdAssetInfo, LdAssetInfo, 68192, 28680, kLockError),
    BLOCK(NvmeAssetInfo, NvmeAssetInfo, 96872, 8200, kLockError),
};
#undef BLOCK

TEST_F(Raid, EveryBlockAccessorFollowsTheTemplate) {
    for (const Block &block : kBlocks) {
        CheckGuarded({block.getter, [&] { return block.get(Buffer()); }, [&] { return block.get(nullptr); },
                      block.lock_text});
        CheckGuarded({block.setter, [&] { return block.set(Buffer()); }, [&] { return block.set(nullptr); },
                      block.lock_text});
    }
}

TEST_F(Raid, BlocksAreCopiedWholeAndNothingElseIs) {
    for (const Block &block : kBlocks) {
        SCOPED_TRACE(block.getter);
        FillArea();
        const Image before = Image::Take();
        std::fill(buffer_.begin(), buffer_.end(), 0);
        EXPECT_EQ(block.get(Buffer()), 0);
        ExpectCalls(block.getter, Held({Copy(block.size)}));
        EXPECT_EQ(memcmp(Buffer(), before.bytes().data() + At(block.offset), block.size), 0);
        EXPECT_EQ(Buffer()[block.size], 0);
        ExpectImage(before);

        const std::vector<uint8_t> bytes = Pattern(block.size, 41);
        memcpy(Buffer(), bytes.data(), bytes.size());
        EXPECT_EQ(block.set(Buffer()), 0);
        ExpectCalls(block.setter, Held({Copy(block.size)}));
        ExpectImage(before.With(At(block.offset), bytes.data(), bytes.size()));
    }
}

TEST_F(Raid, AFailedLockLeavesTheCallersBlockAlone) {
    for (const Block &block : kBlocks) {
        SCOPED_TRACE(block.getter);
        FillArea();
        std::fill(buffer_.begin(), buffer_.end(), 0x5A5A5A5A5A5A5A5A);
        recorder::Now().lock_result[12294] = -1;
        EXPECT_EQ(block.get(Buffer()), -1);
        EXPECT_EQ(std::count(Buffer(), Buffer() + block.size, 0x5A), static_cast<ptrdiff_t>(block.size));
    }
}

TEST_F(Raid, TheBackplaneBlockReportsInItsOwnWords) {
    auto *block = reinterpret_cast<HddBackPanelAssetInfo *>(buffer_.data());
    const char *attach_log = "[{S}:{L}]{F} {L}: fail to get g_ptRaidCollectionAddr.";
    CheckGuarded({"MW_GetHddBackPanelAssetInfo", [=] { return MW_GetHddBackPanelAssetInfo(block); },
                  [] { return MW_GetHddBackPanelAssetInfo(nullptr); }, kLockAfter, attach_log});
    CheckGuarded({"MW_SetHddBackPanelAssetInfo", [=] { return MW_SetHddBackPanelAssetInfo(block); },
                  [] { return MW_SetHddBackPanelAssetInfo(nullptr); }, kLockLine, attach_log});
}

TEST_F(Raid, TheBackplaneBlockIsCopiedOutAndZeroedBeforeItIsCopiedIn) {
    auto *block = reinterpret_cast<HddBackPanelAssetInfo *>(buffer_.data());
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetHddBackPanelAssetInfo(block), 0);
    ExpectCalls("MW_GetHddBackPanelAssetInfo", Held({HovCopy(12036)}));
    EXPECT_EQ(memcmp(block, before.bytes().data() + At(107004), 12036), 0);
    EXPECT_EQ(Buffer()[12036], 0);
    ExpectImage(before);

    const std::vector<uint8_t> bytes = Pattern(12036, 42);
    memcpy(Buffer(), bytes.data(), bytes.size());
    EXPECT_EQ(MW_SetHddBackPanelAssetInfo(block), 0);
    ExpectCalls("MW_SetHddBackPanelAssetInfo", Held({"hov_memset_s(12036, 0, 12036)", HovCopy(12036)}));
    ExpectImage(before.With(At(107004), bytes.data(), bytes.size()));
}

// --- the PHY lists -------------------------------------------------------------------------------------------------

struct PhyList {
    const char *getter;
    const char *setter;
    int32_t (*get)(uint8_t *, uint32_t *);
    int32_t (*set)(const uint8_t *, uint32_t);
    size_t count;    // offset of the stored number; the records follow it
    uint32_t most;   // records that the list has places for
    uint32_t fit;    // records between the list and the region's end
};

const PhyList kLists[] = {
    {"MW_GetRaidPhyInfo", "MW_SetRaidPhyInfo", MW_GetRaidPhyInfo, MW_SetRaidPhyInfo, 0, 40,
     (708704 - 492384 - 4) / 36},
    {"MW_GetNvmePhyInfo", "MW_SetNvmePhyInfo", MW_GetNvmePhyInfo, MW_SetNvmePhyInfo, 1448, 32,
     (708704 - 492384 - 1452) / 36},
};

TEST_F(Raid, EveryPhyAccessorFollowsTheTemplate) {
    for (const PhyList &list : kLists) {
        CheckGuarded({list.getter, [&] { return list.get(Buffer(), &count_); },
                      [&] { return list.get(nullptr, &count_); }});
        CheckGuarded({list.setter, [&] { return list.set(Buffer(), 1); }, [&] { return list.set(nullptr, 1); }});
        CheckGuarded({list.setter, [&] { return list.set(Buffer(), 0); }, [&] { return list.set(nullptr, 0); }});
    }
}

TEST_F(Raid, ThePointersToThePhyCountsAreNotTested) {
    recorder::Now().lock_result[12294] = -1;
    for (const PhyList &list : kLists) {
        EXPECT_EQ(list.get(Buffer(), nullptr), -1);
        ExpectCalls(list.getter, {Lock(12294), Dbg(kLockError)});
    }
}

TEST_F(Raid, PhyGettersCopyAsManyRecordsAsAreStored) {
    for (const PhyList &list : kLists) {
        for (uint32_t n : {0u, 1u, list.most, list.most + 1, list.fit}) {
            SCOPED_TRACE(std::string(list.getter) + " " + std::to_string(n));
            FillArea();
            Put<uint32_t>(list.count, n);
            const Image before = Image::Take();
            std::fill(buffer_.begin(), buffer_.end(), 0);
            count_ = 99;
            EXPECT_EQ(list.get(Buffer(), &count_), 0);
            ExpectCalls(list.getter, Held(std::vector<std::string>(n, Copy(36))));
            EXPECT_EQ(count_, n);
            EXPECT_EQ(memcmp(Buffer(), before.bytes().data() + At(list.count + 4), n * 36), 0);
            EXPECT_EQ(Buffer()[n * 36], 0);
            ExpectImage(before);
        }
    }
}

TEST_F(Raid, PhySettersStoreTheNumberAndRunOnIntoWhatFollows) {
    const std::vector<uint8_t> bytes = Pattern(kRegion, 43);
    for (const PhyList &list : kLists) {
        for (uint32_t n : {0u, 1u, list.most, list.most + 1, list.most + 2, list.fit}) {
            SCOPED_TRACE(std::string(list.setter) + " " + std::to_string(n));
            FillArea();
            const Image before = Image::Take();
            EXPECT_EQ(list.set(bytes.data(), n), 0);
            ExpectCalls(list.setter, Held(std::vector<std::string>(n, Copy(36))));
            ExpectImage(before.With<uint32_t>(At(list.count), n).With(At(list.count + 4), bytes.data(), n * 36));
        }
    }
}

TEST_F(Raid, PhyListsThatLeaveTheSharedAreaAreRefusedWhole) {
    for (const PhyList &list : kLists) {
        for (uint32_t n : {list.fit + 1, 0x40000000u, 0xFFFFFFFFu}) {
            SCOPED_TRACE(std::string(list.getter) + " " + std::to_string(n));
            FillArea();
            const Image before = Image::Take();
            EXPECT_EQ(list.set(Buffer(), n), -1);
            ExpectCalls(list.setter, Held({Dbg(kRefusal)}));
            ExpectImage(before);
            Put<uint32_t>(list.count, n);
            count_ = 99;
            EXPECT_EQ(list.get(Buffer(), &count_), -1);
            ExpectCalls(list.getter, Held({Dbg(kRefusal)}));
            EXPECT_EQ(count_, 99u);
        }
    }
}

// --- the backplane table -------------------------------------------------------------------------------------------

TEST_F(Raid, EveryBackplaneAccessorFollowsTheTemplate) {
    DiskBackPanelInfo table;
    const Accessor accessors[] = {
        {"MW_GetDiskBackPanelInfo", [&] { return MW_GetDiskBackPanelInfo(&table); },
         [] { return MW_GetDiskBackPanelInfo(nullptr); }},
        {"MW_SetDiskBackPanelTempInfo", [&] { return MW_SetDiskBackPanelTempInfo(0, &entry_); },
         [] { return MW_SetDiskBackPanelTempInfo(0, nullptr); }},
        {"MW_SetDiskBackPanelPowerInfo", [&] { return MW_SetDiskBackPanelPowerInfo(&entry_); },
         [] { return MW_SetDiskBackPanelPowerInfo(nullptr); }},
        {"MW_GetAllDiskBackBoardPowerInfo", [&] { return MW_GetAllDiskBackBoardPowerInfo(&count_); },
         [] { return MW_GetAllDiskBackBoardPowerInfo(nullptr); }},
        {"MW_SetAllDiskBackBoardPowerInfo", [] { return MW_SetAllDiskBackBoardPowerInfo(1); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Raid, TheBackplaneTableIsCopiedOutWhole) {
    FillArea();
    const Image before = Image::Take();
    DiskBackPanelInfo table{};
    EXPECT_EQ(MW_GetDiskBackPanelInfo(&table), 0);
    ExpectCalls("MW_GetDiskBackPanelInfo", Held({Copy(520)}));
    EXPECT_EQ(memcmp(&table, before.bytes().data() + At(kTable), 520), 0);
    ExpectImage(before);
}

TEST_F(Raid, ThePowerOfAllBackplanesIsOneWord) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetAllDiskBackBoardPowerInfo(0x80000001), 0);
    ExpectCalls("MW_SetAllDiskBackBoardPowerInfo", Held());
    ExpectImage(before.With<uint32_t>(At(kTable + 4), 0x80000001));
    EXPECT_EQ(MW_GetAllDiskBackBoardPowerInfo(&count_), 0);
    ExpectCalls("MW_GetAllDiskBackBoardPowerInfo", Held());
    EXPECT_EQ(count_, 0x80000001u);
}

// The three ways to report a figure of a backplane, and one that stores none.
struct Report {
    const char *name;
    std::function<int32_t(const DiskBackPanelEntry *)> set;
    int field;  // word of the entry; 0: none
};

std::vector<Report> Reports() {
    const auto temp = [](uint32_t kind) {
        return [kind](const DiskBackPanelEntry *in) { return MW_SetDiskBackPanelTempInfo(kind, in); };
    };
    return {{"MW_SetDiskBackPanelTempInfo", temp(0), 1},
            {"MW_SetDiskBackPanelTempInfo", temp(1), 2},
            {"MW_SetDiskBackPanelTempInfo", temp(2), 0},
            {"MW_SetDiskBackPanelTempInfo", temp(0xFFFFFFFF), 0},
            {"MW_SetDiskBackPanelPowerInfo", MW_SetDiskBackPanelPowerInfo, 3}};
}

Image WithReport(const Image &before, size_t entry, const Report &report, const DiskBackPanelEntry &in) {
    const uint32_t words[] = {in.dwBackPanelId, in.dwTemp0, in.dwTemp1, in.dwPower};
    return report.field == 0 ? before : before.With(entry + 4 * static_cast<size_t>(report.field), words[report.field]);
}

TEST_F(Raid, ANewBackplaneIsAppendedAndKeepsTheOtherFiguresOfItsPlace) {
    entry_ = {7, 21, 22, 23};
    for (const Report &report : Reports()) {
        for (uint32_t n : {0u, 1u, 30u, 31u}) {
            SCOPED_TRACE(std::string(report.name) + " " + std::to_string(n));
            FillArea();
            Put<uint32_t>(kTable, n);
            const Image before = Image::Take();
            const size_t place = At(kTable + 8 + 16 * n);
            EXPECT_EQ(report.set(&entry_), 0);
            ExpectCalls(report.name, Held());
            ExpectImage(WithReport(before.With<uint32_t>(At(kTable), n + 1).With<uint32_t>(place, 7), place, report,
                                   entry_));
        }
    }
}

TEST_F(Raid, AKnownBackplaneIsFoundByItsFirstEntry) {
    entry_ = {7, 21, 22, 23};
    for (const Report &report : Reports()) {
        for (uint32_t found : {0u, 4u, 31u}) {
            SCOPED_TRACE(std::string(report.name) + " " + std::to_string(found));
            FillArea();
            Put<uint32_t>(kTable, 32);
            Put<uint32_t>(kTable + 8 + 16 * found, 7);
            if (found < 31) Put<uint32_t>(kTable + 8 + 16 * (found + 1), 7);
            const Image before = Image::Take();
            EXPECT_EQ(report.set(&entry_), 0);
            ExpectCalls(report.name, Held());
            ExpectImage(WithReport(before, At(kTable + 8 + 16 * found), report, entry_));
        }
    }
}

TEST_F(Raid, AnIdBehindTheCountIsNotFound) {
    FillArea();
    Put<uint32_t>(kTable, 2);
    Put<uint32_t>(kTable + 8 + 16 * 3, 7);
    const Image before = Image::Take();
    entry_ = {7, 21, 22, 23};
    EXPECT_EQ(MW_SetDiskBackPanelTempInfo(0, &entry_), 0);
    ExpectImage(before.With<uint32_t>(At(kTable), 3)
                    .With<uint32_t>(At(kTable + 8 + 16 * 2), 7)
                    .With<uint32_t>(At(kTable + 8 + 16 * 2 + 4), 21));
}

TEST_F(Raid, AFullBackplaneTableIgnoresNewIdsAndStillKnowsTheOld) {
    for (uint32_t n : {32u, 33u, 0xFFFFFFFFu}) {
        for (const Report &report : Reports()) {
            SCOPED_TRACE(std::string(report.name) + " " + std::to_string(n));
            FillArea();
            Put<uint32_t>(kTable, n);
            Put<uint32_t>(kTable + 8 + 16 * 31, 8);
            Put<uint32_t>(kTable + 8 + 16 * 32, 7);  // behind the table
            const Image before = Image::Take();
            entry_ = {7, 21, 22, 23};
            EXPECT_EQ(report.set(&entry_), 0);
            ExpectCalls(report.name, Held());
            ExpectImage(before);
            entry_.dwBackPanelId = 8;
            EXPECT_EQ(report.set(&entry_), 0);
            ExpectCalls(report.name, Held());
            ExpectImage(WithReport(before, At(kTable + 8 + 16 * 31), report, entry_));
        }
    }
}

TEST_F(Raid, TemperaturesAndPowerOfABackplaneMeetInOneEntry) {
    const DiskBackPanelEntry power{5, 1, 2, 60}, temp{5, 31, 32, 99};
    EXPECT_EQ(MW_SetDiskBackPanelPowerInfo(&power), 0);
    EXPECT_EQ(MW_SetDiskBackPanelTempInfo(1, &temp), 0);
    EXPECT_EQ(MW_SetDiskBackPanelTempInfo(0, &temp), 0);
    DiskBackPanelInfo table;
    EXPECT_EQ(MW_GetDiskBackPanelInfo(&table), 0);
    EXPECT_EQ(table.dwBackPanelNum, 1u);
    EXPECT_EQ(table.atBackPanel[0].dwBackPanelId, 5u);
    EXPECT_EQ(table.atBackPanel[0].dwTemp0, 31u);
    EXPECT_EQ(table.atBackPanel[0].dwTemp1, 32u);
    EXPECT_EQ(table.atBackPanel[0].dwPower, 60u);
}

TEST_F(Raid, The33rdDistinctBackplaneIsIgnored) {
    for (uint32_t id = 100; id < 133; ++id) {
        entry_ = {id, id, id, id};
        EXPECT_EQ(id % 2 == 0 ? MW_SetDiskBackPanelTempInfo(0, &entry_) : MW_SetDiskBackPanelPowerInfo(&entry_), 0);
    }
    DiskBackPanelInfo table;
    EXPECT_EQ(MW_GetDiskBackPanelInfo(&table), 0);
    EXPECT_EQ(table.dwBackPanelNum, 32u);
    for (uint32_t i = 0; i < 32; ++i) EXPECT_EQ(table.atBackPanel[i].dwBackPanelId, 100 + i);
}

// --- disk states ---------------------------------------------------------------------------------------------------

class HdStates : public Raid {
 protected:
    // Records of these owners, told apart by their other bytes.
    static std::vector<HdState> Of(const std::vector<uint8_t> &owners, uint8_t seed) {
        std::vector<HdState> states;
        for (uint8_t owner : owners) {
            states.push_back(PatternOf<HdState>(seed++));
            states.back().ucOwner = owner;
        }
        return states;
    }

    static std::vector<HdState> Times(size_t n, uint8_t owner, uint8_t seed) {
        return Of(std::vector<uint8_t>(n, owner), seed);
    }

    static void FillList(HdStateInfo &list, uint32_t count, const std::vector<HdState> &states) {
        list.dwHdStateNum = count;
        std::copy(states.begin(), states.end(), list.atHdState);
    }

    void Store(uint32_t count, const std::vector<HdState> &states) {
        HdStateInfo list = PatternOf<HdStateInfo>(90);
        FillList(list, count, states);
        PutBytes(kStates, &list, sizeof list);
    }

    // The call filters without the semaphore, so the area has to be open to it.
    void ExpectMerge(const HdStateInfo &in, uint8_t owner, uint32_t count, const std::vector<HdState> &expected) {
        recorder::OpenArea();
        HdStateInfo list{};
        FillList(list, count, expected);
        const Image before = Image::Take();
        recorder::ClearCalls();
        EXPECT_EQ(MW_SetHDStateInfo(&in, owner), 0);
        ExpectImage(before.With(At(kStates), &list, sizeof list));
    }

    static std::vector<HdState> Joined(std::vector<HdState> first, const std::vector<HdState> &second) {
        first.insert(first.end(), second.begin(), second.end());
        return first;
    }
};

TEST_F(HdStates, TheListIsCopiedOutWhole) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetHDStateInfo(&states_), 0);
    ExpectCalls("MW_GetHDStateInfo", Held({Copy(1412)}));
    EXPECT_EQ(memcmp(&states_, before.bytes().data() + At(kStates), 1412), 0);
    ExpectImage(before);
    CheckGuarded({"MW_GetHDStateInfo", [&] { return MW_GetHDStateInfo(&states_); },
                  [] { return MW_GetHDStateInfo(nullptr); }});
}

TEST_F(HdStates, TheMergeFollowsTheTemplate) {
    recorder::OpenArea();
    FillArea();
    const Accessor merge{"MW_SetHDStateInfo", [&] { return MW_SetHDStateInfo(&states_, 3); },
                         [] { return MW_SetHDStateInfo(nullptr, 3); }};
    // With an empty list nothing is kept, so a failed lock is preceded by the empty append only.
    Put<uint32_t>(kStates, 0);
    const Image before = Image::Take();
    Detach();
    EXPECT_EQ(merge.null(), -1);
    ExpectNoCalls();
    recorder::Now().region_missing = true;
    EXPECT_EQ(merge.call(), -1);
    ExpectCalls(merge.name, {AttachCall(), AttachFailurePrint()});
    recorder::Now().region_missing = false;
    recorder::Now().lock_result[12294] = -1;
    EXPECT_EQ(merge.call(), -1);
    ExpectCalls(merge.name,
                {AttachCall(), "memset_s(1412, 0, 1412)", "memcpy_s(1408, 0)", Lock(12294), Dbg(kLockError)});
    ExpectImage(before);
    recorder::Now().lock_result[12294] = 7;
    EXPECT_EQ(merge.call(), 0);
    ExpectCalls(merge.name, {"memset_s(1412, 0, 1412)", "memcpy_s(1408, 0)", Lock(12294), Copy(1412), Unlock(12294)});
}

TEST_F(HdStates, OthersAreReadBeforeTheSemaphoreIsTaken) {
    FillArea();
    Store(3, Of({1, 3, 2}, 10));
    recorder::OpenArea();
    FillList(states_, 2, Times(2, 3, 20));
    EXPECT_EQ(MW_SetHDStateInfo(&states_, 3), 0);
    ExpectCalls("MW_SetHDStateInfo", {"memset_s(1412, 0, 1412)", Copy(11), Copy(11), "memcpy_s(1386, 22)", Lock(12294),
                                      Copy(1412), Unlock(12294)});
}

TEST_F(HdStates, OwnRecordsAreReplacedAndTheOthersStayInOrder) {
    FillArea();
    const std::vector<HdState> stored = Of({1, 3, 2, 3, 3, 1}, 10), given = Times(2, 3, 30);
    Store(6, stored);
    FillList(states_, 2, given);
    ExpectMerge(states_, 3, 5, Joined({stored[0], stored[2], stored[5]}, given));
}

TEST_F(HdStates, AnUnknownOwnerKeepsAllAndAppends) {
    FillArea();
    const std::vector<HdState> stored = Of({1, 3}, 10), given = Times(1, 9, 30);
    Store(2, stored);
    FillList(states_, 1, given);
    ExpectMerge(states_, 9, 3, Joined(stored, given));
}

TEST_F(HdStates, NoGivenRecordsRemoveTheOwnersAndAnEmptyListTakesThemAll) {
    FillArea();
    const std::vector<HdState> stored = Of({1, 3}, 10);
    Store(2, stored);
    FillList(states_, 0, {});
    ExpectMerge(states_, 3, 1, {stored[0]});
    Store(0, stored);
    const std::vector<HdState> given = Times(128, 3, 30);
    FillList(states_, 128, given);
    ExpectMerge(states_, 3, 128, given);
}

TEST_F(HdStates, GivenRecordsKeepTheOwnerThatTheyCarry) {
    FillArea();
    const std::vector<HdState> stored = Of({1, 3}, 10), given = Of({1, 7}, 30);
    Store(2, stored);
    FillList(states_, 2, given);
    ExpectMerge(states_, 3, 3, Joined({stored[0]}, given));
}

TEST_F(HdStates, A128thRecordFitsAndA129thRefusesTheWholeAppend) {
    const std::vector<HdState> stored = Times(126, 1, 10);
    for (uint32_t n : {1u, 2u, 3u, 128u}) {
        SCOPED_TRACE(n);
        FillArea();
        Store(126, stored);
        const std::vector<HdState> given = Times(n, 3, 30);
        FillList(states_, n, given);
        ExpectMerge(states_, 3, 126 + n, n <= 2 ? Joined(stored, given) : stored);
    }
}

TEST_F(HdStates, AFullListOfOthersLeavesNoRoom) {
    FillArea();
    const std::vector<HdState> stored = Times(128, 1, 10);
    Store(128, stored);
    FillList(states_, 1, Times(1, 3, 30));
    ExpectMerge(states_, 3, 129, stored);
}

TEST_F(HdStates, AStoredCountAbove128IsReadAs128) {
    const std::vector<HdState> stored = Times(128, 1, 10);
    for (uint32_t n : {129u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(n);
        FillArea();
        Store(n, stored);
        FillList(states_, 0, {});
        ExpectMerge(states_, 3, 128, stored);
    }
}

TEST_F(HdStates, AGivenCountWhoseBytesWouldWrapIsRefused) {
    // 390451573 records are 4294967303 bytes: 7 in 32 bits.
    const std::vector<HdState> stored = Times(2, 1, 10);
    for (uint32_t n : {390451573u, 0x80000000u, 0xFFFFFFFFu}) {
        SCOPED_TRACE(n);
        FillArea();
        Store(2, stored);
        FillList(states_, n, Times(3, 3, 30));
        ExpectMerge(states_, 3, n + 2, stored);
    }
}

TEST_F(HdStates, AFailedLockLeavesTheListAsItWas) {
    FillArea();
    Store(3, Of({1, 3, 2}, 10));
    recorder::OpenArea();
    const Image before = Image::Take();
    recorder::Now().lock_result[12294] = -1;
    FillList(states_, 2, Times(2, 3, 20));
    EXPECT_EQ(MW_SetHDStateInfo(&states_, 3), -1);
    ExpectImage(before);
}

}  // namespace
