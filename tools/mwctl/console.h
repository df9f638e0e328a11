// What the library says while the tool calls it. The library writes some of its messages to standard output
// and others to the system's log; this program stands in for those functions and takes the messages down.
#ifndef MWCTL_CONSOLE_H
#define MWCTL_CONSOLE_H

#include <string>

namespace mwctl {

// Takes down what is said as long as it lives. While a quiet one lives the log gets nothing: looking at
// records is no event worth a line.
class Listen {
  public:
    enum class Log { kQuiet, kLoud };
    explicit Listen(Log log);
    ~Listen();
    Listen(const Listen &) = delete;
    Listen &operator=(const Listen &) = delete;

    bool Heard(const char *words) const;
    // Whether a semaphore was not had in time: further calls would wait as long again.
    bool HeardLockFailure() const { return Heard("sem lock failed"); }
    static const Listen *Current();
    const std::string &last() const { return last_; }
    const std::string &all() const { return all_; }  // a message a line
    void Take(const std::string &message);
    bool quiet() const { return quiet_; }

  private:
    bool quiet_;
    std::string all_;
    std::string last_;
};

}  // namespace mwctl

#endif
