# What `cmake --install` puts in place: libraries, headers, the package that find_package(KQDatabase2) reads, and the files
# that pkg-config reads. Two components: "runtime" is what a program needs to run, "development" what it takes to build one.
# A third, "tools", is kqdb, which says for itself where its files go.

include(CMakePackageConfigHelpers)

# db2_install_library(TARGET HEADER_FOLDER...)
function(db2_install_library target)
    install(TARGETS ${target} EXPORT KQDatabase2Targets
        RUNTIME COMPONENT runtime
        LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
    list(TRANSFORM ARGN APPEND /) # their content, not the folders
    install(DIRECTORY ${ARGN} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development FILES_MATCHING PATTERN "*.h")
endfunction()

# db2_install_pkgconfig(NAME): NAME.pc, which finds its folders from where it stands, so that the tree can be moved.
function(db2_install_pkgconfig name)
    set(folder ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${folder}
        OUTPUT_VARIABLE PREFIX_FROM_PC)
    configure_file(cmake/${name}.pc.in ${PROJECT_BINARY_DIR}/${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${folder} COMPONENT development)
endfunction()

db2_install_library(db2 include)
db2_install_library(foundation foundation/include)

# What else a program that is built with pkg-config needs to know of a static library.
set(PC_DEFINITIONS)
set(PC_CXX_RUNTIME)
if(NOT BUILD_SHARED_LIBS)
    set(PC_DEFINITIONS -DKQDB_STATIC)
    set(runtime_libraries ${CMAKE_CXX_IMPLICIT_LINK_LIBRARIES}) # for those who link with a C compiler
    list(REMOVE_DUPLICATES runtime_libraries)
    list(TRANSFORM runtime_libraries PREPEND -l)
    list(JOIN runtime_libraries " " PC_CXX_RUNTIME)
endif()
db2_install_pkgconfig(kqdatabase2)
if(KQDB_BUILD_JSON)
    db2_install_library(db2json formats/json/include)
    db2_install_pkgconfig(kqdatabase2-json)
endif()

set(package_folder ${CMAKE_INSTALL_LIBDIR}/cmake/KQDatabase2)
install(EXPORT KQDatabase2Targets NAMESPACE KQDatabase2:: DESTINATION ${package_folder} COMPONENT development)
configure_package_config_file(cmake/KQDatabase2Config.cmake.in ${PROJECT_BINARY_DIR}/KQDatabase2Config.cmake
    INSTALL_DESTINATION ${package_folder})
# Before 1.0 a minor version may break what the one before it promised.
write_basic_package_version_file(${PROJECT_BINARY_DIR}/KQDatabase2ConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/KQDatabase2Config.cmake
    ${PROJECT_BINARY_DIR}/KQDatabase2ConfigVersion.cmake
    DESTINATION ${package_folder} COMPONENT development)

# On Windows what the libraries run on comes along, with the licences of all that is in the package.
if(WIN32)
    set(licenses ${KQDB_RUNTIME_LICENSES})
    if(KQDB_BUILD_JSON)
        set(KQDB_RAPIDJSON_LICENSE /usr/share/doc/rapidjson-dev/copyright
            CACHE FILEPATH "The licence of RapidJSON, which is installed with the JSON format")
        list(APPEND licenses ${KQDB_RAPIDJSON_LICENSE})
    endif()
    if(KQDB_BUILD_TOOLS)
        set(KQDB_CLI11_LICENSE /usr/share/doc/libcli11-dev/copyright
            CACHE FILEPATH "The licence of CLI11, which is installed with kqdb")
        list(APPEND licenses ${KQDB_CLI11_LICENSE})
    endif()
    foreach(file IN LISTS licenses)
        get_filename_component(package ${file} DIRECTORY)
        get_filename_component(package ${package} NAME)
        get_filename_component(name ${file} NAME)
        install(FILES ${file} DESTINATION licenses COMPONENT runtime RENAME ${package}-${name}.txt)
    endforeach()
    install(FILES LICENSE DESTINATION licenses COMPONENT runtime RENAME kqdatabase2.txt)
    install(PROGRAMS ${KQDB_RUNTIME_DLLS} DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT runtime)
endif()
