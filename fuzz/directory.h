// A directory of the process's own, in memory, removed at the end.
#ifndef FUZZ_DIRECTORY_H
#define FUZZ_DIRECTORY_H

#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace fuzz {

inline const std::string &Directory() {
    static const std::string &directory = *[] {
        std::string name = "/dev/shm/midware-fuzz-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) {
            std::perror("/dev/shm");
            std::exit(1);
        }
        std::atexit([] {
            std::error_code ignored;
            std::filesystem::remove_all(Directory(), ignored);
        });
        return new std::string(std::move(name));  // outlives what runs at the end
    }();
    return directory;
}

}  // namespace fuzz

#endif
