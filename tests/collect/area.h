// A blank shared area for each test, and a collector's run on it.
#ifndef COLLECT_AREA_H
#define COLLECT_AREA_H

#include <algorithm>
#include <memory>
#include <string_view>

#include "collector.h"
#include "midware.h"
#include "tree.h"

namespace collect {

class OnBlankArea : public ::testing::Test {
  protected:
    void SetUp() override { ASSERT_EQ(MW_MidWareInit(), 0); }

    static std::unique_ptr<Collector> New(std::string_view name) {
        const auto &types = CollectorTypes();
        const auto type =
            std::find_if(types.begin(), types.end(), [&](const auto &one) { return one.name == name; });
        return type == types.end() ? nullptr : type->make();
    }

    // One round; answers how many records were written. Nothing may be refused.
    static size_t Round(Collector &collector, HeardHost &host) {
        Writer writer(host.log(), false);
        collector.Collect(*host, writer);
        EXPECT_EQ(writer.Failed(), 0u) << ::testing::PrintToString(host.lines());
        return writer.Written();
    }

    // A round of a collector of its own, as of another process.
    static size_t Once(std::string_view name, const Tree &tree) {
        HeardHost host(tree);
        return Round(*New(name), host);
    }
};

}  // namespace collect

#endif
