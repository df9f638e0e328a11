// Paths of values, and walking over what was read: MODULE.RECORD[SLOT].FIELD[ELEMENT].FIELD and so on, where
// slots have the numbers under which they are shown and elements count from 0.
#ifndef MWCTL_WALK_H
#define MWCTL_WALK_H

#include <functional>
#include <map>
#include <string>

#include "read.h"

namespace mwctl {

// "memory.slots[3]", of a single record "services.ntp".
std::string PathOf(const Module &module, const Record &record, uint32_t slot);
// The path of a field's element in the record with this path.
std::string PathOf(std::string_view record, const Field &field, uint32_t index);

// One value: an element of a field that holds no record. `bytes` are those of the record around it.
struct Value {
    const Field &field;
    const std::byte *bytes;
    uint32_t index;
    std::string path;
    std::string_view name;  // what the part is called that the value belongs to, as far as that is known
};

// Visits the values of a record that a view shows, of arrays the elements in use.
void Walk(const Layout &layout, const std::byte *bytes, Chosen chosen, const std::string &path,
          std::string_view name, const std::function<void(const Value &)> &visit);
// The values of every slot.
void Walk(const Module &module, const Reading &reading, const std::function<void(const Value &)> &visit);

// How many records are in use: the slots of a list, or what a single record counts itself; -1 where nothing
// is counted.
int64_t CountOf(const Reading &reading);

// Reads modules again and again. A semaphore that was not had is waited for again only when it has changed
// hands.
class Rounds {
  public:
    explicit Rounds(std::vector<const Module *> modules) : modules_(std::move(modules)) {}
    std::vector<ModuleReading> Next();

  private:
    struct Stuck {
        uint64_t turn;
        Reading reading;
    };
    std::vector<const Module *> modules_;
    std::map<const midware::Module *, Stuck> stuck_;
};

}  // namespace mwctl

#endif
