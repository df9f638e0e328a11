// Network cards and their ports: PCI functions of the network class and the interfaces of physical devices.
#ifndef MWCOLLECT_NIC_H
#define MWCOLLECT_NIC_H

#include <optional>
#include <string>
#include <vector>

#include "midware/netcard.h"
#include "pci.h"

namespace collect {

struct NicPort {
    std::string name;
    std::string driver;
    std::optional<PciAddress> address;  // of its PCI function
    std::string device_path;            // of the device behind the interface, without links
    uint32_t device_port = 0;           // which port of its function it is
    std::optional<std::array<uint8_t, 6>> mac;
    bool mac_is_permanent = false;
    uint8_t link_state = MW_NIC_UNKNOWN;
    uint8_t duplex = MW_NIC_UNKNOWN;
    uint32_t speed = 0;  // Mbit/s, 0 unknown
    uint32_t mtu = 0;
    uint32_t index = 0;
    uint32_t carrier_changes = 0;
    uint32_t rx_packets = 0, tx_packets = 0, rx_errors = 0, tx_errors = 0, rx_dropped = 0, tx_dropped = 0;
    std::optional<uint8_t> numa_node;
    std::string firmware;
    std::optional<int32_t> module_temperature;  // degrees Celsius, all of them
    std::optional<int32_t> module_critical;
};

struct NicCard {
    std::optional<PciFunction> function;  // its first one; nothing for a card on another bus
    std::string path;                     // of the device of a card on another bus
    std::vector<NicPort> ports;           // in the order of their numbers, from 1 on
};

struct NicCards {
    std::vector<NicCard> cards;  // those on the PCI bus by address, then the others; at most MW_NIC_CARD_MAX
    size_t cards_left_out = 0;
    size_t ports_left_out = 0;
};

// "00:1b:21:0a:0b:0c", nothing else.
std::optional<std::array<uint8_t, 6>> ParseMac(std::string_view text);

NicCards FindNicCards(const Host &host, const std::vector<PciFunction> &functions);

NicCardAssetInfo ToNicCardRecord(const NicCard &card, const PciVpd &vpd, const PciNames &names);
NicPortAssetInfo ToNicPortRecord(const NicCard &card, const NicPort &port, uint32_t number);

// What is stored about a card or port and not found by this collector is kept: sensors, readings of modules.
void KeepOthersData(const NicCardAssetInfo &stored, NicCardAssetInfo &found);
void KeepOthersData(const NicPortAssetInfo &stored, NicPortAssetInfo &found);

}  // namespace collect

#endif
