# Packages of an installed copy, made by scripts/package: a zip for Windows, and for Debian and Ubuntu a package of each
# component.
set(CPACK_PACKAGE_VENDOR "The ZELTRA developers")
set(CPACK_PACKAGE_CONTACT "The ZELTRA developers <developers@zeltra.invalid>")
set(CPACK_RESOURCE_FILE_LICENSE ${PROJECT_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_VERBATIM_VARIABLES ON)
if(WIN32)
  set(CPACK_GENERATOR ZIP)
  set(CPACK_PACKAGE_FILE_NAME zeltra-${PROJECT_VERSION}-windows-x64)
else()
  include(DebianPackages)
endif()
include(CPack)
