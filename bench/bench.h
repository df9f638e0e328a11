// The frame of the benchmarks. A measurement registers itself under a name that users choose it by; what it
// measures are figures: a group, a row of a table, who was measured, a unit and the samples. Everything is
// printed with its ratio and written as JSON.
#ifndef BENCH_H
#define BENCH_H

#include <sys/types.h>
#include <time.h>

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace bench {

// What the peers are compared with.
inline constexpr char kLibrary[] = "libmidware";

// Says in one line why a peer cannot take part; the others go on.
struct Unable : std::runtime_error {
    using std::runtime_error::runtime_error;
};

struct Measurement {
    Measurement(const char *name, const char *what, void (*run)());
    const char *name;
    const char *what;  // one line for those who read the results
    void (*run)();
};

// A directory of this run's own in the memory file system; the shared area, the sockets and the files of all
// peers lie in it, and it is removed at the end, also after an interruption.
const std::string &Directory();

// A short run to try things out.
bool Quick();

// One series of samples. `row` is shown, `x` is its place on an axis.
struct Figure {
    std::string group, row;
    double x = 0;
    std::string who;
    std::string unit;
    std::vector<double> samples;
};

void Add(Figure figure);

// The peer is missing in this run: printed once and written to the results.
void Missing(const std::string &who, const std::string &why);

// A figure that is wanted: the ratio of the medians of `who` and `against` in a row is at most or at least so
// much.
enum class Is { kAtMost, kAtLeast };
void Want(const std::string &group, const std::string &row, const std::string &who,
          const std::string &against, Is is, double ratio);
// The same of a figure itself.
void WantFigure(const std::string &group, const std::string &row, const std::string &who, Is is,
                double value);

// Does something so many times.
using Operation = std::function<void(uint64_t times)>;

// Times operations against each other: rounds of short slices in random order, one sample a slice.
class Race {
  public:
    Race(std::string group, std::string row, double x)
        : group_(std::move(group)), row_(std::move(row)), x_(x) {}
    void Enter(std::string who, Operation operation);
    // Adds a figure in nanoseconds an operation for each of them.
    void Run(unsigned rounds, double slice_seconds = 0.0005);

  private:
    struct Runner {
        std::string who;
        Operation operation;
        uint64_t times = 1;
        bool quick = true;  // far from filling many slices alone
        std::vector<double> samples{};
    };
    std::string group_, row_;
    double x_;
    std::vector<Runner> runners_;
};

// The rounds that a race has: few in a quick run.
unsigned Rounds(unsigned full);

inline uint64_t Now() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<uint64_t>(now.tv_sec) * 1000000000 + static_cast<uint64_t>(now.tv_nsec);
}

// Keeps the compiler from doing the copies of a loop only once.
inline void Clobber(const void *copied = nullptr) { asm volatile("" ::"r"(copied) : "memory"); }

// Ends the program when something that cannot fail does.
void Check(bool holds, const char *what);

// A child process that ends with this one, however it ends. `body` answers the exit code.
pid_t Fork(const std::function<int()> &body);
// The same with another program: its standard streams go to DIRECTORY/NAME.log.
pid_t StartServer(const std::string &name, std::vector<std::string> arguments, const char *program);
// Stops a server and waits for it; those still running at the end are stopped then.
void Stop(pid_t pid);
// Waits until something answers at a Unix socket; Unable when the server ended or took too long.
void AwaitSocket(const std::string &path, pid_t server);

}  // namespace bench

#endif
