// SPDX-License-Identifier: Apache-2.0
/// @file
/// Colour correction: tables over a grid of RGB levels with their files and pixel routines, and 3x3 matrices.
///
/// A table is indexed by the top bits of a pixel's three samples: by 6 bits each on the grid of 64 levels, by 5 on the
/// grid of 32. The cell of the levels c0, c1, c2 is number c0 + L * c1 + L * L * c2, L being 64 or 32: the first
/// channel varies fastest. A pixel takes one cell; nothing is interpolated between cells. What that gives up in
/// accuracy against interpolating tables is measured in `docs/colour.md`.
///
/// A cell of a value table holds the output of the darkest pixel of its cell. What a pixel's samples have beyond their
/// levels is added unchanged. A cell of a gain/offset table (`KxB`) holds a straight line for each channel.
///
/// Values of 12 bits lie in 16-bit words. Tables may be used by any number of threads at once, but not while they are
/// filled. Nothing here throws; memory that cannot be had leaves a null pointer, as the typed buffers do. Hosts that
/// cannot call C++ classes fill cells by themselves, in the layout described, and need the functions alone.
#ifndef QUORVEL_COLOUR_H_
#define QUORVEL_COLOUR_H_

#include <quorvel/files.h>
#include <quorvel/grids.h>
#include <quorvel/typed_buffers.h>
#include <quorvel/types.h>

/// Reads and writes a colour table as a matrix of floats: three columns, a row for each cell in cell order. The values
/// are on the scale of 8 bits, 0 to 255.
///
/// Binary files are 262144 rows of three little-endian 32-bit floats and nothing else. Text files have a line for each
/// row, its numbers separated by blanks, tabs or commas.
///
/// All members that work on files return 0, or 3 where that failed.
class QUORVEL_API ColorTableFile {
 public:
  /// Fills the table from a matrix of three values a row. Called by both readers.
  virtual void convertFrom(TMatrix<float>& matrix) = 0;
  /// Fills the matrix from the table. Called by both writers.
  virtual void convertTo(TMatrix<float>& matrix) = 0;
  virtual ~ColorTableFile() = default;
  /// The rows that `convertFrom` needs; a text with fewer is refused. At least 1.
  virtual unsigned rowsNeeded() const;

  /// Hands the first 262144 rows of a file to `convertFrom`. Fails, and does not call it, for a file that cannot be
  /// read or is shorter.
  int readFromBinFile(const char* name);
  /// The same for a text. The matrix has a row for every three numbers. Fails, and calls nothing, for a file that
  /// cannot be read, holds anything but finite decimal numbers and separators (carriage returns are taken as such),
  /// ends within a row, or has fewer rows than `rowsNeeded`.
  int readFromFile(const char* name);
  /// Writes the matrix that `convertTo` gives. A file that could not be written whole stays as far as it got.
  int saveToBinFile(const char* name);
  /// The same as text. Each number has one significant digit, as the format of these files wants it; a host that needs
  /// them all writes its text itself. Fails, and makes no file, for more than 8 MiB of text.
  int saveToFile(const char* name);

 protected:
  ColorTableFile() = default;
  ColorTableFile(const ColorTableFile&) = default;
  ColorTableFile& operator=(const ColorTableFile&) = default;
};

/// @name Tables
/// All have a default constructor that makes an empty table, deep copies, and a destructor that frees the cells.
/// `genDefault` makes the identity. Cells are allocated as one run, so `getNX()` is their number; memory that the
/// caller has lent to the buffer is filled where it suffices.
///
/// `convertFrom` of a matrix takes its first rows; with too few rows, or other than three columns, it changes nothing.
/// Floats are limited to what a cell's lane holds before they are truncated, and NaN counts as 0. `convertTo` leaves
/// the matrix as it is.
/// @{

/// 64 levels; cells of four bytes: the three channels' outputs, and 0.
class QUORVEL_API ColorConvTable : public TPtrAllocXYZ<std::uint32_t>, public ColorTableFile {
 public:
  ColorConvTable();
  ColorConvTable(const ColorConvTable& other);
  ColorConvTable& operator=(const ColorConvTable& other);
  ~ColorConvTable() override;

  /// Bytes are the values, truncated.
  void convertFrom(TMatrix<float>& matrix) override;
  void convertTo(TMatrix<float>& matrix) override;
  unsigned rowsNeeded() const override;
  /// From values of 12 bits: (v >> 4) & 252, so that no sum of cell and residual carries.
  void convertFrom(const CCubeI16& cube);
  void genDefault();
};

/// 32 levels; cells as those of `ColorConvTable`.
class QUORVEL_API ColorConvTable5 : public TPtrAllocXYZ<std::uint32_t>, public ColorTableFile {
 public:
  ColorConvTable5();
  ColorConvTable5(const ColorConvTable5& other);
  ColorConvTable5& operator=(const ColorConvTable5& other);
  ~ColorConvTable5() override;

  /// Bytes are the values, truncated.
  void convertFrom(TMatrix<float>& matrix) override;
  void convertTo(TMatrix<float>& matrix) override;
  unsigned rowsNeeded() const override;
  /// From values of 12 bits: (v >> 4) & 248.
  void convertFrom(const CCube5I16& cube);
  void genDefault();
};

/// 64 levels; cells of four 16-bit words: the three channels' outputs of 12 bits, and 0.
class QUORVEL_API ColorConvTable64 : public TPtrAllocXYZ<std::int64_t>, public ColorTableFile {
 public:
  ColorConvTable64();
  ColorConvTable64(const ColorConvTable64& other);
  ColorConvTable64& operator=(const ColorConvTable64& other);
  ~ColorConvTable64() override;

  /// Words are 16 times the values, truncated.
  void convertFrom(TMatrix<float>& matrix) override;
  void convertTo(TMatrix<float>& matrix) override;
  unsigned rowsNeeded() const override;
  /// Words are the cube's values.
  void convertFrom(const CCubeI16& cube);
  void genDefault();
};

/// 32 levels; cells as those of `ColorConvTable64`.
class QUORVEL_API ColorConvTable5_64 : public TPtrAllocXYZ<std::int64_t>, public ColorTableFile {
 public:
  ColorConvTable5_64();
  ColorConvTable5_64(const ColorConvTable5_64& other);
  ColorConvTable5_64& operator=(const ColorConvTable5_64& other);
  ~ColorConvTable5_64() override;

  /// Words are 16 times the values, truncated.
  void convertFrom(TMatrix<float>& matrix) override;
  void convertTo(TMatrix<float>& matrix) override;
  unsigned rowsNeeded() const override;
  /// Words are the cube's values.
  void convertFrom(const CCube5I16& cube);
  void genDefault();
};

/// 64 levels; cells of gains and offsets: an output is (sample * k + b) >> 3, k in 1/8, b in 1/8 of an output step.
class QUORVEL_API ColorConvTableKxB : public TPtrAllocXYZ<KxB>, public ColorTableFile {
 public:
  ColorConvTableKxB();
  ColorConvTableKxB(const ColorConvTableKxB& other);
  ColorConvTableKxB& operator=(const ColorConvTableKxB& other);
  ~ColorConvTableKxB() override;

  /// As from a cube of 16 times the values, truncated and limited to 0..32767, with all neighbours.
  void convertFrom(TMatrix<float>& matrix) override;
  void convertTo(TMatrix<float>& matrix) override;
  unsigned rowsNeeded() const override;

  /// From values of 12 bits, for samples and outputs of 8. At the cell's grid point, which is its darkest pixel, the
  /// output before it is limited to 0..255 is the cube's value v >> 4. The gain of a channel is the least-squares slope
  /// through that point towards `neighbours` of the four corners that the cell has at the channel's next level (at the
  /// last level: its previous one), rounded to 1/8: first the nearest corner, then those one step off in the first and
  /// in the second of the other channels, then the farthest. 0 or less: unity gain; more than 4: all four. The gain is
  /// limited so that no product of it with a sample of the cell, and no offset, leaves 16 bits.
  void convertFrom(const CCubeI16& cube, int neighbours);
  /// The same for samples and outputs of 12 bits (`colorConv48_48MMX`), v itself being the output at the grid point.
  /// Products of 16 bits leave room for gains up to 32767 / sample only, that is for no more than unity at the
  /// brightest.
  void convertFrom12(const CCubeI16& cube, int neighbours);
  void genDefault();
};

/// Keeps a float matrix of a table over 64 or 32 levels, and fills tables of every class from it.
class QUORVEL_API ColorConvTableCreator : public ColorTableFile {
 public:
  ColorConvTableCreator();
  ColorConvTableCreator(const ColorConvTableCreator& other);
  ColorConvTableCreator& operator=(const ColorConvTableCreator& other);
  ~ColorConvTableCreator() override;

  /// Keeps a copy of the first 262144 rows, else of the first 32768. With fewer, or other than three columns, nothing
  /// changes.
  void convertFrom(TMatrix<float>& matrix) override;
  void convertTo(TMatrix<float>& matrix) override;
  unsigned rowsNeeded() const override;
  /// The identity over 64 levels.
  void genDefault();

  /// Fills a table. From 64 levels to 32 every second level is taken; from 32 to 64 those between are interpolated
  /// linearly along each axis, and the last one extrapolated. Returns 0, or 3 while there is no matrix or no memory.
  int create(ColorConvTable& table) const;
  int create(ColorConvTable5& table) const;
  int create(ColorConvTable64& table) const;
  int create(ColorConvTable5_64& table) const;
  int create(ColorConvTableKxB& table) const;

 private:
  TMatrix<float> matrix_;
};

/// @}
/// @name A whole set of tables
/// @{

/// One table of each value class, made from the same cubes, between curves for each channel: the prescan tables are
/// applied to samples before the colour table, the scan tables to what comes out of it. Each is 4096 values of 12 bits
/// over samples of 12 bits. Pixels of 8 bits take every sixteenth entry, rounded. Without tables there are no steps.
class QUORVEL_API ColorConvTableSojBase {
 public:
  /// Interleaved pixels of 12 bits. All three return 0, or 3 while nothing was generated; then nothing is written. Any
  /// count; the destination of the two that take interleaved pixels may be their source. Bits above the twelfth are
  /// ignored, of values from the colour table as well where a scan table follows.
  virtual int convert48_48(const std::uint16_t* src, std::uint16_t* dst, unsigned n) const = 0;
  /// Interleaved pixels of 8 bits.
  virtual int convert24_24(const std::uint8_t* src, std::uint8_t* dst, unsigned n) const = 0;
  /// Three planes of 12 bits to interleaved pixels.
  virtual int convert16x3_48(const std::uint16_t* src0, const std::uint16_t* src1, const std::uint16_t* src2,
                             std::uint16_t* dst, unsigned n) const = 0;
  virtual ~ColorConvTableSojBase();

  ColorConvTable& get32();
  ColorConvTable5& get5_32();
  ColorConvTable64& get64();
  ColorConvTable5_64& get5_64();

  /// Makes all four tables from three cubes of 262144 values of 12 bits, one for each output channel, in cell order.
  /// The 32-level tables take every second level. Returns 0, or 3 without memory.
  int generate(const std::int16_t* cube0, const std::int16_t* cube1, const std::int16_t* cube2);

  /// Keep three tables of 4096 values one after the other, or forget them (null). Values are limited to 4095. Return 0,
  /// or 3 without memory.
  int setPrescan(const std::uint16_t* tables);
  int setScan(const std::uint16_t* tables);
  /// The least and the greatest value of a channel's table, 0 and 4095 without tables. Return 0, or -1 for a channel
  /// other than 0, 1, 2.
  int minMaxPrescan(unsigned channel, int* least, int* greatest) const;
  int minMaxScan(unsigned channel, int* least, int* greatest) const;

 protected:
  ColorConvTableSojBase();
  ColorConvTableSojBase(const ColorConvTableSojBase& other);
  ColorConvTableSojBase& operator=(const ColorConvTableSojBase& other);

  struct Curves;  // three tables, in the library
  ColorConvTable table32_;
  ColorConvTable5 table5_32_;
  ColorConvTable64 table64_;
  ColorConvTable5_64 table5_64_;
  Curves* prescan_ = nullptr;
  Curves* scan_ = nullptr;
};

/// The set with its conversions: pixels go through the tables of 64 levels.
class QUORVEL_API ColorConvTableSoj : public ColorConvTableSojBase {
 public:
  ColorConvTableSoj();
  ColorConvTableSoj(const ColorConvTableSoj& other);
  ColorConvTableSoj& operator=(const ColorConvTableSoj& other);
  ~ColorConvTableSoj() override;

  int convert48_48(const std::uint16_t* src, std::uint16_t* dst, unsigned n) const override;
  int convert24_24(const std::uint8_t* src, std::uint8_t* dst, unsigned n) const override;
  int convert16x3_48(const std::uint16_t* src0, const std::uint16_t* src1, const std::uint16_t* src2,
                     std::uint16_t* dst, unsigned n) const override;
};

/// @}

/// A 3x3 matrix as the routines take it, column by column: m00, m10, m20, m01, ... in 1/8192, those on the diagonal in
/// 1/4096, each repeated for the four lanes of a group. Filled by `matrMulCoef`.
struct CMMXMatr33 {
  std::int16_t m[9][4];
};

extern "C" {

/// @name Pixels through value tables
/// At least 1 pixel, else -1 and nothing is written; otherwise 0. Source and destination may be the same. The residual
/// of a sample, the bits below its level, is added to the cell's value with 32-bit additions: a byte that overflows
/// carries into the next channel of its pixel, as does the first of the two words that share an addition. Grid-aligned
/// cells up to the top grid value never overflow: those of `genDefault`, and those that the classes of 8 bits make of
/// cubes. The classes of 12 bits keep the words of a cube as they are: from 0..4032 (3968 on 32 levels) they give 12
/// bits, and from negative ones sums that carry.
/// @{

/// Pixels of 3 bytes; `cells` of a `ColorConvTable`.
QUORVEL_API int colorConv24_24(const std::uint8_t* src, std::uint8_t* dst, const std::uint32_t* cells, unsigned n);
/// Pixels of 3 bytes; `cells` of a `ColorConvTable5`.
QUORVEL_API int colorConv5_24_24(const std::uint8_t* src, std::uint8_t* dst, const std::uint32_t* cells, unsigned n);
/// Pixels of 3 words with 12 significant bits; bits above them are ignored. `cells` of a `ColorConvTable64`.
QUORVEL_API int colorConv48_48(const std::uint16_t* src, std::uint16_t* dst, const std::int64_t* cells, unsigned n);
/// The same with `cells` of a `ColorConvTable5_64`.
QUORVEL_API int colorConv5_48_48(const std::uint16_t* src, std::uint16_t* dst, const std::int64_t* cells, unsigned n);

/// @}
/// @name Pixels through gain/offset tables
/// Source and destination may be the same; `cells` are those of a `ColorConvTableKxB`. An output is (sample * k + b) >>
/// 3: of the product the low 16 bits count, as a signed number; the sum saturates at 16 bits. Returns 0.
/// @{

/// Pixels of 3 bytes. `n` is a multiple of 8, else -1. Outputs are limited to 0..255.
QUORVEL_API int colorConv24_24MMX(const std::uint8_t* src, std::uint8_t* dst, const KxB* cells, unsigned n);
/// Pixels of 3 words; the level is in bits 6 to 11 of a sample, and the whole word is multiplied. Outputs lie in
/// 0..4095. Any number of pixels.
QUORVEL_API int colorConv48_48MMX(const std::uint16_t* src, std::uint16_t* dst, const KxB* cells, unsigned n);
/// The same for three separate planes.
QUORVEL_API int colorConv48_48MMX_Plane(const std::uint16_t* src0, const std::uint16_t* src1, const std::uint16_t* src2,
                                        std::uint16_t* dst0, std::uint16_t* dst1, std::uint16_t* dst2, const KxB* cells,
                                        unsigned n);

/// @}
/// @name Colour matrices
/// A matrix is nine doubles by rows: output r is the sum of m[3 * r + c] * input c. Inputs are samples of 12 bits. A
/// product is the upper half of the 16-bit sample << 3 times the coefficient; those of the diagonal count twice. The
/// sum wraps at 16 bits and is limited to 0..4095. Source and destination may be the same, plane by plane. Returns 0.
/// @{

/// The coefficients of a matrix, truncated: m * 8192, on the diagonal m * 4096. What a 16-bit word cannot hold is
/// limited to what it can (entries from -4 up to, but not with, 4, on the diagonal -8 to 8); NaN counts as 0.
QUORVEL_API int matrMulCoef(const double m[9], CMMXMatr33* coefficients);
/// Three planes to three planes, any number of samples.
QUORVEL_API int matrMul48_48_Plane_MMX(const CMMXMatr33* coefficients, const std::uint16_t* src0,
                                       const std::uint16_t* src1, const std::uint16_t* src2, std::uint16_t* dst0,
                                       std::uint16_t* dst1, std::uint16_t* dst2, unsigned n);
/// Interleaved pixels, any number.
QUORVEL_API int matrMul48_48MMX(const double m[9], const std::uint16_t* src, std::uint16_t* dst, unsigned n);
/// Interleaved pixels of 8 bits: widened by `conv8to12MMX`, and narrowed by `conv12to8MMX`. `n` is a multiple of 8,
/// else -1.
QUORVEL_API int matrMul24_24MMX(const double m[9], const std::uint8_t* src, std::uint8_t* dst, unsigned n);

/// @}
}  // extern "C"

#endif  // QUORVEL_COLOUR_H_
