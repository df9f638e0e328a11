// Tests of several real processes. A body runs in a child with an environment of its own, its output is
// captured, and a deadline ends what hangs.
//
//     Process holder(InRoot(dir), [&] { OAL_SemLockByKey(7, 0); shared->ready = 1; Forever(); });
//     ASSERT_TRUE(Eventually([&] { return shared->ready == 1; }));
//     holder.Kill();
//     EXPECT_SUCCEEDS(InRoot(dir), [] { EXPECT_EQ(OAL_SemLockByKey(7, 500), 0); });
//
// The platform layer reads its environment once in the life of a process: the test program itself must not
// call it, only bodies may.
#ifndef TESTS_PROCESS_H
#define TESTS_PROCESS_H

#include <gtest/gtest.h>
#include <sys/mman.h>
#include <sys/types.h>

#include <chrono>
#include <functional>
#include <map>
#include <new>
#include <string>
#include <utility>
#include <vector>

// A directory that is removed with everything in it.
class TempDir {
  public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir &) = delete;
    TempDir &operator=(const TempDir &) = delete;

    const std::string &path() const { return path_; }
    std::string operator/(const std::string &name) const { return path_ + "/" + name; }

  private:
    std::string path_;
};

struct ProcessSetup {
    std::map<std::string, std::string> environment;  // added to that of the test program
    std::chrono::seconds deadline{60};
};

// The setup of a process whose objects all lie below `dir`.
ProcessSetup InRoot(const TempDir &dir);

struct Outcome {
    bool exited = false;
    int code = -1;   // of one that exited
    int signal = 0;  // that ended the others
    bool timed_out = false;
    std::string out;
    std::string err;

    bool Succeeded() const { return exited && code == 0; }
};
std::ostream &operator<<(std::ostream &stream, const Outcome &outcome);

class Process {
  public:
    // Starts a child that runs `body` and exits: with 1 when an expectation failed in it, otherwise with 0.
    Process(const ProcessSetup &setup, const std::function<void()> &body);
    // Ends and reaps it.
    ~Process();
    Process(Process &&other) noexcept { *this = std::move(other); }
    Process &operator=(Process &&other) noexcept {
        std::swap(pid_, other.pid_);
        std::swap(out_, other.out_);
        std::swap(err_, other.err_);
        std::swap(deadline_, other.deadline_);
        return *this;
    }

    pid_t pid() const { return pid_; }
    // It waits in the kernel, for a semaphore for example.
    bool Waits() const;
    void Signal(int signal);
    // Kills it and waits until it is dead, but leaves it unreaped: a zombie until Wait.
    void Kill();
    Outcome Wait();
    // What it wrote to standard error up to now.
    std::string Errors() const;

  private:
    pid_t pid_ = -1;
    int out_ = -1;
    int err_ = -1;
    std::chrono::steady_clock::time_point deadline_;
};

// Runs `body` in a child from beginning to end.
Outcome RunProcess(const ProcessSetup &setup, const std::function<void()> &body);

#define EXPECT_SUCCEEDS(setup, ...)                                        \
    do {                                                                   \
        const Outcome outcome_of_process = RunProcess(setup, __VA_ARGS__); \
        EXPECT_TRUE(outcome_of_process.Succeeded()) << outcome_of_process; \
    } while (false)

// Replaces the calling process by a program. Does not return.
[[noreturn]] void Execute(const std::vector<std::string> &arguments);

// This test program's own file.
std::string ThisProgram();

[[noreturn]] void Forever();

// Looks again and again until it is true; false after a long time.
bool Eventually(const std::function<bool()> &condition);

// Gives up root's rights for good. False where that is not allowed.
bool BecomeNobody();
inline constexpr uid_t kNobody = 65534;

// False under user-mode emulation, where the kernel's notice of a dead lock holder does not arrive.
bool DeathIsReported();

// Memory that a test shares with the children that it starts later.
template <class T>
class Shared {
  public:
    Shared() {
        void *memory = mmap(nullptr, sizeof(T), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
        if (memory == MAP_FAILED) throw std::bad_alloc();
        value_ = new (memory) T();
    }
    ~Shared() { munmap(value_, sizeof(T)); }
    Shared(const Shared &) = delete;
    Shared &operator=(const Shared &) = delete;

    T *operator->() const { return value_; }
    T &operator*() const { return *value_; }

  private:
    T *value_;
};

// --- files ---------------------------------------------------------------------------------------

std::string ReadFile(const std::string &path);                         // "" when there is none
void WriteFile(const std::string &path, const std::string &contents);  // creates or overwrites in place
std::vector<std::string> FilesIn(const std::string &directory);        // names, sorted; hidden ones too
std::vector<std::string> LinesOf(const std::string &text);

#endif
