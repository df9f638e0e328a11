// mwctl show with paths, and --raw.
#include <cstring>

#include "midware.h"
#include "tools_test.h"

namespace {

class Path : public ToolsTest {
  protected:
    void SetUp() override {
        CreateArea();
        Store([] {
            StoreServices();
            StoreMemory();
            StoreProcessors();
        });
    }

    Outcome Show(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), "show");
        return Mwctl(arguments);
    }
};

TEST_F(Path, LeadsToARecordASlotOrAField) {
    const struct {
        const char *path, *text, *value;  // the value in JSON
    } cases[] = {
        {"memory.temperatures[1].iTemp", "memory.temperatures[1].iTemp  -3 C\n", "-3"},
        {"memory.temperatures[0].ucTempValid", "memory.temperatures[0].ucTempValid  yes\n", "1"},
        {"services.ntp.acNtpServerName[0]", "services.ntp.acNtpServerName[0]  ntp1.example.org\n",
         "\"ntp1.example.org\""},
        {"services.ntp.dwTimeSource", "services.ntp.dwTimeSource  ntp (1)\n", "1"},
        {"services.syslog.atServer[1].wPort", "services.syslog.atServer[1].wPort  514\n", "514"},
        {"services.syslog.atServer[1].aucReserved", "services.syslog.atServer[1].aucReserved  00 a5\n",
         "\"00a5\""},
        {"memory.usage.dwMemUsg", "memory.usage.dwMemUsg  no value\n", "null"},
        {"memory.area.atStatusInfo[1].tTempInfo.iTemp", "memory.area.atStatusInfo[1].tTempInfo.iTemp  -3 C\n",
         "-3"},
        {"memory.slots[3].adwLocation[2]", "memory.slots[3].adwLocation[2]  1\n", "1"},
    };
    for (const auto &one : cases) {
        ExpectDone(Show({one.path}), one.text);
        EXPECT_EQ(Jq(std::string("show '") + one.path + "'", "[keys, .[].value]"),
                  std::string("[[\"") + one.path + "\"]," + one.value + "]\n");
    }
    EXPECT_EQ(Jq("show services.ntp.dwTimeSource", ".[].text"), "\"ntp (1)\"\n");
}

TEST_F(Path, WithoutANumberAllAreMeant) {
    ExpectGolden(Show({"memory.temperatures.iTemp"}).out, "path-list.txt");
    ExpectGolden(Show({"memory.area.atStatusInfo[0].tTempInfo", "services.ntp.acNtpServerName"}).out,
                 "path-record.txt");
    EXPECT_EQ(Jq("show memory.temperatures.iTemp", "map(.value)|length"), "4\n");
    EXPECT_EQ(Jq("show \"memory.slots[3].adwLocation\"", ".[] | [.value, .text]"),
              "[[1,0,1,0],[\"1\",\"0\",\"1\",\"0\"]]\n");
    EXPECT_EQ(Jq("show \"memory.area.atStatusInfo[1].tTempInfo\"", ".[] | [.value.iTemp, has(\"text\")]"),
              "[-3,false]\n");
}

TEST_F(Path, ARecordLooksAsItDoesInItsModule) {
    ExpectGolden(Show({"memory.temperatures"}).out, "path-temperatures.txt");
    const std::string whole = Show({"memory"}).out;
    const std::string record = Show({"memory.temperatures"}).out;
    EXPECT_NE(whole.find(record.substr(record.find('\n'))), std::string::npos);
    EXPECT_EQ(Jq("show memory.temperatures", ".[\"memory.temperatures\"]"),
              Jq("show memory", ".memory.temperatures"));
    EXPECT_EQ(Jq("show \"memory.temperatures[1]\"", ".[]"), Jq("show memory", ".memory.temperatures[1]"));
    const Outcome slot = Show({"memory.temperatures[1]"});
    EXPECT_NE(slot.out.find("-3 C"), std::string::npos) << slot;
    EXPECT_EQ(slot.out.find("DIMM000"), std::string::npos) << slot;
}

TEST_F(Path, TheAreaHoldsWhatNoFunctionReads) {
    ExpectDone(Show({"memory.area.dwDimmCount"}), "memory.area.dwDimmCount  4\n");
    EXPECT_EQ(Jq("show memory.area", ".[\"memory.area\"] | [.dwDimmCount, (.atPhyInfo | length)]"),
              "[4,4]\n");
    const Outcome area = Show({"services.area"});
    EXPECT_NE(area.out.find("  As stored (area)\n"), std::string::npos) << area;
}

TEST_F(Path, GoesTogetherWithModulesAndOtherPaths) {
    EXPECT_EQ(Jq("show services memory.area.dwDimmCount cpu.area.dwCpuNum", "keys_unsorted"),
              "[\"services\",\"memory.area.dwDimmCount\",\"cpu.area.dwCpuNum\"]\n");
    const Outcome outcome = Show({"memory.area.dwDimmCount", "services"});
    EXPECT_EQ(outcome.out, Show({"services"}).out + "\nmemory.area.dwDimmCount  4\n");
}

TEST_F(Path, AnUnknownOneIsAnsweredWithTheNamesThatThereAre) {
    const struct {
        const char *path, *problem;
    } cases[] = {
        {"moon.x",
         "there is no module 'moon'; there are board, firmware, cpu, memory, pcie, nic, fc, gpu, custcard, "
         "raid, disks, backplane, fan, thermal, power, pem, health, services"},
        {"memory.temps",
         "there is no record 'temps' in memory; there are totals, installed, slots, assets, temperatures, "
         "alarms, "
         "events, usage, threshold, disk-threshold, area"},
        {"memory.tempratures[0].x", "there is no record 'tempratures' in memory; there is temperatures"},
        {"health.area", "there is no record 'area' in health; there are memory, cpu, fan, pem"},
        {"services.ntp.ntpServerName",
         "there is no field 'ntpServerName' in NtpInfo; there is acNtpServerName"},
        {"memory.installed.moon", "there is no field 'moon' in MemInstalled; there are dwTotalSizeGB"},
        {"memory.slots[64]", "memory.slots: the numbers are 0 to 63, not 64"},
        {"memory.slots[0].adwLocation[4]", "adwLocation: the numbers are 0 to 3, not 4"},
        {"memory.usage[0]", "memory.usage is no list, and has no [0]"},
        {"memory.area[0]", "memory.area is no list, and has no [0]"},
        {"memory[1]", "memory is no list, and has no [1]"},
        {"memory.slots[0].dwMemNum[0]", "dwMemNum is no list, and has no [0]"},
        {"memory.slots[0].dwMemNum.x", "dwMemNum is a single value and has no field 'x'"},
        {"memory.totals.dwDimmCount", "no function reads dwDimmCount alone; see memory.area"},
    };
    for (const auto &one : cases) {
        ExpectRefused(Show({one.path}), 2, std::string("mwctl: MODULE: ") + one.problem + " (see --help)\n");
    }
    for (const char *path :
         {"memory.", ".x", "memory..x", "memory.slots[", "memory.slots[]", "memory.slots[x]",
          "memory.slots[-1]", "memory.slots[0]x", "memory.slots[4294967296]"}) {
        ExpectRefused(Show({path}), 2,
                      std::string("mwctl: MODULE: '") + path +
                          "' is no path; one is like memory.temperatures[0].iTemp (see --help)\n");
    }
    ExpectRefused(
        Show({"a\x1b[0m.x"}), 2,
        "mwctl: MODULE: 'a\\x1b[0m.x' is no path; one is like memory.temperatures[0].iTemp (see --help)\n");
}

TEST_F(Path, ASlotThatIsNotInUseIsSaidToBe) {
    ExpectRefused(Show({"memory.temperatures[60].iTemp"}), 1,
                  "mwctl: memory.temperatures[60].iTemp: the slot is not in use\n");
    EXPECT_EQ(Jq("show \"memory.temperatures[60]\"", "."),
              "{\"memory.temperatures[60]\":null,\"errors\":[\"memory.temperatures[60]: the slot is not in "
              "use\"]}\n");
}

TEST_F(Path, AStuckSemaphoreIsSaid) {
    const Process holder = HoldSemaphore(12302);
    for (const char *path : {"services.ntp.dwNtpInterval", "services.area.tNtpInfo.dwNtpInterval"}) {
        const Outcome outcome = Show({path});
        EXPECT_EQ(outcome.code, 1) << outcome;
        EXPECT_TRUE(
            outcome.err.starts_with("mwctl: " + std::string(path) + ": semaphore 12302 is held by process "))
            << outcome;
        ExpectDone(Show({path, "--no-lock"}), std::string(path) + "  64 s\n");
    }
}

TEST_F(Path, WithoutAnAreaOnlyThatIsSaid) {
    TempDir elsewhere;
    setup_.environment["MIDWARE_ROOT"] = elsewhere.path();
    ExpectRefused(Show({"memory.area", "--raw"}), 1,
                  "mwctl: the shared area does not exist: run midware-init\n");
    EXPECT_EQ(Jq("show memory.area --raw", "."),
              "{\"errors\":[\"the shared area does not exist: run midware-init\"]}\n");
}

TEST_F(Path, TextsAreEscaped) {
    Store([] {
        NtpInfo ntp{};
        std::memcpy(ntp.acNtpServerName[0], "\x1b]0;x\x07\n\xff\xe2\x80\xae", 11);
        EXPECT_EQ(MW_SetNtpInfo(&ntp), 0);
    });
    for (const char *locale : {"C", "C.UTF-8"}) {
        setup_.environment["LC_ALL"] = locale;
        ExpectDone(Show({"services.ntp.acNtpServerName[0]"}),
                   "services.ntp.acNtpServerName[0]  \\x1b]0;x\\x07\\x0a\\xff\\xe2\\x80\\xae\n");
    }
    EXPECT_EQ(Jq("show services.area.tNtpInfo.acNtpServerName[0]", ".[].text"),
              "\"\\\\x1b]0;x\\\\x07\\\\x0a\\\\xff\\\\xe2\\\\x80\\\\xae\"\n");
}

TEST_F(Path, RawShowsTheBytesOfAModuleWithTheNamesOfItsFields) {
    ExpectGolden(Show({"services", "--raw"}).out, "raw-services.txt");
    ExpectGolden(Show({"memory", "--raw"}).out, "raw-memory.txt");
    EXPECT_EQ(Show({"memory.area", "--raw"}).out, Show({"memory", "--raw"}).out);
}

TEST_F(Path, RawShowsEveryByteOfEveryArea) {
    EXPECT_EQ(Jq("show --raw", "[.[] | .size] | add"), "708704\n");
    EXPECT_EQ(Jq("show --raw", "[.[] | .bytes | length] | add"), "1417408\n");
    EXPECT_EQ(Jq("show --raw memory", ".[] | .bytes[0:16]"), "\"0400000002000000\"\n");
}

TEST_F(Path, RawShowsARecordOrAFieldAlone) {
    ExpectGolden(Show({"services.area.tNtpInfo.dwNtpInterval", "--raw"}).out, "raw-field.txt");
    ExpectGolden(Show({"memory.temperatures[1]", "--raw"}).out, "raw-slot.txt");
    EXPECT_EQ(Jq("show \"memory.temperatures[1].iTemp\" --raw", ".[]"),
              "{\"offset\":60,\"size\":4,\"bytes\":\"fdffffff\"}\n");
}

TEST_F(Path, RawNeedsARecordOfAModuleThatHasNoArea) {
    ExpectRefused(
        Show({"health", "--raw"}), 2,
        "mwctl: health has no area of its own: --raw needs one of its records, such as health.memory (see "
        "--help)\n");
    EXPECT_TRUE(Show({"health.memory", "--raw"}).Succeeded());
}

TEST_F(Path, AListOnRequestIsNoneOfARecord) {
    ExpectRefused(Show({"pcie.devices", "--upper"}), 2,
                  "mwctl: --upper: there is no such list of pcie.devices (see --help)\n");
}

}  // namespace
