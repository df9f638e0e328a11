// Paths to anything that can be read: MODULE.RECORD[SLOT].FIELD[ELEMENT].FIELD and so on. The record "area"
// of a module is its area as it is stored, also the fields that no function reads. A slot has the number that
// it is shown with, elements of arrays count from 0; without a number all of them are meant.
#ifndef MWCTL_PATH_H
#define MWCTL_PATH_H

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "read.h"

namespace mwctl {

inline constexpr std::string_view kAreaRecord = "area";

// A field of a record that was read, or one element of it, with its path and its place.
struct Place {
    std::string path;
    const Field *field;
    const std::byte *bytes;  // of the record that the field is in
    std::optional<uint32_t> element;
    uint32_t offset;  // from where the record that was read begins

    uint32_t size() const { return element ? field->width : field->size(); }
    const std::byte *begin() const { return bytes + field->offset + element.value_or(0) * field->width; }
};

struct PathReading {
    std::string path;
    ModuleReading reading;        // of the record, with the slots that are meant
    bool whole = false;           // the path ends with the record
    bool slot_named = false;      // and names one slot of it
    std::vector<Place> places{};  // otherwise
    std::string problem{};
};

// What is wrong with the path, and which names there are; nothing when it leads to something.
std::string CheckPath(std::string_view path);

PathReading ReadPath(std::string_view path);

// The path of one of the record's slots.
std::string PathOf(const PathReading &reading, const Slot &slot);

// A field of a record that has this path and begins at this offset.
Place PlaceOf(const std::string &path, const Field &field, const std::byte *bytes, uint32_t offset,
              std::optional<uint32_t> element);

Place ElementOf(const Place &array, uint32_t element);

// Calls `visit` for every value, element by element, down to the innermost records. A record or an array
// for which `enter` answers no is passed by.
using Visit = std::function<void(const Place &value)>;
using Enter = std::function<bool(const Place &part)>;
void ForEachValue(const Place &part, const Visit &visit, const Enter &enter = {});
void ForEachValue(const std::string &path, const Layout &layout, const std::byte *bytes, uint32_t offset,
                  const Visit &visit, const Enter &enter = {});

}  // namespace mwctl

#endif
