# What `cmake --install` puts in place: libraries, headers, and the package that find_package(KQDatabase2) reads.

include(CMakePackageConfigHelpers)

install(TARGETS db2 foundation EXPORT KQDatabase2Targets)
if(KQDB_BUILD_JSON)
    install(TARGETS db2json EXPORT KQDatabase2Targets)
    install(DIRECTORY formats/json/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")
endif()
install(DIRECTORY include/ foundation/include/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} FILES_MATCHING PATTERN "*.h")

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/KQDatabase2)
install(EXPORT KQDatabase2Targets NAMESPACE KQDatabase2:: DESTINATION ${package_folder})
configure_package_config_file(cmake/KQDatabase2Config.cmake.in ${PROJECT_BINARY_DIR}/KQDatabase2Config.cmake
    INSTALL_DESTINATION ${package_folder})
# Before 1.0 a minor version may break what the one before it promised.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KQDatabase2ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/KQDatabase2Config.cmake
    ${PROJECT_BINARY_DIR}/KQDatabase2ConfigVersion.cmake
    DESTINATION ${package_folder})
