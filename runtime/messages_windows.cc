// SPDX-License-Identifier: Apache-2.0
// Texts of errors on Windows: error codes are those of GetLastError, and their texts are in the ANSI code page.
#include <cstdio>

#include <windows.h>

#include "runtime/messages.h"

namespace quorvel {

void systemMessage(int error, char* text, std::size_t size) {
  char* found = nullptr;  // allocated by the system
  FormatMessageA(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                 static_cast<DWORD>(error), MAKELANGID(LANG_NEUTRAL, SUBLANG_SYS_DEFAULT),
                 reinterpret_cast<char*>(&found), 0, nullptr);
  if (found != nullptr) {
    std::snprintf(text, size, "%s", found);
    LocalFree(found);
  } else {
    std::snprintf(text, size, "Unknown error %d", error);
  }
}

void ansiToConsole(char* text) { CharToOemA(text, text); }

}  // namespace quorvel
