# What is installed, and the packages that cpack makes of it: tavo (the tool) and tavo-panel (the
# virtual panel, for development machines: another machine gets the tool alone). A .deb for Debian,
# a .tar.gz for devices without dpkg.

# Installs a program with all that is read about it.
function(install_program component)
    set(doc ${CMAKE_INSTALL_DATADIR}/doc/${component})
    set(completions ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
    install(TARGETS ${component} COMPONENT ${component})
    install(FILES man/${component}.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1
        COMPONENT ${component})
    install(FILES packaging/changelog packaging/copyright CHANGELOG.md DESTINATION ${doc}
        COMPONENT ${component})
    install(FILES completions/${component} DESTINATION ${completions} COMPONENT ${component})
endfunction()

install_program(tavo)
install(FILES shell/tavo.sh DESTINATION ${CMAKE_INSTALL_DATADIR}/tavo COMPONENT tavo)
install(PROGRAMS shell/tavo-dashboard TYPE BIN COMPONENT tavo)
install(FILES man/tavo-dashboard.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1 COMPONENT tavo)
install(FILES shell/tavo-dashboard.service shell/tavo-dashboard.default
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavo COMPONENT tavo)
install(FILES man/tavo.sh.7 DESTINATION ${CMAKE_INSTALL_MANDIR}/man7 COMPONENT tavo)
install(PROGRAMS examples/clock examples/label examples/landscape examples/message-board
    examples/photo-frame examples/qr-code examples/status COMPONENT tavo
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavo/examples)
set(CPACK_COMPONENTS_ALL tavo)
set(CPACK_PROGRAMS ${CMAKE_BINARY_DIR}/tavo)
if(TARGET tavo-panel)
    install_program(tavo-panel)
    install(TARGETS tavo-panel-preload DESTINATION ${CMAKE_INSTALL_LIBDIR}/tavo-panel
        COMPONENT tavo-panel)
    if(TARGET tavo-panel-view)
        install(TARGETS tavo-panel-view DESTINATION ${CMAKE_INSTALL_LIBEXECDIR}/tavo-panel
            COMPONENT tavo-panel)
    endif()
    list(APPEND CPACK_COMPONENTS_ALL tavo-panel)
    list(APPEND CPACK_PROGRAMS ${CMAKE_BINARY_DIR}/tavo-panel)
endif()
add_custom_target(uninstall COMMAND ${CMAKE_COMMAND} -P ${PROJECT_SOURCE_DIR}/cmake/uninstall.cmake)

# The version and the time of the release are those of the Debian changelog. Every file in a package
# gets that time, so that the same sources give the same bytes.
file(STRINGS packaging/changelog changelog)
if(NOT changelog MATCHES "^tavo \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "packaging/changelog does not begin with version ${PROJECT_VERSION}")
endif()
string(REGEX MATCH "[A-Z][a-z][a-z], [0-9][^;]*" release_time "${changelog}")
execute_process(COMMAND date --date=${release_time} +%s OUTPUT_VARIABLE CPACK_RELEASE_TIME
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/changelog)

set(architecture ${CMAKE_SYSTEM_PROCESSOR})
if(CMAKE_CROSSCOMPILING)
    set(architecture armhf)
    set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE armhf)
endif()
set(CPACK_GENERATOR DEB TGZ)
if(TAVO_STATIC) # not what Debian's armhf means
    string(APPEND architecture -static)
    set(CPACK_GENERATOR TGZ)
endif()
set(CPACK_PACKAGE_FILE_NAME tavo-${PROJECT_VERSION}-${architecture})
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/packages)
set(CPACK_READELF ${CMAKE_READELF})
set(CPACK_STRIP ${CMAKE_STRIP})
string(REGEX MATCH "^[0-9]+" CPACK_GCC "${CMAKE_CXX_COMPILER_VERSION}")
set(CPACK_PROJECT_CONFIG_FILE ${PROJECT_SOURCE_DIR}/packaging/settings.cmake)
set(CPACK_PRE_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/files.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${PROJECT_SOURCE_DIR}/packaging/owners.cmake)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # it would go before each package's own
set(CPACK_PACKAGE_VENDOR "The tavo authors")
set(CPACK_PACKAGE_CONTACT "The tavo authors <tavo@example.org>")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_TAVO_PACKAGE_NAME tavo)
set(CPACK_DEBIAN_TAVO_PACKAGE_SECTION utils)
set(CPACK_DEBIAN_TAVO_DESCRIPTION "draw on an e-paper framebuffer and refresh it
For electrophoretic displays that Linux exposes as a framebuffer: prints text,
shows images and barcodes, fills rectangles, and asks the panel driver to show
the region that changed, with any of its waveforms. One short call, one
drawing; made for scripts.")
set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_NAME tavo-panel)
set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_SECTION devel)
set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_SUGGESTS tavo)
# The page of --view needs one library more, whose package's name has the library's version.
if(TARGET tavo-panel-view)
    string(REGEX MATCH "^[0-9]+\\.[0-9]+" httplib_version "${HTTPLIB_cpp-httplib_VERSION}")
    set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_RECOMMENDS libcpp-httplib${httplib_version})
endif()
set(CPACK_DEBIAN_TAVO-PANEL_DESCRIPTION "run commands on a virtual e-paper panel
Runs any command, a whole shell script too, as if an e-paper panel were at
/dev/fb0: the framebuffer is a file, every driver request is a line in a log,
and what the panel's glass shows can be saved as PNG or watched on a page,
which takes touches too. It fails on request.")
include(CPack)
