// Disks and controllers behind the PCH, and the host's view of them.
#include <cmath>
#include <limits>

#include "accessor_test.h"

namespace {

constexpr ModuleFacts kPchFacts{"pch/hov_midpch", &g_ptPCHCollectAddr, 694280, 10320, 12303};
constexpr char kCustomFile[] = "/conf/ext/custom_pchdisk_config.ini";
constexpr char kCustomSection[] = "Pchdisk custom config";
constexpr size_t kEntries = 8;
constexpr size_t kEntrySize = 432;

class Pch : public AccessorTest {
 protected:
    Pch() : AccessorTest(kPchFacts, kLockError) {}

    std::vector<std::string> Copied(size_t size) { return {Lock(12303), Copy(size), Unlock(12303)}; }

    PchDiskAssetInfo disks_{};
    PchCtrlAssetInfo ctrls_{};
    uint32_t count_ = 0;
};

TEST_F(Pch, EveryAccessorFollowsTheTemplate) {
    const Accessor accessors[] = {
        {"MW_GetPCHDiskCount", [&] { return MW_GetPCHDiskCount(&count_); }, [] { return MW_GetPCHDiskCount(nullptr); }},
        {"MW_GetPCHCtrlCount", [&] { return MW_GetPCHCtrlCount(&count_); }, [] { return MW_GetPCHCtrlCount(nullptr); }},
        {"MW_GetPCHDiskAssetInfo", [&] { return MW_GetPCHDiskAssetInfo(&disks_); },
         [] { return MW_GetPCHDiskAssetInfo(nullptr); }},
        {"MW_SetPCHDiskAssetInfo", [&] { return MW_SetPCHDiskAssetInfo(&disks_); },
         [] { return MW_SetPCHDiskAssetInfo(nullptr); }},
        {"MW_GetPCHCtrlAssetInfo", [&] { return MW_GetPCHCtrlAssetInfo(&ctrls_); },
         [] { return MW_GetPCHCtrlAssetInfo(nullptr); }},
        {"MW_SetPCHCtrlAssetInfo", [&] { return MW_SetPCHCtrlAssetInfo(&ctrls_); },
         [] { return MW_SetPCHCtrlAssetInfo(nullptr); }},
    };
    for (const Accessor &accessor : accessors) CheckGuarded(accessor);
}

TEST_F(Pch, CountsAreOneWordEach) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetPCHDiskCount(&count_), 0);
    ExpectCalls("MW_GetPCHDiskCount", {Lock(12303), Unlock(12303)});
    EXPECT_EQ(count_, Get<uint32_t>(0));
    EXPECT_EQ(MW_GetPCHCtrlCount(&count_), 0);
    ExpectCalls("MW_GetPCHCtrlCount", {Lock(12303), Unlock(12303)});
    EXPECT_EQ(count_, Get<uint32_t>(8712));
    ExpectImage(before);
}

TEST_F(Pch, TablesAreCopiedOutWhole) {
    FillArea();
    const Image before = Image::Take();
    EXPECT_EQ(MW_GetPCHDiskAssetInfo(&disks_), 0);
    ExpectCalls("MW_GetPCHDiskAssetInfo", Copied(8712));
    EXPECT_EQ(memcmp(&disks_, before.bytes().data() + At(0), 8712), 0);
    EXPECT_EQ(MW_GetPCHCtrlAssetInfo(&ctrls_), 0);
    ExpectCalls("MW_GetPCHCtrlAssetInfo", Copied(1604));
    EXPECT_EQ(memcmp(&ctrls_, before.bytes().data() + At(8712), 1604), 0);
    ExpectImage(before);
}

TEST_F(Pch, TablesAreStoredWholeWhateverTheirCount) {
    FillArea();
    const Image before = Image::Take();
    const std::vector<uint8_t> bytes = Pattern(8712, 8);  // counts far above 64 and 16
    memcpy(static_cast<void *>(&disks_), bytes.data(), 8712);
    memcpy(&ctrls_, bytes.data(), 1604);
    EXPECT_EQ(MW_SetPCHDiskAssetInfo(&disks_), 0);
    ExpectCalls("MW_SetPCHDiskAssetInfo", Copied(8712));
    const Image with_disks = before.With(At(0), bytes.data(), 8712);
    ExpectImage(with_disks);
    EXPECT_EQ(MW_SetPCHCtrlAssetInfo(&ctrls_), 0);
    ExpectCalls("MW_SetPCHCtrlAssetInfo", Copied(1604));
    ExpectImage(with_disks.With(At(8712), bytes.data(), 1604));
}

// --- the host's view -----------------------------------------------------------------------------------------------

class HostView : public Pch {
 protected:
    void SetUp() override {
        Pch::SetUp();
        ctrls_.dwPCHCtrlNum = 1;
        AddDisks(1);
        ctrls_.atPchCtrl[0] = Controller(500);
        FillOutput();
    }

    static PchCtrlInfo Controller(uint32_t id) {
        PchCtrlInfo ctrl = PatternOf<PchCtrlInfo>(static_cast<uint8_t>(id));
        ctrl.dwCtrlId = id;
        ctrl.ucCpuId = 1;
        ctrl.dwBus = 0x3a;
        ctrl.dwDev = 0x1f;
        ctrl.dwFunc = 2;
        return ctrl;
    }

    void AddDisks(uint32_t n) {
        disks_.dwPCHDiskNum = n;
        for (uint32_t i = 0; i < n && i < 64; ++i) {
            PchDiskInfo &disk = disks_.atPchDisk[i];
            disk = PatternOf<PchDiskInfo>(static_cast<uint8_t>(i + 1));
            disk.dwCtrlId = 500;
            disk.wPort = static_cast<uint16_t>(0x0100 + i);
            disk.dwRotateRate = 7200;
            disk.ucIfType = 3;
            disk.dLinkRate = 6.0;
            Text(disk.acVendor, "ATA");
            Text(disk.acSerialNum, "SN" + std::to_string(i));
            Text(disk.acFwVersion, "FW" + std::to_string(i));
            Text(disk.acModel, "TOSHIBA MODEL " + std::to_string(i));
        }
    }

    template <size_t N>
    static void Text(char (&to)[N], const std::string &text) {
        ASSERT_LE(text.size(), N);
        memcpy(to, text.data(), text.size());
        if (text.size() < N) to[text.size()] = '\0';
    }

    void FillOutput() {
        const std::vector<uint8_t> bytes = Pattern(sizeof view_, 66);
        memcpy(&view_, bytes.data(), bytes.size());
        untouched_ = bytes;
    }

    void Store() {
        PutBytes(0, &disks_, sizeof disks_);
        PutBytes(8712, &ctrls_, sizeof ctrls_);
    }

    int32_t View() {
        Store();
        recorder::ClearCalls();
        return HOST_GetPCHHdInfo(&view_);
    }

    // The view of one disk that differs from the usual one.
    template <class Change>
    const HostPchHdEntry &ViewOf(Change change) {
        change(disks_.atPchDisk[0]);
        EXPECT_EQ(View(), 0);
        return view_.atHd[0];
    }

    const uint8_t *ViewBytes() const { return reinterpret_cast<const uint8_t *>(&view_); }

    bool EntryIsUntouched(uint32_t i) const {
        const size_t at = kEntries + kEntrySize * i;
        return memcmp(ViewBytes() + at, untouched_.data() + at, kEntrySize) == 0;
    }

    void SetCustom(const std::string &key, const std::string &value) {
        recorder::Now().ini_files[kCustomFile][kCustomSection][key] = value;
    }

    std::vector<std::string> ReadTables() {
        return {"memset_s(1604, 0, 1604)", "memset_s(8712, 0, 8712)", Lock(12303), Copy(1604), Unlock(12303),
                Lock(12303), Copy(8712), Unlock(12303)};
    }

    static size_t Count(const std::vector<std::string> &calls, const std::string &begin) {
        size_t n = 0;
        for (const std::string &call : calls) n += call.rfind(begin, 0) == 0;
        return n;
    }

    HostPchHdInfo view_;
    std::vector<uint8_t> untouched_;
};

TEST_F(HostView, AnEntryHasTheseFieldsAndEveryOtherByteIsTheCallers) {
    PchDiskInfo &disk = disks_.atPchDisk[0];
    disk.ucInfoA = 0xA1;
    disk.ucInfoB = 0xB2;
    disk.dwInfoC = 0xC3C4C5C6;
    EXPECT_EQ(View(), 0);

    std::vector<uint8_t> expected = untouched_;
    const auto put = [&](size_t offset, const void *bytes, size_t size) {
        memcpy(expected.data() + kEntries + offset, bytes, size);
    };
    const auto number = [&](size_t offset, auto value) { put(offset, &value, sizeof value); };
    const auto text = [&](size_t offset, const char *value) { put(offset, value, strlen(value) + 1); };
    const uint32_t one = 1;
    memcpy(expected.data(), &one, 4);
    number(1, uint8_t{255});
    number(8, uint32_t{0xC3C4C5C6});
    number(24, uint8_t{0xA1});
    number(25, uint8_t{0xB2});
    number(29, uint8_t{2});
    number(30, uint8_t{3});
    number(53, uint8_t{1});
    text(84, "SN0");
    text(116, "TOSHIBA MODEL 0");
    text(180, "Toshiba");
    text(212, "FW0");
    text(324, "0000:3a:1f.2");
    text(340, "--");
    number(417, uint8_t{1});
    number(418, uint16_t{0x0100});
    for (size_t i = 0; i < expected.size(); ++i) {
        ASSERT_EQ(int{ViewBytes()[i]}, int{expected[i]}) << "byte " << i << " (" << static_cast<long>(i) - 8 << ")";
    }
}

TEST_F(HostView, TheControllersAreReadFirstAndTheSettingsWithoutASemaphore) {
    EXPECT_EQ(View(), 0);
    const std::string key = "[Pchdisk custom config] CPU1_BDF 0000:3a:1f.2_port0_";
    std::vector<std::string> calls = ReadTables();
    for (const std::string &call : {
             std::string("hov_CustomPchDiskSemLock()"),
             "HOV_IniLoadFile(" + std::string(kCustomFile) + ")",
             "IniGetUInt(" + key + "diskslot, 255)",
             std::string("OAL_Log2File(/data/log/customdiskslot.log, 1, \"[Line:LINE Func:MW_LoadCustomPchDiskConfig]"
                         "get custom config:custom pchdisk slot:255\n\")"),
             std::string("IniCloseFile()"),
             std::string("hov_CustomPchDiskSemUnLock()"),
             std::string("hov_CustomPchDiskSemLock()"),
             "HOV_IniLoadFile(" + std::string(kCustomFile) + ")",
             std::string("hov_memset_s(33, 0, 32)"),
             "IniGetStr(" + key + "customsilk, --)",
             std::string("OAL_Log2File(/data/log/customdiskslot.log, 1, \"[Line:LINE Func:MW_LoadCustomPchDiskConfig]"
                         "get custom config:custom pchdisk Silk:--\n\")"),
             std::string("IniCloseFile()"),
             std::string("hov_CustomPchDiskSemUnLock()"),
             std::string("OAL_Log2File(/data/log/customdiskslot.log, 1, \"[Line:{L} Func:getPchSlotInfo]getPchSlotInfo "
                         "{L}:Pch Disk get ucslot:255 pSilkInfo:-- \n\")"),
             std::string("memset_s(32, 0, 32)"),
             std::string("memset_s(32, 0, 32)"),
         }) {
        calls.push_back(call);
    }
    // The lines of the load function lie in another source and have a test of their own.
    for (recorder::Call &call : recorder::Now().calls) {
        const std::string mark = "[Line:";
        const size_t from = call.text.find(mark), to = call.text.find(" Func:MW_Load");
        if (from != std::string::npos && to != std::string::npos) {
            call.text.replace(from + mark.size(), to - from - mark.size(), "LINE");
        }
    }
    ExpectCalls("", calls);
}

TEST_F(HostView, ATableThatCannotBeReadLeavesTheOutputAlone) {
    Store();
    recorder::Now().lock_result[12303] = -1;
    EXPECT_EQ(HOST_GetPCHHdInfo(&view_), -1);
    ExpectCalls("MW_GetPCHCtrlAssetInfo",
                {"memset_s(1604, 0, 1604)", "memset_s(8712, 0, 8712)", Lock(12303), Dbg(kLockError)});
    EXPECT_EQ(memcmp(&view_, untouched_.data(), sizeof view_), 0);
    // The controllers can be read, the disks cannot.
    recorder::Now().lock_result.clear();
    recorder::Now().on_call = [](const recorder::Call &call) {
        if (call.text == Unlock(12303)) recorder::Now().lock_result[12303] = -1;
    };
    EXPECT_EQ(HOST_GetPCHHdInfo(&view_), -1);
    ExpectCalls("MW_GetPCHDiskAssetInfo", {"memset_s(1604, 0, 1604)", "memset_s(8712, 0, 8712)", Lock(12303),
                                           Copy(1604), Unlock(12303), Lock(12303), Dbg(kLockError)});
    EXPECT_EQ(memcmp(&view_, untouched_.data(), sizeof view_), 0);

    Detach();
    recorder::Now().region_missing = true;
    EXPECT_EQ(HOST_GetPCHHdInfo(&view_), -1);
    EXPECT_EQ(memcmp(&view_, untouched_.data(), sizeof view_), 0);
}

TEST_F(HostView, ThePointerIsNotTested) {
    recorder::Now().lock_result[12303] = -1;
    EXPECT_EQ(HOST_GetPCHHdInfo(nullptr), -1);
    ExpectCalls("MW_GetPCHCtrlAssetInfo",
                {"memset_s(1604, 0, 1604)", "memset_s(8712, 0, 8712)", Lock(12303), Dbg(kLockError)});
}

TEST_F(HostView, SixtyFourDisksAreRefusedAndSixtyThreeAreNot) {
    for (uint32_t n : {64u, 65u, 0x7FFFFFFFu}) {
        SCOPED_TRACE(n);
        AddDisks(n);
        ctrls_.dwPCHCtrlNum = n == 65 ? 0 : 1;  // also without any controller
        EXPECT_EQ(View(), -1);
        std::vector<std::string> calls = ReadTables();
        calls.push_back(Runtime("[{S}:{L}] PCHDiskNum (" + std::to_string(n) + ") is up to max(64) "));
        ExpectCalls("HOST_GetPCHHdInfo", calls);
        EXPECT_EQ(memcmp(&view_, untouched_.data(), sizeof view_), 0);
    }
    AddDisks(63);
    ctrls_.dwPCHCtrlNum = 1;
    EXPECT_EQ(View(), 0);
    EXPECT_EQ(view_.dwHdNum, 63u);
    for (uint32_t i = 0; i < 63; ++i) {
        EXPECT_STREQ(view_.atHd[i].acSerialNum, ("SN" + std::to_string(i)).c_str());
        EXPECT_EQ(view_.atHd[i].wPort, 0x0100 + i);
    }
    EXPECT_TRUE(EntryIsUntouched(63));
    EXPECT_EQ(Count(recorder::Calls(), "HOV_IniLoadFile"), 126u);
    EXPECT_EQ(recorder::Now().ini_open, 0);
}

TEST_F(HostView, WithoutControllersOnlyTheCountIsWritten) {
    AddDisks(5);
    ctrls_.dwPCHCtrlNum = 0;
    EXPECT_EQ(View(), 0);
    ExpectCalls("", ReadTables());
    EXPECT_EQ(view_.dwHdNum, 5u);
    EXPECT_EQ(memcmp(ViewBytes() + 4, untouched_.data() + 4, sizeof view_ - 4), 0);
}

TEST_F(HostView, WithoutDisksOnlyTheCountIsWritten) {
    AddDisks(0);
    EXPECT_EQ(View(), 0);
    ExpectCalls("", ReadTables());
    EXPECT_EQ(view_.dwHdNum, 0u);
    EXPECT_EQ(memcmp(ViewBytes() + 4, untouched_.data() + 4, sizeof view_ - 4), 0);
}

TEST_F(HostView, ADiskWithoutAControllerIsCountedAndItsEntryIsTheCallers) {
    AddDisks(3);
    disks_.atPchDisk[1].dwCtrlId = 501;
    EXPECT_EQ(View(), 0);
    EXPECT_EQ(view_.dwHdNum, 3u);
    EXPECT_FALSE(EntryIsUntouched(0));
    EXPECT_TRUE(EntryIsUntouched(1));
    EXPECT_STREQ(view_.atHd[2].acSerialNum, "SN2");
    EXPECT_TRUE(EntryIsUntouched(3));
}

TEST_F(HostView, OfTwoControllersOfOneIdTheLaterOneIsShown) {
    ctrls_.dwPCHCtrlNum = 3;
    ctrls_.atPchCtrl[1] = Controller(501);
    ctrls_.atPchCtrl[2] = Controller(500);
    ctrls_.atPchCtrl[2].dwBus = 0x44;
    ctrls_.atPchCtrl[2].ucCpuId = 9;
    EXPECT_EQ(View(), 0);
    EXPECT_STREQ(view_.atHd[0].acBdf, "0000:44:1f.2");
    EXPECT_EQ(view_.atHd[0].ucCpuId, 9);
    EXPECT_EQ(Count(recorder::Calls(), "HOV_IniLoadFile"), 4u);
}

TEST_F(HostView, AllControllersAreGoneThroughBeforeTheNextOnesDisks) {
    AddDisks(2);
    ctrls_.dwPCHCtrlNum = 2;
    ctrls_.atPchCtrl[1] = Controller(501);
    disks_.atPchDisk[0].dwCtrlId = 501;
    EXPECT_EQ(View(), 0);
    std::vector<std::string> slots;
    for (const std::string &call : recorder::Calls()) {
        if (call.rfind("IniGetUInt", 0) == 0) slots.push_back(call.substr(call.find("port")));
    }
    EXPECT_EQ(slots, (std::vector<std::string>{"port1_diskslot, 255)", "port0_diskslot, 255)"}));
}

TEST_F(HostView, SixteenControllersAreJoinedAndMoreAreReported) {
    for (uint32_t n : {16u, 17u, 0x7FFFFFFFu}) {
        SCOPED_TRACE(n);
        AddDisks(17);
        ctrls_.dwPCHCtrlNum = n;
        for (uint32_t j = 0; j < 16; ++j) ctrls_.atPchCtrl[j] = Controller(500 + j);
        for (uint32_t i = 0; i < 17; ++i) disks_.atPchDisk[i].dwCtrlId = 500 + i;
        FillOutput();
        EXPECT_EQ(View(), 0);
        for (uint32_t i = 0; i < 16; ++i) EXPECT_FALSE(EntryIsUntouched(i)) << i;
        EXPECT_TRUE(EntryIsUntouched(16));
        const std::vector<std::string> calls = recorder::Calls();
        EXPECT_EQ(Count(calls, "IDBG_LINUXAPP_Runtime_DbgOut"), n == 16 ? 0u : 1u);
        if (n == 16) continue;
        const std::vector<recorder::Call> last(recorder::Now().calls.end() - 1, recorder::Now().calls.end());
        recorder::Now().calls = last;  // after everything else
        ExpectCalls("HOST_GetPCHHdInfo",
                    {Runtime("[{S}:{L}] PCHConreollerNum (" + std::to_string(n) + ") is up to max(16)  ")});
    }
}

TEST_F(HostView, ThePciAddressIsCutToTwelveCharacters) {
    const struct {
        uint32_t bus, dev, func;
        const char *text;
    } rows[] = {
        {0, 0, 0, "0000:00:00.0"},
        {0x3a, 0x1f, 2, "0000:3a:1f.2"},
        {0xff, 0x1f, 7, "0000:ff:1f.7"},
        {0xab, 0xcd, 0xe, "0000:ab:cd.e"},
        {0xff, 0x1f, 0x10, "0000:ff:1f.1"},
        {0x100, 0x1f, 7, "0000:100:1f."},
        {0xffffffff, 0xffffffff, 0xffffffff, "0000:fffffff"},
    };
    for (const auto &row : rows) {
        ctrls_.atPchCtrl[0].dwBus = row.bus;
        ctrls_.atPchCtrl[0].dwDev = row.dev;
        ctrls_.atPchCtrl[0].dwFunc = row.func;
        EXPECT_EQ(View(), 0);
        EXPECT_STREQ(view_.atHd[0].acBdf, row.text);
    }
}

TEST_F(HostView, TextsThatFillTheirFieldsAreCopiedWhole) {
    const std::string serial(21, 'S'), firmware(9, 'F'), model(41, 'M'), vendor(20, 'V');
    const HostPchHdEntry &entry = ViewOf([&](PchDiskInfo &disk) {
        Text(disk.acSerialNum, serial);
        Text(disk.acFwVersion, firmware);
        Text(disk.acModel, model);
        Text(disk.acVendor, vendor);
    });
    EXPECT_EQ(entry.acSerialNum, serial);
    EXPECT_EQ(entry.acFwVersion, firmware);
    EXPECT_EQ(entry.acModel, model);
    EXPECT_EQ(entry.acVendor, vendor);
}

TEST_F(HostView, EmptyTextsAreCopiedEmpty) {
    const HostPchHdEntry &entry = ViewOf([](PchDiskInfo &disk) {
        disk.acSerialNum[0] = disk.acFwVersion[0] = disk.acModel[0] = disk.acVendor[0] = '\0';
    });
    EXPECT_STREQ(entry.acSerialNum, "");
    EXPECT_STREQ(entry.acFwVersion, "");
    EXPECT_STREQ(entry.acModel, "");
    EXPECT_STREQ(entry.acVendor, "");
}

TEST_F(HostView, OnlyTheVendorAtaIsNormalised) {
    EXPECT_STREQ(ViewOf([](PchDiskInfo &disk) { Text(disk.acModel, "Micron_5300_MTFDDAK960TDS"); }).acVendor, "Micron");
    EXPECT_STREQ(ViewOf([](PchDiskInfo &disk) { Text(disk.acModel, "WDC WD40EFRX-68N32N0"); }).acVendor, "ATA");
    EXPECT_STREQ(ViewOf([](PchDiskInfo &disk) {
                     Text(disk.acVendor, "SEAGATE");
                     Text(disk.acModel, "TOSHIBA X");
                 }).acVendor,
                 "SEAGATE");
}

TEST_F(HostView, InterfaceCodes3And7AreMapped) {
    for (int type = 0; type < 256; ++type) {
        const int expected = type == 3 ? 2 : type == 7 ? 3 : type;
        EXPECT_EQ(ViewOf([&](PchDiskInfo &disk) { disk.ucIfType = static_cast<uint8_t>(type); }).ucIfType, expected);
    }
}

TEST_F(HostView, LinkRatesAreTruncatedToEightBitsAndMapped) {
    constexpr double kInfinity = std::numeric_limits<double>::infinity();
    const struct {
        double rate;
        int code;
    } rows[] = {
        {0.0, 0},          {-0.0, 0},        {0.999, 0},       {1.0, 1},           {1.5, 1},           {1.999, 1},
        {2.0, 2},          {3.0, 2},         {3.9, 2},         {4.0, 4},           {6.0, 3},           {6.5, 3},
        {12.0, 12},        {22.5, 22},       {255.0, 255},     {256.0, 0},         {257.5, 1},         {259.0, 2},
        {262.9, 3},        {-1.5, 0},        {-6.0, 0},        {-1e300, 0},        {-kInfinity, 0},    {kInfinity, 255},
        {1e300, 255},      {std::nan(""), 0}, {4294967295.0, 255}, {4294967295.9, 255}, {4294967296.0, 255},
        {4294967299.0, 255}, {4294967046.0, 3}, {5e-324, 0},
    };
    for (const auto &row : rows) {
        EXPECT_EQ(ViewOf([&](PchDiskInfo &disk) { disk.dLinkRate = row.rate; }).ucLinkRate, row.code) << row.rate;
    }
}

TEST_F(HostView, RotationRatesHaveCodes) {
    const struct {
        uint32_t rpm;
        int32_t code;
    } rows[] = {{5400, 0},  {7200, 1},  {10000, 2}, {10025, 3}, {15000, 4},   {1, 5},     {0, 255},
                {2, 255},   {5, 255},   {5399, 255}, {5401, 255}, {7199, 255}, {7201, 255}, {9999, 255},
                {10001, 255}, {10024, 255}, {10026, 255}, {10500, 255}, {14999, 255}, {15001, 255}, {0xFFFFFFFF, 255}};
    for (const auto &row : rows) {
        EXPECT_EQ(RotateRateChange(row.rpm), row.code) << row.rpm;
        EXPECT_EQ(ViewOf([&](PchDiskInfo &disk) { disk.dwRotateRate = row.rpm; }).ucRotateRate, row.code) << row.rpm;
    }
}

TEST_F(HostView, CustomSettingsAreThoseOfTheDisksPort) {
    AddDisks(3);
    SetCustom("CPU1_BDF 0000:3a:1f.2_port1_diskslot", "42");
    SetCustom("CPU1_BDF 0000:3a:1f.2_port2_customsilk", "Bay 2, upper row");
    SetCustom("CPU0_BDF 0000:3a:1f.2_port0_diskslot", "7");
    EXPECT_EQ(View(), 0);
    EXPECT_EQ(view_.atHd[0].ucSlot, 255);
    EXPECT_STREQ(view_.atHd[0].acSilkInfo, "--");
    EXPECT_EQ(view_.atHd[1].ucSlot, 42);
    EXPECT_STREQ(view_.atHd[1].acSilkInfo, "--");
    EXPECT_EQ(view_.atHd[2].ucSlot, 255);
    EXPECT_STREQ(view_.atHd[2].acSilkInfo, "Bay 2, upper row");
}

TEST_F(HostView, TheKeyHasTheWholePciAddressAndTheLow8BitsOfThePort) {
    ctrls_.atPchCtrl[0].dwBus = 0x1234;
    disks_.atPchDisk[0].wPort = 0x1203;
    SetCustom("CPU1_BDF 0000:1234:1f.2_port3_diskslot", "9");
    EXPECT_EQ(View(), 0);
    EXPECT_EQ(view_.atHd[0].ucSlot, 9);
    EXPECT_EQ(view_.atHd[0].wPort, 0x1203);
    EXPECT_STREQ(view_.atHd[0].acBdf, "0000:1234:1f");
}

TEST_F(HostView, EveryJoinedDiskIsJournalled) {
    AddDisks(2);
    SetCustom("CPU1_BDF 0000:3a:1f.2_port1_diskslot", "42");
    SetCustom("CPU1_BDF 0000:3a:1f.2_port1_customsilk", "Bay 1");
    EXPECT_EQ(View(), 0);
    std::vector<recorder::Call> lines;
    for (const recorder::Call &call : recorder::Now().calls) {
        if (call.text.find("getPchSlotInfo") != std::string::npos) lines.push_back(call);
    }
    recorder::Now().calls = lines;
    const std::string begin =
        "OAL_Log2File(/data/log/customdiskslot.log, 1, \"[Line:{L} Func:getPchSlotInfo]getPchSlotInfo {L}:";
    ExpectCalls("", {begin + "Pch Disk get ucslot:255 pSilkInfo:-- \n\")",
                     begin + "Pch Disk get ucslot:42 pSilkInfo:Bay 1 \n\")"});
}

TEST_F(HostView, WithoutTheLockOrTheFileEntriesGetTheDefaults) {
    SetCustom("CPU1_BDF 0000:3a:1f.2_port0_diskslot", "42");
    recorder::Now().pch_lock_result = -1;
    EXPECT_EQ(View(), 0);
    EXPECT_EQ(view_.atHd[0].ucSlot, 255);
    EXPECT_STREQ(view_.atHd[0].acSilkInfo, "--");
    recorder::Now().pch_lock_result = 0;
    recorder::Now().ini_load_fails = true;
    EXPECT_EQ(View(), 0);
    EXPECT_EQ(view_.atHd[0].ucSlot, 255);
    EXPECT_STREQ(view_.atHd[0].acSilkInfo, "--");
    EXPECT_STREQ(view_.atHd[0].acSerialNum, "SN0");
}

TEST_F(HostView, WhatCannotBeReadIsWhatTheDiskBeforeHad) {
    AddDisks(2);
    SetCustom("CPU1_BDF 0000:3a:1f.2_port0_diskslot", "42");
    SetCustom("CPU1_BDF 0000:3a:1f.2_port0_customsilk", "Bay 0");
    recorder::Now().on_call = [](const recorder::Call &call) {
        if (call.text.find("getPchSlotInfo") != std::string::npos) recorder::Now().ini_load_fails = true;
    };
    EXPECT_EQ(View(), 0);
    EXPECT_EQ(view_.atHd[1].ucSlot, 42);
    EXPECT_STREQ(view_.atHd[1].acSilkInfo, "Bay 0");
    EXPECT_STREQ(view_.atHd[1].acSerialNum, "SN1");
}

}  // namespace
