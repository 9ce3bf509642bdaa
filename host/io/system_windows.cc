// SPDX-License-Identifier: Apache-2.0
#include <windows.h>
// After windows.h, which they need.
#include <fcntl.h>
#include <io.h>
#include <shellapi.h>

#include <cerrno>

#include "host/io/system.h"

namespace quorvel::host {
namespace {

void (*cleaning)() noexcept = nullptr;

BOOL WINAPI cleanUpAndEnd(DWORD) {
  cleaning();
  return FALSE;  // and the process ends
}

std::string utf8(const wchar_t* text) {
  const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
  std::string result(static_cast<std::size_t>(size), '\0');
  WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
  result.resize(result.size() - 1);
  return result;
}

}  // namespace

std::FILE* openToRead(const fs::path& file) { return _wfopen(file.c_str(), L"rb"); }
std::FILE* openToWrite(const fs::path& file) { return _wfopen(file.c_str(), L"wb"); }

std::FILE* createNew(const fs::path& file) {
  // Shared for removal, so that an interrupt can mark the open file to go with its last handle.
  const HANDLE handle = CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                    CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    const DWORD error = GetLastError();
    errno = error == ERROR_FILE_EXISTS ? EEXIST : error == ERROR_PATH_NOT_FOUND ? ENOENT : EACCES;
    return nullptr;
  }
  return _fdopen(_open_osfhandle(reinterpret_cast<std::intptr_t>(handle), _O_BINARY), "wb");
}

int seekTo(std::FILE* stream, std::int64_t offset, int whence) { return _fseeki64(stream, offset, whence); }
std::int64_t tell(std::FILE* stream) { return _ftelli64(stream); }

void removeAtOnce(NativeName file) noexcept { DeleteFileW(file); }

unsigned processId() { return GetCurrentProcessId(); }
bool isTerminal(std::FILE* stream) { return _isatty(_fileno(stream)) != 0; }

void onInterrupt(void (*cleanUp)() noexcept) {
  cleaning = cleanUp;
  SetConsoleCtrlHandler(cleanUpAndEnd, TRUE);
}

// main's own arguments are in the machine's code page, which lacks most of the world's letters.
std::vector<std::string> utf8Arguments(int, const char* const*) {
  int count = 0;
  wchar_t** wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(utf8(wide[i]));
  LocalFree(wide);
  return arguments;
}

}  // namespace quorvel::host
