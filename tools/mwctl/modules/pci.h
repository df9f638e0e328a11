// Names of what several modules say about PCI devices.
#ifndef MWCTL_MODULES_PCI_H
#define MWCTL_MODULES_PCI_H

#include "table.h"

namespace mwctl {

// Base classes (PCI Code and ID Assignment Specification).
inline constexpr Code kPciClasses[] = {{0x00, "unclassified"},
                                       {0x01, "mass storage"},
                                       {0x02, "network"},
                                       {0x03, "display"},
                                       {0x04, "multimedia"},
                                       {0x05, "memory"},
                                       {0x06, "bridge"},
                                       {0x07, "communication"},
                                       {0x08, "system peripheral"},
                                       {0x09, "input device"},
                                       {0x0A, "docking station"},
                                       {0x0B, "processor"},
                                       {0x0C, "serial bus"},
                                       {0x0D, "wireless"},
                                       {0x0E, "intelligent I/O"},
                                       {0x0F, "satellite communication"},
                                       {0x10, "encryption"},
                                       {0x11, "signal processing"},
                                       {0x12, "processing accelerator"},
                                       {0x13, "non-essential instrumentation"},
                                       {0x40, "co-processor"},
                                       {0xFF, "unassigned"}};

inline constexpr Code kLinkSpeeds[] = {{0, "unknown"}, {1, "2.5 GT/s"}, {2, "5 GT/s"}, {3, "8 GT/s"},
                                       {4, "16 GT/s"}, {5, "32 GT/s"},  {6, "64 GT/s"}};

}  // namespace mwctl

#endif
