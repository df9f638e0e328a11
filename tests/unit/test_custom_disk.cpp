// Custom slot numbers and labels of PCH disks.
#include <algorithm>
#include <cstdio>
#include <random>

#include "accessor_test.h"

namespace {

constexpr ModuleFacts kCustomFacts{"pch/hov_midpch_custom", &g_ptPCHCollectAddr, 694280, 10320, 12303};
constexpr char kSave[] = "MW_SaveCustomPchDiskConfig";
constexpr char kLoad[] = "MW_LoadCustomPchDiskConfig";
const std::string kFile = "/conf/ext/custom_pchdisk_config.ini";
const std::string kSection = "Pchdisk custom config";
const std::string kDisk = "CPU0_BDF 0000:00:17.0_port2_";
const std::string kSlotKey = kDisk + "diskslot";
const std::string kSilkKey = kDisk + "customsilk";

const std::string kLockCall = "hov_CustomPchDiskSemLock()";
const std::string kUnlockCall = "hov_CustomPchDiskSemUnLock()";
const std::string kLoadCall = "HOV_IniLoadFile(" + kFile + ")";
const std::string kSaveCall = "IniSaveFile(" + kFile + ")";
const std::string kCloseCall = "IniCloseFile()";
const std::string kZeroCall = "hov_memset_s(33, 0, 32)";

std::string Journal(const std::string &text) {
    return "OAL_Log2File(/data/log/customdiskslot.log, 1, \"[Line:{L} Func:{F}]" + text + "\n\")";
}

std::string InSection(const std::string &key) { return "[" + kSection + "] " + key; }

class CustomDisk : public AccessorTest {
 protected:
    CustomDisk() : AccessorTest(kCustomFacts, kLockError) {}

    void SetUp() override {
        AccessorTest::SetUp();
        Detach();  // none of this needs the shared area
        config_ = PatternOf<PchDiskCustomCfg>(5);
        config_.dwBus = 0;
        config_.dwDev = 0x17;
        config_.dwFunc = 0;
        config_.ucCpuId = 0;
        config_.ucPort = 2;
        config_.ucSlot = 14;
        snprintf(config_.acSilkInfo, sizeof config_.acSilkInfo, "Bay 14");
    }

    void TearDown() override {
        EXPECT_EQ(Count(kLockCall), Count(kUnlockCall));
        AccessorTest::TearDown();
    }

    static size_t Count(const std::string &call) {
        const std::vector<std::string> calls = recorder::Calls();
        return static_cast<size_t>(std::count(calls.begin(), calls.end(), call));
    }

    int32_t Save(uint8_t type, uint8_t option) {
        config_.ucCfgType = type;
        const uint8_t options[6] = {1, 1, 1, 1, 1, option};
        const uint8_t others[6] = {0, 0, 0, 0, 0, option};
        return MW_SaveCustomPchDiskConfig(config_, option == 1 ? others : options);
    }
    int32_t Load(uint32_t type) { return MW_LoadCustomPchDiskConfig(&config_, type); }

    static recorder::IniSection &Settings() { return recorder::Now().ini_files[kFile][kSection]; }

    // What a stored label reads as; the whole field.
    std::string Read(const std::string &stored) {
        Settings()[kSilkKey] = stored;
        memset(config_.acSilkInfo, 'x', sizeof config_.acSilkInfo);
        EXPECT_EQ(Load(1), 0);
        EXPECT_NE(memchr(config_.acSilkInfo, '\0', sizeof config_.acSilkInfo), nullptr);
        return std::string(config_.acSilkInfo, strnlen(config_.acSilkInfo, sizeof config_.acSilkInfo));
    }

    PchDiskCustomCfg config_;
};

// --- saving and removing -------------------------------------------------------------------------------------------

TEST_F(CustomDisk, ASlotNumberIsWritten) {
    Settings()["other"] = "1";
    EXPECT_EQ(Save(0, 1), 0);
    ExpectCalls(kSave, {kLockCall, kLoadCall, "IniSetUInt(" + InSection(kSlotKey) + ", 14)",
                        Journal("set " + kSlotKey + "=14 successfully"), kSaveCall, kCloseCall, kUnlockCall});
    EXPECT_EQ(Settings(), (recorder::IniSection{{"other", "1"}, {kSlotKey, "14"}}));
    EXPECT_EQ(recorder::Now().ini_open, 0);
}

TEST_F(CustomDisk, ALabelIsWritten) {
    EXPECT_EQ(Save(1, 1), 0);
    ExpectCalls(kSave, {kLockCall, kLoadCall, "IniSetStr(" + InSection(kSilkKey) + ", Bay 14)",
                        Journal("set " + kSilkKey + "=Bay 14 successfully"), kSaveCall, kCloseCall, kUnlockCall});
    EXPECT_EQ(Settings(), (recorder::IniSection{{kSilkKey, "Bay 14"}}));
    EXPECT_EQ(recorder::Now().ini_open, 0);
}

TEST_F(CustomDisk, ASlotNumberIsRemoved) {
    Settings() = {{kSlotKey, "14"}, {kSilkKey, "Bay"}};
    EXPECT_EQ(Save(0, 0), 0);
    ExpectCalls(kSave, {kLockCall, kLoadCall, "IniGetUInt(" + InSection(kSlotKey) + ", 255)",
                        "IniDelEntry(" + InSection(kSlotKey) + ")",
                        Journal("del custom slot config " + kSlotKey + "  successfully"), kSaveCall, kCloseCall,
                        kUnlockCall});
    EXPECT_EQ(Settings(), (recorder::IniSection{{kSilkKey, "Bay"}}));
    EXPECT_EQ(recorder::Now().ini_open, 0);
}

TEST_F(CustomDisk, ALabelIsRemoved) {
    Settings() = {{kSlotKey, "14"}, {kSilkKey, "Bay -"}};
    EXPECT_EQ(Save(1, 0), 0);
    ExpectCalls(kSave, {kLockCall, kLoadCall, "IniGetStr(" + InSection(kSilkKey) + ", --)",
                        "IniDelEntry(" + InSection(kSilkKey) + ")",
                        Journal("del custom slot config " + kSilkKey + "  successfully"), kSaveCall, kCloseCall,
                        kUnlockCall});
    EXPECT_EQ(Settings(), (recorder::IniSection{{kSlotKey, "14"}}));
    EXPECT_EQ(recorder::Now().ini_open, 0);
}

TEST_F(CustomDisk, ASlotThatIsNotSetCannotBeRemovedAndTheFileStaysOpen) {
    for (const char *stored : {"", "255"}) {
        Settings().clear();
        if (*stored != '\0') Settings()[kSlotKey] = stored;
        const recorder::IniSection before = Settings();
        recorder::Now().ini_open = 0;
        EXPECT_EQ(Save(0, 0), -1);
        ExpectCalls(kSave, {kLockCall, kLoadCall, "IniGetUInt(" + InSection(kSlotKey) + ", 255)",
                            Journal("pch DISK have no custom slot config!"), kUnlockCall});
        EXPECT_EQ(Settings(), before);
        EXPECT_EQ(recorder::Now().ini_open, 1);
    }
}

TEST_F(CustomDisk, ALabelThatIsNotSetCannotBeRemovedAndTheFileStaysOpen) {
    for (const char *stored : {"", "--", "A--B", "---", "--x"}) {
        Settings().clear();
        if (*stored != '\0') Settings()[kSilkKey] = stored;
        const recorder::IniSection before = Settings();
        recorder::Now().ini_open = 0;
        EXPECT_EQ(Save(1, 0), -1);
        ExpectCalls(kSave, {kLockCall, kLoadCall, "IniGetStr(" + InSection(kSilkKey) + ", --)",
                            Journal("pch DISK have no custom silk config!"), kUnlockCall});
        EXPECT_EQ(Settings(), before);
        EXPECT_EQ(recorder::Now().ini_open, 1);
    }
}

TEST_F(CustomDisk, ARemovalComparesTheWholeStoredNumberWith255) {
    for (const char *stored : {"0", "254", "256", "300", "511", "4294967295"}) {
        Settings()[kSlotKey] = stored;
        EXPECT_EQ(Save(0, 0), 0) << stored;
        EXPECT_TRUE(Settings().empty()) << stored;
    }
}

TEST_F(CustomDisk, AnEmptyLabelCanBeRemoved) {
    Settings()[kSilkKey] = "";
    EXPECT_EQ(Save(1, 0), 0);
    EXPECT_TRUE(Settings().empty());
}

TEST_F(CustomDisk, OnlyByteFiveDecidesAndOnlyOneWrites) {
    for (int option = 0; option < 256; ++option) {
        SCOPED_TRACE(option);
        Settings() = {{kSlotKey, "3"}, {kSilkKey, "Bay 3"}};
        EXPECT_EQ(Save(0, static_cast<uint8_t>(option)), 0);
        EXPECT_EQ(Save(1, static_cast<uint8_t>(option)), 0);
        EXPECT_EQ(Settings(), option == 1 ? (recorder::IniSection{{kSlotKey, "14"}, {kSilkKey, "Bay 14"}})
                                          : recorder::IniSection{});
    }
}

TEST_F(CustomDisk, OtherTypesSaveTheFileUnchanged) {
    const recorder::IniSection before = {{kSlotKey, "3"}, {kSilkKey, "Bay 3"}};
    Settings() = before;
    for (uint8_t type : {2, 3, 255}) {
        for (uint8_t option : {0, 1}) {
            EXPECT_EQ(Save(type, option), 0);
            ExpectCalls(kSave, {kLockCall, kLoadCall, kSaveCall, kCloseCall, kUnlockCall});
            EXPECT_EQ(Settings(), before);
        }
    }
}

TEST_F(CustomDisk, Slot255IsWrittenLoadsAsNoneAndCannotBeRemoved) {
    config_.ucSlot = 255;
    EXPECT_EQ(Save(0, 1), 0);
    EXPECT_EQ(Settings(), (recorder::IniSection{{kSlotKey, "255"}}));
    config_.ucSlot = 1;
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(config_.ucSlot, 255);
    EXPECT_EQ(Save(0, 0), -1);
}

TEST_F(CustomDisk, ALabelWithTwoHyphensIsWrittenLoadsAndCannotBeRemoved) {
    snprintf(config_.acSilkInfo, sizeof config_.acSilkInfo, "A--B");
    EXPECT_EQ(Save(1, 1), 0);
    config_.acSilkInfo[0] = '\0';
    EXPECT_EQ(Load(1), 0);
    EXPECT_STREQ(config_.acSilkInfo, "A--B");
    EXPECT_EQ(Save(1, 0), -1);
}

TEST_F(CustomDisk, ALabelWithoutATerminatorIsItsThirtyThreeBytes) {
    memset(config_.acSilkInfo, 'L', sizeof config_.acSilkInfo);
    memset(config_.aucPad, 'P', sizeof config_.aucPad);
    const std::string label(33, 'L');
    EXPECT_EQ(Save(1, 1), 0);
    ExpectCalls(kSave,
                {kLockCall, kLoadCall, "IniSetStr(" + InSection(kSilkKey) + ", " + label + ")",
                 Journal("set " + kSilkKey + "=" + label + " successfully"), kSaveCall, kCloseCall, kUnlockCall});
    EXPECT_EQ(Settings()[kSilkKey], label);
}

TEST_F(CustomDisk, ALabelIsStoredAndJournalledAsItIs) {
    for (const char *label : {"", " ", "%s%n%d", "100%", "a=b;c#d", "[section]", "\xC3\xA4\xE6\xA9\x9F", "a\nb"}) {
        snprintf(config_.acSilkInfo, sizeof config_.acSilkInfo, "%s", label);
        EXPECT_EQ(Save(1, 1), 0);
        ExpectCalls(kSave,
                    {kLockCall, kLoadCall, "IniSetStr(" + InSection(kSilkKey) + ", " + label + ")",
                     Journal("set " + kSilkKey + "=" + label + " successfully"), kSaveCall, kCloseCall, kUnlockCall});
        EXPECT_EQ(Settings(), (recorder::IniSection{{kSilkKey, label}}));
    }
}

TEST_F(CustomDisk, AFileThatCannotBeSavedChangesNoResult) {
    recorder::Now().ini_save_result = -1;
    EXPECT_EQ(Save(0, 1), 0);
    ExpectCalls(kSave, {kLockCall, kLoadCall, "IniSetUInt(" + InSection(kSlotKey) + ", 14)",
                        Journal("set " + kSlotKey + "=14 successfully"), kSaveCall, kCloseCall, kUnlockCall});
    EXPECT_TRUE(Settings().empty());
}

TEST_F(CustomDisk, WithoutTheLockNothingHappens) {
    recorder::Now().pch_lock_result = -1;
    const PchDiskCustomCfg before = config_;
    EXPECT_EQ(MW_SaveCustomPchDiskConfig(config_, reinterpret_cast<const uint8_t *>("\0\0\0\0\0\1")), -1);
    ExpectCalls(kSave, {kLockCall});
    EXPECT_EQ(Load(0), -1);
    ExpectCalls(kLoad, {kLockCall});
    EXPECT_EQ(Load(1), -1);
    ExpectCalls(kLoad, {kLockCall});
    EXPECT_EQ(memcmp(&config_, &before, sizeof config_), 0);
}

TEST_F(CustomDisk, ThePointerToTheCommandBytesIsNotTested) {
    recorder::Now().pch_lock_result = -1;
    EXPECT_EQ(MW_SaveCustomPchDiskConfig(config_, nullptr), -1);
    ExpectCalls(kSave, {kLockCall});
}

TEST_F(CustomDisk, APositiveLockResultIsSuccess) {
    recorder::Now().pch_lock_result = 7;
    EXPECT_EQ(Save(0, 1), 0);
    EXPECT_EQ(Load(0), 0);
}

TEST_F(CustomDisk, AFileThatCannotBeLoadedIsJournalled) {
    recorder::Now().ini_load_fails = true;
    const PchDiskCustomCfg before = config_;
    const std::string failed = Journal(kFile + " create failed, line={L}");
    EXPECT_EQ(MW_SaveCustomPchDiskConfig(config_, reinterpret_cast<const uint8_t *>("\0\0\0\0\0\1")), -1);
    ExpectCalls(kSave, {kLockCall, kLoadCall, failed, kUnlockCall});
    for (uint32_t type : {0u, 1u, 2u}) {
        EXPECT_EQ(Load(type), -1);
        ExpectCalls(kLoad, {kLockCall, kLoadCall, failed, kUnlockCall});
    }
    EXPECT_EQ(memcmp(&config_, &before, sizeof config_), 0);
}

TEST_F(CustomDisk, KeysNameTheProcessorTheAddressAndThePort) {
    const struct {
        PchDiskCustomCfg disk;
        const char *key;
    } rows[] = {
        {{0, 0x17, 0, 0, 2, 0, 1, 0, {}, {}}, "CPU0_BDF 0000:00:17.0_port2_"},
        {{0, 0x17, 0, 0, 3, 0, 1, 0, {}, {}}, "CPU0_BDF 0000:00:17.0_port3_"},
        {{0, 0x17, 5, 1, 2, 0, 1, 0, {}, {}}, "CPU1_BDF 0000:00:17.5_port2_"},
        {{0x3a, 0x1f, 0x10, 10, 20, 0, 1, 0, {}, {}}, "CPU10_BDF 0000:3a:1f.10_port20_"},
        {{0x100, 0x123, 2, 1, 0, 0, 1, 0, {}, {}}, "CPU1_BDF 0000:100:123.2_port0_"},
        {{0xFFFFFFFF, 0xFFFFFFFF, 0xFFFFFFFF, 255, 255, 0, 1, 0, {}, {}},
         "CPU255_BDF 0000:ffffffff:ffffffff.ffffffff_port255_"},
    };
    for (const auto &row : rows) {
        Settings().clear();
        config_ = row.disk;
        EXPECT_EQ(Save(0, 1), 0);
        EXPECT_EQ(Save(1, 1), 0);
        const std::string key = row.key;
        EXPECT_EQ(Settings(), (recorder::IniSection{{key + "diskslot", "1"}, {key + "customsilk", ""}}));
        Settings() = {{key + "diskslot", "77"}, {key + "customsilk", "X"}};
        EXPECT_EQ(Load(0), 0);
        EXPECT_EQ(Load(1), 0);
        EXPECT_EQ(config_.ucSlot, 77);
        EXPECT_STREQ(config_.acSilkInfo, "X");
    }
}

// --- loading -------------------------------------------------------------------------------------------------------

TEST_F(CustomDisk, NoRecordIsRefusedSilently) {
    for (uint32_t type : {0u, 1u, 2u}) {
        EXPECT_EQ(MW_LoadCustomPchDiskConfig(nullptr, type), -1);
        ExpectNoCalls();
    }
}

TEST_F(CustomDisk, ASlotNumberIsReadAndNothingElseOfTheRecordChanges) {
    for (uint8_t type : {0, 1, 2}) {  // of the record: not looked at
        config_.ucCfgType = type;
        PchDiskCustomCfg expected = config_;
        expected.ucSlot = 42;
        Settings()[kSlotKey] = "42";
        EXPECT_EQ(Load(0), 0);
        ExpectCalls(kLoad, {kLockCall, kLoadCall, "IniGetUInt(" + InSection(kSlotKey) + ", 255)",
                            Journal("get custom config:custom pchdisk slot:42"), kCloseCall, kUnlockCall});
        EXPECT_EQ(memcmp(&config_, &expected, sizeof config_), 0);
    }
    EXPECT_EQ(recorder::Now().ini_open, 0);
}

TEST_F(CustomDisk, ALabelIsReadAndNothingElseOfTheRecordChanges) {
    for (uint8_t type : {0, 1, 2}) {
        config_.ucCfgType = type;
        PchDiskCustomCfg expected = config_;
        memset(expected.acSilkInfo, 0, sizeof expected.acSilkInfo);
        memcpy(expected.acSilkInfo, "Rear 3", 6);
        memset(config_.acSilkInfo, 'x', sizeof config_.acSilkInfo - 1);
        config_.acSilkInfo[32] = '\0';
        Settings()[kSilkKey] = "Rear 3";
        EXPECT_EQ(Load(1), 0);
        ExpectCalls(kLoad, {kLockCall, kLoadCall, kZeroCall, "IniGetStr(" + InSection(kSilkKey) + ", --)",
                            Journal("get custom config:custom pchdisk Silk:Rear 3"), kCloseCall, kUnlockCall});
        EXPECT_EQ(memcmp(&config_, &expected, sizeof config_), 0);
    }
    EXPECT_EQ(recorder::Now().ini_open, 0);
}

TEST_F(CustomDisk, OtherTypesReadNothing) {
    Settings() = {{kSlotKey, "3"}, {kSilkKey, "Bay 3"}};
    const PchDiskCustomCfg before = config_;
    for (uint32_t type : {2u, 255u, 256u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Load(type), 0);
        ExpectCalls(kLoad, {kLockCall, kLoadCall, kCloseCall, kUnlockCall});
    }
    EXPECT_EQ(memcmp(&config_, &before, sizeof config_), 0);
}

TEST_F(CustomDisk, WhatIsNotSetReadsAsTheDefaults) {
    EXPECT_EQ(Load(0), 0);
    EXPECT_EQ(config_.ucSlot, 255);
    EXPECT_EQ(Load(1), 0);
    EXPECT_STREQ(config_.acSilkInfo, "--");
    EXPECT_TRUE(Settings().empty());
}

TEST_F(CustomDisk, TheLow8BitsOfAStoredNumberAreTheSlot) {
    const struct {
        const char *stored;
        int slot;
    } rows[] = {{"0", 0}, {"254", 254}, {"255", 255}, {"256", 0}, {"300", 44}, {"511", 255}, {"4294967295", 255}};
    for (const auto &row : rows) {
        Settings()[kSlotKey] = row.stored;
        EXPECT_EQ(Load(0), 0);
        ExpectCalls(kLoad, {kLockCall, kLoadCall, "IniGetUInt(" + InSection(kSlotKey) + ", 255)",
                            Journal("get custom config:custom pchdisk slot:" + std::to_string(row.slot)), kCloseCall,
                            kUnlockCall});
        EXPECT_EQ(config_.ucSlot, row.slot);
    }
}

TEST_F(CustomDisk, ALabelIsCutTo32Characters) {
    for (size_t length : {0u, 1u, 31u, 32u, 33u, 64u, 5000u}) {
        const std::string stored(length, 'L');
        EXPECT_EQ(Read(stored), stored.substr(0, 32));
    }
}

// --- labels are formats --------------------------------------------------------------------------------------------

struct Label {
    const char *stored;
    const char *read;
};

TEST_F(CustomDisk, ConversionsOfALabelAreFormattedWithZero) {
    const Label labels[] = {
        // plain text
        {"Bay 1", "Bay 1"},
        {"  a = b ; c # [d]", "  a = b ; c # [d]"},
        {"\xC3\xA4\xE6\xA9\x9F", "\xC3\xA4\xE6\xA9\x9F"},
        {"line\nfeed", "line\nfeed"},
        // integers
        {"%d", "0"},
        {"Bay %d", "Bay 0"},
        {"%d%i%u%o%x%X", "000000"},
        {"%hhd %hd %ld %lld %jd %zd %td", "0 0 0 0 0 0 0"},
        {"%5d|%-5d|%05d|%+d|% d", "    0|0    |00000|+0| 0"},
        {"%.3d|%.0d|%.d|%5.2d", "000|||   00"},
        {"%#x %#o", "0 0"},
        {"%'d", "0"},
        {"%------------------------5d|", "0    |"},  // a flag again and again
        {"50%done", "500one"},
        {"5 % of", "5 0f"},
        // floating point
        {"%f", "0.000000"},
        {"%.1f %Lf", "0.0 0.000000"},
        {"%e", "0.000000e+00"},
        {"%G %a", "0 0x0p+0"},
        {"%F|%E|%g|%A", "0.000000|0.000000E+00|0|0X0P+0"},
        {"%+8.2lf|", "   +0.00|"},
        // texts, characters, pointers
        {"%s", "(null)"},
        {"%ls %S", "(null) (null)"},
        {"%8s|%-8s|", "  (null)|(null)  |"},
        {"%.3s", "(nu"},
        {"A%cB", "A"},
        {"A%3lcB", "A  "},
        {"A%CB", "A"},
        // arguments by number, and taken for widths and precisions
        {"%1$d %2$s %999$u", "0 (null) 0"},
        {"%*d|%-*d|%.*d|", "0|0||"},
        {"%2$*1$d|%*1$.*2$f|", "0|0|"},
        {"%.*s|", "|"},
        // percent signs, and what is no conversion
        {"%%", "%"},
        {"100%%", "100%"},
        {"%%d", "%d"},
        {"%5%", "%"},
        {"100%", "100%"},
        {"%", "%"},
        {"100% ", "100% "},
        {"%y", "%y"},
        {"%!d %d", "%!d 0"},
        {"%5", "%5"},
        {"%l", "%l"},
        {"%.", "%."},
        {"%*", "%*"},
        {"%1$", "%1$"},
        {"%*5d", "%*5d"},
        {"%.-5d", "%.-5d"},
        {"%m", "%m"},
        {"%\xC3\xA4", "%\xC3\xA4"},
        // cut
        {"1234567890123456789012345678901%d2", "12345678901234567890123456789010"},
        {"12345678901234567890123456789%f", "123456789012345678901234567890.0"},
        {"12345678901234567890123456789012%d", "12345678901234567890123456789012"},
        {"12345678901234567890123456789012%s%", "12345678901234567890123456789012"},
    };
    for (const Label &label : labels) EXPECT_EQ(Read(label.stored), label.read) << label.stored;
}

TEST_F(CustomDisk, HugeWidthsAndPrecisionsOfALabelAreCut) {
    const std::string blanks(32, ' '), zeros(32, '0');
    EXPECT_EQ(Read("%32d"), blanks.substr(1) + "0");
    EXPECT_EQ(Read("%33d"), blanks);
    EXPECT_EQ(Read("%100.100d"), zeros);
    EXPECT_EQ(Read("%-99999999999999999999d|"), "0" + blanks.substr(1));
    for (const char *number : {"512", "513", "2147483647", "2147483648", "4294967296", "99999999999999999999999999"}) {
        EXPECT_EQ(Read("%" + std::string(number) + "d"), blanks) << number;
        EXPECT_EQ(Read("%0" + std::string(number) + "d"), zeros) << number;
        EXPECT_EQ(Read("%." + std::string(number) + "d"), zeros) << number;
        EXPECT_EQ(Read("%." + std::string(number) + "f"), "0." + zeros.substr(2)) << number;
        EXPECT_EQ(Read("%" + std::string(number) + "s"), blanks) << number;
        EXPECT_EQ(Read("%" + std::string(number) + "$d"), "0") << number;
    }
}

TEST_F(CustomDisk, ALabelThatAsksForACountIsRefusedWhole) {
    for (const char *stored : {"%n", "Bay%n", "%d %n %d", "%hhn", "%lln", "%1$n", "%5n", "%-5.3n", "%*n", "100% new",
                               "12345678901234567890123456789012345%n"}) {
        config_.acSilkInfo[0] = 'x';
        Settings()[kSilkKey] = stored;
        EXPECT_EQ(Load(1), 0) << stored;
        const char empty[33] = {};
        EXPECT_EQ(memcmp(config_.acSilkInfo, empty, sizeof empty), 0) << stored;
        ExpectCalls(kLoad, {kLockCall, kLoadCall, kZeroCall, "IniGetStr(" + InSection(kSilkKey) + ", --)",
                            "hov_memset_s(33, 0, 33)", Journal("get custom config:custom pchdisk Silk:"), kCloseCall,
                            kUnlockCall});
    }
    EXPECT_EQ(Read("%%n"), "%n");
}

// Labels of random pieces whose result is known piece by piece: the C library formats each conversion with a zero of
// the type that its length modifier asks for.
class RandomLabel {
 public:
    explicit RandomLabel(std::mt19937 &random) : random_(random) {
        const unsigned pieces = 1 + Below(6);
        for (unsigned i = 0; i < pieces; ++i) AddPiece();
    }

    const std::string &stored() const { return stored_; }
    const std::string &expected() const { return expected_; }

 private:
    unsigned Below(unsigned n) { return static_cast<unsigned>(random_() % n); }

    template <size_t N>
    const char *Pick(const char *const (&choices)[N]) {
        return choices[Below(N)];
    }

    std::string MaybeNumber() {
        return Below(2) != 0 ? std::to_string(1 + Below(40)) : "";
    }

    template <class T>
    void Convert(const std::string &format, T zero) {
        char text[256];
        const int length = snprintf(text, sizeof text, format.c_str(), zero);
        ASSERT_GE(length, 0);
        expected_.append(text, static_cast<size_t>(length));
    }

    void AddPiece() {
        const std::string precision = Below(3) == 0 ? "." + MaybeNumber() : "";
        const std::string width = MaybeNumber();
        switch (Below(8)) {
            case 0: Add("%%", "%"); break;
            case 1: {
                const char *text = Pick({"Bay ", "-", "a=b;", "\xC3\xA4", "[x]", "  "});
                Add(text, text);
                break;
            }
            case 2: AddIntegers("di", "-+ 0'", width, precision); break;
            case 3: AddIntegers("xXo", "-#0", width, precision); break;
            case 4: AddIntegers("u", "-0'", width, precision); break;
            case 5: {
                const std::string flags = Flags("-+ #0'"), specifier(1, "fFeEgGaA"[Below(8)]);
                const bool wide = Below(3) == 0;
                const std::string format = "%" + flags + width + precision + (wide ? "L" : "") + specifier;
                stored_ += Numbered(format);
                wide ? Convert(format, 0.0L) : Convert(format, 0.0);
                break;
            }
            case 6: {
                const std::string format = "%" + Flags("-") + width + precision + "s";
                stored_ += Numbered(format);
                Convert(format, "(null)");
                break;
            }
            case 7: {
                const bool pointer = Below(2) != 0;
                const std::string format = "%" + Flags("-") + width + (pointer ? "p" : "c");
                stored_ += Numbered(format);
                pointer ? Convert(format, static_cast<void *>(nullptr)) : Convert(format, 0);
                break;
            }
        }
    }

    void Add(const char *stored, const char *expected) {
        stored_ += stored;
        expected_ += expected;
    }

    std::string Flags(const std::string &choices) {
        std::string flags;
        for (unsigned n = Below(4); n > 0; --n) flags += choices[Below(static_cast<unsigned>(choices.size()))];
        return flags;
    }

    // Which argument a conversion names makes no difference.
    std::string Numbered(const std::string &format) {
        return Below(4) == 0 ? "%" + std::to_string(1 + Below(99)) + "$" + format.substr(1) : format;
    }

    void AddIntegers(const std::string &specifiers, const std::string &flags, const std::string &width,
                     const std::string &precision) {
        const std::string begin = "%" + Flags(flags) + width + precision;
        const std::string specifier(1, specifiers[Below(static_cast<unsigned>(specifiers.size()))]);
        const auto add = [&](const char *length, auto zero) {
            stored_ += Numbered(begin + length + specifier);
            Convert(begin + length + specifier, zero);
        };
        switch (Below(6)) {
            case 0: add("", 0); break;
            case 1: add("hh", 0); break;
            case 2: add("h", 0); break;
            case 3: add("l", 0L); break;
            case 4: add("ll", 0LL); break;
            case 5: add("z", size_t{0}); break;
        }
    }

    std::mt19937 &random_;
    std::string stored_;
    std::string expected_;
};

TEST_F(CustomDisk, RandomConversionsAreFormattedAsTheCLibraryFormatsZero) {
    std::mt19937 random(20260101);
    for (int i = 0; i < 20000; ++i) {
        const RandomLabel label(random);
        Read(label.stored());
        char expected[32] = {};
        memcpy(expected, label.expected().data(), std::min(sizeof expected, label.expected().size()));
        ASSERT_EQ(std::string(config_.acSilkInfo, 32), std::string(expected, 32)) << label.stored();
        if (i % 1000 == 0) recorder::ClearCalls();
    }
}

TEST_F(CustomDisk, RandomTextsAreReadWithinTheirFieldWhateverTheyAskFor) {
    const std::string often = "%%%%%%*.$0123456789hlLjztq-+ #'IdiouxXfFeEgGaAcCsSpnm";
    std::mt19937 random(42);
    for (int i = 0; i < 20000; ++i) {
        std::string stored;
        for (unsigned length = random() % 80; length > 0; --length) {
            stored += random() % 8 == 0 ? static_cast<char>(1 + random() % 255) : often[random() % often.size()];
        }
        const PchDiskCustomCfg before = config_;
        Read(stored);
        ASSERT_EQ(memcmp(&config_, &before, offsetof(PchDiskCustomCfg, acSilkInfo)), 0) << stored;
        ASSERT_EQ(memcmp(config_.aucPad, before.aucPad, sizeof config_.aucPad), 0) << stored;
        ASSERT_EQ(recorder::Now().ini_open, 0);
        if (i % 1000 == 0) recorder::ClearCalls();
    }
}

}  // namespace
