// PCI functions and what hangs off them, as files of a tree.
#ifndef COLLECT_PCI_TREE_H
#define COLLECT_PCI_TREE_H

#include "pci.h"
#include "tree.h"
#include "vpd_builder.h"

namespace collect {

// "0000:00:01.0/0000:02:00.0": a function behind others; its directory, as on the machine.
inline std::string PciDir(const std::string &way) { return "/sys/devices/pci0000:00/" + way; }

inline std::string Address(const std::string &way) { return way.substr(way.rfind('/') + 1); }

inline void PciDevice(Tree &tree, const std::string &way, const std::string &code,
                      const std::string &vendor = "0x1af4", const std::string &device = "0x1000") {
    const std::string dir = PciDir(way);
    tree.File(dir + "/class", code + "\n")
        .File(dir + "/vendor", vendor + "\n")
        .File(dir + "/device", device + "\n");
    tree.File(dir + "/subsystem_vendor", "0x1028\n").File(dir + "/subsystem_device", "0x0002\n");
    tree.Link("/sys/bus/pci/devices/" + Address(way), "../../../devices/pci0000:00/" + way);
}

// An interface on a device: the directory of its attributes.
inline std::string Interface(Tree &tree, const std::string &device_dir, const std::string &name) {
    const std::string dir = device_dir + "/net/" + name;
    tree.Link("/sys/class/net/" + name, "../.." + dir.substr(4));
    tree.Link(dir + "/device", "../../../" + device_dir.substr(device_dir.rfind('/') + 1));
    tree.File(dir + "/addr_len", "6")
        .File(dir + "/address", "02:00:00:00:00:01")
        .File(dir + "/addr_assign_type", "0");
    return dir + "/";
}

// A bridge's or an endpoint's configuration space.
inline std::string Config(size_t size, char header_type = 0, char revision = 0x21) {
    std::string config(size, '\0');
    config[0x08] = revision;
    config[0x0E] = header_type;
    return config;
}

// With a PCI Express capability behind another one: generation 3 of 4, 8 of 16 lanes.
inline std::string ExpressConfig() {
    std::string config = Config(256, static_cast<char>(0x80));
    config[0x06] = 0x10;
    config[0x34] = 0x40;
    config[0x40] = 0x01;
    config[0x41] = 0x60;
    config[0x60] = 0x10;
    config[0x60 + 0x0C] = 0x04;
    config[0x60 + 0x0D] = 0x01;
    config[0x60 + 0x12] = static_cast<char>(0x83);
    return config;
}

inline std::string Vpd(const std::string &serial = "SER-1") {
    return VpdResource(0x82, "Example Adapter ") +
           VpdResource(0x90, VpdField("PN", "PART-1") + VpdField("EC", "A02") + VpdField("SN", serial) +
                                 VpdField("MN", "Maker") + VpdField("RV", std::string(3, '\0'))) +
           std::string("\x78", 1);
}

}  // namespace collect

#endif
