#include "log.h"

#include <fmt/format.h>

#include <cstdio>

#include "text.h"

namespace collect {
namespace {

// A machine whose messages never repeat must not grow the process for ever.
constexpr size_t kRemembered = 10000;

}  // namespace

Log::Log() : Log([](std::string_view line) { fmt::print(stderr, "mwcollect: {}\n", line); }) {}

void Log::Once(const std::string &line) {
    if (said_.size() >= kRemembered) said_.clear();
    if (said_.insert(line).second) sink_(line);
}

void Log::Skip(std::string_view file, std::string_view expected, std::string_view found) {
    Once(fmt::format("{}: expected {}, found {}; skipped", Printable(file, 4096), expected, found));
}

}  // namespace collect
