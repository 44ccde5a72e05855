# What every target of this project is compiled with. Nothing here reaches users of the library.
function(zeltra_compile_options target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual
                         $<$<BOOL:${ZELTRA_WERROR}>:-Werror>)
  # Results must not depend on whether a processor can fuse a multiplication with an addition.
  target_compile_options(${target} PRIVATE -ffp-contract=off)
  target_compile_definitions(${target} PRIVATE $<$<BOOL:${ZELTRA_PLAIN_VECTORS}>:ZELTRA_PLAIN_VECTORS>)
  if(ZELTRA_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${ZELTRA_SANITIZE} -fno-sanitize-recover=all
                           -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${ZELTRA_SANITIZE})
  endif()
  if(MINGW)
    # The compiler's runtime is linked in, so that a program needs no DLL but ours.
    target_link_options(${target} PRIVATE -static)
  endif()
endfunction()

# Header-only Debian packages (CLI11, nlohmann-json, stb) for any target system: they are linked one by one into a folder of
# the build tree, since /usr/include as a whole belongs to the system that builds.
function(zeltra_host_headers target)
  set(folder ${CMAKE_BINARY_DIR}/host-headers)
  file(MAKE_DIRECTORY ${folder})
  foreach(name IN LISTS ARGN)
    if(NOT EXISTS /usr/include/${name})
      message(FATAL_ERROR "/usr/include/${name} is missing: install libcli11-dev, nlohmann-json3-dev and libstb-dev")
    endif()
    file(CREATE_LINK /usr/include/${name} ${folder}/${name} SYMBOLIC)
  endforeach()
  target_include_directories(${target} SYSTEM PRIVATE ${folder})
endfunction()
