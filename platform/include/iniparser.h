/* INI files through opaque handles. Every handle that a load answered is given back with IniCloseFile.
 *
 * Names of sections and keys are case-sensitive. A value may be any text; it reads back the same byte for byte. */
#ifndef MIDWARE_PLATFORM_INIPARSER_H
#define MIDWARE_PLATFORM_INIPARSER_H

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/* A handle on the parsed file; an empty one when the file is missing; NULL when it cannot be read or parsed. */
void *IniLoadFile(const char *path);

/* The same, and creates a missing file; NULL when that fails too. */
void *HOV_IniLoadFile(const char *path);

/* Writes the handle's settings to `path`, replacing the file at once: a reader sees the old or the new one.
 * 0, or negative with the old file left in place (or, when its directory could not be synced, with the new one). */
int32_t IniSaveFile(void *ini, const char *path);

int32_t IniCloseFile(void *ini);

/* The stored text, valid until the handle is closed, or `fallback` itself when the key is absent. */
const char *IniGetStr(void *ini, const char *section, const char *key, const char *fallback);

/* The stored number, decimal or hexadecimal after 0x, or `fallback` when the key is absent or holds anything else: no
 * number, a sign, more than 32 bits. */
uint32_t IniGetUInt(void *ini, const char *section, const char *key, uint32_t fallback);

/* These change the handle only; IniSaveFile makes the change lasting. 0 or negative: for a name that the file could not
 * hold (control characters, blanks at the ends, "=" in a key or "[", ";", "#" in front of it, "]" in a section), and for
 * the removal of a key that is not there. */
int32_t IniSetStr(void *ini, const char *section, const char *key, const char *value);
int32_t IniSetUInt(void *ini, const char *section, const char *key, uint32_t value);
int32_t IniDelEntry(void *ini, const char *section, const char *key);

#ifdef __cplusplus
}
#endif
#endif
