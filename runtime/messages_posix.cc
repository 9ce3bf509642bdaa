// SPDX-License-Identifier: Apache-2.0
// Texts of errors on POSIX systems: error codes are values of errno, and their texts follow the process's locale.
#include <cstdio>
#include <cstring>

#include "runtime/messages.h"

namespace quorvel {
namespace {

// There are two functions strerror_r. One fills the buffer and returns a status; the other returns the text, which it
// may or may not have put into the buffer. Overloading takes whichever the C library declares.
[[maybe_unused]] const char* textOf(int status, const char* buffer) { return status == 0 ? buffer : nullptr; }
[[maybe_unused]] const char* textOf(const char* text, const char*) { return text; }

}  // namespace

void systemMessage(int error, char* text, std::size_t size) {
  char buffer[1024];
  const char* found = textOf(strerror_r(error, buffer, sizeof buffer), buffer);
  if (found != nullptr) {
    std::snprintf(text, size, "%s", found);
  } else {
    std::snprintf(text, size, "Unknown error %d", error);
  }
}

void ansiToConsole(char*) {}  // there is one encoding here, and only the host knows which: bytes stay as they are

}  // namespace quorvel
