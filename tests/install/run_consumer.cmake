# Checks an installed igeslib the way an outside project sees it (run by CTest with cmake -P):
#  1. install the build tree into WORK_DIR/prefix and look for every installed piece;
#  2. configure, build and run tests/install/consumer against it through find_package(igeslib);
#  3. compile and run the same main.cpp with the flags that pkg-config gives for igeslib.
#  4. import the Python module from the prefix, when the tree builds it.
# The consumer is built with the compiler and flags of the tree under test, so a sanitizer
# build is checked with its sanitizers on.
cmake_minimum_required(VERSION 3.25)

foreach(var IN ITEMS BUILD_DIR CONSUMER_DIR WORK_DIR LIBDIR INCLUDEDIR GENERATOR CXX_COMPILER
                     EXPECTED_VERSION)
  if(NOT DEFINED ${var} OR "${${var}}" STREQUAL "")
    message(FATAL_ERROR "run_consumer.cmake needs -D${var}=...")
  endif()
endforeach()

# Runs a command, stops the check with its output if it fails, and returns its stdout in
# out_var.
function(run_checked out_var)
  execute_process(COMMAND ${ARGN}
    RESULT_VARIABLE rc
    OUTPUT_VARIABLE out
    ERROR_VARIABLE err)
  if(NOT rc STREQUAL "0")
    list(JOIN ARGN " " command)
    message(FATAL_ERROR "failed (${rc}): ${command}\n${out}\n${err}")
  endif()
  set(${out_var} "${out}" PARENT_SCOPE)
endfunction()

function(expect_version program_output how)
  if(NOT program_output MATCHES "igeslib ${EXPECTED_VERSION}\n")
    message(FATAL_ERROR "consumer built ${how} printed:\n${program_output}\n"
                        "expected a line: igeslib ${EXPECTED_VERSION}")
  endif()
endfunction()

separate_arguments(cxx_flags UNIX_COMMAND "${CXX_FLAGS}")
separate_arguments(exe_linker_flags UNIX_COMMAND "${EXE_LINKER_FLAGS}")

set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")
file(MAKE_DIRECTORY "${WORK_DIR}")

# 1. Install.
set(install_args --install "${BUILD_DIR}" --prefix "${prefix}")
if(CONFIG)
  list(APPEND install_args --config "${CONFIG}")
endif()
run_checked(ignored "${CMAKE_COMMAND}" ${install_args})

foreach(file IN ITEMS
    "${LIBDIR}/libigeslib.so"
    "${LIBDIR}/libigeslib-lumo.so"
    "${INCLUDEDIR}/igeslib/igeslib.h"
    "${INCLUDEDIR}/igeslib/lumo.h"
    "${LIBDIR}/cmake/igeslib/igeslibConfig.cmake"
    "${LIBDIR}/cmake/igeslib/igeslibConfigVersion.cmake"
    "${LIBDIR}/cmake/igeslib/igeslibTargets.cmake"
    "${LIBDIR}/pkgconfig/igeslib.pc")
  if(NOT EXISTS "${prefix}/${file}")
    message(FATAL_ERROR "cmake --install did not install ${file}")
  endif()
endforeach()

# 2. find_package(igeslib). The consumer asks for this exact version, which also checks the
# package's version file, and must find the package in the scratch prefix and nowhere else.
set(cmake_build "${WORK_DIR}/cmake-build")
set(configure_args
  -S "${CONSUMER_DIR}" -B "${cmake_build}" -G "${GENERATOR}"
  "-DCMAKE_BUILD_TYPE=${CONFIG}"
  "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}"
  "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}"
  "-DCMAKE_EXE_LINKER_FLAGS=${EXE_LINKER_FLAGS}"
  "-DCMAKE_PREFIX_PATH=${prefix}"
  "-DCMAKE_FIND_USE_PACKAGE_REGISTRY=OFF"
  "-DIGESLIB_EXPECTED_VERSION=${EXPECTED_VERSION}")
if(MAKE_PROGRAM)
  list(APPEND configure_args "-DCMAKE_MAKE_PROGRAM=${MAKE_PROGRAM}")
endif()
run_checked(ignored "${CMAKE_COMMAND}" ${configure_args})

file(STRINGS "${cmake_build}/CMakeCache.txt" found_dir REGEX "^igeslib_DIR:PATH=")
string(REGEX REPLACE "^igeslib_DIR:PATH=" "" found_dir "${found_dir}")
file(REAL_PATH "${found_dir}" found_dir)
file(REAL_PATH "${prefix}/${LIBDIR}/cmake/igeslib" wanted_dir)
if(NOT found_dir STREQUAL wanted_dir)
  message(FATAL_ERROR "find_package(igeslib) found ${found_dir}, not ${wanted_dir}")
endif()

run_checked(ignored "${CMAKE_COMMAND}" --build "${cmake_build}" --parallel 2)
run_checked(output "${cmake_build}/consumer")
expect_version("${output}" "with find_package")

# 3. pkg-config.
if(NOT PKG_CONFIG)
  message(FATAL_ERROR "pkg-config was not found when the tree was configured")
endif()
set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
run_checked(modversion "${PKG_CONFIG}" --modversion igeslib)
string(STRIP "${modversion}" modversion)
if(NOT modversion STREQUAL EXPECTED_VERSION)
  message(FATAL_ERROR "pkg-config says igeslib ${modversion}, expected ${EXPECTED_VERSION}")
endif()
run_checked(pc_flags "${PKG_CONFIG}" --cflags --libs igeslib)
separate_arguments(pc_flags UNIX_COMMAND "${pc_flags}")

set(pc_program "${WORK_DIR}/pkgconfig-consumer")
run_checked(ignored "${CXX_COMPILER}" ${cxx_flags} -std=c++20
  "${CONSUMER_DIR}/main.cpp" ${pc_flags} ${exe_linker_flags}
  "-Wl,-rpath,${prefix}/${LIBDIR}" -o "${pc_program}")
run_checked(output "${pc_program}")
expect_version("${output}" "with pkg-config")

# 4. The Python module, when the tree builds it: imported from the prefix as the README says.
if(PYTHON AND PYTHON_DIR)
  set(ENV{PYTHONPATH} "${prefix}/${PYTHON_DIR}")
  run_checked(output "${PYTHON}" -c [[
import igeslib
print("igeslib", igeslib.__version__)
print(igeslib.__file__)
]])
  expect_version("${output}" "as the Python module")
  if(NOT output MATCHES "\n${prefix}/${PYTHON_DIR}/igeslib[^/]*\n")
    message(FATAL_ERROR "the Python module was not imported from the prefix:\n${output}")
  endif()
endif()

message(STATUS "igeslib ${EXPECTED_VERSION} installs and is usable through CMake and pkg-config")
