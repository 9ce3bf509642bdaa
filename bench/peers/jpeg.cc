// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/jpeg.h"

#include <cstdio>
#include <cstdlib>

#include <jpeglib.h>

namespace quorvel::bench {

std::vector<std::uint8_t> peerEncodeJpeg(const std::uint8_t* pixels, const PeerJpeg& jpeg) {
  jpeg_error_mgr errors;
  jpeg_compress_struct c{};
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  unsigned char* memory = nullptr;
  unsigned long size = 0;
  jpeg_mem_dest(&c, &memory, &size);
  c.image_width = jpeg.width;
  c.image_height = jpeg.height;
  c.input_components = static_cast<int>(jpeg.channels);
  c.in_color_space = jpeg.channels == 1 ? JCS_GRAYSCALE : JCS_RGB;
  jpeg_set_defaults(&c);
  jpeg_set_quality(&c, jpeg.quality, TRUE);
  for (int i = 0; i < c.num_components; ++i) c.comp_info[i].h_samp_factor = c.comp_info[i].v_samp_factor = 1;
  c.optimize_coding = jpeg.optimize;
  c.restart_interval = jpeg.restart;
  c.dct_method = JDCT_ISLOW;
  jpeg_start_compress(&c, TRUE);
  while (c.next_scanline < c.image_height) {
    auto* row = const_cast<JSAMPLE*>(pixels + std::size_t{c.next_scanline} * jpeg.width * jpeg.channels);
    jpeg_write_scanlines(&c, &row, 1);
  }
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  std::vector<std::uint8_t> file(memory, memory + size);
  std::free(memory);
  return file;
}

int peerDecodeJpeg(const std::vector<std::uint8_t>& file, std::vector<std::uint8_t>& pixels) {
  jpeg_error_mgr errors;
  jpeg_decompress_struct d{};
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, file.data(), file.size());
  jpeg_read_header(&d, TRUE);
  d.dct_method = JDCT_ISLOW;
  jpeg_start_decompress(&d);
  const std::size_t stride = std::size_t{d.output_width} * static_cast<unsigned>(d.output_components);
  pixels.resize(stride * d.output_height);
  while (d.output_scanline < d.output_height) {
    JSAMPROW row = &pixels[stride * d.output_scanline];
    jpeg_read_scanlines(&d, &row, 1);
  }
  jpeg_finish_decompress(&d);
  const auto warnings = static_cast<int>(errors.num_warnings);
  jpeg_destroy_decompress(&d);
  return warnings;
}

std::vector<std::vector<std::int16_t>> peerJpegCoefficients(const std::vector<std::uint8_t>& file) {
  jpeg_error_mgr errors;
  jpeg_decompress_struct d{};
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, file.data(), file.size());
  jpeg_read_header(&d, TRUE);
  jvirt_barray_ptr* const arrays = jpeg_read_coefficients(&d);
  std::vector<std::vector<std::int16_t>> components;
  for (int c = 0; c < d.num_components; ++c) {
    auto& blocks = components.emplace_back();
    for (JDIMENSION row = 0; row < (d.image_height + 7) / 8; ++row) {
      JBLOCKARRAY a = d.mem->access_virt_barray(reinterpret_cast<j_common_ptr>(&d), arrays[c], row, 1, FALSE);
      for (JDIMENSION x = 0; x < (d.image_width + 7) / 8; ++x) blocks.insert(blocks.end(), a[0][x], a[0][x] + 64);
    }
  }
  jpeg_destroy_decompress(&d);
  return components;
}

}  // namespace quorvel::bench
