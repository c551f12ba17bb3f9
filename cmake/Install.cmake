# Where everything goes when installed (GNUInstallDirs): programs in bin/, the shipped read-only
# data in share/tesselex/, the desktop, login and service integration in the places the desktop
# and systemd look. The window's files are installed only when the window is built.
set(TESSELEX_DATA_DIR ${CMAKE_INSTALL_DATADIR}/tesselex)
# Systemd looks for user units under the prefix's lib/, not under the multiarch library folder.
set(TESSELEX_USER_UNIT_DIR ${CMAKE_INSTALL_PREFIX}/lib/systemd/user)
# GNUInstallDirs maps the /usr prefix to /etc, so the autostart entry lands where XDG reads it.
set(TESSELEX_AUTOSTART_DIR ${CMAKE_INSTALL_FULL_SYSCONFDIR}/xdg/autostart)
# The package's maintainer (the control file and the Debian changelog). Whoever builds the package
# for distribution sets it; Debian's own DEBFULLNAME and DEBEMAIL give it when set.
if(DEFINED ENV{DEBFULLNAME} AND DEFINED ENV{DEBEMAIL})
    set(default_maintainer "$ENV{DEBFULLNAME} <$ENV{DEBEMAIL}>")
else()
    set(default_maintainer "TESSELEX developers <tesselex@example.org>")
endif()
set(TESSELEX_PACKAGE_MAINTAINER "${default_maintainer}" CACHE STRING
    "Maintainer of the Debian package, as \"Name <address>\"")

set(packaging ${PROJECT_SOURCE_DIR}/packaging)
set(staged ${PROJECT_BINARY_DIR}/packaging)

install(TARGETS tesselex-cli RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
install(DIRECTORY ${PROJECT_SOURCE_DIR}/data/charmaps ${PROJECT_SOURCE_DIR}/data/display
        DESTINATION ${TESSELEX_DATA_DIR} PATTERN ".git*" EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/data/ConfigURL.TXT DESTINATION ${TESSELEX_DATA_DIR})

configure_file(${packaging}/tesselex-watch.service.in ${staged}/tesselex-watch.service @ONLY)
install(FILES ${staged}/tesselex-watch.service DESTINATION ${TESSELEX_USER_UNIT_DIR})

# Manual pages and the Debian changelog are installed compressed (gzip -9n: reproducible).
set(compressed "")
function(tesselex_compressed_file source output)
    configure_file(${source} ${staged}/plain/${output} @ONLY)
    add_custom_command(OUTPUT ${staged}/${output}.gz
                       COMMAND gzip -9nc ${staged}/plain/${output} > ${staged}/${output}.gz
                       DEPENDS ${staged}/plain/${output})
    set(compressed ${compressed} ${staged}/${output}.gz PARENT_SCOPE)
endfunction()

tesselex_compressed_file(${packaging}/tesselex-cli.1 tesselex-cli.1)
tesselex_compressed_file(${packaging}/changelog changelog)
install(FILES ${staged}/tesselex-cli.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${staged}/changelog.gz ${packaging}/copyright DESTINATION ${CMAKE_INSTALL_DOCDIR})

if(TARGET tesselex)
    tesselex_compressed_file(${packaging}/tesselex.1 tesselex.1)
    install(TARGETS tesselex RUNTIME DESTINATION ${CMAKE_INSTALL_BINDIR})
    install(FILES ${staged}/tesselex.1.gz DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    install(FILES ${packaging}/tesselex.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    install(FILES ${packaging}/tesselex-autostart.desktop DESTINATION ${TESSELEX_AUTOSTART_DIR}
            RENAME tesselex.desktop)
    configure_file(${packaging}/tesselex.metainfo.xml ${staged}/tesselex.metainfo.xml @ONLY)
    install(FILES ${staged}/tesselex.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
    install(FILES ${packaging}/icons/tesselex.svg
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
    foreach(size 16 22 24 32 48 64 128 256)
        install(FILES ${packaging}/icons/tesselex-${size}.png
                DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps
                RENAME tesselex.png)
    endforeach()
endif()

add_custom_target(tesselex_packaging_files ALL DEPENDS ${compressed})
