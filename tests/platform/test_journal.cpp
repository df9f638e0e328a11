#include <fcntl.h>
#include <sys/file.h>
#include <sys/wait.h>

#include <ctime>
#include <map>
#include <regex>

#include "platform_test.h"

namespace {

constexpr char kLog[] = "/data/log/customdiskslot.log";
constexpr off_t kCap = 1 << 20;

class Journal : public PlatformTest {
  protected:
    std::string Log() const { return Place(kLog); }
    std::string OldLog() const { return Log() + ".1"; }

    // The text of a line behind its time stamp.
    static std::string TextOf(const std::string &line) {
        static const std::regex stamp(R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z )");
        std::smatch match;
        EXPECT_TRUE(std::regex_search(line, match, stamp, std::regex_constants::match_continuous)) << line;
        return match.suffix();
    }
    std::vector<std::string> Texts() const {
        std::vector<std::string> texts;
        for (const auto &line : LinesOf(ReadFile(OldLog()) + ReadFile(Log()))) texts.push_back(TextOf(line));
        return texts;
    }
};

TEST_F(Journal, EveryLineHasItsTime) {
    const time_t before = time(nullptr);
    In([] {
        umask(0);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "[Line:%d Func:%s]slot=%d successfully\n", 12, "f", 3), 0);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "no line end"), 0);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "%s", ""), 0);
    });
    EXPECT_EQ(Texts(), (std::vector<std::string>{"[Line:12 Func:f]slot=3 successfully", "no line end", ""}));
    EXPECT_EQ(ModeOf(Log()), 0660u);
    EXPECT_EQ(ModeOf(Place("/data/log")), 0755u);
    tm parts{};
    ASSERT_NE(strptime(ReadFile(Log()).c_str(), "%Y-%m-%dT%H:%M:%S", &parts), nullptr);
    EXPECT_GE(timegm(&parts), before);
    EXPECT_LE(timegm(&parts), time(nullptr));
}

TEST_F(Journal, ALabelStaysInItsLine) {
    In([] {
        EXPECT_EQ(OAL_Log2File(kLog, 1, "Silk:%s\n", "a\nb\x1b[31m\xff \xc3\xa4"), 0);
        int victim = 4711;
        EXPECT_LT(OAL_Log2File(kLog, 1, "x%n\n", &victim), 0);
        EXPECT_EQ(victim, 4711);
        const char *none = nullptr;
        EXPECT_LT(OAL_Log2File(kLog, 1, none, 0), 0);
        EXPECT_LT(OAL_Log2File(none, 1, "x\n"), 0);
        EXPECT_LT(OAL_Log2File("relative.log", 1, "x\n"), 0);
        EXPECT_LT(OAL_Log2File("/data/../../x.log", 1, "x\n"), 0);
        EXPECT_EQ(errno, EINVAL);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "%s\n", std::string(5000, 'x').c_str()), 0);
    });
    const auto texts = Texts();
    ASSERT_EQ(texts.size(), 2u);
    EXPECT_EQ(texts[0], "Silk:a\\nb\\x1b[31m\\xff \xc3\xa4");
    EXPECT_EQ(texts[1].substr(texts[1].size() - 4), "x...");
}

TEST_F(Journal, IsCappedAndHasOnePredecessor) {
    constexpr int kLines = 30000;
    In([] {
        for (int i = 0; i < kLines; ++i)
            ASSERT_EQ(OAL_Log2File(kLog, 1, "%d %s\n", i, std::string(90, 'x').c_str()), 0);
    });
    EXPECT_EQ(FilesIn(Place("/data/log")),
              (std::vector<std::string>{"customdiskslot.log", "customdiskslot.log.1"}));
    EXPECT_LE(SizeOf(Log()), kCap);
    EXPECT_LE(SizeOf(OldLog()), kCap);
    EXPECT_GT(SizeOf(OldLog()), kCap - 64 * 1024);
    const auto texts = Texts();
    ASSERT_FALSE(texts.empty());
    int expected = kLines - static_cast<int>(texts.size());
    EXPECT_GT(expected, 0);  // the oldest are gone, and nothing between
    for (const auto &text : texts) ASSERT_EQ(std::stoi(text), expected++);
}

TEST_F(Journal, SeveralProcessesLoseAndTearNothing) {
    constexpr int kProcesses = 4;
    constexpr int kLines = 3000;  // together between one and two files full
    std::vector<Process> writers;
    for (int w = 0; w < kProcesses; ++w) {
        writers.emplace_back(setup(), [w] {
            const std::string filler(static_cast<size_t>(60 + 20 * w), static_cast<char>('a' + w));
            for (int i = 0; i < kLines; ++i)
                ASSERT_EQ(OAL_Log2File(kLog, 1, "%d %d %s\n", w, i, filler.c_str()), 0);
        });
    }
    for (auto &writer : writers) {
        const Outcome outcome = writer.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
    }
    EXPECT_LE(SizeOf(Log()), kCap);
    EXPECT_LE(SizeOf(OldLog()), kCap);
    EXPECT_GT(SizeOf(OldLog()), 0);
    std::map<std::string, int> seen;
    for (const auto &text : Texts()) ++seen[text];
    EXPECT_EQ(seen.size(), size_t{kProcesses} * kLines);
    for (int w = 0; w < kProcesses; ++w) {
        const std::string filler(static_cast<size_t>(60 + 20 * w), static_cast<char>('a' + w));
        for (int i = 0; i < kLines; ++i)
            ASSERT_EQ(seen[std::to_string(w) + " " + std::to_string(i) + " " + filler], 1);
    }
}

// What a process that was killed leaves of a line gets an end of its own.
TEST_F(Journal, ALineThatWasCutOffIsEndedByTheNext) {
    const auto cut = [this] { WriteFile(Log(), ReadFile(Log()) + "2026-11-21T21:47:41.909Z begun"); };
    In([&] {
        EXPECT_EQ(OAL_Log2File(kLog, 1, "first\n"), 0);
        cut();
        EXPECT_EQ(OAL_Log2File(kLog, 1, "second\n"), 0);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "third\n"), 0);
    });
    cut();
    In([] { EXPECT_EQ(OAL_Log2File(kLog, 1, "fourth\n"), 0); });
    EXPECT_EQ(Texts(),
              (std::vector<std::string>{"first", "begun...", "second", "third", "begun...", "fourth"}));
}

TEST_F(Journal, ProcessesKilledAtRandomLeaveLinesThatAreWholeOrCutOffVisibly) {
    constexpr int kKills = 100;
    const std::string filler(1900, 'x');
    const Shared<std::atomic<int>> written;
    std::vector<Process> writers;
    const auto write_on = [&] {
        while (OAL_Log2File(kLog, 1, "%s\n", filler.c_str()) == 0) ++*written;
    };
    for (int i = 0; i < 2; ++i) writers.emplace_back(setup(), write_on);
    for (int i = 0; i < kKills; ++i) {
        const int before = *written;
        ASSERT_TRUE(Eventually([&] { return *written > before + 5; }));
        writers[static_cast<size_t>(i % 2)] = Process(setup(), write_on);
    }
    writers.clear();
    In([] { EXPECT_EQ(OAL_Log2File(kLog, 1, "last\n"), 0); });
    const auto lines = LinesOf(ReadFile(Log()));
    ASSERT_FALSE(lines.empty());
    EXPECT_EQ(TextOf(lines.back()), "last");
    for (const std::string &line : lines) {
        const bool whole = line.size() == lines.back().size() - 4 + filler.size();
        ASSERT_TRUE(whole || line.ends_with("...") || &line == &lines.back()) << line;
    }
}

TEST_F(Journal, ALineThatFoundNoRoomIsReportedAndEndedByTheNext) {
    In([] {
        LimitFileSize(1000);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "%s\n", std::string(900, 'a').c_str()), 0);
        EXPECT_LT(OAL_Log2File(kLog, 1, "%s\n", std::string(900, 'b').c_str()), 0);
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_LT(OAL_Log2File(kLog, 1, "c\n"), 0);
        EXPECT_EQ(errno, EFBIG);
    });
    EXPECT_EQ(SizeOf(Log()), 1000);
    In([] {
        LimitFileSize(1004);
        EXPECT_LT(OAL_Log2File(kLog, 1, "d\n"), 0);  // room for the end of the other one alone
        EXPECT_EQ(errno, ENOSPC);
    });
    In([] { EXPECT_EQ(OAL_Log2File(kLog, 1, "e\n"), 0); });
    const auto texts = Texts();
    ASSERT_EQ(texts.size(), 3u);
    EXPECT_EQ(texts[0], std::string(900, 'a'));
    EXPECT_EQ(texts[1], std::string(1000 - 25 - 901 - 25, 'b') + "...");
    EXPECT_EQ(texts[2], "e");
}

// A log that was moved is looked for in its place again after a millisecond at most.
void WaitForALook() { std::this_thread::sleep_for(std::chrono::milliseconds(3)); }

TEST_F(Journal, ALogThatWasMovedAwayIsBegunAgain) {
    In([this] {
        EXPECT_EQ(OAL_Log2File(kLog, 1, "first\n"), 0);
        ASSERT_EQ(rename(Log().c_str(), Place("/data/log/moved").c_str()), 0);
        WaitForALook();
        EXPECT_EQ(OAL_Log2File(kLog, 1, "second\n"), 0);
        WriteFile(Place("/data/log/put"), "");
        ASSERT_EQ(rename(Place("/data/log/put").c_str(), Log().c_str()), 0);
        WaitForALook();
        EXPECT_EQ(OAL_Log2File(kLog, 1, "third\n"), 0);
    });
    EXPECT_EQ(Texts(), std::vector<std::string>{"third"});
    EXPECT_EQ(LinesOf(ReadFile(Place("/data/log/moved"))).size(), 1u);
}

TEST_F(Journal, ALogThatWasRemovedIsBegunAgainAtOnce) {
    In([this] {
        for (int i = 0; i < 50; ++i) {
            ASSERT_EQ(OAL_Log2File(kLog, 1, "%d\n", i), 0);
            ASSERT_EQ(unlink(Log().c_str()), 0);
            ASSERT_EQ(OAL_Log2File(kLog, 1, "%d again\n", i), 0);
            ASSERT_EQ(LinesOf(ReadFile(Log())).size(), 1u);
        }
    });
}

TEST_F(Journal, AnotherLogHasItsOwnLines) {
    In([this] {
        for (int i = 0; i < 3; ++i) {
            EXPECT_EQ(OAL_Log2File(kLog, 1, "one\n"), 0);
            EXPECT_EQ(OAL_Log2File("/data/log/other.log", 1, "other\n"), 0);
        }
        EXPECT_EQ(LinesOf(ReadFile(Place("/data/log/other.log"))).size(), 3u);
    });
    EXPECT_EQ(Texts(), (std::vector<std::string>{"one", "one", "one"}));
}

// Programs close descriptors that they do not know, and the numbers are used again.
TEST_F(Journal, ADescriptorThatIsSomebodyElsesNowIsLeftAlone) {
    In([this] {
        ASSERT_EQ(OAL_Log2File(kLog, 1, "first\n"), 0);
        const std::string mine = Place("/mine");
        int last = -1;
        for (int fd = STDERR_FILENO + 1; fd < 64; ++fd) {
            struct stat status;
            struct stat log;
            ASSERT_EQ(stat(Log().c_str(), &log), 0);
            if (fstat(fd, &status) == 0 && status.st_ino == log.st_ino) close(fd), last = fd;
        }
        ASSERT_GT(last, STDERR_FILENO);
        const int file = open(mine.c_str(), O_RDWR | O_CREAT, 0600);
        ASSERT_EQ(dup2(file, last), last);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "second\n"), 0);
        EXPECT_EQ(SizeOf(mine), 0);
        EXPECT_EQ(write(last, "x", 1), 1) << "it was closed";
    });
    EXPECT_EQ(Texts(), (std::vector<std::string>{"first", "second"}));
}

TEST_F(Journal, IsNeverAStandardFile) {
    In([] {
        const int out = dup(STDOUT_FILENO);
        ASSERT_EQ(close(STDOUT_FILENO), 0);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "first\n"), 0);
        EXPECT_LT(write(STDOUT_FILENO, "x", 1), 0);
        ASSERT_EQ(dup2(out, STDOUT_FILENO), STDOUT_FILENO);
    });
    EXPECT_EQ(Texts(), std::vector<std::string>{"first"});
}

TEST_F(Journal, AForkedProcessAndItsParentMoveItAwayForEachOther) {
    In([] {
        ASSERT_EQ(OAL_Log2File(kLog, 1, "%s\n", std::string(1000, 'x').c_str()), 0);
        for (const char who : {'a', 'b'}) {
            const pid_t child = fork();
            if (child == 0) {
                bool good = true;
                for (int i = 0; i < 700; ++i)
                    good &= OAL_Log2File(kLog, 1, "%s\n", std::string(1000, who).c_str()) == 0;
                _exit(good ? 0 : 1);
            }
            for (int i = 0; i < 700; ++i)
                ASSERT_EQ(OAL_Log2File(kLog, 1, "%s\n", std::string(1000, 'x').c_str()), 0);
            int status = -1;
            ASSERT_EQ(waitpid(child, &status, 0), child);
            ASSERT_EQ(status, 0);
        }
    });
    EXPECT_LE(SizeOf(Log()), kCap);
    EXPECT_LE(SizeOf(OldLog()), kCap);
    const auto texts = Texts();
    EXPECT_GT(texts.size(), 1000u);
    for (const auto &text : texts) ASSERT_EQ(text.size(), 1000u);
}

TEST_F(Journal, ThreadsCanUseItAtOnce) {
    In([] {
        std::vector<std::thread> threads;
        for (int t = 0; t < 4; ++t) {
            threads.emplace_back([t] {
                for (int i = 0; i < 100; ++i) EXPECT_EQ(OAL_Log2File(kLog, 1, "%d %d\n", t, i), 0);
            });
        }
        for (auto &thread : threads) thread.join();
    });
    EXPECT_EQ(Texts().size(), 400u);
}

TEST_F(Journal, OtherThingsInItsPlaceAreNotWrittenTo) {
    WriteFile(Place("/data/log/target"), "old\n");
    const auto fails = [](int error) {
        return [error] {
            EXPECT_LT(OAL_Log2File(kLog, 1, "line\n"), 0);
            EXPECT_EQ(errno, error) << hov_strerror_s(errno);
        };
    };
    ASSERT_EQ(symlink("target", Log().c_str()), 0);
    In(fails(ELOOP));
    ASSERT_EQ(unlink(Log().c_str()), 0);

    ASSERT_EQ(link(Place("/data/log/target").c_str(), Log().c_str()), 0);
    In(fails(EPERM));
    ASSERT_EQ(unlink(Log().c_str()), 0);
    EXPECT_EQ(ReadFile(Place("/data/log/target")), "old\n");

    ASSERT_EQ(mkdir(Log().c_str(), 0755), 0);
    In(fails(EISDIR));
    ASSERT_EQ(rmdir(Log().c_str()), 0);

    ASSERT_EQ(mkfifo(Log().c_str(), 0600), 0);
    In(fails(EINVAL));  // nobody reads it
    const int reader = open(Log().c_str(), O_RDONLY | O_NONBLOCK);
    In(fails(EINVAL));
    close(reader);
}

TEST_F(Journal, AFullOneThatCannotBeMovedDoesNotGrow) {
    WriteFile(Log(), std::string(kCap - 10, '\n'));
    ASSERT_EQ(mkdir(OldLog().c_str(), 0755), 0);
    In([] { EXPECT_LT(OAL_Log2File(kLog, 1, "line\n"), 0); });
    EXPECT_EQ(SizeOf(Log()), kCap - 10);
}

TEST_F(Journal, ARotationThatHangsIsNotWaitedForForever) {
    WriteFile(Log(), std::string(kCap - 10, '\n'));
    const int other = open(Log().c_str(), O_RDONLY);
    ASSERT_EQ(flock(other, LOCK_EX), 0);
    In([] {
        EXPECT_LT(OAL_Log2File(kLog, 1, "line\n"), 0);
        EXPECT_EQ(errno, EWOULDBLOCK);
    });
    close(other);
    In([] { EXPECT_EQ(OAL_Log2File(kLog, 1, "line\n"), 0); });
    EXPECT_EQ(SizeOf(OldLog()), kCap - 10);
    EXPECT_EQ(LinesOf(ReadFile(Log())).size(), 1u);
}

TEST_F(Journal, AFullFileSystemIsAnError) {
    SKIP_UNLESS_ROOT();
    const Shared<std::atomic<bool>> mounted;
    In([&] {
        if (!MountSmall(root_.path(), "size=64k")) return;
        *mounted = true;
        int written = 0;
        while (OAL_Log2File(kLog, 1, "%s\n", std::string(1000, 'x').c_str()) == 0) ++written;
        EXPECT_EQ(errno, ENOSPC);
        EXPECT_GT(written, 10);
        EXPECT_LT(written, 70);
        closefrom(STDERR_FILENO + 1);  // an open log keeps its file system from becoming read-only
        ASSERT_TRUE(RemountReadOnly(root_.path()));
        EXPECT_LT(OAL_Log2File(kLog, 1, "line\n"), 0);
        EXPECT_EQ(errno, EROFS);
    });
    if (!*mounted) GTEST_SKIP() << "mounting is not allowed here";
}

TEST_F(Journal, WithoutRightsOrDescriptorsIsAnError) {
    In([] {
        LimitDescriptors(true);
        EXPECT_LT(OAL_Log2File(kLog, 1, "line\n"), 0);
        EXPECT_EQ(errno, EMFILE);
        LimitDescriptors(false);
        EXPECT_EQ(OAL_Log2File(kLog, 1, "line\n"), 0);
    });
    SKIP_UNLESS_ROOT();
    OpenToOthers();
    In([] {
        ASSERT_TRUE(BecomeNobody());
        EXPECT_LT(OAL_Log2File(kLog, 1, "line\n"), 0);
        EXPECT_EQ(errno, EACCES);
    });
    EXPECT_EQ(Texts().size(), 1u);
}

}  // namespace
