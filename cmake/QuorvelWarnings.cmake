# SPDX-License-Identifier: Apache-2.0
# quorvel_warnings: for every target of ours. quorvel_warnings_strict adds -Wconversion for rooms whose code is
# not lane arithmetic, where each narrowing is worth a look.
add_library(quorvel_warnings INTERFACE)
target_compile_options(quorvel_warnings INTERFACE -Wall -Wextra -Wshadow -Wnon-virtual-dtor -Woverloaded-virtual)
if(QUORVEL_WERROR)
  target_compile_options(quorvel_warnings INTERFACE -Werror)
endif()

add_library(quorvel_warnings_strict INTERFACE)
target_link_libraries(quorvel_warnings_strict INTERFACE quorvel_warnings)
target_compile_options(quorvel_warnings_strict INTERFACE -Wconversion -Wsign-conversion)
