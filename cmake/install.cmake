# What is installed, and how others find it. Components: runtime (libmidware.so.1), platform (libmidware_platform.so.1),
# development (headers, archives, CMake and pkg-config files, documentation for programmers), tools (everything else).
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tools)

# Below /usr the loader and pkg-config know the directories. Anywhere else the tree may be moved, so what lies in it
# finds its neighbours by itself.
if(CMAKE_INSTALL_PREFIX MATCHES "^/(usr)?$")
    set(MIDWARE_PC_PREFIX ${CMAKE_INSTALL_PREFIX})
else()
    file(RELATIVE_PATH up ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    string(REGEX REPLACE "/$" "" up ${up})
    set(MIDWARE_PC_PREFIX "\${pcfiledir}/${up}")
    file(RELATIVE_PATH libraries ${CMAKE_INSTALL_FULL_BINDIR} ${CMAKE_INSTALL_FULL_LIBDIR})
    set(CMAKE_INSTALL_RPATH "$ORIGIN/${libraries}")
endif()

# A library of the CMake package: midware::NAME, without the "midware_" in front of other targets' names.
function(midware_install_library target component)
    string(REGEX REPLACE "^midware_" "" name ${target})
    if(target STREQUAL "midware_static")
        set(name midware_static)
    endif()
    add_library(midware::${name} ALIAS ${target})
    set_target_properties(${target} PROPERTIES EXPORT_NAME ${name})
    if(CMAKE_INSTALL_RPATH)
        set_target_properties(${target} PROPERTIES INSTALL_RPATH "$ORIGIN")
    endif()
    install(TARGETS ${target} EXPORT midware-targets
        LIBRARY COMPONENT ${component} NAMELINK_COMPONENT development
        ARCHIVE COMPONENT development)
endfunction()

# The CMake package and the pkg-config files; to be called when all libraries are defined.
function(midware_install_package)
    include(CMakePackageConfigHelpers)
    set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/midware)
    configure_package_config_file(${PROJECT_SOURCE_DIR}/cmake/midware-config.cmake.in midware-config.cmake
        INSTALL_DESTINATION ${cmake_dir} NO_SET_AND_CHECK_MACRO)
    write_basic_package_version_file(midware-config-version.cmake COMPATIBILITY SameMajorVersion)
    install(FILES ${PROJECT_BINARY_DIR}/midware-config.cmake ${PROJECT_BINARY_DIR}/midware-config-version.cmake
        DESTINATION ${cmake_dir} COMPONENT development)
    install(EXPORT midware-targets NAMESPACE midware:: DESTINATION ${cmake_dir} COMPONENT development)

    # What a static link needs beside libmidware.a.
    set(packages midware)
    if(TARGET midware_platform)
        list(APPEND packages midware-platform)
        set(MIDWARE_PC_PLATFORM_PRIVATE "-lstdc++ -lm -pthread")
        set(MIDWARE_PC_PRIVATE "-lmidware_platform ${MIDWARE_PC_PLATFORM_PRIVATE}")
    else()
        set(flags "")
        foreach(library IN LISTS MIDWARE_PLATFORM)
            if(library MATCHES "^-|/")
                list(APPEND flags ${library})
            else()
                list(APPEND flags -l${library})
            endif()
        endforeach()
        list(JOIN flags " " MIDWARE_PC_PRIVATE)
    endif()
    foreach(package IN LISTS packages)
        configure_file(${PROJECT_SOURCE_DIR}/cmake/${package}.pc.in ${package}.pc @ONLY)
        install(FILES ${PROJECT_BINARY_DIR}/${package}.pc
            DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
    endforeach()

    install(FILES README.md docs/architecture.md docs/operations.md docs/platform.md docs/porting.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT development)
    install(DIRECTORY ${PROJECT_SOURCE_DIR}/examples/ DESTINATION ${CMAKE_INSTALL_DOCDIR}/examples
        COMPONENT development USE_SOURCE_PERMISSIONS)
endfunction()
