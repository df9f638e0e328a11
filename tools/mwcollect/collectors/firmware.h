// Identity of the main board and versions of the firmware: DMI for board and BIOS, os-release for the running
// image.
#ifndef MWCOLLECT_FIRMWARE_H
#define MWCOLLECT_FIRMWARE_H

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "host.h"
#include "midware/fwinfo.h"

namespace collect {

// What is not known is empty.
struct DmiIdentity {
    std::string board_name;
    std::string board_version;
    std::string bios_version;
    std::string bios_date;  // as firmware writes it: MM/DD/YYYY
    bool operator==(const DmiIdentity &) const = default;
};

struct BuildTime {
    std::string date;  // YYYY-MM-DD
    std::string time;  // HH:MM:SS, or empty
    bool operator==(const BuildTime &) const = default;
};

struct RunningImage {
    std::string version;  // for comparing: "12.5"
    std::string name;     // for people: "Example Linux 12 (name)"
    BuildTime built;
    bool operator==(const RunningImage &) const = default;
};

// From /sys/class/dmi/id, else from the SMBIOS table.
DmiIdentity FindDmiIdentity(const Host &host);

// Nothing without an os-release file.
std::optional<RunningImage> FindRunningImage(const Host &host);

// The assignments of an os-release file, without their quotes.
std::map<std::string, std::string> ParseOsRelease(std::string_view text);

// The time stamp that a build's name begins with: "20240102", "20240102030405", "2024-01-02".
std::optional<BuildTime> ParseBuildId(std::string_view text);

// When a kernel was built, from /proc/version: "... #1 SMP Tue Mar  5 12:34:56 UTC 2024", "... (2024-03-05)".
std::optional<BuildTime> ParseKernelBuild(std::string_view text);

// The numbers of a version as a version number: "1.2.3.4" one a byte, the first one the most significant.
std::optional<uint32_t> ImageNumber(std::string_view version);

// The same as a board's version number: "1.2.42" with 8, 8 and 16 bits.
std::optional<uint32_t> BoardNumber(std::string_view version);

// Put what is known into the blocks, nothing else; what is not known leaves the record alone.
void Update(const DmiIdentity &dmi, all_bios_version &bios);
void Update(const DmiIdentity &dmi, all_fru_version &fru);
void Update(const RunningImage &image, all_bmc_version &bmc);

}  // namespace collect

#endif
