// The host's disk file systems and how full they are.
#ifndef MWCOLLECT_PARTITIONS_H
#define MWCOLLECT_PARTITIONS_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "collector.h"
#include "host.h"

namespace collect {

struct Mount {
    std::string device;
    std::string point;
    std::string type;
};

// The lines of /proc/self/mounts, escapes decoded. Lines that are not whole are passed over.
std::vector<Mount> ParseMounts(std::string_view text);

// \040 and the like, as the kernel writes blanks, tabs, line ends and backslashes of names.
std::string DecodeOctal(std::string_view text);

// The mounts of file systems on disks, each device once, at its first place that no later mount hides.
std::vector<Mount> DiskMounts(const std::vector<Mount> &mounts);

struct Partition {
    std::string name;  // its mount point
    uint8_t used_percent = 0;
    uint32_t total_mb = 0;
    uint32_t used_mb = 0;
};

// As df counts: the share of what users can get, rounded up.
Partition ToPartition(const std::string &name, const FileSystemUse &use);

struct Partitions {
    std::vector<Partition> partitions;  // at most MW_HARD_DISK_PART_MAX
    size_t left_out = 0;
};

using UseOf = std::function<std::optional<FileSystemUse>(const std::string &mount_point)>;

// The use of each of these file systems, as far as there is room and a name fits.
Partitions ReadPartitions(const std::vector<Mount> &disks, const UseOf &use, Log &log);

// Those of the live machine. A captured tree has none: each of its file systems is skipped with one line.
Partitions FindPartitions(const Host &host);

// The host monitor's table of partitions, as far as this process fills it.
class PartitionTable {
  public:
    void Store(const Partitions &found, Writer &writer);

  private:
    std::vector<std::string> names_;  // what was stored last
};

}  // namespace collect

#endif
