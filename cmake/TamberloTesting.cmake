# Helpers for the test tree.
#
# tamberlo_add_gtest(NAME LABEL label SOURCES ... LIBS ... [MEDIA] [QT] [LOCK resource])
#   Builds a GoogleTest executable and registers each of its tests with CTest under LABEL
#   ("unit" tests run in the sanitizer build too). MEDIA makes the tests wait for the test-media
#   fixture; every test binary finds it in TAMBERLO_TEST_MEDIA. QT runs the tests inside a
#   QApplication (offscreen), for widget tests. LOCK gives every test the CTest resource lock
#   `resource`, for tests that share a file beside the binary (such as settings.ini).
function(tamberlo_add_gtest name)
    cmake_parse_arguments(T "MEDIA;QT" "LABEL;LOCK" "SOURCES;LIBS" ${ARGN})
    set(support ${PROJECT_SOURCE_DIR}/tests/support/TestEnvironment.cpp)
    if(T_QT)
        add_executable(${name} ${T_SOURCES} ${support}
                       ${PROJECT_SOURCE_DIR}/tests/support/QtTestMain.cpp)
        find_package(Qt6 REQUIRED COMPONENTS Widgets Test)
        target_link_libraries(${name} PRIVATE GTest::gtest Qt6::Widgets Qt6::Test ${T_LIBS})
        set_target_properties(${name} PROPERTIES AUTOMOC ON)
    else()
        add_executable(${name} ${T_SOURCES} ${support})
        target_link_libraries(${name} PRIVATE GTest::gtest GTest::gtest_main ${T_LIBS})
    endif()
    # The environment is compiled in (tests/support/TestEnvironment.cpp): properties of
    # discovered tests cannot carry a list such as several ENVIRONMENT entries.
    target_compile_definitions(${name} PRIVATE
        TAMBERLO_TEST_APP_DIR="${TAMBERLO_APP_DIR}"
        TAMBERLO_TEST_MEDIA_DIR="${CMAKE_BINARY_DIR}/test-media")
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/tests)
    set(props LABELS ${T_LABEL})
    if(T_MEDIA)
        list(APPEND props FIXTURES_REQUIRED test_media)
    endif()
    if(T_LOCK)
        list(APPEND props RESOURCE_LOCK ${T_LOCK})
    endif()
    gtest_discover_tests(${name} DISCOVERY_MODE PRE_TEST
        WORKING_DIRECTORY ${CMAKE_BINARY_DIR}/tests
        PROPERTIES ${props})
endfunction()

# tamberlo_add_fuzzer(NAME SOURCES ... LIBS ... [SECONDS n])
#   With TAMBERLO_BUILD_FUZZ (clang): builds a libFuzzer target and registers a bounded run
#   (default 60 s) as a CTest test labelled "fuzz". The corpus starts from fuzz/NAME/ in the
#   build tree; a target may seed it by putting files there before the run.
# tamberlo_add_fuzz_seeds(FUZZER SOURCES ... LIBS ...)
#   With TAMBERLO_BUILD_FUZZ: builds FUZZER_seeds from SOURCES, a tool that takes the corpus
#   folder as its one argument and writes seed inputs there, and runs it before FUZZER.
function(tamberlo_add_fuzz_seeds fuzzer)
    if(NOT TAMBERLO_BUILD_FUZZ)
        return()
    endif()
    cmake_parse_arguments(S "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${fuzzer}_seeds ${S_SOURCES})
    target_link_libraries(${fuzzer}_seeds PRIVATE ${S_LIBS})
    add_test(NAME ${fuzzer}_seeds
        COMMAND ${fuzzer}_seeds ${CMAKE_BINARY_DIR}/fuzz/${fuzzer}-corpus)
    set_tests_properties(${fuzzer}_seeds PROPERTIES LABELS fuzz FIXTURES_SETUP ${fuzzer}_seeds)
    set_tests_properties(${fuzzer} PROPERTIES FIXTURES_REQUIRED ${fuzzer}_seeds)
endfunction()

function(tamberlo_add_fuzzer name)
    if(NOT TAMBERLO_BUILD_FUZZ)
        return()
    endif()
    cmake_parse_arguments(F "" "SECONDS" "SOURCES;LIBS" ${ARGN})
    if(NOT F_SECONDS)
        set(F_SECONDS 60)
    endif()
    add_executable(${name} ${F_SOURCES})
    target_compile_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_options(${name} PRIVATE -fsanitize=fuzzer)
    target_link_libraries(${name} PRIVATE ${F_LIBS})
    set_target_properties(${name} PROPERTIES RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/fuzz)
    set(corpus ${CMAKE_BINARY_DIR}/fuzz/${name}-corpus)
    file(MAKE_DIRECTORY ${corpus})
    add_test(NAME ${name}
        COMMAND ${name} -max_total_time=${F_SECONDS} -rss_limit_mb=2048 -timeout=10 ${corpus})
    set_tests_properties(${name} PROPERTIES LABELS fuzz TIMEOUT 600)
endfunction()
