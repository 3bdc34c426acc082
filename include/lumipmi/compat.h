/** @file compat.h
 *  Windows-style primitives on POSIX, so that code written against these names runs unchanged.
 *
 *  The functions are thin and report no status: each maps one call onto the facility named with it. The library itself
 *  calls none of them, so a program may define its own functions of these names. */
#ifndef LUMIPMI_COMPAT_H
#define LUMIPMI_COMPAT_H

#include <pthread.h>
#include <stdint.h>

#include "lumipmi/export.h"

LUMI_BEGIN_DECLS

/** A lock in the caller's own storage: a POSIX mutex with default attributes, not recursive. */
typedef pthread_mutex_t CRITICAL_SECTION;

/** A loaded shared object: the opaque handle of the dynamic loader. */
typedef void *HMODULE;

/**
 * Pauses the calling thread with one nanosleep. A signal ends the pause early and the remainder is discarded.
 * @param[in] milliseconds  Length of the pause in ms; 0 returns at once.
 */
LUMI_API void Sleep(uint32_t milliseconds);

/**
 * Makes a lock ready for use (pthread_mutex_init); a failure goes unnoticed.
 * @param[out] section  Storage of the lock, whatever it holds.
 */
LUMI_API void InitializeCriticalSection(CRITICAL_SECTION *section);

/**
 * Ends the use of a lock that nobody holds (pthread_mutex_destroy).
 * @param[in,out] section  Initialised lock; its storage stays the caller's.
 */
LUMI_API void DeleteCriticalSection(CRITICAL_SECTION *section);

/**
 * Takes a lock, waiting for as long as another thread holds it (pthread_mutex_lock). Safe from any thread; a thread
 * that already holds the lock waits for ever.
 * @param[in,out] section  Initialised lock.
 */
LUMI_API void EnterCriticalSection(CRITICAL_SECTION *section);

/**
 * Gives a lock back (pthread_mutex_unlock).
 * @param[in,out] section  Lock that the calling thread holds.
 */
LUMI_API void LeaveCriticalSection(CRITICAL_SECTION *section);

/**
 * Lower-cases a text in place, byte by byte in the current locale (tolower).
 * @param[in,out] text  Terminated text, or null.
 * @returns text itself, null included.
 */
LUMI_API char *_strlwr(char *text);

/**
 * Opens a shared object under a Windows-style module name (dlopen with RTLD_NOW and RTLD_GLOBAL).
 *
 * A name whose last three characters are ".so" is a file name and used as it stands. Any other name becomes its
 * directory, "lib", its last component and ".so": foo opens libfoo.so, /opt/x/foo opens /opt/x/libfoo.so, and foo.so.1
 * opens libfoo.so.1.so. Names are cut at 255 characters.
 *
 * @param[in] name  Module or file name.
 * @returns the module, to be closed with FreeLibrary. Null when name is null, and null when the loader fails; then the
 *          loader's message stands as one line on standard output.
 */
LUMI_API HMODULE LoadLibrary(const char *name);

/**
 * Closes a module that LoadLibrary opened (dlclose).
 * @param[in] module  The module.
 * @returns 1 on success, 0 when module is null or the loader fails.
 */
LUMI_API int32_t FreeLibrary(HMODULE module);

/**
 * Looks up a symbol in a module (dlsym).
 * @param[in] module  The module.
 * @param[in] symbol  Name of a function or object.
 * @returns the symbol's address, null when the module does not have it.
 */
LUMI_API void *GetProcAddress(HMODULE module, const char *symbol);

LUMI_END_DECLS

#endif
