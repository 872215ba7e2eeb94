# The Debian package: one package with both components, because the
# configuration application does nothing without daemons answering on the
# system bus, and the activation files, units and policies must name the very
# binaries shipped beside them.

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${QUIVEN_PACKAGE_NAME})
set(CPACK_PACKAGE_VENDOR Norvalis)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGE_CONTACT ${QUIVEN_MAINTAINER})
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "configuration application of the QUIVEN file-access firewall")
set(CPACK_PACKAGE_DESCRIPTION_FILE ${QUIVEN_PACKAGING_DIR}/debian/description)
# The /etc folder and the systemd unit folder are absolute destinations.
set(CPACK_SET_DESTDIR ON)
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER ${QUIVEN_MAINTAINER})
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE ${QUIVEN_HOMEPAGE})
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What the libraries do not tell: the bus the daemons and clients meet on, and
# the authority that asks for an administrator's password.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "dbus | dbus-system-bus, polkitd")

# Files in /etc are the administrator's once installed.
set(QUIVEN_CONFFILES)
foreach(ruleset ${QUIVEN_DEFAULT_RULESETS})
    get_filename_component(name ${ruleset} NAME)
    string(APPEND QUIVEN_CONFFILES "${QUIVEN_SYSTEM_RULES_INSTALL_DIR}/${name}\n")
endforeach()
file(WRITE ${QUIVEN_GENERATED_DIR}/debian/conffiles ${QUIVEN_CONFFILES})
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${QUIVEN_PACKAGING_DIR}/debian/postinst ${QUIVEN_PACKAGING_DIR}/debian/prerm
    ${QUIVEN_PACKAGING_DIR}/debian/postrm ${QUIVEN_GENERATED_DIR}/debian/conffiles)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)

include(CPack)
