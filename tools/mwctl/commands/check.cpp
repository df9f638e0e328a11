// mwctl check: looks for everything that can be wrong with an installation. Changes nothing.
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "area.h"
#include "command.h"
#include "live.h"
#include "oal.h"
#include "output.h"
#include "pch/hov_midpch.h"
#include "text.h"
#include "value.h"
#include "views.h"
#include "walk.h"

namespace mwctl {
namespace {

using Json = nlohmann::ordered_json;

bool as_json = false;

constexpr mode_t kObjectMode = 0660;
constexpr off_t kLargestConfig = 1 << 20;   // the platform reads none that is larger
constexpr off_t kLargestJournal = 1 << 20;  // it is rotated before
constexpr size_t kMostOfAKind = 10;         // findings in one module; the others are counted

constexpr const char *kConfigs[] = {"/conf/ext/hostusagecfg.ini", "/conf/ext/custom_pchdisk_config.ini"};
constexpr const char *kDirectories[] = {"/conf/ext", "/data/log"};

struct Finding {
    std::string_view check;
    std::string subject;
    std::string problem;
    std::string remedy;
};

std::vector<Finding> findings;

void Find(std::string_view check, std::string subject, std::string problem, std::string remedy) {
    findings.push_back({check, std::move(subject), std::move(problem), std::move(remedy)});
}

// --- the files of the shared area

// Whether the platform will use the file. `size` of 0: any.
bool CheckObject(std::string_view check, const std::string &path, off_t size) {
    const size_t before = findings.size();
    const std::string anew =
        fmt::format("stop the programs that use it, remove {}, and run midware-init", path);
    struct stat status {};
    const std::string directory = path.substr(0, path.rfind('/'));
    if (stat(directory.c_str(), &status) == 0 && (status.st_mode & S_IWOTH) != 0 &&
        (status.st_mode & S_ISVTX) == 0) {
        Find(check, directory, "anybody may exchange the files in it",
             fmt::format("chmod o-w {}", directory));
    }
    if (lstat(path.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) {
            Find(check, path, "does not exist", "run midware-init");
        } else {
            Find(check, path, fmt::format("cannot be reached: {}", std::strerror(errno)),
                 "run this as root or as a member of the group that owns it");
        }
        return false;
    }
    if (!S_ISREG(status.st_mode)) {
        Find(check, path, S_ISLNK(status.st_mode) ? "is a symbolic link" : "is no regular file", anew);
        return false;
    }
    if (size != 0 && status.st_size != size)
        Find(check, path, fmt::format("has {} bytes, not {}", status.st_size, size), anew);
    const mode_t mode = status.st_mode & 07777;
    if ((mode & ~kObjectMode) != 0 || (mode & 0600) != 0600) {
        Find(check, path, fmt::format("has mode {:04o}, not {:04o}", mode, kObjectMode),
             fmt::format("chmod {:04o} {}", kObjectMode, path));
    }
    if (status.st_uid != 0 && status.st_uid != geteuid()) {
        Find(check, path, fmt::format("belongs to user {}, neither to root nor to this user", status.st_uid),
             fmt::format("chown root {}", path));
    } else if (access(path.c_str(), R_OK | W_OK) != 0) {
        Find(check, path, "may not be read and written by this user",
             "run this as root or as a member of the group that owns it");
    }
    return findings.size() == before;
}

bool CheckFormat(const std::string &path) {
    OalLocksFormat found{};
    OalLocksFormat ours{};
    if (!tools::LocksFormat(found, ours)) return true;
    const std::string anew =
        fmt::format("stop the programs that use it, remove {}, and run midware-init", path);
    std::string problem;
    if (found.version == 0) {
        problem = "holds no semaphores";
    } else if (found.version != ours.version) {
        problem = fmt::format("its layout has version {}, this program's {}: made by another release",
                              found.version, ours.version);
    } else if (found.word_size != ours.word_size || found.lock_size != ours.lock_size) {
        problem =
            fmt::format("made by a {}-bit process with locks of {} bytes, this one has {} bits and {} bytes",
                        found.word_size * 8, found.lock_size, ours.word_size * 8, ours.lock_size);
    } else if (found.size != ours.size) {
        problem = fmt::format("its layout has {} bytes, this program's {}", found.size, ours.size);
    }
    if (problem.empty()) return true;
    Find("semaphores", path, problem, anew);
    return false;
}

// Whether what follows may attach.
bool CheckFiles() {
    const std::string area = tools::PlaceOf(fmt::format("/dev/shm/midware-{}", MW_AREA_KEY).c_str());
    const std::string locks = tools::PlaceOf("/dev/shm/midware-locks");
    if (area.empty()) return true;  // a platform of another kind
    const bool area_fine = CheckObject("area", area, MW_AREA_SIZE);
    // The size of one of another kind is another: said once.
    const bool format_fine = CheckFormat(locks);
    OalLocksFormat found{}, ours{};
    const bool told = format_fine && tools::LocksFormat(found, ours);
    const bool locks_fine = CheckObject("semaphores", locks, told ? static_cast<off_t>(ours.size) : 0);
    if (!area_fine || !locks_fine || !format_fine) return false;
    if (tools::AreaExists()) return true;
    Find("area", area, "is not complete: it was created, but never put into use", "run midware-init");
    return false;
}

// --- semaphores

struct Key {
    uint32_t key;
    std::string name;
};

void CheckSemaphores() {
    std::vector<Key> keys{{MW_AREA_KEY, "of the whole area"}};
    for (const midware::Module &module : midware::kModules)
        keys.push_back({module.key, std::string(NameOf(module))});

    std::vector<std::pair<Key, OalSemStatus>> held;
    for (const Key &key : keys) {
        const OalSemStatus status = tools::SemStatus(key.key);
        if (status.exists == 0)
            Find("semaphores", fmt::format("semaphore {} ({})", key.key, key.name), "does not exist",
                 "run midware-init");
        if (status.held != 0) held.emplace_back(key, status);
    }
    // Those that are held in passing are released meanwhile.
    const auto is_same = [](const auto &entry) {
        const OalSemStatus now = tools::SemStatus(entry.first.key);
        return now.held != 0 && now.taken == entry.second.taken;
    };
    constexpr int64_t kStepMs = 20;
    const auto is_settled = [](const auto &entry) {
        const OalSemStatus &status = entry.second;
        return (status.holder_pid != 0 && !tools::IsAlive(status.holder_pid)) ||
               tools::SemStatus(entry.first.key).held_for_ms > midware::kLockTimeoutMs;
    };
    for (int64_t waited = 0; waited <= midware::kLockTimeoutMs + 5 * kStepMs; waited += kStepMs) {
        std::erase_if(held, [&](const auto &entry) { return !is_same(entry); });
        if (std::ranges::all_of(held, is_settled)) break;
        Pause(std::chrono::milliseconds(kStepMs));
    }
    for (const auto &[key, status] : held) {
        const OalSemStatus now = tools::SemStatus(key.key);
        const std::string subject = fmt::format("semaphore {} ({})", key.key, key.name);
        if (status.holder_pid != 0 && !tools::IsAlive(status.holder_pid)) {
            Find("semaphores", subject, fmt::format("is held by process {}, which ended", status.holder_pid),
                 "none is needed: the next process that takes it recovers it, such as mwctl show");
        } else {
            Find("semaphores", subject, "is stuck: " + tools::StateText(now),
                 status.holder_pid == 0 ? "find the process that holds it, and end it"
                                        : fmt::format("end process {}, or let it go on", status.holder_pid));
        }
    }
}

// --- records

void CheckRecords() {
    std::vector<ModuleReading> readings;
    for (const Module &module : Modules()) {
        readings.push_back(Read(module, {}, readings));
        for (const Reading &reading : readings.back().records) {
            const Record &record = *reading.record;
            const std::string path = fmt::format("{}.{}", module.name, record.name);
            if (reading.stuck != nullptr || record.no_area) continue;  // findings of their own
            if (!reading.problem.empty()) {
                Find("records", path, "cannot be read: " + reading.problem, "have its owner write it anew");
            } else if (record.capacity != 0 && reading.count > record.capacity) {
                Find("records", path,
                     fmt::format("its stored count is {}, more than the {} that there can be", reading.count,
                                 record.capacity),
                     "have its owner write it anew");
            }
        }
    }
}

// The texts and counts of a module's area, wherever they lie.
void CheckLayout(const Layout &layout, const std::byte *bytes, const std::string &path,
                 std::vector<Finding> &found) {
    for (const Field &field : layout.fields) {
        if (field.counted_by >= 0) {
            uint32_t count;
            std::memcpy(&count, bytes + field.counted_by, sizeof count);
            if (count > field.count) {
                found.push_back({"records", PathOf(path, field, 0),
                                 fmt::format("its stored count is {}, more than the {} that there can be",
                                             count, field.count),
                                 "have its owner write it anew"});
            }
        }
        for (uint32_t i = 0; i < std::max(field.count, 1u); ++i) {
            const std::byte *element = ElementAt(field, bytes, i);
            if (field.kind == Kind::kRecord) {
                CheckLayout(*field.layout, element, PathOf(path, field, i), found);
            } else if (field.kind == Kind::kText && std::memchr(element, 0, field.width) == nullptr) {
                found.push_back({"texts", PathOf(path, field, i),
                                 fmt::format("fills its {} bytes and has no terminator", field.width),
                                 "have its owner write it anew, shorter by a byte"});
            }
        }
    }
}

void CheckAreas() {
    for (const Module &module : Modules()) {
        if (module.area == nullptr || !midware::Attach(*module.core)) continue;
        std::vector<std::byte> bytes(module.area->size);
        // One that is stuck was told of, and is looked at as it is.
        const bool locked = tools::SemStatus(module.core->key).held == 0 &&
                            OAL_SemLockByKey(module.core->key, midware::kLockTimeoutMs) >= 0;
        std::memcpy(bytes.data(), midware::PointerOf(*module.core), bytes.size());
        if (locked) OAL_SemUnLockByKey(module.core->key, midware::kLockTimeoutMs);
        std::vector<Finding> found;
        CheckLayout(*module.area, bytes.data(), fmt::format("{}.area", module.name), found);
        const size_t told = std::min(found.size(), kMostOfAKind);
        findings.insert(findings.end(), found.begin(), found.begin() + static_cast<ptrdiff_t>(told));
        if (told < found.size()) {
            Find("records", std::string(module.name),
                 fmt::format("{} more of this kind", found.size() - told),
                 "have its owner write the area anew");
        }
    }
}

// --- files

// Sections, comments, empty lines and KEY = VALUE. The number of the first line that is none of them; 0 for
// none.
size_t FirstBadLine(std::ifstream &file) {
    size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (number == 1 && line.starts_with("\xEF\xBB\xBF")) line.erase(0, 3);
        const size_t first = line.find_first_not_of(" \t\r");
        if (first == line.npos || line[first] == ';' || line[first] == '#') continue;
        const size_t equals = line.find('=');
        const bool section = line[first] == '[' && line.find(']', first) != line.npos;
        if (!section && (line[first] == '[' || equals == line.npos || equals == first)) return number;
    }
    return 0;
}

void CheckConfig(const char *name) {
    const std::string path = tools::PlaceOf(name);
    struct stat status {};
    if (path.empty()) return;
    if (stat(path.c_str(), &status) != 0) {
        if (errno == ENOENT || errno == ENOTDIR) return;  // defaults are in force
        return Find("configuration", path, fmt::format("cannot be reached: {}", std::strerror(errno)),
                    "run this as root, or have it opened to this user's group");
    }
    if (!S_ISREG(status.st_mode))
        return Find("configuration", path, "is no regular file", fmt::format("remove {}", path));
    if (status.st_size > kLargestConfig) {
        return Find(
            "configuration", path,
            fmt::format("has {} bytes, more than the {} that are read", status.st_size, kLargestConfig),
            fmt::format("remove {}, and make the settings anew", path));
    }
    std::ifstream file(path);
    if (access(path.c_str(), R_OK) != 0 || !file) {
        return Find("configuration", path, "may not be read by this user",
                    fmt::format("chmod g+r {}, or run this as root", path));
    }
    if (const size_t line = FirstBadLine(file); line != 0) {
        Find("configuration", fmt::format("{}:{}", path, line), "is neither section, comment nor KEY = VALUE",
             "correct or remove that line: it is lost when the settings are saved");
    }
}

// Missing directories are made when something is saved: the nearest one that is there counts.
void CheckDirectory(const char *name) {
    const std::string wanted = tools::PlaceOf(name);
    if (wanted.empty()) return;
    std::string path = wanted;
    struct stat status {};
    while (stat(path.c_str(), &status) != 0) {
        if ((errno != ENOENT && errno != ENOTDIR) || path.find('/') == path.npos || path.size() <= 1) break;
        path.erase(path.rfind('/'));
        if (path.empty()) path = "/";
    }
    if (!S_ISDIR(status.st_mode)) {
        Find("directories", path, "is no directory",
             fmt::format("move {} away, and make the directory {}", path, wanted));
    } else if (access(path.c_str(), W_OK | X_OK) != 0) {
        Find("directories", wanted,
             fmt::format("cannot be written{}: {}", path == wanted ? "" : " (" + path + ")",
                         std::strerror(errno)),
             errno == EROFS ? "mount it to be written"
                            : fmt::format("have {} opened to this user, or run this as root", path));
    }
}

void CheckJournal() {
    const std::string path = tools::PlaceOf(midware::kSlotJournal);
    struct stat status {};
    if (path.empty() || lstat(path.c_str(), &status) != 0) return;  // made when it is first needed
    if (!S_ISREG(status.st_mode)) {
        Find("journal", path, "is no regular file", fmt::format("remove {}", path));
    } else if (access(path.c_str(), W_OK) != 0) {
        Find("journal", path, fmt::format("cannot be written: {}", std::strerror(errno)),
             fmt::format("chmod u+w {}, or run this as root", path));
    } else if (status.st_size > kLargestJournal) {
        Find("journal", path,
             fmt::format("has {} bytes, more than {}: it is not rotated", status.st_size, kLargestJournal),
             fmt::format("have {} opened to be written, or move the file away",
                         path.substr(0, path.rfind('/'))));
    }
}

// --- what was found

std::string AsText() {
    if (findings.empty())
        return "All is well: area, semaphores, records, texts, configuration, directories, journal.\n";
    std::string text;
    for (const Finding &finding : findings) {
        text += fmt::format("{}: {} {}\n    remedy: {}\n", finding.check, tools::Printable(finding.subject),
                            tools::Printable(finding.problem), tools::Printable(finding.remedy));
    }
    return text + fmt::format("{} finding{}\n", findings.size(), findings.size() == 1 ? "" : "s");
}

std::string AsJson() {
    Json list = Json::array();
    for (const Finding &finding : findings) {
        list.push_back({{"check", std::string(finding.check)},
                        {"subject", finding.subject},
                        {"problem", finding.problem},
                        {"remedy", finding.remedy}});
    }
    return Document({{"ok", findings.empty()}, {"findings", list}});
}

void Check() {
    if (CheckFiles()) {
        CheckSemaphores();
        CheckRecords();
        CheckAreas();
    }
    for (const char *config : kConfigs) CheckConfig(config);
    for (const char *directory : kDirectories) CheckDirectory(directory);
    CheckJournal();
    Finish(as_json ? AsJson() : AsText(), findings.empty() ? tools::kDone : tools::kFailed);
}

void AddCheck(cli::App &app) {
    cli::App *check =
        app.add_subcommand("check", "Looks for what is wrong with the installation, and tells the remedy");
    check->add_flag("--json", as_json, "One JSON document");
    check->footer("Changes nothing.\nExit codes: 0 all is well, 1 something is wrong, 2 wrong usage.");
    check->callback(Check);
}

const Command kCommand("check", AddCheck, Needs::kLiveArea);

}  // namespace
}  // namespace mwctl
