// SPDX-License-Identifier: Apache-2.0
#include "host/io/files.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <system_error>

#include <fmt/format.h>

#include "host/io/system.h"

namespace quorvel::host {
namespace {

std::string reason(int error) { return std::generic_category().message(error); }

// The names of growing files, for the clean-up in a signal handler: nothing but atomic pointers is safe there.
constexpr std::size_t kGrowingMost = 16;
std::array<std::atomic<NativeName>, kGrowingMost> growingNames;

void replaceGrowing(NativeName from, NativeName to) {
  for (auto& name : growingNames) {
    NativeName expected = from;
    if (name.compare_exchange_strong(expected, to)) return;
  }
}

void removeGrowing() noexcept {
  for (const auto& name : growingNames) {
    if (const NativeName growing = name.load()) removeAtOnce(growing);
  }
}

// A name that no other run and no other file of this run uses.
fs::path growingName(const fs::path& target) {
  static std::atomic<unsigned> count = 0;
  return target.parent_path() / fmt::format(".{}.{}-{}.part", target.filename().string(), processId(), ++count);
}

}  // namespace

void requireReadable(const fs::path& file) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (status.type() == fs::file_type::not_found) throw DataError(file, "does not exist");
  if (error) throw DataError(file, "cannot be read: " + error.message());
  if (fs::is_directory(status)) throw DataError(file, "is a directory, not a file");
  std::FILE* stream = openToRead(file);
  if (stream == nullptr) throw DataError(file, "cannot be read: " + reason(errno));
  std::fclose(stream);
  if (fs::is_regular_file(status) && fs::file_size(file, error) == 0) throw DataError(file, "is empty");
}

std::vector<std::uint8_t> readFile(const fs::path& file) {
  requireReadable(file);
  std::FILE* stream = openToRead(file);
  if (stream == nullptr) throw DataError(file, "cannot be read: " + reason(errno));
  std::error_code unknown;
  const std::uint64_t expected = fs::file_size(file, unknown);
  std::vector<std::uint8_t> bytes;
  if (!unknown && expected > bytes.max_size() / 2) {
    std::fclose(stream);
    throw DataError(file, "is too large for this system");
  }
  bytes.resize(unknown ? 0 : static_cast<std::size_t>(expected));
  std::size_t filled = 0;
  // The size is a hint only: pipes have none, and a file may grow while it is read.
  for (;;) {
    if (filled == bytes.size()) bytes.resize(filled + std::max<std::size_t>(4096, filled / 2));
    const std::size_t got = std::fread(bytes.data() + filled, 1, bytes.size() - filled, stream);
    filled += got;
    if (got == 0) break;
  }
  const int failed = std::ferror(stream) ? errno : 0;
  std::fclose(stream);
  if (failed != 0) throw DataError(file, "cannot be read: " + reason(failed));
  if (filled == 0) throw DataError(file, "is empty");
  bytes.resize(filled);
  return bytes;
}

std::string startOf(const fs::path& file, std::size_t bytes) {
  std::FILE* stream = fs::is_regular_file(file) ? openToRead(file) : nullptr;
  if (stream == nullptr) return {};
  std::string start(bytes, '\0');
  start.resize(std::fread(start.data(), 1, bytes, stream));
  std::fclose(stream);
  return start;
}

void requireWritable(const fs::path& file, bool force) {
  std::error_code error;
  const fs::file_status status = fs::status(file, error);
  if (fs::is_directory(status)) throw DataError(file, "is a directory");
  if (!file.has_filename()) throw DataError(file, "names no file");
  const fs::path directory = file.has_parent_path() ? file.parent_path() : fs::path(".");
  if (!fs::is_directory(directory, error)) throw DataError(file, "its directory does not exist");
  if (fs::is_regular_file(status) && !force) throw DataError(file, "exists already; --force replaces it");
}

OutputFile::OutputFile(const fs::path& target, bool force) : target_(target), force_(force) {
  requireWritable(target, force);
  std::error_code error;
  const fs::file_status status = fs::status(target, error);
  if (fs::exists(status) && !fs::is_regular_file(status)) {
    stream_ = openToWrite(target);
  } else {
    // Behind a symbolic link the file itself is replaced, and the link stays.
    const fs::path actual = fs::is_symlink(target, error) && fs::exists(status) ? fs::canonical(target) : target;
    growing_ = growingName(actual);
    replaceGrowing(nullptr, growing_.c_str());
    stream_ = createNew(growing_);
  }
  if (stream_ == nullptr) {
    const int failed = errno;
    replaceGrowing(growing_.c_str(), nullptr);
    throw DataError(target_, "cannot be written: " + reason(failed));
  }
}

OutputFile::~OutputFile() { discard(); }

void OutputFile::noteFailure() noexcept {
  if (failure_ == 0) failure_ = errno != 0 ? errno : EIO;
}

void OutputFile::discard() noexcept {
  if (stream_ != nullptr) std::fclose(stream_);
  stream_ = nullptr;
  if (!growing_.empty()) {
    removeAtOnce(growing_.c_str());
    replaceGrowing(growing_.c_str(), nullptr);
    growing_.clear();
  }
}

bool OutputFile::write(const void* data, std::size_t bytes) noexcept {
  if (failure_ != 0) return false;
  errno = 0;
  if (std::fwrite(data, 1, bytes, stream_) != bytes) {
    noteFailure();
    return false;
  }
  position_ += static_cast<std::int64_t>(bytes);
  size_ = std::max(size_, position_);
  return true;
}

std::int64_t OutputFile::seek(std::int64_t offset, int whence) noexcept {
  if (failure_ != 0) return -1;
  errno = 0;
  if (seekTo(stream_, offset, whence) != 0) {
    noteFailure();
    return -1;
  }
  position_ = tell(stream_);
  return position_;
}

void OutputFile::giveUp(const std::string& wrong) {
  discard();
  throw DataError(target_, failure_ != 0 ? "cannot be written: " + reason(failure_) : wrong);
}

void OutputFile::finish() {
  if (stream_ == nullptr) return;
  errno = 0;
  if (std::fflush(stream_) != 0) noteFailure();
  errno = 0;
  if (std::fclose(stream_) != 0) noteFailure();
  stream_ = nullptr;
  if (failure_ != 0) giveUp("");
}

void OutputFile::commit() {
  finish();
  if (growing_.empty()) return;
  std::error_code error;
  const fs::path actual =
      fs::is_symlink(target_, error) && fs::exists(target_, error) ? fs::canonical(target_) : target_;
  // Somebody else may have made the file since the work began.
  if (!force_ && fs::exists(target_, error)) giveUp("exists already; --force replaces it");
  fs::rename(growing_, actual, error);
  if (error) giveUp("cannot be written: " + error.message());
  replaceGrowing(growing_.c_str(), nullptr);
  growing_.clear();
}

void removeUnfinishedOnInterrupt() { onInterrupt(removeGrowing); }

}  // namespace quorvel::host
