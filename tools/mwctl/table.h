// clang-format off
// The table of modules, records and fields: what the shared area holds, told once. Every view (text, JSON and
// whatever comes later) walks it; reading is in read.h, printing in the views.
//
// A module plugs in with one source file in modules/, which the build picks up by itself. It describes structs,
// all of their fields in order (a forgotten one does not compile; kind, offset and width follow from the struct):
//
//     MW_RECORD(ThingInfo,
//               MW_FIELD(dwIndex, "number"),
//               MW_FIELD(acLabel, "label").Naming(),
//               MW_FIELD(iTemp, "temperature").Unit("C").Reading(offsetof(ThingInfo, ucValid)),
//               MW_FIELD(dwHealth, "health").Health(),         // the live views show readings, health and alarms
//               MW_FIELD(dwMode, "mode").Codes(kModes),        // constexpr Code kModes[] = {{0, "off"}, ...};
//               MW_FIELD(ucFailState, "failed").State(),       // an alarm; all states become one line: "asserted"
//               MW_FIELD(dwVolt, "voltage").Decimals(3).Unit("V").NoValue(),  // mV; all ones where there is none
//               MW_FIELD(aucReserved, ""));                    // by its name: shown only when not zero
//
// the area from the module's own header, where a value that an exported function reads alone says so:
//
//     using midware::ThingArea;
//     MW_RECORD(ThingArea,
//               MW_FIELD(dwTotalPower, "total power").Unit("W").Get<MW_GetThingTotalPower>(),
//               MW_FIELD(atThing, "thing"));
//
// and what can be read of it, and how:
//
//     constexpr Record kRecords[] = {
//         Words<ThingArea>("totals", "Totals"),                          // the fields with a Get
//         Slots<ThingInfo, CountThings>("power", "Power", 16),           // of each slot the fields with a GetAt
//         List<ThingInfo, MW_GetThingInfo>("things", "Things", 16).Used<IsPresent>().Named<Labels>(),
//         List<ThingInfo, MW_GetThingInfo>("all", "All", 16).Row<Cells>().OnRequest("all", "All things instead"),
//         One<ThingPolicy, MW_GetThingPolicy>("policy", "Policy"),
//         Custom<ThingView, ReadViews>("view", "View", 16),              // int32_t ReadViews(ThingView *, uint32_t &)
//     };
//     const Plug plug{{"thing", "Things", &midware::kThing, kRecords, &kLayout<ThingArea>}};
//
// A struct of the tool's own describes what is handed out but not stored like that (modules/memory.cpp), and
// modules/shared.h has what several modules need. Names of modules and records are what users type; the name of a
// field is that of the struct's member. A module's settings are a source file in settings/ (command.h).
// clang-format on
#ifndef MWCTL_TABLE_H
#define MWCTL_TABLE_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "hov_midware.h"

namespace mwctl {

enum class Kind : uint8_t {
    kUnsigned,
    kSigned,
    kFloat,
    kText,    // ends with its first NUL or with its array
    kBytes,   // shown in hexadecimal
    kEvent,   // IPMI event data 1 to 3
    kCode,    // a number of which some values have names
    kFlags,   // a number of which some bits have names; Code::value is the mask
    kSwitch,  // 0 no, 1 yes
    kState,   // a sensor state: asserted unless 0
    kRecord,  // a nested record
};

struct Code {
    uint32_t value;
    std::string_view name;
};

// What a value tells of the machine's state, for views that pick that out: a reading is a temperature, a power
// or the speed of a fan, by its unit.
enum class Sense : uint8_t { kNone, kReading, kHealth, kAlarm };

struct Layout;
using Getter = int32_t (*)(void *value);
using SlotGetter = int32_t (*)(uint32_t slot, void *value);

struct Field {
    std::string_view name{};
    std::string_view label{};  // for people
    uint32_t offset = 0;
    uint32_t width = 0;  // bytes; of an array those of one element
    uint32_t count = 0;  // elements of an array; 0 when it is none
    Kind kind = Kind::kUnsigned;
    bool hex = false;         // a number that is shown in hexadecimal
    bool reserved = false;    // shown only when it is not zero
    bool quiet_zero = false;  // a zero says nothing: not shown to people
    bool no_value = false;    // `absent` stands for no value
    bool quiet_none = false;  // no value: not shown to people
    bool inlined = false;     // of a nested record: shown to people among the lines around it
    bool naming = false;      // a text that names the part which the record is about
    bool first_only = false;  // of an array only the first element has a sense
    Sense sense = Sense::kNone;
    uint8_t valid_mask = 0;   // of the byte at `valid_at`: one of these bits is set where there is a reading
    int32_t valid_at = -1;    // offset in the record; -1: there is always one
    uint8_t decimals = 0;     // of a number that people are shown divided by this power of ten
    uint64_t absent = 0;      // as the bytes of the field
    uint32_t first_number = 1;  // what people are told that the first nested record of an array is called
    int32_t counted_by = -1;  // offset in the record of the word that counts the elements in use
    std::string_view unit{};
    std::span<const Code> codes{};
    const Layout *layout = nullptr;    // of a nested record
    Getter getter = nullptr;           // of a value that is read on its own
    SlotGetter slot_getter = nullptr;  // the same, of one slot

    constexpr uint32_t size() const { return width * (count == 0 ? 1 : count); }

    constexpr Field Unit(std::string_view name_of_unit) const {
        Field field = *this;
        field.unit = name_of_unit;
        return field;
    }
    constexpr Field Codes(std::span<const Code> names) const { return With(Kind::kCode, names); }
    constexpr Field Flags(std::span<const Code> names) const { return With(Kind::kFlags, names); }
    constexpr Field Switch() const { return With(Kind::kSwitch, {}); }
    // A sensor state; one that is normal when asserted is no alarm.
    constexpr Field State(Sense sense_of_it = Sense::kAlarm) const {
        return With(Kind::kState, {}).Senses(sense_of_it);
    }
    // Bytes that are sensor states, one each: `kinds` says what each of them stands for.
    constexpr Field States(std::span<const Code> kinds) const {
        Field field = Numbers();
        field.kind = Kind::kState;
        field.codes = kinds;
        field.sense = Sense::kAlarm;
        return field;
    }
    constexpr Field Health() const { return Senses(Sense::kHealth); }
    constexpr Field Alarm() const { return Senses(Sense::kAlarm); }
    constexpr Field Reading() const {
        const bool known = unit == "C" || unit == "W" || unit == "mW" || unit == "rpm" || unit == "RPM";
        return known ? Senses(Sense::kReading) : throw "a reading has a unit that tells what it measures";
    }
    // There is one only where one of these bits is set in the byte at this offset of the record.
    constexpr Field Reading(size_t offset_of_flag, uint8_t mask = 0xFF) const {
        Field field = Reading();
        field.valid_at = static_cast<int32_t>(offset_of_flag);
        field.valid_mask = mask;
        return field;
    }
    constexpr Field FirstReading() const {
        Field field = Reading();
        field.first_only = true;
        return field;
    }
    constexpr Field Naming() const {
        Field field = *this;
        field.naming = true;
        return field;
    }
    constexpr bool IsState() const { return kind == Kind::kState && (count == 0 || !codes.empty()); }
    constexpr Field Event() const { return With(Kind::kEvent, {}); }
    constexpr Field Hex() const {
        Field field = *this;
        field.hex = true;
        return field;
    }
    constexpr Field Reserved() const {
        Field field = *this;
        field.reserved = true;
        return field;
    }
    constexpr Field QuietZero() const {
        Field field = *this;
        field.quiet_zero = true;
        return field;
    }
    // This value, all ones where none is given, stands for no value.
    constexpr Field NoValue(uint64_t value = ~uint64_t{0}) const {
        Field field = *this;
        field.no_value = true;
        field.absent = value & ~uint64_t{0} >> (64 - 8 * width);
        return field;
    }
    // The same, and people are not shown that there is none.
    constexpr Field QuietNone(uint64_t value = ~uint64_t{0}) const {
        Field field = NoValue(value);
        field.quiet_none = true;
        return field;
    }
    // Nested records that are counted from this number, and not from 1.
    constexpr Field From(uint32_t number) const {
        Field field = *this;
        field.first_number = number;
        return field;
    }
    // The number counts units of which ten to this power make the unit that people are shown.
    constexpr Field Decimals(uint8_t digits) const {
        Field field = *this;
        field.decimals = digits;
        return field;
    }
    // The lines of a nested record are shown to people among those around it, their labels after the field's.
    constexpr Field Inline() const {
        Field field = *this;
        field.inlined = true;
        return field;
    }
    // Bytes that are numbers, one each.
    constexpr Field Numbers() const {
        Field field = *this;
        field.kind = Kind::kUnsigned;
        field.count = size();
        field.width = 1;
        return field;
    }
    // Bytes that hold a text.
    constexpr Field Text() const { return With(Kind::kText, {}); }
    // Bytes that hold a record.
    template <class T>
    constexpr Field As() const;
    // Only as many elements are in use as the 32-bit word at this offset of the record says.
    constexpr Field CountedBy(size_t offset_of_word) const {
        Field field = *this;
        field.counted_by = static_cast<int32_t>(offset_of_word);
        return field;
    }
    // The exported function that reads this value.
    template <auto function>
    constexpr Field Get() const;
    // The exported function (slot, value) that reads this value of the slot with that index.
    template <auto function>
    constexpr Field GetAt() const;

  private:
    constexpr Field Senses(Sense sense_of_it) const {
        Field field = *this;
        field.sense = sense_of_it;
        return field;
    }
    constexpr Field With(Kind kind_of_it, std::span<const Code> names) const {
        Field field = *this;
        field.kind = kind_of_it;
        field.codes = names;
        return field;
    }
};

struct Layout {
    std::string_view name;
    uint32_t size;
    std::span<const Field> fields;
};

// Specialised by MW_RECORD.
template <class T>
struct Described;

template <class T>
inline constexpr Layout kLayout{Described<T>::kName, sizeof(T), Described<T>::kFields};

namespace detail {

template <class T>
constexpr void SetKind(Field &field) {
    field.width = sizeof(T);
    if constexpr (std::is_class_v<T>) {
        field.kind = Kind::kRecord;
        field.layout = &kLayout<T>;
    } else if constexpr (std::is_floating_point_v<T>) {
        field.kind = Kind::kFloat;
    } else if constexpr (std::is_same_v<T, char>) {
        field.kind = Kind::kText;
    } else {
        static_assert(std::is_integral_v<T> || std::is_enum_v<T>);
        field.kind = std::is_signed_v<T> ? Kind::kSigned : Kind::kUnsigned;
    }
}

template <class T>
constexpr Field MakeField(std::string_view name, size_t offset, std::string_view label) {
    using Element = std::remove_all_extents_t<T>;
    constexpr bool runs = std::is_same_v<Element, char> || std::is_same_v<Element, unsigned char>;
    Field field{.name = name, .label = label, .offset = static_cast<uint32_t>(offset)};
    SetKind<Element>(field);
    if constexpr (std::is_array_v<T> && runs) {  // the last dimension is one text, or one row of bytes
        constexpr size_t last = std::extent_v<T, std::rank_v<T> - 1>;
        if (field.kind == Kind::kUnsigned) field.kind = Kind::kBytes;
        field.width = last;
        field.count = std::rank_v<T> == 1 ? 0 : sizeof(T) / last;
    } else if constexpr (std::is_array_v<T>) {
        field.count = sizeof(T) / sizeof(Element);
    }
    field.reserved = name.find("Reserved") != name.npos || name.find("Pad") != name.npos;
    return field;
}

// True when the fields follow one another without a gap and end with the record.
constexpr bool FieldsCover(std::span<const Field> fields, uint32_t size) {
    uint32_t next = 0;
    for (const Field &field : fields) {
        if (field.offset != next) return false;
        next += field.size();
    }
    return next == size;
}

template <class T>
struct FirstParameter;
template <class R, class First, class... More>
struct FirstParameter<R (*)(First, More...)> {
    using type = First;
};

template <class T>
struct SecondParameter;
template <class R, class First, class Second>
struct SecondParameter<R (*)(First, Second)> {
    using type = Second;
};

}  // namespace detail

// Bytes of a struct that have no name.
constexpr Field Gap(uint32_t offset, uint32_t size) {
    return {.offset = offset, .width = size, .kind = Kind::kBytes, .reserved = true};
}

#define MW_FIELD(member, label) \
    ::mwctl::detail::MakeField<decltype(Self::member)>(#member, offsetof(Self, member), label)

// To be used in namespace mwctl.
#define MW_RECORD(type, ...)                                                   \
    template <>                                                                \
    struct Described<type> {                                                   \
        using Self = type;                                                     \
        static constexpr std::string_view kName = #type;                       \
        static constexpr Field kFields[] = {__VA_ARGS__};                      \
    };                                                                         \
    static_assert(detail::FieldsCover(Described<type>::kFields, sizeof(type)), \
                  "the fields of " #type " are not all there, in order")

template <class T>
constexpr Field Field::As() const {
    Field field = *this;
    detail::SetKind<T>(field);
    field.count = 0;
    return sizeof(T) == size() ? field : throw "the record has another size";
}

template <auto function>
constexpr Field Field::Get() const {
    using Value = std::remove_pointer_t<typename detail::FirstParameter<decltype(function)>::type>;
    Field field = *this;
    field.getter = [](void *value) -> int32_t {
        Value read{};
        const int32_t result = function(&read);
        if (result >= 0) std::memcpy(value, &read, sizeof read);
        return result;
    };
    // The values in the table are constants: a wrong width does not compile.
    return sizeof(Value) == size() ? field : throw "the function reads a value of another width";
}

template <auto function>
constexpr Field Field::GetAt() const {
    using Value = std::remove_pointer_t<typename detail::SecondParameter<decltype(function)>::type>;
    Field field = *this;
    field.slot_getter = [](uint32_t slot, void *value) -> int32_t {
        Value read{};
        const int32_t result = function(slot, &read);
        if (result >= 0) std::memcpy(value, &read, sizeof read);
        return result;
    };
    return sizeof(Value) == size() ? field : throw "the function reads a value of another width";
}

// A computed line about a slot, such as a sum or a state in words.
struct Note {
    std::string name;   // in JSON
    std::string label;  // for people
    std::string text;
};

// Which fields of a record were read.
enum class Chosen : uint8_t { kAll, kWithGetter, kWithSlotGetter };

struct Record {
    std::string_view name;
    std::string_view label;
    const Layout *layout;
    uint32_t capacity;  // how many slots there are; 0: this is no list
    // Fills `slots`, which are zero and have room for the whole area, and says how many are in use.
    int32_t (*read)(void *slots, uint32_t &count);
    bool (*used)(const void *slot) = nullptr;  // whether a slot is shown
    void (*notes)(const void *slot, std::vector<Note> &notes) = nullptr;
    std::vector<std::string> (*names)() = nullptr;  // reads what the slots are called, such as "DIMM000"
    Chosen chosen = Chosen::kAll;
    std::string_view slot_label = "slot";
    uint32_t first_number = 0;              // what the first slot is called
    const midware::Module *core = nullptr;  // whose semaphore is taken, where it is not the module's
    bool no_area = false;                   // read from a file
    // What people see of a slot, a line each, unless they ask for all.
    void (*row)(const void *slot, std::vector<Note> &cells) = nullptr;
    std::string_view option{};  // read only when asked for by this option of `mwctl show`
    std::string_view option_help{};
};

template <class T>
struct RecordOf : Record {
    template <auto is_used>
    constexpr RecordOf Used() const {
        RecordOf record = *this;
        record.used = [](const void *slot) -> bool { return is_used(*static_cast<const T *>(slot)); };
        return record;
    }
    // Adds computed lines: a function of (const T &, std::vector<Note> &).
    template <auto add>
    constexpr RecordOf Notes() const {
        RecordOf record = *this;
        record.notes = [](const void *slot, std::vector<Note> &lines) {
            add(*static_cast<const T *>(slot), lines);
        };
        return record;
    }
    constexpr RecordOf Numbered(std::string_view label_of_slot, uint32_t first) const {
        RecordOf record = *this;
        record.slot_label = label_of_slot;
        record.first_number = first;
        return record;
    }
    template <std::vector<std::string> (*read_names)()>
    constexpr RecordOf Named() const {
        RecordOf record = *this;
        record.names = read_names;
        return record;
    }
    constexpr RecordOf Choose(Chosen fields) const {
        RecordOf record = *this;
        record.chosen = fields;
        return record;
    }
    constexpr RecordOf Under(const midware::Module &module) const {
        RecordOf record = *this;
        record.core = &module;
        return record;
    }
    // Makes a table of the list: a function of (const T &, std::vector<Note> &) adds the cells of a line.
    template <auto add>
    constexpr RecordOf Row() const {
        RecordOf record = *this;
        record.row = [](const void *slot, std::vector<Note> &cells) {
            add(*static_cast<const T *>(slot), cells);
        };
        return record;
    }
    constexpr RecordOf OnRequest(std::string_view name_of_option, std::string_view help) const {
        RecordOf record = *this;
        record.option = name_of_option;
        record.option_help = help;
        return record;
    }
    constexpr RecordOf FromFile() const {
        RecordOf record = *this;
        record.no_area = true;
        return record;
    }
};

// One record, read whole by `function`(record).
template <class T, auto function>
constexpr RecordOf<T> One(std::string_view name, std::string_view label) {
    return {{name, label, &kLayout<T>, 0, [](void *slots, uint32_t &count) -> int32_t {
                 using Pointer = typename detail::FirstParameter<decltype(function)>::type;
                 count = 1;
                 return function(static_cast<Pointer>(slots));
             }}};
}

// A list, read whole by `function`(records, count).
template <class T, auto function>
constexpr RecordOf<T> List(std::string_view name, std::string_view label, uint32_t capacity) {
    return {{name, label, &kLayout<T>, capacity, [](void *slots, uint32_t &count) -> int32_t {
                 using Pointer = typename detail::FirstParameter<decltype(function)>::type;
                 return function(static_cast<Pointer>(slots), &count);
             }}};
}

// Values that are read one by one: the fields of T that have a Get; others are not shown.
template <class T>
constexpr RecordOf<T> Words(std::string_view name, std::string_view label) {
    const RecordOf<T> record{{name, label, &kLayout<T>, 0, [](void *slots, uint32_t &count) -> int32_t {
                                  count = 1;
                                  for (const Field &field : Described<T>::kFields) {
                                      if (field.getter == nullptr) continue;
                                      const int32_t result =
                                          field.getter(static_cast<char *>(slots) + field.offset);
                                      if (result < 0) return result;
                                  }
                                  return 0;
                              }}};
    return record.Choose(Chosen::kWithGetter);
}

// The same of every slot: the fields of T that have a GetAt. `counted`(count) reads how many slots there are.
template <class T, int32_t (*counted)(uint32_t &count)>
constexpr RecordOf<T> Slots(std::string_view name, std::string_view label, uint32_t capacity) {
    const RecordOf<T> record{
        {name, label, &kLayout<T>, capacity, [](void *slots, uint32_t &count) -> int32_t {
             int32_t result = counted(count);
             const uint32_t room = MW_AREA_SIZE / sizeof(T);
             for (uint32_t slot = 0; result >= 0 && slot < count && slot < room; ++slot) {
                 char *bytes = static_cast<char *>(slots) + slot * sizeof(T);
                 for (const Field &field : Described<T>::kFields) {
                     if (field.slot_getter == nullptr || result < 0) continue;
                     result = field.slot_getter(slot, bytes + field.offset);
                 }
             }
             return result;
         }}};
    return record.Choose(Chosen::kWithSlotGetter);
}

// Whatever else: `read`(T *slots, uint32_t &count) fills at most `capacity` slots; with a capacity of 0 it
// fills one.
template <class T, auto fill>
constexpr RecordOf<T> Custom(std::string_view name, std::string_view label, uint32_t capacity) {
    return {{name, label, &kLayout<T>, capacity, [](void *slots, uint32_t &count) -> int32_t {
                 count = 1;
                 return fill(static_cast<T *>(slots), count);
             }}};
}

struct Module {
    std::string_view name;
    std::string_view label;
    const midware::Module *core;  // whose semaphore its records are read under; NULL when they differ
    std::span<const Record> records;
    const Layout *area = nullptr;  // the module's whole area, for views of its bytes
    std::span<const Layout *const> passed{};  // records that functions take or hand out, but that are not stored
};

// Makes a module known.
struct Plug {
    explicit Plug(const Module &module);
};

// All that are known, in the order in which they are shown.
const std::vector<Module> &Modules();
const Module *FindModule(std::string_view name);

// The layout of the record with this name, nested ones included; NULL when there is none.
const Layout *FindLayout(std::string_view name);

// The field MODULE.RECORD.FIELD, of a nested record MODULE.RECORD.FIELD.FIELD and so on; NULL when there is
// none.
const Field *FindField(std::string_view path);

}  // namespace mwctl

#endif
