// mwctl call, from the command line.
#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

class Call : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }
    Outcome Run(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "call");
        return Mwctl(std::move(arguments));
    }
};

TEST_F(Call, StoresAndReadsNumbers) {
    ExpectDone(Run({"MW_SetPowerStatus", "1"}), "MW_SetPowerStatus: 0\n");
    ExpectDone(Run({"MW_GetPowerStatus"}), "MW_GetPowerStatus: 0\n  pdwStatus  1\n");
    ExpectDone(Run({"MW_SetBoardBatAdcInfo", "0xFFFF", "200"}), "MW_SetBoardBatAdcInfo: 0\n");
    ExpectDone(Run({"MW_GetBoardBatAdcInfo"}),
               "MW_GetBoardBatAdcInfo: 0\n  pwAdc    65535\n  pucInfo  200\n");
    ExpectDone(Run({"RotateRateChange", "7200"}),
               "RotateRateChange: " + std::to_string(MW_HD_RPM_7200) + "\n");
}

TEST_F(Call, TakesANegativeNumber) {
    ExpectDone(Run({"MW_SetPemOtherStatus", "-5", "-6", "7"}), "MW_SetPemOtherStatus: 0\n");
    EXPECT_EQ(Jq("call MW_GetMixedStatus", ".out.pdwStatus"), "4294967291\n");
}

TEST_F(Call, StoresAndShowsRecords) {
    ExpectDone(Run({"MW_SetThermalPolicy", R"({"dwPolicy":1,"dwPolicyValue":55})"}),
               "MW_SetThermalPolicy: 0\n");
    ExpectDone(Run({"MW_GetThermalPolicy"}),
               "MW_GetThermalPolicy: 0\n  ptOut (ThermalPolicy)\n"
               "    policy  manual (1)\n    value   55\n");
    ExpectDone(Run({"MW_SetThermalPolicy", "0000000002000000"}), "MW_SetThermalPolicy: 0\n");
    EXPECT_EQ(Jq("call MW_GetThermalPolicy", ".out.ptOut"),
              R"({"dwPolicy":0,"dwPolicyValue":2,"decoded":{"dwPolicy":"auto"}})"
              "\n");
}

TEST_F(Call, StoresAndShowsLists) {
    ExpectDone(Run({"MW_SetMemPhyInfo", R"([{"dwMemNum":1,"acSilkName":"A1"},{"dwMemNum":2}])", "2"}),
               "MW_SetMemPhyInfo: 0\n");
    const Outcome outcome = Run({"MW_GetMemPhyInfo"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    ExpectGolden(outcome.out, "call-list.txt");
    EXPECT_EQ(Jq("call MW_GetMemPhyInfo", "[.out.pdwCount, (.out.ptPhyInfo | map(.dwMemNum))]"),
              "[2,[1,2]]\n");
    ExpectDone(Run({"MW_SetMemPhyInfo", "[]", "0"}), "MW_SetMemPhyInfo: 0\n");
    ExpectDone(Run({"MW_GetMemPhyInfo"}),
               "MW_GetMemPhyInfo: 0\n  pdwCount  0\n  ptPhyInfo (MemPhyInfo)\n    none\n");
}

TEST_F(Call, CompletesARecord) {
    EXPECT_EQ(Run({"MW_SetMemPhyInfo", R"({"dwMemNum":9,"adwLocation":[0,1,2,3]})", "1"}).code, 0);
    EXPECT_EQ(Jq("call MW_GetMemPhyInfoByPhyInfo '{\"adwLocation\":[0,1,2,3]}'", ".out.ptPhyInfo.dwMemNum"),
              "9\n");
}

TEST_F(Call, PassesAndShowsTexts) {
    ExpectDone(Run({"findPchFirstSonStrInString", "ST4000", "STx", "2"}), "findPchFirstSonStrInString: 1\n");
    ExpectDone(Run({"PCH_ParseATAVendorAndModel", "ATA", "INTEL SSDSC2"}),
               "PCH_ParseATAVendorAndModel: 0\n  pcVendor  Intel\n");
    ExpectDone(Run({"MW_SetNtpServerName", "1", "--", "--json"}), "MW_SetNtpServerName: 0\n");
    EXPECT_EQ(Jq("call MW_GetNtpInfo", ".out.ptNtpInfo.acNtpServerName[0]"), "\"--json\"\n");
}

TEST_F(Call, PassesAndShowsBytes) {
    ExpectDone(Run({"MW_SetCpuTmargin", "1", "0102030405060708"}), "MW_SetCpuTmargin: 0\n");
    ExpectDone(Run({"MW_GetCpuTmargin", "1"}), "MW_GetCpuTmargin: 0\n  pTmargin  01 02 03 04 05 06 07 08\n");
    EXPECT_EQ(Jq("call MW_GetCpuTmargin 1", ".out"), "{\"pTmargin\":\"0102030405060708\"}\n");
}

TEST_F(Call, ReadsRecordsFromAFileAndFromStandardInput) {
    WriteFile(dir_ / "policy", " \n{\"dwPolicy\": 1, \"dwPolicyValue\": 30}\n");
    ExpectDone(Run({"MW_SetThermalPolicy", "@" + (dir_ / "policy")}), "MW_SetThermalPolicy: 0\n");
    ExpectDone(Shell("\"$MWCTL\" call MW_GetThermalPolicy --json | jq .out.ptOut.dwPolicyValue"), "30\n");
    ExpectDone(Shell("\"$MWCTL\" call MW_GetThermalPolicy --json | jq '.out.ptOut | .dwPolicyValue = 31' | "
                     "\"$MWCTL\" call MW_SetThermalPolicy -"),
               "MW_SetThermalPolicy: 0\n");
    EXPECT_EQ(Jq("call MW_GetThermalPolicy", ".out.ptOut.dwPolicyValue"), "31\n");
    ExpectRefused(Run({"MW_SetThermalPolicy", "@/nonexistent"}), 2,
                  "mwctl: /nonexistent cannot be read: No such file or directory (see --help)\n");
    ExpectRefused(Run({"MW_SetThermalPolicy", "@/"}), 2,
                  "mwctl: / cannot be read: Is a directory (see --help)\n");
}

TEST_F(Call, RefusesArgumentsThatDoNotFitThePrototype) {
    const struct {
        std::vector<std::string> arguments;
        const char *why;
    } cases[] = {
        {{}, "FUNCTION is required: call --list shows them all"},
        {{"MW_SetPowerStatus"}, "MW_SetPowerStatus takes 1 argument: dwStatus, but 0 are given"},
        {{"MW_SetPowerStatus", "1", "2"}, "MW_SetPowerStatus takes 1 argument: dwStatus, but 2 are given"},
        {{"MW_GetPowerStatus", "1"}, "MW_GetPowerStatus takes no arguments, but 1 is given"},
        {{"MW_SetMemPhyInfo", "[]"},
         "MW_SetMemPhyInfo takes 2 arguments: ptPhyInfo, dwCount, but 1 is given"},
        {{"MW_SetPowerStatus", "-1"}, "dwStatus is a number from 0 to 4294967295, not '-1'"},
        {{"MW_SetPowerStatus", "4294967296"}, "dwStatus is a number from 0 to 4294967295, not '4294967296'"},
        {{"MW_SetCpuTotalPower", "65536"}, "wPower is a number from 0 to 65535, not '65536'"},
        {{"MW_SetCpuTjmax", "0", "256"}, "ucTjmax is a number from 0 to 255, not '256'"},
        {{"MW_SetPowerStatus", "on"}, "dwStatus is a number from 0 to 4294967295, not 'on'"},
        {{"MW_SetPowerStatus", "\x1b[2J"}, "dwStatus is a number from 0 to 4294967295, not '\\x1b[2J'"},
        {{"MW_SetThermalPolicy", "{\"dwPolicy\":"}, "ptIn is no JSON: there is something wrong at byte 13"},
        {{"MW_SetThermalPolicy", "{\"mode\":1}"},
         "ptIn: a ThermalPolicy has no field 'mode'; it has dwPolicy, dwPolicyValue"},
        {{"MW_SetThermalPolicy", "[]"}, "ptIn is 1 ThermalPolicy; 0 are given"},
        {{"MW_SetThermalPolicy", "[{},{}]"}, "ptIn is 1 ThermalPolicy; 2 are given"},
        {{"MW_SetThermalPolicy", "00"},
         "ptIn is JSON or 8 bytes in hexadecimal for each ThermalPolicy; 1 are given"},
        {{"MW_SetThermalPolicy", "manual"}, "ptIn is bytes in hexadecimal, two digits each, unlike 'ma'"},
        {{"MW_SetFanDeviceZoneInfo", "[{}]"}, "ptIn is 32 FanDevZoneInfo records; 1 are given"},
        {{"MW_SetMemPhyInfo", "[{},{}]", "3"}, "dwCount is 3, but ptPhyInfo has 2"},
        {{"MW_SetMemPhyInfo", "[{},{\"dwMemNum\":-1}]", "2"},
         "ptPhyInfo[1].dwMemNum is a number from 0 to 4294967295, not '-1'"},
        {{"MW_SetCpuTmargin", "0", "01"}, "pTmargin has 8 bytes; this one has 1"},
        {{"MW_GetFirmwareBoardNameString", "0", "2000000"},
         "lLength is 2000000, but pcName has room for 1417408"},
        {{"MW_MidMemCheck", "7"}, "ptModule is 0 for NULL or 1 for any other address, not '7'"},
        {{"MW_SetPowerStatus", "1", "--now"},
         "there is no option '--now'; an argument that begins so stands behind '--'"},
        {{"--list", "a", "b"}, "--list takes one pattern"},
        {{"MW_GetPowrStatus"}, nullptr},
    };
    for (const auto &one : cases) {
        const Outcome outcome = Run(one.arguments);
        SCOPED_TRACE(outcome.err);
        EXPECT_EQ(outcome.code, 2);
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(LinesOf(outcome.err).size(), 1u);
        if (one.why != nullptr) {
            EXPECT_EQ(outcome.err, "mwctl: " + std::string(one.why) + " (see --help)\n");
        }
    }
    ExpectRefused(Run({"MW_SetNtpServerName", "1", std::string(129, 'n')}), 2,
                  "mwctl: pcName has at most 128 bytes; this one has 129 (see --help)\n");
    EXPECT_EQ(Run({"MW_SetNtpServerName", "1", std::string(128, 'n')}).code, 0);
}

TEST_F(Call, NamesSimilarFunctions) {
    ExpectRefused(Run({"MW_GetPowrStatus"}), 2,
                  "mwctl: there is no function 'MW_GetPowrStatus'; did you mean MW_GetPowerStatus or "
                  "MW_SetPowerStatus? (see --help)\n");
    ExpectRefused(Run({"thermalpolicy"}), 2,
                  "mwctl: there is no function 'thermalpolicy'; did you mean MW_GetThermalPolicy or "
                  "MW_SetThermalPolicy? (see --help)\n");
    ExpectRefused(Run({"fly\x1b"}), 2, "mwctl: there is no function 'fly\\x1b' (see --help)\n");
}

TEST_F(Call, SaysWhatWasLoggedWhenTheAnswerIsNo) {
    const Outcome refused = Run({"MW_GetMemTempInfoByDimmNum", "9"});
    EXPECT_EQ(refused.code, 1) << refused;
    EXPECT_EQ(refused.out, "");
    EXPECT_TRUE(
        refused.err.starts_with("mwctl: MW_GetMemTempInfoByDimmNum answered -1; it logged: "
                                "MW_GetMemTempInfoByDimmNum:"))
        << refused;
    EXPECT_TRUE(refused.err.ends_with(" dwDimmNum 9 over Dimm count\n")) << refused;
    ExpectRefused(Run({"MW_GetMemPhyInfoByMemNum", "5"}), 1,
                  "mwctl: MW_GetMemPhyInfoByMemNum answered -1 and logged nothing\n");
    EXPECT_EQ(Jq("call MW_GetMemTempInfoByDimmNum 9", "[.function, .result, .out, (.logged | length)]"),
              "[\"MW_GetMemTempInfoByDimmNum\",-1,{},1]\n");
}

TEST_F(Call, AChangeThatIsRefusedAlsoReachesTheSystemLog) {
    const Outcome outcome = Run({"MW_SetThermalPolicy", "{\"dwPolicy\":9}"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    const std::vector<std::string> lines = LinesOf(outcome.err);
    ASSERT_EQ(lines.size(), 2u) << outcome;  // without a system log the platform writes to standard error
    EXPECT_TRUE(lines[0].ends_with("Set Thermal Policy Failed, Policy = 9")) << outcome;
    EXPECT_EQ(lines[1], "mwctl: MW_SetThermalPolicy answered -1; it logged: " + lines[0]);
}

TEST_F(Call, SaysWhatASuccessLogged) {
    EXPECT_EQ(Run({"MW_SetPowerACPIStatus", "32"}).code, 0);
    const Outcome outcome = Run({"MW_SetPowerACPIStatus", "1"});
    EXPECT_EQ(outcome.code, 0) << outcome;
    EXPECT_EQ(outcome.out, "MW_SetPowerACPIStatus: 0\n");
    EXPECT_NE(outcome.err.find("mwctl: MW_SetPowerACPIStatus logged: "), std::string::npos) << outcome;
}

TEST_F(Call, NamesTheHolderOfTheSemaphore) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12296, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Run({"MW_GetPowerPolicy"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_NE(outcome.err.find(": semaphore 12296 is held by process " + std::to_string(holder.pid())),
              std::string::npos)
        << outcome;
}

TEST_F(Call, DiscardsTheRecordsOnlyWhenToldSo) {
    EXPECT_EQ(Run({"MW_SetPowerStatus", "7"}).code, 0);
    ExpectRefused(
        Run({"MW_MidWareInit"}), 2,
        "mwctl: MW_MidWareInit discards every record of all modules: say --yes to have it called (see "
        "--help)\n");
    EXPECT_EQ(Jq("call MW_GetPowerStatus", ".out.pdwStatus"), "7\n");
    ExpectDone(Run({"MW_MidWareInit", "--yes"}), "MW_MidWareInit: 0\n");
    EXPECT_EQ(Jq("call MW_GetPowerStatus", ".out.pdwStatus"), "0\n");
}

TEST_F(Call, HostileBytesOfARecordAreEscaped) {
    EXPECT_EQ(Run({"MW_SetNtpServerName", "1", "a\x1b[31m\xff\xe2\x80\xae"}).code, 0);
    const Outcome outcome = Run({"MW_GetNtpInfo"});
    EXPECT_NE(outcome.out.find("a\\x1b[31m\\xff\\xe2\\x80\\xae"), std::string::npos) << outcome;
    EXPECT_EQ(outcome.out.find('\x1b'), std::string::npos);
    EXPECT_EQ(Jq("call MW_GetNtpInfo", ".out.ptNtpInfo.acNtpServerName[0] | length"), "8\n");
    ExpectDone(Run({"PCH_ParseATAVendorAndModel", "\x1b", "x"}),
               "PCH_ParseATAVendorAndModel: 0\n  pcVendor  \\x1b\n");
}

TEST_F(Call, ListsPrototypes) {
    const Outcome all = Run({"--list"});
    EXPECT_TRUE(all.Succeeded()) << all;
    EXPECT_EQ(LinesOf(all.out).size(), 397u);
    ExpectDone(Run({"--list", "thermalPOLICY"}),
               "int32_t MW_GetThermalPolicy(void *ptOut);\nint32_t MW_SetThermalPolicy(const void *ptIn);\n");
    ExpectDone(
        Run({"--list", "*NtpI*"}),
        "int32_t MW_GetNtpInfo(NtpInfo *ptNtpInfo);\nint32_t MW_SetNtpInfo(const NtpInfo *ptNtpInfo);\n"
        "int32_t MW_SetNtpInterval(uint32_t dwInterval);\n");
    EXPECT_EQ(Jq("call --list", "length"), "397\n");
    EXPECT_EQ(
        Jq("call --list rotate", "map([.name, .family])"),
        "[[\"MW_GetThermalPowerOffFanRotateFlag\",\"fan\"],[\"MW_SetThermalPowerOffFanRotateFlag\",\"fan\"],"
        "[\"RotateRateChange\",\"pch\"]]\n");
    ExpectRefused(Run({"--list", "moon\x1b"}), 1, "mwctl: no function's name matches 'moon\\x1b'\n");
}

TEST_F(Call, ExplainsAFunction) {
    for (const std::vector<std::string> &arguments :
         {std::vector<std::string>{"MW_GetFirmwareVersionString", "--help"},
          {"--help", "MW_GetFirmwareVersionString"}}) {
        const Outcome outcome = Run(arguments);
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        ExpectGolden(outcome.out, "call-help.txt");
    }
    const Outcome whole = Run({"--help"});
    EXPECT_TRUE(whole.out.starts_with("Calls a function of the library: FUNCTION [ARGUMENT...]\n")) << whole;
    const struct {
        const char *function;
        const char *line;
    } cases[] = {
        {"MW_SetFanDeviceZoneInfo", "  ptIn  in: 32 FanDevZoneInfo records\n"},
        {"MW_GetMemPhyInfo", "  ptPhyInfo  out: MemPhyInfo records, pdwCount of them\n"},
        {"MW_GetMemPhyInfoByPhyInfo", "  ptPhyInfo  in and out: MemPhyInfo\n"},
        {"MW_SetCpuTmargin", "  pTmargin  in: 8 bytes in hexadecimal\n"},
        {"MW_GetMemUsageThreInfo", "  pdwThreshold  out: 2 numbers\n"},
        {"MW_MidMemCheck", "  ptModule  in: 0 for NULL, 1 for another address\n"},
        {"findPchFirstSonStrInString", "  pcText  in: text\n"},
        {"MW_SetNtpServerName", "  pcName  in: text of at most 128 bytes\n"},
        // A group's comment, and what stands behind the declaration itself.
        {"MW_GetThermalPowerOffFanRotateFlag",
         "Words, stored and handed out as given.\ndo fans keep turning"},
    };
    for (const auto &one : cases) {
        const Outcome outcome = Run({one.function, "--help"});
        EXPECT_NE(outcome.out.find(one.line), std::string::npos) << outcome;
    }
}

class CallWithoutAnArea : public ToolsTest {};

TEST_F(CallWithoutAnArea, SaysThatThereIsNone) {
    const Outcome outcome = Mwctl({"call", "MW_GetPowerStatus"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_TRUE(outcome.err.starts_with("mwctl: MW_GetPowerStatus answered -1; it logged: MW_MidMemCheck:"))
        << outcome;
    EXPECT_TRUE(outcome.err.ends_with(": the shared area does not exist: run midware-init\n")) << outcome;
}

TEST_F(CallWithoutAnArea, CallsWhatNeedsNone) {
    ExpectDone(Mwctl({"call", "MW_GetMemUsageThreInfo"}),
               "MW_GetMemUsageThreInfo: 0\n  pdwThreshold  75 5\n");
    ExpectDone(Mwctl({"call", "MW_MidWareInit", "--yes"}), "MW_MidWareInit: 0\n");
    ExpectDone(Mwctl({"call", "MW_MidMemCheck", "0"}), "MW_MidMemCheck: 0\n");
}

}  // namespace
