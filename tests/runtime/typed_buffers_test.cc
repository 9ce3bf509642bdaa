// SPDX-License-Identifier: Apache-2.0
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include <gtest/gtest.h>
#include <quorvel/typed_buffers.h>

namespace {

template <typename T>
class TypedBuffer : public testing::Test {};

using ElementTypes = testing::Types<std::uint32_t, KxB, std::int64_t>;
TYPED_TEST_SUITE(TypedBuffer, ElementTypes);

TYPED_TEST(TypedBuffer, StartsEmptyAndMeasuresInElementsAndBytes) {
  TPtrAlloc<TypeParam> none, zero(0), ten(10);
  EXPECT_EQ(none.get(), nullptr);
  EXPECT_EQ(zero.get(), nullptr);
  EXPECT_EQ(zero.total(), 0u);
  EXPECT_EQ(ten.total(), 10u);
  EXPECT_EQ(ten.totalMax(), 10u);
  EXPECT_EQ(ten.totalb(), 10 * sizeof(TypeParam));
  EXPECT_EQ(ten.totalbMax(), 10 * sizeof(TypeParam));
  EXPECT_EQ(ten.sizeEl(), sizeof(TypeParam));
  EXPECT_EQ(ten.calcIndex(ten.get(7)), 7u);
  EXPECT_EQ(ten.getIndex(ten.get() + 3), 3u);
}

TYPED_TEST(TypedBuffer, ReallocKeepsMemoryInsideTheCapacityOnly) {
  TPtrAlloc<TypeParam> b;
  TypeParam* first = b.realloc(100);
  ASSERT_NE(first, nullptr);
  std::memset(first, 0x5A, b.totalb());
  EXPECT_EQ(b.realloc(50), first);
  EXPECT_EQ(b.total(), 50u);
  EXPECT_EQ(b.totalMax(), 100u);
  EXPECT_EQ(b.realloc(100), first);
  const TypeParam last = b.getO(99);
  EXPECT_EQ(reinterpret_cast<const unsigned char*>(&last)[0], 0x5A) << "regrown inside the capacity: contents kept";
  EXPECT_NE(b.realloc(101), nullptr);
  EXPECT_EQ(b.totalMax(), 101u);
  EXPECT_EQ(b.realloc(0), nullptr);
  EXPECT_EQ(b.get(), nullptr);
  EXPECT_EQ(b.total(), 101u) << "counts stay when nothing is allocated";
  EXPECT_NE(b.realloc(7), nullptr) << "inside the old capacity, but there is no memory";
  EXPECT_EQ(b.totalMax(), 7u);
}

TYPED_TEST(TypedBuffer, BorrowedMemoryIsNeitherReplacedNorReleased) {
  std::vector<TypeParam> callers(10);
  {
    TPtrAlloc<TypeParam> b(5);
    EXPECT_EQ(b.realloc(callers.data(), 10), callers.data());
    EXPECT_TRUE(b.isExternal());
    EXPECT_EQ(b.alloc(20), callers.data());
    EXPECT_EQ(b.total(), 10u);
    b.free();
    EXPECT_EQ(b.get(), callers.data());
  }
  callers[9] = TypeParam{};  // still the caller's: the sanitizers see a release

  TPtrAlloc<TypeParam> b(5);
  std::unique_ptr<TypeParam[]> takenOver(b.get());
  b.freeDisable();
  b.free();
  EXPECT_EQ(b.get(), takenOver.get());
  EXPECT_EQ(b.realloc(5), takenOver.get());
  b.clrExternalMemory2();
  EXPECT_EQ(b.get(), nullptr);
  EXPECT_FALSE(b.isExternal());
  EXPECT_NE(b.alloc(3), nullptr) << "back to owning";
  TypeParam* own = b.get();
  b.clrExternalMemory2();
  EXPECT_EQ(b.get(), own) << "only a borrowing buffer forgets";
}

TYPED_TEST(TypedBuffer, ReallocReleasesEvenBorrowedMemoryAndThenHasNone) {
  TPtrAlloc<TypeParam> b;
  b.realloc(TMemAlloc<TypeParam>().alloc(4), 4);  // released below, or the leak check reports it
  EXPECT_EQ(b.realloc(5), nullptr);
  EXPECT_EQ(b.get(), nullptr);
  EXPECT_EQ(b.total(), 4u);
  EXPECT_TRUE(b.isExternal());
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
}

TYPED_TEST(TypedBuffer, InertConstructorAndShallowAssignment) {
  TPtrAlloc<TypeParam> owner(6);
  owner.setCopyable();
  owner.setLockMemory();
  alignas(TPtrAlloc<TypeParam>) unsigned char memory[sizeof(TPtrAlloc<TypeParam>)];
  std::memset(memory, 0, sizeof memory);
  auto* view = new (memory) TPtrAlloc<TypeParam>(1.0f);
  *view = owner;
  EXPECT_EQ(view->get(), owner.get());
  EXPECT_TRUE(view->isCopyable());
  view->freeDisable();
  EXPECT_FALSE(owner.isExternal());
  view->clrCopyable();
  EXPECT_FALSE(view->isCopyable());
  auto* again = new (memory) TPtrAlloc<TypeParam>(1.0f);
  EXPECT_EQ(again->get(), owner.get()) << "the object that lay there is still there";
  EXPECT_EQ(again->total(), 6u);
  view->clearPTR();
  EXPECT_EQ(view->get(), nullptr);
  EXPECT_EQ(view->total(), 6u);
}

TYPED_TEST(TypedBuffer, PageAlignedStart) {
  TPtrAlloc<TypeParam> b(3 * 4096);
  const auto start = reinterpret_cast<std::uintptr_t>(b.get());
  const auto aligned = reinterpret_cast<std::uintptr_t>(b.getAlign4Kb());
  EXPECT_EQ(aligned % 4096, 0u);
  EXPECT_GE(aligned, start);
  EXPECT_LT(aligned - start, 4096u);
  TPtrAlloc<TypeParam> onPage;
  onPage.realloc(b.getAlign4Kb(), 1);
  EXPECT_EQ(onPage.getAlign4Kb(), b.getAlign4Kb());
}

TYPED_TEST(TypedBuffer, BlockAddressesAndDropsPlanes) {
  TPtrAllocXYZ<TypeParam> b(4, 3, 2);
  EXPECT_EQ(b.getNXYZ(), 24u);
  EXPECT_EQ(b.total(), 24u);
  EXPECT_EQ(b.getNX(), 4u);
  EXPECT_EQ(b.getNZ(), 3u) << "ny, as ever";
  EXPECT_EQ(b.calcIndex(b.getXYZ(1, 2, 1)), 21u);
  EXPECT_EQ(b.sizebX(), 4 * sizeof(TypeParam));
  b.decNY();
  EXPECT_EQ(b.getNY(), 2u);
  EXPECT_EQ(b.total(), 16u);
  b.decNX();
  EXPECT_EQ(b.total(), 12u);
  b.decNZ();
  EXPECT_EQ(b.total(), 6u);
  unsigned x = 0, y = 0, z = 0;
  b.getDimXY(&x, &y, &z);
  EXPECT_EQ(x * 100 + y * 10 + z, 321u);

  TPtrAllocXYZ<TypeParam> hundred(100, 1, 1);
  EXPECT_EQ(hundred.setDimXY(5, 5, 5), 0);
  EXPECT_EQ(hundred.setDimXY(0x10000, 0x10000, 1), 0) << "a product that 32 bits would lose";
  EXPECT_EQ(hundred.getNX(), 100u);
  EXPECT_EQ(hundred.setDimXY(5, 5, 4), 1);
  EXPECT_EQ(hundred.getNXYZ(), 100u);
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
  EXPECT_EQ(b.number(), 3u);
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
