// Names of what disks say of themselves, and lists that are stored in one block with their number.
#ifndef MWCTL_MODULES_DISKS_H
#define MWCTL_MODULES_DISKS_H

#include <fmt/format.h>

#include <algorithm>
#include <memory>
#include <string>

#include "midware/raidcard.h"
#include "table.h"
#include "text.h"

namespace mwctl {

inline constexpr Code kHealth[] = {{MW_HD_HEALTH_UNKNOWN, "unknown"},
                                   {MW_HD_HEALTH_GOOD, "good"},
                                   {MW_HD_HEALTH_FAILURE_PREDICTED, "failure predicted"},
                                   {MW_HD_HEALTH_FAILED, "failed"}};
inline constexpr Code kMedia[] = {{MW_HD_MEDIA_UNKNOWN, "unknown"},
                                  {MW_HD_MEDIA_ROTATING, "rotating"},
                                  {MW_HD_MEDIA_SOLID_STATE, "solid state"}};
inline constexpr Code kInterfaces[] = {
    {MW_HD_IF_PARALLEL, "parallel"}, {MW_HD_IF_SAS, "SAS"}, {MW_HD_IF_SATA, "SATA"}, {MW_HD_IF_PCIE, "PCIe"}};
inline constexpr Code kRates[] = {
    {MW_HD_LINK_1_5G, "1.5 Gbit/s"}, {MW_HD_LINK_3G, "3 Gbit/s"}, {MW_HD_LINK_6G, "6 Gbit/s"}};
inline constexpr Code kRotations[] = {{MW_HD_RPM_5400, "5400"},   {MW_HD_RPM_7200, "7200"},
                                      {MW_HD_RPM_10000, "10000"}, {MW_HD_RPM_10025, "10025"},
                                      {MW_HD_RPM_15000, "15000"}, {MW_HD_RPM_NON_ROTATING, "none"},
                                      {MW_HD_RPM_OTHER, "other"}};

// The name of a code, or its number; "" for `unknown`, which says nothing in a table.
inline std::string NameOf(std::span<const Code> codes, uint32_t value, uint32_t unknown = UINT32_MAX) {
    if (value == unknown) return {};
    const auto found =
        std::find_if(codes.begin(), codes.end(), [&](const Code &c) { return c.value == value; });
    return found == codes.end() ? fmt::format("{}", value) : std::string(found->name);
}

// A link rate as the records code it: of whole numbers only some have a name.
inline std::string RateText(uint8_t rate) {
    if (rate == 0) return {};
    const std::string name = NameOf(kRates, rate);
    return name.find(' ') != name.npos ? name : name + " Gbit/s";
}

inline std::string SizeText(uint64_t mib) {
    if (mib == 0) return {};
    return mib < 1024 ? fmt::format("{} MiB", mib)
                      : fmt::format("{:.1f} GiB", static_cast<double>(mib) / 1024);
}

template <size_t size>
std::string TextOf(const char (&text)[size]) {
    return std::string(tools::ArrayText(text, size));
}

namespace detail {

template <class Block, class Entry, size_t size>
Entry EntryOf(Entry (Block::*)[size]);
template <class Block, class Member>
Block BlockOf(Member Block::*);

}  // namespace detail

// The entries of a block that `get` copies out, as a list: `number` counts `entries`, which are members of
// it.
template <auto get, auto number, auto entries>
int32_t ReadEntries(decltype(detail::EntryOf(entries)) *slots, uint32_t &count) {
    const auto block = std::make_unique<decltype(detail::BlockOf(entries))>();
    if (get(block.get()) < 0) return -1;
    count = (*block).*number;
    const auto &all = (*block).*entries;
    std::copy_n(all, std::min<size_t>(count, std::size(all)), slots);
    return 0;
}

}  // namespace mwctl

#endif
