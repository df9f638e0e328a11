#include <sys/statvfs.h>
#include <sys/wait.h>

#include <filesystem>

#include "platform_test.h"

// What this program does when it is started as `--role NAME`.
int RunRole(const std::string &role) {
    if (role == "sleep") Forever();
    if (role == "nothing") return 0;
    if (role == "look") {
        // Is this the system in which the test created a semaphore?
        OalSemStatus status;
        printf("%s", OAL_GetSemStatus(4711, &status) == 0 && status.exists != 0 ? "found" : "not found");
        IDBG_LINUXAPP_Runtime_DbgOut(135, "traced\n");
        return 0;
    }
    return 2;
}

namespace {

class Library : public PlatformTest {
  protected:
    static std::function<void()> Role(const std::string &program, const std::string &role) {
        return [program, role] { Execute({program, "--role", role}); };
    }
};

TEST_F(Library, LoadingItDoesNothing) {
    if (!DeathIsReported()) GTEST_SKIP() << "user-mode emulation cannot start another program";
    const Outcome outcome = In(Role(ThisProgram(), "nothing"));
    EXPECT_EQ(outcome.out + outcome.err, "");
    EXPECT_EQ(FilesIn(root_.path()).size(), 0u);
}

TEST_F(Library, ToldPathsLieBelowTheRoot) {
    In([this] {
        char path[PATH_MAX] = "";
        EXPECT_EQ(OAL_GetPath("/conf/ext/a.ini", path, sizeof path), 0);
        EXPECT_EQ(path, Place("/conf/ext/a.ini"));
        EXPECT_LT(OAL_GetPath("/conf", path, 5), 0);
        EXPECT_EQ(errno, ENAMETOOLONG);
        for (const char *refused : {"conf", "/a/../b"}) {
            EXPECT_LT(OAL_GetPath(refused, path, sizeof path), 0);
            EXPECT_EQ(errno, EINVAL);
        }
        EXPECT_LT(OAL_GetPath("/conf", nullptr, 5), 0);
    });
}

TEST_F(Library, ProgramsWithOtherRightsIgnoreTheEnvironment) {
    SKIP_UNLESS_ROOT();
    if (!DeathIsReported()) GTEST_SKIP() << "user-mode emulation cannot run a program with other rights";
    OpenToOthers();
    In([] { ASSERT_EQ(OAL_SemCreate(4711), 0); });
    // Another user may look into this root, so that nothing but the rule keeps the program from it.
    ASSERT_EQ(chown(Locks().c_str(), kNobody, kNobody), 0);
    ProcessSetup how = setup();
    how.environment["MIDWARE_DEBUG"] = "all";

    const TempDir programs;
    ASSERT_EQ(chmod(programs.path().c_str(), 0755), 0);
    const std::string program = programs / "look";
    ASSERT_TRUE(std::filesystem::copy_file(ThisProgram(), program));
    ASSERT_EQ(chmod(program.c_str(), 0755), 0);
    const auto look = [&] {
        return RunProcess(how, [&] {
            if (!BecomeNobody()) _exit(125);
            Execute({program, "--role", "look"});
        });
    };
    const Outcome plain = look();
    if (!plain.Succeeded()) GTEST_SKIP() << "another user cannot run this program here: " << plain;
    EXPECT_EQ(plain.out, "found");
    EXPECT_EQ(plain.err, "traced\n");

    struct statvfs file_system;
    ASSERT_EQ(statvfs(program.c_str(), &file_system), 0);
    if ((file_system.f_flag & ST_NOSUID) != 0) GTEST_SKIP() << "no other rights on this file system";
    constexpr uid_t kOther = 54321;
    const struct {
        uid_t user;
        gid_t group;
        mode_t mode;
    } rights[] = {{kOther, 0, 04755}, {0, kOther, 02755}};
    for (const auto &right : rights) {
        SCOPED_TRACE(testing::Message() << std::oct << right.mode);
        ASSERT_EQ(chown(program.c_str(), right.user, right.group), 0);
        ASSERT_EQ(chmod(program.c_str(), right.mode), 0);
        const Outcome privileged = look();
        EXPECT_TRUE(privileged.Succeeded()) << privileged;
        EXPECT_EQ(privileged.out, "not found");
        EXPECT_EQ(privileged.err.find("traced"), std::string::npos);
    }
}

}  // namespace
