#include "netcard/hov_midnetcard.h"

#include "dbgout.h"
#include "hov_guard.h"
#include "hov_table.h"

using namespace midware;

namespace {

constexpr size_t kCards = offsetof(NicArea, tCards);
constexpr size_t kPorts = offsetof(NicArea, tPorts);

using NicGuard = Guard<NicArea>;

Table<NicCardAssetInfo> CardsOf(const NicGuard &area) {
    return {area, area->tCards.dwNicCardNum, offsetof(NicArea, tCards.atNicCard)};
}

bool HasT200(const NicCardAssetInfo &card) { return card.dwT200Flag == 1; }

// Hands the first card with a T200 block to `use`; without one there is nothing to do.
template <class Use>
int32_t UseFirstT200(Use use, Caller at) {
    NicGuard area(at);
    if (!area) return kFail;
    Table<NicCardAssetInfo> cards = CardsOf(area);
    const NicCardAssetInfo *card = cards.Find(HasT200);
    if (card == nullptr) return cards.result();
    use(*card);
    return kOk;
}

// Whole degrees in 8 bits: negative readings and NaN give 0, those beyond 32 bits the largest number.
uint8_t WholeDegrees(float temperature) {
    if (!(temperature > 0)) return 0;
    return static_cast<uint8_t>(temperature < 4294967296.0f ? static_cast<uint32_t>(temperature) : UINT32_MAX);
}

int32_t PortTemp(uint8_t owner_type, uint8_t slot, uint8_t port_id, uint8_t *degrees, Caller at) {
    if (degrees == nullptr) return kFail;
    NicGuard area(at);
    if (!area) return kFail;
    Table<NicPortAssetInfo> ports(area, area->tPorts.dwNicPortNum, offsetof(NicArea, tPorts.atNicPort));
    int index = 0;
    while (const NicPortAssetInfo *port = ports.Next()) {
        IDBG_LINUXAPP_Runtime_DbgOut(kLevelTrace,
                                     "[%s:%d]dwSFPIndex:%d,ucNetPortOwnerNicSlottype:%d,iCompleteCode:%d,"
                                     "ucNetPortOwnerNicSlotnum:%d,ucNetPortId:%d",
                                     kNic.source, at.line, index++, port->ucNetPortOwnerNicSlottype,
                                     port->iCompleteCode, port->ucNetPortOwnerNicSlotnum, port->ucNetPortId);
        if (port->ucNetPortOwnerNicSlottype == owner_type && port->iCompleteCode == 0 &&
            port->ucNetPortOwnerNicSlotnum == slot && port->ucNetPortId == port_id) {
            *degrees = WholeDegrees(port->fPortTemp);
            return kOk;
        }
    }
    if (ports.refused()) return kFail;
    // The wording, with this name in it, is the interface of both readers.
    IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]MW_GetOCPPortTempByIndex failed! ucOCPSlotId:%d,ucSFPId:%d", kNic.source,
                         at.line, slot, port_id);
    return kFail;
}

}  // namespace

int32_t MW_GetNICCardAssetInfo(NicCardBlock *ptOut) { return CopyOut<NicArea>(kCards, sizeof(NicCardBlock), ptOut); }

int32_t MW_SetNICCardAssetInfo(const NicCardBlock *ptIn) {
    return CopyIn<NicArea>(kCards, sizeof(NicCardBlock), ptIn);
}

int32_t MW_GetNICPortAssetInfo(NicPortBlock *ptOut) { return CopyOut<NicArea>(kPorts, sizeof(NicPortBlock), ptOut); }

int32_t MW_SetNICPortAssetInfo(const NicPortBlock *ptIn) {
    return CopyIn<NicArea>(kPorts, sizeof(NicPortBlock), ptIn);
}

int32_t MW_GetNICCount(uint32_t *pdwCount1, uint32_t *pdwCount2) {
    if (pdwCount1 == nullptr || pdwCount2 == nullptr) return kFail;
    NicGuard area;
    if (!area) return kFail;
    *pdwCount1 = area->tCards.dwNicCardNum;
    *pdwCount2 = area->tCards.dwNicCardNum;
    return kOk;
}

int32_t MW_GetOcpPresentStatus(uint8_t *pucMask) {
    if (pucMask == nullptr) return kFail;
    *pucMask = 0;
    NicGuard area;
    if (!area) return kFail;
    Table<NicCardAssetInfo> cards = CardsOf(area);
    if (!cards.Whole()) return kFail;
    while (const NicCardAssetInfo *card = cards.Next()) {
        const uint32_t bit = card->ucNicSlotId - 1u;  // slot ID 0 has none
        if (card->ucNicSlotType == MW_NIC_SLOT_OCP && bit < 8) *pucMask = static_cast<uint8_t>(*pucMask | 1u << bit);
    }
    return kOk;
}

int32_t MW_GetT200TempInfo(uint8_t *pucOut) {
    if (pucOut == nullptr) return kFail;
    // Looked at before the semaphore is taken: a block that is not in order is not worth waiting for.
    const NicArea *cards = Unguarded<NicArea>();
    if (cards == nullptr || __atomic_load_n(&cards->tCards.dwNicCardNum, __ATOMIC_RELAXED) > MW_NIC_CARD_MAX)
        return kFail;
    return UseFirstT200(
        [=](const NicCardAssetInfo &card) { memcpy_s(pucOut, sizeof(T200Info), &card.tT200Info, sizeof(T200Info)); },
        Here());
}

int32_t MW_GetT200ExistAndSlot(uint8_t *pucExist, uint8_t *pucSlot) {
    if (pucExist == nullptr || pucSlot == nullptr) return kFail;
    return UseFirstT200(
        [=](const NicCardAssetInfo &card) {
            *pucExist = 1;
            *pucSlot = card.ucNicSlotId;
        },
        Here());
}

int32_t MW_GetT200PostStatus(uint8_t *pucStatus) {
    if (pucStatus == nullptr) return kFail;
    return UseFirstT200([=](const NicCardAssetInfo &card) { *pucStatus = card.tT200Info.ucPostStatus; }, Here());
}

int32_t MW_GetT200SensorTempByIndex(uint32_t dwIndex, uint8_t *pucTemp) {
    if (pucTemp == nullptr || !Attach(kNic)) return kFail;
    if (dwIndex >= MW_T200_SENSOR_MAX) {
        IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s] T200 sensor index %d is not supported.\n", kNic.source,
                             __LINE__, __func__, static_cast<int>(dwIndex));
        return kFail;
    }
    NicGuard area;
    if (!area) return kFail;
    Table<NicCardAssetInfo> cards = CardsOf(area);
    while (const NicCardAssetInfo *card = cards.Find(HasT200)) {
        const T200Info &t200 = card->tT200Info;
        if (t200.ucPostStatus >= 2 && t200.ucPostStatus <= 254) {
            *pucTemp = t200.atSensor[dwIndex].ucTemp;
            return kOk;
        }
        IDBG_LINUXAPP_DbgOut(kLevelSensor, "%s failed! tT200Info.ucPostStatus:%d,ucSensorIndex:%d", __func__,
                             t200.ucPostStatus, static_cast<int>(dwIndex));
    }
    return kFail;
}

int32_t MW_GetOCPSinglePortTemp(uint8_t ucOCPSlotId, uint8_t ucSFPId, uint8_t *pucTemp) {
    return PortTemp(MW_NIC_SLOT_OCP, ucOCPSlotId, ucSFPId, pucTemp, Here());
}

int32_t MW_GetNICSinglePortTemp(uint8_t ucSlotNum, uint8_t ucSFPId, uint8_t *pucTemp) {
    return PortTemp(MW_NIC_SLOT_STANDARD, ucSlotNum, ucSFPId, pucTemp, Here());
}
