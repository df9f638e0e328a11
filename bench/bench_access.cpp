// What one get or set of one record costs when nobody else wants it.
#include <cstring>

#include "accessors.h"
#include "bench.h"
#include "peers.h"

namespace bench {
namespace {

constexpr double kWordLimit = 1.15;
constexpr double kBulkLimit = 1.05;

void Run() {
    const std::span<const Accessor> accessors = TypicalAccessors();
    std::vector<std::unique_ptr<Peer>> peers;
    peers.push_back(MakeLibrary(accessors));
    peers[0]->Start({});
    for (auto &peer : StartPeers(SizesOf(accessors))) {
        try {
            peer->Open();
            peers.push_back(std::move(peer));
        } catch (const std::exception &error) {
            Missing(peer->name, error.what());
        }
    }
    std::memset(Buffer(), 0, accessors.back().bytes);
    for (unsigned i = 0; i < accessors.size(); ++i) {
        const Accessor &accessor = accessors[i];
        const std::string row = std::to_string(accessor.bytes) + " " + accessor.module + ", " + accessor.what;
        Race get("get", row, accessor.bytes), set("set", row, accessor.bytes);
        for (const auto &peer : peers) {
            Peer *one = peer.get();
            get.Enter(one->name,
                      [one, i](uint64_t times) { Check(one->Get(i, Buffer(), times) == 0, "a get"); });
            set.Enter(one->name,
                      [one, i](uint64_t times) { Check(one->Set(i, Buffer(), times) == 0, "a set"); });
            for (const char *group : {"get", "set"}) {
                if (one->name == kMutex && accessor.bytes == 4)
                    Want(group, row, kLibrary, one->name, Is::kAtMost, kWordLimit);
                if (one->name == kCopy && &accessor == &accessors.back())
                    Want(group, row, kLibrary, one->name, Is::kAtMost, kBulkLimit);
                if (one->survives && one->name != kMutex && one->name != kLibrary)
                    Want(group, row, one->name, kLibrary, Is::kAtLeast, 1);
            }
        }
        get.Run(Rounds(31));
        set.Run(Rounds(31));
    }
}

const Measurement kMeasurement("access", "one record read or written, nobody else there", Run);

}  // namespace
}  // namespace bench
