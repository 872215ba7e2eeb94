# Manual pages generated from the programs' own --help, so their option and
# command lists cannot drift from the programs.
find_program(QUIVEN_HELP2MAN help2man REQUIRED)

# quiven_add_man_page(TARGET DESCRIPTION): section 1 page TARGET.1.gz, built and installed.
function(quiven_add_man_page target description)
    set(page ${QUIVEN_GENERATED_DIR}/man/${target}.1)
    # The programs run without a display; the sanitizer's leak report at exit
    # would only add noise to a help text.
    add_custom_command(OUTPUT ${page}.gz
                       COMMAND ${CMAKE_COMMAND} -E make_directory ${QUIVEN_GENERATED_DIR}/man
                       COMMAND ${CMAKE_COMMAND} -E env QT_QPA_PLATFORM=offscreen ASAN_OPTIONS=detect_leaks=0
                               ${QUIVEN_HELP2MAN} --no-info --section=1 --version-string=${PROJECT_VERSION}
                               --name=${description} --output=${page} $<TARGET_FILE:${target}>
                       COMMAND gzip -9nf ${page}
                       DEPENDS ${target}
                       VERBATIM)
    add_custom_target(${target}-man-page ALL DEPENDS ${page}.gz)
    install(FILES ${page}.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT application)
endfunction()
