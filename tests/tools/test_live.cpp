// The views of what goes on: mwctl watch, top and metrics.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <regex>

#include "hov_midware.h"
#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

constexpr char kHostile[] = "\x1b[31m\n\"\\\xff}x=1\xe2\x80\xae,y";

// A machine of which every kind of reading is known.
void StoreMachine() {
    StoreMemory();
    StoreProcessors();
    FanOnlinePhyInfo fans[3]{};
    FanAssetInfo assets[3]{};
    for (uint32_t i = 0; i < 3; ++i) {
        fans[i].dwFanSilkNum = assets[i].dwFanSilkNum = i + 1;
        fans[i].dwPresent = i < 2;
        fans[i].dwSpeed = 8400 + i;
        std::snprintf(assets[i].acFanName, sizeof assets[i].acFanName, "FAN%u", i + 1);
    }
    fans[0].dwRearSpeed = 8100;
    ASSERT_EQ(MW_SetFanOnlinePhyInfo(fans, 3), 0);
    ASSERT_EQ(MW_SetFanAssetInfo(assets, 3), 0);
    ASSERT_EQ(MW_SetBoardPowerCurrentInfo(301, 120, 455, 298), 0);
    ASSERT_EQ(MW_SetPowerStatus(MW_POWER_ON), 0);
    ASSERT_EQ(MW_SetPCHTemp(47), 0);
    const InletTempReading inlet{0, 1, 235, 127, 127, -128, -128, "Inlet"};
    ASSERT_EQ(MW_SetInletTempCnt(1), 0);
    ASSERT_EQ(MW_SetInletTempInfo(&inlet), 0);
    GPUAssetInfo gpus{};
    gpus.dwGpuCount = 1;
    gpus.atGpu[0].ucTempValid = 0x02;
    gpus.atGpu[0].iTemp = 99;  // not valid
    gpus.atGpu[0].iMemoryTemp = 71;
    gpus.atGpu[0].dwPower = 151500;
    gpus.atGpu[0].dwHealthyStatus = 2;
    std::strcpy(gpus.atGpu[0].acModel, "EX-9");
    ASSERT_EQ(MW_SetGPUAssetInfo(&gpus), 0);
}

// Texts that are up to no good, with and without a terminator.
void StoreHostileTexts() {
    MemPhyInfo slot{};
    slot.dwMemNum = 1;
    slot.dwPresent = 1;
    std::memset(slot.acSilkName, 'n', sizeof slot.acSilkName);
    std::memcpy(slot.acSilkName, kHostile, sizeof kHostile - 1);
    MemStatusInfo state{};
    state.dwDimmNum = state.tTempInfo.dwDimmNum = state.tAlarmInfo.dwDimmNum = 1;
    state.tTempInfo.ucTempValid = 1;
    state.tTempInfo.iTemp = 45;
    state.tAlarmInfo.ucMemOverTempState = 1;
    ASSERT_EQ(MW_SetMemPhyInfo(&slot, 1), 0);
    ASSERT_EQ(MW_SetMemDimmNuminStatusInfo(&state, 1), 0);
    ASSERT_EQ(MW_SetMemMemOverTempState(1, 1), 0);
    ASSERT_EQ(MW_SetMemHealthyStatusInfo(1, 2, 2), 0);
}

// Everything but line feeds is printable ASCII.
void ExpectHarmless(const std::string &text) {
    EXPECT_FALSE(text.empty());
    for (const char c : text) {
        if (c == '\n' || (c >= ' ' && c <= '~')) continue;
        ADD_FAILURE() << "character " << static_cast<int>(static_cast<unsigned char>(c)) << " in\n" << text;
        return;
    }
}

class LiveTest : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }
};

std::string WithoutTimes(const std::string &text) {
    return std::regex_replace(text, std::regex("\\d{4}-\\d\\d-\\d\\dT\\d\\d:\\d\\d:\\d\\d\\.\\d{3}Z"),
                              "TIME");
}

// --- watch

class Watch : public LiveTest {
  protected:
    Process Start(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {MWCTL, "watch", "--interval", "0.03"});
        return Process(setup_, [this, arguments] {
            const int file = open(Out().c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_APPEND, 0600);
            dup2(file, STDOUT_FILENO);
            close(file);
            Execute(arguments);
        });
    }
    // Starts it and waits until it has looked: until it tells of a change of the chassis, which it has to
    // watch.
    Process StartLooking(std::vector<std::string> arguments) {
        unlink(Out().c_str());
        Process watcher = Start(std::move(arguments));
        uint32_t number = 1;
        EXPECT_TRUE(Eventually([&] {
            ++number;
            Store([&] { EXPECT_EQ(MW_SetChassisId(number), 0); });
            return !ReadFile(Out()).empty();
        }));
        return watcher;
    }
    std::string Out() const { return dir_ / "out"; }
    bool Says(const std::string &text) {
        return Eventually([&] { return ReadFile(Out()).find(text) != std::string::npos; });
    }
    // What it told of other things than the chassis.
    std::string Told() const {
        std::string told;
        for (const std::string &line : LinesOf(ReadFile(Out()))) {
            if (line.find("board.facts.wChassisId") == line.npos) told += line + '\n';
        }
        return WithoutTimes(told);
    }
    size_t TimesSaid(const std::string &text) const {
        size_t times = 0;
        const std::string all = ReadFile(Out());
        for (size_t at = 0; (at = all.find(text, at)) != all.npos; ++at) ++times;
        return times;
    }
};

TEST_F(Watch, TellsEveryValueThatChanges) {
    Process watcher = StartLooking({"services", "cpu", "board"});
    Store(StoreServices);
    ASSERT_TRUE(Says("services.syslog.atServer[1].aucReserved"));
    Store([] { EXPECT_EQ(MW_SetNtpInterval(128), 0); });
    ASSERT_TRUE(Says("services.ntp.dwNtpInterval: 64 s -> 128 s"));
    Store(StoreMemory);  // not watched
    Store([] {
        CpuPhyInfo sockets[2]{};
        sockets[1].dwSilkNum = 2;
        EXPECT_EQ(MW_SetCpuPhyInfo(sockets, 2), 0);
    });
    ASSERT_TRUE(Says("cpu.sockets[1].dwSilkNum"));
    Store([] {
        CpuPhyInfo socket{};
        EXPECT_EQ(MW_SetCpuPhyInfo(&socket, 1), 0);
    });
    ASSERT_TRUE(Says("cpu.sockets[1]: no longer in use"));
    ASSERT_TRUE(Says("cpu.sockets[1].dwSilkNum: 2 -> none"));
    watcher.Signal(SIGTERM);
    const Outcome outcome = watcher.Wait();
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
    ExpectGolden(Told(), "watch.txt");
}

TEST_F(Watch, JsonIsAnObjectALine) {
    Process watcher = StartLooking({"--json", "services", "board"});
    Store([] { EXPECT_EQ(MW_SetTimeSource(MW_TIME_SOURCE_NTP), 0); });
    ASSERT_TRUE(Says("dwTimeSource"));
    watcher.Signal(SIGINT);
    EXPECT_TRUE(watcher.Wait().Succeeded());
    for (const std::string &line : LinesOf(ReadFile(Out())))
        EXPECT_TRUE(line.starts_with('{') && line.ends_with('}'));
    EXPECT_EQ(
        Shell(
            "jq -c 'select(.path == \"services.ntp.dwTimeSource\") | [.event, .label, .old, .new, .old_text, "
            ".new_text, (.time | length)]' \"$MIDWARE_ROOT\"/out")
            .out,
        "[\"changed\",\"time source\",0,1,\"manual (0)\",\"ntp (1)\",24]\n");
}

TEST_F(Watch, EndsAfterTheCountThatWasAskedFor) {
    ExpectDone(Mwctl({"watch", "--interval", "0.01", "--count", "3"}), "");
}

TEST_F(Watch, EndsWhenNobodyReadsAnyMore) {
    const Outcome outcome = Shell("\"$MWCTL\" watch --interval 0.02 services | true");
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
}

TEST_F(Watch, SaysOnceThatTheAreaGoesAndComes) {
    Process watcher = StartLooking({});
    ASSERT_EQ(unlink((dir_ / "dev/shm/midware-4099").c_str()), 0);
    ASSERT_TRUE(Says("shared area: the shared area was removed: run midware-init"));
    CreateArea();
    ASSERT_TRUE(Says("shared area: was created anew"));
    const size_t before = ReadFile(Out()).size();
    uint32_t number = 50;
    EXPECT_TRUE(Eventually([&] {  // it watches the new one
        ++number;
        Store([&] { EXPECT_EQ(MW_SetChassisId(number), 0); });
        return ReadFile(Out()).substr(before).find("wChassisId") != std::string::npos;
    }));
    EXPECT_EQ(TimesSaid("the shared area was removed"), 1u);
    EXPECT_EQ(TimesSaid("was created anew"), 1u);
    watcher.Signal(SIGTERM);
    EXPECT_TRUE(watcher.Wait().Succeeded());
}

TEST_F(Watch, WaitsForAnAreaThatIsNotThereYet) {
    ASSERT_EQ(Shell("rm -r \"$MIDWARE_ROOT\"/dev").code, 0);
    Process watcher = Start({});
    ASSERT_TRUE(Says("shared area: the shared area does not exist: run midware-init"));
    CreateArea();
    ASSERT_TRUE(Says("shared area: is there"));
    EXPECT_EQ(TimesSaid("does not exist"), 1u);
    watcher.Signal(SIGTERM);
    EXPECT_TRUE(watcher.Wait().Succeeded());
}

TEST_F(Watch, SaysOnceThatASemaphoreIsStuck) {
    Process watcher = StartLooking({"services", "board"});
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12302, 500) == 0;
        while (*held == 1) usleep(1000);
        EXPECT_EQ(OAL_SemUnLockByKey(12302, 500), 0);
    });
    ASSERT_TRUE(Says("semaphore 12302 (services): held by " + std::to_string(holder.pid())));
    ASSERT_TRUE(Says("services: semaphore 12302 is held by process " + std::to_string(holder.pid())));
    *held = 2;
    ASSERT_TRUE(Says("semaphore 12302 (services): released"));
    ASSERT_TRUE(Says("services: can be read again"));
    EXPECT_EQ(TimesSaid("held by"), 2u);
    watcher.Signal(SIGTERM);
    EXPECT_TRUE(watcher.Wait().Succeeded());
}

TEST_F(Watch, WrongIntervalsAreRefused) {
    for (const char *wrong : {"0", "x", "-1", "100000"}) {
        ExpectRefused(Mwctl({"watch", "--interval", wrong}), 2,
                      std::string("mwctl: --interval: '") + wrong +
                          "' is no number of seconds from 0.01 to 86400 (see --help)\n");
    }
}

// --- top

class Top : public LiveTest {
  protected:
    void TearDown() override { Tmux("kill-server 2>/dev/null; true"); }

    std::string Tmux(const std::string &command) {
        return Shell("tmux -S \"$MIDWARE_ROOT\"/tmux" + std::to_string(server_) + " -f /dev/null " + command)
            .out;
    }
    bool HasTmux() { return Shell("command -v tmux").code == 0; }
    void Start(int columns, int lines, const std::string &before = {}) {
        const std::string size = "-x " + std::to_string(columns) + " -y " + std::to_string(lines);
        Tmux("new-session -d " + size + " '" + before +
             " \"$MWCTL\" top --interval 0.1; echo \"exit=$?\"; stty -a | grep -ow -e -echo -e echo; cat'");
        ASSERT_TRUE(Shows("Semaphores")) << Screen();
    }
    std::string Screen(const std::string &option = {}) { return Tmux("capture-pane -p " + option); }
    bool Shows(const std::string &text) {
        return Eventually([&] { return Screen().find(text) != std::string::npos; });
    }
    void Press(const std::string &key) { Tmux("send-keys " + key); }
    int server_ = 0;
    void ExpectRestored() {
        EXPECT_TRUE(Shows("exit=0")) << Screen();
        EXPECT_TRUE(Shows("\necho\n")) << Screen();
        EXPECT_EQ(Screen().find("Temperatures"), std::string::npos) << Screen();
    }
};

TEST_F(Top, SaysThatThereIsNoTerminal) {
    ExpectRefused(Mwctl({"top"}), 2, "mwctl: there is no terminal: use mwctl top --once\n");
}

TEST_F(Top, OncePrintsEveryLine) {
    Store(StoreMachine);
    const Outcome outcome = Mwctl({"top", "--once"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
    const std::string text = WithoutTimes(outcome.out);
    ExpectGolden(std::regex_replace(text, std::regex(" +\\d+ taken"), " N taken"), "top.txt");
}

// A saved area looks like the live one did, at the time when it was saved, and has no semaphores.
TEST_F(LiveTest, ViewsOfASavedAreaAreThoseOfTheLiveOneWithoutSemaphores) {
    Store(StoreMachine);
    const std::string file = dir_ / "area.mw";
    ASSERT_TRUE(Mwctl({"save", file}).Succeeded());
    const std::string live = Mwctl({"top", "--once"}).out;
    const std::string metrics = Mwctl({"metrics"}).out;
    ASSERT_EQ(Shell("rm -r \"$MIDWARE_ROOT\"/dev").code, 0);

    const Outcome saved = Mwctl({"top", "--once", "--from", file});
    EXPECT_TRUE(saved.Succeeded()) << saved;
    const size_t semaphores = live.find("\nSemaphores\n");
    ASSERT_NE(semaphores, live.npos);
    const std::string head = live.substr(0, live.find('\n'));
    EXPECT_EQ(WithoutTimes(saved.out), "mwctl top  host power: on (1)  (saved area)  TIME\n" +
                                           live.substr(head.size() + 1, semaphores - head.size() - 1));
    const Outcome series = Mwctl({"--from", file, "metrics"});
    EXPECT_TRUE(series.Succeeded()) << series;
    EXPECT_EQ(series.out.find("semaphore"), std::string::npos);
    for (const std::string &line : LinesOf(series.out))
        EXPECT_NE(metrics.find(line + "\n"), std::string::npos) << line;
    EXPECT_NE(series.out.find("midware_temperature_celsius{"), std::string::npos);
}

TEST_F(Top, ShowsASavedAreaOnTheWholeScreen) {
    if (!HasTmux()) GTEST_SKIP() << "tmux is not installed";
    Store(StoreMachine);
    ASSERT_TRUE(Mwctl({"save", dir_ / "area.mw"}).Succeeded());
    ASSERT_EQ(Shell("rm -r \"$MIDWARE_ROOT\"/dev").code, 0);
    Tmux(
        "new-session -d -x 80 -y 24 '\"$MWCTL\" top --from \"$MIDWARE_ROOT\"/area.mw; echo \"exit=$?\"; "
        "cat'");
    EXPECT_TRUE(Shows("(saved area)")) << Screen();
    EXPECT_TRUE(Shows("8400 rpm")) << Screen();
    EXPECT_EQ(Screen().find("Semaphores"), std::string::npos) << Screen();
    Press("q");
    EXPECT_TRUE(Shows("exit=0")) << Screen();
}

TEST_F(Top, OnceSaysThatThereIsNoArea) {
    ASSERT_EQ(Shell("rm -r \"$MIDWARE_ROOT\"/dev").code, 0);
    ExpectRefused(Mwctl({"top", "--once"}), 1, "mwctl: the shared area does not exist: run midware-init\n");
}

TEST_F(Top, FitsIntoASmallTerminalAndUsesALargeOne) {
    if (!HasTmux()) GTEST_SKIP() << "tmux is not installed";
    Store(StoreMachine);
    Start(80, 24);
    std::string screen = Screen();
    for (const char *text :
         {"host power: on", "Temperatures", "memory DIMM000", "45 C", "Fans", "8400 rpm", "Power", "301 W",
          "Alarms and health", "over-temperature", "Semaphores", "q quit"}) {
        EXPECT_NE(screen.find(text), screen.npos) << text << "\n" << screen;
    }
    EXPECT_EQ(screen.find("custcard"), screen.npos) << screen;  // further down than there is room

    Tmux("resize-window -x 200 -y 60");
    EXPECT_TRUE(Shows("custcard")) << Screen();
    screen = Screen();
    size_t titles = 0;
    for (const char *title : {"Temperatures", "Fans", "Power", "Alarms and health", "Semaphores"})
        titles += LinesOf(screen)[1].find(title) != std::string::npos;
    EXPECT_GE(titles, 4u) << screen;  // side by side

    Tmux("resize-window -x 40 -y 10");
    EXPECT_TRUE(Eventually([&] {
        return LinesOf(Screen())[1].starts_with("Temperatures") && Screen().find("Fans") != std::string::npos;
    })) << Screen();
    Tmux("resize-window -x 15 -y 4");
    EXPECT_TRUE(Shows("too small")) << Screen();
    Tmux("resize-window -x 80 -y 24");
    EXPECT_TRUE(Shows("Semaphores")) << Screen();
    Press("q");
    ExpectRestored();
}

TEST_F(Top, KeysSelectScrollAndEnlargeAPanel) {
    if (!HasTmux()) GTEST_SKIP() << "tmux is not installed";
    Store(StoreMachine);
    Start(80, 24);
    EXPECT_EQ(Screen().find("custcard"), std::string::npos);
    for (int i = 0; i < 4; ++i) Press("Tab");
    Press("End");
    EXPECT_TRUE(Shows("custcard")) << Screen();
    Press("Home");
    EXPECT_TRUE(Eventually([&] { return Screen().find("custcard") == std::string::npos; })) << Screen();
    Press("NPage");
    Press("NPage");
    Press("NPage");
    EXPECT_TRUE(Shows("custcard")) << Screen();
    Press("Enter");
    EXPECT_TRUE(Eventually([&] { return Screen().find("Fans") == std::string::npos; })) << Screen();
    EXPECT_NE(Screen().find("Semaphores"), std::string::npos) << Screen();
    Press("Enter");
    Press("BTab");
    EXPECT_TRUE(Shows("Fans")) << Screen();
    Press("q");
    ExpectRestored();
}

TEST_F(Top, IsLive) {
    if (!HasTmux()) GTEST_SKIP() << "tmux is not installed";
    Store(StoreMachine);
    Start(80, 24);
    Store([] { EXPECT_EQ(MW_SetPCHTemp(88), 0); });
    EXPECT_TRUE(Shows("88 C")) << Screen();
    ASSERT_EQ(Shell("rm -r \"$MIDWARE_ROOT\"/dev/shm").code, 0);
    EXPECT_TRUE(Shows("the shared area was removed: run midware-init")) << Screen();
    CreateArea();
    EXPECT_TRUE(Shows("no alarm is asserted")) << Screen();
    Press("q");
    ExpectRestored();
}

TEST_F(Top, SignalsRestoreTheTerminal) {
    if (!HasTmux()) GTEST_SKIP() << "tmux is not installed";
    Start(80, 24);
    const std::string pid =
        "$(pgrep -x mwctl -P $(tmux -S \"$MIDWARE_ROOT\"/tmux0 display -p '#{pane_pid}'))";
    EXPECT_EQ(Shell("kill -TERM " + pid).code, 0);
    ExpectRestored();
}

TEST_F(Top, AnUnknownTerminalIsSaid) {
    if (!HasTmux()) GTEST_SKIP() << "tmux is not installed";
    Tmux("new-session -d -x 120 -y 24 'TERM=unheard-of \"$MWCTL\" top; echo \"exit=$?\"; cat'");
    EXPECT_TRUE(Shows("exit=2")) << Screen();
    EXPECT_NE(Screen().find(
                  "mwctl: this kind of terminal (TERM) is not known, or cannot do it: use mwctl top --once"),
              std::string::npos)
        << Screen();
}

TEST_F(Top, ColoursAreLeftOutWhenTheyAreNotWanted) {
    if (!HasTmux()) GTEST_SKIP() << "tmux is not installed";
    Store(StoreMachine);
    Start(80, 24);
    EXPECT_TRUE(Eventually([&] { return std::regex_search(Screen("-e"), std::regex("\x1b\\[[0-9;]*31m")); }))
        << Screen("-e");
    Tmux("kill-server");
    ++server_;  // one that is about to end still takes the next session, and it with it
    Start(80, 24, "NO_COLOR=1");
    EXPECT_FALSE(std::regex_search(Screen("-e"), std::regex("\x1b\\[[0-9;]*3[0-7]m"))) << Screen("-e");
}

// --- metrics

class Metrics : public LiveTest {
  protected:
    // promtool of Debian's prometheus package, where it is; "" otherwise.
    static std::string Promtool() {
        for (const char *path : {PROMTOOL, "/usr/bin/promtool"}) {
            if (access(path, X_OK) == 0) return path;
        }
        return {};
    }
};

TEST_F(Metrics, HoldsReadingsHealthAlarmsAndCounts) {
    Store(StoreMachine);
    const Outcome outcome = Mwctl({"metrics"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
    const std::regex counts("(midware_semaphore_(taken|contended)_total\\{.*\\}) \\d+");
    ExpectGolden(std::regex_replace(outcome.out, counts, "$1 N"), "metrics.txt");
}

TEST_F(Metrics, TellsOfASemaphoreThatIsStuck) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12302, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Mwctl({"metrics"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_TRUE(outcome.err.starts_with("mwctl: services: semaphore 12302 is held by process ")) << outcome;
    EXPECT_EQ(LinesOf(outcome.err).size(), 1u);
    for (const char *line : {"midware_semaphore_held{area=\"services\",key=\"12302\"} 1\n",
                             "midware_record_readable{module=\"services\",record=\"ntp\"} 0\n",
                             "midware_record_readable{module=\"cpu\",record=\"sockets\"} 1\n"}) {
        EXPECT_NE(outcome.out.find(line), std::string::npos) << line << outcome;
    }
}

TEST_F(Metrics, TellsThatThereIsNoArea) {
    ASSERT_EQ(Shell("rm -r \"$MIDWARE_ROOT\"/dev").code, 0);
    const Outcome outcome = Mwctl({"metrics"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "mwctl: the shared area does not exist: run midware-init\n");
    EXPECT_NE(outcome.out.find("\nmidware_area_present 0\n"), std::string::npos) << outcome;
}

TEST_F(Metrics, PassPrometheusOwnCheck) {
    const std::string promtool = Promtool();
    if (promtool.empty()) GTEST_SKIP() << "promtool is not there";
    Store(StoreMachine);
    setup_.environment["PROMTOOL"] = promtool;
    for (const auto &store : {StoreMachine, StoreHostileTexts}) {
        Store(store);
        const Outcome outcome = Shell("\"$MWCTL\" metrics | \"$PROMTOOL\" check metrics");
        ExpectDone(outcome, "");
    }
}

TEST_F(Metrics, AFileIsReplacedAsAWhole) {
    const std::string file = dir_ / "midware.prom";
    WriteFile(file, "old\n");
    const Outcome outcome = Mwctl({"metrics", "--output", file});
    ExpectDone(outcome, "");
    EXPECT_TRUE(ReadFile(file).starts_with("# HELP midware_build_info ")) << ReadFile(file);
    EXPECT_NE(ReadFile(file).find("\nmidware_area_present 1\n"), std::string::npos);
    struct stat status;
    ASSERT_EQ(stat(file.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0644u);
    EXPECT_EQ(FilesIn(dir_.path()), (std::vector<std::string>{"dev", "midware.prom"}));
}

TEST_F(Metrics, AFileThatCannotBeWrittenIsSaid) {
    ExpectRefused(Mwctl({"metrics", "--output", "/nowhere\x1b/a.prom"}), 1,
                  "mwctl: /nowhere\\x1b/a.prom cannot be written: No such file or directory: name a file in "
                  "a directory "
                  "that this user may write\n");
    ASSERT_EQ(mkdir((dir_ / "taken.prom").c_str(), 0700), 0);
    ExpectRefused(
        Mwctl({"metrics", "--output", dir_ / "taken.prom"}), 1,
        "mwctl: " + (dir_ / "taken.prom") +
            " cannot be written: Is a directory: name a file in a directory that this user may write\n");
    EXPECT_EQ(FilesIn(dir_.path()), (std::vector<std::string>{"dev", "taken.prom"}));
}

// --- what records hold

class HostileTexts : public Watch {};

TEST_F(HostileTexts, AreNeverPrintedAsTheyAre) {
    Store(StoreHostileTexts);
    for (const std::vector<std::string> &view : {std::vector<std::string>{"status"},
                                                 {"status", "--json"},
                                                 {"top", "--once"},
                                                 {"check"},
                                                 {"check", "--json"},
                                                 {"metrics"}}) {
        ExpectHarmless(Mwctl(view).out);
    }
    EXPECT_NE(Mwctl({"top", "--once"}).out.find("memory \\x1b[31m\\x0a\"\\\\xff}x=1"), std::string::npos)
        << Mwctl({"top", "--once"});
    EXPECT_NE(
        Mwctl({"metrics"}).out.find("name=\"\\\\x1b[31m\\\\x0a\\\"\\\\\\\\xff}x=1\\\\xe2\\\\x80\\\\xae,y"),
        std::string::npos)
        << Mwctl({"metrics"});
    EXPECT_NE(Mwctl({"check"}).out.find("memory.area.atPhyInfo[0].acSilkName fills its "), std::string::npos);
}

TEST_F(HostileTexts, AreNeverPrintedAsTheyAreWhenTheyChange) {
    for (const char *json : {"--count=0", "--json"}) {
        Process watcher = StartLooking({json, "memory", "board"});
        Store(StoreHostileTexts);
        ASSERT_TRUE(Says("memory.slots[0].acSilkName"));
        watcher.Signal(SIGTERM);
        EXPECT_TRUE(watcher.Wait().Succeeded());
        ExpectHarmless(ReadFile(Out()));
        if (std::string(json) == "--json") {
            EXPECT_EQ(Shell("jq -e . \"$MIDWARE_ROOT\"/out >/dev/null").code, 0);
        }
        Store([] { EXPECT_EQ(MW_SetMemPhyInfo(std::vector<MemPhyInfo>(1).data(), 1), 0); });
    }
}

TEST_F(HostileTexts, DoNotReachTheTerminal) {
    if (Shell("command -v tmux").code != 0) GTEST_SKIP() << "tmux is not installed";
    Store(StoreHostileTexts);
    setup_.environment["LC_ALL"] = "C.UTF-8";
    const std::string tmux = "tmux -S \"$MIDWARE_ROOT\"/tmux -f /dev/null ";
    Shell(tmux + "new-session -d -x 200 -y 60 '\"$MWCTL\" top --interval 0.1'");
    const auto screen = [&] { return Shell(tmux + "capture-pane -p").out; };
    EXPECT_TRUE(Eventually([&] {
        return screen().find("memory \\x1b[31m\\x0a\"\\\\xff}x=1") != std::string::npos;
    })) << screen();
    ExpectHarmless(screen());
    Shell(tmux + "kill-server");
}

}  // namespace
