// Every exported function, and every call of the platform that it makes, failing once: the answer, the shared
// area, the caller's buffers and the semaphores afterwards.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>
#include <set>

#include "board/hov_midboard.h"
#include "cpu/hov_midcpu.h"
#include "custcard/hov_midcustcard.h"
#include "every_function.h"
#include "fan/hov_midfan.h"
#include "fccard/hov_midfccard.h"
#include "gpu/hov_midgpu.h"
#include "mem/hov_midmem.h"
#include "memory_platform.h"
#include "netcard/hov_midnetcard.h"
#include "pch/hov_midpch.h"
#include "pcie/hov_midpcie.h"
#include "pem/hov_midpem.h"
#include "raidcard/hov_midraidcard.h"

namespace {

using every::Function;
using every::Kind;
using every::Value;
using memory_platform::Call;
using memory_platform::kAreaSize;
using memory_platform::kCalls;
using memory_platform::Now;

using Bytes = std::vector<uint8_t>;
using Held = std::vector<uint32_t>;

constexpr size_t kListSize = 131072;  // room for the longest list that a scene makes
constexpr uint32_t kMemoryKey = 12291;

// --- scenes --------------------------------------------------------------------------------------

// What the area is full of: one word, which is then every count, number and flag as well; or one byte, with
// each count 1.
struct Filling {
    uint32_t word;
    bool is_byte;
};
constexpr Filling kFillings[] = {{0, false},         {1, false},         {2, false},
                                 {85, false},        {0x01010101, true}, {0x02020202, true},
                                 {0x0C0C0C0C, true}, {0x26262626, true}, {0xFFFFFFFF, true}};

void FillWords(uint8_t *to, size_t size, uint32_t word) {
    std::memcpy(to, &word, std::min(size, sizeof word));
    for (size_t done = sizeof word; done < size; done *= 2)
        std::memcpy(to + done, to, std::min(done, size - done));
}

template <class Area>
Area &In(Bytes &area) {
    return *reinterpret_cast<Area *>(area.data() + Area::kModule.offset);
}

Bytes Filled(const Filling &filling) {
    Bytes area(kAreaSize);
    FillWords(area.data(), area.size(), filling.word);
    if (!filling.is_byte) return area;
    using namespace midware;
    auto &mem = In<MemArea>(area);
    mem.dwDimmCount = mem.dwMemCount = 1;
    auto &cpu = In<CpuArea>(area);
    cpu.dwCpuNum = cpu.dwCpuAssetNum = 1;
    In<FanArea>(area).dwFanNum = 1;
    In<PcieArea>(area).dwPcieNum = 1;
    auto &pem = In<PemArea>(area);
    pem.dwPemNum = pem.atPemAsset[0].dwPemIndex = 1;
    pem.atPemAsset[0].tBurnInfo.tPemProductInfo.dwRes = 0;
    pem.atPemAsset[0].tBurnInfo.tPemProductSerNum.dwRes = 0;
    pem.atPemAsset[0].tBurnInfo.tPemModelNam.dwRes = 0;
    auto &raid = In<RaidArea>(area);
    raid.dwRaidPhyNum = raid.dwNvmePhyNum = 1;
    raid.tHdState.dwHdStateNum = 1;
    raid.tDiskBackPanel.dwBackPanelNum = 1;
    auto &nic = In<NicArea>(area);
    nic.tCards.dwNicCardNum = nic.tPorts.dwNicPortNum = 1;
    nic.tCards.atNicCard[0].dwT200Flag = 1;
    nic.tPorts.atNicPort[0].iCompleteCode = 0;
    In<FcCardArea>(area).tCards.dwCardCount = 1;
    In<FcCardArea>(area).tPorts.dwPortCount = 1;
    In<GpuArea>(area).tInfo.dwGpuCount = 1;
    In<CustCardArea>(area).tInfo.dwCardCount = 1;
    In<BoardArea>(area).tInletTempInfo.dwInletTempCnt = 1;
    In<PchArea>(area).tDisk.dwPCHDiskNum = 1;
    In<PchArea>(area).tCtrl.dwPCHCtrlNum = 1;
    return area;
}

const std::vector<Bytes> &Areas() {
    static const std::vector<Bytes> areas = [] {
        std::vector<Bytes> all;
        for (const Filling &filling : kFillings) all.push_back(Filled(filling));
        return all;
    }();
    return areas;
}

// What a call starts from. Numbers and buffers of the caller are full of one word too.
struct Scene {
    size_t area;
    uint32_t first;  // the first number, and all others
    uint32_t others;
    uint32_t buffer;
    bool attached;
};

// --- one call ------------------------------------------------------------------------------------

struct Outcome {
    int32_t result = 0;
    std::vector<uint32_t> calls;
    Held held;
    uint32_t disk_locks = 0;
    std::string misuse;
    std::vector<std::string> messages;
    size_t open_files = 0;
    std::map<std::string, memory_platform::IniFile> files_before, files;
    std::vector<Bytes> buffers;

    bool Says(std::string_view text) const {
        return std::any_of(messages.begin(), messages.end(),
                           [&](const std::string &message) { return message.find(text) != message.npos; });
    }
};

std::vector<Bytes> Buffers(const Function &function, const Scene &scene, std::vector<Value> &values) {
    std::vector<Bytes> buffers(function.parameters.size());
    uint32_t next = scene.first;
    for (size_t i = 0; i < buffers.size(); ++i) {
        if (function.parameters[i].kind != Kind::kNumber) continue;
        values[i].number = next;
        next = scene.others;
    }
    for (size_t i = 0; i < buffers.size(); ++i) {
        const every::Parameter &parameter = function.parameters[i];
        if (parameter.kind == Kind::kNumber) continue;
        const size_t size = parameter.is_list ? kListSize : every::BytesOf(function, i, values);
        buffers[i].resize(std::min(size, kAreaSize + 65536) + 1);  // never without an address
        buffers[i].pop_back();
        FillWords(buffers[i].data(), buffers[i].size(), scene.buffer);
        values[i].pointer = buffers[i].data();
    }
    return buffers;
}

// The settings file has what its readers and removers look for.
void Prepare(const Scene &scene) {
    Now() = {};
    // A process remembers the last usage figures that it stored: other ones than any scene has.
    for (const auto store : {MW_SetCpuUsgInfoFromME, MW_SetMemUsgInfoFromME, MW_SetIoUsgInfoFromME})
        store(100, 4711);
    memory_platform::Detach();
    std::memcpy(memory_platform::Area(), Areas()[scene.area].data(), kAreaSize);
    PchDiskCustomCfg disk;
    FillWords(reinterpret_cast<uint8_t *>(&disk), sizeof disk, scene.buffer);
    const uint8_t write[6] = {0, 0, 0, 0, 0, 1};
    for (const uint8_t type : {MW_PCH_CFG_SLOT, MW_PCH_CFG_SILK}) {
        disk.ucCfgType = type;
        MW_SaveCustomPchDiskConfig(disk, write);
    }
    const auto files = Now().files;
    Now() = {};
    Now().files = files;
    Now().keep_messages = true;
    if (scene.attached) memory_platform::Attach();
}

// The area is as the call left it until the next one. `fail` is the number of the call that fails, 0 for
// none.
Outcome CallOnce(const Function &function, const Scene &scene, Call call = Call::kLock, uint32_t fail = 0) {
    Prepare(scene);
    Now().fail_at[static_cast<size_t>(call)] = fail;
    std::vector<Value> values(function.parameters.size() + 1);
    Outcome outcome;
    outcome.files_before = Now().files;
    outcome.buffers = Buffers(function, scene, values);
    outcome.result = function.call(values.data());
    memory_platform::State &now = Now();
    outcome.calls.assign(now.calls, now.calls + kCalls);
    outcome.held = now.held;
    outcome.disk_locks = now.disk_locks;
    outcome.misuse = now.misuse;
    outcome.messages = std::move(now.messages);
    outcome.open_files = now.handles.size();
    outcome.files = std::move(now.files);
    return outcome;
}

bool AreaIs(const Bytes &expected) {
    return std::memcmp(memory_platform::Area(), expected.data(), kAreaSize) == 0;
}
size_t AreaNow() {
    return std::hash<std::string_view>()(
        {reinterpret_cast<const char *>(memory_platform::Area()), kAreaSize});
}

// --- courses -------------------------------------------------------------------------------------

// A call that takes a way of its own through its function.
struct Course {
    const Function *function;
    Scene scene;
    Outcome outcome;  // when nothing fails
    size_t area;      // what AreaNow answers then
};

bool Has(const Function &function, bool numbers) {
    return std::any_of(function.parameters.begin(), function.parameters.end(),
                       [&](const every::Parameter &one) { return (one.kind == Kind::kNumber) == numbers; });
}

constexpr uint32_t kNumbers[] = {1, 0, 2, 3, 0x01010101, 0x02020202, 0x0C0C0C0C, 0xFFFFFFFF};
constexpr uint32_t kMeaningfulNumbers[] = {1, 0, 2, 7, 12, 38, 255};
constexpr uint32_t kBufferWords[] = {1, 0, 0x01010101};

std::vector<Course> FindCourses() {
    std::vector<Course> courses;
    for (const Function &function : every::Functions()) {
        std::set<std::pair<int32_t, std::vector<uint32_t>>> ways;
        const auto try_one = [&](const Scene &scene) {
            Outcome outcome = CallOnce(function, scene);
            const bool succeeded = outcome.result >= 0;
            if (ways.insert({outcome.result, outcome.calls}).second) {
                courses.push_back({&function, scene, std::move(outcome), AreaNow()});
            }
            return succeeded;
        };
        const size_t numbers = Has(function, true) ? std::size(kNumbers) : 1;
        const size_t buffers = Has(function, false) ? std::size(kBufferWords) : 1;
        bool succeeded = false;
        for (size_t area = 0; area < std::size(kFillings); ++area) {
            for (size_t i = 0; i < numbers * buffers; ++i) {
                const uint32_t number = kNumbers[i / buffers];
                succeeded |= try_one({area, number, number, kBufferWords[i % buffers], true});
            }
        }
        // Some functions want numbers that go together.
        for (size_t area = 0; area < std::size(kFillings); ++area) {
            for (const uint32_t first : kMeaningfulNumbers) {
                for (const uint32_t others : kMeaningfulNumbers) {
                    if (!succeeded) succeeded = try_one({area, first, others, 1, true});
                }
            }
        }
    }
    return courses;
}

const std::vector<Course> &Courses() {
    static const std::vector<Course> courses = FindCourses();
    return courses;
}

// What holds after every call.
void CheckAlways(const Function &function, const Outcome &outcome) {
    EXPECT_EQ(outcome.misuse, "");
    EXPECT_EQ(outcome.disk_locks, 0u) << "the custom disk slot lock is still held";
    EXPECT_TRUE(every::AnswersANumber(function) || outcome.result == 0 || outcome.result == -1)
        << outcome.result;
    const bool keeps = function.name == std::string_view("MW_SetHardDiskUsageInfoFromHostMon") &&
                       outcome.result == -1 && outcome.Says("look out overflow");
    EXPECT_EQ(outcome.held, keeps ? Held{kMemoryKey} : Held{});
}

// Runs every course with each of its calls of one kind failing in turn.
void ForEachFault(Call call,
                  const std::function<void(const Course &, uint32_t fail, const Outcome &)> &check) {
    for (const Course &course : Courses()) {
        for (uint32_t fail = 1; fail <= course.outcome.calls[static_cast<size_t>(call)]; ++fail) {
            SCOPED_TRACE(std::string(course.function->name) + ", " + memory_platform::NameOf(call) +
                         " number " + std::to_string(fail) + ", area " + std::to_string(course.scene.area) +
                         ", number " + std::to_string(course.scene.first) + ", buffer " +
                         std::to_string(course.scene.buffer));
            const Outcome outcome = CallOnce(*course.function, course.scene, call, fail);
            CheckAlways(*course.function, outcome);
            check(course, fail, outcome);
        }
    }
}

TEST(Faults, EveryFunctionCanSucceed) {
    std::set<const Function *> succeeded;
    for (const Course &course : Courses()) {
        SCOPED_TRACE(course.function->name);
        CheckAlways(*course.function, course.outcome);
        if (course.outcome.result >= 0) succeeded.insert(course.function);
    }
    for (const Function &function : every::Functions()) {
        EXPECT_TRUE(succeeded.contains(&function)) << function.name << " was never seen to succeed";
    }
}

// Nothing but the answer tells that the call was made.
void CheckUntouched(const Course &course, const Outcome &outcome, const Bytes &area,
                    bool buffers_too = true) {
    EXPECT_TRUE(AreaIs(area)) << "the area changed";
    EXPECT_TRUE(outcome.files == course.outcome.files_before) << "a settings file changed";
    std::vector<Value> values(course.function->parameters.size() + 1);
    if (buffers_too) {
        EXPECT_TRUE(outcome.buffers == Buffers(*course.function, course.scene, values)) << "a buffer changed";
    }
}

// The outcome is the one without a fault.
void CheckSame(const Course &course, const Outcome &outcome) {
    EXPECT_EQ(outcome.result, course.outcome.result);
    EXPECT_EQ(outcome.messages, course.outcome.messages);
    EXPECT_TRUE(outcome.buffers == course.outcome.buffers) << "a buffer has other contents";
    EXPECT_EQ(AreaNow(), course.area) << "the area has other contents";
}

bool Is(const Course &course, std::string_view name) { return course.function->name == name; }

TEST(Faults, ASemaphoreThatIsNotHadLeavesEverythingAsItWas) {
    ForEachFault(Call::kLock, [](const Course &course, uint32_t fail, const Outcome &outcome) {
        EXPECT_TRUE(outcome.Says("sem lock failed"));
        if (fail == 2 && Is(course, "MW_GetPcieAssetInfoForUpperInterface")) {  // goes without the OCP cards
            EXPECT_EQ(outcome.result, 0);
            CheckUntouched(course, outcome, Areas()[course.scene.area], false);
            return;
        }
        // A board's and a boot firmware's version is all zeros where there is none.
        if (outcome.result == 0 && Is(course, "MW_GetFirmwareVersionString") && course.scene.first == 7)
            return;
        EXPECT_EQ(outcome.result, -1);
        const bool clears_first = Is(course, "MW_GetOcpPresentStatus");
        CheckUntouched(course, outcome, Areas()[course.scene.area], !clears_first);
    });
}

TEST(Faults, AnAreaThatIsNotThereLeavesEverythingAsItWas) {
    for (Course course : Courses()) {
        course.scene.attached = false;
        const Outcome attaching = CallOnce(*course.function, course.scene);
        SCOPED_TRACE(course.function->name);
        if (Is(course, "MW_ClearHardDiskUsageInfoFromHostMon")) {  // for processes that have attached before
            EXPECT_EQ(attaching.result, -1);
            CheckUntouched(course, attaching, Areas()[course.scene.area]);
            continue;
        }
        EXPECT_EQ(attaching.result, course.outcome.result);
        EXPECT_EQ(AreaNow(), course.area);
        for (uint32_t fail = 1; fail <= attaching.calls[static_cast<size_t>(Call::kAddress)]; ++fail) {
            const Outcome outcome = CallOnce(*course.function, course.scene, Call::kAddress, fail);
            CheckAlways(*course.function, outcome);
            if (outcome.result == 0 && Is(course, "MW_GetFirmwareVersionString") && course.scene.first == 7)
                continue;
            EXPECT_EQ(outcome.result, -1);
            EXPECT_NE(outcome.Says("Memory init error"), Is(course, "MW_MidWareInit"));
            CheckUntouched(course, outcome, Areas()[course.scene.area],
                           !Is(course, "MW_GetOcpPresentStatus"));
        }
    }
}

TEST(Faults, AReleaseOrAMessageThatFailsMakesNoDifference) {
    for (const Call call : {Call::kUnlock, Call::kSemCreate, Call::kOutput, Call::kJournal, Call::kPrint,
                            Call::kIniClose, Call::kDiskUnlock}) {
        ForEachFault(call, [](const Course &course, uint32_t, const Outcome &outcome) {
            CheckSame(course, outcome);
            EXPECT_TRUE(outcome.files == course.outcome.files);
        });
    }
}

TEST(Faults, ARegionThatCannotBeCreatedIsNotCleared) {
    ForEachFault(Call::kCreate, [](const Course &course, uint32_t, const Outcome &outcome) {
        EXPECT_EQ(outcome.result, -1);
        CheckUntouched(course, outcome, Areas()[course.scene.area]);
    });
}

TEST(Faults, SettingsThatCannotBeReachedAreAFailureOfAllButTheDiskView) {
    for (const Call call : {Call::kDiskLock, Call::kIniLoad}) {
        ForEachFault(call, [](const Course &course, uint32_t, const Outcome &outcome) {
            const bool is_view = Is(course, "HOST_GetPCHHdInfo");
            EXPECT_EQ(outcome.result, is_view ? 0 : -1);
            CheckUntouched(course, outcome, Areas()[course.scene.area], !is_view);
        });
    }
}

TEST(Faults, SettingsThatCannotBeStoredChangeNoAnswer) {
    for (const Call call : {Call::kIniSet, Call::kIniDelete, Call::kIniSave}) {
        ForEachFault(call, [&](const Course &course, uint32_t, const Outcome &outcome) {
            CheckSame(course, outcome);
            EXPECT_EQ(outcome.open_files, course.outcome.open_files);
            EXPECT_TRUE(call != Call::kIniSave || outcome.files == course.outcome.files_before);
        });
    }
}

TEST(Faults, ACopyOrATextThatFailsKeepsNoSemaphore) {
    for (const Call call : {Call::kCopy, Call::kText}) {
        ForEachFault(call, [](const Course &course, uint32_t, const Outcome &outcome) {
            // A removal of what is not there leaves the file open.
            const bool may_leave = Is(course, "MW_SaveCustomPchDiskConfig");
            EXPECT_TRUE(may_leave || outcome.open_files == course.outcome.open_files);
        });
    }
}

TEST(Faults, EveryKindOfCallIsMade) {
    std::vector<uint32_t> made(kCalls);
    for (const Course &course : Courses()) {
        for (size_t i = 0; i < kCalls; ++i) made[i] += course.outcome.calls[i];
    }
    for (size_t i = 0; i < kCalls; ++i) {
        if (static_cast<Call>(i) == Call::kAddress) continue;  // made by processes that are not attached
        EXPECT_GT(made[i], 0u) << memory_platform::NameOf(static_cast<Call>(i));
    }
}

}  // namespace
