# Settings shared by all targets, and the functions that declare folders and programs.

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON) # qmcapture.so is built from the same folders as the programs
set(CMAKE_AUTOMOC ON)
set(CMAKE_AUTORCC ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)   # helpers must stand next to the application
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
include(GNUInstallDirs)

find_package(Qt6 6.4 REQUIRED COMPONENTS Core Gui Widgets Svg Network Test)
find_package(SQLite3 REQUIRED)
find_package(Threads REQUIRED)
find_package(PkgConfig REQUIRED)
pkg_check_modules(heif REQUIRED IMPORTED_TARGET libheif)
pkg_check_modules(deflate REQUIRED IMPORTED_TARGET libdeflate)
pkg_check_modules(isal REQUIRED IMPORTED_TARGET libisal)
pkg_check_modules(jpeg REQUIRED IMPORTED_TARGET libjpeg)
pkg_check_modules(png REQUIRED IMPORTED_TARGET libpng)
pkg_check_modules(tiff REQUIRED IMPORTED_TARGET libtiff-4>=4.5)
pkg_check_modules(webp REQUIRED IMPORTED_TARGET libwebp)
pkg_check_modules(webpdemux REQUIRED IMPORTED_TARGET libwebpdemux)
if(NOT APPLE)
    find_package(Qt6 6.4 REQUIRED COMPONENTS DBus)
    pkg_check_modules(xcb REQUIRED IMPORTED_TARGET xcb xcb-composite xcb-randr xcb-render xcb-shm)
    pkg_check_modules(xcb_scroll REQUIRED IMPORTED_TARGET xcb-shape xcb-xtest)
    pkg_check_modules(xcb_test IMPORTED_TARGET xcb-xtest)
    enable_language(C) # of the code that is generated for Wayland's protocols
    pkg_check_modules(wayland REQUIRED IMPORTED_TARGET wayland-client wayland-protocols>=1.31)
    pkg_check_modules(wayland_cursor REQUIRED IMPORTED_TARGET wayland-cursor)
    pkg_check_modules(pipewire REQUIRED IMPORTED_TARGET libpipewire-0.3)
    pkg_check_modules(systemd REQUIRED IMPORTED_TARGET libsystemd)
    pkg_check_modules(xkbcommon REQUIRED IMPORTED_TARGET xkbcommon)
endif()

add_compile_options(-Wall -Wextra -Wpedantic -Wshadow $<$<COMPILE_LANGUAGE:CXX,OBJCXX>:-Wnon-virtual-dtor>)
add_compile_options($<$<COMPILE_LANGUAGE:OBJCXX>:-fobjc-arc>)
add_compile_definitions(
    QT_NO_CAST_FROM_ASCII QT_NO_CAST_TO_ASCII QT_NO_CAST_FROM_BYTEARRAY QT_NO_FOREACH QT_NO_KEYWORDS
    QT_DISABLE_DEPRECATED_BEFORE=0x060400)
if(NOT APPLE)
    add_link_options(-Wl,--as-needed) # loads only those libraries of its folders that a program uses
endif()
if(QM_SANITIZE)
    add_compile_options(-fsanitize=${QM_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QM_SANITIZE})
elseif(NOT APPLE)
    # As Debian hardens its packages. Binding all symbols at the start costs qmcapture 0.05 ms, the other programs up to 2 ms.
    add_compile_options(-fstack-protector-strong $<$<CONFIG:Release>:-U_FORTIFY_SOURCE> $<$<CONFIG:Release>:-D_FORTIFY_SOURCE=2>)
    add_link_options(LINKER:-z,relro LINKER:-z,now)
endif()

function(qm_target_name result folder)
    string(REPLACE "/" "_" name "qm_${folder}")
    set(${result} ${name} PARENT_SCOPE)
endfunction()

function(qm_link target)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES;LINKS")
    foreach(folder IN LISTS arg_USES)
        qm_target_name(library ${folder})
        target_link_libraries(${target} PUBLIC ${library})
    endforeach()
    target_link_libraries(${target} PUBLIC ${arg_LINKS})
endfunction()

# qm_library(folder USES folder... LINKS library... SOURCES file...)
# One folder, one static library. USES is the layer graph itself: tests/LayerCheck.py reads these calls and fails on an
# include of any other folder.
function(qm_library folder)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES;LINKS;SOURCES")
    qm_target_name(target ${folder})
    add_library(${target} STATIC ${arg_SOURCES})
    target_include_directories(${target} PUBLIC ${CMAKE_SOURCE_DIR})
    qm_link(${target} USES ${arg_USES} LINKS ${arg_LINKS})
endfunction()

# qm_program(name USES folder... LINKS library... SOURCES file...)
function(qm_program name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES;LINKS;SOURCES")
    add_executable(${name} ${arg_SOURCES})
    target_include_directories(${name} PRIVATE ${CMAKE_SOURCE_DIR})
    target_compile_definitions(${name} PRIVATE QM_VERSION="${PROJECT_VERSION}")
    qm_link(${name} USES ${arg_USES} LINKS ${arg_LINKS})
endfunction()

# qm_module(name USES folder... LINKS library... SOURCES file...)
# A module that a program loads at run time: name.so next to it.
function(qm_module name)
    cmake_parse_arguments(PARSE_ARGV 1 arg "" "" "USES;LINKS;SOURCES")
    add_library(${name}_module MODULE ${arg_SOURCES})
    set_target_properties(${name}_module PROPERTIES
        OUTPUT_NAME ${name} PREFIX "" LIBRARY_OUTPUT_DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY} CXX_VISIBILITY_PRESET hidden)
    qm_link(${name}_module USES ${arg_USES} LINKS ${arg_LINKS})
endfunction()

# qm_wayland_protocol(target name description)
# The protocol described in an XML file becomes <protocol/NAME.h>, and part of the target.
if(NOT APPLE)
    find_program(QM_WAYLAND_SCANNER wayland-scanner REQUIRED)
    function(qm_wayland_protocol target name description)
        set(folder ${CMAKE_CURRENT_BINARY_DIR}/generated)
        set(path ${folder}/protocol/${name})
        file(MAKE_DIRECTORY ${folder}/protocol)
        add_custom_command(OUTPUT ${path}.h COMMAND ${QM_WAYLAND_SCANNER} -s client-header ${description} ${path}.h
            DEPENDS ${description} VERBATIM)
        add_custom_command(OUTPUT ${path}.c COMMAND ${QM_WAYLAND_SCANNER} -s private-code ${description} ${path}.c
            DEPENDS ${description} VERBATIM)
        target_sources(${target} PRIVATE ${path}.c ${path}.h)
        set_source_files_properties(${path}.c ${path}.h PROPERTIES SKIP_AUTOMOC ON)
        target_include_directories(${target} SYSTEM PUBLIC ${folder})
    endfunction()
endif()
