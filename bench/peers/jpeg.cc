// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/jpeg.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace quorvel::bench {

std::vector<std::uint8_t> peerEncodeJpeg(const std::uint8_t* pixels, unsigned width, unsigned height, int quality) {
  jpeg_error_mgr errors;
  jpeg_compress_struct c{};
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &memory, &size);
  c.image_width = width;
  c.image_height = height;
  c.input_components = 1;
  c.in_color_space = JCS_GRAYSCALE;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, quality, TRUE);
  c.dct_method = JDCT_ISLOW;
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < height) {
    auto* row = const_cast<JSAMPLE*>(pixels + std::size_t{c.next_scanline} * width);
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  std::vector<std::uint8_t> file(memory, memory + size);
  std::free(memory);
  return file;
}

void peerDecodeJpeg(const std::vector<std::uint8_t>& file, std::vector<std::uint8_t>& pixels) {
  jpeg_error_mgr errors;
  jpeg_decompress_struct d{};
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, file.data(), file.size());
  jpeg_read_header(&d, TRUE);
  d.dct_method = JDCT_ISLOW;
  jpeg_start_decompress(&d);
  pixels.resize(std::size_t{d.output_width} * d.output_height);
  while (d.output_scanline < d.output_height) {
    JSAMPROW row = &pixels[std::size_t{d.output_scanline} * d.output_width];
    jpeg_read_scanlines(&d, &row, 1);
  }
  jpeg_finish_decompress(&d);
  jpeg_destroy_decompress(&d);
}

}  // namespace quorvel::bench
