// Disks that hang off the host's own storage controllers (AHCI, IDE, NVMe and the like, no RAID or SAS
// adapters), and those controllers.
#ifndef MWCOLLECT_DISKS_H
#define MWCOLLECT_DISKS_H

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "cpu.h"
#include "host.h"
#include "midware/pch.h"
#include "pci.h"

namespace collect {

// The host's view of the disks takes one less than the table has places for.
inline constexpr size_t kPchDiskMax = MW_PCH_DISK_MAX - 1;

inline constexpr uint8_t kUnknownInterface = 255;

struct DiskController {
    PciFunction function;
    uint8_t cpu = 0;    // number of its processor
    uint8_t ports = 0;  // that have a disk
};

struct HostDisk {
    PciAddress controller;
    std::string name;  // the host's: "sda"
    uint16_t port = 0;
    uint8_t interface = kUnknownInterface;  // MW_PCH_IF_..., or what the host view carries as it is
    uint8_t media = MW_HD_MEDIA_UNKNOWN;
    uint8_t form_factor = 0;  // ATA identify word 168
    uint8_t temperature = 0;  // degrees Celsius; 0: unknown
    uint16_t sector_size = 0;
    uint32_t rotation = 0;  // revolutions per minute; 1: non-rotating, 0: unknown
    uint32_t capacity_mb = 0;
    double link_rate = 0;  // Gbit/s; 0: unknown
    std::array<uint8_t, 8> wwn{};
    std::string vendor;
    std::string model;
    std::string serial;
    std::string firmware;
};

struct HostDisks {
    std::vector<DiskController> controllers;  // by address, at most MW_PCH_CTRL_MAX
    std::vector<HostDisk> disks;              // by name, at most kPchDiskMax; of those controllers only
    size_t controllers_left_out = 0;
    size_t disks_left_out = 0;
};

HostDisks FindDisks(const Host &host, const std::vector<PciFunction> &functions,
                    const std::vector<CpuPackage> &processors);

// What a disk says of itself in an ATA information page (vital product data page 89h), which holds its
// identify data.
struct AtaIdentity {
    std::string model;
    std::string serial;
    std::string firmware;
    uint32_t rotation = 0;  // as in HostDisk
    uint8_t form_factor = 0;
    double link_rate = 0;
    std::array<uint8_t, 8> wwn{};
    bool operator==(const AtaIdentity &) const = default;
};
std::optional<AtaIdentity> ParseAtaPage(std::string_view page);

// "naa.5000...", "eui.0025..." or "0x5000..." with 16 digits.
std::optional<std::array<uint8_t, 8>> ParseWwn(std::string_view text);

// The value of a property in a record of the device manager ("E:KEY=VALUE"), with \xHH decoded; "" where it
// has none.
std::string UdevProperty(std::string_view record, std::string_view key);

// The address in 32 bits: the identifier of a controller in the tables.
uint32_t ControllerId(const PciAddress &address);

PchDiskInfo ToDiskRecord(const HostDisk &disk, uint32_t index);
PchCtrlInfo ToControllerRecord(const DiskController &controller, uint32_t index, const PciNames &names);

}  // namespace collect

#endif
