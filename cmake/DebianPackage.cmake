# The .deb. Files that only Debian requires are installed by the package alone.
qm_compressed(changelog CHANGELOG.md changelog)
qm_compressed(debian_changelog packaging/debian/changelog changelog.Debian)
set(tree ${CMAKE_BINARY_DIR}/debian)
add_custom_command(OUTPUT ${tree}.stamp
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${tree}
    COMMAND ${CMAKE_COMMAND} -E make_directory ${tree}/share/doc/quillmere ${tree}/share/lintian/overrides
    COMMAND ${CMAKE_COMMAND} -E copy ${changelog} ${debian_changelog} ${CMAKE_SOURCE_DIR}/packaging/debian/copyright
        ${tree}/share/doc/quillmere
    COMMAND ${CMAKE_COMMAND} -E copy ${CMAKE_SOURCE_DIR}/packaging/debian/lintian-overrides
        ${tree}/share/lintian/overrides/quillmere
    COMMAND ${CMAKE_COMMAND} -E touch ${tree}.stamp
    DEPENDS ${changelog} ${debian_changelog} packaging/debian/copyright packaging/debian/lintian-overrides VERBATIM)
set_property(GLOBAL APPEND PROPERTY QM_COMPRESSED ${tree}.stamp)
set(CPACK_INSTALLED_DIRECTORIES ${tree} usr)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillmere)
set(CPACK_PACKAGE_CONTACT "The Quillmere authors <quillmere@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "find screenshots by the words in them")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION "Quillmere sits in the tray and takes screenshots with one key: tapping the
right Shift key captures a region, holding it captures a window. The text of
every screenshot, its own and the desktop's, is read in English and Japanese
and indexed, so that you can find it by the words in it.
.
It has a library that searches as you type, an editor with crop, lines,
arrows, shapes, text and blur that never modifies the original, and a
command-line tool for the same index. Everything stays on the machine.")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS # whatever the builder's umask
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_RELEASE 1)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# Dependencies that no library implies: text recognition data, plugins for rarer formats, for the icons' SVG and for the
# system's display. Recommended: data for Japanese in columns, Japanese fonts and the translations of Qt's own texts.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "tesseract-ocr-eng, tesseract-ocr-jpn, tesseract-ocr-script-jpan, qt6-image-formats-plugins, qt6-wayland, libqt6svg6")
set(CPACK_DEBIAN_PACKAGE_RECOMMENDS "tesseract-ocr-script-jpan-vert, fonts-noto-cjk, qt6-translations-l10n")
# GTK's light or dark colours, where the desktop uses it.
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qt6-gtk-platformtheme")
include(CPack)
