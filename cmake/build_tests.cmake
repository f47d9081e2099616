# Tests of what the build makes of the sources.

if(NOT TAVO_SANITIZE AND CMAKE_BUILD_TYPE STREQUAL Release)
    set(kind host)
    if(TAVO_STATIC)
        set(kind armhf-static)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^armv7")
        set(kind armhf)
    endif()
    add_test(NAME binary COMMAND ${CMAKE_SOURCE_DIR}/tests/check-binary $<TARGET_FILE:tavo>
        ${kind})
    set_tests_properties(binary PROPERTIES ENVIRONMENT "READELF=${CMAKE_READELF}")
endif()

# Tells that a static tool starts. The virtual panel cannot be preloaded into it.
if(TAVO_STATIC)
    add_test(NAME starts COMMAND tavo)
    set_tests_properties(starts PROPERTIES PASS_REGULAR_EXPRESSION "usage:")
endif()
