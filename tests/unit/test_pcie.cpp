// The PCIe device table, the setters of the card types, the riser-card block and the bus alarm states.
#include <sys/mman.h>
#include <unistd.h>

#include <climits>
#include <functional>

#include "pcie_test.h"

namespace {

using Pcie = PcieTest;

PcieNicCardInfo nic;
PcieFcCardInfo fc;
PcieGpuCardInfo gpu;
PcieNvmeCardInfo nvme;
PcieRaidCardInfo raid;

using AlarmSetter = int32_t (*)(uint8_t, uint8_t, uint8_t);

// In the order of the kinds.
const struct {
    const char *name;
    AlarmSetter set;
} kAlarmSetters[] = {
    {"MW_SetPcieDignosticInterruptState", MW_SetPcieDignosticInterruptState},
    {"MW_SetPcieBusTimeoutState", MW_SetPcieBusTimeoutState},
    {"MW_SetPcieIOChannelCheckNMIState", MW_SetPcieIOChannelCheckNMIState},
    {"MW_SetPcieSoftwareNMIState", MW_SetPcieSoftwareNMIState},
    {"MW_SetPciePCIPERRState", MW_SetPciePCIPERRState},
    {"MW_SetPciePCISERRState", MW_SetPciePCISERRState},
    {"MW_SetPcieEISAFailSafeTimeoutState", MW_SetPcieEISAFailSafeTimeoutState},
    {"MW_SetPcieEBusCorrectableErrorState", MW_SetPcieEBusCorrectableErrorState},
    {"MW_SetPcieBusUncorrectableErrorState", MW_SetPcieBusUncorrectableErrorState},
    {"MW_SetPcieFatalNMIState", MW_SetPcieFatalNMIState},
    {"MW_SetPcieBusFatalErrorState", MW_SetPcieBusFatalErrorState},
    {"MW_SetPcieBusDegradedState", MW_SetPcieBusDegradedState},
};

TEST_F(Pcie, EveryAccessorFollowsTheTemplate) {
    static PcieAssetInfo records[64];
    static uint8_t riser[6916];
    uint32_t count = 0;
    const char *attach_log = "[{S}:{L}]{F} {L}: fail to get g_ptPcieCollectAddr.";
    const Accessor accessors[] = {
        {"MW_GetPcieCount", [&] { return MW_GetPcieCount(&count); }, [] { return MW_GetPcieCount(nullptr); }},
        {"MW_GetPcieAssetInfo", [&] { return MW_GetPcieAssetInfo(records, &count); },
         [&] { return MW_GetPcieAssetInfo(nullptr, &count); }},
        {"MW_SetPcieAssetInfo", [] { return MW_SetPcieAssetInfo(records, 2); },
         [] { return MW_SetPcieAssetInfo(nullptr, 0); }},
        {"MW_GetRisercardAssetInfo", [] { return MW_GetRisercardAssetInfo(riser); },
         [] { return MW_GetRisercardAssetInfo(nullptr); }, kLockAfter, attach_log},
        {"MW_SetRisercardAssetInfo", [] { return MW_SetRisercardAssetInfo(riser); },
         [] { return MW_SetRisercardAssetInfo(nullptr); }, kLockLine, attach_log},
        {"MW_SetPcieNicInfo", [] { return MW_SetPcieNicInfo(&nic); }, [] { return MW_SetPcieNicInfo(nullptr); }},
        {"MW_SetPcieFcInfo", [] { return MW_SetPcieFcInfo(&fc); }, [] { return MW_SetPcieFcInfo(nullptr); }},
        {"MW_SetPcieGpuInfo", [] { return MW_SetPcieGpuInfo(&gpu); }, [] { return MW_SetPcieGpuInfo(nullptr); }},
        {"MW_SetPcieNvmeInfo", [] { return MW_SetPcieNvmeInfo(&nvme); }, [] { return MW_SetPcieNvmeInfo(nullptr); }},
        {"MW_SetPcieRaidInfo", [] { return MW_SetPcieRaidInfo(&raid); }, [] { return MW_SetPcieRaidInfo(nullptr); }},
        {"MW_ClearAllPcieAlarmInfoAllStates", [] { return MW_ClearAllPcieAlarmInfoAllStates(); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
    for (const auto &setter : kAlarmSetters) CheckGuarded({setter.name, [&] { return setter.set(2, 3, 1); }});
}

// --- the table ---------------------------------------------------------------------------------------------------

TEST_F(Pcie, CountIsHandedOutAsStored) {
    FillArea();
    for (uint32_t stored : {0u, 64u, 65u, 0xFFFFFFFFu}) {
        PutCount(stored);
        uint32_t count = 7;
        EXPECT_EQ(MW_GetPcieCount(&count), 0);
        ExpectCalls("MW_GetPcieCount", {lock_, unlock_});
        EXPECT_EQ(count, stored);
    }
}

std::vector<std::string> Copies(size_t count, const std::string &lock, const std::string &unlock) {
    std::vector<std::string> calls(count, Copy(856));
    calls.insert(calls.begin(), lock);
    calls.push_back(unlock);
    return calls;
}

TEST_F(Pcie, TableIsReadAsFarAsItsCountSays) {
    FillArea();
    // From 65 on what lies behind the table is handed out, up to the end of the shared area.
    for (uint32_t stored : {0u, 1u, 63u, 64u, 65u, kRecordsInReach}) {
        SCOPED_TRACE(stored);
        PutCount(stored);
        const Image before = Image::Take();
        std::vector<PcieAssetInfo> out(stored + 1);
        uint32_t count = 7;
        EXPECT_EQ(MW_GetPcieAssetInfo(out.data(), &count), 0);
        ExpectCalls("MW_GetPcieAssetInfo", Copies(stored, lock_, unlock_));
        EXPECT_EQ(count, stored);
        EXPECT_EQ(memcmp(out.data(), recorder::Area() + At(8), 856 * stored), 0);
        const PcieAssetInfo none{};
        EXPECT_EQ(memcmp(&out[stored], &none, sizeof none), 0);
        ExpectImage(before);
    }
}

TEST_F(Pcie, ThePointerToTheTablesCountIsNotTested) {
    PcieAssetInfo out{};
    recorder::Now().lock_result[12298] = -1;
    EXPECT_EQ(MW_GetPcieAssetInfo(&out, nullptr), -1);
    ExpectCalls("MW_GetPcieAssetInfo", {lock_, Dbg(kLockError)});
}

TEST_F(Pcie, TableIsNotReadBeyondTheSharedArea) {
    for (uint32_t stored : {kRecordsInReach + 1, 0xFFFFFFFFu}) {
        PutCount(stored);
        PcieAssetInfo out{};
        uint32_t count = 7;
        EXPECT_EQ(MW_GetPcieAssetInfo(&out, &count), -1);
        ExpectCalls("MW_GetPcieAssetInfo", {lock_, Dbg(kRefusal), unlock_});
        EXPECT_EQ(count, 7u);
    }
}

TEST_F(Pcie, TableIsWrittenAsFarAsTheCountSays) {
    std::vector<PcieAssetInfo> in(kRecordsInReach);
    const std::vector<uint8_t> bytes = Pattern(856 * in.size(), 9);
    memcpy(static_cast<void *>(in.data()), bytes.data(), bytes.size());
    // 65 records run into the alarm summary and the riser-card block.
    for (uint32_t count : {0u, 1u, 64u, 65u, kRecordsInReach}) {
        SCOPED_TRACE(count);
        FillArea();
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetPcieAssetInfo(in.data(), count), 0);
        ExpectCalls("MW_SetPcieAssetInfo", Copies(count, lock_, unlock_));
        ExpectImage(before.With<uint32_t>(At(4), count).With(At(8), in.data(), 856 * count));
    }
}

TEST_F(Pcie, TableIsNotWrittenBeyondTheSharedArea) {
    FillArea();
    const Image before = Image::Take();
    std::vector<PcieAssetInfo> in(kRecordsInReach + 1);
    for (uint32_t count : {kRecordsInReach + 1, 0xFFFFFFFFu}) {
        EXPECT_EQ(MW_SetPcieAssetInfo(in.data(), count), -1);
        ExpectCalls("MW_SetPcieAssetInfo", {lock_, Dbg(kRefusal), unlock_});
        ExpectImage(before);
    }
}

TEST_F(Pcie, RiserCardBlockIsCarriedWhole) {
    FillArea();
    const Image before = Image::Take();
    std::vector<uint8_t> block(6917, 99);
    EXPECT_EQ(MW_GetRisercardAssetInfo(block.data()), 0);
    ExpectCalls("MW_GetRisercardAssetInfo", {lock_, HovCopy(6916), unlock_});
    EXPECT_EQ(memcmp(block.data(), recorder::Area() + At(54808), 6916), 0);
    EXPECT_EQ(block[6916], 99);
    ExpectImage(before);

    const std::vector<uint8_t> other = Pattern(6916, 5);
    EXPECT_EQ(MW_SetRisercardAssetInfo(other.data()), 0);
    ExpectCalls("MW_SetRisercardAssetInfo", {lock_, "hov_memset_s(6916, 0, 6916)", HovCopy(6916), unlock_});
    ExpectImage(before.With(At(54808), other.data(), 6916));
}

// --- setters of the card types -----------------------------------------------------------------------------------

Image WithText(const Image &image, size_t offset, const std::string &text) {
    return image.With(offset, text.c_str(), text.size() + 1);
}

// What the common texts of a card become in the record at this offset of the area.
Image WithCardTexts(Image image, size_t record, const uint8_t *block, uint32_t slot, bool serial) {
    const struct {
        size_t field, capacity, from, size;
    } texts[] = {{240, 32, 0, 32},   {272, 32, 32, 32},  {304, 32, 64, 32},  {368, 32, 128, 32},
                 {400, 64, 160, 64}, {464, 32, 224, 32}, {496, 32, 256, 32}, {560, 32, 320, 32}};
    for (const auto &text : texts) {
        if (text.field == 240 && !serial) continue;
        image = WithText(image, record + text.field, Text(block + text.from, text.size, text.capacity));
    }
    return WithText(image, record + 176, Text(block + 320, 32, 64) + std::to_string(slot));
}

uint32_t Word(const uint8_t *in, size_t offset) {
    uint32_t value;
    memcpy(&value, in + offset, sizeof value);
    return value;
}

uint32_t NotNegative(uint32_t value) { return value > INT_MAX ? 0 : value; }

Image NicExpected(Image image, size_t record, const uint8_t *in) {
    image = image.With<uint8_t>(record + 600, in[2]).With<uint8_t>(record + 56, in[1] != 0);
    return WithCardTexts(image, record, in + 3, in[0], false);
}

Image FcExpected(Image image, size_t record, const uint8_t *in) {
    return WithCardTexts(image, record, in + 1, in[0], true);
}

Image GpuExpected(Image image, size_t record, const uint8_t *in) {
    const uint32_t value3 = NotNegative(Word(in, 12)), mem = NotNegative(Word(in, 16)),
                   value5 = NotNegative(Word(in, 20));
    image = image.With(record + 732, Word(in, 4)).With(record + 736, Word(in, 8)).With(record + 740, value3);
    image = image.With(record + 744, mem).With(record + 812, value5).With(record + 816, Word(in, 28));
    image = image.With(record + 60, mem * 1024).With(record + 64, value5).With(record + 68, value3);
    image = WithText(image, record + 748, Text(in + 32, 32, 32));
    image = WithText(image, record + 780, Text(in + 64, 32, 32));
    image = image.With<uint8_t>(record + 56, in[24] != 0);
    return WithCardTexts(image, record, in + 96, Word(in, 0), true);
}

Image NvmeExpected(Image image, size_t record, const uint8_t *in) {
    image = image.With(record + 824, Word(in, 12)).With(record + 832, Word(in, 16)).With(record + 836, Word(in, 20));
    image = image.With<uint8_t>(record + 56, in[24]);
    return WithCardTexts(image, record, in + 25, Word(in, 0), true);
}

Image RaidExpected(Image image, size_t record, const uint8_t *in) {
    return WithCardTexts(image.With(record + 60, Word(in, 4)), record, in + 8, Word(in, 0), true);
}

struct CardSetter {
    const char *name;
    std::function<int32_t(const void *)> set;
    Image (*expected)(Image, size_t record, const uint8_t *in);
    size_t size;
    size_t text;  // offset of the text block
    int type;     // what a record must hold besides the slot; -1 any
    int class_code;
    bool wide_slot;  // 32 bits
};

template <class Card>
std::function<int32_t(const void *)> Calling(int32_t (*set)(const Card *)) {
    return [set](const void *in) { return set(static_cast<const Card *>(in)); };
}

const CardSetter kCardSetters[] = {
    {"MW_SetPcieNicInfo", Calling(MW_SetPcieNicInfo), NicExpected, 355, 3, -1, -1, false},
    {"MW_SetPcieFcInfo", Calling(MW_SetPcieFcInfo), FcExpected, 353, 1, -1, -1, false},
    {"MW_SetPcieGpuInfo", Calling(MW_SetPcieGpuInfo), GpuExpected, 448, 96, -1, -1, true},
    {"MW_SetPcieNvmeInfo", Calling(MW_SetPcieNvmeInfo), NvmeExpected, 377, 25, 255, -1, true},
    {"MW_SetPcieRaidInfo", Calling(MW_SetPcieRaidInfo), RaidExpected, 360, 8, -1, 1, true},
};

// A caller's record that ends where nothing can be read any more.
class FencedInput {
  public:
    explicit FencedInput(size_t size) : page_(static_cast<size_t>(sysconf(_SC_PAGESIZE))) {
        map_ = static_cast<uint8_t *>(
            mmap(nullptr, 2 * page_, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0));
        mprotect(map_ + page_, page_, PROT_NONE);
        bytes_ = map_ + page_ - size;
    }
    ~FencedInput() { munmap(map_, 2 * page_); }
    FencedInput(const FencedInput &) = delete;
    FencedInput &operator=(const FencedInput &) = delete;
    uint8_t *bytes() const { return bytes_; }

  private:
    size_t page_;
    uint8_t *map_;
    uint8_t *bytes_;
};

// Fills a caller's record: numbers of a pattern, texts without any terminator, the slot, and an NVMe device's kind.
void FillInput(const CardSetter &setter, uint8_t *in, uint32_t slot) {
    const std::vector<uint8_t> bytes = Pattern(setter.size, 21);
    memcpy(in, bytes.data(), bytes.size());
    memcpy(in, &slot, setter.wide_slot ? 4 : 1);
    if (setter.type == 255) in[4] = 2;
}

void PutInputText(uint8_t *array, size_t size, const std::string &text) {
    memset(array, 0xEE, size);
    memcpy(array, text.c_str(), std::min(size, text.size() + 1));
}

TEST_F(Pcie, CardSettersStoreTheirFieldsAndNothingElse) {
    for (const CardSetter &setter : kCardSetters) {
        SCOPED_TRACE(setter.name);
        FillArea();
        PutCount(3);
        PutKeys(0, 4, 255, 1);
        PutKeys(1, 5, 255, 1);
        PutKeys(2, 6, 255, 1);
        std::vector<uint8_t> in(setter.size + 8);
        FillInput(setter, in.data(), 5);
        const struct {
            size_t offset, size;
            const char *text;
        } texts[] = {{0, 32, "SN-1"}, {32, 32, "B"},    {64, 32, "text C"}, {96, 32, "no"},   {128, 32, ""},
                     {160, 64, "E"},  {224, 32, "f.f"}, {256, 32, "G g"},   {288, 32, "not"}, {320, 32, "NIC"}};
        for (const auto &text : texts) PutInputText(&in[setter.text + text.offset], text.size, text.text);
        const Image before = Image::Take();
        EXPECT_EQ(setter.set(in.data()), 0);
        ExpectCalls(setter.name, {lock_, unlock_});
        ExpectImage(setter.expected(before, At(Record(1)), in.data()));
        EXPECT_STREQ(reinterpret_cast<const char *>(recorder::Area() + At(Record(1)) + 176), "NIC5");
    }
}

TEST_F(Pcie, CardSettersUseNoByteBehindAnUnterminatedText) {
    for (const CardSetter &setter : kCardSetters) {
        SCOPED_TRACE(setter.name);
        FillArea();
        PutCount(1);
        PutKeys(0, 100, 255, 1);
        const FencedInput in(setter.size);
        FillInput(setter, in.bytes(), 100);
        const Image before = Image::Take();
        EXPECT_EQ(setter.set(in.bytes()), 0);
        ExpectImage(setter.expected(before, At(Record(0)), in.bytes()));
        EXPECT_EQ(strlen(reinterpret_cast<const char *>(recorder::Area() + At(Record(0)) + 176)), 35u);
        EXPECT_EQ(strlen(reinterpret_cast<const char *>(recorder::Area() + At(Record(0)) + 304)), 31u);
    }
}

TEST_F(Pcie, ATypeNameOf31CharactersAndSlot100MakeADeviceNameOf34) {
    for (const CardSetter &setter : kCardSetters) {
        PutCount(1);
        PutKeys(0, 100, 255, 1);
        std::vector<uint8_t> in(setter.size + 8);
        FillInput(setter, in.data(), 100);
        PutInputText(&in[setter.text + 320], 32, std::string(31, 'n'));
        EXPECT_EQ(setter.set(in.data()), 0);
        EXPECT_EQ(std::string(reinterpret_cast<const char *>(recorder::Area() + At(Record(0)) + 176)),
                  std::string(31, 'n') + "100");
    }
}

TEST_F(Pcie, CardSettersMatchBySlotAndWhereTheySayByTypeOrClass) {
    const struct {
        uint8_t slot, type, class_code;
    } records[] = {{7, 255, 1}, {7, 255, 2}, {7, 2, 1}, {7, 2, 12}, {8, 255, 1}, {0, 255, 1}, {7, 255, 1}};
    for (const CardSetter &setter : kCardSetters) {
        SCOPED_TRACE(setter.name);
        FillArea();
        PutCount(6);  // the last record lies behind the count
        for (size_t i = 0; i < 7; ++i) PutKeys(i, records[i].slot, records[i].type, records[i].class_code);
        std::vector<uint8_t> in(setter.size + 8);
        FillInput(setter, in.data(), 7);
        Image expected = Image::Take();
        int matches = 0;
        for (size_t i = 0; i < 6; ++i) {
            if (records[i].slot != 7 || (setter.type >= 0 && records[i].type != setter.type) ||
                (setter.class_code >= 0 && records[i].class_code != setter.class_code)) {
                continue;
            }
            expected = setter.expected(expected, At(Record(i)), in.data());
            ++matches;
        }
        EXPECT_EQ(matches, setter.type < 0 && setter.class_code < 0 ? 4 : 2);
        EXPECT_EQ(setter.set(in.data()), 0);
        ExpectImage(expected);
        ExpectCalls(setter.name, {lock_, unlock_});
    }
}

TEST_F(Pcie, CardSettersSucceedWithoutAMatch) {
    for (const CardSetter &setter : kCardSetters) {
        SCOPED_TRACE(setter.name);
        std::vector<uint8_t> in(setter.size + 8);
        for (uint32_t count : {0u, 1u}) {
            FillArea();
            PutCount(count);
            PutKeys(0, 5, 255, 1);
            const Image before = Image::Take();
            FillInput(setter, in.data(), count == 0 ? 5 : 6);
            EXPECT_EQ(setter.set(in.data()), 0);
            if (setter.wide_slot) {
                for (uint32_t slot : {256u + 5, 0x05000000u, 0xFFFFFF05u}) {
                    FillInput(setter, in.data(), slot);
                    EXPECT_EQ(setter.set(in.data()), 0);
                }
            }
            ExpectImage(before);
        }
    }
}

TEST_F(Pcie, CardSettersRunOnBehindTheTableUpToTheEndOfTheSharedArea) {
    for (const CardSetter &setter : kCardSetters) {
        SCOPED_TRACE(setter.name);
        std::vector<uint8_t> in(setter.size + 8);
        FillInput(setter, in.data(), 200);
        for (uint32_t count : {65u, kRecordsInReach}) {
            FillArea();
            PutCount(count);
            for (size_t i = 0; i < kRecordsInReach; ++i) PutKeys(i, static_cast<uint8_t>(i), 255, 1);
            PutKeys(count - 1, 200, 255, 1);
            const Image before = Image::Take();
            EXPECT_EQ(setter.set(in.data()), 0);
            ExpectImage(setter.expected(before, At(Record(count - 1)), in.data()));
        }
        recorder::ClearCalls();
        PutCount(kRecordsInReach + 1);
        const Image before = Image::Take();
        EXPECT_EQ(setter.set(in.data()), -1);
        ExpectCalls(setter.name, {lock_, Dbg(kRefusal), unlock_});
        ExpectImage(before);
    }
}

TEST_F(Pcie, CardFlagIsReducedForNicAndGpuAndKeptForNvme) {
    PutCount(1);
    PutKeys(0, 3, 255, 1);
    nic = {};
    gpu = {};
    nvme = {};
    nic.ucSlot = 3;
    gpu.dwSlot = nvme.dwSlot = 3;
    nvme.ucDevKind = 2;
    for (int flag : {0, 1, 2, 128, 255}) {
        nic.ucCardFlag = gpu.ucCardFlag = nvme.ucCardFlag = static_cast<uint8_t>(flag);
        EXPECT_EQ(MW_SetPcieNicInfo(&nic), 0);
        EXPECT_EQ(Get<uint8_t>(Record(0) + 56), flag != 0);
        EXPECT_EQ(MW_SetPcieNvmeInfo(&nvme), 0);
        EXPECT_EQ(Get<uint8_t>(Record(0) + 56), flag);
        EXPECT_EQ(MW_SetPcieGpuInfo(&gpu), 0);
        EXPECT_EQ(Get<uint8_t>(Record(0) + 56), flag != 0);
    }
}

TEST_F(Pcie, OnlyTheNicSetterLeavesTheSerialNumber) {
    for (const CardSetter &setter : kCardSetters) {
        PutCount(1);
        PutKeys(0, 3, 255, 1);
        PutBytes(Record(0) + 240, "FROM-BIOS", 10);
        std::vector<uint8_t> in(setter.size + 8);
        FillInput(setter, in.data(), 3);
        PutInputText(&in[setter.text], 32, "FROM-CARD");
        EXPECT_EQ(setter.set(in.data()), 0);
        EXPECT_STREQ(reinterpret_cast<const char *>(recorder::Area() + At(Record(0)) + 240),
                     setter.expected == NicExpected ? "FROM-BIOS" : "FROM-CARD");
    }
}

TEST_F(Pcie, NvmeSetterStoresNothingUnlessTheKindIs2) {
    FillArea();
    PutCount(1);
    PutKeys(0, 3, 255, 8);
    const Image before = Image::Take();
    for (int kind = 0; kind < 256; ++kind) {
        if (kind == 2) continue;
        FillInput(kCardSetters[3], reinterpret_cast<uint8_t *>(&nvme), 3);
        nvme.ucDevKind = static_cast<uint8_t>(kind);
        EXPECT_EQ(MW_SetPcieNvmeInfo(&nvme), 0);
        ExpectCalls("MW_SetPcieNvmeInfo", {lock_, unlock_});
    }
    ExpectImage(before);
    nvme.ucDevKind = 2;
    EXPECT_EQ(MW_SetPcieNvmeInfo(&nvme), 0);
    ExpectImage(NvmeExpected(before, At(Record(0)), reinterpret_cast<const uint8_t *>(&nvme)));
}

TEST_F(Pcie, GpuNumbersAreClampedAndTheMemorySizeShiftedIn32Bits) {
    PutCount(1);
    PutKeys(0, 3, 2, 3);
    gpu = {};
    gpu.dwSlot = 3;
    const struct {
        int32_t value;
        uint32_t stored, shifted;
    } cases[] = {{0, 0, 0},
                 {1, 1, 1024},
                 {-1, 0, 0},
                 {INT_MIN, 0, 0},
                 {0x3FFFFF, 0x3FFFFF, 0xFFFFFC00},
                 {0x400001, 0x400001, 1024},
                 {INT_MAX, INT_MAX, 0xFFFFFC00}};
    for (const auto &c : cases) {
        SCOPED_TRACE(c.value);
        gpu.iMemSize = c.value;
        gpu.iValue3 = gpu.iValue5 = 5;
        EXPECT_EQ(MW_SetPcieGpuInfo(&gpu), 0);
        EXPECT_EQ(Get<uint32_t>(Record(0) + 744), c.stored);
        EXPECT_EQ(Get<uint32_t>(Record(0) + 60), c.shifted);
        gpu.iValue3 = c.value;
        EXPECT_EQ(MW_SetPcieGpuInfo(&gpu), 0);
        EXPECT_EQ(Get<uint32_t>(Record(0) + 740), c.stored);
        EXPECT_EQ(Get<uint32_t>(Record(0) + 68), c.stored);
        gpu.iValue5 = c.value;
        EXPECT_EQ(MW_SetPcieGpuInfo(&gpu), 0);
        EXPECT_EQ(Get<uint32_t>(Record(0) + 812), c.stored);
        EXPECT_EQ(Get<uint32_t>(Record(0) + 64), c.stored);
    }
}

// --- bus alarm states --------------------------------------------------------------------------------------------

TEST_F(Pcie, AlarmStatesGoToEveryRecordOfTheDeviceAndToTheSummary) {
    for (size_t kind = 0; kind < 12; ++kind) {
        SCOPED_TRACE(kAlarmSetters[kind].name);
        FillArea();
        PutCount(5);
        PutKeys(0, 3, 2, 1);
        PutKeys(1, 3, 12, 1);  // other type
        PutKeys(2, 4, 2, 1);   // other slot
        PutKeys(3, 3, 2, 2);
        PutKeys(4, 0, 0, 0);
        PutKeys(5, 3, 2, 1);  // behind the count
        const Image before = Image::Take();
        EXPECT_EQ(kAlarmSetters[kind].set(2, 3, 1), 0);
        ExpectCalls(kAlarmSetters[kind].name, {lock_, unlock_});
        ExpectImage(before.With<uint8_t>(At(Record(0)) + 840 + kind, 1)
                        .With<uint8_t>(At(Record(3)) + 840 + kind, 1)
                        .With<uint8_t>(At(54792) + kind, 1));
    }
}

TEST_F(Pcie, AlarmSummaryFallsWithTheLastDeviceThatAsserts) {
    for (size_t kind = 0; kind < 12; ++kind) {
        SCOPED_TRACE(kAlarmSetters[kind].name);
        const AlarmSetter set = kAlarmSetters[kind].set;
        recorder::Reset();
        PutCount(3);
        PutKeys(0, 3, 2, 1);
        PutKeys(1, 4, 2, 1);
        PutKeys(2, 3, 38, 1);
        const size_t summary = 54792 + kind;
        EXPECT_EQ(set(2, 3, 1), 0);
        EXPECT_EQ(set(38, 3, 1), 0);
        EXPECT_EQ(Get<uint8_t>(summary), 1);
        EXPECT_EQ(set(2, 3, 0), 0);
        EXPECT_EQ(Get<uint8_t>(summary), 1) << "the last record asserts";
        EXPECT_EQ(set(2, 3, 1), 0);
        EXPECT_EQ(set(38, 3, 0), 0);
        EXPECT_EQ(Get<uint8_t>(summary), 1) << "the first record asserts";
        EXPECT_EQ(set(2, 3, 0), 0);
        EXPECT_EQ(Get<uint8_t>(summary), 0);
    }
}

TEST_F(Pcie, AStateOtherThan1IsStoredAndCountsAsNotAsserted) {
    FillArea();
    PutCount(1);
    PutKeys(0, 3, 2, 1);
    for (uint8_t state : {uint8_t{2}, uint8_t{255}}) {
        Put<uint8_t>(54792 + 4, 1);
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetPciePCIPERRState(2, 3, state), 0);
        ExpectImage(before.With<uint8_t>(At(Record(0)) + 840 + 4, state).With<uint8_t>(At(54792) + 4, 0));
    }
}

TEST_F(Pcie, AlarmSummaryLeftStandingKeepsItsValue) {
    PutCount(2);
    PutKeys(0, 3, 2, 1);
    PutKeys(1, 4, 2, 1);
    Put<uint8_t>(Record(1) + 840 + 9, 1);
    Put<uint8_t>(54792 + 9, 77);  // as somebody else left it
    EXPECT_EQ(MW_SetPcieFatalNMIState(2, 3, 0), 0);
    EXPECT_EQ(Get<uint8_t>(54792 + 9), 77);
}

TEST_F(Pcie, ADeviceThatIsNotInTheTableStillMovesTheSummary) {
    FillArea();
    for (uint32_t count : {0u, 1u}) {
        PutCount(count);
        PutKeys(0, 9, 9, 9);
        Put<uint8_t>(Record(0) + 840 + 1, 0);
        Put<uint8_t>(Record(1) + 840 + 1, 1);  // behind the count
        Put<uint8_t>(54792 + 1, 0);
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetPcieBusTimeoutState(2, 3, 1), 0);
        ExpectImage(before.With<uint8_t>(At(54792) + 1, 1));
        EXPECT_EQ(MW_SetPcieBusTimeoutState(2, 3, 0), 0);
        ExpectImage(before);
    }
    PutCount(1);
    Put<uint8_t>(Record(0) + 840 + 1, 1);
    Put<uint8_t>(54792 + 1, 1);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetPcieBusTimeoutState(2, 3, 0), 0);
    ExpectImage(before);
}

TEST_F(Pcie, ClearingZeroesTheTwelveStatesOfEveryRecordAndOfTheSummary) {
    FillArea();
    PutCount(64);
    Image expected = Image::Take().Zeroed(At(54792), 12);
    for (size_t i = 0; i < 64; ++i) expected = expected.Zeroed(At(Record(i)) + 840, 12);
    EXPECT_EQ(MW_ClearAllPcieAlarmInfoAllStates(), 0);
    ExpectImage(expected);

    FillArea();
    PutCount(1);
    const Image before = Image::Take();
    recorder::ClearCalls();
    EXPECT_EQ(MW_ClearAllPcieAlarmInfoAllStates(), 0);
    ExpectCalls("", {lock_, "memset_s(12, 0, 12)", "memset_s(12, 0, 12)", unlock_});
    ExpectImage(before.Zeroed(At(Record(0)) + 840, 12).Zeroed(At(54792), 12));
}

TEST_F(Pcie, AlarmStatesRunOnBehindTheTableUpToTheEndOfTheSharedArea) {
    for (uint32_t count : {65u, kRecordsInReach}) {
        FillArea();
        PutCount(count);
        for (size_t i = 0; i < kRecordsInReach; ++i) PutKeys(i, static_cast<uint8_t>(i), 255, 1);
        PutKeys(count - 1, 200, 7, 1);
        const Image before = Image::Take();
        EXPECT_EQ(MW_SetPcieBusDegradedState(7, 200, 1), 0);
        ExpectImage(before.With<uint8_t>(At(Record(count - 1)) + 851, 1).With<uint8_t>(At(54792) + 11, 1));

        Image cleared = Image::Take();
        for (size_t i = 0; i < count; ++i) cleared = cleared.Zeroed(At(Record(i)) + 840, 12);
        EXPECT_EQ(MW_ClearAllPcieAlarmInfoAllStates(), 0);
        ExpectImage(cleared.Zeroed(At(54792), 12));
    }
    recorder::ClearCalls();
    PutCount(kRecordsInReach + 1);
    const Image before = Image::Take();
    EXPECT_EQ(MW_SetPcieBusDegradedState(7, 200, 1), -1);
    ExpectCalls("MW_SetPcieBusDegradedState", {lock_, Dbg(kRefusal), unlock_});
    EXPECT_EQ(MW_ClearAllPcieAlarmInfoAllStates(), -1);
    ExpectCalls("MW_ClearAllPcieAlarmInfoAllStates", {lock_, Dbg(kRefusal), unlock_});
    ExpectImage(before);
}

}  // namespace
