#include "fc.h"

#include <algorithm>
#include <memory>

#include "collector.h"
#include "pci_record.h"

namespace collect {
namespace {

const std::string kHosts = "/sys/class/fc_host";

// "0x10000090fa123456", first byte first; zeros for all ones and for nothing.
std::array<uint8_t, 8> WorldWideName(const Host &host, const std::string &path) {
    const auto value =
        host.Number<uint64_t>(path, "a world-wide name", 0, UINT64_MAX, Refusal::kExpected, 16).value_or(0);
    std::array<uint8_t, 8> name{};
    for (size_t i = 0; i < name.size() && value != UINT64_MAX; ++i)
        name[i] = static_cast<uint8_t>(value >> 8 * (7 - i));
    return name;
}

// All ones stand for a figure that the driver does not have.
uint32_t Statistic(const Host &host, const std::string &dir, const char *name) {
    const auto value = host.Number<uint64_t>(dir + "/statistics/" + name, "a counter", 0, UINT64_MAX,
                                             Refusal::kExpected, 16);
    return value.value_or(UINT64_MAX) == UINT64_MAX
               ? 0
               : static_cast<uint32_t>(std::min<uint64_t>(*value, UINT32_MAX));
}

FcPort ReadPort(const Host &host, const std::string &name) {
    const std::string dir = kHosts + "/" + name;
    const auto text = [&](const char *file) {
        return Meaningful(host.Text(dir + "/" + file, Refusal::kExpected).value_or(""));
    };
    const auto speed = [&](const char *file, std::optional<uint32_t> (*parse)(std::string_view)) -> uint32_t {
        const std::string value = host.Text(dir + "/" + file, Refusal::kExpected).value_or("");
        const auto parsed = parse(value);
        if (!parsed) host.Skip(dir + "/" + file, "a speed in Gbit", value);
        return parsed.value_or(0);
    };
    FcPort port;
    port.host = CleanText(name);
    port.state = FcState(text("port_state"));
    port.type = FcType(text("port_type"));
    port.port_id =
        host.Number<uint32_t>(dir + "/port_id", "an address of 24 bits", 0, 0xFFFFFF, Refusal::kExpected, 16)
            .value_or(0);
    port.port_name = WorldWideName(host, dir + "/port_name");
    port.node_name = WorldWideName(host, dir + "/node_name");
    port.fabric_name = WorldWideName(host, dir + "/fabric_name");
    port.speed = speed("speed", FcSpeed);
    port.max_speed = speed("supported_speeds", FcHighestSpeed);
    port.link_failures = Statistic(host, dir, "link_failure_count");
    port.loss_of_sync = Statistic(host, dir, "loss_of_sync_count");
    port.loss_of_signal = Statistic(host, dir, "loss_of_signal_count");
    port.invalid_tx_words = Statistic(host, dir, "invalid_tx_word_count");
    port.invalid_crc = Statistic(host, dir, "invalid_crc_count");
    port.serial = text("serial_number");
    port.manufacturer = text("manufacturer");
    port.model = text("model");
    port.description = text("model_description");
    port.hardware = text("hardware_version");
    port.driver_version = text("driver_version");
    port.firmware = text("firmware_version");
    port.option_rom = text("optionrom_version");
    return port;
}

// The first port's text of a card that has one.
std::string FirstOf(const FcCard &card, std::string FcPort::*text) {
    for (const FcPort &port : card.ports) {
        if (!(port.*text).empty()) return port.*text;
    }
    return {};
}

class FcCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        if (!host.Exists(kHosts)) return;
        const std::vector<PciFunction> functions = ReadPciFunctions(host);
        const FcCards found = FindFcCards(host, functions);
        if (found.cards_left_out + found.ports_left_out > 0) {
            host.log().Once(
                fmt::format("Fibre Channel: {} cards and {} ports left out, there is room for {} and {}",
                            found.cards_left_out, found.ports_left_out, MW_FC_CARD_MAX, MW_FC_PORT_MAX));
        }
        const auto stored = std::make_unique<FCCardAssetInfo>();
        const auto cards = std::make_unique<FCCardAssetInfo>();
        const auto ports = std::make_unique<FCPortAssetInfo>();
        if (MW_GetFCCardAssetInfo(stored.get()) != 0 || stored->dwCardCount > MW_FC_CARD_MAX)
            stored->dwCardCount = 0;
        const PciNames &names = InstalledPciNames(host.log());
        for (const FcCard &card : found.cards) {
            const uint32_t index = cards->dwCardCount++;
            FCCardRecord &record = cards->atCard[index];
            record = ToFcCardRecord(card, vpd_.Of(host, card.function), names);
            for (uint32_t i = 0; i < stored->dwCardCount; ++i) KeepOthersData(stored->atCard[i], record);
            uint32_t number = 0;
            for (const FcPort &port : card.ports) {
                ports->atPort[ports->dwPortCount++] = ToFcPortRecord(port, index, ++number);
            }
        }
        if (std::memcmp(cards.get(), stored.get(), sizeof *cards) != 0) {
            if (writer.Wrote("Fibre Channel cards", cards->dwCardCount, MW_SetFCCardAssetInfo(cards.get()))) {
                WriteToPcie(found, *cards, names, writer);
            }
        }
        writer.Wrote("Fibre Channel ports", ports->dwPortCount, MW_SetFCPortAssetInfo(ports.get()));
    }

  private:
    static void KeepOthersData(const FCCardRecord &stored, FCCardRecord &found) {
        if (stored.wDomain != found.wDomain || Identity(stored) != Identity(found) ||
            !HasSerialOf(stored, found)) {
            return;
        }
        found.iTemp = stored.iTemp;
        found.dwHealthyStatus = stored.dwHealthyStatus;
        std::memcpy(found.aucReserved2, stored.aucReserved2, sizeof found.aucReserved2);
    }

    // The device table knows cards by their slot.
    static void WriteToPcie(const FcCards &found, const FCCardAssetInfo &cards, const PciNames &names,
                            Writer &writer) {
        for (size_t i = 0; i < found.cards.size(); ++i) {
            if (cards.atCard[i].dwSlot == 0) continue;
            const PcieFcCardInfo info = ToPcieFcRecord(cards.atCard[i], found.cards[i].function, names);
            writer.Wrote("Fibre Channel cards of the PCIe table", 1, MW_SetPcieFcInfo(&info));
        }
    }

    PciVpdCache vpd_;
};

const Registration registered({"fc", "Fibre Channel cards and ports", 44, Make<FcCollector>});

}  // namespace

uint8_t FcState(std::string_view text) {
    if (EqualNoCase(text, "Online")) return MW_FC_PORT_ONLINE;
    if (EqualNoCase(text, "Offline")) return MW_FC_PORT_OFFLINE;
    if (EqualNoCase(text, "Linkdown")) return MW_FC_PORT_LINK_DOWN;
    if (EqualNoCase(text, "Error")) return MW_FC_PORT_ERROR;
    return MW_FC_PORT_UNKNOWN;
}

uint8_t FcType(std::string_view text) {
    if (StartsWithNoCase(text, "NPort")) return MW_FC_TYPE_NF;
    if (StartsWithNoCase(text, "NLPort") || StartsWithNoCase(text, "LPort")) return MW_FC_TYPE_NL;
    if (StartsWithNoCase(text, "Point-To-Point")) return MW_FC_TYPE_N;
    return MW_FC_TYPE_UNKNOWN;
}

std::optional<uint32_t> FcSpeed(std::string_view text) {
    const std::vector<std::string_view> words = Words(text);
    if (words.empty() || StartsWithNoCase(text, "Unknown") || StartsWithNoCase(text, "Not")) return 0;
    const auto number = ParseNumber<uint32_t>(words[0]);
    if (words.size() != 2 || words[1] != "Gbit" || !number || *number > 4'000'000) return std::nullopt;
    return *number * 1000;
}

std::optional<uint32_t> FcHighestSpeed(std::string_view text) {
    uint32_t highest = 0;
    while (!text.empty()) {
        const size_t comma = std::min(text.find(','), text.size());
        const auto speed = FcSpeed(Trim(text.substr(0, comma)));
        if (!speed) return std::nullopt;
        highest = std::max(highest, *speed);
        text.remove_prefix(std::min(comma + 1, text.size()));
    }
    return highest;
}

FcCards FindFcCards(const Host &host, const std::vector<PciFunction> &functions) {
    FcCards found;
    for (const NumberedEntry &entry : host.Numbered(kHosts, "host")) {
        const auto path = host.Resolve(kHosts + "/" + entry.name);
        // A virtual port lives on a real one, and a host without a PCI function is no card.
        if (!path || path->find("/vport-") != std::string::npos) continue;
        const PciFunction *parent = FindPciParent(functions, *path);
        if (parent == nullptr || parent->base_class == kPciNetwork) continue;
        if (parent->address.domain > UINT16_MAX) {
            host.log().Once(fmt::format("{}: PCI domain {:x} does not fit into the record; skipped",
                                        entry.name, parent->address.domain));
            continue;
        }
        auto card = std::find_if(found.cards.begin(), found.cards.end(), [&](const FcCard &one) {
            return one.function.address.SamePlace(parent->address);
        });
        if (card == found.cards.end()) card = found.cards.insert(card, {*parent, {}});
        if (parent->address < card->function.address) card->function = *parent;
        card->ports.push_back(ReadPort(host, entry.name));
    }
    std::sort(found.cards.begin(), found.cards.end(),
              [](const FcCard &a, const FcCard &b) { return a.function.address < b.function.address; });
    size_t room = MW_FC_PORT_MAX;
    for (size_t i = 0; i < found.cards.size(); ++i) {
        std::vector<FcPort> &ports = found.cards[i].ports;
        const size_t taken = i < MW_FC_CARD_MAX ? std::min(room, ports.size()) : 0;
        found.ports_left_out += ports.size() - taken;
        room -= taken;
        ports.resize(taken);
    }
    if (found.cards.size() > MW_FC_CARD_MAX) {
        found.cards_left_out = found.cards.size() - MW_FC_CARD_MAX;
        found.cards.resize(MW_FC_CARD_MAX);
    }
    return found;
}

FCCardRecord ToFcCardRecord(const FcCard &card, const PciVpd &vpd, const PciNames &names) {
    const PciFunction &function = card.function;
    const PciTexts texts = DescribePci(function, vpd, names);
    const auto either = [](const std::string &first, const std::string &second) {
        return first.empty() ? second : first;
    };
    FCCardRecord info{};
    info.dwSlot = function.slot.number;
    info.dwPresent = 1;
    FillIdentity(info, function);
    info.wDomain = static_cast<uint16_t>(function.address.domain);
    info.ucPortCount = static_cast<uint8_t>(card.ports.size());
    Fill(info.acManufacturer,
         either(FirstOf(card, &FcPort::manufacturer), either(texts.maker, texts.controller_maker)));
    Fill(info.acModel, either(FirstOf(card, &FcPort::model), texts.product));
    Fill(info.acDescription, FirstOf(card, &FcPort::description));
    Fill(info.acPartNum, vpd.part);
    Fill(info.acSerialNum, either(vpd.serial, FirstOf(card, &FcPort::serial)));
    Fill(info.acFirmwareVersion, FirstOf(card, &FcPort::firmware));
    Fill(info.acDriver, function.driver);
    Fill(info.acDriverVersion, FirstOf(card, &FcPort::driver_version));
    Fill(info.acOptionRomVersion, FirstOf(card, &FcPort::option_rom));
    Fill(info.acHardwareVersion, FirstOf(card, &FcPort::hardware));
    return info;
}

FCPortRecord ToFcPortRecord(const FcPort &port, uint32_t card, uint32_t number) {
    FCPortRecord info{};
    info.ucCardIndex = static_cast<uint8_t>(card);
    info.ucPort = static_cast<uint8_t>(number);
    info.ucState = port.state;
    info.ucType = port.type;
    info.dwPortId = port.port_id;
    std::copy(port.port_name.begin(), port.port_name.end(), info.aucPortName);
    std::copy(port.node_name.begin(), port.node_name.end(), info.aucNodeName);
    std::copy(port.fabric_name.begin(), port.fabric_name.end(), info.aucFabricName);
    info.dwSpeed = port.speed;
    info.dwMaxSpeed = port.max_speed;
    Fill(info.acHostName, port.host);
    info.dwLinkFailures = port.link_failures;
    info.dwLossOfSync = port.loss_of_sync;
    info.dwLossOfSignal = port.loss_of_signal;
    info.dwInvalidTxWords = port.invalid_tx_words;
    info.dwInvalidCrc = port.invalid_crc;
    return info;
}

PcieFcCardInfo ToPcieFcRecord(const FCCardRecord &card, const PciFunction &function, const PciNames &names) {
    PcieFcCardInfo info{};
    info.ucSlot = static_cast<uint8_t>(card.dwSlot);
    Fill(info.tText.acSerialNum, std::string_view(card.acSerialNum));
    Fill(info.tText.acTextB, std::string_view(card.acPartNum));
    Fill(info.tText.acTextC, std::string_view(card.acManufacturer));
    Fill(info.tText.acTextD, std::string_view(card.acHardwareVersion));
    Fill(info.tText.acTextE, names.Vendor(function.vendor));
    Fill(info.tText.acTextF, std::string_view(card.acFirmwareVersion));
    Fill(info.tText.acTextG, std::string_view(card.acModel));
    Fill(info.tText.acDevTypeName, "FC");
    return info;
}

}  // namespace collect
