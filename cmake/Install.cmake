# Where everything is installed. The application looks for its helpers next to itself; only what users call by name is
# on the path, as links.
set(QM_PROGRAM_FOLDER ${CMAKE_INSTALL_LIBEXECDIR}/quillmere)
install(TARGETS quillmere qms qmdecode qmkeys qmocr qmcapture qmcapture_module qmscroll
    qmstream_module DESTINATION ${QM_PROGRAM_FOLDER})
foreach(program quillmere qms)
    file(RELATIVE_PATH target
        ${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR} ${CMAKE_INSTALL_PREFIX}/${QM_PROGRAM_FOLDER}/${program})
    install(CODE "
        set(link \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${CMAKE_INSTALL_BINDIR}/${program}\")
        get_filename_component(folder \"\${link}\" DIRECTORY)
        file(MAKE_DIRECTORY \"\${folder}\")
        file(CREATE_LINK ${target} \"\${link}\" SYMBOLIC)")
endforeach()

# qm_compressed(result file name): compresses the file to NAME.gz in the build folder, without a time stamp.
find_program(QM_GZIP gzip REQUIRED)
function(qm_compressed result file name)
    set(compressed ${CMAKE_BINARY_DIR}/compressed/${name}.gz)
    add_custom_command(OUTPUT ${compressed}
        COMMAND ${CMAKE_COMMAND} -E make_directory ${CMAKE_BINARY_DIR}/compressed
        COMMAND ${QM_GZIP} -9nc ${CMAKE_SOURCE_DIR}/${file} > ${compressed}
        DEPENDS ${CMAKE_SOURCE_DIR}/${file} VERBATIM)
    set_property(GLOBAL APPEND PROPERTY QM_COMPRESSED ${compressed})
    set(${result} ${compressed} PARENT_SCOPE)
endfunction()

foreach(program quillmere qms qmocr qmcapture qmscroll)
    if(TARGET ${program})
        qm_compressed(page docs/man/${program}.1 ${program}.1)
        install(FILES ${page} DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
    endif()
endforeach()
string(REGEX REPLACE "/Quillmere$" "/quillmere" documents ${CMAKE_INSTALL_DOCDIR}) # it ends with the project's name
install(FILES README.md README.ja.md LICENSE DESTINATION ${documents})
install(DIRECTORY docs/pictures DESTINATION ${documents}/docs FILES_MATCHING PATTERN "*.png" PATTERN desktop EXCLUDE)

if(NOT APPLE)
    foreach(size 16 24 32 48 64 128 256 512)
        install(FILES assets/icon/${size}.png
            DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps RENAME org.quillmere.Quillmere.png)
    endforeach()
    install(FILES assets/icon/quillmere.svg
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps RENAME org.quillmere.Quillmere.svg)
    install(FILES packaging/org.quillmere.Quillmere.desktop packaging/org.quillmere.Quillmere.annotate.desktop
        DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    # KWin knows a program by its whole path, which is known when it is installed; one file permits one program.
    foreach(tool capture scroll)
        set(entry org.quillmere.Quillmere.${tool}.desktop)
        install(CODE "
            set(QM_TOOL \"\${CMAKE_INSTALL_PREFIX}/${QM_PROGRAM_FOLDER}/qm${tool}\")
            configure_file(\"${CMAKE_SOURCE_DIR}/packaging/${entry}.in\" \"${CMAKE_BINARY_DIR}/${entry}\" @ONLY)")
        install(FILES ${CMAKE_BINARY_DIR}/${entry} DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
    endforeach()
    install(FILES packaging/org.quillmere.Quillmere.metainfo.xml DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
endif()

# Debian's zsh looks for packaged completions in "vendor-completions" instead.
set(QM_ZSH_COMPLETIONS ${CMAKE_INSTALL_DATADIR}/zsh/site-functions CACHE STRING "Folder for the completions of zsh")
set(completions ${CMAKE_SOURCE_DIR}/packaging/completions)
install(FILES ${completions}/bash/qms ${completions}/bash/quillmere
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES ${completions}/zsh/_qms ${completions}/zsh/_quillmere DESTINATION ${QM_ZSH_COMPLETIONS})
install(FILES ${completions}/fish/qms.fish ${completions}/fish/quillmere.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)

if(NOT APPLE)
    include(DebianPackage)
endif()
get_property(compressed GLOBAL PROPERTY QM_COMPRESSED)
add_custom_target(compressed ALL DEPENDS ${compressed})
