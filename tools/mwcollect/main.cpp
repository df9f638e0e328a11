// mwcollect: reads a Linux host and writes what it finds to the shared area.
#include <fmt/format.h>
#include <signal.h>
#include <time.h>

#include <algorithm>
#include <cerrno>
#include <cmath>

#include "cli.h"
#include "collector.h"
#include "midware/area.h"
#include "output.h"
#include "simulate.h"

namespace {

using namespace collect;

constexpr std::string_view kProgram = "mwcollect";
constexpr int kExitNothingWritten = 1;
constexpr int kExitUsage = 2;

struct Running {
    const CollectorType *type;
    std::unique_ptr<Collector> collector;
};

timespec Now() {
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now;
}

double Seconds(const timespec &time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Waits for one of the signals until the time given; true when one came.
bool Stopped(const sigset_t &signals, double until) {
    for (;;) {
        const double left = std::max(until - Seconds(Now()), 0.0);
        const double whole = std::floor(left);
        const timespec timeout{static_cast<time_t>(whole), static_cast<long>((left - whole) * 1e9)};
        if (sigtimedwait(&signals, nullptr, &timeout) > 0) return true;
        if (errno == EAGAIN) return false;
    }
}

size_t Round(std::vector<Running> &running, const Host &host, Log &log, bool verbose) {
    Writer writer(log, verbose);
    for (Running &one : running) {
        writer.Begin(one.type->name);
        one.collector->Collect(host, writer);
        writer.End();
    }
    if (verbose) {
        fmt::print("written: {}, refused: {}\n", writer.Written(), writer.Failed());
        std::fflush(stdout);
    }
    return writer.Written();
}

std::string KnownNames() {
    std::string names;
    for (const CollectorType &type : CollectorTypes()) {
        names += names.empty() ? "" : ", ";
        names += type.name;
    }
    return names;
}

}  // namespace

int main(int argc, char **argv) {
    tools::PrepareStandardFiles();

    std::string root = "/";
    std::vector<std::string> only;
    double interval = 0;
    bool once = false;
    bool list = false;
    bool verbose = false;
    bool simulate = false;
    uint32_t seed = kUsualSeed;
    uint32_t round = 0;

    const cli::Validator whole([](std::string &text) {
        return ParseNumber<uint32_t>(text)
                   ? std::string()
                   : fmt::format("'{}' is no number from 0 to {}", Printable(text), UINT32_MAX);
    });
    cli::App app("Reads this machine's hardware and host state and writes it to the shared area.", kProgram,
                 "mwcollect " MIDWARE_VERSION);
    cli::Option *root_option =
        app.add_option("--root", root, "read the machine captured below DIR instead of the live one")
            ->type_name("DIR");
    cli::Option *simulate_option =
        app.add_flag("--simulate", simulate,
                     "read a made-up server with two sockets, parts of which fail in time")
            ->excludes(root_option);
    app.add_option("--seed", seed, "simulate another server of that kind")
        ->type_name("NUMBER")
        ->check(whole)
        ->needs(simulate_option);
    app.add_option("--round", round, "begin the simulation at this round")
        ->type_name("NUMBER")
        ->check(whole)
        ->needs(simulate_option);
    cli::Option *interval_option =
        app.add_option("--interval", interval, "collect every SECONDS until SIGINT, SIGTERM or SIGHUP")
            ->type_name("SECONDS")
            ->check(cli::SecondsFrom(0.1, 86400));
    app.add_flag("--once", once, "collect once and leave (the default)")->excludes(interval_option);
    app.add_option("--only", only, "run these collectors only, separated by commas")
        ->type_name("NAMES")
        ->delimiter(',')
        ->check(cli::Validator(
            [](std::string &name) {
                const auto &types = CollectorTypes();
                const bool known =
                    std::any_of(types.begin(), types.end(), [&](auto &type) { return type.name == name; });
                return known ? std::string()
                             : fmt::format("no collector is called '{}'; there are {}", name, KnownNames());
            },
            ""));
    app.add_flag("--list", list, "list the collectors and leave");
    app.add_flag("--verbose,-v", verbose, "say what was written, and how many");
    if (const auto code = app.Run(argc, argv)) return *code;

    if (list) {
        for (const CollectorType &type : CollectorTypes()) fmt::print("{:<12} {}\n", type.name, type.summary);
        return 0;
    }

    // Blocked before anything is written: a signal ends the program between two rounds, never inside one, and
    // a simulated machine is cleared away.
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    // The end of the terminal, unless somebody (nohup) has said that it shall not matter.
    struct sigaction hangup {};
    sigaction(SIGHUP, nullptr, &hangup);
    if (hangup.sa_handler != SIG_IGN) sigaddset(&signals, SIGHUP);
    const bool repeats = interval_option->count() > 0;
    if (repeats || simulate) sigprocmask(SIG_BLOCK, &signals, nullptr);

    Log log;
    Simulation simulation(seed);
    // False when that cannot be done, said once.
    const auto show = [&] {
        const std::string problem = simulation.Show(round);
        if (!problem.empty()) log.Once("the simulated machine could not be laid out: " + problem);
        return problem.empty();
    };
    if (simulate) {
        if (!show()) return kExitNothingWritten;
        root = simulation.root();
    }
    const std::optional<Host> host = Host::Open(root, log);
    if (!host) return kExitUsage;
    if (MW_MidMemCheck(g_ptMemCollectAddr) != 0) {
        log.Once("there is no shared area to write to: run midware-init first");
        return kExitNothingWritten;
    }

    std::vector<Running> running;
    for (const CollectorType &type : CollectorTypes()) {
        if (only.empty() || std::find(only.begin(), only.end(), type.name) != only.end()) {
            running.push_back({&type, type.make()});
        }
    }

    double next = Seconds(Now());
    for (;;) {
        const size_t written = Round(running, *host, log, verbose);
        if (!repeats) {
            if (written > 0) return 0;
            log.Once(
                "nothing was written: none of the collectors found anything, or the shared area refused it");
            return kExitNothingWritten;
        }
        // Rounds that took longer than the interval are left out, not caught up with.
        next = std::max(next + interval, Seconds(Now()));
        if (Stopped(signals, next)) return 0;
        if (simulate) {
            if (round < UINT32_MAX) ++round;
            if (!show()) return kExitNothingWritten;
        }
    }
}
