// The healthy-status tables of memory, processors, fans and power supplies: one value for each instance, one for the
// whole component.
#include "cpu_test.h"
#include "fan_test.h"
#include "mem_test.h"

namespace {

constexpr ModuleFacts kPowerSupplies{"pem/hov_midpem", &g_ptPemCollectAddr, 325424, 2540, 12292};

struct HealthTable {
    const char *module_name;
    const ModuleFacts *module;
    const char *lock_text;
    uint32_t total_at, key_at, status_at, stride;
    const char *init_name;
    int32_t (*init)();
    const char *set_name;
    int32_t (*set)(uint32_t, uint32_t, uint32_t);
    const char *by_inst_name;
    int32_t (*by_inst)(uint32_t, uint32_t *);
    const char *by_total_name;
    int32_t (*by_total)(uint32_t *);
    const char *by_inst_lock_text = nullptr;  // where it is another one
    uint32_t aux_at = 0;                      // of slot 0's word that is cleared with the health
};

const HealthTable kTables[] = {
    {"Memory", &kMemory, kLockLineError, 16, 5652, 5660, 3960,
     "MW_InitMemHealthyStatusInfo", MW_InitMemHealthyStatusInfo,
     "MW_SetMemHealthyStatusInfo", MW_SetMemHealthyStatusInfo,
     "MW_GetMemHealthyStatusInfoByInst", MW_GetMemHealthyStatusInfoByInst,
     "MW_GetMemHealthyStatusInfoByTotal", MW_GetMemHealthyStatusInfoByTotal},
    {"Processors", &kProcessors, kLockLineError, 16, 572, 612, 232,
     "MW_InitCpuHealthyStatusInfo", MW_InitCpuHealthyStatusInfo,
     "MW_SetCpuHealthyStatusInfo", MW_SetCpuHealthyStatusInfo,
     "MW_GetCpuHealthyStatusInfoByInst", MW_GetCpuHealthyStatusInfoByInst,
     "MW_GetCpuHealthyStatusInfoByTotal", MW_GetCpuHealthyStatusInfoByTotal},
    {"Fans", &kFanFacts, kLockError, 17768, 2376, 2392, 208,
     "MW_InitFanHealthyStatusInfo", MW_InitFanHealthyStatusInfo,
     "MW_SetFanHealthyStatusInfo", MW_SetFanHealthyStatusInfo,
     "MW_GetFanHealthyStatusInfoByInst", MW_GetFanHealthyStatusInfoByInst,
     "MW_GetFanHealthyStatusInfoByTotal", MW_GetFanHealthyStatusInfoByTotal},
    {"PowerSupplies", &kPowerSupplies, kLockError, 4, 864, 1128, 408,
     "MW_InitPemHealthyStatusInfo", MW_InitPemHealthyStatusInfo,
     "MW_SetPemHealthyStatusInfo", MW_SetPemHealthyStatusInfo,
     "MW_GetPemHealthyStatusInfoByInst", MW_GetPemHealthyStatusInfoByInst,
     "MW_GetPemHealthyStatusInfoByTotal", MW_GetPemHealthyStatusInfoByTotal, kLockLineError, 1124},
};

class Health : public RecordTest, public ::testing::WithParamInterface<HealthTable> {
 protected:
    Health() : RecordTest(*GetParam().module, GetParam().lock_text) {}

    size_t Key(size_t slot) const { return table_.key_at + slot * table_.stride; }
    size_t Status(size_t slot) const { return table_.status_at + slot * table_.stride; }
    size_t Total() const { return At(table_.total_at); }

    // `image` with this total, and this health in one slot.
    Image WithHealth(const Image &image, size_t slot, uint32_t health, uint32_t total) const {
        const Image set = image.With(Total(), total).With(At(Status(slot)), health);
        return table_.aux_at == 0 ? set : set.Zeroed(At(table_.aux_at + slot * table_.stride), 4);
    }

    // Slots numbered as given, from the first on.
    void PutNumbers(const std::vector<uint32_t> &numbers) {
        FillArea();
        Put(0, static_cast<uint32_t>(numbers.size()));
        for (size_t slot = 0; slot < numbers.size(); ++slot) Put(Key(slot), numbers[slot]);
    }

    const HealthTable &table_ = GetParam();
    uint32_t out_ = 4711;
};

INSTANTIATE_TEST_SUITE_P(Each, Health, ::testing::ValuesIn(kTables),
                         [](const auto &row) { return std::string(row.param.module_name); });

TEST_P(Health, EveryAccessorFollowsTheTemplate) {
    PutNumbers({5, 7});
    const Accessor accessors[] = {
        {table_.init_name, [&] { return table_.init(); }},
        {table_.set_name, [&] { return table_.set(7, 1, 2); }},
        {table_.by_inst_name, [&] { return table_.by_inst(7, &out_); }, [&] { return table_.by_inst(7, nullptr); },
         table_.by_inst_lock_text},
        {table_.by_total_name, [&] { return table_.by_total(&out_); }, [&] { return table_.by_total(nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_P(Health, InitClearsTheTotalAndTheCountedSlots) {
    const uint32_t most = LastWithin(table_.status_at, 4, table_.stride) + 1;
    for (uint32_t count : {0u, 1u, 3u, 8u, 17u, 75u, most}) {  // no count is too high but for the shared area
        SCOPED_TRACE(count);
        FillArea();
        Put(0, count);
        Put<uint32_t>(table_.total_at, 0);
        for (uint32_t slot = 0; slot < count; ++slot) {
            Put<uint32_t>(Status(slot), 0);
            if (table_.aux_at != 0) Put<uint32_t>(table_.aux_at + slot * table_.stride, 0);
        }
        const Image expected = Image::Take();
        FillArea();
        Put(0, count);
        EXPECT_EQ(table_.init(), 0);
        ExpectCalls(table_.init_name, Locked());
        ExpectImage(expected);
    }
}

TEST_P(Health, InitOutsideTheSharedAreaIsRefusedWhole) {
    const uint32_t most = LastWithin(table_.status_at, 4, table_.stride) + 1;
    FillArea();
    for (uint32_t count : {most + 1, 0x80000000u, Wrapping(table_.stride) + 1, 0xFFFFFFFFu}) {
        SCOPED_TRACE(count);
        Put(0, count);
        const Image before = Image::Take();
        EXPECT_EQ(table_.init(), -1);
        ExpectCalls(table_.init_name, Locked({Dbg(kRefusal)}));
        ExpectImage(before);
    }
}

TEST_P(Health, SetStoresTheTotalAndTheInstance) {
    const std::vector<uint32_t> numbers = {5, 0, 0xFFFFFFFF, 2};
    for (size_t slot = 0; slot < numbers.size(); ++slot) {
        SCOPED_TRACE(slot);
        PutNumbers(numbers);
        const Image before = Image::Take();
        EXPECT_EQ(table_.set(numbers[slot], 0xFEDCBA98, 0x12345678), 0);
        ExpectCalls(table_.set_name, Locked());
        ExpectImage(WithHealth(before, slot, 0xFEDCBA98, 0x12345678));
    }
}

TEST_P(Health, SetForAnUnknownNumberStoresTheTotalAllTheSame) {
    for (const std::vector<uint32_t> &numbers : {std::vector<uint32_t>{}, {5, 6, 7}}) {
        SCOPED_TRACE(numbers.size());
        PutNumbers(numbers);
        Put<uint32_t>(Key(numbers.size()), 8);  // beyond the count
        const Image before = Image::Take();
        EXPECT_EQ(table_.set(8, 1, 77), -1);
        ExpectCalls(table_.set_name, Locked());
        ExpectImage(before.With<uint32_t>(Total(), 77));
        EXPECT_EQ(table_.by_total(&out_), 0);
        EXPECT_EQ(out_, 77u);
        recorder::ClearCalls();
    }
}

TEST_P(Health, OfTwoSlotsWithOneNumberTheFirstIsUsed) {
    PutNumbers({5, 9, 9});
    const Image before = Image::Take();
    EXPECT_EQ(table_.set(9, 11, 12), 0);
    ExpectImage(WithHealth(before, 1, 11, 12));
    EXPECT_EQ(table_.by_inst(9, &out_), 0);
    EXPECT_EQ(out_, 11u);
}

TEST_P(Health, GettersHandOutWhatIsStoredAndChangeNothing) {
    PutNumbers({5, 6, 7});
    Put<uint32_t>(Status(1), 0xA0B0C0D0);
    Put<uint32_t>(table_.total_at, 0x01020304);
    const Image before = Image::Take();
    EXPECT_EQ(table_.by_inst(6, &out_), 0);
    ExpectCalls(table_.by_inst_name, Locked());
    EXPECT_EQ(out_, 0xA0B0C0D0u);
    EXPECT_EQ(table_.by_total(&out_), 0);
    ExpectCalls(table_.by_total_name, Locked());
    EXPECT_EQ(out_, 0x01020304u);
    ExpectImage(before);
}

TEST_P(Health, AnUnknownNumberLeavesTheCallersVariableAlone) {
    for (const std::vector<uint32_t> &numbers : {std::vector<uint32_t>{}, {5, 6}}) {
        PutNumbers(numbers);
        Put<uint32_t>(Key(numbers.size()), 8);
        EXPECT_EQ(table_.by_inst(8, &out_), -1);
        ExpectCalls(table_.by_inst_name, Locked());
        EXPECT_EQ(out_, 4711u);
    }
}

TEST_P(Health, FailedLocksLeaveTheCallersVariableAlone) {
    PutNumbers({5});
    recorder::Now().lock_result[module().key] = -1;
    EXPECT_EQ(table_.by_inst(5, &out_), -1);
    EXPECT_EQ(table_.by_total(&out_), -1);
    EXPECT_EQ(out_, 4711u);
}

TEST_P(Health, SearchesRunOnToTheEndOfTheSharedAreaAndNoFurther) {
    FillArea();
    Put<uint32_t>(0, 0xFFFFFFFF);
    const uint32_t last = LastWithin(table_.status_at, 4, table_.stride);
    Put<uint32_t>(Key(last), 0xBE00);
    const Image before = Image::Take();
    EXPECT_EQ(table_.set(0xBE00, 31, 32), 0);
    ExpectCalls(table_.set_name, Locked());
    const Image after = WithHealth(before, last, 31, 32);
    ExpectImage(after);
    EXPECT_EQ(table_.by_inst(0xBE00, &out_), 0);
    ExpectCalls(table_.by_inst_name, Locked());
    EXPECT_EQ(out_, 31u);

    EXPECT_EQ(table_.by_inst(0, &out_), -1);
    ExpectCalls(table_.by_inst_name, Locked({Dbg(kRefusal)}));
    EXPECT_EQ(out_, 31u);
    ExpectImage(after);
    EXPECT_EQ(table_.set(0, 33, 34), -1);
    ExpectCalls(table_.set_name, Locked({Dbg(kRefusal)}));
    ExpectImage(after.With<uint32_t>(Total(), 34));

    // With the numbers that lie inside only, it is a plain miss.
    Put(0, LastWithin(table_.key_at, 4, table_.stride) + 1);
    EXPECT_EQ(table_.by_inst(0, &out_), -1);
    ExpectCalls(table_.by_inst_name, Locked());
}

TEST_F(FanTest, TheTotalHealthIsStoredBeforeTheSearch) {
    // It lies where the number of a slot 74 would be.
    constexpr size_t total = 17768, key = 2376 + 74 * 208;
    static_assert(key == total);
    FillArea();
    Put<uint32_t>(0, 75);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetFanHealthyStatusInfo(0xCAFE, 21, 0xCAFE), 0);
    ExpectImage(before.With<uint32_t>(At(total), 0xCAFE).With<uint32_t>(At(key + 16), 21));
}

}  // namespace
