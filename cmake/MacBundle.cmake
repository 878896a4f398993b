# Quillmere.app: the application, with the helpers next to its executable, where it looks for them.
set(helpers qms qmdecode qmocr qmscroll)
set_target_properties(quillmere PROPERTIES
    OUTPUT_NAME Quillmere
    MACOSX_BUNDLE ON
    MACOSX_BUNDLE_INFO_PLIST ${CMAKE_SOURCE_DIR}/packaging/macos/Info.plist.in)
set_target_properties(${helpers} PROPERTIES
    RUNTIME_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/Quillmere.app/Contents/MacOS)
add_dependencies(quillmere ${helpers})

function(qm_resource folder file)
    if(EXISTS ${file})
        target_sources(quillmere PRIVATE ${file})
        set_source_files_properties(${file} TARGET_DIRECTORY quillmere PROPERTIES MACOSX_PACKAGE_LOCATION ${folder})
    endif()
endfunction()
qm_resource(Resources ${CMAKE_SOURCE_DIR}/assets/icon/quillmere.icns)
qm_resource(Resources/en.lproj ${CMAKE_SOURCE_DIR}/packaging/macos/en.lproj/InfoPlist.strings)
qm_resource(Resources/ja.lproj ${CMAKE_SOURCE_DIR}/packaging/macos/ja.lproj/InfoPlist.strings)

install(TARGETS quillmere BUNDLE DESTINATION .)
install(TARGETS ${helpers} RUNTIME DESTINATION Quillmere.app/Contents/MacOS)
