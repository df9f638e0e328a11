// mwctl call: any exported function by its name.
#include <fmt/format.h>
#include <fnmatch.h>

#include <nlohmann/json.hpp>

#include "calling.h"
#include "command.h"
#include "fill.h"
#include "output.h"
#include "text.h"
#include "views.h"

namespace mwctl {
namespace {

// Discards every record: for start-up only.
constexpr std::string_view kDiscards = "MW_MidWareInit";

struct {
    bool help = false;
    bool list = false;
    bool json = false;
    bool yes = false;
} options;

[[noreturn]] void Refuse(const std::string &why) { throw cli::UsageError(why); }

const Function &Named(const std::string &name) {
    if (const Function *function = FindFunction(name)) return *function;
    const std::vector<std::string_view> similar = SimilarFunctions(name);
    Refuse(fmt::format("there is no function '{}'{}{}{}", name, similar.empty() ? "" : "; did you mean ",
                       fmt::join(similar, " or "), similar.empty() ? "" : "?"));
}

bool Matches(const std::string &pattern, const Function &function) {
    const bool glob = pattern.find_first_of("*?[") != pattern.npos;
    const std::string whole = glob ? pattern : "*" + pattern + "*";
    return fnmatch(whole.c_str(), std::string(function.name).c_str(), FNM_CASEFOLD) == 0;
}

void List(const std::string &pattern) {
    std::string text;
    nlohmann::ordered_json document = nlohmann::ordered_json::array();
    for (const Function &function : Functions()) {
        if (!Matches(pattern, function)) continue;
        text += fmt::format("{};\n", function.prototype);
        document.push_back({{"name", std::string(function.name)},
                            {"family", std::string(function.family)},
                            {"prototype", std::string(function.prototype)}});
    }
    if (document.empty()) {
        Fail(fmt::format("no function's name matches '{}'", tools::Printable(pattern)));
        return;
    }
    Finish(options.json ? Document(document) : text);
}

std::string HowMany(const Parameter &parameter, const Function &function) {
    const auto counter =
        parameter.counted_by < 0
            ? std::string()
            : std::string(function.parameters[static_cast<size_t>(parameter.counted_by)].name);
    switch (parameter.holds) {
        case Holds::kText:
            if (!counter.empty()) return fmt::format("text of at most {} bytes", counter);
            return parameter.count == 0 ? "text" : fmt::format("text of at most {} bytes", parameter.count);
        case Holds::kBytes:
            return fmt::format("{} bytes in hexadecimal", parameter.count);
        case Holds::kAddress:
            return "0 for NULL, 1 for another address";
        case Holds::kRecord:
            if (!counter.empty()) return fmt::format("{} records, {} of them", parameter.record, counter);
            return parameter.count == 1 ? std::string(parameter.record)
                                        : fmt::format("{} {} records", parameter.count, parameter.record);
        case Holds::kNumber:
            break;
    }
    return parameter.count == 1 ? "number" : fmt::format("{} numbers", parameter.count);
}

void Explain(const Function &function) {
    std::string text = fmt::format("{};\n\n{}\n\n", function.prototype, function.documentation);
    text += fmt::format("Usage: mwctl call {}", function.name);
    for (const Parameter *input : InputsOf(function)) text += fmt::format(" {}", input->name);
    text += '\n';
    for (const Parameter &parameter : function.parameters) {
        constexpr const char *kWays[] = {"in", "out", "in and out"};
        text += fmt::format("  {}  {}: {}\n", parameter.name, kWays[static_cast<size_t>(parameter.way)],
                            HowMany(parameter, function));
    }
    text += fmt::format("See midware_{}(3).\n", function.family);
    Finish(text);
}

void Call(const Function &function, const std::vector<std::string> &arguments) {
    if (function.name == kDiscards && !options.yes) {
        Refuse(
            fmt::format("{} discards every record of all modules: say --yes to have it called", kDiscards));
    }
    try {
        Calling call(function, arguments);
        call.Make();
        const bool failed = call.result() < 0;
        if (options.json) {
            Finish(Document(call.ToJson()));
        } else if (!failed) {
            Finish(call.ToText());
        }
        const std::string logged = fmt::format("{}", fmt::join(call.logged(), "; "));
        if (failed) {
            Fail(fmt::format("{} answered {}{}{}{}{}", function.name, call.result(),
                             logged.empty() ? " and logged nothing" : "; it logged: ", logged,
                             call.advice().empty() ? "" : ": ", call.advice()));
        } else if (!logged.empty()) {
            tools::Complain(kProgram, fmt::format("{} logged: {}", function.name, logged));
        }
    } catch (const Unfit &error) {
        Refuse(error.what());
    }
}

// Options are recognised behind the function's name too, up to "--": an argument may begin with a minus.
std::vector<std::string> TakeOptions(const std::vector<std::string> &words) {
    const std::pair<std::string_view, bool *> known[] = {{"--help", &options.help},
                                                         {"-h", &options.help},
                                                         {"--list", &options.list},
                                                         {"--json", &options.json},
                                                         {"--yes", &options.yes}};
    std::vector<std::string> arguments;
    bool ended = false;
    for (const std::string &word : words) {
        const auto option = std::ranges::find(known, word, [](const auto &one) { return one.first; });
        if (!ended && word == "--") {
            ended = true;
        } else if (!ended && option != std::end(known)) {
            *option->second = true;
        } else if (!ended && word.starts_with("--")) {
            Refuse(
                fmt::format("there is no option '{}'; an argument that begins so stands behind '--'", word));
        } else {
            arguments.push_back(word);
        }
    }
    return arguments;
}

void Run(cli::App *command) {
    std::vector<std::string> arguments = TakeOptions(command->remaining());
    if (options.list) {
        if (arguments.size() > 1) Refuse("--list takes one pattern");
        List(arguments.empty() ? "" : arguments.front());
        return;
    }
    if (arguments.empty()) {
        if (options.help) cli::ShowHelp();
        Refuse("FUNCTION is required: call --list shows them all");
    }
    const Function &function = Named(arguments.front());
    arguments.erase(arguments.begin());
    if (options.help) {
        Explain(function);
    } else {
        Call(function, arguments);
    }
}

void AddCall(cli::App &app) {
    cli::App *command = app.add_subcommand("call", "Calls a function of the library: FUNCTION [ARGUMENT...]");
    command->prefix_command();  // from FUNCTION on everything is left to TakeOptions
    command->without_help_flag();
    command->add_flag("-h,--help", options.help, "Print this help, or that of the FUNCTION, and exit");
    command->add_flag("--list", options.list, "Show the prototypes, or those whose names match PATTERN");
    command->add_flag("--json", options.json,
                      "One JSON document: result, what was handed out, what was logged");
    command->add_flag("--yes", options.yes, "Call also a function that discards all records");
    command->footer(
        "mwctl call FUNCTION [ARGUMENT...]; mwctl call --list [PATTERN]; mwctl call --help FUNCTION\n"
        "An argument for each parameter that is read, in their order: a number, a text, bytes in "
        "hexadecimal,\n"
        "or records: JSON with the fields' names, or hexadecimal. @FILE or - (standard input) gives bytes "
        "and\n"
        "records from there. What is handed out is printed.");
    command->callback([command] { Run(command); });
}

const Command kCommand("call", AddCall, Needs::kLiveArea);

}  // namespace
}  // namespace mwctl
