// mwctl show.
#include <cstring>

#include "midware.h"
#include "oal.h"
#include "tools_test.h"

namespace {

class Show : public ToolsTest {
  protected:
    void SetUp() override { CreateArea(); }
};

TEST_F(Show, Services) {
    Store(StoreServices);
    ExpectShown("services");
}

TEST_F(Show, Memory) {
    Store(StoreMemory);
    ExpectShown("memory");
}

TEST_F(Show, Processors) {
    Store(StoreProcessors);
    ExpectShown("cpu");
}

TEST_F(Show, WithoutAModuleShowsAll) {
    const std::string all = Mwctl({"show"}).out;
    for (const char *module : {"cpu", "memory", "services"}) {
        const Outcome one = Mwctl({"show", module});
        EXPECT_NE(all.find(one.out), std::string::npos) << module;
    }
    EXPECT_EQ(Jq("show", "[has(\"cpu\", \"memory\", \"services\")]"), "[true,true,true]\n");
}

TEST_F(Show, SeveralModulesAreShownAndNoOthers) {
    EXPECT_EQ(Jq("show services cpu", "keys"), "[\"cpu\",\"services\"]\n");
}

TEST_F(Show, NumbersAreNumbersAndMeaningsStandBeside) {
    Store(StoreMemory);
    EXPECT_EQ(Jq("show memory", ".memory.temperatures[1] | [.slot, .name, .iTemp]"), "[1,\"DIMM010\",-3]\n");
    EXPECT_EQ(Jq("show memory", ".memory.alarms[1] | [.ucUnCorrectECCState, .decoded.asserted]"),
              "[128,[\"ucCorrectECCState\",\"ucUnCorrectECCState\",\"ucMemOverTempState\"]]\n");
    EXPECT_EQ(Jq("show memory", ".memory.events"),
              "[{\"slot\":0,\"dwInstance\":2,\"acName\":\"DIMM010\",\"dwEventOffset\":5,"
              "\"aucEventData\":\"a50002\",\"decoded\":{\"event\":\"correctable ECC limit\"}}]\n");
    EXPECT_EQ(Jq("show memory", ".memory.usage | [.dwMemUsg, .dwIoUsg, (.tHardDisk.atPart | length)]"),
              "[null,12,2]\n");
}

TEST_F(Show, AFigureWithoutAValueIsNull) { EXPECT_EQ(Jq("show cpu", "[.cpu.usage.dwMeUsage]"), "[null]\n"); }

TEST_F(Show, EmptyListsAreSaidToBeEmpty) {
    const Outcome outcome = Mwctl({"show", "memory"});
    EXPECT_NE(outcome.out.find("  DIMMs (assets)\n    none\n"), std::string::npos) << outcome;
    EXPECT_EQ(Jq("show memory", ".memory.assets"), "[]\n");
}

TEST_F(Show, ReadingWritesNothingToTheLog) {
    Store([] {  // event data are not laid out: the look-ups of all but one offset fail, and log
        CpuPhyInfo socket{};
        EXPECT_EQ(MW_SetCpuPhyInfo(&socket, 1), 0);
    });
    EXPECT_EQ(Mwctl({"show"}).err, "");
}

TEST_F(Show, ControlCharactersAndInvalidBytesNeverReachTheTerminal) {
    Store([] {
        NtpInfo ntp{};
        std::memcpy(ntp.acNtpServerName[0], "\x1b]0;x\x07\r\n\x7f\xc2\x9b\xff\xfe\xe2\x80\xae!", 18);
        EXPECT_EQ(MW_SetNtpInfo(&ntp), 0);
    });
    for (const char *locale : {"C", "C.UTF-8"}) {
        setup_.environment["LC_ALL"] = locale;
        const Outcome outcome = Mwctl({"show", "services"});
        EXPECT_NE(outcome.out.find("  \\x1b]0;x\\x07\\x0d\\x0a\\x7f\\xc2\\x9b\\xff\\xfe\\xe2\\x80\\xae!\n"),
                  std::string::npos)
            << outcome;
    }
    EXPECT_EQ(Jq("show services", ".services.ntp.acNtpServerName[0] | explode"),
              "[27,93,48,59,120,7,13,10,127,155,65533,65533,8238,33]\n");
}

TEST_F(Show, JsonIsAscii) {
    Store([] {
        NtpInfo ntp{};
        std::memcpy(ntp.acNtpServerName[0], "h\xc3\xb6st\xff\xc2\x9b", 8);
        EXPECT_EQ(MW_SetNtpInfo(&ntp), 0);
    });
    for (const char c : Mwctl({"show", "services", "--json"}).out) {
        ASSERT_TRUE(c == '\n' || (c >= ' ' && c < '\x7f')) << static_cast<int>(c);
    }
}

TEST_F(Show, LettersAreShownWhereTheLocaleHasThem) {
    Store([] {
        NtpInfo ntp{};
        std::memcpy(ntp.acNtpServerName[0], "h\xc3\xb6st", 6);
        EXPECT_EQ(MW_SetNtpInfo(&ntp), 0);
    });
    setup_.environment["LC_ALL"] = "C.UTF-8";
    EXPECT_NE(Mwctl({"show", "services"}).out.find("  h\xc3\xb6st\n"), std::string::npos);
    setup_.environment["LC_ALL"] = "C";
    EXPECT_NE(Mwctl({"show", "services"}).out.find("  h\\xc3\\xb6st\n"), std::string::npos);
}

TEST_F(Show, ATextWithoutTerminatorEndsWithItsArray) {
    Store([] {
        NtpInfo ntp{};
        std::memset(ntp.acNtpServerName, 'a', sizeof ntp.acNtpServerName[0]);
        std::strcpy(ntp.acNtpServerName[1], "b");
        EXPECT_EQ(MW_SetNtpInfo(&ntp), 0);
    });
    EXPECT_EQ(Jq("show services", ".services.ntp.acNtpServerName[0] | length"), "128\n");
    const Outcome outcome = Mwctl({"show", "services"});
    EXPECT_NE(outcome.out.find("  " + std::string(128, 'a') + "\n"), std::string::npos) << outcome;
}

TEST_F(Show, AStoredCountAboveTheMaximumIsSaid) {
    Store([] {
        MemAssetInfo asset{};
        asset.dwDimmNum = 1;
        EXPECT_EQ(MW_SetMemAssetInfo(&asset, 1), 0);
        static_cast<uint32_t *>(g_ptMemCollectAddr)[1] = 65;
    });
    const Outcome outcome = Mwctl({"show", "memory"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_NE(outcome.out.find("    the stored count is 65, more than the 64 that there can be\n"),
              std::string::npos);
    EXPECT_EQ(Jq("show memory", ".memory.assets | length"), "64\n");
}

TEST_F(Show, CountsThatLeadOutOfTheAreaAreRefused) {
    Store([] {
        uint32_t count;
        EXPECT_EQ(MW_GetMemCount(&count), 0);
        static_cast<uint32_t *>(g_ptMemCollectAddr)[0] = 0xFFFFFFFF;
        static_cast<uint32_t *>(g_ptMemCollectAddr)[1] = 0xFFFFFFFF;
        static_cast<uint32_t *>(g_ptCpuCollectAddr)[0] = 9;
    });
    const Outcome outcome = Mwctl({"show"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_NE(outcome.err.find("mwctl: memory.slots: the library says: "), std::string::npos) << outcome;
    EXPECT_NE(outcome.err.find(
                  "mwctl: memory: the stored count is above the maximum: the owner of the records has to "
                  "write them anew\n"),
              std::string::npos)
        << outcome;
    EXPECT_NE(outcome.err.find("mwctl: cpu: the stored count is above the maximum"), std::string::npos)
        << outcome;
    EXPECT_EQ(Jq("show", "[.memory.slots, .memory.totals.dwMemCount, (.errors | length > 2)]"),
              "[null,4294967295,true]\n");
}

TEST_F(Show, AHeldSemaphoreIsWaitedForOnceAndReportedWithItsHolder) {
    Shared<int> held;
    Process holder(setup_, [&] {
        *held = OAL_SemLockByKey(12291, 500) == 0;
        Forever();
    });
    ASSERT_TRUE(Eventually([&] { return *held == 1; }));
    const std::string line = "memory: semaphore 12291 is held by process " + std::to_string(holder.pid()) +
                             " (midware_tools_t) for longer than 500 ms: try again, or end that process";
    const Outcome outcome = Mwctl({"show"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "mwctl: " + line + "\nmwctl: health." + line + "\n");
    EXPECT_EQ(Jq("status", ".areas[0].semaphore.timed_out"), "1\n");
    EXPECT_NE(outcome.out.find("  Totals (totals)\n    could not be read\n"), std::string::npos);
    EXPECT_EQ(Jq("show memory services", "[.memory.totals, .services.ntp.dwNtpInterval, .errors]"),
              "[null,0,[\"" + line + "\"]]\n");
}

class ShowNothing : public ToolsTest {};

TEST_F(ShowNothing, SaysThatThereIsNoArea) {
    ExpectRefused(Mwctl({"show"}), 1, "mwctl: the shared area does not exist: run midware-init\n");
}

TEST_F(ShowNothing, AsJsonIsADocumentWithTheReason) {
    EXPECT_EQ(Jq("show", "."), "{\"errors\":[\"the shared area does not exist: run midware-init\"]}\n");
    EXPECT_EQ(Mwctl({"show", "--json"}).code, 1);
}

TEST_F(ShowNothing, MissingSemaphoresAreSaid) {
    Store([] { EXPECT_EQ(OAL_CreatMemResource(MW_AREA_KEY, MW_AREA_SIZE), 0); });
    const Outcome outcome = Mwctl({"show", "services"});
    EXPECT_EQ(outcome.code, 1) << outcome;
    EXPECT_EQ(outcome.err, "mwctl: services: semaphore 12302 does not exist: run midware-init\n");
}

}  // namespace
