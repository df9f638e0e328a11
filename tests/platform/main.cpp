#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/mount.h>
#include <sys/resource.h>

#include <cstdio>

#include "platform_test.h"

bool MountSmall(const std::string &directory, const std::string &options) {
    return unshare(CLONE_NEWNS) == 0 && mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           mount("none", directory.c_str(), "tmpfs", 0, options.c_str()) == 0;
}

bool RemountReadOnly(const std::string &directory) {
    return mount(nullptr, directory.c_str(), nullptr, MS_REMOUNT | MS_RDONLY, nullptr) == 0;
}

void LimitFileSize(uint64_t size) {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit = {static_cast<rlim_t>(size), static_cast<rlim_t>(size)};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

void LimitDescriptors(bool limited) {
    rlimit limit;
    ASSERT_EQ(getrlimit(RLIMIT_NOFILE, &limit), 0);
    limit.rlim_cur = limited ? 3 : limit.rlim_max;
    ASSERT_EQ(setrlimit(RLIMIT_NOFILE, &limit), 0);
    for (int fd = 3; limited && fd < 64; ++fd) close(fd);
}

int RunRole(const std::string &role);

int main(int argc, char **argv) {
    // Parts that need a program started from nothing.
    if (argc == 3 && strcmp(argv[1], "--role") == 0) {
        const int result = RunRole(argv[2]);
        fflush(nullptr);
        _exit(result);
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
