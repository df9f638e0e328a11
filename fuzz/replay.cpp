// Runs one target over stored inputs, without a fuzzer: replay FILE_OR_DIRECTORY...
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "input.h"

namespace fs = std::filesystem;

namespace {

bool Replay(const fs::path &file) {
    std::ifstream in(file, std::ios::binary);
    const std::vector<char> bytes{std::istreambuf_iterator<char>(in), {}};
    if (!in.is_open() || in.bad()) {
        std::fprintf(stderr, "%s cannot be read\n", file.c_str());
        return false;
    }
    // Exactly as long as the input, so that a byte behind it is noticed.
    const std::vector<uint8_t> data(bytes.begin(), bytes.end());
    LLVMFuzzerTestOneInput(data.data(), data.size());
    return true;
}

}  // namespace

int main(int argc, char **argv) {
    size_t inputs = 0;
    for (int i = 1; i < argc; ++i) {
        std::vector<fs::path> files;
        if (fs::is_directory(argv[i])) {
            for (const auto &entry : fs::directory_iterator(argv[i])) files.push_back(entry.path());
            std::sort(files.begin(), files.end());
        } else {
            files.emplace_back(argv[i]);
        }
        for (const fs::path &file : files) {
            if (!Replay(file)) return 1;
            ++inputs;
        }
    }
    if (inputs == 0) {
        std::fprintf(stderr, "there is no input to replay\n");
        return 1;
    }
    std::fprintf(stderr, "%zu inputs\n", inputs);
    return 0;
}
