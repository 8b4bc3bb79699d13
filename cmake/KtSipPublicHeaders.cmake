# The headers a library installs: all of its headers except the implementation helpers
# that only its own sources include.
#
#   ktsip_public_headers(target HEADERS file... PRIVATE name...)
#
# The public ones become the target's PUBLIC_HEADER (installed flat in include/ktsip) and
# are linked into <build>/include/ktsip, so that code built together with the libraries
# includes them as <ktsip/Name.h>, exactly as code built against an installation does.
function(ktsip_public_headers target)
  cmake_parse_arguments(arg "" "" "HEADERS;PRIVATE" ${ARGN})
  set(names "")
  set(public "")
  foreach(header ${arg_HEADERS})
    get_filename_component(name ${header} NAME)
    list(APPEND names ${name})
    if(NOT name IN_LIST arg_PRIVATE)
      list(APPEND public ${header})
      file(CREATE_LINK ${header} ${KTSIP_BUILD_INCLUDE_DIR}/ktsip/${name} SYMBOLIC)
    endif()
  endforeach()
  foreach(name ${arg_PRIVATE})
    if(NOT name IN_LIST names)
      message(FATAL_ERROR "ktsip_public_headers(${target}): ${name} is not a header of the target")
    endif()
  endforeach()
  set_target_properties(${target} PROPERTIES PUBLIC_HEADER "${public}")
  # The install test checks that these are not installed.
  set_property(GLOBAL APPEND PROPERTY KTSIP_PRIVATE_HEADERS ${arg_PRIVATE})
  target_include_directories(${target} PUBLIC
    $<BUILD_INTERFACE:${KTSIP_BUILD_INCLUDE_DIR}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
endfunction()
