// SPDX-License-Identifier: Apache-2.0
// What the program asks of the operating system beyond the standard library, one implementation file a system. Names of
// files are of any script on all of them.
#ifndef QUORVEL_HOST_IO_SYSTEM_H_
#define QUORVEL_HOST_IO_SYSTEM_H_

#include <cstdint>
#include <cstdio>
#include <string>
#include <vector>

#include "host/error.h"

namespace quorvel::host {

using NativeName = const fs::path::value_type*;

// As std::fopen, in binary; these set errno.
std::FILE* openToRead(const fs::path& file);
std::FILE* openToWrite(const fs::path& file);
std::FILE* createNew(const fs::path& file);  // fails where the file exists
// As std::fseek and std::ftell, for files of any length.
int seekTo(std::FILE* stream, std::int64_t offset, int whence);
std::int64_t tell(std::FILE* stream);

// Removes a file. It may be called while the process handles a signal.
void removeAtOnce(NativeName file) noexcept;

unsigned processId();
bool isTerminal(std::FILE* stream);

// Calls `cleanUp` when the user or the system ends the process early; the process then ends as it would have.
void onInterrupt(void (*cleanUp)() noexcept);

// The arguments of the program in UTF-8, without its name.
std::vector<std::string> utf8Arguments(int argc, const char* const* argv);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_SYSTEM_H_
