# Tests of what the build makes of the sources.

# The decoder with and without the vector code of this processor (SSE2 is the compiler's choice).
if(TARGET tavo-tests)
    foreach(variant plainly with_vectors)
        add_library(decode-${variant} OBJECT tests/decoder_variant.cpp)
        target_compile_definitions(decode-${variant} PRIVATE DECODE=decode_${variant})
        target_include_directories(decode-${variant} PRIVATE src)
        target_include_directories(decode-${variant} SYSTEM PRIVATE ${CMAKE_BINARY_DIR}/stb)
        target_link_libraries(decode-${variant} PRIVATE tavo_sanitize)
    endforeach()
    target_compile_definitions(decode-plainly PRIVATE STBI_NO_SIMD)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "^armv7")
        target_compile_options(decode-with_vectors PRIVATE ${decoder_neon_options})
        target_compile_definitions(decode-with_vectors PRIVATE STBI_NEON)
    endif()
    target_sources(tavo-tests PRIVATE tests/decoder_variants_test.cpp
        $<TARGET_OBJECTS:decode-plainly> $<TARGET_OBJECTS:decode-with_vectors>)
    target_include_directories(tavo-tests SYSTEM PRIVATE ${STB_INCLUDE_DIR})
endif()

# What a device has room for; the limit for other machines only catches what went wrong.
if(NOT TAVO_SANITIZE AND CMAKE_BUILD_TYPE STREQUAL Release)
    set(most_bytes 200000)
    set(panel_library $<$<TARGET_EXISTS:tavo-panel-preload>:$<TARGET_FILE:tavo-panel-preload>>)
    if(TAVO_STATIC)
        set(most_bytes 512000)
        set(panel_library)
    elseif(CMAKE_SYSTEM_PROCESSOR MATCHES "^armv7")
        set(most_bytes 122880)
    endif()
    add_test(NAME binary COMMAND ${CMAKE_SOURCE_DIR}/tests/binary_test.sh $<TARGET_FILE:tavo>
        ${most_bytes} ${panel_library})
    set_tests_properties(binary PROPERTIES ENVIRONMENT
        "NM=${CMAKE_NM};READELF=${CMAKE_READELF}")
endif()

# Tells that a static tool starts. The virtual panel cannot be preloaded into it.
if(TAVO_STATIC)
    add_test(NAME starts COMMAND tavo)
    set_tests_properties(starts PROPERTIES PASS_REGULAR_EXPRESSION "usage:")
endif()
