// Checks of arguments that several subcommands share. Each answers the complaint, or nothing.
#ifndef MWCTL_ARGUMENTS_H
#define MWCTL_ARGUMENTS_H

#include <cstdint>
#include <string>
#include <string_view>

#include "cli.h"

namespace mwctl {

// A number in this range, written decimal or after 0x, and what it stands for in the complaint.
cli::Validator NumberIn(std::string what, uint64_t least, uint64_t most);

// A host name or address of at most this many bytes, without blanks and control characters; or nothing at
// all.
cli::Validator HostName(std::string what, size_t longest);

// One of the names that the codes of a field have (table.h: FindField), replaced by its number; with
// `any_number` also a number that has no name. To be used as a transformation.
cli::Validator CodeOf(std::string what, std::string_view path, bool any_number = false);

// "yes" or "no", replaced by 1 or 0. To be used as a transformation.
cli::Validator YesNo(std::string what);

// The modules of the table, for a help text; and whether a name is one of theirs.
std::string NamesOfModules();
std::string CheckModule(const std::string &name);

// An argument that has passed one of the above.
uint32_t NumberOf(const std::string &checked);

}  // namespace mwctl

#endif
