// SPDX-License-Identifier: Apache-2.0
// What LAPACK's sources ask of their surroundings. With these two, nothing of the Fortran runtime is left to link,
// whose start would be code of a stranger in the host's process.
#include <algorithm>
#include <cstddef>

extern "C" {

// LAPACK and BLAS report an illegal argument here, and the reference version prints it and ends the program, which a
// library must not do to its host. The routines return when this does: a solver's info then is minus the argument's
// number, which is all that would be printed, and the caller decides.
void xerbla_(const char* /*routine*/, const int* /*argument*/, std::size_t /*routineLength*/) {}

// `//` between two strings, in the Fortran compiler's own name for it and with its rule: cut or filled with spaces to
// the length of the result. Some routines join two letters so to ask ilaenv for a block size.
void _gfortran_concat_string(std::size_t length, char* joined, std::size_t firstLength, const char* first,
                             std::size_t secondLength, const char* second) {
  const std::size_t ofFirst = std::min(length, firstLength);
  const std::size_t ofSecond = std::min(length - ofFirst, secondLength);
  char* const end = std::copy_n(second, ofSecond, std::copy_n(first, ofFirst, joined));
  std::fill(end, joined + length, ' ');
}

}  // extern "C"
