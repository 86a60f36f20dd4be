# The Debian package: `cpack -G DEB` in a build directory of the preset "run".

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME postkite)
set(CPACK_PACKAGE_VENDOR "The Postkite developers")
set(CPACK_PACKAGE_CONTACT "The Postkite developers <postkite@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "mail client for a text-menu host reached by modem")
set(CPACK_PACKAGE_DESCRIPTION
"Postkite calls a Japanese online host with text menus through a modem, fetches
mail and forum messages, sends what waits, and keeps everything in mailbox
files that stay compatible with those of a Windows machine. This package has
the desktop program, the terminal program and a host to practise on.")
set(CPACK_PACKAGE_INSTALL_DIRECTORY postkite)
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION mail)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Japanese words on the buttons of the boxes, and letters to write them with.
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "qt6-translations-l10n, fonts-noto-cjk | fonts-ipafont-gothic")
include(CPack)
