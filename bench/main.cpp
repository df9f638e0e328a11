// midware_bench [--quick] [--json FILE] [--list] [NAME...]: runs the measurements of these names, or all.
#include <dirent.h>
#include <fcntl.h>
#include <sched.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/utsname.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <map>
#include <nlohmann/json.hpp>
#include <random>
#include <set>

#include "bench.h"
#include "midware.h"
#include "peers.h"

namespace bench {
namespace {

std::vector<Measurement> &Measurements() {
    static std::vector<Measurement> measurements;
    return measurements;
}

struct Wish {
    std::string group, row, who, against;
    Is is;
    double value;
};

std::string g_directory;
bool g_quick = false;
std::vector<Figure> g_figures;
std::vector<Wish> g_wishes;
std::map<std::string, std::string> g_missing;
std::set<pid_t> g_servers;

double Quantile(std::vector<double> samples, double q) {
    if (samples.empty()) return 0;
    std::sort(samples.begin(), samples.end());
    const double at = q * static_cast<double>(samples.size() - 1);
    const size_t below = static_cast<size_t>(at);
    const size_t above = std::min(below + 1, samples.size() - 1);
    return samples[below] + (at - static_cast<double>(below)) * (samples[above] - samples[below]);
}

double Median(const Figure &figure) { return Quantile(figure.samples, 0.5); }

const Figure *Find(const std::string &group, const std::string &row, const std::string &who) {
    for (const Figure &figure : g_figures) {
        if (figure.group == group && figure.row == row && figure.who == who) return &figure;
    }
    return nullptr;
}

// How often `what` takes what `against` takes. Slices of one round ran beside each other, so their ratios are
// less moved by what else the machine did meanwhile than the ratio of two medians.
double Ratio(const Figure &what, const Figure &against) {
    if (what.samples.size() != against.samples.size()) return Median(what) / Median(against);
    std::vector<double> ratios;
    for (size_t i = 0; i < what.samples.size(); ++i) ratios.push_back(what.samples[i] / against.samples[i]);
    return Quantile(ratios, 0.5);
}

std::string FirstValue(const char *path, const std::string &name) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.rfind(name, 0) == 0 && line.find(':') != line.npos) return line.substr(line.find(':') + 2);
    }
    return "";
}

nlohmann::ordered_json Machine() {
    utsname names{};
    uname(&names);
    cpu_set_t cpus;
    sched_getaffinity(0, sizeof cpus, &cpus);
    double load[3] = {};
    getloadavg(load, 3);
    return {{"cores", CPU_COUNT(&cpus)},     {"processor", FirstValue("/proc/cpuinfo", "model name")},
            {"architecture", names.machine}, {"kernel", names.release},
            {"compiler", __VERSION__},       {"load_before", load[0]}};
}

// The machine's load before the run, not the run's own.
nlohmann::ordered_json g_machine;

nlohmann::ordered_json Results() {
    nlohmann::ordered_json results{{"machine", g_machine}, {"quick", g_quick}};
    for (const Measurement &measurement : Measurements())
        results["measurements"].push_back({{"name", measurement.name}, {"what", measurement.what}});
    results["missing"] = nlohmann::ordered_json::array();
    for (const auto &[who, why] : g_missing) results["missing"].push_back({{"peer", who}, {"why", why}});
    results["figures"] = nlohmann::ordered_json::array();
    for (const Figure &figure : g_figures) {
        nlohmann::ordered_json entry{{"group", figure.group},
                                     {"row", figure.row},
                                     {"x", figure.x},
                                     {"peer", figure.who},
                                     {"unit", figure.unit}};
        entry["median"] = Median(figure);
        entry["q1"] = Quantile(figure.samples, 0.25);
        entry["q3"] = Quantile(figure.samples, 0.75);
        const Figure *library = Find(figure.group, figure.row, kLibrary);
        if (library != nullptr && Median(*library) > 0) entry["ratio"] = Ratio(figure, *library);
        entry["samples"] = figure.samples;
        results["figures"].push_back(std::move(entry));
    }
    results["wanted"] = nlohmann::ordered_json::array();
    for (const Wish &wish : g_wishes) {
        const Figure *who = Find(wish.group, wish.row, wish.who);
        const Figure *against = wish.against.empty() ? nullptr : Find(wish.group, wish.row, wish.against);
        if (who == nullptr || (against == nullptr && !wish.against.empty())) continue;
        // A figure on its own is as bad as its worst sample.
        const double worst = Quantile(who->samples, wish.is == Is::kAtMost ? 1 : 0);
        const double is = against == nullptr ? worst : Ratio(*who, *against);
        results["wanted"].push_back(
            {{"group", wish.group},
             {"row", wish.row},
             {"peer", wish.who},
             {"against", wish.against},
             {"at", wish.is == Is::kAtMost ? "most" : "least"},
             {"value", wish.value},
             {"measured", is},
             {"reached", wish.is == Is::kAtMost ? is <= wish.value : is >= wish.value}});
    }
    return results;
}

void Print(const Figure &figure) {
    const Figure *library = Find(figure.group, figure.row, kLibrary);
    std::printf("%-14s %-28s %-18s %14.1f %-6s [%.1f, %.1f]", figure.group.c_str(), figure.row.c_str(),
                figure.who.c_str(), Median(figure), figure.unit.c_str(), Quantile(figure.samples, 0.25),
                Quantile(figure.samples, 0.75));
    if (library != nullptr && library != &figure && Median(*library) > 0)
        std::printf("  %.2f times %s", Ratio(figure, *library), kLibrary);
    std::printf("\n");
    std::fflush(stdout);
}

// Everything that measures, in a process of its own: what is left over when it ends, however that happens, is
// cleaned up by the one that waits for it.
int Work(const std::vector<const Measurement *> &chosen, const char *json) {
    // From here on the library is initialised below the directory.
    if (setenv("MIDWARE_ROOT", g_directory.c_str(), 1) != 0 || MW_MidWareInit() != 0) {
        std::fprintf(stderr, "midware_bench: no shared area could be created under %s\n",
                     g_directory.c_str());
        return 1;
    }
    for (const Measurement *measurement : chosen) {
        std::printf("\n%s: %s\n", measurement->name, measurement->what);
        std::fflush(stdout);
        const size_t before = g_figures.size();
        const uint64_t start = Now();
        try {
            measurement->run();
        } catch (const Unable &unable) {
            Missing(measurement->name, unable.what());
        }
        for (size_t i = before; i < g_figures.size(); ++i) Print(g_figures[i]);
        std::printf("%s took %.1f s\n", measurement->name, static_cast<double>(Now() - start) / 1e9);
    }
    while (!g_servers.empty()) Stop(*g_servers.begin());

    const nlohmann::ordered_json results = Results();
    size_t reached = 0;
    std::printf("\n");
    for (const auto &wish : results["wanted"]) {
        if (wish["reached"].get<bool>()) {
            ++reached;
            continue;
        }
        const std::string against = wish["against"];
        std::printf("not reached: %s %s, %s%s%s at %s %g, is %.2f\n",
                    wish["group"].get<std::string>().c_str(), wish["row"].get<std::string>().c_str(),
                    wish["peer"].get<std::string>().c_str(), against.empty() ? "" : " against ",
                    against.c_str(), wish["at"].get<std::string>().c_str(), wish["value"].get<double>(),
                    wish["measured"].get<double>());
    }
    std::printf("%zu of %zu wanted figures are reached\n", reached, results["wanted"].size());
    if (json != nullptr) {
        std::ofstream file(json, std::ios::trunc);
        file << results.dump() << '\n';
        file.close();
        if (!file) {
            std::fprintf(stderr, "midware_bench: %s cannot be written\n", json);
            return 1;
        }
        std::printf("results: %s\n", json);
    }
    return 0;
}

volatile sig_atomic_t g_worker = 0;
volatile sig_atomic_t g_interrupted = 0;

void Interrupt(int signal) {
    g_interrupted = signal;
    if (g_worker > 0) kill(static_cast<pid_t>(g_worker), SIGKILL);
}

// Processes of the benchmark end with it, but need a moment for that: the directory goes when they are gone.
void RemoveDirectory() {
    for (int tries = 0; tries < 50; ++tries) {
        std::error_code error;
        std::filesystem::remove_all(g_directory, error);
        if (!error && !std::filesystem::exists(g_directory)) return;
        usleep(20000);
    }
    std::fprintf(stderr, "midware_bench: %s could not be removed\n", g_directory.c_str());
}

int Usage() {
    std::fprintf(stderr, "usage: midware_bench [--quick] [--json FILE] [--list] [NAME...]\n");
    return 2;
}

}  // namespace

Measurement::Measurement(const char *name_of_it, const char *what_it_is, void (*run_it)())
    : name(name_of_it), what(what_it_is), run(run_it) {
    std::vector<Measurement> &all = Measurements();
    const auto before = [](const Measurement &a, const Measurement &b) {
        return std::strcmp(a.name, b.name) < 0;
    };
    all.insert(std::upper_bound(all.begin(), all.end(), *this, before), *this);
}

const std::string &Directory() { return g_directory; }
bool Quick() { return g_quick; }
unsigned Rounds(unsigned full) { return g_quick ? 5 : full; }
void Add(Figure figure) { g_figures.push_back(std::move(figure)); }

void Missing(const std::string &who, const std::string &why) {
    if (g_missing.emplace(who, why).second)
        std::printf("%s does not take part: %s\n", who.c_str(), why.c_str());
}

void Want(const std::string &group, const std::string &row, const std::string &who,
          const std::string &against, Is is, double ratio) {
    g_wishes.push_back({group, row, who, against, is, ratio});
}

void WantFigure(const std::string &group, const std::string &row, const std::string &who, Is is,
                double value) {
    g_wishes.push_back({group, row, who, "", is, value});
}

void Race::Enter(std::string who, Operation operation) {
    runners_.push_back({std::move(who), std::move(operation)});
}

void Race::Run(unsigned rounds, double slice_seconds) {
    const double wanted = slice_seconds * 1e9;
    for (Runner &runner : runners_) {
        runner.operation(1);
        for (;;) {
            const uint64_t start = Now();
            runner.operation(runner.times);
            const double took = static_cast<double>(Now() - start);
            if (took >= wanted / 2) {
                runner.quick = took < 20 * wanted;
                runner.times = std::max<uint64_t>(
                    1, static_cast<uint64_t>(static_cast<double>(runner.times) * wanted / took));
                break;
            }
            runner.times *= took > wanted / 32 ? 2 : 8;
        }
    }
    static std::mt19937 random(1);
    std::vector<Runner *> order;
    for (Runner &runner : runners_) order.push_back(&runner);
    for (unsigned round = 0; round < rounds; ++round) {
        std::shuffle(order.begin(), order.end(), random);
        for (Runner *runner : order) {
            // The caches are warmed again: another runner's data went through them.
            if (runner->quick) runner->operation(std::max<uint64_t>(1, runner->times / 16));
            const uint64_t start = Now();
            runner->operation(runner->times);
            runner->samples.push_back(static_cast<double>(Now() - start) /
                                      static_cast<double>(runner->times));
        }
    }
    for (Runner &runner : runners_) Add({group_, row_, x_, runner.who, "ns", std::move(runner.samples)});
}

void Check(bool holds, const char *what) {
    if (holds) return;
    std::fprintf(stderr, "midware_bench: %s failed\n", what);
    std::fflush(stderr);
    _exit(1);
}

pid_t Fork(const std::function<int()> &body) {
    std::fflush(nullptr);
    const pid_t parent = getpid();
    const pid_t pid = fork();
    Check(pid >= 0, "fork");
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (getppid() != parent) _exit(1);
        g_servers.clear();
        const int code = body();
        std::fflush(nullptr);
        _exit(code);
    }
    return pid;
}

pid_t StartServer(const std::string &name, std::vector<std::string> arguments, const char *program) {
    const std::string log = g_directory + "/" + name + ".log";
    const pid_t pid = Fork([&] {
        const int fd = open(log.c_str(), O_CREAT | O_WRONLY | O_APPEND, 0600);
        dup2(fd, 1);
        dup2(fd, 2);
        std::vector<char *> argv;
        for (std::string &argument : arguments) argv.push_back(argument.data());
        argv.push_back(nullptr);
        execvp(program, argv.data());
        std::fprintf(stderr, "%s: %s\n", program, std::strerror(errno));
        std::fflush(stderr);
        return 127;
    });
    g_servers.insert(pid);
    return pid;
}

void Stop(pid_t pid) {
    if (g_servers.erase(pid) == 0) return;
    kill(pid, SIGTERM);
    for (int tries = 0; tries < 100; ++tries) {
        if (waitpid(pid, nullptr, WNOHANG) == pid) return;
        usleep(20000);
    }
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
}

void AwaitSocket(const std::string &path, pid_t server) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    Check(path.size() < sizeof address.sun_path, "the length of a socket's path");
    std::memcpy(address.sun_path, path.c_str(), path.size());
    for (int tries = 0; tries < 500; ++tries) {
        const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        const bool answers = connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0;
        close(fd);
        if (answers) return;
        if (waitpid(server, nullptr, WNOHANG) == server) {
            g_servers.erase(server);
            throw Unable("its server ended at once; is its package installed?");
        }
        usleep(10000);
    }
    Stop(server);
    throw Unable("its server did not open its socket within 5 s");
}

}  // namespace bench

using namespace bench;

int main(int argc, char **argv) {
    const char *json = nullptr;
    std::vector<const Measurement *> chosen;
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        if (argument == "--list") {
            for (const Measurement &measurement : Measurements())
                std::printf("%-12s %s\n", measurement.name, measurement.what);
            return 0;
        }
        if (argument == "--quick") {
            g_quick = true;
        } else if (argument == "--json") {
            if (++i == argc) return Usage();
            json = argv[i];
        } else if (argument[0] == '-') {
            return Usage();
        } else {
            const auto found = std::find_if(Measurements().begin(), Measurements().end(),
                                            [&](const Measurement &m) { return argument == m.name; });
            if (found == Measurements().end()) {
                std::fprintf(stderr, "midware_bench: there is no measurement %s: see --list\n", argv[i]);
                return 2;
            }
            chosen.push_back(&*found);
        }
    }
    if (chosen.empty()) {
        for (const Measurement &measurement : Measurements()) chosen.push_back(&measurement);
    }

    // In the memory file system, where the shared area of a system lies too.
    std::string directory =
        access("/dev/shm", W_OK) == 0 ? "/dev/shm/midware-bench-XXXXXX" : "/tmp/midware-bench-XXXXXX";
    if (mkdtemp(directory.data()) == nullptr) {
        std::fprintf(stderr, "midware_bench: %s: %s\n", directory.c_str(), std::strerror(errno));
        return 1;
    }
    g_directory = directory;
    g_machine = Machine();
    CreateKernelObjects();

    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction action {};
        action.sa_handler = Interrupt;
        sigaction(signal, &action, nullptr);
    }
    const pid_t worker = Fork([&] {
        for (const int number : {SIGINT, SIGTERM, SIGHUP}) ::signal(number, SIG_DFL);
        return Work(chosen, json);
    });
    g_worker = worker;
    if (g_interrupted != 0) kill(worker, SIGKILL);
    int status = 0;
    while (waitpid(worker, &status, 0) < 0 && errno == EINTR) {
    }
    RemoveDirectory();
    RemoveKernelObjects();
    if (g_interrupted != 0) return 128 + static_cast<int>(g_interrupted);
    if (WIFSIGNALED(status)) {
        std::fprintf(stderr, "midware_bench: ended by signal %d\n", WTERMSIG(status));
        return 1;
    }
    return WEXITSTATUS(status);
}
