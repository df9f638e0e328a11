// Sequences of exported calls with any arguments on an area with any contents: nothing outside the area and
// the caller's buffers is touched, every semaphore is given back, and an answer is 0 or -1.
#include <cstring>
#include <memory>

#include "area.h"
#include "every_function.h"
#include "hov_midware.h"
#include "input.h"
#include "memory_platform.h"

namespace {

using every::Kind;
using every::Value;
using memory_platform::kAreaSize;

constexpr size_t kParametersMax = 8;
constexpr int kStepsMax = 200;
constexpr uint32_t kMemoryKey = 12291;

// A caller's buffer ends where its memory ends, so that one byte more is noticed.
class Buffer {
  public:
    static constexpr size_t kSize = kAreaSize + 131072;
    void *Last(size_t bytes) { return memory_.get() + kSize - std::min(bytes, kSize); }
    uint8_t *All() { return memory_.get(); }

  private:
    std::unique_ptr<uint8_t[]> memory_{new uint8_t[kSize]()};
};

Buffer &BufferOf(size_t parameter) {
    static Buffer buffers[kParametersMax];
    return buffers[parameter];
}

void Spare() { std::abort(); }

void Fill(fuzz::Input &input, uint8_t *to, size_t size) {
    switch (input.Byte() % 6) {
        case 0:
            memset(to, 0, size);
            break;
        case 1:
            memset(to, input.Byte(), size);
            break;
        case 2: {
            const size_t from = fuzz::Place(input);
            memcpy(to, memory_platform::Area() + from, std::min(size, kAreaSize - from));
            break;
        }
        case 3: {
            const std::string_view bytes = input.Bytes(std::min<size_t>(input.Byte(), size));
            memset(to, 'A', size);
            if (!bytes.empty()) memcpy(to, bytes.data(), bytes.size());
            break;
        }
        case 4: {
            const std::string_view bytes = input.Bytes(std::min<size_t>(input.Byte(), size));
            for (size_t i = 0; i < size && !bytes.empty(); ++i)
                to[i] = static_cast<uint8_t>(bytes[i % bytes.size()]);
            break;
        }
        default:
            break;  // as the last call left it
    }
}

void CheckAfter(const every::Function &function, int32_t result) {
    memory_platform::State &now = memory_platform::Now();
    fuzz::Demand(now.misuse.empty(), now.misuse, function.name);
    if (!every::AnswersANumber(function))
        fuzz::Demand(result == 0 || result == -1, "answers another number", function.name);
    fuzz::Demand(now.disk_locks == 0, "keeps the custom disk slot lock", function.name);
    if (result == -1 && std::string_view(function.name) == "MW_SetHardDiskUsageInfoFromHostMon") {
        std::erase(now.held, kMemoryKey);  // a refused count keeps it
    }
    fuzz::Demand(now.held.empty(), "keeps a semaphore", function.name);
    fuzz::Demand(pSendRedfunc == Spare, "changes the programs' own pointer", function.name);
    for (const midware::Module &module : midware::kModules) {
        const void *pointer = *module.pointer;
        fuzz::Demand(pointer == nullptr || pointer == memory_platform::Area() + module.offset,
                     "moves an area", function.name);
    }
}

void CallOne(fuzz::Input &input) {
    const auto &functions = every::Functions();
    const every::Function &function = functions[input.Word(2) % functions.size()];
    std::vector<Value> values(function.parameters.size() + 1);
    for (size_t i = 0; i < function.parameters.size(); ++i) {
        if (function.parameters[i].kind == Kind::kNumber) values[i].number = fuzz::Number(input);
    }
    for (size_t i = 0; i < function.parameters.size(); ++i) {
        const every::Parameter &parameter = function.parameters[i];
        if (parameter.kind == Kind::kNumber) continue;
        if (parameter.is_list) {
            values[i].pointer = BufferOf(i).All();
            Fill(input, BufferOf(i).All(), 4096);
            continue;
        }
        const size_t bytes = std::min(every::BytesOf(function, i, values), Buffer::kSize);
        values[i].pointer = BufferOf(i).Last(bytes);
        Fill(input, static_cast<uint8_t *>(values[i].pointer), bytes);
    }
    CheckAfter(function, function.call(values.data()));
}

void ArrangePlatform(fuzz::Input &input) {
    memory_platform::State &now = memory_platform::Now();
    const size_t call = input.Byte() % memory_platform::kCalls;
    now.fail_at[call] = now.calls[call] + 1 + input.Byte() % 8;
}

void ArrangeSetting(fuzz::Input &input) {
    static const char *const kFiles[] = {"/conf/ext/custom_pchdisk_config.ini", "/conf/ext/hostusagecfg.ini"};
    memory_platform::State &now = memory_platform::Now();
    const uint8_t choice = input.Byte();
    if (choice < 128) {
        now.any_value = input.Text();
    } else {
        now.files[kFiles[choice % 2]][input.Text()] = input.Text();
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size) {
    fuzz::Input input(data, size);
    memory_platform::Reset();
    pSendRedfunc = Spare;
    for (int step = 0; step < kStepsMax && !input.empty(); ++step) {
        const uint8_t what = input.Byte() % 16;
        switch (what) {
            case 0:
            case 1:
            case 2:
                fuzz::ChangeArea(input, what);
                break;
            case 3:
                ArrangePlatform(input);
                break;
            case 4:
                ArrangeSetting(input);
                break;
            case 5:
                memory_platform::Detach();
                break;
            default:
                CallOne(input);
        }
    }
    return 0;
}
