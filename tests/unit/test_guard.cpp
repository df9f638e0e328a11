// What the guard does beyond the template that every accessor is checked against.
#include "accessor_test.h"

namespace {

constexpr ModuleFacts kServices{"services/hov_midserv", &g_ptServCollectAddr, 692376, 1904, 12302};

class GuardTest : public AccessorTest {
 protected:
    GuardTest() : AccessorTest(kServices, kLockError) {}
};

TEST_F(GuardTest, AccessorsWorkThroughARedirectedPointer) {
    alignas(8) static uint8_t elsewhere[1904];
    const std::vector<uint8_t> bytes = Pattern(sizeof elsewhere, 5);
    memcpy(elsewhere, bytes.data(), sizeof elsewhere);
    FillArea();
    const Image before = Image::Take();
    g_ptServCollectAddr = elsewhere;

    RemoteSyslogInfo syslog;
    EXPECT_EQ(MW_GetRemoteSyslogInfo(&syslog), 0);
    EXPECT_EQ(memcmp(&syslog, elsewhere + 804, sizeof syslog), 0);
    EXPECT_EQ(MW_SetTimeSource(0xAABBCCDD), 0);
    uint32_t stored;
    memcpy(&stored, elsewhere, sizeof stored);
    EXPECT_EQ(stored, 0xAABBCCDDu);
    ExpectImage(before);
    ExpectCalls("", {Lock(12302), Copy(1100), Unlock(12302), Lock(12302), Unlock(12302)});
}

TEST_F(GuardTest, AProcessThatIsAttachedAsksForTheAddressOnce) {
    Detach();
    EXPECT_EQ(MW_SetTimeSource(1), 0);
    ExpectCalls("", {AttachCall(), Lock(12302), Unlock(12302)});
    EXPECT_EQ(MW_SetTimeSource(1), 0);
    ExpectCalls("", {Lock(12302), Unlock(12302)});
}

TEST_F(GuardTest, AnUnlockThatFailsChangesNoResult) {
    recorder::Now().unlock_result = -1;
    EXPECT_EQ(MW_SetTimeSource(1), 0);
}

TEST_F(GuardTest, APointerClearedDuringTheWaitForTheSemaphoreGivesItBack) {
    recorder::Now().on_call = [](const recorder::Call &call) {
        if (call.text == Lock(12302)) g_ptServCollectAddr = nullptr;
    };
    NtpInfo ntp = PatternOf<NtpInfo>(9);
    const NtpInfo untouched = ntp;
    EXPECT_EQ(MW_GetNtpInfo(&ntp), -1);
    EXPECT_EQ(memcmp(&ntp, &untouched, sizeof ntp), 0);
    ExpectCalls("MW_GetNtpInfo", {Lock(12302), Unlock(12302)});
}

TEST_F(GuardTest, TheErrorTextIsThatOfTheFailedLock) {
    for (int error : {110, 4, 22}) {
        recorder::Now().lock_errno = error;
        recorder::Now().lock_result[12302] = -1;
        EXPECT_EQ(MW_SetTimeSource(1), -1);
        ExpectCalls("MW_SetTimeSource", {Lock(12302), Dbg(kLockError)});
    }
}

}  // namespace
