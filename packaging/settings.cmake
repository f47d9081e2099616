# Read by cpack before it packs.

# The files in the packages, and the archives, get the time of the release.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} ${CPACK_RELEASE_TIME})
endif()

# The libc with the newest symbols that the programs ask for, and the C++ library of the compiler's
# version. The tools that find this out know the build machine's libraries only, and cpack, when it
# calls them, adds scripts that refresh the system's list of libraries, in which the preloaded one
# has no place.
if(CPACK_GENERATOR STREQUAL DEB)
    execute_process(COMMAND ${CPACK_READELF} --version-info ${CPACK_PROGRAMS}
        OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
    string(REGEX MATCHALL "GLIBC_[0-9.]+" symbols "${symbols}")
    list(SORT symbols COMPARE NATURAL)
    list(POP_BACK symbols newest)
    string(REPLACE "GLIBC_" "" newest ${newest})
    set(CPACK_DEBIAN_TAVO_PACKAGE_DEPENDS "libc6 (>= ${newest})")
    set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_DEPENDS
        "libc6 (>= ${newest}), libpng16-16 (>= 1.6.2-1), libstdc++6 (>= ${CPACK_GCC})")
endif()
