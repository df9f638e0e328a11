// Standard output, help and wrong usage.
#include <unistd.h>

#include "tools_test.h"

namespace {

class Output : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }
};

TEST_F(Output, AReaderThatHasGoneAwayIsNoFailure) {
    const Outcome outcome = RunProcess(setup_, [] {
        int ends[2];
        ASSERT_EQ(pipe(ends), 0);
        close(ends[0]);
        dup2(ends[1], STDOUT_FILENO);
        close(ends[1]);
        Execute({MWCTL, "show", "--json"});
    });
    ExpectDone(outcome, "");
}

TEST_F(Output, AFullDeviceIsSaid) {
    const Outcome outcome = Shell("\"$MWCTL\" show >/dev/full");
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "mwctl: standard output cannot be written: No space left on device\n");
}

TEST_F(Output, AClosedOutputIsSaidAndNothingElseIsWrittenTo) {
    const Outcome outcome = Shell("exec \"$MWCTL\" show services >&-");
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "mwctl: standard output cannot be written: Bad file descriptor\n");
    EXPECT_EQ(Mwctl({"status"}).code, 0);
}

TEST_F(Output, HelpAndVersionGoToStandardOutput) {
    for (const std::vector<std::string> &arguments : {std::vector<std::string>{"--help"},
                                                      {"show", "--help"},
                                                      {"status", "-h"},
                                                      {"set", "--help"},
                                                      {"set", "syslog", "--help"},
                                                      {"--version"}}) {
        const Outcome outcome = Mwctl(arguments);
        EXPECT_EQ(outcome.code, 0) << outcome;
        EXPECT_EQ(outcome.err, "");
        EXPECT_TRUE(outcome.out.ends_with('\n'));
    }
    ExpectDone(Mwctl({"--version"}), "mwctl 1.0.0\n");
    ExpectDone(Init({"--version"}), "midware-init 1.0.0\n");
}

TEST_F(Output, WrongUsageIsOneLine) {
    ExpectRefused(Mwctl({}), 2, "mwctl: A subcommand is required (see --help)\n");
    ExpectRefused(Mwctl({"fly"}), 2, "mwctl: there is no command 'fly' (see --help)\n");
    ExpectRefused(Mwctl({"fly\x1b[31m"}), 2, "mwctl: there is no command 'fly\\x1b[31m' (see --help)\n");
    const Outcome outcome = Mwctl({"show", "moon"});
    EXPECT_EQ(outcome.code, 2) << outcome;
    EXPECT_TRUE(outcome.err.starts_with("mwctl: MODULE: there is no module 'moon'; there are ")) << outcome;
    EXPECT_EQ(LinesOf(outcome.err).size(), 1u);
}

}  // namespace
