/* What every record header needs: linkage, visibility and the assertions that pin the byte layouts. */
#ifndef MIDWARE_BASE_H
#define MIDWARE_BASE_H

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define MW_BEGIN_DECLS extern "C" {
#define MW_END_DECLS }
#else
#define MW_BEGIN_DECLS
#define MW_END_DECLS
#endif

#if defined(__GNUC__)
#define MW_API __attribute__((visibility("default")))
#else
#define MW_API
#endif

/* MW_SIZE_IS and MW_OFFSET_IS fail to compile where a record does not have the layout that all processes share. */
#if defined(__cplusplus)
#define MW_SIZE_IS(type, bytes) static_assert(sizeof(type) == (bytes), #type " is " #bytes " bytes")
#define MW_OFFSET_IS(type, field, at) static_assert(offsetof(type, field) == (at), #type "." #field " lies at " #at)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define MW_SIZE_IS(type, bytes) _Static_assert(sizeof(type) == (bytes), #type " is " #bytes " bytes")
#define MW_OFFSET_IS(type, field, at) _Static_assert(offsetof(type, field) == (at), #type "." #field " lies at " #at)
#else
#define MW_SIZE_IS(type, bytes) typedef char mw_size_of_##type[(sizeof(type) == (bytes)) ? 1 : -1]
#define MW_OFFSET_IS(type, field, at) typedef char mw_offset_of_##type##_##field[(offsetof(type, field) == (at)) ? 1 : -1]
#endif

#endif
