# Other projects find an installed copy with find_package(zeltra) or pkg-config. The components library, development, command
# and python become Debian packages; files that these have in another form belong to the component plain.
include(CMakePackageConfigHelpers)

install(TARGETS zeltra EXPORT zeltra-targets
        RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT library
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT library NAMELINK_COMPONENT development
        ARCHIVE DESTINATION ${CMAKE_INSTALL_LIBDIR} COMPONENT development)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/zeltra DESTINATION ${CMAKE_INSTALL_INCLUDEDIR} COMPONENT development
        FILES_MATCHING PATTERN "*.h" PATTERN "*Internal.h" EXCLUDE)
install(EXPORT zeltra-targets NAMESPACE zeltra:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zeltra COMPONENT development)
configure_package_config_file(${CMAKE_CURRENT_LIST_DIR}/zeltraConfig.cmake.in ${PROJECT_BINARY_DIR}/zeltraConfig.cmake
                              INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zeltra)
write_basic_package_version_file(${PROJECT_BINARY_DIR}/zeltraConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${PROJECT_BINARY_DIR}/zeltraConfig.cmake ${PROJECT_BINARY_DIR}/zeltraConfigVersion.cmake
        DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/zeltra COMPONENT development)
# The prefix is relative to the folder of zeltra.pc, so that an installed copy may be moved.
file(RELATIVE_PATH ZELTRA_PC_PREFIX /prefix/${CMAKE_INSTALL_LIBDIR}/pkgconfig /prefix)
configure_file(${CMAKE_CURRENT_LIST_DIR}/zeltra.pc.in ${PROJECT_BINARY_DIR}/zeltra.pc @ONLY)
install(FILES ${PROJECT_BINARY_DIR}/zeltra.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT development)
install(FILES ${PROJECT_SOURCE_DIR}/LICENSE ${PROJECT_SOURCE_DIR}/CHANGELOG.md
        DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT plain)
install(FILES ${PROJECT_SOURCE_DIR}/README.md DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT command)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/docs DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT command)
