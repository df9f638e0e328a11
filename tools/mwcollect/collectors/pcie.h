// The PCIe device table: every function that the kernel lists, as far as there is room.
#ifndef MWCOLLECT_PCIE_H
#define MWCOLLECT_PCIE_H

#include <string_view>
#include <vector>

#include "midware/pcie.h"
#include "pci.h"

namespace collect {

struct PcieFunctions {
    std::vector<PciFunction> functions;  // by address, at most MW_PCIE_MAX
    size_t left_out = 0;
};

// Where there is no room for all, those stay that say most about the machine: devices, then parts of the
// chipset and virtual functions, bridges last; among equals the lower addresses.
PcieFunctions ChoosePcieFunctions(std::vector<PciFunction> functions);

// What kind of card a class is, "" for no particular one.
std::string_view PcieTypeName(const PciFunction &function);

PcieAssetInfo ToPcieRecord(const PciFunction &function, const PciVpd &vpd, const PciNames &names);

// The record to store for a device that is in the table already: the stored one, with what it lacked and with
// the link as it is now. What other processes keep in it stays.
bool IsSameDevice(const PcieAssetInfo &stored, const PcieAssetInfo &found);
PcieAssetInfo Refreshed(const PcieAssetInfo &stored, const PcieAssetInfo &found);

}  // namespace collect

#endif
