// The thermal policy and the fan controller's parameters.
#include "fan_test.h"

namespace {

class Thermal : public FanTest {
 protected:
    static constexpr Word kWords[] = {
        {"MW_GetThermalPrintFlag", MW_GetThermalPrintFlag, "MW_SetThermalPrintFlag", MW_SetThermalPrintFlag, 17744},
        {"MW_GetThermalPowerOffFanRotateFlag", MW_GetThermalPowerOffFanRotateFlag,
         "MW_SetThermalPowerOffFanRotateFlag", MW_SetThermalPowerOffFanRotateFlag, 17760},
        {"MW_GetThermalCriticalDev", MW_GetThermalCriticalDev, "MW_SetThermalCriticalDev", MW_SetThermalCriticalDev,
         17740},
        {"MW_GetThermalFanType", MW_GetThermalFanType, "MW_SetThermalFanType", MW_SetThermalFanType, 17752},
        {"MW_GetThermalLeaquidLeakageStatus", MW_GetThermalLeaquidLeakageStatus, "MW_SetThermalLeaquidLeakageStatus",
         MW_SetThermalLeaquidLeakageStatus, 17764},
    };

    struct Boundary {
        const char *get_name;
        int32_t (*get)(uint8_t *);
        const char *set_name;
        int32_t (*set)(uint32_t);
        size_t offset;
    };
    static constexpr Boundary kBoundaries[] = {
        {"MW_GetThermalCPUUpBoundary", MW_GetThermalCPUUpBoundary, "MW_SetThermalCPUUpBoundary",
         MW_SetThermalCPUUpBoundary, 5716},
        {"MW_GetThermalCPULowBoundary", MW_GetThermalCPULowBoundary, "MW_SetThermalCPULowBoundary",
         MW_SetThermalCPULowBoundary, 5717},
        {"MW_GetThermalCPUMidBoundary", MW_GetThermalCPUMidBoundary, "MW_SetThermalCPUMidBoundary",
         MW_SetThermalCPUMidBoundary, 5718},
    };

    struct Block {
        const char *get_name;
        int32_t (*get)(void *);
        const char *set_name;
        int32_t (*set)(const void *);
        size_t offset;
        size_t size;
        bool tested;
    };
    static constexpr Block kBlocks[] = {
        {"MW_GetThermalCPUOffset", MW_GetThermalCPUOffset, "MW_SetThermalCPUOffset", MW_SetThermalCPUOffset, 5712, 4,
         true},
        {"MW_GetThermalCPUSmallPID", MW_GetThermalCPUSmallPID, "MW_SetThermalCPUSmallPID", MW_SetThermalCPUSmallPID,
         5720, 32, false},
        {"MW_GetThermalCPULargePID", MW_GetThermalCPULargePID, "MW_SetThermalCPULargePID", MW_SetThermalCPULargePID,
         5752, 32, false},
        {"MW_GetThermalInletTemp", MW_GetThermalInletTemp, "MW_SetThermalInletTemp", MW_SetThermalInletTemp, 5784, 108,
         false},
        {"MW_GetThermalThreadStatus", MW_GetThermalThreadStatus, "MW_SetThermalThreadStatus",
         MW_SetThermalThreadStatus, 17736, 4, false},
    };

    // One of the two tables of a zone record.
    struct Percents {
        const char *get_name;
        int32_t (*get)(uint32_t, int32_t, int32_t, void *);
        const char *set_name;
        int32_t (*set)(uint32_t, int32_t, int32_t, const void *);
        size_t offset;
    };
    static constexpr Percents kPercents[] = {
        {"MW_GetFanActionPercentInfo", MW_GetFanActionPercentInfo, "MW_SetFanActionPercentInfo",
         MW_SetFanActionPercentInfo, 16},
        {"MW_GetFanActionDecreasePercentInfo", MW_GetFanActionDecreasePercentInfo,
         "MW_SetFanActionDecreasePercentInfo", MW_SetFanActionDecreasePercentInfo, 80},
    };

    static constexpr size_t Zone(size_t i) { return 12552 + 144 * i; }
    static constexpr size_t Cooling(size_t i) { return 5896 + 208 * i; }

    void PutKeys(size_t zone, uint32_t a, int32_t b, int32_t c) {
        Put(Zone(zone), a);
        Put(Zone(zone) + 8, b);
        Put(Zone(zone) + 12, c);
    }

    uint8_t buffer_[208 * 32] = {};
};

TEST_F(Thermal, EveryAccessorFollowsTheTemplate) {
    uint32_t word;
    uint8_t byte;
    PutKeys(0, 1, 2, 3);
    std::vector<Accessor> accessors = {
        {"MW_GetThermalPolicy", [&] { return MW_GetThermalPolicy(buffer_); },
         [] { return MW_GetThermalPolicy(nullptr); }},
        {"MW_SetThermalPolicy", [&] { return MW_SetThermalPolicy(buffer_); },
         [] { return MW_SetThermalPolicy(nullptr); }},
        {"MW_SetDeviceCoolingParamToMW",
         [] {
             static const DevCoolingParam table[32] = {};
             return MW_SetDeviceCoolingParamToMW(table);
         },
         [] { return MW_SetDeviceCoolingParamToMW(nullptr); }},
        {"MW_GetThermalDevPIDOffsetPara", [&] { return MW_GetThermalDevPIDOffsetPara(0, 3, buffer_); },
         [] { return MW_GetThermalDevPIDOffsetPara(0, 3, nullptr); }},
        {"MW_SetThermalDevPIDOffsetPara", [&] { return MW_SetThermalDevPIDOffsetPara(0, 3, buffer_); },
         [] { return MW_SetThermalDevPIDOffsetPara(0, 3, nullptr); }},
    };
    for (const Word &row : kWords) {
        accessors.push_back({row.get_name, [&] { return row.get(&word); }});
        accessors.push_back({row.set_name, [&] { return row.set(1); }});
    }
    for (const Boundary &row : kBoundaries) {
        accessors.push_back({row.get_name, [&] { return row.get(&byte); }});
        accessors.push_back({row.set_name, [&] { return row.set(1); }});
    }
    for (const Block &row : kBlocks) {
        accessors.push_back({row.get_name, [&] { return row.get(buffer_); }});
        accessors.push_back({row.set_name, [&] { return row.set(buffer_); }});
        if (!row.tested) continue;
        accessors[accessors.size() - 2].null = [&] { return row.get(nullptr); };
        accessors.back().null = [&] { return row.set(nullptr); };
    }
    for (const Percents &row : kPercents) {
        accessors.push_back({row.get_name, [&] { return row.get(1, 2, 3, buffer_); },
                             [&] { return row.get(1, 2, 3, nullptr); }});
        accessors.push_back({row.set_name, [&] { return row.set(1, 2, 3, buffer_); },
                             [&] { return row.set(1, 2, 3, nullptr); }});
    }
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Thermal, PointersOfTheControllersSettingsAreNotTested) {
    for (const Word &row : kWords) ExpectUntested(row.get_name, [&] { return row.get(nullptr); });
    for (const Boundary &row : kBoundaries) ExpectUntested(row.get_name, [&] { return row.get(nullptr); });
    for (const Block &row : kBlocks) {
        if (row.tested) continue;
        ExpectUntested(row.get_name, [&] { return row.get(nullptr); });
        ExpectUntested(row.set_name, [&] { return row.set(nullptr); });
    }
}

TEST_F(Thermal, WordsAreStoredAsGiven) {
    for (const Word &row : kWords) CheckWord(row);
}

TEST_F(Thermal, BoundariesKeepTheLowByte) {
    for (const Boundary &row : kBoundaries) {
        SCOPED_TRACE(row.set_name);
        FillArea();
        const Image before = Image::Take();
        for (uint32_t value : {0u, 1u, 255u, 256u, 511u, 0x12345678u, 0xFFFFFF00u}) {
            EXPECT_EQ(row.set(value), 0);
            ExpectCalls(row.set_name, Locked());
            const Image after = before.With<uint8_t>(At(row.offset), value & 0xFF);
            ExpectImage(after);
            uint8_t read = static_cast<uint8_t>(~value);
            EXPECT_EQ(row.get(&read), 0);
            ExpectCalls(row.get_name, Locked());
            EXPECT_EQ(read, value & 0xFF);
            ExpectImage(after);
        }
    }
}

TEST_F(Thermal, BlocksAreCopiedWhole) {
    for (const Block &row : kBlocks) {
        SCOPED_TRACE(row.set_name);
        FillArea();
        const Image before = Image::Take();
        const std::vector<uint8_t> in = Pattern(row.size, 31);
        EXPECT_EQ(row.set(in.data()), 0);
        ExpectCalls(row.set_name, Locked({row.size}));
        const Image after = before.With(At(row.offset), in.data(), in.size());
        ExpectImage(after);
        std::vector<uint8_t> out(row.size + 4, 0xEE);
        EXPECT_EQ(row.get(out.data()), 0);
        ExpectCalls(row.get_name, Locked({row.size}));
        std::vector<uint8_t> expected = in;
        expected.insert(expected.end(), 4, 0xEE);
        EXPECT_EQ(out, expected);
        ExpectImage(after);
    }
}

TEST_F(Thermal, AcceptedPoliciesAreStoredAndReadBack) {
    const ThermalPolicy accepted[] = {{0, 0}, {0, 1}, {0, 2}, {0, 3}, {1, 10}, {1, 11}, {1, 99}, {1, 100}};
    for (const ThermalPolicy &policy : accepted) {
        SCOPED_TRACE(::testing::Message() << policy.dwPolicy << ", " << policy.dwPolicyValue);
        FillArea();
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetThermalPolicy(&policy), 0);
        ExpectCalls("MW_SetThermalPolicy", Locked({8}));
        const Image after = before.With(At(5700), policy.dwPolicy).With(At(5704), policy.dwPolicyValue);
        ExpectImage(after);
        ThermalPolicy read{99, 99};
        EXPECT_EQ(MW_GetThermalPolicy(&read), 0);
        ExpectCalls("MW_GetThermalPolicy", Locked({8}));
        EXPECT_EQ(read.dwPolicy, policy.dwPolicy);
        EXPECT_EQ(read.dwPolicyValue, policy.dwPolicyValue);
        ExpectImage(after);
    }
}

TEST_F(Thermal, OtherPoliciesAreRefusedBeforeAttachingAndLogged) {
    const struct {
        ThermalPolicy policy;
        const char *text;
    } rows[] = {
        {{2, 50}, "Policy = 2"},
        {{2, 0}, "Policy = 2"},
        {{0xFFFFFFFF, 3}, "Policy = -1"},
        {{1, 0}, "Percent = 0"},
        {{1, 9}, "Percent = 9"},
        {{1, 101}, "Percent = 101"},
        {{1, 0xFFFFFFFF}, "Percent = -1"},
        {{0, 4}, "CoolingMode = 4"},
        {{0, 10}, "CoolingMode = 10"},
        {{0, 0x80000000}, "CoolingMode = -2147483648"},
    };
    FillArea();
    const Image before = Image::Take();
    Detach();
    for (const auto &row : rows) {
        EXPECT_EQ(MW_SetThermalPolicy(&row.policy), -1);
        ExpectCalls("MW_SetThermalPolicy",
                    {Dbg(std::string("[{S}:{L}]Set Thermal Policy Failed, ") + row.text + "\n")});
    }
    ExpectImage(before);
}

TEST_F(Thermal, ThePolicyMayLieUnaligned) {
    uint8_t bytes[9] = {0, 1, 0, 0, 0, 42, 0, 0, 0};
    EXPECT_EQ(MW_SetThermalPolicy(bytes + 1), 0);
    EXPECT_EQ(Get<uint32_t>(5700), 1u);
    EXPECT_EQ(Get<uint32_t>(5704), 42u);
}

TEST_F(Thermal, TheCoolingTableIsStoredWholeInOneCopy) {
    FillArea();
    const Image before = Image::Take();
    DevCoolingParam table[32];
    const std::vector<uint8_t> in = Pattern(sizeof table, 12);
    memcpy(static_cast<void *>(table), in.data(), in.size());
    EXPECT_EQ(MW_SetDeviceCoolingParamToMW(table), 0);
    ExpectCalls("MW_SetDeviceCoolingParamToMW", Locked({6656}));
    ExpectImage(before.With(At(5896), in.data(), 6656));
}

TEST_F(Thermal, PidSetsAboveThreeAreRefusedBeforeAttaching) {
    Detach();
    for (uint32_t set : {4u, 5u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetThermalDevPIDOffsetPara(0, set, buffer_), -1);
        EXPECT_EQ(MW_SetThermalDevPIDOffsetPara(0, set, buffer_), -1);
    }
    ExpectNoCalls();
}

TEST_F(Thermal, PidGettersHandOutTheLastMatchAndSettersWriteEvery) {
    for (int32_t id : {0, 7, -1, INT32_MIN}) {
        for (const std::vector<size_t> &places :
             {std::vector<size_t>{0}, {31}, {5, 6}, {0, 17, 31}}) {
            FillArea();
            for (size_t place : places) Put(Cooling(place), id);
            Put(Cooling(32), id);  // the zone table's first word is no cooling record
            Image expected = Image::Take();
            for (uint32_t set = 0; set < 4; ++set) {
                SCOPED_TRACE(::testing::Message() << id << ", " << places.size() << " places, set " << set);
                const std::vector<size_t> copies(places.size(), 48);

                std::vector<uint8_t> out(49, 0xEE);
                EXPECT_EQ(MW_GetThermalDevPIDOffsetPara(id, set, out.data()), 0);
                ExpectCalls("MW_GetThermalDevPIDOffsetPara", Locked(copies));
                std::vector<uint8_t> last = Bytes(Cooling(places.back()) + 16 + 48 * set, 48);
                last.push_back(0xEE);
                EXPECT_EQ(out, last);
                ExpectImage(expected);

                const std::vector<uint8_t> in = Pattern(48, 66);
                EXPECT_EQ(MW_SetThermalDevPIDOffsetPara(id, set, in.data()), 0);
                ExpectCalls("MW_SetThermalDevPIDOffsetPara", Locked(copies));
                for (size_t place : places) expected = expected.With(At(Cooling(place) + 16 + 48 * set), in.data(), 48);
                ExpectImage(expected);
            }
        }
    }
}

TEST_F(Thermal, PidSetsOfAnUnknownDeviceChangeNothingAndSucceed) {
    FillArea();
    Put<int32_t>(Cooling(32), 7);
    const Image before = Image::Take();
    std::vector<uint8_t> out(48, 0xEE);
    EXPECT_EQ(MW_GetThermalDevPIDOffsetPara(7, 0, out.data()), 0);
    ExpectCalls("MW_GetThermalDevPIDOffsetPara", Locked());
    EXPECT_EQ(out, std::vector<uint8_t>(48, 0xEE));
    EXPECT_EQ(MW_SetThermalDevPIDOffsetPara(7, 0, out.data()), 0);
    ExpectCalls("MW_SetThermalDevPIDOffsetPara", Locked());
    ExpectImage(before);
}

TEST_F(Thermal, PercentGettersHandOutTheFirstMatchOfThirtyTwo) {
    for (const Percents &row : kPercents) {
        for (const std::vector<size_t> &places : {std::vector<size_t>{0}, {31}, {3, 4}, {31, 32}}) {
            SCOPED_TRACE(std::string(row.get_name) + " in " + std::to_string(places[0]));
            FillArea();
            for (size_t place : places) PutKeys(place, 0xFFFFFFFF, -2, INT32_MIN);
            const Image before = Image::Take();
            std::vector<uint8_t> out(65, 0xEE);
            EXPECT_EQ(row.get(0xFFFFFFFF, -2, INT32_MIN, out.data()), 0);
            ExpectCalls(row.get_name, Locked({64}));
            std::vector<uint8_t> first = Bytes(Zone(places[0]) + row.offset, 64);
            first.push_back(0xEE);
            EXPECT_EQ(out, first);
            ExpectImage(before);
        }
    }
}

TEST_F(Thermal, PercentGettersFailWithoutAMatchAndNeverReadTheSpareRecords) {
    for (const Percents &row : kPercents) {
        SCOPED_TRACE(row.get_name);
        FillArea();
        for (size_t spare = 32; spare <= 36; ++spare) PutKeys(spare, 1, 2, 3);
        const Image before = Image::Take();
        std::vector<uint8_t> out(64, 0xEE);
        EXPECT_EQ(row.get(1, 2, 3, out.data()), -1);
        ExpectCalls(row.get_name, Locked());
        EXPECT_EQ(out, std::vector<uint8_t>(64, 0xEE));
        ExpectImage(before);
    }
}

TEST_F(Thermal, PercentsNeedAllThreeKeys) {
    for (const Percents &row : kPercents) {
        SCOPED_TRACE(row.get_name);
        FillArea();
        PutKeys(9, 1, 2, 3);
        const Image before = Image::Take();
        EXPECT_EQ(row.get(0, 2, 3, buffer_), -1);
        EXPECT_EQ(row.get(1, 0, 3, buffer_), -1);
        EXPECT_EQ(row.get(1, 2, 0, buffer_), -1);
        EXPECT_EQ(row.set(0, 2, 3, buffer_), 0);
        EXPECT_EQ(row.set(1, 0, 3, buffer_), 0);
        EXPECT_EQ(row.set(1, 2, 0, buffer_), 0);
        ExpectImage(before);
        EXPECT_EQ(row.get(1, 2, 3, buffer_), 0);
    }
}

TEST_F(Thermal, PercentSettersWriteEveryMatchOfThirtySix) {
    for (const Percents &row : kPercents) {
        for (const std::vector<size_t> &places :
             {std::vector<size_t>{}, {0}, {31}, {32}, {35}, {2, 3, 31, 32, 33, 34, 35}}) {
            SCOPED_TRACE(std::string(row.set_name) + ", " + std::to_string(places.size()) + " places");
            FillArea();
            for (size_t place : places) PutKeys(place, 7, -8, 9);
            PutKeys(36, 7, -8, 9);  // over the thread status and the words behind it: out of the scan
            Image expected = Image::Take();
            const std::vector<uint8_t> in = Pattern(64, 55);
            EXPECT_EQ(row.set(7, -8, 9, in.data()), 0);
            ExpectCalls(row.set_name, Locked(std::vector<size_t>(places.size(), 64)));
            for (size_t place : places) expected = expected.With(At(Zone(place) + row.offset), in.data(), 64);
            ExpectImage(expected);
        }
    }
}

TEST_F(Thermal, FailedLocksLeaveTheCallersVariablesAlone) {
    FillArea();
    PutKeys(0, 1, 2, 3);
    Put<int32_t>(Cooling(0), 7);
    recorder::Now().lock_result[kFanKey] = -1;
    std::vector<uint8_t> out(108, 0xEE);
    uint32_t word = 4711;
    for (const Word &row : kWords) EXPECT_EQ(row.get(&word), -1);
    for (const Boundary &row : kBoundaries) EXPECT_EQ(row.get(out.data()), -1);
    for (const Block &row : kBlocks) EXPECT_EQ(row.get(out.data()), -1);
    for (const Percents &row : kPercents) EXPECT_EQ(row.get(1, 2, 3, out.data()), -1);
    EXPECT_EQ(MW_GetThermalDevPIDOffsetPara(7, 0, out.data()), -1);
    EXPECT_EQ(MW_GetThermalPolicy(out.data()), -1);
    EXPECT_EQ(word, 4711u);
    EXPECT_EQ(out, std::vector<uint8_t>(108, 0xEE));
}

}  // namespace
