#include "pch/hov_midpch_vendor.h"

#include <cstring>

#include "hov_midware.h"
#include "hov_slibc.h"
#include "midware/pch.h"

using namespace midware;

namespace {

constexpr uint32_t kSubjectMax = 64;

// The bounded copy of a text in a field of 32 bytes: one that fills the field leaves the copy empty.
int Copy32(char *to, const char *from) { return strncpy_s(to, 32, from, strnlen_s(from, 32)); }

}  // namespace

int32_t findPchFirstSonStrInString(const char *pcText, const char *pcPrefix, uint32_t dwLength) {
    if (pcText == nullptr || pcPrefix == nullptr) return kFail;
    if (strnlen_s(pcText, kSubjectMax) < dwLength) return 0;
    return strncmp(pcText, pcPrefix, dwLength) == 0 ? 1 : 0;
}

int32_t PCH_ParseATAVendorAndModel(char *pcVendor, const char *pcModel) {
    if (pcVendor == nullptr || pcModel == nullptr) return kFail;
    char vendor[32];
    char model[32];
    memset_s(vendor, sizeof vendor, 0, sizeof vendor);
    memset_s(model, sizeof model, 0, sizeof model);
    Copy32(vendor, pcVendor);
    Copy32(model, pcModel);
    if (strncmp(vendor, "ATA", 3) == 0 && strnlen_s(vendor, sizeof vendor) == 3) {
        for (const AtaVendor &row : g_atAtaVendorTable) {
            const auto length = static_cast<uint32_t>(strnlen_s(row.acModelPrefix, sizeof row.acModelPrefix));
            if (findPchFirstSonStrInString(model, row.acModelPrefix, length) == 1) Copy32(vendor, row.acVendor);
        }
    }
    return Copy32(pcVendor, vendor);
}
