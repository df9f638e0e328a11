// The exported functions, as the public headers declare and document them: the table is generated from these
// (tools/reference/call_table.py).
#ifndef MWCTL_FUNCTIONS_H
#define MWCTL_FUNCTIONS_H

#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>
#include <type_traits>
#include <utility>

namespace mwctl {

enum class Way : uint8_t { kIn, kOut, kInout };

// What a parameter is, or what it points at.
enum class Holds : uint8_t {
    kNumber,
    kText,
    kBytes,
    kRecord,
    kAddress,  // a pointer of which only whether it is NULL is looked at
};

struct Parameter {
    std::string_view name;
    Way way;
    Holds holds;
    bool pointer;
    uint8_t width;            // of a number, in bytes
    bool is_signed;           // of a number
    std::string_view record;  // the name of its layout
    uint32_t count;           // elements: exactly so many, of a text at most so many bytes; 0: any text
    int8_t counted_by;        // the parameter that counts the elements; -1: none does
};

// What is passed for one parameter: a number as its bits, or where the bytes lie that are pointed at or
// handed over.
union Passed {
    uint64_t number;
    void *bytes;
};

// A function of any signature, and how it is called.
class Entry {
  public:
    template <class... Types>
    explicit Entry(int32_t (*function)(Types...))
        : function_(reinterpret_cast<void (*)()>(function)), call_(Call<int32_t (*)(Types...), Types...>) {}

    int32_t operator()(const Passed *passed) const { return call_(function_, passed); }

  private:
    using Any = void (*)();

    template <class T>
    static T As(const Passed &passed) {
        if constexpr (std::is_pointer_v<T>) {
            return static_cast<T>(passed.bytes);
        } else if constexpr (std::is_class_v<T>) {
            T record;
            std::memcpy(&record, passed.bytes, sizeof record);
            return record;
        } else {
            return static_cast<T>(passed.number);
        }
    }
    template <class Function, class... Types>
    static int32_t Call(Any function, const Passed *passed) {
        return [&]<size_t... places>(std::index_sequence<places...>) {
            return reinterpret_cast<Function>(function)(As<Types>(passed[places])...);
        }
        (std::index_sequence_for<Types...>());
    }

    Any function_;
    int32_t (*call_)(Any, const Passed *);
};

struct Function {
    std::string_view name;
    std::string_view family;  // its header: "mem"
    std::string_view prototype;
    std::string_view documentation;  // lines
    std::span<const Parameter> parameters;
    Entry entry;
};

// By name, capital and small letters alike.
std::span<const Function> Functions();

}  // namespace mwctl

#endif
