// SPDX-License-Identifier: Apache-2.0
/// @file
/// Owned or borrowed arrays of plain elements, in one and in three dimensions.
///
/// Nothing here grows by a factor, carries contents over or clears new memory: every allocation is exact and
/// uninitialised, because the users fill what they allocate. Nothing here throws: where memory cannot be had, the
/// pointer is null while the counts already hold what was asked for. Nothing here tests an index.
///
/// The templates are exported for three element types: `std::uint32_t`, `KxB` and `std::int64_t`.
#ifndef QUORVEL_TYPED_BUFFERS_H_
#define QUORVEL_TYPED_BUFFERS_H_

#include <quorvel/types.h>

/// Allocates and releases arrays of T; has no state.
template <typename T>
class TMemAlloc {
 public:
  TMemAlloc();
  TMemAlloc& operator=(const TMemAlloc& other);

  /// An uninitialised array of `n` elements; null for n = 0, where memory cannot be had, and for a count whose size in
  /// bytes does not fit 32 bits.
  T* alloc(unsigned n);
  /// Releases `p` if it is not null.
  void free(T* p);
  /// Releases `p` if it is not null, then allocates anew: contents are not carried over.
  T* realloc(T* p, unsigned n);
};

/// A buffer that owns its memory, or borrows it from the caller ("external").
///
/// States: empty (`get()` null), owning, borrowing. `alloc`, `realloc(n)` and the sized constructors lead to owning;
/// `realloc(memory, n)` and `freeDisable` to borrowing; `free` and the destructor empty an owning buffer and leave a
/// borrowing one as it is; `clrExternalMemory` forgets whatever there is. From borrowing back to owning there is only
/// `clrExternalMemory`, then `alloc`.
template <typename T>
class TPtrAlloc {
 public:
  TPtrAlloc();
  /// Allocates `n` elements, none for 0.
  explicit TPtrAlloc(unsigned n);
  explicit TPtrAlloc(int n);
  /// Initialises nothing at all: for an object laid over memory that already holds one.
  explicit TPtrAlloc(float);
  TPtrAlloc(const TPtrAlloc&) = delete;
  /// A shallow copy of all fields, flags included: both objects then name the same memory, and only one may own it.
  TPtrAlloc& operator=(const TPtrAlloc&) = default;
  ~TPtrAlloc();

  /// Releases owned memory and empties the buffer; a borrowing buffer stays as it is.
  void free();
  /// A fresh buffer of `n` elements. An earlier owned one is not released: use `free` before, or `realloc`. n = 0 sets
  /// the counts, returns null and leaves the pointer. A borrowing buffer returns its memory and changes nothing.
  T* alloc(unsigned n);
  /// Within the capacity only the count changes and the contents stay. Otherwise the old memory is released, even
  /// borrowed memory, which must then have come from this allocator; a fresh buffer follows, except that n = 0 and a
  /// borrowing buffer return null.
  T* realloc(unsigned n);
  /// Adopts `n` elements of the caller's memory, after releasing an owned buffer; returns `memory`.
  T* realloc(void* memory, unsigned n);

  /// From now on this object will not release its memory.
  void freeDisable();
  /// Forgets the memory without releasing it.
  void clrExternalMemory();
  /// The same, but only for a borrowing buffer.
  void clrExternalMemory2();
  /// Sets the pointer to null and keeps the counts.
  void clearPTR();

  T* get();
  T* get(unsigned i);
  T getO(unsigned i);
  /// The index of the element at `p`.
  unsigned calcIndex(T* p);
  unsigned getIndex(T* p);
  /// The first address at or after the buffer's start that is a multiple of 4096.
  T* getAlign4Kb();

  unsigned total();      ///< elements in use
  unsigned totalMax();   ///< capacity in elements
  unsigned totalb();     ///< bytes in use
  unsigned totalbMax();  ///< capacity in bytes
  unsigned sizeEl();     ///< bytes in an element
  /// Clears the elements in use, if there is memory.
  void zero();

  void setCopyable();
  void clrCopyable();
  int isCopyable();
  int isExternal();
  void setLockMemory();
  void lock();    ///< does nothing
  void unlock();  ///< does nothing

 protected:
  T* ptr;
  std::uint32_t n;
  std::uint32_t nMax;
  std::uint8_t external;
  std::uint8_t lockMemory;
  std::uint8_t spare;
  std::uint8_t copyable;  // bit 0
};

/// The same buffer seen as a block of nx x ny x nz elements, x varying fastest, with a cursor for appending.
template <typename T>
class TPtrAllocXYZ : public TPtrAlloc<T> {
 public:
  TPtrAllocXYZ();
  TPtrAllocXYZ(int nx, int ny, int nz);
  TPtrAllocXYZ& operator=(const TPtrAllocXYZ&) = default;

  using TPtrAlloc<T>::alloc;
  using TPtrAlloc<T>::realloc;
  /// Sets the dimensions, then as `alloc(nx * ny * nz)`. A product that does not fit 32 bits is a count that cannot be
  /// had, 0xFFFFFFFF; so it is for the constructor and for `realloc` as well.
  T* alloc(unsigned nx, unsigned ny, unsigned nz);
  /// Sets the dimensions, then as `realloc(nx * ny * nz)`.
  T* realloc(unsigned nx, unsigned ny, unsigned nz);
  /// Sets the dimensions, then as `realloc(memory, nx * ny * nz)`.
  T* realloc(void* memory, unsigned nx, unsigned ny, unsigned nz);

  /// Gives the block another shape, if it fits the capacity: 1, and the count of elements stays; else 0 and nothing
  /// changes.
  int setDimXY(unsigned nx, unsigned ny, unsigned nz);
  void getDimXY(unsigned* nx, unsigned* ny, unsigned* nz);
  unsigned getNX();
  unsigned getNY();
  unsigned getNZ();  ///< returns ny, as callers have always had it; `getDimXY` tells the third dimension
  unsigned getNXYZ();
  T* getXYZ(unsigned x, unsigned y, unsigned z);
  unsigned sizebX();  ///< bytes in a row of nx elements

  /// Drop one plane across the named axis: the dimension and the count of elements shrink, data do not move.
  void decNX();
  void decNY();
  void decNZ();

  void clr();   ///< sets the elements in use to zero bytes; there must be memory unless the count is 0
  void clr1();  ///< sets the elements in use to bytes of 0xFF; there must be memory unless the count is 0

  /// Stores `v` at the cursor and moves it on; returns where, or null when the block is full.
  T* insert(T& v);
  /// Stores `v` at index `i`; returns where, or null when `i` is not in use. The cursor stays.
  T* insert(T& v, unsigned i);
  /// Moves the cursor past one element without storing, unless the block is full.
  void insert();
  unsigned number();  ///< the cursor: elements appended so far
  void reset();       ///< puts the cursor back to the start

 protected:
  std::uint32_t nx;
  std::uint32_t ny;
  std::uint32_t nz;
  std::uint32_t count;
};

/// A polymorphic base without data. The order of its virtual members is part of the interface.
struct QUORVEL_API SQBaseObj {
  virtual ~SQBaseObj();
  virtual void copyFunc();  ///< does nothing
  /// Runs the destructor without releasing the object.
  virtual void callDestructor();
};

#if !defined(QUORVEL_TYPED_BUFFERS_DEFINED_HERE)
extern template class QUORVEL_API TMemAlloc<std::uint32_t>;
extern template class QUORVEL_API TMemAlloc<KxB>;
extern template class QUORVEL_API TMemAlloc<std::int64_t>;
extern template class QUORVEL_API TPtrAlloc<std::uint32_t>;
extern template class QUORVEL_API TPtrAlloc<KxB>;
extern template class QUORVEL_API TPtrAlloc<std::int64_t>;
extern template class QUORVEL_API TPtrAllocXYZ<std::uint32_t>;
extern template class QUORVEL_API TPtrAllocXYZ<KxB>;
extern template class QUORVEL_API TPtrAllocXYZ<std::int64_t>;
#endif

#endif  // QUORVEL_TYPED_BUFFERS_H_
