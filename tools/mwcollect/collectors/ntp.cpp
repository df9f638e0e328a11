#include "ntp.h"

#include <algorithm>
#include <map>

#include "collector.h"
#include "midware/services.h"

namespace collect {
namespace {

using Names = std::vector<std::string>;

constexpr int kIncludeDepth = 4;

// Adds a server unless it is there already, or is no name of a machine that fits its record.
void Add(const Host &host, const std::string &file, std::string_view name, Names &names) {
    const bool printable = std::all_of(name.begin(), name.end(), [](char c) { return c > ' ' && c <= '~'; });
    if (!printable || name.size() >= MW_NTP_SERVER_NAME_SIZE) {
        host.Skip(file, fmt::format("a server name of 1 to {} characters", MW_NTP_SERVER_NAME_SIZE - 1),
                  name);
    } else if (std::find(names.begin(), names.end(), name) == names.end()) {
        names.emplace_back(name);
    }
}

// The syntax that chrony's and ntpd's files share: a directive a line, the server's name its first argument.
void ReadDirectives(const Host &host, const std::string &file, int depth, Names &names) {
    const std::optional<std::string> text = host.File(file, 1u << 20);
    if (!text) return;
    const auto directory = [&](std::string_view dir, std::string_view ending) {
        for (const std::string &name : host.List(std::string(dir))) {
            if (name.ends_with(ending) && depth > 0)
                ReadDirectives(host, fmt::format("{}/{}", dir, name), depth - 1, names);
        }
    };
    for (const std::string_view line : Lines(*text)) {
        const std::vector<std::string_view> words = Words(line);
        if (words.size() < 2 || std::string_view("#!;%").find(words[0][0]) != std::string_view::npos)
            continue;
        const std::string_view what = words[0];
        if (EqualNoCase(what, "server") || EqualNoCase(what, "pool") || EqualNoCase(what, "peer")) {
            size_t at = 1;
            while (at + 1 < words.size() && (words[at] == "-4" || words[at] == "-6")) ++at;
            // 127.127.t.u is ntpd's way of naming a clock of the machine itself.
            if (!words[at].starts_with("127.127.")) Add(host, file, words[at], names);
        } else if (EqualNoCase(what, "confdir")) {
            for (size_t i = 1; i < words.size(); ++i) directory(words[i], ".conf");
        } else if (EqualNoCase(what, "sourcedir")) {
            for (size_t i = 1; i < words.size(); ++i) directory(words[i], ".sources");
        } else if ((EqualNoCase(what, "include") || EqualNoCase(what, "includefile")) && depth > 0) {
            const std::string_view path = words[1];
            const size_t slash = path.find_last_of('/');
            const size_t star = path.find_first_of("*?[");
            if (star == std::string_view::npos) {
                ReadDirectives(host, std::string(path), depth - 1, names);
            } else if (slash != std::string_view::npos && star == slash + 1 && path[star] == '*' &&
                       path.find_first_of("*?[", star + 1) == std::string_view::npos) {
                directory(path.substr(0, slash), path.substr(star + 1));
            } else {
                host.Skip(file, "an included file, or a directory with * and an ending", path);
            }
        }
    }
}

Names FromDirectives(const Host &host, const std::string &file) {
    Names names;
    ReadDirectives(host, file, kIncludeDepth, names);
    return names;
}

Names FromTimesyncd(const Host &host) {
    // A drop-in of a name replaces those of the same name in directories of lower rank.
    std::map<std::string, std::string> drop_ins;
    for (const char *top : {"/usr/lib", "/run", "/etc"}) {
        const std::string dir = fmt::format("{}/systemd/timesyncd.conf.d", top);
        for (const std::string &name : host.List(dir)) {
            if (name.ends_with(".conf")) drop_ins[name] = dir + "/" + name;
        }
    }
    std::vector<std::string> files = {"/etc/systemd/timesyncd.conf"};
    for (const auto &[name, path] : drop_ins) files.push_back(path);

    Names servers;
    Names fallbacks;
    for (const std::string &file : files) {
        const std::optional<std::string> text = host.File(file, 1u << 20);
        if (!text) continue;
        bool in_time = false;
        for (std::string_view line : Lines(*text)) {
            line = Trim(line);
            if (line.starts_with('[')) in_time = line == "[Time]";
            const size_t equals = line.find('=');
            if (!in_time || line.starts_with('#') || line.starts_with(';') ||
                equals == std::string_view::npos)
                continue;
            const std::string_view key = Trim(line.substr(0, equals));
            Names *list = key == "NTP" ? &servers : key == "FallbackNTP" ? &fallbacks : nullptr;
            if (list == nullptr) continue;
            const std::vector<std::string_view> words = Words(line.substr(equals + 1));
            if (words.empty()) list->clear();  // an empty assignment takes back the earlier ones
            for (const std::string_view word : words) Add(host, file, word, *list);
        }
    }
    return servers.empty() ? fallbacks : servers;
}

class NtpCollector : public Collector {
  public:
    void Collect(const Host &host, Writer &writer) override {
        const NtpServers servers = FindNtpServers(host);
        if (servers.left_out > 0) {
            host.log().Once(fmt::format("NTP servers: {} are configured, {} left out",
                                        servers.names.size() + servers.left_out, servers.left_out));
        }
        if (servers.names.empty()) {
            writer.Remark("no NTP server is configured on this host");
            return;
        }
        NtpInfo info;
        if (MW_GetNtpInfo(&info) != 0) {
            writer.Wrote("NTP settings", 1, -1);
            return;
        }
        // What an administrator has set since stays, until the host's own configuration changes or the area
        // is new.
        if (done_ && servers == last_ && !IsBlank(info)) return;
        done_ = Write(servers, info, writer);
        last_ = servers;
    }

  private:
    static bool IsBlank(const NtpInfo &info) {
        static constexpr NtpInfo kBlank{};
        return std::memcmp(&info, &kBlank, sizeof(info)) == 0;
    }

    static bool Write(const NtpServers &servers, NtpInfo info, Writer &writer) {
        bool good = true;
        for (uint32_t i = 0; i < MW_NTP_SERVER_MAX; ++i) {
            char name[MW_NTP_SERVER_NAME_SIZE];
            Fill(name, i < servers.names.size() ? servers.names[i] : std::string());
            if (std::memcmp(name, info.acNtpServerName[i], sizeof(name)) == 0) continue;
            good = writer.Wrote("NTP server names", 1, MW_SetNtpServerName(i + 1, name)) && good;
            std::memcpy(info.acNtpServerName[i], name, sizeof(name));
        }
        info.dwTimeSource = MW_TIME_SOURCE_NTP;
        info.dwNtpEnable = 1;
        info.dwServerCount = static_cast<uint32_t>(servers.names.size());
        return writer.Wrote("NTP settings", 1, MW_SetNtpInfo(&info)) && good;
    }

    NtpServers last_;
    bool done_ = false;
};

const Registration registered({"ntp", "NTP servers that the host is configured to use", 50,
                               Make<NtpCollector>});

}  // namespace

NtpServers FindNtpServers(const Host &host) {
    Names names;
    for (const char *file :
         {"/etc/chrony/chrony.conf", "/etc/chrony.conf", "/etc/ntpsec/ntp.conf", "/etc/ntp.conf"}) {
        if (names.empty()) names = FromDirectives(host, file);
    }
    if (names.empty()) names = FromTimesyncd(host);
    NtpServers servers;
    servers.left_out = names.size() > MW_NTP_SERVER_MAX ? names.size() - MW_NTP_SERVER_MAX : 0;
    names.resize(names.size() - servers.left_out);
    servers.names = std::move(names);
    return servers;
}

}  // namespace collect
