// Several users share one area, as the units of packaging/systemd have it: root creates it with the group of
// the others.
#include <grp.h>
#include <sys/stat.h>
#include <unistd.h>

#include <sstream>

#include "midware.h"
#include "tools_test.h"

namespace {

// Nobody's on any machine: names are not needed.
constexpr gid_t kGroup = 61234;
constexpr uid_t kUser = 61235;
constexpr uid_t kOther = 61236;

bool Become(uid_t user, gid_t group) {
    return setgroups(0, nullptr) == 0 && setresgid(group, group, group) == 0 &&
           setresuid(user, user, user) == 0;
}

class Services : public ToolsTest {
  protected:
    void SetUp() override {
        if (geteuid() != 0) GTEST_SKIP() << "only root can become other users";
        // As the places would be without MIDWARE_ROOT.
        ASSERT_EQ(chmod(dir_.path().c_str(), 0755), 0);
        Make("/dev", 0755, 0);
        Make("/dev/shm", 01777, 0);
        const Outcome looks = RunProcess(setup_, [] {
            ASSERT_TRUE(Become(kUser, kGroup));
            EXPECT_EQ(access(MWCTL, X_OK) | access(MWCOLLECT, X_OK), 0);
        });
        if (!looks.Succeeded()) GTEST_SKIP() << "the programs lie where other users may not look";
    }

    void Make(const std::string &path, mode_t mode, gid_t group) {
        const std::string place = dir_.path() + path;
        mkdir(place.c_str(), 0700);
        EXPECT_EQ(chown(place.c_str(), 0, group), 0) << place;
        EXPECT_EQ(chmod(place.c_str(), mode), 0) << place;
    }
    // The directories that systemd-tmpfiles would make.
    void MakeDirectories() {
        int made = 0;
        for (const std::string &line : LinesOf(ReadFile(SOURCE "packaging/systemd/midware.tmpfiles"))) {
            std::istringstream words(line);
            std::string type, path, mode, user, group;
            words >> type >> path >> mode >> user >> group;
            if (type != "d") continue;
            ++made;
            EXPECT_EQ(user, "root");
            EXPECT_TRUE(group == "root" || group == "midware") << group;
            Make(path, static_cast<mode_t>(std::stoul(mode, nullptr, 8)), group == "midware" ? kGroup : 0);
        }
        EXPECT_EQ(made, 4);
    }

    Outcome As(uid_t user, gid_t group, const std::vector<std::string> &command) {
        return RunProcess(setup_, [&] {
            ASSERT_TRUE(Become(user, group));
            Execute(command);
        });
    }
};

TEST_F(Services, RootCreatesTheAreaForTheGroup) {
    MakeDirectories();
    EXPECT_TRUE(As(0, kGroup, {MIDWARE_INIT}).Succeeded());

    // The collector and two readers, users of their own.
    const Outcome collected = As(kUser, kGroup, {MWCOLLECT, "--simulate", "--verbose"});
    EXPECT_TRUE(collected.Succeeded()) << collected;
    EXPECT_NE(collected.out.find("refused: 0\n"), std::string::npos) << collected;
    for (const uid_t user : {kUser, kOther}) {
        const Outcome shown = As(user, kGroup, {MWCTL, "show", "cpu.assets"});
        EXPECT_TRUE(shown.Succeeded()) << shown;
        EXPECT_NE(shown.out.find("Example Processor"), std::string::npos) << shown;
        const Outcome checked = As(user, kGroup, {MWCTL, "check"});
        EXPECT_TRUE(checked.Succeeded()) << checked;
    }
    EXPECT_TRUE(As(kUser, kGroup, {MIDWARE_INIT, "--check"}).Succeeded());
    // Root itself, whatever its group.
    EXPECT_TRUE(As(0, 0, {MWCTL, "show", "cpu"}).Succeeded());
}

TEST_F(Services, AllOfTheGroupWriteSettingsAndJournals) {
    MakeDirectories();
    ASSERT_TRUE(As(0, kGroup, {MIDWARE_INIT}).Succeeded());
    const auto set = [&](uid_t user, gid_t group, const std::string &percent, const std::string &slot_number) {
        const Outcome usage = As(user, group, {MWCTL, "set", "threshold", "cpu", percent});
        EXPECT_TRUE(usage.Succeeded()) << "user " << user << ": " << usage;
        const Outcome slot = As(user, group, {MWCTL, "disk-slot", "set", "00:17.0", "1", "--slot", slot_number});
        EXPECT_TRUE(slot.Succeeded()) << "user " << user << ": " << slot;
    };
    set(0, 0, "61", "1");  // without the group, which the directories give
    set(kUser, kGroup, "62", "2");
    set(kOther, kGroup, "63", "3");
    set(0, kGroup, "64", "4");
    set(kUser, kGroup, "65", "5");
    EXPECT_NE(ReadFile(dir_ / "conf/ext/hostusagecfg.ini").find("65"), std::string::npos);
    EXPECT_NE(ReadFile(dir_ / "data/log/customdiskslot.log"), "");
}

TEST_F(Services, StrangersAreKeptOut) {
    MakeDirectories();
    ASSERT_TRUE(As(0, kGroup, {MIDWARE_INIT}).Succeeded());
    const Outcome outcome = As(kOther, kOther, {MWCTL, "show", "cpu"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("/dev/shm/midware-locks refused: Permission denied"), std::string::npos)
        << outcome;
}

TEST_F(Services, WithoutTheGroupNobodyButRootGetsIn) {
    ASSERT_TRUE(As(0, 0, {MIDWARE_INIT}).Succeeded());
    EXPECT_EQ(As(kUser, kGroup, {MWCOLLECT, "--simulate"}).code, 1);
    EXPECT_TRUE(As(0, 0, {MWCOLLECT, "--simulate", "--only", "cpu"}).Succeeded());
}

TEST_F(Services, RootRefusesAnAreaThatAnotherUserHasMade) {
    ASSERT_TRUE(As(kUser, kGroup, {MIDWARE_INIT}).Succeeded());
    const Outcome outcome = As(0, kGroup, {MIDWARE_INIT});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_NE(outcome.err.find("it belongs to user 61235"), std::string::npos) << outcome;
}

}  // namespace
