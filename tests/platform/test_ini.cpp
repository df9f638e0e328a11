#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>

#include <map>
#include <random>

#include "platform_test.h"

namespace {

constexpr char kFile[] = "/conf/ext/settings.ini";
constexpr char kSection[] = "Pchdisk custom config";

std::string Get(void *ini, const char *section, const std::string &key) {
    return IniGetStr(ini, section, key.c_str(), "(none)");
}

class Ini : public PlatformTest {
  protected:
    std::string File() const { return Place(kFile); }
    std::string Directory() const { return Place("/conf/ext"); }

    static void SetAndSave(const char *section, const char *key, const char *value) {
        void *ini = IniLoadFile(kFile);
        EXPECT_EQ(IniSetStr(ini, section, key, value), 0);
        EXPECT_EQ(IniSaveFile(ini, kFile), 0) << hov_strerror_s(errno);
        EXPECT_EQ(IniCloseFile(ini), 0);
    }
    static std::string Saved(const char *section, const std::string &key) {
        void *ini = IniLoadFile(kFile);
        EXPECT_NE(ini, nullptr);
        const std::string value = Get(ini, section, key);
        EXPECT_EQ(IniCloseFile(ini), 0);
        return value;
    }
    // Waits until the cache may trust the file's time of change, then puts it there.
    static void Settle() {
        usleep(60000);
        EXPECT_EQ(IniCloseFile(IniLoadFile(kFile)), 0);
    }
    // True when loading needs no file to be opened.
    static bool IsCached() {
        LimitDescriptors(true);
        void *ini = IniLoadFile(kFile);
        LimitDescriptors(false);
        return IniCloseFile(ini) == 0;
    }
};

// --- loading -------------------------------------------------------------------------------------

TEST_F(Ini, AMissingFileIsAnEmptyHandleAndStaysMissing) {
    In([] {
        void *ini = IniLoadFile(kFile);
        ASSERT_NE(ini, nullptr);
        EXPECT_EQ(Get(ini, "s", "k"), "(none)");
        EXPECT_EQ(IniGetUInt(ini, "s", "k", 7), 7u);
        EXPECT_EQ(IniCloseFile(ini), 0);
    });
    EXPECT_EQ(FilesIn(root_.path()).size(), 0u);
}

TEST_F(Ini, TheOtherLoadCreatesAMissingFileWithItsDirectories) {
    In([] {
        umask(0777);
        void *ini = HOV_IniLoadFile(kFile);
        ASSERT_NE(ini, nullptr);
        EXPECT_EQ(Get(ini, "s", "k"), "(none)");
        EXPECT_EQ(IniCloseFile(ini), 0);
        ini = HOV_IniLoadFile(kFile);
        EXPECT_NE(ini, nullptr);
        EXPECT_EQ(IniCloseFile(ini), 0);
    });
    EXPECT_EQ(SizeOf(File()), 0);
    EXPECT_EQ(ModeOf(File()), 0660u);
    EXPECT_EQ(ModeOf(Directory()), 0755u);
    EXPECT_EQ(FilesIn(Directory()).size(), 1u);
}

TEST_F(Ini, WhatCannotBeCreatedIsNoHandle) {
    WriteFile(Place("/conf/ext"), "a file where the directory should be");
    In([] {
        EXPECT_EQ(HOV_IniLoadFile(kFile), nullptr);
        EXPECT_EQ(errno, ENOTDIR);
    });
}

TEST_F(Ini, WhatIsNoIniFileIsNoHandle) {
    WriteFile(Place("/conf/large"), std::string((1 << 20) + 1, '\n'));
    WriteFile(Place("/conf/largest"), std::string(1 << 20, '\n'));
    WriteFile(Place("/conf/zero"), std::string("[s]\nk = v\0\n", 11));
    ASSERT_EQ(mkfifo(Place("/conf/pipe").c_str(), 0600), 0);
    ASSERT_EQ(symlink("largest", Place("/conf/link").c_str()), 0);
    ASSERT_EQ(symlink("nothing", Place("/conf/nowhere").c_str()), 0);
    In([] {
        const std::map<std::string, int> errors = {{"/conf/large", EFBIG},   {"/conf/zero", EINVAL},
                                                   {"/conf/pipe", EINVAL},   {"/conf/link", ELOOP},
                                                   {"/conf/nowhere", ELOOP}, {"/conf", EINVAL}};
        for (const auto &[path, error] : errors) {
            errno = 0;
            EXPECT_EQ(IniLoadFile(path.c_str()), nullptr) << path;
            EXPECT_EQ(errno, error) << path;
            EXPECT_EQ(HOV_IniLoadFile(path.c_str()), nullptr) << path;
        }
        EXPECT_EQ(IniCloseFile(IniLoadFile("/conf/largest")), 0);
        for (const char *path : {"settings.ini", "", "/conf/../../etc/settings.ini", "/..",
                                 static_cast<const char *>(nullptr)}) {
            EXPECT_EQ(IniLoadFile(path), nullptr);
            EXPECT_EQ(errno, EINVAL);
        }
        EXPECT_EQ(IniCloseFile(IniLoadFile("/conf/..settings..ini")), 0);
        EXPECT_EQ(IniLoadFile(("/" + std::string(5000, 'x')).c_str()), nullptr);
        EXPECT_EQ(errno, ENAMETOOLONG);
    });
    EXPECT_EQ(SizeOf(Place("/conf/nothing")), -1);
}

TEST_F(Ini, AnUnreadableFileIsNoHandle) {
    SKIP_UNLESS_ROOT();
    OpenToOthers();
    WriteFile(File(), "[s]\nk = v\n");
    chmod(File().c_str(), 0600);
    In([] {
        ASSERT_TRUE(BecomeNobody());
        EXPECT_EQ(IniLoadFile(kFile), nullptr);
        EXPECT_EQ(errno, EACCES);
        EXPECT_EQ(HOV_IniLoadFile(kFile), nullptr);
    });
}

TEST_F(Ini, AHandleThatIsNoneFails) {
    In([] {
        void *closed = IniLoadFile(kFile);
        EXPECT_EQ(IniCloseFile(closed), 0);
        for (void *ini : {closed, static_cast<void *>(nullptr), static_cast<void *>(&closed)}) {
            EXPECT_LT(IniCloseFile(ini), 0);
            EXPECT_EQ(Get(ini, "s", "k"), "(none)");
            EXPECT_EQ(IniGetUInt(ini, "s", "k", 7), 7u);
            EXPECT_LT(IniSetStr(ini, "s", "k", "v"), 0);
            EXPECT_LT(IniSetUInt(ini, "s", "k", 1), 0);
            EXPECT_LT(IniDelEntry(ini, "s", "k"), 0);
            EXPECT_LT(IniSaveFile(ini, kFile), 0);
            EXPECT_EQ(errno, EBADF);
        }
    });
    EXPECT_EQ(SizeOf(File()), -1);
}

// --- values --------------------------------------------------------------------------------------

TEST_F(Ini, KeysMayHoldBlanksColonsAndDots) {
    In([] {
        SetAndSave(kSection, "CPU0_BDF 0000:00:17.0_port2_diskslot", "5");
        SetAndSave(kSection, "CPU0_BDF 0000:00:17.0_port3_diskslot", "6");
        EXPECT_EQ(Saved(kSection, "CPU0_BDF 0000:00:17.0_port2_diskslot"), "5");
        EXPECT_EQ(Saved(kSection, "CPU0_BDF 0000:00:17.0_port3_diskslot"), "6");
        EXPECT_EQ(Saved(kSection, "CPU0_BDF"), "(none)");
        EXPECT_EQ(Saved("Pchdisk", "CPU0_BDF 0000:00:17.0_port3_diskslot"), "(none)");
    });
    EXPECT_EQ(ReadFile(File()),
              "[Pchdisk custom config]\n"
              "CPU0_BDF 0000:00:17.0_port2_diskslot = 5\n"
              "CPU0_BDF 0000:00:17.0_port3_diskslot = 6\n");
}

TEST_F(Ini, CaseMatters) {
    In([] {
        SetAndSave("s", "key", "lower");
        SetAndSave("s", "KEY", "upper");
        SetAndSave("S", "key", "other");
        EXPECT_EQ(Saved("s", "key"), "lower");
        EXPECT_EQ(Saved("s", "KEY"), "upper");
        EXPECT_EQ(Saved("S", "key"), "other");
    });
}

TEST_F(Ini, AwkwardTextsReadBackTheSame) {
    std::vector<std::string> texts = {"",
                                      " ",
                                      "  leading",
                                      "trailing  ",
                                      "\ttab\t",
                                      "a\nb",
                                      "\n",
                                      "\r\n",
                                      "a\r",
                                      "[section]",
                                      "]",
                                      "; comment",
                                      "# comment",
                                      "a;b",
                                      "a # b",
                                      "key = value",
                                      "=",
                                      "==",
                                      "\"quoted\"",
                                      "\"",
                                      "\"\"",
                                      "a\"b",
                                      "a\"",
                                      "'single'",
                                      "\\",
                                      "\\n",
                                      "a\\",
                                      "\"\\",
                                      "\"\\q\"",
                                      "\\x41",
                                      "\"\\x41\"",
                                      "\"a\"b\"",
                                      "<<<END",
                                      "<<<END_OF_TEXT\nx\nEND_OF_TEXT",
                                      "%s%n%d%%",
                                      "${HOME}",
                                      "$(reboot)",
                                      "--",
                                      "A--B",
                                      "255",
                                      "\x01\x1b\x7f",
                                      "\xef\xbb\xbf"
                                      "bom",
                                      "\xc3\xa4\xe2\x82\xac\xf0\x9f\x92\xbe",
                                      "\xff\xfe\x80",
                                      std::string(32, 'x'),
                                      std::string(33, ' '),
                                      "two\n[Pchdisk custom config]\nCPU9 = 1",
                                      "\001end\001"};
    texts.emplace_back(5000, ';');
    In([&] {
        void *ini = IniLoadFile(kFile);
        for (size_t i = 0; i < texts.size(); ++i) {
            EXPECT_EQ(IniSetStr(ini, kSection, ("key" + std::to_string(i)).c_str(), texts[i].c_str()), 0)
                << texts[i];
            EXPECT_EQ(Get(ini, kSection, "key" + std::to_string(i)), texts[i]);
        }
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
        EXPECT_EQ(IniCloseFile(ini), 0);
    });
    In([&] {
        for (size_t i = 0; i < texts.size(); ++i)
            EXPECT_EQ(Saved(kSection, "key" + std::to_string(i)), texts[i]);
        SetAndSave("other", "k", "v");  // and survive being written again
        for (size_t i = 0; i < texts.size(); ++i)
            EXPECT_EQ(Saved(kSection, "key" + std::to_string(i)), texts[i]);
        EXPECT_EQ(Saved(kSection, "CPU9"), "(none)");
    });
    // One line each: no text became another key.
    EXPECT_EQ(LinesOf(ReadFile(File())).size(), 1 + texts.size() + 4);
}

TEST_F(Ini, RandomLabelsReadBackTheSame) {
    std::mt19937 random(4711);
    std::map<std::string, std::string> labels;
    static constexpr char kAwkward[] = " \t\n\r[]=;#\"'\\<%$\x7f";
    for (int i = 0; i < 3000; ++i) {
        std::string label;
        const size_t length = random() % 34;
        while (label.size() < length) {
            const char c = random() % 2 == 0 ? kAwkward[random() % (sizeof kAwkward - 1)]
                                             : static_cast<char>(1 + random() % 255);
            label += c;
        }
        labels["disk " + std::to_string(i)] = label;
    }
    In([&] {
        void *ini = HOV_IniLoadFile(kFile);
        for (const auto &[key, label] : labels)
            ASSERT_EQ(IniSetStr(ini, kSection, key.c_str(), label.c_str()), 0);
        ASSERT_EQ(IniSaveFile(ini, kFile), 0);
    });
    In([&] {
        void *ini = HOV_IniLoadFile(kFile);
        for (const auto &[key, label] : labels) ASSERT_EQ(Get(ini, kSection, key), label);
    });
    EXPECT_EQ(LinesOf(ReadFile(File())).size(), labels.size() + 1);
}

TEST_F(Ini, NamesThatBreakTheFileAreRefused) {
    In([] {
        void *ini = IniLoadFile(kFile);
        for (const char *name : {"", " lead", "trail ", "a\nb", "a\rb", "\ta", "a\x01", "a\x7f"}) {
            EXPECT_LT(IniSetStr(ini, name, "k", "v"), 0) << name;
            EXPECT_LT(IniSetStr(ini, "s", name, "v"), 0) << name;
            EXPECT_LT(IniSetUInt(ini, "s", name, 1), 0) << name;
            EXPECT_EQ(errno, EINVAL);
        }
        for (const char *key : {"a=b", "=", "[a]", "[", ";a", "#a"})
            EXPECT_LT(IniSetStr(ini, "s", key, "v"), 0) << key;
        for (const char *section : {"a]", "]"}) EXPECT_LT(IniSetStr(ini, section, "k", "v"), 0) << section;
        EXPECT_LT(IniSetStr(ini, nullptr, "k", "v"), 0);
        EXPECT_LT(IniSetStr(ini, "s", nullptr, "v"), 0);
        EXPECT_LT(IniSetStr(ini, "s", "k", nullptr), 0);
        EXPECT_LT(IniDelEntry(ini, nullptr, "k"), 0);
        EXPECT_LT(IniDelEntry(ini, "s", nullptr), 0);
        EXPECT_STREQ(IniGetStr(ini, nullptr, "k", "x"), "x");
        EXPECT_STREQ(IniGetStr(ini, "s", nullptr, "x"), "x");
        EXPECT_EQ(IniGetStr(ini, "s", "k", nullptr), nullptr);
        EXPECT_EQ(IniGetUInt(ini, nullptr, "k", 3), 3u);
        EXPECT_EQ(IniGetUInt(ini, "s", nullptr, 3), 3u);
        for (const char *name : {"a[b", "a;b", "a#b", "a\"b", "a%b", "\"", "\xef\xbb\xbf", "\xc3\xa4"}) {
            EXPECT_EQ(IniSetStr(ini, name, name, "v"), 0) << name;
        }
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
        for (const char *name : {"a[b", "a;b", "a#b", "a\"b", "a%b", "\"", "\xef\xbb\xbf", "\xc3\xa4"}) {
            EXPECT_EQ(Saved(name, name), "v") << name;
        }
    });
}

TEST_F(Ini, ANumberIsWholeDecimalOrHexadecimal) {
    const std::map<std::string, uint32_t> values = {{"0", 0},      {"300", 300}, {"4294967295", 4294967295u},
                                                    {"007", 7},    {"0x1F", 31}, {"0Xff", 255},
                                                    {"\"12\"", 12}};
    const std::vector<std::string> others = {
        "",    "x",   "12x", "1 2", "-1",  "+1",         "1.5",         "0x",
        "0xg", "x10", "1e3", "\"",  "0b1", "4294967296", "0x100000000", "99999999999999999999"};
    std::string text = "[s]\n";
    for (const auto &[value, number] : values) text += "v" + std::to_string(number) + " = " + value + "\n";
    for (size_t i = 0; i < others.size(); ++i) text += "o" + std::to_string(i) + " = " + others[i] + "\n";
    WriteFile(File(), text);
    In([&] {
        void *ini = IniLoadFile(kFile);
        for (const auto &[value, number] : values)
            EXPECT_EQ(IniGetUInt(ini, "s", ("v" + std::to_string(number)).c_str(), 4711), number) << value;
        for (size_t i = 0; i < others.size(); ++i)
            EXPECT_EQ(IniGetUInt(ini, "s", ("o" + std::to_string(i)).c_str(), 4711), 4711u) << others[i];
        for (const uint32_t number : {0u, 255u, UINT32_MAX}) {
            EXPECT_EQ(IniSetUInt(ini, "s", "k", number), 0);
            EXPECT_EQ(IniGetUInt(ini, "s", "k", 4711), number);
        }
        EXPECT_EQ(Get(ini, "s", "k"), "4294967295");
    });
}

TEST_F(Ini, TheFallbackItselfIsAnswered) {
    In([] {
        void *ini = IniLoadFile(kFile);
        static constexpr char kFallback[] = "--";
        EXPECT_EQ(IniGetStr(ini, "s", "k", kFallback), kFallback);
    });
}

TEST_F(Ini, TextsStayUntilTheHandleIsClosed) {
    WriteFile(File(), "[s]\nplain = one\nquoted = \"two\\n\"\n");
    In([] {
        Settle();
        void *ini = IniLoadFile(kFile);
        const char *plain = IniGetStr(ini, "s", "plain", "");
        const char *quoted = IniGetStr(ini, "s", "quoted", "");
        std::vector<const char *> texts;
        for (int i = 0; i < 200; ++i) {
            EXPECT_EQ(IniSetStr(ini, "s", "plain", i % 2 == 0 ? " x" : "y"), 0);
            EXPECT_EQ(IniDelEntry(ini, "s", "quoted"), 0);
            EXPECT_EQ(IniSetStr(ini, "s", "quoted", (" " + std::to_string(i)).c_str()), 0);
            texts.push_back(IniGetStr(ini, "s", "quoted", ""));
        }
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
        EXPECT_STREQ(plain, "one");
        EXPECT_STREQ(quoted, "two\n");
        for (int i = 0; i < 200; ++i) EXPECT_EQ(texts[static_cast<size_t>(i)], " " + std::to_string(i));
        EXPECT_EQ(IniCloseFile(ini), 0);
    });
}

TEST_F(Ini, AnEntryIsRemoved) {
    In([] {
        SetAndSave("s", "a", "1");
        SetAndSave("s", "b", "2");
        void *ini = IniLoadFile(kFile);
        EXPECT_EQ(IniDelEntry(ini, "s", "a"), 0);
        EXPECT_EQ(Get(ini, "s", "a"), "(none)");
        EXPECT_LT(IniDelEntry(ini, "s", "a"), 0);
        EXPECT_EQ(errno, ENOENT);
        EXPECT_LT(IniDelEntry(ini, "none", "a"), 0);
        EXPECT_EQ(Saved("s", "a"), "1");  // until it is saved
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
        EXPECT_EQ(Saved("s", "a"), "(none)");
        EXPECT_EQ(Saved("s", "b"), "2");
    });
}

TEST_F(Ini, CommentsAndOrderAreKept) {
    WriteFile(File(),
              "\xEF\xBB\xBF; of the file\n; second line\n\n"
              "top = 1\n\n"
              "# of the section\n[zebra]\nz = 26\n; of a key\na = 1\r\n"
              "[apple]\n   spaced out   =   yes \n"
              "; at the end\n\n# very end");
    In([] {
        void *ini = IniLoadFile(kFile);
        EXPECT_EQ(Get(ini, "", "top"), "1");
        EXPECT_EQ(Get(ini, "apple", "spaced out"), "yes");
        EXPECT_EQ(IniSetStr(ini, "zebra", "m", "13"), 0);
        EXPECT_EQ(IniSetStr(ini, "zebra", "z", "27"), 0);
        EXPECT_EQ(IniSetStr(ini, "new", "n", "1"), 0);
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
    });
    const std::string expected =
        "\xEF\xBB\xBF; of the file\n; second line\n\n\n"
        "top = 1\n\n\n"
        "# of the section\n[zebra]\nz = 27\n\n; of a key\na = 1\nm = 13\n\n\n"
        "[apple]\nspaced out = yes\n\n\n"
        "; at the end\n\n# very end\n"
        "[new]\nn = 1\n";
    EXPECT_EQ(ReadFile(File()), expected);
    In([] {
        void *ini = IniLoadFile(kFile);
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
    });
    EXPECT_EQ(ReadFile(File()), expected);  // a second save changes nothing more
}

TEST_F(Ini, ACommentIsKeptInAFileOfNothingElse) {
    for (const char *text : {"# only\n", "\n# only\n", "[s]\n\n\n# only\n", "[s]\nk = v\n\n\n# only\n"}) {
        WriteFile(File(), text);
        In([] {
            void *ini = IniLoadFile(kFile);
            EXPECT_EQ(IniSaveFile(ini, kFile), 0);
        });
        EXPECT_NE(ReadFile(File()).find("# only\n"), std::string::npos) << text;
        EXPECT_EQ(ReadFile(File()).find('\001'), std::string::npos) << text;
    }
}

TEST_F(Ini, AKeyThatBeginsLikeASignatureStaysThatKey) {
    constexpr char kKey[] = "\xEF\xBB\xBFkey";
    WriteFile(File(), std::string("\n") + kKey + " = 1\n");
    for (int saves = 0; saves < 3; ++saves) {
        In([&] {
            void *ini = IniLoadFile(kFile);
            EXPECT_EQ(Get(ini, "", kKey), "1");
            EXPECT_EQ(Get(ini, "", "key"), "(none)");
            EXPECT_EQ(IniSaveFile(ini, kFile), 0);
        });
    }
    EXPECT_EQ(ReadFile(File()), std::string("\n") + kKey + " = 1\n");
}

TEST_F(Ini, ASectionLineWithoutItsEndIsLeftOut) {
    WriteFile(File(), "[whole]\nk = 1\n  [open\nl = 2\n[\nm = 3\r\n[last]\nn = [4\n[");
    const char expected[] = "[whole]\nk = 1\nl = 2\nm = 3\n\n\n[last]\nn = [4\n";
    In([] {
        void *ini = IniLoadFile(kFile);
        for (const char *key : {"k", "l", "m"}) EXPECT_NE(Get(ini, "whole", key), "(none)") << key;
        EXPECT_EQ(Get(ini, "last", "n"), "[4");
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
    });
    EXPECT_EQ(ReadFile(File()), expected);
    In([] { SetAndSave("whole", "k", "1"); });
    EXPECT_EQ(ReadFile(File()), expected);
    WriteFile(File(), "\xEF\xBB\xBF[open\nk = 1\n");
    In([] { EXPECT_EQ(Saved("", "k"), "1"); });
}

// --- saving --------------------------------------------------------------------------------------

TEST_F(Ini, ASaveMakesDirectoriesAndAClosedFile) {
    In([] {
        umask(0);
        SetAndSave("s", "k", "v");
    });
    EXPECT_EQ(ModeOf(File()), 0660u);
    EXPECT_EQ(FilesIn(Directory()), std::vector<std::string>{"settings.ini"});
}

TEST_F(Ini, ASaveKeepsModeAndOwner) {
    WriteFile(File(), "[s]\nk = v\n");
    ASSERT_EQ(chmod(File().c_str(), 0644), 0);
    if (geteuid() == 0) {
        ASSERT_EQ(chown(File().c_str(), kNobody, 12345), 0);
    }
    In([] { SetAndSave("s", "k", "w"); });
    EXPECT_EQ(ModeOf(File()), 0644u);
    struct stat status;
    ASSERT_EQ(stat(File().c_str(), &status), 0);
    if (geteuid() == 0) {
        EXPECT_EQ(status.st_uid, kNobody);
        EXPECT_EQ(status.st_gid, 12345u);
    }
}

TEST_F(Ini, ASaveFollowsNoLinkAndReplacesNothingElse) {
    WriteFile(Place("/conf/ext/target"), "[s]\nk = v\n");
    ASSERT_EQ(symlink("target", File().c_str()), 0);
    ASSERT_EQ(mkdir(Place("/conf/ext/directory").c_str(), 0755), 0);
    In([] {
        void *ini = IniLoadFile("/conf/none");
        EXPECT_EQ(IniSetStr(ini, "s", "k", "w"), 0);
        for (const char *path : {kFile, "/conf/ext/directory", "/conf/ext/../x", "relative",
                                 static_cast<const char *>(nullptr)}) {
            EXPECT_LT(IniSaveFile(ini, path), 0);
            EXPECT_EQ(errno, EINVAL);
        }
    });
    EXPECT_EQ(ReadFile(Place("/conf/ext/target")), "[s]\nk = v\n");
    EXPECT_EQ(FilesIn(Directory()).size(), 3u);
}

TEST_F(Ini, AFileThatCouldNotBeLoadedAgainIsNotSaved) {
    In([] {
        SetAndSave("s", "k", "v");
        void *ini = IniLoadFile(kFile);
        EXPECT_EQ(IniSetStr(ini, "s", "k", std::string(1 << 20, 'x').c_str()), 0);
        EXPECT_LT(IniSaveFile(ini, kFile), 0);
        EXPECT_EQ(errno, EFBIG);
        EXPECT_EQ(Saved("s", "k"), "v");
    });
}

class FailingSave : public Ini {
  protected:
    // In a process for which `fault` holds, a save fails and leaves the old file and nothing else.
    void ExpectOldFileKept(int error) {
        void *ini = IniLoadFile(kFile);
        ASSERT_NE(ini, nullptr);
        EXPECT_EQ(IniSetStr(ini, "s", "k", std::string(300000, 'x').c_str()), 0);
        EXPECT_LT(IniSaveFile(ini, kFile), 0);
        EXPECT_EQ(errno, error) << hov_strerror_s(errno);
        EXPECT_EQ(IniCloseFile(ini), 0);
        EXPECT_EQ(ReadFile(File()), "[s]\nk = old\n");
        EXPECT_EQ(FilesIn(Directory()), std::vector<std::string>{"settings.ini"});
    }
};

TEST_F(FailingSave, OnAFullFileSystemLeavesTheOldFile) {
    SKIP_UNLESS_ROOT();
    const Shared<std::atomic<bool>> mounted;
    In([&] {
        if (!MountSmall(root_.path(), "size=128k")) return;
        *mounted = true;
        WriteFile(File(), "[s]\nk = old\n");
        ExpectOldFileKept(ENOSPC);
        SetAndSave("s", "k", "new");
    });
    if (!*mounted) GTEST_SKIP() << "mounting is not allowed here";
}

TEST_F(FailingSave, OnAReadOnlyFileSystemLeavesTheOldFile) {
    SKIP_UNLESS_ROOT();
    const Shared<std::atomic<bool>> mounted;
    In([&] {
        if (!MountSmall(root_.path(), "size=128k")) return;
        *mounted = true;
        WriteFile(File(), "[s]\nk = old\n");
        ASSERT_TRUE(RemountReadOnly(root_.path()));
        ExpectOldFileKept(EROFS);
        EXPECT_EQ(HOV_IniLoadFile("/conf/ext/other.ini"), nullptr);
        EXPECT_EQ(errno, EROFS);
    });
    if (!*mounted) GTEST_SKIP() << "mounting is not allowed here";
}

TEST_F(FailingSave, BeyondTheFileSizeLimitLeavesTheOldFile) {
    WriteFile(File(), "[s]\nk = old\n");
    In([&] {
        LimitFileSize(65536);
        ExpectOldFileKept(EFBIG);
        SetAndSave("s", "k", "new");
    });
}

TEST_F(FailingSave, WithoutRightsLeavesTheOldFile) {
    SKIP_UNLESS_ROOT();
    OpenToOthers();
    WriteFile(File(), "[s]\nk = old\n");
    ASSERT_EQ(chmod(File().c_str(), 0666), 0);
    In([&] {
        ASSERT_TRUE(BecomeNobody());
        ExpectOldFileKept(EACCES);
    });
}

TEST_F(FailingSave, WithoutDescriptorsLeavesTheOldFile) {
#ifdef __SANITIZE_ADDRESS__
    GTEST_SKIP() << "the sanitizers need descriptors of their own";
#endif
    WriteFile(File(), "[s]\nk = old\n");
    In([&] {
        void *ini = IniLoadFile(kFile);
        EXPECT_EQ(IniSetStr(ini, "s", "k", "new"), 0);
        LimitDescriptors(true);
        EXPECT_LT(IniSaveFile(ini, kFile), 0);
        EXPECT_EQ(errno, EMFILE);
        EXPECT_EQ(HOV_IniLoadFile("/conf/ext/other.ini"), nullptr);
        LimitDescriptors(false);
        EXPECT_EQ(Saved("s", "k"), "old");
        EXPECT_EQ(IniSaveFile(ini, kFile), 0);
        EXPECT_EQ(Saved("s", "k"), "new");
    });
}

TEST_F(Ini, AKillDuringSavesLeavesTheOldOrTheNewFile) {
    std::mt19937 random(1);
    for (int round = 0; round < 60; ++round) {
        const Shared<std::atomic<uint32_t>> saved;
        Process writer(setup(), [&] {
            for (uint32_t n = 1;; ++n) {
                void *ini = HOV_IniLoadFile(kFile);
                const std::string value(n % 7000, 'x');
                IniSetUInt(ini, "s", "first", n);
                IniSetStr(ini, "s", "middle", value.c_str());
                IniSetUInt(ini, "s", "last", n);
                if (IniSaveFile(ini, kFile) == 0) *saved = n;
                IniCloseFile(ini);
            }
        });
        ASSERT_TRUE(Eventually([&] { return *saved > 0; }));
        usleep(random() % 3000);
        writer.Kill();
        In([&] {
            void *ini = IniLoadFile(kFile);
            ASSERT_NE(ini, nullptr);
            const uint32_t n = IniGetUInt(ini, "s", "first", 0);
            EXPECT_EQ(IniGetUInt(ini, "s", "last", 1), n);
            EXPECT_EQ(Get(ini, "s", "middle").size(), n % 7000);
            EXPECT_TRUE(n == *saved || n == *saved + 1) << n << " after " << *saved;
        });
    }
    In([] { SetAndSave("s", "k", "v"); });
    EXPECT_EQ(FilesIn(Directory()),
              std::vector<std::string>{"settings.ini"});  // what the killed left is gone
}

TEST_F(Ini, ProcessesThatLockKeepEachOthersKeys) {
    constexpr int kEach = 25;
    std::vector<Process> writers;
    for (int w = 0; w < 4; ++w) {
        writers.emplace_back(setup(), [w] {
            for (int i = 0; i < kEach; ++i) {
                ASSERT_EQ(hov_CustomPchDiskSemLock(), 0);
                void *ini = HOV_IniLoadFile(kFile);
                EXPECT_EQ(IniSetUInt(ini, "s", (std::to_string(w) + "." + std::to_string(i)).c_str(), 1), 0);
                EXPECT_EQ(IniSaveFile(ini, kFile), 0) << hov_strerror_s(errno);
                EXPECT_EQ(IniCloseFile(ini), 0);
                EXPECT_EQ(hov_CustomPchDiskSemUnLock(), 0);
            }
        });
    }
    for (auto &writer : writers) {
        const Outcome outcome = writer.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
    }
    EXPECT_EQ(LinesOf(ReadFile(File())).size(), 1u + 4 * kEach);
}

TEST_F(Ini, ProcessesThatDoNotLockStillSaveWholeFiles) {
    std::vector<Process> writers;
    for (int w = 0; w < 4; ++w) {
        writers.emplace_back(setup(), [w] {
            for (int i = 0; i < 50; ++i)
                SetAndSave("s", "k", std::string(1000, static_cast<char>('a' + w)).c_str());
        });
    }
    for (auto &writer : writers) {
        const Outcome outcome = writer.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
    }
    In([] {
        const std::string value = Saved("s", "k");
        EXPECT_EQ(value, std::string(1000, value[0]));
    });
    EXPECT_EQ(FilesIn(Directory()), std::vector<std::string>{"settings.ini"});
}

// --- the cache and the handles -------------------------------------------------------------------

TEST_F(Ini, AnUnchangedFileIsNotReadAgain) {
    WriteFile(File(), "[s]\nk = v\n");
    In([] {
        Settle();
        EXPECT_TRUE(IsCached());
        EXPECT_EQ(IniCacheEnable(0), 1);
        EXPECT_FALSE(IsCached());
        Settle();
        EXPECT_FALSE(IsCached());
        EXPECT_EQ(IniCacheEnable(1), 0);
        Settle();
        EXPECT_TRUE(IsCached());
        EXPECT_EQ(Saved("s", "k"), "v");
    });
}

TEST_F(Ini, AFileChangedAMomentAgoIsReadAgain) {
    WriteFile(File(), "[s]\nk = v\n");
    In([this] {
        WriteFile(File(), "[s]\nk = v\n");
        EXPECT_EQ(Saved("s", "k"), "v");
        WriteFile(File(), "[s]\nk = w\n");  // the same inode and size, perhaps within one clock tick
        EXPECT_EQ(Saved("s", "k"), "w");
        for (int i = 0; i < 300; ++i) {
            const std::string value = std::to_string(100 + i);
            WriteFile(File(), "[s]\nk = " + value + "\n");
            EXPECT_EQ(Saved("s", "k"), value);
            if (i % 100 == 0) Settle();
        }
    });
}

TEST_F(Ini, EveryWayToChangeAFileIsSeen) {
    WriteFile(File(), "[s]\nk = a\n");
    In([this] {
        Settle();
        EXPECT_EQ(Saved("s", "k"), "a");

        // in place, the same size, the time of the last change put back
        struct stat before;
        ASSERT_EQ(stat(File().c_str(), &before), 0);
        WriteFile(File(), "[s]\nk = b\n");
        const timespec times[2] = {before.st_atim, before.st_mtim};
        ASSERT_EQ(utimensat(AT_FDCWD, File().c_str(), times, 0), 0);
        EXPECT_EQ(Saved("s", "k"), "b");
        Settle();

        // replaced
        WriteFile(Place("/conf/ext/new"), "[s]\nk = c\n");
        ASSERT_EQ(rename(Place("/conf/ext/new").c_str(), File().c_str()), 0);
        EXPECT_EQ(Saved("s", "k"), "c");
        Settle();

        // by another process
        EXPECT_SUCCEEDS({}, [] { SetAndSave("s", "k", "d"); });
        EXPECT_EQ(Saved("s", "k"), "d");
        Settle();

        // by this one
        SetAndSave("s", "k", "e");
        EXPECT_EQ(Saved("s", "k"), "e");
        Settle();

        // removed, and not a file any more
        ASSERT_EQ(unlink(File().c_str()), 0);
        EXPECT_EQ(Saved("s", "k"), "(none)");
        WriteFile(File(), "[s]\nk = f\n");
        Settle();
        ASSERT_EQ(rename(File().c_str(), Place("/conf/ext/moved").c_str()), 0);
        ASSERT_EQ(symlink("moved", File().c_str()), 0);
        EXPECT_EQ(IniLoadFile(kFile), nullptr);
    });
}

TEST_F(Ini, HandlesDoNotSeeEachOthersChanges) {
    WriteFile(File(), "[s]\nk = v\n");
    In([] {
        Settle();
        void *one = IniLoadFile(kFile);
        void *two = IniLoadFile(kFile);
        EXPECT_NE(one, two);
        EXPECT_EQ(IniSetStr(one, "s", "k", "one"), 0);
        EXPECT_EQ(Get(one, "s", "k"), "one");
        EXPECT_EQ(Get(two, "s", "k"), "v");
        EXPECT_EQ(IniDelEntry(two, "s", "k"), 0);
        EXPECT_EQ(Get(one, "s", "k"), "one");
        EXPECT_EQ(Saved("s", "k"), "v");
        EXPECT_EQ(IniSaveFile(one, kFile), 0);
        EXPECT_EQ(Get(two, "s", "k"), "(none)");
        EXPECT_EQ(Saved("s", "k"), "one");
    });
}

TEST_F(Ini, HandlesThatAreNeverClosedDoNotPileUp) {
    WriteFile(File(), "[s]\nk = v\n");
    In([] {
        void *first = IniLoadFile(kFile);
        void *used = IniLoadFile(kFile);
        for (int i = 0; i < 127; ++i) {
            EXPECT_NE(IniLoadFile(kFile), nullptr);
            EXPECT_EQ(Get(used, "s", "k"), "v");
        }
        EXPECT_LT(IniCloseFile(first), 0);  // given up in favour of the others
        EXPECT_EQ(Get(used, "s", "k"), "v");
        for (int i = 0; i < 5000; ++i) ASSERT_NE(IniLoadFile(kFile), nullptr);
        void *last = IniLoadFile(kFile);
        EXPECT_EQ(Get(last, "s", "k"), "v");
    });
}

TEST_F(Ini, ManyFilesAreHeldApart) {
    In([] {
        for (int round = 0; round < 3; ++round) {
            for (int i = 0; i < 40; ++i) {
                const std::string path = "/conf/" + std::to_string(i);
                void *ini = IniLoadFile(path.c_str());
                EXPECT_EQ(IniGetUInt(ini, "s", "k", 4711), round == 0 ? 4711u : static_cast<uint32_t>(i));
                EXPECT_EQ(IniSetUInt(ini, "s", "k", static_cast<uint32_t>(i)), 0);
                EXPECT_EQ(IniSaveFile(ini, path.c_str()), 0);
                EXPECT_EQ(IniCloseFile(ini), 0);
            }
            usleep(30000);
        }
    });
}

TEST_F(Ini, ThreadsCanUseItAtOnce) {
    WriteFile(File(), "# comment\n[s]\n# another\nk = \" v\"\n");
    In([] {
        Settle();
        void *common = IniLoadFile(kFile);
        std::vector<std::thread> threads;
        for (int t = 0; t < 8; ++t) {
            threads.emplace_back([t, common] {
                const std::string key = "t" + std::to_string(t);
                for (int i = 0; i < 60; ++i) {
                    void *ini = IniLoadFile(kFile);
                    EXPECT_EQ(Get(ini, "s", "k"), " v");
                    EXPECT_EQ(Get(common, "s", "k"), " v");
                    EXPECT_EQ(IniSetUInt(ini, "s", key.c_str(), static_cast<uint32_t>(i)), 0);
                    EXPECT_EQ(IniGetUInt(ini, "s", key.c_str(), 4711), static_cast<uint32_t>(i));
                    EXPECT_EQ(IniSetUInt(common, "s", key.c_str(), static_cast<uint32_t>(i)), 0);
                    if (i % 20 == 0) {
                        EXPECT_EQ(IniSaveFile(t % 2 == 0 ? ini : common, kFile), 0);
                    }
                    EXPECT_EQ(IniCloseFile(ini), 0);
                }
            });
        }
        for (auto &thread : threads) thread.join();
        for (int t = 0; t < 8; ++t)
            EXPECT_EQ(IniGetUInt(common, "s", ("t" + std::to_string(t)).c_str(), 0), 59u);
    });
}

}  // namespace
