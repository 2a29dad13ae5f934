# A room is a folder and an object library. `korvel_content` and the tests are made of the same objects,
# so tests reach what the shared library hides and nothing is exported for them.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)

add_library(korvel_settings INTERFACE)
target_compile_options(korvel_settings INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Wnon-virtual-dtor -Werror
    # g++ 12 takes moved-from variants and concatenated literals for faults when it optimises.
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-maybe-uninitialized>
    $<$<COMPILE_LANG_AND_ID:CXX,GNU>:-Wno-restrict>
    # It takes sources that are compiled together for headers.
    $<$<AND:$<BOOL:${CMAKE_UNITY_BUILD}>,$<COMPILE_LANG_AND_ID:CXX,GNU>>:-Wno-subobject-linkage>)
# Headers lie beside their sources: an include is the path from here, in the tree as installed.
target_include_directories(korvel_settings INTERFACE "${PROJECT_SOURCE_DIR}")
# As shipped: the same bytes from whichever folder it is built in, and no path of it in what is installed.
target_compile_options(korvel_settings INTERFACE
    $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_BINARY_DIR}/=>
    $<$<CONFIG:Release>:-ffile-prefix-map=${PROJECT_SOURCE_DIR}/=>)
# Symbols are resolved at the start, and their table is read-only from then on.
target_link_options(korvel_settings INTERFACE -Wl,-z,relro,-z,now)
target_link_libraries(korvel_settings INTERFACE Threads::Threads)

define_property(GLOBAL PROPERTY korvel_rooms BRIEF_DOCS "Rooms that make korvel::content")
define_property(GLOBAL PROPERTY korvel_public_headers BRIEF_DOCS "Headers that are installed")

# korvel_room(NAME SOURCES ... [PUBLIC_HEADERS ...] [LIBRARIES ...] [ROOMS ...])
# LIBRARIES: third-party targets, private to the room. ROOMS: the rooms below that it may include.
function(korvel_room name)
    cmake_parse_arguments(room "" "" "SOURCES;PUBLIC_HEADERS;LIBRARIES;ROOMS" ${ARGN})
    set(target korvel_${name})
    add_library(${target} OBJECT ${room_SOURCES} ${room_PUBLIC_HEADERS})
    target_link_libraries(${target} PUBLIC korvel_settings PRIVATE ${room_LIBRARIES})
    set_property(GLOBAL APPEND PROPERTY korvel_rooms ${target})
    list(TRANSFORM room_PUBLIC_HEADERS PREPEND "${CMAKE_CURRENT_SOURCE_DIR}/")
    set_property(GLOBAL APPEND PROPERTY korvel_public_headers ${room_PUBLIC_HEADERS})
    set_property(GLOBAL APPEND PROPERTY korvel_libraries ${room_LIBRARIES})
endfunction()
