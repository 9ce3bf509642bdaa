// SPDX-License-Identifier: Apache-2.0
#include <csignal>

#include <unistd.h>

#include "host/io/system.h"

namespace quorvel::host {
namespace {

void (*cleaning)() noexcept = nullptr;

extern "C" void cleanUpAndEnd(int signal) {
  cleaning();
  std::signal(signal, SIG_DFL);
  std::raise(signal);
}

}  // namespace

std::FILE* openToRead(const fs::path& file) { return std::fopen(file.c_str(), "rb"); }
std::FILE* openToWrite(const fs::path& file) { return std::fopen(file.c_str(), "wb"); }
std::FILE* createNew(const fs::path& file) { return std::fopen(file.c_str(), "wbx"); }

int seekTo(std::FILE* stream, std::int64_t offset, int whence) {
  return fseeko(stream, static_cast<off_t>(offset), whence);
}
std::int64_t tell(std::FILE* stream) { return ftello(stream); }

void removeAtOnce(NativeName file) noexcept { unlink(file); }

unsigned processId() { return static_cast<unsigned>(getpid()); }
bool isTerminal(std::FILE* stream) { return isatty(fileno(stream)) != 0; }

void onInterrupt(void (*cleanUp)() noexcept) {
  cleaning = cleanUp;
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    if (std::signal(signal, cleanUpAndEnd) == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

std::vector<std::string> utf8Arguments(int argc, const char* const* argv) { return {argv + 1, argv + argc}; }

}  // namespace quorvel::host
