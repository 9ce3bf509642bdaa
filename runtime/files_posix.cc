// SPDX-License-Identifier: Apache-2.0
// The file wrapper on POSIX systems. Files are not locked: a lock that only its askers obey keeps nobody out.
#include <cerrno>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "quorvel/files.h"

namespace {

constexpr std::intptr_t kNone = -1;

int descriptor(std::intptr_t file) { return static_cast<int>(file); }

// A call may be cut short by a signal or transfer a part only; goes on until all is done or nothing moves.
template <typename Call>
int transfer(std::uint32_t bytes, Call&& call) {
  for (std::uint32_t done = 0; done < bytes;) {
    const ssize_t moved = call(done, bytes - done);
    if (moved > 0) {
      done += static_cast<std::uint32_t>(moved);
    } else if (moved == 0 || errno != EINTR) {
      return 1;
    }
  }
  return 0;
}

}  // namespace

CMWFile::CMWFile() : file_(kNone), event_(kNone) {}

CMWFile::~CMWFile() { close(); }

int CMWFile::open(const char* name) {
  close();
  // Without O_NONBLOCK a pipe without a writer would keep us here; it does nothing to files.
  file_ = ::open(name, O_RDONLY | O_CLOEXEC | O_NONBLOCK);
  return file_ == kNone;
}

int CMWFile::create(const char* name, int) {
  close();
  constexpr mode_t kEverybody = 0666;  // less what the user's mask takes away
  file_ = ::open(name, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kEverybody);
  return file_ == kNone;
}

int CMWFile::size(std::uint64_t* bytes) const {
  struct stat status {};
  if (file_ == kNone || fstat(descriptor(file_), &status) != 0 || !S_ISREG(status.st_mode)) return 1;
  *bytes = static_cast<std::uint64_t>(status.st_size);
  return 0;
}

int CMWFile::read(void* to, std::uint32_t bytes) {
  if (file_ == kNone) return 1;
  return transfer(bytes, [&](std::uint32_t done, std::uint32_t rest) {
    return pread(descriptor(file_), static_cast<char*>(to) + done, rest, static_cast<off_t>(done));
  });
}

int CMWFile::write(const void* from, std::uint32_t bytes) {
  if (file_ == kNone) return 1;
  lseek(descriptor(file_), 0, SEEK_SET);  // refused by pipes and the like, which have no start to return to
  return transfer(bytes, [&](std::uint32_t done, std::uint32_t rest) {
    return ::write(descriptor(file_), static_cast<const char*>(from) + done, rest);
  });
}

int CMWFile::close() {
  if (file_ == kNone) return 0;
  const int closed = ::close(descriptor(file_));
  file_ = kNone;
  return closed != 0;
}
