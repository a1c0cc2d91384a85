# A Debian package of what `cmake --install` puts in place: `cpack -G DEB` in the build
# folder writes zelvora-studio_<version>_<arch>.deb. The libraries the program links are
# found by dpkg-shlibdeps; what it runs beside them (the MIME database's tools, the JACK
# server a studio usually has) is declared by hand.
set(CPACK_PACKAGE_NAME "zelvora-studio")
set(CPACK_PACKAGE_VENDOR "Zelvora Studio")
set(CPACK_PACKAGE_CONTACT "Zelvora Studio <studio@zelvora.invalid>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "${PROJECT_DESCRIPTION}")
set(CPACK_PACKAGE_VERSION "${PROJECT_VERSION}")
set(CPACK_PACKAGING_INSTALL_PREFIX "/usr")
set(CPACK_STRIP_FILES ON)

set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION "sound")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_DEPENDS "shared-mime-info, desktop-file-utils, hicolor-icon-theme")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "jackd2 | pipewire-jack, qt6-qpa-plugins")
# The long description; CPack puts the summary above it and indents it as Debian wants.
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
    "Fire jingles, beds, effects and songs from grids of 24 buttons with the mouse,
the letter keys, MIDI notes, GPI contact boxes and a USB keypad, each clip on
one of eight stereo outputs, with an outputs monitor and a pre-listen player.")

include(CPack)
