/* The shared area: one shared-memory region that all processes of the controller map, one slice a module. */
#ifndef MIDWARE_AREA_H
#define MIDWARE_AREA_H

#include "midware/base.h"

#define MW_AREA_KEY 4099u           /* key of the region and of the semaphore that guards its creation */
#define MW_AREA_SIZE 708704u        /* bytes */
#define MW_VALID_FLAG 85u           /* a companion word of this value marks a usage figure as valid */
#define MW_NO_VALUE 0xFFFFFFFFu     /* what a getter hands out for a figure that is not valid */

MW_BEGIN_DECLS

/* This process's addresses of the region and of the fifteen module areas; NULL until the first accessor attached.
 * An accessor works through its module's pointer as it stands. */
extern MW_API void *g_ptMidWareAddr;
extern MW_API void *g_ptMemCollectAddr;
extern MW_API void *g_ptCpuCollectAddr;
extern MW_API void *g_ptPemCollectAddr;
extern MW_API void *g_ptPswCollectAddr;
extern MW_API void *g_ptFanCollectAddr;
extern MW_API void *g_ptNicCollectAddr;
extern MW_API void *g_ptFcCardCollectAddr;
extern MW_API void *g_ptGPUCollectAddr;
extern MW_API void *g_ptRaidCollectionAddr;
extern MW_API void *g_ptBoardCollectAddr;
extern MW_API void *g_ptPcieCollectAddr;
extern MW_API void *g_ptFwCollectAddr;
extern MW_API void *g_ptServCollectAddr;
extern MW_API void *g_ptPCHCollectAddr;
extern MW_API void *g_ptCustCardCollectAddr;

/* Storage for the programs that link the library, which itself never uses it; NULL at first. */
extern MW_API void (*pSendRedfunc)(void);

/**
 * Creates the shared area: the region (key 4099, 708,704 bytes), zeroed while its own semaphore is held, and then the
 * fifteen module semaphores 12290 to 12304. For the one start-up process: a second call discards every record again.
 *
 * Sets g_ptMidWareAddr; the fifteen module pointers follow with the first accessor.
 *
 * @return 0; -1 when the region could not be created (silent), its semaphore not be taken within 500 ms (one
 *         "sem lock failed" line at level 130) or its address not be had (silent). A module semaphore that could not
 *         be created is not reported here: its module's accessors then fail to lock.
 */
MW_API int32_t MW_MidWareInit(void);

/**
 * Attaches this process to the shared area unless it is attached: every accessor calls it with its module's pointer.
 *
 * @param ptModule the module's pointer as it stands; anything but NULL means attached, and nothing else is looked at.
 * @return 0, having set all sixteen pointers where it was NULL; -1 when the region does not exist: "MW_MidMemCheck:LINE
 *         Memory init error " goes to standard output, g_ptMidWareAddr is NULL and the module pointers are as they were.
 */
MW_API int32_t MW_MidMemCheck(const void *ptModule);

/** Does nothing. @return 0 */
MW_API int32_t MW_PostMsgtoAlarm(void);

MW_END_DECLS

#endif
