// Four processes use four modules' records without a pause while one of them after the other is killed,
// stopped or crashes inside its copy. After each death every semaphore is to be had, the recovery is logged
// and counted, and a record that a writer left half written is handed out only after that.
//
//     MIDWARE_KILL_ROUNDS   how many are killed; a tenth as many crash, a hundredth as many are stopped
//     MIDWARE_KILL_SEED     what the moments are drawn from
//
// Every record that is written consists of one byte value, so that a half-written one shows. Wrong is what
// cannot come from a slow machine: a wait that is longer than its time-out by seconds, or one that ends in
// vain although nobody alive had the semaphore.
#include <fcntl.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <random>

#include "oal.h"
#include "oal_status.h"
#include "process_test.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr milliseconds kTimeout{500};
constexpr milliseconds kLongest = kTimeout + milliseconds(2000);  // with what a busy machine adds
constexpr uint32_t kFirstKey = 12290;
constexpr uint32_t kKeys = 15;

// --- records -------------------------------------------------------------------------------------

// A record of one copy, or a list of them that is written under the semaphore as a whole.
struct Record {
    const char *name;
    uint32_t key;
    size_t size;
    size_t unit;  // what is copied at once
    int32_t (*write)(const void *from);
    int32_t (*read)(void *to);
};

constexpr uint32_t kListed = 64;

template <class T>
int32_t ReadList(int32_t (*get)(T *, uint32_t *), void *to) {
    uint32_t count = 0;
    const int32_t answer = get(static_cast<T *>(to), &count);
    return answer == 0 && count != kListed ? 1 : answer;
}

constexpr Record kRecords[] = {
    {"physical disks", 12294, sizeof(HdAssetInfo), sizeof(HdAssetInfo),
     [](const void *from) { return MW_SetHdAssetInfo(static_cast<const HdAssetInfo *>(from)); },
     [](void *to) { return MW_GetHdAssetInfo(static_cast<HdAssetInfo *>(to)); }},
    {"network ports", 12295, sizeof(NicPortBlock), sizeof(NicPortBlock),
     [](const void *from) { return MW_SetNICPortAssetInfo(static_cast<const NicPortBlock *>(from)); },
     [](void *to) { return MW_GetNICPortAssetInfo(static_cast<NicPortBlock *>(to)); }},
    {"PCIe table", 12298, kListed * sizeof(PcieAssetInfo), sizeof(PcieAssetInfo),
     [](const void *from) { return MW_SetPcieAssetInfo(static_cast<const PcieAssetInfo *>(from), kListed); },
     [](void *to) { return ReadList(MW_GetPcieAssetInfo, to); }},
    {"memory list", 12291, kListed * sizeof(MemAssetInfo), sizeof(MemAssetInfo),
     [](const void *from) { return MW_SetMemAssetInfo(static_cast<const MemAssetInfo *>(from), kListed); },
     [](void *to) { return ReadList(MW_GetMemAssetInfo, to); }},
};
constexpr size_t kRecordCount = std::size(kRecords);

constexpr size_t kBufferSize = sizeof(NicPortBlock);
static_assert(kBufferSize >= sizeof(HdAssetInfo) && kBufferSize >= kListed * sizeof(PcieAssetInfo) &&
              kBufferSize >= kListed * sizeof(MemAssetInfo));
alignas(64) char g_buffer[kBufferSize];
alignas(64) char g_pattern[kBufferSize];  // what is written

constexpr int kTorn = -1;

// The byte that the record in the buffer consists of, or kTorn.
int ByteOf(const Record &record) {
    const bool plain = std::memcmp(g_buffer, g_buffer + 1, record.size - 1) == 0;
    return plain ? static_cast<unsigned char>(g_buffer[0]) : kTorn;
}

// --- what the processes share --------------------------------------------------------------------

constexpr size_t kWorkers = 4;
bool IsWriter(size_t worker) { return worker % 2 == 0; }

struct Desk {  // one worker's
    std::atomic<uint32_t> accesses;
    std::atomic<bool> rests;
    std::atomic<bool> crash;  // with an access of so many bytes of this record before the fault
    size_t crash_record;
    size_t crash_after;
    int crash_byte;
};

struct Stage {
    Desk desks[kWorkers];
    std::atomic<bool> rest;       // nobody is to begin an access
    std::atomic<int32_t> dead;    // the process that died last
    std::atomic<uint32_t> stops;  // odd while some are stopped
    std::atomic<uint32_t> torn;   // how many half-written records were read
    std::atomic<uint32_t> in_vain;
    std::atomic<int64_t> longest_ms;
};

// A line that is not to appear among what the processes write.
__attribute__((format(printf, 1, 2))) void Wrong(const char *format, ...) {
    char line[256] = "WRONG: ";
    const size_t begin = std::strlen(line);
    va_list args;
    va_start(args, format);
    const int length = std::vsnprintf(line + begin, sizeof line - begin - 1, format, args);
    va_end(args);
    const size_t end = begin + std::min(static_cast<size_t>(length), sizeof line - begin - 2);
    line[end] = '\n';
    if (write(STDERR_FILENO, line, end + 1) < 0) _exit(2);
}

OalSemStatus StatusOf(uint32_t key) {
    OalSemStatus status;
    if (OAL_GetSemStatus(key, &status) != 0) Wrong("the status of %u cannot be had", key);
    return status;
}

// What a thread spent waiting for a processor, which no wait for a semaphore is blamed for. Asked for now and
// then only, so it may be a little more than what belongs to one wait.
class Queue {
  public:
    Queue() : file_(open("/proc/thread-self/schedstat", O_RDONLY | O_CLOEXEC)) { Note(); }
    ~Queue() {
        if (file_ >= 0) close(file_);
    }
    Queue(const Queue &) = delete;
    Queue &operator=(const Queue &) = delete;

    void Note() { noted_ = Total(); }
    milliseconds SinceNote() const {
        return std::chrono::duration_cast<milliseconds>(std::chrono::nanoseconds(Total() - noted_));
    }

  private:
    long long Total() const {  // 0 where the kernel does not tell
        char text[128] = "";
        long long total = 0;
        if (file_ >= 0 && pread(file_, text, sizeof text - 1, 0) > 0) std::sscanf(text, "%*d %lld", &total);
        return total;
    }

    int file_;
    long long noted_ = 0;
};

// Looks again and again, at intervals too short for the eye; false after a long time.
bool Soon(const std::function<bool()> &condition) {
    const auto deadline = Clock::now() + std::chrono::seconds(60);
    while (!condition()) {
        if (Clock::now() > deadline) return false;
        usleep(20);
    }
    return true;
}

// --- one access ----------------------------------------------------------------------------------

// What a process does with the records. It complains of a half-written one unless a recovery was counted
// since the last whole one.
class User {
  public:
    explicit User(Stage &stage) : stage_(stage) {}

    bool Write(size_t index, int byte) {
        const Record &record = kRecords[index];
        if (g_pattern[0] != static_cast<char>(byte)) std::memset(g_pattern, byte, sizeof g_pattern);
        return Access(record, [&] { return record.write(g_pattern); });
    }

    // What ByteOf says, or nothing after a wait in vain.
    std::optional<int> Read(size_t index) {
        const Record &record = kRecords[index];
        const uint64_t before = StatusOf(record.key).recovered;
        if (!Access(record, [&] { return record.read(g_buffer); })) return std::nullopt;
        const uint64_t after = StatusOf(record.key).recovered;
        const int byte = ByteOf(record);
        if (byte == kTorn) {
            ++stage_.torn;
            if (after <= recoveries_[index])
                Wrong("%s: half a record, and no recovery before it", record.name);
        } else {
            recoveries_[index] = before;
        }
        return byte;
    }

  private:
    // True when it was done, false when it waited in vain for somebody alive.
    template <class F>
    bool Access(const Record &record, F access) {
        if (accesses_++ % 64 == 0) queue_.Note();
        const uint32_t stops = stage_.stops;
        const int32_t dead = stage_.dead;
        const OalSemStatus before = StatusOf(record.key);
        const auto begin = Clock::now();
        const int32_t answer = access();
        auto took = std::chrono::duration_cast<milliseconds>(Clock::now() - begin);
        if (answer != 0 && answer != -1) Wrong("%s: the answer is %d", record.name, answer);
        if (stops % 2 != 0 || stage_.stops != stops) return answer == 0;

        const auto took_in_all = took;
        if (took > milliseconds(10)) took -= std::min(took, queue_.SinceNote());
        int64_t longest = stage_.longest_ms;
        while (took.count() > longest && !stage_.longest_ms.compare_exchange_weak(longest, took.count())) {
        }
        if (took > kLongest) Wrong("%s: waited %lld ms", record.name, static_cast<long long>(took.count()));
        if (answer == 0) return true;

        ++stage_.in_vain;
        if (took_in_all < kTimeout - milliseconds(1))
            Wrong("%s: -1 after %lld ms already", record.name, static_cast<long long>(took_in_all.count()));
        const bool was_free = before.held == 0 || before.holder_pid == dead;
        if (was_free && StatusOf(record.key).taken == before.taken)
            Wrong("%s: not to be had although nobody alive held it", record.name);
        return false;
    }

    Stage &stage_;
    Queue queue_;
    uint32_t accesses_ = 0;
    uint64_t recoveries_[kRecordCount] = {};  // as many were counted when it was whole, at least
};

// --- a worker ------------------------------------------------------------------------------------

// Accesses a record with a buffer that ends at a page that cannot be accessed.
[[noreturn]] void Crash(const Desk &desk, bool writer) {
    const Record &record = kRecords[desk.crash_record];
    const size_t page = static_cast<size_t>(sysconf(_SC_PAGESIZE));
    const size_t size = (desk.crash_after + page - 1) / page * page;
    void *memory = mmap(nullptr, size + kBufferSize, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (memory == MAP_FAILED || mprotect(memory, size, PROT_READ | PROT_WRITE) != 0) std::abort();
    std::memset(memory, desk.crash_byte, size);
    char *buffer = static_cast<char *>(memory) + size - desk.crash_after;
    if (writer) {
        record.write(buffer);
    } else {
        record.read(buffer);
    }
    Wrong("%s: the copy did not reach the buffer's end", record.name);
    std::abort();
}

[[noreturn]] void Work(Stage &stage, size_t me, unsigned seed) {
    signal(SIGSEGV, SIG_DFL);  // a sanitizer has a handler of its own
    signal(SIGBUS, SIG_DFL);
    constexpr rlimit kNoCore = {0, 0};
    setrlimit(RLIMIT_CORE, &kNoCore);
    std::minstd_rand random(seed);
    User user(stage);
    Desk &desk = stage.desks[me];
    for (int byte = 0;;) {
        if (desk.crash) Crash(desk, IsWriter(me));
        if (stage.rest) {
            desk.rests = true;
            while (stage.rest && !desk.crash) usleep(50);
            desk.rests = false;
            continue;
        }
        const size_t index = random() % kRecordCount;
        if (IsWriter(me)) {
            if (desk.accesses % 16 == 0) byte = 1 + static_cast<int>(random() % 255);
            user.Write(index, byte);
        } else {
            user.Read(index);
        }
        ++desk.accesses;
    }
}

// --- the judge -----------------------------------------------------------------------------------

// Where the complete lines of a stream that were not looked at yet begin.
std::vector<std::string> NewLines(const std::string &text, size_t &told) {
    const size_t end = text.rfind('\n') + 1;  // 0 when there is none
    if (end <= told) return {};
    std::vector<std::string> lines = LinesOf(text.substr(told, end - told));
    told = end;
    return lines;
}

struct Worker {
    Process process;
    size_t told;
};

// Runs in a process of its own, whose children the workers are: it uses the records like them.
class Judge {
  public:
    Judge(Stage &stage, unsigned seed) : stage_(stage), random_(seed), user_(stage) {
        for (size_t i = 0; i < kRecordCount; ++i) EXPECT_TRUE(user_.Write(i, 1));
        for (size_t i = 0; i < kWorkers; ++i) workers_.push_back(Hire(i));
    }

    // One is killed, now and then two, so that one may die while it recovers from the other.
    void KillRound() {
        std::vector<size_t> victims{Draw(kWorkers)};
        if (Draw(10) == 0) victims.push_back((victims[0] + 1 + Draw(kWorkers - 1)) % kWorkers);
        WaitUntilAtWork(victims[0]);
        usleep(static_cast<useconds_t>(Draw(500)));
        for (const size_t victim : victims) {
            workers_[victim].process.Signal(SIGKILL);
            if (victims.size() > 1) usleep(static_cast<useconds_t>(Draw(100)));
        }
        Bury(victims, SIGKILL);
        Inspect(victims, {});
        Replace(victims);
    }

    // One is sent into a copy that ends with a fault; every other time nobody else is at work, so that the
    // first to see what it left is known.
    void CrashRound() {
        const bool alone = Draw(2) == 0;
        const size_t victim = Draw(kWorkers);
        const size_t index = Draw(kRecordCount);
        const Record &record = kRecords[index];
        const size_t after = 8 * (1 + Draw(record.size / 8 - 1));
        WaitUntilAtWork(victim);
        int byte = 0;
        if (alone) {
            LetRest();
            byte = WholeByte(index);
        }
        const uint64_t recovered = StatusOf(record.key).recovered;
        Desk &desk = stage_.desks[victim];
        desk.crash_record = index;
        desk.crash_after = after;
        desk.crash_byte = byte % 255 + 1;
        desk.crash = true;
        Bury({victim}, SIGSEGV);
        if (alone) {
            EXPECT_EQ(StatusOf(record.key).recovered, recovered) << "nobody took it yet";
            const std::optional<int> found = Read(index);
            const bool torn = found == kTorn;
            const bool has_to_be = IsWriter(victim) && after >= record.unit;
            EXPECT_TRUE(torn || !has_to_be) << record.name << ", fault after " << after;
            EXPECT_TRUE(IsWriter(victim) || found == byte) << record.name << ": a reader's death changed it";
        }
        Inspect({victim}, {index});
        Replace({victim});
        stage_.rest = false;
    }

    // Some are stopped until others have waited in vain for what they hold, and then go on, or one of them is
    // killed every other time.
    void StopRound() {
        const size_t count = 1 + Draw(kWorkers - 1);
        const size_t first = Draw(kWorkers);
        std::vector<size_t> stopped;
        for (size_t i = 0; i < count; ++i) stopped.push_back((first + i) % kWorkers);
        ++stage_.stops;
        std::vector<Held> held;
        for (int tries = 0; held.empty() && tries < 1000; ++tries) {
            for (const size_t worker : stopped) workers_[worker].process.Signal(SIGCONT);
            WaitUntilAtWork(stopped[Draw(count)]);
            usleep(static_cast<useconds_t>(Draw(300)));
            for (const size_t worker : stopped) Stop(worker);
            held = HeldBy(stopped);
        }
        EXPECT_FALSE(held.empty()) << "never stopped while holding one";
        WaitInVain(held);
        held_while_stopped_ += held.size();

        std::vector<size_t> victims;
        std::vector<size_t> lost;
        if (!held.empty() && stop_rounds_++ % 2 == 0) {
            victims.push_back(held[0].worker);
            lost.push_back(held[0].record);
            workers_[victims[0]].process.Signal(SIGKILL);
            Bury(victims, SIGKILL);
        }
        for (const size_t worker : stopped) workers_[worker].process.Signal(SIGCONT);
        Inspect(victims, lost);
        ++stage_.stops;
        Replace(victims);
    }

    // mwctl counts what was counted here.
    void CompareWithTool() {
#ifdef MWCTL
        const Outcome outcome = RunProcess({}, [] { Execute({MWCTL, "status", "--json"}); });
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        for (size_t i = 0; i < kRecordCount; ++i) {
            const std::string label = "\"recovered\": ";
            const size_t semaphore = outcome.out.find("\"key\": " + std::to_string(kRecords[i].key));
            const size_t number = outcome.out.find(label, semaphore);
            ASSERT_NE(number, std::string::npos) << outcome;
            EXPECT_EQ(std::stoull(outcome.out.substr(number + label.size())), recovered_[i])
                << kRecords[i].name;
        }
#endif
    }

    void Finish(const char *what, int rounds) {
        uint64_t recovered = 0;
        for (const uint64_t count : recovered_) recovered += count;
        EXPECT_GT(recovered, 0u) << "nobody ever died with a semaphore";
        std::printf(
            "%s: %d rounds, %llu recoveries, %zu semaphores held by stopped processes, %u half-written "
            "records read, %u waits in vain, the longest %lld ms\n",
            what, rounds, static_cast<unsigned long long>(recovered), held_while_stopped_, stage_.torn.load(),
            stage_.in_vain.load(), static_cast<long long>(stage_.longest_ms.load()));
    }

  private:
    struct Held {
        size_t record;
        size_t worker;
    };

    size_t Draw(size_t below) { return random_() % below; }

    Worker Hire(size_t index) {
        new (&stage_.desks[index]) Desk{};
        seen_[index] = 0;
        const unsigned seed = static_cast<unsigned>(random_());
        return {Process({}, [this, index, seed] { Work(stage_, index, seed); }), 0};
    }

    void Replace(const std::vector<size_t> &victims) {
        for (const size_t victim : victims) workers_[victim] = Hire(victim);
    }

    // Until it has done something, also since it was last looked at.
    void WaitUntilAtWork(size_t worker) {
        const std::atomic<uint32_t> &accesses = stage_.desks[worker].accesses;
        EXPECT_TRUE(Soon([&] { return accesses != seen_[worker]; }));
        seen_[worker] = accesses;
    }

    void LetRest() {
        stage_.rest = true;
        for (const Desk &desk : stage_.desks) EXPECT_TRUE(Soon([&] { return desk.rests.load(); }));
    }

    // Waits for their end, and leaves some of them zombies for a while.
    void Bury(const std::vector<size_t> &victims, int by) {
        for (const size_t victim : victims) {
            siginfo_t info{};
            const int flags = WEXITED | (Draw(2) == 0 ? WNOWAIT : 0);
            waitid(P_PID, static_cast<id_t>(workers_[victim].process.pid()), &info, flags);
            EXPECT_TRUE(info.si_code == CLD_KILLED || info.si_code == CLD_DUMPED);
            EXPECT_EQ(info.si_status, by);
            stage_.dead = info.si_pid;
            stage_.desks[victim].rests = true;  // nobody need wait for it
        }
    }

    void Stop(size_t worker) {
        const pid_t pid = workers_[worker].process.pid();
        workers_[worker].process.Signal(SIGSTOP);
        siginfo_t info{};
        waitid(P_PID, static_cast<id_t>(pid), &info, WSTOPPED);
        EXPECT_EQ(info.si_code, CLD_STOPPED);
    }

    std::vector<Held> HeldBy(const std::vector<size_t> &stopped) {
        std::vector<Held> held;
        for (size_t i = 0; i < kRecordCount; ++i) {
            const OalSemStatus status = StatusOf(kRecords[i].key);
            for (const size_t worker : stopped) {
                if (status.held != 0 && status.holder_pid == workers_[worker].process.pid())
                    held.push_back({i, worker});
            }
        }
        return held;
    }

    // All of them at once, each by a process of its own.
    void WaitInVain(const std::vector<Held> &held) {
        std::vector<Process> waiters;
        for (const Held &one : held) {
            const Record &record = kRecords[one.record];
            const uint64_t timed_out = StatusOf(record.key).timed_out;
            waiters.emplace_back(ProcessSetup{}, [&record, timed_out] {
                std::memset(g_buffer, 9, sizeof g_buffer);
                const Queue queue;
                const auto begin = Clock::now();
                EXPECT_EQ(record.read(g_buffer), -1);
                const auto took = Clock::now() - begin;
                EXPECT_GE(took, kTimeout - milliseconds(1));
                EXPECT_LE(took, kLongest + queue.SinceNote());
                EXPECT_EQ(ByteOf(record), 9) << "something was handed out";
                EXPECT_GT(StatusOf(record.key).timed_out, timed_out);
            });
        }
        TakeOthers();
        for (Process &waiter : waiters) {
            const Outcome outcome = waiter.Wait();
            EXPECT_TRUE(outcome.Succeeded()) << outcome;
        }
    }

    // The semaphores that nobody else uses.
    void TakeOthers() {
        for (uint32_t key = kFirstKey; key < kFirstKey + kKeys; ++key) {
            const auto uses = [key](const Record &record) { return record.key == key; };
            if (std::any_of(std::begin(kRecords), std::end(kRecords), uses)) continue;
            EXPECT_EQ(OAL_SemLockByKey(key, kTimeout.count()), 0) << key;
            EXPECT_EQ(OAL_SemUnLockByKey(key, 0), 0) << key;
        }
    }

    // Reads a record; when others were always first, once more while they rest.
    std::optional<int> Read(size_t index) {
        std::optional<int> byte = user_.Read(index);
        if (byte) return byte;
        const bool rest = stage_.rest;
        LetRest();
        byte = user_.Read(index);
        stage_.rest = rest;
        EXPECT_TRUE(byte) << kRecords[index].name << " is not to be had, nobody uses it";
        return byte;
    }

    // What the record consists of, after writing it anew when it is torn; nobody else is at work.
    int WholeByte(size_t index) {
        std::optional<int> byte = Read(index);
        if (byte == kTorn) {
            EXPECT_TRUE(user_.Write(index, 1));
            byte = Read(index);
        }
        EXPECT_TRUE(byte && byte != kTorn);
        tearable_[index] = false;
        return byte.value_or(1);
    }

    // Every semaphore after these died, and what was logged and counted of their deaths: one recovery of each
    // record in `lost`, and of others one for each of the dead at most.
    void Inspect(const std::vector<size_t> &victims, const std::vector<size_t> &lost) {
        TakeOthers();
        const auto writes = [](size_t victim) { return IsWriter(victim); };
        const bool writer_died = std::any_of(victims.begin(), victims.end(), writes);
        uint64_t counts[kRecordCount] = {};
        for (size_t i = 0; i < kRecordCount; ++i) {
            const Record &record = kRecords[i];
            const std::optional<int> byte = Read(i);  // whoever recovered it was done by then
            const OalSemStatus status = StatusOf(record.key);
            counts[i] = status.recovered - recovered_[i];
            recovered_[i] = status.recovered;
            const bool was_lost = std::find(lost.begin(), lost.end(), i) != lost.end();
            EXPECT_TRUE(!was_lost || counts[i] == 1) << record.name << ": " << counts[i];
            EXPECT_LE(counts[i], victims.size()) << record.name;
            EXPECT_TRUE(counts[i] == 0 || IsOneOf(victims, status.recovered_pid)) << status.recovered_pid;
            if (counts[i] != 0 && writer_died) tearable_[i] = true;
            if (byte == kTorn) {
                EXPECT_TRUE(tearable_[i]) << record.name << ": torn, and no writer died in it";
            } else {
                tearable_[i] = false;
            }
        }
        size_t lines[kRecordCount] = {};
        for (Worker &worker : workers_) Note(NewLines(worker.process.Errors(), worker.told), victims, lines);
        Note(NewLines(OwnErrors(), told_), victims, lines);
        for (size_t i = 0; i < kRecordCount; ++i) {
            // One that dies while it recovers may have logged it and not counted it yet.
            EXPECT_GE(lines[i], counts[i]) << kRecords[i].name;
            EXPECT_LE(lines[i], victims.size() > 1 ? counts[i] + 1 : counts[i]) << kRecords[i].name;
        }
    }

    bool IsOneOf(const std::vector<size_t> &victims, int pid) const {
        return std::any_of(victims.begin(), victims.end(),
                           [&](size_t victim) { return workers_[victim].process.pid() == pid; });
    }

    void Note(const std::vector<std::string> &news, const std::vector<size_t> &victims,
              size_t (&lines)[kRecordCount]) {
        for (const std::string &line : news) {
            if (line.find("sem lock failed, Connection timed out") != std::string::npos) continue;
            bool expected = false;
            for (size_t i = 0; i < kRecordCount; ++i) {
                const std::string begin = "semaphore " + std::to_string(kRecords[i].key) + " recovered from ";
                for (const size_t victim : victims) {
                    const std::string pid = std::to_string(workers_[victim].process.pid());
                    if (line != begin + "process " + pid + ", which ended while holding it") continue;
                    expected = true;
                    ++lines[i];
                }
            }
            EXPECT_TRUE(expected) << line;
        }
    }

    // What this process wrote to its standard error, which is a file.
    static std::string OwnErrors() { return ReadFile("/proc/self/fd/2"); }

    Stage &stage_;
    std::minstd_rand random_;
    User user_;
    std::vector<Worker> workers_;
    size_t told_ = 0;
    size_t held_while_stopped_ = 0;
    uint32_t seen_[kWorkers] = {};
    int stop_rounds_ = 0;
    uint64_t recovered_[kRecordCount] = {};
    bool tearable_[kRecordCount] = {};  // a writer died in it since it was last seen whole
};

// --- the tests -----------------------------------------------------------------------------------

unsigned Setting(const char *name, unsigned otherwise) {
    const char *text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

class KilledAnywhere : public AreaTest {
  protected:
    void Run(const char *what, int part, void (Judge::*round)()) {
        if (!DeathIsReported()) GTEST_SKIP() << "the kernel's notice of a dead holder does not arrive here";
        CreateArea();
        const unsigned seed = Setting("MIDWARE_KILL_SEED", 1);
        const int rounds = std::max(static_cast<int>(Setting("MIDWARE_KILL_ROUNDS", KILL_ROUNDS)) / part, 2);
        setup_.deadline = std::chrono::seconds(1200);
        const Shared<Stage> stage;
        const Outcome outcome = RunProcess(setup_, [&] {
            Judge judge(*stage, seed);
            int i = 0;
            while (i < rounds && !HasFailure()) {
                (judge.*round)();
                if (++i % ((rounds + 3) / 4) == 0) judge.CompareWithTool();
            }
            if (HasFailure()) std::printf("seed %u, round %d of %d\n", seed, i, rounds);
            judge.Finish(what, rounds);
        });
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        std::printf("seed %u, %s", seed, outcome.out.c_str());
    }
};

TEST_F(KilledAnywhere, OthersGetTheSemaphoresAndNoHalfRecordUnannounced) {
    Run("killed", 1, &Judge::KillRound);
}

TEST_F(KilledAnywhere, AFaultInsideTheCopyIsADeathLikeOthers) { Run("crashed", 10, &Judge::CrashRound); }

TEST_F(KilledAnywhere, StoppedHoldersAreWaitedForInVainAndGoOnOrAreKilled) {
    Run("stopped", 100, &Judge::StopRound);
}

}  // namespace
