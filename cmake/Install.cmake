# Where the programs go, and the .deb. Helpers stand next to the application, which is where it looks for them; only what
# people call by name is put on the path, as links.
set(QM_PROGRAM_FOLDER ${CMAKE_INSTALL_LIBEXECDIR}/quillmere)
install(TARGETS quillmere qms qmocr qmcapture qmcapture_module qmscroll DESTINATION ${QM_PROGRAM_FOLDER})
foreach(program quillmere qms)
    file(RELATIVE_PATH target
        ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_PREFIX}/${QM_PROGRAM_FOLDER}/${program})
    install(CODE "
        set(link \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${program}\")
        get_filename_component(folder \"\${link}\" DIRECTORY)
        file(MAKE_DIRECTORY \"\${folder}\")
        file(CREATE_LINK ${target} \"\${link}\" SYMBOLIC)")
endforeach()
install(FILES docs/man/qms.1 DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES README.md LICENSE DESTINATION ${CMAKE_INSTALL_DOCDIR})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME quillmere)
set(CPACK_PACKAGE_CONTACT "The Quillmere authors <quillmere@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "Screenshots that are found again by the words in them")
set(CPACK_PACKAGING_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION graphics)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# What no library dependency tells: the data of the text recognition and the plugins for the rarer formats.
set(CPACK_DEBIAN_PACKAGE_DEPENDS
    "tesseract-ocr-eng, tesseract-ocr-jpn, tesseract-ocr-script-jpan, qt6-image-formats-plugins, libqt6svg6")
include(CPack)
