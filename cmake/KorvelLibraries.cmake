# The shared library that hosts link, and the same objects as an archive for tests and benchmarks.

get_property(rooms GLOBAL PROPERTY korvel_rooms)
get_property(public_headers GLOBAL PROPERTY korvel_public_headers)
get_property(libraries GLOBAL PROPERTY korvel_libraries)
list(REMOVE_DUPLICATES libraries)
list(TRANSFORM rooms REPLACE "(.+)" "$<TARGET_OBJECTS:\\1>" OUTPUT_VARIABLE objects)

add_library(korvel_content SHARED ${objects})
add_library(korvel::content ALIAS korvel_content)
target_link_libraries(korvel_content PUBLIC Threads::Threads PRIVATE korvel_settings ${libraries})
target_sources(korvel_content PUBLIC FILE_SET HEADERS
    BASE_DIRS "${PROJECT_SOURCE_DIR}" FILES "${PROJECT_SOURCE_DIR}/korvel/KorvelContentSDK.h" ${public_headers})
target_include_directories(korvel_content INTERFACE
    "$<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>" "$<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>")
target_compile_features(korvel_content PUBLIC cxx_std_20)
set(exports "${PROJECT_SOURCE_DIR}/cmake/exports.map")
set_target_properties(korvel_content PROPERTIES LINK_DEPENDS "${exports}")
target_link_options(korvel_content PRIVATE "-Wl,--version-script=${exports}" -Wl,-O2 -Wl,--gc-sections -Wl,--no-undefined -Wl,--as-needed
    -Wl,-z,nodelete)  # threads of the SDK may still run its code when a host unloads it
set_target_properties(korvel_content PROPERTIES
    EXPORT_NAME content
    VERSION ${PROJECT_VERSION} SOVERSION ${PROJECT_VERSION_MAJOR}
    VERIFY_INTERFACE_HEADER_SETS ${PROJECT_IS_TOP_LEVEL})

add_library(korvel_internal STATIC ${objects})
target_link_libraries(korvel_internal PUBLIC korvel_settings ${libraries})

# Programs of the build tree find the bundle as those of an installation do.
add_dependencies(korvel_content korvel_bundle)
add_dependencies(korvel_internal korvel_bundle)

include(CMakePackageConfigHelpers)
install(FILES "${PROJECT_SOURCE_DIR}/LICENSE" "${PROJECT_SOURCE_DIR}/THIRD-PARTY.md"
    DESTINATION "${CMAKE_INSTALL_DOCDIR}" COMPONENT sdk)
set(package_dir "${CMAKE_INSTALL_LIBDIR}/cmake/KorvelContentSDK")
install(TARGETS korvel_content EXPORT KorvelContentSDKTargets COMPONENT sdk
    LIBRARY COMPONENT sdk NAMELINK_COMPONENT sdk
    FILE_SET HEADERS DESTINATION "${CMAKE_INSTALL_INCLUDEDIR}" COMPONENT sdk)
install(EXPORT KorvelContentSDKTargets NAMESPACE korvel:: DESTINATION "${package_dir}" COMPONENT sdk)
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/KorvelContentSDKConfig.cmake.in"
    "${PROJECT_BINARY_DIR}/KorvelContentSDKConfig.cmake" INSTALL_DESTINATION "${package_dir}")
write_basic_package_version_file("${PROJECT_BINARY_DIR}/KorvelContentSDKConfigVersion.cmake"
    COMPATIBILITY SameMinorVersion)
install(FILES "${PROJECT_BINARY_DIR}/KorvelContentSDKConfig.cmake"
    "${PROJECT_BINARY_DIR}/KorvelContentSDKConfigVersion.cmake"
    DESTINATION "${package_dir}" COMPONENT sdk)
configure_file("${PROJECT_SOURCE_DIR}/cmake/korvel-content.pc.in"
    "${PROJECT_BINARY_DIR}/korvel-content.pc" @ONLY)
install(FILES "${PROJECT_BINARY_DIR}/korvel-content.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig" COMPONENT sdk)
