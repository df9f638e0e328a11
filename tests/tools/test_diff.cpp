// mwctl diff.
#include <unistd.h>

#include <cstring>

#include "midware.h"
#include "tools_test.h"

namespace {

class Diff : public ToolsTest {
  protected:
    void SetUp() override {
        CreateArea();
        Store([] {
            StoreServices();
            StoreMemory();
        });
        ASSERT_TRUE(Mwctl({"save", file_}).Succeeded());
    }

    // The lines behind the two that name what is compared.
    static std::string Lines(const std::string &text) {
        size_t at = 0;
        for (int i = 0; i < 2; ++i) at = text.find('\n', at) + 1;
        return text.substr(at);
    }

    const std::string file_ = dir_ / "area";
    const std::string other_ = dir_ / "other";
};

TEST_F(Diff, OfTheSameIsEmpty) {
    ExpectDone(Mwctl({"diff", file_}), "");
    ExpectDone(Mwctl({"diff", file_, file_}), "");
    EXPECT_EQ(Jq("diff " + file_, ".differences"), "[]\n");
    setup_.environment["MIDWARE_ROOT"] = dir_ / "nothing";  // two files need no area
    ExpectDone(Mwctl({"diff", file_, file_}), "");
}

TEST_F(Diff, OfWhatWasLoadedIsEmpty) {
    Store([] { EXPECT_EQ(MW_SetNtpInterval(99), 0); });
    EXPECT_EQ(Mwctl({"diff", file_}).code, 1);
    ASSERT_TRUE(Mwctl({"load", file_, "--yes"}).Succeeded());
    ExpectDone(Mwctl({"diff", file_}), "");
    ASSERT_TRUE(Mwctl({"save", other_}).Succeeded());
    ExpectDone(Mwctl({"diff", file_, other_}), "");
}

TEST_F(Diff, NamesEveryFieldThatDiffersWithBothValues) {
    Store([] {
        NtpInfo ntp{};
        ASSERT_EQ(MW_GetNtpInfo(&ntp), 0);
        ntp.dwTimeSource = MW_TIME_SOURCE_MANUAL;
        std::strcpy(ntp.acNtpServerName[3], "\x1b[31m");
        ASSERT_EQ(MW_SetNtpInfo(&ntp), 0);
        MemTempInfo temps[64]{};
        uint32_t count;
        ASSERT_EQ(MW_GetMemTempInfo(temps, &count), 0);
        temps[1].iTemp = 41;
        temps[1].aucReserved[2] = 7;
        ASSERT_EQ(MW_SetMemTempInfo(&temps[1]), 0);
    });
    const Outcome outcome = Mwctl({"diff", file_});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "");
    EXPECT_TRUE(outcome.out.starts_with("--- " + file_ + ", saved at 20")) << outcome;
    EXPECT_NE(outcome.out.find(" UTC\n+++ the live area\n"), std::string::npos) << outcome;
    ExpectGolden(Lines(outcome.out), "diff.txt");
    ASSERT_TRUE(Mwctl({"save", other_}).Succeeded());
    const Outcome files = Mwctl({"diff", file_, other_});
    EXPECT_EQ(files.code, 1) << files;
    EXPECT_EQ(Lines(files.out), Lines(outcome.out));
    EXPECT_NE(files.out.find("+++ " + other_ + ", saved at 20"), std::string::npos) << files;
    EXPECT_EQ(Jq("diff " + file_, ".differences[] | select(.path | endswith(\"dwTimeSource\"))"),
              "{\"path\":\"services.area.tNtpInfo.dwTimeSource\",\"from\":1,\"to\":0,"
              "\"text\":{\"from\":\"ntp (1)\",\"to\":\"manual (0)\"}}\n");
    EXPECT_EQ(Jq("diff " + file_, "[.from.file, .from.unlocked, .to.file, (.from.time > 0)]"),
              "[\"" + file_ + "\",false,null,true]\n");
    EXPECT_EQ(Jq("diff " + file_ + " " + other_, ".to.file"), "\"" + other_ + "\"\n");
}

TEST_F(Diff, ItsPathsAreThoseOfShow) {
    Store([] { EXPECT_EQ(MW_SetNtpInterval(99), 0); });
    ExpectDone(Mwctl({"show", "services.area.tNtpInfo.dwNtpInterval"}),
               "services.area.tNtpInfo.dwNtpInterval  99 s\n");
    EXPECT_EQ(Lines(Mwctl({"diff", file_}).out), "services.area.tNtpInfo.dwNtpInterval: 64 s -> 99 s\n");
}

TEST_F(Diff, BytesBehindTheEndOfATextAreShownAsBytes) {
    Store([] {
        NtpInfo ntp{};
        ASSERT_EQ(MW_GetNtpInfo(&ntp), 0);
        ntp.acNtpServerName[0][40] = 'x';
        ASSERT_EQ(MW_SetNtpInfo(&ntp), 0);
    });
    EXPECT_EQ(Lines(Mwctl({"diff", file_}).out),
              "services.area.tNtpInfo.acNtpServerName[0]: 00 at byte 40 -> 78 at byte 40\n");
}

TEST_F(Diff, ConfigurationFilesAreComparedToo) {
    ASSERT_TRUE(Mwctl({"set", "threshold", "memory", "81"}).Succeeded());
    const Outcome outcome = Mwctl({"diff", file_});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_TRUE(Lines(outcome.out).starts_with("/conf/ext/hostusagecfg.ini: missing -> ")) << outcome;
    ASSERT_EQ(Shell("cd \"$MIDWARE_ROOT\"/conf/ext && rm hostusagecfg.ini && mkdir hostusagecfg.ini").code,
              0);
    EXPECT_EQ(Lines(Mwctl({"diff", file_}).out), "/conf/ext/hostusagecfg.ini: missing -> not readable\n");
}

TEST_F(Diff, TroubleHasAnExitCodeOfItsOwn) {
    const std::string problem = file_ + "x: No such file or directory: give a file that mwctl save wrote";
    ExpectRefused(Mwctl({"diff", file_ + "x"}), 2, "mwctl: " + problem + "\n");
    ExpectRefused(Mwctl({"diff", file_, file_ + "x"}), 2, "mwctl: " + problem + "\n");
    EXPECT_EQ(Jq("diff " + file_ + "x", "[.differences, .errors]"), "[[],[\"" + problem + "\"]]\n");
    ExpectRefused(Mwctl({"diff"}), 2, "mwctl: FILE is required (see --help)\n");
    Store([] { EXPECT_EQ(MW_SetNtpInterval(99), 0); });
    EXPECT_EQ(Shell("\"$MWCTL\" diff " + file_ + " >/dev/full").code, 2);
    setup_.environment["MIDWARE_ROOT"] = dir_ / "nothing";
    ExpectRefused(Mwctl({"diff", file_}), 2, "mwctl: the shared area does not exist: run midware-init\n");
    ExpectRefused(Mwctl({"--from", file_, "diff", file_}), 2,
                  "mwctl: diff: this is about the live area, and --from does not go with it (see --help)\n");
}

TEST_F(Diff, AStuckSemaphoreLeavesOutItsModule) {
    Store([] { EXPECT_EQ(MW_SetNtpInterval(99), 0); });
    const Process holder = HoldSemaphore(12302);
    ExpectRefused(
        Mwctl({"diff", file_}), 2,
        "mwctl: services: semaphore 12302 is held by process " + std::to_string(holder.pid()) +
            " (midware_tools_t) for longer than 500 ms: try again, or end that process (--no-lock does "
            "without)\n");
    EXPECT_EQ(Lines(Mwctl({"--no-lock", "diff", file_}).out),
              "services.area.tNtpInfo.dwNtpInterval: 64 s -> 99 s\n");
}

TEST_F(Diff, AReaderThatHasGoneAwayIsNoTrouble) {
    Store([] { EXPECT_EQ(MW_SetNtpInterval(99), 0); });
    const Outcome outcome = Shell("{ \"$MWCTL\" diff " + file_ + "; echo $? >&2; } | true");
    EXPECT_EQ(outcome.err, "1\n");
}

}  // namespace
