// A server that does not exist, as the files in which a kernel would show it: for work on services without
// hardware. The collectors read it as they read a captured machine.
#ifndef MWCOLLECT_SIMULATE_H
#define MWCOLLECT_SIMULATE_H

#include <cstdint>
#include <map>
#include <string>

namespace collect {

// The rounds at which something happens to it, and to what.
inline constexpr uint32_t kModuleErrs = 10;     // a memory module reports correctable errors, more each round
inline constexpr uint32_t kFanSlows = 20;       // a fan turns slower each round
inline constexpr uint32_t kFanStops = 30;       // and stands still
inline constexpr uint32_t kSupplyLost = 40;     // a power supply loses its input, the other one takes over
inline constexpr uint32_t kModuleFails = 50;    // the memory module reports an uncorrectable error
inline constexpr uint32_t kFailingModule = 23;  // numbers from 1 on, as printed on the board
inline constexpr uint32_t kFailingFan = 5;
inline constexpr uint32_t kFailingSupply = 2;

inline constexpr uint32_t kUsualSeed = 1;

// By path on the machine. Which ones there are is the same in every round.
struct SimulatedFiles {
    std::map<std::string, std::string> files;  // contents
    std::map<std::string, std::string> links;  // targets
};

// The whole machine in a round. Depends on nothing else: the same numbers make the same machine everywhere.
SimulatedFiles SimulateServer(uint32_t seed, uint32_t round);

// The machine as a tree below a directory of its own, which goes with the object.
class Simulation {
  public:
    explicit Simulation(uint32_t seed) : seed_(seed) {}
    ~Simulation();
    Simulation(const Simulation &) = delete;
    Simulation &operator=(const Simulation &) = delete;

    // Lays the machine out as it is in a round; answers why that cannot be done, or nothing.
    std::string Show(uint32_t round);

    const std::string &root() const { return root_; }

  private:
    uint32_t seed_;
    std::string root_;
    std::map<std::string, std::string> shown_;  // contents of the files as they are
};

}  // namespace collect

#endif
