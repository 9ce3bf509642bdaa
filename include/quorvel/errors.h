// SPDX-License-Identifier: Apache-2.0
/// @file
/// The errors that numerical routines throw, their codes, and the two switches of the error family.
///
/// Pixel routines never throw: they answer with a status that the comment of each explains. Numerical routines throw
/// `CImgErrorText`, and, from the inner steps that a host may call by itself, `CMatErrorM`. Both are plain values,
/// thrown and copied as such. On 32-bit Windows no host can catch what the library, as it is packaged, throws; "C++
/// exceptions" in `docs/windows.md` says why, and what to call instead. `docs/errors.md` has every code with its texts.
/// Russian texts are zero-terminated single bytes in the Windows-1251 code page.
#ifndef QUORVEL_ERRORS_H_
#define QUORVEL_ERRORS_H_

#include <quorvel/types.h>

/// The codes of a `CImgErrorText`: 8888, and 21504 (0x5400) to 21535 (0x541F) without a gap. Hosts may use others.
enum imgErrorCode : int {
  imgErrorTextOnly = 8888,  ///< built from a text alone: the text says it all

  imgErrorSurfaceParameters = 21504,
  imgErrorSurfacePointCounts,
  imgErrorTooFewPoints,
  imgErrorEquationSystem,
  imgErrorCoefficientCount,
  imgErrorNewtonIterations,
  imgErrorNewtonDivergence,
  imgErrorSeidelIterations,
  imgErrorSeidelDivergence,
  imgErrorPhysicalMemory,
  imgErrorRasterMethod,
  imgErrorThreadNotStarted,
  imgErrorThreadNotStopped,
  imgErrorReserved,  ///< not in use; keeps the numbers of the later codes
  imgErrorReadCoordinates,
  imgErrorWriteCoordinates,
  imgErrorPointSetOrPolynomial,
  imgErrorOneInputOneOutput,
  imgErrorUnsupportedScale,
  imgErrorUnsupportedTurn,
  imgErrorNoImage,
  imgErrorImageType,
  imgErrorIdenticalPoints,
  imgErrorTileSize,
  imgErrorAreaOutside,
  imgErrorAreaWithoutSolution,
  imgErrorDiskSpace,
  imgErrorInvalidScale,
  imgErrorZeroDenominator,
  imgErrorOrderTooBig,
  imgErrorSurfaceNotSet,
  imgErrorUnknownTermination
};

/// The codes of a `CMatErrorM`, 21760 (0x5500) to 21780 (0x5514) without a gap. Inner steps of the solvers return them
/// as `int`, where 0 is success.
enum matErrorCode : int {
  matErrorDivisionByZero = 21760,   ///< division by zero
  matErrorZeroDimension,            ///< array (matrix) dimension is zero
  matErrorDimensionsXY,             ///< matrix dimensions in X and Y do not match
  matErrorDimensionsXX,             ///< X dimensions of the matrices do not match
  matErrorDimensionsYY,             ///< Y dimensions of the matrices do not match
  matErrorNotAVector,               ///< the matrix is not a vector
  matErrorInfinitelyManySolutions,  ///< infinitely many solutions
  matErrorNoSolution,               ///< no solution
  matErrorEmptyY,                   ///< empty Y dimension
  matErrorParameter,                ///< invalid parameter
  matErrorUnnamed,                  ///< no text of its own
  matErrorNotImplemented,           ///< function not implemented
  matErrorInputTooSmall,            ///< input matrix too small
  matErrorOutputTooSmall,           ///< output matrix too small
  matErrorZeroDeterminant,          ///< matrix determinant is zero
  matErrorNotDiagonallyDominant,    ///< matrix is not diagonally dominant
  matErrorZeroOnDiagonal,           ///< matrix has zeros on the diagonal
  matErrorSingularTriangle,         ///< triangular matrix cannot be solved (zero on the diagonal)
  matErrorTooFewPoints,             ///< too few points
  matErrorPointCounts,              ///< mismatch in the number of points
  matErrorMemory                    ///< not enough memory
};

/// An error as the host sees it: a code and a text, both inside the object. Nothing here allocates or throws.
class QUORVEL_API CImgErrorText {
 public:
  /// Code 0 and an empty text.
  CImgErrorText();
  /// An empty text.
  CImgErrorText(int code);
  /// Code 8888, `imgErrorTextOnly`. The text as for `init`.
  CImgErrorText(const char* text);
  /// The text as for `init`.
  CImgErrorText(int code, const char* text);
  /// Text, then "\nFilename: %s " with `fileName` unless that is null, then "\nSystem: %s " with the operating system's
  /// message for `systemError` unless that is 0. System errors are those of GetLastError on Windows, with messages in
  /// the system's default language, and values of errno elsewhere. What exceeds 4091 characters is cut off.
  CImgErrorText(int code, const char* text, const char* fileName, int systemError);
  // Copies take the whole object as it lies in memory. They accept constant objects, so that a caught error that is
  // only read can be kept.
  CImgErrorText(const CImgErrorText&) = default;
  CImgErrorText& operator=(const CImgErrorText&) = default;

  /// Takes over a zero-terminated text, cut off after 4091 characters; for null, "Not text descrition". The text may
  /// lie in this object. The code stays.
  void init(const char* text);
  void setError(int code);
  int getCode() const;
  /// The text. Valid as long as the object, and until its next `init`.
  const char* Text() const;

 private:
  std::int32_t code = 0;
  char text[4092] = {};
};

/// A mathematical error: its code and the function that raised it.
class QUORVEL_API CMatErrorM {
 public:
  /// `function` lives as long as the program, or is null; only the pointer is kept.
  CMatErrorM(int code, const char* function = nullptr);

  /// Describes the error. Each of the two buffers may be null; what they need is the caller's to guarantee:
  /// - `header`, of at least 40 bytes, gets "Mathematic Error %d" with the code;
  /// - `out`, of at least 272 bytes and one more for each character of the function's name, gets the text of the code
  ///   and the name (nothing for a null name) as "%s\n function: %s".
  ///
  /// With `toOem` non-zero the text is converted from the ANSI code page to the OEM code page of Windows consoles; on
  /// other systems it stays as it is.
  ///
  /// Returns `out`; an empty string where `out` is null; null for code 0, with `out` made empty.
  const char* formatText(char* header, char* out, int toOem) const;

  std::int32_t code;
  const char* function;
};

extern "C" {

/// Sets or clears (0, as at the start) a switch of the whole process. While it is non-zero the sub-tile insertion of
/// `quorvel/geometry.h` copies even where a row does not fit the width of its destination. Returns 0.
QUORVEL_API int ignoreError(int flag);

/// Does nothing: the debugger trap that it stands for is not in this build.
QUORVEL_API void DebugTrapF(bool trap);

}  // extern "C"

#endif  // QUORVEL_ERRORS_H_
