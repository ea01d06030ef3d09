// The wide twins, declared with the types that the table of wide calls has for them.
#ifndef ZVSUPPORT_TESTS_CONTRACT_WIDE_FUNCTIONS_H
#define ZVSUPPORT_TESTS_CONTRACT_WIDE_FUNCTIONS_H

#include "core/wide_calls.h"

#include <type_traits>

extern "C" {

#define ZV_WIDE(name) std::remove_pointer_t<decltype(zv::core::WideCalls::name)> name
ZV_WIDE(CreateProcessW);
ZV_WIDE(DeleteFileW);
ZV_WIDE(ExpandEnvironmentStringsW);
ZV_WIDE(FindFirstFileW);
ZV_WIDE(GetComputerNameW);
ZV_WIDE(GetFullPathNameW);
ZV_WIDE(GetTempFileNameW);
ZV_WIDE(GetUserNameW);
ZV_WIDE(LoadLibraryW);
ZV_WIDE(RegCreateKeyExW);
ZV_WIDE(RegDeleteKeyW);
ZV_WIDE(RegDeleteValueW);
ZV_WIDE(RegEnumKeyExW);
ZV_WIDE(RegEnumValueW);
ZV_WIDE(RegOpenKeyExW);
ZV_WIDE(RegQueryValueExW);
ZV_WIDE(RegSetValueExW);
ZV_WIDE(RemoveDirectoryW);
#undef ZV_WIDE

} // extern "C"

#endif
