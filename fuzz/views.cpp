// What mwctl shows of an area that holds anything: whole lines that print, and documents that are JSON in
// ASCII.
#include "views.h"

#include <nlohmann/json.hpp>

#include "area.h"

namespace {

void CheckText(const std::string &text) {
    for (const char c : text) {
        const unsigned char byte = static_cast<unsigned char>(c);
        fuzz::Demand(c == '\n' || (byte >= 0x20 && byte != 0x7F), "a control character is shown", text);
    }
    fuzz::Demand(text.empty() || text.back() == '\n', "the last line has no end", text);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::Input input(data, size);
    memory_platform::Reset();
    const auto &modules = mwctl::Modules();
    const mwctl::Module &module = modules[input.Byte() % modules.size()];
    for (int changes = 0; changes < 50 && !input.empty(); ++changes) fuzz::ChangeArea(input, input.Byte());
    const mwctl::ModuleReading reading = mwctl::Read(module);
    fuzz::Demand(memory_platform::Now().misuse.empty(), memory_platform::Now().misuse);
    CheckText(mwctl::ToText(reading, mwctl::Extent::kLine));
    CheckText(mwctl::ToText(reading, mwctl::Extent::kAll));
    const std::string document = mwctl::Document(mwctl::ToJson(reading));
    fuzz::Demand(std::all_of(document.begin(), document.end(), [](char c) { return c > 0; }), "not ASCII");
    fuzz::Demand(nlohmann::json::accept(document), "not JSON", document);
    return 0;
}
