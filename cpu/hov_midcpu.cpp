#include "cpu/hov_midcpu.h"

#include <type_traits>

#include "dbgout.h"
#include "hov_guard.h"
#include "hov_health.h"
#include "hov_sel.h"
#include "hov_usage.h"

using namespace midware;

namespace {

constexpr uint32_t kCpuNum = offsetof(CpuArea, dwCpuNum);
constexpr uint32_t kStatus = offsetof(CpuArea, atCpuStatusInfo);
constexpr uint32_t kStride = sizeof(CpuStatusInfo);
constexpr uint32_t kTemp = offsetof(CpuStatusInfo, tTempInfo);
constexpr uint32_t kAlarm = offsetof(CpuStatusInfo, tAlarmInfo);
constexpr uint32_t kEventData = offsetof(CpuStatusInfo, atAssertEventData);
constexpr uint32_t kMeFlag = kStatus + offsetof(CpuStatusInfo, dwMeUsgValid);

constexpr List kPhyList{kCpuNum, offsetof(CpuArea, atCpuPhyInfo), sizeof(CpuPhyInfo), sizeof(CpuPhyInfo)};
constexpr List kStatusList{kCpuNum, kStatus, kStride, kStride};
constexpr List kTempList{kCpuNum, kStatus + kTemp, sizeof(CpuTempInfo), kStride};
constexpr List kAlarmList{kCpuNum, kStatus + kAlarm, sizeof(CpuAlarmInfo), kStride};
constexpr List kAssetList{offsetof(CpuArea, dwCpuAssetNum), offsetof(CpuArea, atCpuAssetInfo), sizeof(CpuAssetInfo),
                          sizeof(CpuAssetInfo)};

constexpr HealthTable kHealth{offsetof(CpuArea, dwCpuHealthyTotal), kStatus + offsetof(CpuStatusInfo, dwSilkNum),
                              kStatus + offsetof(CpuStatusInfo, dwHealthyStatus), kStride, 0};

constexpr uint32_t kUsageWords = offsetof(CpuStatusInfo, dwHostCpuUsgEnable);
constexpr UsageTable kUsage{kCpu, kStatus + kUsageWords};
static_assert(offsetof(CpuStatusInfo, dwHostCpuUsg) == kUsageWords + offsetof(UsageWords, host_usage));
static_assert(offsetof(CpuStatusInfo, dwHostCpuUsgAlt) == kUsageWords + offsetof(UsageWords, host_alt));
static_assert(offsetof(CpuStatusInfo, dwHostCpuUsgAlarm) == kUsageWords + offsetof(UsageWords, host_alarm));
static_assert(offsetof(CpuStatusInfo, dwMeUsage) == offsetof(CpuStatusInfo, dwMeUsgValid) + 4);

constexpr char kThresholds[] = "Cpu Usage Thres";

MeUsageCache g_me_usage{0xFFFFFFFF, 0xFFFFFFFF};

using CpuGuard = Guard<CpuArea>;

// Where a processor's status record begins; indexes given by callers may lie behind the last one.
constexpr int64_t StatusAt(uint32_t index) { return kStatus + static_cast<int64_t>(index) * kStride; }

// The two ways to report an index or a count that is refused.
int32_t PrintOver(Caller at) {
    hov_printf_s("%s:%d Cpu count over \n", at.function, at.line);
    return kFail;
}

int32_t LogOver(Caller at) {
    IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s:%d Cpu count over \n", kCpu.source, at.line, at.function, at.line);
    return kFail;
}

using Report = int32_t (*)(Caller);

// A place in the status record of an index that may equal the count; NULL, and a line, when it is not to be had.
void *LoosePlace(const CpuGuard &area, uint32_t index, uint32_t field, uint32_t size, Report report = PrintOver) {
    if (index > area->dwCpuNum) {
        report(area.caller());
        return nullptr;
    }
    return area.Reach(StatusAt(index) + field, size);
}

template <class T>
int32_t SetField(uint32_t index, uint32_t field, T value, Caller at = Here()) {
    CpuGuard area(at);
    if (!area) return kFail;
    void *to = LoosePlace(area, index, field, sizeof value);
    if (to == nullptr) return kFail;
    Store<T>(to, value);
    return kOk;
}

int32_t SetState(uint32_t index, uint32_t state, uint8_t value, Caller at = Here()) {
    return SetField(index, kAlarm + state, value, at);
}

// Reads a field of a counted processor through a pointer that is not tested.
template <class T>
int32_t GetBounded(uint32_t index, uint32_t field, T *to, Report report, Caller at = Here()) {
    CpuGuard area(at);
    if (!area) return kFail;
    if (area->dwCpuNum > MW_CPU_MAX || index >= area->dwCpuNum) return report(at);
    const void *from = area.Reach(StatusAt(index) + field, sizeof *to);
    if constexpr (std::is_integral_v<T>) {
        *to = Load<T>(from);
    } else {
        memcpy_s(to, sizeof *to, from, sizeof *to);
    }
    return kOk;
}

// Reads a field of a temperature record through a pointer that is not tested. The index is compared with the count
// before the semaphore is taken, and not again.
template <class T>
int32_t GetTempField(uint32_t index, uint32_t field, T *to, Caller at = Here()) {
    const CpuArea *unlocked = Unguarded<CpuArea>();
    if (unlocked == nullptr) return kFail;
    if (index > __atomic_load_n(&unlocked->dwCpuNum, __ATOMIC_RELAXED)) return PrintOver(at);
    CpuGuard area(at);
    if (!area) return kFail;
    const void *from = area.Reach(StatusAt(index) + kTemp + field, sizeof *to);
    if (from == nullptr) return kFail;
    *to = Load<T>(from);
    return kOk;
}

int32_t ReadCpuList(const List &list, void *to, uint32_t *count, Caller at = Here()) {
    if (to == nullptr || count == nullptr) return kFail;
    CpuGuard area(at);
    if (!area) return kFail;
    return area->dwCpuNum > MW_CPU_MAX ? PrintOver(at) : CopyListOut(area, list, to, count);
}

void RaisePeak(const CpuGuard &area, int32_t temp) {
    if (area->iCpuMaxTemp < temp) area->iCpuMaxTemp = temp;
}

// The event data of a processor, or NULL with a line.
uint8_t *EventDataOf(const CpuGuard &area, uint32_t index) {
    return static_cast<uint8_t *>(LoosePlace(area, index, kEventData, kEventEntries * kEventDataSize, LogOver));
}

int32_t EventNotFound(const CpuGuard &area, uint32_t index, uint32_t data1) {
    const Caller &at = area.caller();
    IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s:%d Cpu %d event data1:0x%02x not found \n", kCpu.source, at.line,
                         at.function, at.line, index, data1);
    return kFail;
}

constexpr int64_t TmarginAt(uint32_t index) {
    return offsetof(CpuArea, atCpuTmargin) + static_cast<int64_t>(index) * MW_CPU_TMARGIN_SIZE;
}

}  // namespace

// --- counts and totals -------------------------------------------------------------------------------------------

int32_t MW_GetCpuCount(uint32_t *pdwCount) { return ReadField(&CpuArea::dwCpuAssetNum, pdwCount); }

int32_t MW_GetCpuTotalPower(uint16_t *pwPower) { return ReadField(&CpuArea::wCpuTotalPower, pwPower); }

int32_t MW_SetCpuTotalPower(uint16_t wPower) { return WriteField(&CpuArea::wCpuTotalPower, wPower); }

int32_t MW_SetCpuMismatchState(uint8_t ucState) { return WriteField(&CpuArea::ucCpuMismatch, ucState); }

// --- records -----------------------------------------------------------------------------------------------------

int32_t MW_GetCpuPhyInfo(CpuPhyInfo *ptPhyInfo, uint32_t *pdwCount) {
    return ReadList<CpuArea>(kPhyList, ptPhyInfo, pdwCount);
}

int32_t MW_GetCpuAssetInfo(CpuAssetInfo *ptAssetInfo, uint32_t *pdwCount) {
    return ReadList<CpuArea>(kAssetList, ptAssetInfo, pdwCount);
}

int32_t MW_SetCpuPhyInfo(const CpuPhyInfo *ptPhyInfo, uint32_t dwCount) {
    return WriteList<CpuArea>(kPhyList, ptPhyInfo, dwCount);
}

int32_t MW_SetCpuAssetInfo(const CpuAssetInfo *ptAssetInfo, uint32_t dwCount) {
    return WriteList<CpuArea>(kAssetList, ptAssetInfo, dwCount);
}

int32_t MW_SetCpuIndexAndSilkNumInStatusInfo(const CpuStatusInfo *ptStatusInfo, uint32_t dwCount) {
    return WriteList<CpuArea>(kStatusList, ptStatusInfo, dwCount);
}

int32_t MW_SetCpuPresentStatus(uint32_t dwIndex, uint32_t dwStatus) {
    CpuGuard area;
    if (!area) return kFail;
    constexpr uint32_t extent = offsetof(CpuStatusInfo, dwPresentStatus) + sizeof dwStatus;
    auto *cpu = static_cast<CpuStatusInfo *>(area.Reach(StatusAt(dwIndex), extent));
    if (cpu == nullptr) return kFail;
    cpu->dwCpuIndex = dwIndex;
    cpu->dwPresentStatus = dwStatus;
    return kOk;
}

int32_t MW_SetCpuFrequency(uint32_t dwFrequency, uint32_t dwCpuId) {
    CpuGuard area;
    if (!area) return kFail;
    const int64_t found = FindByWord(area, kAssetList.first + offsetof(CpuAssetInfo, dwCpuId), kAssetList.stride,
                                     area->dwCpuAssetNum, dwCpuId);
    if (found < 0) return kFail;
    void *to = area.Reach(kAssetList.first + found * kAssetList.stride + offsetof(CpuAssetInfo, dwFrequency),
                          sizeof dwFrequency);
    if (to == nullptr) return kFail;
    Store<uint32_t>(to, dwFrequency);
    return kOk;
}

// --- temperatures and limits -------------------------------------------------------------------------------------

int32_t MW_GetCpuTempInfo(CpuTempInfo *ptTempInfo, uint32_t *pdwCount) {
    return ReadCpuList(kTempList, ptTempInfo, pdwCount);
}

int32_t MW_GetCpuTempInfoByID(CpuTempInfo *ptTempInfo, uint32_t dwIndex) {
    return ptTempInfo == nullptr ? kFail : GetBounded(dwIndex, kTemp, ptTempInfo, PrintOver);
}

int32_t MW_SetCpuTempInfo(const CpuTempInfo *ptTempInfo) {
    if (ptTempInfo == nullptr) return kFail;
    CpuGuard area;
    if (!area) return kFail;
    void *to = LoosePlace(area, ptTempInfo->dwCpuIndex, kTemp, sizeof *ptTempInfo);
    if (to == nullptr) return kFail;
    RaisePeak(area, ptTempInfo->iCurTemp);
    memcpy_s(to, sizeof *ptTempInfo, ptTempInfo, sizeof *ptTempInfo);
    return kOk;
}

int32_t MW_SetCpuCurrentTemp(uint32_t dwIndex, int32_t iTemp) {
    CpuGuard area;
    if (!area) return kFail;
    constexpr uint32_t end = offsetof(CpuTempInfo, iCurTemp) + sizeof iTemp;
    auto *temp = static_cast<CpuTempInfo *>(LoosePlace(area, dwIndex, kTemp, end));
    if (temp == nullptr) return kFail;
    RaisePeak(area, iTemp);
    temp->iCurTemp = iTemp;
    temp->dwTempValid = iTemp != 0 ? 1 : 0;
    return kOk;
}

int32_t MW_GetCpuTempValidFlag(uint32_t dwIndex, uint32_t *pdwFlag) {
    return GetTempField(dwIndex, offsetof(CpuTempInfo, dwTempValid), pdwFlag);
}

int32_t MW_GetCpuTjmax(uint32_t dwIndex, uint8_t *pucTjmax) {
    return GetTempField(dwIndex, offsetof(CpuTempInfo, ucTjmax), pucTjmax);
}

int32_t MW_GetCpuTcontrol(uint32_t dwIndex, uint8_t *pucTcontrol) {
    return GetTempField(dwIndex, offsetof(CpuTempInfo, ucTcontrol), pucTcontrol);
}

int32_t MW_SetCpuUCRTemp(uint32_t dwIndex, uint32_t dwTemp) {
    return SetField(dwIndex, kTemp + offsetof(CpuTempInfo, dwUCRTemp), dwTemp);
}

int32_t MW_SetCpuTjmax(uint32_t dwIndex, uint8_t ucTjmax) {
    return SetField(dwIndex, kTemp + offsetof(CpuTempInfo, ucTjmax), ucTjmax);
}

int32_t MW_SetCpuTcontrol(uint32_t dwIndex, uint8_t ucTcontrol) {
    return SetField(dwIndex, kTemp + offsetof(CpuTempInfo, ucTcontrol), ucTcontrol);
}

int32_t MW_GetCpuTmargin(uint32_t dwIndex, void *pTmargin) {
    return dwIndex >= MW_CPU_MAX ? kFail : CopyOut<CpuArea>(TmarginAt(dwIndex), MW_CPU_TMARGIN_SIZE, pTmargin);
}

int32_t MW_SetCpuTmargin(uint32_t dwIndex, const void *pTmargin) {
    return dwIndex >= MW_CPU_MAX ? kFail : CopyIn<CpuArea>(TmarginAt(dwIndex), MW_CPU_TMARGIN_SIZE, pTmargin);
}

// --- voltage regulators ------------------------------------------------------------------------------------------

int32_t MW_GetCpuxVRPower(uint32_t dwIndex, uint32_t *pdwPower) {
    return GetBounded(dwIndex, offsetof(CpuStatusInfo, dwCpuVRPower), pdwPower, LogOver);
}

int32_t MW_GetPxDimmVRPower(uint32_t dwIndex, uint32_t *pdwPower) {
    return GetBounded(dwIndex, offsetof(CpuStatusInfo, dwDimmVRPower), pdwPower, LogOver);
}

int32_t MW_SetCpuxVRPower(uint32_t dwIndex, uint32_t dwPower) {
    return SetField(dwIndex, offsetof(CpuStatusInfo, dwCpuVRPower), dwPower);
}

// The one setter that refuses an index equal to the count.
int32_t MW_SetPxDimmVRPower(uint32_t dwIndex, uint32_t dwPower) {
    CpuGuard area;
    if (!area) return kFail;
    if (dwIndex >= area->dwCpuNum) return PrintOver(area.caller());
    void *to = area.Reach(StatusAt(dwIndex) + offsetof(CpuStatusInfo, dwDimmVRPower), sizeof dwPower);
    if (to == nullptr) return kFail;
    Store<uint32_t>(to, dwPower);
    return kOk;
}

// --- alarm states ------------------------------------------------------------------------------------------------

int32_t MW_GetCpuAlarmInfo(CpuAlarmInfo *ptAlarmInfo, uint32_t *pdwCount) {
    return ReadCpuList(kAlarmList, ptAlarmInfo, pdwCount);
}

int32_t MW_GetCpuAlarmInfoByID(uint32_t dwIndex, CpuAlarmInfo *ptAlarmInfo) {
    return ptAlarmInfo == nullptr ? kFail : GetBounded(dwIndex, kAlarm, ptAlarmInfo, PrintOver);
}

int32_t MW_SetCpuAlarmInfo(const CpuAlarmInfo *ptAlarmInfo) {
    if (ptAlarmInfo == nullptr) return kFail;
    CpuGuard area;
    if (!area) return kFail;
    void *to = LoosePlace(area, ptAlarmInfo->dwCpuIndex, kAlarm, sizeof *ptAlarmInfo);
    if (to == nullptr) return kFail;
    memcpy_s(to, sizeof *ptAlarmInfo, ptAlarmInfo, sizeof *ptAlarmInfo);
    return kOk;
}

int32_t MW_SetCpuIERRState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucIERRState), ucState);
}

int32_t MW_SetCpuThermalTripState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucThermalTripState), ucState);
}

int32_t MW_SetCpuFRB1FailureState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucFRB1FailureState), ucState);
}

int32_t MW_SetCpuFRB2FailureState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucFRB2FailureState), ucState);
}

int32_t MW_SetCpuFRB3FailureState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucFRB3FailureState), ucState);
}

int32_t MW_SetCpuConfigurErrorState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucConfigurErrorState), ucState);
}

int32_t MW_SetCpuComplexErrorState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucComplexErrorState), ucState);
}

int32_t MW_SetCpuProcessorPresenceState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucProcessorPresenceState), ucState);
}

int32_t MW_SetCpuProcessorDisabledState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucProcessorDisabledState), ucState);
}

int32_t MW_SetCpuTerminatorPresenceState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucTerminatorPresenceState), ucState);
}

int32_t MW_SetCpuProcessorThrottledState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucProcessorThrottledState), ucState);
}

int32_t MW_SetCpuUnCorrectMCEState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucUnCorrectMCEState), ucState);
}

int32_t MW_SetCpuCorrectMCEState(uint32_t dwIndex, uint8_t ucState) {
    return SetState(dwIndex, offsetof(CpuAlarmInfo, ucCorrectMCEState), ucState);
}

int32_t MW_GetCpuUnCorrectMCEState(uint32_t dwIndex, uint8_t *pucState) {
    if (pucState == nullptr) return kFail;
    return GetBounded(dwIndex, kAlarm + offsetof(CpuAlarmInfo, ucUnCorrectMCEState), pucState, LogOver);
}

int32_t MW_ClearAllCPUAlarmInfoAllStates(void) {
    CpuGuard area;
    if (!area) return kFail;
    constexpr uint32_t first = offsetof(CpuAlarmInfo, ucIERRState);
    constexpr uint32_t presence = offsetof(CpuAlarmInfo, ucProcessorPresenceState);  // stays
    constexpr uint32_t end = offsetof(CpuAlarmInfo, ucCorrectMCEState) + 1;
    const uint32_t count = area->dwCpuNum;
    auto *states = static_cast<uint8_t *>(area.ReachRecords(kAlarmList.first + first, count, end - first, kStride));
    if (states == nullptr) return kFail;
    for (uint32_t i = 0; i < count; ++i, states += kStride) {
        memset_s(states, presence - first, 0, presence - first);
        memset_s(states + presence + 1 - first, end - presence - 1, 0, end - presence - 1);
    }
    return kOk;
}

int32_t MW_SetCpuAssertSelEventDataInfo(uint32_t dwIndex, uint32_t dwEventData) {
    CpuGuard area;
    if (!area) return kFail;
    uint8_t *table = EventDataOf(area, dwIndex);
    if (table == nullptr) return kFail;
    return StoreEventData(table, dwEventData) ? kOk : EventNotFound(area, dwIndex, dwEventData & 0xFF);
}

int32_t MW_GetCpuAssertSelEventDataInfo(uint32_t dwIndex, uint32_t dwData1, uint8_t *pucEventData) {
    if (pucEventData == nullptr) return kFail;
    CpuGuard area;
    if (!area) return kFail;
    uint8_t *table = EventDataOf(area, dwIndex);
    if (table == nullptr) return kFail;
    return LoadEventData(table, pucEventData[0], pucEventData) ? kOk : EventNotFound(area, dwIndex, dwData1);
}

// --- health ------------------------------------------------------------------------------------------------------

int32_t MW_InitCpuHealthyStatusInfo(void) { return InitHealth(kCpu, kHealth, kCpu.lock_text, Here()); }

int32_t MW_SetCpuHealthyStatusInfo(uint32_t dwInstance, uint32_t dwHealth, uint32_t dwTotalHealth) {
    return SetHealth(kCpu, kHealth, kCpu.lock_text, dwInstance, dwHealth, dwTotalHealth, Here());
}

int32_t MW_GetCpuHealthyStatusInfoByInst(uint32_t dwInstance, uint32_t *pdwHealth) {
    return GetHealthByInstance(kCpu, kHealth, kCpu.lock_text, dwInstance, pdwHealth, Here());
}

int32_t MW_GetCpuHealthyStatusInfoByTotal(uint32_t *pdwTotalHealth) {
    return GetHealthTotal(kCpu, kHealth, kCpu.lock_text, pdwTotalHealth, Here());
}

// --- usage figures -----------------------------------------------------------------------------------------------

int32_t MW_GetCpuUsgInfo(uint32_t *pdwUsage) { return GetMeUsage(kCpu, kMeFlag, pdwUsage); }

int32_t MW_SetCpuUsgInfoFromME(uint32_t dwUsage, uint32_t dwValid) {
    return SetMeUsage(kCpu, kMeFlag, g_me_usage, dwUsage, dwValid);
}

int32_t MW_SetCpuUsgInfoFromHostMon(uint32_t dwPacked) { return SetHostUsage(kUsage, dwPacked); }

int32_t MW_GetCpuUsgInfoFromHostMon(uint32_t *pdwUsage) { return GetHostUsage(kUsage, pdwUsage); }

int32_t MW_IsHostCpuUsgInfoEnabled(uint32_t *pdwEnable) { return GetHostUsageEnable(kUsage, pdwEnable); }

int32_t MW_ClearCpuUsgInfoFromHostMon(void) { return ClearHostUsage(kUsage); }

int32_t MW_GetHostCpuUsgAlarmStatus(uint32_t *pdwStatus) { return GetHostAlarm(kUsage, pdwStatus); }

int32_t MW_SetHostCpuUsgAlarmStatus(uint32_t dwStatus) { return SetHostAlarm(kUsage, dwStatus); }

int32_t MW_GetCpuUsageThreInfo(uint32_t *pdwThreshold) { return GetUsageThreshold(kThresholds, pdwThreshold); }

int32_t MW_SetCpuUsageThreInfo(uint32_t dwThreshold, uint32_t) {
    return SetUsageThreshold(kCpu, kThresholds, dwThreshold);
}
