// SPDX-License-Identifier: Apache-2.0
// Files as bytes. Reading says plainly what is wrong with a file; writing leaves a whole file or none.
#ifndef QUORVEL_HOST_IO_FILES_H_
#define QUORVEL_HOST_IO_FILES_H_

#include <cstdint>
#include <cstdio>
#include <vector>

#include "host/error.h"

namespace quorvel::host {

// Throws DataError where `file` is missing, a directory, closed to us or empty.
void requireReadable(const fs::path& file);

std::vector<std::uint8_t> readFile(const fs::path& file);
// The first bytes of a regular file, for telling what it is; fewer or none where it has no more or cannot be read.
std::string startOf(const fs::path& file, std::size_t bytes = 2);

// Throws DataError where an output under this name cannot be wanted: its directory is missing, it is a directory
// itself, or it exists and `force` is not set.
void requireWritable(const fs::path& file, bool force);

// A file that comes into being as a whole. It grows under a temporary name in the target's directory, and `commit`
// gives it its own; without `commit`, or where anything fails, it vanishes. A target that is a device or a pipe is
// written directly.
class OutputFile {
 public:
  OutputFile(const fs::path& target, bool force);
  OutputFile(const OutputFile&) = delete;
  OutputFile& operator=(const OutputFile&) = delete;
  ~OutputFile();

  const fs::path& target() const { return target_; }

  // These two may be called from C libraries, and so do not throw: false or -1 from the first failure on, which
  // `commit` then reports.
  bool write(const void* data, std::size_t bytes) noexcept;
  std::int64_t seek(std::int64_t offset, int whence) noexcept;
  std::int64_t size() const noexcept { return size_; }

  // Throws DataError with the file system's reason or, where it has none, with `wrong`. Nothing stays behind.
  [[noreturn]] void giveUp(const std::string& wrong);

  // Throws DataError if anything could not be written. Files that belong together are all finished before the first
  // is committed.
  void finish();
  // Finishes, and the file stands under its name.
  void commit();

 private:
  void noteFailure() noexcept;
  void discard() noexcept;

  fs::path target_, growing_;  // growing_ is empty for a device
  bool force_;
  std::FILE* stream_ = nullptr;
  std::int64_t position_ = 0, size_ = 0;
  int failure_ = 0;  // the first errno
};

// From now on an interrupt or a request to end removes what is still growing before the process goes.
void removeUnfinishedOnInterrupt();

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_FILES_H_
