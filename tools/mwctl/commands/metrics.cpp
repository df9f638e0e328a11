// mwctl metrics: the state of the machine and of the shared area in Prometheus' text format.
#include <fcntl.h>
#include <fmt/format.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>

#include "area.h"
#include "command.h"
#include "output.h"
#include "samples.h"
#include "source.h"
#include "text.h"
#include "walk.h"

namespace mwctl {
namespace {

std::string output;

// A value of a label: what is no UTF-8 or would not be seen becomes \xNN.
std::string Quoted(std::string_view text) {
    std::string quoted = "\"";
    for (const char c : tools::Printable(text, true)) {
        if (c == '"' || c == '\\') quoted += '\\';
        quoted += c;
    }
    return quoted + '"';
}

using Labels = std::vector<std::pair<std::string_view, std::string>>;

// One metric with all of its series.
class Family {
  public:
    Family(std::string_view name, std::string_view type, std::string_view help)
        : name_(name),
          head_(fmt::format("# HELP midware_{0} {2}\n# TYPE midware_{0} {1}\n", name, type, help)) {}

    template <class T>
    void Add(const Labels &labels, T value) {
        std::string text;
        for (const auto &[name, content] : labels) {
            text += fmt::format("{}{}={}", text.empty() ? "{" : ",", name, Quoted(content));
        }
        if (!text.empty()) text += '}';
        series_ += fmt::format("midware_{}{} {}\n", name_, text, NumberText(value));
    }
    std::string Text() const { return series_.empty() ? "" : head_ + series_; }

  private:
    template <class T>
    static std::string NumberText(T value) {
        if constexpr (std::is_floating_point_v<T>) {
            if (std::isnan(value)) return "NaN";
            if (std::isinf(value)) return value < 0 ? "-Inf" : "+Inf";
        }
        return fmt::format("{}", value);
    }
    std::string_view name_;
    std::string head_;
    std::string series_;
};

std::string SemaphoreMetrics() {
    Family exists("semaphore_exists", "gauge", "Whether the semaphore of a module area exists.");
    Family held("semaphore_held", "gauge", "Whether the semaphore of a module area is held.");
    Family time(
        "semaphore_held_seconds", "gauge",
        "For how long at least the semaphore has been held by its present holder; 0 while it is free.");
    Family taken("semaphore_taken_total", "counter", "How often the semaphore was taken.");
    Family contended("semaphore_contended_total", "counter",
                     "How often somebody had to wait for the semaphore.");
    Family timeouts("semaphore_timeouts_total", "counter",
                    "How often somebody waited for the semaphore in vain.");
    Family recovered("semaphore_recovered_total", "counter",
                     "How often the holder of the semaphore ended without releasing it.");
    for (const midware::Module &module : midware::kModules) {
        const OalSemStatus status = tools::SemStatus(module.key);
        const Labels labels = {{"area", std::string(NameOf(module))}, {"key", std::to_string(module.key)}};
        exists.Add(labels, status.exists);
        if (status.exists == 0) continue;
        held.Add(labels, status.held);
        time.Add(labels, static_cast<double>(status.held_for_ms) / 1000);
        taken.Add(labels, status.taken);
        contended.Add(labels, status.contended);
        timeouts.Add(labels, status.timed_out);
        recovered.Add(labels, status.recovered);
    }
    return exists.Text() + held.Text() + time.Text() + taken.Text() + contended.Text() + timeouts.Text() +
           recovered.Text();
}

std::string RecordMetrics(const std::vector<ModuleReading> &readings) {
    Family readable("record_readable", "gauge", "Whether a kind of record could be read.");
    Family counts("records", "gauge", "How many records of a kind are in use.");
    for (const ModuleReading &module : readings) {
        for (const Reading &reading : module.records) {
            const Labels labels = {{"module", std::string(module.module->name)},
                                   {"record", std::string(reading.record->name)}};
            readable.Add(labels, reading.problem.empty() ? 1 : 0);
            if (!reading.problem.empty()) continue;
            if (const int64_t count = CountOf(reading); count >= 0) counts.Add(labels, count);
        }
    }
    return readable.Text() + counts.Text();
}

std::string SampleMetrics(const std::vector<ModuleReading> &readings) {
    Family families[] = {
        {"temperature_celsius", "gauge", "A temperature."},
        {"fan_speed_rpm", "gauge", "The speed of a fan in revolutions per minute."},
        {"power_watts", "gauge", "An electrical power."},
        {"health", "gauge",
         "The health code of a part or of all parts of a kind, as its evaluator stored it."},
        {"alarm", "gauge", "Whether an alarm state is asserted."},
    };
    for (const Sample &sample : SamplesOf(readings)) {
        families[static_cast<size_t>(sample.quantity)].Add({{"module", std::string(sample.module->name)},
                                                            {"path", sample.path},
                                                            {"name", sample.name},
                                                            {"label", std::string(sample.label)}},
                                                           sample.value);
    }
    std::string text;
    for (const Family &family : families) text += family.Text();
    return text;
}

// The metrics, and what is wrong that somebody should hear of.
std::string Collect(std::vector<std::string> &problems) {
    const bool present = tools::AreaExists();
    Family build("build_info", "gauge", "The version of the program that wrote this.");
    build.Add({{"version", MIDWARE_VERSION}}, 1);
    Family area("area_present", "gauge", "Whether the shared area exists and may be used.");
    area.Add({}, present ? 1 : 0);
    std::string text = build.Text() + area.Text();
    if (!present) {
        problems.push_back(tools::WhyNoArea());
        return text + SemaphoreMetrics();
    }
    if (!SavedTime()) text += SemaphoreMetrics();  // before reading takes them
    std::vector<ModuleReading> readings;
    for (const Module &module : Modules()) readings.push_back(Read(module, {}, readings));
    for (const ModuleReading &module : readings) {
        const auto failed =
            std::ranges::find_if(module.records, [](const Reading &r) { return !r.problem.empty(); });
        if (failed != module.records.end())
            problems.push_back(fmt::format("{}: {}", module.module->name, failed->problem));
    }
    return text + RecordMetrics(readings) + SampleMetrics(readings);
}

// Replaces the file as a whole: a reader sees the old one or the new one. The error; 0 when it is there.
int Replace(const std::string &path, std::string_view text) {
    std::string beside = path + ".XXXXXX";  // not .prom: nobody collects it
    const int file = mkostemp(beside.data(), O_CLOEXEC);
    if (file < 0) return errno;
    int error = 0;
    constexpr mode_t kReadable = 0644;
    while (error == 0 && !text.empty()) {
        const ssize_t written = write(file, text.data(), text.size());
        if (written < 0 && errno != EINTR) error = errno;
        if (written > 0) text.remove_prefix(static_cast<size_t>(written));
    }
    if (error == 0 && (fchmod(file, kReadable) != 0 || fsync(file) != 0)) error = errno;
    close(file);
    if (error == 0 && rename(beside.c_str(), path.c_str()) != 0) error = errno;
    if (error != 0) unlink(beside.c_str());
    return error;
}

void Metrics() {
    std::vector<std::string> problems;
    const std::string text = Collect(problems);
    if (output.empty()) {
        Finish(text);
    } else if (const int error = Replace(output, text); error != 0) {
        Fail(fmt::format("{} cannot be written: {}: name a file in a directory that this user may write",
                         tools::Printable(output), std::strerror(error)));
    }
    for (const std::string &problem : problems) Fail(problem);
}

void AddMetrics(cli::App &app) {
    cli::App *metrics =
        app.add_subcommand("metrics", "Prints readings, health, alarms and semaphores for Prometheus");
    metrics
        ->add_option("--output", output,
                     "Writes a file instead, such as one that ends in .prom for the textfile collector; it "
                     "is replaced "
                     "as a whole")
        ->type_name("FILE");
    metrics->footer(
        "The text format 0.0.4. A reading that is not valid has no series.\n"
        "Exit codes: 0 all was read, 1 the area is missing or something could not be read or written (what "
        "was read "
        "is there all the same), 2 wrong usage.");
    metrics->callback(Metrics);
}

const Command kCommand("metrics", AddMetrics, Needs::kRecords);

}  // namespace
}  // namespace mwctl
