// Creating the shared area and attaching to it.
#include "accessor_test.h"

namespace {

constexpr ModuleFacts kArea{"hov_midware", &g_ptMidWareAddr, 0, 708704, 4099};

const ModuleFacts kAllModules[] = {
    {"mem/hov_midmem", &g_ptMemCollectAddr, 0x00000, 311832, 12291},
    {"cpu/hov_midcpu", &g_ptCpuCollectAddr, 0x4C218, 13592, 12290},
    {"pem/hov_midpem", &g_ptPemCollectAddr, 0x4F730, 2540, 12292},
    {"power/hov_midpwr", &g_ptPswCollectAddr, 0x5011C, 1076, 12296},
    {"fan/hov_midfan", &g_ptFanCollectAddr, 0x50550, 17776, 12293},
    {"netcard/hov_midnetcard", &g_ptNicCollectAddr, 0x54AC0, 121168, 12295},
    {"fccard/hov_midfccard", &g_ptFcCardCollectAddr, 0x72410, 13112, 12299},
    {"gpu/hov_midgpu", &g_ptGPUCollectAddr, 0x75748, 11288, 12300},
    {"raidcard/hov_midraidcard", &g_ptRaidCollectionAddr, 0x78360, 119040, 12294},
    {"board/hov_midboard", &g_ptBoardCollectAddr, 0x95460, 144, 12297},
    {"pcie/hov_midpcie", &g_ptPcieCollectAddr, 0x954F0, 61728, 12298},
    {"fwinfo/hov_midfw", &g_ptFwCollectAddr, 0xA4610, 19080, 12301},
    {"services/hov_midserv", &g_ptServCollectAddr, 0xA9098, 1904, 12302},
    {"pch/hov_midpch", &g_ptPCHCollectAddr, 0xA9808, 10320, 12303},
    {"custcard/hov_midcustcard", &g_ptCustCardCollectAddr, 0xAC058, 4104, 12304},
};

const std::vector<std::string> kSemaphoresInOrder = {
    "OAL_SemCreate(12290)", "OAL_SemCreate(12291)", "OAL_SemCreate(12292)", "OAL_SemCreate(12296)",
    "OAL_SemCreate(12293)", "OAL_SemCreate(12294)", "OAL_SemCreate(12295)", "OAL_SemCreate(12297)",
    "OAL_SemCreate(12298)", "OAL_SemCreate(12299)", "OAL_SemCreate(12300)", "OAL_SemCreate(12301)",
    "OAL_SemCreate(12302)", "OAL_SemCreate(12303)", "OAL_SemCreate(12304)"};

// As the program finds them: this runs before any test.
const bool kAllNullAtStart = [] {
    bool null = pSendRedfunc == nullptr && g_ptMidWareAddr == nullptr;
    for (const ModuleFacts &facts : kAllModules) null = null && *facts.pointer == nullptr;
    return null;
}();

class SharedArea : public AccessorTest {
 protected:
    SharedArea() : AccessorTest(kArea, kLockLineError) {}

    void SetUp() override {
        AccessorTest::SetUp();
        Detach();
    }
};

TEST_F(SharedArea, LoadingTheLibraryCallsNothingAndSetsNothing) {
    EXPECT_EQ(recorder::CallsAtStart(), std::vector<std::string>());
    EXPECT_TRUE(kAllNullAtStart);
}

TEST_F(SharedArea, InitCreatesLocksZeroesReleasesAndCreatesTheSemaphoresInOrder) {
    FillArea();
    EXPECT_EQ(MW_MidWareInit(), 0);
    std::vector<std::string> expected = {"OAL_CreatMemResource(4099, 708704)", Lock(4099), AttachCall(),
                                         "hov_memset_s(708704, 0, 708704)", Unlock(4099)};
    expected.insert(expected.end(), kSemaphoresInOrder.begin(), kSemaphoresInOrder.end());
    ExpectCalls("MW_MidWareInit", expected);
    ExpectImage(Image::Take().Zeroed(0, 708704));
}

TEST_F(SharedArea, InitSetsTheBaseAndLeavesTheModulePointersAlone) {
    g_ptFanCollectAddr = this;
    EXPECT_EQ(MW_MidWareInit(), 0);
    EXPECT_EQ(g_ptMidWareAddr, recorder::LibraryArea());
    EXPECT_EQ(g_ptFanCollectAddr, this);
    EXPECT_EQ(g_ptMemCollectAddr, nullptr);
    EXPECT_EQ(g_ptCustCardCollectAddr, nullptr);
}

TEST_F(SharedArea, InitAgainDiscardsEveryRecord) {
    EXPECT_EQ(MW_MidWareInit(), 0);
    FillArea();
    EXPECT_EQ(MW_MidWareInit(), 0);
    ExpectImage(Image::Take().Zeroed(0, 708704));
}

TEST_F(SharedArea, InitFailsSilentlyWhereTheRegionCannotBeCreated) {
    FillArea();
    const Image before = Image::Take();
    g_ptMidWareAddr = this;
    recorder::Now().create_result = -3;
    EXPECT_EQ(MW_MidWareInit(), -1);
    ExpectCalls("MW_MidWareInit", {"OAL_CreatMemResource(4099, 708704)"});
    EXPECT_EQ(g_ptMidWareAddr, this);
    ExpectImage(before);
}

TEST_F(SharedArea, InitLogsAFailedLockAndStops) {
    FillArea();
    const Image before = Image::Take();
    g_ptMidWareAddr = this;
    recorder::Now().lock_result[4099] = -1;
    EXPECT_EQ(MW_MidWareInit(), -1);
    ExpectCalls("MW_MidWareInit", {"OAL_CreatMemResource(4099, 708704)", Lock(4099), Dbg(kLockLineError)});
    EXPECT_EQ(g_ptMidWareAddr, this);
    ExpectImage(before);
}

TEST_F(SharedArea, InitWithoutAnAddressReleasesAndFails) {
    g_ptMidWareAddr = this;
    recorder::Now().region_missing = true;
    EXPECT_EQ(MW_MidWareInit(), -1);
    ExpectCalls("MW_MidWareInit", {"OAL_CreatMemResource(4099, 708704)", Lock(4099), AttachCall(), Unlock(4099)});
    EXPECT_EQ(g_ptMidWareAddr, nullptr);
}

TEST_F(SharedArea, InitTakesPositiveResultsForSuccess) {
    recorder::Now().create_result = 1;
    recorder::Now().lock_result[4099] = 1;
    EXPECT_EQ(MW_MidWareInit(), 0);
}

TEST_F(SharedArea, InitDoesNotReportSemaphoresThatCannotBeCreated) {
    recorder::Now().sem_create_result = -1;
    EXPECT_EQ(MW_MidWareInit(), 0);
    EXPECT_EQ(recorder::Calls().size(), 5 + kSemaphoresInOrder.size());
}

TEST_F(SharedArea, AttachingSetsAllPointersFromTheTable) {
    EXPECT_EQ(MW_MidMemCheck(nullptr), 0);
    ExpectCalls("MW_MidMemCheck", {AttachCall()});
    char *base = static_cast<char *>(recorder::LibraryArea());
    EXPECT_EQ(g_ptMidWareAddr, base);
    EXPECT_EQ(g_ptMemCollectAddr, base);
    uint32_t next = 0;
    for (const ModuleFacts &facts : kAllModules) {
        EXPECT_EQ(*facts.pointer, base + facts.offset) << facts.source;
        EXPECT_EQ(facts.offset, next) << facts.source;
        next = facts.offset + facts.size;
    }
    EXPECT_EQ(static_cast<char *>(g_ptCustCardCollectAddr) + 4104, base + 708704);
}

TEST_F(SharedArea, AnyPointerMeansAttached) {
    EXPECT_EQ(MW_MidMemCheck(this), 0);
    ExpectNoCalls();
    EXPECT_EQ(g_ptMidWareAddr, nullptr);
    EXPECT_EQ(g_ptMemCollectAddr, nullptr);
}

TEST_F(SharedArea, AFailedAttachPrintsClearsTheBaseAndIsTriedAgain) {
    recorder::Now().region_missing = true;
    g_ptMidWareAddr = this;
    g_ptPcieCollectAddr = this;
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(MW_MidMemCheck(nullptr), -1);
        ExpectCalls("MW_MidMemCheck", {AttachCall(), AttachFailurePrint()});
        EXPECT_EQ(g_ptMidWareAddr, nullptr);
        EXPECT_EQ(g_ptPcieCollectAddr, this);
        EXPECT_EQ(g_ptMemCollectAddr, nullptr);
    }
    recorder::Now().region_missing = false;
    EXPECT_EQ(MW_MidMemCheck(nullptr), 0);
}

TEST_F(SharedArea, PostingToTheAlarmDoesNothing) {
    for (int round = 0; round < 3; ++round) EXPECT_EQ(MW_PostMsgtoAlarm(), 0);
    ExpectNoCalls();
}

}  // namespace
