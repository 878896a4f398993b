# Configures this tree on Linux as on a Mac: CMake takes its macOS branches, and Clang targets a Mac's processor.
# MAC_ARCHITECTURE in the environment is arm64 or x86_64.
set(architecture arm64)
if(DEFINED ENV{MAC_ARCHITECTURE})
    set(architecture $ENV{MAC_ARCHITECTURE})
endif()
find_program(clang clang++ REQUIRED)

set(CMAKE_SYSTEM_NAME Darwin)
set(CMAKE_SYSTEM_PROCESSOR ${architecture})
foreach(language CXX OBJCXX)
    set(CMAKE_${language}_COMPILER ${clang})
    set(CMAKE_${language}_COMPILER_TARGET ${architecture}-apple-macos13)
endforeach()
set(CMAKE_OSX_SYSROOT "")
set(CMAKE_OSX_DEPLOYMENT_TARGET "" CACHE STRING "")
set(CMAKE_INSTALL_NAME_TOOL /bin/false)            # nothing is linked
set(CMAKE_TRY_COMPILE_TARGET_TYPE STATIC_LIBRARY)
set(CMAKE_PREFIX_PATH /usr)                        # the libraries' headers are this machine's
set(CMAKE_LIBRARY_ARCHITECTURE ${CMAKE_HOST_SYSTEM_PROCESSOR}-linux-gnu)
