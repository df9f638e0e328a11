/* libmidware: the shared inventory, sensor and state records of a server's management controller.
 *
 * Any process may call any function. Unless a function says otherwise it takes its module's semaphore for the length of
 * one copy and answers 0 or -1. Records are little-endian with fixed byte layouts. */
#ifndef MIDWARE_H
#define MIDWARE_H

#include "midware/area.h"
#include "midware/board.h"
#include "midware/cpu.h"
#include "midware/custcard.h"
#include "midware/fan.h"
#include "midware/fccard.h"
#include "midware/fwinfo.h"
#include "midware/gpu.h"
#include "midware/mem.h"
#include "midware/netcard.h"
#include "midware/pch.h"
#include "midware/pcie.h"
#include "midware/pem.h"
#include "midware/power.h"
#include "midware/raidcard.h"
#include "midware/services.h"

#endif
