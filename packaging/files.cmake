# Run by cpack over the files to be packed, in place of Debian's own tools: papers are compressed,
# programs lose what is of no use on a device, and permissions no longer follow the umask of whoever
# builds.
file(GLOB_RECURSE files ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*)
set(papers ${files})
list(FILTER papers INCLUDE REGEX "/man[17]/|/changelog$")
set(programs ${files})
list(FILTER programs INCLUDE REGEX "/bin/tavo(-panel)?$|[.]so$|/tavo-panel-view$")
execute_process(COMMAND gzip -9n ${papers} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CPACK_STRIP} --remove-section=.comment ${programs}
    COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND chmod -R u=rwX,go=rX ${CPACK_TEMPORARY_INSTALL_DIRECTORY}
    COMMAND_ERROR_IS_FATAL ANY)
