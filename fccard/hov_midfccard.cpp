#include "fccard/hov_midfccard.h"

#include "hov_guard.h"

using namespace midware;

namespace {

constexpr size_t kCards = offsetof(FcCardArea, tCards);
constexpr size_t kPorts = offsetof(FcCardArea, tPorts);

}  // namespace

int32_t MW_GetFCCardAssetInfo(FCCardAssetInfo *ptInfo) { return CopyOut<FcCardArea>(kCards, sizeof *ptInfo, ptInfo); }

int32_t MW_SetFCCardAssetInfo(const FCCardAssetInfo *ptInfo) {
    return CopyIn<FcCardArea>(kCards, sizeof *ptInfo, ptInfo);
}

int32_t MW_GetFCPortAssetInfo(FCPortAssetInfo *ptInfo) { return CopyOut<FcCardArea>(kPorts, sizeof *ptInfo, ptInfo); }

int32_t MW_SetFCPortAssetInfo(const FCPortAssetInfo *ptInfo) {
    return CopyIn<FcCardArea>(kPorts, sizeof *ptInfo, ptInfo);
}
