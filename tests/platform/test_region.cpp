#include <fcntl.h>
#include <grp.h>
#include <sys/mount.h>

#include "platform_test.h"

namespace {

using Bytes = std::vector<std::string>;

class Region : public PlatformTest {
  protected:
    static void ExpectRefused(const Outcome &outcome, const std::string &file, const std::string &reason) {
        EXPECT_EQ(outcome.err, file + " refused: " + reason + "\n");
    }
    // Nobody can create the area, and nobody sees it; one line tells why, however often it is tried.
    static std::function<void()> FailsWith(int error) {
        return [error] {
            for (int i = 0; i < 3; ++i) {
                EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
                EXPECT_EQ(errno, error) << hov_strerror_s(errno);
                EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
            }
        };
    }
    void Create() {
        In([] { ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0); });
    }
};

TEST_F(Region, IsCreatedZeroWithTheSemaphoreOfItsKey) {
    In([] {
        umask(0);
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        const auto *area = static_cast<const unsigned char *>(OAL_GetMemResourceAddr(kAreaKey));
        ASSERT_NE(area, nullptr);
        for (uint32_t i = 0; i < kAreaSize; ++i) ASSERT_EQ(area[i], 0) << i;
        EXPECT_EQ(OAL_SemLockByKey(kAreaKey, 500), 0);
        EXPECT_EQ(OAL_SemUnLockByKey(kAreaKey, 500), 0);
    });
    EXPECT_EQ(SizeOf(Area()), off_t{kAreaSize});
    EXPECT_EQ(ModeOf(Area()), 0660u);
    EXPECT_EQ(ModeOf(Locks()), 0660u);
    EXPECT_EQ(FilesIn(Place("/dev/shm")), (Bytes{"midware-4099", "midware-locks"}));
}

TEST_F(Region, TheCreatorsUmaskDoesNotMatter) {
    In([] {
        umask(0777);
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
    });
    EXPECT_EQ(ModeOf(Area()), 0660u);
    EXPECT_EQ(ModeOf(Locks()), 0660u);
    EXPECT_EQ(ModeOf(Place("/dev/shm")), 0755u);
}

TEST_F(Region, AnExistingOneOfTheSizeIsKept) {
    In([] {
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        auto *area = static_cast<char *>(OAL_GetMemResourceAddr(kAreaKey));
        ASSERT_NE(area, nullptr);
        area[kAreaSize - 1] = 'x';
        EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), area);
    });
    In([] {
        EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        const auto *area = static_cast<const char *>(OAL_GetMemResourceAddr(kAreaKey));
        ASSERT_NE(area, nullptr);
        EXPECT_EQ(area[kAreaSize - 1], 'x');
    });
}

TEST_F(Region, AttachingNeverCreatesAnything) {
    const Outcome outcome = In([] {
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        EXPECT_EQ(errno, ENOENT);
    });
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(FilesIn(root_.path()), Bytes{});
}

TEST_F(Region, OneThatIsNotCompleteYetIsNotSeen) {
    In([] { ASSERT_EQ(OAL_SemCreate(kAreaKey), 0); });
    WriteFile(Area(), std::string(kAreaSize, '\0'));
    chmod(Area().c_str(), 0660);
    const Outcome outcome = In([] {
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr);
    });
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Region, SixteenProcessesCanCreateItAtOnce) {
    struct State {
        std::atomic<int> ready{0};
        std::atomic<bool> go{false};
    };
    const Shared<State> state;
    constexpr int kProcesses = 16;
    constexpr uint32_t kRounds = 200;
    std::vector<Process> processes;
    for (int i = 0; i < kProcesses; ++i) {
        processes.emplace_back(setup(), [&] {
            ++state->ready;
            while (!state->go) usleep(10);
            ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0) << hov_strerror_s(errno);
            ASSERT_EQ(OAL_SemCreate(kFirstKey), 0);
            ASSERT_EQ(OAL_SemCreate(777), 0);
            auto *count = static_cast<uint32_t *>(OAL_GetMemResourceAddr(kAreaKey));
            ASSERT_NE(count, nullptr);
            for (uint32_t n = 0; n < kRounds; ++n) {
                ASSERT_EQ(OAL_SemLockByKey(kFirstKey, 60000), 0);
                ++count[0];
                ASSERT_EQ(OAL_SemUnLockByKey(kFirstKey, 500), 0);
                ASSERT_EQ(OAL_SemLockByKey(777, 60000), 0);
                ++count[1];
                ASSERT_EQ(OAL_SemUnLockByKey(777, 500), 0);
            }
        });
    }
    ASSERT_TRUE(Eventually([&] { return state->ready == kProcesses; }));
    state->go = true;
    for (auto &process : processes) {
        const Outcome outcome = process.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        EXPECT_EQ(outcome.err, "");
    }
    In([] {
        const auto *count = static_cast<const uint32_t *>(OAL_GetMemResourceAddr(kAreaKey));
        ASSERT_NE(count, nullptr);
        EXPECT_EQ(count[0], kProcesses * kRounds);
        EXPECT_EQ(count[1], kProcesses * kRounds);
    });
    EXPECT_EQ(FilesIn(Place("/dev/shm")), (Bytes{"midware-4099", "midware-locks"}));
}

TEST_F(Region, ACreatorThatIsKilledLeavesNothingHalfMade) {
    for (int round = 0; round < 60; ++round) {
        const TempDir root;
        const Shared<std::atomic<int>> begun;
        Process creator(InRoot(root), [&] {
            ++*begun;
            OAL_CreatMemResource(kAreaKey, kAreaSize);
            Forever();
        });
        ASSERT_TRUE(Eventually([&] { return *begun == 1; }));
        usleep(static_cast<useconds_t>(round * 20));
        creator.Kill();
        EXPECT_SUCCEEDS(InRoot(root), [] {
            auto *area = static_cast<char *>(OAL_GetMemResourceAddr(kAreaKey));
            if (area != nullptr) area[kAreaSize - 1] = 'x';
            EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0) << hov_strerror_s(errno);
            area = static_cast<char *>(OAL_GetMemResourceAddr(kAreaKey));
            ASSERT_NE(area, nullptr);
            area[kAreaSize - 1] = 'x';
            EXPECT_EQ(OAL_SemLockByKey(kAreaKey, 500), 0);
        });
    }
}

TEST_F(Region, AllThreadsGetTheSameAddress) {
    Create();
    In([] {
        std::atomic<bool> go{false};
        void *addresses[8] = {};
        std::vector<std::thread> threads;
        for (void *&address : addresses) {
            threads.emplace_back([&] {
                while (!go) std::this_thread::yield();
                address = OAL_GetMemResourceAddr(kAreaKey);
            });
        }
        go = true;
        for (auto &thread : threads) thread.join();
        EXPECT_NE(addresses[0], nullptr);
        for (void *address : addresses) EXPECT_EQ(address, addresses[0]);
    });
}

TEST_F(Region, AForkedChildKeepsWorkingWithIt) {
    In([] {
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        auto *area = static_cast<char *>(OAL_GetMemResourceAddr(kAreaKey));
        ASSERT_NE(area, nullptr);
        EXPECT_SUCCEEDS({}, [area] {
            EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), area);
            EXPECT_EQ(OAL_SemLockByKey(kAreaKey, 500), 0);
            area[0] = 'x';
            EXPECT_EQ(OAL_SemUnLockByKey(kAreaKey, 500), 0);
        });
        EXPECT_EQ(area[0], 'x');
    });
}

TEST_F(Region, SeveralKeysAreSeveralRegions) {
    In([] {
        ASSERT_EQ(OAL_CreatMemResource(1, 4096), 0);
        ASSERT_EQ(OAL_CreatMemResource(2, 100), 0);
        auto *one = static_cast<char *>(OAL_GetMemResourceAddr(1));
        auto *two = static_cast<char *>(OAL_GetMemResourceAddr(2));
        ASSERT_NE(one, nullptr);
        ASSERT_NE(two, nullptr);
        one[0] = 'x';
        EXPECT_EQ(two[0], 0);
        EXPECT_EQ(OAL_GetMemResourceAddr(1), one);
        EXPECT_EQ(OAL_GetMemResourceAddr(2), two);
        EXPECT_EQ(OAL_GetMemResourceAddr(3), nullptr);
        EXPECT_LT(OAL_CreatMemResource(4, 0), 0);
        EXPECT_EQ(errno, EINVAL);
    });
}

TEST_F(Region, TwoRootsNeverMeet) {
    Create();
    const TempDir other;
    EXPECT_SUCCEEDS(InRoot(other), [] {
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        EXPECT_LT(OAL_SemLockByKey(kAreaKey, 0), 0);
    });
    EXPECT_EQ(FilesIn(other.path()), Bytes{});
}

TEST_F(Region, ARelativeRootStaysWhereItWasAtFirst) {
    ProcessSetup how = setup();
    how.environment["MIDWARE_ROOT"] = "below/";
    In(how, [this] {
        ASSERT_EQ(chdir(root_.path().c_str()), 0);
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        ASSERT_EQ(chdir("/"), 0);
        EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr);
    });
    EXPECT_EQ(SizeOf(Place("/below/dev/shm/midware-4099")), off_t{kAreaSize});
}

TEST_F(Region, ARootThatIsTooLongIsAnError) {
    ProcessSetup how = setup();
    how.environment["MIDWARE_ROOT"] = std::string(5000, '/') + "x";
    const Outcome outcome = In(how, FailsWith(ENAMETOOLONG));
    EXPECT_NE(outcome.err.find("midware-locks cannot be placed: File name too long"), std::string::npos);
}

// --- refusals ------------------------------------------------------------------------------------

TEST_F(Region, TheWrongSizeIsRefused) {
    In([] { ASSERT_EQ(OAL_CreatMemResource(kAreaKey, 4096), 0); });
    const Outcome outcome = In([] {
        for (int i = 0; i < 3; ++i) {
            EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
            EXPECT_EQ(errno, EPERM);
        }
    });
    ExpectRefused(outcome, Area(), "it has 4096 bytes, not 708704");
    EXPECT_EQ(SizeOf(Area()), 4096);
}

TEST_F(Region, OneThatWasCutIsNotMapped) {
    Create();
    ASSERT_EQ(truncate(Area().c_str(), 4096), 0);
    const Outcome outcome = In([] {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
            EXPECT_EQ(errno, EPERM);
        }
    });
    ExpectRefused(outcome, Area(), "it has 4096 bytes, not 708704");
}

TEST_F(Region, AModeOpenToOthersIsRefused) {
    Create();
    chmod(Area().c_str(), 0664);
    ExpectRefused(In(FailsWith(EPERM)), Area(), "its mode 0664 is more than 0660");
    chmod(Locks().c_str(), 0666);
    ExpectRefused(In(FailsWith(EPERM)), Locks(), "its mode 0666 is more than 0660");
}

TEST_F(Region, ATighterModeIsAccepted) {
    Create();
    chmod(Area().c_str(), 0600);
    In([] { EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr); });
}

TEST_F(Region, AStrangersObjectIsRefused) {
    SKIP_UNLESS_ROOT();
    Create();
    ASSERT_EQ(chown(Area().c_str(), kNobody, kNobody), 0);
    ExpectRefused(In(FailsWith(EPERM)), Area(), "it belongs to user 65534");
    ASSERT_EQ(chown(Locks().c_str(), kNobody, kNobody), 0);
    ExpectRefused(In(FailsWith(EPERM)), Locks(), "it belongs to user 65534");
}

TEST_F(Region, OtherThingsInItsPlaceAreRefused) {
    Create();
    for (const std::string &place : {Area(), Locks()}) {
        const std::string saved = place + ".saved";
        ASSERT_EQ(rename(place.c_str(), saved.c_str()), 0);

        ASSERT_EQ(symlink(saved.c_str(), place.c_str()), 0);
        ExpectRefused(In(FailsWith(EPERM)), place, "it is a symbolic link");
        ASSERT_EQ(unlink(place.c_str()), 0);

        ASSERT_EQ(mkfifo(place.c_str(), 0600), 0);
        ExpectRefused(In(FailsWith(EPERM)), place, "it is no regular file");
        ASSERT_EQ(unlink(place.c_str()), 0);

        ASSERT_EQ(mkdir(place.c_str(), 0700), 0);
        ExpectRefused(In(FailsWith(EISDIR)), place, "Is a directory");
        ASSERT_EQ(rmdir(place.c_str()), 0);

        ASSERT_EQ(rename(saved.c_str(), place.c_str()), 0);
    }
    In([] { EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr); });
}

TEST_F(Region, ALinkIntoNowhereIsNotFollowed) {
    ASSERT_EQ(mkdir(Place("/dev").c_str(), 0755), 0);
    ASSERT_EQ(mkdir(Place("/dev/shm").c_str(), 0755), 0);
    const std::string target = Place("/target");
    ASSERT_EQ(symlink(target.c_str(), Area().c_str()), 0);
    In(FailsWith(EPERM));
    EXPECT_EQ(SizeOf(target), -1);
}

TEST_F(Region, ADirectoryWhereAnybodyCanExchangeFilesIsRefused) {
    Create();
    chmod(Place("/dev/shm").c_str(), 0777);
    ExpectRefused(In(FailsWith(EPERM)), Place("/dev/shm"), "anybody could exchange the files in it");
    chmod(Place("/dev/shm").c_str(), 01777);
    In([] { EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr); });
}

TEST_F(Region, AnotherUserCanDoNothing) {
    SKIP_UNLESS_ROOT();
    OpenToOthers();
    Create();
    const Outcome outcome = In([this] {
        ASSERT_TRUE(BecomeNobody());
        FailsWith(EACCES)();
        EXPECT_LT(OAL_SemLockByKey(kAreaKey, 0), 0);
        EXPECT_EQ(errno, EACCES);
        OalSemStatus status;
        EXPECT_LT(OAL_GetSemStatus(kAreaKey, &status), 0);
        EXPECT_NE(unlink(Area().c_str()), 0);
        EXPECT_NE(unlink(Locks().c_str()), 0);
        EXPECT_LT(open(Area().c_str(), O_RDONLY), 0);
    });
    ExpectRefused(outcome, Locks(), "Permission denied");
}

TEST_F(Region, AMemberOfTheGroupCanUseWhatRootCreated) {
    SKIP_UNLESS_ROOT();
    OpenToOthers();
    static constexpr gid_t kGroup = 54321;
    In([] {
        ASSERT_EQ(setegid(kGroup), 0);
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
    });
    In([] {
        ASSERT_EQ(setgroups(1, &kGroup), 0);
        ASSERT_EQ(setresuid(kNobody, kNobody, kNobody), 0);
        EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        EXPECT_EQ(OAL_SemLockByKey(kAreaKey, 500), 0);
        EXPECT_EQ(OAL_SemUnLockByKey(kAreaKey, 500), 0);
    });
}

// --- faults --------------------------------------------------------------------------------------

TEST_F(Region, AReadOnlyFileSystemIsAnError) {
    SKIP_UNLESS_ROOT();
    const Shared<std::atomic<bool>> mounted;
    const Outcome outcome = In([&] {
        if (!MountSmall(root_.path(), "ro,size=1m")) return;
        *mounted = true;
        EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
    });
    if (!*mounted) GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_NE(outcome.err.find(Locks() + " cannot be created: "), std::string::npos) << outcome.err;
}

TEST_F(Region, AFullFileSystemIsAnErrorAndLeavesNothing) {
    SKIP_UNLESS_ROOT();
    const Shared<std::atomic<bool>> mounted;
    const Outcome outcome = In([&] {
        if (!MountSmall(root_.path(), "size=512k")) return;
        *mounted = true;
        EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        EXPECT_EQ(FilesIn(Place("/dev/shm")), Bytes{"midware-locks"});
    });
    if (!*mounted) GTEST_SKIP() << "mounting is not allowed here";
    EXPECT_EQ(outcome.err, Area() + " cannot be created: No space left on device\n");
}

TEST_F(Region, AFileSizeLimitIsAnErrorAndLeavesNothing) {
    const Outcome outcome = In([] {
        LimitFileSize(256 * 1024);
        EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
    });
    EXPECT_EQ(outcome.err, Area() + " cannot be created: File too large\n");
    EXPECT_EQ(FilesIn(Place("/dev/shm")), Bytes{"midware-locks"});
}

TEST_F(Region, WithoutDescriptorsItFailsAndWorksLater) {
    Create();
    In([] {
        LimitDescriptors(true);
        EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        EXPECT_EQ(errno, EMFILE);
        LimitDescriptors(false);
        EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr);
    });
}

TEST_F(Region, NoDescriptorStaysOpen) {
    In([] {
        LimitDescriptors(true);
        LimitDescriptors(false);
        ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        ASSERT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        OAL_Log2File("/data/log/x.log", 1, "line\n");
        IniCloseFile(HOV_IniLoadFile("/conf/x.ini"));
        IDBG_LINUXAPP_DbgOut(130, "line\n");
        const int next = open("/dev/null", O_RDONLY);
        EXPECT_EQ(next, 3);
    });
}

}  // namespace
