// The views of what was read.
#ifndef MWCTL_VIEWS_H
#define MWCTL_VIEWS_H

#include <nlohmann/json_fwd.hpp>
#include <optional>

#include "path.h"
#include "read.h"

namespace mwctl {

// How much of a record people see that has a line for each of its slots.
enum class Extent : uint8_t { kLine, kAll };

// One record with a heading and its content, indented; the same rules.
std::string ToText(const Reading &reading, Extent extent);
nlohmann::ordered_json ToJson(const Layout &layout, const std::byte *bytes);

// For people: aligned lines and tables, empty texts and empty reserved bytes left out. What came from the
// records is escaped.
std::string ToText(const ModuleReading &reading, Extent extent);

// Every named field under its name; reserved bytes only when they are not zero. What a record's numbers mean,
// as far as it is known, stands beside them under "decoded"; a list has the slots in use. A record that could
// not be read is null.
nlohmann::ordered_json ToJson(const ModuleReading &reading);
nlohmann::ordered_json ToJson(const Reading &reading);
// One value; of an array one element, or all of them.
nlohmann::ordered_json ToJson(const Field &field, const std::byte *bytes, std::optional<uint32_t> element);

// Hexadecimal bytes with their offsets and the paths of the fields that they are; a record that is zero is
// one line.
std::string ToHex(const Place &part);
std::string ToHex(const std::string &path, const Layout &layout, const std::byte *bytes, uint32_t offset);

// A document as text: ASCII alone, whatever the records' texts hold.
std::string Document(const nlohmann::ordered_json &json);
// The same in one line.
std::string DocumentLine(const nlohmann::ordered_json &json);

}  // namespace mwctl

#endif
