# Build settings shared by the targets of igeslib.

include_guard(GLOBAL)
include(CMakePackageConfigHelpers)

# -Wall -Wextra for everything compiled in this tree; errors only on request.
function(igeslib_set_warnings)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    add_compile_options(-Wall -Wextra)
    if(IGESLIB_WARNINGS_AS_ERRORS)
      add_compile_options(-Werror)
    endif()
  endif()
endfunction()

# Installed programs find the libraries in ../lib beside them, and the libraries find each
# other in their own folder, wherever the tree is installed.
function(igeslib_set_install_rpath)
  file(RELATIVE_PATH bin_to_lib "${CMAKE_INSTALL_FULL_BINDIR}" "${CMAKE_INSTALL_FULL_LIBDIR}")
  set(CMAKE_INSTALL_RPATH "$ORIGIN" "$ORIGIN/${bin_to_lib}" PARENT_SCOPE)
endfunction()

# Library version and ABI version. Before 1.0 every minor release may break the ABI.
function(igeslib_set_library_version target)
  if(PROJECT_VERSION_MAJOR EQUAL 0)
    set(soversion "0.${PROJECT_VERSION_MINOR}")
  else()
    set(soversion "${PROJECT_VERSION_MAJOR}")
  endif()
  set_target_properties(${target} PROPERTIES
    VERSION "${PROJECT_VERSION}"
    SOVERSION "${soversion}")
endfunction()

# How a library's code is optimised. Its calls to its own functions bind within it: the
# compiler may inline them and call them directly rather than through the procedure linkage
# table, as nothing outside replaces them (the reader's token and record functions call each
# other for every token). Optimised builds also optimise across its source files at link time
# (the parameter code of the entity classes calls the token reader in another file).
function(igeslib_set_library_code target)
  if(CMAKE_CXX_COMPILER_ID MATCHES "GNU|Clang")
    target_compile_options(${target} PRIVATE -fno-semantic-interposition)
  endif()
  if(CMAKE_BUILD_TYPE MATCHES "^(Release|RelWithDebInfo|MinSizeRel)$")
    if(NOT DEFINED CACHE{IGESLIB_LINK_TIME_OPTIMISATION})
      include(CheckIPOSupported)
      check_ipo_supported(RESULT supported OUTPUT message LANGUAGES CXX)
      if(NOT supported)
        message(STATUS "No link-time optimisation: ${message}")
      endif()
      set(IGESLIB_LINK_TIME_OPTIMISATION ${supported} CACHE BOOL
        "Optimise the libraries across their source files at link time")
    endif()
    if(IGESLIB_LINK_TIME_OPTIMISATION)
      set_target_properties(${target} PROPERTIES INTERPROCEDURAL_OPTIMIZATION ON)
    endif()
  endif()
endfunction()

# The CMake package (igeslib::igeslib, igeslib::lumo) and igeslib.pc.
function(igeslib_install_package)
  set(cmake_dir "${CMAKE_INSTALL_LIBDIR}/cmake/igeslib")
  set(gen_dir "${PROJECT_BINARY_DIR}/package")

  install(EXPORT igeslibTargets
    NAMESPACE igeslib::
    FILE igeslibTargets.cmake
    DESTINATION "${cmake_dir}")
  configure_package_config_file(
    "${PROJECT_SOURCE_DIR}/cmake/igeslibConfig.cmake.in"
    "${gen_dir}/igeslibConfig.cmake"
    INSTALL_DESTINATION "${cmake_dir}")
  write_basic_package_version_file(
    "${gen_dir}/igeslibConfigVersion.cmake"
    VERSION "${PROJECT_VERSION}"
    COMPATIBILITY SameMinorVersion)
  install(FILES "${gen_dir}/igeslibConfig.cmake" "${gen_dir}/igeslibConfigVersion.cmake"
    DESTINATION "${cmake_dir}")

  # The .pc file finds its prefix from its own location, so it stays right when the tree is
  # installed with `cmake --install --prefix` somewhere else than configured.
  set(pc_dir "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
  if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}" OR IS_ABSOLUTE "${CMAKE_INSTALL_INCLUDEDIR}")
    set(PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
  else()
    file(RELATIVE_PATH up "${CMAKE_INSTALL_PREFIX}/${pc_dir}" "${CMAKE_INSTALL_PREFIX}")
    string(REGEX REPLACE "/$" "" up "${up}")
    set(PC_PREFIX "\${pcfiledir}/${up}")
  endif()
  foreach(kind IN ITEMS LIBDIR INCLUDEDIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${kind}}")
      set(PC_${kind} "${CMAKE_INSTALL_${kind}}")
    else()
      set(PC_${kind} "\${prefix}/${CMAKE_INSTALL_${kind}}")
    endif()
  endforeach()
  configure_file("${PROJECT_SOURCE_DIR}/cmake/igeslib.pc.in" "${gen_dir}/igeslib.pc" @ONLY)
  install(FILES "${gen_dir}/igeslib.pc" DESTINATION "${pc_dir}")
endfunction()
