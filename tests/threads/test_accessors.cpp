// Every exported function by eight threads at once, module by module, from the first attach on. What they
// answer is the unit tests' concern; here the thread sanitizer looks at how they get along.
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <string>
#include <tuple>
#include <type_traits>
#include <vector>

#include "midware.h"
#include "threads_test.h"

namespace {

constexpr uint32_t kThreads = 8;

// What one thread passes: for each pointer a buffer that any record or list fits into, for the rest small
// numbers.
class Arguments {
  public:
    explicit Arguments(uint32_t thread) : next_(thread) {}

    template <class T>
    T Make() {
        if constexpr (std::is_pointer_v<T>) {
            std::vector<uint64_t> &buffer = buffers_[used_++ % std::size(buffers_)];
            std::memset(buffer.data(), 0, kCleared);
            return reinterpret_cast<T>(buffer.data());
        } else if constexpr (std::is_class_v<T>) {
            return T{};
        } else {
            return static_cast<T>(next_++ % 3);
        }
    }

  private:
    static constexpr size_t kSize = 512 * 1024;  // more than the largest list
    static constexpr size_t kCleared = 4096;     // counts and texts that a function reads are short
    std::vector<uint64_t> buffers_[3] = {std::vector<uint64_t>(kSize / 8), std::vector<uint64_t>(kSize / 8),
                                         std::vector<uint64_t>(kSize / 8)};
    size_t used_ = 0;
    uint32_t next_;
};

template <class Result, class... Types>
bool Succeeds(Result (*function)(Types...), Arguments &arguments) {
    const std::tuple<Types...> made{arguments.Make<Types>()...};
    return std::apply(function, made) >= 0;
}

struct Function {
    const char *module;
    const char *name;
    bool (*succeeds)(Arguments &);
};

#define EXPORTED(module, name) \
    {module, #name, [](Arguments &arguments) { return Succeeds(name, arguments); }},
const Function kFunctions[] = {
#include "exported.inc"  // made from the list of exported names
};
#undef EXPORTED

// Left out, since they look at or change the area without its semaphore, by design.
const struct {
    const char *name;
    const char *reason;
} kUnguarded[] = {
    {"MW_MidWareInit", "creates the area and clears it while nobody uses it yet"},
    {"MW_GetCpuTempValidFlag", "compares the index with the stored count before it takes the semaphore"},
    {"MW_GetCpuTjmax", "likewise"},
    {"MW_GetCpuTcontrol", "likewise"},
    {"MW_GetPemPowerManufacturerByIndex",
     "compares the number with the stored count before it takes the semaphore"},
    {"MW_GetPemModelByIndex", "likewise"},
    {"MW_GetPemSNByIndex", "likewise"},
    {"MW_GetT200TempInfo", "looks at the count of cards before it takes the semaphore"},
    {"MW_SetHDStateInfo", "reads the other owners' states before it takes the semaphore"},
};

bool IsUnguarded(const char *name) {
    for (const auto &one : kUnguarded) {
        if (std::strcmp(one.name, name) == 0) return true;
    }
    return false;
}

std::vector<std::string> Modules() {
    std::vector<std::string> modules;
    for (const Function &function : kFunctions) {
        if (modules.empty() || modules.back() != function.module) modules.push_back(function.module);
    }
    return modules;
}

class Accessors : public ::testing::TestWithParam<std::string> {};

TEST_P(Accessors, OfAModuleAreCalledByEightThreads) {
    std::vector<const Function *> functions;
    for (const Function &function : kFunctions) {
        if (GetParam() == function.module && !IsUnguarded(function.name)) functions.push_back(&function);
    }
    std::vector<std::atomic<uint32_t>> successes(functions.size());
    Detach();
    std::vector<std::function<void()>> bodies;
    for (uint32_t thread = 0; thread < kThreads; ++thread) {
        bodies.push_back([&, thread] {
            Arguments arguments(thread);
            // Setters meet getters when each thread begins elsewhere, and all of them with the first attach.
            const size_t first = functions.size() * thread / kThreads;
            for (size_t i = 0; i < 3 * functions.size(); ++i) {
                const size_t at = (first + i) % functions.size();
                if (functions[at]->succeeds(arguments)) ++successes[at];
            }
        });
    }
    Race(bodies);
    size_t succeeded = 0;
    for (const auto &count : successes) succeeded += count != 0 ? 1 : 0;
    EXPECT_GE(succeeded, (functions.size() + 1) / 2) << "most functions were not really tried";
}

INSTANTIATE_TEST_SUITE_P(Each, Accessors, ::testing::ValuesIn(Modules()),
                         [](const auto &module) { return module.param; });

TEST(Accessors, LeftOutAreExportedFunctions) {
    for (const auto &one : kUnguarded) {
        bool found = false;
        for (const Function &function : kFunctions)
            found = found || std::strcmp(function.name, one.name) == 0;
        EXPECT_TRUE(found) << one.name;
        EXPECT_STRNE(one.reason, "");
    }
}

}  // namespace
