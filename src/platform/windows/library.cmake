# zvsupport.dll: the module definition file exports two undecorated names, and the import library
# libzvsupport.dll.a leads a host that links to them.
set(ZV_DEFINITION ${CMAKE_CURRENT_SOURCE_DIR}/exports/zvsupport.def)
set(ZV_RESOURCE ${CMAKE_CURRENT_BINARY_DIR}/version.rc)
configure_file(platform/windows/version.rc.in ${ZV_RESOURCE} @ONLY)

add_library(zvsupport SHARED platform/windows/entry.cpp platform/windows/run_time_threads.cpp
                             platform/windows/younger_calls.cpp ${ZV_RESOURCE} ${ZV_DEFINITION})
# It is beneath the exceptions.
set_source_files_properties(platform/windows/run_time_threads.cpp PROPERTIES
                            COMPILE_OPTIONS -fno-exceptions)
set_target_properties(zvsupport PROPERTIES PREFIX "" IMPORT_PREFIX ""
                                           ARCHIVE_OUTPUT_DIRECTORY ${CMAKE_CURRENT_BINARY_DIR})
target_link_libraries(zvsupport PRIVATE ${ZV_LAYERS} zv_options zv_system)

# The linker's own import library lacks the decorated names that a 32-bit compiler asks for.
if(CMAKE_SIZEOF_VOID_P EQUAL 4)
    set(ZV_IMPORT_DEFINITION ${CMAKE_CURRENT_SOURCE_DIR}/platform/windows/import_i686.def)
    target_link_options(zvsupport PRIVATE -Wl,--enable-stdcall-fixup)
else()
    set(ZV_IMPORT_DEFINITION ${ZV_DEFINITION})
endif()
set(ZV_IMPORT_LIBRARY ${PROJECT_BINARY_DIR}/libzvsupport.dll.a)
add_custom_command(OUTPUT ${ZV_IMPORT_LIBRARY}
    COMMAND ${CMAKE_DLLTOOL} --kill-at --input-def ${ZV_IMPORT_DEFINITION}
            --dllname zvsupport.dll --output-lib ${ZV_IMPORT_LIBRARY}
    DEPENDS ${ZV_IMPORT_DEFINITION} VERBATIM)
add_custom_target(zvsupport_import ALL DEPENDS ${ZV_IMPORT_LIBRARY})
