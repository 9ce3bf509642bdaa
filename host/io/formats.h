// SPDX-License-Identifier: Apache-2.0
// Which formats there are, how a name or a file's first bytes tell them, and which of them this build has.
#ifndef QUORVEL_HOST_IO_FORMATS_H_
#define QUORVEL_HOST_IO_FORMATS_H_

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/io/files.h"
#include "host/io/mosaic.h"

namespace quorvel::host {

enum class RawFormat { Camera, Pgm, Tiff, Raw16, Raw12 };
enum class PictureFormat { Png, Tiff, Ppm };

// What a build may lack: the name, and the version of the library behind it or nothing where it is missing.
struct OptionalFormat {
  std::string name;
  std::string library;
  std::optional<std::string> version;
};
std::vector<OptionalFormat> optionalFormats();

struct ReadOptions {
  std::optional<RawFormat> format = {};  // else by name, else by the first bytes
  unsigned width = 0, height = 0;        // of headerless files
  std::optional<Phase> phase = {};       // instead of what the file says or leaves open
  std::optional<int> white = {};
  std::optional<std::array<int, 4>> black = {};  // in 12-bit counts, of the library's sites
};

// Throws DataError, and UsageError where a headerless file comes without its size.
RawFrame readRawFrame(const fs::path& file, const ReadOptions& options);

// A finished picture, told by its first bytes: PNG, TIFF, PPM or PGM. Throws DataError.
Picture readPicture(const fs::path& file);

// The same before it is brought to the library's form, every sample as the file has it.
Mosaic readMosaic(const fs::path& file, const ReadOptions& options);

// Throws DataError for levels between which no picture has room.
void requireBlackBelowWhite(const RawFrame& frame, const fs::path& file);

// By the extension; nothing for one that is not written.
std::optional<RawFormat> rawFormatToWrite(const fs::path& file);
std::optional<PictureFormat> pictureFormatToWrite(const fs::path& file);

// The same for a picture that may be grey, which no .ppm file is and every .pgm file is.
std::optional<PictureFormat> pictureFormatToWrite(const fs::path& file, unsigned channels);

bool isJpegName(const fs::path& file);
bool isQvbName(const fs::path& file);

// Throw DataError where this build lacks the format.
void requireBuilt(PictureFormat format, const fs::path& file);
void requireBuilt(RawFormat format, const fs::path& file);

// The phase is noted where it is not the library's own and the format has room for notes.
void writeRawFrame(OutputFile& out, const RawFrame& frame, RawFormat format, Phase phase = Phase::GRBG);
void writePicture(OutputFile& out, const Picture& picture, PictureFormat format);

// PNG, or what every build has.
PictureFormat usualPictureFormat();
const char* extensionOf(PictureFormat format);  // with its dot

}  // namespace quorvel::host

#endif  // QUORVEL_HOST_IO_FORMATS_H_
