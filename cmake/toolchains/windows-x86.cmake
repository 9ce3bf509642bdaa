# SPDX-License-Identifier: Apache-2.0
# 32-bit Windows, the library's home.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR i686)
set(QUORVEL_WINDOWS_TRIPLE i686-w64-mingw32)
include("${CMAKE_CURRENT_LIST_DIR}/windows.cmake")
# SSE2 is the floor. With SSE arithmetic every target rounds alike; hosts may call with a stack aligned to 4 bytes.
set(CMAKE_CXX_FLAGS_INIT "-msse2 -mfpmath=sse -mstackrealign")
set(CMAKE_C_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")
set(CMAKE_Fortran_FLAGS_INIT "${CMAKE_CXX_FLAGS_INIT}")
set(CMAKE_CROSSCOMPILING_EMULATOR bash "${CMAKE_CURRENT_LIST_DIR}/../../scripts/wine.sh")
