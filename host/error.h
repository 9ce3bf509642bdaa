// SPDX-License-Identifier: Apache-2.0
// The two ways in which a run fails. Whatever is thrown as one of them reaches the user as a single line.
#ifndef QUORVEL_HOST_ERROR_H_
#define QUORVEL_HOST_ERROR_H_

#include <filesystem>
#include <stdexcept>
#include <string>

namespace quorvel::host {

namespace fs = std::filesystem;

// Exit statuses of the program.
inline constexpr int kDone = 0, kDataFailure = 1, kUsageFailure = 2;

// A file, or what it holds, cannot be used: exit status 1.
class DataError : public std::runtime_error {
 public:
  DataError(const fs::path& file, const std::string& wrong) : std::runtime_error(file.string() + ": " + wrong) {}
};

// The arguments cannot be meant: exit status 2.
class UsageError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_ERROR_H_
