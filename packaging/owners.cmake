# Run by cpack once a package is made. A .deb belongs to root; in a .tar.gz the files belong to
# whoever builds, an unknown user on the device. So it is made again.
if(CPACK_GENERATOR STREQUAL TGZ)
    cmake_path(GET CPACK_TEMPORARY_DIRECTORY FILENAME folder)
    execute_process(
        COMMAND tar --create --sort=name --owner=root:0 --group=root:0
            --mtime=@$ENV{SOURCE_DATE_EPOCH} --directory=${CPACK_TEMPORARY_DIRECTORY}/.. ${folder}
        COMMAND gzip -9n
        OUTPUT_FILE ${CPACK_PACKAGE_FILES} COMMAND_ERROR_IS_FATAL ANY)
endif()
