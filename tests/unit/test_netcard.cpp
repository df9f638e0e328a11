// Network cards, their ports and the T200 sensor blocks.
#include <cmath>
#include <limits>

#include "accessor_test.h"

namespace {

constexpr ModuleFacts kNetCard{"netcard/hov_midnetcard", &g_ptNicCollectAddr, 346816, 121168, 12295};
constexpr size_t kAreaSize = 708704;

constexpr size_t Card(size_t index) { return 8 + 588 * index; }
constexpr size_t Port(size_t index) { return 37644 + 348 * index; }

// How many records fit between the start of their table and the end of the shared area.
constexpr uint32_t kCardsInReach = (kAreaSize - 346816 - 8) / 588;
constexpr uint32_t kPortsInReach = (kAreaSize - 346816 - 37644) / 348;

class NetCard : public AccessorTest {
 protected:
    NetCard() : AccessorTest(kNetCard, kLockError) {}

    void PutCards(uint32_t count) { Put<uint32_t>(4, count); }
    void PutPorts(uint32_t count) { Put<uint32_t>(37640, count); }

    void PutOcp(size_t index, uint8_t slot_type, uint8_t slot_id) {
        Put<uint8_t>(Card(index) + 1, slot_type);
        Put<uint8_t>(Card(index) + 2, slot_id);
    }
    void PutT200(size_t index, uint32_t flag, uint8_t slot_id, uint8_t status) {
        Put<uint8_t>(Card(index) + 2, slot_id);
        Put<uint32_t>(Card(index) + 456, flag);
        Put<uint8_t>(Card(index) + 460, status);
    }
    void PutPort(size_t index, uint8_t owner, uint8_t slot, uint8_t port, int32_t code, float temp) {
        Put<uint8_t>(Port(index) + 5, owner);
        Put<uint8_t>(Port(index) + 6, slot);
        Put<uint8_t>(Port(index) + 44, port);
        Put<int32_t>(Port(index) + 132, code);
        Put<float>(Port(index) + 204, temp);
    }

    const std::string lock_ = Lock(12295);
    const std::string unlock_ = Unlock(12295);
};

TEST_F(NetCard, EveryAccessorFollowsTheTemplate) {
    static NicCardBlock cards;
    static NicPortBlock ports;
    uint32_t count1 = 0, count2 = 0;
    uint8_t a = 0, b = 0, block[120];
    PutCards(1);
    PutT200(0, 1, 3, 2);
    PutPorts(2);
    PutPort(0, 2, 1, 1, 0, 40);
    PutPort(1, 1, 1, 1, 0, 40);
    const Accessor accessors[] = {
        {"MW_GetNICCardAssetInfo", [] { return MW_GetNICCardAssetInfo(&cards); },
         [] { return MW_GetNICCardAssetInfo(nullptr); }},
        {"MW_SetNICCardAssetInfo", [] { return MW_SetNICCardAssetInfo(&cards); },
         [] { return MW_SetNICCardAssetInfo(nullptr); }},
        {"MW_GetNICPortAssetInfo", [] { return MW_GetNICPortAssetInfo(&ports); },
         [] { return MW_GetNICPortAssetInfo(nullptr); }},
        {"MW_SetNICPortAssetInfo", [] { return MW_SetNICPortAssetInfo(&ports); },
         [] { return MW_SetNICPortAssetInfo(nullptr); }},
        {"MW_GetNICCount", [&] { return MW_GetNICCount(&count1, &count2); },
         [&] { return MW_GetNICCount(nullptr, &count2); }},
        {"MW_GetOcpPresentStatus", [&] { return MW_GetOcpPresentStatus(&a); },
         [] { return MW_GetOcpPresentStatus(nullptr); }},
        {"MW_GetT200ExistAndSlot", [&] { return MW_GetT200ExistAndSlot(&a, &b); },
         [&] { return MW_GetT200ExistAndSlot(nullptr, &b); }},
        {"MW_GetT200PostStatus", [&] { return MW_GetT200PostStatus(&a); },
         [] { return MW_GetT200PostStatus(nullptr); }},
        {"MW_GetT200SensorTempByIndex", [&] { return MW_GetT200SensorTempByIndex(0, &a); },
         [] { return MW_GetT200SensorTempByIndex(0, nullptr); }},
        {"MW_GetOCPSinglePortTemp", [&] { return MW_GetOCPSinglePortTemp(1, 1, &a); },
         [] { return MW_GetOCPSinglePortTemp(1, 1, nullptr); }},
        {"MW_GetNICSinglePortTemp", [&] { return MW_GetNICSinglePortTemp(1, 1, &a); },
         [] { return MW_GetNICSinglePortTemp(1, 1, nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);

    recorder::OpenArea();  // it looks at the count before it takes the semaphore
    CheckGuarded(
        {"MW_GetT200TempInfo", [&] { return MW_GetT200TempInfo(block); }, [] { return MW_GetT200TempInfo(nullptr); }});
}

TEST_F(NetCard, TheSecondPointerIsTestedToo) {
    Detach();
    uint32_t count = 5;
    uint8_t exist = 6;
    EXPECT_EQ(MW_GetNICCount(&count, nullptr), -1);
    EXPECT_EQ(MW_GetT200ExistAndSlot(&exist, nullptr), -1);
    EXPECT_EQ(count, 5u);
    EXPECT_EQ(exist, 6);
    ExpectNoCalls();
}

TEST_F(NetCard, BlocksAreCopiedWhole) {
    FillArea();
    const Image before = Image::Take();
    static NicCardBlock cards;
    static NicPortBlock ports;
    EXPECT_EQ(MW_GetNICCardAssetInfo(&cards), 0);
    ExpectCalls("MW_GetNICCardAssetInfo", {lock_, Copy(37636), unlock_});
    EXPECT_EQ(memcmp(&cards, recorder::Area() + At(4), 37636), 0);
    EXPECT_EQ(MW_GetNICPortAssetInfo(&ports), 0);
    ExpectCalls("MW_GetNICPortAssetInfo", {lock_, Copy(83528), unlock_});
    EXPECT_EQ(memcmp(&ports, recorder::Area() + At(37640), 83528), 0);
    ExpectImage(before);

    cards = PatternOf<NicCardBlock>(7);
    EXPECT_EQ(MW_SetNICCardAssetInfo(&cards), 0);
    ExpectCalls("MW_SetNICCardAssetInfo", {lock_, Copy(37636), unlock_});
    const Image with_cards = before.With(At(4), &cards, 37636);
    ExpectImage(with_cards);
    ports = PatternOf<NicPortBlock>(8);
    EXPECT_EQ(MW_SetNICPortAssetInfo(&ports), 0);
    ExpectCalls("MW_SetNICPortAssetInfo", {lock_, Copy(83528), unlock_});
    ExpectImage(with_cards.With(At(37640), &ports, 83528));
}

TEST_F(NetCard, BothCountsAreTheNumberOfCards) {
    FillArea();
    for (uint32_t stored : {0u, 1u, 64u, 65u, 0xFFFFFFFFu}) {
        PutCards(stored);
        uint32_t count1 = 77, count2 = 78;
        EXPECT_EQ(MW_GetNICCount(&count1, &count2), 0);
        ExpectCalls("MW_GetNICCount", {lock_, unlock_});
        EXPECT_EQ(count1, stored);
        EXPECT_EQ(count2, stored);
    }
}

// --- presence of OCP cards ---------------------------------------------------------------------------------------

TEST_F(NetCard, OcpMaskHasABitForEachSlotIdFrom1To8) {
    for (int id = 0; id < 256; ++id) {
        SCOPED_TRACE(id);
        PutCards(1);
        PutOcp(0, 2, static_cast<uint8_t>(id));
        uint8_t mask = 0xAA;
        EXPECT_EQ(MW_GetOcpPresentStatus(&mask), 0);
        EXPECT_EQ(mask, id >= 1 && id <= 8 ? 1 << (id - 1) : 0);
        recorder::ClearCalls();
    }
}

TEST_F(NetCard, OcpMaskCollectsTheValidOcpCards) {
    FillArea();
    const uint8_t cards[][2] = {{2, 1}, {1, 2}, {2, 3}, {2, 9}, {0, 4}, {3, 5}, {2, 0}, {2, 8}};
    for (size_t i = 0; i < 8; ++i) PutOcp(i, cards[i][0], cards[i][1]);
    const struct {
        uint32_t count;
        uint8_t mask;
    } cases[] = {{0, 0}, {1, 1}, {2, 1}, {3, 5}, {7, 5}, {8, 0x85}};
    for (const auto &c : cases) {
        PutCards(c.count);
        const Image before = Image::Take();
        uint8_t mask = 0xFF;
        EXPECT_EQ(MW_GetOcpPresentStatus(&mask), 0);
        ExpectCalls("MW_GetOcpPresentStatus", {lock_, unlock_});
        EXPECT_EQ(mask, c.mask) << c.count;
        ExpectImage(before);
    }
}

TEST_F(NetCard, OcpMaskIsClearedBeforeAnythingCanFail) {
    uint8_t mask = 0xFF;
    recorder::Now().lock_result[12295] = -1;
    EXPECT_EQ(MW_GetOcpPresentStatus(&mask), -1);
    EXPECT_EQ(mask, 0);
    mask = 0xFF;
    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(MW_GetOcpPresentStatus(&mask), -1);
    EXPECT_EQ(mask, 0);
}

TEST_F(NetCard, OcpMaskRunsOnBehindTheTableUpToTheEndOfTheSharedArea) {
    PutOcp(64, 2, 4);                 // in the port block
    PutOcp(kCardsInReach - 1, 2, 6);  // near the end of the shared area
    const struct {
        uint32_t count;
        uint8_t mask;
    } cases[] = {{64, 0}, {65, 8}, {kCardsInReach - 1, 8}, {kCardsInReach, 0x28}};
    uint8_t mask = 0;
    for (const auto &c : cases) {
        PutCards(c.count);
        EXPECT_EQ(MW_GetOcpPresentStatus(&mask), 0);
        EXPECT_EQ(mask, c.mask) << c.count;
    }
    recorder::ClearCalls();
    for (uint32_t count : {kCardsInReach + 1, 0xFFFFFFFFu}) {
        PutCards(count);
        EXPECT_EQ(MW_GetOcpPresentStatus(&mask), -1);
        ExpectCalls("MW_GetOcpPresentStatus", {lock_, Dbg(kRefusal), unlock_});
        EXPECT_EQ(mask, 0);
    }
}

// --- T200 --------------------------------------------------------------------------------------------------------

TEST_F(NetCard, T200ReadersUseTheFirstCardWhoseFlagIsExactly1) {
    FillArea();
    recorder::OpenArea();
    PutCards(5);
    PutT200(0, 0, 10, 20);
    PutT200(1, 2, 11, 21);
    PutT200(2, 0x101, 12, 22);
    PutT200(3, 1, 13, 1);
    PutT200(4, 1, 14, 24);
    const Image before = Image::Take();

    uint8_t exist = 9, slot = 9, status = 9, block[121] = {};
    block[120] = 99;
    EXPECT_EQ(MW_GetT200ExistAndSlot(&exist, &slot), 0);
    ExpectCalls("MW_GetT200ExistAndSlot", {lock_, unlock_});
    EXPECT_EQ(exist, 1);
    EXPECT_EQ(slot, 13);
    EXPECT_EQ(MW_GetT200PostStatus(&status), 0);
    ExpectCalls("MW_GetT200PostStatus", {lock_, unlock_});
    EXPECT_EQ(status, 1);
    EXPECT_EQ(MW_GetT200TempInfo(block), 0);
    ExpectCalls("MW_GetT200TempInfo", {lock_, Copy(120), unlock_});
    EXPECT_EQ(memcmp(block, recorder::Area() + At(Card(3) + 460), 120), 0);
    EXPECT_EQ(block[120], 99);
    ExpectImage(before);
}

TEST_F(NetCard, WithoutAT200CardItsReadersSucceedAndWriteNothing) {
    FillArea();
    recorder::OpenArea();
    for (uint32_t count : {0u, 2u}) {
        PutCards(count);
        PutT200(0, 0, 1, 2);
        PutT200(1, 2, 1, 2);
        PutT200(2, 1, 1, 2);  // behind the count
        uint8_t exist = 91, slot = 92, status = 93, block[120];
        memset(block, 94, sizeof block);
        EXPECT_EQ(MW_GetT200ExistAndSlot(&exist, &slot), 0);
        EXPECT_EQ(MW_GetT200PostStatus(&status), 0);
        EXPECT_EQ(MW_GetT200TempInfo(block), 0);
        ExpectCalls("", {lock_, unlock_, lock_, unlock_, lock_, unlock_});
        EXPECT_EQ(exist, 91);
        EXPECT_EQ(slot, 92);
        EXPECT_EQ(status, 93);
        for (uint8_t byte : block) EXPECT_EQ(byte, 94);
    }
}

TEST_F(NetCard, T200TempInfoIsRefusedSilentlyAndUnlockedAbove64Cards) {
    recorder::OpenArea();
    PutT200(0, 1, 1, 2);
    uint8_t block[120] = {};
    for (uint32_t count : {65u, 0x80000000u, 0xFFFFFFFFu}) {
        PutCards(count);
        EXPECT_EQ(MW_GetT200TempInfo(block), -1);
        ExpectNoCalls();
    }
    PutCards(64);
    EXPECT_EQ(MW_GetT200TempInfo(block), 0);
    ExpectCalls("MW_GetT200TempInfo", {lock_, Copy(120), unlock_});
}

TEST_F(NetCard, T200SearchesRunOnAndEndWithTheFirstHit) {
    uint8_t exist = 0, slot = 0, status = 0;
    PutT200(kCardsInReach - 1, 1, 6, 7);
    PutCards(kCardsInReach);
    EXPECT_EQ(MW_GetT200ExistAndSlot(&exist, &slot), 0);
    EXPECT_EQ(slot, 6);
    EXPECT_EQ(MW_GetT200SensorTempByIndex(0, &status), 0);
    PutCards(0xFFFFFFFF);
    EXPECT_EQ(MW_GetT200PostStatus(&status), 0) << "nothing behind the hit is looked at";
    EXPECT_EQ(status, 7);
    recorder::ClearCalls();

    PutT200(kCardsInReach - 1, 0, 6, 7);
    EXPECT_EQ(MW_GetT200ExistAndSlot(&exist, &slot), -1);
    ExpectCalls("MW_GetT200ExistAndSlot", {lock_, Dbg(kRefusal), unlock_});
    EXPECT_EQ(MW_GetT200PostStatus(&status), -1);
    ExpectCalls("MW_GetT200PostStatus", {lock_, Dbg(kRefusal), unlock_});
    EXPECT_EQ(MW_GetT200SensorTempByIndex(0, &status), -1);
    ExpectCalls("MW_GetT200SensorTempByIndex", {lock_, Dbg(kRefusal), unlock_});
}

TEST_F(NetCard, T200SensorsLieEightBytesApart) {
    FillArea();
    PutCards(1);
    PutT200(0, 1, 1, 2);
    for (uint32_t i = 0; i < 14; ++i) Put<uint8_t>(Card(0) + 460 + 12 + 8 * i, static_cast<uint8_t>(100 + i));
    const Image before = Image::Take();
    for (uint32_t i = 0; i < 14; ++i) {
        uint8_t temp = 0;
        EXPECT_EQ(MW_GetT200SensorTempByIndex(i, &temp), 0);
        ExpectCalls("MW_GetT200SensorTempByIndex", {lock_, unlock_});
        EXPECT_EQ(temp, 100 + i);
    }
    ExpectImage(before);
}

TEST_F(NetCard, T200SensorIndexesAbove13AreRefusedAfterAttachingAndBeforeLocking) {
    uint8_t temp = 5;
    EXPECT_EQ(MW_GetT200SensorTempByIndex(14, &temp), -1);
    ExpectCalls("MW_GetT200SensorTempByIndex", {Dbg("[{S}:{L}][{F}] T200 sensor index 14 is not supported.\n")});
    Detach();
    EXPECT_EQ(MW_GetT200SensorTempByIndex(0xFFFFFFFF, &temp), -1);
    ExpectCalls("MW_GetT200SensorTempByIndex",
                {AttachCall(), Dbg("[{S}:{L}][{F}] T200 sensor index -1 is not supported.\n")});
    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(MW_GetT200SensorTempByIndex(14, &temp), -1);
    ExpectCalls("MW_GetT200SensorTempByIndex", {AttachCall(), AttachFailurePrint()});
    EXPECT_EQ(temp, 5);
}

TEST_F(NetCard, T200SensorNeedsAPostStatusOf2To254) {
    PutCards(1);
    for (int status = 0; status < 256; ++status) {
        SCOPED_TRACE(status);
        PutT200(0, 1, 1, static_cast<uint8_t>(status));
        Put<uint8_t>(Card(0) + 460 + 12 + 8 * 3, 55);
        uint8_t temp = 200;
        const bool valid = status >= 2 && status <= 254;
        EXPECT_EQ(MW_GetT200SensorTempByIndex(3, &temp), valid ? 0 : -1);
        EXPECT_EQ(temp, valid ? 55 : 200);
        std::vector<std::string> calls = {lock_, unlock_};
        const std::string text = "{F} failed! tT200Info.ucPostStatus:" + std::to_string(status) + ",ucSensorIndex:3";
        if (!valid) calls.insert(calls.begin() + 1, "IDBG_LINUXAPP_DbgOut(134, \"" + text + "\")");
        ExpectCalls("MW_GetT200SensorTempByIndex", calls);
    }
}

TEST_F(NetCard, T200SensorGoesOnToTheNextValidBlock) {
    PutCards(5);
    PutT200(0, 1, 1, 1);
    PutT200(1, 0, 1, 9);  // no block
    PutT200(2, 1, 1, 255);
    PutT200(3, 1, 1, 2);
    PutT200(4, 1, 1, 2);
    for (uint8_t i = 0; i < 5; ++i) Put<uint8_t>(Card(i) + 460 + 12 + 8 * 13, static_cast<uint8_t>(60 + i));
    uint8_t temp = 0;
    EXPECT_EQ(MW_GetT200SensorTempByIndex(13, &temp), 0);
    EXPECT_EQ(temp, 63);
    const std::string first = Dbg("{F} failed! tT200Info.ucPostStatus:1,ucSensorIndex:13", 134);
    const std::string second = Dbg("{F} failed! tT200Info.ucPostStatus:255,ucSensorIndex:13", 134);
    ExpectCalls("MW_GetT200SensorTempByIndex", {lock_, first, second, unlock_});
    PutCards(3);
    EXPECT_EQ(MW_GetT200SensorTempByIndex(13, &temp), -1);
    ExpectCalls("MW_GetT200SensorTempByIndex", {lock_, first, second, unlock_});
    PutCards(0);
    EXPECT_EQ(MW_GetT200SensorTempByIndex(13, &temp), -1);
    ExpectCalls("MW_GetT200SensorTempByIndex", {lock_, unlock_});
    EXPECT_EQ(temp, 63);
}

// --- port temperatures -------------------------------------------------------------------------------------------

std::string Trace(size_t index, int owner, int code, int slot, int port) {
    return Runtime("[{S}:{L}]dwSFPIndex:" + std::to_string(index) +
                   ",ucNetPortOwnerNicSlottype:" + std::to_string(owner) + ",iCompleteCode:" + std::to_string(code) +
                   ",ucNetPortOwnerNicSlotnum:" + std::to_string(slot) + ",ucNetPortId:" + std::to_string(port));
}

std::string NoPort(int slot, int port) {
    return Dbg("[{S}:{L}]MW_GetOCPPortTempByIndex failed! ucOCPSlotId:" + std::to_string(slot) +
               ",ucSFPId:" + std::to_string(port));
}

const struct PortReader {
    const char *name;
    int32_t (*read)(uint8_t, uint8_t, uint8_t *);
    uint8_t owner;
} kPortReaders[] = {{"MW_GetOCPSinglePortTemp", MW_GetOCPSinglePortTemp, 2},
                    {"MW_GetNICSinglePortTemp", MW_GetNICSinglePortTemp, 1}};

TEST_F(NetCard, PortTemperatureIsThatOfTheFirstPortThatMatchesInAllFour) {
    for (const PortReader &reader : kPortReaders) {
        SCOPED_TRACE(reader.name);
        const int other = 3 - reader.owner;
        FillArea();
        PutPorts(8);
        PutPort(0, static_cast<uint8_t>(other), 4, 6, 0, 10);  // owner type
        PutPort(1, 0, 4, 6, 0, 11);
        PutPort(2, reader.owner, 4, 6, 1, 12);  // readings not valid
        PutPort(3, reader.owner, 4, 6, -7, 13);
        PutPort(4, reader.owner, 5, 6, 0, 14);  // slot
        PutPort(5, reader.owner, 4, 7, 0, 15);  // port
        PutPort(6, reader.owner, 4, 6, 0, 45.9f);
        PutPort(7, reader.owner, 4, 6, 0, 17);
        const Image before = Image::Take();
        uint8_t temp = 0;
        EXPECT_EQ(reader.read(4, 6, &temp), 0);
        EXPECT_EQ(temp, 45);
        const int o = reader.owner;
        ExpectCalls(reader.name, {lock_, Trace(0, other, 0, 4, 6), Trace(1, 0, 0, 4, 6), Trace(2, o, 1, 4, 6),
                                  Trace(3, o, -7, 4, 6), Trace(4, o, 0, 5, 6), Trace(5, o, 0, 4, 7),
                                  Trace(6, o, 0, 4, 6), unlock_});
        ExpectImage(before);
    }
}

TEST_F(NetCard, PortTemperatureWithoutAMatchIsLoggedUnderTheOcpName) {
    for (const PortReader &reader : kPortReaders) {
        PutPorts(1);
        PutPort(0, reader.owner, 4, 6, 0, 30);
        PutPort(1, reader.owner, 254, 255, 0, 30);  // behind the count
        uint8_t temp = 9;
        EXPECT_EQ(reader.read(254, 255, &temp), -1);
        ExpectCalls(reader.name, {lock_, Trace(0, reader.owner, 0, 4, 6), NoPort(254, 255), unlock_});
        PutPorts(0);
        EXPECT_EQ(reader.read(4, 6, &temp), -1);
        ExpectCalls(reader.name, {lock_, NoPort(4, 6), unlock_});
        EXPECT_EQ(temp, 9);
    }
}

TEST_F(NetCard, PortTemperatureIsCutToWholeDegreesInEightBits) {
    constexpr float kInfinity = std::numeric_limits<float>::infinity();
    const struct {
        float stored;
        uint8_t read;
    } cases[] = {
        {0, 0},
        {0.99f, 0},
        {1, 1},
        {45.9f, 45},
        {255, 255},
        {255.9f, 255},
        {256, 0},
        {300.7f, 44},
        {65537, 1},
        {-0.5f, 0},
        {-1, 0},
        {-300, 0},
        {-1e30f, 0},
        {-0.0f, 0},
        {NAN, 0},
        {-NAN, 0},
        {-kInfinity, 0},
        {4294967040.f, 0},
        {4294967296.f, 255},
        {1e30f, 255},
        {kInfinity, 255},
    };
    PutPorts(1);
    for (const auto &c : cases) {
        PutPort(0, 2, 1, 1, 0, c.stored);
        uint8_t temp = 123;
        EXPECT_EQ(MW_GetOCPSinglePortTemp(1, 1, &temp), 0);
        EXPECT_EQ(temp, c.read) << c.stored;
    }
}

TEST_F(NetCard, PortSearchesRunOnAndEndWithTheFirstHit) {
    uint8_t temp = 0;
    PutPorts(0xFFFFFFFF);
    PutPort(kPortsInReach - 1, 1, 200, 201, 0, 33);
    EXPECT_EQ(MW_GetNICSinglePortTemp(200, 201, &temp), 0);
    EXPECT_EQ(temp, 33);
    EXPECT_EQ(recorder::Calls().size(), kPortsInReach + 2);
    recorder::ClearCalls();

    EXPECT_EQ(MW_GetNICSinglePortTemp(200, 202, &temp), -1);
    const std::vector<std::string> calls = recorder::Calls();
    ASSERT_EQ(calls.size(), kPortsInReach + 3);
    EXPECT_NE(calls[kPortsInReach + 1].find("access outside the shared area refused"), std::string::npos);
    EXPECT_EQ(calls.back(), unlock_);
}

}  // namespace
