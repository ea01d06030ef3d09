set(ZV_WINDOWS_TARGET x86_64)
include(${CMAKE_CURRENT_LIST_DIR}/windows-mingw.cmake)
