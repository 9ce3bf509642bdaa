// SPDX-License-Identifier: Apache-2.0
// Memory whose absence is an answer: null, where operator new would throw.
//
// From malloc and not from new (std::nothrow), because the compiler's runtime implements the latter as the throwing one
// inside a try block. On 32-bit Windows that catch is lost where the host brings another unwinder into the process, and
// the process ends where a null pointer was promised.
#ifndef QUORVEL_RUNTIME_PLAIN_MEMORY_H_
#define QUORVEL_RUNTIME_PLAIN_MEMORY_H_

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace quorvel {

struct FreeMemory {
  void operator()(void* memory) const { std::free(memory); }
};

// Owns what `plainMemory` or `clearedMemory` gave.
template <typename T>
using PlainMemory = std::unique_ptr<T, FreeMemory>;

// How far malloc aligns on every system.
inline constexpr std::size_t kPlainAlignment = 2 * sizeof(void*);

// Whether `n` elements are an amount that can be asked for: at least one, and no more bytes than an object may have.
template <typename T>
constexpr bool fitsMemory(std::uint64_t n) {
  static_assert(std::is_trivial_v<T>, "elements are neither constructed nor destroyed");
  static_assert(alignof(T) <= kPlainAlignment);
  return n != 0 && n <= static_cast<std::uint64_t>(std::numeric_limits<std::ptrdiff_t>::max()) / sizeof(T);
}

// `n` uninitialised elements (in 64 bits, so that no product of the caller's wraps before it is judged); null for none,
// for more than there can be, and where there is no memory.
template <typename T>
T* plainMemory(std::uint64_t n) {
  return fitsMemory<T>(n) ? static_cast<T*>(std::malloc(static_cast<std::size_t>(n) * sizeof(T))) : nullptr;
}

// The same, all bytes 0.
template <typename T>
T* clearedMemory(std::uint64_t n) {
  return fitsMemory<T>(n) ? static_cast<T*>(std::calloc(static_cast<std::size_t>(n), sizeof(T))) : nullptr;
}

// A single object in such memory, whose constructor may do as it likes; null where there is none.
template <typename T, typename... Arguments>
T* makeObject(Arguments&&... arguments) {
  static_assert(alignof(T) <= kPlainAlignment);
  void* const memory = std::malloc(sizeof(T));
  return memory != nullptr ? new (memory) T(std::forward<Arguments>(arguments)...) : nullptr;
}

// Destroys and releases what `makeObject` gave, null included.
template <typename T>
void destroyObject(T* object) {
  if (object == nullptr) return;
  object->~T();
  std::free(object);
}

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_PLAIN_MEMORY_H_
