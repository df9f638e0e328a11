#include "nic.h"

#include <algorithm>
#include <memory>
#include <set>

#include "collector.h"
#include "hwmon.h"
#include "pci_record.h"

namespace collect {
namespace {

const std::string kNet = "/sys/class/net";
constexpr uint32_t kPermanentAddress = 0;  // addr_assign_type
constexpr int32_t kNoReadings = -1;        // iCompleteCode

bool IsNetworkCard(const PciFunction &function) {
    return function.base_class == kPciNetwork && !function.is_virtual;
}

// A counter's low 32 bits.
uint32_t Counter(const Host &host, const std::string &path) {
    return static_cast<uint32_t>(
        host.Number<uint64_t>(path, "a counter", 0, UINT64_MAX, Refusal::kExpected).value_or(0));
}

// The kernel refuses the carrier of an interface that is off, and "unknown" is a state of its own.
uint8_t LinkState(const Host &host, const std::string &dir) {
    const auto carrier = host.Number<uint32_t>(dir + "/carrier", "0 or 1", 0, 1, Refusal::kExpected);
    if (carrier) return *carrier != 0 ? MW_NIC_LINK_UP : MW_NIC_LINK_DOWN;
    const std::string state = host.Text(dir + "/operstate").value_or("");
    if (state == "up") return MW_NIC_LINK_UP;
    return state == "down" || state == "lowerlayerdown" || state == "notpresent" ? MW_NIC_LINK_DOWN
                                                                                 : MW_NIC_UNKNOWN;
}

uint8_t Duplex(const Host &host, const std::string &dir) {
    const std::string path = dir + "/duplex";
    const std::string text = host.Text(path, Refusal::kExpected).value_or("");
    if (text == "full") return 1;
    if (text == "half") return 0;
    if (!text.empty() && text != "unknown") host.Skip(path, "full, half or unknown", text);
    return MW_NIC_UNKNOWN;
}

// Not known is -1, and in older kernels all ones of a word or of half a word.
uint32_t Speed(const Host &host, const std::string &dir) {
    const auto speed =
        host.Number<int64_t>(dir + "/speed", "a speed in Mbit/s", -1, UINT32_MAX, Refusal::kExpected)
            .value_or(-1);
    return speed <= 0 || speed == 0xFFFF || speed == UINT32_MAX ? 0 : static_cast<uint32_t>(speed);
}

// Some drivers report the temperature of the port's module beside that of their chip.
void AddModuleTemperature(const Host &host, const std::vector<HwmonChip> &chips, NicPort &port) {
    for (const HwmonChip &chip : chips) {
        if (!port.address || ParsePciAddress(chip.device) != port.address) continue;
        for (const NumberedEntry &entry : host.Numbered(chip.path, "temp", "_label")) {
            const std::string channel = fmt::format("temp{}", entry.number);
            if (!StartsWithNoCase(HwmonLabel(host, chip, channel), "module")) continue;
            port.module_temperature = HwmonDegrees(host, chip, channel + "_input");
            port.module_critical = HwmonDegrees(host, chip, channel + "_crit");
            return;
        }
    }
}

// Of an InfiniBand device, which says so in a class of its own.
std::string Firmware(const Host &host, const std::string &device_path) {
    for (const std::string &name : host.List(device_path + "/infiniband")) {
        const std::string version =
            Meaningful(host.Text(device_path + "/infiniband/" + name + "/fw_ver").value_or(""));
        if (!version.empty()) return version;
    }
    return {};
}

NicPort ReadPort(const Host &host, const std::string &name, const std::string &device_path) {
    const std::string dir = kNet + "/" + name;
    NicPort port;
    port.name = CleanText(name);
    port.device_path = device_path;
    port.driver = CleanText(host.LinkName(dir + "/device/driver").value_or(""));
    const auto device_port = host.Number<uint32_t>(dir + "/dev_port", "the number of a port");
    const auto device_id = host.Hex<uint32_t>(dir + "/dev_id", "the number of a port");
    port.device_port = device_port.value_or(0) != 0 ? *device_port : device_id.value_or(0);
    const auto length = host.Number<uint32_t>(dir + "/addr_len", "the length of an address");
    if (length == 6u) {
        const std::string text = host.Text(dir + "/address").value_or("");
        port.mac = ParseMac(text);
        if (!port.mac) host.Skip(dir + "/address", "a MAC address", text);
        port.mac_is_permanent =
            host.Number<uint32_t>(dir + "/addr_assign_type", "the origin of an address") == kPermanentAddress;
    }
    port.link_state = LinkState(host, dir);
    port.duplex = Duplex(host, dir);
    port.speed = Speed(host, dir);
    port.mtu = host.Number<uint32_t>(dir + "/mtu", "a number of bytes").value_or(0);
    port.index = host.Number<uint32_t>(dir + "/ifindex", "the number of an interface").value_or(0);
    port.carrier_changes = Counter(host, dir + "/carrier_changes");
    port.rx_packets = Counter(host, dir + "/statistics/rx_packets");
    port.tx_packets = Counter(host, dir + "/statistics/tx_packets");
    port.rx_errors = Counter(host, dir + "/statistics/rx_errors");
    port.tx_errors = Counter(host, dir + "/statistics/tx_errors");
    port.rx_dropped = Counter(host, dir + "/statistics/rx_dropped");
    port.tx_dropped = Counter(host, dir + "/statistics/tx_dropped");
    return port;
}

uint8_t SlotType(const NicCard &card) {
    if (!card.function || card.function->slot.name.empty()) return 0;  // on the board
    return card.function->slot.ocp ? MW_NIC_SLOT_OCP : MW_NIC_SLOT_STANDARD;
}

uint8_t SlotNumber(const NicCard &card) { return card.function ? card.function->slot.number : uint8_t{0}; }

class NicCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        if (!host.Exists(kNet) && !host.Exists("/sys/bus/pci/devices")) return;
        const NicCards found = FindNicCards(host, ReadPciFunctions(host));
        if (found.cards_left_out + found.ports_left_out > 0) {
            host.log().Once(
                fmt::format("network cards: {} cards and {} ports left out, there is room for {} and {}",
                            found.cards_left_out, found.ports_left_out, MW_NIC_CARD_MAX, MW_NIC_PORT_MAX));
        }
        WriteCards(host, found, writer);
        WritePorts(host, found, writer);
    }

  private:
    void WriteCards(const Host &host, const NicCards &found, Writer &writer) {
        const auto stored = std::make_unique<NicCardBlock>();
        const auto block = std::make_unique<NicCardBlock>();
        if (MW_GetNICCardAssetInfo(stored.get()) != 0 || stored->dwNicCardNum > MW_NIC_CARD_MAX)
            stored->dwNicCardNum = 0;
        const PciNames &names = InstalledPciNames(host.log());
        for (const NicCard &card : found.cards) {
            NicCardAssetInfo &info = block->atNicCard[block->dwNicCardNum++];
            info = ToNicCardRecord(card, card.function ? vpd_.Of(host, *card.function) : PciVpd{}, names);
            for (uint32_t i = 0; i < stored->dwNicCardNum; ++i) KeepOthersData(stored->atNicCard[i], info);
        }
        // Others keep the readings of sensors in these records: they are written only when a card says
        // something new.
        const bool as_stored = [&] {
            if (block->dwNicCardNum != stored->dwNicCardNum) return false;
            for (uint32_t i = 0; i < block->dwNicCardNum; ++i) {
                NicCardAssetInfo dated = block->atNicCard[i];
                dated.dwUpdateTime = stored->atNicCard[i].dwUpdateTime;
                if (std::memcmp(&dated, &stored->atNicCard[i], sizeof dated) != 0) return false;
            }
            return true;
        }();
        if (as_stored) return;
        const uint32_t uptime = UptimeSeconds(host);
        for (uint32_t i = 0; i < block->dwNicCardNum; ++i) block->atNicCard[i].dwUpdateTime = uptime;
        writer.Wrote("network cards", block->dwNicCardNum, MW_SetNICCardAssetInfo(block.get()));
    }

    void WritePorts(const Host &host, const NicCards &found, Writer &writer) {
        const auto stored = std::make_unique<NicPortBlock>();
        const auto block = std::make_unique<NicPortBlock>();
        if (MW_GetNICPortAssetInfo(stored.get()) != 0 || stored->dwNicPortNum > MW_NIC_PORT_MAX)
            stored->dwNicPortNum = 0;
        const uint32_t uptime = UptimeSeconds(host);
        for (const NicCard &card : found.cards) {
            uint32_t number = 0;
            for (const NicPort &port : card.ports) {
                NicPortAssetInfo &info = block->atNicPort[block->dwNicPortNum++];
                info = ToNicPortRecord(card, port, ++number);
                info.dwUpdateTime = uptime;
                for (uint32_t i = 0; i < stored->dwNicPortNum; ++i)
                    KeepOthersData(stored->atNicPort[i], info);
                if (port.module_temperature) {
                    measured_.insert(port.name);
                } else if (measured_.erase(port.name) != 0) {
                    // The sensor is gone: what was kept is this collector's own last reading.
                    info.iCompleteCode = kNoReadings;
                    info.fPortTemp = info.fTempHighAlarm = 0;
                    info.ucModulePresent = 0;
                }
            }
        }
        if (block->dwNicPortNum + stored->dwNicPortNum == 0) return;
        writer.Wrote("network ports", block->dwNicPortNum, MW_SetNICPortAssetInfo(block.get()));
    }

    PciVpdCache vpd_;
    std::set<std::string> measured_;  // ports whose module's temperature was read here
};

const Registration registered({"nic", "network cards and their ports", 42, Make<NicCollector>});

template <size_t Size>
void KeepText(const char (&stored)[Size], char (&found)[Size]) {
    if (found[0] == '\0') std::memcpy(found, stored, Size);
}

}  // namespace

std::optional<std::array<uint8_t, 6>> ParseMac(std::string_view text) {
    std::array<uint8_t, 6> mac{};
    if (text.size() != 17) return std::nullopt;
    for (size_t i = 0; i < mac.size(); ++i) {
        const std::string_view octet = text.substr(3 * i, 2);
        const auto value = octet.find_first_not_of("0123456789abcdefABCDEF") == octet.npos
                               ? ParseNumber<uint8_t>(octet, 16)
                               : std::nullopt;
        if (!value || (i < 5 && text[3 * i + 2] != ':')) return std::nullopt;
        mac[i] = *value;
    }
    return mac;
}

NicCards FindNicCards(const Host &host, const std::vector<PciFunction> &functions) {
    NicCards found;
    std::vector<NicCard> &cards = found.cards;
    for (const PciFunction &function : functions) {
        if (!IsNetworkCard(function)) continue;
        // The functions of a device are one card.
        if (cards.empty() || !cards.back().function->address.SamePlace(function.address))
            cards.push_back({function, {}, {}});
    }
    const size_t on_pci = cards.size();
    const std::vector<HwmonChip> chips = HwmonChips(host);
    for (const std::string &name : host.List(kNet)) {
        // An interface without a device is the kernel's own: a bridge, a loop, a virtual network.
        const auto device_path = host.Resolve(kNet + "/" + name + "/device");
        if (!device_path) continue;
        const PciFunction *parent = FindPciParent(functions, *device_path);
        if (parent != nullptr && parent->base_class == kPciNetwork && parent->is_virtual) continue;
        NicPort port = ReadPort(host, name, *device_path);
        auto card = cards.end();
        if (parent != nullptr && parent->base_class == kPciNetwork) {
            port.address = parent->address;
            port.numa_node = parent->numa_node;
            port.firmware = Firmware(host, parent->path);
            AddModuleTemperature(host, chips, port);
            card = std::find_if(cards.begin(), cards.end(), [&](const NicCard &one) {
                return one.function && one.function->address.SamePlace(parent->address);
            });
        } else {
            card = std::find_if(cards.begin() + static_cast<std::ptrdiff_t>(on_pci), cards.end(),
                                [&](const NicCard &one) { return one.path == *device_path; });
            if (card == cards.end()) card = cards.insert(cards.end(), {std::nullopt, *device_path, {}});
        }
        card->ports.push_back(std::move(port));
    }
    std::sort(cards.begin() + static_cast<std::ptrdiff_t>(on_pci), cards.end(),
              [](const NicCard &a, const NicCard &b) { return NaturalLess(a.path, b.path); });
    size_t room = MW_NIC_PORT_MAX;
    for (size_t i = 0; i < cards.size(); ++i) {
        std::vector<NicPort> &ports = cards[i].ports;
        // List sorts by name, which decides where the rest is equal.
        std::stable_sort(ports.begin(), ports.end(), [](const NicPort &a, const NicPort &b) {
            return std::tie(a.address, a.device_port) < std::tie(b.address, b.device_port);
        });
        const size_t taken = i < MW_NIC_CARD_MAX ? std::min(room, ports.size()) : 0;
        found.ports_left_out += ports.size() - taken;
        room -= taken;
        ports.resize(taken);
    }
    if (cards.size() > MW_NIC_CARD_MAX) {
        found.cards_left_out = cards.size() - MW_NIC_CARD_MAX;
        cards.resize(MW_NIC_CARD_MAX);
    }
    return found;
}

NicCardAssetInfo ToNicCardRecord(const NicCard &card, const PciVpd &vpd, const PciNames &names) {
    NicCardAssetInfo info{};
    info.ucPresent = 1;
    info.ucNicSlotType = SlotType(card);
    info.ucNicSlotId = info.ucNicSlotNum = SlotNumber(card);
    info.ucNumaNode = MW_NIC_UNKNOWN;
    info.ucPortNum = static_cast<uint8_t>(card.ports.size());
    for (const NicPort &port : card.ports) {
        if (port.mac && port.mac_is_permanent && info.ucMacNum < MW_NIC_MAC_MAX) {
            std::copy(port.mac->begin(), port.mac->end(), info.aucMac[info.ucMacNum++]);
        }
    }
    std::string driver;
    std::string firmware;
    for (const NicPort &port : card.ports) {
        if (driver.empty()) driver = port.driver;
        if (firmware.empty()) firmware = port.firmware;
    }
    if (card.function) {
        const PciFunction &function = *card.function;
        if (driver.empty()) driver = function.driver;
        FillLinks(info, function);
        info.dwDomain = function.address.domain;
        info.ucRevision = function.revision;
        FillIdentity(info, function);
        const PciTexts texts = DescribePci(function, vpd, names);
        Fill(info.acSlotName, function.slot.name);
        Fill(info.acNicText1, texts.product);
        Fill(info.acNicText3, texts.maker.empty() ? texts.controller_maker : texts.maker);
        Fill(info.acDeviceName, texts.device);
    }
    Fill(info.acDriver, driver);
    Fill(info.acNicText2, firmware);
    Fill(info.acFirmware, firmware);
    Fill(info.acNicText4, vpd.change);
    Fill(info.acNicText5, vpd.part);
    Fill(info.acSerialNum, vpd.serial);
    return info;
}

NicPortAssetInfo ToNicPortRecord(const NicCard &card, const NicPort &port, uint32_t number) {
    NicPortAssetInfo info{};
    info.ucLinkState = port.link_state;
    info.ucDuplex = port.duplex;
    info.ucAutoNeg = MW_NIC_UNKNOWN;
    info.ucNetPortOwnerNicSlottype = SlotType(card);
    info.ucNetPortOwnerNicSlotnum = SlotNumber(card);
    info.ucNumaNode = port.numa_node.value_or(MW_NIC_UNKNOWN);
    if (port.mac) std::copy(port.mac->begin(), port.mac->end(), info.aucMac);
    if (port.mac && port.mac_is_permanent) std::copy(port.mac->begin(), port.mac->end(), info.aucPermMac);
    info.dwSpeed = port.speed;
    info.dwMtu = port.mtu;
    Fill(info.acIfName, port.name);
    info.ucNetPortId = static_cast<uint8_t>(number);
    if (port.address) {
        FillAddress(info, *port.address);
        info.dwDomain = port.address->domain;
    }
    Fill(info.acDriver, port.driver);
    Fill(info.acFirmware, port.firmware);
    info.dwIfIndex = port.index;
    info.dwCarrierChanges = port.carrier_changes;
    info.iCompleteCode = port.module_temperature ? 0 : kNoReadings;
    info.ucModulePresent = port.module_temperature ? 1 : 0;
    info.fPortTemp = static_cast<float>(port.module_temperature.value_or(0));
    info.fTempHighAlarm = static_cast<float>(port.module_critical.value_or(0));
    info.dwRxPackets = port.rx_packets;
    info.dwTxPackets = port.tx_packets;
    info.dwRxErrors = port.rx_errors;
    info.dwTxErrors = port.tx_errors;
    info.dwRxDropped = port.rx_dropped;
    info.dwTxDropped = port.tx_dropped;
    return info;
}

void KeepOthersData(const NicCardAssetInfo &stored, NicCardAssetInfo &found) {
    const auto key = [](const NicCardAssetInfo &info) {
        return std::tuple(info.dwDomain, Identity(info), info.ucNicSlotType, info.ucNicSlotNum);
    };
    // Without IDs there is nothing to know a card by.
    if (key(stored) != key(found) || found.wVendorId == 0 || !HasSerialOf(stored, found)) return;
    found.ucNicSlotId = stored.ucNicSlotId;
    found.ucNicAttr = stored.ucNicAttr;
    found.dwT200Flag = stored.dwT200Flag;
    found.tT200Info = stored.tT200Info;
    KeepText(stored.acNicText1, found.acNicText1);
    KeepText(stored.acNicText2, found.acNicText2);
    KeepText(stored.acNicText3, found.acNicText3);
    KeepText(stored.acNicText4, found.acNicText4);
    KeepText(stored.acNicText5, found.acNicText5);
    KeepText(stored.acFirmware, found.acFirmware);
    KeepText(stored.acDriverVersion, found.acDriverVersion);
    KeepText(stored.acSerialNum, found.acSerialNum);
    std::copy(std::begin(stored.adwReserved1), std::end(stored.adwReserved1), found.adwReserved1);
    std::copy(std::begin(stored.adwReserved2), std::end(stored.adwReserved2), found.adwReserved2);
}

void KeepOthersData(const NicPortAssetInfo &stored, NicPortAssetInfo &found) {
    const auto key = [](const NicPortAssetInfo &info) {
        return std::tuple(info.dwDomain, info.ucBus, info.ucDevice, info.ucFunction, info.ucNetPortId,
                          info.ucNetPortOwnerNicSlottype, info.ucNetPortOwnerNicSlotnum);
    };
    if (key(stored) != key(found) || std::memcmp(stored.acIfName, found.acIfName, sizeof found.acIfName) != 0)
        return;
    found.ucAutoNeg = stored.ucAutoNeg;
    found.ucConnector = stored.ucConnector;
    KeepText(stored.acFirmware, found.acFirmware);
    found.dwReserved1 = stored.dwReserved1;
    std::copy(std::begin(stored.adwReserved3), std::end(stored.adwReserved3), found.adwReserved3);
    if (found.iCompleteCode == 0) return;
    found.ucModulePresent = stored.ucModulePresent;
    found.iCompleteCode = stored.iCompleteCode;
    found.fPortTemp = stored.fPortTemp;
    found.fTempHighAlarm = stored.fTempHighAlarm;
    found.fTempHighWarning = stored.fTempHighWarning;
    found.ucModuleType = stored.ucModuleType;
    std::memcpy(found.acModuleVendor, stored.acModuleVendor, sizeof found.acModuleVendor);
    std::memcpy(found.acModulePartNum, stored.acModulePartNum, sizeof found.acModulePartNum);
    std::memcpy(found.acModuleSerialNum, stored.acModuleSerialNum, sizeof found.acModuleSerialNum);
    found.fTxPower = stored.fTxPower;
    found.fRxPower = stored.fRxPower;
    found.fTxBias = stored.fTxBias;
    found.fModuleVoltage = stored.fModuleVoltage;
}

}  // namespace collect
