#include "pci.h"

#include <algorithm>
#include <set>

#include "smbios.h"

namespace collect {
namespace {

const std::string kDevices = "/sys/bus/pci/devices";
const std::string kSlots = "/sys/bus/pci/slots";

constexpr uint8_t kSystemSlot = 9;  // SMBIOS
constexpr uint8_t kAnyDevice = 0xFF;
constexpr size_t kConfigMax = 4096;
constexpr size_t kVpdMax = 32768;
constexpr size_t kNamesMax = 16u << 20;

uint32_t ByteAt(std::string_view bytes, size_t at) { return static_cast<unsigned char>(bytes[at]); }

// Hexadecimal digits only, as many as wanted at least and at most.
std::optional<uint32_t> HexDigits(std::string_view text, size_t least, size_t most) {
    if (text.size() < least || text.size() > most ||
        text.find_first_not_of("0123456789abcdefABCDEF") != text.npos) {
        return std::nullopt;
    }
    return ParseNumber<uint32_t>(text, 16);
}

// "0000:02:00", or "0000:02" for all devices of a bus.
std::optional<PciAddress> ParsePlace(std::string_view text) {
    const size_t first = text.find(':');
    if (first == text.npos) return std::nullopt;
    const size_t second = text.find(':', first + 1);
    const auto domain = HexDigits(text.substr(0, first), 4, 8);
    const auto bus =
        HexDigits(text.substr(first + 1, second == text.npos ? second : second - first - 1), 2, 2);
    const auto device =
        second == text.npos ? std::optional<uint32_t>(kAnyDevice) : HexDigits(text.substr(second + 1), 2, 2);
    if (!domain || !bus || !device || (second != text.npos && *device > 31)) return std::nullopt;
    return PciAddress{*domain, static_cast<uint8_t>(*bus), static_cast<uint8_t>(*device), 0};
}

using SlotMap = std::map<std::tuple<uint32_t, uint8_t, uint8_t>, PciSlot>;

// The kernel's slots carry their number as their name; firmware knows what is printed beside them, and some
// that the kernel does not.
SlotMap ReadSlots(const Host &host) {
    SlotMap slots;
    std::set<uint32_t> taken;
    for (const std::string &name : host.List(kSlots)) {
        const std::string path = kSlots + "/" + name + "/address";
        const std::optional<std::string> text = host.Text(path);
        if (!text) continue;
        const std::optional<PciAddress> place = ParsePlace(*text);
        if (!place) {
            host.Skip(path, "an address like 0000:82:00", *text);
            continue;
        }
        PciSlot slot;
        slot.name = CleanText(name);
        const auto number = ParseNumber<uint32_t>(name);
        if (number && *number >= 1 && *number <= 255 && taken.insert(*number).second) {
            slot.number = static_cast<uint8_t>(*number);
        }
        slots.emplace(place->Place(), std::move(slot));
    }
    for (const SmbiosStructure &structure : ReadSmbios(host, {kSystemSlot})) {
        const auto segment = structure.Field<uint16_t>(0x0D);
        const auto bus = structure.Field<uint8_t>(0x0F);
        const auto device = structure.Field<uint8_t>(0x10);
        // All ones stand for no address, and so do the zeros of careless firmware: no slot holds the host
        // bridge.
        if (!segment || !bus || !device || *bus == 0xFF || *device == 0xFF || (*bus == 0 && *device == 0))
            continue;
        const PciAddress place{*segment, *bus, static_cast<uint8_t>(*device >> 3), 0};
        PciSlot &slot = slots[place.Place()];
        const uint32_t type = structure.Field<uint8_t>(0x05).value_or(0);
        slot.ocp = slot.ocp || (type >= 0x26 && type <= 0x28);
        const std::string designation = structure.Meaning(0x04);
        if (!designation.empty()) slot.name = designation;
        const uint32_t id = structure.Field<uint16_t>(0x09).value_or(0);
        if (slot.number == 0 && id >= 1 && id <= 255 && taken.insert(id).second)
            slot.number = static_cast<uint8_t>(id);
    }
    return slots;
}

// The slot of the innermost function on the way to a device that sits in one: a card may have bridges of its
// own. What is only the way to a card is in no slot.
PciSlot SlotOf(const PciFunction &function, const SlotMap &slots) {
    if (function.IsBridge()) return {};
    for (std::string_view path = function.path; !path.empty();) {
        const size_t slash = path.rfind('/');
        if (slash == path.npos) break;
        if (const auto address = ParsePciAddress(path.substr(slash + 1))) {
            auto found = slots.find(address->Place());
            if (found == slots.end()) found = slots.find({address->domain, address->bus, kAnyDevice});
            if (found != slots.end()) return found->second;
        }
        path = path.substr(0, slash);
    }
    return {};
}

uint8_t Lanes(uint32_t width) {
    static constexpr std::array<uint32_t, 7> kWidths = {1, 2, 4, 8, 12, 16, 32};
    return std::find(kWidths.begin(), kWidths.end(), width) == kWidths.end() ? 0
                                                                             : static_cast<uint8_t>(width);
}

uint8_t Generation(uint32_t code) { return code <= 6 ? static_cast<uint8_t>(code) : 0; }

PciLink LinkAttributes(const Host &host, const std::string &path, const char *kind) {
    PciLink link;
    const std::string speed = path + "/" + kind + "_link_speed";
    if (const auto text = host.Text(speed, Refusal::kExpected); text && !text->empty()) {
        link.speed = PciGeneration(*text);
        if (link.speed == 0 && !StartsWithNoCase(*text, "Unknown"))
            host.Skip(speed, "a link speed in GT/s", *text);
    }
    const auto width = host.Number<uint32_t>(path + "/" + kind + "_link_width", "a number of lanes", 0, 255,
                                             Refusal::kExpected);
    link.width = Lanes(width.value_or(0));
    return link;
}

std::optional<PciFunction> ReadFunction(const Host &host, const std::string &name) {
    const std::string dir = kDevices + "/" + name;
    const auto address = ParsePciAddress(name);
    if (!address) {
        host.log().Skip(host.Shown(dir), "an address like 0000:02:00.0", "another name");
        return std::nullopt;
    }
    const auto vendor = host.Hex<uint16_t>(dir + "/vendor", "a PCI vendor ID");
    const auto device = host.Hex<uint16_t>(dir + "/device", "a PCI device ID");
    const auto code =
        host.Number<uint32_t>(dir + "/class", "a PCI class", 0, 0xFFFFFF, Refusal::kReported, 16);
    const auto path = host.Resolve(dir);
    if (!vendor || !device || !code || !path) return std::nullopt;
    PciFunction function;
    function.address = *address;
    function.path = *path;
    function.vendor = *vendor;
    function.device = *device;
    function.base_class = static_cast<uint8_t>(*code >> 16);
    function.sub_class = static_cast<uint8_t>(*code >> 8 & 0xFFu);
    function.prog_if = static_cast<uint8_t>(*code & 0xFFu);
    function.sub_vendor = host.Hex<uint16_t>(dir + "/subsystem_vendor", "a PCI vendor ID").value_or(0);
    function.sub_device = host.Hex<uint16_t>(dir + "/subsystem_device", "a PCI device ID").value_or(0);
    // Only the user root gets more than the 64 bytes of the header.
    std::string config = host.File(dir + "/config", kConfigMax).value_or("");
    if (!config.empty() && config.size() < 64) {
        host.log().Skip(host.Shown(dir + "/config"), "at least 64 bytes", fmt::format("{}", config.size()));
    }
    const bool answers = config.size() >= 64 && config.find_first_not_of('\xFF') != config.npos;
    if (!answers) config.clear();
    // Newer kernels than some of those that are read have a file for the revision.
    const auto revision = host.Hex<uint8_t>(dir + "/revision", "a PCI revision");
    function.revision = revision.value_or(answers ? static_cast<uint8_t>(ByteAt(config, 0x08)) : uint8_t{0});
    if (answers) function.header_type = static_cast<uint8_t>(ByteAt(config, 0x0E) & 0x7Fu);
    function.link = LinkAttributes(host, dir, "current");
    function.max_link = LinkAttributes(host, dir, "max");
    if (const auto links = ParsePciLinks(config)) {
        if (function.link == PciLink{}) function.link = links->now;
        if (function.max_link == PciLink{}) function.max_link = links->most;
    }
    const auto node = host.Number<int32_t>(dir + "/numa_node", "the number of a node", -1, INT32_MAX);
    if (node && *node >= 0 && *node < 255) function.numa_node = static_cast<uint8_t>(*node);
    function.is_virtual = host.Exists(dir + "/physfn");
    function.driver = CleanText(host.LinkName(dir + "/driver").value_or(""));
    function.label = Meaningful(host.Text(dir + "/label", Refusal::kExpected).value_or(""));
    return function;
}

// The lines of a block of the database that are indented by this many tabs, with the deeper ones below each:
// the one that begins as wanted.
std::string_view SubBlock(std::string_view block, size_t tabs, std::string_view start) {
    const auto depth = [](std::string_view line) {
        return std::min(line.find_first_not_of('\t'), line.size());
    };
    size_t found = std::string_view::npos;
    for (size_t at = 0; at < block.size();) {
        const size_t end = std::min(block.find('\n', at), block.size());
        const std::string_view line = block.substr(at, end - at);
        if (!line.empty() && line[0] != '#') {
            if (found != std::string_view::npos && depth(line) <= tabs)
                return block.substr(found, at - found);
            if (depth(line) == tabs && line.substr(tabs).starts_with(start)) found = at;
        }
        at = end + 1;
    }
    return found == std::string_view::npos ? std::string_view() : block.substr(found);
}

// What stands behind the two blanks of a block's first line.
std::string NameIn(std::string_view block) {
    const std::string_view line = block.substr(0, block.find('\n'));
    const size_t gap = line.find("  ");
    return gap == line.npos ? std::string() : CleanText(line.substr(gap));
}

}  // namespace

std::optional<PciAddress> ParsePciAddress(std::string_view text) {
    const size_t dot = text.find('.');
    if (dot == text.npos || text.size() != dot + 2) return std::nullopt;
    std::optional<PciAddress> address = ParsePlace(text.substr(0, dot));
    const char function = text[dot + 1];
    if (!address || address->device == kAnyDevice || function < '0' || function > '7') return std::nullopt;
    address->function = static_cast<uint8_t>(function - '0');
    return address;
}

std::vector<PciFunction> ReadPciFunctions(const Host &host) {
    std::vector<PciFunction> functions;
    for (const std::string &name : host.List(kDevices)) {
        if (auto function = ReadFunction(host, name)) functions.push_back(std::move(*function));
    }
    std::sort(functions.begin(), functions.end(),
              [](const auto &a, const auto &b) { return a.address < b.address; });
    const SlotMap slots = ReadSlots(host);
    for (PciFunction &function : functions) {
        function.slot = SlotOf(function, slots);
        if (!function.slot.name.empty() && function.slot.number == 0) {
            host.log().Once(
                fmt::format("PCI slot {}: no number of its own from 1 to 255; its devices are stored without "
                            "a slot number",
                            function.slot.name));
        }
    }
    return functions;
}

const PciFunction *FindPciParent(const std::vector<PciFunction> &functions, std::string_view path) {
    for (size_t slash = path.rfind('/'); slash != path.npos; slash = path.rfind('/')) {
        const auto address = ParsePciAddress(path.substr(slash + 1));
        path = path.substr(0, slash);
        if (!address) continue;
        const auto found =
            std::lower_bound(functions.begin(), functions.end(), *address,
                             [](const PciFunction &f, const PciAddress &a) { return f.address < a; });
        return found != functions.end() && found->address == *address ? &*found : nullptr;
    }
    return nullptr;
}

uint8_t PciGeneration(std::string_view text) {
    const std::vector<std::string_view> words = Words(text);
    if (words.size() < 2 || words[1] != "GT/s") return 0;
    static constexpr std::pair<std::string_view, uint8_t> kSpeeds[] = {
        {"2.5", 1},  {"5", 2},  {"5.0", 2},  {"8", 3},  {"8.0", 3}, {"16", 4},
        {"16.0", 4}, {"32", 5}, {"32.0", 5}, {"64", 6}, {"64.0", 6}};
    for (const auto &[speed, generation] : kSpeeds) {
        if (words[0] == speed) return generation;
    }
    return 0;
}

std::optional<PciLinks> ParsePciLinks(std::string_view config) {
    constexpr uint32_t kExpress = 0x10;
    constexpr uint32_t kHasCapabilities = 1u << 4;  // of the status register
    constexpr int kCapabilitiesMax = 48;
    if (config.size() < 256 || (ByteAt(config, 0x06) & kHasCapabilities) == 0) return std::nullopt;
    size_t at = ByteAt(config, 0x34) & 0xFCu;
    for (int i = 0; i < kCapabilitiesMax && at >= 0x40 && at + 0x14 <= 256; ++i) {
        if (ByteAt(config, at) == kExpress) {
            const auto word = [&](size_t offset) {
                return ByteAt(config, at + offset) | ByteAt(config, at + offset + 1) << 8;
            };
            const auto link = [](uint32_t value) {
                return PciLink{Generation(value & 0xFu), Lanes(value >> 4 & 0x3Fu)};
            };
            return PciLinks{link(word(0x12)), link(word(0x0C))};
        }
        at = ByteAt(config, at + 1) & 0xFCu;
    }
    return std::nullopt;
}

PciVpd ParsePciVpd(std::string_view bytes) {
    constexpr uint32_t kName = 0x82;
    constexpr uint32_t kReadOnly = 0x90;
    PciVpd vpd;
    // Large resources only: the small one that is allowed ends the data.
    while (bytes.size() >= 3 && (ByteAt(bytes, 0) & 0x80u) != 0) {
        const uint32_t tag = ByteAt(bytes, 0);
        const size_t length = ByteAt(bytes, 1) | ByteAt(bytes, 2) << 8;
        bytes.remove_prefix(3);
        if (length > bytes.size()) break;
        std::string_view data = bytes.substr(0, length);
        bytes.remove_prefix(length);
        if (tag == kName) vpd.name = Meaningful(data);
        while (tag == kReadOnly && data.size() >= 3) {
            const std::string_view keyword = data.substr(0, 2);
            const size_t size = ByteAt(data, 2);
            data.remove_prefix(3);
            if (size > data.size()) break;
            std::string *const text = keyword == "PN"   ? &vpd.part
                                      : keyword == "SN" ? &vpd.serial
                                      : keyword == "MN" ? &vpd.maker
                                      : keyword == "EC" ? &vpd.change
                                                        : nullptr;
            if (text != nullptr) *text = Meaningful(data.substr(0, size));
            data.remove_prefix(size);
        }
    }
    return vpd;
}

const PciVpd &PciVpdCache::Of(const Host &host, const PciFunction &function) {
    const std::array<uint16_t, 4> ids = {function.vendor, function.device, function.sub_vendor,
                                         function.sub_device};
    const auto [at, is_new] = known_.try_emplace(function.address);
    if (is_new || at->second.ids != ids) {
        const auto bytes = host.File(function.path + "/vpd", kVpdMax, Refusal::kExpected);
        at->second = {ids, ParsePciVpd(bytes.value_or(""))};
    }
    return at->second.vpd;
}

PciNames::PciNames(std::string text) : text_(std::move(text)) {
    std::optional<uint32_t> vendor;
    size_t start = 0;
    const auto close = [&](size_t end) {
        if (vendor)
            vendors_.emplace(static_cast<uint16_t>(*vendor),
                             std::string_view(text_).substr(start, end - start));
    };
    for (size_t at = 0; at < text_.size();) {
        const size_t end = std::min(text_.find('\n', at), text_.size());
        // Vendors, and behind them the classes ("C 02  Network controller"), stand at the beginning of a
        // line.
        if (end > at && text_[at] != '\t' && text_[at] != '#') {
            close(at);
            const std::string_view line = std::string_view(text_).substr(at, end - at);
            vendor = line.size() > 6 && line.substr(4, 2) == "  " ? HexDigits(line.substr(0, 4), 4, 4)
                                                                  : std::nullopt;
            start = at;
        }
        at = end + 1;
    }
    close(text_.size());
}

std::string PciNames::Vendor(uint16_t vendor) const {
    const auto found = vendors_.find(vendor);
    return found == vendors_.end() ? std::string() : NameIn(found->second);
}

std::string_view PciNames::DeviceBlock(uint16_t vendor, uint16_t device) const {
    const auto found = vendors_.find(vendor);
    return found == vendors_.end() ? std::string_view()
                                   : SubBlock(found->second, 1, fmt::format("{:04x}  ", device));
}

std::string PciNames::Device(uint16_t vendor, uint16_t device) const {
    return NameIn(DeviceBlock(vendor, device));
}

std::string PciNames::Subsystem(uint16_t vendor, uint16_t device, uint16_t sub_vendor,
                                uint16_t sub_device) const {
    return NameIn(
        SubBlock(DeviceBlock(vendor, device), 2, fmt::format("{:04x} {:04x}  ", sub_vendor, sub_device)));
}

const PciNames &InstalledPciNames(Log &log) {
    static const PciNames names([&log] {
        const std::optional<Host> here = Host::Open("/", log);
        for (const char *path : {"/usr/share/misc/pci.ids", "/usr/share/hwdata/pci.ids"}) {
            if (!here) break;
            if (auto text = here->File(path, kNamesMax)) return std::move(*text);
        }
        return std::string();
    }());
    return names;
}

PciTexts DescribePci(const PciFunction &function, const PciVpd &vpd, const PciNames &names) {
    PciTexts texts;
    texts.device = names.Device(function.vendor, function.device);
    texts.controller_maker = names.Vendor(function.vendor);
    texts.product = vpd.name;
    const bool has_subsystem = function.sub_vendor != 0 && function.sub_vendor != 0xFFFF;
    if (has_subsystem && texts.product.empty()) {
        texts.product =
            names.Subsystem(function.vendor, function.device, function.sub_vendor, function.sub_device);
    }
    if (texts.product.empty()) texts.product = texts.device;
    texts.maker = vpd.maker;
    if (has_subsystem && texts.maker.empty()) texts.maker = names.Vendor(function.sub_vendor);
    return texts;
}

uint32_t UptimeSeconds(const Host &host) {
    const std::string path = "/proc/uptime";
    const std::optional<std::string> text = host.Text(path);
    if (!text) return 0;
    const auto seconds = ParseNumber<uint64_t>(std::string_view(*text).substr(0, text->find('.')));
    if (!seconds) host.Skip(path, "seconds since the start", *text);
    return static_cast<uint32_t>(seconds.value_or(0));
}

}  // namespace collect
