// mwctl check: every finding with its remedy, and that nothing is changed.
#include <csignal>
#include <cstring>

#include "hov_midware.h"
#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

constexpr char kAllIsWell[] =
    "All is well: area, semaphores, records, texts, configuration, directories, journal.\n";

class Check : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }

    // One finding, in the text and in the JSON document alike. "ROOT" stands for this test's directory.
    void ExpectFinding(const std::string &check, const std::string &subject, const std::string &problem,
                       const std::string &remedy) {
        const Outcome outcome = Mwctl({"check"});
        EXPECT_TRUE(outcome.exited && outcome.code == 1) << outcome;
        EXPECT_EQ(outcome.err, "");
        const std::string text = InRootNames(outcome.out);
        EXPECT_NE(text.find(check + ": " + subject + " " + problem + "\n    remedy: " + remedy + "\n"),
                  text.npos)
            << text;
        const std::string found =
            InRootNames(Shell("\"$MWCTL\" check --json | jq -r 'select(.ok | not) | .findings[] | "
                              "[.check, .subject, .problem, .remedy] | join(\"|\")'")
                            .out);
        EXPECT_NE(found.find(check + "|" + subject + "|" + problem + "|" + remedy + "\n"), found.npos)
            << found;
    }
    void ExpectOneFinding(const std::string &check, const std::string &subject, const std::string &problem,
                          const std::string &remedy) {
        ExpectFinding(check, subject, problem, remedy);
        EXPECT_TRUE(Mwctl({"check"}).out.ends_with("\n1 finding\n")) << Mwctl({"check"});
    }
    std::string InRootNames(std::string text) const {
        for (size_t at = 0; (at = text.find(dir_.path(), at)) != text.npos;)
            text.replace(at, dir_.path().size(), "ROOT");
        return text;
    }
    void Run(const std::string &command) {
        const Outcome outcome = Shell("cd \"$MIDWARE_ROOT\" && " + command);
        ASSERT_TRUE(outcome.Succeeded()) << outcome;
    }
    // Writes bytes of the area past every function of the library.
    void Poke(uint32_t offset, const std::string &bytes) {
        Store([&] {
            ASSERT_EQ(MW_MidMemCheck(nullptr), 0);
            std::memcpy(static_cast<char *>(g_ptMidWareAddr) + offset, bytes.data(), bytes.size());
        });
    }
};

TEST_F(Check, SaysThatAllIsWell) {
    ExpectDone(Mwctl({"check"}), kAllIsWell);
    EXPECT_EQ(Jq("check", "."), "{\"ok\":true,\"findings\":[]}\n");
    Store(StoreMemory);
    Store(StoreProcessors);
    Store(StoreServices);
    ExpectDone(Mwctl({"check"}), kAllIsWell);
}

TEST_F(Check, ChangesNothing) {
    Store(StoreMemory);
    const std::string list =
        "cd \"$MIDWARE_ROOT\" && ls -lR --time-style=full-iso | grep -v ' midware-locks$' && "
        "cksum dev/shm/midware-4099";
    const std::string before = Shell(list).out;
    EXPECT_TRUE(Mwctl({"check"}).Succeeded());
    EXPECT_EQ(Shell(list).out, before);
}

TEST_F(Check, FindsAMissingArea) {
    Run("rm -r dev");
    ExpectFinding("area", "ROOT/dev/shm/midware-4099", "does not exist", "run midware-init");
    ExpectFinding("semaphores", "ROOT/dev/shm/midware-locks", "does not exist", "run midware-init");
    EXPECT_EQ(Shell("ls -A \"$MIDWARE_ROOT\"").out, "");
}

TEST_F(Check, FindsAnAreaThatMustNotBeUsed) {
    const std::string area = "ROOT/dev/shm/midware-4099";
    const std::string anew = "stop the programs that use it, remove " + area + ", and run midware-init";
    Run("chmod 0666 dev/shm/midware-4099");
    ExpectOneFinding("area", area, "has mode 0666, not 0660", "chmod 0660 " + area);
    Run("chmod 0660 dev/shm/midware-4099 && chmod 0777 dev/shm");
    ExpectFinding("area", "ROOT/dev/shm", "anybody may exchange the files in it", "chmod o-w ROOT/dev/shm");
    Run("chmod 0755 dev/shm && truncate -s 708700 dev/shm/midware-4099");
    ExpectOneFinding("area", area, "has 708700 bytes, not 708704", anew);
    Run("mv dev/shm/midware-4099 other && ln -s ../../other dev/shm/midware-4099");
    ExpectOneFinding("area", area, "is a symbolic link", anew);
    Run("rm dev/shm/midware-4099 && mkdir dev/shm/midware-4099");
    ExpectOneFinding("area", area, "is no regular file", anew);
}

TEST_F(Check, FindsAnAreaOfAnotherUser) {
    if (geteuid() != 0) GTEST_SKIP() << "not root";
    Run("chown 65534 dev/shm/midware-4099");
    ExpectOneFinding("area", "ROOT/dev/shm/midware-4099",
                     "belongs to user 65534, neither to root nor to this user",
                     "chown root ROOT/dev/shm/midware-4099");
}

TEST_F(Check, FindsAnAreaThatWasNeverPutIntoUse) {
    Store([] { EXPECT_EQ(OAL_SemCreate(1), 0); });
    Run("rm dev/shm/* && true");
    Store([] { EXPECT_EQ(OAL_SemCreate(MW_AREA_KEY), 0); });
    Run("truncate -s 708704 dev/shm/midware-4099 && chmod 0660 dev/shm/midware-4099");
    ExpectOneFinding("area", "ROOT/dev/shm/midware-4099",
                     "is not complete: it was created, but never put into use", "run midware-init");
}

TEST_F(Check, FindsSemaphoresOfAnotherKind) {
    const std::string locks = "ROOT/dev/shm/midware-locks";
    const std::string anew = "stop the programs that use it, remove " + locks + ", and run midware-init";
    const auto forge = [&](int offset, const std::string &byte) {
        Run("cp dev/shm/midware-locks kept && printf '" + byte +
            "' | dd of=dev/shm/midware-locks conv=notrunc bs=1 seek=" + std::to_string(offset) +
            " 2>/dev/null");
    };
    const auto restore = [&] { Run("cat kept > dev/shm/midware-locks"); };
    forge(8, "\\001");
    ExpectOneFinding("semaphores", locks,
                     "its layout has version 1, this program's 3: made by another release", anew);
    restore();
    forge(12, sizeof(void *) == 8 ? "\\004" : "\\010");
    const std::string bits = std::to_string(sizeof(void *) * 8);
    const std::string other = std::to_string(96 - sizeof(void *) * 8);
    const std::string size = std::to_string(sizeof(pthread_mutex_t));
    ExpectOneFinding("semaphores", locks,
                     "made by a " + other + "-bit process with locks of " + size + " bytes, this one has " +
                         bits + " bits and " + size + " bytes",
                     anew);
    restore();
    forge(0, "X");
    ExpectOneFinding("semaphores", locks, "holds no semaphores", anew);
    restore();
    Run("chmod 0664 dev/shm/midware-locks");
    ExpectOneFinding("semaphores", locks, "has mode 0664, not 0660", "chmod 0660 " + locks);
}

TEST_F(Check, FindsMissingSemaphores) {
    Run("rm dev/shm/*");
    Store([] {
        EXPECT_EQ(OAL_CreatMemResource(MW_AREA_KEY, MW_AREA_SIZE), 0);
        for (uint32_t key = 12290; key < 12304; ++key) EXPECT_EQ(OAL_SemCreate(key), 0);
    });
    ExpectFinding("semaphores", "semaphore 12304 (custcard)", "does not exist", "run midware-init");
}

TEST_F(Check, FindsASemaphoreThatIsStuck) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12293, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const std::string pid = std::to_string(holder.pid());
    const Outcome outcome = Mwctl({"check"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_TRUE(outcome.out.starts_with("semaphores: semaphore 12293 (fan) is stuck: held by " + pid + " ("))
        << outcome;
    EXPECT_NE(outcome.out.find("\n    remedy: end process " + pid + ", or let it go on\n1 finding\n"),
              std::string::npos)
        << outcome;
}

TEST_F(Check, FindsASemaphoreWhoseHolderEnded) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12293, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    holder.Kill();
    const Outcome outcome = Mwctl({"check"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_NE(outcome.out.find(
                  "semaphores: semaphore 12293 (fan) is held by process " + std::to_string(holder.pid()) +
                  ", which ended\n    remedy: none is needed: the next process that takes it recovers it, "
                  "such as mwctl show\n"),
              std::string::npos)
        << outcome;
}

TEST_F(Check, FindsCountsAboveTheirMaximum) {
    Poke(midware::kMem.offset, std::string("\x41\0\0\0", 4));  // 65 slots
    ExpectFinding("records", "memory.slots", "its stored count is 65, more than the 64 that there can be",
                  "have its owner write it anew");
    ExpectFinding(
        "records", "memory.temperatures",
        "cannot be read: the stored count is above the maximum: the owner of the records has to write "
        "them anew",
        "have its owner write it anew");
    Poke(midware::kGpu.offset + 4, std::string("\xff\0\0\0", 4));
    ExpectFinding("records", "gpu.area.tInfo.atGpu[0]",
                  "its stored count is 255, more than the 20 that there can be",
                  "have its owner write it anew");
}

TEST_F(Check, FindsTextsWithoutATerminator) {
    Store([] {
        CpuPhyInfo socket{};
        socket.dwSilkNum = 1;
        std::memset(socket.acSilkName, 'x', sizeof socket.acSilkName);
        ASSERT_EQ(MW_SetCpuPhyInfo(&socket, 1), 0);
    });
    ExpectOneFinding(
        "texts", "cpu.area.atCpuPhyInfo[0].acSilkName",
        "fills its " + std::to_string(sizeof(CpuPhyInfo::acSilkName)) + " bytes and has no terminator",
        "have its owner write it anew, shorter by a byte");
    Poke(midware::kMem.offset, std::string(midware::kMem.size, 'x'));
    const Outcome outcome = Mwctl({"check"});
    EXPECT_NE(outcome.out.find(" more of this kind\n    remedy: have its owner write the area anew\n"),
              std::string::npos)
        << outcome;
    EXPECT_LT(LinesOf(outcome.out).size(), 80u);
}

TEST_F(Check, FindsConfigurationThatIsNotRead) {
    const std::string file = "ROOT/conf/ext/hostusagecfg.ini";
    Run("mkdir -p conf/ext && printf '; fine\\n\\n[CPU]\\nNonCritical = 80\\n' > conf/ext/hostusagecfg.ini");
    ExpectDone(Mwctl({"check"}), kAllIsWell);
    Run("printf 'no value\\n[open\\n' >> conf/ext/hostusagecfg.ini");
    ExpectOneFinding("configuration", file + ":5", "is neither section, comment nor KEY = VALUE",
                     "correct or remove that line: it is lost when the settings are saved");
    Run("printf '[a]\\n[open = 1\\n' > conf/ext/hostusagecfg.ini");
    ExpectOneFinding("configuration", file + ":2", "is neither section, comment nor KEY = VALUE",
                     "correct or remove that line: it is lost when the settings are saved");
    Run("truncate -s 1048577 conf/ext/hostusagecfg.ini");
    ExpectOneFinding("configuration", file, "has 1048577 bytes, more than the 1048576 that are read",
                     "remove " + file + ", and make the settings anew");
    Run("rm conf/ext/hostusagecfg.ini && mkdir conf/ext/hostusagecfg.ini");
    ExpectOneFinding("configuration", file, "is no regular file", "remove " + file);
}

TEST_F(Check, FindsWhatThisUserMayNotUse) {
    Run("chmod 0755 . && mkdir -p conf/ext data/log && chmod 0700 data/log && "
        "printf '[A]\\n' > conf/ext/custom_pchdisk_config.ini && chmod 0600 conf/ext/*");
    const Outcome outcome = RunProcess(setup_, [] {
        if (!BecomeNobody()) _exit(77);
        Execute({MWCTL, "check"});
    });
    if (outcome.code == 77 || outcome.code == 126) GTEST_SKIP() << "not root, or the program is out of reach";
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "");
    const std::string text = InRootNames(outcome.out);
    for (const char *line : {"area: ROOT/dev/shm/midware-4099 may not be read and written by this user\n    "
                             "remedy: run this as root or as "
                             "a member of the group that owns it\n",
                             "configuration: ROOT/conf/ext/custom_pchdisk_config.ini may not be read by this "
                             "user\n    remedy: chmod g+r "
                             "ROOT/conf/ext/custom_pchdisk_config.ini, or run this as root\n",
                             "directories: ROOT/conf/ext cannot be written: Permission denied\n    remedy: "
                             "have ROOT/conf/ext opened to "
                             "this user, or run this as root\n",
                             "directories: ROOT/data/log cannot be written: Permission denied\n"}) {
        EXPECT_NE(text.find(line), text.npos) << line << text;
    }
}

TEST_F(Check, FindsDirectoriesThatAreNone) {
    Run("touch conf && mkdir data && touch data/log");
    ExpectFinding("directories", "ROOT/conf", "is no directory",
                  "move ROOT/conf away, and make the directory ROOT/conf/ext");
    ExpectFinding("directories", "ROOT/data/log", "is no directory",
                  "move ROOT/data/log away, and make the directory ROOT/data/log");
}

TEST_F(Check, FindsAJournalThatCannotBeKept) {
    const std::string file = "ROOT/data/log/customdiskslot.log";
    Run("mkdir -p data/log && truncate -s 1048577 data/log/customdiskslot.log");
    ExpectOneFinding("journal", file, "has 1048577 bytes, more than 1048576: it is not rotated",
                     "have ROOT/data/log opened to be written, or move the file away");
    Run("rm data/log/* && mkdir data/log/customdiskslot.log");
    ExpectOneFinding("journal", file, "is no regular file", "remove " + file);
}

}  // namespace
