// The one place where a semaphore is taken while another is held: the list for upper interfaces reads the
// network cards under the semaphore of the PCIe table.
#include "process_test.h"

namespace {

using NestedSemaphores = AreaTest;

constexpr uint8_t kOcpSlots[] = {30, 31};
constexpr uint8_t kCardSlot = 3;
constexpr int kRounds = 2000;

struct Start {
    std::atomic<int> ready{0};

    void Together(int processes) {
        ++ready;
        while (ready < processes) {
        }
    }
};

// A card in a slot, and what BIOS reported about the OCP cards: so that the list has nothing to complain of.
void StoreTable() {
    PcieAssetInfo table[3]{};
    table[0].ucSlot = kCardSlot;
    table[0].ucDevType = MW_PCIE_TYPE_CARD;
    for (int i = 0; i < 2; ++i) {
        table[i + 1].ucSlot = kOcpSlots[i];
        table[i + 1].ucDevType = MW_PCIE_TYPE_OCP;
        std::strcpy(table[i + 1].acSerialNum, "serial");
    }
    ASSERT_EQ(MW_SetPcieAssetInfo(table, 3), 0);
}

void StoreCards(char letter) {
    static NicCardBlock block;
    block = {};
    block.dwNicCardNum = 2;
    for (int i = 0; i < 2; ++i) {
        NicCardAssetInfo &card = block.atNicCard[i];
        card.ucNicSlotType = MW_NIC_SLOT_OCP;
        card.ucNicSlotNum = kOcpSlots[i];
        card.ucNicSlotId = static_cast<uint8_t>(i + 1);
        std::strcpy(card.acSerialNum, "serial");
        std::memset(card.acNicText1, letter, sizeof card.acNicText1 - 1);
    }
    ASSERT_EQ(MW_SetNICCardAssetInfo(&block), 0);
}

void ListForUpperInterfaces() {
    static PcieAssetInfo list[MW_PCIE_UPPER_MAX];
    uint32_t count = 0;
    ASSERT_EQ(MW_GetPcieAssetInfoForUpperInterface(list, &count), 0);
    ASSERT_EQ(count, 3u) << "the network cards were not had";
    EXPECT_EQ(list[0].ucSlot, kCardSlot);
    EXPECT_STREQ(list[1].acTextG, list[2].acTextG);  // of one block, never of two
    EXPECT_EQ(std::strlen(list[1].acTextG), sizeof NicCardAssetInfo{}.acNicText1 - 1);
}

void UseNetworkCards(char letter) {
    uint32_t count = 0, same = 0;
    uint8_t mask = 0;
    ASSERT_EQ(MW_GetNICCount(&count, &same), 0);
    ASSERT_EQ(MW_GetOcpPresentStatus(&mask), 0);
    ASSERT_EQ(mask, 3);
    StoreCards(letter);
}

TEST_F(NestedSemaphores, BothPathsAtOnceNeverTimeOut) {
    CreateArea();
    EXPECT_SUCCEEDS(setup_, [] {
        StoreTable();
        StoreCards('a');
    });
    Shared<Start> start;
    std::vector<Process> processes;
    processes.emplace_back(setup_, [&start] {
        start->Together(2);
        for (int i = 0; i < kRounds && !testing::Test::HasFailure(); ++i) ListForUpperInterfaces();
    });
    processes.emplace_back(setup_, [&start] {
        start->Together(2);
        for (int i = 0; i < kRounds && !testing::Test::HasFailure(); ++i)
            UseNetworkCards(i % 2 == 0 ? 'b' : 'c');
    });
    for (Process &process : processes) {
        const Outcome outcome = process.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        EXPECT_EQ(outcome.err, "");
    }
}

TEST_F(NestedSemaphores, ProcessesThatTakeBothPathsInTurnNeverTimeOut) {
    CreateArea();
    EXPECT_SUCCEEDS(setup_, [] {
        StoreTable();
        StoreCards('a');
    });
    Shared<Start> start;
    std::vector<Process> processes;
    for (const char letter : {'b', 'c'}) {
        processes.emplace_back(setup_, [&start, letter] {
            start->Together(2);
            for (int i = 0; i < kRounds && !testing::Test::HasFailure(); ++i) {
                ListForUpperInterfaces();
                UseNetworkCards(letter);
                EXPECT_EQ(MW_SetPcieBusTimeoutState(MW_PCIE_TYPE_CARD, kCardSlot, i % 2), 0);
            }
        });
    }
    for (Process &process : processes) {
        const Outcome outcome = process.Wait();
        EXPECT_TRUE(outcome.Succeeded()) << outcome;
        EXPECT_EQ(outcome.err, "");
    }
}

}  // namespace
