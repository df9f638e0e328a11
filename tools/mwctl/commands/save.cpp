// mwctl save: the whole area as a file.
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "area.h"
#include "command.h"
#include "layout.h"
#include "source.h"
#include "text.h"

namespace mwctl {
namespace {

std::string path;
bool force = false;

// Why the file must not be replaced; nothing when it may, or when there is none.
std::string WhyNotReplaced() {
    struct stat status {};
    if (lstat(path.c_str(), &status) != 0) {
        return errno == ENOENT ? std::string()
                               : fmt::format("it cannot be written: {}", std::strerror(errno));
    }
    if (!S_ISREG(status.st_mode)) return "it is no regular file: give another name";
    if (force) return {};
    const int file = open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC);
    char begin[kSavedMagic.size()];
    const bool saved = file >= 0 && read(file, begin, sizeof begin) == sizeof begin &&
                       std::string_view(begin, sizeof begin) == kSavedMagic;
    if (file >= 0) close(file);
    return saved ? "" : "it is there, and is no saved area: give another name, or --force to replace it";
}

// Below another name until it is complete, then in its place at once, also across a power cut.
bool Write(std::span<const std::byte> bytes) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == path.npos ? "." : path.substr(0, slash + 1);
    std::string name = path + ".XXXXXX";
    const SignalsHeld held;
    const int file = mkostemp(name.data(), O_CLOEXEC);  // mode 0600
    if (file < 0) return false;
    bool good = WriteAll(file, bytes) && fsync(file) == 0;
    good = close(file) == 0 && good && rename(name.c_str(), path.c_str()) == 0;
    const int error = errno;
    if (!good) {
        unlink(name.c_str());
        errno = error;
        return false;
    }
    const int parent = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (parent < 0) return true;
    // Some file systems know no sync of a directory.
    good = fsync(parent) == 0 || errno == EINVAL;
    close(parent);
    return good;
}

void Save() {
    const std::string name = tools::Printable(path);
    if (!tools::AreaExists()) return Fail(tools::WhyNoArea());
    if (const std::string problem = WhyNotReplaced(); !problem.empty()) {
        return Fail(fmt::format("{}: {}", name, problem));
    }
    std::vector<std::byte> area(MW_AREA_SIZE);
    for (const Module *module : ModulesWithArea()) {
        const auto bytes = std::span(area).subspan(module->core->offset, module->core->size);
        const std::string problem = CopyOut(*module->core, bytes);
        if (problem.empty()) continue;
        return Fail(fmt::format("{}: {} (--no-lock does without)", module->name, problem));
    }
    SavedArea saved{.fingerprint = LayoutFingerprint(),
                    .time = std::time(nullptr),
                    .unlocked = ReadsUnlocked(),
                    .area = area};
    ConfigBytes configs[kConfigs];
    for (size_t i = 0; i < kConfigs; ++i) {
        configs[i] = ReadConfig(kConfigPaths[i]);
        saved.configs[i] = {configs[i].state, configs[i].bytes};
    }
    const std::vector<std::byte> bytes = ToBytes(saved);
    if (!Write(bytes)) {
        return Fail(fmt::format("{}: it cannot be written: {}", name, std::strerror(errno)));
    }
    Finish(fmt::format("{}: the area is saved, {} bytes{}\n", name, bytes.size(),
                       saved.unlocked ? ", taken without its semaphores" : ""));
    for (size_t i = 0; i < kConfigs; ++i) {
        if (configs[i].state != SavedConfig::State::kUnreadable) continue;
        Fail(fmt::format("{} cannot be read, and is not in {}", kConfigPaths[i], name));
    }
}

void AddSave(CLI::App &app) {
    CLI::App *save =
        app.add_subcommand("save", "Writes the whole area and its configuration files into a file");
    save->add_option("FILE", path, "The file; an earlier saved area in it is replaced")->required();
    save->add_flag("--force", force, "Replaces a file that is no saved area, too");
    save->footer(
        "Each module is copied under its semaphore. Read it with --from: mwctl --from FILE show.\n"
        "Serial numbers and addresses are in it: nobody but its owner can read the file.");
    save->callback(Save);
}

const Command kCommand("save", AddSave, Needs::kArea);

}  // namespace
}  // namespace mwctl
