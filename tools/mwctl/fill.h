// Records from what a user writes: the counterpart of the views.
#ifndef MWCTL_FILL_H
#define MWCTL_FILL_H

#include <cstddef>
#include <nlohmann/json_fwd.hpp>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

#include "table.h"

namespace mwctl {

// A value that does not fit, and why, in one line.
struct Unfit : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Sets the fields that the JSON object names. What the views add to them, "decoded", is passed over. `path`
// names the record in complaints.
void Fill(const Layout &layout, const nlohmann::ordered_json &json, std::byte *bytes,
          const std::string &path);

// A text in JSON; complaints begin with `path`.
nlohmann::ordered_json ParseJson(std::string_view text, const std::string &path);

// Digits in pairs, blanks and line feeds between them allowed.
std::vector<std::byte> ParseHex(std::string_view text, const std::string &path);

// A number that fits into so many bytes, as its bits. `what` names it in the complaint.
uint64_t ParseNumber(std::string_view text, uint32_t width, bool is_signed, const std::string &what);

}  // namespace mwctl

#endif
