// Records with a value in every field that a view shows.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstring>

#include "midware.h"
#include "tools_test.h"

namespace {

template <size_t size>
void Put(char (&text)[size], const char *value) {
    std::snprintf(text, size, "%s", value);
}

// Event data are found by the offset that their first byte carries.
template <size_t entries>
void LayOutEvents(uint8_t (&events)[entries][3]) {
    for (uint8_t i = 0; i < entries; ++i) events[i][0] = i;
}

}  // namespace

void StoreServices() {
    NtpInfo ntp{};
    ntp.dwTimeSource = MW_TIME_SOURCE_NTP;
    ntp.dwNtpEnable = 1;
    ntp.dwNtpInterval = 64;
    ntp.dwServerCount = 2;
    ntp.dwAuthEnable = 1;
    ntp.dwAuthKeyId = 7;
    Put(ntp.acNtpServerName[0], "ntp1.example.org");
    Put(ntp.acNtpServerName[3], "192.0.2.4");
    ASSERT_EQ(MW_SetNtpInfo(&ntp), 0);

    RemoteSyslogInfo syslog{};
    syslog.dwEnable = 1;
    syslog.dwServerCount = 2;
    syslog.atServer[0].dwEnable = 1;
    Put(syslog.atServer[0].acAddress, "log1.example.org");
    syslog.atServer[0].wPort = 6514;
    syslog.atServer[0].ucTransport = 2;
    syslog.atServer[0].ucMinSeverity = 4;
    Put(syslog.atServer[1].acAddress, "2001:db8::1");
    syslog.atServer[1].wPort = 514;
    syslog.atServer[1].ucTransport = 9;
    syslog.atServer[1].ucMinSeverity = 7;
    syslog.atServer[1].aucReserved[1] = 0xA5;
    ASSERT_EQ(MW_SetRemoteSyslogInfo(&syslog), 0);
}

void StoreMemory() {
    constexpr uint32_t kSlots = 4;
    MemPhyInfo slots[kSlots]{};
    MemStatusInfo states[kSlots]{};
    for (uint32_t i = 0; i < kSlots; ++i) {
        slots[i].dwMemNum = i + 1;
        slots[i].adwLocation[0] = i / 2;
        slots[i].adwLocation[2] = i % 2;
        std::snprintf(slots[i].acSilkName, sizeof slots[i].acSilkName, "DIMM%u%u0", i / 2, i % 2);
        slots[i].dwPresent = i < 2;
        states[i].dwDimmNum = i + 1;
        states[i].tTempInfo.dwDimmNum = i + 1;
        states[i].tAlarmInfo.dwDimmNum = i + 1;
        LayOutEvents(states[i].aucSelEventData);
    }
    states[0].tTempInfo.ucTempValid = 1;
    states[0].tTempInfo.iTemp = 45;
    states[0].tTempInfo.dwTempArg3 = 46;
    states[0].tTempInfo.dwUpperCritical = 85;
    states[0].tTempInfo.dwUpdateTime = 3600;
    states[1].tTempInfo.ucTempValid = 1;
    states[1].tTempInfo.iTemp = -3;
    states[1].tTempInfo.dwUpdateTime = 3601;
    ASSERT_EQ(MW_SetMemPhyInfo(slots, kSlots), 0);
    ASSERT_EQ(MW_SetMemDimmNuminStatusInfo(states, kSlots), 0);
    ASSERT_EQ(MW_SetMemMemOverTempState(2, 1), 0);
    ASSERT_EQ(MW_SetMemCorrectECCState(2, 1), 0);
    ASSERT_EQ(MW_SetMemUnCorrectECCState(2, 0x80), 0);
    ASSERT_EQ(MW_SetMemCorrectECCCnt(2, 9), 0);
    ASSERT_EQ(MW_SetMemAssertSelEventDataInfo(2, 0x0200A5), 0);

    MemAssetInfo assets[2]{};
    for (uint32_t i = 0; i < 2; ++i) {
        assets[i].dwDimmNum = i + 1;
        assets[i].adwLocation[2] = i;
        Put(assets[i].acDeviceLocator, i == 0 ? "DIMM000" : "DIMM010");
        Put(assets[i].acManufacturer, "Example");
        Put(assets[i].acPartNum, "EX-32G");
        Put(assets[i].acMemType, "DDR4");
        assets[i].dwMaxSpeed = 3200;
        assets[i].dwConfiguredSpeed = 2933;
        assets[i].dwTotalWidth = 72;
        assets[i].dwDataWidth = 64;
        assets[i].dwRank = 2;
        assets[i].dwConfiguredVoltage = 1200;
        assets[i].dwSizeGB = 32;
        assets[i].dwSizeMB = 32768;
        assets[i].dwPresent = 1;
    }
    assets[1].adwReserved2[3] = 0x01020304;
    ASSERT_EQ(MW_SetMemAssetInfo(assets, 2), 0);

    ASSERT_EQ(MW_SetMemTotalPower(31), 0);
    ASSERT_EQ(MW_SetMemHealthyStatusInfo(2, 2, 1), 0);
    ASSERT_EQ(MW_SetMemUsgInfoFromHostMon(MW_VALID_FLAG | 40 << 16), 0);
    ASSERT_EQ(MW_SetIoUsgInfoFromME(12, MW_VALID_FLAG), 0);
    ASSERT_EQ(MW_SetHostMemUsgAlarmStatus(1), 0);

    HardDiskUsageInfo disks{};
    disks.dwTotalPart = 2;
    Put(disks.atPart[0].acPartName, "/");
    disks.atPart[0].ucUsedPercent = 40;
    disks.atPart[0].dwTotalMB = 102400;
    disks.atPart[0].dwUsedMB = 40960;
    Put(disks.atPart[1].acPartName, "/var/log");
    disks.atPart[1].ucUsedPercent = 91;
    disks.atPart[1].dwTotalMB = 2048;
    disks.atPart[1].dwUsedMB = 1864;
    ASSERT_EQ(MW_SetHardDiskUsageInfoFromHostMon(&disks), 0);
    ASSERT_EQ(MW_SetHostHardDiskUsgAlarmStatus(1, 1), 0);
}

void StoreProcessors() {
    CpuPhyInfo sockets[2]{};
    CpuStatusInfo states[2]{};
    CpuAssetInfo assets[2]{};
    for (uint32_t i = 0; i < 2; ++i) {
        sockets[i].dwCpuIndex = i;
        sockets[i].dwSilkNum = i + 1;
        sockets[i].dwPresent = 1;
        std::snprintf(sockets[i].acSilkName, sizeof sockets[i].acSilkName, "CPU%u", i + 1);
        sockets[i].dwPackageId = i;
        states[i].dwCpuIndex = i;
        states[i].dwSilkNum = i + 1;
        states[i].tTempInfo.dwCpuIndex = i;
        states[i].tAlarmInfo.dwCpuIndex = i;
        states[i].tAlarmInfo.ucProcessorPresenceState = 1;
        LayOutEvents(states[i].atAssertEventData);
        assets[i].dwCpuId = i;
        Put(assets[i].acManufacturer, "Example");
        Put(assets[i].acModel, "Example Processor 8C");
        Put(assets[i].acSocket, i == 0 ? "CPU1" : "CPU2");
        Put(assets[i].acMicrocode, "0x2b000461");
        Put(assets[i].acArchitecture, "x86_64");
        assets[i].dwFamily = 6;
        assets[i].dwModel = 143;
        assets[i].dwStepping = 8;
        assets[i].dwCoreCount = 8;
        assets[i].dwThreadCount = 16;
        assets[i].dwMaxFrequency = 3600;
        assets[i].dwL3KB = 16384;
        assets[i].dwFrequency = 2400;
    }
    ASSERT_EQ(MW_SetCpuPhyInfo(sockets, 2), 0);
    ASSERT_EQ(MW_SetCpuIndexAndSilkNumInStatusInfo(states, 2), 0);
    ASSERT_EQ(MW_SetCpuAssetInfo(assets, 2), 0);
    ASSERT_EQ(MW_SetCpuCurrentTemp(0, 61), 0);
    ASSERT_EQ(MW_SetCpuUCRTemp(0, 95), 0);
    ASSERT_EQ(MW_SetCpuTjmax(0, 100), 0);
    ASSERT_EQ(MW_SetCpuTcontrol(0, 10), 0);
    const uint8_t margin[MW_CPU_TMARGIN_SIZE] = {1, 2, 3, 4, 5, 6, 7, 0xFF};
    ASSERT_EQ(MW_SetCpuTmargin(1, margin), 0);
    ASSERT_EQ(MW_SetCpuxVRPower(0, 150), 0);
    ASSERT_EQ(MW_SetPxDimmVRPower(1, 12), 0);
    ASSERT_EQ(MW_SetCpuTotalPower(280), 0);
    ASSERT_EQ(MW_SetCpuHealthyStatusInfo(1, 3, 2), 0);
    ASSERT_EQ(MW_SetCpuIERRState(1, 1), 0);
    ASSERT_EQ(MW_SetCpuProcessorThrottledState(1, 1), 0);
    ASSERT_EQ(MW_SetCpuAssertSelEventDataInfo(1, 0x0012A1), 0);
    ASSERT_EQ(MW_SetCpuUsgInfoFromME(17, MW_VALID_FLAG), 0);
    ASSERT_EQ(MW_SetCpuUsgInfoFromHostMon(0x00FF00), 0);
}

void StoreDisks() {
    PchCtrlAssetInfo ctrls{};
    ctrls.dwPCHCtrlNum = 1;
    PchCtrlInfo &ctrl = ctrls.atPchCtrl[0];
    ctrl.dwCtrlId = 0xB8;
    ctrl.wVendorId = 0x1234;
    ctrl.wDeviceId = 0x5678;
    ctrl.dwClassCode = 0x010601;
    ctrl.ucPortNum = 2;
    ctrl.dwDev = 0x17;
    ctrl.ucCpuId = 1;
    Put(ctrl.acDriverName, "ahci");
    ASSERT_EQ(MW_SetPCHCtrlAssetInfo(&ctrls), 0);

    PchDiskAssetInfo disks{};
    disks.dwPCHDiskNum = 3;
    for (uint32_t i = 0; i < 3; ++i) {
        PchDiskInfo &disk = disks.atPchDisk[i];
        disk.dwDiskId = i;
        disk.dwCtrlId = i < 2 ? 0xB8 : 0xC8;
        disk.wPort = static_cast<uint16_t>(i + 4);
        disk.wSectorSize = 512;
        disk.ucInfoA = i == 0 ? MW_HD_HEALTH_GOOD : MW_HD_HEALTH_UNKNOWN;
        disk.ucInfoB = MW_HD_MEDIA_ROTATING;
        disk.ucTemperature = i == 0 ? 35 : 0;
        disk.dwRotateRate = i == 0 ? 7200 : 10500;
        disk.dwInfoC = 476940;
        disk.ucIfType = MW_PCH_IF_SATA;
        disk.dLinkRate = i == 0 ? 6.0 : 12.0;
        Put(disk.acVendor, "ATA");
        Put(disk.acModel, i == 0 ? "TOSHIBA EXAMPLE" : "EXAMPLE");
        Put(disk.acSerialNum, "SER");
        Put(disk.acFwVersion, "FW1");
    }
    ASSERT_EQ(MW_SetPCHDiskAssetInfo(&disks), 0);
}
