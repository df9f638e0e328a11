#include "cli.h"

#include <CLI/CLI.hpp>

#include "output.h"
#include "text.h"

namespace cli {
namespace {

CLI::Validator Wrapped(const Validator &validator) {
    return CLI::Validator(validator.check, validator.shown);
}

}  // namespace

Option *Option::required() {
    option_->required();
    return this;
}

Option *Option::check(const Validator &validator) {
    option_->check(Wrapped(validator));
    return this;
}

Option *Option::transform(const Validator &validator) {
    option_->transform(Wrapped(validator));
    return this;
}

Option *Option::type_name(const std::string &name) {
    option_->type_name(name);
    return this;
}

Option *Option::delimiter(char between) {
    option_->delimiter(between);
    return this;
}

Option *Option::expected(int least, int most) {
    option_->expected(least, most);
    return this;
}

Option *Option::needs(Option *other) {
    option_->needs(other->option_);
    return this;
}

Option *Option::excludes(Option *other) {
    option_->excludes(other->option_);
    return this;
}

size_t Option::count() const { return option_->count(); }

App::App(const std::string &description, std::string_view program, const std::string &version)
    : program_(program), own_(std::make_unique<CLI::App>(description, program_)), app_(own_.get()) {
    app_->set_version_flag("--version", version);
}

App::App(CLI::App *app) : app_(app) {}

App::~App() = default;

Option *App::Keep(CLI::Option *option) {
    return options_.emplace_back(std::make_unique<Option>(option)).get();
}

App *App::add_subcommand(const std::string &name, const std::string &help) {
    return subcommands_.emplace_back(new App(app_->add_subcommand(name, help))).get();
}

Option *App::add_option(const std::string &name, std::string &value, const std::string &help) {
    return Keep(app_->add_option(name, value, help));
}

Option *App::add_option(const std::string &name, std::vector<std::string> &values, const std::string &help) {
    return Keep(app_->add_option(name, values, help));
}

Option *App::add_option(const std::string &name, uint32_t &value, const std::string &help) {
    return Keep(app_->add_option(name, value, help));
}

Option *App::add_option(const std::string &name, double &value, const std::string &help) {
    return Keep(app_->add_option(name, value, help));
}

Option *App::add_flag(const std::string &name, bool &value, const std::string &help) {
    return Keep(app_->add_flag(name, value, help));
}

Option *App::add_flag_callback(const std::string &name, std::function<void()> called,
                               const std::string &help) {
    return Keep(app_->add_flag_callback(name, std::move(called), help));
}

bool App::has_option(const std::string &name) const { return app_->get_option_no_throw(name) != nullptr; }

void App::require_subcommand(size_t count) { app_->require_subcommand(static_cast<int>(count)); }

void App::require_option(size_t least, size_t most) { app_->require_option(least, most); }

void App::positionals_at_end() { app_->positionals_at_end(); }

void App::footer(const std::string &text) { app_->footer(text); }

void App::callback(std::function<void()> called) { app_->callback(std::move(called)); }

size_t App::count(const std::string &option) const { return app_->count(option); }

std::optional<int> App::Run(int argc, char **argv) {
    const auto complain = [this](std::string_view what) {
        tools::Complain(program_, tools::Printable(what) + " (see --help)");
        return tools::kUsage;
    };
    try {
        app_->parse(argc, argv);
    } catch (const CLI::Success &asked) {  // --help or --version
        std::ostringstream text;
        app_->exit(asked, text, text);
        return tools::Print(program_, tools::EndedLine(text.str())) ? tools::kDone : tools::kFailed;
    } catch (const CLI::ParseError &error) {
        const bool unknown =
            !subcommands_.empty() && app_->get_subcommands().empty() && app_->remaining_size() > 0;
        return complain(unknown ? "there is no command '" + app_->remaining().front() + "'" : error.what());
    } catch (const UsageError &error) {
        return complain(error.what());
    }
    return {};
}

}  // namespace cli
