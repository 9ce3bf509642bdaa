// SPDX-License-Identifier: Apache-2.0
// The block encoders. One vector pass finds out which coefficients are not zero; the walk then goes from one of these
// to the next. Where the symbols go, into which order and by which look-up, is the sink's business.
#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "codec/huffman_encode.cc"
#include <hwy/foreach_target.h>
#include <hwy/highway.h>

#include "codec/huffman_tables.h"
#include "simd/lanes-inl.h"

HWY_BEFORE_NAMESPACE();
namespace quorvel {
namespace HWY_NAMESPACE {

// Coefficients other than the first: bit i is set where coefficient i is not 0. `refused`: one of them is -32768, which
// has no category.
HWY_INLINE std::uint64_t nonZeroBits(const std::int16_t* block, bool& refused) {
  const hn::CappedTag<std::int16_t, 64> d;
  const std::size_t lanes = hn::Lanes(d);
  const auto zero = hn::Zero(d);
  std::uint64_t bits = 0;
  auto lowest = zero;
  for (std::size_t i = 0; i < 64; i += lanes) {
    const auto v = hn::LoadU(d, block + i);
    lowest = hn::Min(lowest, v);
    std::uint8_t part[8] = {};
    hn::StoreMaskBits(d, hn::Ne(v, zero), part);
    std::uint64_t word;
    std::memcpy(&word, part, sizeof(word));
    bits |= word << i;
  }
  refused = false;
  if (HWY_UNLIKELY(!hn::AllFalse(d, hn::Eq(lowest, hn::Set(d, std::int16_t{-32768}))))) {
    for (unsigned i = 1; i < 64; ++i) refused = refused || block[i] == -32768;
  }
  return bits & ~std::uint64_t{1};
}

// What is known of a block before its walk; `refused` before anything has changed.
struct Seen {
  bool refused;
  int difference;
  std::uint64_t nonZero;  // without the first coefficient
};
HWY_INLINE Seen look(int component, const CHuffman_state& state, const std::int16_t* block) {
  if (static_cast<unsigned>(component) >= kComponents) return {true, 0, 0};
  Seen seen;
  seen.nonZero = nonZeroBits(block, seen.refused);
  seen.difference = block[0] - state.lastDC[component];
  seen.refused = seen.refused || seen.difference < -32767 || seen.difference > 32767;
  return seen;
}

// Calls visit(i) for each set bit, from the lowest on.
template <typename Visit>
HWY_INLINE void forBits(std::uint64_t bits, Visit&& visit) {
  for (; bits != 0; bits &= bits - 1) visit(std::countr_zero(bits));
}

template <typename Sink>
HWY_INLINE int walkPelto(int component, CHuffman_state* state, const std::int16_t* block, Sink sink) {
  const Seen seen = look(component, *state, block);
  if (seen.refused) return kOutOfRange;
  state->lastDC[component] = block[0];
  int runBegin = -state->pendingRun;
  const auto runTo = [&](int i) HWY_ATTR {
    for (; i - runBegin >= 16; runBegin += 16) sink.symbol(kFullRunSymbol);
    return static_cast<unsigned>(i - runBegin);
  };
  if (seen.difference != 0) {
    sink.value(static_cast<unsigned>(-runBegin), seen.difference);
    runBegin = 1;
  }
  forBits(seen.nonZero, [&](int i) HWY_ATTR {
    const unsigned run = runTo(i);
    sink.value(run, block[i]);
    runBegin = i + 1;
  });
  state->pendingRun = static_cast<int>(runTo(64));
  sink.end(*state);
  return 0;
}

template <typename Sink>
HWY_INLINE int walkBaseline(int component, CHuffman_state* state, const std::int16_t* block, Sink sink) {
  const Seen seen = look(component, *state, block);
  if (seen.refused) return kOutOfRange;
  state->lastDC[component] = block[0];
  sink.first(seen.difference);
  int runBegin = 1;
  forBits(seen.nonZero, [&](int i) HWY_ATTR {
    for (; HWY_UNLIKELY(i - runBegin >= 16); runBegin += 16) sink.symbol(kFullRunSymbol);
    sink.value(static_cast<unsigned>(i - runBegin), block[i]);
    runBegin = i + 1;
  });
  if (runBegin < 64) sink.symbol(kEndSymbol);
  sink.end(*state);
  return 0;
}

// A value's code and extra bits as one field, the way an order has them.
struct Field {
  std::uint64_t bits;
  unsigned length;
};
struct PeltoOrder {
  static constexpr unsigned kCodes = kInternalCodes;
  using Writer = WordWriter;
  static HWY_INLINE Field join(std::uint64_t code, unsigned length, Coded v) {
    return {code | std::uint64_t{v.extra} << length, length + v.size};
  }
};
struct JpegInWords : PeltoOrder {
  static HWY_INLINE Field join(std::uint64_t code, unsigned length, Coded v) {
    return PeltoOrder::join(code, length, {v.size, reverseBits(v.extra, v.size)});
  }
};
struct JpegInBytes {
  static constexpr unsigned kCodes = 0;
  using Writer = StuffedWriter;
  static HWY_INLINE Field join(std::uint64_t code, unsigned length, Coded v) {
    return {code << v.size | v.extra, length + v.size};
  }
};

template <typename Order>
class TableSink {
 public:
  TableSink(const CHuffman_state& state, const c_derived_tbl* dc, const c_derived_tbl* ac)
      : dc_(dc->entries), ac_(ac->entries), writer_(state) {}
  HWY_INLINE void first(int difference) { put(dc_, 0, codeValue(difference)); }
  HWY_INLINE void value(unsigned run, int v) { put(ac_, run << 4, codeValue(v)); }
  HWY_INLINE void symbol(unsigned s) { put(ac_, s, {0, 0}); }
  HWY_INLINE void end(CHuffman_state& state) const { writer_.end(state); }

 protected:
  HWY_INLINE void put(const std::uint32_t* entries, unsigned run, Coded v) {
    const unsigned s = run | v.size, length = entries[kLengths + s];
    const Field field = Order::join(codeIn(entries + Order::kCodes, s, length), length, v);
    writer_.put(field.bits, field.length);
  }

  const std::uint32_t *dc_, *ac_;
  typename Order::Writer writer_;
};

// Pairs from a look-up, whose values have kBits bits; others as without it.
template <unsigned kBits>
class CacheSink : public TableSink<JpegInBytes> {
 public:
  CacheSink(const CHuffman_state& state, const c_derived_tbl* dc, const c_derived_tbl* ac, const CTblElem* cache)
      : TableSink(state, dc, ac), cache_(cache) {}
  HWY_INLINE void value(unsigned run, int v) {
    constexpr int kHalf = 1 << (kBits - 1);
    if (HWY_UNLIKELY(v < -kHalf || v >= kHalf)) return TableSink::value(run, v);
    const CTblElem& pair = cache_[run << kBits | (static_cast<unsigned>(v) & lowBits(kBits))];
    writer_.put(pair.bits & lowBits(pair.length), pair.length);
  }

 private:
  const CTblElem* cache_;
};

struct CountingSink {
  std::uint32_t *dc, *ac;
  HWY_INLINE void first(int difference) { ++dc[codeValue(difference).size]; }
  HWY_INLINE void value(unsigned run, int v) { ++ac[run << 4 | codeValue(v).size]; }
  HWY_INLINE void symbol(unsigned s) { ++ac[s]; }
  void end(CHuffman_state&) const {}
};

using Block = const std::int16_t*;
using Table = const c_derived_tbl*;

int encodePelto(int component, CHuffman_state* state, Block block, Table table) {
  return walkPelto(component, state, block, TableSink<PeltoOrder>(*state, table, table));
}
int encodeWords(int component, CHuffman_state* state, Block block, Table dc, Table ac) {
  return walkBaseline(component, state, block, TableSink<JpegInWords>(*state, dc, ac));
}
int encodeBytes(int component, CHuffman_state* state, Block block, Table dc, Table ac) {
  return walkBaseline(component, state, block, TableSink<JpegInBytes>(*state, dc, ac));
}
int encodePairs(int component, CHuffman_state* state, Block block, Table dc, Table ac, const CTblElem* cache) {
  return walkBaseline(component, state, block, CacheSink<kBigCacheBits>(*state, dc, ac, cache));
}
int encodePairs12(int component, CHuffman_state* state, Block block, Table dc, Table ac, const CTblElem* cache) {
  return walkBaseline(component, state, block, CacheSink<kBigCacheBits12>(*state, dc, ac, cache));
}
int countPelto(int component, CHuffman_state* state, Block block, std::uint32_t* counts) {
  return walkPelto(component, state, block, CountingSink{counts, counts});
}
int countBaseline(int component, CHuffman_state* state, Block block, std::uint32_t* dc, std::uint32_t* ac) {
  return walkBaseline(component, state, block, CountingSink{dc, ac});
}

}  // namespace HWY_NAMESPACE
}  // namespace quorvel
HWY_AFTER_NAMESPACE();

#if HWY_ONCE

namespace quorvel {
namespace {

HWY_EXPORT(countBaseline);
HWY_EXPORT(countPelto);
HWY_EXPORT(encodeBytes);
HWY_EXPORT(encodePairs);
HWY_EXPORT(encodePairs12);
HWY_EXPORT(encodePelto);
HWY_EXPORT(encodeWords);

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int encodeHuffmanPeltoBlockFast(int component, CHuffman_state* state, const std::int16_t* block,
                                const c_derived_tbl* table) {
  return HWY_DYNAMIC_DISPATCH(encodePelto)(component, state, block, table);
}

int encodeHuffmanPeltoBlock(int component, CHuffman_state* state, const std::int16_t* block,
                            const c_derived_tbl* table) {
  return encodeHuffmanPeltoBlockFast(component, state, block, table);
}

int encodeHuffmanBlock(int component, CHuffman_state* state, const std::int16_t* block, const c_derived_tbl* dc,
                       const c_derived_tbl* ac) {
  return HWY_DYNAMIC_DISPATCH(encodeWords)(component, state, block, dc, ac);
}

int encodeHuffmanBlock8(int component, CHuffman_state* state, const std::int16_t* block, const c_derived_tbl* dc,
                        const c_derived_tbl* ac) {
  return HWY_DYNAMIC_DISPATCH(encodeBytes)(component, state, block, dc, ac);
}

int encodeHuffmanBlock8BigCache(int component, CHuffman_state* state, const std::int16_t* block,
                                const c_derived_tbl* dc, const c_derived_tbl* ac) {
  if (ac->entries[kBigCacheMark] != kPrepared) return encodeHuffmanBlock8(component, state, block, dc, ac);
  const auto* cache = reinterpret_cast<const CTblElem*>(ac->entries + kBigCache);
  return HWY_DYNAMIC_DISPATCH(encodePairs)(component, state, block, dc, ac, cache);
}

int encodeHuffmanBlock8BigCache12(int component, CHuffman_state* state, const std::int16_t* block,
                                  const c_derived_tbl* dc, const c_derived_tbl* ac) {
  KeptCache kept;
  std::memcpy(&kept, ac->entries + kBigCacheKept, sizeof(kept));
  if (kept.owner != ac) return encodeHuffmanBlock8(component, state, block, dc, ac);
  return HWY_DYNAMIC_DISPATCH(encodePairs12)(component, state, block, dc, ac, kept.cache);
}

int flushHuffmanBlock8(CHuffman_state* state) {
  StuffedWriter writer(*state);
  writer.finish();
  writer.end(*state);
  state->pendingRun = 0;
  return 0;
}

int countHuffmanPeltoSymbols(int component, CHuffman_state* state, const std::int16_t* block,
                             std::uint32_t counts[256]) {
  return HWY_DYNAMIC_DISPATCH(countPelto)(component, state, block, counts);
}

int countHuffmanSymbols(int component, CHuffman_state* state, const std::int16_t* block, std::uint32_t dcCounts[256],
                        std::uint32_t acCounts[256]) {
  return HWY_DYNAMIC_DISPATCH(countBaseline)(component, state, block, dcCounts, acCounts);
}

#endif
