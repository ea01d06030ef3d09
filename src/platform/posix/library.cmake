# libzvsupport.so: what the loader calls, and a version script that exports two names.
add_library(zvsupport SHARED platform/posix/entry.cpp)
target_link_libraries(zvsupport PRIVATE ${ZV_LAYERS} zv_options zv_system)
set(ZV_VERSION_SCRIPT ${CMAKE_CURRENT_SOURCE_DIR}/exports/zvsupport.map)
target_link_options(zvsupport PRIVATE -Wl,--version-script=${ZV_VERSION_SCRIPT})
set_target_properties(zvsupport PROPERTIES LINK_DEPENDS ${ZV_VERSION_SCRIPT})
if(NOT ZV_SANITIZE)
    # The sanitizers' run-time is the host's, and brings the shared libraries along.
    target_link_options(zvsupport PRIVATE -static-libstdc++ -static-libgcc -Wl,-z,defs)
endif()
