# SPDX-License-Identifier: Apache-2.0
# What a configuration can choose, and the language settings that every target shares.
option(QUORVEL_HOST "Build the quorvel program" ${PROJECT_IS_TOP_LEVEL})
option(QUORVEL_TESTS "Build the tests" ${PROJECT_IS_TOP_LEVEL})
option(QUORVEL_BENCH "Build the benchmarks (peers are used where they are found)" OFF)
option(QUORVEL_WERROR "Treat warnings as errors" OFF)
option(QUORVEL_SANITIZE "Build with the address and undefined-behaviour sanitizers" OFF)
# The results are the same without.
if(CMAKE_CROSSCOMPILING)
  set(quorvel_openmp OFF)
else()
  set(quorvel_openmp ON)
endif()
option(QUORVEL_OPENMP "Share the rows of large eliminations between OpenMP's threads" ${quorvel_openmp})
option(QUORVEL_FUZZ "Build the libFuzzer programs, with clang (fuzz/CMakeLists.txt)" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/bin")
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")
set(CMAKE_ARCHIVE_OUTPUT_DIRECTORY "${PROJECT_BINARY_DIR}/lib")

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Build type" FORCE)
endif()

find_program(QUORVEL_CCACHE ccache)
if(QUORVEL_CCACHE AND NOT CMAKE_CXX_COMPILER_LAUNCHER)
  set(CMAKE_CXX_COMPILER_LAUNCHER "${QUORVEL_CCACHE}")
endif()

# One rounding per operation: a fused multiply-add would give other bits on processors that have it.
add_compile_options(-ffp-contract=off)
# Compilers may load halves of vectors by way of MMX registers, which are those of x87: a host's next computation with
# long double would come to nothing. `isExtMMX` alone touches them, and cleans up after it.
if(CMAKE_SYSTEM_PROCESSOR MATCHES "^(x86_64|AMD64|i[3-6]86|x86)$")
  set(QUORVEL_X86 TRUE)
  add_compile_options(-mno-mmx)
endif()

if(QUORVEL_SANITIZE)
  add_compile_options(-fsanitize=address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(QUORVEL_FUZZ)
  add_compile_options(-fsanitize=fuzzer-no-link,address,undefined -fno-sanitize-recover=all -fno-omit-frame-pointer)
  add_link_options(-fsanitize=address,undefined)
endif()

if(WIN32)  # keep windows.h from declaring what we do not use under names that we do
  add_compile_definitions(WIN32_LEAN_AND_MEAN NOMINMAX)
endif()

if(CMAKE_SYSTEM_PROCESSOR MATCHES "aarch64|arm64")
  # The kernels keep vectors in structures, which vectors of unknown length cannot be members of: NEON serves there.
  add_compile_definitions("HWY_DISABLED_TARGETS=(HWY_SVE|HWY_SVE2|HWY_SVE_256|HWY_SVE2_128)")
endif()
