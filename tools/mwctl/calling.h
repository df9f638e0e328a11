// A call of an exported function with arguments that a user wrote.
#ifndef MWCTL_CALLING_H
#define MWCTL_CALLING_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <string_view>
#include <vector>

#include "functions.h"
#include "read.h"

namespace mwctl {

// NULL when there is none of that name.
const Function *FindFunction(std::string_view name);
// A few whose names are nearly the same.
std::vector<std::string_view> SimilarFunctions(std::string_view name);

// What the user has to give: the parameters that are read.
std::vector<const Parameter *> InputsOf(const Function &function);

class Calling {
  public:
    // Throws Unfit when the arguments do not fit the prototype; nothing is called then.
    Calling(const Function &function, const std::vector<std::string> &arguments);

    // Calls the function, once.
    void Make();

    int32_t result() const { return result_; }
    // What was logged and printed meanwhile, and what can be done about a -1.
    const std::vector<std::string> &logged() const { return logged_; }
    const std::string &advice() const { return advice_; }

    // What it handed out.
    std::string ToText() const;
    nlohmann::ordered_json ToJson() const;

  private:
    // The bytes behind a parameter: room for more than a function can copy, whatever the stored counts are.
    using Room = std::vector<uint64_t>;

    std::byte *BytesOf(size_t index);
    const std::byte *BytesOf(size_t index) const;
    void SetArgument(size_t index, const std::string &text);
    void SetRecords(size_t index, const std::string &text);
    void CheckCount(size_t index) const;
    uint32_t ElementsOf(size_t index) const;
    Reading RecordsOf(size_t index, Record &record) const;

    const Function &function_;
    std::vector<Room> rooms_;
    std::vector<Passed> passed_;
    std::vector<uint32_t> given_;  // elements
    int32_t result_ = 0;
    std::vector<std::string> logged_;
    std::string advice_;
};

}  // namespace mwctl

#endif
