// Fibre Channel cards and ports, accelerators and custom cards: blocks that are stored and copied whole.
#include "accessor_test.h"

namespace {

struct Store {
    const char *get_name;
    int32_t (*get)(void *);
    const char *set_name;
    int32_t (*set)(const void *);
    size_t offset;
    size_t size;
};

template <class Block, int32_t (*Get)(Block *)>
int32_t GetBlock(void *out) {
    return Get(static_cast<Block *>(out));
}

template <class Block, int32_t (*Set)(const Block *)>
int32_t SetBlock(const void *in) {
    return Set(static_cast<const Block *>(in));
}

#define STORE(block, offset, size)                                                                              \
    {                                                                                                           \
        "MW_Get" #block, GetBlock<block, MW_Get##block>, "MW_Set" #block, SetBlock<block, MW_Set##block>, offset, \
            size                                                                                                \
    }

class CardStore : public AccessorTest {
 protected:
    CardStore(const ModuleFacts &facts, const char *lock_text, std::vector<Store> stores)
        : AccessorTest(facts, lock_text), stores_(std::move(stores)) {}

    void CheckTemplate() {
        std::vector<uint64_t> block(2048);
        for (const Store &store : stores_) {
            CheckGuarded({store.get_name, [&] { return store.get(block.data()); }, [&] { return store.get(nullptr); }});
            CheckGuarded({store.set_name, [&] { return store.set(block.data()); }, [&] { return store.set(nullptr); }});
        }
    }

    void CheckBlocks() {
        for (const Store &store : stores_) {
            SCOPED_TRACE(store.set_name);
            const std::vector<std::string> copied = {Lock(module().key), Copy(store.size), Unlock(module().key)};
            FillArea();
            const Image before = Image::Take();
            const std::vector<uint8_t> in = Pattern(store.size, 17);
            EXPECT_EQ(store.set(in.data()), 0);
            ExpectCalls(store.set_name, copied);
            const Image after = before.With(At(store.offset), in.data(), in.size());
            ExpectImage(after);

            std::vector<uint8_t> out(store.size + 8, 0xEE);
            std::vector<uint8_t> expected = in;
            expected.insert(expected.end(), 8, 0xEE);
            EXPECT_EQ(store.get(out.data()), 0);
            ExpectCalls(store.get_name, copied);
            EXPECT_EQ(out, expected);
            ExpectImage(after);

            recorder::Now().lock_result[module().key] = -1;
            out.assign(out.size(), 0xEE);
            EXPECT_EQ(store.get(out.data()), -1);
            EXPECT_EQ(out, std::vector<uint8_t>(out.size(), 0xEE));
            EXPECT_EQ(store.set(out.data()), -1);
            ExpectImage(after);
            recorder::Now().lock_result.clear();
            recorder::ClearCalls();
        }
    }

 private:
    std::vector<Store> stores_;
};

class FcCards : public CardStore {
 protected:
    FcCards()
        : CardStore({"fccard/hov_midfccard", &g_ptFcCardCollectAddr, 467984, 13112, 12299}, kLockError,
                    {STORE(FCCardAssetInfo, 4, 11884), STORE(FCPortAssetInfo, 11888, 1224)}) {}
};

class Gpus : public CardStore {
 protected:
    Gpus()
        : CardStore({"gpu/hov_midgpu", &g_ptGPUCollectAddr, 481096, 11288, 12300}, kLockError,
                    {STORE(GPUAssetInfo, 4, 11284)}) {}
};

class CustomCards : public CardStore {
 protected:
    CustomCards()
        : CardStore({"custcard/hov_midcustcard", &g_ptCustCardCollectAddr, 704600, 4104, 12304}, kLockLineError,
                    {STORE(CustCardAssetInfo, 4, 4100)}) {}
};

TEST_F(FcCards, EveryAccessorFollowsTheTemplate) { CheckTemplate(); }
TEST_F(FcCards, EachBlockIsCopiedWholeAndLeavesTheOtherAlone) { CheckBlocks(); }
TEST_F(Gpus, EveryAccessorFollowsTheTemplate) { CheckTemplate(); }
TEST_F(Gpus, TheBlockIsCopiedWhole) { CheckBlocks(); }
TEST_F(CustomCards, EveryAccessorFollowsTheTemplate) { CheckTemplate(); }
TEST_F(CustomCards, TheBlockIsCopiedWholeToTheEndOfTheSharedArea) { CheckBlocks(); }

}  // namespace
