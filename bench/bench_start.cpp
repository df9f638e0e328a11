// What a process pays before and for its first call, and what that takes of the memory; and the size of the
// library.
#include <dlfcn.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <sstream>

#include "accessors.h"
#include "bench.h"
#include "midware.h"
#include "peers.h"

extern char **environ;

namespace bench {
namespace {

std::string ProgramPath(const char *name) {
    return (std::filesystem::read_symlink("/proc/self/exe").parent_path() / name).string();
}

// Runs a program to its end and answers what it printed; the time from before exec to after its exit is
// added.
std::string RunProgram(std::vector<std::string> arguments, double *nanoseconds = nullptr) {
    int out[2];
    Check(pipe2(out, O_CLOEXEC) == 0, "pipe2");
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    std::vector<char *> argv;
    for (std::string &argument : arguments) argv.push_back(argument.data());
    argv.push_back(nullptr);
    pid_t pid = 0;
    const uint64_t start = Now();
    const int error = posix_spawnp(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    close(out[1]);
    int status = -1;
    std::string text;
    if (error == 0) {
        char bytes[65536];
        for (ssize_t n; (n = read(out[0], bytes, sizeof bytes)) > 0;)
            text.append(bytes, static_cast<size_t>(n));
        waitpid(pid, &status, 0);
    }
    if (nanoseconds != nullptr) *nanoseconds = static_cast<double>(Now() - start);
    posix_spawn_file_actions_destroy(&actions);
    close(out[0]);
    if (error != 0 || status != 0) throw Unable(arguments[0] + " failed");
    return text;
}

struct Program {
    std::string who;
    std::vector<std::string> arguments;
};

// From before exec to after exit, interleaved.
void RacePrograms(const std::string &group, const std::string &row, const std::vector<Program> &programs,
                  unsigned rounds) {
    std::vector<Figure> figures;
    for (const Program &program : programs) figures.push_back({group, row, 0, program.who, "ns", {}});
    for (unsigned round = 0; round < rounds; ++round) {
        for (size_t i = 0; i < programs.size(); ++i) {
            double took = 0;
            try {
                RunProgram(programs[i].arguments, &took);
                figures[i].samples.push_back(took);
            } catch (const Unable &unable) {
                Missing(group + ", " + programs[i].who, unable.what());
            }
        }
    }
    for (Figure &figure : figures) {
        if (!figure.samples.empty()) Add(std::move(figure));
    }
}

void RunStart() {
    const std::string start = ProgramPath("midware_bench_start");
    // Figures that the program measures in itself: the area in a root of its own each time, and the first
    // call.
    Figure create{"start-area", "creation", 0, kLibrary, "ns", {}};
    Figure attach{"start-area", "first call", 0, kLibrary, "ns", {}};
    Figure second{"start-area", "second call", 0, kLibrary, "ns", {}};
    for (unsigned i = 0; i < Rounds(31); ++i) {
        const std::string root = Directory() + "/start";
        std::filesystem::create_directories(root);
        Check(setenv("MIDWARE_ROOT", root.c_str(), 1) == 0, "setenv");
        create.samples.push_back(std::stod(RunProgram({start, "create"})));
        char *next = nullptr;
        const std::string calls = RunProgram({start, "attach"});
        attach.samples.push_back(std::strtod(calls.c_str(), &next));
        second.samples.push_back(std::strtod(next, nullptr));
        std::filesystem::remove_all(root);
    }
    Check(setenv("MIDWARE_ROOT", Directory().c_str(), 1) == 0, "setenv");
    Add(std::move(create));
    Add(std::move(attach));
    Add(std::move(second));

    std::vector<Program> programs = {{kLibrary, {start, "call"}},
                                     {"linked, no call", {start, "load"}},
                                     {"empty C program", {ProgramPath("midware_bench_empty")}}};
    // The same with the peers: each a program of its own, linked with its own library alone, that reads one
    // word.
    const auto enter = [&](const char *who, const char *program, const auto &address) {
        try {
            const std::vector<std::string> arguments = {ProgramPath(program), address()};
            std::vector<std::string> first = arguments;
            first.push_back("create");
            RunProgram(first);
            programs.push_back({who, arguments});
        } catch (const std::exception &error) {
            Missing(std::string("start, ") + who, error.what());
        }
    };
    enter("LMDB", "midware_bench_start_lmdb", [] { return Directory() + "/start-lmdb"; });
    enter("SQLite", "midware_bench_start_sqlite", [] { return Directory() + "/start-sqlite"; });
    enter("Redis", "midware_bench_start_redis", [] { return RedisSocket(); });
    enter("D-Bus property", "midware_bench_start_dbus", [] {
        OfferObjects("bench.Start", {{"/record", {{"Value", 'u', std::string(4, '\0')}}}});
        return BusAddress();
    });
    RacePrograms("start-process", "exec to exit", programs, Rounds(31));
}

// Lines "Name: N kB" of /proc/self/smaps_rollup.
double Sum(const std::string &rollup, std::initializer_list<const char *> names) {
    double sum = 0;
    for (const char *name : names) {
        const size_t at = rollup.find(std::string("\n") + name + ":");
        if (at != rollup.npos) sum += std::strtod(rollup.c_str() + at + std::strlen(name) + 2, nullptr);
    }
    return sum;
}

void RunMemory() {
    FillArea();
    const std::string start = ProgramPath("midware_bench_start");
    const struct {
        const char *row;
        std::vector<std::string> arguments;
    } kinds[] = {{"empty C program", {ProgramPath("midware_bench_empty"), "memory"}},
                 {"linked, no call", {start, "memory-load"}},
                 {"after the first call", {start, "memory-call"}},
                 {"after reading every module", {start, "memory-all"}}};
    for (const auto &kind : kinds) {
        Figure private_kib{"memory-private", kind.row, 0, kLibrary, "KiB", {}};
        Figure shared_kib{"memory-shared", kind.row, 0, kLibrary, "KiB", {}};
        Figure share{"memory-share", kind.row, 0, kLibrary, "KiB", {}};
        for (unsigned i = 0; i < Rounds(7); ++i) {
            const std::string rollup = RunProgram(kind.arguments);
            private_kib.samples.push_back(Sum(rollup, {"Private_Clean", "Private_Dirty"}));
            shared_kib.samples.push_back(Sum(rollup, {"Shared_Clean", "Shared_Dirty"}));
            share.samples.push_back(Sum(rollup, {"Pss"}));
        }
        Add(std::move(private_kib));
        Add(std::move(shared_kib));
        Add(std::move(share));
    }
}

// The sections of a library as `size -A` tells them.
void AddSizes(const std::string &which, const std::string &path) {
    if (!std::filesystem::exists(path)) return;
    const std::string table = RunProgram({"size", "-A", "-d", path});
    const auto section = [&](std::initializer_list<const char *> names) {
        double sum = 0;
        for (const char *name : names) {
            const size_t at = table.find(std::string("\n") + name + " ");
            if (at != table.npos) sum += std::strtod(table.c_str() + at + 1 + std::strlen(name), nullptr);
        }
        return sum;
    };
    const bool wide = section({".rela.dyn", ".rela.plt"}) > 0;
    const double entry = wide ? 3 * sizeof(uint64_t) : 2 * sizeof(uint32_t);
    const auto add = [&](const char *what, const char *unit, double value) {
        Add({"size", which + ", " + what, 0, kLibrary, unit, {value}});
    };
    const double code = section({".text", ".plt", ".plt.sec", ".plt.got", ".init", ".fini"});
    add("code", "bytes", code);
    add("constants", "bytes", section({".rodata", ".ARM.exidx", ".ARM.extab", ".eh_frame", ".eh_frame_hdr"}));
    add("names", "bytes",
        section({".dynsym", ".dynstr", ".gnu.hash", ".gnu.version", ".gnu.version_d", ".gnu.version_r"}));
    add("data", "bytes",
        section({".data", ".bss", ".got", ".got.plt", ".data.rel.ro", ".init_array", ".fini_array"}));
    size_t functions = 0;
    std::istringstream names(RunProgram({"nm", "-D", "--defined-only", path}));
    for (std::string name; std::getline(names, name);) functions += name.find(" T ") != name.npos;
    add("functions", "", static_cast<double>(functions));
    add("code a function", "bytes", code / static_cast<double>(std::max<size_t>(functions, 1)));
    add("relocations", "", (section({".rela.dyn", ".rel.dyn"}) + section({".rela.plt", ".rel.plt"})) / entry);
}

void RunSize() {
    Dl_info info{};
    Check(dladdr(reinterpret_cast<void *>(&MW_GetMemCount), &info) != 0, "dladdr");
    const std::filesystem::path library = info.dli_fname;
    const std::filesystem::path directory = std::filesystem::absolute(library).parent_path();
    AddSizes("libmidware", directory / "libmidware.so.1");
    AddSizes("libmidware_platform", directory / "libmidware_platform.so.1");
    // The build for 32-bit ARM, where there is one.
    const std::filesystem::path arm = directory / "../../arm/lib";
    AddSizes("libmidware on ARM", arm / "libmidware.so.1");
    if (std::filesystem::exists(arm))
        WantFigure("size", "libmidware on ARM, code", kLibrary, Is::kAtMost, 65536);
    AddSizes("libmidware_platform on ARM", arm / "libmidware_platform.so.1");
}

const Measurement kStart("start", "the area, the first call, and a process with one call from exec to exit",
                         RunStart);
const Measurement kMemory("memory", "what a process pays: private, shared, and its share of what is shared",
                          RunMemory);
const Measurement kSize("size", "the libraries as built", RunSize);

}  // namespace
}  // namespace bench
