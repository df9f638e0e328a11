// What a user would pick instead of the library: each keeps records of given sizes under numbers and gets and
// sets them.
#ifndef PEERS_H
#define PEERS_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace bench {

class Peer {
  public:
    virtual ~Peer() = default;
    // Once, before any process opens it: starts what has to run and stores zeros as records 0, 1, ... of
    // these sizes. Throws Unable.
    virtual void Start(const std::vector<size_t> &sizes) = 0;
    // In each process that uses it, before the first call.
    virtual void Open() {}
    // A copy of a record out or in, so many times. The answer is how many failed by running out of time.
    virtual uint64_t Get(unsigned record, void *to, uint64_t times) = 0;
    virtual uint64_t Set(unsigned record, const void *from, uint64_t times) = 0;

    const std::string name;
    const bool survives;  // a holder or client that is killed in the middle of a call locks nobody out

  protected:
    Peer(std::string name_of_it, bool survives_a_kill)
        : name(std::move(name_of_it)), survives(survives_a_kill) {}
};

inline constexpr char kCopy[] = "memcpy";
inline constexpr char kMutex[] = "robust mutex";

std::unique_ptr<Peer> MakeCopy();     // no guard at all
std::unique_ptr<Peer> MakeMutex();    // robust, process-shared, a mutex a record
std::unique_ptr<Peer> MakeSystemV();  // semop with SEM_UNDO around shared memory
std::unique_ptr<Peer> MakeFlock();    // flock around shared memory
std::unique_ptr<Peer> MakeBoost();    // named_mutex and shared_memory_object
std::unique_ptr<Peer> MakeLmdb();
std::unique_ptr<Peer> MakeSqlite();
std::unique_ptr<Peer> MakeRedis();
std::unique_ptr<Peer> MakeDbus();

// All of them that start, with these records; those that do not are reported as missing.
std::vector<std::unique_ptr<Peer>> StartPeers(const std::vector<size_t> &sizes);
bool TryStart(Peer &peer, const std::vector<size_t> &sizes);

// Objects that the kernel would keep after the end of the processes: made before the first of them starts and
// removed after the last has ended.
void CreateKernelObjects();
void RemoveKernelObjects();

// Memory that child processes share.
void *SharedMemory(size_t size);

// Servers, started once in a run.
const std::string &RedisSocket();
const std::string &BusAddress();

// One value of an object as a D-Bus property.
struct Property {
    std::string name;
    char type;  // y q u t n i x d s, or 'b' for an array of bytes
    std::string bytes;
};

struct Object {
    std::string path;
    std::vector<Property> properties;
};

// Starts a process that offers these objects on the bus under this name: Get, Set and GetAll of their
// properties, and GetManagedObjects at "/".
void OfferObjects(const std::string &bus_name, std::vector<Object> objects);

}  // namespace bench

#endif
