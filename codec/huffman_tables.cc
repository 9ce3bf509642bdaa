// SPDX-License-Identifier: Apache-2.0
// Tables from definitions, definitions from frequencies, and the look-up of whole (run, value) pairs.
#include "codec/huffman_tables.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <mutex>
#include <utility>

#include "runtime/plain_memory.h"

namespace quorvel {
namespace {

constexpr unsigned kLongestCode = 16, kSymbols = 256;

struct Code {
  std::uint32_t code;  // first bit highest
  unsigned length;
};

// The codes of a definition, in the order of their symbols.
class Codes {
 public:
  // False where they are no prefix code.
  bool assign(const unsigned char counts[kLongestCode]) {
    std::uint32_t next = 0;
    for (unsigned length = 1; length <= kLongestCode; ++length, next <<= 1) {
      if (size_ + counts[length - 1] > kSymbols) return false;
      for (unsigned i = 0; i < counts[length - 1]; ++i) codes_[size_++] = {next++, length};
      if (next > 1u << length) return false;
    }
    return true;
  }
  std::size_t size() const { return size_; }
  const Code& operator[](std::size_t i) const { return codes_[i]; }

 private:
  std::array<Code, kSymbols> codes_;
  std::size_t size_ = 0;
};

// Place of an entry: `low` bits of the table's index are the code, first bit lowest, and what follows is any.
template <typename Fill>
void fillLookUp(std::uint32_t* lookUp, const Code& code, Fill&& fill) {
  const std::uint32_t first = reverseBits(code.code, code.length);
  for (std::uint32_t after = 0; after < 1u << (kLookUpBits - code.length); ++after) {
    lookUp[first | after << code.length] = fill(after);
  }
}

// What a code is, seen by the look-up: everything where its extra bits lie within the index, or else the symbol alone.
std::uint32_t lookUpEntry(unsigned symbol, unsigned length, std::uint32_t after, bool jpeg) {
  const unsigned run = symbol >> 4, size = symbol & 15;
  if (symbol == kFullRunSymbol) return lookedUp(length, 15, 0);
  if (jpeg && symbol == kEndSymbol) return lookedUp(length, kEndOfBlock, 0);
  // The end of an own stream is met once; in JPEG no other symbol is without a value.
  if (length + size > kLookUpBits || symbol == kEndSymbol || (jpeg && size == 0)) return symbolOnly(length, symbol);
  if (size == 0) return lookedUp(length, 0, 0);
  std::uint32_t extra = after & ((1u << size) - 1);
  if (jpeg) extra = reverseBits(extra, size);
  return lookedUp(length + size, run, valueOf(extra, size));
}

// What the library keeps for the tables that are prepared for pairs of 15 bits.
class KeptCaches {
 public:
  // Null where there is no memory.
  CTblElem* make(const c_derived_tbl* table) {
    const std::lock_guard lock(mutex_);
    Kept*& place = placeOf(table);
    if (place == nullptr) {
      place = plainMemory<Kept>(1);
      if (place == nullptr) return nullptr;
      place->owner = table;
      place->next = nullptr;
    }
    return place->entries;
  }
  void drop(const c_derived_tbl* table) {
    const std::lock_guard lock(mutex_);
    Kept*& place = placeOf(table);
    if (place != nullptr) FreeMemory()(std::exchange(place, place->next));
  }

 private:
  struct Kept {
    const c_derived_tbl* owner;
    Kept* next;
    CTblElem entries[kBigCacheEntries12];
  };
  // The link to what is kept for the table, or the one at the end.
  Kept*& placeOf(const c_derived_tbl* table) {
    Kept** place = &first_;
    while (*place != nullptr && (*place)->owner != table) place = &(*place)->next;
    return *place;
  }

  std::mutex mutex_;
  Kept* first_ = nullptr;
};

KeptCaches& keptCaches() {
  // Never destroyed: hosts may release tables of their own as late as they like.
  static KeptCaches& caches = *new KeptCaches;
  return caches;
}

}  // namespace
}  // namespace quorvel

using namespace quorvel;

int makeDerivedTable(const unsigned char counts[16], const unsigned char* symbols, c_derived_tbl* table) {
  Codes codes;
  if (!codes.assign(counts)) return kOutOfRange;
  std::array<bool, kSymbols> seen{};
  for (std::size_t i = 0; i < codes.size(); ++i) {
    if (std::exchange(seen[symbols[i]], true)) return kOutOfRange;
  }
  releaseBigCache(table);
  std::fill_n(table->entries, kBigCache, 0u);
  std::fill_n(table->entries + kInternalCodes, kSymbols, 0u);
  for (std::size_t i = 0; i < codes.size(); ++i) {
    table->entries[symbols[i]] = codes[i].code;
    table->entries[kLengths + symbols[i]] = codes[i].length;
    table->entries[kInternalCodes + symbols[i]] = reverseBits(codes[i].code, codes[i].length);
  }
  return 0;
}

int makeDecodeTable(const unsigned char counts[16], const unsigned char* symbols, c_decode_tbl* table) {
  Codes codes;
  if (!codes.assign(counts)) return kOutOfRange;
  std::fill_n(table->pelto, std::size(table->pelto), symbolOnly(0, 0));
  std::fill_n(table->jpeg, std::size(table->jpeg), symbolOnly(0, 0));
  std::fill_n(table->maxCode, std::size(table->maxCode), -1);
  std::fill_n(table->valueOffset, std::size(table->valueOffset), 0);
  std::fill_n(std::copy_n(symbols, codes.size(), table->symbols), kSymbols - codes.size(), std::uint8_t{0});
  for (std::size_t i = 0; i < codes.size(); ++i) {
    const auto [code, length] = codes[i];
    table->maxCode[length] = static_cast<std::int32_t>(code);
    table->valueOffset[length] = static_cast<std::int32_t>(i) - static_cast<std::int32_t>(code);
    if (length > kLookUpBits) continue;
    for (const bool jpeg : {false, true}) {
      fillLookUp(jpeg ? table->jpeg : table->pelto, codes[i],
                 [&, length = length](std::uint32_t after) { return lookUpEntry(symbols[i], length, after, jpeg); });
    }
  }
  return 0;
}

// Package-merge: symbols and packages of two are merged by weight, once for each bit of the longest code; the packages
// that the last merge needs tell how many of the lightest symbols take part in each.
int makeOptimalTable(const std::uint32_t frequencies[256], unsigned char counts[16], unsigned char* symbols) {
  std::array<unsigned, kSymbols> order;
  unsigned used = 0;
  for (unsigned s = 0; s < kSymbols; ++s) {
    if (frequencies[s] != 0) order[used++] = s;
  }
  std::sort(order.begin(), order.begin() + used, [&](unsigned a, unsigned b) {
    return frequencies[a] != frequencies[b] ? frequencies[a] < frequencies[b] : a < b;
  });
  // One symbol more, lighter than all others, takes the code of all ones and is then left out.
  const unsigned leaves = used + 1;
  const auto weightOf = [&](unsigned leaf) { return leaf == 0 ? std::uint64_t{0} : frequencies[order[leaf - 1]]; };
  constexpr unsigned kItems = 2 * kSymbols + 2;
  struct Level {
    std::array<bool, kItems> isSymbol;
    unsigned size = 0;
  };
  std::array<Level, kLongestCode> merged;
  std::array<std::uint64_t, kItems> below, weights;
  unsigned packages = 0;
  for (auto& [isSymbol, size] : merged) {
    for (unsigned leaf = 0, package = 0; leaf + package < leaves + packages; ++size) {
      const std::uint64_t pair = package < packages ? below[2 * package] + below[2 * package + 1] : 0;
      isSymbol[size] = package == packages || (leaf < leaves && weightOf(leaf) <= pair);
      weights[size] = isSymbol[size] ? weightOf(leaf) : pair;
      ++(isSymbol[size] ? leaf : package);
    }
    packages = size / 2;
    std::copy_n(weights.begin(), size, below.begin());
  }
  std::array<unsigned, kSymbols + 1> lengths{};
  unsigned needed = 2 * (leaves - 1);
  for (unsigned level = kLongestCode; level-- > 0;) {
    const auto first = merged[level].isSymbol.begin();
    const auto taken = static_cast<unsigned>(std::count(first, first + needed, true));
    for (unsigned leaf = 0; leaf < taken; ++leaf) ++lengths[leaf];
    needed = 2 * (needed - taken);
  }
  std::fill_n(counts, kLongestCode, static_cast<unsigned char>(0));
  for (unsigned leaf = 1; leaf < leaves; ++leaf) ++counts[lengths[leaf] - 1];
  std::reverse_copy(order.begin(), order.begin() + used, symbols);  // the most frequent ones have the shortest codes
  return static_cast<int>(used);
}

void genBigCacheTable(CTblElem* out, const c_derived_tbl* table, int mode) {
  const unsigned bits = mode == 0 ? kBigCacheBits : kBigCacheBits12;
  for (unsigned run = 0; run < 16; ++run) {
    for (unsigned w = 0; w < 1u << bits; ++w, ++out) {
      const int value = static_cast<int>(w) - (w >> (bits - 1) != 0 ? 1 << bits : 0);
      const auto [size, extra] = codeValue(value);
      const unsigned symbol = run << 4 | size;
      const bool coded = w != 0 || run == 0 || run == 15;
      out->length = coded ? static_cast<std::uint8_t>(table->entries[kLengths + symbol] + size) : 0xFF;
      out->bits = coded ? table->entries[symbol] << size | extra : 0xFFFFFFFF;
    }
  }
}

int prepareBigCache(c_derived_tbl* table, int mode) {
  if (mode == 0) {
    genBigCacheTable(reinterpret_cast<CTblElem*>(table->entries + kBigCache), table, mode);
    table->entries[kBigCacheMark] = kPrepared;
    return 0;
  }
  CTblElem* cache = keptCaches().make(table);
  if (cache == nullptr) return kOutOfRange;
  genBigCacheTable(cache, table, mode);
  const KeptCache kept = {table, cache};
  std::memcpy(table->entries + kBigCacheKept, &kept, sizeof(kept));
  return 0;
}

void releaseBigCache(c_derived_tbl* table) {
  keptCaches().drop(table);
  std::fill(table->entries + kBigCacheKept, table->entries + kInternalCodes, 0u);
}
