# quorvel_add_test(NAME sources... LIBS libs...)
# Builds one QtTest executable and registers it with CTest, headless.
function(quorvel_add_test name)
    cmake_parse_arguments(ARG "" "" "SOURCES;LIBS" ${ARGN})
    add_executable(${name} ${ARG_SOURCES})
    target_link_libraries(${name} PRIVATE Qt6::Test quorvel_test_support ${ARG_LIBS})
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES
        ENVIRONMENT "QT_QPA_PLATFORM=offscreen;QT_LOGGING_RULES=qt.multimedia*=false"
        TIMEOUT 300)
endfunction()
