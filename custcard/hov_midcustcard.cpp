#include "custcard/hov_midcustcard.h"

#include "hov_guard.h"

using namespace midware;

int32_t MW_GetCustCardAssetInfo(CustCardAssetInfo *ptInfo) {
    return CopyOut<CustCardArea>(offsetof(CustCardArea, tInfo), sizeof *ptInfo, ptInfo);
}

int32_t MW_SetCustCardAssetInfo(const CustCardAssetInfo *ptInfo) {
    return CopyIn<CustCardArea>(offsetof(CustCardArea, tInfo), sizeof *ptInfo, ptInfo);
}
