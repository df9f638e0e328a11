// mwctl status.
#include <regex>

#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

class Status : public ToolsTest {};

TEST_F(Status, SaysThatThereIsNoArea) {
    ExpectRefused(Mwctl({"status"}), 1, "mwctl: the shared area does not exist: run midware-init\n");
    EXPECT_EQ(Jq("status", "[.present, (.areas | length)]"), "[false,15]\n");
}

TEST_F(Status, ListsEveryAreaAndItsSemaphore) {
    CreateArea();
    Store([] { EXPECT_EQ(MW_SetNtpInterval(64), 0); });
    const Outcome outcome = Mwctl({"status"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
    ExpectGolden(std::regex_replace(outcome.out, std::regex("last held by \\d+"), "last held by PID"),
                 "status.txt");
}

TEST_F(Status, CountsTheRecordsOfEachArea) {
    CreateArea();
    Store(StoreMemory);
    const std::string text = Mwctl({"status"}).out;
    EXPECT_NE(
        text.find("\nmem       memory.slots 4, memory.assets 2, memory.temperatures 4, memory.alarms 4, "),
        text.npos)
        << text;
    EXPECT_NE(text.find("\ncpu       none\n"), text.npos) << text;
    EXPECT_EQ(
        Jq("status",
           ".areas[] | select(.name == \"mem\") | .records | .[\"memory.slots\"], .[\"memory.assets\"]"),
        "4\n2\n");
    EXPECT_EQ(Jq("status", ".areas[] | select(.name == \"cpu\") | .records[\"cpu.sockets\"]"), "0\n");
}

TEST_F(Status, JsonHoldsTheSameTable) {
    CreateArea();
    EXPECT_EQ(Jq("status", ".key, .present, .size"), "4099\ntrue\n708704\n");
    EXPECT_EQ(Jq("status", "[.areas[] | .size] | add"), "708704\n");
    EXPECT_EQ(Jq("status", "[.areas[] | .semaphore.key] | sort | [first, last, length]"),
              "[12290,12304,15]\n");
    EXPECT_EQ(Jq("status", "[.areas[] | .semaphore | select(.exists and (.held | not))] | length"), "15\n");
}

TEST_F(Status, NamesTheHolderOfASemaphore) {
    CreateArea();
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12293, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const Outcome outcome = Mwctl({"status"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_NE(outcome.out.find("held by " + std::to_string(holder.pid()) + " (midware_tools"),
              std::string::npos)
        << outcome;
    EXPECT_EQ(Jq("status", ".areas[] | select(.semaphore.held) | [.name, .semaphore.holder_pid]"),
              "[\"fan\"," + std::to_string(holder.pid()) + "]\n");
    // The look before has waited for it in vain.
    EXPECT_TRUE(
        std::regex_search(Mwctl({"status"}).out, std::regex("tools\\S*\\) for at least [0-9.]+ (ms|s)\n")))
        << Mwctl({"status"});
    EXPECT_EQ(
        Jq("status",
           ".areas[] | select(.name == \"fan\") | [.semaphore.held_for_ms >= 500, .semaphore.timed_out > "
           "0, .records[\"fan.speeds\"]]"),
        "[true,true,null]\n");
}

TEST_F(Status, NamesTheLastHolderAndTheRecoveries) {
    CreateArea();
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12293, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    holder.Kill();
    const std::string pid = std::to_string(holder.pid());
    EXPECT_TRUE(Mwctl({"show", "fan"}).Succeeded());
    EXPECT_EQ(Jq("status",
                 ".areas[] | select(.name == \"fan\") | .semaphore | [.held, .holder_pid, .recovered, "
                 ".recovered_pid, .recovered_at > 0]"),
              "[false,null,1," + pid + ",true]\n");
    EXPECT_TRUE(std::regex_search(Mwctl({"status"}).out, std::regex(" 1  free, last held by \\d+\n")))
        << Mwctl({"status"});
}

TEST_F(Status, FailsWhenSemaphoresAreMissing) {
    Store([] {
        EXPECT_EQ(OAL_CreatMemResource(MW_AREA_KEY, MW_AREA_SIZE), 0);
        EXPECT_EQ(OAL_SemCreate(12290), 0);
    });
    const Outcome outcome = Mwctl({"status"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "mwctl: 14 of the module semaphores are missing: run midware-init\n");
    EXPECT_NE(outcome.out.find("  missing\n"), std::string::npos) << outcome;
}

TEST_F(Status, TellsWhyAnAreaIsRefused) {
    CreateArea();
    ASSERT_EQ(Shell("chmod 0666 \"$MIDWARE_ROOT\"/dev/shm/midware-4099").code, 0);
    const Outcome outcome = Mwctl({"status"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(LinesOf(outcome.err).back(),
              "mwctl: the shared area is there but must not be used (Operation not permitted): have its "
              "files removed, "
              "and run midware-init")
        << outcome;
}

TEST_F(Status, TellsAStrangerThatTheAreaIsClosedToHim) {
    CreateArea();
    ASSERT_EQ(Shell("chmod 0755 \"$MIDWARE_ROOT\"").code, 0);
    const Outcome outcome = RunProcess(setup_, [] {
        if (!BecomeNobody()) _exit(77);
        Execute({MWCTL, "status"});
    });
    if (outcome.code == 77 || outcome.code == 126) GTEST_SKIP() << "not root, or the program is out of reach";
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(
        LinesOf(outcome.err).back(),
        "mwctl: the shared area is closed to this user: run this as a member of the group that owns it");
}

}  // namespace
