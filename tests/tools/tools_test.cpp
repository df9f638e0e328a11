#include "tools_test.h"

#include <cstdlib>

#include "oal.h"

ToolsTest::ToolsTest() : setup_(InRoot(dir_)) {
    setup_.environment["LC_ALL"] = "C";
    setup_.environment["MWCTL"] = MWCTL;
}

Outcome ToolsTest::Mwctl(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), MWCTL);
    return RunProcess(setup_, [&] { Execute(arguments); });
}

Outcome ToolsTest::Init(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), MIDWARE_INIT);
    return RunProcess(setup_, [&] { Execute(arguments); });
}

Outcome ToolsTest::Shell(const std::string &command) {
    return RunProcess(setup_, [&] { Execute({"/bin/sh", "-c", command}); });
}

std::string ToolsTest::Jq(const std::string &arguments, const std::string &filter) {
    const Outcome outcome =
        Shell("\"$MWCTL\" " + arguments + " --json 2>/dev/null | jq -ce '" + filter + "'");
    return outcome.err.empty() ? outcome.out : "jq: " + outcome.err;
}

void ToolsTest::ExpectShown(const std::string &module) {
    for (const auto &[option, suffix] : {std::pair{"", ".txt"}, {"--json", ".json"}}) {
        std::vector<std::string> arguments{"show", module};
        if (*option != '\0') arguments.emplace_back(option);
        const Outcome outcome = Mwctl(arguments);
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        EXPECT_EQ(outcome.err, "");
        ExpectGolden(outcome.out, module + suffix);
    }
}

Process ToolsTest::HoldSemaphore(uint32_t key) {
    Process holder(setup_, [this, key] {
        *held_ = OAL_SemLockByKey(key, 500) == 0;
        Forever();
    });
    EXPECT_TRUE(Eventually([&] { return *held_ == 1; }));
    return holder;
}

void ToolsTest::CreateArea() {
    const Outcome outcome = Init();
    ASSERT_TRUE(outcome.Succeeded()) << outcome;
}

void ExpectDone(const Outcome &outcome, const std::string &out) {
    EXPECT_TRUE(outcome.Succeeded()) << outcome;
    EXPECT_EQ(outcome.out, out);
    EXPECT_EQ(outcome.err, "");
}

void ExpectRefused(const Outcome &outcome, int code, const std::string &err) {
    EXPECT_TRUE(outcome.exited && outcome.code == code) << outcome;
    EXPECT_EQ(outcome.out, "");
    EXPECT_EQ(outcome.err, err);
}

void ExpectGolden(const std::string &text, const std::string &name) {
    const std::string path = GOLDEN + name;
    if (std::getenv("MIDWARE_WRITE_GOLDEN") != nullptr) WriteFile(path, text);
    EXPECT_EQ(text, ReadFile(path)) << "differs from " << path;
}
