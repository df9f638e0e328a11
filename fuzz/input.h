// An input of the fuzzer, taken apart from its beginning. Behind its end everything is zero.
#ifndef FUZZ_INPUT_H
#define FUZZ_INPUT_H

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace fuzz {

class Input {
  public:
    Input(const uint8_t *data, size_t size) : data_(data), size_(size) {}

    bool empty() const { return size_ == 0; }

    uint8_t Byte() {
        if (size_ == 0) return 0;
        --size_;
        return *data_++;
    }
    uint32_t Word(int bytes = 4) {
        uint32_t word = 0;
        for (int i = 0; i < bytes; ++i) word |= static_cast<uint32_t>(Byte()) << (8 * i);
        return word;
    }
    std::string_view Bytes(size_t most) {
        const size_t count = std::min(most, size_);
        const std::string_view bytes(reinterpret_cast<const char *>(data_), count);
        data_ += count;
        size_ -= count;
        return bytes;
    }
    // A length and as many bytes, without those that end a C string.
    std::string Text() {
        std::string text(Bytes(Byte()));
        text.erase(std::find(text.begin(), text.end(), '\0'), text.end());
        return text;
    }

  private:
    const uint8_t *data_;
    size_t size_;
};

// What must hold, whatever the input.
inline void Demand(bool holds, std::string_view what, std::string_view where = {}) {
    if (holds) return;
    std::fprintf(stderr, "%.*s%s%.*s\n", static_cast<int>(where.size()), where.data(),
                 where.empty() ? "" : ": ", static_cast<int>(what.size()), what.data());
    std::abort();
}

}  // namespace fuzz

#endif
