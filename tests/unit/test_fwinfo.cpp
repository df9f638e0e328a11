// Firmware versions: blocks, single versions as numbers and as text.
#include <climits>

#include "accessor_test.h"

namespace {

constexpr ModuleFacts kFirmware{"fwinfo/hov_midfw", &g_ptFwCollectAddr, 673296, 19080, 12301};

constexpr size_t kBmc = 0;
constexpr size_t kBios = 548;
constexpr size_t kBoot = 1064;
constexpr size_t kFru = 1354;
constexpr size_t kEpld = 11644;
constexpr size_t kPsu = 18749;

constexpr size_t EpldCard(uint32_t card) { return kEpld + 145 + size_t{145} * card; }
constexpr size_t FruCard(uint32_t card) { return kFru + 145 + size_t{210} * card; }

#define NAMED(function) #function, function

const struct {
    const char *name;
    int32_t (*get)(void *);
    const char *set_name;
    int32_t (*set)(const void *);
    size_t offset;
    size_t size;
} kBlocks[] = {
    {NAMED(MW_GetBmcVerInfo), NAMED(MW_SetBmcVerInfo), kBmc, 548},
    {NAMED(MW_GetBiosVerInfo), NAMED(MW_SetBiosVerInfo), kBios, 516},
    {NAMED(MW_GetBootVerInfo), NAMED(MW_SetBootVerInfo), kBoot, 290},
    {NAMED(MW_GetFruVerInfo), NAMED(MW_SetFruVerInfo), kFru, 10290},
    {NAMED(MW_GetEpldVerInfo), NAMED(MW_SetEpldVerInfo), kEpld, 7105},
};

const struct {
    const char *name;
    int32_t (*get)(uint32_t *);
    size_t offset;
} kWordGetters[] = {
    {NAMED(MW_GetEpldVersion), kEpld},
    {NAMED(MW_GetBiosActiveStatus), 19076},
};

// What the selectors can name: where it is, what makes it valid, and what is logged when it is not.
struct Selector {
    uint32_t type;
    uint32_t ext;
    enum Form { kNone, kEpldForm, kBootForm, kFruForm, kStored } form;  // as text
    bool number;                                                        // can be had as a number
    size_t at;                                                          // the number or the stored text
    size_t flag;                                                        // 0 where there is none
    std::string invalid;                                                // without the step's name
    size_t block;                                                       // bytes that are copied to find out
    const char *getter;                                                 // the block's
    const char *number_step;
    const char *text_step;
};

std::vector<Selector> Selectors() {
    std::vector<Selector> all;
    for (uint32_t card = 0; card <= 47; ++card) {
        const std::string number = "[" + std::to_string(card) + "]";
        const size_t epld = card == 0 ? kEpld : EpldCard(card);
        all.push_back({7, card, Selector::kEpldForm, true, epld, epld + 144,
                       card == 0
                           ? "all_boot_version.MBootValidFlag is invalid\n"
                           : "all_epld_version.tCardEpldVer" + number + ".CardEpldValidFlag is invalid\n",
                       7105, "MW_GetEpldVerInfo", "MW_GetEpldVersionNumber", "MW_GetEpldVersionString"});
        const size_t fru = card == 0 ? kFru : FruCard(card);
        all.push_back({15, card, Selector::kFruForm, true, fru, fru + 144,
                       card == 0 ? "all_fru_version.MFruValidFlag is invalid\n"
                                 : "all_fru_version.tCardFruVer" + number + ".CardValidFlag is invalid\n",
                       10290, "MW_GetFruVerInfo", "MW_GetFruVersionNumber", "MW_GetFruVersionString"});
    }
    for (uint32_t half = 0; half < 2; ++half) {
        const size_t at = kBmc + 274 * half;
        const std::string flag = half == 0 ? "all_bmc_version.M" : "all_bmc_version.S";
        const Selector bmc{14,
                           half,
                           Selector::kNone,
                           true,
                           at,
                           at + 272,
                           flag + "BmcValidFlag is invalid\n",
                           548,
                           "MW_GetBmcVerInfo",
                           "MW_GetBmcVersionNumber",
                           "MW_GetBmcVersionString"};
        all.push_back(bmc);
        Selector text = bmc;
        text.number = false;
        text.form = Selector::kStored;
        text.at = at + 16;
        all.push_back(text);
        text.ext = half + 2;
        text.at = at + 80;
        text.flag = at + 273;
        text.invalid = flag + "BmcOutValidFlag is invalid\n";
        all.push_back(text);
    }
    const char *bios[] = {"MBiosOutValidFlag", "SBiosOutValidFlag", "MBiosValidFlag", "SBiosValidFlag"};
    for (uint32_t i = 0; i < 4; ++i) {
        all.push_back({26, i + 2, Selector::kStored, false, kBios + 129 * i, kBios + 129 * i + 128,
                       std::string("all_bios_version.") + bios[i] + " is invalid\n", 516, "MW_GetBiosVerInfo",
                       nullptr, "MW_GetBiosVersionString"});
        all.push_back({38, i + 1, Selector::kStored, false, kPsu + 81 * i + 16, 0, "", 324,
                       "MW_GetPsuVerInfo", nullptr, "MW_GetPsuVersionString"});
    }
    all.push_back({20, 0, Selector::kBootForm, true, kBoot, kBoot + 144,
                   "all_boot_version.MBootValidFlag is invalid\n", 290, "MW_GetBootVerInfo",
                   "MW_GetBootVersionNumber", "MW_GetBootVersionString"});
    return all;
}

std::string Formatted(const char *format, uint32_t a, uint32_t b, uint32_t c, uint32_t d) {
    char text[128];
    snprintf(text, sizeof text, format, a, b, c, d);
    return text;
}

// A number as text.
std::string TextOf(const Selector &selector, uint32_t number) {
    switch (selector.form) {
        case Selector::kEpldForm:
            return Formatted("00.00.%02d.%02d", number >> 8 & 255, number & 255, 0, 0);
        case Selector::kBootForm:
            return Formatted("%02x.%02x.%02x.%02x", number >> 24, number >> 16 & 255, number >> 8 & 255,
                             number & 255);
        case Selector::kFruForm:
            return Formatted("%02d.%02d.%04d", number >> 24, number >> 16 & 255, number & 65535, 0);
        default:
            return "";
    }
}

// A message of a step: its first fields, then the rest.
std::string Step(const char *step, const std::string &rest, const char *before = "[") {
    return Audit(before + std::string(step) + ":{L}]" + rest);
}

class Firmware : public AccessorTest {
  protected:
    Firmware() : AccessorTest(kFirmware, kLockError) {}

    static std::vector<std::string> Copied(size_t size) { return {Lock(12301), Copy(size), Unlock(12301)}; }

    // Reading a block of this size and then these messages. {L} must lie in `step`.
    void ExpectRead(const char *step, size_t size, const std::vector<std::string> &messages) {
        std::vector<std::string> calls;
        if (size != 0) calls = Copied(size);
        calls.insert(calls.end(), messages.begin(), messages.end());
        ExpectCalls(step, calls);
    }

    void PutText(size_t at, const std::string &text) { PutBytes(at, text.c_str(), text.size() + 1); }

    char text_[256];
};

// --- blocks --------------------------------------------------------------------------------------

TEST_F(Firmware, EveryAccessorFollowsTheTemplate) {
    std::vector<uint8_t> bytes(10290);
    uint32_t word;
    for (const auto &row : kBlocks) {
        CheckGuarded({row.name, [&] { return row.get(bytes.data()); }, [&] { return row.get(nullptr); }});
        CheckGuarded({row.set_name, [&] { return row.set(bytes.data()); }, [&] { return row.set(nullptr); }});
    }
    for (const auto &row : kWordGetters) {
        CheckGuarded({row.name, [&] { return row.get(&word); }, [&] { return row.get(nullptr); }});
    }
    CheckGuarded({"MW_GetPsuVerInfo", [&] { return MW_GetPsuVerInfo(bytes.data()); },
                  [] { return MW_GetPsuVerInfo(nullptr); }});
    CheckGuarded({"MW_SetPsuVerInfo", [&] { return MW_SetPsuVerInfo(1, bytes.data()); },
                  [] { return MW_SetPsuVerInfo(1, nullptr); }});
    CheckGuarded({"MW_SetBiosActiveStatus", [] { return MW_SetBiosActiveStatus(1); }});
}

TEST_F(Firmware, BlocksAreCopiedWholeAndNothingElse) {
    FillArea();
    Image expected = Image::Take();
    uint8_t seed = 50;
    for (const auto &row : kBlocks) {
        SCOPED_TRACE(row.name);
        std::vector<uint8_t> block(row.size + 1, 0xEE);
        EXPECT_EQ(row.get(block.data()), 0);
        ExpectCalls(row.name, Copied(row.size));
        EXPECT_EQ(memcmp(block.data(), recorder::Area() + At(row.offset), row.size), 0);
        EXPECT_EQ(block.back(), 0xEE);
        block = Pattern(row.size, ++seed);
        EXPECT_EQ(row.set(block.data()), 0);
        ExpectCalls(row.set_name, Copied(row.size));
        expected = expected.With(At(row.offset), block.data(), row.size);
        ExpectImage(expected);
    }
}

TEST_F(Firmware, WordsAreFourBytesWhateverTheFlagsSay) {
    FillArea();
    const Image before = Image::Take();
    for (const auto &row : kWordGetters) {
        uint32_t word = 0;
        EXPECT_EQ(row.get(&word), 0);
        ExpectCalls(row.name, {Lock(12301), Unlock(12301)});
        EXPECT_EQ(word, Get<uint32_t>(row.offset)) << row.name;
    }
    EXPECT_EQ(MW_SetBiosActiveStatus(0x01020304), 0);
    ExpectCalls("MW_SetBiosActiveStatus", {Lock(12301), Unlock(12301)});
    ExpectImage(before.With<uint32_t>(At(19076), 0x01020304));
}

TEST_F(Firmware, SuppliesAreStoredOneByOneAndReadTogether) {
    FillArea();
    Image expected = Image::Take();
    for (uint32_t psu = 1; psu <= 4; ++psu) {
        const psu_version version = PatternOf<psu_version>(static_cast<uint8_t>(psu));
        EXPECT_EQ(MW_SetPsuVerInfo(psu, &version), 0);
        ExpectCalls("MW_SetPsuVerInfo", Copied(81));
        expected = expected.With(At(kPsu) + (psu - 1) * 81, &version, 81);
        ExpectImage(expected);
    }
    psu_version all[4];
    EXPECT_EQ(MW_GetPsuVerInfo(all), 0);
    ExpectCalls("MW_GetPsuVerInfo", Copied(324));
    EXPECT_EQ(memcmp(all, recorder::Area() + At(kPsu), 324), 0);
}

TEST_F(Firmware, OfASupplysNumberTheLowByteCounts) {
    FillArea();
    Image expected = Image::Take();
    const psu_version version = PatternOf<psu_version>(9);
    for (uint32_t psu : {0x101u, 0xFFFFFF04u}) {
        EXPECT_EQ(MW_SetPsuVerInfo(psu, &version), 0);
        expected = expected.With(At(kPsu) + ((psu & 255) - 1) * 81, &version, 81);
        ExpectImage(expected);
    }
    recorder::ClearCalls();
    Detach();
    for (uint32_t psu : {0u, 5u, 6u, 0x80u, 0xFFu, 0x100u, 0x105u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetPsuVerInfo(psu, &version), -1) << psu;
        ExpectNoCalls();
    }
    ExpectImage(expected);
}

// --- numbers -------------------------------------------------------------------------------------

TEST_F(Firmware, NumbersAreHandedOutWhereTheirFlagIsExactlyOne) {
    FillArea();
    recorder::OpenArea();
    const Image before = Image::Take();
    for (const Selector &selector : Selectors()) {
        if (!selector.number) continue;
        SCOPED_TRACE(testing::Message() << "type " << selector.type << ", " << selector.ext);
        const auto kept = Get<uint8_t>(selector.flag);
        for (int flag = 0; flag < 256; ++flag) {
            Put<uint8_t>(selector.flag, static_cast<uint8_t>(flag));
            uint32_t number = 0xABCD;
            EXPECT_EQ(MW_GetFirmwareVersionInteger(selector.type, selector.ext, &number), flag == 1 ? 0 : -1);
            EXPECT_EQ(number, flag == 1 ? Get<uint32_t>(selector.at) : 0xABCD);
            // The messages of a few flags; matching them costs more than the call.
            if (flag > 2 && flag < 254) {
                recorder::ClearCalls();
                continue;
            }
            std::vector<std::string> messages;
            if (flag != 1) messages = {Step(selector.number_step, selector.invalid)};
            ExpectRead(selector.number_step, selector.block, messages);
        }
        Put<uint8_t>(selector.flag, kept);
    }
    ExpectImage(before);
}

TEST_F(Firmware, NumbersThatNoSelectorNamesAreRefused) {
    FillArea();
    const uint32_t far[] = {48, 49, 0x10000, 0x80000000, 0xFFFFFFFF};
    uint32_t number = 0xABCD;
    for (uint32_t ext : far) {
        SCOPED_TRACE(ext);
        EXPECT_EQ(MW_GetFirmwareVersionInteger(7, ext, &number), -1);
        ExpectRead(
            "MW_GetEpldVersionNumber", 0,
            {Step("MW_GetEpldVersionNumber", "MW_GetEpldVersionNumber over max valid Num:47\n", "[err:")});
        EXPECT_EQ(MW_GetFirmwareVersionInteger(15, ext, &number), -1);
        ExpectRead(
            "MW_GetFruVersionNumber", 0,
            {Step("MW_GetFruVersionNumber", "GetFruVersionNumberFromMid over max valid Num:47\n", "[err:")});
    }
    for (uint32_t ext : {2u, 3u, 0x10000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionInteger(14, ext, &number), -1);
        ExpectRead("MW_GetBmcVersionNumber", 548,
                   {Step("MW_GetBmcVersionNumber",
                         "wVerExt " + std::to_string(static_cast<int32_t>(ext)) + " is not valid\n")});
    }
    for (uint32_t ext : {1u, 2u, 0x10000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionInteger(20, ext, &number), -1);
        ExpectRead("MW_GetBootVersionNumber", 290,
                   {Step("MW_GetBootVersionNumber", "wVerExt " + std::to_string(ext) + " is not valid\n")});
    }
    for (uint32_t type : {0u, 3u, 6u, 8u, 13u, 16u, 19u, 21u, 26u, 38u, 0x10007u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionInteger(type, 0, &number), -1) << type;
        ExpectNoCalls();
    }
    EXPECT_EQ(number, 0xABCDu);
    for (uint32_t type : {3u, 7u, 14u, 15u, 20u}) {
        EXPECT_EQ(MW_GetFirmwareVersionInteger(type, 0, nullptr), -1) << type;
        ExpectNoCalls();
    }
}

TEST_F(Firmware, ANumberWhoseBlockIsNotHadIsRefusedWithTheBlocksMessage) {
    recorder::Now().lock_result[12301] = -1;
    for (const Selector &selector : Selectors()) {
        if (!selector.number) continue;
        uint32_t number = 0xABCD;
        EXPECT_EQ(MW_GetFirmwareVersionInteger(selector.type, selector.ext, &number), -1);
        EXPECT_EQ(number, 0xABCDu);
        ExpectCalls(selector.getter, {Lock(12301), Dbg(kLockError)});
    }
}

// --- texts ---------------------------------------------------------------------------------------

TEST_F(Firmware, EverySelectorFollowsItsFlagAtEveryLength) {
    const std::vector<int32_t> lengths = {1, 2, 64, 65, 200};
    const std::vector<int32_t> more_lengths = {1, 2, 64, 65, 200, INT_MIN, -1, 0, 3, 10, 63, INT_MAX};
    FillArea();
    recorder::OpenArea();  // quicker, and the accessors' locking is seen elsewhere
    for (const Selector &selector : Selectors()) {
        if (selector.form == Selector::kNone) continue;
        SCOPED_TRACE(testing::Message() << "type " << selector.type << ", " << selector.ext);
        const bool formatted = selector.form != Selector::kStored;
        const auto valid_text = formatted ? TextOf(selector, Get<uint32_t>(selector.at)) : std::string();
        const auto zero_text = TextOf(selector, 0);
        const bool zero_if_invalid =
            selector.form == Selector::kEpldForm || selector.form == Selector::kBootForm;
        for (int flag = 0; flag < 256; ++flag) {
            if (selector.flag != 0) {
                Put<uint8_t>(selector.flag, static_cast<uint8_t>(flag));
            } else if (flag > 0) {
                break;
            }
            const bool valid = flag == 1 || selector.flag == 0;
            for (int32_t length : flag < 3 ? more_lengths : lengths) {
                char text[96];
                char expected[96];
                memset(text, 0x7E, sizeof text);
                memset(expected, 0x7E, sizeof expected);
                const bool answered = length > 1 && (valid || zero_if_invalid);
                if (answered) {
                    const auto used = static_cast<size_t>(std::min(length, 64));
                    if (formatted) {
                        snprintf(expected, used, "%s", (valid ? valid_text : zero_text).c_str());
                    } else {
                        memcpy(expected, recorder::Area() + At(selector.at), used);
                        expected[used - 1] = '\0';
                    }
                }
                const int32_t result = MW_GetFirmwareVersionString(selector.type, selector.ext, text, length);
                recorder::ClearCalls();
                if (result != (answered ? 0 : -1) || memcmp(text, expected, sizeof text) != 0) {
                    ADD_FAILURE() << "flag " << flag << ", length " << length << ": " << result << ", \""
                                  << std::string(text, strnlen(text, sizeof text)) << "\"";
                }
            }
        }
    }
}

TEST_F(Firmware, TextsLogWhatTheirStepsFind) {
    FillArea();
    for (const Selector &selector : Selectors()) {
        if (selector.form == Selector::kNone || selector.flag == 0) continue;
        for (uint8_t flag : {0, 1, 2, 255}) {
            SCOPED_TRACE(testing::Message()
                         << "type " << selector.type << ", " << selector.ext << ", flag " << int{flag});
            Put<uint8_t>(selector.flag, flag);
            MW_GetFirmwareVersionString(selector.type, selector.ext, text_, 64);
            // Two steps may speak in one call; their lines are told apart below.
            std::vector<std::string> messages;
            if (flag != 1) {
                const bool stored = selector.form == Selector::kStored;
                messages.push_back(
                    Step(stored ? selector.text_step : selector.number_step, selector.invalid));
                if (selector.form == Selector::kEpldForm) {
                    messages.push_back(
                        Step("MW_GetEpldVersionString", "MW_GetEpldVersionString is invalid\n"));
                } else if (selector.form == Selector::kBootForm) {
                    messages.push_back(Step("MW_GetBootVersionString", "MW_GetBootVersionNumber failed\n"));
                }
            } else if (selector.form == Selector::kFruForm) {
                messages.push_back(Step("MW_GetFruVersionString", "Get fru (" + std::to_string(selector.ext) +
                                                                      ") Version " + text_ + "\n"));
            }
            const char *step = messages.size() == 2                               ? ""
                               : selector.form == Selector::kFruForm && flag != 1 ? selector.number_step
                                                                                  : selector.text_step;
            // Stored texts are one more copy, from the block to the caller.
            std::vector<std::string> calls = Copied(selector.block);
            if (selector.form == Selector::kStored && flag == 1) calls.push_back(Copy(64));
            calls.insert(calls.end(), messages.begin(), messages.end());
            ExpectCalls(step, calls);
        }
    }
}

TEST_F(Firmware, MessagesOfATextStepNameALineInIt) {
    // Without a block the number's step is silent, so that the text's step can be checked alone.
    uint32_t type = 7;
    for (const char *message : {"[MW_GetEpldVersionString:{L}]MW_GetEpldVersionString is invalid\n",
                                "[MW_GetBootVersionString:{L}]MW_GetBootVersionNumber failed\n"}) {
        recorder::Now().region_missing = true;
        Detach();
        EXPECT_EQ(MW_GetFirmwareVersionString(type, 0, text_, 64), 0);
        ExpectCalls(type == 7 ? "MW_GetEpldVersionString" : "MW_GetBootVersionString",
                    {AttachCall(), AttachFailurePrint(), Audit(message)});
        type = 20;
    }
}

TEST_F(Firmware, TextsWhoseBlockIsNotHadAreZeroOrRefused) {
    recorder::Now().lock_result[12301] = -1;
    for (const Selector &selector : Selectors()) {
        if (selector.form == Selector::kNone) continue;
        SCOPED_TRACE(testing::Message() << "type " << selector.type << ", " << selector.ext);
        strcpy(text_, "untouched");
        const int32_t result = MW_GetFirmwareVersionString(selector.type, selector.ext, text_, 64);
        std::vector<std::string> calls = {
            Lock(12301), Dbg("[{S}:{L}][" + std::string(selector.getter) + "] sem lock failed, {E}\n")};
        if (selector.form == Selector::kEpldForm) {
            calls.push_back(Step("MW_GetEpldVersionString", "MW_GetEpldVersionString is invalid\n"));
        } else if (selector.form == Selector::kBootForm) {
            calls.push_back(Step("MW_GetBootVersionString", "MW_GetBootVersionNumber failed\n"));
        }
        ExpectCalls(calls.size() == 2 ? selector.getter : "", calls);
        EXPECT_EQ(result, calls.size() == 2 ? -1 : 0);
        EXPECT_STREQ(text_, calls.size() == 2 ? "untouched" : "00.00.00.00");
    }
}

TEST_F(Firmware, TextsThatNoSelectorNamesAreRefused) {
    FillArea();
    memset(text_, 0x7E, sizeof text_);
    for (uint32_t ext : {4u, 5u, 0x10000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionString(14, ext, text_, 64), -1);
        ExpectRead("MW_GetBmcVersionString", 548,
                   {Step("MW_GetBmcVersionString",
                         "MW_GetBmcVersionString:{L} Unsupported  wVerExt " + std::to_string(ext) + "\n")});
    }
    for (uint32_t ext : {0u, 1u, 6u, 0x10002u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionString(26, ext, text_, 64), -1);
        ExpectRead("MW_GetBiosVersionString", 516,
                   {Print("MW_GetBiosVersionString:{L} Unsupported  wVerExt " + std::to_string(ext) + "\n")});
    }
    for (uint32_t ext : {0u, 5u, 0x101u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionString(38, ext, text_, 64), -1);
        ExpectNoCalls();
    }
    for (uint32_t ext : {48u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionString(15, ext, text_, 64), -1);
        ExpectRead(
            "MW_GetFruVersionNumber", 0,
            {Step("MW_GetFruVersionNumber", "GetFruVersionNumberFromMid over max valid Num:47\n", "[err:")});
    }
    for (uint32_t type : {0u, 3u, 6u, 8u, 13u, 16u, 19u, 21u, 25u, 27u, 37u, 39u, 0x10007u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareVersionString(type, 0, text_, 64), -1);
        ExpectRead(
            "MW_GetFirmwareVersionString", 0,
            {Step("MW_GetFirmwareVersionString",
                  "MW_GetFirmwareVersionString:{L} Unsupported  wVerType " + std::to_string(type) + "\n")});
    }
    EXPECT_EQ(text_[0], 0x7E);
    // No message, whatever the type, without a buffer.
    for (uint32_t type : {3u, 7u, 14u, 15u, 20u, 26u, 38u}) {
        EXPECT_EQ(MW_GetFirmwareVersionString(type, 1, nullptr, 64), -1);
        EXPECT_EQ(MW_GetFirmwareVersionString(type, 1, text_, 1), -1);
        ExpectNoCalls();
    }
}

TEST_F(Firmware, LogicAndBootTextsOfNumbersThatNoSelectorNamesAreZero) {
    FillArea();
    EXPECT_EQ(MW_GetFirmwareVersionString(7, 48, text_, 64), 0);
    EXPECT_STREQ(text_, "00.00.00.00");
    ExpectCalls("",
                {Step("MW_GetEpldVersionNumber", "MW_GetEpldVersionNumber over max valid Num:47\n", "[err:"),
                 Step("MW_GetEpldVersionString", "MW_GetEpldVersionString is invalid\n")});
    EXPECT_EQ(MW_GetFirmwareVersionString(20, 1, text_, 64), 0);
    EXPECT_STREQ(text_, "00.00.00.00");
    ExpectRead("", 290,
               {Step("MW_GetBootVersionNumber", "wVerExt 1 is not valid\n"),
                Step("MW_GetBootVersionString", "MW_GetBootVersionNumber failed\n")});
}

TEST_F(Firmware, NumbersMakeTheseTexts) {
    const struct {
        uint32_t type;
        uint32_t ext;
        size_t at;
        uint32_t number;
        const char *text;
    } cases[] = {
        {7, 0, kEpld, 0xFFFF0000, "00.00.00.00"},        {7, 0, kEpld, 0x0000FFFF, "00.00.255.255"},
        {7, 3, EpldCard(3), 0x0000020A, "00.00.02.10"},  {7, 47, EpldCard(47), 0x12340163, "00.00.01.99"},
        {20, 0, kBoot, 0x01020A0B, "01.02.0a.0b"},       {20, 0, kBoot, 0xFFFEFDFC, "ff.fe.fd.fc"},
        {15, 0, kFru, 0x0102002A, "01.02.0042"},         {15, 1, FruCard(1), 0xFFFFFFFF, "255.255.65535"},
        {15, 47, FruCard(47), 0x00000000, "00.00.0000"},
    };
    for (const auto &row : cases) {
        Put<uint32_t>(row.at, row.number);
        Put<uint8_t>(row.at + 144, 1);
        EXPECT_EQ(MW_GetFirmwareVersionString(row.type, row.ext, text_, sizeof text_), 0);
        EXPECT_STREQ(text_, row.text);
    }
    recorder::ClearCalls();
}

TEST_F(Firmware, TextsAreCutToTheLength) {
    Put<uint8_t>(272, 1);
    PutText(16, "12345678901234567890");
    EXPECT_EQ(MW_GetFirmwareVersionString(14, 0, text_, 10), 0);
    EXPECT_STREQ(text_, "123456789");
    Put<uint32_t>(kFru, 0x0102002A);
    Put<uint8_t>(kFru + 144, 1);
    recorder::ClearCalls();
    EXPECT_EQ(MW_GetFirmwareVersionString(15, 0, text_, 6), 0);
    EXPECT_STREQ(text_, "01.02");
    ExpectRead("MW_GetFruVersionString", 10290,
               {Step("MW_GetFruVersionString", "Get fru (0) Version 01.02\n")});
}

TEST_F(Firmware, CardZeroIsTheMainBoard) {
    // Records 0 of the cards are never looked at.
    uint32_t number = 0;
    Put<uint32_t>(kEpld, 11);
    Put<uint8_t>(kEpld + 144, 1);
    Put<uint32_t>(EpldCard(0), 22);
    Put<uint32_t>(kFru, 33);
    Put<uint8_t>(kFru + 144, 1);
    Put<uint32_t>(FruCard(0), 44);
    EXPECT_EQ(MW_GetFirmwareVersionInteger(7, 0, &number), 0);
    EXPECT_EQ(number, 11u);
    EXPECT_EQ(MW_GetFirmwareVersionInteger(15, 0, &number), 0);
    EXPECT_EQ(number, 33u);
    Put<uint8_t>(kEpld + 144, 0);
    Put<uint8_t>(EpldCard(0) + 144, 1);
    Put<uint8_t>(kFru + 144, 0);
    Put<uint8_t>(FruCard(0) + 144, 1);
    EXPECT_EQ(MW_GetFirmwareVersionInteger(7, 0, &number), -1);
    EXPECT_EQ(MW_GetFirmwareVersionInteger(15, 0, &number), -1);
    recorder::ClearCalls();
}

// --- build times ---------------------------------------------------------------------------------

TEST_F(Firmware, TheBuildTimeAndDateOfAnImageNeedItsOutwardFlag) {
    char time[65];
    char date[65];
    for (int32_t image : {2, 3}) {
        const size_t half = 274 * static_cast<size_t>(image - 2);
        const std::string which = image == 2 ? "Master" : "Slave";
        FillArea();
        PutText(half + 144, "12:34:56 " + which);
        PutText(half + 208, "Jan 2 2024 " + which);
        for (int flag = 0; flag < 256; ++flag) {
            SCOPED_TRACE(testing::Message() << which << ", flag " << flag);
            Put<uint8_t>(half + 273, static_cast<uint8_t>(flag));
            memset(time, 0x7E, sizeof time);
            memset(date, 0x7E, sizeof date);
            const int32_t result = MW_GetBmcVerBuildDateTime(time, date, image);
            if (flag == 0) {
                EXPECT_EQ(result, -1);
                EXPECT_EQ(time[0], 0x7E);
                EXPECT_EQ(date[0], 0x7E);
                ExpectRead("MW_GetBmcVerBuildDateTime", 548, {});
                continue;
            }
            EXPECT_EQ(result, 0);
            EXPECT_EQ(time, "12:34:56 " + which);
            EXPECT_EQ(date, "Jan 2 2024 " + which);
            if (flag > 2 && flag < 254) {
                recorder::ClearCalls();
                continue;
            }
            ExpectRead("MW_GetBmcVerBuildDateTime", 548,
                       {Step("MW_GetBmcVerBuildDateTime", which + " Bmc pcBuildTime:12:34:56 " + which +
                                                              ", pcBuildDate:Jan 2 2024 " + which)});
        }
    }
}

TEST_F(Firmware, TheBuildTimeOfABiosImageNeedsNoFlag) {
    char time[65];
    for (int32_t image : {2, 3}) {
        FillArea();
        const size_t block = kBios + 129 * static_cast<size_t>(image - 2);
        PutText(block + 64, "12:34:56 " + std::to_string(image));
        for (uint8_t flag : {0, 1, 255}) {
            Put<uint8_t>(block + 128, flag);
            memset(time, 0x7E, sizeof time);
            EXPECT_EQ(MW_GetBiosVerBuildTime(time, image), 0);
            EXPECT_EQ(time, "12:34:56 " + std::to_string(image));
            ExpectRead("MW_GetBiosVerBuildTime", 516,
                       {Step("MW_GetBiosVerBuildTime", "pcBuildTime:12:34:56 " + std::to_string(image))});
        }
    }
}

TEST_F(Firmware, BuildTimesWithoutATerminatorAreCutToSixtyThreeCharacters) {
    char time[65];
    char date[65];
    FillArea();
    const auto expect_cut = [&](const char *text, size_t at) {
        EXPECT_EQ(std::string(text), std::string(reinterpret_cast<char *>(recorder::Area()) + At(at), 63));
        EXPECT_EQ(text[64], 0x7E);
    };
    for (int32_t image : {2, 3}) {
        memset(time, 0x7E, sizeof time);
        memset(date, 0x7E, sizeof date);
        EXPECT_EQ(MW_GetBmcVerBuildDateTime(time, date, image), 0);
        expect_cut(time, 144 + 274 * static_cast<size_t>(image - 2));
        expect_cut(date, 208 + 274 * static_cast<size_t>(image - 2));
        memset(time, 0x7E, sizeof time);
        EXPECT_EQ(MW_GetBiosVerBuildTime(time, image), 0);
        expect_cut(time, kBios + 64 + 129 * static_cast<size_t>(image - 2));
    }
    recorder::ClearCalls();
}

TEST_F(Firmware, BuildTimesSayWhyTheyFail) {
    char time[64] = "untouched";
    char date[64] = "untouched";
    const char *both = "MW_GetBmcVerBuildDateTime";
    const char *bios = "MW_GetBiosVerBuildTime";
    for (int32_t image : {2, 3, 9}) {
        EXPECT_EQ(MW_GetBmcVerBuildDateTime(nullptr, date, image), -1);
        ExpectRead(both, 0, {Step(both, "pcBuildTime == NULL", "[err:")});
        EXPECT_EQ(MW_GetBmcVerBuildDateTime(time, nullptr, image), -1);
        ExpectRead(both, 0, {Step(both, "pcBuildTime == NULL", "[err:")});
        EXPECT_EQ(MW_GetBiosVerBuildTime(nullptr, image), -1);
        ExpectRead(bios, 0, {Step(bios, "pcBuildTime == NULL", "[err:")});
    }
    for (int32_t image : {INT_MIN, -1, 0, 1, 4, 258, INT_MAX}) {
        EXPECT_EQ(MW_GetBmcVerBuildDateTime(time, date, image), -1);
        ExpectRead(both, 548,
                   {Step(both, "Extinfo " + std::to_string(image) + " is not invalid\n", "[err:")});
        EXPECT_EQ(MW_GetBiosVerBuildTime(time, image), -1);
        ExpectRead(bios, 516, {Step(bios, "Extinfo:" + std::to_string(image) + " is invalid\n", "[err:")});
    }
    recorder::Now().region_missing = true;
    for (int32_t image : {2, 3, 9}) {
        Detach();
        EXPECT_EQ(MW_GetBmcVerBuildDateTime(time, date, image), -1);
        ExpectCalls(
            both, {AttachCall(), AttachFailurePrint(), Step(both, "get t_all_bmc_version failed", "[err:")});
        EXPECT_EQ(MW_GetBiosVerBuildTime(time, image), -1);
        ExpectCalls(
            bios, {AttachCall(), AttachFailurePrint(), Step(bios, "get t_all_bios_version failed", "[err:")});
    }
    EXPECT_STREQ(time, "untouched");
    EXPECT_STREQ(date, "untouched");
}

// --- board names ---------------------------------------------------------------------------------

TEST_F(Firmware, BoardNamesFollowTheirFlagAtEveryLength) {
    FillArea();
    recorder::OpenArea();
    for (uint32_t index = 0; index < 48; ++index) {
        const size_t name = index == 0 ? kFru + 10225 : FruCard(index) + 145;
        for (int flag = 0; flag < 256; ++flag) {
            Put<uint8_t>(name + 64, static_cast<uint8_t>(flag));
            for (int32_t length : {INT_MIN, 0, 1, 2, 64, 65, 200, INT_MAX}) {
                char text[96];
                char expected[96];
                memset(text, 0x7E, sizeof text);
                memset(expected, 0x7E, sizeof expected);
                const bool answered = flag == 1 && length > 1;
                if (answered) {
                    const auto used = static_cast<size_t>(std::min(length, 64));
                    memcpy(expected, recorder::Area() + At(name), used);
                    expected[used - 1] = '\0';
                }
                const int32_t result = MW_GetFirmwareBoardNameString(index, text, length);
                recorder::ClearCalls();
                if (result != (answered ? 0 : -1) || memcmp(text, expected, sizeof text) != 0) {
                    ADD_FAILURE() << "board " << index << ", flag " << flag << ", length " << length << ": "
                                  << result;
                }
            }
        }
    }
}

TEST_F(Firmware, BoardNamesAreSilent) {
    FillArea();
    for (uint32_t index : {0u, 1u, 47u}) {
        const size_t flag = index == 0 ? kFru + 10289 : FruCard(index) + 209;
        Put<uint8_t>(flag, 0);
        EXPECT_EQ(MW_GetFirmwareBoardNameString(index, text_, 10), -1);
        ExpectCalls("MW_GetFruVerInfo", Copied(10290));
        Put<uint8_t>(flag, 1);
        EXPECT_EQ(MW_GetFirmwareBoardNameString(index, text_, 10), 0);
        ExpectCalls("MW_GetFruVerInfo", {Lock(12301), Copy(10290), Unlock(12301), Copy(10)});
        EXPECT_EQ(MW_GetFirmwareBoardNameString(index, nullptr, 64), -1);
        EXPECT_EQ(MW_GetFirmwareBoardNameString(index, text_, 1), -1);
        ExpectNoCalls();
    }
    for (uint32_t index : {48u, 0x10000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_GetFirmwareBoardNameString(index, text_, 64), -1);
        ExpectNoCalls();
    }
    recorder::Now().lock_result[12301] = -1;
    EXPECT_EQ(MW_GetFirmwareBoardNameString(0, text_, 64), -1);
    ExpectCalls("MW_GetFruVerInfo", {Lock(12301), Dbg(kLockError)});
}

TEST_F(Firmware, RecordsReadBackByTheNamesOfTheirFields) {
    uint32_t number = 0;
    all_bmc_version bmc{};
    bmc.tSBmcVer.dwBmcVer = 12;
    bmc.SBmcValidFlag = 1;
    strcpy(bmc.tSBmcVer.acBmcOutVer, "2.01");
    bmc.SBmcOutValidFlag = 1;
    EXPECT_EQ(MW_SetBmcVerInfo(&bmc), 0);
    EXPECT_EQ(MW_GetFirmwareVersionInteger(MW_FW_TYPE_BMC, MW_FW_BMC_SLAVE, &number), 0);
    EXPECT_EQ(number, 12u);
    EXPECT_EQ(MW_GetFirmwareVersionString(MW_FW_TYPE_BMC, MW_FW_BMC_SLAVE_OUT, text_, 64), 0);
    EXPECT_STREQ(text_, "2.01");

    all_bios_version bios{};
    strcpy(bios.tMBiosVer.acBiosVer, "5.13");
    bios.MBiosValidFlag = 1;
    EXPECT_EQ(MW_SetBiosVerInfo(&bios), 0);
    EXPECT_EQ(MW_GetFirmwareVersionString(MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER, text_, 64), 0);
    EXPECT_STREQ(text_, "5.13");

    all_boot_version boot{};
    boot.tMBootVer.dwVersion = 0x01020304;
    boot.MBootValidFlag = 1;
    EXPECT_EQ(MW_SetBootVerInfo(&boot), 0);
    EXPECT_EQ(MW_GetFirmwareVersionString(MW_FW_TYPE_BOOT, 0, text_, 64), 0);
    EXPECT_STREQ(text_, "01.02.03.04");

    static all_epld_version epld{};
    epld.tCardEpldVer[47].tEpldVer.dwVersion = 0x0105;
    epld.tCardEpldVer[47].CardEpldValidFlag = 1;
    EXPECT_EQ(MW_SetEpldVerInfo(&epld), 0);
    EXPECT_EQ(MW_GetFirmwareVersionString(MW_FW_TYPE_EPLD, 47, text_, 64), 0);
    EXPECT_STREQ(text_, "00.00.01.05");

    static all_fru_version fru{};
    strcpy(fru.tCardFruVer[47].acBoardName, "riser");
    fru.tCardFruVer[47].BoardNameValidFlag = 1;
    strcpy(fru.acBoardName, "main board");
    fru.BoardNameValidFlag = 1;
    EXPECT_EQ(MW_SetFruVerInfo(&fru), 0);
    EXPECT_EQ(MW_GetFirmwareBoardNameString(47, text_, 64), 0);
    EXPECT_STREQ(text_, "riser");
    EXPECT_EQ(MW_GetFirmwareBoardNameString(0, text_, 64), 0);
    EXPECT_STREQ(text_, "main board");

    psu_version psu{};
    strcpy(psu.acVersion, "1.2.3");
    EXPECT_EQ(MW_SetPsuVerInfo(4, &psu), 0);
    EXPECT_EQ(MW_GetFirmwareVersionString(MW_FW_TYPE_PSU, 4, text_, 64), 0);
    EXPECT_STREQ(text_, "1.2.3");
    recorder::ClearCalls();
}

}  // namespace
