// The wide entry points that the NT family has, found by name through GetProcAddress (modules.cpp).
//
// Each is called like its narrow twin in platform/win32.h, with the same answers, errors and thread
// rule. Text is char16_t. A file or library name that the narrow code page cannot hold is refused
// with ERROR_INVALID_NAME: replaced characters would lead to another file.
#ifndef ZVSUPPORT_PLATFORM_POSIX_WIDE_FUNCTIONS_H
#define ZVSUPPORT_PLATFORM_POSIX_WIDE_FUNCTIONS_H

#include "platform/win32.h"

extern "C" {

UINT ZV_SYSTEM_CALL GetTempFileNameW(const char16_t* path, const char16_t* prefix, UINT unique,
                                     char16_t* name);
DWORD ZV_SYSTEM_CALL GetTempPathW(DWORD size, char16_t* buffer);
HANDLE ZV_SYSTEM_CALL CreateFileW(const char16_t* path, DWORD access, DWORD share,
                                  SECURITY_ATTRIBUTES* attributes, DWORD disposition, DWORD flags,
                                  HANDLE templateFile);
BOOL ZV_SYSTEM_CALL DeleteFileW(const char16_t* path);
BOOL ZV_SYSTEM_CALL CreateDirectoryW(const char16_t* path, SECURITY_ATTRIBUTES* attributes);
BOOL ZV_SYSTEM_CALL RemoveDirectoryW(const char16_t* path);
HANDLE ZV_SYSTEM_CALL FindFirstFileW(const char16_t* pattern, WIN32_FIND_DATAW* data);
BOOL ZV_SYSTEM_CALL CreateProcessW(const char16_t* application, char16_t* commandLine,
                                   SECURITY_ATTRIBUTES* processAttributes,
                                   SECURITY_ATTRIBUTES* threadAttributes, BOOL inheritHandles,
                                   DWORD flags, void* environment, const char16_t* directory,
                                   STARTUPINFOW* startup, PROCESS_INFORMATION* process);
DWORD ZV_SYSTEM_CALL GetFullPathNameW(const char16_t* name, DWORD size, char16_t* buffer,
                                      char16_t** filePart);
HMODULE ZV_SYSTEM_CALL LoadLibraryW(const char16_t* name);
DWORD ZV_SYSTEM_CALL ExpandEnvironmentStringsW(const char16_t* source, char16_t* target,
                                               DWORD size);
BOOL ZV_SYSTEM_CALL GetComputerNameW(char16_t* name, DWORD* size);
BOOL ZV_SYSTEM_CALL GetUserNameW(char16_t* name, DWORD* size);

LONG ZV_SYSTEM_CALL RegCreateKeyExW(HKEY key, const char16_t* subKey, DWORD reserved,
                                    char16_t* keyClass, DWORD options, REGSAM access,
                                    const SECURITY_ATTRIBUTES* attributes, HKEY* result,
                                    DWORD* disposition);
LONG ZV_SYSTEM_CALL RegSetValueExW(HKEY key, const char16_t* name, DWORD reserved, DWORD type,
                                   const BYTE* data, DWORD size);
LONG ZV_SYSTEM_CALL RegOpenKeyExW(HKEY key, const char16_t* subKey, DWORD options, REGSAM access,
                                  HKEY* result);
LONG ZV_SYSTEM_CALL RegQueryValueExW(HKEY key, const char16_t* name, DWORD* reserved, DWORD* type,
                                     BYTE* data, DWORD* size);
LONG ZV_SYSTEM_CALL RegDeleteKeyW(HKEY key, const char16_t* subKey);
LONG ZV_SYSTEM_CALL RegEnumKeyExW(HKEY key, DWORD index, char16_t* name, DWORD* nameLength,
                                  DWORD* reserved, char16_t* keyClass, DWORD* classLength,
                                  FILETIME* lastWrite);
LONG ZV_SYSTEM_CALL RegEnumValueW(HKEY key, DWORD index, char16_t* name, DWORD* nameLength,
                                  DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);
LONG ZV_SYSTEM_CALL RegDeleteValueW(HKEY key, const char16_t* name);

} // extern "C"

#endif
