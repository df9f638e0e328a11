#include "accessors.h"

#include <cstring>
#include <type_traits>

#include "bench.h"
#include "midware.h"

namespace bench {
namespace {

template <auto call>
uint64_t GetLoop(void *to, uint64_t times) {
    uint64_t failed = 0;
    for (uint64_t i = 0; i < times; ++i) {
        failed += call(to) < 0;
        Clobber();
    }
    return failed;
}

template <auto call>
uint64_t SetLoop(const void *from, uint64_t times) {
    uint64_t failed = 0;
    for (uint64_t i = 0; i < times; ++i) {
        failed += call(from) < 0;
        Clobber();
    }
    return failed;
}

template <class T>
T *As(void *to) {
    return static_cast<T *>(to);
}
template <class T>
const T *As(const void *from) {
    return static_cast<const T *>(from);
}
uint32_t Word(const void *from) {
    uint32_t word;
    std::memcpy(&word, from, sizeof word);
    return word;
}

uint32_t g_count;

constexpr uint32_t kDimms = 45;

// clang-format off
#define GET(expression) GetLoop<[](void *to) -> int32_t { return expression; }>
#define SET(expression) SetLoop<[](const void *from) -> int32_t { return expression; }>
constexpr Accessor kTypical[] = {
    {"fan", "total power", 4, GET(MW_GetFanTotalPower(As<uint32_t>(to))), SET(MW_SetFanTotalPower(Word(from)))},
    {"power", "policy", 4, GET(MW_GetPowerPolicy(As<uint32_t>(to))), SET(MW_SetPowerPolicy(Word(from)))},
    {"board", "alarm words", 12, GET(MW_GetBoardAlarmStatusInfo(As<BoardAlarmStatusInfo>(to))),
     SET(MW_SetBoardAlarmStatusInfo(As<BoardAlarmStatusInfo>(from)))},
    {"pem", "mode", 20, GET(MW_GetPemCfgMode(As<PemModeRecord>(to))), SET(MW_SetPemCfgMode(As<PemModeRecord>(from)))},
    {"cpu", "temperature", 72, GET(MW_GetCpuTempInfoByID(As<CpuTempInfo>(to), 0)),
     SET(MW_SetCpuTempInfo(As<CpuTempInfo>(from)))},
    {"fwinfo", "BMC versions", 548, GET(MW_GetBmcVerInfo(to)), SET(MW_SetBmcVerInfo(from))},
    {"services", "NTP", 804, GET(MW_GetNtpInfo(As<NtpInfo>(to))), SET(MW_SetNtpInfo(As<NtpInfo>(from)))},
    {"pcie", "one device", 856, GET(MW_GetPcieAssetInfo(As<PcieAssetInfo>(to), &g_count)),
     SET(MW_SetPcieAssetInfo(As<PcieAssetInfo>(from), 1))},
    {"mem", "45 DIMMs", kDimms * sizeof(MemPhyInfo), GET(MW_GetMemPhyInfo(As<MemPhyInfo>(to), &g_count)),
     SET(MW_SetMemPhyInfo(As<MemPhyInfo>(from), kDimms))},
    {"custcard", "all cards", sizeof(CustCardAssetInfo), GET(MW_GetCustCardAssetInfo(As<CustCardAssetInfo>(to))),
     SET(MW_SetCustCardAssetInfo(As<CustCardAssetInfo>(from)))},
    {"pch", "all disks", sizeof(PchDiskAssetInfo), GET(MW_GetPCHDiskAssetInfo(As<PchDiskAssetInfo>(to))),
     SET(MW_SetPCHDiskAssetInfo(As<PchDiskAssetInfo>(from)))},
    {"gpu", "all GPUs", sizeof(GPUAssetInfo), GET(MW_GetGPUAssetInfo(As<GPUAssetInfo>(to))),
     SET(MW_SetGPUAssetInfo(As<GPUAssetInfo>(from)))},
    {"fccard", "all cards", sizeof(FCCardAssetInfo), GET(MW_GetFCCardAssetInfo(As<FCCardAssetInfo>(to))),
     SET(MW_SetFCCardAssetInfo(As<FCCardAssetInfo>(from)))},
    {"netcard", "all cards", sizeof(NicCardBlock), GET(MW_GetNICCardAssetInfo(As<NicCardBlock>(to))),
     SET(MW_SetNICCardAssetInfo(As<NicCardBlock>(from)))},
    {"raidcard", "all disks", sizeof(HdAssetInfo), GET(MW_GetHdAssetInfo(As<HdAssetInfo>(to))),
     SET(MW_SetHdAssetInfo(As<HdAssetInfo>(from)))},
};

constexpr Accessor kSmallest[] = {
    {"mem", "total power", 4, GET(MW_GetMemTotalPower(As<uint16_t>(to))), SET(MW_SetMemTotalPower(Word(from)))},
    {"cpu", "total power", 4, GET(MW_GetCpuTotalPower(As<uint16_t>(to))), SET(MW_SetCpuTotalPower(As<uint16_t>(from)[0]))},
    {"pem", "number", 4, GET(MW_GetPemCount(As<uint32_t>(to))), SET(MW_SetPemCount(Word(from)))},
    {"power", "policy", 4, GET(MW_GetPowerPolicy(As<uint32_t>(to))), SET(MW_SetPowerPolicy(Word(from)))},
    {"fan", "total power", 4, GET(MW_GetFanTotalPower(As<uint32_t>(to))), SET(MW_SetFanTotalPower(Word(from)))},
    {"netcard", "number", 4, GET(MW_GetNICCount(As<uint32_t>(to), &g_count)),
     SET(MW_SetNICCardAssetInfo(As<NicCardBlock>(from)))},
    {"fccard", "ports", sizeof(FCPortAssetInfo), GET(MW_GetFCPortAssetInfo(As<FCPortAssetInfo>(to))),
     SET(MW_SetFCPortAssetInfo(As<FCPortAssetInfo>(from)))},
    {"gpu", "all GPUs", sizeof(GPUAssetInfo), GET(MW_GetGPUAssetInfo(As<GPUAssetInfo>(to))),
     SET(MW_SetGPUAssetInfo(As<GPUAssetInfo>(from)))},
    {"raidcard", "back panel power", 4, GET(MW_GetAllDiskBackBoardPowerInfo(As<uint32_t>(to))),
     SET(MW_SetAllDiskBackBoardPowerInfo(Word(from)))},
    {"board", "platform resets", 4, GET(MW_GetPlatResetCount(As<uint16_t>(to))), SET(MW_SetPlatResetCount(Word(from)))},
    {"pcie", "number", 4, GET(MW_GetPcieCount(As<uint32_t>(to))), SET(MW_SetPcieAssetInfo(As<PcieAssetInfo>(from), 1))},
    {"fwinfo", "active BIOS", 4, GET(MW_GetBiosActiveStatus(As<uint32_t>(to))), SET(MW_SetBiosActiveStatus(Word(from)))},
    {"services", "NTP", sizeof(NtpInfo), GET(MW_GetNtpInfo(As<NtpInfo>(to))), SET(MW_SetTimeSource(Word(from)))},
    {"pch", "number", 4, GET(MW_GetPCHDiskCount(As<uint32_t>(to))), SET(MW_SetPCHDiskAssetInfo(As<PchDiskAssetInfo>(from)))},
    {"custcard", "all cards", sizeof(CustCardAssetInfo), GET(MW_GetCustCardAssetInfo(As<CustCardAssetInfo>(to))),
     SET(MW_SetCustCardAssetInfo(As<CustCardAssetInfo>(from)))},
};
#undef GET
#undef SET
// clang-format on

class Library : public Peer {
  public:
    explicit Library(std::span<const Accessor> accessors) : Peer(kLibrary, true), accessors_(accessors) {}
    void Start(const std::vector<size_t> &) override {
        // Zeros in, and one processor, one PCIe device and so many DIMMs, so that getters copy what they
        // should.
        std::memset(Buffer(), 0, MW_AREA_SIZE);
        CpuStatusInfo cpu{};
        Check(MW_SetCpuIndexAndSilkNumInStatusInfo(&cpu, 1) == 0, "MW_SetCpuIndexAndSilkNumInStatusInfo");
        for (const Accessor &accessor : accessors_) {
            Check(accessor.set(Buffer(), 1) == 0, accessor.module);
            Check(accessor.get(Buffer(), 1) == 0, accessor.module);
        }
    }
    uint64_t Get(unsigned record, void *to, uint64_t times) override {
        return accessors_[record].get(to, times);
    }
    uint64_t Set(unsigned record, const void *from, uint64_t times) override {
        return accessors_[record].set(from, times);
    }

  private:
    std::span<const Accessor> accessors_;
};

}  // namespace

std::span<const Accessor> TypicalAccessors() { return kTypical; }
std::span<const Accessor> SmallestAccessors() { return kSmallest; }

std::vector<size_t> SizesOf(std::span<const Accessor> accessors) {
    std::vector<size_t> sizes;
    for (const Accessor &accessor : accessors) sizes.push_back(accessor.bytes);
    return sizes;
}

std::unique_ptr<Peer> MakeLibrary(std::span<const Accessor> accessors) {
    return std::make_unique<Library>(accessors);
}

char *Buffer() {
    alignas(4096) static char buffer[MW_AREA_SIZE];
    return buffer;
}

namespace {

// A record of texts of 23 characters and numbers of any kind.
template <class T>
T *Filled() {
    char *const bytes = Buffer();
    for (size_t i = 0; i < MW_AREA_SIZE; ++i)
        bytes[i] = i % 24 == 23 ? '\0' : static_cast<char>('A' + i % 23);
    return reinterpret_cast<T *>(bytes);
}

// Through a setter of a counted table.
template <class T>
void Store(uint32_t T::*count, uint32_t records, int32_t (*set)(const T *)) {
    T *table = Filled<T>();
    table->*count = records;
    Check(set(table) == 0, "the setter of a table");
}

// Through a setter that takes the records and their number, or one record.
template <class T, class... Number>
void Store(int32_t (*set)(T *, Number...), Number... number) {
    Check(set(Filled<std::remove_const_t<std::conditional_t<std::is_void_v<T>, char, T>>>(), number...) == 0,
          "the setter of a list");
}

}  // namespace

void FillArea() {
    Store(MW_SetMemPhyInfo, MW_MEM_DIMM_MAX);
    Store(MW_SetMemAssetInfo, MW_MEM_DIMM_MAX);
    MemStatusInfo *status = Filled<MemStatusInfo>();
    for (uint32_t i = 0; i < MW_MEM_DIMM_MAX; ++i) status[i].tUsage = {};  // its counts are checked
    Check(MW_SetMemDimmNuminStatusInfo(status, MW_MEM_DIMM_MAX) == 0, "MW_SetMemDimmNuminStatusInfo");
    static HardDiskUsageInfo partitions;  // its texts have lengths
    partitions.dwTotalPart = MW_HARD_DISK_PART_MAX;
    Check(MW_SetHardDiskUsageInfoFromHostMon(&partitions) == 0, "MW_SetHardDiskUsageInfoFromHostMon");
    Store(MW_SetCpuPhyInfo, MW_CPU_MAX);
    Store(MW_SetCpuAssetInfo, MW_CPU_MAX);
    Store(MW_SetCpuIndexAndSilkNumInStatusInfo, MW_CPU_MAX);
    Store(MW_SetPemOnlinePhyInfo, MW_PEM_MAX);
    Store(MW_SetPemPmbusPhyInfo, MW_PEM_MAX);
    Check(MW_SetPemCount(MW_PEM_MAX) == 0, "MW_SetPemCount");
    Store(MW_SetPemCfgMode);
    Store(MW_SetFanOnlinePhyInfo, MW_FAN_MAX);
    Store(MW_SetFanControlPhyInfo, MW_FAN_MAX);
    Store(MW_SetFanAssetInfo, MW_FAN_MAX);
    Store(MW_SetFanDeviceZoneInfo);
    Store(&NicCardBlock::dwNicCardNum, MW_NIC_CARD_MAX, MW_SetNICCardAssetInfo);
    Store(&NicPortBlock::dwNicPortNum, MW_NIC_PORT_MAX, MW_SetNICPortAssetInfo);
    Store(&FCCardAssetInfo::dwCardCount, MW_FC_CARD_MAX, MW_SetFCCardAssetInfo);
    Store(&FCPortAssetInfo::dwPortCount, MW_FC_PORT_MAX, MW_SetFCPortAssetInfo);
    Store(&GPUAssetInfo::dwGpuCount, MW_GPU_MAX, MW_SetGPUAssetInfo);
    Store(&CustCardAssetInfo::dwCardCount, MW_CUST_CARD_MAX, MW_SetCustCardAssetInfo);
    Store(&RaidAssetInfo::dwCtrlNum, MW_RAID_CTRL_MAX, MW_SetRaidAssetInfo);
    Store(&Spr50DeviceAssetInfo::dwDeviceNum, MW_SPR50_DEVICE_MAX, MW_SetSpr50DeviceAssetInfo);
    Store(&HdAssetInfo::dwHdNum, MW_HD_MAX, MW_SetHdAssetInfo);
    Store(&LdAssetInfo::dwLdNum, MW_LD_MAX, MW_SetLdAssetInfo);
    Store(&NvmeAssetInfo::dwNvmeNum, MW_NVME_MAX, MW_SetNvmeAssetInfo);
    Store(&HddBackPanelAssetInfo::dwBackPanelNum, MW_BACK_PANEL_MAX, MW_SetHddBackPanelAssetInfo);
    Store(MW_SetBoardAlarmStatusInfo);
    Check(MW_SetInletTempCnt(MW_INLET_TEMP_MAX) == 0, "MW_SetInletTempCnt");
    Store(MW_SetPcieAssetInfo, MW_PCIE_MAX);
    Store(MW_SetBmcVerInfo);
    Store(MW_SetBiosVerInfo);
    Store(MW_SetBootVerInfo);
    Store(MW_SetFruVerInfo);
    Store(MW_SetEpldVerInfo);
    NtpInfo *ntp = Filled<NtpInfo>();
    ntp->dwServerCount = 6;
    Check(MW_SetNtpInfo(ntp) == 0, "MW_SetNtpInfo");
    RemoteSyslogInfo *syslog = Filled<RemoteSyslogInfo>();
    syslog->dwServerCount = 4;
    Check(MW_SetRemoteSyslogInfo(syslog) == 0, "MW_SetRemoteSyslogInfo");
    Store(&PchDiskAssetInfo::dwPCHDiskNum, MW_PCH_DISK_MAX - 1, MW_SetPCHDiskAssetInfo);
    Store(&PchCtrlAssetInfo::dwPCHCtrlNum, MW_PCH_CTRL_MAX, MW_SetPCHCtrlAssetInfo);
}

}  // namespace bench
