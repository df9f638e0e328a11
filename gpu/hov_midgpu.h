// The accelerator area: one block.
#ifndef HOV_MIDGPU_H
#define HOV_MIDGPU_H

#include "hov_midware.h"
#include "midware/gpu.h"

namespace midware {

struct GpuArea {
    static constexpr const Module &kModule = kGpu;

    uint32_t dwUnused;
    GPUAssetInfo tInfo;
};

static_assert(offsetof(GpuArea, tInfo) == 4);
static_assert(sizeof(GpuArea) == kGpu.size);

}  // namespace midware

#endif
