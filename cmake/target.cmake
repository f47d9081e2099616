# What differs with the machine that the tool is for.

option(TAVO_STATIC "Link libc into the tool, for devices whose own is older or another" OFF)
if(TAVO_STATIC)
    # At a fixed address: position independence would add its relocations.
    set_target_properties(tavo PROPERTIES POSITION_INDEPENDENT_CODE OFF)
    target_link_options(tavo PRIVATE -static)
endif()

# Linkers of Debian 13 lay the file out for pages of 64 KB, which no 32-bit ARM kernel has: 37 KB of
# nothing.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^armv7")
    target_link_options(tavo PRIVATE -Wl,-z,max-page-size=4096)
endif()

# There -O3 takes 7 % off decoding a PNG and lets rows be packed by NEON, for 16 KB. Other machines
# would pay more and gain less.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^armv7")
    set_property(SOURCE src/image/decoder.cpp src/image/decoded_image.cpp APPEND PROPERTY
        COMPILE_OPTIONS $<$<CONFIG:Release>:-O3>)
endif()
