# Debian packages, one for each install component: `cpack` in a build folder of the preset `shipped` makes them.
set(KWWAN_DEBIAN_VERSION ${PROJECT_VERSION}-1)  # As in packaging/debian/changelog.

# What every Debian package carries besides its component's files.
function(kwwan_debian_component component package)
  set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME ${component})
  install(FILES ${PROJECT_SOURCE_DIR}/packaging/debian/copyright ${PROJECT_BINARY_DIR}/changelog.Debian.gz
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${package})
  set(overrides ${PROJECT_SOURCE_DIR}/packaging/debian/${package}.lintian-overrides)
  if(EXISTS ${overrides})
    install(FILES ${overrides} DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides RENAME ${package})
  endif()
endfunction()

execute_process(COMMAND gzip -9nc INPUT_FILE ${PROJECT_SOURCE_DIR}/packaging/debian/changelog
  OUTPUT_FILE ${PROJECT_BINARY_DIR}/changelog.Debian.gz COMMAND_ERROR_IS_FATAL ANY)
kwwan_debian_component(library libkwwan0)
kwwan_debian_component(devel libkwwan-dev)
kwwan_debian_component(simulator kwwan-simulator)
kwwan_debian_component(tools kwwan-tools)

# Debian wants the manual pages compressed.
install(CODE [[
  file(GLOB pages "$ENV{DESTDIR}${CMAKE_INSTALL_PREFIX}/share/man/man[1-8]/kwwan*.[1-8]")
  if(pages)
    execute_process(COMMAND gzip -9nf ${pages} COMMAND_ERROR_IS_FATAL ANY)
  endif()]] COMPONENT tools)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME kwwan)
set(CPACK_PACKAGE_CONTACT "kwwan developers <developers@kwwan.invalid>")
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL library devel simulator tools)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SOURCE kwwan)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS
  ${PROJECT_BINARY_DIR}/lib)

set(CPACK_DEBIAN_LIBRARY_PACKAGE_NAME libkwwan0)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_LIBRARY_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/debian/libkwwan0/shlibs ${PROJECT_SOURCE_DIR}/packaging/debian/libkwwan0/triggers)
# A device's own package of the three platform libraries provides kwwan-platform.
set(CPACK_DEBIAN_LIBRARY_PACKAGE_DEPENDS "kwwan-simulator (= ${KWWAN_DEBIAN_VERSION}) | kwwan-platform, dnsmasq-base")
set(CPACK_DEBIAN_LIBRARY_DESCRIPTION "WWAN control library of a router with a cellular modem
Brings data calls up and down and keeps the router's resolver at the name
servers of the calls that are up. It needs the platform libraries of the
device, or those of the simulated modem.")

set(CPACK_DEBIAN_DEVEL_PACKAGE_NAME libkwwan-dev)
set(CPACK_DEBIAN_DEVEL_PACKAGE_SECTION libdevel)
set(CPACK_DEBIAN_DEVEL_PACKAGE_SHLIBDEPS OFF)
set(CPACK_DEBIAN_DEVEL_PACKAGE_DEPENDS
  "libkwwan0 (= ${KWWAN_DEBIAN_VERSION}), kwwan-simulator (= ${KWWAN_DEBIAN_VERSION})")
set(CPACK_DEBIAN_DEVEL_DESCRIPTION "WWAN control library, what programs are built with
Headers, the CMake package kwwan with the target kwwan::kwwan, and the
pkg-config file of libkwwan.")

set(CPACK_DEBIAN_SIMULATOR_PACKAGE_NAME kwwan-simulator)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_SECTION libs)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_CONTROL_EXTRA
  ${PROJECT_SOURCE_DIR}/packaging/debian/kwwan-simulator/shlibs
  ${PROJECT_SOURCE_DIR}/packaging/debian/kwwan-simulator/triggers)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_DEPENDS iproute2)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_PROVIDES kwwan-platform)
set(CPACK_DEBIAN_SIMULATOR_PACKAGE_CONFLICTS kwwan-platform)
set(CPACK_DEBIAN_SIMULATOR_DESCRIPTION "WWAN control library, its platform over a simulated modem
The platform libraries that libkwwan needs, for plain Linux: calls come up
on a simulated modem with real network interfaces, and scenarios make it
slow, refuse, drop calls or fall silent.")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME kwwan-tools)
set(CPACK_DEBIAN_TOOLS_PACKAGE_SECTION net)
set(CPACK_DEBIAN_TOOLS_PACKAGE_DEPENDS
  "libkwwan0 (= ${KWWAN_DEBIAN_VERSION}), kwwan-simulator (= ${KWWAN_DEBIAN_VERSION})")
set(CPACK_DEBIAN_TOOLS_DESCRIPTION "WWAN control library, its host and command line
kwwand holds the data calls, the DNS forwarder and the AT service; kwwanctl
talks to it. The service is installed and not enabled: it takes over
/etc/resolv.conf when it starts.")

include(CPack)
