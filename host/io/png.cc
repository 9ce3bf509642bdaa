// SPDX-License-Identifier: Apache-2.0
#include "host/io/png.h"

#include <bit>
#include <csetjmp>

#include <png.h>

namespace quorvel::host {
namespace {

void put(png_structp png, png_bytep data, std::size_t bytes) {
  if (!static_cast<OutputFile*>(png_get_io_ptr(png))->write(data, bytes)) png_error(png, "");
}

void flush(png_structp) {}

// libpng leaves by longjmp on an error: nothing in here has a destructor.
[[noreturn]] void fail(png_structp png, png_const_charp) { png_longjmp(png, 1); }

void ignore(png_structp, png_const_charp) {}

bool encode(png_structp png, png_infop info, OutputFile& out, unsigned width, unsigned height, int bits,
            const std::uint8_t* rows, std::size_t rowBytes) {
  if (setjmp(png_jmpbuf(png))) return false;
  png_set_write_fn(png, &out, put, flush);
  png_set_IHDR(png, info, width, height, bits, PNG_COLOR_TYPE_RGB, PNG_INTERLACE_NONE, PNG_COMPRESSION_TYPE_DEFAULT,
               PNG_FILTER_TYPE_DEFAULT);
  png_set_compression_level(png, 4);  // a photograph gains little from higher levels and waits long for them
  png_write_info(png, info);
  if (bits == 16 && std::endian::native == std::endian::little) png_set_swap(png);
  for (unsigned y = 0; y < height; ++y) png_write_row(png, rows + y * rowBytes);
  png_write_end(png, nullptr);
  return true;
}

}  // namespace

void writePng(OutputFile& out, const Picture& picture) {
  png_structp png = png_create_write_struct(PNG_LIBPNG_VER_STRING, nullptr, fail, ignore);
  png_infop info = png != nullptr ? png_create_info_struct(png) : nullptr;
  bool done = false;
  if (info != nullptr) {
    const auto bytes = std::visit(
        [](const auto& samples) { return reinterpret_cast<const std::uint8_t*>(samples.data()); }, picture.samples);
    const int bits = picture.is16() ? 16 : 8;
    done = encode(png, info, out, picture.width, picture.height, bits, bytes,
                  std::size_t{3} * picture.width * static_cast<unsigned>(bits / 8));
  }
  png_destroy_write_struct(&png, &info);
  if (!done) out.giveUp("cannot be written as PNG");
}

}  // namespace quorvel::host
