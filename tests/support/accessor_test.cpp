#include "accessor_test.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <regex>

#ifdef MIDWARE_COVERAGE
extern "C" void __gcov_dump();
#endif

namespace {

constexpr size_t kAreaSize = 708704;

const struct {
    void **pointer;
    uint32_t offset;
} kPointers[] = {
    {&g_ptMidWareAddr, 0},           {&g_ptMemCollectAddr, 0},        {&g_ptCpuCollectAddr, 311832},
    {&g_ptPemCollectAddr, 325424},   {&g_ptPswCollectAddr, 327964},   {&g_ptFanCollectAddr, 329040},
    {&g_ptNicCollectAddr, 346816},   {&g_ptFcCardCollectAddr, 467984}, {&g_ptGPUCollectAddr, 481096},
    {&g_ptRaidCollectionAddr, 492384}, {&g_ptBoardCollectAddr, 611424}, {&g_ptPcieCollectAddr, 611568},
    {&g_ptFwCollectAddr, 673296},    {&g_ptServCollectAddr, 692376},  {&g_ptPCHCollectAddr, 694280},
    {&g_ptCustCardCollectAddr, 704600},
};

// For every line of a source file the exported function whose definition holds it; empty where there is none.
std::vector<std::string> FunctionsByLine(const std::string &source) {
    static const std::regex definition(R"(^(?:int32_t|int|uint32_t)\s+(\w+)\()");
    std::vector<std::string> functions = {""};
    std::ifstream file(std::string(MIDWARE_SOURCE_DIR "/") + source + ".cpp");
    std::string current;
    for (std::string line; std::getline(file, line);) {
        std::smatch match;
        if (std::regex_search(line, match, definition)) current = match[1];
        functions.push_back(current);
        if (line == "}") current.clear();
    }
    return functions;
}

std::string FunctionAt(const std::string &source, size_t line) {
    static std::map<std::string, std::vector<std::string>> files;
    auto [found, added] = files.try_emplace(source);
    if (added) found->second = FunctionsByLine(source);
    return line < found->second.size() ? found->second[line] : "";
}

void ReplaceAll(std::string &text, const std::string &what, const std::string &with) {
    for (size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) text.replace(at, what.size(), with);
}

// Finds a pattern's text in `actual` with a decimal number for each {L}; answers the numbers. False where it differs.
bool Match(const std::string &actual, const std::string &pattern, std::vector<std::string> &numbers) {
    size_t at = 0, from = 0;
    for (;;) {
        const size_t next = pattern.find("{L}", from);
        const std::string text = pattern.substr(from, next == std::string::npos ? next : next - from);
        if (actual.compare(at, text.size(), text) != 0) return false;
        at += text.size();
        if (next == std::string::npos) return at == actual.size();
        const size_t end = std::min(actual.find_first_not_of("0123456789", at), actual.size());
        if (end == at) return false;
        numbers.push_back(actual.substr(at, end - at));
        at = end;
        from = next + 3;
    }
}

// Compares one recorded call with a pattern; `line_of` is the function that its {L} must lie in.
void ExpectMatch(const std::string &actual, std::string pattern, const std::string &source, const std::string &line_of) {
    ReplaceAll(pattern, "{S}", source);
    ReplaceAll(pattern, "{F}", line_of);
    ReplaceAll(pattern, "{E}", "error " + std::to_string(recorder::Now().lock_errno));
    std::vector<std::string> numbers;
    if (!Match(actual, pattern, numbers)) {
        ADD_FAILURE() << "expected: " << pattern << "\n  actual: " << actual;
        return;
    }
    if (numbers.empty()) return;
    for (const std::string &number : numbers) EXPECT_EQ(number, numbers[0]) << "two lines in " << actual;
    if (!line_of.empty()) {
        EXPECT_EQ(FunctionAt(source, std::stoul(numbers[0])), line_of) << source << ".cpp, line in " << actual;
    }
}

}  // namespace

Image Image::Take() {
    Image image;
    image.bytes_.assign(recorder::Area(), recorder::Area() + kAreaSize);
    return image;
}

Image Image::With(size_t offset, const void *bytes, size_t size) const {
    Image image = *this;
    if (offset + size > image.bytes_.size()) {
        ADD_FAILURE() << "the expectation leaves the area";
        return image;
    }
    if (size != 0) std::memcpy(image.bytes_.data() + offset, bytes, size);
    return image;
}

Image Image::Zeroed(size_t offset, size_t size) const {
    const std::vector<uint8_t> zeros(size);
    return With(offset, zeros.data(), size);
}

static std::string LockCall(const char *name, uint32_t key) {
    return std::string(name) + "(" + std::to_string(key) + ", 500)";
}

std::string Lock(uint32_t key) { return LockCall("OAL_SemLockByKey", key); }
std::string Unlock(uint32_t key) { return LockCall("OAL_SemUnLockByKey", key); }

static std::string CopyCall(const char *name, size_t size) {
    return std::string(name) + "(" + std::to_string(size) + ", " + std::to_string(size) + ")";
}

std::string Copy(size_t size) { return CopyCall("memcpy_s", size); }
std::string HovCopy(size_t size) { return CopyCall("hov_memcpy_s", size); }

static std::string Output(const char *name, int level, const std::string &text) {
    return std::string(name) + "(" + std::to_string(level) + ", \"" + text + "\")";
}

std::string Dbg(const std::string &text, int level) { return Output("IDBG_LINUXAPP_DbgOut", level, text); }
std::string Runtime(const std::string &text, int level) { return Output("IDBG_LINUXAPP_Runtime_DbgOut", level, text); }
std::string Audit(const std::string &text, int level) { return Output("IDBG_LINUXAPP_AuditOut", level, text); }
std::string Print(const std::string &text) { return "hov_printf_s(\"" + text + "\")"; }
std::string AttachCall() { return "OAL_GetMemResourceAddr(4099)"; }
std::string AttachFailurePrint() { return Print("MW_MidMemCheck:{L} Memory init error \n"); }

// What the spare pointer holds during every test: no function may change it or follow it.
static void Spare() { std::abort(); }

void AccessorTest::SetUp() {
    recorder::Reset();
    pSendRedfunc = Spare;
    AttachNow();
}

void AccessorTest::TearDown() {
    recorder::Calls();
    EXPECT_TRUE(recorder::Now().held.empty()) << "a semaphore is still held";
    EXPECT_EQ(recorder::Now().faults, std::vector<std::string>());
    EXPECT_EQ(pSendRedfunc, Spare) << "storage of the programs that link the library";
    Detach();
}

void AccessorTest::AttachNow() {
    for (const auto &entry : kPointers) *entry.pointer = static_cast<char *>(recorder::LibraryArea()) + entry.offset;
}

void AccessorTest::Detach() {
    for (const auto &entry : kPointers) *entry.pointer = nullptr;
}

void AccessorTest::FillArea(uint8_t seed) {
    static std::map<uint8_t, std::vector<uint8_t>> patterns;
    auto [found, added] = patterns.try_emplace(seed);
    if (added) found->second = Pattern(kAreaSize, seed);
    std::memcpy(recorder::Area(), found->second.data(), kAreaSize);
}

void AccessorTest::ExpectImage(const Image &expected) const {
    const Image now = Image::Take();
    if (now.bytes() == expected.bytes()) return;
    int shown = 0;
    for (size_t i = 0; i < kAreaSize; ++i) {
        if (now.bytes()[i] == expected.bytes()[i]) continue;
        ADD_FAILURE() << "byte " << static_cast<long>(i) - static_cast<long>(module_.offset) << " of " << module_.source
                      << " (" << i << " of the area) is " << int{now.bytes()[i]} << ", expected "
                      << int{expected.bytes()[i]};
        if (++shown == 8) return;
    }
}

void AccessorTest::ExpectCalls(const char *function, const std::vector<std::string> &patterns) {
    const std::vector<std::string> calls = recorder::Calls();
    recorder::ClearCalls();
    for (size_t i = 0; i < std::max(calls.size(), patterns.size()); ++i) {
        if (i >= calls.size()) {
            ADD_FAILURE() << "call " << i << " is missing: " << patterns[i];
        } else if (i >= patterns.size()) {
            ADD_FAILURE() << "call " << i << " is too many: " << calls[i];
        } else if (patterns[i] == AttachFailurePrint()) {
            ExpectMatch(calls[i], patterns[i], "hov_midware", "MW_MidMemCheck");
        } else {
            ExpectMatch(calls[i], patterns[i], module_.source, function);
        }
    }
}

void AccessorTest::CheckGuarded(const Accessor &accessor) {
    SCOPED_TRACE(accessor.name);
    const Image before = Image::Take();
    const std::string lock_text = accessor.lock_text != nullptr ? accessor.lock_text : lock_text_;

    if (accessor.null) {
        Detach();
        EXPECT_EQ(accessor.null(), -1) << "NULL";
        ExpectNoCalls();
    }

    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(accessor.call(), -1) << "no region";
    std::vector<std::string> expected = {AttachCall(), AttachFailurePrint()};
    if (accessor.attach_log != nullptr) expected.push_back(Dbg(accessor.attach_log));
    ExpectCalls(accessor.name, expected);
    EXPECT_EQ(*module_.pointer, nullptr);
    recorder::Now().region_missing = false;

    AttachNow();
    recorder::Now().lock_result[module_.key] = -22;  // any negative result
    EXPECT_EQ(accessor.call(), -1) << "lock fails";
    ExpectCalls(accessor.name, {Lock(module_.key), Dbg(lock_text)});
    ExpectImage(before);

    recorder::Now().lock_result[module_.key] = 7;
    Detach();
    EXPECT_EQ(accessor.call(), accessor.result) << "attaches, and a positive lock result is success";
    const std::vector<std::string> calls = recorder::Calls();
    recorder::ClearCalls();
    ASSERT_GE(calls.size(), 3u);
    EXPECT_EQ(calls[0], AttachCall());
    EXPECT_EQ(calls[1], Lock(module_.key));
    EXPECT_EQ(calls.back(), Unlock(module_.key));
    for (const auto &entry : kPointers) {
        EXPECT_EQ(*entry.pointer, static_cast<char *>(recorder::LibraryArea()) + entry.offset);
    }
    recorder::Now().lock_result.clear();
    std::memcpy(recorder::Area(), before.bytes().data(), before.bytes().size());
}

std::vector<uint8_t> Pattern(size_t size, uint8_t seed) {
    std::vector<uint8_t> bytes(size);
    uint32_t state = seed * 2654435761u + 1;
    for (uint8_t &byte : bytes) {
        state = state * 1664525u + 1013904223u;
        byte = static_cast<uint8_t>((state >> 24) | 1);
    }
    return bytes;
}

void InFreshProcess(const std::function<void()> &body) {
    std::fflush(nullptr);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
        body();
        std::fflush(nullptr);
#ifdef MIDWARE_COVERAGE
        __gcov_dump();
#endif
        _exit(::testing::Test::HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "in a child process, see above";
}
