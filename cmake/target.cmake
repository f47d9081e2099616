# What differs with the machine that the tool is for.

option(TAVO_STATIC "Link libc into the tool, for devices whose own is older or another" OFF)
if(TAVO_STATIC)
    # At a fixed address: position independence would add its relocations.
    set_target_properties(tavo PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_link_options(tavo PRIVATE -static)
endif()

# Only the decoder has NEON code, and only there may the compiler make its own.
set(decoder_neon_options -mfpu=neon)
if(TAVO_DECODER_NEON)
    set_property(SOURCE src/image/decoder.cpp APPEND PROPERTY
        COMPILE_OPTIONS ${decoder_neon_options})
    set_property(SOURCE src/image/decoder.cpp APPEND PROPERTY COMPILE_DEFINITIONS STBI_NEON)
endif()
