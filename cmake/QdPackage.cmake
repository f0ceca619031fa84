# What `cpack` packs of an installation: for Debian a package for those who run programs, one for
# those who write them, and the tools; for Windows one zip with everything.

set(QD_MAINTAINER "The maintainers of qd.core <qdcore@example.org>" CACHE STRING
    "Who answers for the packages")
set(CPACK_PACKAGE_NAME qdcore)
set(CPACK_PACKAGE_CONTACT ${QD_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # each package describes itself
set(CPACK_PACKAGE_DIRECTORY ${PROJECT_BINARY_DIR}/packages)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)

if(WIN32)
    set(CPACK_GENERATOR ZIP)
    set(CPACK_PACKAGE_FILE_NAME qdcore-${PROJECT_VERSION}-windows-x64)
    include(CPack)
    return()
endif()

set(CPACK_GENERATOR DEB)
set(CPACK_COMPONENTS_ALL runtime development tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(version "${PROJECT_VERSION}-${CPACK_DEBIAN_PACKAGE_RELEASE}")

set(CPACK_DEBIAN_RUNTIME_PACKAGE_NAME libqdcore${PROJECT_VERSION_MAJOR})
set(CPACK_DEBIAN_RUNTIME_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_RUNTIME_DESCRIPTION "foundation classes of measurement applications
Trees of named nodes, archives of whole object graphs, settings, translated
texts, units, large memory blocks, operations with progress, locks.")
set(CPACK_DEBIAN_RUNTIME_PACKAGE_CONTROL_EXTRA ${PROJECT_SOURCE_DIR}/cmake/debian/triggers)

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libqdcore-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${CPACK_DEBIAN_RUNTIME_PACKAGE_NAME} (= ${version})")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "foundation classes of measurement applications: headers
The headers, the support library, the files for CMake and pkg-config, and
the printers for gdb.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME qdcore-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "inspector of the files of measurement applications
Shows what an archive, a profile, a language file or a log holds, and where
it is damaged.")

# Every package has its copyright and its changelog, which an installation elsewhere does not want.
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    find_program(QD_GZIP gzip REQUIRED)
    string(TIMESTAMP date "%a, %d %b %Y %H:%M:%S +0000" UTC)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/debian/changelog.in debian/changelog @ONLY)
    execute_process(COMMAND ${QD_GZIP} -9nf ${PROJECT_BINARY_DIR}/debian/changelog
                    COMMAND_ERROR_IS_FATAL ANY)
    foreach(component ${CPACK_COMPONENTS_ALL})
        string(TOUPPER ${component} upper)
        set(folder ${CMAKE_INSTALL_DATADIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME})
        install(FILES ${PROJECT_SOURCE_DIR}/cmake/debian/copyright DESTINATION ${folder}
                COMPONENT ${component})
        install(FILES ${PROJECT_BINARY_DIR}/debian/changelog.gz DESTINATION ${folder}
                RENAME changelog.Debian.gz COMPONENT ${component})
    endforeach()
endif()
include(CPack)
