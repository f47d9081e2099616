# Read by cpack: gives the files in the packages, and the archives, the time of the release.
if(NOT DEFINED ENV{SOURCE_DATE_EPOCH})
    set(ENV{SOURCE_DATE_EPOCH} ${CPACK_RELEASE_TIME})
endif()
