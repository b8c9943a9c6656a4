# Fails when the jar holds a class of the android.* packages:
#   cmake -DJAR=<jar> -DJAR_TOOL=<jar program> -P NoAndroidClasses.cmake
execute_process(COMMAND ${JAR_TOOL} tf ${JAR} OUTPUT_VARIABLE listing RESULT_VARIABLE status)
if(NOT status EQUAL 0)
    message(FATAL_ERROR "cannot list ${JAR}: ${status}")
endif()
string(REGEX MATCHALL "(^|\n)android/[^\n]*" found "${listing}")
if(found)
    message(FATAL_ERROR "${JAR} holds android.* classes:${found}")
endif()
if(NOT listing MATCHES "com/tavrel/piodevice/StreamCompanion.class")
    message(FATAL_ERROR "${JAR} lacks the core")
endif()
