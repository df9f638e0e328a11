// The queries of the PCIe module: cards by kind and slot, the upper-interface list with its OCP cards, alarm states.
#include <random>

#include "pcie_test.h"

namespace {

constexpr size_t kCpu = 311832;
constexpr size_t kNic = 346816;
constexpr size_t NicCard(size_t index) { return kNic + 8 + 588 * index; }

class PcieQueries : public PcieTest {
 protected:
    void PutAt(size_t offset, const void *bytes, size_t size) { std::memcpy(recorder::Area() + offset, bytes, size); }
    void PutByteAt(size_t offset, uint8_t value) { recorder::Area()[offset] = value; }
    void PutWordAt(size_t offset, uint32_t value) { PutAt(offset, &value, sizeof value); }
    void PutTextAt(size_t offset, const char *text) { PutAt(offset, text, strlen(text) + 1); }

    void PutProcessor(uint32_t count, const char *manufacturer) {
        PutWordAt(kCpu + 4, count);
        PutTextAt(kCpu + 2424 + 4, manufacturer);
    }
    void PutNicCount(uint32_t count) { PutWordAt(kNic + 4, count); }
    void PutNic(size_t index, uint8_t slot_type, uint8_t slot, const char *serial) {
        PutByteAt(NicCard(index) + 1, slot_type);
        PutByteAt(NicCard(index) + 3, slot);
        PutTextAt(NicCard(index) + 308, serial);
    }
    void PutSerial(size_t index, const char *serial) { PutBytes(Record(index) + 240, serial, strlen(serial) + 1); }

    const std::vector<std::string> read_nic_ = {Lock(12295), Copy(37636), Unlock(12295)};
    PcieAssetInfo out_[129];
};

std::string NotTheSame(int slot, const std::string &bios, const std::string &card) {
    return Dbg("[{S}:{L}]MW_GetPcieOCPAssetInfo: OCP slot " + std::to_string(slot) +
               " serialnum checked not the same from BIOS:" + bios + " and from netcard module:" + card +
               ", maybe new OCP netcard.");
}

std::string CheckFailed(int slot) {
    return Dbg("[{S}:{L}]MW_GetPcieOCPAssetInfo: OCP slot " + std::to_string(slot) +
               " check failed with BIOS assert info.");
}

const uint8_t *Bytes(const PcieAssetInfo &record) { return reinterpret_cast<const uint8_t *>(&record); }

struct KindQuery {
    const char *name;
    int32_t (*get)(uint32_t slot, PcieAssetInfo *out);
    const char *kind;
    int type;  // what a record must hold besides the slot; -1 any
    int class_code;
};

const KindQuery kKindQueries[] = {
    {"MW_GetPcieNicInfo", [](uint32_t slot, PcieAssetInfo *out) { return MW_GetPcieNicInfo(0, slot, out); }, "nic", 2,
     2},
    {"MW_GetPcieNicInfo", [](uint32_t slot, PcieAssetInfo *out) { return MW_GetPcieNicInfo(1, slot, out); }, "nic",
     255, 2},
    {"MW_GetPcieFcInfo", MW_GetPcieFcInfo, "fc", -1, 12},
    {"MW_GetPcieGpuInfo", MW_GetPcieGpuInfo, "gpu", -1, -1},
    {"MW_GetPcieNvmeInfo", MW_GetPcieNvmeInfo, "nvme", 255, -1},
    {"MW_GetPcieRaidInfo", MW_GetPcieRaidInfo, "raid", -1, 1},
};

TEST_F(PcieQueries, EveryAccessorFollowsTheTemplate) {
    PutCount(4);
    PutKeys(0, 5, 2, 2);
    PutKeys(1, 5, 255, 12);
    PutKeys(2, 5, 7, 1);
    PutKeys(3, 5, 255, 2);
    uint32_t count = 0;
    uint8_t alarms[16];
    const Accessor accessors[] = {
        {"MW_GetPcieNicInfo", [&] { return MW_GetPcieNicInfo(0, 5, out_); }},
        {"MW_GetPcieFcInfo", [&] { return MW_GetPcieFcInfo(5, out_); }},
        {"MW_GetPcieGpuInfo", [&] { return MW_GetPcieGpuInfo(5, out_); }},
        {"MW_GetPcieNvmeInfo", [&] { return MW_GetPcieNvmeInfo(5, out_); }},
        {"MW_GetPcieRaidInfo", [&] { return MW_GetPcieRaidInfo(5, out_); }},
        {"MW_GetPcieAssetInfoBySlot", [&] { return MW_GetPcieAssetInfoBySlot(out_, 5); }},
        {"MW_GetPcieAssetInfoForUpperInterface", [&] { return MW_GetPcieAssetInfoForUpperInterface(out_, &count); },
         [&] { return MW_GetPcieAssetInfoForUpperInterface(nullptr, &count); }},
        {.name = "MW_GetSpecificPcieCardPresentCnt",
         .call = [] { return MW_GetSpecificPcieCardPresentCnt(2, 0, 0); },
         .result = 2},
        {"MW_GetPcieAlarmInfoByDevTypeSlot", [&] { return MW_GetPcieAlarmInfoByDevTypeSlot(alarms, 2, 5); }},
        {"MW_GetCriticalIntAlarmInfo", [&] { return MW_GetCriticalIntAlarmInfo(alarms); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(PcieQueries, OutputsButForTheUpperListAreNotTested) {
    recorder::Now().lock_result[12298] = -1;
    for (const KindQuery &query : kKindQueries) {
        EXPECT_EQ(query.get(5, nullptr), -1);
        ExpectCalls(query.name, {lock_, Dbg(kLockError)});
    }
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, nullptr), -1);
    ExpectCalls("MW_GetPcieAssetInfoForUpperInterface", {lock_, Dbg(kLockError)});
    EXPECT_EQ(MW_GetPcieAssetInfoBySlot(nullptr, 5), -1);
    ExpectCalls("MW_GetPcieAssetInfoBySlot", {lock_, Dbg(kLockError)});
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(nullptr, 1, 5), -1);
    ExpectCalls("MW_GetPcieAlarmInfoByDevTypeSlot", {lock_, Dbg(kLockError)});
    EXPECT_EQ(MW_GetCriticalIntAlarmInfo(nullptr), -1);
    ExpectCalls("MW_GetCriticalIntAlarmInfo", {lock_, Dbg(kLockError)});
}

// --- one card ----------------------------------------------------------------------------------------------------

std::string NotFound(const KindQuery &query, const std::string &slot) {
    return Dbg("[{S}:{L}]{F}:{L}:No " + std::string(query.kind) + " card find in slot " + slot + "\n");
}

TEST_F(PcieQueries, ACardOfAKindIsTheFirstRecordOfTheSlotThatMatches) {
    const uint8_t types[] = {2, 255, 38, 12}, classes[] = {1, 2, 3, 12};
    FillArea();
    PutCount(3);
    for (uint8_t type : types) {
        for (uint8_t class_code : classes) {
            SCOPED_TRACE(testing::Message() << int{type} << " " << int{class_code});
            PutKeys(0, 6, type, class_code);  // other slot
            PutKeys(1, 5, type, class_code);
            PutKeys(2, 5, type, class_code);
            const Image before = Image::Take();
            for (const KindQuery &query : kKindQueries) {
                SCOPED_TRACE(query.name);
                PcieAssetInfo out[2] = {PatternOf<PcieAssetInfo>(3), PatternOf<PcieAssetInfo>(4)};
                const PcieAssetInfo untouched[2] = {out[0], out[1]};
                const bool matches =
                    (query.type < 0 || query.type == type) && (query.class_code < 0 || query.class_code == class_code);
                EXPECT_EQ(query.get(5, out), matches ? 0 : -1);
                ExpectCalls(query.name, {lock_, matches ? Copy(856) : NotFound(query, "5"), unlock_});
                EXPECT_EQ(memcmp(&out[0], matches ? recorder::Area() + At(Record(1)) : Bytes(untouched[0]), 856), 0);
                EXPECT_EQ(memcmp(&out[1], &untouched[1], 856), 0);
            }
            ExpectImage(before);
        }
    }
}

TEST_F(PcieQueries, ASlotThatIsNotInTheTableIsLogged) {
    for (const KindQuery &query : kKindQueries) {
        PutCount(1);
        PutKeys(0, 5, static_cast<uint8_t>(query.type), static_cast<uint8_t>(query.class_code));
        PutKeys(1, 7, static_cast<uint8_t>(query.type), static_cast<uint8_t>(query.class_code));  // behind the count
        EXPECT_EQ(query.get(5, out_), 0);
        recorder::ClearCalls();
        const std::pair<uint32_t, const char *> slots[] = {{7, "7"}, {256 + 5, "261"}, {0xFFFFFFFF, "-1"}};
        for (const auto &[slot, text] : slots) {
            EXPECT_EQ(query.get(slot, out_), -1);
            ExpectCalls(query.name, {lock_, NotFound(query, text), unlock_});
        }
        PutCount(0);
        EXPECT_EQ(query.get(5, out_), -1);
        ExpectCalls(query.name, {lock_, NotFound(query, "5"), unlock_});
    }
}

TEST_F(PcieQueries, SlotZeroIsASlotLikeAnyOtherForTheQueriesByKind) {
    for (const KindQuery &query : kKindQueries) {
        PutCount(1);
        PutKeys(0, 0, static_cast<uint8_t>(query.type), static_cast<uint8_t>(query.class_code));
        EXPECT_EQ(query.get(0, out_), 0);
    }
}

TEST_F(PcieQueries, NetworkCardsOfAnotherKindAreRefusedAtOnce) {
    Detach();
    for (uint32_t kind : {2u, 0x100u, 0xFFFFFFFFu}) EXPECT_EQ(MW_GetPcieNicInfo(kind, 5, out_), -1);
    ExpectNoCalls();
}

TEST_F(PcieQueries, SearchesRunOnAndEndWithTheFirstHit) {
    for (const KindQuery &query : kKindQueries) {
        SCOPED_TRACE(query.name);
        recorder::Reset();
        PutCount(0xFFFFFFFF);
        PutKeys(kRecordsInReach - 1, 5, static_cast<uint8_t>(query.type), static_cast<uint8_t>(query.class_code));
        EXPECT_EQ(query.get(5, out_), 0);
        EXPECT_EQ(memcmp(out_, recorder::Area() + At(Record(kRecordsInReach - 1)), 856), 0);
        EXPECT_EQ(MW_GetPcieAssetInfoBySlot(out_, 5), 0);
        recorder::ClearCalls();
        EXPECT_EQ(query.get(6, out_), -1);
        ExpectCalls(query.name, {lock_, Dbg(kRefusal), unlock_});
        EXPECT_EQ(MW_GetPcieAssetInfoBySlot(out_, 6), -1);
        ExpectCalls("MW_GetPcieAssetInfoBySlot", {lock_, Dbg(kRefusal), unlock_});
    }
}

TEST_F(PcieQueries, BySlotTheFirstRecordIsCopied) {
    FillArea();
    PutCount(3);
    PutKeys(0, 6, 2, 2);
    PutKeys(1, 5, 12, 9);
    PutKeys(2, 5, 2, 2);
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetPcieAssetInfoBySlot(out_, 5), 0);
    ExpectCalls("MW_GetPcieAssetInfoBySlot", {lock_, Copy(856), unlock_});
    EXPECT_EQ(memcmp(out_, recorder::Area() + At(Record(1)), 856), 0);
    ExpectImage(before);
}

TEST_F(PcieQueries, BySlotAnUnknownOneSucceedsAndLeavesTheBuffer) {
    FillArea();
    PutCount(1);
    PutKeys(0, 5, 2, 2);
    PutKeys(1, 6, 2, 2);  // behind the count
    for (uint32_t slot : {6u, 256u + 5, 0xFFFFFFFFu}) {
        out_[0] = PatternOf<PcieAssetInfo>(3);
        const PcieAssetInfo untouched = PatternOf<PcieAssetInfo>(3);
        EXPECT_EQ(MW_GetPcieAssetInfoBySlot(out_, slot), 0);
        ExpectCalls("MW_GetPcieAssetInfoBySlot", {lock_, unlock_});
        EXPECT_EQ(memcmp(out_, &untouched, 856), 0);
    }
}

TEST_F(PcieQueries, BySlotZeroIsRefusedAfterAttachingAndBeforeLocking) {
    PutCount(1);
    EXPECT_EQ(MW_GetPcieAssetInfoBySlot(out_, 0), -1);
    const std::string message = Dbg("[{S}:{L}]{F}:{L}: Not support slot number:0\n");
    ExpectCalls("MW_GetPcieAssetInfoBySlot", {message});
    Detach();
    EXPECT_EQ(MW_GetPcieAssetInfoBySlot(out_, 0), -1);
    ExpectCalls("MW_GetPcieAssetInfoBySlot", {AttachCall(), message});
    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(MW_GetPcieAssetInfoBySlot(out_, 0), -1);
    ExpectCalls("MW_GetPcieAssetInfoBySlot", {AttachCall(), AttachFailurePrint()});
}

// --- presence and alarms -----------------------------------------------------------------------------------------

TEST_F(PcieQueries, PresentCardsAreCountedByClassPresenceAndVendor) {
    const struct {
        uint8_t class_code, present;
        uint16_t vendor;
    } records[] = {{2, 1, 0x1234}, {2, 1, 0x1234}, {3, 1, 0x1234}, {2, 0, 0x1234},
                   {2, 1, 0x1235}, {2, 1, 0x0034}, {2, 1, 0x1234}};
    FillArea();
    for (size_t i = 0; i < 7; ++i) {
        PutKeys(i, 5, 2, records[i].class_code);
        Put<uint8_t>(Record(i) + 7, records[i].present);
        Put<uint16_t>(Record(i) + 8, records[i].vendor);
    }
    const std::pair<uint32_t, int32_t> counts[] = {{0, 0}, {1, 1}, {2, 2}, {6, 2}, {7, 3}};
    for (const auto &[stored, found] : counts) {
        PutCount(stored);
        const Image before = Image::Take();
        EXPECT_EQ(MW_GetSpecificPcieCardPresentCnt(2, 1, 0x1234), found);
        ExpectCalls("MW_GetSpecificPcieCardPresentCnt", {lock_, unlock_});
        ExpectImage(before);
    }
    EXPECT_EQ(MW_GetSpecificPcieCardPresentCnt(3, 1, 0x1234), 1);
    EXPECT_EQ(MW_GetSpecificPcieCardPresentCnt(3, 0, 0x1234), 0);
}

TEST_F(PcieQueries, AlarmsOfADeviceAreThoseOfItsLastRecord) {
    FillArea();
    PutCount(4);
    PutKeys(0, 5, 2, 1);
    PutKeys(1, 5, 2, 2);
    PutKeys(2, 5, 3, 1);
    PutKeys(3, 6, 2, 1);
    PutKeys(4, 5, 2, 1);  // behind the count
    const Image before = Image::Take();
    uint8_t states[17] = {};
    states[16] = 99;
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(states, 2, 5), 0);
    ExpectCalls("MW_GetPcieAlarmInfoByDevTypeSlot", {lock_, Copy(16), Copy(16), unlock_});
    EXPECT_EQ(memcmp(states, recorder::Area() + At(Record(1)) + 840, 16), 0);
    EXPECT_EQ(states[16], 99);
    memset(states, 55, sizeof states);
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(states, 4, 5), 0);
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(states, 3, 6), 0);
    for (uint8_t state : states) EXPECT_EQ(state, 55);
    ExpectImage(before);
}

TEST_F(PcieQueries, BusSummaryIsCopiedWithItsSpareBytes) {
    FillArea();
    uint8_t summary[17] = {};
    EXPECT_EQ(MW_GetCriticalIntAlarmInfo(summary), 0);
    ExpectCalls("MW_GetCriticalIntAlarmInfo", {lock_, Copy(16), unlock_});
    EXPECT_EQ(memcmp(summary, recorder::Area() + At(54792), 16), 0);
    EXPECT_EQ(summary[16], 0);
}

TEST_F(PcieQueries, ClearedAlarmsReadAsZero) {
    PutCount(1);
    PutKeys(0, 5, 2, 1);
    EXPECT_EQ(MW_SetPcieFatalNMIState(2, 5, 1), 0);
    uint8_t states[16], summary[16];
    const uint8_t asserted[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, none[16] = {};
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(states, 2, 5), 0);
    EXPECT_EQ(MW_GetCriticalIntAlarmInfo(summary), 0);
    EXPECT_EQ(memcmp(states, asserted, 16), 0);
    EXPECT_EQ(memcmp(summary, asserted, 16), 0);
    EXPECT_EQ(MW_ClearAllPcieAlarmInfoAllStates(), 0);
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(states, 2, 5), 0);
    EXPECT_EQ(MW_GetCriticalIntAlarmInfo(summary), 0);
    EXPECT_EQ(memcmp(states, none, 16), 0);
    EXPECT_EQ(memcmp(summary, none, 16), 0);
}

TEST_F(PcieQueries, CountsAndAlarmsRunOnUpToTheEndOfTheSharedArea) {
    uint8_t states[16];
    PutKeys(64, 5, 2, 7);
    PutKeys(kRecordsInReach - 1, 6, 2, 7);
    Put<uint8_t>(Record(kRecordsInReach - 1) + 840, 123);
    PutCount(64);
    EXPECT_EQ(MW_GetSpecificPcieCardPresentCnt(7, 0, 0), 0);
    PutCount(65);
    EXPECT_EQ(MW_GetSpecificPcieCardPresentCnt(7, 0, 0), 1);
    PutCount(kRecordsInReach);
    EXPECT_EQ(MW_GetSpecificPcieCardPresentCnt(7, 0, 0), 2);
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(states, 2, 6), 0);
    EXPECT_EQ(states[0], 123);
    recorder::ClearCalls();
    PutCount(kRecordsInReach + 1);
    EXPECT_EQ(MW_GetSpecificPcieCardPresentCnt(7, 0, 0), -1);
    ExpectCalls("MW_GetSpecificPcieCardPresentCnt", {lock_, Dbg(kRefusal), unlock_});
    EXPECT_EQ(MW_GetPcieAlarmInfoByDevTypeSlot(states, 2, 5), -1);
    ExpectCalls("MW_GetPcieAlarmInfoByDevTypeSlot", {lock_, Dbg(kRefusal), unlock_});
}

// --- the upper-interface list ------------------------------------------------------------------------------------

TEST_F(PcieQueries, UpperListOfEmptyStoresIsEmpty) {
    uint32_t count = 7;
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
    EXPECT_EQ(count, 0u);
    ExpectCalls("", {lock_, "memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1], read_nic_[2], unlock_});
}

TEST_F(PcieQueries, UpperListHasTheSlotsBelowTheLimitOfTheFirstProcessorsMaker) {
    const struct {
        uint32_t processors;
        const char *maker;
        uint32_t limit;
    } cases[] = {{1, "AMD", 20},  {8, "AMD(R) x", 20}, {1, "AMDX", 20}, {0xFFFFFFFF, "AMD", 20}, {0, "AMD", 100},
                 {1, "amd", 100}, {1, "AM", 100},      {1, "", 100},    {1, " AMD", 100},        {1, "Other", 100}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.maker);
        PutProcessor(c.processors, c.maker);
        for (uint32_t base : {0u, 64u, 128u, 192u}) {
            PutCount(64);
            for (size_t i = 0; i < 64; ++i) PutKeys(i, static_cast<uint8_t>(base + i), 2, 1);
            uint32_t count = 999;
            EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
            const uint32_t first = base == 0 ? 1 : base, end = std::max(first, std::min(base + 64, c.limit));
            ASSERT_EQ(count, end - first);
            for (uint32_t i = 0; i < count; ++i) {
                EXPECT_EQ(out_[i].ucSlot, first + i);
                EXPECT_EQ(out_[i].dwIndex, i);
            }
        }
    }
}

TEST_F(PcieQueries, UpperListHasAllDeviceTypesBut12And38) {
    for (int base = 0; base < 256; base += 64) {
        PutCount(64);
        for (int i = 0; i < 64; ++i) PutKeys(static_cast<size_t>(i), 5, static_cast<uint8_t>(base + i), 1);
        uint32_t count = 0;
        EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
        EXPECT_EQ(count, base == 0 ? 62u : 64u);
        for (uint32_t i = 0; i < count; ++i) {
            EXPECT_NE(out_[i].ucDevType, 12);
            EXPECT_NE(out_[i].ucDevType, 38);
        }
    }
}

TEST_F(PcieQueries, UpperListCopiesRecordsWholeAndNumbersThem) {
    FillArea();
    PutCount(3);
    PutNicCount(0);
    PutWordAt(kCpu + 4, 0);
    PutKeys(0, 9, 2, 1);
    PutKeys(1, 9, 12, 1);
    PutKeys(2, 1, 255, 1);
    const Image before = Image::Take();
    for (size_t i = 0; i < 129; ++i) out_[i] = PatternOf<PcieAssetInfo>(static_cast<uint8_t>(i));
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
    ExpectCalls("", {lock_, Copy(856), Copy(856), "memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1],
                     read_nic_[2], unlock_});
    ASSERT_EQ(count, 2u);
    for (uint32_t i = 0; i < 2; ++i) {
        EXPECT_EQ(out_[i].dwIndex, i);
        EXPECT_EQ(memcmp(Bytes(out_[i]) + 4, recorder::Area() + At(Record(2 * i)) + 4, 852), 0);
    }
    const PcieAssetInfo untouched = PatternOf<PcieAssetInfo>(2);
    EXPECT_EQ(memcmp(&out_[2], &untouched, 856), 0);
    ExpectImage(before);
}

TEST_F(PcieQueries, UpperListTakesTheNetworkCardSemaphoreInsideThePcieSemaphore) {
    PutCount(2);
    PutKeys(0, 5, 2, 1);
    PutKeys(1, 6, 2, 1);
    PutNicCount(1);
    PutNic(0, 2, 3, "SN");
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
    EXPECT_EQ(count, 3u);
    ExpectCalls("MW_GetPcieOCPAssetInfo",
                {Lock(12298), Copy(856), Copy(856), "memset_s(37636, 0, 37636)", Lock(12295), Copy(37636),
                 Unlock(12295), CheckFailed(3), "memset_s(136, 0, 136)", "sysinfo()", Unlock(12298)});
}

TEST_F(PcieQueries, UpperListWithoutTheNetworkCardStoreHasTheOtherCards) {
    PutCount(1);
    PutKeys(0, 5, 2, 1);
    PutNicCount(1);
    PutNic(0, 2, 3, "SN");
    recorder::Now().lock_result[12295] = -1;
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
    EXPECT_EQ(count, 1u);
    const std::vector<std::string> calls = recorder::Calls();
    ASSERT_EQ(calls.size(), 7u);
    EXPECT_NE(calls[4].find("[netcard/hov_midnetcard:"), std::string::npos);
    EXPECT_NE(calls[4].find("][MW_GetNICCardAssetInfo] sem lock failed, error 110\n"), std::string::npos);
    recorder::Now().calls.erase(recorder::Now().calls.begin(), recorder::Now().calls.end() - 2);
    ExpectCalls("MW_GetPcieOCPAssetInfo", {Dbg("[{S}:{L}]{F}: fail to get NIC info."), unlock_});
}

TEST_F(PcieQueries, UpperListAppendsOcpCardsOfAnySlot) {
    PutProcessor(1, "AMD");
    PutCount(2);
    PutKeys(0, 19, 2, 1);
    PutKeys(1, 20, 2, 1);
    const uint8_t slots[] = {0, 19, 20, 99, 100, 255};
    PutNicCount(6);
    for (size_t i = 0; i < 6; ++i) PutNic(i, 2, slots[i], "SN");
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
    ASSERT_EQ(count, 7u);
    for (uint32_t i = 0; i < 7; ++i) {
        EXPECT_EQ(out_[i].dwIndex, i);
        EXPECT_EQ(out_[i].ucSlot, i == 0 ? 19 : slots[i - 1]);
        EXPECT_EQ(out_[i].ucDevType, i == 0 ? 2 : 38);
    }
}

TEST_F(PcieQueries, UpperListRunsOnUpToTheEndOfTheSharedArea) {
    for (size_t i = 0; i < kRecordsInReach; ++i) PutKeys(i, 0, 2, 1);
    PutKeys(64, 7, 2, 1);
    PutKeys(kRecordsInReach - 1, 8, 2, 1);
    PutCount(kRecordsInReach);
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), 0);
    ASSERT_EQ(count, 2u);
    EXPECT_EQ(out_[0].ucSlot, 7);
    EXPECT_EQ(out_[1].ucSlot, 8);
    recorder::ClearCalls();
    PutCount(kRecordsInReach + 1);
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), -1);
    ExpectCalls("MW_GetPcieAssetInfoForUpperInterface", {lock_, Dbg(kRefusal), unlock_});
    EXPECT_EQ(count, 2u);
}

TEST_F(PcieQueries, UpperListNeedsTheProcessorArea) {
    g_ptCpuCollectAddr = nullptr;
    uint32_t count = 9;
    EXPECT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &count), -1);
    ExpectCalls("MW_GetPcieAssetInfoForUpperInterface", {lock_, unlock_});
    EXPECT_EQ(count, 9u);
}

// --- records of OCP cards ----------------------------------------------------------------------------------------

// Independent models on bytes, with the offsets written out.

void ModelText(uint8_t *field, size_t capacity, const uint8_t *from, size_t size) {
    const std::string text = Text(from, size, capacity);
    memcpy(field, text.c_str(), text.size() + 1);
}

void ModelText(uint8_t *field, size_t capacity, const std::string &text) {
    ModelText(field, capacity, reinterpret_cast<const uint8_t *>(text.c_str()), text.size() + 1);
}

// The record that a card becomes; `record` holds what the caller's buffer held, `bios` the matching one or NULL.
void ModelOcp(uint8_t *record, const uint8_t *card, const uint8_t *bios, uint32_t uptime) {
    const int slot = card[3];
    record[4] = 2;
    record[5] = 38;
    record[6] = static_cast<uint8_t>(slot);
    memcpy(record + 20, card + 272, 3);  // address
    memcpy(record + 8, card + 340, 8);   // IDs
    record[72] = 4;
    record[56] = 0;
    memset(record + 60, 0, 12);
    ModelText(record + 496, 64, card + 36, 32);
    ModelText(record + 368, 32, card + 132, 32);
    ModelText(record + 304, 64, card + 100, 32);
    ModelText(record + 272, 32, card + 348, 32);
    ModelText(record + 560, 32, "NIC");
    ModelText(record + 240, 32, card + 308, 32);
    ModelText(record + 464, 32, card + 68, 32);
    ModelText(record + 400, 64, card + 100, 32);
    ModelText(record + 176, 64, "NIC" + std::to_string(slot));
    if (bios != nullptr) {
        record[23] = bios[23];
        for (size_t pair : {24, 40}) {
            record[pair] = bios[pair];
            memcpy(record + pair + 8, bios + pair + 8, 8);
        }
        record[7] = bios[7];
        memcpy(record + 592, bios + 592, 3);
        ModelText(record + 80, 32, bios + 80, 32);
        ModelText(record + 112, 64, bios + 112, 64);
        memcpy(record + 596, bios + 596, 136);
    } else {
        record[23] = 255;
        for (size_t pair : {24, 40}) {
            record[pair] = 0;
            memset(record + pair + 8, 0, 8);
        }
        record[7] = 0;
        memset(record + 592, 255, 3);
        ModelText(record + 80, 32, "mainboardPCIeCard" + std::to_string(slot));
        ModelText(record + 112, 64, "PCIeCard" + std::to_string(slot));
        memset(record + 596, 0, 136);
    }
    memcpy(record + 76, &uptime, 4);
}

bool SameText(const uint8_t *a, const uint8_t *b) { return Text(a, 32, 99) == Text(b, 32, 99); }

struct ModelList {
    std::vector<uint8_t> buffer;
    uint32_t count = 0;
    std::vector<std::string> messages;
};

// Appends the OCP cards of the shared area to `list`, from record `count` on.
void ModelOcpCards(const uint8_t *area, uint32_t uptime, ModelList &list) {
    const auto word = [&](size_t offset) {
        uint32_t value;
        memcpy(&value, area + offset, sizeof value);
        return value;
    };
    for (size_t i = 0; i < word(kNic + 4); ++i) {
        const uint8_t *card = area + NicCard(i);
        if (card[1] != 2) continue;
        const uint8_t *match = nullptr;
        for (size_t k = 0; k < word(611568 + 4) && match == nullptr; ++k) {
            const uint8_t *record = area + 611568 + Record(k);
            if (record[5] != 38 || record[6] != card[3]) continue;
            if (SameText(record + 240, card + 308)) {
                match = record;
            } else {
                list.messages.push_back(NotTheSame(card[3], Text(record + 240, 32, 99), Text(card + 308, 32, 99)));
            }
        }
        if (match == nullptr) list.messages.push_back(CheckFailed(card[3]));
        ModelOcp(&list.buffer[856 * list.count], card, match, uptime);
        ++list.count;
    }
}

void ModelUpperList(const uint8_t *area, uint32_t uptime, ModelList &list) {
    uint32_t processors, records;
    memcpy(&processors, area + kCpu + 4, 4);
    memcpy(&records, area + 611568 + 4, 4);
    const bool few_slots = processors != 0 && memcmp(area + kCpu + 2424 + 4, "AMD", 3) == 0;
    for (size_t k = 0; k < records; ++k) {
        const uint8_t *record = area + 611568 + Record(k);
        if (record[6] == 0 || record[6] > (few_slots ? 19 : 99) || record[5] == 12 || record[5] == 38) continue;
        memcpy(&list.buffer[856 * list.count++], record, 856);
    }
    ModelOcpCards(area, uptime, list);
    for (uint32_t i = 0; i < list.count; ++i) memcpy(&list.buffer[856 * i], &i, 4);
}

TEST_F(PcieQueries, OcpRecordOfACardThatBiosKnows) {
    FillArea();
    recorder::OpenArea();
    recorder::Now().uptime = 123456;
    PutCount(2);
    PutKeys(0, 3, 2, 2);
    PutSerial(0, "SN-9");
    PutKeys(1, 3, 38, 9);
    PutSerial(1, "SN-9");
    PutBytes(Record(1) + 80, "riser 2", 8);
    PutBytes(Record(1) + 112, "OCP 1", 6);
    PutNicCount(1);
    PutNic(0, 2, 3, "SN-9");
    for (size_t offset : {36, 68, 100, 132, 348}) {
        PutTextAt(NicCard(0) + offset, ("text " + std::to_string(offset)).c_str());
    }
    const Image before = Image::Take();
    out_[0] = PatternOf<PcieAssetInfo>(9);
    PcieAssetInfo expected = out_[0];
    uint8_t *record = reinterpret_cast<uint8_t *>(&expected);
    ModelOcp(record, recorder::Area() + NicCard(0), recorder::Area() + At(Record(1)), 123456);
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(memcmp(out_, &expected, 856), 0);
    ExpectCalls("MW_GetPcieOCPAssetInfo",
                {"memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1], read_nic_[2], Copy(136), "sysinfo()"});
    ExpectImage(before);

    // A few of them once more, by name.
    EXPECT_STREQ(out_[0].acTextG, "text 36");
    EXPECT_STREQ(out_[0].acTextF, "text 68");
    EXPECT_STREQ(out_[0].acTextC, "text 100");
    EXPECT_STREQ(out_[0].acTextE, "text 100");
    EXPECT_STREQ(out_[0].acTextD, "text 132");
    EXPECT_STREQ(out_[0].acTextB, "text 348");
    EXPECT_STREQ(out_[0].acDevName, "NIC3");
    EXPECT_STREQ(out_[0].acLocation, "riser 2");
    EXPECT_STREQ(out_[0].acSlotName, "OCP 1");
    EXPECT_EQ(out_[0].aucBiosExt[4], recorder::Area()[At(Record(1)) + 600]) << "not the network card's attribute";
    EXPECT_EQ(out_[0].dwUpdateTime, 123456u);
}

TEST_F(PcieQueries, OcpRecordOfACardThatBiosDoesNotKnow) {
    // Nothing in the table; the slot with another type; another slot.
    for (int table = 0; table < 3; ++table) {
        SCOPED_TRACE(table);
        FillArea();
        recorder::OpenArea();
        PutCount(table == 0 ? 0 : 1);
        if (table == 0) PutKeys(0, 3, 38, 2);
        if (table == 1) PutKeys(0, 3, 2, 2);
        if (table == 2) PutKeys(0, 4, 38, 2);
        PutSerial(0, "SN-9");
        PutNicCount(1);
        PutNic(0, 2, 3, "SN-9");
        out_[0] = PatternOf<PcieAssetInfo>(9);
        PcieAssetInfo expected = out_[0];
        ModelOcp(reinterpret_cast<uint8_t *>(&expected), recorder::Area() + NicCard(0), nullptr, 4711);
        uint32_t count = 0;
        EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(memcmp(out_, &expected, 856), 0);
        ExpectCalls("MW_GetPcieOCPAssetInfo", {"memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1], read_nic_[2],
                                               CheckFailed(3), "memset_s(136, 0, 136)", "sysinfo()"});
        EXPECT_STREQ(out_[0].acLocation, "mainboardPCIeCard3");
        EXPECT_STREQ(out_[0].acSlotName, "PCIeCard3");
        EXPECT_EQ(out_[0].ucBiosState3, 255);
        EXPECT_EQ(out_[0].ucPresentState, 0);
    }
}

TEST_F(PcieQueries, OcpSearchLogsOtherSerialNumbersAndGoesOn) {
    recorder::OpenArea();
    PutCount(3);
    const char *serials[] = {"SN-1", "SN-2", "SN-3"};
    for (size_t i = 0; i < 3; ++i) {
        PutKeys(i, 3, 38, 2);
        PutSerial(i, serials[i]);
        Put<uint8_t>(Record(i) + 23, static_cast<uint8_t>(10 + i));
    }
    PutNicCount(1);
    PutNic(0, 2, 3, "SN-2");
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    EXPECT_EQ(out_[0].ucBiosAttr, 11);
    ExpectCalls("MW_GetPcieOCPAssetInfo", {"memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1], read_nic_[2],
                                           NotTheSame(3, "SN-1", "SN-2"), Copy(136), "sysinfo()"});
    PutNic(0, 2, 3, "sn-2");
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    EXPECT_EQ(out_[0].ucBiosAttr, 255);
    ExpectCalls("MW_GetPcieOCPAssetInfo",
                {"memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1], read_nic_[2], NotTheSame(3, "SN-1", "sn-2"),
                 NotTheSame(3, "SN-2", "sn-2"), NotTheSame(3, "SN-3", "sn-2"), CheckFailed(3), "memset_s(136, 0, 136)",
                 "sysinfo()"});
    EXPECT_EQ(count, 2u);
}

TEST_F(PcieQueries, OcpTextsWithoutTerminatorAreCutAndCompared) {
    FillArea();
    recorder::OpenArea();
    PutCount(1);
    PutKeys(0, 3, 38, 2);
    PutNicCount(1);
    PutByteAt(NicCard(0) + 1, 2);
    PutByteAt(NicCard(0) + 3, 3);
    memcpy(recorder::Area() + At(Record(0)) + 240, recorder::Area() + NicCard(0) + 308, 32);
    out_[0] = PatternOf<PcieAssetInfo>(9);
    PcieAssetInfo expected = out_[0];
    ModelOcp(reinterpret_cast<uint8_t *>(&expected), recorder::Area() + NicCard(0), recorder::Area() + At(Record(0)),
             4711);
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    EXPECT_EQ(memcmp(out_, &expected, 856), 0);
    EXPECT_EQ(strlen(out_[0].acTextG), 32u);
    EXPECT_EQ(strlen(out_[0].acTextD), 31u);
    EXPECT_EQ(strlen(out_[0].acLocation), 31u);
    EXPECT_EQ(strlen(out_[0].acSlotName), 63u);
    EXPECT_EQ(strlen(out_[0].acSerialNum), 31u);
    recorder::ClearCalls();

    // They differ in the last character only.
    recorder::Area()[At(Record(0)) + 240 + 31] ^= 2;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    const std::string bios(reinterpret_cast<const char *>(recorder::Area()) + At(Record(0)) + 240, 32);
    const std::string card(reinterpret_cast<const char *>(recorder::Area()) + NicCard(0) + 308, 32);
    ExpectCalls("MW_GetPcieOCPAssetInfo",
                {"memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1], read_nic_[2], NotTheSame(3, bios, card),
                 CheckFailed(3), "memset_s(136, 0, 136)", "sysinfo()"});
}

TEST_F(PcieQueries, OcpBuildStartsAtTheCallersFirstPlaceAndAddsToItsCount) {
    recorder::OpenArea();
    PutNicCount(4);
    PutNic(0, 1, 2, "A");
    PutNic(1, 2, 3, "B");
    PutNic(2, 0, 4, "C");
    PutNic(3, 2, 5, "D");
    PutNic(4, 2, 6, "E");  // behind the count
    out_[2].ucSlot = 99;
    uint32_t count = 7;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    EXPECT_EQ(count, 9u);
    EXPECT_EQ(out_[0].ucSlot, 3);
    EXPECT_EQ(out_[1].ucSlot, 5);
    EXPECT_EQ(out_[2].ucSlot, 99);
}

TEST_F(PcieQueries, OcpBuildTakesTheNetworkCardSemaphoreAlone) {
    PutNicCount(1);
    PutNic(0, 1, 3, "A");  // no OCP card: the table is not looked at
    uint32_t count = 7;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    ExpectCalls("", {"memset_s(37636, 0, 37636)", Lock(12295), Copy(37636), Unlock(12295)});
    EXPECT_EQ(count, 7u);
}

TEST_F(PcieQueries, OcpBuildTestsBothPointers) {
    Detach();
    uint32_t count = 7;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(nullptr, &count), -1);
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, nullptr), -1);
    ExpectNoCalls();
}

TEST_F(PcieQueries, OcpBuildAttachesThroughTheNetworkCardStore) {
    recorder::OpenArea();
    PutNicCount(1);
    PutNic(0, 2, 3, "A");
    Detach();
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    ExpectCalls("MW_GetPcieOCPAssetInfo", {"memset_s(37636, 0, 37636)", AttachCall(), read_nic_[0], read_nic_[1],
                                           read_nic_[2], CheckFailed(3), "memset_s(136, 0, 136)", "sysinfo()"});
    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), -1);
    ExpectCalls("MW_GetPcieOCPAssetInfo", {"memset_s(37636, 0, 37636)", AttachCall(), AttachFailurePrint(),
                                           Dbg("[{S}:{L}]{F}: fail to get NIC info.")});
    EXPECT_EQ(count, 1u);
}

TEST_F(PcieQueries, OcpBuildNeedsItsOwnPointerOnlyForAnOcpCard) {
    recorder::OpenArea();
    PutNicCount(1);
    PutNic(0, 1, 3, "A");
    g_ptPcieCollectAddr = nullptr;
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    PutNic(0, 2, 3, "A");
    out_[0].ucSlot = 99;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), -1);
    EXPECT_EQ(out_[0].ucSlot, 99);
    EXPECT_EQ(count, 0u);
}

TEST_F(PcieQueries, OcpBuildWalksTheCardsThatTheBlockHolds) {
    recorder::OpenArea();
    for (size_t i = 0; i < 66; ++i) PutNic(i, 2, static_cast<uint8_t>(i), "A");
    for (uint32_t stored : {63u, 64u, 65u, 0xFFFFFFFFu}) {
        PutNicCount(stored);
        uint32_t count = 0;
        EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
        EXPECT_EQ(count, std::min(stored, 64u));
        EXPECT_EQ(out_[count - 1].ucSlot, count - 1);
    }
}

TEST_F(PcieQueries, OcpSearchRunsOnUpToTheEndOfTheSharedArea) {
    recorder::OpenArea();
    PutCount(kRecordsInReach);
    PutKeys(kRecordsInReach - 1, 3, 38, 2);
    PutBytes(Record(kRecordsInReach - 1) + 240, "A", 2);
    Put<uint8_t>(Record(kRecordsInReach - 1) + 23, 77);
    PutNicCount(1);
    PutNic(0, 2, 3, "A");
    uint32_t count = 0;
    EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), 0);
    EXPECT_EQ(out_[0].ucBiosAttr, 77);
    recorder::ClearCalls();
    for (uint32_t stored : {kRecordsInReach + 1, 0xFFFFFFFFu}) {
        PutCount(stored);
        out_[0].ucBiosAttr = 99;
        EXPECT_EQ(MW_GetPcieOCPAssetInfo(out_, &count), -1);
        ExpectCalls("MW_GetPcieOCPAssetInfo",
                    {"memset_s(37636, 0, 37636)", read_nic_[0], read_nic_[1], read_nic_[2], Dbg(kRefusal)});
        EXPECT_EQ(count, 1u);
        EXPECT_EQ(out_[0].ucBiosAttr, 99);
    }
}

// --- a model of the whole ----------------------------------------------------------------------------------------

class Random {
  public:
    explicit Random(uint32_t seed) : engine_(seed) {}
    uint32_t Below(uint32_t end) { return static_cast<uint32_t>(engine_() % end); }
    template <class T, size_t N>
    T One(const T (&of)[N]) {
        return of[Below(N)];
    }
    void Fill(void *to, size_t size) {
        for (size_t i = 0; i < size; ++i) static_cast<uint8_t *>(to)[i] = static_cast<uint8_t>(engine_());
    }
    // A text that may be empty, short, or fill its array without a terminator; free of NUL and of line ends.
    void Text(void *to, size_t size) {
        auto *bytes = static_cast<uint8_t *>(to);
        const size_t length = std::min<size_t>(size, Below(static_cast<uint32_t>(size) + 8));
        for (size_t i = 0; i < length; ++i) bytes[i] = static_cast<uint8_t>('0' + Below(60));
        if (length < size) bytes[length] = 0;
    }

  private:
    std::mt19937 engine_;  // the same numbers everywhere
};

constexpr uint8_t kSlots[] = {0, 1, 2, 3, 5, 19, 20, 21, 99, 100, 255};
constexpr uint8_t kTypes[] = {2, 2, 12, 38, 38, 38, 255};
constexpr uint8_t kClasses[] = {1, 2, 12};
constexpr const char *kSerials[] = {"SN-A", "SN-B", ""};

// The setters as a model: what they make of the table in `area`.
struct ModelSetter {
    size_t size, text;
    bool wide_slot, serial;
    bool (*matches)(const uint8_t *record, const uint8_t *in);
    void (*numbers)(uint8_t *record, const uint8_t *in);
};

void ModelGpuNumbers(uint8_t *record, const uint8_t *in) {
    int32_t in3, in_mem, in5;
    memcpy(&in3, in + 12, 4);
    memcpy(&in_mem, in + 16, 4);
    memcpy(&in5, in + 20, 4);
    const uint32_t value3 = in3 < 0 ? 0u : static_cast<uint32_t>(in3),
                   mem = in_mem < 0 ? 0u : static_cast<uint32_t>(in_mem),
                   value5 = in5 < 0 ? 0u : static_cast<uint32_t>(in5), shifted = mem << 10;
    memcpy(record + 732, in + 4, 8);
    memcpy(record + 740, &value3, 4);
    memcpy(record + 744, &mem, 4);
    memcpy(record + 812, &value5, 4);
    memcpy(record + 60, &shifted, 4);
    memcpy(record + 64, &value5, 4);
    memcpy(record + 68, &value3, 4);
    memcpy(record + 816, in + 28, 4);
    ModelText(record + 748, 32, in + 32, 32);
    ModelText(record + 780, 32, in + 64, 32);
    record[56] = in[24] ? 1 : 0;
}

const ModelSetter kModelSetters[] = {
    {355, 3, false, false, [](const uint8_t *, const uint8_t *) { return true; },
     [](uint8_t *record, const uint8_t *in) {
         record[600] = in[2];
         record[56] = in[1] ? 1 : 0;
     }},
    {353, 1, false, true, [](const uint8_t *, const uint8_t *) { return true; }, [](uint8_t *, const uint8_t *) {}},
    {448, 96, true, true, [](const uint8_t *, const uint8_t *) { return true; }, ModelGpuNumbers},
    {377, 25, true, true, [](const uint8_t *record, const uint8_t *in) { return record[5] == 255 && in[4] == 2; },
     [](uint8_t *record, const uint8_t *in) {
         memcpy(record + 824, in + 12, 4);
         memcpy(record + 832, in + 16, 8);
         record[56] = in[24];
     }},
    {360, 8, true, true, [](const uint8_t *record, const uint8_t *) { return record[4] == 1; },
     [](uint8_t *record, const uint8_t *in) { memcpy(record + 60, in + 4, 4); }},
};

void ModelSet(std::vector<uint8_t> &area, const ModelSetter &setter, const uint8_t *in) {
    uint32_t count, slot = in[0];
    memcpy(&count, &area[611568 + 4], 4);
    if (setter.wide_slot) memcpy(&slot, in, 4);
    for (size_t k = 0; k < count; ++k) {
        uint8_t *record = &area[611568 + Record(k)];
        if (record[6] != slot || !setter.matches(record, in)) continue;
        setter.numbers(record, in);
        const uint8_t *text = in + setter.text;
        if (setter.serial) ModelText(record + 240, 32, text, 32);
        ModelText(record + 272, 32, text + 32, 32);
        ModelText(record + 304, 32, text + 64, 32);
        ModelText(record + 368, 32, text + 128, 32);
        ModelText(record + 400, 64, text + 160, 64);
        ModelText(record + 464, 32, text + 224, 32);
        ModelText(record + 496, 32, text + 256, 32);
        ModelText(record + 560, 32, text + 320, 32);
        ModelText(record + 176, 64, Text(text + 320, 32, 99) + std::to_string(slot));
    }
}

int32_t Set(size_t which, const void *in) {
    switch (which) {
        case 0:
            return MW_SetPcieNicInfo(static_cast<const PcieNicCardInfo *>(in));
        case 1:
            return MW_SetPcieFcInfo(static_cast<const PcieFcCardInfo *>(in));
        case 2:
            return MW_SetPcieGpuInfo(static_cast<const PcieGpuCardInfo *>(in));
        case 3:
            return MW_SetPcieNvmeInfo(static_cast<const PcieNvmeCardInfo *>(in));
        default:
            return MW_SetPcieRaidInfo(static_cast<const PcieRaidCardInfo *>(in));
    }
}

TEST_F(PcieQueries, UpperListIsThatOfAnIndependentModelForRandomTablesCardsAndSetters) {
    Random random(20240611);
    uint32_t listed = 0, matched = 0, mismatched = 0;
    for (int round = 0; round < 80; ++round) {
        SCOPED_TRACE(round);
        recorder::Reset();
        PutProcessor(random.Below(3), random.One({"AMD 1", "other", "amd"}));

        const uint32_t count = random.Below(65);
        std::vector<PcieAssetInfo> table(count + 1);
        for (uint32_t k = 0; k < count; ++k) {
            auto *bytes = reinterpret_cast<uint8_t *>(&table[k]);
            random.Fill(bytes, 856);
            bytes[4] = random.One(kClasses);
            bytes[5] = random.One(kTypes);
            bytes[6] = random.One(kSlots);
            random.Text(bytes + 80, 32);
            random.Text(bytes + 112, 64);
            random.Text(bytes + 240, 32);
            if (random.Below(4) != 0) strcpy(table[k].acSerialNum, random.One(kSerials));
        }
        ASSERT_EQ(MW_SetPcieAssetInfo(table.data(), count), 0);

        static NicCardBlock cards;
        random.Fill(&cards, sizeof cards);
        cards.dwNicCardNum = random.Below(65);
        for (NicCardAssetInfo &card : cards.atNicCard) {
            auto *bytes = reinterpret_cast<uint8_t *>(&card);
            bytes[1] = static_cast<uint8_t>(random.Below(4));
            bytes[3] = random.One(kSlots);
            for (size_t text : {36, 68, 100, 132, 308, 348}) random.Text(bytes + text, 32);
            if (random.Below(4) != 0) strcpy(card.acSerialNum, random.One(kSerials));
        }
        ASSERT_EQ(MW_SetNICCardAssetInfo(&cards), 0);

        std::vector<uint8_t> model(recorder::Area(), recorder::Area() + 708704);
        ASSERT_EQ(memcmp(&model[611568 + 8], table.data(), 856 * count), 0);
        ASSERT_EQ(memcmp(&model[kNic + 4], &cards, sizeof cards), 0);
        for (uint32_t sets = random.Below(12); sets > 0; --sets) {
            const uint32_t which = random.Below(5);
            alignas(8) uint8_t in[448];
            random.Fill(in, sizeof in);
            const ModelSetter &setter = kModelSetters[which];
            const uint32_t slot = random.One(kSlots);
            memcpy(in, &slot, setter.wide_slot ? 4 : 1);
            if (which == 3) in[4] = static_cast<uint8_t>(1 + random.Below(2));
            random.Text(in + setter.text, 32);
            random.Text(in + setter.text + 320, 32);
            if (random.Below(2) != 0) strcpy(reinterpret_cast<char *>(in + setter.text), random.One(kSerials));
            ASSERT_EQ(Set(which, in), 0);
            ModelSet(model, setter, in);
        }
        ASSERT_EQ(memcmp(model.data(), recorder::Area(), model.size()), 0);

        ModelList expected;
        expected.buffer.resize(sizeof out_);
        random.Fill(expected.buffer.data(), sizeof out_);
        memcpy(static_cast<void *>(out_), expected.buffer.data(), sizeof out_);
        ModelUpperList(model.data(), 4711, expected);
        recorder::ClearCalls();
        uint32_t n = 0;
        ASSERT_EQ(MW_GetPcieAssetInfoForUpperInterface(out_, &n), 0);
        ASSERT_EQ(n, expected.count);
        for (uint32_t i = 0; i < 129; ++i) {
            ASSERT_EQ(memcmp(&out_[i], &expected.buffer[856 * i], 856), 0) << "record " << i << " of " << n;
        }

        // The messages, and nothing but copies around them.
        auto &calls = recorder::Now().calls;
        matched += static_cast<uint32_t>(std::count_if(
            calls.begin(), calls.end(), [](const recorder::Call &call) { return call.text == Copy(136); }));
        std::erase_if(calls, [](const recorder::Call &call) { return call.text.rfind("IDBG", 0) != 0; });
        listed += n;
        mismatched += static_cast<uint32_t>(expected.messages.size());
        ExpectCalls("MW_GetPcieOCPAssetInfo", expected.messages);
        ASSERT_EQ(memcmp(model.data(), recorder::Area(), model.size()), 0);
        if (HasFailure()) return;
    }
    // The rounds were worth their time.
    EXPECT_GT(listed, 1000u);
    EXPECT_GT(matched, 50u);
    EXPECT_GT(mismatched, 100u);
}

}  // namespace
