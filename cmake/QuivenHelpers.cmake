# quiven_add_gtest(NAME SOURCES... LIBS ... [LABELS ...] [GUI])
# One GoogleTest binary per behaviour group, discovered into CTest before each run.
# GUI tests get a QApplication (drawing offscreen) instead of a QCoreApplication.
find_package(GTest REQUIRED)

function(quiven_add_gtest name)
    cmake_parse_arguments(ARG "GUI" "" "SOURCES;LIBS;LABELS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    set(main quiven_test_main)
    if(ARG_GUI)
        set(main quiven_gui_test_main)
    endif()
    target_link_libraries(${name} PRIVATE ${ARG_LIBS} ${main} GTest::gtest GTest::gmock)
    target_compile_definitions(${name} PRIVATE QUIVEN_SOURCE_DIR="${PROJECT_SOURCE_DIR}"
                                               QUIVEN_BINARY_DIR="${PROJECT_BINARY_DIR}")
    set(props)
    if(ARG_LABELS)
        set(props LABELS "${ARG_LABELS}")
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST DISCOVERY_TIMEOUT 60 PROPERTIES ${props})
endfunction()
