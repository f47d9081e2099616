# Makes a hardened copy of the installed stb_image.h in the build folder.
#
# Version 2.27 is not safe with damaged files: among other things it writes behind its Huffman tables
# and loops for ever on a Radiance HDR file that was cut short. Later versions are mended upstream
# and taken as they are, but for a Softimage PIC file that breaks off, which is converted from a
# null pointer: that is mended wherever its text stands.

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

macro(mend_jpeg)
    # Huffman counts that sum to more than 256 were written behind the tables.
    replace_exactly(1
        "n += sizes[i];\n            }\n            L -= 17;"
        "n += sizes[i];\n            }\n            if (n > 256) return stbi__err(\"bad DHT header\",\"Corrupt JPEG\");\n            L -= 17;")
    # A code behind the last one of its length had another symbol's length.
    replace_exactly(1 "& stbi__bmask[k]) + h->delta[k];"
        "& stbi__bmask[k]) + h->delta[k];\n   if (c < 0 || c >= 256 || h->size[c] != k) return -1;")
    # More bits were taken than the file has, and shifts by 32 and more followed.
    replace_exactly(2
        "if (j->code_bits < n) stbi__grow_buffer_unsafe(j);"
        "if (j->code_bits < n) stbi__grow_buffer_unsafe(j);\n   if (j->code_bits < n) return 0;")
    replace_exactly(1
        "if (j->code_bits < 1) stbi__grow_buffer_unsafe(j);"
        "if (j->code_bits < 1) stbi__grow_buffer_unsafe(j);\n   if (j->code_bits < 1) return 0;")
    replace_exactly(2 "s = r & 15; // combined length"
        "s = r & 15; // combined length\n         if (s > j->code_bits) return stbi__err(\"bad huffman code\",\"Corrupt JPEG\");")
    # Each scan walks the whole picture, and costs a file a few bytes. Real files have about ten.
    replace_exactly(1
        "int m;\n   for (m = 0; m < 4; m++) {"
        "int m, scans = 0;\n   for (m = 0; m < 4; m++) {")
    replace_exactly(1
        "stbi__SOS(m)) {\n         if (!stbi__process_scan_header(j)) return 0;"
        "stbi__SOS(m)) {\n         if (++scans > 100) return stbi__err(\"too many scans\",\"Corrupt JPEG\");\n         if (!stbi__process_scan_header(j)) return 0;")
endmacro()

macro(mend_others)
    # HDR: a run of length 0, which is what the end of the file reads as, was repeated for ever.
    replace_exactly(2 "if (count > nleft) {" "if (count == 0 || count > nleft) {")
    # HDR: pixels behind the end of the file were what the stack held.
    replace_exactly(1 "stbi__getn(s, rgbe, 4);"
        "if (!stbi__getn(s, rgbe, 4)) { STBI_FREE(hdr_data); return stbi__errpf(\"corrupt\", \"file too short\"); }")
    # PNG: data chunks of no bytes were copied to a null pointer.
    replace_exactly(1 "memcpy(buffer, s->img_buffer, n);" "if (n > 0) memcpy(buffer, s->img_buffer, n);")
    # PNG, BMP: the colours of indices behind the palette were what the stack held, too.
    replace_exactly(1 "stbi_uc palette[1024], " "stbi_uc palette[1024] = {0}, ")
    replace_exactly(1 "stbi_uc pal[256][4];" "stbi_uc pal[256][4] = {{0}};")
    # PSD: a colour below 0, once the white matte is taken off, has no unsigned value.
    replace_exactly(3 "(unsigned char) (pixel[" "(unsigned char) (int) (pixel[")
endmacro()

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
        mend_jpeg()
        mend_others()
        replace_exactly(1 "${pic_from}" "${pic_to}")
    endif()
    string(REPLACE "${pic_from}" "${pic_to}" text "${text}")
    file(WRITE "${output}.new" "${text}")
    file(COPY_FILE "${output}.new" "${output}" ONLY_IF_DIFFERENT)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS "${header}")
endfunction()
