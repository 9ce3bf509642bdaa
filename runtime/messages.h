// SPDX-License-Identifier: Apache-2.0
// What the operating system contributes to texts of errors, one implementation file a system.
#ifndef QUORVEL_RUNTIME_MESSAGES_H_
#define QUORVEL_RUNTIME_MESSAGES_H_

#include <cstddef>

namespace quorvel {

// Writes the system's own text for one of its error codes into `text`, cut off at `size` characters with the
// terminating zero. An error without a text is named by its number.
void systemMessage(int error, char* text, std::size_t size);

// Converts a zero-terminated text, in place, from the code page of windows to that of consoles.
void ansiToConsole(char* text);

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_MESSAGES_H_
