// mwctl set.
#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

class Set : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }
};

struct Case {
    std::vector<std::string> arguments;
    const char *said;
    const char *module;
    const char *filter;  // what shows that it was stored
    const char *stored;
};

TEST_F(Set, StoresWhatItSays) {
    const Case cases[] = {
        {{"ntp-server", "6", "ntp.example.org"},
         "NTP server 6: ntp.example.org\n",
         "services",
         ".services.ntp.acNtpServerName[5]",
         "\"ntp.example.org\""},
        {{"ntp-server", "1", std::string(127, 'n')},
         nullptr,
         "services",
         ".services.ntp.acNtpServerName[0] | length",
         "127"},
        {{"ntp-server", "1", ""},
         "NTP server 1: none\n",
         "services",
         ".services.ntp.acNtpServerName[0]",
         "\"\""},
        {{"ntp-interval", "1024"},
         "NTP polling interval: 1024 s\n",
         "services",
         ".services.ntp.dwNtpInterval",
         "1024"},
        {{"time-source", "host"}, "time source: host\n", "services", ".services.ntp.dwTimeSource", "2"},
        {{"time-source", "manual"}, "time source: manual\n", "services", ".services.ntp.dwTimeSource", "0"},
        {{"time-source", "1"}, "time source: ntp\n", "services", ".services.ntp.dwTimeSource", "1"},
        {{"time-source", "0xFFFFFFFF"},
         "time source: 4294967295\n",
         "services",
         ".services.ntp.dwTimeSource",
         "4294967295"},
        {{"ntp", "--enable", "yes", "--servers", "2", "--authenticate", "yes", "--key", "9"},
         "NTP client runs: yes\nNTP servers in use: 2\nNTP servers authenticated: yes\nNTP key number: 9\n",
         "services",
         ".services.ntp | [.dwNtpEnable, .dwServerCount, .dwAuthEnable, .dwAuthKeyId, .dwNtpInterval]",
         "[1,2,1,9,1024]"},
        {{"syslog", "--enable", "yes"},
         "remote logging: yes\n",
         "services",
         ".services.syslog.dwEnable",
         "1"},
        {{"syslog", "--server", "2", "--address", "log.example.org"},
         "log server 2 address: log.example.org\n",
         "services",
         ".services.syslog | [.dwEnable, .dwServerCount, (.atServer[1] | .dwEnable, .acAddress, .wPort, "
         ".ucTransport, "
         ".ucMinSeverity)]",
         "[1,2,1,\"log.example.org\",514,0,7]"},
        {{"syslog", "--server", "2", "--port", "6514", "--transport", "tls", "--severity", "warning",
          "--enable", "no"},
         "log server 2 enabled: no\nlog server 2 port: 6514\nlog server 2 transport: tls\n"
         "log server 2 least severity: warning\n",
         "services",
         ".services.syslog.atServer[1] | [.dwEnable, .acAddress, .wPort, .ucTransport, .ucMinSeverity]",
         "[0,\"log.example.org\",6514,2,4]"},
        {{"syslog", "--server", "2", "--address", ""},
         "log server 2 address: none\n",
         "services",
         ".services.syslog | [.dwEnable, .dwServerCount, .atServer]",
         "[1,0,[]]"},
        {{"threshold", "memory", "80"},
         "memory usage threshold: 80 %, hysteresis 5 %\n",
         "memory",
         ".memory.threshold | [.dwThreshold, .dwHysteresis]",
         "[80,5]"},
        {{"threshold", "disk", "100"}, nullptr, "memory", ".memory[\"disk-threshold\"].dwThreshold", "100"},
        {{"threshold", "cpu", "0"}, nullptr, "cpu", ".cpu.threshold.dwThreshold", "0"},
    };
    for (Case one : cases) {
        SCOPED_TRACE(one.filter);
        one.arguments.insert(one.arguments.begin(), "set");
        const Outcome outcome = Mwctl(one.arguments);
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        EXPECT_EQ(outcome.err, "");
        if (one.said != nullptr) {
            EXPECT_EQ(outcome.out, one.said);
        }
        EXPECT_EQ(Jq("show " + std::string(one.module), one.filter), one.stored + std::string("\n"));
    }
}

TEST_F(Set, ChangesNoOtherField) {
    Store(StoreServices);
    const std::string before = Jq("show services", "del(.services.ntp.dwAuthKeyId)");
    EXPECT_EQ(Mwctl({"set", "ntp", "--key", "8"}).code, 0);
    EXPECT_EQ(Jq("show services", "del(.services.ntp.dwAuthKeyId)"), before);
    EXPECT_EQ(Jq("show services", ".services.ntp.dwAuthKeyId"), "8\n");
}

TEST_F(Set, RefusesWrongArgumentsInOneLine) {
    const struct {
        std::vector<std::string> arguments;
        const char *reason;
    } cases[] = {
        {{}, "A subcommand is required"},
        {{"ntp-server", "0", "a"}, "N: the number of an NTP server is a number from 1 to 6, not '0'"},
        {{"ntp-server", "7", "a"}, "N: the number of an NTP server is a number from 1 to 6, not '7'"},
        {{"ntp-server", "1"}, "NAME is required"},
        {{"ntp-server", "1", "a b"},
         "NAME: the name of an NTP server has no blanks and no control characters, unlike 'a b'"},
        {{"ntp-server", "1", "\x1b[0m"},
         "NAME: the name of an NTP server has no blanks and no control characters, unlike '\\x1b[0m'"},
        {{"ntp-interval", "0"}, "SECONDS: the polling interval is a number from 1 to 4294967295, not '0'"},
        {{"ntp-interval", "4294967296"},
         "SECONDS: the polling interval is a number from 1 to 4294967295, not '4294967296'"},
        {{"ntp-interval", "5 "}, "SECONDS: the polling interval is a number from 1 to 4294967295, not '5 '"},
        {{"time-source", "sun"}, "SOURCE: the time source is manual, ntp, host or a number, not 'sun'"},
        {{"ntp"}, nullptr},
        {{"ntp", "--enable", "1"}, "--enable: --enable is yes or no, not '1'"},
        {{"syslog", "--port", "514"}, "--port requires --server"},
        {{"syslog", "--server", "5", "--port", "514"},
         "--server: the number of a log server is a number from 1 to 4, not '5'"},
        {{"syslog", "--server", "1", "--port", "65536"},
         "--port: a port is a number from 1 to 65535, not '65536'"},
        {{"syslog", "--server", "1", "--transport", "smoke"},
         "--transport: the transport is udp, tcp, tls, not 'smoke'"},
        {{"threshold", "memory", "101"},
         "PERCENT: a threshold in percent is a number from 0 to 100, not '101'"},
        {{"threshold", "memory", "-1"}, nullptr},
        {{"threshold", "moon", "5"}, nullptr},
    };
    for (auto one : cases) {
        one.arguments.insert(one.arguments.begin(), "set");
        const Outcome outcome = Mwctl(one.arguments);
        EXPECT_EQ(outcome.code, 2) << outcome;
        EXPECT_EQ(outcome.out, "");
        EXPECT_EQ(LinesOf(outcome.err).size(), 1u) << outcome;
        if (one.reason != nullptr) {
            EXPECT_EQ(outcome.err, "mwctl: " + std::string(one.reason) + " (see --help)\n");
        }
    }
}

TEST_F(Set, RefusesNamesThatDoNotFit) {
    ExpectRefused(
        Mwctl({"set", "ntp-server", "1", std::string(128, 'n')}), 2,
        "mwctl: NAME: the name of an NTP server has at most 127 bytes; this one has 128 (see --help)\n");
    ExpectRefused(Mwctl({"set", "syslog", "--server", "1", "--address", std::string(250, 'n')}), 2,
                  "mwctl: --address: the address of a log server has at most 249 bytes; this one has 250 "
                  "(see --help)\n");
    EXPECT_EQ(Mwctl({"set", "syslog", "--server", "1", "--address", std::string(249, 'n')}).code, 0);
    EXPECT_EQ(Jq("show services", ".services.syslog.atServer[0].acAddress | length"), "249\n");
}

TEST_F(Set, NamesTheHolderOfTheSemaphore) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12302, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Mwctl({"set", "ntp-interval", "64"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(LinesOf(outcome.err).back(),
              "mwctl: semaphore 12302 is held by process " + std::to_string(holder.pid()) +
                  " (midware_tools_t) for longer than 500 ms: try again, or end that process");
}

TEST_F(Set, SaysWhenTheThresholdFileCannotBeWritten) {
    WriteFile(dir_ / "conf", "a file where a directory has to be");
    const Outcome outcome = Mwctl({"set", "threshold", "cpu", "80"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("mwctl: the configuration file "), std::string::npos) << outcome;
}

class SetNothing : public ToolsTest {};

TEST_F(SetNothing, SaysThatThereIsNoArea) {
    ExpectRefused(Mwctl({"set", "ntp-interval", "64"}), 1,
                  "mwctl: the shared area does not exist: run midware-init\n");
}

TEST_F(SetNothing, ThresholdsNeedNoArea) {
    ExpectDone(Mwctl({"set", "threshold", "memory", "80"}), "memory usage threshold: 80 %, hysteresis 5 %\n");
}

}  // namespace
