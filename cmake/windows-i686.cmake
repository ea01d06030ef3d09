set(ZV_WINDOWS_TARGET i686)
include(${CMAKE_CURRENT_LIST_DIR}/windows-mingw.cmake)
