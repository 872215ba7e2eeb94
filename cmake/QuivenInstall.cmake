# Install rules: where each part of the product goes on a Linux desktop system.
# Components: "application" (the programs users run and their desktop
# integration) and "standins" (the daemons with their bus, polkit and systemd
# files). The Debian package holds both.

# A distribution's prefix; the folders in /etc and the systemd unit folder are
# absolute, so staging goes through DESTDIR.
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)
    set(CMAKE_INSTALL_PREFIX /usr CACHE PATH "Install prefix" FORCE)
endif()
include(GNUInstallDirs)

set(QUIVEN_APP_ID com.norvalis.QUIVENConfiguration)
set(QUIVEN_PRODUCT_NAME "Norvalis™ QUIVEN")
set(QUIVEN_PACKAGE_NAME quiven-configuration)
set(QUIVEN_MAINTAINER "Norvalis QUIVEN Team <quiven@norvalis.com>")
set(QUIVEN_HOMEPAGE "https://www.norvalis.com/quiven/")
set(QUIVEN_SOURCE_URL "https://www.norvalis.com/quiven/source" CACHE STRING
    "Web address of the source repository; the metainfo's screenshot lies under it")
set(QUIVEN_DAEMON_DIR ${CMAKE_INSTALL_LIBEXECDIR}/quiven)
set(QUIVEN_DATA_DIR ${CMAKE_INSTALL_DATADIR}/quiven)
set(QUIVEN_DOC_DIR ${CMAKE_INSTALL_DATADIR}/doc/${QUIVEN_PACKAGE_NAME})
set(QUIVEN_SYSTEM_RULES_INSTALL_DIR ${CMAKE_INSTALL_FULL_SYSCONFDIR}/quiven)

pkg_get_variable(QUIVEN_SYSTEMD_UNIT_DIR_FROM_SYSTEMD systemd systemdsystemunitdir)
if(QUIVEN_SYSTEMD_UNIT_DIR_FROM_SYSTEMD)
    set(QUIVEN_SYSTEMD_UNIT_DIR ${QUIVEN_SYSTEMD_UNIT_DIR_FROM_SYSTEMD} CACHE PATH "systemd system unit folder")
else()
    set(QUIVEN_SYSTEMD_UNIT_DIR lib/systemd/system CACHE PATH "systemd system unit folder")
endif()

set(QUIVEN_PACKAGING_DIR ${PROJECT_SOURCE_DIR}/packaging)
set(QUIVEN_GENERATED_DIR ${PROJECT_BINARY_DIR}/packaging)

# Programs.
install(TARGETS quivenctl RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT application)
if(TARGET quiven-config)
    install(TARGETS quiven-config RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR} COMPONENT application)
endif()
install(TARGETS quiven-filterd quiven-settingsd quiven-authd
        RUNTIME DESTINATION ${QUIVEN_DAEMON_DIR} COMPONENT standins)

# Bus policies, interfaces, activation files, polkit action and systemd units.
file(GLOB QUIVEN_BUS_POLICIES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/dbus/*.conf)
file(GLOB QUIVEN_BUS_INTERFACES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/dbus/*.xml)
file(GLOB QUIVEN_ACTIVATION_TEMPLATES CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/dbus/*.service.in)
file(GLOB QUIVEN_SYSTEMD_UNITS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/dbus/quiven-*.service)
set(QUIVEN_DAEMON_FULL_DIR ${CMAKE_INSTALL_FULL_LIBEXECDIR}/quiven)
set(QUIVEN_ACTIVATION_FILES)
foreach(template ${QUIVEN_ACTIVATION_TEMPLATES})
    get_filename_component(name ${template} NAME_WLE)
    configure_file(${template} ${QUIVEN_GENERATED_DIR}/system-services/${name} @ONLY)
    list(APPEND QUIVEN_ACTIVATION_FILES ${QUIVEN_GENERATED_DIR}/system-services/${name})
endforeach()
install(FILES ${QUIVEN_BUS_POLICIES} DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system.d COMPONENT standins)
install(FILES ${QUIVEN_BUS_INTERFACES} DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/interfaces
        COMPONENT standins)
install(FILES ${QUIVEN_ACTIVATION_FILES} DESTINATION ${CMAKE_INSTALL_DATADIR}/dbus-1/system-services
        COMPONENT standins)
install(FILES ${PROJECT_SOURCE_DIR}/dbus/com.norvalis.quiven.policy
        DESTINATION ${CMAKE_INSTALL_DATADIR}/polkit-1/actions COMPONENT standins)
install(FILES ${QUIVEN_SYSTEMD_UNITS} DESTINATION ${QUIVEN_SYSTEMD_UNIT_DIR} COMPONENT standins)
install(FILES ${QUIVEN_PACKAGING_DIR}/quiven.tmpfiles DESTINATION lib/tmpfiles.d RENAME quiven.conf
        COMPONENT standins)

# The shipped system rulesets and the customization file.
file(GLOB QUIVEN_DEFAULT_RULESETS CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/demo/system/*.rc)
install(FILES ${QUIVEN_DEFAULT_RULESETS} DESTINATION ${QUIVEN_SYSTEM_RULES_INSTALL_DIR} COMPONENT standins)
install(FILES ${QUIVEN_PACKAGING_DIR}/customization.json DESTINATION ${QUIVEN_DATA_DIR}/gui
        COMPONENT application)

# Desktop entry, metainfo and icons: generated always, so the checks can run
# on them; installed with the application they describe.
configure_file(${QUIVEN_PACKAGING_DIR}/${QUIVEN_APP_ID}.desktop.in ${QUIVEN_GENERATED_DIR}/${QUIVEN_APP_ID}.desktop
               @ONLY)
configure_file(${QUIVEN_PACKAGING_DIR}/${QUIVEN_APP_ID}.metainfo.xml.in
               ${QUIVEN_GENERATED_DIR}/${QUIVEN_APP_ID}.metainfo.xml @ONLY)
if(TARGET quiven-config)
    install(FILES ${QUIVEN_GENERATED_DIR}/${QUIVEN_APP_ID}.desktop
            DESTINATION ${CMAKE_INSTALL_DATADIR}/applications COMPONENT application)
    install(FILES ${QUIVEN_GENERATED_DIR}/${QUIVEN_APP_ID}.metainfo.xml
            DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo COMPONENT application)
endif()
include(${CMAKE_CURRENT_LIST_DIR}/QuivenIcons.cmake)

# Manual pages and shell completion.
include(${CMAKE_CURRENT_LIST_DIR}/QuivenManPages.cmake)
quiven_add_man_page(quivenctl "command-line front end of the QUIVEN configuration")
if(TARGET quiven-config)
    quiven_add_man_page(quiven-config "see and edit the rules of the QUIVEN file-access firewall")
endif()
install(FILES ${QUIVEN_PACKAGING_DIR}/quivenctl.bash-completion
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions RENAME quivenctl COMPONENT application)

# The package's documents: copyright and the changelog, compressed as Debian expects.
configure_file(${QUIVEN_PACKAGING_DIR}/debian/changelog.in ${QUIVEN_GENERATED_DIR}/changelog @ONLY)
add_custom_command(OUTPUT ${QUIVEN_GENERATED_DIR}/changelog.gz
                   COMMAND gzip -9nf -k ${QUIVEN_GENERATED_DIR}/changelog
                   DEPENDS ${QUIVEN_GENERATED_DIR}/changelog)
add_custom_target(quiven-changelog ALL DEPENDS ${QUIVEN_GENERATED_DIR}/changelog.gz)
install(FILES ${QUIVEN_PACKAGING_DIR}/debian/copyright ${QUIVEN_GENERATED_DIR}/changelog.gz
        DESTINATION ${QUIVEN_DOC_DIR} COMPONENT application)

# Everything the install rules take from the build, so a package build can
# leave out the tests and benchmarks.
add_custom_target(quiven-installable)
add_dependencies(quiven-installable quivenctl quiven-filterd quiven-settingsd quiven-authd quiven-icons
                 quiven-changelog quivenctl-man-page)
if(TARGET quiven-config)
    add_dependencies(quiven-installable quiven-config quiven-config-man-page)
endif()

include(${CMAKE_CURRENT_LIST_DIR}/QuivenPackage.cmake)
