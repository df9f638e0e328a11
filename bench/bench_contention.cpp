// What readers and a writer cost each other: processes in tight loops, on one module and on all fifteen.
#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <bit>
#include <cstring>

#include "accessors.h"
#include "bench.h"
#include "midware.h"
#include "peers.h"

namespace bench {
namespace {

// Counts times with a resolution of 3 per cent.
struct Times {
    static constexpr unsigned kFine = 5;  // bits below the highest one
    static unsigned IndexOf(uint64_t value) {
        if (value < (1u << kFine)) return static_cast<unsigned>(value);
        const unsigned high = static_cast<unsigned>(std::bit_width(value)) - 1;
        return ((high - kFine + 1) << kFine) +
               static_cast<unsigned>(value >> (high - kFine) & ((1u << kFine) - 1));
    }
    static uint64_t ValueOf(unsigned index) {
        const unsigned block = index >> kFine, low = index & ((1u << kFine) - 1);
        return block == 0 ? low : ((uint64_t{1} << kFine) + low) << (block - 1);
    }
    uint64_t counts[48 << kFine];
};

struct alignas(64) Tally {
    uint64_t calls, late, worst;
    Times times;
};

struct Shared {
    std::atomic<uint32_t> ready, go, stop;
};

// Longer than a call may wait, or else none could run out of time.
constexpr double kWindow = 0.8;

enum class Place { kOne, kAll };
constexpr unsigned kOneRecord = 0;

// One process: as many calls as it can make until it is told to stop.
int Loop(Peer &peer, bool writes, unsigned first, Place place, unsigned records, Shared &shared,
         Tally &tally) {
    try {
        peer.Open();
        unsigned record = place == Place::kOne ? kOneRecord : first % records;
        char *const buffer = Buffer();
        writes ? peer.Set(record, buffer, 1) : peer.Get(record, buffer, 1);
        shared.ready.fetch_add(1);
        while (shared.go.load() == 0) usleep(200);
        uint64_t before = Now();
        while (shared.stop.load(std::memory_order_relaxed) == 0) {
            tally.late += writes ? peer.Set(record, buffer, 1) : peer.Get(record, buffer, 1);
            const uint64_t now = Now();
            ++tally.times.counts[Times::IndexOf(now - before)];
            tally.worst = std::max(tally.worst, now - before);
            ++tally.calls;
            before = now;
            if (place == Place::kAll && ++record == records) record = 0;
        }
        return 0;
    } catch (const std::exception &) {
        return 1;
    }
}

double Percentile(const std::vector<const Tally *> &tallies, double share) {
    uint64_t all = 0, seen = 0;
    for (const Tally *tally : tallies) all += tally->calls;
    for (unsigned i = 0; i < std::size(tallies[0]->times.counts); ++i) {
        for (const Tally *tally : tallies) seen += tally->times.counts[i];
        if (static_cast<double>(seen) >= share * static_cast<double>(all))
            return static_cast<double>(Times::ValueOf(i));
    }
    return 0;
}

struct Result {
    Figure operations, writes, median, p99, p999, worst, late, fairness;
};

void RunOnce(Peer &peer, unsigned readers, Place place, unsigned records, double seconds, Result &result) {
    static Shared *const shared = static_cast<Shared *>(SharedMemory(sizeof(Shared)));
    static Tally *const tallies = static_cast<Tally *>(SharedMemory(33 * sizeof(Tally)));
    std::memset(tallies, 0, 33 * sizeof(Tally));
    new (shared) Shared{};

    std::vector<pid_t> processes;
    for (unsigned i = 0; i <= readers; ++i) {
        processes.push_back(
            Fork([&, i] { return Loop(peer, i == readers, i, place, records, *shared, tallies[i]); }));
    }
    const uint64_t patience = Now() + 5000000000;
    while (shared->ready.load() <= readers && Now() < patience) usleep(200);
    bool failed = shared->ready.load() <= readers;
    const uint64_t start = Now();
    shared->go.store(1);
    usleep(static_cast<useconds_t>(seconds * 1e6));
    shared->stop.store(1);
    const double took = static_cast<double>(Now() - start) / 1e9;
    for (const pid_t pid : processes) {
        int status = 0;
        waitpid(pid, &status, 0);
        failed = failed || status != 0;
    }
    if (failed) throw Unable("a process of it failed under contention");

    std::vector<const Tally *> all, reading;
    uint64_t calls = 0, late = 0, worst = 0, slowest = UINT64_MAX, fastest = 0;
    for (unsigned i = 0; i <= readers; ++i) {
        const Tally &tally = tallies[i];
        all.push_back(&tally);
        calls += tally.calls;
        late += tally.late;
        worst = std::max(worst, tally.worst);
        if (i == readers) continue;
        slowest = std::min(slowest, tally.calls);
        fastest = std::max(fastest, tally.calls);
    }
    result.operations.samples.push_back(static_cast<double>(calls) / took);
    result.writes.samples.push_back(static_cast<double>(tallies[readers].calls) / took);
    result.median.samples.push_back(Percentile(all, 0.5));
    result.p99.samples.push_back(Percentile(all, 0.99));
    result.p999.samples.push_back(Percentile(all, 0.999));
    result.worst.samples.push_back(static_cast<double>(worst));
    result.late.samples.push_back(static_cast<double>(late));
    if (readers > 1)
        result.fairness.samples.push_back(static_cast<double>(slowest) /
                                          static_cast<double>(std::max<uint64_t>(fastest, 1)));
}

void Contend(const std::string &group, Place place, const std::vector<std::unique_ptr<Peer>> &peers,
             unsigned records, unsigned rounds, double seconds) {
    for (const unsigned readers : {1u, 2u, 4u, 8u, 16u, 32u}) {
        const std::string row = std::to_string(readers) + (readers == 1 ? " reader" : " readers");
        std::vector<Result> results(peers.size());
        std::vector<bool> able(peers.size(), true);
        for (unsigned round = 0; round < rounds; ++round) {
            for (size_t i = 0; i < peers.size(); ++i) {
                // The library and the bare mutex, which it is built on, in every round; the others once.
                if (!able[i] || (round > 0 && peers[i]->name != kLibrary && peers[i]->name != kMutex))
                    continue;
                try {
                    RunOnce(*peers[i], readers, place, records, seconds, results[i]);
                } catch (const std::exception &error) {
                    Missing(peers[i]->name + ", " + row, error.what());
                    able[i] = false;
                }
            }
        }
        for (size_t i = 0; i < peers.size(); ++i) {
            Result &result = results[i];
            const auto add = [&](Figure &figure, const char *kind, const char *unit) {
                if (figure.samples.empty()) return;
                Add({group + "-" + kind, row, static_cast<double>(readers), peers[i]->name, unit,
                     std::move(figure.samples)});
            };
            add(result.operations, "operations", "/s");
            add(result.writes, "writes", "/s");
            add(result.median, "median", "ns");
            add(result.p99, "p99", "ns");
            add(result.p999, "p99.9", "ns");
            add(result.worst, "worst", "ns");
            add(result.late, "time-outs", "");
            add(result.fairness, "fairness", "");
        }
        WantFigure(group + "-time-outs", row, kLibrary, Is::kAtMost, 0);
    }
}

// With the processor's temperature as the one record, 72 bytes.
void RunOneModule() {
    const std::span<const Accessor> all = TypicalAccessors();
    const Accessor *cpu = nullptr;
    for (const Accessor &accessor : all) {
        if (accessor.bytes == 72) cpu = &accessor;
    }
    std::vector<std::unique_ptr<Peer>> peers;
    for (auto &peer : StartPeers({cpu->bytes})) {
        if (peers.empty()) {
            peers.push_back(MakeLibrary({cpu, 1}));
            peers[0]->Start({});
        }
        // Its guard is a semaphore of the C library that a killed holder keeps for ever.
        if (peer->name != "Boost.Interprocess") peers.push_back(std::move(peer));
    }
    std::memset(Buffer(), 0, cpu->bytes);
    Contend("one", Place::kOne, peers, 1, Quick() ? 1 : 3, kWindow);
}

void RunAllModules() {
    const std::span<const Accessor> accessors = SmallestAccessors();
    std::vector<std::unique_ptr<Peer>> peers;
    peers.push_back(MakeLibrary(accessors));
    peers[0]->Start({});
    peers.push_back(MakeMutex());
    peers[1]->Start(SizesOf(accessors));
    std::memset(Buffer(), 0, MW_AREA_SIZE);
    Contend("fifteen", Place::kAll, peers, static_cast<unsigned>(accessors.size()), Quick() ? 1 : 3, kWindow);
}

// What a get costs a process that uses more and more modules in turn.
void RunModules() {
    const std::span<const Accessor> accessors = SmallestAccessors();
    std::vector<std::unique_ptr<Peer>> peers;
    peers.push_back(MakeLibrary(accessors));
    peers.push_back(MakeMutex());
    for (auto &peer : peers) peer->Start(SizesOf(accessors));
    // The words first.
    std::vector<unsigned> order;
    for (const bool word : {true, false}) {
        for (unsigned i = 0; i < accessors.size(); ++i) {
            if ((accessors[i].bytes == 4) == word) order.push_back(i);
        }
    }
    for (unsigned used = 1; used <= order.size(); ++used) {
        Race race("modules", std::to_string(used) + (used == 1 ? " module" : " modules"), used);
        for (const auto &peer : peers) {
            Peer *one = peer.get();
            race.Enter(one->name, [one, used, &order](uint64_t times) {
                for (uint64_t i = 0; i < times; ++i) {
                    for (unsigned k = 0; k < used; ++k) Check(one->Get(order[k], Buffer(), 1) == 0, "a get");
                }
            });
        }
        race.Run(Rounds(21));
    }
}

const Measurement kOneModule("contention-1",
                             "readers and one writer of one record of 72 bytes, processes in tight loops",
                             RunOneModule);
const Measurement kAllModules("contention-15", "the same, each going round all fifteen modules",
                              RunAllModules);
const Measurement kModules("modules", "one get from each of more and more modules in turn", RunModules);

}  // namespace
}  // namespace bench
