# The application icon: the scalable drawing, and the bitmap sizes that
# desktops without SVG support look for, rendered from it at build time.
# Installed with the application it stands for.
find_program(QUIVEN_RSVG_CONVERT rsvg-convert REQUIRED)

set(QUIVEN_ICON_SOURCE ${QUIVEN_PACKAGING_DIR}/icons/${QUIVEN_APP_ID}.svg)
set(QUIVEN_ICON_FILES ${QUIVEN_ICON_SOURCE})
set(QUIVEN_ICON_FOLDERS scalable)
foreach(size 48 64 128)
    set(bitmap ${QUIVEN_GENERATED_DIR}/icons/${size}x${size}/${QUIVEN_APP_ID}.png)
    add_custom_command(OUTPUT ${bitmap}
                       COMMAND ${CMAKE_COMMAND} -E make_directory ${QUIVEN_GENERATED_DIR}/icons/${size}x${size}
                       COMMAND ${QUIVEN_RSVG_CONVERT} --width ${size} --height ${size} --output ${bitmap}
                               ${QUIVEN_ICON_SOURCE}
                       DEPENDS ${QUIVEN_ICON_SOURCE}
                       VERBATIM)
    list(APPEND QUIVEN_ICON_FILES ${bitmap})
    list(APPEND QUIVEN_ICON_FOLDERS ${size}x${size})
endforeach()
add_custom_target(quiven-icons ALL DEPENDS ${QUIVEN_ICON_FILES})

if(TARGET quiven-config)
    foreach(file folder IN ZIP_LISTS QUIVEN_ICON_FILES QUIVEN_ICON_FOLDERS)
        install(FILES ${file} DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${folder}/apps
                COMPONENT application)
    endforeach()
endif()
