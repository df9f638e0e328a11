// A machine made of files in a temporary directory, and a host that reads it and keeps what it says.
#ifndef COLLECT_TREE_H
#define COLLECT_TREE_H

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "host.h"

namespace collect {

// A new directory, in memory where that is possible: a capture has thousands of small files.
inline std::string NewDirectory() {
    const char *memory = "/dev/shm";
    const bool own_choice = std::getenv("TMPDIR") != nullptr || access(memory, W_OK) != 0;
    const std::filesystem::path place =
        own_choice ? std::filesystem::temp_directory_path() : std::filesystem::path(memory);
    std::string name = (place / "mwcollect-test-XXXXXX").string();
    return mkdtemp(name.data()) != nullptr ? name : std::string();
}

class Tree {
  public:
    Tree() : top_(NewDirectory()) { EXPECT_NE(top_, ""); }
    ~Tree() {
        if (!top_.empty()) std::filesystem::remove_all(top_);
    }
    Tree(const Tree &) = delete;
    Tree &operator=(const Tree &) = delete;

    Tree &File(const std::string &path, std::string_view content) {
        std::ofstream(Place(path), std::ios::binary)
            .write(content.data(), static_cast<std::streamsize>(content.size()));
        return *this;
    }
    Tree &Dir(const std::string &path) {
        std::filesystem::create_directories(top_ + path);
        return *this;
    }
    Tree &Link(const std::string &path, const std::string &target) {
        std::filesystem::create_symlink(target, Place(path));
        return *this;
    }
    const std::string &top() const { return top_; }

  private:
    std::string Place(const std::string &path) const {
        std::filesystem::create_directories(std::filesystem::path(top_ + path).parent_path());
        return top_ + path;
    }

    std::string top_;
};

// A host below a directory, and the lines that it has printed.
class HeardHost {
  public:
    explicit HeardHost(const std::string &root, Host::Lookup lookup = Host::Lookup::kKernel)
        : log_([this](std::string_view line) { lines_.emplace_back(line); }),
          host_(*Host::Open(root, log_, lookup)) {}
    explicit HeardHost(const Tree &tree, Host::Lookup lookup = Host::Lookup::kKernel)
        : HeardHost(tree.top(), lookup) {}

    const Host &operator*() const { return host_; }
    const Host *operator->() const { return &host_; }
    const std::vector<std::string> &lines() const { return lines_; }
    Log &log() { return log_; }

    // The only line, without the tree's place before the file's name; "" where there is none.
    std::string Line() const {
        EXPECT_LE(lines_.size(), 1u) << ::testing::PrintToString(lines_);
        if (lines_.empty()) return {};
        std::string line = lines_.front();
        const std::string top = host_.Shown("");
        for (size_t at = line.find(top); !top.empty() && at != line.npos; at = line.find(top, at))
            line.erase(at, top.size());
        return line;
    }

  private:
    std::vector<std::string> lines_;
    Log log_;
    Host host_;
};

using Strings = std::vector<std::string>;

}  // namespace collect

#endif
