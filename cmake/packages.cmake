# What is installed, and the packages that cpack makes of it: tavo (the tool) and tavo-panel (the
# virtual panel, for development machines: another machine gets the tool alone). A .deb for Debian,
# a .tar.gz for devices without dpkg.

# The version and the time of the release stand in the package's changelog. Every file in a package
# gets that time, so that the same sources give the same bytes.
file(STRINGS packaging/changelog changelog)
if(NOT changelog MATCHES "^tavo \\(${PROJECT_VERSION}\\) ")
    message(FATAL_ERROR "packaging/changelog does not begin with version ${PROJECT_VERSION}")
endif()
string(REGEX MATCH "[A-Z][a-z][a-z], [0-9][^;]*" release_time "${changelog}")
execute_process(COMMAND date --date=${release_time} +%s OUTPUT_VARIABLE CPACK_RELEASE_TIME
    OUTPUT_STRIP_TRAILING_WHITESPACE COMMAND_ERROR_IS_FATAL ANY)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS packaging/changelog)

# Installs a file compressed, without the name and the time that gzip would note.
function(install_compressed component source folder name)
    set(compressed ${CMAKE_BINARY_DIR}/packaging/${component}/${name}.gz)
    file(MAKE_DIRECTORY ${CMAKE_BINARY_DIR}/packaging/${component})
    add_custom_command(OUTPUT ${compressed} DEPENDS ${source} VERBATIM
        COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/${source} > ${compressed})
    add_custom_target(${component}-${name}.gz ALL DEPENDS ${compressed})
    install(FILES ${compressed} DESTINATION ${folder} COMPONENT ${component})
endfunction()

# What stands beside every program.
function(install_papers component)
    install_compressed(${component} man/${component}.1 ${CMAKE_INSTALL_MANDIR}/man1 ${component}.1)
    install_compressed(${component} packaging/changelog ${CMAKE_INSTALL_DATADIR}/doc/${component}
        changelog)
    install(FILES packaging/copyright DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/${component}
        COMPONENT ${component})
    install(FILES completions/${component} COMPONENT ${component}
        DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
endfunction()

install(TARGETS tavo COMPONENT tavo)
install_papers(tavo)
install(PROGRAMS examples/clock examples/label examples/landscape examples/message-board
    examples/photo-frame examples/qr-code examples/status COMPONENT tavo
    DESTINATION ${CMAKE_INSTALL_DATADIR}/doc/tavo/examples)
set(CPACK_COMPONENTS_ALL tavo)
if(TARGET tavo-panel)
    install(TARGETS tavo-panel COMPONENT tavo-panel)
    install(TARGETS tavo-panel-preload COMPONENT tavo-panel
        LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}/tavo-panel
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ)
    install_papers(tavo-panel)
    list(APPEND CPACK_COMPONENTS_ALL tavo-panel)
endif()

if(CMAKE_CROSSCOMPILING)
    set(architecture armhf)
else()
    set(architecture ${CMAKE_SYSTEM_PROCESSOR})
    find_program(DPKG dpkg)
    if(DPKG)
        execute_process(COMMAND ${DPKG} --print-architecture OUTPUT_VARIABLE architecture
            OUTPUT_STRIP_TRAILING_WHITESPACE)
    endif()
endif()
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_FILE_NAME tavo-${PROJECT_VERSION}-${architecture})
if(TAVO_DECODER_NEON OR TAVO_STATIC) # not what Debian's armhf means
    set(CPACK_GENERATOR TGZ)
endif()
if(TAVO_DECODER_NEON)
    string(APPEND CPACK_PACKAGE_FILE_NAME -neon)
endif()
if(TAVO_STATIC)
    string(APPEND CPACK_PACKAGE_FILE_NAME -static)
endif()
set(CPACK_OUTPUT_FILE_PREFIX ${CMAKE_BINARY_DIR}/packages)
set(CPACK_PROJECT_CONFIG_FILE ${CMAKE_SOURCE_DIR}/packaging/times.cmake)
set(CPACK_STRIP_FILES ON)
set(CPACK_PRE_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/folders.cmake)
set(CPACK_POST_BUILD_SCRIPTS ${CMAKE_SOURCE_DIR}/packaging/owners.cmake)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "") # it would go before each package's own
set(CPACK_PACKAGE_VENDOR "The tavo authors")
set(CPACK_PACKAGE_CONTACT "The tavo authors <tavo@example.org>")

set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_ARCHITECTURE ${architecture})
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_COMPRESSION_TYPE xz)
set(CPACK_DEBIAN_TAVO_PACKAGE_NAME tavo)
set(CPACK_DEBIAN_TAVO_PACKAGE_SECTION utils)
# By hand, since the tools that find it out know the build machine's libraries only. The start code
# of a program linked on Debian 12 asks for 2.34.
set(CPACK_DEBIAN_TAVO_PACKAGE_DEPENDS "libc6 (>= 2.34)")
set(CPACK_DEBIAN_TAVO_DESCRIPTION "draw on an e-paper framebuffer and refresh it
For electrophoretic displays that Linux exposes as a framebuffer: prints text,
shows images and barcodes, fills rectangles, and asks the panel driver to show
the region that changed, with any of its waveforms. One short call, one
drawing; made for scripts.")
set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_NAME tavo-panel)
set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_SECTION devel)
# By hand too: asked to find it out, cpack adds scripts that refresh the system's list of libraries,
# in which the preloaded one has no place.
set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_DEPENDS
    "libc6 (>= 2.34), libpng16-16 (>= 1.6.2-1), libstdc++6 (>= 5)")
set(CPACK_DEBIAN_TAVO-PANEL_PACKAGE_SUGGESTS tavo)
set(CPACK_DEBIAN_TAVO-PANEL_DESCRIPTION "run commands on a virtual e-paper panel
Runs any command, a whole shell script too, as if an e-paper panel were at
/dev/fb0: the framebuffer is a file, every driver request is a line in a log,
and what the panel's glass shows can be saved as PNG. It fails on request.")
include(CPack)
