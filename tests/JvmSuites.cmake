# Writes the ctest entries of the JVM test program, run after each build of it:
#   cmake -DTEST_EXECUTABLE=<program> -DTEST_FILE=<output> -DTEST_ENVIRONMENT=<var=value> -P JvmSuites.cmake
# A VM costs more to start than most of these tests take, so one process runs a whole suite;
# the stress tests, whose names say Stress or Cycles, each get a process of their own so that
# ctest can spread them over the cores.
execute_process(COMMAND "${TEST_EXECUTABLE}" --gtest_list_tests
    OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "${TEST_EXECUTABLE} --gtest_list_tests failed: ${status}")
endif()

set(content "")
macro(add_entry name filter)
    string(APPEND content
        "add_test([=[${name}]=] \"${TEST_EXECUTABLE}\" [=[--gtest_filter=${filter}]=])\n"
        "set_tests_properties([=[${name}]=] PROPERTIES LABELS jvm TIMEOUT 600"
        " ENVIRONMENT [=[${TEST_ENVIRONMENT}]=])\n")
endmacro()
macro(flush_suite)
    if(suite AND grouped)
        string(REGEX REPLACE "\\.$" "" name "jvm_tests.${suite}")
        list(JOIN alone ":" excluded)
        if(excluded)
            add_entry("${name}" "${suite}*-${excluded}")
        else()
            add_entry("${name}" "${suite}*")
        endif()
    endif()
    set(grouped FALSE)
    set(alone "")
endmacro()

set(suite "")
set(grouped FALSE)
set(alone "")
string(REPLACE "\n" ";" lines "${listing}")
foreach(line IN LISTS lines)
    string(REGEX REPLACE " *#.*$" "" line "${line}")
    if(line MATCHES "^([A-Za-z0-9_/]+\\.)$")
        set(next "${CMAKE_MATCH_1}")  # flush_suite() matches regexes of its own
        flush_suite()
        set(suite "${next}")
    elseif(suite AND line MATCHES "^  ([A-Za-z0-9_/]+)$")
        set(test "${CMAKE_MATCH_1}")
        if("${suite}${test}" MATCHES "Stress|Cycles")
            add_entry("jvm_tests.${suite}${test}" "${suite}${test}")
            list(APPEND alone "${suite}${test}")
        else()
            set(grouped TRUE)
        endif()
    endif()
endforeach()
flush_suite()
file(WRITE "${TEST_FILE}" "${content}")
