// SPDX-License-Identifier: Apache-2.0
#include <array>
#include <cstring>
#include <new>
#include <tuple>
#include <vector>

#include <gtest/gtest.h>
#include <quorvel/typed_buffers.h>

namespace {

template <typename T>
class TypedBuffer : public testing::Test {};

using ElementTypes = testing::Types<std::uint32_t, KxB, std::int64_t>;
TYPED_TEST_SUITE(TypedBuffer, ElementTypes);

// Elements in use, capacity, whether the memory is borrowed, and where it is.
template <typename T>
std::tuple<unsigned, unsigned, int, T*> stateOf(TPtrAlloc<T>& b) {
  EXPECT_EQ(b.totalb(), b.total() * sizeof(T));
  EXPECT_EQ(b.totalbMax(), b.totalMax() * sizeof(T));
  return {b.total(), b.totalMax(), b.isExternal(), b.get()};
}

template <typename T>
std::tuple<unsigned, unsigned, int, T*> state(unsigned total, unsigned capacity, int external, T* memory) {
  return {total, capacity, external, memory};
}

TYPED_TEST(TypedBuffer, ReallocKeepsMemoryInsideTheCapacityOnly) {
  using T = TypeParam;
  T* const null = nullptr;
  TPtrAlloc<T> b, zero(0);
  EXPECT_EQ(stateOf(b), state(0, 0, 0, null));
  EXPECT_EQ(stateOf(zero), state(0, 0, 0, null));
  T* const first = b.realloc(100);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(b.calcIndex(b.get(7)) + b.getIndex(b.get() + 3), 10u);
  std::memset(first, 0x5A, b.totalb());
  b.realloc(50);
  EXPECT_EQ(stateOf(b), state(50, 100, 0, first));
  b.realloc(100);
  EXPECT_EQ(stateOf(b), state(100, 100, 0, first));
  const T last = b.getO(99);
  EXPECT_EQ(reinterpret_cast<const unsigned char*>(&last)[0], 0x5A) << "regrown inside the capacity: contents kept";
  EXPECT_NE(b.realloc(101), nullptr);
  EXPECT_EQ(b.realloc(0), nullptr);
  EXPECT_EQ(stateOf(b), state(101, 101, 0, null)) << "counts stay when nothing is allocated";
  EXPECT_NE(b.realloc(7), nullptr) << "inside the old capacity, but there is no memory";
  EXPECT_EQ(b.totalMax(), 7u);
}

TYPED_TEST(TypedBuffer, BorrowedMemoryIsNeitherReplacedNorReleased) {
  using T = TypeParam;
  std::vector<T> callers(10);
  {
    TPtrAlloc<T> b(5);
    b.realloc(callers.data(), 10);
    EXPECT_EQ(b.alloc(20), callers.data());
    b.free();
    EXPECT_EQ(stateOf(b), state(10, 10, 1, callers.data()));
  }
  callers[9] = T{};  // still the caller's: the sanitizers see a release

  TPtrAlloc<T> b(5);
  T* const takenOver = b.get();
  b.freeDisable();
  b.free();
  EXPECT_EQ(b.realloc(5), takenOver);
  b.clrExternalMemory2();
  EXPECT_EQ(stateOf(b), state(0, 0, 0, static_cast<T*>(nullptr)));
  TMemAlloc<T>().free(takenOver);
  T* const own = b.alloc(3);
  b.clrExternalMemory2();
  EXPECT_EQ(stateOf(b), state(3, 3, 0, own)) << "only a borrowing buffer forgets";

  TPtrAlloc<T> released;
  released.realloc(TMemAlloc<T>().alloc(4), 4);
  EXPECT_EQ(released.realloc(5), nullptr);  // or the leak check reports it
  EXPECT_EQ(stateOf(released), state(4, 4, 1, static_cast<T*>(nullptr)));
}

TYPED_TEST(TypedBuffer, AllocationFailureLeavesNullAndTheCounts) {
  EXPECT_EQ(TMemAlloc<TypeParam>().alloc(0), nullptr);
  const unsigned tooMany = 0xFFFFFFFFu / sizeof(TypeParam) + 1;
  EXPECT_EQ(TMemAlloc<TypeParam>().alloc(tooMany), nullptr);
  if (sizeof(void*) == 4) {  // where half of all addresses are more than an object may hold
    EXPECT_EQ(TMemAlloc<TypeParam>().alloc(0x80000000u / sizeof(TypeParam)), nullptr);
  }
  TPtrAlloc<TypeParam> b;
  EXPECT_EQ(b.alloc(tooMany), nullptr);
  EXPECT_EQ(b.total(), tooMany);
  b.zero();  // nothing there: nothing happens

  TPtrAllocXYZ<TypeParam> block(2, 2, 2);
  EXPECT_EQ(block.realloc(65537, 65536, 1), nullptr) << "not the 65536 elements that 32 bits leave of the product";
  EXPECT_EQ(block.alloc(65536, 65536, 2), nullptr) << "nor the 0";
  EXPECT_EQ(block.getNX(), 65536u);
}

TYPED_TEST(TypedBuffer, InertConstructorAndShallowAssignment) {
  TPtrAlloc<TypeParam> owner(6);
  owner.setCopyable();
  alignas(TPtrAlloc<TypeParam>) unsigned char memory[sizeof(TPtrAlloc<TypeParam>)] = {};
  auto* view = new (memory) TPtrAlloc<TypeParam>(1.0f);
  *view = owner;
  view->freeDisable();
  EXPECT_TRUE(view->isCopyable() && !owner.isExternal());
  view->clrCopyable();
  view = new (memory) TPtrAlloc<TypeParam>(1.0f);
  EXPECT_EQ(stateOf(*view), state(6, 6, 1, owner.get())) << "the object that lay there is still there";
  EXPECT_FALSE(view->isCopyable());
  view->clearPTR();
  EXPECT_EQ(stateOf(*view), state(6, 6, 1, static_cast<TypeParam*>(nullptr)));
}

TYPED_TEST(TypedBuffer, PageAlignedStart) {
  TPtrAlloc<TypeParam> b(3 * 4096), onPage;
  const auto beyond = reinterpret_cast<std::uintptr_t>(b.getAlign4Kb()) - reinterpret_cast<std::uintptr_t>(b.get());
  EXPECT_EQ(reinterpret_cast<std::uintptr_t>(b.getAlign4Kb()) % 4096, 0u);
  EXPECT_LT(beyond, 4096u);
  onPage.realloc(b.getAlign4Kb(), 1);
  EXPECT_EQ(onPage.getAlign4Kb(), b.getAlign4Kb());
}

TYPED_TEST(TypedBuffer, BlockAddressesAndDropsPlanes) {
  TPtrAllocXYZ<TypeParam> b(4, 3, 2);
  EXPECT_EQ(b.total(), 24u);
  EXPECT_EQ(b.getNX(), 4u);
  EXPECT_EQ(b.getNZ(), 3u) << "ny, as ever";
  EXPECT_EQ(b.calcIndex(b.getXYZ(1, 2, 1)), 21u);
  EXPECT_EQ(b.sizebX(), 4 * sizeof(TypeParam));
  b.decNY();
  EXPECT_EQ(b.total(), 16u);
  b.decNX();
  EXPECT_EQ(b.total(), 12u);
  b.decNZ();
  EXPECT_EQ(b.total(), 6u);
  unsigned x = 0, y = 0, z = 0;
  b.getDimXY(&x, &y, &z);
  EXPECT_EQ((std::array{x, y, z, b.getNY()}), (std::array{3u, 2u, 1u, 2u}));

  TPtrAllocXYZ<TypeParam> hundred(100, 1, 1);
  EXPECT_EQ(hundred.setDimXY(5, 5, 5), 0);
  EXPECT_EQ(hundred.setDimXY(0x10000, 0x10000, 1), 0) << "a product that 32 bits would lose";
  EXPECT_EQ(hundred.getNX(), 100u);
  EXPECT_EQ(hundred.setDimXY(5, 5, 3), 1);
  EXPECT_EQ(hundred.getNXYZ(), 75u);
  EXPECT_EQ(hundred.total(), 100u);
  EXPECT_NE(hundred.realloc(6, 5, 4), nullptr);
  EXPECT_EQ(hundred.totalMax(), 120u);
}

TYPED_TEST(TypedBuffer, CursorAppendsUntilTheBlockIsFull) {
  TPtrAllocXYZ<TypeParam> b(3, 1, 1);
  b.clr1();
  TypeParam v{};
  EXPECT_EQ(b.insert(v), b.get(0));
  b.insert();
  EXPECT_EQ(b.insert(v), b.get(2));
  EXPECT_EQ(b.insert(v), nullptr);
  b.insert();
  EXPECT_EQ(b.insert(v, 3), nullptr);
  const auto bytesOf = [&](unsigned i) { return reinterpret_cast<unsigned char*>(b.get(i))[0]; };
  EXPECT_EQ(bytesOf(0), 0x00);
  EXPECT_EQ(bytesOf(1), 0xFF) << "reserved, not stored";
  EXPECT_EQ(b.insert(v, 1), b.get(1));
  EXPECT_EQ(bytesOf(1), 0x00);
  EXPECT_EQ(b.number(), 3u);
  b.reset();
  EXPECT_EQ(b.number(), 0u);
}

TEST(PolymorphicBase, DestructorRunsWithoutRelease) {
  struct Counting : SQBaseObj {
    explicit Counting(int* n) : destroyed(n) {}
    ~Counting() override { ++*destroyed; }
    int* destroyed;
  };
  int destroyed = 0;
  alignas(Counting) unsigned char memory[sizeof(Counting)];
  SQBaseObj* object = new (memory) Counting(&destroyed);
  object->copyFunc();
  object->callDestructor();
  EXPECT_EQ(destroyed, 1);
}

}  // namespace
