// Every system call of the platform layer that can fail fails once: the first, the second, and so on. This
// program defines those functions itself, before the C library's.
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/mman.h>

#include <cstdarg>

#include "platform_test.h"

namespace {

struct Fault {
    int countdown = 0;  // the call that fails; 0 when none does
    int error = 0;
    bool happened = false;
    const char *where = "";
    bool renamed = false;  // a file was put in another's place meanwhile
};

Fault g_fault;
bool g_late_tick = false;  // the clock that files are stamped with has not moved for long

bool Fails(const char *where) {
    if (g_fault.countdown == 0 || --g_fault.countdown > 0) return false;
    g_fault.happened = true;
    g_fault.where = where;
    errno = g_fault.error;
    return true;
}

template <class Function>
Function *Real(Function *, const char *name) {
    return reinterpret_cast<Function *>(dlsym(RTLD_NEXT, name));
}

}  // namespace

#define REAL(function, symbol) static auto *const real = Real(&function, symbol)

extern "C" {

int open(const char *path, int flags, ...) {
    REAL(open, "open64");
    va_list args;
    va_start(args, flags);
    const mode_t mode = va_arg(args, mode_t);
    va_end(args);
    return Fails("open") ? -1 : real(path, flags, mode);
}

void *mmap(void *at, size_t size, int protection, int flags, int fd, off_t offset) noexcept {
    REAL(mmap, "mmap64");
    return fd >= 0 && Fails("mmap") ? MAP_FAILED : real(at, size, protection, flags, fd, offset);
}

int ftruncate(int fd, off_t size) noexcept {
    REAL(ftruncate, "ftruncate64");
    return Fails("ftruncate") ? -1 : real(fd, size);
}

int posix_fallocate(int fd, off_t offset, off_t size) {
    REAL(posix_fallocate, "posix_fallocate64");
    return Fails("posix_fallocate") ? errno : real(fd, offset, size);
}

int fstat(int fd, struct stat *status) noexcept {
    REAL(fstat, "fstat64");
    return Fails("fstat") ? -1 : real(fd, status);
}

int clock_gettime(clockid_t clock, timespec *now) noexcept {
    REAL(clock_gettime, "clock_gettime");
    const int result = real(clock, now);
    if (g_late_tick && clock == CLOCK_REALTIME_COARSE) now->tv_sec -= 60;
    return result;
}

ssize_t pread(int fd, void *bytes, size_t size, off_t offset) {
    REAL(pread, "pread64");
    return Fails("pread") ? -1 : real(fd, bytes, size, offset);
}

ssize_t read(int fd, void *bytes, size_t size) {
    REAL(read, "read");
    return Fails("read") ? -1 : real(fd, bytes, size);
}

// Messages are not what is tested here.
ssize_t write(int fd, const void *bytes, size_t size) {
    REAL(write, "write");
    return fd != STDERR_FILENO && Fails("write") ? -1 : real(fd, bytes, size);
}

int fsync(int fd) {
    REAL(fsync, "fsync");
    return Fails("fsync") ? -1 : real(fd);
}

int rename(const char *from, const char *to) noexcept {
    REAL(rename, "rename");
    if (Fails("rename")) return -1;
    const int result = real(from, to);
    g_fault.renamed = g_fault.renamed || result == 0;
    return result;
}

int link(const char *from, const char *to) noexcept {
    REAL(link, "link");
    return Fails("link") ? -1 : real(from, to);
}

int mkdir(const char *path, mode_t mode) noexcept {
    REAL(mkdir, "mkdir");
    return Fails("mkdir") ? -1 : real(path, mode);
}

int fchmod(int fd, mode_t mode) noexcept {
    REAL(fchmod, "fchmod");
    return Fails("fchmod") ? -1 : real(fd, mode);
}

int fchown(int fd, uid_t user, gid_t group) noexcept {
    REAL(fchown, "fchown");
    return Fails("fchown") ? -1 : real(fd, user, group);
}

int flock(int fd, int operation) noexcept {
    REAL(flock, "flock");
    return Fails("flock") ? -1 : real(fd, operation);
}

}  // extern "C"

int RunRole(const std::string &) { return 2; }

namespace {

constexpr char kFile[] = "/conf/ext/settings.ini";
constexpr char kLog[] = "/data/log/x.log";
using Names = std::vector<std::string>;

class Faults : public ::testing::TestWithParam<int> {
  protected:
    // Runs `body`, each time in a fresh process and directory that `prepare` prepared, with another call
    // failing, until none is left to fail. `body` arms the fault with Arm and disarms it.
    void ForEveryCall(const std::function<void(const TempDir &)> &prepare,
                      const std::function<void(const TempDir &)> &body) {
        bool happened = true;
        for (int n = 1; happened; ++n) {
            ASSERT_LT(n, 500);
            const TempDir root;
            if (prepare) {
                EXPECT_SUCCEEDS(InRoot(root), [&] { prepare(root); });
            }
            const Shared<Fault> seen;
            const Outcome outcome = RunProcess(InRoot(root), [&] {
                planned_ = n;
                body(root);
                *seen = g_fault;
            });
            happened = seen->happened;
            EXPECT_TRUE(outcome.Succeeded()) << "call " << n << outcome;
            ++runs_;
        }
        EXPECT_GT(runs_, 3);
        RecordProperty("runs", runs_);
    }

    void Arm() const {
        g_fault.error = GetParam();
        g_fault.countdown = planned_;
    }
    static void Disarm() { g_fault.countdown = 0; }

    // The call that failed, for messages.
    static std::string Where() { return g_fault.happened ? g_fault.where : "no call"; }

    int planned_ = 0;
    int runs_ = 0;
};

TEST_P(Faults, ACreationSucceedsOrLeavesNothingAndCanBeRepeated) {
    ForEveryCall(nullptr, [this](const TempDir &root) {
        Arm();
        const int32_t created = OAL_CreatMemResource(kAreaKey, kAreaSize);
        Disarm();
        if (!g_fault.happened) {
            EXPECT_EQ(created, 0);
        }
        for (const auto &name : FilesIn(root / "dev/shm"))
            EXPECT_NE(name[0], '.') << name << " after " << Where();
        EXPECT_EQ(OAL_GetMemResourceAddr(kAreaKey) != nullptr, created == 0) << Where();
        EXPECT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0) << Where();
        EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr) << Where();
        EXPECT_EQ(OAL_SemLockByKey(kAreaKey, 500), 0) << Where();
        EXPECT_EQ(FilesIn(root / "dev/shm"), (Names{"midware-4099", "midware-locks"})) << Where();
    });
}

TEST_P(Faults, AnAttachmentSucceedsOrCanBeRepeated) {
    ForEveryCall([](const TempDir &) { ASSERT_EQ(OAL_CreatMemResource(kAreaKey, kAreaSize), 0); },
                 [this](const TempDir &) {
                     Arm();
                     const void *area = OAL_GetMemResourceAddr(kAreaKey);
                     Disarm();
                     EXPECT_EQ(area == nullptr, g_fault.happened) << Where();
                     EXPECT_NE(OAL_GetMemResourceAddr(kAreaKey), nullptr) << Where();
                     EXPECT_EQ(OAL_SemLockByKey(kAreaKey, 500), 0) << Where();
                 });
}

TEST_P(Faults, ALoadAnswersTheWholeFileOrNothing) {
    ForEveryCall([](const TempDir &root) { WriteFile(root / "conf/ext/settings.ini", "[s]\nk = old\n"); },
                 [this](const TempDir &) {
                     Arm();
                     void *ini = IniLoadFile(kFile);
                     Disarm();
                     if (!g_fault.happened) {
                         EXPECT_NE(ini, nullptr);
                     }
                     if (ini != nullptr) {
                         EXPECT_STREQ(IniGetStr(ini, "s", "k", "none"), "old") << Where();
                     }
                 });
}

TEST_P(Faults, AMissingFileIsCreatedOrThereIsNoHandle) {
    ForEveryCall(nullptr, [this](const TempDir &root) {
        Arm();
        void *ini = HOV_IniLoadFile(kFile);
        Disarm();
        if (!g_fault.happened) {
            EXPECT_NE(ini, nullptr);
        }
        if (ini != nullptr) {
            EXPECT_EQ(FilesIn(root / "conf/ext"), Names{"settings.ini"}) << Where();
        }
        ini = HOV_IniLoadFile(kFile);
        EXPECT_NE(ini, nullptr) << Where();
    });
}

TEST_P(Faults, ASaveLeavesTheOldOrTheNewFile) {
    ForEveryCall([](const TempDir &root) { WriteFile(root / "conf/ext/settings.ini", "[s]\nk = old\n"); },
                 [this](const TempDir &root) {
                     void *ini = IniLoadFile(kFile);
                     ASSERT_EQ(IniSetStr(ini, "s", "k", "new"), 0);
                     Arm();
                     const int32_t saved = IniSaveFile(ini, kFile);
                     Disarm();
                     if (!g_fault.happened) {
                         EXPECT_EQ(saved, 0);
                     }
                     if (saved == 0) {
                         EXPECT_TRUE(g_fault.renamed) << Where();
                     }
                     // Only a directory that could not be synced is an error after the new file is in its
                     // place.
                     if (saved != 0 && g_fault.renamed) {
                         EXPECT_TRUE(Where() == "open" || Where() == "fsync") << Where();
                     }
                     EXPECT_EQ(ReadFile(root / "conf/ext/settings.ini"),
                               g_fault.renamed ? "[s]\nk = new\n" : "[s]\nk = old\n")
                         << Where();
                     EXPECT_EQ(FilesIn(root / "conf/ext"), Names{"settings.ini"}) << Where();
                     EXPECT_EQ(IniSaveFile(ini, kFile), 0) << Where();
                 });
}

TEST_P(Faults, ALineIsInTheLogOrReportedLost) {
    ForEveryCall(nullptr, [this](const TempDir &root) {
        Arm();
        const int32_t logged = OAL_Log2File(kLog, 1, "first\n");
        Disarm();
        if (!g_fault.happened) {
            EXPECT_EQ(logged, 0);
        }
        EXPECT_EQ(LinesOf(ReadFile(root / "data/log/x.log")).size(), logged == 0 ? 1u : 0u) << Where();
        EXPECT_EQ(OAL_Log2File(kLog, 1, "second\n"), 0) << Where();
    });
}

TEST_P(Faults, ARotationThatFailsLosesNoOlderLine) {
    const std::string full(1 << 20, '\n');
    ForEveryCall([&](const TempDir &root) { WriteFile(root / "data/log/x.log", full); },
                 [&, this](const TempDir &root) {
                     Arm();
                     const int32_t logged = OAL_Log2File(kLog, 1, "first\n");
                     Disarm();
                     if (!g_fault.happened) {
                         EXPECT_EQ(logged, 0);
                     }
                     const std::string log = ReadFile(root / "data/log/x.log");
                     const std::string old = ReadFile(root / "data/log/x.log.1");
                     EXPECT_EQ(log == full, old.empty()) << Where();
                     EXPECT_EQ(old == full, log != full) << Where();
                     if (logged == 0) {
                         EXPECT_EQ(LinesOf(log).size(), 1u) << Where();
                     }
                     EXPECT_EQ(OAL_Log2File(kLog, 1, "second\n"), 0) << Where();
                 });
}

INSTANTIATE_TEST_SUITE_P(EveryCall, Faults, ::testing::Values(EIO, ENOSPC));

using LateTick = PlatformTest;

TEST_F(LateTick, AFileIsNotKeptWhileItsNextChangeCouldHaveTheSameTime) {
    static constexpr char kIni[] = "/conf/ext/settings.ini";
    WriteFile(Place(kIni), "[s]\nk = v\n");
    usleep(60000);
    const auto is_kept = [] {
        EXPECT_EQ(IniCloseFile(IniLoadFile(kIni)), 0);
        LimitDescriptors(true);  // what is kept needs no file to be opened
        void *ini = IniLoadFile(kIni);
        LimitDescriptors(false);
        if (ini != nullptr) IniCloseFile(ini);
        return ini != nullptr;
    };
    In([&] {
        g_late_tick = true;
        EXPECT_FALSE(is_kept());
        g_late_tick = false;
        EXPECT_TRUE(is_kept());
    });
}

}  // namespace
