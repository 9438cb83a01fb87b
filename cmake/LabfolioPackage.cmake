# The Debian package: `cpack` in the build folder (after `cmake --build`) writes
# labfolio-setup_<version>_<arch>.deb. Its dependencies on shared libraries (Qt, unixODBC,
# RDKit, pugixml, OpenSSL) are computed by dpkg-shlibdeps from the installed programs and the
# chemistry module; only what is loaded by name at run time is listed by hand.
set(CPACK_GENERATOR "DEB")
set(CPACK_PACKAGE_NAME "labfolio-setup")
set(CPACK_PACKAGE_VENDOR "Labfolio")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Labfolio multi-user setup and administration wizard")
set(CPACK_PACKAGE_DESCRIPTION
    "Walks an administrator through the multi-user tasks of the Labfolio laboratory notebook: \
migrating the desktop SQL Server database to a multi-user server, connecting a client to a \
service, connecting back to the desktop database, creating and removing the offline database, \
and rebuilding a database's chemical-structure index. Every task also runs from the command \
line (labfolio-setup), and labfolio-mst inspects and searches a structure index.")
set(CPACK_DEBIAN_FILE_NAME "DEB-DEFAULT")
set(CPACK_DEBIAN_PACKAGE_SECTION "science")
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "Labfolio team <labfolio@localhost>")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Loaded by name, not linked: the SQL Server ODBC driver (through unixODBC's driver manager and
# its configuration tools) and Qt's SVG icon engine for the window's icon.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "tdsodbc, unixodbc, libqt6svg6")
set(CPACK_STRIP_FILES ON)
include(CPack)
