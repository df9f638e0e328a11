// A collector reads one subject of a host and writes it to the shared area. It is one source file in
// collectors/:
//
//     pure functions, Host -> records, which the tests call;
//     a class derived from Collector whose Collect() calls them and hands the records to the MW_Set
//     functions; a Registration, which is all that the rest of the program needs to find it.
#ifndef MWCOLLECT_COLLECTOR_H
#define MWCOLLECT_COLLECTOR_H

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "host.h"

namespace collect {

// Keeps count of what reached the shared area, and says so when asked to.
class Writer {
  public:
    Writer(Log &log, bool verbose) : log_(log), verbose_(verbose) {}

    void Begin(std::string_view collector) { collector_ = collector; }
    void End();  // prints, where wanted, what was written since Begin

    // Notes the result of an MW_Set function: count records called what ("processor assets"). Answers whether
    // they were written.
    bool Wrote(std::string_view what, size_t count, int32_t result);

    // A remark for --verbose only.
    void Remark(std::string_view text);

    size_t Written() const { return written_; }
    size_t Failed() const { return failed_; }

  private:
    Log &log_;
    bool verbose_;
    std::string_view collector_;
    std::vector<std::pair<std::string, size_t>> counts_;  // since Begin, in the order in which they came
    std::vector<std::string> remarks_;
    size_t written_ = 0;
    size_t failed_ = 0;
};

// Lives as long as the program and is called once a round, so that it can keep what it needs for differences.
class Collector {
  public:
    virtual ~Collector() = default;
    virtual void Collect(const Host &host, Writer &writer) = 0;
};

struct CollectorType {
    std::string_view name;     // as --only takes it
    std::string_view summary;  // as --list prints it
    int order;  // smaller runs first: inventories before the figures that live in their records
    std::unique_ptr<Collector> (*make)();
};

// All collectors, in the order in which they run.
const std::vector<CollectorType> &CollectorTypes();

class Registration {
  public:
    explicit Registration(const CollectorType &type);
};

template <typename T>
std::unique_ptr<Collector> Make() {
    return std::make_unique<T>();
}

}  // namespace collect

#endif
