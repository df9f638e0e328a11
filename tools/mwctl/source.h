// Where records are read from: the live area, a saved one, or copies of the live one that are taken without
// its semaphores. main() chooses; every command then calls the exported functions of the library as usual,
// since this program stands in for the platform's functions of memory, semaphores and configuration files.
#ifndef MWCTL_SOURCE_H
#define MWCTL_SOURCE_H

#include <csignal>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "hov_midware.h"
#include "saved_area.h"

namespace mwctl {

// A saved area with the bytes that it consists of.
struct SavedFile {
    std::vector<std::byte> bytes{};
    SavedArea saved{};
    std::string problem{};  // one line that names the file; empty when it was read
};
SavedFile OpenSaved(const std::string &path);

// To be called before anything of the platform is. The problem, or nothing.
std::string ReadFromSaved(const std::string &path);
// When what is read was saved, in seconds since 1970; nothing when it is the live area.
std::optional<int64_t> SavedTime();
// Each module is copied when its semaphore would be taken.
void ReadUnlocked();
bool ReadsUnlocked();

// Copies the bytes of a module's area under its semaphore. The problem, or nothing.
std::string CopyOut(const midware::Module &module, std::span<std::byte> to);
// Replaces them, and hands out what was there.
std::string Exchange(const midware::Module &module, std::span<const std::byte> from,
                     std::span<std::byte> before);

// A configuration file of the live system.
struct ConfigBytes {
    SavedConfig::State state = SavedConfig::State::kMissing;
    std::vector<std::byte> bytes{};
};
ConfigBytes ReadConfig(std::string_view path);

// Keeps signals that end the program waiting, so that nothing temporary stays behind.
class SignalsHeld {
  public:
    SignalsHeld();
    ~SignalsHeld();
    SignalsHeld(const SignalsHeld &) = delete;
    SignalsHeld &operator=(const SignalsHeld &) = delete;

  private:
    sigset_t before_;
};

// Writes all of it, or says with errno why not.
bool WriteAll(int file, std::span<const std::byte> bytes);

}  // namespace mwctl

#endif
