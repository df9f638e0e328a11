// Files of saved areas, whole, damaged and cut off: what is accepted lies within the file and makes the same
// file again; what is not is refused with one printable line.
#include <cstring>

#include "input.h"
#include "midware/area.h"
#include "saved_area.h"

namespace {

using Bytes = std::vector<std::byte>;

constexpr uint64_t kFingerprint = 0x0123456789ABCDEF;
constexpr size_t kFlags = 20;  // offsets in the header
constexpr size_t kSizes = 40;
constexpr size_t kChecksum = 48;
constexpr size_t kHeaderSize = 56;

std::span<const std::byte> BytesOf(std::string_view text) {
    return std::as_bytes(std::span(text.data(), text.size()));
}

mwctl::SavedConfig Config(fuzz::Input &input) {
    using State = mwctl::SavedConfig::State;
    const uint8_t choice = input.Byte();
    if (choice < 32) return {State::kMissing, {}};
    if (choice < 64) return {State::kUnreadable, {}};
    return {State::kPresent, BytesOf(input.Bytes(input.Word(2)))};
}

// A file as it is written, then changed: header words, a byte anywhere, another length; perhaps with a
// checksum that fits.
Bytes Changed(fuzz::Input &input) {
    static const Bytes area(MW_AREA_SIZE);
    const uint8_t choice = input.Byte();
    mwctl::SavedArea saved;
    saved.fingerprint = (choice & 1) != 0 ? kFingerprint : input.Word();
    saved.time = static_cast<int64_t>(input.Word()) << (choice & 2 ? 32 : 0);
    saved.unlocked = (choice & 4) != 0;
    saved.area = std::span(area).first(choice < 16 ? input.Word(3) % area.size() : area.size());
    for (mwctl::SavedConfig &config : saved.configs) config = Config(input);
    Bytes file = mwctl::ToBytes(saved);
    for (int changes = input.Byte() % 4; changes > 0; --changes) {
        const uint8_t what = input.Byte();
        const uint32_t value = input.Word();
        if (what < 64) {
            std::memcpy(&file[what % 14 * 4], &value, sizeof value);
        } else if (what < 128) {
            std::memcpy(&file[what % 2 != 0 ? kFlags : kSizes + what / 2 % 2 * 4], &value, sizeof value);
        } else if (what < 192) {
            file[value % file.size()] ^= std::byte{1};
        } else {
            file.resize(what < 224 ? file.size() - value % file.size() : file.size() + value % 4096);
            if (file.size() < kHeaderSize) return file;
        }
    }
    if ((choice & 8) != 0) {
        const auto all = std::span<const std::byte>(file);
        const uint64_t sum = mwctl::Hash(all.subspan(kHeaderSize), mwctl::Hash(all.first(kChecksum)));
        std::memcpy(&file[kChecksum], &sum, sizeof sum);
    }
    return file;
}

bool LiesIn(std::span<const std::byte> part, const Bytes &file) {
    return part.empty() ||
           (part.data() >= file.data() && part.data() + part.size() <= file.data() + file.size());
}

void CheckLine(std::string_view line) {
    for (const char c : line) fuzz::Demand(c >= 0x20 && c < 0x7F, "a line that does not print", line);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::Input input(data, size);
    Bytes file;
    if (input.Byte() % 2 == 0) {
        const std::string_view raw = input.Bytes(size);
        file.assign(BytesOf(raw).begin(), BytesOf(raw).end());
        file.shrink_to_fit();
    } else {
        file = Changed(input);
    }
    const mwctl::ParsedArea parsed = mwctl::ParseSavedArea(file, kFingerprint);
    CheckLine(parsed.problem);
    CheckLine(mwctl::TimeText(parsed.saved.time));
    if (!parsed.problem.empty()) {
        fuzz::Demand(parsed.saved.area.empty(), "a refused file gives an area");
        return 0;
    }
    fuzz::Demand(parsed.saved.area.size() == MW_AREA_SIZE, "the area has another size");
    fuzz::Demand(LiesIn(parsed.saved.area, file), "the area lies outside the file");
    for (const mwctl::SavedConfig &config : parsed.saved.configs) {
        fuzz::Demand(LiesIn(config.bytes, file), "a configuration file lies outside the file");
        fuzz::Demand(config.bytes.size() <= mwctl::kLargestConfig, "a configuration file is too large");
    }
    fuzz::Demand(file.size() <= mwctl::kLargestSaved, "the file is larger than any");
    fuzz::Demand(mwctl::ToBytes(parsed.saved) == file, "a file that was accepted makes another one");
    return 0;
}
