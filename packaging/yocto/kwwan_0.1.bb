# SPDX-License-Identifier: Apache-2.0
SUMMARY = "WWAN control library of a router with a cellular modem"
DESCRIPTION = "Brings data calls up and down and keeps the router's resolver at the name servers of the calls that are up."
SECTION = "libs/network"
LICENSE = "Apache-2.0"
LIC_FILES_CHKSUM = "file://LICENSE;md5=da675b280c06c45c36631cb29c462c51"

DEPENDS = "cli11 nlohmann-json"

# The layer's local.conf names a checkout: KWWAN_SOURCE = "/home/me/kwwan"
inherit externalsrc cmake pkgconfig systemd
EXTERNALSRC = "${KWWAN_SOURCE}"

EXTRA_OECMAKE = "-DKWWAN_BUILD_TESTS=OFF -DKWWAN_BUILD_EXAMPLES=OFF -DCMAKE_SKIP_INSTALL_RPATH=ON \
                 -DKWWAN_LICENSE_TEXT=${COMMON_LICENSE_DIR}/Apache-2.0"

do_install:append() {
    install -D -m 0644 ${B}/packaging/kwwand.service ${D}${systemd_system_unitdir}/kwwand.service
    [ ${systemd_system_unitdir} = ${prefix}/lib/systemd/system ] || rm -r ${D}${prefix}/lib/systemd
}

# The device's own platform libraries take the simulator's place.
PACKAGE_BEFORE_PN = "${PN}-simulator ${PN}-tools"
FILES:${PN}-simulator = "${libdir}/libkutil.so ${libdir}/libtzm_*.so ${libdir}/libkwwan_modem*.so.*"
FILES:${PN}-tools = "${sbindir}/kwwand ${bindir}/kwwanctl ${systemd_system_unitdir} ${datadir}/kwwan \
                     ${datadir}/bash-completion"
FILES:${PN}-dev += "${libdir}/libkwwan.so ${libdir}/libkwwan_modem*.so"
FILES_SOLIBSDEV = ""
RDEPENDS:${PN} = "dnsmasq"
RDEPENDS:${PN}-simulator = "iproute2 util-linux-nsenter"

# Device names without a version; they are not development links.
INSANE_SKIP:${PN}-simulator = "dev-so"

SYSTEMD_PACKAGES = "${PN}-tools"
SYSTEMD_SERVICE:${PN}-tools = "kwwand.service"
SYSTEMD_AUTO_ENABLE = "disable"
