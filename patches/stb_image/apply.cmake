# Makes a patched copy of the installed stb_image.h in the build folder: stb/stb_image_patched.h.
#
# Each version that is known has its patches, in series-VERSION. Distributions change their headers
# too: another text of that version is taken when every patch finds its place in it exactly. What
# the decoder's tests say then counts, so run ctest.

option(TAVO_UNPATCHED_DECODER "Use any stb_image.h as it is: damaged pictures can do harm" OFF)
find_file(STB_IMAGE_HEADER stb/stb_image.h NO_CMAKE_FIND_ROOT_PATH PATHS /usr/include)
if(NOT STB_IMAGE_HEADER)
    message(FATAL_ERROR "stb_image.h is missing: install the package libstb-dev")
endif()

# Stops because a header cannot be patched.
function(refuse_decoder reason)
    message(FATAL_ERROR "${STB_IMAGE_HEADER} ${reason}: install that of Debian 12 (2.27) or of "
        "Debian 13 (2.30), or configure with -DTAVO_UNPATCHED_DECODER=ON to use it as it is, at "
        "your own risk")
endfunction()

# Applies the patches that a series file names, in its order, to a copy of the header.
function(apply_series series copy)
    find_program(PATCH patch)
    if(NOT PATCH)
        message(FATAL_ERROR "The program patch is missing: install the package patch")
    endif()
    file(STRINGS ${series} patches REGEX "^[^#]")
    foreach(patch IN LISTS patches)
        execute_process(COMMAND ${PATCH} --fuzz=0 --batch --no-backup-if-mismatch --reject-file=-
            --input=${CMAKE_CURRENT_LIST_DIR}/${patch} ${copy}
            OUTPUT_VARIABLE said ERROR_VARIABLE said RESULT_VARIABLE failed)
        if(failed)
            message("${said}")
            refuse_decoder("is of a known version, but ${patch} does not apply to it")
        endif()
        set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS
            ${CMAKE_CURRENT_LIST_DIR}/${patch})
    endforeach()
    file(STRINGS ${series} known REGEX "^# sha256 ")
    file(SHA256 ${STB_IMAGE_HEADER} sha256)
    if(NOT known STREQUAL "# sha256 ${sha256}")
        message(STATUS "${STB_IMAGE_HEADER} is not the text that the patches were made for; all of "
            "them apply")
    endif()
endfunction()

set(decoder_copy ${CMAKE_BINARY_DIR}/stb/stb_image_patched.h)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/stb)
file(COPY_FILE ${STB_IMAGE_HEADER} ${decoder_copy}.new)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${STB_IMAGE_HEADER})
if(NOT TAVO_UNPATCHED_DECODER)
    file(STRINGS ${STB_IMAGE_HEADER} first_line LIMIT_COUNT 1)
    string(REGEX MATCH "stb_image - v([0-9.]+)" version "${first_line}")
    set(series ${CMAKE_CURRENT_LIST_DIR}/series-${CMAKE_MATCH_1})
    if(NOT version OR NOT EXISTS ${series})
        refuse_decoder("is no version that patches/stb_image has patches for")
    endif()
    apply_series(${series} ${decoder_copy}.new)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${series})
endif()
file(COPY_FILE ${decoder_copy}.new ${decoder_copy} ONLY_IF_DIFFERENT)
