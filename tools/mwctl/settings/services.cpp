// mwctl set ntp, ntp-server, ntp-interval, time-source and syslog.
#include "midware/services.h"

#include <fmt/format.h>

#include "../arguments.h"
#include "../command.h"
#include "table.h"
#include "text.h"
#include "value.h"

namespace mwctl {
namespace {

const midware::Module *const kCore = &midware::kServ;
constexpr uint64_t kAnyWord = UINT32_MAX;

std::string OrNone(const std::string &name) { return name.empty() ? "none" : tools::Printable(name); }
const char *YesOrNo(uint32_t value) { return value == 0 ? "no" : "yes"; }

void AddNtpServer(cli::App &set) {
    static std::string number, name;
    cli::App *command =
        set.add_subcommand("ntp-server", "Stores the name of one NTP server; an empty name clears it");
    command->add_option("N", number, "Which server")
        ->required()
        ->check(NumberIn("the number of an NTP server", 1, MW_NTP_SERVER_MAX));
    command->add_option("NAME", name, "Its host name or address")
        ->required()
        ->check(HostName("the name of an NTP server", MW_NTP_SERVER_NAME_SIZE - 1));
    command->callback([] {
        char stored[MW_NTP_SERVER_NAME_SIZE] = {};
        name.copy(stored, sizeof stored - 1);
        if (!Change(kCore, [&] { return MW_SetNtpServerName(NumberOf(number), stored); })) return;
        Finish(fmt::format("NTP server {}: {}\n", NumberOf(number), OrNone(name)));
    });
}

void AddNtpInterval(cli::App &set) {
    static std::string seconds;
    cli::App *command = set.add_subcommand("ntp-interval", "Stores the polling interval of the NTP client");
    command->add_option("SECONDS", seconds)->required()->check(NumberIn("the polling interval", 1, kAnyWord));
    command->callback([] {
        if (!Change(kCore, [] { return MW_SetNtpInterval(NumberOf(seconds)); })) return;
        Finish(fmt::format("NTP polling interval: {} s\n", NumberOf(seconds)));
    });
}

void AddTimeSource(cli::App &set) {
    static std::string source;
    cli::App *command = set.add_subcommand("time-source", "Chooses where the time comes from");
    command->add_option("SOURCE", source)
        ->required()
        ->transform(CodeOf("the time source", "services.ntp.dwTimeSource", true));
    command->callback([] {
        if (!Change(kCore, [] { return MW_SetTimeSource(NumberOf(source)); })) return;
        const uint32_t number = NumberOf(source);
        const std::string_view name = CodeName(*FindField("services.ntp.dwTimeSource"), number);
        Finish(fmt::format("time source: {}\n", name.empty() ? std::to_string(number) : name));
    });
}

// Stores the number that was given, if any, and notes what was set.
template <class Word>
void Apply(const std::string &given, Word &word, std::string &done,
           const std::function<std::string(uint32_t)> &text) {
    if (given.empty()) return;
    word = static_cast<Word>(NumberOf(given));
    done += text(word) + '\n';
}

// The records are stored whole: read, changed, written. A change that another process makes in between is
// lost, which the interface cannot avoid.
void AddNtp(cli::App &set) {
    static std::string enable, servers, authenticate, key;
    cli::App *command = set.add_subcommand("ntp", "Changes how the NTP client works");
    command->add_option("--enable", enable, "Whether the client runs")->transform(YesNo("--enable"));
    command->add_option("--servers", servers, "How many of the servers are in use")
        ->check(NumberIn("the number of servers in use", 0, MW_NTP_SERVER_MAX));
    command->add_option("--authenticate", authenticate, "Whether servers are authenticated")
        ->transform(YesNo("--authenticate"));
    command->add_option("--key", key, "Number of the key")
        ->check(NumberIn("the number of the key", 0, kAnyWord));
    command->require_option(1, 4);
    command->callback([] {
        NtpInfo info{};
        if (!Change(kCore, [&] { return MW_GetNtpInfo(&info); })) return;
        std::string done;
        Apply(enable, info.dwNtpEnable, done,
              [](uint32_t v) { return fmt::format("NTP client runs: {}", YesOrNo(v)); });
        Apply(servers, info.dwServerCount, done,
              [](uint32_t v) { return fmt::format("NTP servers in use: {}", v); });
        Apply(authenticate, info.dwAuthEnable, done,
              [](uint32_t v) { return fmt::format("NTP servers authenticated: {}", YesOrNo(v)); });
        Apply(key, info.dwAuthKeyId, done, [](uint32_t v) { return fmt::format("NTP key number: {}", v); });
        if (Change(kCore, [&] { return MW_SetNtpInfo(&info); })) Finish(done);
    });
}

void AddSyslog(cli::App &set) {
    static std::string enable, server, address, port, transport, severity;
    cli::App *command = set.add_subcommand("syslog", "Changes the remote logging");
    command->add_option("--enable", enable, "Whether remote logging, or with --server that server, is on")
        ->transform(YesNo("--enable"));
    cli::Option *which = command->add_option("--server", server, "The server that the other options are for")
                             ->check(NumberIn("the number of a log server", 1, MW_SYSLOG_SERVER_MAX));
    command->add_option("--address", address, "Its host name or address; an empty one clears the server")
        ->needs(which)
        ->check(HostName("the address of a log server", sizeof RemoteSyslogServer{}.acAddress - 1));
    command->add_option("--port", port, "Its port")->needs(which)->check(NumberIn("a port", 1, 65535));
    command->add_option("--transport", transport, "How messages are sent")
        ->needs(which)
        ->transform(CodeOf("the transport", "services.syslog.atServer.ucTransport"));
    command->add_option("--severity", severity, "The least severe messages that are sent")
        ->needs(which)
        ->transform(CodeOf("the severity", "services.syslog.atServer.ucMinSeverity"));
    command->require_option(1, 6);
    command->callback([which, command] {
        RemoteSyslogInfo info{};
        if (!Change(kCore, [&] { return MW_GetRemoteSyslogInfo(&info); })) return;
        std::string done;
        if (which->count() == 0) {
            Apply(enable, info.dwEnable, done,
                  [](uint32_t v) { return fmt::format("remote logging: {}", YesOrNo(v)); });
        } else {
            const uint32_t number = NumberOf(server);
            RemoteSyslogServer &chosen = info.atServer[number - 1];
            const auto said = [number](const char *what, std::string_view value) {
                return fmt::format("log server {} {}: {}", number, what, value);
            };
            const auto named = [&said](const char *what, const char *field, uint32_t value) {
                return said(what,
                            CodeName(*FindField(std::string("services.syslog.atServer.") + field), value));
            };
            if (command->count("--address") != 0) {
                const bool is_new = chosen.acAddress[0] == '\0';
                if (address.empty() || is_new) chosen = {};
                if (is_new && !address.empty())
                    chosen = {.dwEnable = 1,
                              .acAddress = {},
                              .wPort = 514,
                              .ucTransport = 0,
                              .ucMinSeverity = 7,
                              .aucReserved = {}};
                std::memset(chosen.acAddress, 0, sizeof chosen.acAddress);
                address.copy(chosen.acAddress, sizeof chosen.acAddress - 1);
                done += said("address", OrNone(address)) + '\n';
            }
            Apply(enable, chosen.dwEnable, done, [&](uint32_t v) { return said("enabled", YesOrNo(v)); });
            Apply(port, chosen.wPort, done, [&](uint32_t v) { return said("port", std::to_string(v)); });
            Apply(transport, chosen.ucTransport, done,
                  [&](uint32_t v) { return named("transport", "ucTransport", v); });
            Apply(severity, chosen.ucMinSeverity, done,
                  [&](uint32_t v) { return named("least severity", "ucMinSeverity", v); });
            // In use are the servers up to the last one that has an address.
            info.dwServerCount = MW_SYSLOG_SERVER_MAX;
            while (info.dwServerCount > 0 && info.atServer[info.dwServerCount - 1].acAddress[0] == '\0') {
                --info.dwServerCount;
            }
        }
        if (Change(kCore, [&] { return MW_SetRemoteSyslogInfo(&info); })) Finish(done);
    });
}

const Settings ntp(AddNtp), ntp_server(AddNtpServer), ntp_interval(AddNtpInterval),
    time_source(AddTimeSource), syslog(AddSyslog);

}  // namespace
}  // namespace mwctl
