// mwctl layout.
#include <cstring>

#include "midware.h"
#include "tools_test.h"

namespace {

class Layout : public ToolsTest {};

TEST_F(Layout, TheDocumentedOneIsThatOfTheProgram) {
    const Outcome outcome = Mwctl({"layout", "--markdown"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.err, "");
    ExpectGolden(outcome.out, "../../../docs/layout.md");
}

TEST_F(Layout, OfOneAreaHasTheRecordsInIt) {
    ExpectGolden(Mwctl({"layout", "services"}).out, "layout-services.txt");
    EXPECT_EQ(Jq("layout services", "[.areas[].name, (.records | keys[])]"),
              "[\"services\",\"NtpInfo\",\"RemoteSyslogInfo\",\"RemoteSyslogServer\"]\n");
}

TEST_F(Layout, OfSeveralAreasIsInTheirOrder) {
    EXPECT_EQ(Jq("layout cpu memory", "[.areas[].name]"), "[\"memory\",\"cpu\"]\n");
}

TEST_F(Layout, CoversEveryByteOfTheArea) {
    EXPECT_EQ(Jq("layout", "[.size, ([.areas[].size] | add), ([.areas[].fields[].size] | add)]"),
              "[708704,708704,708704]\n");
    EXPECT_EQ(Jq("layout", "[.areas[], .records[] | select(.size != (.fields | map(.size) | add))] | length"),
              "0\n");
}

TEST_F(Layout, TellsWhatCodesMean) {
    EXPECT_EQ(
        Jq("layout services", ".records.NtpInfo.fields[] | select(.name == \"dwTimeSource\") | .codes[1]"),
        "{\"value\":1,\"name\":\"ntp\"}\n");
}

TEST_F(Layout, TheFingerprintIsInEveryFormAndInASavedArea) {
    const Outcome outcome = Mwctl({"layout", "--fingerprint"});
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    ASSERT_EQ(outcome.out.size(), 17u) << outcome;
    const std::string fingerprint = outcome.out.substr(0, 16);
    EXPECT_EQ(Jq("layout cpu", ".fingerprint"), "\"" + fingerprint + "\"\n");
    CreateArea();
    ASSERT_TRUE(Mwctl({"save", dir_ / "area"}).Succeeded());
    const std::string bytes = ReadFile(dir_ / "area");
    uint64_t saved = 0;
    std::memcpy(&saved, bytes.data() + 24, sizeof saved);
    EXPECT_EQ(saved, std::stoull(fingerprint, nullptr, 16));
}

TEST_F(Layout, WrongUsageIsOneLine) {
    ExpectRefused(
        Mwctl({"layout", "health"}), 2,
        "mwctl: AREA: there is no area 'health'; there are memory, cpu, pem, power, fan, nic, fc, gpu, raid, "
        "board, pcie, firmware, services, disks, custcard (see --help)\n");
    for (const auto &[one, other] : {std::pair{"--json", "--markdown"}, {"--json", "--fingerprint"}}) {
        EXPECT_EQ(Mwctl({"layout", one, other}).code, 2);
    }
}

}  // namespace
