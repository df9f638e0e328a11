// Makers of ATA disks by the beginning of their model texts.
#ifndef HOV_MIDPCH_VENDOR_H
#define HOV_MIDPCH_VENDOR_H

namespace midware {

struct AtaVendor {
    char acModelPrefix[32];
    char acVendor[32];
};

static_assert(sizeof(AtaVendor) == 64);

// Matching is case-sensitive: a maker is listed in every spelling that its disks use. Of several rows that match, the
// last one names the maker.
inline constexpr AtaVendor g_atAtaVendorTable[] = {
    {"SEAGATE", "Seagate"},
    {"Seagate", "Seagate"},
    {"TOSHIBA", "Toshiba"},
    {"Toshiba", "Toshiba"},
    {"INTEL", "Intel"},
    {"Intel", "Intel"},
    {"SAMSUNG", "Samsung"},
    {"SamSung", "Samsung"},
    {"MEMBLAZE", "Memblaze"},
    {"HITACHI", "HITACHI"},
    {"MemBlaze", "Memblaze"},
    {"memblaze", "Memblaze"},
    {"MICRON", "Micron"},
    {"Micron", "Micron"},
    {"WESTDIGI", "WD"},
    {"WestDigi", "WD"},
    {"HGST", "HGST"},
    {"DERA", "DERA"},
    {"DAPUSTOR", "DapuStor"},
    {"KIOXIA", "KIOXIA"},
    {"GOKE", "GOKE"},
    {"MAXIO", "MAXIO"},
    {"YMTC", "YMTC"},
    {"SAGE", "SAGE"},
    {"seagate", "Seagate"},
    {"toshiba", "Toshiba"},
    {"hgst", "HGST"},
    {"Hgst", "HGST"},
    {"intel", "Intel"},
    {"Samsung", "Samsung"},
    {"samsung", "Samsung"},
    {"Memblaze", "Memblaze"},
    {"micron", "Micron"},
    {"dera", "DERA"},
    {"Dera", "DERA"},
    {"dapustor", "DapuStor"},
    {"Dapustor", "DapuStor"},
    {"kioxia", "KIOXIA"},
    {"KioXia", "KIOXIA"},
    {"Kioxia", "KIOXIA"},
    {"goke", "GOKE"},
    {"Goke", "GOKE"},
    {"maxio", "MAXIO"},
    {"ymtc", "YMTC"},
    {"sage", "SAGE"},
    {"SSSTC", "SSSTC"},
    {"westdigi", "WD"},
};

static_assert(sizeof g_atAtaVendorTable == 47 * sizeof(AtaVendor));

}  // namespace midware

#endif
