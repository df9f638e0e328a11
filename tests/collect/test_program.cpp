// The program itself, as a process of its own on the real platform layer.
#include <signal.h>

#include "area.h"
#include "program.h"

namespace collect {
namespace {

bool UsageIsThere() {
    uint32_t enabled = 0;
    return MW_IsHostMemUsgInfoEnabled(&enabled) == 0 && enabled == MW_VALID_FLAG;
}

using ProgramOnBlankArea = OnBlankArea;

TEST_F(ProgramOnBlankArea, OnceReadsTheLiveMachineIntoTheArea) {
    const Ended ended = RunProgram({"--once"});
    EXPECT_EQ(ended.code, 0) << ended.err;
    EXPECT_EQ(ended.out, "");
    uint32_t word = 0;
    ASSERT_EQ(MW_GetCpuCount(&word), 0);
    EXPECT_GE(word, 1u);
    MemAssetInfo assets[MW_MEM_DIMM_MAX];
    ASSERT_EQ(MW_GetMemAssetInfo(assets, &word), 0);
    ASSERT_GE(word, 1u);
    EXPECT_GT(assets[0].dwSizeMB, 0u);
    EXPECT_TRUE(UsageIsThere());
    ASSERT_EQ(MW_GetCpuUsgInfoFromHostMon(&word), 0);
    EXPECT_LE(word, 100u);
}

TEST_F(ProgramOnBlankArea, OnceIsTheDefaultAndVerboseCountsWhatWasWritten) {
    Tree tree;
    tree.File("/proc/meminfo", "MemTotal: 1000 kB\nMemAvailable: 400 kB\n")
        .File("/proc/stat", "cpu 25 0 0 75\n");
    const Ended ended = RunProgram({"--root", tree.top(), "--verbose", "--only", "usage,ntp"});
    EXPECT_EQ(ended.code, 0);
    EXPECT_EQ(
        ended.out,
        "usage: memory usage: 1\nusage: processor usage: 1\nntp: no NTP server is configured on this host\n"
        "written: 2, refused: 0\n");
    EXPECT_EQ(ended.err, "");
}

TEST_F(ProgramOnBlankArea, OnlyTheNamedCollectorsRun) {
    EXPECT_EQ(RunProgram({"--only", "cpu"}).code, 0);
    uint32_t word = 0;
    ASSERT_EQ(MW_GetCpuCount(&word), 0);
    EXPECT_GE(word, 1u);
    ASSERT_EQ(MW_GetMemCount(&word), 0);
    EXPECT_EQ(word, 0u);
    EXPECT_FALSE(UsageIsThere());
}

TEST_F(ProgramOnBlankArea, BrokenFilesAreNamedOnStandardErrorAndTheRestIsWritten) {
    Tree tree;
    tree.File("/proc/meminfo", "MemTotal: 1000 kB\nMemAvailable: 400 kB\n").File("/proc/stat", "nonsense\n");
    const Ended ended = RunProgram({"--root", tree.top(), "--only", "usage"});
    EXPECT_EQ(ended.code, 0);
    EXPECT_EQ(ended.err, "mwcollect: " + tree.top() +
                             "/proc/stat: expected a first line of cpu and at least four counters, found "
                             "\"nonsense\"; skipped\n");
    EXPECT_TRUE(UsageIsThere());
}

TEST_F(ProgramOnBlankArea, AnEmptyMachineWritesNothingWhichIsAFailure) {
    Tree tree;
    const Ended ended = RunProgram({"--root", tree.top()});
    EXPECT_EQ(ended.code, 1);
    EXPECT_EQ(ended.err,
              "mwcollect: nothing was written: none of the collectors found anything, or the shared area "
              "refused it\n");
}

class EndsOnSignal : public OnBlankArea, public ::testing::WithParamInterface<int> {};

INSTANTIATE_TEST_SUITE_P(Program, EndsOnSignal, ::testing::Values(SIGTERM, SIGINT, SIGHUP),
                         [](const auto &one) { return std::string(sigabbrev_np(one.param)); });

TEST_P(EndsOnSignal, IntervalKeepsCollectingUntilItComes) {
    Program program({"--interval", "0.1"});
    for (int round = 0; round < 3; ++round) {
        EXPECT_TRUE(Soon(UsageIsThere));
        ASSERT_EQ(MW_ClearMemUsgInfoFromHostMon(), 0);
    }
    EXPECT_TRUE(program.Runs());
    program.Signal(GetParam());
    const Ended ended = program.Wait();
    EXPECT_EQ(ended.code, 0) << ended.err;
    // No semaphore was left behind.
    EXPECT_EQ(MW_ClearMemUsgInfoFromHostMon(), 0);
    EXPECT_EQ(MW_ClearCpuUsgInfoFromHostMon(), 0);
}

TEST_P(EndsOnSignal, ALongIntervalIsCutShort) {
    Program program({"--interval", "3600"});
    EXPECT_TRUE(Soon(UsageIsThere));
    program.Signal(GetParam());
    EXPECT_EQ(program.Wait().code, 0);
}

TEST_F(ProgramOnBlankArea, AHangupThatIsIgnoredEndsNothing) {
    const auto before = signal(SIGHUP, SIG_IGN);  // as under nohup
    Program program({"--interval", "0.1"});
    signal(SIGHUP, before);
    EXPECT_TRUE(Soon(UsageIsThere));
    program.Signal(SIGHUP);
    for (int round = 0; round < 3; ++round) {
        ASSERT_EQ(MW_ClearMemUsgInfoFromHostMon(), 0);
        EXPECT_TRUE(Soon(UsageIsThere));
    }
    EXPECT_TRUE(program.Runs());
    program.Signal(SIGTERM);
    EXPECT_EQ(program.Wait().code, 0);
}

TEST(Program, WithoutAnAreaItSaysWhatToDo) {
    Tree elsewhere;
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"--once"}, {"--interval", "0.1"}}) {
        const Ended ended = RunProgram(arguments, elsewhere.top());
        EXPECT_EQ(ended.code, 1);
        EXPECT_NE(ended.err.find("mwcollect: there is no shared area to write to: run midware-init first\n"),
                  std::string::npos)
            << ended.err;
    }
}

TEST(Program, ListNamesTheCollectorsInTheirOrderWithoutAnArea) {
    Tree elsewhere;
    const Ended ended = RunProgram({"--list"}, elsewhere.top());
    EXPECT_EQ(ended.code, 0);
    size_t at = 0;
    for (const CollectorType &type : CollectorTypes()) {
        const size_t found = ended.out.find(fmt::format("{:<12} {}\n", type.name, type.summary), at);
        ASSERT_NE(found, std::string::npos) << type.name;
        at = found;
    }
    EXPECT_LT(ended.out.find("cpu "), ended.out.find("usage "));
    EXPECT_LT(ended.out.find("memory "), ended.out.find("usage "));
}

TEST(Program, WrongUseIsTwo) {
    const std::vector<std::vector<std::string>> kWrong = {{"--only", "cpu,nonsense"},
                                                          {"--interval", "0"},
                                                          {"--interval", "x"},
                                                          {"--interval", "1e99"},
                                                          {"--interval", "nan"},
                                                          {"--once", "--interval", "5"},
                                                          {"--root", "/no/such/directory"},
                                                          {"--root"},
                                                          {"--simulate", "--root", "/"},
                                                          {"--simulate", "--once", "--interval", "5"},
                                                          {"--simulate", "--only", "nonsense"},
                                                          {"--simulate", "--round", "-1"},
                                                          {"--simulate", "--round", "4294967296"},
                                                          {"--simulate", "--round", "0.5"},
                                                          {"--simulate", "--seed", "x"},
                                                          {"--round", "1"},
                                                          {"--seed", "1"},
                                                          {"--nonsense"},
                                                          {"extra"}};
    for (const auto &arguments : kWrong) {
        const Ended ended = RunProgram(arguments);
        EXPECT_EQ(ended.code, 2) << ::testing::PrintToString(arguments);
        EXPECT_NE(ended.err, "");
    }
    EXPECT_NE(RunProgram({"--only", "nonsense"}).err.find("cpu, memory, "), std::string::npos);
    EXPECT_NE(RunProgram({"--simulate", "--round", "x"}).err.find("'x' is no number from 0 to 4294967295"),
              std::string::npos);
    EXPECT_EQ(RunProgram({"--help"}).code, 0);
}

}  // namespace
}  // namespace collect
