#include "pcie/hov_midpcie.h"

#include <cstring>

#include "cpu/hov_midcpu.h"
#include "dbgout.h"
#include "hov_guard.h"
#include "hov_table.h"
#include "hov_uptime.h"
#include "midware/netcard.h"

using namespace midware;

namespace {

using PcieGuard = Guard<PcieArea>;

constexpr uint32_t kRecordSize = sizeof(PcieAssetInfo);
constexpr uint32_t kFirstRecord = offsetof(PcieArea, atPcieAsset);
constexpr List kTable{offsetof(PcieArea, dwPcieNum), kFirstRecord, kRecordSize, kRecordSize};
constexpr size_t kRiser = offsetof(PcieArea, aucRisercardAsset);

Table<PcieAssetInfo> RecordsOf(const PcieGuard &area) { return {area, area->dwPcieNum, kFirstRecord}; }

// Cuts the text at the capacity and at the end of its array, whichever comes first.
template <size_t N>
void PutText(char *to, size_t capacity, const char (&from)[N]) {
    snprintf_s(to, capacity, "%.*s", static_cast<int>(N), from);
}

template <size_t Capacity, size_t N>
void PutText(char (&to)[Capacity], const char (&from)[N]) {
    PutText(to, Capacity, from);
}

template <size_t Capacity>
void PutNumbered(char (&to)[Capacity], const char *name, uint32_t number) {
    snprintf_s(to, Capacity, "%s%d", name, static_cast<int>(number));
}

// --- setters of the card types -----------------------------------------------------------------------------------

// The texts that every card type brings; the serial number is not one of them.
void PutCardTexts(PcieAssetInfo &record, const PcieCardTextBlock &text, uint32_t slot) {
    PutText(record.acTextB, text.acTextB);
    PutText(record.acTextC, sizeof text.acTextC, text.acTextC);
    PutText(record.acTextD, text.acTextD);
    PutText(record.acTextG, sizeof text.acTextG, text.acTextG);
    PutText(record.acDevTypeName, text.acDevTypeName);
    PutText(record.acTextF, text.acTextF);
    PutText(record.acTextE, text.acTextE);
    snprintf_s(record.acDevName, sizeof record.acDevName, "%.*s%d", static_cast<int>(sizeof text.acDevTypeName),
               text.acDevTypeName, static_cast<int>(slot));
}

void PutSerialAndTexts(PcieAssetInfo &record, const PcieCardTextBlock &text, uint32_t slot) {
    PutText(record.acSerialNum, text.acSerialNum);
    PutCardTexts(record, text, slot);
}

// Hands every record to `visit`.
template <class Visit>
int32_t ForEachRecord(Visit visit, Caller at) {
    PcieGuard area(at);
    if (!area) return kFail;
    Table<PcieAssetInfo> records = RecordsOf(area);
    if (!records.Whole()) return kFail;
    while (PcieAssetInfo *record = records.Next()) visit(*record);
    return kOk;
}

uint32_t Clamped(int32_t value) { return value < 0 ? 0 : static_cast<uint32_t>(value); }

// --- queries -----------------------------------------------------------------------------------------------------

// Copies the first record that `matches` accepts; a card of this `kind` is reported as missing otherwise.
template <class Matches>
int32_t CopyCard(const char *kind, uint32_t slot, Matches matches, PcieAssetInfo *to, Caller at) {
    PcieGuard area(at);
    if (!area) return kFail;
    Table<PcieAssetInfo> records = RecordsOf(area);
    const PcieAssetInfo *card =
        records.Find([&](const PcieAssetInfo &record) { return record.ucSlot == slot && matches(record); });
    if (card == nullptr) {
        if (!records.refused()) {
            IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s:%d:No %s card find in slot %d\n", kPcie.source, at.line,
                                 at.function, at.line, kind, static_cast<int>(slot));
        }
        return kFail;
    }
    memcpy_s(to, kRecordSize, card, kRecordSize);
    return kOk;
}

bool AnyType(const PcieAssetInfo &) { return true; }

// The slots from here on are not shown to upper interfaces. The processor area is looked at as it stands, without its
// semaphore: nothing is nested for three characters that change once in a start-up.
uint32_t SlotLimit(const CpuArea &cpu) {
    const bool few = cpu.dwCpuAssetNum != 0 && strncmp(cpu.atCpuAssetInfo[0].acManufacturer, "AMD", 3) == 0;
    return few ? 20 : 100;
}

// The two that follow serve the build of OCP records, which may run without a guard on the table.

uint32_t CountIn(const void *area) {
    return __atomic_load_n(&static_cast<const PcieArea *>(area)->dwPcieNum, __ATOMIC_RELAXED);
}

// The record of an OCP card as BIOS reported it, or NULL.
const PcieAssetInfo *FindInBiosRecords(const void *area, uint32_t count, const NicCardAssetInfo &card, Caller at) {
    constexpr int kSerialSize = sizeof card.acSerialNum;
    const void *first = static_cast<const char *>(area) + kFirstRecord;
    for (auto *record = static_cast<const PcieAssetInfo *>(first); count > 0; ++record, --count) {
        if (record->ucDevType != MW_PCIE_TYPE_OCP || record->ucSlot != card.ucNicSlotNum) continue;
        if (strncmp(record->acSerialNum, card.acSerialNum, kSerialSize) == 0) return record;
        IDBG_LINUXAPP_DbgOut(kLevelError,
                             "[%s:%d]%s: OCP slot %d serialnum checked not the same from BIOS:%.*s and from netcard "
                             "module:%.*s, maybe new OCP netcard.",
                             kPcie.source, at.line, at.function, card.ucNicSlotNum, kSerialSize, record->acSerialNum,
                             kSerialSize, card.acSerialNum);
    }
    IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s: OCP slot %d check failed with BIOS assert info.", kPcie.source,
                         at.line, at.function, card.ucNicSlotNum);
    return nullptr;
}

void PutNicFields(PcieAssetInfo &to, const NicCardAssetInfo &card) {
    to.ucClassCode = MW_PCIE_CLASS_NETWORK;
    to.ucDevType = MW_PCIE_TYPE_OCP;
    to.ucSlot = card.ucNicSlotNum;
    to.ucBus = card.ucBus;
    to.ucDevice = card.ucDevice;
    to.ucFunction = card.ucFunction;
    to.wVendorId = card.wVendorId;
    to.wDeviceId = card.wDeviceId;
    to.wSubVendorId = card.wSubVendorId;
    to.wSubDeviceId = card.wSubDeviceId;
    to.ucExtType = MW_PCIE_EXT_OCP;
    to.ucCardFlag = 0;
    to.dwMemSize = 0;
    to.dwCardAttr1 = 0;
    to.dwCardAttr2 = 0;
    PutText(to.acTextG, card.acNicText1);
    PutText(to.acTextD, card.acNicText4);
    PutText(to.acTextC, card.acNicText3);
    PutText(to.acTextB, card.acNicText5);
    PutText(to.acDevTypeName, "NIC");
    PutText(to.acSerialNum, card.acSerialNum);
    PutText(to.acTextF, card.acNicText2);
    PutText(to.acTextE, card.acNicText3);
    PutNumbered(to.acDevName, "NIC", card.ucNicSlotNum);
}

// The extension block comes whole from BIOS or is zero: the network card's own attribute in it never shows.
void PutBiosFields(PcieAssetInfo &to, const PcieAssetInfo &bios) {
    to.ucBiosAttr = bios.ucBiosAttr;
    to.tBiosInfo1.ucValue = bios.tBiosInfo1.ucValue;
    to.tBiosInfo2.ucValue = bios.tBiosInfo2.ucValue;
    to.tBiosInfo1.qwValue = bios.tBiosInfo1.qwValue;
    to.tBiosInfo2.qwValue = bios.tBiosInfo2.qwValue;
    to.ucPresentState = bios.ucPresentState;
    to.ucBiosState1 = bios.ucBiosState1;
    to.ucBiosState2 = bios.ucBiosState2;
    to.ucBiosState3 = bios.ucBiosState3;
    PutText(to.acLocation, bios.acLocation);
    PutText(to.acSlotName, bios.acSlotName);
    memcpy_s(to.aucBiosExt, sizeof to.aucBiosExt, bios.aucBiosExt, sizeof bios.aucBiosExt);
}

void PutUnknownToBios(PcieAssetInfo &to) {
    to.ucBiosAttr = MW_PCIE_UNKNOWN;
    to.tBiosInfo1.qwValue = 0;
    to.tBiosInfo2.qwValue = 0;
    to.tBiosInfo1.ucValue = 0;
    to.tBiosInfo2.ucValue = 0;
    to.ucPresentState = 0;
    to.ucBiosState1 = MW_PCIE_UNKNOWN;
    to.ucBiosState2 = MW_PCIE_UNKNOWN;
    to.ucBiosState3 = MW_PCIE_UNKNOWN;
    PutNumbered(to.acLocation, "mainboardPCIeCard", to.ucSlot);
    PutNumbered(to.acSlotName, "PCIeCard", to.ucSlot);
    memset_s(to.aucBiosExt, sizeof to.aucBiosExt, 0, sizeof to.aucBiosExt);
}

// --- riser cards and alarm states --------------------------------------------------------------------------------

// Stores one kind of alarm for a device and keeps the bus summary: it holds 1 as long as some device does.
int32_t SetAlarm(uint32_t kind, uint8_t type, uint8_t slot, uint8_t state, Caller at = Here()) {
    PcieGuard area(at);
    if (!area) return kFail;
    Table<PcieAssetInfo> records = RecordsOf(area);
    if (!records.Whole()) return kFail;
    while (PcieAssetInfo *record = records.Next()) {
        if (record->ucDevType == type && record->ucSlot == slot) record->aucAlarmState[kind] = state;
    }
    uint8_t &summary = area->aucCriticalIntAlarm[kind];
    if (state == MW_PCIE_ALARM_ASSERTED) {
        summary = MW_PCIE_ALARM_ASSERTED;
        return kOk;
    }
    const bool asserted = RecordsOf(area).Find([=](const PcieAssetInfo &record) {
        return record.aucAlarmState[kind] == MW_PCIE_ALARM_ASSERTED;
    }) != nullptr;
    if (!asserted) summary = 0;
    return kOk;
}

}  // namespace

int32_t MW_GetPcieCount(uint32_t *pdwCount) { return ReadField(&PcieArea::dwPcieNum, pdwCount); }

int32_t MW_GetPcieAssetInfo(PcieAssetInfo *ptOut, uint32_t *pdwCount) {
    return ReadListCountUntested<PcieArea>(kTable, ptOut, pdwCount);
}

int32_t MW_SetPcieAssetInfo(const PcieAssetInfo *ptIn, uint32_t dwCount) {
    return WriteList<PcieArea>(kTable, ptIn, dwCount);
}

int32_t MW_GetRisercardAssetInfo(uint8_t *pucOut) {
    if (pucOut == nullptr || !AttachOrLog(kPcie, "g_ptPcieCollectAddr")) return kFail;
    return CopyOutOf(kPcie, LockText::kAfter, kRiser, MW_RISERCARD_SIZE, pucOut, hov_memcpy_s, Here());
}

int32_t MW_SetRisercardAssetInfo(const uint8_t *pucIn) {
    if (pucIn == nullptr || !AttachOrLog(kPcie, "g_ptPcieCollectAddr")) return kFail;
    PcieGuard area(LockText::kLine);
    if (!area) return kFail;
    hov_memset_s(area->aucRisercardAsset, MW_RISERCARD_SIZE, 0, MW_RISERCARD_SIZE);
    hov_memcpy_s(area->aucRisercardAsset, MW_RISERCARD_SIZE, pucIn, MW_RISERCARD_SIZE);
    return kOk;
}

// The setters of the card types differ on purpose in what they match and in what they store: the network card's never
// writes the serial number, which stays as BIOS reported it.

int32_t MW_SetPcieNicInfo(const PcieNicCardInfo *ptIn) {
    if (ptIn == nullptr) return kFail;
    const auto update = [=](PcieAssetInfo &record) {
        if (record.ucSlot != ptIn->ucSlot) return;
        record.aucBiosExt[MW_PCIE_BIOS_EXT_NIC_ATTR] = ptIn->ucNicAttr;
        record.ucCardFlag = ptIn->ucCardFlag != 0;
        PutCardTexts(record, ptIn->tText, ptIn->ucSlot);
    };
    return ForEachRecord(update, Here());
}

int32_t MW_SetPcieFcInfo(const PcieFcCardInfo *ptIn) {
    if (ptIn == nullptr) return kFail;
    const auto update = [=](PcieAssetInfo &record) {
        if (record.ucSlot == ptIn->ucSlot) PutSerialAndTexts(record, ptIn->tText, ptIn->ucSlot);
    };
    return ForEachRecord(update, Here());
}

int32_t MW_SetPcieGpuInfo(const PcieGpuCardInfo *ptIn) {
    if (ptIn == nullptr) return kFail;
    const auto update = [=](PcieAssetInfo &record) {
        if (record.ucSlot != ptIn->dwSlot) return;
        record.dwGpuValue1 = ptIn->dwValue1;
        record.dwGpuValue3 = Clamped(ptIn->iValue3);
        record.dwGpuValue2 = ptIn->dwValue2;
        record.dwGpuMem = Clamped(ptIn->iMemSize);
        record.dwGpuValue5 = Clamped(ptIn->iValue5);
        record.dwMemSize = record.dwGpuMem << 10;
        record.dwCardAttr1 = record.dwGpuValue5;
        record.dwCardAttr2 = record.dwGpuValue3;
        record.dwGpuValue6 = ptIn->dwValue6;
        PutText(record.acGpuText1, ptIn->acGpuText1);
        PutText(record.acGpuText2, ptIn->acGpuText2);
        PutSerialAndTexts(record, ptIn->tText, ptIn->dwSlot);
        record.ucCardFlag = ptIn->ucCardFlag != 0;
    };
    return ForEachRecord(update, Here());
}

int32_t MW_SetPcieNvmeInfo(const PcieNvmeCardInfo *ptIn) {
    if (ptIn == nullptr) return kFail;
    const auto update = [=](PcieAssetInfo &record) {
        if (record.ucSlot != ptIn->dwSlot || record.ucDevType != MW_PCIE_TYPE_NVME || ptIn->ucDevKind != 2) return;
        record.dwNvmeValue1 = ptIn->dwNvmeValue1;
        record.dwNvmeValue2 = ptIn->dwNvmeValue2;
        record.dwNvmeValue3 = ptIn->dwNvmeValue3;
        record.ucCardFlag = ptIn->ucCardFlag;
        PutSerialAndTexts(record, ptIn->tText, ptIn->dwSlot);
    };
    return ForEachRecord(update, Here());
}

int32_t MW_SetPcieRaidInfo(const PcieRaidCardInfo *ptIn) {
    if (ptIn == nullptr) return kFail;
    const auto update = [=](PcieAssetInfo &record) {
        if (record.ucSlot != ptIn->dwSlot || record.ucClassCode != MW_PCIE_CLASS_STORAGE) return;
        record.dwMemSize = ptIn->dwMemSize;
        PutSerialAndTexts(record, ptIn->tText, ptIn->dwSlot);
    };
    return ForEachRecord(update, Here());
}

int32_t MW_GetPcieNicInfo(uint32_t dwKind, uint32_t dwSlot, PcieAssetInfo *ptOut) {
    if (dwKind > 1) return kFail;
    const uint8_t type = dwKind == 0 ? MW_PCIE_TYPE_CARD : MW_PCIE_TYPE_NVME;
    const auto matches = [=](const PcieAssetInfo &record) {
        return record.ucDevType == type && record.ucClassCode == MW_PCIE_CLASS_NETWORK;
    };
    return CopyCard("nic", dwSlot, matches, ptOut, Here());
}

int32_t MW_GetPcieFcInfo(uint32_t dwSlot, PcieAssetInfo *ptOut) {
    const auto matches = [](const PcieAssetInfo &record) { return record.ucClassCode == MW_PCIE_CLASS_SERIAL_BUS; };
    return CopyCard("fc", dwSlot, matches, ptOut, Here());
}

int32_t MW_GetPcieGpuInfo(uint32_t dwSlot, PcieAssetInfo *ptOut) {
    return CopyCard("gpu", dwSlot, AnyType, ptOut, Here());
}

int32_t MW_GetPcieNvmeInfo(uint32_t dwSlot, PcieAssetInfo *ptOut) {
    const auto matches = [](const PcieAssetInfo &record) { return record.ucDevType == MW_PCIE_TYPE_NVME; };
    return CopyCard("nvme", dwSlot, matches, ptOut, Here());
}

int32_t MW_GetPcieRaidInfo(uint32_t dwSlot, PcieAssetInfo *ptOut) {
    const auto matches = [](const PcieAssetInfo &record) { return record.ucClassCode == MW_PCIE_CLASS_STORAGE; };
    return CopyCard("raid", dwSlot, matches, ptOut, Here());
}

int32_t MW_GetPcieAssetInfoBySlot(PcieAssetInfo *ptOut, uint32_t dwSlot) {
    if (!Attach(kPcie)) return kFail;
    if (dwSlot == 0) {
        const Caller at = Here();
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s:%d: Not support slot number:%d\n", kPcie.source, at.line,
                             at.function, at.line, static_cast<int>(dwSlot));
        return kFail;
    }
    PcieGuard area;
    if (!area) return kFail;
    Table<PcieAssetInfo> records = RecordsOf(area);
    const PcieAssetInfo *card = records.Find([=](const PcieAssetInfo &record) { return record.ucSlot == dwSlot; });
    if (card == nullptr) return records.result();
    memcpy_s(ptOut, kRecordSize, card, kRecordSize);
    return kOk;
}

int32_t MW_GetPcieAssetInfoForUpperInterface(PcieAssetInfo *ptOut, uint32_t *pdwCount) {
    if (ptOut == nullptr) return kFail;
    PcieGuard area;
    if (!area) return kFail;
    const auto *cpu = static_cast<const CpuArea *>(PointerOf(kCpu));
    Table<PcieAssetInfo> records = RecordsOf(area);
    if (cpu == nullptr || !records.Whole()) return kFail;

    const uint32_t limit = SlotLimit(*cpu);
    uint32_t n = 0;
    while (const PcieAssetInfo *record = records.Next()) {
        if (record->ucSlot == 0 || record->ucSlot >= limit) continue;
        if (record->ucDevType == MW_PCIE_TYPE_HIDDEN || record->ucDevType == MW_PCIE_TYPE_OCP) continue;
        memcpy_s(&ptOut[n++], kRecordSize, record, kRecordSize);
    }
    // The one place where semaphores nest, PCIe before network card. A failure leaves these cards out.
    MW_GetPcieOCPAssetInfo(ptOut + n, &n);
    for (uint32_t i = 0; i < n; ++i) ptOut[i].dwIndex = i;
    *pdwCount = n;
    return kOk;
}

// Made to run below semaphore 12298, which it neither takes nor looks for.
int32_t MW_GetPcieOCPAssetInfo(PcieAssetInfo *ptOut, uint32_t *pdwCount) {
    if (ptOut == nullptr || pdwCount == nullptr) return kFail;
    NicCardBlock nic;
    memset_s(&nic, sizeof nic, 0, sizeof nic);
    if (MW_GetNICCardAssetInfo(&nic) < 0) {
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s: fail to get NIC info.", kPcie.source, __LINE__, __func__);
        return kFail;
    }
    const void *area = PointerOf(kPcie);
    // The copy ends with its 64th card, whatever the count says.
    const uint32_t cards = nic.dwNicCardNum < MW_NIC_CARD_MAX ? nic.dwNicCardNum : MW_NIC_CARD_MAX;
    for (uint32_t i = 0; i < cards; ++i) {
        const NicCardAssetInfo &card = nic.atNicCard[i];
        if (card.ucNicSlotType != MW_NIC_SLOT_OCP) continue;
        if (area == nullptr) return kFail;
        const uint32_t records = CountIn(area);
        if (!InRegion(kPcie, kFirstRecord, records, kRecordSize, kRecordSize, Here())) return kFail;
        PcieAssetInfo &record = *ptOut++;
        PutNicFields(record, card);
        const PcieAssetInfo *bios = FindInBiosRecords(area, records, card, Here());
        if (bios != nullptr) {
            PutBiosFields(record, *bios);
        } else {
            PutUnknownToBios(record);
        }
        record.dwUpdateTime = UptimeSeconds();
        ++*pdwCount;
    }
    return kOk;
}

int32_t MW_GetSpecificPcieCardPresentCnt(uint8_t ucClassCode, uint8_t ucPresentState, uint16_t wVendorId) {
    PcieGuard area;
    if (!area) return kFail;
    Table<PcieAssetInfo> records = RecordsOf(area);
    if (!records.Whole()) return kFail;
    int32_t count = 0;
    while (const PcieAssetInfo *record = records.Next()) {
        count += record->ucClassCode == ucClassCode && record->ucPresentState == ucPresentState &&
                 record->wVendorId == wVendorId;
    }
    return count;
}

int32_t MW_GetPcieAlarmInfoByDevTypeSlot(uint8_t *pucOut, uint8_t ucDevType, uint8_t ucSlot) {
    const auto read = [=](const PcieAssetInfo &record) {
        if (record.ucDevType != ucDevType || record.ucSlot != ucSlot) return;
        const auto *bytes = reinterpret_cast<const uint8_t *>(&record) + offsetof(PcieAssetInfo, aucAlarmState);
        memcpy_s(pucOut, MW_PCIE_ALARM_SIZE, bytes, MW_PCIE_ALARM_SIZE);
    };
    return ForEachRecord(read, Here());
}

int32_t MW_GetCriticalIntAlarmInfo(uint8_t *pucOut) {
    PcieGuard area;
    if (!area) return kFail;
    memcpy_s(pucOut, MW_PCIE_ALARM_SIZE, area->aucCriticalIntAlarm, MW_PCIE_ALARM_SIZE);
    return kOk;
}

int32_t MW_SetPcieDignosticInterruptState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_DIAGNOSTIC_INTERRUPT, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieBusTimeoutState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_BUS_TIMEOUT, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieIOChannelCheckNMIState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_IO_CHANNEL_CHECK_NMI, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieSoftwareNMIState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_SOFTWARE_NMI, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPciePCIPERRState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_PCI_PERR, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPciePCISERRState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_PCI_SERR, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieEISAFailSafeTimeoutState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_EISA_FAIL_SAFE_TIMEOUT, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieEBusCorrectableErrorState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_BUS_CORRECTABLE_ERROR, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieBusUncorrectableErrorState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_BUS_UNCORRECTABLE_ERROR, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieFatalNMIState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_FATAL_NMI, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieBusFatalErrorState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_BUS_FATAL_ERROR, ucDevType, ucSlot, ucState);
}

int32_t MW_SetPcieBusDegradedState(uint8_t ucDevType, uint8_t ucSlot, uint8_t ucState) {
    return SetAlarm(MW_PCIE_ALARM_BUS_DEGRADED, ucDevType, ucSlot, ucState);
}

int32_t MW_ClearAllPcieAlarmInfoAllStates(void) {
    PcieGuard area;
    if (!area) return kFail;
    Table<PcieAssetInfo> records = RecordsOf(area);
    if (!records.Whole()) return kFail;
    while (PcieAssetInfo *record = records.Next()) {
        memset_s(record->aucAlarmState, MW_PCIE_ALARM_KINDS, 0, MW_PCIE_ALARM_KINDS);
    }
    memset_s(area->aucCriticalIntAlarm, MW_PCIE_ALARM_KINDS, 0, MW_PCIE_ALARM_KINDS);
    return kOk;
}
