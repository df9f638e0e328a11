#include "partitions.h"

#include <algorithm>
#include <array>

#include "collector.h"
#include "midware/mem.h"

namespace collect {
namespace {

// Images that are full by nature: an alarm about them helps nobody.
bool IsImage(std::string_view type) {
    static constexpr std::array<std::string_view, 6> kImages = {"squashfs", "erofs",   "cramfs",
                                                                "romfs",    "iso9660", "udf"};
    return std::find(kImages.begin(), kImages.end(), type) != kImages.end();
}

// A pool has a name instead of a device.
bool IsOnDisk(const Mount &mount) {
    return mount.type == "zfs" ||
           (mount.device.starts_with("/dev/") && mount.type != "devtmpfs" && !IsImage(mount.type));
}

uint32_t Mebibytes(uint64_t bytes) {
    return static_cast<uint32_t>(std::min<uint64_t>(bytes >> 20, UINT32_MAX));
}

class PartitionCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        const Partitions found = FindPartitions(host);
        if (found.left_out > 0) {
            host.log().Once(fmt::format("partitions: {} of {} left out, there is room for {}", found.left_out,
                                        found.left_out + found.partitions.size(), MW_HARD_DISK_PART_MAX));
        }
        table_.Store(found, writer);
    }

  private:
    PartitionTable table_;
};

const Registration registered({"partitions", "disk file systems of the host and their usage", 40,
                               Make<PartitionCollector>});

}  // namespace

std::string DecodeOctal(std::string_view text) {
    std::string out;
    const auto digit = [&](size_t at) {
        return at < text.size() && text[at] >= '0' && text[at] <= '7' ? text[at] - '0' : -1;
    };
    for (size_t at = 0; at < text.size(); ++at) {
        const int value = text[at] == '\\' && digit(at + 1) >= 0 && digit(at + 2) >= 0 && digit(at + 3) >= 0
                              ? digit(at + 1) * 64 + digit(at + 2) * 8 + digit(at + 3)
                              : -1;
        if (value > 0 && value < 256) {
            out += static_cast<char>(value);
            at += 3;
        } else {
            out += text[at];
        }
    }
    return out;
}

std::vector<Mount> ParseMounts(std::string_view text) {
    std::vector<Mount> mounts;
    for (const std::string_view line : Lines(text)) {
        const std::vector<std::string_view> words = Words(line);
        if (words.size() < 4 || !words[1].starts_with('/')) continue;
        mounts.push_back({DecodeOctal(words[0]), DecodeOctal(words[1]), std::string(words[2])});
    }
    return mounts;
}

std::vector<Mount> DiskMounts(const std::vector<Mount> &mounts) {
    std::vector<Mount> disks;
    for (auto mount = mounts.begin(); mount != mounts.end(); ++mount) {
        const auto same_device = [&](const Mount &other) { return other.device == mount->device; };
        const auto same_place = [&](const Mount &other) { return other.point == mount->point; };
        if (IsOnDisk(*mount) && std::none_of(disks.begin(), disks.end(), same_device) &&
            std::none_of(mount + 1, mounts.end(), same_place)) {
            disks.push_back(*mount);
        }
    }
    return disks;
}

Partition ToPartition(const std::string &name, const FileSystemUse &use) {
    Partition partition;
    partition.name = name;
    // In units that leave room for a factor of 100.
    const uint64_t used = use.used_bytes >> 7;
    const uint64_t usable = used + (use.available_bytes >> 7);
    if (usable > 0)
        partition.used_percent =
            static_cast<uint8_t>(used * 100 / usable + (used * 100 % usable != 0 ? 1 : 0));
    partition.total_mb = Mebibytes(use.total_bytes);
    partition.used_mb = Mebibytes(use.used_bytes);
    return partition;
}

Partitions ReadPartitions(const std::vector<Mount> &disks, const UseOf &use, Log &log) {
    Partitions found;
    for (const Mount &mount : disks) {
        if (mount.point.size() >= MW_PART_NAME_SIZE) {
            log.Skip(mount.point, fmt::format("a mount point of at most {} bytes", MW_PART_NAME_SIZE - 1),
                     fmt::format("{}", mount.point.size()));
        } else if (found.partitions.size() == MW_HARD_DISK_PART_MAX) {
            ++found.left_out;
        } else if (const auto figures = use(mount.point)) {
            found.partitions.push_back(ToPartition(mount.point, *figures));
        }
    }
    return found;
}

Partitions FindPartitions(const Host &host) {
    std::optional<std::string> text = host.File("/proc/self/mounts");
    if (!text) text = host.File("/proc/mounts");
    const std::vector<Mount> disks = DiskMounts(ParseMounts(text.value_or("")));
    if (host.Live()) {
        return ReadPartitions(
            disks, [&](const std::string &point) { return host.Use(point); }, host.log());
    }
    for (const Mount &mount : disks) {
        host.log().Once(fmt::format("{}: the usage of a captured machine's file system is not known; skipped",
                                    Printable(mount.point, 4096)));
    }
    return {};
}

void PartitionTable::Store(const Partitions &found, Writer &writer) {
    HardDiskUsageInfo block{};
    std::vector<std::string> names;
    for (const Partition &partition : found.partitions) {
        HardDiskPartInfo &part = block.atPart[block.dwTotalPart++];
        part.ucUsedPercent = partition.used_percent;
        std::copy(partition.name.begin(), partition.name.end(), part.acPartName);
        part.dwTotalMB = partition.total_mb;
        part.dwUsedMB = partition.used_mb;
        names.push_back(partition.name);
    }
    // The table never forgets a partition by itself. One of this process's that is no longer mounted would
    // keep its last figures, so the table starts again.
    const bool gone = std::any_of(names_.begin(), names_.end(), [&](const std::string &name) {
        return std::find(names.begin(), names.end(), name) == names.end();
    });
    if (gone) writer.Wrote("cleared partition tables", 1, MW_ClearHardDiskUsageInfoFromHostMon());
    names_ = std::move(names);
    if (!names_.empty()) {
        writer.Wrote("partitions", names_.size(), MW_SetHardDiskUsageInfoFromHostMon(&block));
    }
}

}  // namespace collect
