# The Debian packages: libzeltra0, libzeltra-dev, zeltra and python3-zeltra. The preset debian sets the install prefix that
# they need and keeps the path of the library out of the command.
file(STRINGS ${CMAKE_CURRENT_LIST_DIR}/debian/changelog latest LIMIT_COUNT 1)
if(NOT latest MATCHES "^zeltra \\((.*)-([^-]*)\\)" OR NOT CMAKE_MATCH_1 STREQUAL PROJECT_VERSION)
  message(FATAL_ERROR "cmake/debian/changelog begins with \"${latest}\" instead of an entry for version ${PROJECT_VERSION}")
endif()
set(CPACK_DEBIAN_PACKAGE_RELEASE ${CMAKE_MATCH_2})
set(same "(= ${PROJECT_VERSION}-${CMAKE_MATCH_2})")
set(library libzeltra${PROJECT_VERSION_MAJOR})

set(CPACK_GENERATOR DEB)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_COMPONENTS_ALL library development command python)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SOURCE zeltra)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_LIBRARY_OUTPUT_DIRECTORY})
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS_POLICY ">=")
# Before they were split, a single package zeltra, without a revision, held all the files.
set(CPACK_DEBIAN_PACKAGE_BREAKS "zeltra (<< 0.1.0-1)")
set(CPACK_DEBIAN_PACKAGE_REPLACES "zeltra (<< 0.1.0-1)")

# The first line of each description is its summary.
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "")
set(about "ZELTRA imports UV FITS files into UVX files and exports them again,
averages visibilities, forms closure phases, finds gains, makes images
and plots.
")

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME ${library})
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
# A trigger updates the linker's cache. CPack would make scripts that call ldconfig if no files of these names were listed.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA ${CMAKE_CURRENT_LIST_DIR}/debian/triggers none/postinst none/postrm)
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "visibilities of radio interferometers - shared library
${about}\nThis package holds the shared library.")

set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_NAME libzeltra-dev)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVELOPMENT_PACKAGE_DEPENDS "${library} ${same}")
set(CPACK_DEBIAN_DEVELOPMENT_DESCRIPTION "visibilities of radio interferometers - development files
${about}\nThis package holds the headers for C++ and C and what CMake and
pkg-config need to know.")

set(CPACK_DEBIAN_COMMAND_PACKAGE_NAME zeltra)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SECTION science)
# The command loads librsvg at run time, so dpkg-shlibdeps cannot see this dependency.
set(CPACK_DEBIAN_COMMAND_PACKAGE_DEPENDS "${library} ${same}, librsvg2-2 (>= 2.52)")
set(CPACK_DEBIAN_COMMAND_PACKAGE_RECOMMENDS fonts-dejavu-core)
set(CPACK_DEBIAN_COMMAND_PACKAGE_SUGGESTS "python3-zeltra, libzeltra-dev")
set(CPACK_DEBIAN_COMMAND_PACKAGE_BREAKS "")
set(CPACK_DEBIAN_COMMAND_PACKAGE_REPLACES "")
set(CPACK_DEBIAN_COMMAND_DESCRIPTION "visibilities of radio interferometers - command and documents
${about}\nThis package holds the command, its manual and documents.")

set(CPACK_DEBIAN_PYTHON_PACKAGE_NAME python3-zeltra)
set(CPACK_DEBIAN_PYTHON_PACKAGE_ARCHITECTURE all)
set(CPACK_DEBIAN_PYTHON_PACKAGE_SECTION python)
set(CPACK_DEBIAN_PYTHON_PACKAGE_DEPENDS "${library} ${same}, python3 (>= 3.10), python3-astropy, python3-numpy")
set(CPACK_DEBIAN_PYTHON_PACKAGE_SUGGESTS
    "zeltra, python3-matplotlib, python3-xarray, python3-distributed, python3-casacore")
set(CPACK_DEBIAN_PYTHON_PACKAGE_CONTROL_EXTRA
    ${CMAKE_CURRENT_LIST_DIR}/debian/postinst ${CMAKE_CURRENT_LIST_DIR}/debian/prerm)
set(CPACK_DEBIAN_PYTHON_DESCRIPTION "visibilities of radio interferometers - Python package
${about}\nThis package holds the Python package: UVX files as arrays, and every
job of the command.")

# Debian wants the licence, the list of changes and the manual page in forms of its own; a plain installation has them as
# they are.
set(compressed ${PROJECT_BINARY_DIR}/compressed)
file(MAKE_DIRECTORY ${compressed})
function(zeltra_compress file name)
  execute_process(COMMAND gzip -9nc ${file} OUTPUT_FILE ${compressed}/${name}.gz COMMAND_ERROR_IS_FATAL ANY)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${file})
endfunction()
zeltra_compress(${CMAKE_CURRENT_LIST_DIR}/debian/changelog changelog.Debian)
zeltra_compress(${PROJECT_SOURCE_DIR}/CHANGELOG.md changelog)
zeltra_compress(${PROJECT_SOURCE_DIR}/docs/manual/zeltra.1 zeltra.1)
foreach(component IN LISTS CPACK_COMPONENTS_ALL)
  string(TOUPPER ${component} upper)
  install(FILES ${CMAKE_CURRENT_LIST_DIR}/debian/copyright ${compressed}/changelog.Debian.gz
          DESTINATION ${CMAKE_INSTALL_DATAROOTDIR}/doc/${CPACK_DEBIAN_${upper}_PACKAGE_NAME}
          COMPONENT ${component} EXCLUDE_FROM_ALL)
endforeach()
install(FILES ${compressed}/changelog.gz DESTINATION ${CMAKE_INSTALL_DOCDIR} COMPONENT command EXCLUDE_FROM_ALL)
install(FILES ${compressed}/zeltra.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT command EXCLUDE_FROM_ALL)
