# What `cmake --install` copies, in three components as they are packed: runtime, development, tools.
# The headers stand under include/qdcore, which users have in their include path, so that they write
# "core/qdcore.h" and "support/SaveArchive.h" as the library does itself. Every path in the package
# is told from where its own file stands: a folder that was moved, or unpacked from an archive, still
# works.

include(GNUInstallDirs)
include(CMakePackageConfigHelpers)

set(headers ${CMAKE_INSTALL_INCLUDEDIR}/qdcore)
set(package ${CMAKE_INSTALL_LIBDIR}/cmake/qdcore)
install(TARGETS qdcore qdsupport qd_options EXPORT qdcore-targets
    RUNTIME COMPONENT runtime
    LIBRARY COMPONENT runtime NAMELINK_COMPONENT development
    ARCHIVE COMPONENT development
    FILE_SET HEADERS DESTINATION ${headers} COMPONENT development
    FILE_SET version DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development)
install(EXPORT qdcore-targets NAMESPACE qdcore:: DESTINATION ${package} COMPONENT development)
write_basic_package_version_file(qdcore-config-version.cmake COMPATIBILITY SameMajorVersion)
install(FILES cmake/qdcore-config.cmake ${PROJECT_BINARY_DIR}/qdcore-config-version.cmake
        DESTINATION ${package} COMPONENT development)

# pkg-config, for those who build without CMake.
set(pkgconfig ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
cmake_path(RELATIVE_PATH CMAKE_INSTALL_PREFIX BASE_DIRECTORY ${CMAKE_INSTALL_PREFIX}/${pkgconfig}
           OUTPUT_VARIABLE way_to_prefix)
foreach(name qdcore qdcore-support)
    configure_file(cmake/${name}.pc.in ${name}.pc @ONLY)
    install(FILES ${PROJECT_BINARY_DIR}/${name}.pc DESTINATION ${pkgconfig} COMPONENT development)
endforeach()

# The debuggers. gdb reads by itself what stands beside the library under the library's name and
# "-gdb.py", where its user trusts the folder, or in a folder of its own for the system's libraries.
if(WIN32)
    set(printers ${CMAKE_INSTALL_BINDIR})
elseif(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(printers ${CMAKE_INSTALL_DATADIR}/gdb/auto-load/usr/${CMAKE_INSTALL_LIBDIR})
else()
    set(printers ${CMAKE_INSTALL_LIBDIR})
endif()
install(FILES debug/qdcore_printers.py DESTINATION ${printers}
        RENAME $<TARGET_FILE_NAME:qdcore>-gdb.py COMPONENT development)
install(FILES debug/qdcore.natvis DESTINATION ${CMAKE_INSTALL_DATADIR}/qdcore COMPONENT development)
