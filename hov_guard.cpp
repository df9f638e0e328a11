#include "hov_guard.h"

#include <cerrno>

#include "dbgout.h"
#include "oal.h"

namespace midware {
namespace {

struct AnyGuard : GuardBase {
    AnyGuard(const Module &module, LockText text, Caller at) : GuardBase(module, text, at) {}
};

// With the error text of errno.
void LogLockFailure(const Module &module, LockText text, Caller at) {
    switch (text) {
        case LockText::kError:
        case LockText::kNoError:
            IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s] sem lock failed, %s\n", module.source, at.line, at.function,
                                 text == LockText::kError ? hov_strerror_s(errno) : "");
            break;
        case LockText::kLineError:
            IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s %d] sem lock failed, %s\n", module.source, at.line,
                                 at.function, at.line, hov_strerror_s(errno));
            break;
        case LockText::kAfter:
            IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s] %d sem lock failed.\n", module.source, at.line, at.function,
                                 at.line);
            break;
        case LockText::kLine:
            IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s %d] sem lock failed.\n", module.source, at.line, at.function,
                                 at.line);
            break;
    }
}

bool LiesInside(const Module &module, int64_t offset, uint64_t count, uint32_t size, uint32_t stride) {
    // Counts and numbers are 32 bits wide and strides below 64 KiB: nothing here wraps.
    const int64_t first = module.offset + offset;
    const int64_t end = count == 0 ? first : first + static_cast<int64_t>((count - 1) * stride) + size;
    return first >= 0 && end <= static_cast<int64_t>(MW_AREA_SIZE);
}

void LogRefusal(const Module &module, Caller at) {
    IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d][%s] access outside the shared area refused\n", module.source, at.line,
                         at.function);
}

}  // namespace

bool AttachOrLog(const Module &module, const char *pointer, Caller at) {
    if (Attach(module)) return true;
    IDBG_LINUXAPP_DbgOut(kLevelError, "[%s:%d]%s %d: fail to get %s.", module.source, at.line, at.function, at.line,
                         pointer);
    return false;
}

inline void GuardBase::Take(LockText text) {
    if (OAL_SemLockByKey(module_.key, kLockTimeoutMs) < 0) {
        LogLockFailure(module_, text, at_);
        return;
    }
    area_ = PointerOf(module_);
    if (area_ == nullptr) Release();  // never attached, or somebody cleared the exported pointer meanwhile
}

GuardBase::GuardBase(const Module &module, LockText text, Caller at) : module_(module), at_(at) {
    if (Attach(module)) Take(text);
}

GuardBase::GuardBase(const Module &module, AsItStands, Caller at) : module_(module), at_(at) {
    Take(module.lock_text);
}

void GuardBase::Release() const { OAL_SemUnLockByKey(module_.key, kLockTimeoutMs); }

bool InRegion(const Module &module, int64_t offset, uint64_t count, uint32_t size, uint32_t stride, Caller at) {
    const bool inside = LiesInside(module, offset, count, size, stride);
    if (!inside) LogRefusal(module, at);
    return inside;
}

void *GuardBase::Reach(int64_t offset, uint32_t size) const { return ReachRecords(offset, 1, size, 0); }

void *GuardBase::ReachRecords(int64_t offset, uint64_t count, uint32_t size, uint32_t stride) const {
    if (!LiesInside(module_, offset, count, size, stride)) {
        LogRefusal(module_, at_);
        return nullptr;
    }
    return static_cast<char *>(area_) + static_cast<ptrdiff_t>(offset);
}

int32_t CopyOutOf(const Module &module, LockText text, int64_t offset, uint32_t size, void *to, CopyFunction copy,
                  Caller at) {
    if (to == nullptr) return kFail;
    AnyGuard area(module, text, at);
    if (!area) return kFail;
    const void *from = area.Reach(offset, size);
    if (from == nullptr) return kFail;
    copy(to, size, from, size);
    return kOk;
}

int32_t CopyInto(const Module &module, LockText text, int64_t offset, uint32_t size, const void *from,
                 CopyFunction copy, Caller at) {
    if (from == nullptr) return kFail;
    AnyGuard area(module, text, at);
    if (!area) return kFail;
    void *to = area.Reach(offset, size);
    if (to == nullptr) return kFail;
    copy(to, size, from, size);
    return kOk;
}

int32_t CopyListOut(const GuardBase &area, const List &list, void *to, uint32_t *count) {
    const uint32_t n = Load<uint32_t>(area.Reach(list.count, sizeof n));
    const char *from = static_cast<const char *>(area.ReachRecords(list.first, n, list.size, list.stride));
    if (from == nullptr) return kFail;
    *count = n;
    char *out = static_cast<char *>(to);
    for (uint32_t i = 0; i < n; ++i, from += list.stride, out += list.size) memcpy_s(out, list.size, from, list.size);
    return kOk;
}

int32_t ReadListOf(const Module &module, const List &list, void *to, uint32_t *count, Caller at) {
    if (to == nullptr) return kFail;
    AnyGuard area(module, module.lock_text, at);
    return area ? CopyListOut(area, list, to, count) : kFail;
}

int32_t WriteListOf(const Module &module, const List &list, const void *from, uint32_t count, Caller at) {
    if (from == nullptr) return kFail;
    AnyGuard area(module, module.lock_text, at);
    if (!area) return kFail;
    char *to = static_cast<char *>(area.ReachRecords(list.first, count, list.size, list.stride));
    if (to == nullptr) return kFail;
    Store<uint32_t>(area.Reach(list.count, sizeof count), count);
    const char *in = static_cast<const char *>(from);
    for (uint32_t i = 0; i < count; ++i, to += list.stride, in += list.size) memcpy_s(to, list.size, in, list.size);
    return kOk;
}

int64_t FindByWord(const GuardBase &area, int64_t key_offset, uint32_t stride, uint32_t count, uint32_t key) {
    for (uint32_t i = 0; i < count; ++i) {
        const void *word = area.Reach(key_offset + static_cast<int64_t>(i) * stride, sizeof key);
        if (word == nullptr) return -1;
        if (Load<uint32_t>(word) == key) return i;
    }
    return -1;
}

}  // namespace midware
