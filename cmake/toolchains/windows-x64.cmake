# SPDX-License-Identifier: Apache-2.0
# 64-bit Windows.
set(CMAKE_SYSTEM_NAME Windows)
set(CMAKE_SYSTEM_PROCESSOR AMD64)
set(QUORVEL_WINDOWS_TRIPLE x86_64-w64-mingw32)
include("${CMAKE_CURRENT_LIST_DIR}/windows.cmake")
# This compiler cannot align the stack beyond 16 bytes for this system, and would spill wider vectors with moves that
# fault there: the assembler writes the moves that do not.
set(CMAKE_CXX_FLAGS_INIT "-Wa,-muse-unaligned-vector-move")
