# Included by project() in the check for macOS: sources are only checked, against headers that match that system.
#
# The include order: ours, which declare the macOS calls used here; libc++, the C++ library on a Mac too; musl's C
# library without Linux extensions; Clang's own; last, the libraries used on both systems.
file(GLOB libcxx LIST_DIRECTORIES true /usr/lib/llvm-*/include/c++/v1)
list(SORT libcxx COMPARE NATURAL)
list(GET libcxx -1 libcxx)
execute_process(COMMAND ${CMAKE_CXX_COMPILER} -print-resource-dir OUTPUT_VARIABLE resources OUTPUT_STRIP_TRAILING_WHITESPACE)
set(musl /usr/include/${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-musl)
foreach(folder ${libcxx} ${musl} ${resources}/include)
    if(NOT EXISTS ${folder})
        message(FATAL_ERROR "The check for macOS needs libc++ and musl (libc++-dev, musl-dev): no ${folder}")
    endif()
endforeach()

set(c_library ${CMAKE_BINARY_DIR}/include/c)
file(REMOVE_RECURSE ${CMAKE_BINARY_DIR}/include)
file(COPY ${musl}/ DESTINATION ${c_library})
foreach(header byteswap elf link malloc mntent pty shadow values sys/auxv sys/epoll sys/eventfd sys/fanotify sys/fsuid sys/inotify
        sys/personality sys/prctl sys/procfs sys/random sys/sendfile sys/signalfd sys/sysinfo sys/timerfd sys/vfs sys/xattr)
    file(REMOVE ${c_library}/${header}.h)
endforeach()

set(libraries ${CMAKE_BINARY_DIR}/include/libraries)
file(MAKE_DIRECTORY ${libraries})
foreach(header isa-l isa-l.h jconfig.h jerror.h jmorecfg.h jpeglib.h leptonica libdeflate.h libheif libpng16 sqlite3.h
        tesseract tiff.h tiffconf.h tiffio.h tiffvers.h webp)
    foreach(folder /usr/include /usr/include/${CMAKE_LIBRARY_ARCHITECTURE})
        if(EXISTS ${folder}/${header})
            file(CREATE_LINK ${folder}/${header} ${libraries}/${header} SYMBOLIC)
        endif()
    endforeach()
endforeach()

string(JOIN " -isystem " folders
    ${CMAKE_CURRENT_LIST_DIR}/include ${libcxx} ${c_library} ${resources}/include ${libraries})
set(look "-fsyntax-only -nostdinc -nostdinc++ -isystem ${folders} -include ${CMAKE_CURRENT_LIST_DIR}/Prelude.h -Werror")
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILE_OBJECT
        "<CMAKE_${language}_COMPILER> <DEFINES> ${look} <INCLUDES> <FLAGS> <SOURCE>" "${CMAKE_COMMAND} -E touch <OBJECT>")
endforeach()
set(CMAKE_CXX_ARCHIVE_CREATE "${CMAKE_COMMAND} -E touch <TARGET>")
set(CMAKE_CXX_ARCHIVE_FINISH "")
set(CMAKE_CXX_LINK_EXECUTABLE "${CMAKE_COMMAND} -E touch <TARGET>")

# Packages also list the folders of Linux's C library; implicit folders are left out of the command line.
list(APPEND CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES /usr/include /usr/include/${CMAKE_LIBRARY_ARCHITECTURE})
set(CMAKE_OBJCXX_IMPLICIT_INCLUDE_DIRECTORIES ${CMAKE_CXX_IMPLICIT_INCLUDE_DIRECTORIES})

add_library(WrapOpenGL::WrapOpenGL INTERFACE IMPORTED) # Qt's package looks for the framework, which is not used here
