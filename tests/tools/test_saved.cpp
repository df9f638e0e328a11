// mwctl save and load, and what --from and --no-lock do to the other commands.
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>

#include "midware.h"
#include "oal.h"
#include "saved_area.h"
#include "tools_test.h"

namespace {

constexpr size_t kHeader = 56;
constexpr size_t kWhole = kHeader + MW_AREA_SIZE;
constexpr char kCopyAgain[] = "copy it again from where it was saved, or save the area again";

class Saved : public ToolsTest {
  protected:
    void SetUp() override {
        CreateArea();
        Store([] {
            StoreServices();
            StoreMemory();
            StoreDisks();
        });
        other_.environment["LC_ALL"] = "C";
        other_.environment["MWCTL"] = MWCTL;
        other_.environment["TMPDIR"] = temporary_.path();
    }

    void Save() {
        const Outcome outcome = Mwctl({"save", file_});
        ASSERT_TRUE(outcome.Succeeded()) << outcome;
    }

    // On another machine, which has nothing.
    Outcome Elsewhere(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), MWCTL);
        return RunProcess(other_, [&] { Execute(arguments); });
    }

    // Holds the semaphore of the fans for as long as the result lives.
    Process HoldSemaphore(uint32_t key) {
        Process holder(setup_, [this, key] {
            *held_ = OAL_SemLockByKey(key, 500) == 0;
            Forever();
        });
        EXPECT_TRUE(Eventually([&] { return *held_ == 1; }));
        return holder;
    }

    TempDir elsewhere_;
    TempDir temporary_;
    ProcessSetup other_ = InRoot(elsewhere_);
    Shared<int> held_;
    const std::string file_ = dir_ / "area.mw";
};

TEST_F(Saved, EverythingIsShownTheSameElsewhere) {
    ASSERT_TRUE(Mwctl({"set", "threshold", "memory", "81"}).Succeeded());
    ASSERT_TRUE(Mwctl({"disk-slot", "set", "00:17.0", "4", "--cpu", "1", "--slot", "9", "--label", "Bay 9"})
                    .Succeeded());
    const Outcome saved = Mwctl({"save", file_});
    const std::string bytes = ReadFile(file_);
    ExpectDone(saved, file_ + ": the area is saved, " + std::to_string(bytes.size()) + " bytes\n");
    for (const char *view : {"show", "--json"}) {
        const Outcome here = Mwctl({"show", view == std::string("show") ? "--all" : "--json"});
        const Outcome there =
            Elsewhere({"--from", file_, "show", view == std::string("show") ? "--all" : "--json"});
        EXPECT_TRUE(there.Succeeded()) << there;
        EXPECT_EQ(there.out, here.out);
        EXPECT_EQ(there.err, "");
    }
    const Outcome disks = Elsewhere({"show", "disks", "--all", "--from", file_});
    EXPECT_NE(disks.out.find("Bay 9"), std::string::npos) << disks;
    const Outcome memory = Elsewhere({"show", "memory", "--from", file_});
    EXPECT_NE(memory.out.find("81 %"), std::string::npos) << memory;
}

TEST_F(Saved, ReadingItLeavesNothingBehind) {
    ASSERT_TRUE(Mwctl({"set", "threshold", "memory", "81"}).Succeeded());
    Save();
    EXPECT_TRUE(Elsewhere({"--from", file_, "show"}).Succeeded());
    EXPECT_TRUE(FilesIn(elsewhere_.path()).empty());
    EXPECT_TRUE(FilesIn(temporary_.path()).empty());
}

TEST_F(Saved, AMissingConfigurationFileIsMissingElsewhereToo) {
    Save();
    WriteFile(elsewhere_ / "hostusagecfg.ini", "");
    const Outcome outcome = Elsewhere({"--from", file_, "show", "memory"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_NE(outcome.out.find("threshold   75 %"), std::string::npos) << outcome;
}

TEST_F(Saved, AConfigurationFileThatCannotBeReadIsSaidAndMissedElsewhere) {
    ASSERT_EQ(Shell("mkdir -p \"$MIDWARE_ROOT\"/conf/ext/hostusagecfg.ini").code, 0);
    const Outcome outcome = Mwctl({"save", file_});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "mwctl: /conf/ext/hostusagecfg.ini cannot be read, and is not in " + file_ + "\n");
    const Outcome shown = Elsewhere({"--from", file_, "show", "memory"});
    EXPECT_EQ(shown.code, 1) << shown;
    EXPECT_EQ(shown.err, "mwctl: memory: the configuration file cannot be read\n");
}

TEST_F(Saved, AConfigurationFileThatIsTooLargeIsLeftOut) {
    ASSERT_TRUE(Mwctl({"set", "threshold", "memory", "81"}).Succeeded());
    WriteFile(dir_ / "conf/ext/hostusagecfg.ini", std::string(mwctl::kLargestConfig + 1, '\n'));
    EXPECT_EQ(Mwctl({"save", file_}).code, 1);
    EXPECT_EQ(ReadFile(file_).size(), kWhole);
    WriteFile(dir_ / "conf/ext/hostusagecfg.ini", std::string(mwctl::kLargestConfig, '\n'));
    EXPECT_EQ(Mwctl({"save", file_}).code, 0);
    EXPECT_EQ(ReadFile(file_).size(), kWhole + mwctl::kLargestConfig);
}

TEST_F(Saved, NoPlaceForAConfigurationFileIsSaid) {
    ASSERT_TRUE(Mwctl({"set", "threshold", "memory", "81"}).Succeeded());
    Save();
    other_.environment["TMPDIR"] = "/nowhere";
    const Outcome outcome = Elsewhere({"--from", file_, "show", "memory"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(LinesOf(outcome.err).front(),
              "mwctl: memory: the library says: a saved configuration file needs a place in "
              "/nowhere: No such file or directory");
}

TEST_F(Saved, OnlyItsOwnerCanReadIt) {
    Save();
    struct stat status {};
    ASSERT_EQ(stat(file_.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u);
}

TEST_F(Saved, AnEarlierOneIsReplacedAndNothingElse) {
    Save();
    Save();
    const std::string notes = dir_ / "notes";
    for (const char *text : {"my notes", "", "MIDWSAV"}) {
        WriteFile(notes, text);
        ExpectRefused(
            Mwctl({"save", notes}), 1,
            "mwctl: " + notes +
                ": it is there, and is no saved area: give another name, or --force to replace it\n");
        EXPECT_EQ(ReadFile(notes), text);
    }
    EXPECT_TRUE(Mwctl({"save", notes, "--force"}).Succeeded());
    EXPECT_EQ(ReadFile(notes).size(), kWhole);
}

TEST_F(Saved, WhatIsNoRegularFileIsNeverReplaced) {
    ASSERT_EQ(mkfifo((dir_ / "pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink(file_.c_str(), (dir_ / "link").c_str()), 0);
    for (const char *name : {"pipe", "link", "."}) {
        ExpectRefused(Mwctl({"save", dir_ / name, "--force"}), 1,
                      "mwctl: " + dir_ / name + ": it is no regular file: give another name\n");
    }
}

TEST_F(Saved, AFileThatCannotBeWrittenIsSaidAndLeavesNothing) {
    ExpectRefused(
        Mwctl({"save", dir_ / "no/such/area.mw"}), 1,
        "mwctl: " + dir_ / "no/such/area.mw" + ": it cannot be written: No such file or directory\n");
    const std::vector<std::string> before = FilesIn(dir_.path());
    setup_.environment["FILE"] = file_;
    const Outcome outcome = Shell("ulimit -f 100; trap '' XFSZ; exec \"$MWCTL\" save \"$FILE\"");
    ExpectRefused(outcome, 1, "mwctl: " + file_ + ": it cannot be written: File too large\n");
    EXPECT_EQ(FilesIn(dir_.path()), before);
}

TEST_F(Saved, NamesOfFilesAreEscaped) {
    ExpectRefused(Mwctl({"save", "/no\x1b[31m/such"}), 1,
                  "mwctl: /no\\x1b[31m/such: it cannot be written: No such file or directory\n");
    ExpectRefused(Mwctl({"--from", "/no\n", "show"}), 1,
                  "mwctl: /no\\x0a: No such file or directory: give a file that mwctl save wrote\n");
}

TEST_F(Saved, AStuckSemaphoreIsSaidAndDoneWithout) {
    const Process holder = HoldSemaphore(12302);
    const Outcome stuck = Mwctl({"save", file_});
    ExpectRefused(
        stuck, 1,
        "mwctl: services: semaphore 12302 is held by process " + std::to_string(holder.pid()) +
            " (midware_tools_t) for longer than 500 ms: try again, or end that process (--no-lock does "
            "without)\n");
    EXPECT_EQ(ReadFile(file_), "");
    const Outcome saved = Mwctl({"save", file_, "--no-lock"});
    ExpectDone(saved, file_ + ": the area is saved, " + std::to_string(kWhole) +
                          " bytes, taken without its semaphores\n");
    const Outcome shown = Elsewhere({"--from", file_, "show", "services"});
    ExpectDone(shown, ReadFile(GOLDEN "services.txt"));
}

TEST_F(Saved, WithoutSemaphoresAllIsShownThatAStuckOneHides) {
    const Outcome free = Mwctl({"show", "--all"});
    const Process services = HoldSemaphore(12302);
    EXPECT_EQ(Mwctl({"show", "services"}).code, 1);
    ExpectDone(Mwctl({"--no-lock", "show", "--all"}), free.out);
}

TEST_F(Saved, WithoutSemaphoresThereIsStillNoAreaWhereThereIsNone) {
    ExpectRefused(Elsewhere({"show", "memory", "--no-lock"}), 1,
                  "mwctl: the shared area does not exist: run midware-init\n");
}

TEST_F(Saved, CommandsAboutTheLiveAreaTakeNoOtherSource) {
    Save();
    const std::vector<std::vector<std::string>> live{
        {"set", "ntp-interval", "64"}, {"disk-slot", "list"}, {"status"}, {"load", file_, "--yes"}};
    for (const std::vector<std::string> &command : live) {
        std::vector<std::string> arguments{"--from", file_};
        arguments.insert(arguments.end(), command.begin(), command.end());
        ExpectRefused(Mwctl(arguments), 2,
                      "mwctl: " + command[0] +
                          ": this is about the live area, and --from does not go with it (see --help)\n");
        arguments = {"--no-lock"};
        arguments.insert(arguments.end(), command.begin(), command.end());
        ExpectRefused(Mwctl(arguments), 2,
                      "mwctl: " + command[0] +
                          ": this needs the semaphores, and --no-lock does not go with it (see --help)\n");
    }
    ExpectRefused(Mwctl({"--from", file_, "save", file_}), 2,
                  "mwctl: save: this is about the live area, and --from does not go with it (see --help)\n");
    ExpectRefused(Mwctl({"--from", file_, "--no-lock", "show"}), 2,
                  "mwctl: --from excludes --no-lock (see --help)\n");
}

TEST_F(Saved, SavingNeedsAnArea) {
    ExpectRefused(Elsewhere({"save", file_}), 1, "mwctl: the shared area does not exist: run midware-init\n");
}

TEST_F(Saved, LoadingReplacesEveryRecordAndSaysHowMuchChanged) {
    Save();
    const Outcome before = Mwctl({"show", "--json"});
    Store([] { EXPECT_EQ(MW_SetNtpInterval(0x01020304), 0); });
    const Outcome outcome = Mwctl({"load", file_, "--yes"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
    ExpectGolden(outcome.out, "load.txt");
    EXPECT_EQ(Mwctl({"show", "--json"}).out, before.out);
}

TEST_F(Saved, LoadingAsksFirst) {
    Save();
    Store([] { EXPECT_EQ(MW_SetNtpInterval(77), 0); });
    ExpectRefused(Mwctl({"load", file_}), 2,
                  "mwctl: load: every record of the live area is replaced: say --yes if that is meant (see "
                  "--help)\n");
    EXPECT_EQ(Jq("show services", ".services.ntp.dwNtpInterval"), "77\n");
}

TEST_F(Saved, LoadingLeavesAModuleWhoseSemaphoreIsStuck) {
    Save();
    Store([] { EXPECT_EQ(MW_SetNtpInterval(77), 0); });
    {
        const Process holder = HoldSemaphore(12302);
        const Outcome outcome = Mwctl({"load", file_, "--yes"});
        EXPECT_EQ(outcome.code, 1) << outcome;
        EXPECT_EQ(outcome.err.find("mwctl: services: left as it was: semaphore 12302 is held by process "),
                  0u)
            << outcome;
        EXPECT_EQ(LinesOf(outcome.out).size(), 14u);
    }
    EXPECT_EQ(Jq("show services", ".services.ntp.dwNtpInterval"), "77\n");
}

TEST_F(Saved, LoadingNeedsAnAreaAndASavedOne) {
    ExpectRefused(
        Mwctl({"load", dir_ / "nothing", "--yes"}), 1,
        "mwctl: " + dir_ / "nothing" + ": No such file or directory: give a file that mwctl save wrote\n");
    Save();
    ExpectRefused(Elsewhere({"load", file_, "--yes"}), 1,
                  "mwctl: the shared area does not exist: run midware-init\n");
}

// Files that are none, or not any more.
class Refused : public Saved {
  protected:
    void SetUp() override {
        Saved::SetUp();
        Save();
        good_ = ReadFile(file_);
        ASSERT_EQ(good_.size(), kWhole);
    }

    void Expect(const std::string &bytes, const std::string &problem) {
        WriteFile(file_, bytes);
        ExpectRefused(Mwctl({"--from", file_, "show"}), 1, "mwctl: " + file_ + ": " + problem + "\n");
    }
    std::string With(size_t at, char byte) const {
        std::string bytes = good_;
        bytes[at] = byte;
        return bytes;
    }

    std::string good_;
};

TEST_F(Refused, WhatIsNoFile) {
    ASSERT_EQ(mkfifo((dir_ / "pipe").c_str(), 0600), 0);
    ExpectRefused(Mwctl({"--from", dir_ / "pipe", "show"}), 1,
                  "mwctl: " + dir_ / "pipe" + ": it is no regular file: give a file that mwctl save wrote\n");
    ExpectRefused(Mwctl({"--from", dir_.path(), "show"}), 1,
                  "mwctl: " + dir_.path() + ": it is a directory: give a file that mwctl save wrote\n");
}

TEST_F(Refused, AFileThatMustNotBeRead) {
    ASSERT_EQ(Shell("chmod 0755 \"$MIDWARE_ROOT\"").code, 0);
    const Outcome outcome = RunProcess(setup_, [&] {
        if (!BecomeNobody()) _exit(77);
        Execute({MWCTL, "--from", file_, "show"});
    });
    if (outcome.code == 77 || outcome.code == 126) GTEST_SKIP() << "not root, or the program is out of reach";
    ExpectRefused(outcome, 1, "mwctl: " + file_ + ": Permission denied: give a file that mwctl save wrote\n");
}

TEST_F(Refused, AFileThatIsCutOff) {
    Expect("", std::string("it is empty: ") + kCopyAgain);
    for (const size_t size : {1, 7, 8, 12, 16, 20, 24, 32, 40, 44, 48, 55}) {
        Expect(good_.substr(0, size),
               "it is cut off inside its header, after " + std::to_string(size) + " bytes: " + kCopyAgain);
    }
    for (const size_t size : {kHeader, kHeader + 1, kWhole - 1}) {
        Expect(good_.substr(0, size), "it is cut off: it has " + std::to_string(size) + " of " +
                                          std::to_string(kWhole) + " bytes: " + kCopyAgain);
    }
}

TEST_F(Refused, AFileThatIsTooLong) {
    Expect(good_ + "xyz", std::string("it has 3 bytes behind its end: ") + kCopyAgain);
}

TEST_F(Refused, AFileOfAnotherMake) {
    const std::string foreign = "it is no saved area: give a file that mwctl save wrote";
    Expect(With(0, 'm'), foreign);
    Expect(With(7, 'F'), foreign);
    Expect("text", foreign);
    Expect(With(8, 2),
           "its format is version 2, and this mwctl reads version 1: use the mwctl that wrote it");
    Expect(With(16, 0),
           "it holds an area of 708608 bytes, and this mwctl knows 708704: use the mwctl that wrote it");
}

TEST_F(Refused, AFileThatIsDamaged) {
    const std::string header = std::string("its header is damaged: ") + kCopyAgain;
    Expect(With(12, 57), header);
    Expect(With(20, 2), header);
    Expect(With(43, 0), header);  // the size of a configuration file
    const std::string checksum = std::string("it is damaged, its checksum is wrong: ") + kCopyAgain;
    for (const size_t at : {size_t{20}, size_t{24}, size_t{32}, size_t{48}, kHeader, kWhole - 1}) {
        Expect(With(at, static_cast<char>(good_[at] ^ 1)), checksum);
    }
}

TEST_F(Refused, AnotherLayout) {
    mwctl::SavedArea saved{.fingerprint = 0x123, .area = std::as_bytes(std::span(good_).subspan(kHeader))};
    const std::vector<std::byte> bytes = mwctl::ToBytes(saved);
    WriteFile(file_, {reinterpret_cast<const char *>(bytes.data()), bytes.size()});
    const Outcome outcome = Mwctl({"--from", file_, "show"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err.find("mwctl: " + file_ +
                               ": its fields are laid out otherwise (fingerprint 0000000000000123, here "),
              0u)
        << outcome;
}

TEST(SavedFormat, WhatIsWrittenReadsBackTheSame) {
    const std::vector<std::byte> area(MW_AREA_SIZE, std::byte{0x5A});
    const std::vector<std::byte> config(10, std::byte{'c'});
    const mwctl::SavedArea saved{.fingerprint = 0xFEDCBA9876543210,
                                 .time = 1772366400,
                                 .unlocked = true,
                                 .area = area,
                                 .configs = {{mwctl::SavedConfig::State::kPresent, config},
                                             {mwctl::SavedConfig::State::kUnreadable, {}}}};
    const std::vector<std::byte> bytes = mwctl::ToBytes(saved);
    const mwctl::ParsedArea parsed = mwctl::ParseSavedArea(bytes, saved.fingerprint);
    EXPECT_EQ(parsed.problem, "");
    EXPECT_EQ(parsed.saved.fingerprint, saved.fingerprint);
    EXPECT_EQ(parsed.saved.time, saved.time);
    EXPECT_TRUE(parsed.saved.unlocked);
    EXPECT_TRUE(std::ranges::equal(parsed.saved.area, area));
    EXPECT_EQ(parsed.saved.configs[0].state, mwctl::SavedConfig::State::kPresent);
    EXPECT_TRUE(std::ranges::equal(parsed.saved.configs[0].bytes, config));
    EXPECT_EQ(parsed.saved.configs[1].state, mwctl::SavedConfig::State::kUnreadable);
    EXPECT_EQ(mwctl::TimeText(saved.time), "2026-03-01 12:00:00 UTC");
    EXPECT_EQ(mwctl::TimeText(INT64_MAX), "9223372036854775807 seconds after 1970");
}

}  // namespace
