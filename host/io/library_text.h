// SPDX-License-Identifier: Apache-2.0
// The library's texts for its errors, as the program shows them.
#ifndef QUORVEL_HOST_IO_LIBRARY_TEXT_H_
#define QUORVEL_HOST_IO_LIBRARY_TEXT_H_

#include <string>

#include <quorvel/quorvel.h>

namespace quorvel::host {

// In UTF-8 and on one line. Of a mathematical error without the function that raised it.
std::string libraryText(matErrorCode code);
std::string libraryText(const CImgErrorText& error);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_LIBRARY_TEXT_H_
