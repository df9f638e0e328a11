#include "calling.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <nlohmann/json.hpp>

#include "area.h"
#include "console.h"
#include "fill.h"
#include "text.h"
#include "views.h"

namespace mwctl {
namespace {

// A list getter stops at the end of the area; one adds the records of up to 64 cards to that.
constexpr size_t kRoom = 2 * size_t{MW_AREA_SIZE};

// The file's content; "-" is standard input.
std::string Content(const std::string &path) {
    std::FILE *file = path == "-" ? stdin : std::fopen(path.c_str(), "re");
    if (file == nullptr) {
        throw Unfit(fmt::format("{} cannot be read: {}", tools::Printable(path), std::strerror(errno)));
    }
    std::string content;
    char part[4096];
    constexpr size_t kMost = 16 << 20;
    for (size_t size; (size = std::fread(part, 1, sizeof part, file)) > 0 && content.size() < kMost;) {
        content.append(part, size);
    }
    const int error = std::ferror(file) != 0 ? errno : content.size() >= kMost ? EFBIG : 0;
    if (file != stdin) std::fclose(file);
    if (error != 0) {
        throw Unfit(fmt::format("{} cannot be read: {}", tools::Printable(path), std::strerror(error)));
    }
    return content;
}

std::string Given(const std::string &argument) {
    if (argument == "-") return Content(argument);
    return argument.starts_with('@') ? Content(argument.substr(1)) : argument;
}

bool IsJson(std::string_view text) {
    const size_t first = text.find_first_not_of(" \t\r\n");
    return first != text.npos && (text[first] == '{' || text[first] == '[');
}

const Layout &LayoutOf(const Parameter &parameter) {
    const Layout *layout = FindLayout(parameter.record);
    if (layout == nullptr) throw Unfit(fmt::format("the record {} is not described", parameter.record));
    return *layout;
}

uint32_t SizeOf(const Parameter &parameter) {
    if (parameter.holds == Holds::kRecord) return LayoutOf(parameter).size;
    return parameter.holds == Holds::kNumber ? parameter.width : 1;
}

bool IsOutput(const Parameter &parameter) { return parameter.way != Way::kIn; }

uint64_t NumberAt(const Parameter &parameter, const std::byte *bytes) {
    uint64_t number = 0;
    std::memcpy(&number, bytes, parameter.width);
    return number;
}

std::string Hex(const std::byte *bytes, uint32_t size, const char *between) {
    const auto *first = reinterpret_cast<const uint8_t *>(bytes);
    return fmt::format("{:02x}", fmt::join(first, first + size, between));
}

}  // namespace

const Function *FindFunction(std::string_view name) {
    const auto found = std::ranges::find(Functions(), name, &Function::name);
    return found == Functions().end() ? nullptr : &*found;
}

std::vector<std::string_view> SimilarFunctions(std::string_view name) {
    constexpr size_t kMost = 3;
    std::vector<std::pair<size_t, std::string_view>> near;
    for (const Function &function : Functions()) {
        const bool contains = name.size() >= 4 && strcasestr(std::string(function.name).c_str(),
                                                             std::string(name).c_str()) != nullptr;
        const size_t distance = contains ? 0 : tools::Distance(name, function.name);
        if (distance <= std::max<size_t>(2, name.size() / 6)) near.emplace_back(distance, function.name);
    }
    std::ranges::stable_sort(near, {}, [](const auto &one) { return one.first; });
    if (near.size() > kMost) near.resize(kMost);
    std::vector<std::string_view> names;
    for (const auto &[distance, similar] : near) names.push_back(similar);
    return names;
}

std::vector<const Parameter *> InputsOf(const Function &function) {
    std::vector<const Parameter *> inputs;
    for (const Parameter &parameter : function.parameters) {
        if (parameter.way != Way::kOut) inputs.push_back(&parameter);
    }
    return inputs;
}

Calling::Calling(const Function &function, const std::vector<std::string> &arguments)
    : function_(function),
      rooms_(function.parameters.size()),
      passed_(function.parameters.size()),
      given_(function.parameters.size(), 0) {
    const std::vector<const Parameter *> inputs = InputsOf(function);
    if (arguments.size() != inputs.size()) {
        std::vector<std::string_view> names;
        for (const Parameter *input : inputs) names.push_back(input->name);
        throw Unfit(fmt::format("{} takes {} argument{}{}{}, but {} {} given", function.name,
                                inputs.empty() ? "no" : std::to_string(inputs.size()),
                                inputs.size() == 1 ? "" : "s", inputs.empty() ? "" : ": ",
                                fmt::join(names, ", "), arguments.size(),
                                arguments.size() == 1 ? "is" : "are"));
    }
    auto argument = arguments.begin();
    for (size_t i = 0; i < passed_.size(); ++i) {
        const Parameter &parameter = function.parameters[i];
        if (parameter.pointer || parameter.holds == Holds::kRecord) {
            rooms_[i].resize(kRoom / sizeof(uint64_t));
            passed_[i].bytes = rooms_[i].data();
        }
        if (parameter.way != Way::kOut) SetArgument(i, *argument++);
    }
    for (size_t i = 0; i < passed_.size(); ++i) CheckCount(i);
}

std::byte *Calling::BytesOf(size_t index) { return reinterpret_cast<std::byte *>(rooms_[index].data()); }
const std::byte *Calling::BytesOf(size_t index) const {
    return reinterpret_cast<const std::byte *>(rooms_[index].data());
}

void Calling::SetArgument(size_t index, const std::string &text) {
    const Parameter &parameter = function_.parameters[index];
    const std::string name(parameter.name);
    switch (parameter.holds) {
        case Holds::kNumber:
            passed_[index].number = ParseNumber(text, parameter.width, parameter.is_signed, name);
            return;
        case Holds::kAddress:
            if (text != "0" && text != "1") {
                throw Unfit(fmt::format("{} is 0 for NULL or 1 for any other address, not '{}'", name,
                                        tools::Printable(text)));
            }
            if (text == "0") passed_[index].bytes = nullptr;
            return;
        case Holds::kText: {
            const size_t most = parameter.count == 0 ? size_t{MW_AREA_SIZE} : parameter.count;
            if (text.size() > most) {
                throw Unfit(fmt::format("{} has at most {} bytes; this one has {}", name, most, text.size()));
            }
            text.copy(reinterpret_cast<char *>(BytesOf(index)), text.size());
            return;
        }
        case Holds::kBytes: {
            const std::vector<std::byte> bytes = ParseHex(Given(text), name);
            if (bytes.size() != parameter.count) {
                throw Unfit(
                    fmt::format("{} has {} bytes; this one has {}", name, parameter.count, bytes.size()));
            }
            std::ranges::copy(bytes, BytesOf(index));
            return;
        }
        case Holds::kRecord:
            SetRecords(index, text);
            return;
    }
}

void Calling::SetRecords(size_t index, const std::string &text) {
    const Parameter &parameter = function_.parameters[index];
    const Layout &layout = LayoutOf(parameter);
    const std::string name(parameter.name);
    const std::string content = Given(text);
    const uint32_t room = kRoom / layout.size;
    uint32_t given = 0;
    if (IsJson(content)) {
        const nlohmann::ordered_json json = ParseJson(content, name);
        const bool many = json.is_array();
        given = many ? static_cast<uint32_t>(std::min<size_t>(json.size(), room + 1)) : 1;
        for (uint32_t i = 0; i < std::min(given, room); ++i) {
            Fill(layout, many ? json[i] : json, BytesOf(index) + size_t{i} * layout.size,
                 many ? fmt::format("{}[{}]", name, i) : name);
        }
    } else {
        const std::vector<std::byte> bytes = ParseHex(content, name);
        if (bytes.empty() || bytes.size() % layout.size != 0) {
            throw Unfit(fmt::format("{} is JSON or {} bytes in hexadecimal for each {}; {} are given", name,
                                    layout.size, layout.name, bytes.size()));
        }
        given = static_cast<uint32_t>(std::min<size_t>(bytes.size() / layout.size, room + 1));
        std::copy_n(bytes.begin(), std::min<size_t>(bytes.size(), kRoom), BytesOf(index));
    }
    if (given > room) throw Unfit(fmt::format("{} has more records than the shared area", name));
    if (parameter.counted_by < 0 && given != parameter.count) {
        throw Unfit(fmt::format("{} is {} {}{}; {} are given", name, parameter.count, layout.name,
                                parameter.count == 1 ? "" : " records", given));
    }
    given_[index] = given;
}

// A count that the user gave must not lead behind what the user gave, or behind the room there is.
void Calling::CheckCount(size_t index) const {
    const Parameter &parameter = function_.parameters[index];
    if (parameter.counted_by < 0) return;
    const auto counter = static_cast<size_t>(parameter.counted_by);
    const Parameter &count = function_.parameters[counter];
    if (count.pointer) return;
    const uint64_t room = parameter.way == Way::kIn ? given_[index] : kRoom / SizeOf(parameter);
    const uint64_t wanted = passed_[counter].number;
    if (wanted <= room || (count.is_signed && static_cast<int64_t>(wanted) < 0)) return;
    throw Unfit(fmt::format("{} is {}, but {} {} {}", count.name, wanted, parameter.name,
                            parameter.way == Way::kIn ? "has" : "has room for", room));
}

void Calling::Make() {
    const bool changes = std::ranges::none_of(function_.parameters, IsOutput) &&
                         function_.name.find("_Get") == std::string::npos;
    Listen listen(changes ? Listen::Log::kLoud : Listen::Log::kQuiet);
    result_ = function_.entry(passed_.data());
    for (std::string_view rest = listen.all(); !rest.empty();) {
        const size_t end = std::min(rest.find('\n'), rest.size());
        if (end != 0) logged_.push_back(tools::Printable(rest.substr(0, end)));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    if (result_ >= 0) return;
    if (listen.HeardLockFailure()) {
        for (const midware::Module &module : midware::kModules) {
            if (std::string_view(module.source).starts_with(std::string(function_.family) + "/")) {
                advice_ = tools::WhyNotLocked(module.key);
            }
        }
    } else if (!tools::AreaExists() && (listen.Heard("Memory init error") || logged_.empty())) {
        advice_ = tools::WhyNoArea();
    }
}

uint32_t Calling::ElementsOf(size_t index) const {
    const Parameter &parameter = function_.parameters[index];
    if (parameter.counted_by < 0) return parameter.count;
    const auto counter = static_cast<size_t>(parameter.counted_by);
    const Parameter &count = function_.parameters[counter];
    const uint64_t elements = count.pointer ? NumberAt(count, BytesOf(counter)) : passed_[counter].number;
    return static_cast<uint32_t>(std::min<uint64_t>(elements, kRoom / SizeOf(parameter)));
}

// What the text view needs to show the records of a parameter.
Reading Calling::RecordsOf(size_t index, Record &record) const {
    const Parameter &parameter = function_.parameters[index];
    const Layout &layout = LayoutOf(parameter);
    const uint32_t elements = ElementsOf(index);
    const bool many = parameter.counted_by >= 0 || parameter.count > 1;
    record = {.name = layout.name,
              .label = parameter.name,
              .layout = &layout,
              .capacity = many ? elements : 0,
              .read = nullptr};
    record.slot_label = "record";
    Reading reading{.record = &record};
    for (uint32_t i = 0; i < elements; ++i) {
        reading.slots.push_back({i, {}, BytesOf(index) + size_t{i} * layout.size});
    }
    return reading;
}

namespace {

std::string NumberText(const Parameter &parameter, const std::byte *bytes) {
    return std::to_string(NumberAt(parameter, bytes));
}

}  // namespace

std::string Calling::ToText() const {
    size_t width = 0;
    for (const Parameter &parameter : function_.parameters) {
        if (IsOutput(parameter) && parameter.holds != Holds::kRecord) {
            width = std::max(width, parameter.name.size());
        }
    }
    std::string values, records;
    for (size_t i = 0; i < passed_.size(); ++i) {
        const Parameter &parameter = function_.parameters[i];
        if (!IsOutput(parameter)) continue;
        std::string text;
        switch (parameter.holds) {
            case Holds::kRecord: {
                Record record;
                const Reading reading = RecordsOf(i, record);
                records += mwctl::ToText(reading, Extent::kAll);
                continue;
            }
            case Holds::kText:
                text = tools::Printable(tools::ArrayText(BytesOf(i), ElementsOf(i)));
                break;
            case Holds::kBytes:
                text = Hex(BytesOf(i), parameter.count, " ");
                break;
            case Holds::kNumber:
            case Holds::kAddress:
                for (uint32_t n = 0; n < parameter.count; ++n) {
                    text += (n == 0 ? "" : " ") + NumberText(parameter, BytesOf(i) + n * parameter.width);
                }
                break;
        }
        values += fmt::format("  {:{}}  {}\n", parameter.name, width, text);
    }
    return fmt::format("{}: {}\n", function_.name, result_) + values + records;
}

nlohmann::ordered_json Calling::ToJson() const {
    using Json = nlohmann::ordered_json;
    Json handed = Json::object();
    for (size_t i = 0; i < passed_.size() && result_ >= 0; ++i) {
        const Parameter &parameter = function_.parameters[i];
        if (!IsOutput(parameter)) continue;
        Json &value = handed[std::string(parameter.name)];
        if (parameter.holds == Holds::kText) {
            value = std::string(tools::ArrayText(BytesOf(i), ElementsOf(i)));
        } else if (parameter.holds == Holds::kBytes) {
            value = Hex(BytesOf(i), parameter.count, "");
        } else {
            Json list = Json::array();
            for (uint32_t n = 0; n < ElementsOf(i); ++n) {
                const std::byte *bytes = BytesOf(i) + size_t{n} * SizeOf(parameter);
                list.push_back(parameter.holds == Holds::kRecord ? mwctl::ToJson(LayoutOf(parameter), bytes)
                                                                 : Json(NumberAt(parameter, bytes)));
            }
            value = parameter.counted_by < 0 && parameter.count == 1 ? list[0] : list;
        }
    }
    return {
        {"function", std::string(function_.name)}, {"result", result_}, {"out", handed}, {"logged", logged_}};
}

}  // namespace mwctl
