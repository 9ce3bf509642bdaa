// SPDX-License-Identifier: Apache-2.0
#include "host/io/png.h"

#include <algorithm>
#include <bit>
#include <csetjmp>

#include <png.h>

#include "host/io/bytes.h"

namespace quorvel::host {
namespace {

void put(png_structp png, png_bytep data, std::size_t bytes) {
  if (!static_cast<OutputFile*>(png_get_io_ptr(png))->write(data, bytes)) png_error(png, "");
}

void flush(png_structp) {}

// libpng leaves by longjmp on an error: nothing in here has a destructor.
[[noreturn]] void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }

void ignore(png_structp, png_const_charp) {}

bool encode(png_structp png, png_infop info, OutputFile& out, const Picture& picture, int bits,
            const std::uint8_t* rows, std::size_t rowBytes) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_write_fn(png, &out, put, flush);
  png_set_IHDR(png, info, picture.width, picture.height, bits,
               picture.channels == 1 ? PNG_COLOR_TYPE_GRAY : PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE,
               PNG_COMPRESSION_TYPE_DEFAULT, PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, 4);  // a photograph gains little from higher levels and waits long for them
  png_write_info(png, info);
  if (bits == 16 && std::endian::native == std::endian::little) png_set_swap(png);
  for (unsigned y = 0; y < picture.height; ++y) png_write_row(png, rows + y * rowBytes);
  png_write_end(png, nullptr);
  return true;
}

struct Source {
  ByteSpan rest;
};

void get(png_structp png, png_bytep to, std::size_t bytes) {
  ByteSpan& rest = static_cast<Source*>(png_get_io_ptr(png))->rest;
  if (bytes > rest.size()) png_error(png, "");
  std::copy_n(rest.begin(), bytes, to);
  rest = rest.subspan(bytes);
}

bool decodeHeader(png_structp png, png_infop info, Source& source, Picture& picture) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_read_fn(png, &source, get);
  png_read_info(png, info);
  png_set_expand(png);
  png_set_strip_16(png);
  png_set_strip_alpha(png);
  png_set_interlace_handling(png);
  png_read_update_info(png, info);
  picture.width = png_get_image_width(png, info);
  picture.height = png_get_image_height(png, info);
  picture.channels = png_get_channels(png, info);
  return true;
}

bool decodeRows(png_structp png, png_bytepp rows) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_read_image(png, rows);
  return true;
}

}  // namespace

Picture readPng(const fs::path& file) {
  const std::vector<std::uint8_t> contents = readFile(file);
  Source source{contents};
  png_structp png = png_create_read_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  Picture picture;
  std::string wrong = "is no PNG file that can be read";
  bool done = info != nullptr && decodeHeader(png, info, source, picture);
  if (done && !sizeIsSane(picture.width, picture.height)) {
    done = false;
    wrong = "is of a size that cannot be worked on";
  }
  if (done) {
    const std::size_t pitch = std::size_t{picture.channels} * picture.width;
    auto& samples = picture.samples.emplace<0>(pitch * picture.height);
    std::vector<png_bytep> rows(picture.height);
    for (std::size_t y = 0; y < rows.size(); ++y) rows[y] = &samples[y * pitch];
    done = decodeRows(png, rows.data());
    wrong = "is cut short or damaged";
  }
  png_destroy_read_struct(&png, &info, nullptr);
  if (!done) throw DataError(file, wrong);
  return picture;
}

void writePng(OutputFile& out, const Picture& picture) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  bool done = false;
  if (info != nullptr) {
    const auto bytes = std::visit(
        [](const auto& samples) { return reinterpret_cast<const std::uint8_t*>(samples.data()); }, picture.samples);
    const int bits = picture.is16() ? 16 : 8;
    done = encode(png, info, out, picture, bits, bytes,
                  std::size_t{picture.channels} * picture.width * static_cast<unsigned>(bits / 8));
  }
  png_destroy_write_struct(&png, &info);
  if (!done) out.giveUp("cannot be written as PNG");
}

}  // namespace quorvel::host
