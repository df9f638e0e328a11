// Runs the built programs below a directory of the test's own.
#ifndef TESTS_TOOLS_TEST_H
#define TESTS_TOOLS_TEST_H

#include <string>
#include <vector>

#include "process.h"

class ToolsTest : public ::testing::Test {
  protected:
    ToolsTest();

    // Each takes the arguments after the program's name.
    Outcome Mwctl(std::vector<std::string> arguments);
    Outcome Init(std::vector<std::string> arguments = {});
    // A shell command line; "$MWCTL" is the program.
    Outcome Shell(const std::string &command);
    // The program's standard output through jq, or why it is no JSON.
    std::string Jq(const std::string &arguments, const std::string &filter);

    // Compares what is shown of a module, as text and as JSON, with MODULE.txt and MODULE.json in golden/.
    void ExpectShown(const std::string &module);

    // An area that was created but holds nothing.
    void CreateArea();
    // Runs a body that uses the library in a process of its own.
    void Store(const std::function<void()> &body) { EXPECT_SUCCEEDS(setup_, body); }

    TempDir dir_;
    ProcessSetup setup_;
};

// The outcome of a command that did what it was told, and said nothing but this.
void ExpectDone(const Outcome &outcome, const std::string &out);
// The outcome of one that failed with one line on standard error.
void ExpectRefused(const Outcome &outcome, int code, const std::string &err);
// Compares with the file of this name in golden/.
void ExpectGolden(const std::string &text, const std::string &name);

// Records that say something in every field that is shown; see records.cpp.
void StoreServices();
void StoreMemory();
void StoreProcessors();
// Two disks on one controller, and one whose controller is not in the table.
void StoreDisks();

#endif
