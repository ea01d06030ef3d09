// The Windows calls that this system makes: what a port has to answer.
//
// On Windows these declarations bind to kernel32, advapi32, ole32 and mpr; elsewhere
// src/platform/posix/ answers them. The declarations are this system's own, so that no other header
// brings the macros of the system's headers in, and so that wide text is char16_t on every target.
//
// Above each call stands what callers rely on. Unless a comment says otherwise:
//   - any thread may make any call at any time;
//   - a call that fails sets the calling thread's last error (GetLastError) to the Windows number;
//     a call that succeeds leaves it as it was;
//   - want of memory is error 14 (ERROR_OUTOFMEMORY), the one that has a result code of its own;
//   - narrow text ("A" names, char) is in the system's ANSI code page, wide text is UTF-16;
//   - text arguments are zero-terminated, and the callee keeps none of them.
//
// The wide variants that run only on the NT family are not declared here: core/wide_calls.h takes
// them by name at start-up.
#ifndef ZVSUPPORT_PLATFORM_WIN32_H
#define ZVSUPPORT_PLATFORM_WIN32_H

#include "platform/calling_convention.h"

#include <cstddef>
#include <cstdint>

// ---------------------------------------------------------------------------------------------
// Types

using BOOL = std::int32_t;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using UINT = std::uint32_t;
using REGSAM = DWORD;
using HANDLE = void*;
using HMODULE = void*;
using HINSTANCE = void*;
using HKEY = struct HKEY__*;
using FARPROC = void (*)(); // to be cast to the entry point's own type

inline constexpr BOOL FALSE = 0;
inline constexpr BOOL TRUE = 1;

// The value of "no handle" for files and searches; null stands for it everywhere else.
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(std::intptr_t{-1});

// A predefined root key from its 32-bit value (0x80000000 …). 64-bit systems extend the sign.
inline HKEY RootKeyFromValue(std::uint32_t value) {
    return reinterpret_cast<HKEY>(static_cast<std::intptr_t>(static_cast<std::int32_t>(value)));
}

struct FILETIME { // 100-nanosecond intervals since 1601-01-01 UTC
    DWORD dwLowDateTime;
    DWORD dwHighDateTime;
};

struct SECURITY_DESCRIPTOR { // opaque; InitializeSecurityDescriptor fills it
    void* reserved[5];       // 20 bytes on 32-bit systems, 40 on 64-bit
};

struct SECURITY_ATTRIBUTES {
    DWORD nLength; // sizeof(SECURITY_ATTRIBUTES): 12 on 32-bit systems
    void* lpSecurityDescriptor;
    BOOL bInheritHandle;
};

struct OSVERSIONINFOA {
    DWORD dwOSVersionInfoSize; // 148
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId; // VER_PLATFORM_…
    char szCSDVersion[128];
};
static_assert(sizeof(OSVERSIONINFOA) == 148);

struct OSVERSIONINFOW {
    DWORD dwOSVersionInfoSize; // 276
    DWORD dwMajorVersion;
    DWORD dwMinorVersion;
    DWORD dwBuildNumber;
    DWORD dwPlatformId;
    char16_t szCSDVersion[128];
};
static_assert(sizeof(OSVERSIONINFOW) == 276);

struct SYSTEM_INFO {
    WORD wProcessorArchitecture;
    WORD wReserved;
    DWORD dwPageSize;
    void* lpMinimumApplicationAddress;
    void* lpMaximumApplicationAddress;
    std::uintptr_t dwActiveProcessorMask;
    DWORD dwNumberOfProcessors;
    DWORD dwProcessorType;
    DWORD dwAllocationGranularity;
    WORD wProcessorLevel;
    WORD wProcessorRevision;
};

struct SYSTEMTIME {
    WORD wYear;
    WORD wMonth;
    WORD wDayOfWeek; // 0: Sunday
    WORD wDay;
    WORD wHour;
    WORD wMinute;
    WORD wSecond;
    WORD wMilliseconds;
};
static_assert(sizeof(SYSTEMTIME) == 16);

struct NETRESOURCEA {
    DWORD dwScope;
    DWORD dwType;
    DWORD dwDisplayType;
    DWORD dwUsage;
    char* lpLocalName;  // "F:", or null
    char* lpRemoteName; // "\\SERVER\VOLUME", or null
    char* lpComment;
    char* lpProvider;
};

// Opaque; 24 bytes on 32-bit and 40 on 64-bit systems.
struct CRITICAL_SECTION {
    std::uintptr_t reserved[sizeof(void*) == 8 ? 5 : 6];
};

struct BY_HANDLE_FILE_INFORMATION {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime; // in the file system's own resolution
    DWORD dwVolumeSerialNumber;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD nNumberOfLinks;
    DWORD nFileIndexHigh; // with the volume's number: the file's identity while it is open
    DWORD nFileIndexLow;
};

template <typename Char>
struct WIN32_FIND_DATA_OF {
    DWORD dwFileAttributes;
    FILETIME ftCreationTime;
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
    DWORD dwReserved0;
    DWORD dwReserved1;
    Char cFileName[260];
    Char cAlternateFileName[14];
};
using WIN32_FIND_DATAA = WIN32_FIND_DATA_OF<char>;
using WIN32_FIND_DATAW = WIN32_FIND_DATA_OF<char16_t>;

template <typename Char>
struct STARTUPINFO_OF {
    DWORD cb; // sizeof
    Char* lpReserved;
    Char* lpDesktop;
    Char* lpTitle;
    DWORD dwX, dwY, dwXSize, dwYSize, dwXCountChars, dwYCountChars, dwFillAttribute, dwFlags;
    WORD wShowWindow;
    WORD cbReserved2;
    BYTE* lpReserved2;
    HANDLE hStdInput, hStdOutput, hStdError;
};
using STARTUPINFOA = STARTUPINFO_OF<char>;
using STARTUPINFOW = STARTUPINFO_OF<char16_t>;

struct PROCESS_INFORMATION {
    HANDLE hProcess;
    HANDLE hThread;
    DWORD dwProcessId;
    DWORD dwThreadId;
};

// ---------------------------------------------------------------------------------------------
// Constants

inline constexpr DWORD ERROR_SUCCESS = 0;
inline constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
inline constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
inline constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
inline constexpr DWORD ERROR_ACCESS_DENIED = 5;
inline constexpr DWORD ERROR_INVALID_HANDLE = 6;
inline constexpr DWORD ERROR_OUTOFMEMORY = 14;
inline constexpr DWORD ERROR_NO_MORE_FILES = 18;
inline constexpr DWORD ERROR_WRITE_FAULT = 29;
inline constexpr DWORD ERROR_READ_FAULT = 30;
inline constexpr DWORD ERROR_GEN_FAILURE = 31;
inline constexpr DWORD ERROR_SHARING_VIOLATION = 32;
inline constexpr DWORD ERROR_HANDLE_EOF = 38;
inline constexpr DWORD ERROR_HANDLE_DISK_FULL = 39;
inline constexpr DWORD ERROR_NOT_SUPPORTED = 50;
inline constexpr DWORD ERROR_FILE_EXISTS = 80;
inline constexpr DWORD ERROR_INVALID_PARAMETER = 87;
inline constexpr DWORD ERROR_DISK_FULL = 112;
inline constexpr DWORD ERROR_CALL_NOT_IMPLEMENTED = 120;
inline constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr DWORD ERROR_INVALID_NAME = 123;
inline constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
inline constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
inline constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
inline constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
inline constexpr DWORD ERROR_BAD_PATHNAME = 161;
inline constexpr DWORD ERROR_ALREADY_EXISTS = 183;
inline constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
inline constexpr DWORD ERROR_MORE_DATA = 234;
inline constexpr DWORD ERROR_NO_MORE_ITEMS = 259;
inline constexpr DWORD ERROR_TOO_MANY_POSTS = 298;
inline constexpr DWORD ERROR_NOACCESS = 998;
inline constexpr DWORD ERROR_BADDB = 1009; // the registry's file is none
inline constexpr DWORD ERROR_BADKEY = 1010;
inline constexpr DWORD ERROR_REGISTRY_IO_FAILED = 1016;
inline constexpr DWORD ERROR_KEY_DELETED = 1018;
inline constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
inline constexpr DWORD ERROR_TIMEOUT = 1460;

inline constexpr DWORD GENERIC_READ = 0x80000000;
inline constexpr DWORD GENERIC_WRITE = 0x40000000;
inline constexpr DWORD DELETE_ACCESS = 0x10000; // the DELETE right
inline constexpr DWORD FILE_SHARE_READ = 1;
inline constexpr DWORD FILE_SHARE_WRITE = 2;
inline constexpr DWORD FILE_SHARE_DELETE = 4;
inline constexpr DWORD CREATE_NEW = 1;
inline constexpr DWORD CREATE_ALWAYS = 2;
inline constexpr DWORD OPEN_EXISTING = 3;
inline constexpr DWORD OPEN_ALWAYS = 4;
inline constexpr DWORD TRUNCATE_EXISTING = 5;
inline constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x100;
inline constexpr DWORD FILE_FLAG_DELETE_ON_CLOSE = 0x04000000;
inline constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000;
inline constexpr DWORD RESOURCE_CONNECTED = 1;
inline constexpr DWORD RESOURCETYPE_ANY = 0;
inline constexpr DWORD RESOURCETYPE_DISK = 1;
inline constexpr DWORD FILE_BEGIN = 0;
inline constexpr DWORD FILE_CURRENT = 1;
inline constexpr DWORD FILE_END = 2;
inline constexpr DWORD MOVEFILE_REPLACE_EXISTING = 1;
inline constexpr DWORD MOVEFILE_WRITE_THROUGH = 8;
inline constexpr DWORD MAX_PATH_LENGTH = 260; // MAX_PATH: characters of a path, terminator included

inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 0x102;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFF;
inline constexpr DWORD INFINITE_WAIT = 0xFFFFFFFF; // INFINITE
inline constexpr DWORD SYNCHRONIZE = 0x100000;

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;
inline constexpr DWORD MB_ERR_INVALID_CHARS = 8;

inline constexpr DWORD VER_PLATFORM_WINDOWS = 1; // VER_PLATFORM_WIN32_…
inline constexpr DWORD VER_PLATFORM_NT = 2;

inline constexpr std::uint32_t HKEY_CLASSES_ROOT_VALUE = 0x80000000;
inline constexpr std::uint32_t HKEY_CURRENT_USER_VALUE = 0x80000001;
inline constexpr std::uint32_t HKEY_LOCAL_MACHINE_VALUE = 0x80000002;
inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_DWORD_BIG_ENDIAN = 5;
inline constexpr DWORD REG_LINK = 6;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

inline constexpr DWORD DLL_PROCESS_DETACH = 0;
inline constexpr DWORD DLL_PROCESS_ATTACH = 1;

// The COM task allocator's interface, in slot order. It lives as long as the process: AddRef and
// Release answer numbers above 0 that tell nothing.
class IMalloc {
public:
    virtual std::int32_t ZV_INTERFACE_CALL QueryInterface(const void* iid, void** object) = 0;
    virtual std::uint32_t ZV_INTERFACE_CALL AddRef() = 0;
    virtual std::uint32_t ZV_INTERFACE_CALL Release() = 0;
    virtual void* ZV_INTERFACE_CALL Alloc(std::size_t size) = 0;
    virtual void* ZV_INTERFACE_CALL Realloc(void* block, std::size_t size) = 0;
    virtual void ZV_INTERFACE_CALL Free(void* block) = 0;
    virtual std::size_t ZV_INTERFACE_CALL GetSize(void* block) = 0;
    virtual std::int32_t ZV_INTERFACE_CALL DidAlloc(void* block) = 0;
    virtual void ZV_INTERFACE_CALL HeapMinimize() = 0;

protected:
    ~IMalloc() = default;
};

extern "C" {

// ---------------------------------------------------------------------------------------------
// Errors and system information

// The calling thread's last error. Never fails.
DWORD ZV_SYSTEM_CALL GetLastError();
void ZV_SYSTEM_CALL SetLastError(DWORD error);

// Fill the structure, whose size field the caller has set. Non-zero on success; zero and 87 when
// the size is not that of the structure. The text is the name of the service pack, possibly empty.
BOOL ZV_SYSTEM_CALL GetVersionExA(OSVERSIONINFOA* info);
BOOL ZV_SYSTEM_CALL GetVersionExW(OSVERSIONINFOW* info);

// Fills the structure; dwNumberOfProcessors is at least 1. Never fails.
void ZV_SYSTEM_CALL GetSystemInfo(SYSTEM_INFO* info);

// A number that no other living thread of the system has; never 0.
DWORD ZV_SYSTEM_CALL GetCurrentThreadId();
// A pseudo-handle for the calling thread; not to be closed.
HANDLE ZV_SYSTEM_CALL GetCurrentThread();
DWORD ZV_SYSTEM_CALL GetCurrentProcessId();

// The calling process's user name or the computer's name. size: in, the buffer's room in
// characters; out, on success the count with its terminator (GetUserName) or without
// (GetComputerName), on failure (zero, 122 / 111) the room needed.
BOOL ZV_SYSTEM_CALL GetUserNameA(char* name, DWORD* size);
BOOL ZV_SYSTEM_CALL GetComputerNameA(char* name, DWORD* size);

// Replaces every %NAME% that the environment knows; an unknown one stays as it is. Answers the room
// needed, terminator included, also when that is more than size (the buffer's contents are then
// undefined); 0 on failure.
DWORD ZV_SYSTEM_CALL ExpandEnvironmentStringsA(const char* source, char* target, DWORD size);

// ---------------------------------------------------------------------------------------------
// Modules and processes

// Loads a library, or takes one more reference on a loaded one. Null on failure (126 not found).
HMODULE ZV_SYSTEM_CALL LoadLibraryA(const char* name);
// Gives one reference back. Non-zero on success.
BOOL ZV_SYSTEM_CALL FreeLibrary(HMODULE module);
// The entry point of that exact name; null and 127 when there is none.
FARPROC ZV_SYSTEM_CALL GetProcAddress(HMODULE module, const char* name);

// Starts a program. Non-zero on success; the caller closes both handles. commandLine may be changed
// by the call.
BOOL ZV_SYSTEM_CALL CreateProcessA(const char* application, char* commandLine,
                                   SECURITY_ATTRIBUTES* processAttributes,
                                   SECURITY_ATTRIBUTES* threadAttributes, BOOL inheritHandles,
                                   DWORD flags, void* environment, const char* directory,
                                   STARTUPINFOA* startup, PROCESS_INFORMATION* process);

// A handle for a process, signalled when that process has ended; null and 87 when there is no such
// process (one that has ended may be there as long as others hold handles for it), null and 5 when
// there is one that the caller may not open.
HANDLE ZV_SYSTEM_CALL OpenProcess(DWORD access, BOOL inheritHandle, DWORD processId);

// ---------------------------------------------------------------------------------------------
// Synchronisation

// A recursive lock of one process. Initialize and Delete are called once each, with no other call
// under way; Leave only by the owner.
void ZV_SYSTEM_CALL InitializeCriticalSection(CRITICAL_SECTION* section);
void ZV_SYSTEM_CALL DeleteCriticalSection(CRITICAL_SECTION* section);
void ZV_SYSTEM_CALL EnterCriticalSection(CRITICAL_SECTION* section);
BOOL ZV_SYSTEM_CALL TryEnterCriticalSection(CRITICAL_SECTION* section); // non-zero: taken
void ZV_SYSTEM_CALL LeaveCriticalSection(CRITICAL_SECTION* section);

// A counting semaphore. With a name: the one of that name that some process of this user holds open
// (then GetLastError() is 183 and both counts are ignored), or a new one (GetLastError() is 0). The
// name goes with its last handle, also when its holders were killed. Null on failure.
HANDLE ZV_SYSTEM_CALL CreateSemaphoreA(SECURITY_ATTRIBUTES* attributes, LONG initialCount,
                                       LONG maximumCount, const char* name);
// Adds count units (1 or more) and stores the former count unless previousCount is null. Zero and
// 298 when that would pass the maximum, zero and 87 when count is below 1; nothing is added then.
// (Wine takes a count of 0 and answers 298 for one below it. Callers give 1 or more.)
BOOL ZV_SYSTEM_CALL ReleaseSemaphore(HANDLE semaphore, LONG count, LONG* previousCount);

// An event of one process. Callers make manual-reset events without a name. Null on failure.
HANDLE ZV_SYSTEM_CALL CreateEventA(SECURITY_ATTRIBUTES* attributes, BOOL manualReset,
                                   BOOL initialState, const char* name);
BOOL ZV_SYSTEM_CALL SetEvent(HANDLE event);
BOOL ZV_SYSTEM_CALL ResetEvent(HANDLE event);
// Releases every thread that waits at this moment and leaves the event not signalled.
BOOL ZV_SYSTEM_CALL PulseEvent(HANDLE event);

// Waits until the object is signalled: a semaphore (one unit is taken), an event, a process.
// WAIT_OBJECT_0, WAIT_TIMEOUT after that many milliseconds (INFINITE_WAIT: no limit), or
// WAIT_FAILED (6 for a handle that is none).
DWORD ZV_SYSTEM_CALL WaitForSingleObject(HANDLE handle, DWORD milliseconds);

// Ends a handle of any kind but modules, searches and registry keys. Zero and 6 when it is none.
// (On Windows INVALID_HANDLE_VALUE stands for the process itself here, and is taken: callers keep
// it back.)
BOOL ZV_SYSTEM_CALL CloseHandle(HANDLE handle);

void ZV_SYSTEM_CALL Sleep(DWORD milliseconds);

// Milliseconds since some moment, in steps of up to 16; it begins again at 0 every 49.7 days.
DWORD ZV_SYSTEM_CALL GetTickCount();

// ---------------------------------------------------------------------------------------------
// Files

// Opens or creates a file. INVALID_HANDLE_VALUE on failure: 2 no such file, 3 no such folder, 5 not
// allowed, 80 CREATE_NEW of a file that is there, 206 name too long. On success with CREATE_ALWAYS
// or OPEN_ALWAYS, GetLastError() is 183 when the file was there before and 0 when it was not.
// A new file gets the rights that are usual for the process; with FILE_ATTRIBUTE_TEMPORARY nobody
// but its owner may open it. The handle is not inherited by programs that the process starts.
HANDLE ZV_SYSTEM_CALL CreateFileA(const char* path, DWORD access, DWORD share,
                                  SECURITY_ATTRIBUTES* attributes, DWORD disposition, DWORD flags,
                                  HANDLE templateFile);
// Non-zero on success; *transferred (never null here) is what was moved, 0 at the end of the file,
// where some files answer zero and 38 instead.
// A failed or short write leaves *transferred telling how much reached the system (112 disk full).
BOOL ZV_SYSTEM_CALL ReadFile(HANDLE file, void* buffer, DWORD size, DWORD* transferred,
                             void* overlapped);
BOOL ZV_SYSTEM_CALL WriteFile(HANDLE file, const void* buffer, DWORD size, DWORD* transferred,
                              void* overlapped);
// Returns when what was written is on the disk. Zero on failure.
BOOL ZV_SYSTEM_CALL FlushFileBuffers(HANDLE file);
// The new position's low 32 bits, 0xFFFFFFFF on failure (131 in front of the beginning).
// distanceHigh may be null.
DWORD ZV_SYSTEM_CALL SetFilePointer(HANDLE file, LONG distance, LONG* distanceHigh, DWORD origin);
// Time, size and identity of an open file. Zero on failure.
BOOL ZV_SYSTEM_CALL GetFileInformationByHandle(HANDLE file, BY_HANDLE_FILE_INFORMATION* info);
// The full path of an open file with symbolic links resolved. Answers the length without the
// terminator; more than or equal to size when the buffer is too small; 0 on failure. flags is 0.
DWORD ZV_SYSTEM_CALL GetFinalPathNameByHandleA(HANDLE file, char* path, DWORD size, DWORD flags);

BOOL ZV_SYSTEM_CALL DeleteFileA(const char* path);
BOOL ZV_SYSTEM_CALL CreateDirectoryA(const char* path, SECURITY_ATTRIBUTES* attributes);
BOOL ZV_SYSTEM_CALL RemoveDirectoryA(const char* path);
// Renames a file within its volume in one step. Without MOVEFILE_REPLACE_EXISTING an existing
// target is kept (zero and 183). With MOVEFILE_WRITE_THROUGH the rename is on the disk on return.
BOOL ZV_SYSTEM_CALL MoveFileExA(const char* from, const char* to, DWORD flags);
// Puts `replacement` in the place of the existing file `replaced` in one step, giving it the
// replaced file's mode and, where allowed, owner. Zero and 2 when `replaced` does not exist; on
// failure both names are as they were. On the disk on return. backup, exclude and reserved are
// null, flags 0.
BOOL ZV_SYSTEM_CALL ReplaceFileA(const char* replaced, const char* replacement, const char* backup,
                                 DWORD flags, void* exclude, void* reserved);

// A folder's entries that match the last component (with * and ?). INVALID_HANDLE_VALUE and 2 when
// there is none. FindNextFileA answers zero and 18 at the end. FindClose ends the search.
HANDLE ZV_SYSTEM_CALL FindFirstFileA(const char* pattern, WIN32_FIND_DATAA* data);
BOOL ZV_SYSTEM_CALL FindNextFileA(HANDLE search, WIN32_FIND_DATAA* data);
BOOL ZV_SYSTEM_CALL FindClose(HANDLE search);

// The full path of a name that need not exist. Answers the length without the terminator, or the
// room needed with it when size is too small; 0 on failure. *filePart, unless null: the last
// component inside the buffer, null when there is none.
DWORD ZV_SYSTEM_CALL GetFullPathNameA(const char* name, DWORD size, char* buffer, char** filePart);
// The folder for temporary files, ending with a separator. Answers as GetFullPathNameA.
DWORD ZV_SYSTEM_CALL GetTempPathA(DWORD size, char* buffer);
// Makes a name of up to three characters of prefix, a number and ".tmp" below path into name (room
// for 260). With unique 0 an empty file of a name nobody else has is created, and the number is
// answered; 0 on failure.
UINT ZV_SYSTEM_CALL GetTempFileNameA(const char* path, const char* prefix, UINT unique, char* name);

// ---------------------------------------------------------------------------------------------
// Network drives. These calls answer the Windows error number itself (0 on success) instead of
// setting the last error.

// Begins an enumeration of the drives that are connected; scope is RESOURCE_CONNECTED, type
// RESOURCETYPE_DISK, usage 0 and container null.
DWORD ZV_SYSTEM_CALL WNetOpenEnumA(DWORD scope, DWORD type, DWORD usage, NETRESOURCEA* container,
                                   HANDLE* enumeration);
// The next entries, at the beginning of the area, with their texts behind them. *count is the most
// that are wanted (0xFFFFFFFF: as many as fit) and becomes their number. 259 when there are no
// more; 234 when not one fits, and *size becomes the bytes that the next one needs.
DWORD ZV_SYSTEM_CALL WNetEnumResourceA(HANDLE enumeration, DWORD* count, void* area, DWORD* size);
DWORD ZV_SYSTEM_CALL WNetCloseEnum(HANDLE enumeration);

// ---------------------------------------------------------------------------------------------
// Text

// The system's ANSI code page: 65001 for UTF-8.
UINT ZV_SYSTEM_CALL GetACP();

// Conversions between a code page and UTF-16. size -1: up to and including the terminating zero.
// With targetSize 0 the call answers the room needed; otherwise the units written. 0 on failure:
// 122 the target is too small, 87 for an argument that makes no sense or an unknown code page, 1113
// with MB_ERR_INVALID_CHARS. Without that flag bytes that mean nothing become U+FFFD (or what the
// page maps them to), characters that the page lacks become its default character, surrogate pairs
// two of it; *usedDefault, unless null, tells whether one did (null is required for CP_UTF8).
//
// Systems differ in how many U+FFFD a broken sequence of UTF-8 makes, and in whether a character
// that a page lacks becomes one that resembles it (Windows: "c" for "\u0107") or the default
// character (elsewhere: the tables of what resembles what are each system's own). Callers that must
// not lose a difference compare what comes back. defaultChar is null.
int ZV_SYSTEM_CALL MultiByteToWideChar(UINT codePage, DWORD flags, const char* source,
                                       int sourceSize, char16_t* target, int targetSize);
int ZV_SYSTEM_CALL WideCharToMultiByte(UINT codePage, DWORD flags, const char16_t* source,
                                       int sourceSize, char* target, int targetSize,
                                       const char* defaultChar, BOOL* usedDefault);

// ---------------------------------------------------------------------------------------------
// Registry. Every call answers the Windows error number itself (0 on success) instead of setting
// the last error. Key names and value names are compared without regard to case; sub-keys come in
// name order. A path that begins with a backslash is 161 (bad path). Sizes of data are bytes and
// include terminators. A null value name is the default value, like the empty one.

LONG ZV_SYSTEM_CALL RegCloseKey(HKEY key);
LONG ZV_SYSTEM_CALL RegCreateKeyExA(HKEY key, const char* subKey, DWORD reserved, char* keyClass,
                                    DWORD options, REGSAM access,
                                    const SECURITY_ATTRIBUTES* attributes, HKEY* result,
                                    DWORD* disposition);
LONG ZV_SYSTEM_CALL RegOpenKeyExA(HKEY key, const char* subKey, DWORD options, REGSAM access,
                                  HKEY* result);
LONG ZV_SYSTEM_CALL RegSetValueExA(HKEY key, const char* name, DWORD reserved, DWORD type,
                                   const BYTE* data, DWORD size);
// type, data and size may be null; with data null, *size receives the size. 234 when the data do
// not fit (size then tells the need).
LONG ZV_SYSTEM_CALL RegQueryValueExA(HKEY key, const char* name, DWORD* reserved, DWORD* type,
                                     BYTE* data, DWORD* size);
LONG ZV_SYSTEM_CALL RegDeleteKeyA(HKEY key, const char* subKey);
LONG ZV_SYSTEM_CALL RegDeleteValueA(HKEY key, const char* name);
// 259 past the last entry; 234 when the name does not fit nameLength characters (in: the room with
// the terminator; out: the length without it).
LONG ZV_SYSTEM_CALL RegEnumKeyExA(HKEY key, DWORD index, char* name, DWORD* nameLength,
                                  DWORD* reserved, char* keyClass, DWORD* classLength,
                                  FILETIME* lastWrite);
LONG ZV_SYSTEM_CALL RegEnumValueA(HKEY key, DWORD index, char* name, DWORD* nameLength,
                                  DWORD* reserved, DWORD* type, BYTE* data, DWORD* size);

BOOL ZV_SYSTEM_CALL InitializeSecurityDescriptor(SECURITY_DESCRIPTOR* descriptor, DWORD revision);
BOOL ZV_SYSTEM_CALL SetSecurityDescriptorDacl(SECURITY_DESCRIPTOR* descriptor, BOOL present,
                                              void* dacl, BOOL defaulted);

// ---------------------------------------------------------------------------------------------
// COM

// The task allocator, with one reference for the caller. context is 1. 0 on success, a negative
// result code otherwise.
std::int32_t ZV_SYSTEM_CALL CoGetMalloc(DWORD context, IMalloc** allocator);

} // extern "C"

#endif
