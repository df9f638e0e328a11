// Every exported function, to be called with arguments made up at run time. The list is made from
// the prototypes of the public headers; types and sizes are deduced, and the few byte
// counts that no type tells are in every_function.cpp.
#ifndef TESTS_EVERY_FUNCTION_H
#define TESTS_EVERY_FUNCTION_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace every {

enum class Kind {
    kNumber,
    kIn,      // a pointer that is read through
    kInOut,   // a pointer that is written, and perhaps read
    kRecord,  // a record passed by value; Value::pointer is where it lies
};

struct Parameter {
    std::string name;
    Kind kind;
    bool is_signed;
    size_t size;   // of a number in bytes
    size_t bytes;  // what a pointer leads to: bytes of one record
    int count;     // the parameter that tells how many records there are; -1: there is one
    size_t most;   // records or bytes beyond this many are not looked at; 0: no such limit
    bool is_list;  // the library says how many records it writes
};

struct Value {
    uint64_t number;
    void *pointer;
};

struct Function {
    const char *name;
    std::vector<Parameter> parameters;
    int32_t (*call)(const Value *values);
};

// In the order of their names.
const std::vector<Function> &Functions();
const Function &Named(std::string_view name);

// The bytes that the caller's buffer for a pointer must have, where the call says so itself: all but lists.
size_t BytesOf(const Function &function, size_t parameter, const std::vector<Value> &values);

// True for the functions whose answer is a number other than 0 and -1.
bool AnswersANumber(const Function &function);

}  // namespace every

#endif
