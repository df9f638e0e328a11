#include "process.h"

#include <dirent.h>
#include <fcntl.h>
#include <grp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

namespace {

constexpr auto kLook = std::chrono::milliseconds(1);

int Capture(const char *name) {
    const int fd = memfd_create(name, MFD_CLOEXEC);
    if (fd < 0) std::abort();
    return fd;
}

std::string Captured(int fd) {
    std::string text;
    char part[4096];
    ssize_t size;
    while ((size = pread(fd, part, sizeof part, static_cast<off_t>(text.size()))) > 0) {
        text.append(part, static_cast<size_t>(size));
    }
    return text;
}

}  // namespace

TempDir::TempDir() {
    std::string pattern = (std::filesystem::temp_directory_path() / "midware-test-XXXXXX").string();
    if (mkdtemp(pattern.data()) == nullptr) std::abort();
    path_ = pattern;
}

TempDir::~TempDir() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

ProcessSetup InRoot(const TempDir &dir) { return {{{"MIDWARE_ROOT", dir.path()}}}; }

std::ostream &operator<<(std::ostream &stream, const Outcome &outcome) {
    if (outcome.timed_out) {
        stream << "did not end in time";
    } else if (outcome.exited) {
        stream << "exited with " << outcome.code;
    } else {
        stream << "ended by signal " << outcome.signal;
    }
    return stream << "\n--- standard output\n"
                  << outcome.out << "--- standard error\n"
                  << outcome.err << "---\n";
}

Process::Process(const ProcessSetup &setup, const std::function<void()> &body)
    : out_(Capture("stdout")),
      err_(Capture("stderr")),
      deadline_(std::chrono::steady_clock::now() + setup.deadline) {
    std::fflush(nullptr);
    pid_ = fork();
    if (pid_ < 0) std::abort();
    if (pid_ > 0) return;

    prctl(PR_SET_PDEATHSIG, SIGKILL);
    dup2(out_, STDOUT_FILENO);
    dup2(err_, STDERR_FILENO);
    for (const auto &[name, value] : setup.environment) setenv(name.c_str(), value.c_str(), 1);
    body();
    std::fflush(nullptr);
    _exit(::testing::Test::HasFailure() ? 1 : 0);
}

Process::~Process() {
    if (pid_ > 0) {
        kill(pid_, SIGKILL);
        waitpid(pid_, nullptr, 0);
    }
    if (out_ >= 0) close(out_);
    if (err_ >= 0) close(err_);
}

bool Process::Waits() const {
    const std::string status = ReadFile("/proc/" + std::to_string(pid_) + "/stat");
    const size_t name_end = status.rfind(") ");
    return name_end != std::string::npos && status[name_end + 2] == 'S';
}

void Process::Signal(int signal) { kill(pid_, signal); }

void Process::Kill() {
    kill(pid_, SIGKILL);
    siginfo_t info;
    waitid(P_PID, static_cast<id_t>(pid_), &info, WEXITED | WNOWAIT);
}

Outcome Process::Wait() {
    Outcome outcome;
    int status = 0;
    while (waitpid(pid_, &status, WNOHANG) == 0) {
        if (!outcome.timed_out && std::chrono::steady_clock::now() > deadline_) {
            outcome.timed_out = true;
            kill(pid_, SIGKILL);
        }
        std::this_thread::sleep_for(kLook);
    }
    pid_ = -1;
    outcome.exited = WIFEXITED(status);
    if (WIFEXITED(status)) outcome.code = WEXITSTATUS(status);
    if (WIFSIGNALED(status)) outcome.signal = WTERMSIG(status);
    outcome.out = Captured(out_);
    outcome.err = Captured(err_);
    return outcome;
}

std::string Process::Errors() const { return Captured(err_); }

Outcome RunProcess(const ProcessSetup &setup, const std::function<void()> &body) {
    return Process(setup, body).Wait();
}

void Execute(const std::vector<std::string> &arguments) {
    std::vector<char *> pointers;
    for (const std::string &argument : arguments) pointers.push_back(const_cast<char *>(argument.c_str()));
    pointers.push_back(nullptr);
    execv(pointers[0], pointers.data());
    std::perror(pointers[0]);
    _exit(126);
}

std::string ThisProgram() { return std::filesystem::read_symlink("/proc/self/exe").string(); }

void Forever() {
    for (;;) pause();
}

bool Eventually(const std::function<bool()> &condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) return false;
        std::this_thread::sleep_for(kLook);
    }
    return true;
}

bool BecomeNobody() {
    return setgroups(0, nullptr) == 0 && setresgid(kNobody, kNobody, kNobody) == 0 &&
           setresuid(kNobody, kNobody, kNobody) == 0;
}

bool DeathIsReported() {
    void *head = nullptr;
    size_t size = 0;
    return syscall(SYS_get_robust_list, 0, &head, &size) == 0;
}

std::string ReadFile(const std::string &path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream text;
    text << file.rdbuf();
    return text.str();
}

void WriteFile(const std::string &path, const std::string &contents) {
    std::filesystem::create_directories(std::filesystem::path(path).parent_path());
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file << contents;
    if (!file.flush()) std::abort();
}

std::vector<std::string> FilesIn(const std::string &directory) {
    std::vector<std::string> names;
    std::error_code ignored;
    for (const auto &entry : std::filesystem::directory_iterator(directory, ignored)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> LinesOf(const std::string &text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}
