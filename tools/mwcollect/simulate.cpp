#include "simulate.h"

#include <fmt/format.h>
#include <stdlib.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <string_view>
#include <vector>

#include "smbios_builder.h"
#include "vpd_builder.h"

namespace collect {
namespace {

constexpr uint32_t kSockets = 2;
constexpr uint32_t kCoresEach = 8;
constexpr uint32_t kCores = kSockets * kCoresEach;  // two threads each
constexpr uint32_t kChannelsEach = 8;               // two slots each, of which the first one is filled
constexpr uint32_t kModules = kSockets * kChannelsEach;
constexpr uint32_t kFans = 6;
constexpr int64_t kFanSteps = kFanStops - kFanSlows + 1;  // from full speed to none
constexpr uint32_t kSupplies = 2;
constexpr int64_t kMemoryKilobytes = int64_t{kModules} * 16 * 1024 * 1024;

constexpr int64_t kMilli = 1000;
constexpr int64_t kMicro = 1'000'000;

const std::string kVendor = "0x5eed";  // assigned to nobody: no machine's database has a name for it

// --- what changes

uint64_t Mix(uint64_t value) {
    value = (value ^ value >> 30) * 0xBF58476D1CE4E5B9u;
    value = (value ^ value >> 27) * 0x94D049BB133111EBu;
    return value ^ value >> 31;
}

// Readings that wander about a middle: a slow way between points that lie sixteen rounds apart, and a little
// unrest on it. In whole numbers, so that all machines simulate the same.
class Wander {
  public:
    Wander(uint32_t seed, uint32_t round) : seed_(seed), round_(round) {}

    // At most this far to either side. What is asked for by different names wanders differently.
    int64_t operator()(std::string_view name, int64_t most) const {
        constexpr int64_t kApart = 16;
        const uint64_t way = Key(name);
        const int64_t passed = round_ % kApart;
        const int64_t from = Point(way, round_ / kApart, most);
        const int64_t to = Point(way, round_ / kApart + 1, most);
        const int64_t slow = (from * (kApart - passed) + to * passed) / kApart;
        return (slow * 7 + Point(Mix(~way), round_, most)) / 8;
    }

    // From 0 to most, the same in all rounds.
    uint32_t Fixed(std::string_view name, uint32_t most) const {
        return static_cast<uint32_t>(Key(name) % (most + 1));
    }

    uint32_t round() const { return round_; }

  private:
    uint64_t Key(std::string_view name) const {
        uint64_t key = Mix(seed_ + 1);
        for (const char c : name) key = Mix(key ^ static_cast<unsigned char>(c));
        return key;
    }
    static int64_t Point(uint64_t way, uint64_t number, int64_t most) {
        return static_cast<int64_t>(Mix(way + number) % static_cast<uint64_t>(2 * most + 1)) - most;
    }

    uint32_t seed_;
    uint32_t round_;
};

// What the readings follow from.
struct State {
    explicit State(const Wander &wander)
        : usage(35 + wander("usage", 25)),
          inlet(23 * kMilli + wander("inlet", 1500)),
          slowed(kFanSteps - std::clamp<int64_t>(int64_t{kFanStops} - wander.round(), 0, kFanSteps)),
          output((190 + 5 * usage) * kMicro + wander("output", 5 * kMicro)),
          supply_lost(wander.round() >= kSupplyLost),
          correctable(wander.round() < kModuleErrs
                          ? 0
                          : uint64_t{wander.round() - kModuleErrs + 1} * (1 + wander.Fixed("errors", 3))),
          uncorrectable(wander.round() < kModuleFails ? 0 : 1) {}

    int64_t usage;   // per cent of the processors
    int64_t inlet;   // thousandths of a degree
    int64_t slowed;  // steps that the failing fan has taken towards its stop
    int64_t output;  // of the power supplies together, in millionths of a watt
    bool supply_lost;
    uint64_t correctable;
    uint64_t uncorrectable;
};

// --- the machine

// A directory's place below another one, without a slash at the end.
std::string Below(std::string_view top, std::string_view dir) {
    dir.remove_prefix(top.size());
    return std::string(dir.substr(0, dir.find_last_not_of('/') + 1));
}

class Machine {
  public:
    Machine(uint32_t seed, uint32_t round) : wander_(seed, round), state_(wander_) {
        Host();
        Processors();
        Memory();
        Board();
        Fans();
        Supplies();
        Chipset();
        Network();
        FibreChannel();
        Raid();
        Accelerator();
        Nvme();
        File("/sys/firmware/dmi/tables/DMI", smbios_ + EndOfTable());
    }

    SimulatedFiles Take() { return std::move(out_); }

  private:
    void File(const std::string &path, const std::string &content) { out_.files[path] = content; }
    void Link(const std::string &path, const std::string &target) { out_.links[path] = target; }
    // Attributes of one directory; a number or a text each.
    template <class... Rest>
    void Attributes(const std::string &dir, const std::string &name, const auto &value, const Rest &...rest) {
        File(dir + name, fmt::format("{}\n", value));
        if constexpr (sizeof...(rest) != 0) Attributes(dir, rest...);
    }

    // The directory of a new monitoring chip; its device is given below /sys/devices.
    std::string Chip(const std::string &name, const std::string &device = {}) {
        const std::string dir = fmt::format("/sys/class/hwmon/hwmon{}/", chips_++);
        Attributes(dir, "name", name);
        if (!device.empty()) Link(dir + "device", "../../../devices/" + device);
        return dir;
    }

    // The directory of a PCI function, by the addresses on the way to it: "0000:00:01.0/0000:02:00.0".
    std::string Function(const std::string &way, const std::string &code, const std::string &device,
                         const std::string &driver, uint32_t speed = 0, uint32_t width = 0) {
        const std::string node = way.starts_with("0000:00:") ? "0" : "1";
        const std::string place = fmt::format("pci{}/{}", way.substr(0, 7), way);
        const std::string dir = "/sys/devices/" + place + "/";
        Attributes(dir, "class", code, "vendor", kVendor, "device", device, "revision", "0x01", "numa_node",
                   node);
        Attributes(dir, "subsystem_vendor", kVendor, "subsystem_device", device);
        if (width != 0) {
            for (const char *kind : {"current", "max"}) {
                Attributes(dir, fmt::format("{}_link_speed", kind), fmt::format("{}.0 GT/s PCIe", speed),
                           fmt::format("{}_link_width", kind), width);
            }
        }
        if (!driver.empty()) {
            const size_t up = 3 + static_cast<size_t>(std::count(way.begin(), way.end(), '/'));
            std::string target;
            for (size_t i = 0; i < up; ++i) target += "../";
            Link(dir + "driver", target + "bus/pci/drivers/" + driver);
        }
        Link("/sys/bus/pci/devices/" + way.substr(way.rfind('/') + 1), "../../../devices/" + place);
        return dir;
    }

    void Product(const std::string &dir, const std::string &name, const std::string &part,
                 const std::string &serial) {
        File(dir + "vpd", VpdResource(0x82, name) +
                              VpdResource(0x90, VpdField("PN", part) + VpdField("SN", serial) +
                                                    VpdField("MN", "Example Cards")) +
                              "\x78");
    }

    // What firmware says of a slot; type as in its table.
    void Slot(const std::string &designation, uint32_t type, uint32_t number, uint32_t bus) {
        smbios_ += SmbiosBuilder(9, 0x11, Handle())
                       .Text(0x04, designation)
                       .Byte(0x05, type)
                       .Word(0x09, number)
                       .Byte(0x0F, bus)
                       .Bytes();
    }
    uint16_t Handle() { return handle_++; }

    void Host() {
        Attributes("/sys/class/dmi/id/", "board_name", "Example Server 2S", "board_version", "1.2",
                   "bios_version", "SIM 1.0.7", "bios_date", "01/31/2026");
        File("/etc/os-release",
             "NAME=\"Example Linux\"\nPRETTY_NAME=\"Example Linux 2.1.4 (simulated)\"\n"
             "VERSION_ID=2.1.4\nBUILD_ID=20260131120000\n");
        File("/etc/chrony/chrony.conf", "server ntp1.example.org iburst\nserver ntp2.example.org iburst\n");
        const uint32_t round = wander_.round();
        File("/proc/uptime", fmt::format("{}.00 0.00\n", 86'400 + uint64_t{round} * 10));
        // Of a machine that is no live one the collector takes the usage since the start: the counters are
        // those of a start shortly before the round.
        File("/proc/stat", fmt::format("cpu {} 0 0 {}\n", state_.usage * 100, (100 - state_.usage) * 100));
        const int64_t used = kMemoryKilobytes / 100 * (30 + wander_("memory", 12));
        File("/proc/meminfo", fmt::format("MemTotal: {} kB\nMemAvailable: {} kB\n", kMemoryKilobytes,
                                          kMemoryKilobytes - used));
    }

    void Processors() {
        std::string info;
        for (uint32_t cpu = 0; cpu < 2 * kCores; ++cpu) {
            const uint32_t core = cpu % kCores;
            const uint32_t package = core / kCoresEach;
            info += fmt::format(
                "processor\t: {}\nvendor_id\t: ExampleVendor\ncpu family\t: 6\nmodel\t\t: 42\n"
                "model name\t: Example Processor 2S 8-Core 2.40GHz\nstepping\t: 3\nmicrocode\t: 0x51\n"
                "physical id\t: {}\ncpu cores\t: {}\nflags\t\t: fpu lm\n\n",
                cpu, package, kCoresEach);
            const std::string dir = fmt::format("/sys/devices/system/cpu/cpu{}/", cpu);
            Attributes(dir + "topology/", "physical_package_id", package, "thread_siblings_list",
                       fmt::format("{},{}", core, core + kCores));
        }
        File("/proc/cpuinfo", info);
        for (uint32_t package = 0; package < kSockets; ++package) {
            const uint32_t first = package * kCoresEach;
            const std::string dir = fmt::format("/sys/devices/system/cpu/cpu{}/", first);
            const std::string name = fmt::format("cpu{}", package);
            Attributes(dir + "cpufreq/", "cpuinfo_max_freq", 3'600'000, "cpuinfo_min_freq", 800'000,
                       "scaling_cur_freq",
                       2'000'000 + state_.usage * 20'000 + wander_(name + " clock", 200'000));
            const struct {
                int level;
                const char *type;
                const char *size;
            } caches[] = {{1, "Data", "48K"},
                          {1, "Instruction", "32K"},
                          {2, "Unified", "2048K"},
                          {3, "Unified", "24M"}};
            for (size_t i = 0; i < std::size(caches); ++i) {
                Attributes(fmt::format("{}cache/index{}/", dir, i), "level", caches[i].level, "type",
                           caches[i].type, "size", caches[i].size);
            }
            Attributes(fmt::format("/sys/devices/system/node/node{}/", package), "cpulist",
                       fmt::format("{}-{},{}-{}", first, first + kCoresEach - 1, first + kCores,
                                   first + kCores + kCoresEach - 1));
            const std::string chip = Chip("coretemp", fmt::format("platform/coretemp.{}", package));
            Attributes(chip, "temp1_label", fmt::format("Package id {}", package), "temp1_input",
                       Warm(18 * kMilli + state_.usage * 350 + state_.slowed * 400, name, 1500), "temp1_crit",
                       95'000, "temp1_max", 85'000);
            smbios_ += SmbiosBuilder(4, 0x30, Handle())
                           .Byte(0x05, 3)
                           .Text(0x04, fmt::format("CPU{}", package + 1))
                           .Byte(0x18, 0x41)
                           .Text(0x20, fmt::format("SIMCPU{:04}", package + 1))
                           .Text(0x22, "EX-2S8C")
                           .Bytes();
        }
    }

    // Above the air that comes in, with a wandering of its own.
    int64_t Warm(int64_t above, const std::string &name, int64_t wandering) const {
        return state_.inlet + above + wander_(name, wandering);
    }

    void Memory() {
        uint32_t number = 0;  // of the slot, from 1 on
        for (uint32_t package = 0; package < kSockets; ++package) {
            for (uint32_t channel = 0; channel < kChannelsEach; ++channel) {
                const std::string locator = fmt::format("CPU{}_CH{}_DIMM", package + 1, channel);
                Module(++number, package, channel, locator + "0");
                ++number;
                smbios_ += EmptySlot(locator + "1");
            }
        }
    }

    void Module(uint32_t number, uint32_t package, uint32_t channel, const std::string &locator) {
        smbios_ +=
            MemorySlot(locator, fmt::format("NODE {}", package + 1), "Example Memory", "SIM-", "EX-16G-3200")
                .Bytes();
        const bool errs = number == kFailingModule;
        Attributes(fmt::format("/sys/devices/system/edac/mc/mc{}/dimm{}/", package, channel), "dimm_label",
                   locator, "size", 16384, "dimm_mem_type", "Registered-DDR4", "dimm_location",
                   fmt::format("channel {} slot 0", channel), "dimm_ce_count", errs ? state_.correctable : 0,
                   "dimm_ue_count", errs ? state_.uncorrectable : 0);
        const std::string chip = Chip("jc42", fmt::format("i2c/{}-{:04x}", package, 0x18 + channel));
        Attributes(chip, "temp1_input",
                   Warm(9 * kMilli + state_.usage * 100 + state_.slowed * 150, locator, 1000), "temp1_crit",
                   95'000);
    }

    void Board() {
        const std::string chip = Chip("board", "i2c/2-0048");
        Attributes(chip, "temp1_label", "Inlet", "temp1_input", state_.inlet, "temp1_max", 42'000,
                   "temp1_crit", 47'000, "temp1_min", 0);
        Attributes(chip, "temp2_label", "Inlet rear", "temp2_input",
                   Warm(9 * kMilli + state_.usage * 120, "rear", 700), "temp2_max", 65'000, "temp2_crit",
                   75'000);
        Attributes(Chip("pch_example", "pci0000:00/0000:00:1f.0"), "temp1_input",
                   Warm(22 * kMilli + state_.usage * 60, "pch", 1000));
    }

    void Fans() {
        const std::string chip = Chip("fanboard", "i2c/2-002f");
        for (uint32_t fan = 1; fan <= kFans; ++fan) {
            const int64_t duty = 35 + state_.usage / 2 + state_.slowed;
            int64_t speed = 160 * duty + wander_(fmt::format("fan{}", fan), 150);
            if (fan == kFailingFan) speed = speed * (kFanSteps - state_.slowed) / kFanSteps;
            const std::string name = fmt::format("fan{}_", fan);
            const std::string output = fmt::format("pwm{}", fan);
            Attributes(chip, name + "label", fmt::format("Fan {}", fan), name + "input", speed, name + "min",
                       1000, name + "max", 16'000, name + "fault", speed == 0 ? 1 : 0, output,
                       duty * 255 / 100, output + "_enable", 2, output + "_freq", 25'000);
        }
    }

    void Supplies() {
        for (uint32_t supply = 1; supply <= kSupplies; ++supply) {
            const std::string name = fmt::format("Power Supply {}", supply);
            smbios_ += SmbiosBuilder(39, 0x16, Handle())
                           .Text(0x05, name)
                           .Text(0x06, "EX-PSU-800")
                           .Text(0x07, "Example Power")
                           .Text(0x08, fmt::format("SIMPSU{:04}", supply))
                           .Text(0x0A, "EX-800-54")
                           .Text(0x0B, "02")
                           .Word(0x0C, 800)
                           .Word(0x0E, 2)
                           .Bytes();
            const bool lost = state_.supply_lost && supply == kFailingSupply;
            const int64_t output = lost ? 0 : state_.supply_lost ? state_.output : state_.output / kSupplies;
            const int64_t vin = lost ? 0 : 230 * kMilli + wander_(name + " input", 2500);
            const int64_t vout = lost ? 0 : 12'100 + wander_(name + " output", 40);
            const int64_t input = output * 100 / 93;
            const std::string chip = Chip("pmbus", fmt::format("i2c/3-{:04x}", 0x57 + supply));
            Attributes(chip, "label", name, "in1_label", "vin", "in1_input", vin, "in1_rated_min", 90'000,
                       "in1_rated_max", 264'000, "in2_label", "vout1", "in2_input", vout);
            Attributes(chip, "curr1_label", "iin", "curr1_input", lost ? 0 : input / vin, "curr2_label",
                       "iout1", "curr2_input", lost ? 0 : output / vout, "curr2_rated_max", 66'000);
            Attributes(chip, "power1_label", "pin", "power1_input", input, "power2_label", "pout1",
                       "power2_input", output, "power2_rated_max", 800 * kMicro);
            Attributes(chip, "temp1_input", Warm(4 * kMilli, name + " inlet", 500), "temp2_input",
                       Warm(12 * kMilli + output / 40'000, name, 1000), "fan1_input",
                       lost ? 0 : 5000 + output / 100'000 + wander_(name + " fan", 200));
        }
    }

    void Chipset() {
        Function("0000:00:00.0", "0x060000", "0x0100", "");
        Function("0000:00:1f.0", "0x060100", "0x0101", "");
        const std::string sata = Function("0000:00:17.0", "0x010601", "0x0102", "ahci");
        SataDisk(sata, 1, "sda", "EXAMPLE SSD 960G", 1'875'385'008, 1);
        SataDisk(sata, 2, "sdb", "EXAMPLE HDD 4T", 7'814'037'168, 7200);
    }

    void SataDisk(const std::string &controller, uint32_t number, const std::string &name,
                  const std::string &model, uint64_t sectors, uint32_t rotation) {
        const std::string address = fmt::format("{}:0:0:0", number - 1);
        const std::string device = fmt::format("{}ata{}/host{}/target{}:0:0/{}/", controller, number,
                                               number - 1, number - 1, address);
        const std::string serial = fmt::format("SIMDISK{:04}", number);
        Attributes(device, "vendor", "ATA", "model", model.substr(0, 16), "rev", "EX01", "type", 0, "wwid",
                   fmt::format("naa.300000005100{:04}", number));
        File(device + "vpd_pg80", std::string("\0\x80\0", 3) + static_cast<char>(serial.size()) + serial);
        std::string traits(64, '\0');
        traits[1] = static_cast<char>(0xB1);
        traits[3] = 0x3C;
        traits[4] = static_cast<char>(rotation >> 8);
        traits[5] = static_cast<char>(rotation & 0xFFu);
        traits[7] = rotation == 1 ? 3 : 2;  // 2.5 and 3.5 inches
        File(device + "vpd_pgb1", traits);
        Attributes(fmt::format("/sys/class/ata_port/ata{}/", number), "port_no", number);
        Attributes(fmt::format("/sys/class/ata_link/link{}/", number), "sata_spd", "6.0 Gbps");
        Block(device + "block/" + name + "/", "../../../" + address, sectors, rotation != 1);
        Attributes(Chip("drivetemp", Below("/sys/devices/", device)), "temp1_input",
                   Warm(8 * kMilli, name, 1500));
    }

    void Block(const std::string &dir, const std::string &device, uint64_t sectors, bool rotates) {
        const std::string path = Below("/sys", dir);
        Link("/sys/class/block/" + path.substr(path.rfind('/') + 1), "../.." + path);
        Link(dir + "device", device);
        Attributes(dir, "size", sectors, "removable", 0, "queue/logical_block_size", 512, "queue/rotational",
                   rotates ? 1 : 0);
    }

    void Network() {
        Function("0000:00:1c.0", "0x060400", "0x0103", "pcieport");
        Slot("OCP Slot 8", 0x26, 8, 0x01);
        for (uint32_t port = 0; port < 2; ++port) {
            const std::string address = fmt::format("0000:01:00.{}", port);
            const std::string dir =
                Function("0000:00:1c.0/" + address, "0x020000", "0x0200", "example_net", 8, 8);
            Product(dir, "Example Dual Port 25G Adapter", "EX-NIC-25", "SIMNIC0001");
            const std::string name = fmt::format("eth{}", port);
            const std::string net = dir + "net/" + name + "/";
            Link("/sys/class/net/" + name, "../.." + Below("/sys", net));
            Link(net + "device", "../../../" + address);
            const bool up = port == 0;
            const uint64_t packets = up ? 1'000'000 + uint64_t{wander_.round()} * 12'000 : 0;
            Attributes(net, "addr_len", 6, "address", fmt::format("02:00:00:00:51:{:02x}", port + 1),
                       "addr_assign_type", 0, "operstate", up ? "up" : "down", "carrier", up ? 1 : 0, "speed",
                       up ? 25'000 : -1, "duplex", up ? "full" : "unknown", "mtu", 1500, "ifindex", port + 2);
            Attributes(net, "carrier_changes", up ? 1 : 0, "dev_port", 0, "dev_id", "0x0",
                       "statistics/rx_packets", packets, "statistics/tx_packets", packets / 2,
                       "statistics/rx_errors", 0, "statistics/tx_errors", 0, "statistics/rx_dropped", 0,
                       "statistics/tx_dropped", 0);
            if (up) {
                Attributes(Chip("example_net", Below("/sys/devices/", dir)), "temp1_label", "Module",
                           "temp1_input", Warm(20 * kMilli, name, 1500), "temp1_crit", 80'000);
            }
        }
    }

    void FibreChannel() {
        Function("0000:80:01.0", "0x060400", "0x0104", "pcieport");
        Slot("PCIe Slot 1", 0xB1, 1, 0x81);
        for (uint32_t port = 0; port < 2; ++port) {
            const std::string dir = Function(fmt::format("0000:80:01.0/0000:81:00.{}", port), "0x0c0400",
                                             "0x0300", "example_fc", 8, 8);
            Product(dir, "Example Dual Port 16G Fibre Channel", "EX-FC-16", "SIMFC0001");
            const std::string name = fmt::format("host{}", port + 8);
            const std::string host = fmt::format("{}{}/fc_host/{}", dir, name, name);
            Link("/sys/class/fc_host/" + name, "../.." + Below("/sys", host));
            Attributes(host + "/", "port_state", "Online", "port_type", "NPort (fabric via point-to-point)",
                       "port_id", fmt::format("0x0102{:02x}", port), "port_name",
                       fmt::format("0x300000005102000{}", port + 1), "node_name", "0x3000000051020000",
                       "fabric_name", "0x3000000051ffffff", "speed", "16 Gbit", "supported_speeds",
                       "4 Gbit, 8 Gbit, 16 Gbit");
            Attributes(host + "/", "serial_number", "SIMFC0001", "manufacturer", "Example Cards", "model",
                       "EX-FC-16", "model_description", "Example Dual Port 16G Fibre Channel",
                       "firmware_version", "1.4.2", "driver_version", "1.0");
            Attributes(host + "/statistics/", "link_failure_count", "0x1", "loss_of_sync_count", "0x1",
                       "loss_of_signal_count", "0x0", "invalid_tx_word_count", "0x0", "invalid_crc_count",
                       "0x0");
        }
    }

    void Raid() {
        Function("0000:80:02.0", "0x060400", "0x0105", "pcieport");
        Slot("PCIe Slot 2", 0xB1, 2, 0x82);
        Product(Function("0000:80:02.0/0000:82:00.0", "0x010400", "0x0400", "example_raid", 8, 8),
                "Example RAID Adapter 8i", "EX-RAID-8", "SIMRAID0001");
    }

    void Accelerator() {
        Function("0000:80:03.0", "0x060400", "0x0106", "pcieport");
        Slot("PCIe Slot 3", 0xB6, 3, 0x83);
        const std::string way = "0000:80:03.0/0000:83:00.0";
        const std::string dir = Function(way, "0x030200", "0x0500", "example_gpu", 16, 16);
        Product(dir, "Example Accelerator 16G", "EX-GPU-16", "SIMGPU0001");
        const int64_t busy = 40 + wander_("gpu", 35);
        Attributes(dir, "vbios_version", "SIM-510", "unique_id", "51000001", "mem_info_vram_total",
                   uint64_t{16} << 30, "mem_info_vram_used",
                   (uint64_t{16} << 30) / 100 * static_cast<uint64_t>(busy), "gpu_busy_percent", busy,
                   "mem_busy_percent", busy / 2);
        Attributes(Chip("example_gpu", "pci0000:80/" + way), "temp1_label", "edge", "temp1_input",
                   Warm(15 * kMilli + busy * 350, "gpu core", 1000), "temp2_label", "mem", "temp2_input",
                   Warm(20 * kMilli + busy * 300, "gpu memory", 1000), "power1_average", (30 + busy) * kMicro,
                   "power1_cap", 150 * kMicro, "freq1_label", "sclk", "freq1_input",
                   (300 + busy * 12) * kMicro, "freq2_label", "mclk", "freq2_input", 900 * kMicro);
    }

    void Nvme() {
        Function("0000:00:1d.0", "0x060400", "0x0107", "pcieport");
        Slot("NVMe Bay 4", 0x24, 4, 0x02);
        const std::string dir = Function("0000:00:1d.0/0000:02:00.0", "0x010802", "0x0600", "nvme", 8, 4);
        const std::string device = dir + "nvme/nvme0/";
        Attributes(device, "model", "EXAMPLE NVME 1920G", "serial", "SIMNVME0001", "firmware_rev", "EX0201");
        Attributes(device, "nvme0n1/wwid", "eui.0000000051030001");
        Block(device + "nvme0n1/", "../../nvme0", 3'750'748'848, false);
        Attributes(Chip("nvme", Below("/sys/devices/", device)), "temp1_input",
                   Warm(15 * kMilli, "nvme", 2500));
    }

    Wander wander_;
    State state_;
    SimulatedFiles out_;
    std::string smbios_;
    uint32_t chips_ = 0;
    uint16_t handle_ = 0x1000;
};

// Answers the error, or 0.
int WriteFile(const std::string &path, const std::string &content) {
    std::FILE *file = std::fopen(path.c_str(), "wbe");
    if (file == nullptr) return errno;
    const bool good = std::fwrite(content.data(), 1, content.size(), file) == content.size();
    const int error = errno;
    return std::fclose(file) != 0 ? errno : good ? 0 : error;
}

}  // namespace

SimulatedFiles SimulateServer(uint32_t seed, uint32_t round) { return Machine(seed, round).Take(); }

Simulation::~Simulation() {
    std::error_code ignored;
    if (!root_.empty()) std::filesystem::remove_all(root_, ignored);
}

std::string Simulation::Show(uint32_t round) {
    namespace fs = std::filesystem;
    const bool first = root_.empty();
    std::error_code error;
    const auto failed = [](const std::string &place, const std::string &why) {
        return fmt::format("{}: {}; TMPDIR names another directory to lay it out in", place, why);
    };
    if (first) {
        // In memory where that is possible: there are hundreds of small files.
        const char *wanted = std::getenv("TMPDIR");
        const bool has_memory = access("/dev/shm", W_OK | X_OK) == 0;
        const std::string place = wanted != nullptr ? wanted : has_memory ? "/dev/shm" : "/tmp";
        std::string name = place + "/mwcollect-XXXXXX";
        if (mkdtemp(name.data()) == nullptr) return failed(place, std::strerror(errno));
        root_ = name;
    }
    const auto make_parent = [&](const std::string &place) {
        fs::create_directories(fs::path(place).parent_path(), error);
        return !error;
    };
    const SimulatedFiles now = SimulateServer(seed_, round);
    for (const auto &[path, content] : now.files) {
        const auto shown = shown_.find(path);
        if (shown != shown_.end() && shown->second == content) continue;
        const std::string place = root_ + path;
        if (first && !make_parent(place)) return failed(place, error.message());
        if (const int number = WriteFile(place, content); number != 0)
            return failed(place, std::strerror(number));
        shown_[path] = content;
    }
    if (!first) return {};
    for (const auto &[path, target] : now.links) {
        const std::string place = root_ + path;
        if (make_parent(place)) fs::create_symlink(target, place, error);
        if (error) return failed(place, error.message());
    }
    return {};
}

}  // namespace collect
