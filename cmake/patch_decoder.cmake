# Makes a patched copy of the installed stb_image.h in the build folder: stb/stb_image_patched.h.
#
# The patches in patches/stb_image were made for exact texts. A version alone would say too little,
# since distributions change their headers too.

option(TAVO_UNPATCHED_DECODER "Use any stb_image.h as it is: damaged pictures can do harm" OFF)
find_file(STB_IMAGE_HEADER stb/stb_image.h NO_CMAKE_FIND_ROOT_PATH PATHS /usr/include)
if(NOT STB_IMAGE_HEADER)
    message(FATAL_ERROR "stb_image.h is missing: install the package libstb-dev")
endif()

set(decoder_2.27_sha256 91f435e0fc6a620018b878b9859c74dff60d28046f87e649191ad6f35a98c722)
set(decoder_2.30_sha256 594c2fe35d49488b4382dbfaec8f98366defca819d916ac95becf3e75f4200b3)

# Stores which of the known versions a header is, or stops.
function(find_decoder_version header version)
    file(SHA256 ${header} sha256)
    foreach(known 2.27 2.30)
        if(sha256 STREQUAL decoder_${known}_sha256)
            set(${version} ${known} PARENT_SCOPE)
            return()
        endif()
    endforeach()
    message(FATAL_ERROR "${header} is not a text that patches/stb_image has patches for (2.27 of "
        "Debian 12, 2.30 of Debian 13): install one of these, or configure with "
        "-DTAVO_UNPATCHED_DECODER=ON to use it as it is, at your own risk")
endfunction()

# Applies the patches that a series file names, in its order, to a file.
function(apply_series series file)
    find_program(PATCH patch)
    if(NOT PATCH)
        message(FATAL_ERROR "The program patch is missing: install the package patch")
    endif()
    get_filename_component(folder ${series} DIRECTORY)
    file(STRINGS ${series} patches REGEX "^[^#]")
    list(TRANSFORM patches PREPEND ${folder}/)
    foreach(patch IN LISTS patches)
        execute_process(COMMAND ${PATCH} --fuzz=0 --batch --quiet --no-backup-if-mismatch
            --reject-file=- --input=${patch} ${file} COMMAND_ERROR_IS_FATAL ANY)
    endforeach()
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${series} ${patches})
endfunction()

set(decoder_copy ${CMAKE_BINARY_DIR}/stb/stb_image_patched.h)
file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/stb)
file(COPY_FILE ${STB_IMAGE_HEADER} ${decoder_copy}.new)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${STB_IMAGE_HEADER})
if(NOT TAVO_UNPATCHED_DECODER)
    find_decoder_version(${STB_IMAGE_HEADER} decoder_version)
    apply_series(${CMAKE_SOURCE_DIR}/patches/stb_image/series-${decoder_version} ${decoder_copy}.new)
endif()
file(COPY_FILE ${decoder_copy}.new ${decoder_copy} ONLY_IF_DIFFERENT)
