// Calls of every exported function through the table that is generated from the public headers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "calling.h"
#include "console.h"
#include "fill.h"
#include "midware.h"
#include "process.h"

namespace mwctl {
namespace {

std::set<std::string> ExportedFunctions() {
    std::ifstream file(EXPORTS);
    std::set<std::string> names;
    for (std::string line; std::getline(file, line);) {
        if (!line.empty() && line[0] != '#' && !line.starts_with("g_pt") && line != "pSendRedfunc") {
            names.insert(line);
        }
    }
    return names;
}

// One for each input that the prototype takes, numbers being `number`.
std::vector<std::string> Arguments(const Function &function, const std::string &number) {
    std::vector<std::string> arguments;
    for (const Parameter *input : InputsOf(function)) {
        std::string records = "[";
        switch (input->holds) {
            case Holds::kNumber:
                arguments.push_back(number);
                break;
            case Holds::kAddress:
                arguments.emplace_back("0");
                break;
            case Holds::kText:
                arguments.emplace_back("x");
                break;
            case Holds::kBytes:
                arguments.emplace_back(input->count * 2, '0');
                break;
            case Holds::kRecord:
                for (uint32_t i = 0; i < input->count; ++i) records += i == 0 ? "{}" : ",{}";
                arguments.push_back(records + "]");
                break;
        }
    }
    return arguments;
}

TEST(Calling, TheTableHasEveryExportedFunctionAndNoOther) {
    std::set<std::string> names;
    for (const Function &function : Functions()) names.insert(std::string(function.name));
    EXPECT_EQ(names, ExportedFunctions());
    EXPECT_EQ(names.size(), Functions().size());
}

TEST(Calling, EveryFunctionIsDocumented) {
    for (const Function &function : Functions()) {
        EXPECT_FALSE(function.documentation.empty()) << function.name;
        EXPECT_NE(function.prototype.find(std::string(function.name) + "("), std::string::npos);
    }
}

TEST(Calling, EveryParameterHasADirectionThatItsPrototypeAllows) {
    for (const Function &function : Functions()) {
        for (const Parameter &parameter : function.parameters) {
            SCOPED_TRACE(std::string(function.name) + " " + std::string(parameter.name));
            const size_t at = function.prototype.find(std::string("*") + std::string(parameter.name));
            EXPECT_EQ(parameter.pointer, at != std::string::npos);
            if (parameter.way != Way::kIn) {
                EXPECT_TRUE(parameter.pointer);
                const size_t start = function.prototype.find_last_of("(,", at);
                EXPECT_EQ(function.prototype.substr(start, at - start).find("const"), std::string::npos);
            }
            if (parameter.way == Way::kIn && parameter.pointer) {
                const size_t start = function.prototype.find_last_of("(,", at);
                EXPECT_NE(function.prototype.substr(start, at - start).find("const"), std::string::npos);
            }
        }
    }
}

TEST(Calling, EveryRecordOfAPrototypeIsDescribed) {
    for (const Function &function : Functions()) {
        for (const Parameter &parameter : function.parameters) {
            if (parameter.holds != Holds::kRecord) continue;
            EXPECT_NE(FindLayout(parameter.record), nullptr) << function.name << " " << parameter.record;
        }
    }
}

TEST(Calling, EveryFunctionCanBeCalled) {
    TempDir dir;
    EXPECT_SUCCEEDS(InRoot(dir), [] {
        MW_MidWareInit();
        for (const Function &function : Functions()) {
            SCOPED_TRACE(std::string(function.name));
            Calling call(function, Arguments(function, "1"));
            call.Make();
            EXPECT_NE(call.ToText(), "");
            EXPECT_EQ(call.ToJson()["function"], std::string(function.name));
        }
    });
}

// A getter copies what the stored counts say, up to the end of the area.
TEST(Calling, NoStoredCountMakesAGetterLeaveItsBuffers) {
    TempDir dir;
    EXPECT_SUCCEEDS(InRoot(dir), [] {
        for (const uint32_t word : {0xFFFFFFFFu, 0x01010101u, 1u, 17u, 64u, 150u, 400u, 1000u, 5000u}) {
            MW_MidWareInit();
            for (const Function &function : Functions()) {
                if (!function.name.starts_with("MW_Get")) continue;
                SCOPED_TRACE(std::string(function.name) + " " + std::to_string(word));
                auto *words = static_cast<uint32_t *>(g_ptMidWareAddr);
                std::fill(words, words + MW_AREA_SIZE / sizeof(uint32_t), word);
                Calling call(function, Arguments(function, "1"));
                call.Make();
                if (word == 17) {
                    EXPECT_NE(call.ToText(), "");
                }
            }
        }
    });
}

TEST(Calling, ARecordByValueAndCommandBytesArriveAsGiven) {
    TempDir dir;
    EXPECT_SUCCEEDS(InRoot(dir), [] {
        Calling save(*FindFunction("MW_SaveCustomPchDiskConfig"),
                     {R"({"dwBus":2,"ucPort":3,"ucCfgType":1,"acSilkInfo":"bay 7"})", "00 00 00 00 00 01"});
        save.Make();
        EXPECT_EQ(save.result(), 0);
        Calling load(*FindFunction("MW_LoadCustomPchDiskConfig"), {R"({"dwBus":2,"ucPort":3})", "1"});
        load.Make();
        EXPECT_EQ(load.result(), 0);
        EXPECT_EQ(load.ToJson()["out"]["ptCfg"]["acSilkInfo"], "bay 7");
        EXPECT_EQ(load.ToJson()["out"]["ptCfg"]["ucPort"], 3);
    });
}

TEST(Calling, EveryWidthOfANumberHasItsRange) {
    const struct {
        const char *text;
        uint32_t width;
        bool is_signed;
        bool fits;
        uint64_t bits;
    } cases[] = {
        {"255", 1, false, true, 255},
        {"256", 1, false, false, 0},
        {"0xFFFF", 2, false, true, 0xFFFF},
        {"65536", 2, false, false, 0},
        {"4294967295", 4, false, true, 0xFFFFFFFF},
        {"18446744073709551615", 8, false, true, ~uint64_t{0}},
        {"18446744073709551616", 8, false, false, 0},
        {"-1", 4, false, false, 0},
        {"-1", 4, true, true, ~uint64_t{0}},
        {"-2147483648", 4, true, true, ~uint64_t{0} << 31},
        {"-2147483649", 4, true, false, 0},
        {"2147483647", 4, true, true, 0x7FFFFFFF},
        {"2147483648", 4, true, false, 0},
        {"-128", 1, true, true, ~uint64_t{0} << 7},
        {"-9223372036854775808", 8, true, true, uint64_t{1} << 63},
        {"-9223372036854775809", 8, true, false, 0},
        {"", 4, false, false, 0},
        {"1 ", 4, false, false, 0},
        {"1.5", 4, false, false, 0},
        {"--1", 4, true, false, 0},
    };
    for (const auto &one : cases) {
        SCOPED_TRACE(std::string(one.text) + " in " + std::to_string(one.width));
        if (one.fits) {
            EXPECT_EQ(ParseNumber(one.text, one.width, one.is_signed, "n"), one.bits);
        } else {
            EXPECT_THROW(ParseNumber(one.text, one.width, one.is_signed, "n"), Unfit);
        }
    }
}

std::vector<std::byte> Filled(const char *record, const char *json) {
    const Layout &layout = *FindLayout(record);
    std::vector<std::byte> bytes(layout.size);
    Fill(layout, ParseJson(json, "it"), bytes.data(), "it");
    return bytes;
}

template <class T>
T As(const std::vector<std::byte> &bytes) {
    T record;
    EXPECT_EQ(bytes.size(), sizeof record);
    std::memcpy(&record, bytes.data(), sizeof record);
    return record;
}

TEST(Filling, SetsEveryKindOfFieldAndLeavesTheOthersZero) {
    const auto port = As<NicPortAssetInfo>(Filled("NicPortAssetInfo", R"({"ucLinkState":1,"iCompleteCode":-2,
        "fPortTemp":40.5,"acIfName":"eth0","aucMac":"0a1b2c3d4e5f","adwReserved3":[7,8]})"));
    EXPECT_EQ(+port.ucLinkState, 1);
    EXPECT_EQ(+port.iCompleteCode, -2);
    EXPECT_EQ(+port.fPortTemp, 40.5f);
    EXPECT_STREQ(port.acIfName, "eth0");
    EXPECT_EQ(+port.aucMac[5], 0x5f);
    EXPECT_EQ(+port.adwReserved3[1], 8u);
    EXPECT_EQ(+port.dwSpeed, 0u);
    const auto disk = As<PchDiskInfo>(Filled("PchDiskInfo", R"({"dLinkRate":1.5})"));
    EXPECT_EQ(+disk.dLinkRate, 1.5);
    const auto card = As<NicCardBlock>(
        Filled("NicCardBlock", R"({"atNicCard":[{},{"tT200Info":{"atSensor":[{"ucTemp":9}]}}]})"));
    EXPECT_EQ(+card.atNicCard[1].tT200Info.atSensor[0].ucTemp, 9);
    const auto cfg = As<PchDiskCustomCfg>(Filled("PchDiskCustomCfg", R"({"ucSlot":null})"));
    EXPECT_EQ(+cfg.ucSlot, 255);
}

TEST(Filling, RefusesWhatDoesNotFitAndSaysWhere) {
    const struct {
        const char *record;
        const char *json;
        const char *why;
    } cases[] = {
        {"ThermalPolicy", "7", "it is an object, a ThermalPolicy, not '7'"},
        {"ThermalPolicy", R"({"dwPolicy":-1})", "it.dwPolicy is a number from 0 to 4294967295, not '-1'"},
        {"ThermalPolicy", R"({"dwPolicy":4294967296})",
         "it.dwPolicy is a number from 0 to 4294967295, not '4294967296'"},
        {"ThermalPolicy", R"({"dwPolicy":1.5})", "it.dwPolicy is a number from 0 to 4294967295, not '1.5'"},
        {"ThermalPolicy", R"({"dwPolicy":"1"})", "it.dwPolicy is a number from 0 to 4294967295, not '1'"},
        {"ThermalPolicy", R"({"dwPolicy":null})", "it.dwPolicy is a number from 0 to 4294967295, not 'null'"},
        {"ThermalPolicy", R"({"dwPolice":1})",
         "it: a ThermalPolicy has no field 'dwPolice'; it has dwPolicy, dwPolicyValue"},
        {"ThermalPolicy", R"({"":1})", "it: a ThermalPolicy has no field ''; it has dwPolicy, dwPolicyValue"},
        {"ThermalPolicy", R"({"dwPolicy":)", "it is no JSON: there is something wrong at byte 13"},
        {"NtpInfo", R"({"acNtpServerName":["a","b","c","d","e","f","g"]})",
         "it.acNtpServerName has at most 6 elements; this one has 7"},
        {"NtpInfo", R"({"acNtpServerName":"a"})", "it.acNtpServerName is an array of at most 6, not 'a'"},
        {"NtpInfo", R"({"acNtpServerName":[1]})", "it.acNtpServerName[0] is a text, not '1'"},
        {"PchDiskInfo", R"({"acFwVersion":"0123456789"})",
         "it.acFwVersion has at most 9 bytes; this one has 10"},
        {"PchDiskInfo", R"({"aucWwn":"0011"})", "it.aucWwn has 8 bytes; this one has 2"},
        {"PchDiskInfo", R"({"aucWwn":"001"})",
         "it.aucWwn is bytes in hexadecimal, two digits each, unlike '1'"},
        {"PchDiskInfo", R"({"aucWwn":5})", "it.aucWwn is 8 bytes in hexadecimal, not '5'"},
        {"PchDiskInfo", R"({"dLinkRate":"fast"})", "it.dLinkRate is a number, not 'fast'"},
        {"NicPortAssetInfo", R"({"fPortTemp":1e300})",
         "it.fPortTemp is a number that 4 bytes can hold, not '1e+300'"},
        {"NicCardBlock", R"({"atNicCard":[{},{"tT200Info":{"atSensor":[{"ucTemp":256}]}}]})",
         "it.atNicCard[1].tT200Info.atSensor[0].ucTemp is a number from 0 to 255, not '256'"},
    };
    for (const auto &one : cases) {
        try {
            Filled(one.record, one.json);
            ADD_FAILURE() << one.json << " was taken";
        } catch (const Unfit &error) {
            EXPECT_STREQ(error.what(), one.why);
        }
    }
}

}  // namespace
}  // namespace mwctl

// The linker has the program begin here, and not in main() of mwctl.
extern "C" int __wrap_main(int argc, char **argv);
extern "C" int __wrap_main(int argc, char **argv) {
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
