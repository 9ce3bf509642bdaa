# SPDX-License-Identifier: Apache-2.0
# What the build stands on. Systems that have packages of it are asked for those. Where there are none, as for Windows,
# Highway, LAPACK and GoogleTest are built from source, and the program's header libraries are taken from the machine
# that builds.
set(QUORVEL_HIGHWAY_SOURCE "" CACHE PATH "Highway's source tree, where its package is not to be used")
set(QUORVEL_LAPACK_SOURCE "" CACHE PATH "The reference LAPACK's source tree, where its package is not to be used")
set(QUORVEL_GTEST_SOURCE "" CACHE PATH "GoogleTest's source tree, where its package is not to be used")
set(QUORVEL_HEADERS "" CACHE PATH "Where CLI11, fmt and nlohmann's JSON are found as headers alone, where their packages are not to be used")

if(QUORVEL_HIGHWAY_SOURCE)
  add_library(quorvel_highway STATIC
    "${QUORVEL_HIGHWAY_SOURCE}/hwy/aligned_allocator.cc"
    "${QUORVEL_HIGHWAY_SOURCE}/hwy/per_target.cc"
    "${QUORVEL_HIGHWAY_SOURCE}/hwy/targets.cc")
  target_include_directories(quorvel_highway SYSTEM PUBLIC "${QUORVEL_HIGHWAY_SOURCE}")
  target_compile_definitions(quorvel_highway PUBLIC HWY_STATIC_DEFINE)
  add_library(hwy::hwy ALIAS quorvel_highway)
else()
  find_package(hwy REQUIRED)
endif()

if(QUORVEL_LAPACK_SOURCE)
  enable_language(Fortran)
  # Nothing of the Fortran runtime is called (cmake/lapack/runtime.cc), so nothing is to be linked that brings it along.
  set(CMAKE_Fortran_IMPLICIT_LINK_LIBRARIES "")
  add_subdirectory(cmake/lapack)
  set(quorvel_lapack quorvel_lapack)
else()
  # The results of its three solvers then are those of the package, and of the kernels that it picks for the processor.
  find_package(LAPACK)
  if(NOT LAPACK_FOUND)
    message(FATAL_ERROR "No LAPACK found. Install its package (libopenblas-dev), or have it built from its sources, for "
                        "the same bits on every processor: -DQUORVEL_LAPACK_SOURCE=$(bash scripts/lapack.sh)")
  endif()
  message(STATUS "LAPACK is the system's: the last bits of dgelsd, dgesv and dsysv depend on it and on the processor")
  set(quorvel_lapack LAPACK::LAPACK)
endif()

if(QUORVEL_OPENMP)
  find_package(OpenMP REQUIRED COMPONENTS CXX)
endif()

if(QUORVEL_TESTS AND QUORVEL_GTEST_SOURCE)
  find_package(Threads REQUIRED)
  add_library(quorvel_gtest STATIC
    "${QUORVEL_GTEST_SOURCE}/googletest/src/gtest-all.cc" "${QUORVEL_GTEST_SOURCE}/googletest/src/gtest_main.cc")
  target_include_directories(quorvel_gtest SYSTEM
    PUBLIC "${QUORVEL_GTEST_SOURCE}/googletest/include" PRIVATE "${QUORVEL_GTEST_SOURCE}/googletest")
  target_link_libraries(quorvel_gtest PUBLIC Threads::Threads)
  add_library(GTest::gtest_main ALIAS quorvel_gtest)
elseif(QUORVEL_TESTS)
  find_package(GTest REQUIRED)
endif()

if(QUORVEL_HOST AND QUORVEL_HEADERS)
  # Only what is wanted: the rest of that directory belongs to another system.
  set(headers "${PROJECT_BINARY_DIR}/headers")
  file(MAKE_DIRECTORY "${headers}")
  foreach(library CLI fmt nlohmann)
    file(CREATE_LINK "${QUORVEL_HEADERS}/${library}" "${headers}/${library}" SYMBOLIC)
  endforeach()
  add_library(quorvel_cli11 INTERFACE)
  target_include_directories(quorvel_cli11 SYSTEM INTERFACE "${headers}")
  add_library(CLI11::CLI11 ALIAS quorvel_cli11)
  add_library(quorvel_fmt INTERFACE)
  target_include_directories(quorvel_fmt SYSTEM INTERFACE "${headers}")
  target_compile_definitions(quorvel_fmt INTERFACE FMT_HEADER_ONLY)
  add_library(fmt::fmt ALIAS quorvel_fmt)
  add_library(quorvel_json INTERFACE)
  target_include_directories(quorvel_json SYSTEM INTERFACE "${headers}")
  add_library(nlohmann_json::nlohmann_json ALIAS quorvel_json)
elseif(QUORVEL_HOST)
  find_package(CLI11 REQUIRED)
  find_package(fmt REQUIRED)
  find_package(nlohmann_json REQUIRED)
endif()
