# The Debian package `tesselex` (CPack's DEB generator; scripts/package drives it). Dependencies
# come from the binaries (dpkg-shlibdeps), and libsecret beside them. No maintainer scripts: the
# desktop, icon and man databases are refreshed by dpkg triggers, and the user unit is enabled by
# each user.
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME tesselex)
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_PACKAGING_INSTALL_PREFIX ${CMAKE_INSTALL_PREFIX})
set(CPACK_PACKAGE_CONTACT ${TESSELEX_PACKAGE_MAINTAINER})
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION misc)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# QtKeychain (libqt6keychain1, found by dpkg-shlibdeps) reaches the Secret Service through
# libsecret, which it loads only when it runs: no binary names it, so it is named here.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "libsecret-1-0")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "record-export client of a union library catalogue")
set(description
    "When a cataloguer saves a holdings record in the local cataloguing client,\n"
    "TESSELEX notices the workfile, asks the union catalogue's export server for\n"
    "the bibliographic record it belongs to, checks every ISO 2709 record of the\n"
    "reply, appends the records to the destination file, uploads it by FTP when\n"
    "configured and logs the export.\n"
    "\n")
if(TARGET tesselex)
    list(APPEND description
         "The desktop program starts at login into the notification area.\n"
         "tesselex-cli runs the same export cycle without a desktop (a systemd user\n"
         "unit runs its watcher) and carries tools to dump, convert and check MARC\n"
         "records.")
else()
    list(APPEND description
         "This build holds tesselex-cli only, which runs the export cycle without a\n"
         "desktop (a systemd user unit runs its watcher) and carries tools to dump,\n"
         "convert and check MARC records.")
endif()
string(REPLACE ";" "" CPACK_PACKAGE_DESCRIPTION "${description}")

# Files under /etc are the administrator's to change: dpkg keeps their edits (conffiles).
if(TARGET tesselex AND TESSELEX_AUTOSTART_DIR MATCHES "^/etc/")
    file(WRITE ${PROJECT_BINARY_DIR}/packaging/debian/conffiles
         "${TESSELEX_AUTOSTART_DIR}/tesselex.desktop\n")
    set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA ${PROJECT_BINARY_DIR}/packaging/debian/conffiles)
endif()

include(CPack)
