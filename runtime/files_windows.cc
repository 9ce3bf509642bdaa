// SPDX-License-Identifier: Apache-2.0
// The file wrapper on Windows. The event is the one that the system signals when a transfer is complete.
#include <windows.h>

#include "quorvel/files.h"

namespace {

const auto kNone = reinterpret_cast<std::intptr_t>(INVALID_HANDLE_VALUE);

HANDLE handle(std::intptr_t object) { return reinterpret_cast<HANDLE>(object); }

OVERLAPPED fromStart(std::intptr_t event) {
  OVERLAPPED place{};
  place.hEvent = handle(event);
  return place;
}

// The file and its event, both or neither.
int openBoth(const char* name, DWORD access, DWORD sharing, DWORD disposition, DWORD flags, std::intptr_t* file,
             std::intptr_t* event) {
  const HANDLE signal = CreateEventA(nullptr, TRUE, FALSE, nullptr);
  if (signal == nullptr) return 1;
  *file = reinterpret_cast<std::intptr_t>(
      CreateFileA(name, access, sharing, nullptr, disposition, FILE_ATTRIBUTE_NORMAL | flags, nullptr));
  if (*file == kNone) {
    CloseHandle(signal);
    return 1;
  }
  *event = reinterpret_cast<std::intptr_t>(signal);
  return 0;
}

}  // namespace

CMWFile::CMWFile() : file_(kNone), event_(kNone) {}

CMWFile::~CMWFile() { close(); }

int CMWFile::open(const char* name) {
  close();
  return openBoth(name, GENERIC_READ, FILE_SHARE_READ, OPEN_EXISTING, 0, &file_, &event_);
}

int CMWFile::create(const char* name, int sequential) {
  close();
  return openBoth(name, GENERIC_READ | GENERIC_WRITE, 0, CREATE_ALWAYS, sequential ? FILE_FLAG_SEQUENTIAL_SCAN : 0,
                  &file_, &event_);
}

int CMWFile::size(std::uint64_t* bytes) const {
  LARGE_INTEGER size{};
  if (file_ == kNone || GetFileType(handle(file_)) != FILE_TYPE_DISK || !GetFileSizeEx(handle(file_), &size)) return 1;
  *bytes = static_cast<std::uint64_t>(size.QuadPart);
  return 0;
}

int CMWFile::read(void* to, std::uint32_t bytes) {
  if (file_ == kNone) return 1;
  OVERLAPPED place = fromStart(event_);
  DWORD moved = 0;
  return bytes != 0 && (!ReadFile(handle(file_), to, bytes, &moved, &place) || moved != bytes);
}

int CMWFile::write(const void* from, std::uint32_t bytes) {
  if (file_ == kNone) return 1;
  OVERLAPPED place = fromStart(event_);
  DWORD moved = 0;
  return bytes != 0 && (!WriteFile(handle(file_), from, bytes, &moved, &place) || moved != bytes);
}

int CMWFile::close() {
  if (file_ == kNone) return 0;
  CloseHandle(handle(event_));
  const BOOL closed = CloseHandle(handle(file_));
  file_ = event_ = kNone;
  return !closed;
}
