// midware-init.
#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

constexpr char kCreated[] = "midware-init: the shared area is created: 708704 bytes, 15 semaphores\n";
constexpr char kInUse[] =
    "midware-init: the shared area is in use: left as it is (--fresh starts afresh and discards every "
    "record)\n";
constexpr char kNotThere[] = "midware-init: the shared area does not exist: run midware-init\n";

class InitProgram : public ToolsTest {
  protected:
    std::string Interval() { return Jq("show services", ".services.ntp.dwNtpInterval"); }
};

TEST_F(InitProgram, CreatesTheAreaForOtherProcesses) {
    ExpectDone(Init(), kCreated);
    Store([] { EXPECT_EQ(MW_SetNtpInterval(64), 0); });
    EXPECT_EQ(Interval(), "64\n");
}

TEST_F(InitProgram, LeavesAnAreaInUseAsItIs) {
    CreateArea();
    Store([] { EXPECT_EQ(MW_SetNtpInterval(64), 0); });
    ExpectDone(Init(), kInUse);
    EXPECT_EQ(Interval(), "64\n");
}

TEST_F(InitProgram, FreshDiscardsEveryRecord) {
    CreateArea();
    Store([] { EXPECT_EQ(MW_SetNtpInterval(64), 0); });
    ExpectDone(Init({"--fresh"}),
               "midware-init: the shared area was started afresh: every record was discarded\n");
    EXPECT_EQ(Interval(), "0\n");
}

TEST_F(InitProgram, FreshCreatesAnAreaThatDidNotExist) { ExpectDone(Init({"--fresh"}), kCreated); }

TEST_F(InitProgram, CompletesAnAreaWithoutSemaphores) {
    Store([] { EXPECT_EQ(OAL_CreatMemResource(MW_AREA_KEY, MW_AREA_SIZE), 0); });
    ExpectRefused(Init({"--check"}), 1,
                  "midware-init: 15 of the module semaphores are missing: run midware-init\n");
    ExpectDone(Init(), kCreated);
    ExpectDone(Init({"--check"}), "midware-init: the shared area is in use\n");
}

TEST_F(InitProgram, CheckChangesNothing) {
    ExpectRefused(Init({"--check"}), 1, kNotThere);
    ExpectRefused(Init({"--check"}), 1, kNotThere);
}

TEST_F(InitProgram, FailsWhereNothingCanBeCreated) {
    WriteFile(dir_ / "dev", "a file where a directory has to be");
    const Outcome outcome = Init();
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.out, "");
    const std::vector<std::string> lines = LinesOf(outcome.err);
    EXPECT_EQ(lines.back(), "midware-init: the shared area could not be created: Not a directory") << outcome;
}

TEST_F(InitProgram, RefusesContradictingAndUnknownOptions) {
    ExpectRefused(Init({"--check", "--fresh"}), 2, "midware-init: --fresh excludes --check (see --help)\n");
    ExpectRefused(Init({"now"}), 2,
                  "midware-init: The following argument was not expected: now (see --help)\n");
}

}  // namespace
