// The shared area from its creation on, and what stands in its way.
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "process_test.h"

namespace {

using AreaLife = AreaTest;

std::string AreaFile(const TempDir &root) {
    // The largest object below the root is the area, whatever the platform layer calls it.
    for (const auto &entry : std::filesystem::recursive_directory_iterator(root.path())) {
        if (entry.is_regular_file() && entry.file_size() == MW_AREA_SIZE) return entry.path();
    }
    return "";
}

TEST_F(AreaLife, WhatOneProcessWritesAnotherReads) {
    CreateArea();
    EXPECT_SUCCEEDS(setup_, [] {
        char name[128] = "ntp1.example.org";
        EXPECT_EQ(MW_SetNtpServerName(1, name), 0);
        EXPECT_EQ(MW_SetNtpInterval(64), 0);
        EXPECT_EQ(MW_SetTimeSource(MW_TIME_SOURCE_NTP), 0);
        auto syslog = Plain<RemoteSyslogInfo>(7);
        EXPECT_EQ(MW_SetRemoteSyslogInfo(&syslog), 0);
    });
    EXPECT_SUCCEEDS(setup_, [] {
        NtpInfo ntp;
        ASSERT_EQ(MW_GetNtpInfo(&ntp), 0);
        EXPECT_STREQ(ntp.acNtpServerName[0], "ntp1.example.org");
        EXPECT_EQ(ntp.dwNtpInterval, 64u);
        EXPECT_EQ(ntp.dwTimeSource, MW_TIME_SOURCE_NTP);
        RemoteSyslogInfo syslog;
        ASSERT_EQ(MW_GetRemoteSyslogInfo(&syslog), 0);
        EXPECT_EQ(PlainByte(syslog), 7);
    });
}

TEST_F(AreaLife, WithoutAnAreaAnAccessorPrintsAndTriesAgainTheNextTime) {
    const Outcome outcome = RunProcess(setup_, [] {
        uint32_t count = 5;
        EXPECT_EQ(MW_GetMemCount(&count), -1);
        EXPECT_EQ(count, 5u);
        EXPECT_EQ(g_ptMemCollectAddr, nullptr);
        EXPECT_EQ(MW_MidWareInit(), 0);
        EXPECT_EQ(MW_GetMemCount(&count), 0);
        EXPECT_EQ(count, 0u);
    });
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.out.rfind("MW_MidMemCheck:", 0), 0u) << outcome;
    EXPECT_NE(outcome.out.find(" Memory init error \n"), std::string::npos) << outcome;
}

TEST_F(AreaLife, TwoRootsNeverMeet) {
    const TempDir other;
    CreateArea();
    EXPECT_SUCCEEDS(InRoot(other), [] {
        uint32_t count;
        EXPECT_EQ(MW_GetMemCount(&count), -1);
        EXPECT_EQ(MW_MidWareInit(), 0);
        EXPECT_EQ(MW_SetTimeSource(9), 0);
    });
    EXPECT_SUCCEEDS(setup_, [] {
        NtpInfo ntp;
        ASSERT_EQ(MW_GetNtpInfo(&ntp), 0);
        EXPECT_EQ(ntp.dwTimeSource, 0u);
    });
}

TEST_F(AreaLife, SixteenProcessesCreateOneAreaAtOnce) {
    struct Gate {
        std::atomic<int> ready{0};
        std::atomic<bool> open{false};
    };
    Shared<Gate> gate;
    std::vector<Process> creators;
    for (int i = 0; i < 16; ++i) {
        creators.emplace_back(setup_, [&gate] {
            ++gate->ready;
            while (!gate->open) sched_yield();
            // On a slow machine the wait for the area's semaphore may run out: as in a service, another try.
            int tries = 0;
            while (MW_MidWareInit() != 0 && ++tries < 40) {
            }
            EXPECT_LT(tries, 40);
            NtpInfo ntp;
            EXPECT_EQ(MW_GetNtpInfo(&ntp), 0);
        });
    }
    ASSERT_TRUE(Eventually([&] { return gate->ready == 16; }));
    gate->open = true;
    for (Process &creator : creators) {
        const Outcome outcome = creator.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
    }
    EXPECT_SUCCEEDS(setup_, [] { EXPECT_EQ(MW_SetTimeSource(1), 0); });
}

TEST_F(AreaLife, StartingAfreshDiscardsEveryRecordUnderTheProcessesThatAreAttached) {
    CreateArea();
    struct Steps {
        std::atomic<int> step{0};
    };
    Shared<Steps> steps;
    Process reader(setup_, [&steps] {
        ASSERT_EQ(MW_SetTimeSource(3), 0);
        steps->step = 1;
        ASSERT_TRUE(Eventually([&] { return steps->step == 2; }));
        NtpInfo ntp;
        ASSERT_EQ(MW_GetNtpInfo(&ntp), 0);
        EXPECT_EQ(ntp.dwTimeSource, 0u);
    });
    ASSERT_TRUE(Eventually([&] { return steps->step == 1; }));
    CreateArea();
    steps->step = 2;
    const Outcome outcome = reader.Wait();
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
}

TEST_F(AreaLife, AnAreaOfAnotherSizeIsRefused) {
    CreateArea();
    const std::string file = AreaFile(root_);
    ASSERT_NE(file, "");
    ASSERT_EQ(truncate(file.c_str(), MW_AREA_SIZE - 1), 0);
    const Outcome outcome = RunProcess(setup_, [] {
        EXPECT_EQ(MW_MidWareInit(), -1);
        uint32_t count;
        EXPECT_EQ(MW_GetMemCount(&count), -1);
    });
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_NE(outcome.err, "") << "nobody was told";
    EXPECT_EQ(std::filesystem::file_size(file), MW_AREA_SIZE - 1);
}

TEST_F(AreaLife, ObjectsAreForTheOwnerAndTheGroupWhateverTheUmask) {
    EXPECT_SUCCEEDS(setup_, [] {
        umask(0);
        EXPECT_EQ(MW_MidWareInit(), 0);
    });
    struct stat status;
    ASSERT_EQ(stat(AreaFile(root_).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777 & ~0660u, 0u);
}

TEST_F(AreaLife, AnotherUserIsKeptOut) {
    CreateArea();
    ASSERT_EQ(chmod(root_.path().c_str(), 0755), 0);
    struct Skipped {
        std::atomic<bool> skipped{false};
    };
    Shared<Skipped> result;
    const Outcome outcome = RunProcess(setup_, [&result] {
        if (!BecomeNobody()) {
            result->skipped = true;
            return;
        }
        uint32_t count;
        EXPECT_EQ(MW_GetMemCount(&count), -1);
        EXPECT_EQ(MW_SetTimeSource(1), -1);
        EXPECT_EQ(MW_MidWareInit(), -1);
    });
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    if (result->skipped) GTEST_SKIP() << "only root can become another user";
    EXPECT_SUCCEEDS(setup_, [] { EXPECT_EQ(MW_SetTimeSource(1), 0); });
}

// A small file system of its own, where that is allowed.
class SmallFileSystem {
 public:
    SmallFileSystem(const std::string &at, const char *options)
        : at_(at), mounted_(mount("none", at.c_str(), "tmpfs", MS_NOSUID, options) == 0) {}
    ~SmallFileSystem() {
        if (mounted_) umount(at_.c_str());
    }
    bool mounted() const { return mounted_; }

 private:
    std::string at_;
    bool mounted_;
};

TEST_F(AreaLife, OnAFullFileSystemCreationFailsAndLeavesNothingHalfMade) {
    const SmallFileSystem small(root_.path(), "size=256k");
    if (!small.mounted()) GTEST_SKIP() << "no file system may be mounted here";
    const Outcome outcome = RunProcess(setup_, [] {
        EXPECT_EQ(MW_MidWareInit(), -1);
        uint32_t count;
        EXPECT_EQ(MW_GetMemCount(&count), -1);
    });
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(AreaFile(root_), "");
}

TEST_F(AreaLife, OnAReadOnlyFileSystemThresholdsStayAsTheyAre) {
    std::filesystem::create_directories(root_ / "conf");
    {
        const SmallFileSystem conf(root_ / "conf", "size=1m");
        if (!conf.mounted()) GTEST_SKIP() << "no file system may be mounted here";
        EXPECT_SUCCEEDS(setup_, [] { EXPECT_EQ(MW_SetCpuUsageThreInfo(60, 9), 0); });
        ASSERT_EQ(mount("none", (root_ / "conf").c_str(), "tmpfs", MS_REMOUNT | MS_RDONLY, "size=1m"), 0);
        EXPECT_SUCCEEDS(setup_, [] {
            EXPECT_EQ(MW_SetCpuUsageThreInfo(80, 9), 0) << "a failed save is not reported";
            uint32_t thresholds[2];
            EXPECT_EQ(MW_GetCpuUsageThreInfo(thresholds), 0);
            EXPECT_EQ(thresholds[0], 60u);
            EXPECT_EQ(thresholds[1], 5u);
        });
    }
}

TEST_F(AreaLife, ThresholdsOutliveTheirWriter) {
    EXPECT_SUCCEEDS(setup_, [] {
        uint32_t thresholds[2];
        EXPECT_EQ(MW_GetMemUsageThreInfo(thresholds), 0);
        EXPECT_EQ(thresholds[0], 75u);
        EXPECT_EQ(thresholds[1], 5u);
        EXPECT_EQ(MW_SetMemUsageThreInfo(80, 10), 0);
        EXPECT_EQ(MW_SetHardDiskUsageThreInfo(0, 10), 0);
        EXPECT_EQ(MW_SetCpuUsageThreInfo(101, 5), -1);
    });
    EXPECT_SUCCEEDS(setup_, [] {
        uint32_t thresholds[2];
        EXPECT_EQ(MW_GetMemUsageThreInfo(thresholds), 0);
        EXPECT_EQ(thresholds[0], 80u);
        EXPECT_EQ(thresholds[1], 5u);
        EXPECT_EQ(MW_GetHardDiskUsageThreInfo(thresholds), 0);
        EXPECT_EQ(thresholds[0], 0u);
        EXPECT_EQ(MW_GetCpuUsageThreInfo(thresholds), 0);
        EXPECT_EQ(thresholds[0], 75u);
    });
}

}  // namespace
