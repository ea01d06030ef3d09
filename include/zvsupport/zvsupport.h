/* zvsupport: the two functions that a host process calls. This header compiles as C and as C++.
 *
 * Conventions
 *
 *  1. The library is loaded at run time (or linked) by the host and needs no call of its own to
 *     start or to stop: loading starts it, unloading ends it and gives everything back. It may be
 *     loaded and unloaded any number of times.
 *  2. Both functions answer a signed 32-bit result code: 0 is success, a negative number a failure.
 *     The codes are listed at each function; as unsigned numbers they begin with 0x8.
 *  3. Nothing is ever thrown out of the library, and nothing is logged.
 *  4. Text is narrow, zero-terminated, and in the code page of the process's locale. The library
 *     keeps no pointer after the call. A null pointer answers 0x80070057.
 *  5. Any thread may call. Calls of one process may overlap; migrations are carried out one after
 *     the other.
 *  6. Loading changes one thing of the host's: the run-time library's locale becomes the user's
 *     default (setlocale(LC_ALL, "")).
 *  7. Codes that either function can answer: 0x80070057 an argument makes no sense, 0x8007000E out
 *     of memory, 0x80004005 a failure without a code of its own. When the library could not start
 *     (memory, system resources), every call answers that failure's code and touches nothing.
 *  8. The functions use the platform's standard calling convention (ZV_STDCALL) and are exported
 *     under exactly these names.
 */
#ifndef ZVSUPPORT_ZVSUPPORT_H
#define ZVSUPPORT_ZVSUPPORT_H

#include <stdint.h>

/* Where compilers know the standard convention by this name, it is that of the exports. */
#if defined(__stdcall) || defined(_MSC_VER)
#define ZV_STDCALL __stdcall
#else
#define ZV_STDCALL
#endif

#ifdef __cplusplus
extern "C" {
#endif

/* Moves the product's configuration registry from one back-end to another.
 *
 * sourceName, targetName: "NATIVE" (the Windows registry) or "INI" (the file "zvregistry.ini" in
 * the current directory), in any case of letters. sourceParam, targetParam: ignored; pass 0.
 *
 * Every value under HKEY_CLASSES_ROOT, HKEY_LOCAL_MACHINE and HKEY_CURRENT_USER is copied, one by
 * one, to the same place in the target. Values of more than 2048 bytes are left out; the file holds
 * text alone, so that numbers, binary data and lists are left out of it, and text that a line
 * cannot hold (line breaks) as well. When the source is the file it is deleted afterwards; if it
 * holds anything that was not carried, it is moved aside to "zvregistry.ini.unmigrated" instead. A
 * value that is left out is no failure.
 *
 * 0            the migration ran to its end
 * 0x80070057   a name is unknown or null, or both are "INI"; nothing was touched
 * 0x80004007   "FILE", a name reserved for a back-end that does not exist; nothing was copied
 * 0x80070005   and others: a key could not be enumerated; what was copied so far stays copied, and
 *              an INI source stays where it is
 */
int32_t ZV_STDCALL RegistryMigrate(const char* sourceName, int32_t sourceParam,
                                   const char* targetName, int32_t targetParam);

/* Asks the file server behind a mapped drive whether it supports Unicode.
 *
 * drive: the drive's name, as "F:". Its first byte names the drive, in either case; the whole text
 * is the beginning of the path under which the server's answer is read.
 *
 * The server's version decides: 5 and later do, 3 and earlier do not. A server of version 4, or one
 * that does not tell, is asked itself, for which the user needs console operator rights: it is told
 * to load its module "nwzvinst", which leaves a result code in the file "zvinst.dat" in the root of
 * the drive. The call waits for that file, 0.7 seconds at most, and deletes it. Calls for drives of
 * one server must not overlap: they would take one another's file.
 *
 * The server is reached through Novell's client where it is installed, otherwise through
 * Microsoft's.
 *
 * 0            the server supports Unicode
 * 0x804E0001   it does not
 * 0x804E0202   the server refused to load the module
 * 0x804E897C   the user has no console operator rights on the server
 * 0x804E9800   the client cannot ask the server to load a module
 * 0x80004005   and others: the drive is not mapped to a server, the server cannot be attached to,
 *              there is no client, or there was no whole answer in time
 * any other    the code that the module left in its file, as it stands there
 */
int32_t ZV_STDCALL NWCheckUnicodeSupport(const char* drive);

#ifdef __cplusplus
}
#endif

#endif
