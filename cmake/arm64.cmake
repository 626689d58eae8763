# Toolchain file: Debian's cross compiler, with the libraries that scripts/arm64-sysroot.sh unpacks and qemu
# to run what is built (presets arm64 and arm64-package).
set(CMAKE_SYSTEM_NAME Linux)
set(CMAKE_SYSTEM_PROCESSOR aarch64)
set(CMAKE_CXX_COMPILER aarch64-linux-gnu-g++)
get_filename_component(repository "${CMAKE_CURRENT_LIST_DIR}" DIRECTORY)
set(CMAKE_SYSROOT ${repository}/build/arm64-sysroot)
if(NOT EXISTS ${CMAKE_SYSROOT}/usr/lib)
    message(FATAL_ERROR "Run scripts/install-deps.sh build tests arm64 and scripts/arm64-sysroot.sh first")
endif()

# Nothing of this computer but the programs that building needs.
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
set(ENV{PKG_CONFIG_PATH} "")
set(ENV{PKG_CONFIG_LIBDIR}
    ${CMAKE_SYSROOT}/usr/lib/aarch64-linux-gnu/pkgconfig:${CMAKE_SYSROOT}/usr/share/pkgconfig)
set(ENV{PKG_CONFIG_SYSROOT_DIR} ${CMAKE_SYSROOT})

# CMake knows Debian's folder only when it builds for the computer it runs on.
set(CMAKE_INSTALL_LIBDIR lib/aarch64-linux-gnu CACHE PATH "Where libraries are installed")
set(CMAKE_CROSSCOMPILING_EMULATOR qemu-aarch64-static -L ${CMAKE_SYSROOT})
