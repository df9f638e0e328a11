// Machines made of a few files, read by all collectors: what they write lies in the area, and what they print
// is printable.
//
// An input is a sequence of records: RS PATH US CONTENT, a file; RS PATH GS TARGET, a symbolic link. FS ends
// a round: the collectors run, and what follows replaces or adds files. ESC takes the next byte as it is.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <set>
#include <vector>

#include "collector.h"
#include "directory.h"
#include "hov_midware.h"
#include "input.h"
#include "memory_platform.h"

namespace {

constexpr char kRecord = '\x1e';
constexpr char kContent = '\x1f';
constexpr char kTarget = '\x1d';
constexpr char kRound = '\x1c';
constexpr char kEscape = '\x1b';

constexpr size_t kEntriesMax = 200;
constexpr int kRoundsMax = 3;

// A tree on disk. Every path lies below the top, and none leads through a link.
class Tree {
  public:
    ~Tree() {
        for (auto entry = made_.rbegin(); entry != made_.rend(); ++entry) {
            if (unlink(entry->c_str()) != 0) rmdir(entry->c_str());
        }
    }

    void Add(const std::string &path, const std::string &content, bool is_link) {
        if (made_.size() >= kEntriesMax) return;
        std::string place = fuzz::Directory();
        size_t at = 0;
        for (;;) {
            while (at < path.size() && path[at] == '/') ++at;
            const size_t end = std::min(path.find('/', at), path.size());
            const std::string name = path.substr(at, end - at);
            if (name.empty() || name == "." || name == ".." || name.size() > 255) return;
            place += "/" + name;
            if (links_.contains(place) || place.size() > 2048) return;
            at = end;
            if (path.find_first_not_of('/', at) == path.npos) break;
            if (mkdir(place.c_str(), 0755) == 0) {
                made_.push_back(place);
            } else if (errno != EEXIST) {
                return;
            }
        }
        if (is_link) {
            if (symlink(content.c_str(), place.c_str()) == 0) {
                made_.push_back(place);
                links_.insert(place);
            }
            return;
        }
        const int fd = open(place.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_NOFOLLOW | O_CLOEXEC, 0644);
        if (fd < 0) return;
        made_.push_back(place);
        fuzz::Demand(write(fd, content.data(), content.size()) == static_cast<ssize_t>(content.size()),
                     "no room left");
        close(fd);
    }

  private:
    std::vector<std::string> made_;
    std::set<std::string> links_;
};

void CheckLine(std::string_view line) {
    for (const char c : line) {
        const unsigned char byte = static_cast<unsigned char>(c);
        fuzz::Demand(byte >= 0x20 && byte != 0x7F, "a line holds a control character", line);
    }
}

class Machine {
  public:
    Machine() : log_(CheckLine), host_(*collect::Host::Open(fuzz::Directory(), log_)) {
        for (const collect::CollectorType &type : collect::CollectorTypes())
            collectors_.push_back(type.make());
    }

    void Round() {
        collect::Writer writer(log_, false);
        for (const auto &collector : collectors_) {
            writer.Begin("fuzz");
            collector->Collect(host_, writer);
            writer.End();
        }
        const memory_platform::State &now = memory_platform::Now();
        fuzz::Demand(now.misuse.empty(), now.misuse);
        fuzz::Demand(now.held.empty(), "a semaphore is still held");
        fuzz::Demand(writer.Failed() == 0, "the area refused what a collector wrote");
    }

  private:
    collect::Log log_;
    collect::Host host_;
    std::vector<std::unique_ptr<collect::Collector>> collectors_;
};

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    memory_platform::Reset();
    Tree tree;
    Machine machine;
    std::string path, content;
    std::string *part = nullptr;
    bool is_link = false;
    int rounds = 0;
    const auto finish = [&] {
        if (part != nullptr) tree.Add(path, content, is_link);
        path.clear();
        content.clear();
        part = nullptr;
        is_link = false;
    };
    for (size_t i = 0; i < size; ++i) {
        const char c = static_cast<char>(data[i]);
        if (c == kRecord) {
            finish();
            part = &path;
        } else if (c == kRound) {
            finish();
            if (++rounds < kRoundsMax) machine.Round();
        } else if ((c == kContent || c == kTarget) && part == &path) {
            part = &content;
            is_link = c == kTarget;
        } else if (part != nullptr) {
            if (c == kEscape && i + 1 < size) ++i;
            *part += static_cast<char>(data[i]);
        }
    }
    finish();
    machine.Round();
    return 0;
}
