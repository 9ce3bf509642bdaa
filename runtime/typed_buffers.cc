// SPDX-License-Identifier: Apache-2.0
// Typed buffers: exact, uninitialised, never throwing. Every oddity of the states is described in the header.
#define QUORVEL_TYPED_BUFFERS_DEFINED_HERE
#include "quorvel/typed_buffers.h"

#include <cstddef>
#include <cstring>
#include <limits>

#include "runtime/plain_memory.h"

namespace {

// More elements, of any of the three types, than can be had.
constexpr unsigned kImpossible = std::numeric_limits<std::uint32_t>::max();

// A product that 32 bits lose would give a block whose elements lie outside its memory.
unsigned countOf(unsigned nx, unsigned ny, unsigned nz) {
  const std::uint64_t plane = std::uint64_t{nx} * ny;
  return nz == 0 || plane <= kImpossible / nz ? static_cast<unsigned>(plane * nz) : kImpossible;
}

}  // namespace

template <typename T>
TMemAlloc<T>::TMemAlloc() = default;

template <typename T>
TMemAlloc<T>& TMemAlloc<T>::operator=(const TMemAlloc&) {
  return *this;
}

template <typename T>
T* TMemAlloc<T>::alloc(unsigned n) {
  constexpr unsigned kMost = std::numeric_limits<std::uint32_t>::max() / sizeof(T);
  return n <= kMost ? quorvel::plainMemory<T>(n) : nullptr;
}

template <typename T>
void TMemAlloc<T>::free(T* p) {
  quorvel::FreeMemory()(p);
}

template <typename T>
T* TMemAlloc<T>::realloc(T* p, unsigned n) {
  free(p);
  return alloc(n);
}

template <typename T>
TPtrAlloc<T>::TPtrAlloc() : ptr(nullptr), n(0), nMax(0), external(0), lockMemory(0), spare(0), copyable(0) {}

template <typename T>
TPtrAlloc<T>::TPtrAlloc(unsigned count) : TPtrAlloc() {
  alloc(count);
}

template <typename T>
TPtrAlloc<T>::TPtrAlloc(int count) : TPtrAlloc(static_cast<unsigned>(count)) {}

template <typename T>
TPtrAlloc<T>::TPtrAlloc(float) {}

template <typename T>
TPtrAlloc<T>::~TPtrAlloc() {
  free();
}

template <typename T>
void TPtrAlloc<T>::free() {
  if (external) return;
  TMemAlloc<T>().free(ptr);
  clrExternalMemory();
}

template <typename T>
T* TPtrAlloc<T>::alloc(unsigned count) {
  if (external) return ptr;
  n = nMax = count;
  if (count == 0) return nullptr;
  ptr = TMemAlloc<T>().alloc(count);
  return ptr;
}

template <typename T>
T* TPtrAlloc<T>::realloc(unsigned count) {
  if (count != 0 && count <= nMax && ptr != nullptr) {
    n = count;
    return ptr;
  }
  TMemAlloc<T>().free(ptr);
  ptr = nullptr;
  return count == 0 ? nullptr : alloc(count);
}

template <typename T>
T* TPtrAlloc<T>::realloc(void* memory, unsigned count) {
  if (!external) TMemAlloc<T>().free(ptr);
  ptr = static_cast<T*>(memory);
  n = nMax = count;
  external = 1;
  return ptr;
}

template <typename T>
void TPtrAlloc<T>::freeDisable() {
  external = 1;
}

template <typename T>
void TPtrAlloc<T>::clrExternalMemory() {
  ptr = nullptr;
  n = nMax = 0;
  external = 0;
}

template <typename T>
void TPtrAlloc<T>::clrExternalMemory2() {
  if (external) clrExternalMemory();
}

template <typename T>
void TPtrAlloc<T>::clearPTR() {
  ptr = nullptr;
}

template <typename T>
T* TPtrAlloc<T>::get() {
  return ptr;
}

template <typename T>
T* TPtrAlloc<T>::get(unsigned i) {
  return ptr + i;
}

template <typename T>
T TPtrAlloc<T>::getO(unsigned i) {
  return ptr[i];
}

template <typename T>
unsigned TPtrAlloc<T>::calcIndex(T* p) {
  return static_cast<unsigned>(p - ptr);
}

template <typename T>
unsigned TPtrAlloc<T>::getIndex(T* p) {
  return calcIndex(p);
}

template <typename T>
T* TPtrAlloc<T>::getAlign4Kb() {
  constexpr std::uintptr_t kPage = 4096;
  return reinterpret_cast<T*>((reinterpret_cast<std::uintptr_t>(ptr) + kPage - 1) & ~(kPage - 1));
}

template <typename T>
unsigned TPtrAlloc<T>::total() {
  return n;
}

template <typename T>
unsigned TPtrAlloc<T>::totalMax() {
  return nMax;
}

template <typename T>
unsigned TPtrAlloc<T>::totalb() {
  return n * sizeEl();
}

template <typename T>
unsigned TPtrAlloc<T>::totalbMax() {
  return nMax * sizeEl();
}

template <typename T>
unsigned TPtrAlloc<T>::sizeEl() {
  return sizeof(T);
}

template <typename T>
void TPtrAlloc<T>::zero() {
  if (ptr != nullptr) std::memset(ptr, 0, sizeof(T) * n);
}

template <typename T>
void TPtrAlloc<T>::setCopyable() {
  copyable |= 1;
}

template <typename T>
void TPtrAlloc<T>::clrCopyable() {
  copyable &= 0xFE;
}

template <typename T>
int TPtrAlloc<T>::isCopyable() {
  return copyable & 1;
}

template <typename T>
int TPtrAlloc<T>::isExternal() {
  return external;
}

template <typename T>
void TPtrAlloc<T>::setLockMemory() {
  lockMemory = 1;
}

template <typename T>
void TPtrAlloc<T>::lock() {}

template <typename T>
void TPtrAlloc<T>::unlock() {}

template <typename T>
TPtrAllocXYZ<T>::TPtrAllocXYZ() : nx(0), ny(0), nz(0), count(0) {}

template <typename T>
TPtrAllocXYZ<T>::TPtrAllocXYZ(int x, int y, int z) : TPtrAllocXYZ() {
  alloc(static_cast<unsigned>(x), static_cast<unsigned>(y), static_cast<unsigned>(z));
}

template <typename T>
T* TPtrAllocXYZ<T>::alloc(unsigned x, unsigned y, unsigned z) {
  nx = x, ny = y, nz = z;
  return alloc(countOf(x, y, z));
}

template <typename T>
T* TPtrAllocXYZ<T>::realloc(unsigned x, unsigned y, unsigned z) {
  nx = x, ny = y, nz = z;
  return realloc(countOf(x, y, z));
}

template <typename T>
T* TPtrAllocXYZ<T>::realloc(void* memory, unsigned x, unsigned y, unsigned z) {
  nx = x, ny = y, nz = z;
  return realloc(memory, getNXYZ());
}

template <typename T>
int TPtrAllocXYZ<T>::setDimXY(unsigned x, unsigned y, unsigned z) {
  // As a division, because the product of three dimensions can leave any integer behind.
  if (z != 0 && std::uint64_t{x} * y > this->nMax / z) return 0;
  nx = x, ny = y, nz = z;
  return 1;
}

template <typename T>
void TPtrAllocXYZ<T>::getDimXY(unsigned* x, unsigned* y, unsigned* z) {
  *x = nx, *y = ny, *z = nz;
}

template <typename T>
unsigned TPtrAllocXYZ<T>::getNX() {
  return nx;
}

template <typename T>
unsigned TPtrAllocXYZ<T>::getNY() {
  return ny;
}

template <typename T>
unsigned TPtrAllocXYZ<T>::getNZ() {
  return ny;
}

template <typename T>
unsigned TPtrAllocXYZ<T>::getNXYZ() {
  return nx * ny * nz;
}

template <typename T>
T* TPtrAllocXYZ<T>::getXYZ(unsigned x, unsigned y, unsigned z) {
  return this->ptr + (std::size_t{z} * ny + y) * nx + x;
}

template <typename T>
unsigned TPtrAllocXYZ<T>::sizebX() {
  return nx * this->sizeEl();
}

template <typename T>
void TPtrAllocXYZ<T>::decNX() {
  --nx;
  this->n -= ny * nz;
}

template <typename T>
void TPtrAllocXYZ<T>::decNY() {
  --ny;
  this->n -= nx * nz;
}

template <typename T>
void TPtrAllocXYZ<T>::decNZ() {
  --nz;
  this->n -= nx * ny;
}

template <typename T>
void TPtrAllocXYZ<T>::clr() {
  if (this->n != 0) std::memset(this->ptr, 0, sizeof(T) * this->n);
}

template <typename T>
void TPtrAllocXYZ<T>::clr1() {
  if (this->n != 0) std::memset(this->ptr, 0xFF, sizeof(T) * this->n);
}

template <typename T>
T* TPtrAllocXYZ<T>::insert(T& v) {
  return count < this->n ? insert(v, count++) : nullptr;
}

template <typename T>
T* TPtrAllocXYZ<T>::insert(T& v, unsigned i) {
  if (i >= this->n) return nullptr;
  this->ptr[i] = v;
  return this->ptr + i;
}

template <typename T>
void TPtrAllocXYZ<T>::insert() {
  if (count < this->n) ++count;
}

template <typename T>
unsigned TPtrAllocXYZ<T>::number() {
  return count;
}

template <typename T>
void TPtrAllocXYZ<T>::reset() {
  count = 0;
}

template class QUORVEL_API TMemAlloc<std::uint32_t>;
template class QUORVEL_API TMemAlloc<KxB>;
template class QUORVEL_API TMemAlloc<std::int64_t>;
template class QUORVEL_API TPtrAlloc<std::uint32_t>;
template class QUORVEL_API TPtrAlloc<KxB>;
template class QUORVEL_API TPtrAlloc<std::int64_t>;
template class QUORVEL_API TPtrAllocXYZ<std::uint32_t>;
template class QUORVEL_API TPtrAllocXYZ<KxB>;
template class QUORVEL_API TPtrAllocXYZ<std::int64_t>;

SQBaseObj::~SQBaseObj() = default;

void SQBaseObj::copyFunc() {}

void SQBaseObj::callDestructor() { this->~SQBaseObj(); }
