// Command lines: what the programs use of the option parser, whose own header takes seconds to compile and
// stays in cli.cpp.
#ifndef TOOLS_CLI_H
#define TOOLS_CLI_H

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace CLI {
class App;
class Option;
}  // namespace CLI

namespace cli {

// Thrown by a callback that refuses a combination of arguments.
struct UsageError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// A check of an argument: answers the complaint, or nothing. As a transformation it also replaces the text.
struct Validator {
    template <class Check>
    Validator(Check function, std::string shown_in_help = {})
        : check(function), shown(std::move(shown_in_help)) {}
    std::function<std::string(std::string &)> check;
    std::string shown;
};

class Option {
  public:
    explicit Option(CLI::Option *option) : option_(option) {}
    Option *required();
    Option *check(const Validator &validator);
    Option *transform(const Validator &validator);
    Option *type_name(const std::string &name);
    Option *delimiter(char between);
    Option *expected(int least, int most);
    Option *needs(Option *other);
    Option *excludes(Option *other);
    // How often it was given.
    size_t count() const;
    explicit operator bool() const { return count() != 0; }

  private:
    CLI::Option *option_;
};

class App {
  public:
    App(const std::string &description, std::string_view program, const std::string &version);
    ~App();
    App(const App &) = delete;
    App &operator=(const App &) = delete;

    App *add_subcommand(const std::string &name, const std::string &help = {});
    Option *add_option(const std::string &name, std::string &value, const std::string &help = {});
    Option *add_option(const std::string &name, std::vector<std::string> &values,
                       const std::string &help = {});
    Option *add_option(const std::string &name, uint32_t &value, const std::string &help = {});
    Option *add_option(const std::string &name, double &value, const std::string &help = {});
    Option *add_flag(const std::string &name, bool &value, const std::string &help = {});
    Option *add_flag_callback(const std::string &name, std::function<void()> called,
                              const std::string &help = {});
    bool has_option(const std::string &name) const;
    void require_subcommand(size_t count);
    void require_option(size_t least, size_t most);
    // Arguments after the first positional one are positional too, also when they begin with a hyphen.
    void positionals_at_end();
    void footer(const std::string &text);
    void callback(std::function<void()> called);
    // How often the option of that name was given.
    size_t count(const std::string &option) const;

    // Parses and runs the callbacks. The exit code when that was all: --help, --version, or a line about
    // wrong usage.
    std::optional<int> Run(int argc, char **argv);

  private:
    explicit App(CLI::App *app);
    Option *Keep(CLI::Option *option);

    std::string program_{};
    std::unique_ptr<CLI::App> own_;
    CLI::App *app_;
    std::vector<std::unique_ptr<App>> subcommands_{};
    std::vector<std::unique_ptr<Option>> options_{};
};

}  // namespace cli

#endif
