# Script behind the install_and_consume test (run with cmake -P):
#  1. installs the build tree BUILD_DIR into the scratch prefix PREFIX;
#  2. checks the installed layout (versioned libraries, the public headers flat in
#     include/ktsip and none of PRIVATE_HEADERS, package files), and that every installed
#     header compiles on its own as #include <ktsip/Name.h> with -I<prefix>/include;
#  3. configures, builds and runs CONSUMER_DIR against PREFIX through find_package(KtSip);
#  4. compiles the same program with the flags `pkg-config --cflags --libs ktsip` gives
#     (only PREFIX's pkg-config directory is searched) and runs it.
# Both programs must print the header line they were given, serialized by the library.
cmake_minimum_required(VERSION 3.20)

foreach(var BUILD_DIR PREFIX CONSUMER_DIR LIBDIR INCLUDEDIR SOVERSION CXX_COMPILER)
  if(NOT DEFINED ${var} OR "${${var}}" STREQUAL "")
    message(FATAL_ERROR "install test: ${var} is not set")
  endif()
endforeach()

set(line "X-Consumer-Check: installed-ok")
set(expected "X-Consumer-Check: installed-ok")
set(ENV{LD_LIBRARY_PATH} "${PREFIX}/${LIBDIR}")

function(run what)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE rc OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "install test: ${what} failed (${rc}):\n${out}\n${err}")
  endif()
  set(run_output "${out}" PARENT_SCOPE)
endfunction()

# Runs a consumer with its output in a file, read back in hexadecimal (execute_process
# and file(READ) in text form both drop the CR of CR LF).
function(run_consumer what program)
  set(out_file "${PREFIX}/consumer-output.txt")
  execute_process(COMMAND "${program}" "${line}"
    RESULT_VARIABLE rc OUTPUT_FILE "${out_file}" ERROR_VARIABLE err)
  file(READ "${out_file}" text)
  file(READ "${out_file}" hex HEX)
  string(HEX "${expected}" expected_hex)
  if(NOT rc EQUAL 0)
    message(FATAL_ERROR "install test: ${what} failed (${rc}):\n${text}\n${err}")
  endif()
  string(FIND "${hex}" "${expected_hex}0d0a" at)
  if(at GREATER -1)
    math(EXPR odd "${at} % 2")
  endif()
  if(at LESS 0 OR odd)
    message(FATAL_ERROR "install test: ${what} printed\n${text}\nexpected a line \"${expected}\" ending in CR LF")
  endif()
endfunction()

# Programs are built through the compiler launcher (ccache) of the main build.
set(launcher "")
if(CXX_LAUNCHER AND NOT CXX_LAUNCHER MATCHES "NOTFOUND$")
  set(launcher "-DCMAKE_CXX_COMPILER_LAUNCHER=${CXX_LAUNCHER}")
endif()

# 1. Install.
file(REMOVE_RECURSE "${PREFIX}")
run("cmake --install" ${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${PREFIX}")

# 2. Layout.
foreach(f
    ${LIBDIR}/libktutil.so.${SOVERSION} ${LIBDIR}/libktsip.so.${SOVERSION}
    ${LIBDIR}/libktutil.so ${LIBDIR}/libktsip.so
    ${INCLUDEDIR}/ktsip/KtObject.h ${INCLUDEDIR}/ktsip/KtSipHeader.h ${INCLUDEDIR}/ktsip/KtSipParseError.h
    ${INCLUDEDIR}/ktsip/KtSipMessage.h
    ${LIBDIR}/cmake/KtSip/KtSipConfig.cmake ${LIBDIR}/cmake/KtSip/KtSipConfigVersion.cmake
    ${LIBDIR}/cmake/KtSip/KtSipTargets.cmake
    ${LIBDIR}/pkgconfig/ktutil.pc ${LIBDIR}/pkgconfig/ktsip.pc)
  if(NOT EXISTS "${PREFIX}/${f}")
    message(FATAL_ERROR "install test: ${f} was not installed")
  endif()
endforeach()
foreach(name ${PRIVATE_HEADERS})
  if(EXISTS "${PREFIX}/${INCLUDEDIR}/ktsip/${name}")
    message(FATAL_ERROR "install test: the implementation header ${name} was installed")
  endif()
endforeach()
# Each installed header compiles alone: it includes what it uses, and nothing it includes
# is missing from the installation.
file(GLOB installed_headers "${PREFIX}/${INCLUDEDIR}/ktsip/*.h")
list(LENGTH installed_headers header_count)
if(header_count LESS 50)
  message(FATAL_ERROR "install test: only ${header_count} headers in ${PREFIX}/${INCLUDEDIR}/ktsip")
endif()
# One source file per header in a project of its own, built like the consumer (through
# the compiler launcher, two jobs).
set(check_dir "${PREFIX}/header-check")
file(MAKE_DIRECTORY "${check_dir}")
file(WRITE "${check_dir}/CMakeLists.txt" [=[
cmake_minimum_required(VERSION 3.20)
project(KtSipHeaderCheck LANGUAGES CXX)
file(GLOB sources ${CMAKE_CURRENT_SOURCE_DIR}/*.cpp)
add_library(header_check OBJECT ${sources})
target_compile_features(header_check PRIVATE cxx_std_17)
target_compile_options(header_check PRIVATE -Wall -Wextra -Werror)
target_include_directories(header_check PRIVATE ${KTSIP_INCLUDE})
]=])
foreach(header ${installed_headers})
  get_filename_component(name "${header}" NAME_WE)
  file(WRITE "${check_dir}/${name}.cpp" "#include <ktsip/${name}.h>\n")
endforeach()
run("configuring the header check" ${CMAKE_COMMAND} -S "${check_dir}" -B "${check_dir}/build"
  -DCMAKE_CXX_COMPILER=${CXX_COMPILER} ${launcher} "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
  "-DKTSIP_INCLUDE=${PREFIX}/${INCLUDEDIR}")
run("compiling each installed header alone" ${CMAKE_COMMAND} --build "${check_dir}/build" -j 2)
message(STATUS "install test: ${header_count} installed headers compile alone")
# The private dependencies must not reach a consumer's link line.
file(READ "${PREFIX}/${LIBDIR}/cmake/KtSip/KtSipTargets.cmake" targets)
foreach(private "PkgConfig::" "OpenSSL::" "log4cplus" "libACE" "uuid")
  string(FIND "${targets}" "${private}" at)
  if(at GREATER -1)
    message(FATAL_ERROR "install test: the exported targets mention ${private}")
  endif()
endforeach()

# 3. find_package(KtSip).
set(consumer_build "${PREFIX}/consumer-build")
run("configuring the consumer" ${CMAKE_COMMAND} -S "${CONSUMER_DIR}" -B "${consumer_build}"
  -DCMAKE_PREFIX_PATH=${PREFIX} -DCMAKE_CXX_COMPILER=${CXX_COMPILER} ${launcher}
  "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}" -DCMAKE_BUILD_TYPE=RelWithDebInfo)
run("building the consumer" ${CMAKE_COMMAND} --build "${consumer_build}")
run_consumer("the consumer" "${consumer_build}/consumer")

# 4. pkg-config.
if(PKG_CONFIG AND NOT PKG_CONFIG MATCHES "NOTFOUND$")
  set(ENV{PKG_CONFIG_LIBDIR} "${PREFIX}/${LIBDIR}/pkgconfig")
  unset(ENV{PKG_CONFIG_PATH})
  run("pkg-config" ${PKG_CONFIG} --cflags --libs ktsip)
  string(STRIP "${run_output}" pc_flags)
  separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")
  separate_arguments(extra UNIX_COMMAND "${CXX_FLAGS}")
  run("compiling with pkg-config flags" ${CXX_COMPILER} -std=c++17 ${extra}
    "${CONSUMER_DIR}/main.cpp" -o "${PREFIX}/consumer-pc" ${pc_flags})
  run_consumer("the pkg-config consumer" "${PREFIX}/consumer-pc")
else()
  message(STATUS "install test: pkg-config not found, that check is skipped")
endif()
message(STATUS "install test: passed")
