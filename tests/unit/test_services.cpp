// Time synchronisation and remote syslog settings.
#include "accessor_test.h"

namespace {

constexpr ModuleFacts kServices{"services/hov_midserv", &g_ptServCollectAddr, 692376, 1904, 12302};

class Services : public AccessorTest {
 protected:
    Services() : AccessorTest(kServices, kLockError) {}

    std::vector<std::string> Copied(size_t size) { return {Lock(12302), Copy(size), Unlock(12302)}; }

    NtpInfo ntp_{};
    RemoteSyslogInfo syslog_{};
    char name_[128] = {};
};

TEST_F(Services, EveryAccessorFollowsTheTemplate) {
    const Accessor accessors[] = {
        {"MW_GetNtpInfo", [&] { return MW_GetNtpInfo(&ntp_); }, [] { return MW_GetNtpInfo(nullptr); }},
        {"MW_SetNtpInfo", [&] { return MW_SetNtpInfo(&ntp_); }, [] { return MW_SetNtpInfo(nullptr); }},
        {"MW_GetRemoteSyslogInfo", [&] { return MW_GetRemoteSyslogInfo(&syslog_); },
         [] { return MW_GetRemoteSyslogInfo(nullptr); }},
        {"MW_SetRemoteSyslogInfo", [&] { return MW_SetRemoteSyslogInfo(&syslog_); },
         [] { return MW_SetRemoteSyslogInfo(nullptr); }},
        {"MW_SetNtpServerName", [&] { return MW_SetNtpServerName(1, name_); },
         [] { return MW_SetNtpServerName(1, nullptr); }},
        {"MW_SetNtpInterval", [] { return MW_SetNtpInterval(64); }},
        {"MW_SetTimeSource", [] { return MW_SetTimeSource(1); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Services, GettersCopyTheirRecordAndNothingElse) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetNtpInfo(&ntp_), 0);
    ExpectCalls("MW_GetNtpInfo", Copied(804));
    EXPECT_EQ(memcmp(&ntp_, recorder::Area() + At(0), 804), 0);
    EXPECT_EQ(MW_GetRemoteSyslogInfo(&syslog_), 0);
    ExpectCalls("MW_GetRemoteSyslogInfo", Copied(1100));
    EXPECT_EQ(memcmp(&syslog_, recorder::Area() + At(804), 1100), 0);
    ExpectImage(before);
}

TEST_F(Services, AFailedLockLeavesTheCallersBufferAlone) {
    FillArea();
    recorder::Now().lock_result[12302] = -1;
    ntp_ = PatternOf<NtpInfo>(9);
    EXPECT_EQ(MW_GetNtpInfo(&ntp_), -1);
    const NtpInfo untouched = PatternOf<NtpInfo>(9);
    EXPECT_EQ(memcmp(&ntp_, &untouched, sizeof ntp_), 0);
}

TEST_F(Services, SettersWriteTheirRecordAndNothingElse) {
    FillArea();
    const Image before = Image::Take();
    ntp_ = PatternOf<NtpInfo>(7);
    EXPECT_EQ(MW_SetNtpInfo(&ntp_), 0);
    ExpectCalls("MW_SetNtpInfo", Copied(804));
    const Image with_ntp = before.With(At(0), &ntp_, 804);
    ExpectImage(with_ntp);
    syslog_ = PatternOf<RemoteSyslogInfo>(8);
    EXPECT_EQ(MW_SetRemoteSyslogInfo(&syslog_), 0);
    ExpectCalls("MW_SetRemoteSyslogInfo", Copied(1100));
    ExpectImage(with_ntp.With(At(804), &syslog_, 1100));
}

TEST_F(Services, IntervalAndSourceAreOneWordEach) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetNtpInterval(0xFFFFFFFF), 0);
    ExpectCalls("MW_SetNtpInterval", {Lock(12302), Unlock(12302)});
    EXPECT_EQ(MW_SetTimeSource(0x01020304), 0);
    ExpectCalls("MW_SetTimeSource", {Lock(12302), Unlock(12302)});
    ExpectImage(before.With<uint32_t>(At(8), 0xFFFFFFFF).With<uint32_t>(At(0), 0x01020304));
}

TEST_F(Services, ServerNamesLandWhereTheFormulaSays) {
    // 0 lies before the six names, 7 and more run on into the syslog record and beyond it, unchecked.
    for (uint32_t number : {0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 15u, 100u, 127u}) {
        SCOPED_TRACE(number);
        FillArea(static_cast<uint8_t>(number + 1));
        const Image before = Image::Take();
        const std::vector<uint8_t> name = Pattern(128, 77);
        EXPECT_EQ(MW_SetNtpServerName(number, reinterpret_cast<const char *>(name.data())), 0);
        ExpectCalls("MW_SetNtpServerName", Copied(128));
        ExpectImage(before.With(692376 + 128 * number - 92, name.data(), 128));
    }
}

TEST_F(Services, ServerNamesOutsideTheSharedAreaAreRefused) {
    FillArea();
    const Image before = Image::Take();
    // The last number that fits: 692376 + 128 n - 92 + 128 <= 708704.
    const uint32_t last = (708704 - 692376 + 92 - 128) / 128;
    EXPECT_EQ(MW_SetNtpServerName(last + 1, name_), -1);
    ExpectCalls("MW_SetNtpServerName", {Lock(12302), Dbg(kRefusal), Unlock(12302)});
    EXPECT_EQ(MW_SetNtpServerName(0xFFFFFFFF, name_), -1);
    ExpectCalls("MW_SetNtpServerName", {Lock(12302), Dbg(kRefusal), Unlock(12302)});
    ExpectImage(before);
    EXPECT_EQ(MW_SetNtpServerName(last, name_), 0);
    ExpectImage(before.With(692376 + 128 * last - 92, name_, 128));
}

TEST_F(Services, AllZeroAfterInit) {
    FillArea();
    ASSERT_EQ(MW_MidWareInit(), 0);
    ntp_ = PatternOf<NtpInfo>(3);
    syslog_ = PatternOf<RemoteSyslogInfo>(3);
    ASSERT_EQ(MW_GetNtpInfo(&ntp_), 0);
    ASSERT_EQ(MW_GetRemoteSyslogInfo(&syslog_), 0);
    const NtpInfo no_ntp{};
    const RemoteSyslogInfo no_syslog{};
    EXPECT_EQ(memcmp(&ntp_, &no_ntp, sizeof ntp_), 0);
    EXPECT_EQ(memcmp(&syslog_, &no_syslog, sizeof syslog_), 0);
}

}  // namespace
