// The guarded accessor, written once: attach, take the module's semaphore, copy, release.
//
// A module describes its area as a struct with `static constexpr const Module &kModule`; its accessors are then one
// line each on ReadField, WriteField, CopyOut and their like, or a few lines on a Guard:
//
//     int32_t MW_GetThing(Thing *ptOut) { return CopyOut<ThingArea>(offsetof(ThingArea, tThing), sizeof(Thing), ptOut); }
//
// Messages name the exported function and the line in it: `Caller at = Here()` as a default argument is the place of
// the call, and a shared body hands it on.
#ifndef HOV_GUARD_H
#define HOV_GUARD_H

#include <cstddef>
#include <cstdint>
#include <type_traits>

#include "hov_midware.h"
#include "hov_slibc.h"

namespace midware {

// Attaches, and when that fails logs it for the accessors that do: `pointer` is the name of the module's pointer.
bool AttachOrLog(const Module &module, const char *pointer, Caller at = Here());

// The module's area without its semaphore, for the few reads that are unguarded by design; NULL when this process is not
// attached and cannot be.
template <class Area>
const Area *Unguarded() {
    return Attach(Area::kModule) ? static_cast<const Area *>(PointerOf(Area::kModule)) : nullptr;
}

// True when `count` records of `size` bytes, `stride` bytes apart, lie in the region; one line is logged otherwise.
// `offset` is that of the first one from the start of the module's area.
bool InRegion(const Module &module, int64_t offset, uint64_t count, uint32_t size, uint32_t stride, Caller at);

// Chooses the guard that does not attach.
struct AsItStands {};

// One module's semaphore, held from construction to destruction.
class GuardBase {
 public:
    GuardBase(const GuardBase &) = delete;
    GuardBase &operator=(const GuardBase &) = delete;

    // False when the process could not be attached or the semaphore not be taken: the accessor answers -1.
    explicit operator bool() const { return area_ != nullptr; }

    // The bytes [offset, offset + size) from the start of the module's area. Numbers given by callers and counts stored
    // by them may lead into neighbouring areas; bytes outside the region are refused: NULL, and one line is logged.
    void *Reach(int64_t offset, uint32_t size) const;

    // The same for `count` records of `size` bytes, `stride` bytes apart: where the first one begins.
    void *ReachRecords(int64_t offset, uint64_t count, uint32_t size, uint32_t stride) const;

    // Leaves the semaphore taken when this goes out of scope.
    void KeepHeld() { area_ = nullptr; }

    const Caller &caller() const { return at_; }

 protected:
    GuardBase(const Module &module, LockText text, Caller at);
    GuardBase(const Module &module, AsItStands, Caller at);
    ~GuardBase() {
        if (area_ != nullptr) Release();
    }
    void *area() const { return area_; }

 private:
    void Take(LockText text);
    void Release() const;

    const Module &module_;
    void *area_ = nullptr;
    Caller at_;
};

template <class Area>
class Guard : public GuardBase {
 public:
    explicit Guard(Caller at = Here()) : GuardBase(Area::kModule, Area::kModule.lock_text, at) {}
    explicit Guard(LockText text, Caller at = Here()) : GuardBase(Area::kModule, text, at) {}
    explicit Guard(AsItStands pointer, Caller at = Here()) : GuardBase(Area::kModule, pointer, at) {}

    Area *operator->() const { return static_cast<Area *>(area()); }
    Area &operator*() const { return *static_cast<Area *>(area()); }

    // A T at a byte offset of the area, or NULL outside the region. T is a byte type or a record that lies aligned
    // wherever `offset` can lead; use Load and Store where it may not.
    template <class T>
    T *At(int64_t offset) const {
        return static_cast<T *>(Reach(offset, sizeof(T)));
    }
};

// A value at an address of any alignment.
template <class T>
T Load(const void *from) {
    T value;
    __builtin_memcpy(&value, from, sizeof value);
    return value;
}

template <class T>
void Store(void *to, std::type_identity_t<T> value) {
    __builtin_memcpy(to, &value, sizeof value);
}

// --- whole records -----------------------------------------------------------------------------------------------

using CopyFunction = int (*)(void *, size_t, const void *, size_t);

int32_t CopyOutOf(const Module &module, LockText text, int64_t offset, uint32_t size, void *to, CopyFunction copy,
                  Caller at);
int32_t CopyInto(const Module &module, LockText text, int64_t offset, uint32_t size, const void *from,
                 CopyFunction copy, Caller at);

// Copies `size` bytes of the area to the caller, who must not pass NULL: -1, silent.
template <class Area>
int32_t CopyOut(int64_t offset, uint32_t size, void *to, Caller at = Here()) {
    return CopyOutOf(Area::kModule, Area::kModule.lock_text, offset, size, to, memcpy_s, at);
}

template <class Area>
int32_t CopyIn(int64_t offset, uint32_t size, const void *from, Caller at = Here()) {
    return CopyInto(Area::kModule, Area::kModule.lock_text, offset, size, from, memcpy_s, at);
}

// --- single fields -----------------------------------------------------------------------------------------------

// Reads one field through a pointer that is not tested.
template <class Area, class T>
int32_t ReadFieldUntested(T Area::*field, T *to, Caller at = Here()) {
    Guard<Area> area(at);
    if (!area) return kFail;
    *to = (*area).*field;
    return kOk;
}

template <class Area, class T>
int32_t ReadField(T Area::*field, T *to, Caller at = Here()) {
    return to == nullptr ? kFail : ReadFieldUntested(field, to, at);
}

template <class Area, class T>
int32_t WriteField(T Area::*field, std::type_identity_t<T> value, Caller at = Here()) {
    Guard<Area> area(at);
    if (!area) return kFail;
    (*area).*field = value;
    return kOk;
}

// --- lists -------------------------------------------------------------------------------------------------------

// `count` is the offset of the stored count; the records lie `stride` bytes apart from `first` on, and `size` bytes of
// each are exchanged, back to back in the caller's buffer.
struct List {
    uint32_t count;
    uint32_t first;
    uint32_t size;
    uint32_t stride;
};

// Stores the count through `count`, which is not tested, then copies that many records to `to`. The stored count is
// taken as it is.
int32_t ReadListOf(const Module &module, const List &list, void *to, uint32_t *count, Caller at);

// Stores `count`, then copies that many records in. The count is taken as it is.
int32_t WriteListOf(const Module &module, const List &list, const void *from, uint32_t count, Caller at);

// The body of ReadListOf below the semaphore, for accessors that test more first.
int32_t CopyListOut(const GuardBase &area, const List &list, void *to, uint32_t *count);

template <class Area>
int32_t ReadList(const List &list, void *to, uint32_t *count, Caller at = Here()) {
    return count == nullptr ? kFail : ReadListOf(Area::kModule, list, to, count, at);
}

template <class Area>
int32_t ReadListCountUntested(const List &list, void *to, uint32_t *count, Caller at = Here()) {
    return ReadListOf(Area::kModule, list, to, count, at);
}

template <class Area>
int32_t WriteList(const List &list, const void *from, uint32_t count, Caller at = Here()) {
    return WriteListOf(Area::kModule, list, from, count, at);
}

// --- searches ----------------------------------------------------------------------------------------------------

// The index of the first of `count` records, `stride` bytes apart, whose word at `key_offset` equals `key`; -1 when
// there is none, also when the search would leave the region, which is logged.
int64_t FindByWord(const GuardBase &area, int64_t key_offset, uint32_t stride, uint32_t count, uint32_t key);

}  // namespace midware

#endif
