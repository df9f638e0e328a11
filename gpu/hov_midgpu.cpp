#include "gpu/hov_midgpu.h"

#include "hov_guard.h"

using namespace midware;

int32_t MW_GetGPUAssetInfo(GPUAssetInfo *ptInfo) {
    return CopyOut<GpuArea>(offsetof(GpuArea, tInfo), sizeof *ptInfo, ptInfo);
}

int32_t MW_SetGPUAssetInfo(const GPUAssetInfo *ptInfo) {
    return CopyIn<GpuArea>(offsetof(GpuArea, tInfo), sizeof *ptInfo, ptInfo);
}
