/* The Linux platform layer keeps parsed INI files. This switches that off, for measurements. Not part of the
 * interfaces that libmidware calls. */
#ifndef MIDWARE_PLATFORM_INIPARSER_CACHE_H
#define MIDWARE_PLATFORM_INIPARSER_CACHE_H

#ifdef __cplusplus
extern "C" {
#endif

/* 0: every load parses the file; otherwise (the default) an unchanged file is parsed once. Answers the
 * earlier setting. Concerns this process only. */
int IniCacheEnable(int enable);

#ifdef __cplusplus
}
#endif
#endif
