// SMBIOS structures, byte by byte: for the simulated machine and for tests.
#ifndef MWCOLLECT_SMBIOS_BUILDER_H
#define MWCOLLECT_SMBIOS_BUILDER_H

#include <cstdint>
#include <initializer_list>
#include <string>

namespace collect {

class SmbiosBuilder {
  public:
    SmbiosBuilder(uint8_t type, uint8_t length, uint16_t handle = 0x1100) : formatted_(length, '\0') {
        Byte(0, type).Byte(1, length).Word(2, handle);
    }
    SmbiosBuilder &Byte(size_t at, uint32_t value) { return Put(at, value, 1); }
    SmbiosBuilder &Word(size_t at, uint32_t value) { return Put(at, value, 2); }
    SmbiosBuilder &Dword(size_t at, uint32_t value) { return Put(at, value, 4); }
    // Appends a string and puts its number at an offset.
    SmbiosBuilder &Text(size_t at, const std::string &text) {
        strings_ += text + '\0';
        return Byte(at, ++count_);
    }
    std::string Bytes() const {
        return formatted_ + (strings_.empty() ? std::string(2, '\0') : strings_ + '\0');
    }

  private:
    SmbiosBuilder &Put(size_t at, uint32_t value, size_t bytes) {
        for (size_t i = 0; i < bytes; ++i) formatted_.at(at + i) = static_cast<char>(value >> 8 * i & 0xFFu);
        return *this;
    }

    std::string formatted_;
    std::string strings_;
    uint32_t count_ = 0;
};

// A memory slot as recent firmware describes it, with a module of 16 GiB; the serial number is a prefix and
// the locator.
inline SmbiosBuilder MemorySlot(const std::string &locator, const std::string &bank = "NODE 1",
                                const std::string &maker = "Maker", const std::string &serial = "S-",
                                const std::string &part = "P-1") {
    SmbiosBuilder slot(17, 0x5C);
    slot.Word(0x08, 72)
        .Word(0x0A, 64)
        .Word(0x0C, 16384)
        .Byte(0x0E, 0x09)
        .Text(0x10, locator)
        .Text(0x11, bank);
    slot.Byte(0x12, 0x1A)
        .Word(0x13, 1u << 7 | 1u << 13)
        .Word(0x15, 3200)
        .Text(0x17, maker)
        .Text(0x18, serial + locator);
    slot.Text(0x1A, part).Byte(0x1B, 0x02).Word(0x20, 2933).Word(0x26, 1200);
    return slot;
}

inline std::string EmptySlot(const std::string &locator) {
    return SmbiosBuilder(17, 0x22).Text(0x10, locator).Text(0x17, "NO DIMM").Text(0x18, "NO DIMM").Bytes();
}

inline SmbiosBuilder Socket(const std::string &designation, uint8_t status = 0x41) {
    return SmbiosBuilder(4, 0x30).Byte(0x05, 3).Text(0x04, designation).Byte(0x18, status);
}

inline std::string EndOfTable() { return SmbiosBuilder(127, 4, 0xFEFF).Bytes(); }

inline const char *const kDmiTable = "/sys/firmware/dmi/tables/DMI";

}  // namespace collect

#endif
