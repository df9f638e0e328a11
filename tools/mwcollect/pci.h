// PCI functions as the kernel lists them, the slots that they sit in, and the texts that their cards carry.
#ifndef MWCOLLECT_PCI_H
#define MWCOLLECT_PCI_H

#include <array>
#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "host.h"

namespace collect {

inline constexpr uint8_t kPciStorage = 0x01;  // base classes
inline constexpr uint8_t kPciNetwork = 0x02;
inline constexpr uint8_t kPciDisplay = 0x03;
inline constexpr uint8_t kPciMemory = 0x05;
inline constexpr uint8_t kPciBridge = 0x06;
inline constexpr uint8_t kPciSystemPeripheral = 0x08;
inline constexpr uint8_t kPciSerialBus = 0x0C;
inline constexpr uint8_t kPciSignalProcessing = 0x11;
inline constexpr uint8_t kPciAccelerator = 0x12;

struct PciAddress {
    uint32_t domain = 0;
    uint8_t bus = 0;
    uint8_t device = 0;
    uint8_t function = 0;

    auto operator<=>(const PciAddress &) const = default;
    auto Place() const { return std::tuple(domain, bus, device); }  // without the function
    bool SamePlace(const PciAddress &other) const { return Place() == other.Place(); }
};

// "0000:02:00.0", nothing else.
std::optional<PciAddress> ParsePciAddress(std::string_view text);

struct PciSlot {
    uint8_t number = 0;  // 0: no slot, or one whose number is not known
    std::string name;    // as the system names it
    bool ocp = false;    // for OCP network cards
};

struct PciLink {
    uint8_t speed = 0;  // generation, 0 unknown
    uint8_t width = 0;  // lanes, 0 unknown
    bool operator==(const PciLink &) const = default;
};

struct PciFunction {
    PciAddress address;
    std::string path;  // its directory, without links
    uint16_t vendor = 0;
    uint16_t device = 0;
    uint16_t sub_vendor = 0;
    uint16_t sub_device = 0;
    uint8_t base_class = 0;
    uint8_t sub_class = 0;
    uint8_t prog_if = 0;
    uint8_t revision = 0;
    uint8_t header_type = 0;
    PciLink link;      // as trained
    PciLink max_link;  // what the device can do
    std::optional<uint8_t> numa_node;
    bool is_virtual = false;  // a virtual function of another one (SR-IOV)
    std::string driver;
    std::string label;  // of a device on the board, as firmware calls it
    PciSlot slot;

    bool IsBridge() const { return base_class == kPciBridge || header_type == 1 || header_type == 2; }
};

// All functions, by address.
std::vector<PciFunction> ReadPciFunctions(const Host &host);

// The innermost PCI function that a path without links leads through; NULL when it leads through none that is
// listed.
const PciFunction *FindPciParent(const std::vector<PciFunction> &functions, std::string_view path);

// "8.0 GT/s PCIe" as a generation, 0 for what is none.
uint8_t PciGeneration(std::string_view text);

// The link of the PCI Express capability of a configuration space, as trained and at most; nothing when the
// space ends before its capabilities or has no such one.
struct PciLinks {
    PciLink now;
    PciLink most;
};
std::optional<PciLinks> ParsePciLinks(std::string_view config);

// Vital product data (PCI local bus specification, appendix I).
struct PciVpd {
    std::string name;
    std::string part;    // PN
    std::string serial;  // SN
    std::string maker;   // MN
    std::string change;  // EC, the engineering change level
    bool operator==(const PciVpd &) const = default;
};
PciVpd ParsePciVpd(std::string_view bytes);

// Reads each device's vital product data once: a read takes the device long.
class PciVpdCache {
  public:
    const PciVpd &Of(const Host &host, const PciFunction &function);

  private:
    struct Known {
        std::array<uint16_t, 4> ids{};
        PciVpd vpd;
    };
    std::map<PciAddress, Known> known_;
};

// Names of vendors and devices from the PCI ID database.
class PciNames {
  public:
    explicit PciNames(std::string text = {});
    PciNames(const PciNames &) = delete;
    PciNames &operator=(const PciNames &) = delete;

    // "" for what has no name there.
    std::string Vendor(uint16_t vendor) const;
    std::string Device(uint16_t vendor, uint16_t device) const;
    std::string Subsystem(uint16_t vendor, uint16_t device, uint16_t sub_vendor, uint16_t sub_device) const;

  private:
    std::string_view DeviceBlock(uint16_t vendor, uint16_t device) const;

    std::string text_;
    std::map<uint16_t, std::string_view> vendors_;  // a vendor's line and those below it
};

// The database of the machine that this program runs on, whatever machine is read; empty when it has none.
const PciNames &InstalledPciNames(Log &log);

// What a card is called, from its own data and the names of its IDs.
struct PciTexts {
    std::string product;
    std::string maker;             // of the card
    std::string controller_maker;  // of the controller on it
    std::string device;            // name of the device ID
};
PciTexts DescribePci(const PciFunction &function, const PciVpd &vpd, const PciNames &names);

// The seconds since the start of the host's kernel; 0 when it does not say.
uint32_t UptimeSeconds(const Host &host);

}  // namespace collect

#endif
