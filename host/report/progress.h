// SPDX-License-Identifier: Apache-2.0
// How far a run over several files has come: a bar on a terminal, nothing elsewhere.
#ifndef QUORVEL_HOST_REPORT_PROGRESS_H_
#define QUORVEL_HOST_REPORT_PROGRESS_H_

#include <chrono>
#include <cstddef>
#include <string>

namespace quorvel::host {

class Progress {
 public:
  // Shows itself only if there are several files and standard error is a terminal.
  explicit Progress(std::size_t files);
  Progress(const Progress&) = delete;
  Progress& operator=(const Progress&) = delete;
  ~Progress() { hide(); }

  // One more file is done, with so many megapixels (0 for one that failed).
  void step(double megapixels);
  // Prints a whole line to standard output or, for an error, to standard error; the bar comes back below it.
  void print(const std::string& line, bool error = false);

 private:
  void show();
  void hide();

  std::size_t files_, done_ = 0;
  double megapixels_ = 0;
  bool terminal_, shown_ = false;
  std::chrono::steady_clock::time_point start_;
};

// The bar's text: "[#####-----]  5/10  12.3 MP/s  0:12 left".
std::string progressLine(std::size_t done, std::size_t files, double megapixels, double seconds);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_REPORT_PROGRESS_H_
