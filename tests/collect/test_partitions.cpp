#include "collectors/partitions.h"
#include "midware/mem.h"
#include "tree.h"

namespace collect {
namespace {

Strings Points(const std::string &mounts) {
    Strings points;
    for (const Mount &mount : DiskMounts(ParseMounts(mounts))) points.push_back(mount.point);
    return points;
}

TEST(Partitions, OctalEscapesAreDecoded) {
    EXPECT_EQ(DecodeOctal("/mnt/my\\040disk\\011x\\134y\\012"), "/mnt/my disk\tx\\y\n");
    EXPECT_EQ(DecodeOctal("/mnt/\\303\\274"), "/mnt/\xC3\xBC");
    EXPECT_EQ(DecodeOctal("a\\04"), "a\\04");
    EXPECT_EQ(DecodeOctal("a\\"), "a\\");
    EXPECT_EQ(DecodeOctal("\\089\\777\\000"), "\\089\\777\\000");
}

TEST(Partitions, OnlyFileSystemsOnDisksCount) {
    EXPECT_EQ(
        Points("proc /proc proc rw 0 0\n/dev/sda1 / ext4 rw 0 0\ntmpfs /run tmpfs rw 0 0\n"
               "host:/x /home nfs rw 0 0\ndevtmpfs /dev devtmpfs rw 0 0\n/dev/loop0 /snap/x squashfs ro 0 0\n"
               "/dev/sr0 /media iso9660 ro 0 0\npool/data /data zfs rw 0 0\n/dev/mapper/a-b /var xfs rw 0 0"),
        (Strings{"/", "/data", "/var"}));
}

TEST(Partitions, ADeviceCountsOnceWhereItWasMountedFirst) {
    EXPECT_EQ(Points("/dev/sda1 / ext4 rw 0 0\n/dev/sda1 /bind ext4 rw 0 0\n/dev/sdb1 /b ext4 rw 0 0\n"),
              (Strings{"/", "/b"}));
}

TEST(Partitions, AMountThatALaterOneHidesDoesNotCount) {
    EXPECT_EQ(Points("/dev/root / ext4 rw 0 0\n/dev/sda1 / ext4 rw 0 0\n/dev/sda2 /x ext4 rw 0 0\ntmpfs /x "
                     "tmpfs rw 0 0\n"),
              Strings{"/"});
    EXPECT_EQ(DiskMounts(ParseMounts("/dev/root / ext4 rw 0 0\n/dev/sda1 / ext4 rw 0 0\n")).at(0).device,
              "/dev/sda1");
    EXPECT_EQ(Points("/dev/sda1 /x ext4 rw 0 0\ntmpfs /x tmpfs rw 0 0\n/dev/sda1 /y ext4 rw 0 0\n"),
              Strings{"/y"});
}

TEST(Partitions, LinesThatAreNotWholeArePassedOver) {
    EXPECT_EQ(Points("\n/dev/sda1\n/dev/sda1 /\n/dev/sda1 / ext4\n/dev/sda1 none ext4 rw\n"), Strings{});
    EXPECT_EQ(Points("/dev/sda1 /my\\040disk ext4 rw 0 0"), Strings{"/my disk"});
}

TEST(Partitions, TheShareIsThatOfWhatUsersCanGetRoundedUp) {
    constexpr uint64_t kMega = 1u << 20;
    const Partition partition = ToPartition("/", {1000 * kMega, 500 * kMega, 400 * kMega});
    EXPECT_EQ(partition.used_percent, 56);  // 55.6
    EXPECT_EQ(partition.total_mb, 1000u);
    EXPECT_EQ(partition.used_mb, 500u);
    EXPECT_EQ(ToPartition("/", {1000 * kMega, 0, 1000 * kMega}).used_percent, 0);
    EXPECT_EQ(ToPartition("/", {1000 * kMega, 1000 * kMega, 0}).used_percent, 100);
    EXPECT_EQ(ToPartition("/", {1000 * kMega, 290 * kMega, 710 * kMega}).used_percent, 29);
    EXPECT_EQ(ToPartition("/", {kMega, 0, 0}).used_percent, 0);
    EXPECT_EQ(ToPartition("/", {UINT64_MAX, UINT64_MAX / 2, UINT64_MAX / 2}).used_percent, 50);
    EXPECT_EQ(ToPartition("/", {UINT64_MAX, 0, 0}).total_mb, UINT32_MAX);
}

TEST(Partitions, ThoseThatDoNotFitAreLeftOutOrSkipped) {
    std::vector<Mount> disks;
    for (int i = 0; i < 30; ++i) {
        disks.push_back({fmt::format("/dev/sd{}", i), fmt::format("/data/{}", i), "ext4"});
    }
    disks[1].point = "/" + std::string(127, 'x');  // one more than fits
    disks[2].point = "/" + std::string(126, 'y');
    Strings lines;
    Log log([&](std::string_view line) { lines.emplace_back(line); });
    const auto use = [](const std::string &point) {
        return point == "/data/0" ? std::nullopt : std::optional(FileSystemUse{2u << 20, 1u << 20, 1u << 20});
    };
    const Partitions found = ReadPartitions(disks, use, log);
    EXPECT_EQ(found.partitions.size(), MW_HARD_DISK_PART_MAX);
    EXPECT_EQ(found.left_out, 2u);
    EXPECT_EQ(found.partitions.front().name, disks[2].point);
    EXPECT_EQ(lines,
              Strings{disks[1].point + ": expected a mount point of at most 127 bytes, found 128; skipped"});
}

TEST(Partitions, ACapturedTreeHasNoUsage) {
    Tree tree;
    tree.File("/proc/mounts",
              "/dev/sda1 / ext4 rw 0 0\n/dev/sdb1 /my\\040data ext4 rw 0 0\ntmpfs /tmp tmpfs rw 0 0\n");
    HeardHost host(tree);
    EXPECT_TRUE(FindPartitions(*host).partitions.empty());
    EXPECT_EQ(host.lines(),
              (Strings{"/: the usage of a captured machine's file system is not known; skipped",
                       "/my data: the usage of a captured machine's file system is not known; skipped"}));
}

TEST(Partitions, TheLiveMachinesHaveNamesThatFitAndPlausibleUsage) {
    HeardHost host("/");
    const Partitions found = FindPartitions(*host);
    EXPECT_LE(found.partitions.size(), MW_HARD_DISK_PART_MAX);
    for (const Partition &partition : found.partitions) {
        EXPECT_TRUE(partition.name.starts_with('/')) << partition.name;
        EXPECT_LT(partition.name.size(), MW_PART_NAME_SIZE);
        EXPECT_LE(partition.used_percent, 100);
        EXPECT_LE(partition.used_mb, partition.total_mb);
    }
}

}  // namespace
}  // namespace collect
