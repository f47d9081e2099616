# Makes a hardened copy of the installed stb_image.h in the build folder.
#
# Version 2.27 writes behind its tables when the Huffman counts of a JPEG sum to more than 256,
# loops for ever on a Radiance HDR file that was cut short (a run of length 0, at two sites), and
# converts a Softimage PIC file that breaks off from a null pointer. From 2.28 on the first two are
# mended upstream; the third is mended wherever its text stands.

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
    set(pic_from "      result=0;\n   }\n   *px = x;")
    set(pic_to "      return 0;\n   }\n   *px = x;")
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
        replace_exactly(1 "${pic_from}" "${pic_to}")
    endif()
    string(REPLACE "${pic_from}" "${pic_to}" text "${text}")
    file(WRITE "${output}.new" "${text}")
    file(COPY_FILE "${output}.new" "${output}" ONLY_IF_DIFFERENT)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${header}")
endfunction()
