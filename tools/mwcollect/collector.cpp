#include "collector.h"

#include <fmt/format.h>

#include <algorithm>

namespace collect {
namespace {

std::vector<CollectorType> &Types() {
    static std::vector<CollectorType> types;
    return types;
}

}  // namespace

const std::vector<CollectorType> &CollectorTypes() { return Types(); }

Registration::Registration(const CollectorType &type) {
    const auto before = [](const CollectorType &a, const CollectorType &b) {
        return a.order != b.order ? a.order < b.order : a.name < b.name;
    };
    std::vector<CollectorType> &types = Types();
    types.insert(std::upper_bound(types.begin(), types.end(), type, before), type);
}

bool Writer::Wrote(std::string_view what, size_t count, int32_t result) {
    if (result != 0) {
        failed_ += count;
        log_.Once(fmt::format("{}: {} could not be written", collector_, what));
        return false;
    }
    written_ += count;
    const auto known =
        std::find_if(counts_.begin(), counts_.end(), [&](const auto &one) { return one.first == what; });
    if (known != counts_.end()) {
        known->second += count;
    } else {
        counts_.emplace_back(what, count);
    }
    return true;
}

void Writer::Remark(std::string_view text) { remarks_.emplace_back(text); }

void Writer::End() {
    if (verbose_) {
        for (const auto &[what, count] : counts_) fmt::print("{}: {}: {}\n", collector_, what, count);
        for (const std::string &remark : remarks_) fmt::print("{}: {}\n", collector_, remark);
        if (counts_.empty() && remarks_.empty()) fmt::print("{}: nothing\n", collector_);
    }
    counts_.clear();
    remarks_.clear();
}

}  // namespace collect
