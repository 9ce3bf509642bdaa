// SPDX-License-Identifier: Apache-2.0
/// @file
/// Huffman coding of 8x8 coefficient blocks: baseline JPEG, and the library's own streams ("Pelto" blocks).
///
/// A block is 64 coefficients; all coders walk it by index, 0 to 63. The library's own streams take blocks as the
/// transforms make them, row by row; for JPEG data the caller brings them into zig-zag order. A value v has the
/// category s, the bit length of |v|, 1 to 15, and is written as the symbol (run of zeros before it) << 4 | s and s
/// extra bits, which are v, or v + 2^s - 1 for a negative v.
///
/// Internal bit order. A stream is a row of 64-bit little-endian words that is filled from the lowest bit of the first
/// word on; a field lies with its lowest bit first and goes on at bit 0 of the next word. JPEG data lie in it in the
/// order in which JPEG transmits their bits, so that their extra bits begin with the highest one. There are no markers
/// and no stuffed bytes in it.
///
/// Own streams have one table for all coefficients. Runs of zeros go on from block to block, a full run of 16 is
/// written at once as symbol 0xF0, there is no end of block, and symbol 0x00 ends the stream when zeros are all that is
/// left.
///
/// Memory. Encoders write nothing but whole words (into the internal order) or bytes (JPEG) as they are completed, at
/// `CHuffman_state::word`; the caller has room for them: a block takes at most 256 bytes, 512 in JPEG's stuffed form.
/// Decoders read whole words, the next only when a symbol reaches into it, so a stream needs no bytes behind its last
/// word. Those that take no length trust the stream to be long enough: data of unknown origin are for the routines
/// named
/// `...Bounded` and for `decode_HuffmanBlock` with its pre-decoder. No decoder writes outside its blocks, and none
/// reads more than 64 symbols for a block, whatever the data.
///
/// `component` is 0 to 3 and selects the DC prediction; block coders refuse any other with -1. A state belongs to one
/// thread; tables are only read, and may be shared.
#ifndef QUORVEL_HUFFMAN_H_
#define QUORVEL_HUFFMAN_H_

#include <quorvel/types.h>

/// A stream in work. Begin with all fields 0 and `word` at the first word to write or read.
struct CHuffman_state {
  std::uint64_t accumulator;  ///< writing the internal order: pending bits, the latest at the high end; writing JPEG:
                              ///< pending bits, the latest at the low end; reading: bits to come, the next at bit 0
  int bitCount;               ///< bits that count in the accumulator, 0 to 63 in writing, 0 to 64 in reading
  int byteCount;              ///< bytes written, or taken from the stream into the accumulator
  std::uint64_t* word;        ///< the next word; at any byte where JPEG is written
  int lastDC[4];              ///< the first coefficient of the last block of each component
  int pendingRun;             ///< own streams, writing: zeros not yet written, 0 to 15; reading: where the block begins
  int pendingSize;            ///< own streams, reading: category of a value whose run led into the next block, or 0
};

/// What the encoders read. Filled by `makeDerivedTable`.
struct c_derived_tbl {
  /// 0..255: code of each symbol, its first bit highest. 256..511: its length, 0 for a symbol without a code. From 512
  /// on: the look-up that `prepareBigCache` puts there. 0x10200 + symbol: the code with its first bit lowest.
  std::uint32_t entries[0x10300];
};

/// What the decoders read. Filled by `makeDecodeTable`.
struct c_decode_tbl {
  /// Look-up by the next 12 bits, for own streams and for JPEG: bits to take, zeros before the value, and the value; or
  /// 255 in the lowest byte where that takes more steps.
  std::uint32_t pelto[4096], jpeg[4096];
  std::int32_t maxCode[17];      ///< largest code of each length, first bit highest, or -1
  std::int32_t valueOffset[17];  ///< what leads from a code of a length to the place of its symbol
  std::uint8_t symbols[256];     ///< in the order of their codes
};

/// A (run, value) pair as one field: `length` bits, the first one highest.
#pragma pack(push, 1)
struct CTblElem {
  std::uint8_t length;
  std::uint32_t bits;
};
#pragma pack(pop)

/// Statistics of decoded coefficients, the first one of a block counted as the difference that was coded.
struct CCoefStatInfo {
  std::uint64_t zeros, nonZeros;
  std::uint32_t categories[64][16];  ///< how often a category (0 for zeros) occurred at a place in its block
};

/// How far a decoder came: blocks completed, and bits of the stream taken by the symbols that it understood. The bits
/// of a value that belongs behind the last block count as not taken.
struct CHuffmanProgress {
  unsigned blocks;
  std::uint64_t bits;
};

/// Brings a JPEG entropy-coded segment into the internal order piece by piece, just ahead of the decoder, so that a
/// file can be decoded from where it lies. Begun by `startPreDecoder`; the state's `word` points into `words`.
struct CPreDecoder {
  const std::uint8_t* data;  ///< the segment
  unsigned length;           ///< bytes there are
  unsigned position;         ///< bytes brought over; after a marker stopped it, the index of the marker's 0xFF
  int marker;                ///< the marker's second byte, or 0
  unsigned filled;           ///< bytes of `words` that are data
  std::uint64_t words[512];
};

extern "C" {

/// @name Fields and tables
/// @{

/// Makes the table of categories unless it exists; returns 0. No coder needs it: they count bits.
QUORVEL_API int genBSR_Table();
/// The table: entry v of 0..65535 is the bit length of v, and entry 0 is -1.
QUORVEL_API const signed char* getBSR_Table();

/// Appends the low `n` bits of a value in the internal order; `n` is 0 to 32. Returns 0, or -1 for any other `n`.
QUORVEL_API int encodeInsertBits(CHuffman_state* state, const int* value, unsigned n);
/// Takes the next `n` bits, 0 to 32, and stores them in `out` with the sign of the highest one. 32 bits are taken but
/// `out` is then left as it was. Returns 0, or -1 for any other `n`.
QUORVEL_API int decodeGetBits(CHuffman_state* state, int* out, int n);
/// `encodeInsertBits` for each of `count` values, extended with their sign, `bits` bits a value.
QUORVEL_API int encodePackData(CHuffman_state* state, const std::int16_t* data, unsigned count, int bits);
/// `decodeGetBits` for each of `count` values, of which the low 16 bits are kept.
QUORVEL_API int decodePackData(CHuffman_state* state, std::int16_t* data, unsigned count, int bits);

/// Makes an encoder's table from a JPEG-style definition: `counts[i]` codes of i + 1 bits, given in this order to
/// `symbols`. Returns 0, or -1 with nothing written for counts that are no prefix code, for more than 256 symbols and
/// for a symbol that comes twice. A code of all ones is allowed, though JPEG itself has none. Any look-up of
/// `prepareBigCache` that was made at this address is dropped.
QUORVEL_API int makeDerivedTable(const unsigned char counts[16], const unsigned char* symbols, c_derived_tbl* table);
/// The decoder's table of the same definition; here a symbol may have several codes.
QUORVEL_API int makeDecodeTable(const unsigned char counts[16], const unsigned char* symbols, c_decode_tbl* table);
/// Makes the definition of the table that codes symbols of the given frequencies in the fewest bits, with codes of at
/// most 16 bits, none of them all ones. Symbols that do not occur get no code. `symbols` has room for 256. Returns the
/// number of symbols.
QUORVEL_API int makeOptimalTable(const std::uint32_t frequencies[256], unsigned char counts[16],
                                 unsigned char* symbols);

/// Fills the look-up of whole (run, value) pairs. Entry (run << 11) | w (mode 0, 32768 entries; w is 11 bits of the
/// value) or (run << 15) | w (any other mode, 524288 entries; 15 bits): the symbol's code and the extra bits below it.
/// w = 0 holds symbols 0x00 and 0xF0 for runs 0 and 15, and length 255, all bits set, for the other runs.
QUORVEL_API void genBigCacheTable(CTblElem* out, const c_derived_tbl* table, int mode);
/// Makes the look-up of a mode for the table's encoder: `encodeHuffmanBlock8BigCache` has mode 0, in the table itself;
/// `encodeHuffmanBlock8BigCache12` the other, 2.5 MiB that the library keeps for this address. To be called before
/// coding begins in several threads, and again when a host has changed a table's entries. Returns 0, or -1 where memory
/// is short. Without it, and for a copy of a table prepared for the other mode, the same streams are made without
/// look-up.
QUORVEL_API int prepareBigCache(c_derived_tbl* table, int mode);
/// Gives back what `prepareBigCache` keeps for the table, before its memory is given back. A copy that was made of the
/// table before must not be put in its place afterwards: it tells of the look-up that is gone.
QUORVEL_API void releaseBigCache(c_derived_tbl* table);

/// @}
/// @name Encoders
/// Each codes one block and returns 0, or -1 with nothing written for a coefficient or a difference of first
/// coefficients of category 16 and more. A symbol without a code is written as no bits.
/// @{

/// Own stream, coefficient by coefficient.
QUORVEL_API int encodeHuffmanPeltoBlockSlow(int component, CHuffman_state* state, const std::int16_t* block,
                                            const c_derived_tbl* table);
/// The same stream, faster.
QUORVEL_API int encodeHuffmanPeltoBlockFast(int component, CHuffman_state* state, const std::int16_t* block,
                                            const c_derived_tbl* table);
/// The same.
QUORVEL_API int encodeHuffmanPeltoBlock(int component, CHuffman_state* state, const std::int16_t* block,
                                        const c_derived_tbl* table);
/// Ends a stream in the internal order, own or JPEG: writes symbol 0x00 if zeros are pending, then the last word,
/// whole. `word` and `byteCount` go on by the bits in it, rounded up to 16; accumulator, bit count and run become 0.
/// Returns 0.
QUORVEL_API int flushHuffmanPeltoBlockSlow(CHuffman_state* state, const c_derived_tbl* table);

/// JPEG, into the internal order; `decodeHuffmanBlock` reads it.
QUORVEL_API int encodeHuffmanBlock(int component, CHuffman_state* state, const std::int16_t* block,
                                   const c_derived_tbl* dc, const c_derived_tbl* ac);
/// JPEG, as the bytes of an entropy-coded segment, stuffed.
QUORVEL_API int encodeHuffmanBlock8(int component, CHuffman_state* state, const std::int16_t* block,
                                    const c_derived_tbl* dc, const c_derived_tbl* ac);
/// The same bytes with one look-up for a value within -1024..1023 and its run; see `prepareBigCache`.
QUORVEL_API int encodeHuffmanBlock8BigCache(int component, CHuffman_state* state, const std::int16_t* block,
                                            const c_derived_tbl* dc, const c_derived_tbl* ac);
/// The same for -16384..16383, for samples of 12 bits.
QUORVEL_API int encodeHuffmanBlock8BigCache12(int component, CHuffman_state* state, const std::int16_t* block,
                                              const c_derived_tbl* dc, const c_derived_tbl* ac);
/// Ends a segment: fills the last byte with ones. `word` then points behind the last byte and `byteCount` is the total.
/// Returns 0.
QUORVEL_API int flushHuffmanBlock8(CHuffman_state* state);

/// Counts a block's symbols in place of writing them, for `makeOptimalTable`; the state goes on as in coding. Whoever
/// ends an own stream with zeros pending adds one for symbol 0x00.
QUORVEL_API int countHuffmanPeltoSymbols(int component, CHuffman_state* state, const std::int16_t* block,
                                         std::uint32_t counts[256]);
/// The same for JPEG.
QUORVEL_API int countHuffmanSymbols(int component, CHuffman_state* state, const std::int16_t* block,
                                    std::uint32_t dcCounts[256], std::uint32_t acCounts[256]);

/// Adds the bits that a simple model takes for the block to the state's position (8 bits are a byte), counts the
/// model's events, and returns 0. The tables are not looked at.
QUORVEL_API int encodePeltoBlock(int component, CHuffman_state* state, const std::int16_t* block, const c_derived_tbl*,
                                 const c_derived_tbl*);
/// A place holder: sets all coefficients to 1 and returns 0.
QUORVEL_API int decodePeltoBlock(int component, CHuffman_state* state, std::int16_t* block, const c_derived_tbl*,
                                 const c_derived_tbl*);
/// How often `encodePeltoBlock`, in all threads together, has met: runs of 2 to 5 zeros, single zeros, -1, 1, and
/// values of 2, of 3 (and 15), of 4 to 6, and of 7 to 14 bits; -32768 counts as 1. The counters may be set.
QUORVEL_API std::uint32_t* getPeltoCategoryStat();

/// @}
/// @name Decoders
/// Each sets all coefficients of its blocks and returns 0. -1: a code that the table does not define, or a coefficient
/// beyond its block (JPEG); -2: the data end, also within 16 bits behind such a code (routines that know their length).
/// The state is then behind the last symbol understood, its DC prediction as before the block. A block that was not
/// completed holds what was read of it.
/// @{

/// Own stream, bit by bit and symbol by symbol. The state must not tell of a place beyond the block (-1).
QUORVEL_API int decodeHuffmanPeltoBlockSlow(int component, CHuffman_state* state, std::int16_t* block,
                                            const c_decode_tbl* table);
/// The same by look-up, symbol and value in one step.
QUORVEL_API int decodeHuffmanPeltoBlockFast(int component, CHuffman_state* state, std::int16_t* block,
                                            const c_decode_tbl* table);
/// The same.
QUORVEL_API int decodeHuffmanPeltoBlockSuperFast(int component, CHuffman_state* state, std::int16_t* block,
                                                 const c_decode_tbl* table);
/// The same.
QUORVEL_API int decodeHuffmanPeltoBlock(int component, CHuffman_state* state, std::int16_t* block,
                                        const c_decode_tbl* table);

/// The first `nBlocks` blocks, of one component, of an own stream that begins at a word.
QUORVEL_API int decodeHuffmanPeltoFastAll(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                                          const c_decode_tbl* table);
/// The same.
QUORVEL_API int decodeHuffmanPeltoFastAllAsm(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                                             const c_decode_tbl* table);
/// The same; `stat` is set to the statistics of the blocks that were completed.
QUORVEL_API int decodeHuffmanPeltoFastAllWithStat(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                                                  const c_decode_tbl* table, CCoefStatInfo* stat);
/// The same from `length` bytes and none beyond, any number; blocks that were not reached are set to 0.
QUORVEL_API int decodeHuffmanPeltoFastAllBounded(const std::uint8_t* stream, unsigned length, std::int16_t* blocks,
                                                 unsigned nBlocks, const c_decode_tbl* table,
                                                 CHuffmanProgress* progress);

/// JPEG in the internal order.
QUORVEL_API int decodeHuffmanBlock(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* dc,
                                   const c_decode_tbl* ac);
/// The same from a pre-decoder, which never reads beyond its data. Without one (null) as `decodeHuffmanBlock`.
QUORVEL_API int decode_HuffmanBlock(int component, CHuffman_state* state, std::int16_t* block, const c_decode_tbl* dc,
                                    const c_decode_tbl* ac, CPreDecoder* pre);
/// Begins a segment of `length` bytes: sets the pre-decoder, and the state to its beginning with all predictions 0.
QUORVEL_API void startPreDecoder(CPreDecoder* pre, const std::uint8_t* data, unsigned length, CHuffman_state* state);

/// `nBlocks` interleaved blocks: block i belongs to component i mod `nComponents`, 1 to 4 (-1 for any other number).
/// `tables[2c]` is the DC and `tables[2c + 1]` the AC table of component c. The stream begins at a word.
QUORVEL_API int decodeHuffmanFastAll(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                                     const c_decode_tbl* const* tables, int nComponents);
/// The same with `n0`, `n1`, `n2` blocks in a row of the first components, at least 1 each (-1), as subsampled pictures
/// have them: 4, 1, 1 for 4:2:0. A fourth component has one.
QUORVEL_API int decodeHuffmanFastAll_(const std::uint8_t* stream, std::int16_t* blocks, unsigned nBlocks,
                                      const c_decode_tbl* const* tables, int nComponents, int n0, int n1, int n2);
/// The same from `length` bytes and none beyond, any number; blocks that were not reached are set to 0.
QUORVEL_API int decodeHuffmanFastAllBounded(const std::uint8_t* stream, unsigned length, std::int16_t* blocks,
                                            unsigned nBlocks, const c_decode_tbl* const* tables, int nComponents,
                                            int n0, int n1, int n2, CHuffmanProgress* progress);

/// Brings a JPEG entropy-coded segment into the internal order: stuffed zeros go, the bits of every byte are reversed.
/// Stops before a marker, 0xFF and a second byte that is not 0, and returns that byte with `position` at the 0xFF; at
/// the end of the data it returns 0 with `position` = `length`. A 0xFF that the data end with is kept. `produced` bytes
/// of `out` are written, and no other.
QUORVEL_API int scanJpegData_(const std::uint8_t* data, unsigned length, unsigned& position, std::uint8_t* out,
                              unsigned& produced);
/// The same in place; what lies behind the produced bytes is then of no use.
QUORVEL_API int scanJpegData(std::uint8_t* data, unsigned length, unsigned& position, unsigned& produced);

/// @}

}  // extern "C"

#endif  // QUORVEL_HUFFMAN_H_
