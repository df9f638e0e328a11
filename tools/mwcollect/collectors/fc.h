// Fibre Channel cards and ports: the hosts of the kernel's fc_host class.
#ifndef MWCOLLECT_FC_H
#define MWCOLLECT_FC_H

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "midware/fccard.h"
#include "midware/pcie.h"
#include "pci.h"

namespace collect {

struct FcPort {
    std::string host;  // "host7"
    uint8_t state = MW_FC_PORT_UNKNOWN;
    uint8_t type = MW_FC_TYPE_UNKNOWN;
    uint32_t port_id = 0;
    std::array<uint8_t, 8> port_name{};  // zeros: none
    std::array<uint8_t, 8> node_name{};
    std::array<uint8_t, 8> fabric_name{};
    uint32_t speed = 0;  // Mbit/s, 0: no link
    uint32_t max_speed = 0;
    uint32_t link_failures = 0, loss_of_sync = 0, loss_of_signal = 0, invalid_tx_words = 0, invalid_crc = 0;
    // Of the card behind the port.
    std::string serial, manufacturer, model, description, hardware, driver_version, firmware, option_rom;
};

struct FcCard {
    PciFunction function;  // its first one
    std::vector<FcPort> ports;
};

struct FcCards {
    std::vector<FcCard>
        cards;  // by address, at most MW_FC_CARD_MAX; their ports by number, at most MW_FC_PORT_MAX in all
    size_t cards_left_out = 0;
    size_t ports_left_out = 0;
};

uint8_t FcState(std::string_view text);  // "Online"
uint8_t FcType(std::string_view text);   // "NPort (fabric via point-to-point)"
std::optional<uint32_t> FcSpeed(
    std::string_view text);  // "16 Gbit" in Mbit/s; 0 for what stands for no speed
std::optional<uint32_t> FcHighestSpeed(std::string_view text);  // "4 Gbit, 8 Gbit, 16 Gbit"

FcCards FindFcCards(const Host &host, const std::vector<PciFunction> &functions);

FCCardRecord ToFcCardRecord(const FcCard &card, const PciVpd &vpd, const PciNames &names);
FCPortRecord ToFcPortRecord(const FcPort &port, uint32_t card, uint32_t number);
// What the PCIe device table takes from the card.
PcieFcCardInfo ToPcieFcRecord(const FCCardRecord &card, const PciFunction &function, const PciNames &names);

}  // namespace collect

#endif
