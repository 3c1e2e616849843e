# Makes simulated driver libraries, each named libzorvicboardex.so.1 in a folder of its own.

# Every function that the board driver has, without the prefix "zorvic": the first argument of each EXPORT line.
cmake_path(SET table NORMALIZE ${CMAKE_CURRENT_LIST_DIR}/../src/hardware/zorvicexports.h)
file(STRINGS ${table} lines REGEX "^ *EXPORT\\([A-Za-z]+,")
string(REGEX MATCHALL "EXPORT\\([A-Za-z]+" exports "${lines}")
list(TRANSFORM exports REPLACE "EXPORT\\(" "")
if(NOT exports)
    message(FATAL_ERROR "${table}: no line of the form EXPORT(<function>, <signature>) names a function of the driver")
endif()
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${table})
set_property(GLOBAL PROPERTY BOARDSIM_EXPORTS ${exports})
set_property(GLOBAL PROPERTY BOARDSIM_SOURCE_DIR ${CMAKE_CURRENT_LIST_DIR})

# boardsim_driver(<target> FOLDER <folder> [DRIVER <object library>] [WITHOUT <function>...])
# Adds the library <folder>/libzorvicboardex.so.1, which exports all functions except the named ones, like an older
# driver. May be called from any directory. The names are those of the global property BOARDSIM_EXPORTS, or "*" for
# all of them. The object library defines the driver behind the functions; it defaults to boardsim_wellbehaved.
function(boardsim_driver target)
    cmake_parse_arguments(PARSE_ARGV 1 driver "" "FOLDER;DRIVER" "WITHOUT")
    if(NOT driver_DRIVER)
        set(driver_DRIVER boardsim_wellbehaved)
    endif()
    get_property(exports GLOBAL PROPERTY BOARDSIM_EXPORTS)
    foreach(name IN LISTS driver_WITHOUT)
        if(NOT name STREQUAL "*" AND NOT name IN_LIST exports)
            message(FATAL_ERROR "${target}: the driver has no function ${name}")
        endif()
    endforeach()
    if("*" IN_LIST driver_WITHOUT)
        set(exports "")
    elseif(driver_WITHOUT)
        list(REMOVE_ITEM exports ${driver_WITHOUT})
    endif()

    set(BOARDSIM_GLOBAL "")
    foreach(name IN LISTS exports)
        string(APPEND BOARDSIM_GLOBAL "    zorvic${name};\n")
    endforeach()
    if(exports)
        string(PREPEND BOARDSIM_GLOBAL "global:\n")
    endif()
    set(map ${CMAKE_CURRENT_BINARY_DIR}/${target}.map)
    get_property(source GLOBAL PROPERTY BOARDSIM_SOURCE_DIR)
    configure_file(${source}/exports.map.in ${map} @ONLY)

    add_library(${target} SHARED)
    target_link_libraries(${target} PRIVATE boardsim_exports ${driver_DRIVER} boardsim)
    set_target_properties(${target} PROPERTIES
        PREFIX lib OUTPUT_NAME zorvicboardex SUFFIX .so.1 # CMake takes the soname from the file name
        LINKER_LANGUAGE CXX
        LINK_DEPENDS ${map}
        LIBRARY_OUTPUT_DIRECTORY ${driver_FOLDER})
    target_link_options(${target} PRIVATE LINKER:--version-script=${map})
endfunction()
