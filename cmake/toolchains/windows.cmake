# SPDX-License-Identifier: Apache-2.0
# What the Windows toolchains share. QUORVEL_WINDOWS_TRIPLE names the compiler.
set(CMAKE_C_COMPILER ${QUORVEL_WINDOWS_TRIPLE}-gcc-posix)
set(CMAKE_CXX_COMPILER ${QUORVEL_WINDOWS_TRIPLE}-g++-posix)
set(CMAKE_Fortran_COMPILER ${QUORVEL_WINDOWS_TRIPLE}-gfortran-posix)
set(CMAKE_RC_COMPILER ${QUORVEL_WINDOWS_TRIPLE}-windres)
set(CMAKE_FIND_ROOT_PATH /usr/${QUORVEL_WINDOWS_TRIPLE})
set(CMAKE_FIND_ROOT_PATH_MODE_PROGRAM NEVER)
set(CMAKE_FIND_ROOT_PATH_MODE_LIBRARY ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_INCLUDE ONLY)
set(CMAKE_FIND_ROOT_PATH_MODE_PACKAGE ONLY)
# The compiler's runtime goes into every file, so that a host needs nothing beside quorvel.dll.
set(CMAKE_EXE_LINKER_FLAGS_INIT "-static")
set(CMAKE_SHARED_LINKER_FLAGS_INIT "-static")
set(CMAKE_MODULE_LINKER_FLAGS_INIT "-static")
# Nor are this machine's own libraries to be found by pkg-config.
set(ENV{PKG_CONFIG_LIBDIR} "/usr/${QUORVEL_WINDOWS_TRIPLE}/lib/pkgconfig")
