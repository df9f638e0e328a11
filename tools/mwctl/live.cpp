#include "live.h"

#include <fmt/format.h>
#include <poll.h>
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <fstream>

#include "area.h"
#include "source.h"
#include "text.h"

namespace mwctl {
namespace {

volatile sig_atomic_t g_ended = 0;

constexpr double kShortest = 0.01;
constexpr double kLongest = 86400;

std::string AreaPlace() { return tools::PlaceOf(fmt::format("/dev/shm/midware-{}", MW_AREA_KEY).c_str()); }

}  // namespace

void AddInterval(cli::App &command, double &seconds) {
    command.add_option("--interval", seconds, "Seconds between two looks")
        ->type_name("SECONDS")
        ->capture_default_str()
        ->check(cli::SecondsFrom(kShortest, kLongest));
}

void EndOnSignals() {
    struct sigaction action {};
    action.sa_handler = [](int) { g_ended = 1; };
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) {
        struct sigaction before {};
        // A signal that the starting process had ignored, such as behind nohup, stays ignored.
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler == SIG_IGN) continue;
        sigaction(signal, &action, nullptr);
    }
}

bool Ended() { return g_ended != 0; }

bool Pause(std::chrono::milliseconds time, bool input) {
    // The signals are let in only while this waits: none can come between the question and the wait.
    sigset_t blocked, before;
    sigemptyset(&blocked);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP, SIGQUIT}) sigaddset(&blocked, signal);
    sigprocmask(SIG_BLOCK, &blocked, &before);
    pollfd file{input ? STDIN_FILENO : STDOUT_FILENO, static_cast<short>(input ? POLLIN : 0), 0};
    bool goes_on = !Ended();
    if (goes_on) {
        const timespec wait{static_cast<time_t>(time.count() / 1000),
                            static_cast<long>(time.count() % 1000 * 1000000)};
        const int ready = ppoll(&file, 1, &wait, &before);
        goes_on = !Ended() && (input || ready <= 0 || (file.revents & POLLERR) == 0);
    }
    sigprocmask(SIG_SETMASK, &before, nullptr);
    return goes_on && !Ended();
}

std::string TimeStamp() {
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (const auto saved = SavedTime()) now = {static_cast<time_t>(*saved), 0};
    tm utc{};
    gmtime_r(&now.tv_sec, &utc);
    return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", utc.tm_year + 1900, utc.tm_mon + 1,
                       utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec, now.tv_nsec / 1000000);
}

AreaWatch::State AreaWatch::Look() {
    if (SavedTime()) return State::kPresent;
    struct stat status {};
    const std::string place = AreaPlace();
    const bool there = !place.empty() && stat(place.c_str(), &status) == 0;
    if (!attached_) {
        if (!tools::AreaExists()) return State::kAbsent;
        attached_ = true;
        if (there) {
            device_ = status.st_dev;
            inode_ = status.st_ino;
        }
    }
    if (inode_ == 0 || (there && status.st_dev == device_ && status.st_ino == inode_)) return State::kPresent;
    return there ? State::kReplaced : State::kAbsent;
}

std::string AreaWatch::Why() const {
    return attached_ ? "the shared area was removed: run midware-init" : tools::WhyNoArea();
}

void StartAgain(std::string_view option, std::string_view value) {
    std::ifstream file("/proc/self/cmdline", std::ios::binary);
    std::vector<std::string> arguments;
    bool is_value = false;  // of the option that is replaced
    for (std::string one; std::getline(file, one, '\0');) {
        const bool drop =
            !option.empty() && (is_value || one == option || one.starts_with(fmt::format("{}=", option)));
        is_value = !option.empty() && one == option;
        if (!drop) arguments.push_back(one);
    }
    if (!option.empty()) arguments.push_back(fmt::format("{}={}", option, value));
    std::vector<char *> pointers;
    for (std::string &one : arguments) pointers.push_back(one.data());
    pointers.push_back(nullptr);
    execv("/proc/self/exe", pointers.data());
}

}  // namespace mwctl
