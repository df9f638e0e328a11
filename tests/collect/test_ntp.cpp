#include "collectors/ntp.h"
#include "midware/services.h"
#include "tree.h"

namespace collect {
namespace {

Strings Servers(const Tree &tree, std::string *line = nullptr) {
    HeardHost host(tree);
    const NtpServers servers = FindNtpServers(*host);
    EXPECT_EQ(servers.left_out, 0u);
    if (line != nullptr) {
        *line = host.Line();
    } else {
        EXPECT_EQ(host.lines(), Strings{});
    }
    return servers.names;
}

TEST(Ntp, AMachineWithoutATimeServiceHasNoServers) {
    EXPECT_EQ(Servers(Tree()), Strings{});
    Tree defaults;
    defaults.File("/etc/systemd/timesyncd.conf", "[Time]\n#NTP=\n#FallbackNTP=0.pool.example\n");
    EXPECT_EQ(Servers(defaults), Strings{});
}

TEST(Ntp, TimesyncdServersAccumulateAndAnEmptyAssignmentTakesThemBack) {
    Tree tree;
    tree.File("/etc/systemd/timesyncd.conf",
              "[Other]\nNTP=not.this\n[Time]\n; NTP=nor.this\nNTP=one.example two.example\n NTP = "
              "three.example one.example\n"
              "FallbackNTP=four.example");
    EXPECT_EQ(Servers(tree), (Strings{"one.example", "two.example", "three.example"}));
    tree.File("/etc/systemd/timesyncd.conf.d/10-site.conf", "[Time]\nNTP=\nNTP=site.example\n");
    tree.File("/etc/systemd/timesyncd.conf.d/ignored.txt", "[Time]\nNTP=no.example\n");
    EXPECT_EQ(Servers(tree), Strings{"site.example"});
    tree.File("/etc/systemd/timesyncd.conf.d/20-none.conf", "[Time]\nNTP=\n");
    EXPECT_EQ(Servers(tree), Strings{"four.example"});
}

TEST(Ntp, ATimesyncdDropInReplacesItsNamesakeOfLowerRank) {
    Tree tree;
    tree.File("/usr/lib/systemd/timesyncd.conf.d/vendor.conf", "[Time]\nNTP=vendor.example\n");
    EXPECT_EQ(Servers(tree), Strings{"vendor.example"});
    tree.File("/etc/systemd/timesyncd.conf.d/vendor.conf", "[Time]\nNTP=own.example\n");
    EXPECT_EQ(Servers(tree), Strings{"own.example"});
}

TEST(Ntp, ChronyServersPoolsAndPeersCountWithTheirIncludes) {
    Tree tree;
    tree.File("/etc/chrony/chrony.conf",
              "# server no.example\n! pool no.example\nserver a.example iburst\npool b.example maxsources "
              "4\npeer 192.0.2.1\n"
              "confdir /etc/chrony/conf.d\nsourcedir /etc/chrony/sources.d\ninclude "
              "/etc/chrony/more\ndriftfile /x\nserver\n");
    tree.File("/etc/chrony/conf.d/c.conf", "server c.example\n")
        .File("/etc/chrony/conf.d/c.off", "server no.example\n");
    tree.File("/etc/chrony/sources.d/d.sources", "server d.example")
        .File("/etc/chrony/more", "server 2001:db8::1\n");
    EXPECT_EQ(Servers(tree),
              (Strings{"a.example", "b.example", "192.0.2.1", "c.example", "d.example", "2001:db8::1"}));
}

TEST(Ntp, AnIncludeThatIncludesItselfEnds) {
    Tree tree;
    tree.File("/etc/chrony.conf", "server a.example\ninclude /etc/chrony.conf\n");
    EXPECT_EQ(Servers(tree), Strings{"a.example"});
}

TEST(Ntp, ClocksOfTheMachineItselfAreNoServers) {
    Tree tree;
    tree.File("/etc/ntp.conf", "server 127.127.1.0\nserver -4 a.example\nserver -6 b.example prefer\n");
    EXPECT_EQ(Servers(tree), (Strings{"a.example", "b.example"}));
}

TEST(Ntp, TheFirstServiceWithServersCounts) {
    Tree tree;
    tree.File("/etc/systemd/timesyncd.conf", "[Time]\nNTP=t.example\n")
        .File("/etc/chrony/chrony.conf", "# empty\n");
    EXPECT_EQ(Servers(tree), Strings{"t.example"});
    tree.File("/etc/ntpsec/ntp.conf", "pool p.example\n");
    EXPECT_EQ(Servers(tree), Strings{"p.example"});
}

TEST(Ntp, ServersBeyondTheRecordAreCounted) {
    Tree tree;
    std::string text;
    for (int i = 0; i < 8; ++i) text += fmt::format("server s{}.example\n", i);
    tree.File("/etc/ntp.conf", text);
    HeardHost host(tree);
    const NtpServers servers = FindNtpServers(*host);
    EXPECT_EQ(servers.names.size(), MW_NTP_SERVER_MAX);
    EXPECT_EQ(servers.names.back(), "s5.example");
    EXPECT_EQ(servers.left_out, 2u);
}

TEST(Ntp, ANameThatDoesNotFitItsRecordIsSkippedWithOneLine) {
    Tree tree;
    tree.File("/etc/ntp.conf",
              "server " + std::string(127, 'a') + "\nserver " + std::string(128, 'b') + "\n");
    std::string line;
    EXPECT_EQ(Servers(tree, &line), Strings{std::string(127, 'a')});
    EXPECT_EQ(line, "/etc/ntp.conf: expected a server name of 1 to 127 characters, found \"" +
                        std::string(60, 'b') + "...\"; skipped");
    tree.File("/etc/ntp.conf", "server na\x01me\n");
    EXPECT_EQ(Servers(tree, &line), Strings{});
    EXPECT_NE(line, "");
}

}  // namespace
}  // namespace collect
