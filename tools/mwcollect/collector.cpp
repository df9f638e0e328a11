#include "collector.h"

#include <algorithm>

#include <fmt/format.h>

namespace collect {
namespace {

std::vector<CollectorType> &Types()
{
    static std::vector<CollectorType> types;
    return types;
}

}  // namespace

const std::vector<CollectorType> &CollectorTypes() { return Types(); }

Registration::Registration(const CollectorType &type)
{
    const auto before = [](const CollectorType &a, const CollectorType &b) {
        return a.order != b.order ? a.order < b.order : a.name < b.name;
    };
    std::vector<CollectorType> &types = Types();
    types.insert(std::upper_bound(types.begin(), types.end(), type, before), type);
}

bool Writer::Wrote(std::string_view what, size_t count, int32_t result)
{
    if (result != 0) {
        failed_ += count;
        log_.Once(fmt::format("{}: {} could not be written", collector_, what));
        return false;
    }
    written_ += count;
    if (verbose_) fmt::print("{}: {} {}\n", collector_, count, what);
    return true;
}

void Writer::Remark(std::string_view text) const
{
    if (verbose_) fmt::print("{}: {}\n", collector_, text);
}

}  // namespace collect
