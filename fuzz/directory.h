// A directory of the process's own, in memory where that is possible, removed at the end.
#ifndef FUZZ_DIRECTORY_H
#define FUZZ_DIRECTORY_H

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <utility>

namespace fuzz {

inline const std::string &Directory() {
    static const std::string &directory = *[] {
        const bool memory = access("/dev/shm", W_OK) == 0;
        const std::filesystem::path place = memory ? "/dev/shm" : std::filesystem::temp_directory_path();
        std::string name = (place / "midware-fuzz-XXXXXX").string();
        if (mkdtemp(name.data()) == nullptr) {
            std::perror(name.c_str());
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
