// The manual, the reference and the completion: made of the public headers, or compared with what the
// programs say.
#include <filesystem>
#include <map>
#include <set>
#include <sstream>

#include "tools_test.h"

namespace {

std::vector<std::string> Words(const std::string &text) {
    std::istringstream stream(text);
    return {std::istream_iterator<std::string>(stream), {}};
}

std::set<std::string> OptionsOfHelp(const std::string &help) {
    std::set<std::string> options;
    for (const std::string &line : LinesOf(help)) {
        if (!line.starts_with("  -")) continue;
        std::string names = Words(line).front();
        for (size_t comma; (comma = names.find(',')) != std::string::npos;) names.replace(comma, 1, " ");
        for (const std::string &name : Words(names)) {
            if (name != "-h" && name != "--help") options.insert(name);
        }
    }
    return options;
}

std::vector<std::string> SubcommandsOfHelp(const std::string &help) {
    std::vector<std::string> commands;
    bool inside = false;
    for (const std::string &line : LinesOf(help)) {
        if (line == "Subcommands:") {
            inside = true;
        } else if (inside && line.starts_with("  ") && line[2] != ' ') {
            commands.push_back(Words(line).front());
        } else if (line.empty()) {
            inside = false;
        }
    }
    return commands;
}

// The options of the list items of a page, by the subsection that they stand in.
std::map<std::string, std::set<std::string>> OptionsOfPage(const std::string &page) {
    std::map<std::string, std::set<std::string>> options;
    std::string section;
    for (const std::string &line : LinesOf(ReadFile(page))) {
        if (line.starts_with(".Sh ")) section.clear();
        if (line.starts_with(".Ss ")) options[section = line.substr(4)];
        if (!line.starts_with(".It Fl ")) continue;
        const std::vector<std::string> words = Words(line.substr(7));
        for (size_t i = 0; i < words.size() && (i == 0 || words[i - 1] == ","); i += 2) {
            if (words[i] != "h" && words[i] != "-help") options[section].insert("-" + words[i]);
        }
    }
    return options;
}

class Manual : public ToolsTest {
  protected:
    void Walk(const std::string &command, std::map<std::string, std::set<std::string>> &options) {
        std::vector<std::string> words = Words(command);
        words.emplace_back("--help");
        const Outcome help = Mwctl(words);
        ASSERT_TRUE(help.Succeeded()) << help;
        options[command] = OptionsOfHelp(help.out);
        for (const std::string &sub : SubcommandsOfHelp(help.out)) {
            Walk(command.empty() ? sub : command + " " + sub, options);
        }
    }
    // Of a program in the build's directory.
    Outcome Help(const std::string &program) {
        return Shell("\"$(dirname \"$MWCTL\")/" + program + "\" --help");
    }
};

TEST_F(Manual, HasEveryCommandAndOptionOfMwctlAndNoOther) {
    std::map<std::string, std::set<std::string>> options;
    Walk("", options);
    const auto page = OptionsOfPage(MANUAL "mwctl.1");
    for (const auto &[command, has] : options) {
        SCOPED_TRACE("mwctl " + command);
        ASSERT_TRUE(page.contains(command));
        std::set<std::string> own = has;  // what goes with every command is told once
        if (!command.empty())
            std::erase_if(own, [&](const auto &option) { return options[""].contains(option); });
        EXPECT_EQ(page.at(command), own);
    }
    EXPECT_EQ(page.size(), options.size());
}

TEST_F(Manual, HasEveryOptionOfTheOtherPrograms) {
    EXPECT_EQ(OptionsOfPage(MANUAL "midware-init.8").at(""), OptionsOfHelp(Help("midware-init").out));
    EXPECT_EQ(OptionsOfPage(MANUAL "mwcollect.8").at(""), OptionsOfHelp(Help("mwcollect").out));
}

TEST_F(Manual, PagesAreClean) {
    const std::string pages = MANUAL "*.[178] " PAGES "/midware_*.3";
    ExpectDone(Shell("mandoc -Tlint -W warning " + pages), "");
    ExpectDone(
        Shell("for page in " + pages + "; do groff -mdoc -Tutf8 -ww -z $page || echo $page; done 2>&1"), "");
}

TEST_F(Manual, EveryHeaderAndEveryExportedNameHasItsPage) {
    std::set<std::string> pages;
    for (const auto &entry : std::filesystem::directory_iterator(PAGES))
        pages.insert(entry.path().filename());
    for (const std::string &name : LinesOf(ReadFile(SOURCE "libmidware.exports"))) {
        if (name.empty() || name[0] == '#') continue;
        ASSERT_TRUE(pages.contains(name + ".3")) << name;
        const std::string link = ReadFile(PAGES "/" + name + ".3");
        ASSERT_TRUE(link.starts_with(".so man3/midware_") && link.ends_with(".3\n")) << link;
        const std::string page = ReadFile(PAGES "/" + link.substr(9, link.size() - 10));
        EXPECT_NE(page.find(".Nm " + name), std::string::npos) << name;
    }
    for (const auto &entry : std::filesystem::directory_iterator(SOURCE "include/midware")) {
        const std::string family = entry.path().stem();
        EXPECT_EQ(pages.contains("midware_" + family + ".3"), family != "base") << family;
        if (family != "base") {
            EXPECT_NE(ReadFile(MANUAL "libmidware.7").find(".It Xr midware_" + family + " 3\n"),
                      std::string::npos)
                << family;
        }
    }
}

TEST_F(Manual, APageTellsWhatTheHeaderTells) {
    Outcome page = Shell("mandoc -Tascii " PAGES "/midware_fan.3");
    for (size_t at; (at = page.out.find('\b')) != std::string::npos;) page.out.erase(at - 1, 2);  // bold
    for (const char *text :
         {"midware_fan, MW_GetFanOnlinePhyInfo", "MW_SetFanCount(uint32_t dwCount);",
          "Stores the number of fans.", "dwIndex\n", "0-based; above 15: -1 before attaching",
          "Returns 0; -1, silent, where no fan has this number",
          "\"[fan/hov_midfan:LINE]Set Thermal Policy Failed, Policy = N\"",
          "/* number printed beside the fan */"}) {
        EXPECT_NE(page.out.find(text), std::string::npos) << text;
    }
}

TEST_F(Manual, TheReferenceIsMadeWithoutAWarning) {
    ASSERT_TRUE(Shell("sed 's#^OUTPUT_DIRECTORY.*#OUTPUT_DIRECTORY = \"" + dir_.path() +
                      "\"#' " DOXYFILE " >" + (dir_ / "Doxyfile"))
                    .Succeeded());
    ExpectDone(Shell("doxygen " + (dir_ / "Doxyfile") + " 2>&1"), "");
    const std::string page = ReadFile(dir_ / "fan_8h.html") + ReadFile(dir_ / "structFanOnlinePhyInfo.html");
    EXPECT_NE(page.find("MW_GetFanOnlinePhyInfo"), std::string::npos);
    EXPECT_NE(page.find("number printed beside the fan"), std::string::npos);
}

// A header of the test's own, read by the generators.
class Generator : public ToolsTest {
  protected:
    Outcome Run(const std::string &body, const std::string &arguments = "") {
        WriteFile(dir_ / "thing.h",
                  "/* Things. */\n#ifndef THING_H\n#define THING_H\n\n" + body + "\n\n#endif\n");
        WriteFile(dir_ / "arguments.txt", arguments);
        return Shell("cd " + dir_.path() +
                     " && " PYTHON " -B " SOURCE
                     "tools/reference/call_table.py arguments.txt table.cpp thing.h");
    }
};

TEST_F(Generator, ReadsAFunctionAndItsGroup) {
    ExpectDone(Run("/** Reads and stores it. */\nMW_API int32_t MW_GetIt(uint16_t *pwIt);\n"
                   "MW_API int32_t MW_SetIt(uint16_t wIt, int64_t lMore);"),
               "");
    const std::string table = ReadFile(dir_ / "table.cpp");
    EXPECT_NE(table.find(R"({"pwIt", Way::kOut, Holds::kNumber, true, 2, false, "", 1, -1})"),
              std::string::npos);
    EXPECT_NE(table.find(R"({"lMore", Way::kIn, Holds::kNumber, false, 8, true, "", 1, -1})"),
              std::string::npos);
    EXPECT_NE(table.find(R"x({"MW_SetIt", "thing", "int32_t MW_SetIt(uint16_t wIt, int64_t lMore)", )x"
                         R"x("Reads and stores it.")x"),
              std::string::npos)
        << table;
}

TEST_F(Generator, RefusesWhatItDoesNotUnderstandInOneLine) {
    const struct {
        const char *body;
        const char *arguments;
        const char *why;
    } cases[] = {
        {"/** It. */\nMW_API int32_t MW_GetIt(double dIt);", "",
         "thing.h:6: this declaration is not understood: MW_API int32_t MW_GetIt(double dIt);"},
        {"/** It. */\nMW_API void MW_GetIt(void);", "",
         "thing.h:6: this declaration is not understood: MW_API void MW_GetIt(void);"},
        {"/** It. */\nMW_API int32_t MW_GetIt(uint32_t **ppdwIt);", "",
         "thing.h:6: this declaration is not understood: MW_API int32_t MW_GetIt(uint32_t **ppdwIt);"},
        {"/** It. */\nint32_t MW_GetIt(void);", "",
         "thing.h:6: this declaration is not understood: int32_t MW_GetIt(void);"},
        {"/** It. */\n?", "", "thing.h:6: this is not understood: ?"},
        {"MW_API int32_t MW_GetIt(void);", "",
         "thing.h:5: MW_GetIt is not documented: put a comment directly above it, or above the group that it "
         "belongs to"},
        {"/** It. */\n\nMW_API int32_t MW_GetIt(void);", "",
         "thing.h:7: MW_GetIt is not documented: put a comment directly above it, or above the group that it "
         "belongs to"},
        {"/** It. */\nMW_API int32_t MW_GetIt(void);\n\nMW_API int32_t MW_SetIt(void);", "",
         "thing.h:8: MW_SetIt is not documented: put a comment directly above it, or above the group that it "
         "belongs to"},
        {"/** It. */\nMW_API int32_t MW_TurnIt(uint32_t *pdwIt);", "",
         "thing.h:6: does MW_TurnIt read or write through pdwIt? Neither its name nor arguments.txt says it"},
        {"/** It. */\nMW_API int32_t MW_SetIt(uint32_t *pdwIt);", "",
         "thing.h:6: does MW_SetIt read or write through pdwIt? Neither its name nor arguments.txt says it"},
        {"/** It. */\nMW_API int32_t MW_GetIt(void *pIt);", "",
         "thing.h:6: what does pIt of MW_GetIt point at? See arguments.txt"},
        {"/** It. */\nMW_API int32_t MW_SetIt(const uint8_t *pucIt);", "",
         "thing.h:6: what does pucIt of MW_SetIt point at? See arguments.txt"},
        {"/** It. */\nMW_API int32_t MW_GetIt(char *pcIt);", "MW_GetIt pcIt text[lSize]",
         "thing.h:6: MW_GetIt has no parameter lSize that counts pcIt"},
        {"/** It. */\nMW_API int32_t MW_GetIt(uint32_t *pdwIt);", "\nMW_GetIt pdwThat uint32_t[2]",
         "arguments.txt:2: there is no parameter pdwThat of a function MW_GetIt"},
        {"/** It. */\nMW_API int32_t MW_GetIt(uint32_t *pdwIt);", "MW_GetIt pdwIt through uint32_t",
         "arguments.txt:1: this line is not understood: MW_GetIt pdwIt through uint32_t"},
    };
    for (const auto &one : cases) ExpectRefused(Run(one.body, one.arguments), 1, std::string(one.why) + "\n");
}

TEST_F(Generator, AHeaderBeginsWithWhatItIsAbout) {
    Run("");
    WriteFile(dir_ / "thing.h", "/** It. */\nMW_API int32_t MW_GetIt(void);\n");
    ExpectRefused(Shell("cd " + dir_.path() +
                        " && " PYTHON " -B " SOURCE "tools/reference/man_pages.py today . thing.h"),
                  1, "thing.h:1: the header does not begin with a comment that describes it\n");
}

TEST_F(Generator, NamesAFileThatCannotBeRead) {
    ExpectRefused(Shell("cd " + dir_.path() +
                        " && " PYTHON " -B " SOURCE "tools/reference/man_pages.py today . none.h"),
                  1, "none.h: No such file or directory\n");
}

class Completion : public ToolsTest {
  protected:
    // What is offered for the last of the words.
    std::set<std::string> Complete(const std::string &words) {
        const Outcome outcome =
            Shell("cd " + dir_.path() +
                  " && exec bash -c 'PATH=$(dirname \"$MWCTL\"):$PATH; . " SOURCE
                  "packaging/bash-completion/mwctl; COMP_WORDS=(" +
                  words +
                  "); COMP_CWORD=$((${#COMP_WORDS[@]} - 1)); $(complete -p ${COMP_WORDS[0]} | sed "
                  "\"s/.*-F \\([^ ]*\\).*/\\1/\"); printf \"%s\\n\" \"${COMPREPLY[@]}\"'");
        EXPECT_TRUE(outcome.Succeeded() && outcome.err.empty()) << outcome;
        std::set<std::string> offered;
        for (const std::string &line : LinesOf(outcome.out)) {
            if (!line.empty()) offered.insert(line);
        }
        return offered;
    }
};

using Offered = std::set<std::string>;

TEST_F(Completion, OffersCommandsAndSubcommands) {
    const Outcome help = Mwctl({"--help"});
    const std::vector<std::string> commands = SubcommandsOfHelp(help.out);
    EXPECT_EQ(Complete("mwctl \"\""), Offered(commands.begin(), commands.end()));
    EXPECT_EQ(Complete("mwctl sho"), Offered{"show"});
    EXPECT_EQ(Complete("mwctl set th"), (Offered{"thermal-policy", "threshold"}));
    EXPECT_EQ(Complete("mwctl set threshold \"\""), (Offered{"cpu", "disk", "memory"}));
    EXPECT_EQ(Complete("mwctl fly \"\""), Offered(commands.begin(), commands.end()));
}

TEST_F(Completion, OffersOptions) {
    EXPECT_EQ(Complete("mwctl show --u"), Offered{"--upper"});
    EXPECT_EQ(Complete("mwctl set syslog --s"), (Offered{"--server", "--severity"}));
    EXPECT_EQ(Complete("mwctl set syslog --enable yes --tr"), Offered{"--transport"});
    EXPECT_EQ(Complete("midware-init --"), (Offered{"--help", "--version", "--fresh", "--check"}));
    EXPECT_EQ(Complete("mwcollect --o"), (Offered{"--once", "--only"}));
    EXPECT_EQ(Complete("mwcollect --simulate --s"), (Offered{"--seed", "--simulate"}));
    EXPECT_EQ(Complete("mwcollect --simulate --round 3 --r"), (Offered{"--root", "--round"}));
    EXPECT_EQ(Complete("mwctl call MW_GetPowerStatus --js"), Offered{"--json"});
}

TEST_F(Completion, OffersModulesAndTheWordsOfAnArgument) {
    EXPECT_EQ(Complete("mwctl show p"), (Offered{"pcie", "power", "pem"}));
    EXPECT_EQ(Complete("mwctl show --json pcie the"), Offered{"thermal"});
    EXPECT_EQ(Complete("mwctl set syslog --transport \"\""), (Offered{"udp", "tcp", "tls"}));
    EXPECT_EQ(Complete("mwctl set time-source \"\""), (Offered{"manual", "ntp", "host"}));
    EXPECT_EQ(Complete("mwctl set ntp-interval \"\""), Offered{});
}

TEST_F(Completion, OffersRecordsAndTheirFields) {
    EXPECT_EQ(Complete("mwctl show memory.t"),
              (Offered{"memory.temperatures", "memory.threshold", "memory.totals"}));
    EXPECT_EQ(Complete("mwctl show memory.temperatures.dw").count("memory.temperatures.dwDimmNum"), 1u);
    EXPECT_EQ(Complete("mwctl watch fa"), Offered{"fan"});
    EXPECT_EQ(Complete("mwctl watch fan."), Offered{});
    EXPECT_EQ(Complete("mwctl layout fi"), Offered{"firmware"});
}

TEST_F(Completion, OffersFunctions) {
    EXPECT_EQ(Complete("mwctl call MW_GetNt"), Offered{"MW_GetNtpInfo"});
    EXPECT_EQ(Complete("mwctl call --json MW_GetThermalPo"),
              (Offered{"MW_GetThermalPolicy", "MW_GetThermalPowerOffFanRotateFlag"}));
    EXPECT_EQ(Complete("mwctl call \"\"").size(), 397u);
    EXPECT_EQ(Complete("mwctl call MW_SetPowerStatus \"\""), Offered{});
}

TEST_F(Completion, OffersFilesAndDirectories) {
    WriteFile(dir_ / "policy.json", "{}");
    std::filesystem::create_directory(dir_ / "polar");
    EXPECT_EQ(Complete("mwctl call MW_SetThermalPolicy @pol"), (Offered{"@policy.json", "@polar"}));
    EXPECT_EQ(Complete("mwcollect --root pol"), Offered{"polar"});
    EXPECT_EQ(Complete("mwctl save pol"), (Offered{"policy.json", "polar"}));
    EXPECT_EQ(Complete("mwctl diff a pol"), (Offered{"policy.json", "polar"}));
    EXPECT_EQ(Complete("mwctl --from pol"), (Offered{"policy.json", "polar"}));
    EXPECT_EQ(Complete("mwctl --from a show --up"), Offered{"--upper"});
    EXPECT_EQ(Complete("mwctl metrics --output pol"), (Offered{"policy.json", "polar"}));
}

TEST_F(Completion, OffersCollectorsOneAfterTheOther) {
    EXPECT_EQ(Complete("mwcollect --only p"), (Offered{"partitions", "pcie", "pem"}));
    EXPECT_EQ(Complete("mwcollect --only cpu,f"), (Offered{"cpu,fan", "cpu,fc", "cpu,firmware"}));
    EXPECT_EQ(Complete("mwcollect --only pcie,pem,p"), Offered{"pcie,pem,partitions"});
}

}  // namespace
