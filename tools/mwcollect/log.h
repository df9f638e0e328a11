// What the collectors have to say on standard error: each line once, however often a round repeats it.
#ifndef MWCOLLECT_LOG_H
#define MWCOLLECT_LOG_H

#include <functional>
#include <set>
#include <string>
#include <string_view>

namespace collect {

class Log {
  public:
    using Sink = std::function<void(std::string_view line)>;

    Log();  // to standard error
    explicit Log(Sink sink) : sink_(std::move(sink)) {}

    // Prints the line unless it was printed before.
    void Once(const std::string &line);

    // One line about a file that is left out: what was expected of it and what was there instead.
    void Skip(std::string_view file, std::string_view expected, std::string_view found);

  private:
    Sink sink_;
    std::set<std::string> said_;
};

}  // namespace collect

#endif
