// SPDX-License-Identifier: Apache-2.0
/// @file
/// A file as the library's own readers and writers use it: whole contents in one call.
#ifndef QUORVEL_FILES_H_
#define QUORVEL_FILES_H_

#include <quorvel/types.h>

/// A file that is read or written as a whole. Members that return `int` give 0, or non-zero where the system refuses.
/// On Windows names are in the process's ANSI code page, and one handle and one event object are held while the file is
/// open; elsewhere one descriptor. Closing the file, opening another one and the destructor release them. Nothing
/// throws.
class QUORVEL_API CMWFile {
 public:
  CMWFile();
  CMWFile(const CMWFile&) = delete;
  CMWFile& operator=(const CMWFile&) = delete;
  ~CMWFile();

  /// Opens a file for reading; others may read it meanwhile.
  int open(const char* name);
  /// Creates a file for reading and writing, and replaces one that is there. Where the system knows such a thing,
  /// nobody else can open it meanwhile. `sequential` announces that it will be written from one end to the other.
  int create(const char* name, int sequential);
  /// The size in bytes. Something that is no file, such as a directory or a pipe, is refused.
  int size(std::uint64_t* bytes) const;
  /// Reads the first `bytes` bytes; fewer are a failure.
  int read(void* to, std::uint32_t bytes);
  /// Writes the whole content, `bytes` bytes from the start of the file; fewer are a failure, and what was written
  /// stays. 0 bytes are a success.
  int write(const void* from, std::uint32_t bytes);
  /// Closes the file if one is open; fails where the system finds only now that something could not be written.
  int close();

 private:
  std::intptr_t file_, event_;
};

#endif  // QUORVEL_FILES_H_
