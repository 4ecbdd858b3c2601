# What every target of the project shares.
include(CheckPIESupported)
check_pie_supported(OUTPUT_VARIABLE unused LANGUAGES CXX)  # So that executables are linked as position-independent too.

option(KWWAN_MISUSE_CHECKS "In a debug build, misuse of locks and callbacks ends the process with a sentence" ON)

# Warnings, sanitizers and include roots for our own code; consumers inherit none of it.
function(kwwan_own_code target)
  target_compile_options(${target} PRIVATE -Wall -Wextra -Wshadow -Wconversion $<$<BOOL:${KWWAN_WERROR}>:-Werror>
                         "$<$<CXX_COMPILER_ID:Clang>:-Wthread-safety;-Wreserved-identifier>")
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/include ${PROJECT_SOURCE_DIR}/src)
  target_link_libraries(${target} PRIVATE Threads::Threads)
  target_compile_definitions(${target} PRIVATE
    $<$<AND:$<CONFIG:Debug>,$<BOOL:${KWWAN_MISUSE_CHECKS}>>:KWWAN_MISUSE_CHECKS>)
  kwwan_hardened(${target})
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug")  # What is shipped does not tell in which folder it was built.
    target_compile_options(${target} PRIVATE -ffile-prefix-map=${PROJECT_SOURCE_DIR}=.
                           -ffile-prefix-map=${PROJECT_BINARY_DIR}=build)
  endif()
  if(KWWAN_SANITIZE)
    target_compile_options(${target} PRIVATE -fsanitize=${KWWAN_SANITIZE} -fno-sanitize-recover=all
                           -fno-omit-frame-pointer
                           # The added checks make g++ warn of the standard library's own code.
                           $<$<CXX_COMPILER_ID:GNU>:-Wno-maybe-uninitialized>)
    target_link_options(${target} PRIVATE -fsanitize=${KWWAN_SANITIZE})
  endif()
endfunction()

# Against what a fault could be used for: checked stacks and buffers, tables that are read-only from the start, no code
# in data. .ci/check_hardening looks for it in what is shipped.
function(kwwan_hardened target)
  target_compile_options(${target} PRIVATE -fstack-protector-strong)
  target_link_options(${target} PRIVATE -Wl,-z,relro -Wl,-z,now -Wl,-z,noexecstack)
  if(NOT CMAKE_BUILD_TYPE STREQUAL "Debug" AND NOT KWWAN_SANITIZE)  # It needs optimisation; sanitizers do more.
    # Some compilers and distributions have it defined already.
    target_compile_options(${target} PRIVATE -U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2)
  endif()
endfunction()

# Objects of the platform, which its libraries are linked from, and the tests, to reach what is not exported. The linker
# drops what nobody calls.
function(kwwan_platform_objects target)
  add_library(${target} OBJECT ${ARGN})
  kwwan_own_code(${target})
  target_include_directories(${target} PRIVATE ${PROJECT_SOURCE_DIR}/platform)
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
endfunction()

# A shared library of the project that only shows what `exports` (a linker version script) lists.
function(kwwan_shared_library target exports)
  kwwan_own_code(${target})
  target_include_directories(${target} INTERFACE
    $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/include> $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/src>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}/kwwan>)
  target_compile_features(${target} INTERFACE cxx_std_17)
  # What it calls of its own is its own, and costs no look-up when it is loaded.
  target_link_options(${target} PRIVATE -Wl,--gc-sections -Wl,--version-script=${exports} -Wl,-Bsymbolic-functions)
  if(NOT KWWAN_SANITIZE)
    target_link_options(${target} PRIVATE -Wl,--no-undefined)
  endif()
  target_compile_options(${target} PRIVATE -ffunction-sections -fdata-sections)
  set_property(TARGET ${target} PROPERTY INSTALL_RPATH $ORIGIN)  # The libraries find each other in any prefix.
  set_property(TARGET ${target} APPEND PROPERTY LINK_DEPENDS ${exports})
  install(TARGETS ${target} EXPORT kwwanTargets
    LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR} NAMELINK_COMPONENT devel)
endfunction()

# The whole text of the licence, which has to go with every package, from where this system keeps it. A packager whose
# tools add it themselves sets KWWAN_LICENSE_TEXT to nothing.
set(KWWAN_LICENSE_TEXT /usr/share/common-licenses/Apache-2.0 CACHE STRING "The text of Apache-2.0, installed")
function(kwwan_install_license)
  if(NOT KWWAN_LICENSE_TEXT)
    return()
  endif()
  foreach(package library:libkwwan0 devel:libkwwan-dev simulator:kwwan-simulator tools:kwwan-tools)
    string(REPLACE ":" ";" package ${package})
    list(POP_FRONT package component)
    install(FILES ${KWWAN_LICENSE_TEXT} DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package} RENAME LICENSE
      COMPONENT ${component})
  endforeach()
endfunction()

# Headers, CMake package and pkg-config file.
function(kwwan_install_package)
  include(CMakePackageConfigHelpers)
  set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME devel)
  install(DIRECTORY include/wwan DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kwwan FILES_MATCHING PATTERN "*.h")
  install(DIRECTORY src/common DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kwwan FILES_MATCHING PATTERN "*.h")
  install(FILES platform/simulator/scenario.h platform/simulator/sim_modem.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/kwwan/simulator)
  configure_package_config_file(cmake/kwwanConfig.cmake.in kwwanConfig.cmake
    INSTALL_DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kwwan)
  write_basic_package_version_file(kwwanConfigVersion.cmake COMPATIBILITY SameMinorVersion)
  install(FILES ${CMAKE_CURRENT_BINARY_DIR}/kwwanConfig.cmake ${CMAKE_CURRENT_BINARY_DIR}/kwwanConfigVersion.cmake
    DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kwwan)
  install(EXPORT kwwanTargets NAMESPACE kwwan:: DESTINATION ${CMAKE_INSTALL_LIBDIR}/cmake/kwwan)
  kwwan_install_pc()
endfunction()

# kwwan.pc names the prefix of the installation itself (cmake --install --prefix), never the folder that DESTDIR puts
# before it: pkg-config adds a sysroot of its own.
function(kwwan_install_pc)
  set(libdir "\${prefix}")
  set(includedir "\${prefix}")
  cmake_path(APPEND libdir "${CMAKE_INSTALL_LIBDIR}")  # An absolute folder replaces the prefix.
  cmake_path(APPEND includedir "${CMAKE_INSTALL_INCLUDEDIR}")
  string(CONFIGURE [[
    set(libdir [=[@libdir@]=])
    set(includedir [=[@includedir@]=])
    set(version [=[@PROJECT_VERSION@]=])
    configure_file([=[@PROJECT_SOURCE_DIR@/cmake/kwwan.pc.in]=] [=[@PROJECT_BINARY_DIR@/kwwan.pc]=] @ONLY)]] code @ONLY)
  install(CODE "${code}")
  install(FILES ${PROJECT_BINARY_DIR}/kwwan.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
endfunction()
