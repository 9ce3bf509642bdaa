// SPDX-License-Identifier: Apache-2.0
#include "host/report/progress.h"

#include <cmath>
#include <cstdio>

#include <fmt/format.h>

#include "host/io/system.h"

namespace quorvel::host {

std::string progressLine(std::size_t done, std::size_t files, double megapixels, double seconds) {
  constexpr std::size_t kWidth = 30;
  const std::size_t full = files > 0 ? kWidth * done / files : kWidth;
  std::string line = fmt::format("[{:#<{}}{:-<{}}] {:>3}/{}", "", full, "", kWidth - full, done, files);
  if (done > 0 && seconds > 0) {
    const double left = seconds / static_cast<double>(done) * static_cast<double>(files - done);
    const auto rounded = static_cast<unsigned long>(std::lround(left));
    line += fmt::format("  {:.1f} MP/s  {}:{:02} left", megapixels / seconds, rounded / 60, rounded % 60);
  }
  return line;
}

Progress::Progress(std::size_t files)
    : files_(files), terminal_(files > 1 && isTerminal(stderr)), start_(std::chrono::steady_clock::now()) {
  show();
}

void Progress::step(double megapixels) {
  ++done_;
  megapixels_ += megapixels;
  show();
}

void Progress::print(const std::string& line, bool error) {
  hide();
  fmt::print(error ? stderr : stdout, "{}\n", line);
  std::fflush(stdout);
  show();
}

void Progress::show() {
  if (!terminal_ || done_ == files_) return hide();
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start_).count();
  fmt::print(stderr, "\r\x1b[K{}", progressLine(done_, files_, megapixels_, seconds));
  std::fflush(stderr);
  shown_ = true;
}

void Progress::hide() {
  if (shown_) fmt::print(stderr, "\r\x1b[K");
  shown_ = false;
}

}  // namespace quorvel::host
