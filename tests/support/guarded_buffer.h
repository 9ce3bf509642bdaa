// SPDX-License-Identifier: Apache-2.0
// A buffer that lies against an unmapped page, so that one byte read or written too far stops the test on the spot.
#ifndef QUORVEL_TESTS_SUPPORT_GUARDED_BUFFER_H_
#define QUORVEL_TESTS_SUPPORT_GUARDED_BUFFER_H_

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#ifdef _WIN32
#include <windows.h>
#undef far  // words of older compilers that it takes from everyone
#undef near
#else
#include <sys/mman.h>
#include <unistd.h>
#endif

namespace quorvel::test {

// Address space that nothing may touch, and the opening of whole pages in it.
#ifdef _WIN32
inline std::size_t pageBytes() {
  SYSTEM_INFO info;
  GetSystemInfo(&info);
  return info.dwPageSize;
}
inline void* reserve(std::size_t bytes) { return VirtualAlloc(nullptr, bytes, MEM_RESERVE, PAGE_NOACCESS); }
inline bool open(void* pages, std::size_t bytes) {
  return VirtualAlloc(pages, bytes, MEM_COMMIT, PAGE_READWRITE) != nullptr;
}
inline void release(void* reserved, std::size_t) { VirtualFree(reserved, 0, MEM_RELEASE); }
#else
inline std::size_t pageBytes() { return static_cast<std::size_t>(sysconf(_SC_PAGESIZE)); }
inline void* reserve(std::size_t bytes) {
  void* reserved = mmap(nullptr, bytes, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  return reserved == MAP_FAILED ? nullptr : reserved;
}
inline bool open(void* pages, std::size_t bytes) { return mprotect(pages, bytes, PROT_READ | PROT_WRITE) == 0; }
inline void release(void* reserved, std::size_t bytes) { munmap(reserved, bytes); }
#endif

// Where the buffer touches the unmapped page. The other side is filled with a pattern that `surroundingsIntact` holds
// against writes.
enum class Guard { AfterEnd, BeforeBegin };

inline constexpr unsigned char kFresh = 0xA7;  // what fresh memory is filled with

// As many elements of fresh memory, for a routine to fill.
template <typename T>
std::vector<T> room(std::size_t n) {
  std::vector<T> fresh(n);
  if (n != 0) std::memset(fresh.data(), kFresh, n * sizeof(T));
  return fresh;
}

// Elements of T. With Guard::AfterEnd the start is aligned to T only, and so differs with the size: rows of all lengths
// give all alignments.
template <typename T>
class GuardedBuffer {
 public:
  explicit GuardedBuffer(std::size_t size, Guard guard = Guard::AfterEnd) : size_(size) {
    const std::size_t page = pageBytes(), bytes = size * sizeof(T);
    room_ = (bytes + page - 1) / page * page + page;  // at least a page of pattern beside the payload
    mapped_ = room_ + 2 * page;
    map_ = static_cast<unsigned char*>(reserve(mapped_));
    if (map_ == nullptr || !open(map_ + page, room_)) throw std::bad_alloc();
    begin_ = map_ + page;
    std::memset(begin_, kFresh, room_);
    payload_ = guard == Guard::AfterEnd ? begin_ + room_ - bytes : begin_;
  }
  explicit GuardedBuffer(const std::vector<T>& contents, Guard guard = Guard::AfterEnd)
      : GuardedBuffer(contents.size(), guard) {
    std::copy(contents.begin(), contents.end(), data());
  }
  GuardedBuffer(const GuardedBuffer&) = delete;
  GuardedBuffer& operator=(const GuardedBuffer&) = delete;
  ~GuardedBuffer() { release(map_, mapped_); }

  T* data() { return reinterpret_cast<T*>(payload_); }
  std::size_t size() const { return size_; }
  std::vector<T> copy() { return {data(), data() + size_}; }

  // Whether nothing was written beside the payload on its mapped side.
  bool surroundingsIntact() const {
    return fresh(begin_, payload_) && fresh(payload_ + size_ * sizeof(T), begin_ + room_);
  }
  // Whether the payload, too, is as it was made: the routine under test wrote nothing at all.
  bool untouched() const { return fresh(begin_, begin_ + room_); }

 private:
  static bool fresh(const unsigned char* from, const unsigned char* to) {
    return std::all_of(from, to, [](unsigned char byte) { return byte == kFresh; });
  }

  std::size_t size_, room_ = 0, mapped_ = 0;
  unsigned char *map_ = nullptr, *begin_ = nullptr, *payload_ = nullptr;
};

}  // namespace quorvel::test

#endif  // QUORVEL_TESTS_SUPPORT_GUARDED_BUFFER_H_
