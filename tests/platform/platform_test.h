// What the tests of the platform layer share.
#ifndef TESTS_PLATFORM_TEST_H
#define TESTS_PLATFORM_TEST_H

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "dbgout.h"
#include "hov_slibc.h"
#include "iniparser.h"
#include "iniparser_cache.h"
#include "oal.h"
#include "oal_status.h"
#include "process.h"

inline constexpr uint32_t kAreaKey = 4099;
inline constexpr uint32_t kAreaSize = 708704;
inline constexpr uint32_t kFirstKey = 12290;
inline constexpr uint32_t kLastKey = 12304;

class PlatformTest : public ::testing::Test {
  protected:
    // The place of an object or file of this test's system.
    std::string Place(const std::string &path) const { return root_ / path.substr(1); }
    std::string Locks() const { return Place("/dev/shm/midware-locks"); }
    std::string Area() const { return Place("/dev/shm/midware-4099"); }

    ProcessSetup setup() const { return InRoot(root_); }

    // Runs `body` in a process of this test's system; its expectations count.
    Outcome In(const std::function<void()> &body) const { return In(setup(), body); }
    Outcome In(const ProcessSetup &how, const std::function<void()> &body) const {
        Outcome outcome = RunProcess(how, body);
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        return outcome;
    }

    // Lets another user reach the directory of this test.
    void OpenToOthers() const { chmod(root_.path().c_str(), 0755); }

    mode_t ModeOf(const std::string &file) const {
        struct stat status;
        return lstat(file.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
    }
    off_t SizeOf(const std::string &file) const {
        struct stat status;
        return lstat(file.c_str(), &status) == 0 ? status.st_size : -1;
    }

    TempDir root_;
};

// Mounts an empty memory file system at `directory`, for the calling process and its children only.
bool MountSmall(const std::string &directory, const std::string &options);

// Makes what MountSmall mounted read-only.
bool RemountReadOnly(const std::string &directory);

// Lets the calling process write no file beyond `size` bytes.
void LimitFileSize(uint64_t size);

// Lets it open no more descriptors, or lets it again.
void LimitDescriptors(bool limited);

#define SKIP_UNLESS_ROOT() \
    if (geteuid() != 0) GTEST_SKIP() << "needs root"
#define SKIP_WITHOUT_DEATH_NOTICE()                                                                      \
    if (!DeathIsReported()) GTEST_SKIP() << "user-mode emulation does not report the death of a lock's " \
                                            "holder"

#endif
