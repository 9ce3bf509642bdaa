// SPDX-License-Identifier: Apache-2.0
// Colour tables in the library's own files, and the small texts beside them: matrices and chart measurements. Such
// texts are numbers with blanks, tabs or commas between them; what follows a # is a remark.
#ifndef QUORVEL_HOST_IO_COLOUR_FILE_H_
#define QUORVEL_HOST_IO_COLOUR_FILE_H_

#include "host/io/files.h"
#include "host/road/colour.h"

namespace quorvel::host {

// .bin or .txt by the name's extension; nothing for others.
enum class TableFormat { Binary, Text };
std::optional<TableFormat> tableFormat(const fs::path& file);

// A table of 64 levels from .bin, .txt or .cube. Throws DataError.
ColourTable readColourTable(const fs::path& file);

// Texts have every digit that a value needs, unlike those that the library writes.
void writeColourTable(OutputFile& out, const ColourTable& table, TableFormat format);

Matrix3 readMatrix(const fs::path& file);
void writeMatrix(OutputFile& out, const Matrix3& matrix);

// One row a patch, on the scale of 8 bits.
Patches readPatches(const fs::path& file);
void writePatches(OutputFile& out, const Patches& patches);

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_COLOUR_FILE_H_
