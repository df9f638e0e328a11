// The collectors on captures of real machines. These are no part of the sources: the tests run where
// MIDWARE_CAPTURES (or the place found when configuring) has them, and expect counts, sizes and normalised
// fields only.
#include <cstdlib>
#include <functional>
#include <utility>

#include "area.h"
#include "collectors/board.h"
#include "collectors/cpu.h"
#include "collectors/disks.h"
#include "collectors/firmware.h"
#include "collectors/memory.h"
#include "collectors/nic.h"
#include "collectors/partitions.h"
#include "collectors/pcie.h"
#include "collectors/pem.h"
#include "collectors/usage.h"

namespace collect {
namespace {

class Capture {
  public:
    // Unpacks the archive whose name begins as given.
    explicit Capture(const std::string &prefix) {
        const char *place = std::getenv("MIDWARE_CAPTURES");
        std::error_code error;
        for (const auto &entry :
             std::filesystem::directory_iterator(place != nullptr ? place : CAPTURES_DEFAULT, error)) {
            const std::string name = entry.path().filename().string();
            if (!name.starts_with(prefix) || !name.ends_with(".tar.bz2")) continue;
            const std::string command =
                fmt::format("tar -xjf '{}' -C '{}'", entry.path().string(), tree_.top());
            EXPECT_EQ(std::system(command.c_str()), 0);
            for (const auto &top : std::filesystem::directory_iterator(tree_.top()))
                root_ = top.path().string();
        }
    }
    const std::string &root() const { return root_; }  // "" where there is none

  private:
    Tree tree_;
    std::string root_;
};

// A suite of tests on the one capture whose archive's name begins as given.
template <const char *kPrefix>
class OnCapture : public OnBlankArea {
  public:
    static void SetUpTestSuite() { capture_ = new Capture(kPrefix); }
    static void TearDownTestSuite() { delete std::exchange(capture_, nullptr); }

  protected:
    void SetUp() override {
        OnBlankArea::SetUp();
        if (capture_->root().empty()) GTEST_SKIP() << "no such capture in MIDWARE_CAPTURES";
        host_ = std::make_unique<HeardHost>(capture_->root());
    }
    const Host &host() const { return **host_; }

    std::unique_ptr<HeardHost> host_;

  private:
    static inline Capture *capture_ = nullptr;
};

constexpr char kX86[] = "32em64t";
constexpr char kArm[] = "128arm";
using X86Capture = OnCapture<kX86>;
using ArmCapture = OnCapture<kArm>;

TEST_F(X86Capture, HasTwoProcessorsOfEightCores) {
    const CpuRecords records = FindCpus(host());
    ASSERT_EQ(records.packages.size(), 2u);
    for (uint32_t i = 0; i < 2; ++i) {
        const CpuPackage &package = records.packages[i];
        EXPECT_EQ(package.id, i);
        EXPECT_EQ(package.cores, 8u);
        EXPECT_EQ(package.logical.size(), 8u);
        EXPECT_FALSE(package.model.empty());
        EXPECT_FALSE(package.manufacturer.empty());
        EXPECT_EQ(package.architecture, "x86_64");
        EXPECT_EQ(package.max_frequency, 2701u);
        EXPECT_EQ(package.frequency, 2701u);
        EXPECT_EQ(package.l1_data, 32u);
        EXPECT_EQ(package.l1_instruction, 32u);
        EXPECT_EQ(package.l2, 256u);
        EXPECT_EQ(package.l3, 20480u);
        EXPECT_FALSE(package.temperature.current.has_value());
    }
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(X86Capture, HasEightModulesInTwentyFourSlots) {
    const MemoryRecords records = FindMemory(host());
    EXPECT_EQ(records.source, MemorySource::kSmbios);
    ASSERT_EQ(records.devices.size(), 24u);
    uint32_t present = 0;
    for (const MemoryDevice &device : records.devices) {
        EXPECT_TRUE(device.locator.starts_with("DIMM_"));
        EXPECT_FALSE(device.locator.ends_with(' '));
        if (!device.present) continue;
        ++present;
        EXPECT_EQ(device.size_mb, 4096u);
        EXPECT_EQ(device.type, "DDR3");
        EXPECT_EQ(device.form, "DIMM");
        EXPECT_EQ(device.max_speed, 1600u);
        EXPECT_EQ(device.speed, 1600u);
        EXPECT_EQ(device.total_width, 72u);
        EXPECT_EQ(device.data_width, 64u);
        EXPECT_FALSE(device.serial.empty());
        EXPECT_FALSE(device.part.ends_with(' '));
    }
    EXPECT_EQ(present, 8u);
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(X86Capture, HasManyPciFunctionsOfWhichTheDevicesAreKept) {
    const std::vector<PciFunction> functions = ReadPciFunctions(host());
    ASSERT_EQ(functions.size(), 137u);
    size_t in_slots = 0;
    for (const PciFunction &function : functions) {
        in_slots += function.slot.number != 0;
        EXPECT_EQ(function.IsBridge(), function.base_class == kPciBridge) << function.path;
        EXPECT_EQ(function.link, PciLink{});
    }
    EXPECT_EQ(in_slots, 2u);
    const PcieFunctions chosen = ChoosePcieFunctions(functions);
    ASSERT_EQ(chosen.functions.size(), 64u);
    EXPECT_EQ(chosen.left_out, 73u);
    size_t network = 0;
    size_t slots = 0;
    for (const PciFunction &function : chosen.functions) {
        EXPECT_FALSE(function.IsBridge());
        network += function.base_class == kPciNetwork;
        slots += function.slot.number != 0;
    }
    EXPECT_EQ(network, 3u);
    EXPECT_EQ(slots, 2u);
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(X86Capture, HasTwoNetworkCardsWithThreePorts) {
    const NicCards found = FindNicCards(host(), ReadPciFunctions(host()));
    ASSERT_EQ(found.cards.size(), 2u);
    ASSERT_EQ(found.cards[0].ports.size(), 2u);
    ASSERT_EQ(found.cards[1].ports.size(), 1u);
    const NicPort &up = found.cards[0].ports[0];
    EXPECT_EQ(up.link_state, MW_NIC_LINK_UP);
    EXPECT_EQ(up.speed, 1000u);
    EXPECT_EQ(up.duplex, 1);
    EXPECT_TRUE(up.mac_is_permanent);
    const NicPort &off = found.cards[0].ports[1];
    EXPECT_EQ(off.link_state, MW_NIC_LINK_DOWN);
    EXPECT_EQ(off.speed, 0u);
    EXPECT_EQ(off.duplex, MW_NIC_UNKNOWN);
    const NicPort &infiniband = found.cards[1].ports[0];
    EXPECT_FALSE(infiniband.mac);
    EXPECT_EQ(infiniband.mtu, 2044u);
    EXPECT_FALSE(infiniband.firmware.empty());
    EXPECT_EQ(found.cards[1].function->slot.number, 1);
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(X86Capture, HasNoFans) {
    EXPECT_EQ(Round(*New("fan"), *host_), 0u);
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(X86Capture, HasASataAndAnNvmeDiskOnTheirControllers) {
    const HostDisks found = FindDisks(host(), ReadPciFunctions(host()), FindCpus(host()).packages);
    ASSERT_EQ(found.controllers.size(), 2u);
    ASSERT_EQ(found.disks.size(), 2u);
    for (const HostDisk &disk : found.disks) {
        EXPECT_EQ(disk.sector_size, 512);
        EXPECT_EQ(disk.rotation, 1u);
        EXPECT_EQ(disk.media, MW_HD_MEDIA_SOLID_STATE);
        EXPECT_EQ(disk.link_rate, 0);  // the capture has none
    }
    const HostDisk &nvme = found.disks[0];
    EXPECT_EQ(nvme.interface, MW_PCH_IF_PCIE);
    EXPECT_EQ(nvme.controller, found.controllers[0].function.address);
    EXPECT_EQ(nvme.capacity_mb, 381554u);
    const HostDisk &sata = found.disks[1];
    EXPECT_EQ(sata.interface, MW_PCH_IF_SATA);
    EXPECT_EQ(sata.controller, found.controllers[1].function.address);
    EXPECT_EQ(sata.port, 4);
    EXPECT_EQ(sata.capacity_mb, 238475u);
    EXPECT_EQ(sata.vendor, "ATA");
    EXPECT_EQ(sata.firmware.size(), 4u);
    EXPECT_GT(sata.model.size(), 16u) << "what the SCSI layer shows";
    EXPECT_FALSE(sata.model.ends_with(' '));
    EXPECT_EQ(sata.serial.size(), 12u);
    EXPECT_NE(sata.wwn[0], 0);
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(X86Capture, IsReadIntoTheArea) {
    for (const char *name :
         {"cpu", "memory", "usage", "partitions", "ntp", "pcie", "nic", "fc", "gpu", "disks"})
        Round(*New(name), *host_);
    uint32_t word = 0;
    ASSERT_EQ(MW_GetCpuCount(&word), 0);
    EXPECT_EQ(word, 2u);
    ASSERT_EQ(MW_GetMemCount(&word), 0);
    EXPECT_EQ(word, 8u);
    ASSERT_EQ(MW_GetMemTotalSizeGB(&word), 0);
    EXPECT_EQ(word, 32u);
    ASSERT_EQ(MW_GetMemUsgInfoFromHostMon(&word), 0);
    EXPECT_EQ(word, 10u);
    ASSERT_EQ(MW_GetCpuUsgInfoFromHostMon(&word), 0);
    EXPECT_EQ(word, 77u);
    ASSERT_EQ(MW_GetPcieCount(&word), 0);
    EXPECT_EQ(word, 64u);
    std::vector<PcieAssetInfo> upper(MW_PCIE_UPPER_MAX);
    ASSERT_EQ(MW_GetPcieAssetInfoForUpperInterface(upper.data(), &word), 0);
    EXPECT_EQ(word, 2u);
    GPUAssetInfo gpus;
    ASSERT_EQ(MW_GetGPUAssetInfo(&gpus), 0);
    EXPECT_EQ(gpus.dwGpuCount, 1u);
    ASSERT_EQ(MW_GetPCHDiskCount(&word), 0);
    EXPECT_EQ(word, 2u);
    ASSERT_EQ(MW_GetPCHCtrlCount(&word), 0);
    EXPECT_EQ(word, 2u);
    EXPECT_EQ(host_->lines().size(), 5u);  // partitions whose usage is not known, and PCIe functions left out
}

TEST_F(ArmCapture, HasTwoProcessorsWithNumbersOfTheirOwn) {
    const CpuRecords records = FindCpus(host());
    ASSERT_EQ(records.packages.size(), 2u);
    EXPECT_EQ(records.packages[0].id, 36);
    EXPECT_EQ(records.packages[1].id, 8442);
    for (const CpuPackage &package : records.packages) {
        EXPECT_EQ(package.cores, 64u);
        EXPECT_EQ(package.logical.size(), 64u);
        EXPECT_EQ(package.architecture, "aarch64");
        EXPECT_EQ(package.family, 8u);
        EXPECT_FALSE(package.model.empty());
        EXPECT_EQ(package.l1_data, 64u);
        EXPECT_EQ(package.l2, 512u);
        EXPECT_EQ(package.l3, 32768u);
        EXPECT_EQ(package.frequency, 0u);
    }
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(ArmCapture, HasNoFans) {
    EXPECT_EQ(Round(*New("fan"), *host_), 0u);
    EXPECT_EQ(host_->lines(), Strings{});
}

TEST_F(ArmCapture, IsReadIntoTheAreaWithItsMemoryAsOneDevice) {
    for (const char *name : {"cpu", "memory", "usage", "partitions", "ntp", "disks"})
        Round(*New(name), *host_);
    uint32_t word = 0;
    ASSERT_EQ(MW_GetCpuCount(&word), 0);
    EXPECT_EQ(word, 2u);
    ASSERT_EQ(MW_GetMemCount(&word), 0);
    EXPECT_EQ(word, 1u);
    ASSERT_EQ(MW_GetMemTotalSizeGB(&word), 0);
    EXPECT_EQ(word, 502u);
    ASSERT_EQ(MW_GetMemUsgInfoFromHostMon(&word), 0);
    EXPECT_EQ(word, 9u);
    ASSERT_EQ(MW_GetCpuUsgInfoFromHostMon(&word), 0);
    EXPECT_EQ(word, 1u);
    EXPECT_EQ(host_->lines().size(), 7u);  // the memory's source, and six partitions whose usage is not known
}

// Names of board and BIOS, in the area as in the files; no sensor, no supply, and no os-release.
void ExpectDmiIdentityOnly(HeardHost &host, const std::function<size_t(Collector &)> &round,
                           const std::function<std::unique_ptr<Collector>(std::string_view)> &make) {
    const DmiIdentity dmi = FindDmiIdentity(*host);
    EXPECT_FALSE(dmi.board_name.empty());
    EXPECT_FALSE(dmi.board_version.empty());
    EXPECT_FALSE(dmi.bios_version.empty());
    EXPECT_EQ(dmi.bios_date.size(), std::string_view("MM/DD/YYYY").size());
    EXPECT_FALSE(FindRunningImage(*host).has_value());
    EXPECT_TRUE(FindPowerSupplies(*host).empty());
    EXPECT_TRUE(FindBoardReadings(*host).inlets.empty());
    EXPECT_FALSE(FindBoardReadings(*host).pch.has_value());
    EXPECT_EQ(round(*make("firmware")), 2u);
    EXPECT_EQ(round(*make("board")), 0u);
    EXPECT_EQ(round(*make("pem")), 0u);
    char text[FW_STR_MAX_SIZE] = {};
    ASSERT_EQ(MW_GetFirmwareBoardNameString(0, text, sizeof text), 0);
    EXPECT_EQ(text, dmi.board_name);
    ASSERT_EQ(MW_GetFirmwareVersionString(MW_FW_TYPE_BIOS, MW_FW_BIOS_MASTER_OUT, text, sizeof text), 0);
    EXPECT_EQ(text, dmi.bios_version);
    ASSERT_EQ(MW_GetBiosVerBuildTime(text, 2), 0);
    EXPECT_EQ(text, dmi.bios_date);
    // Neither board's version is of numbers alone.
    EXPECT_EQ(MW_GetFirmwareVersionString(MW_FW_TYPE_FRU, 0, text, sizeof text), -1);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST_F(X86Capture, HasTheIdentityOfBoardAndBios) {
    ExpectDmiIdentityOnly(
        *host_, [this](Collector &one) { return Round(one, *host_); }, New);
}

TEST_F(ArmCapture, HasTheIdentityOfBoardAndBios) {
    ExpectDmiIdentityOnly(
        *host_, [this](Collector &one) { return Round(one, *host_); }, New);
}

}  // namespace
}  // namespace collect
