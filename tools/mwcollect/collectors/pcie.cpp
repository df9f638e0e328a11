#include "pcie.h"

#include <algorithm>

#include "collector.h"
#include "midware/area.h"
#include "pci_record.h"

namespace collect {
namespace {

int Rank(const PciFunction &function) {
    if (function.IsBridge()) return 3;
    if (function.is_virtual) return 2;
    const bool chipset = function.base_class == kPciMemory || function.base_class == kPciSystemPeripheral ||
                         function.base_class == kPciSignalProcessing;
    return chipset && function.slot.name.empty() ? 1 : 0;
}

uint8_t DeviceType(const PciFunction &function) {
    if (PcieTypeName(function) == "NVMe") return MW_PCIE_TYPE_NVME;
    if (function.slot.name.empty()) return 0;
    return function.slot.ocp && function.base_class == kPciNetwork ? MW_PCIE_TYPE_OCP : MW_PCIE_TYPE_CARD;
}

template <size_t Size>
void FillIfEmpty(char (&field)[Size], const char (&found)[Size]) {
    if (field[0] == '\0') std::memcpy(field, found, Size);
}

class PcieCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        if (!host.Exists("/sys/bus/pci/devices")) return;
        const PcieFunctions found = ChoosePcieFunctions(ReadPciFunctions(host));
        if (found.left_out > 0) {
            host.log().Once(fmt::format("PCIe devices: {} of {} functions left out, there is room for {}",
                                        found.left_out, found.left_out + found.functions.size(),
                                        MW_PCIE_MAX));
        }
        const PciNames &names = InstalledPciNames(host.log());
        const std::vector<PcieAssetInfo> stored = Stored();
        std::vector<PcieAssetInfo> table;
        for (const PciFunction &function : found.functions) {
            PcieAssetInfo record = ToPcieRecord(function, vpd_.Of(host, function), names);
            const auto known = std::find_if(stored.begin(), stored.end(), [&](const PcieAssetInfo &other) {
                return IsSameDevice(other, record);
            });
            table.push_back(known == stored.end() ? record : Refreshed(*known, record));
        }
        // The table is written whole: as seldom as possible, since others keep the states of its devices in
        // it.
        const auto same = [](const PcieAssetInfo &a, const PcieAssetInfo &b) {
            return std::memcmp(&a, &b, sizeof a) == 0;
        };
        if (std::equal(table.begin(), table.end(), stored.begin(), stored.end(), same)) {
            writer.Remark(fmt::format("{} PCIe devices, as stored", table.size()));
            return;
        }
        const auto count = static_cast<uint32_t>(table.size());
        table.resize(MW_PCIE_MAX);
        writer.Wrote("PCIe devices", count, MW_SetPcieAssetInfo(table.data(), count));
    }

  private:
    // The getter copies as many records as the area says there are, which its size alone bounds.
    static std::vector<PcieAssetInfo> Stored() {
        uint32_t count = 0;
        if (MW_GetPcieCount(&count) != 0 || count > MW_PCIE_MAX) return {};
        std::vector<PcieAssetInfo> records(MW_AREA_SIZE / sizeof(PcieAssetInfo));
        if (MW_GetPcieAssetInfo(records.data(), &count) != 0 || count > MW_PCIE_MAX) return {};
        records.resize(count);
        return records;
    }

    PciVpdCache vpd_;
};

const Registration registered({"pcie", "PCIe devices: addresses, IDs, slots, names, links", 40,
                               Make<PcieCollector>});

}  // namespace

PcieFunctions ChoosePcieFunctions(std::vector<PciFunction> functions) {
    PcieFunctions chosen{std::move(functions)};
    const auto by_address = [](const PciFunction &a, const PciFunction &b) { return a.address < b.address; };
    if (chosen.functions.size() > MW_PCIE_MAX) {
        chosen.left_out = chosen.functions.size() - MW_PCIE_MAX;
        std::sort(chosen.functions.begin(), chosen.functions.end(),
                  [&](const PciFunction &a, const PciFunction &b) {
                      return Rank(a) != Rank(b) ? Rank(a) < Rank(b) : by_address(a, b);
                  });
        chosen.functions.resize(MW_PCIE_MAX);
    }
    std::sort(chosen.functions.begin(), chosen.functions.end(), by_address);
    return chosen;
}

std::string_view PcieTypeName(const PciFunction &function) {
    switch (function.base_class << 8 | function.sub_class) {
        case 0x0104:
            return "RAID";
        case 0x0106:
            return "SATA";
        case 0x0107:
            return "SAS";
        case 0x0108:
            return "NVMe";
        case 0x0C04:
            return "FC";
        default:
            break;
    }
    if (function.base_class == kPciNetwork) return "NIC";
    if (function.base_class == kPciDisplay || function.base_class == kPciAccelerator) return "GPU";
    return "";
}

PcieAssetInfo ToPcieRecord(const PciFunction &function, const PciVpd &vpd, const PciNames &names) {
    PcieAssetInfo info{};
    info.ucClassCode = function.base_class;
    info.ucDevType = DeviceType(function);
    info.ucSlot = function.slot.number;
    info.ucPresentState = 1;
    FillIdentity(info, function);
    info.dwDomain = function.address.domain;
    info.ucBiosAttr = MW_PCIE_UNKNOWN;
    info.ucBiosState1 = info.ucBiosState2 = info.ucBiosState3 = MW_PCIE_UNKNOWN;
    info.ucSubClass = function.sub_class;
    info.ucProgIf = function.prog_if;
    info.ucRevision = function.revision;
    info.ucHeaderType = function.header_type;
    info.ucExtType = info.ucDevType == MW_PCIE_TYPE_OCP ? MW_PCIE_EXT_OCP : 0;
    FillLinks(info, function);
    const std::string_view type = PcieTypeName(function);
    const PciTexts texts = DescribePci(function, vpd, names);
    Fill(info.acLocation, function.label);
    Fill(info.acSlotName, function.slot.name);
    Fill(info.acDevTypeName, type);
    if (!type.empty() && function.slot.number != 0)
        Fill(info.acDevName, fmt::format("{}{}", type, function.slot.number));
    Fill(info.acSerialNum, vpd.serial);
    Fill(info.acTextB, vpd.part);
    Fill(info.acTextC, texts.maker);
    Fill(info.acTextD, vpd.change);
    Fill(info.acTextE, texts.controller_maker);
    Fill(info.acTextG, texts.product);
    return info;
}

bool IsSameDevice(const PcieAssetInfo &stored, const PcieAssetInfo &found) {
    const auto key = [](const PcieAssetInfo &info) {
        return std::tuple(info.dwDomain, Identity(info), info.ucClassCode, info.ucSubClass, info.ucDevType,
                          info.ucSlot);
    };
    return key(stored) == key(found) && HasSerialOf(stored, found);
}

PcieAssetInfo Refreshed(const PcieAssetInfo &stored, const PcieAssetInfo &found) {
    PcieAssetInfo info = stored;
    info.ucPresentState = found.ucPresentState;
    info.ucLinkSpeed = found.ucLinkSpeed;
    info.ucLinkWidth = found.ucLinkWidth;
    info.ucMaxLinkSpeed = found.ucMaxLinkSpeed;
    info.ucMaxLinkWidth = found.ucMaxLinkWidth;
    info.ucNumaNode = found.ucNumaNode;
    FillIfEmpty(info.acLocation, found.acLocation);
    FillIfEmpty(info.acSlotName, found.acSlotName);
    FillIfEmpty(info.acDevTypeName, found.acDevTypeName);
    FillIfEmpty(info.acDevName, found.acDevName);
    FillIfEmpty(info.acTextB, found.acTextB);
    FillIfEmpty(info.acTextC, found.acTextC);
    FillIfEmpty(info.acTextD, found.acTextD);
    FillIfEmpty(info.acTextE, found.acTextE);
    FillIfEmpty(info.acTextG, found.acTextG);
    return info;
}

}  // namespace collect
