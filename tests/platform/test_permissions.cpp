// What other users of the machine can do to a system of root's: nothing. All objects lie where everybody may
// create files, as in the machine's own directory of shared memory.
#include <fcntl.h>

#include <cstdio>

#include "platform_test.h"

namespace {

constexpr uint32_t kKey = 12291;
constexpr char kIni[] = "/conf/ext/settings.ini";
constexpr char kLog[] = "/data/log/journal";

class Permissions : public PlatformTest {
  protected:
    // A directory as /dev/shm is.
    void OpenDirectory(const std::string &place) const { ASSERT_EQ(chmod(Place(place).c_str(), 01777), 0); }
    void CreateAll() const {
        OpenToOthers();
        In([] {
            ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
            ASSERT_EQ(OAL_SemCreate(kKey), 0);
            void *ini = HOV_IniLoadFile(kIni);
            ASSERT_EQ(IniSetStr(ini, "s", "k", "v"), 0);
            ASSERT_EQ(IniSaveFile(ini, kIni), 0);
            ASSERT_EQ(IniCloseFile(ini), 0);
            ASSERT_EQ(OAL_Log2File(kLog, 1, "line\n"), 0);
        });
        for (const char *place : {"/dev/shm", "/conf/ext", "/data/log"}) OpenDirectory(place);
    }
    std::vector<std::string> Objects() const { return {Area(), Locks(), Place(kIni), Place(kLog)}; }
    void AsStranger(const std::function<void()> &body) const {
        In([&] {
            ASSERT_TRUE(BecomeNobody());
            body();
        });
    }
};

template <class Result>
void ExpectDenied(Result result, const std::string &what) {
    const int error = errno;
    EXPECT_LT(result, 0) << what;
    EXPECT_TRUE(error == EACCES || error == EPERM) << what << ": " << strerror(error);
}

TEST_F(Permissions, AStrangerCannotOpenRemoveOrReplaceAnything) {
    SKIP_UNLESS_ROOT();
    CreateAll();
    std::vector<std::string> before;
    for (const std::string &object : Objects()) before.push_back(ReadFile(object));
    AsStranger([this] {
        for (const std::string &object : Objects()) {
            for (const int flags : {O_RDONLY, O_WRONLY, O_RDWR, O_WRONLY | O_TRUNC}) {
                ExpectDenied(open(object.c_str(), flags), object + " opened");
            }
            ExpectDenied(truncate(object.c_str(), 0), object + " cut");
            ExpectDenied(chmod(object.c_str(), 0666), object + " opened to all");
            ExpectDenied(chown(object.c_str(), kNobody, kNobody), object + " taken over");
            ExpectDenied(rename(object.c_str(), (object + ".mine").c_str()), object + " moved away");
            ExpectDenied(unlink(object.c_str()), object + " removed");
            const std::string mine = object + ".planted";
            WriteFile(mine, "x");
            ExpectDenied(rename(mine.c_str(), object.c_str()), object + " replaced");
        }
    });
    for (size_t i = 0; i < before.size(); ++i) EXPECT_EQ(ReadFile(Objects()[i]), before[i]) << Objects()[i];
}

TEST_F(Permissions, AStrangersCallsAllFail) {
    SKIP_UNLESS_ROOT();
    CreateAll();
    AsStranger([] {
        ExpectDenied(OAL_CreatMemResource(kAreaKey, kAreaSize), "the region");
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
        ExpectDenied(OAL_SemCreate(kKey), "creating a semaphore");
        ExpectDenied(OAL_SemLockByKey(kKey, 0), "taking a semaphore");
        ExpectDenied(OAL_SemUnLockByKey(kKey, 0), "releasing a semaphore");
        OalSemStatus status;
        ExpectDenied(OAL_GetSemStatus(kKey, &status), "looking at a semaphore");
        ExpectDenied(hov_CustomPchDiskSemLock(), "taking the lock of the slot file");
        ExpectDenied(hov_CustomPchDiskSemUnLock(), "releasing the lock of the slot file");
        EXPECT_EQ(IniLoadFile(kIni), nullptr);
        EXPECT_EQ(HOV_IniLoadFile(kIni), nullptr);
        ExpectDenied(OAL_Log2File(kLog, 1, "a stranger's\n"), "a line of the log");
        void *own = IniLoadFile("/conf/ext/missing.ini");
        ASSERT_NE(own, nullptr);
        ExpectDenied(IniSaveFile(own, kIni), "saving over a file");
    });
    In([] {
        EXPECT_EQ(OAL_SemLockByKey(kKey, 0), 0) << "a stranger took it";
        EXPECT_EQ(OAL_SemUnLockByKey(kKey, 0), 0);
    });
    EXPECT_EQ(LinesOf(ReadFile(Place(kLog))).size(), 1u);
}

TEST_F(Permissions, WhatAStrangerPlantsInAnObjectsPlaceIsRefusedAndNotFollowed) {
    SKIP_UNLESS_ROOT();
    OpenToOthers();
    const std::string victim = Place("/victim");
    const std::string contents(kAreaSize, 'v');
    WriteFile(victim, contents);
    const struct {
        const char *what;
        std::function<void(const std::string &)> plant;
        std::string reason;
    } plants[] = {
        {"a link to root's file",
         [&](const std::string &at) { ASSERT_EQ(symlink(victim.c_str(), at.c_str()), 0); },
         "it is a symbolic link"},
        {"a link to nothing", [](const std::string &at) { ASSERT_EQ(symlink("nothing", at.c_str()), 0); },
         "it is a symbolic link"},
        {"a file that looks right",
         [&](const std::string &at) {
             WriteFile(at, contents);
             ASSERT_EQ(chmod(at.c_str(), 0660), 0);
         },
         "it belongs to user 65534"},
        {"a pipe", [](const std::string &at) { ASSERT_EQ(mkfifo(at.c_str(), 0660), 0); },
         "it is no regular file"},
    };
    WriteFile(Place("/dev/shm/any"), "");
    OpenDirectory("/dev/shm");
    for (const std::string &place : {Area(), Locks()}) {
        for (const auto &one : plants) {
            SCOPED_TRACE(place + ": " + one.what);
            unlink(Locks().c_str());
            AsStranger([&] { one.plant(place); });
            const Outcome outcome = In([] {
                EXPECT_LT(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
                EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey), nullptr);
            });
            EXPECT_EQ(outcome.err, place + " refused: " + one.reason + "\n");
            EXPECT_EQ(ReadFile(victim), contents);
            EXPECT_EQ(SizeOf(Place("/dev/shm/nothing")), -1);
            ASSERT_EQ(unlink(place.c_str()), 0);
        }
    }
}

TEST_F(Permissions, LinksInThePlacesOfUnfinishedFilesAreNotFollowed) {
    SKIP_UNLESS_ROOT();
    OpenToOthers();
    const std::string victim = Place("/victim");
    WriteFile(victim, "victim");
    WriteFile(Place("/dev/shm/any"), "");
    WriteFile(Place("/conf/ext/any"), "");
    OpenDirectory("/dev/shm");
    OpenDirectory("/conf/ext");
    // For the names that the calling process is going to use.
    const auto plant = [&](const std::vector<const char *> &names, int count) {
        const std::string id = std::to_string(getpid());
        EXPECT_SUCCEEDS({}, [&] {
            ASSERT_TRUE(BecomeNobody());
            for (const char *name : names) {
                for (int number = 0; number < count; ++number) {
                    const std::string at = Place(name) + ".new-" + id + "-" + std::to_string(number);
                    ASSERT_EQ(symlink(victim.c_str(), at.c_str()), 0);
                }
            }
        });
    };
    In([&] {
        plant({"/dev/shm/.midware-4099", "/dev/shm/.midware-locks", "/conf/ext/.settings.ini"}, 4);
        EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
        void *ini = IniLoadFile(kIni);
        EXPECT_EQ(IniSaveFile(ini, kIni), 0);
    });
    // Where all of them are taken, there is an error.
    In([&] {
        plant({"/conf/ext/.settings.ini"}, 32);
        void *ini = IniLoadFile(kIni);
        EXPECT_LT(IniSaveFile(ini, kIni), 0);
        EXPECT_EQ(errno, EEXIST);
    });
    EXPECT_EQ(ReadFile(victim), "victim");
    EXPECT_EQ(SizeOf(Area()), off_t{kAreaSize});
    for (const std::string &object : {Area(), Locks(), Place(kIni)}) {
        struct stat status;
        ASSERT_EQ(lstat(object.c_str(), &status), 0);
        EXPECT_TRUE(S_ISREG(status.st_mode)) << object;
    }
}

TEST_F(Permissions, TheUmaskOfWhoeverCreatesThemMattersToNone) {
    for (const mode_t mask : {0u, 022u, 077u, 0777u}) {
        SCOPED_TRACE(mask);
        const TempDir root;
        EXPECT_SUCCEEDS(InRoot(root), [mask] {
            umask(mask);
            EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0);
            EXPECT_EQ(OAL_SemCreate(kKey), 0);
            EXPECT_EQ(OAL_Log2File(kLog, 1, "line\n"), 0);
            void *ini = HOV_IniLoadFile(kIni);
            EXPECT_EQ(IniSaveFile(ini, kIni), 0);
        });
        for (const char *name : {"/dev/shm/midware-4099", "/dev/shm/midware-locks", kLog, kIni}) {
            EXPECT_EQ(ModeOf(root.path() + name), 0660u) << name;
        }
        for (const char *name : {"/dev", "/dev/shm", "/data/log", "/conf/ext"}) {
            EXPECT_EQ(ModeOf(root.path() + name), 0755u) << name;
        }
    }
}

}  // namespace
