# Tests of what the build makes of the sources.

# What a device has room for; the limit for other machines only catches what went wrong.
if(NOT TAVO_SANITIZE AND CMAKE_BUILD_TYPE STREQUAL Release)
    set(most_bytes 200000)
    set(library libc.so.6)
    if(TAVO_STATIC)
        set(most_bytes 512000)
        set(library)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^armv7")
        set(most_bytes 122880)
    endif()
    add_test(NAME binary COMMAND ${CMAKE_SOURCE_DIR}/scripts/check-binary $<TARGET_FILE:tavo>
        ${most_bytes} ${library})
    set_tests_properties(binary PROPERTIES ENVIRONMENT "READELF=${CMAKE_READELF}")
endif()

# Tells that a static tool starts. The virtual panel cannot be preloaded into it.
if(TAVO_STATIC)
    add_test(NAME starts COMMAND tavo)
    set_tests_properties(starts PROPERTIES PASS_REGULAR_EXPRESSION "usage:")
endif()
