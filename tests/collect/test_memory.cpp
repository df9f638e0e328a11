#include "collectors/memory.h"
#include "midware/area.h"
#include "midware/mem.h"
#include "smbios_builder.h"
#include "tree.h"

namespace collect {
namespace {

MemoryDevice Device(const SmbiosBuilder &slot) {
    const auto structures = ParseSmbios(slot.Bytes(), nullptr);
    EXPECT_EQ(structures.size(), 1u);
    return ToMemoryDevice(structures.at(0));
}

TEST(Memory, AModuleIsDescribedByItsStructure) {
    const MemoryDevice device =
        Device(MemorySlot("P0_DIMM_A1", "P0_Node1_Channel2_Dimm3").Text(0x19, "Tag 7"));
    EXPECT_TRUE(device.present);
    EXPECT_EQ(device.locator, "P0_DIMM_A1");
    EXPECT_EQ(device.bank, "P0_Node1_Channel2_Dimm3");
    EXPECT_EQ(device.manufacturer, "Maker");
    EXPECT_EQ(device.serial, "S-P0_DIMM_A1");
    EXPECT_EQ(device.part, "P-1");
    EXPECT_EQ(device.asset_tag, "Tag 7");
    EXPECT_EQ(device.type, "DDR4");
    EXPECT_EQ(device.form, "DIMM");
    EXPECT_EQ(device.detail, "Synchronous Registered (Buffered)");
    EXPECT_EQ(device.size_mb, 16384u);
    EXPECT_EQ(device.max_speed, 3200u);
    EXPECT_EQ(device.speed, 2933u);
    EXPECT_EQ(device.total_width, 72u);
    EXPECT_EQ(device.data_width, 64u);
    EXPECT_EQ(device.rank, 2u);
    EXPECT_EQ(device.millivolts, 1200u);
    EXPECT_EQ(device.location, (std::array<uint32_t, 4>{1, MW_NO_VALUE, 2, 3}));
}

TEST(Memory, SizesAreInMebibytesKibibytesOrTheExtendedField) {
    const struct {
        uint32_t word, extended, mb;
        bool present;
    } kSizes[] = {{0, 0, 0, false},
                  {0xFFFF, 5, 0, true},
                  {0x7FFF, 65536, 65536, true},
                  {0x7FFF, 0x80000400, 0x400, true},
                  {0x7FFE, 1, 0x7FFE, true},
                  {0x8800, 0, 2, true}};
    for (const auto &size : kSizes) {
        const MemoryDevice device = Device(MemorySlot("A").Word(0x0C, size.word).Dword(0x1C, size.extended));
        EXPECT_EQ(device.size_mb, size.mb) << size.word;
        EXPECT_EQ(device.present, size.present) << size.word;
    }
}

TEST(Memory, SpeedsAboveTheirWordStandInTheExtendedFields) {
    const MemoryDevice device =
        Device(MemorySlot("A").Word(0x15, 0xFFFF).Dword(0x54, 70000).Word(0x20, 0xFFFF).Dword(0x58, 68000));
    EXPECT_EQ(device.max_speed, 70000u);
    EXPECT_EQ(device.speed, 68000u);
}

TEST(Memory, AnOldShortStructureLeavesTheRestUnknown) {
    SmbiosBuilder slot(17, 0x15);
    slot.Word(0x08, 0xFFFF)
        .Word(0x0A, 0xFFFF)
        .Word(0x0C, 512)
        .Text(0x10, "A")
        .Byte(0x12, 0x13)
        .Byte(0x0E, 0xFF);
    const MemoryDevice device = Device(slot);
    EXPECT_EQ(device.size_mb, 512u);
    EXPECT_EQ(device.type, "DDR2");
    EXPECT_EQ(device.form, "");
    EXPECT_EQ(device.total_width, 0u);
    EXPECT_EQ(device.data_width, 0u);
    EXPECT_EQ(device.speed, 0u);
    EXPECT_EQ(device.manufacturer, "");
    EXPECT_EQ(device.rank, 0u);
}

TEST(Memory, CodesBeyondTheTablesHaveNoText) {
    for (const uint32_t code : {0u, 1u, 2u, 0x15u, 0x25u, 0xFFu}) {
        EXPECT_EQ(Device(MemorySlot("A").Byte(0x12, code)).type, "") << code;
    }
    EXPECT_EQ(Device(MemorySlot("A").Byte(0x12, 0x22)).type, "DDR5");
    EXPECT_EQ(Device(MemorySlot("A").Byte(0x12, 0x24)).type, "HBM3");
    EXPECT_EQ(Device(MemorySlot("A").Byte(0x0E, 0x11)).form, "CAMM");
    EXPECT_EQ(Device(MemorySlot("A").Byte(0x0E, 0x12)).form, "");
    EXPECT_EQ(Device(MemorySlot("A").Word(0x13, 0xFFFF)).detail.find("LRDIMM") == std::string::npos, false);
}

TEST(Memory, EmptySlotsAreKeptAndSayNothingOfModules) {
    Tree tree;
    tree.File(kDmiTable, MemorySlot("DIMM_A1").Bytes() + EmptySlot("DIMM_A2") +
                             MemorySlot("DIMM_B1").Bytes() + EndOfTable());
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    EXPECT_EQ(records.source, MemorySource::kSmbios);
    ASSERT_EQ(records.devices.size(), 3u);
    EXPECT_TRUE(records.devices[0].present);
    EXPECT_FALSE(records.devices[1].present);
    EXPECT_EQ(records.devices[1].locator, "DIMM_A2");
    EXPECT_EQ(records.devices[1].manufacturer, "");
    EXPECT_EQ(records.devices[1].size_mb, 0u);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Memory, LocationsThatDoNotTellSlotsApartGiveWayToTheirOrder) {
    Tree tree;
    tree.File(kDmiTable, MemorySlot("DIMM 1", "NODE 1").Bytes() + MemorySlot("DIMM 1", "NODE 1").Bytes());
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    ASSERT_EQ(records.devices.size(), 2u);
    EXPECT_EQ(records.devices[0].location,
              (std::array<uint32_t, 4>{MW_NO_VALUE, MW_NO_VALUE, MW_NO_VALUE, 0}));
    EXPECT_EQ(records.devices[1].location,
              (std::array<uint32_t, 4>{MW_NO_VALUE, MW_NO_VALUE, MW_NO_VALUE, 1}));
}

TEST(Memory, MoreThanSixtyFourSlotsAreLeftOut) {
    Tree tree;
    std::string table;
    for (int i = 0; i < 70; ++i) table += MemorySlot(fmt::format("DIMM_{}", i)).Bytes();
    tree.File(kDmiTable, table);
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    EXPECT_EQ(records.devices.size(), MW_MEM_DIMM_MAX);
    EXPECT_EQ(records.left_out, 6u);
}

TEST(Memory, WithoutAnyDescriptionTheTotalIsOneDevice) {
    Tree tree;
    tree.File("/proc/meminfo", "MemTotal:       32836008 kB\nMemFree: 1 kB\n");
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    EXPECT_EQ(records.source, MemorySource::kMeminfo);
    ASSERT_EQ(records.devices.size(), 1u);
    EXPECT_EQ(records.devices[0].size_mb, 32066u);
    EXPECT_TRUE(records.devices[0].present);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Memory, AMeminfoThatIsBrokenGivesNoDevice) {
    for (const char *text : {"", "MemTotal: x kB\n", "MemTotal: 5\n", "MemTotal 5 kB\n", "XMemTotal: 5 kB\n",
                             "MemTotal: -5 kB\n"}) {
        Tree tree;
        tree.File("/proc/meminfo", text);
        HeardHost host(tree);
        EXPECT_TRUE(FindMemory(*host).devices.empty()) << text;
        EXPECT_EQ(host.lines().size(), 1u) << text;
    }
    Tree none;
    HeardHost host(none);
    EXPECT_EQ(FindMemory(*host).source, MemorySource::kNone);
}

void Edac(Tree &tree, const std::string &place, const std::string &label, const char *correctable,
          const char *uncorrectable) {
    const std::string dir = "/sys/devices/system/edac/mc/" + place + "/";
    tree.File(dir + "dimm_label", label + "\n")
        .File(dir + "dimm_ce_count", correctable)
        .File(dir + "dimm_ue_count", uncorrectable);
    tree.File(dir + "dimm_location", "channel 1 slot 0 \n")
        .File(dir + "size", "8192\n")
        .File(dir + "dimm_mem_type", "Registered-DDR4\n");
}

TEST(Memory, ErrorCountsBelongToTheSlotThatTheirLabelNames) {
    Tree tree;
    tree.File(kDmiTable,
              MemorySlot("DIMM_A1").Bytes() + MemorySlot("DIMM_A10").Bytes() + MemorySlot("DIMM_B1").Bytes());
    Edac(tree, "mc0/dimm0", "NODE 1 DIMM_A1", "7\n", "0\n");
    Edac(tree, "mc0/dimm3", "DIMM_A10", "0\n", "2\n");
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    ASSERT_EQ(records.devices.size(), 3u);
    EXPECT_EQ(records.devices[0].errors, (MemoryErrors{7, 0}));
    EXPECT_EQ(records.devices[1].errors, (MemoryErrors{0, 2}));
    EXPECT_EQ(records.devices[2].errors, std::nullopt);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Memory, TheBankTellsSlotsOfOneNameApart) {
    Tree tree;
    tree.File(kDmiTable, MemorySlot("DIMM 0", "BANK 0").Bytes() + MemorySlot("DIMM 0", "BANK 1").Bytes());
    Edac(tree, "mc0/dimm0", "BANK 1 DIMM 0", "9", "0");
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    ASSERT_EQ(records.devices.size(), 2u);
    EXPECT_EQ(records.devices[0].errors, std::nullopt);
    EXPECT_EQ(records.devices[1].errors, (MemoryErrors{9, 0}));
}

TEST(Memory, ErrorCountsOfNoCertainSlotAreNobodys) {
    Tree tree;
    tree.File(kDmiTable, MemorySlot("DIMM_A1").Bytes() + MemorySlot("DIMM_A2").Bytes());
    Edac(tree, "mc0/dimm0", "CPU_SrcID#0_MC#0_Chan#0_DIMM#0", "7", "0");
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    EXPECT_EQ(records.devices.at(0).errors, std::nullopt);
    EXPECT_EQ(records.devices.at(1).errors, std::nullopt);
    EXPECT_EQ(
        host.Line(),
        "/sys/devices/system/edac/mc: 1 devices have no label that names one memory slot; their error counts "
        "are left out");
}

TEST(Memory, EdacAloneDescribesTheDevices) {
    Tree tree;
    Edac(tree, "mc0/dimm0", "", "3", "1");
    Edac(tree, "mc1/rank10", "CH0_D1", "garbage", "0");
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    EXPECT_EQ(records.source, MemorySource::kEdac);
    ASSERT_EQ(records.devices.size(), 2u);
    EXPECT_EQ(records.devices[0].locator, "mc0 dimm0");
    EXPECT_EQ(records.devices[0].size_mb, 8192u);
    EXPECT_EQ(records.devices[0].type, "Registered-DDR4");
    EXPECT_EQ(records.devices[0].errors, (MemoryErrors{3, 1}));
    EXPECT_EQ(records.devices[0].location, (std::array<uint32_t, 4>{MW_NO_VALUE, 0, 1, 0}));
    EXPECT_EQ(records.devices[1].locator, "CH0_D1");
    EXPECT_EQ(records.devices[1].errors, std::nullopt);
    EXPECT_EQ(host.Line(),
              "/sys/devices/system/edac/mc/mc1/rank10/dimm_ce_count: expected an error count (0 to "
              "18446744073709551615), found \"garbage\"; skipped");
}

void ModuleSensor(Tree &tree, int chip, const char *driver, const std::string &device, const char *input) {
    const std::string dir = fmt::format("/sys/class/hwmon/hwmon{}/", chip);
    tree.File(dir + "name", driver).File(dir + "temp1_input", input).File(dir + "temp1_crit", "95000");
    tree.Link(dir + "device", "../../../" + device);
}

TEST(Memory, ModuleTemperaturesFollowBusAndAddressWhereEveryModuleHasOne) {
    Tree tree;
    tree.File(kDmiTable, MemorySlot("A1").Bytes() + EmptySlot("A2") + MemorySlot("B1").Bytes() +
                             MemorySlot("C1").Bytes());
    ModuleSensor(tree, 0, "jc42", "1-0018", "43000");
    ModuleSensor(tree, 1, "jc42", "0-001a", "42000");
    ModuleSensor(tree, 2, "spd5118", "0-0019", "41000");
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    EXPECT_EQ(records.devices[0].temperature, 41);
    EXPECT_EQ(records.devices[0].critical, 95);
    EXPECT_EQ(records.devices[1].temperature, std::nullopt);
    EXPECT_EQ(records.devices[2].temperature, 42);
    EXPECT_EQ(records.devices[3].temperature, 43);
    EXPECT_EQ(host.lines(), Strings{});
}

TEST(Memory, ModuleTemperaturesThatCannotBePlacedAreNobodys) {
    Tree tree;
    tree.File(kDmiTable, MemorySlot("A1").Bytes() + MemorySlot("B1").Bytes());
    ModuleSensor(tree, 0, "jc42", "0-0018", "43000");
    HeardHost host(tree);
    const MemoryRecords records = FindMemory(*host);
    EXPECT_EQ(records.devices[0].temperature, std::nullopt);
    EXPECT_EQ(records.devices[1].temperature, std::nullopt);
    EXPECT_EQ(host.Line(),
              "memory temperatures: 1 sensors for 2 modules; skipped, since nothing says which sits where");
}

}  // namespace
}  // namespace collect
