# Cross compilation with Debian's mingw-w64; the two toolchain files beside this one name the target.
# The variant with POSIX threads is the one whose standard library has std::thread.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR ${ZV_WINDOWS_TARGET})
set(CMAKE_C_COMPILER ${ZV_WINDOWS_TARGET}-w64-mingw32-gcc-posix)
set(CMAKE_CXX_COMPILER ${ZV_WINDOWS_TARGET}-w64-mingw32-g++-posix)
set(CMAKE_RC_COMPILER ${ZV_WINDOWS_TARGET}-w64-mingw32-windres)
set(CMAKE_DLLTOOL ${ZV_WINDOWS_TARGET}-w64-mingw32-dlltool)

# Programs come from this machine; libraries and headers from the target's folder alone.
set(CMAKE_FIND_ROOT_PATH /usr/${ZV_WINDOWS_TARGET}-w64-mingw32)
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)

set(CMAKE_CROSSCOMPILING_EMULATOR
    ${CMAKE_CURRENT_LIST_DIR}/../scripts/run-windows;${ZV_WINDOWS_TARGET})
