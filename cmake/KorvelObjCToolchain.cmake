# What Objective-C needs: clang, Foundation (GNUstep base) and GCC's Objective-C runtime. Sets KORVEL_OBJC, and
# korvel_objc_compile_options, korvel_objc_definitions, korvel_objc_includes and korvel_objc_libraries for those who
# compile it. The rest of the tree keeps its own compiler.

set(KORVEL_BUILD_OBJC AUTO CACHE STRING "Build korvel::objc, the SDK for hosts in Objective-C: AUTO, ON or OFF")
set_property(CACHE KORVEL_BUILD_OBJC PROPERTY STRINGS AUTO ON OFF)
set(KORVEL_OBJC OFF)
if(KORVEL_BUILD_OBJC STREQUAL "OFF")
    return()
endif()

find_program(KORVEL_CLANG NAMES clang clang-14)
find_program(KORVEL_CLANGXX NAMES clang++ clang++-14)
find_path(KORVEL_GNUSTEP_INCLUDE Foundation/Foundation.h PATH_SUFFIXES GNUstep)
find_library(KORVEL_GNUSTEP_BASE gnustep-base)
set(korvel_libobjc)
if(KORVEL_CLANG)
    execute_process(COMMAND "${KORVEL_CLANG}" -print-file-name=libobjc.so
        OUTPUT_VARIABLE korvel_libobjc OUTPUT_STRIP_TRAILING_WHITESPACE)
endif()

set(missing)
if(NOT KORVEL_CLANG OR NOT KORVEL_CLANGXX)
    list(APPEND missing "clang")
endif()
if(NOT KORVEL_GNUSTEP_INCLUDE OR NOT KORVEL_GNUSTEP_BASE)
    list(APPEND missing "GNUstep base (libgnustep-base-dev)")
endif()
if(KORVEL_CLANG AND NOT EXISTS "${korvel_libobjc}")
    list(APPEND missing "GCC's Objective-C runtime (libobjc-12-dev)")
endif()
if(missing)
    list(JOIN missing ", " missing)
    if(KORVEL_BUILD_OBJC STREQUAL "AUTO")
        message(STATUS "korvel::objc is left out; it needs ${missing}")
        return()
    endif()
    message(FATAL_ERROR "korvel::objc needs ${missing}")
endif()

cmake_path(NORMAL_PATH korvel_libobjc)
cmake_path(GET korvel_libobjc PARENT_PATH korvel_gcc_dir)
set(korvel_objc_compile_options
    -fobjc-runtime=gcc -fblocks -fexceptions -fobjc-exceptions -fconstant-string-class=NSConstantString
    -fno-strict-aliasing "SHELL:-idirafter ${korvel_gcc_dir}/include")
# For targets that hold C and C++, too.
list(TRANSFORM korvel_objc_compile_options REPLACE "(.+)" "$<$<COMPILE_LANGUAGE:OBJC,OBJCXX>:\\1>"
    OUTPUT_VARIABLE korvel_objc_interface_options)
set(korvel_objc_definitions GNUSTEP GNUSTEP_BASE_LIBRARY=1 GNU_RUNTIME=1 _NATIVE_OBJC_EXCEPTIONS)
set(korvel_objc_includes "${KORVEL_GNUSTEP_INCLUDE}")
set(korvel_objc_libraries "${KORVEL_GNUSTEP_BASE}" "${korvel_libobjc}")

set(CMAKE_OBJC_COMPILER "${KORVEL_CLANG}")
set(CMAKE_OBJCXX_COMPILER "${KORVEL_CLANGXX}")
enable_language(OBJC OBJCXX)
set(CMAKE_OBJC_STANDARD 11)
set(CMAKE_OBJCXX_STANDARD 20)
set(CMAKE_OBJCXX_STANDARD_REQUIRED ON)
set(CMAKE_OBJCXX_EXTENSIONS OFF)
set(CMAKE_OBJCXX_VISIBILITY_PRESET hidden)
set(KORVEL_OBJC ON)
