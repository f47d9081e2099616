# Makes a hardened copy of the installed stb_image.h in the build folder.
#
# Version 2.27 writes behind its tables when the Huffman counts of a JPEG sum to more than 256, and
# loops for ever on a Radiance HDR file that was cut short (a run of length 0, at two sites). From
# 2.28 on both are mended upstream, and the header is taken as it is.

# Replaces `from`, which must stand exactly `count` times in the variable `text`.
function(replace_exactly count from to)
    string(REPLACE "${from}" "" without "${text}")
    string(LENGTH "${text}" length)
    string(LENGTH "${without}" length_without)
    string(LENGTH "${from}" length_from)
    math(EXPR found "(${length} - ${length_without}) / ${length_from}")
    if(NOT found EQUAL count)
        message(FATAL_ERROR "stb_image.h 2.27 is not the text that cmake/harden_stb_image.cmake "
            "mends: expected ${count} times, found ${found} times: ${from}")
    endif()
    string(REPLACE "${from}" "${to}" text "${text}")
    set(text "${text}" PARENT_SCOPE)
endfunction()

function(harden_stb_image header output)
    file(READ "${header}" text)
    if(NOT text MATCHES "stb_image - v([0-9]+\\.[0-9]+)")
        message(FATAL_ERROR "${header} names no stb_image version")
    endif()
    if(CMAKE_MATCH_1 VERSION_LESS 2.27)
        message(FATAL_ERROR "${header} is stb_image ${CMAKE_MATCH_1}; 2.27 or later is needed")
    elseif(CMAKE_MATCH_1 VERSION_EQUAL 2.27)
        replace_exactly(1
            "n += sizes[i];\n            }\n            L -= 17;"
            "n += sizes[i];\n            }\n            if (n > 256) return stbi__err(\"bad DHT header\",\"Corrupt JPEG\");\n            L -= 17;")
        replace_exactly(2 "if (count > nleft) {" "if (count == 0 || count > nleft) {")
    endif()
    file(WRITE "${output}.new" "${text}")
    file(COPY_FILE "${output}.new" "${output}" ONLY_IF_DIFFERENT)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${header}")
endfunction()
