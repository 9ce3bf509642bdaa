// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/huffman_jpeg.h"

#include <cstdio>
#include <cstring>

#include <jpeglib.h>

namespace quorvel::bench {
namespace {

// Where coefficient i of the zig-zag order stands in a block.
unsigned naturalOrder(unsigned i) {
  unsigned x = 0, y = 0;
  for (; i != 0; --i) {
    const bool up = (x + y) % 2 == 0;
    unsigned& with = up ? x : y;
    unsigned& against = up ? y : x;
    if (with == 7) {
      ++against;
    } else {
      ++with;
      if (against != 0) --against;
    }
  }
  return 8 * y + x;
}

}  // namespace

struct JpegCoefficients::Source {
  jpeg_decompress_struct owner;  // of the memory
  jpeg_error_mgr errors;
  jvirt_barray_ptr arrays[1];
};

JpegCoefficients::JpegCoefficients(unsigned width, unsigned height, const std::int16_t* blocks)
    : source_(new Source), width_(width), height_(height), file_(std::size_t{width} * height * 2) {
  auto* common = reinterpret_cast<j_common_ptr>(&source_->owner);
  source_->owner.err = jpeg_std_error(&source_->errors);
  jpeg_create_decompress(&source_->owner);
  jpeg_memory_mgr* memory = source_->owner.mem;
  source_->arrays[0] = memory->request_virt_barray(common, JPOOL_IMAGE, TRUE, width / 8, height / 8, 1);
  memory->realize_virt_arrays(common);
  unsigned order[64];
  for (unsigned i = 0; i < 64; ++i) order[i] = naturalOrder(i);
  for (unsigned y = 0; y < height / 8; ++y) {
    JBLOCKROW row = memory->access_virt_barray(common, source_->arrays[0], y, 1, TRUE)[0];
    for (unsigned x = 0; x < width / 8; ++x, blocks += 64) {
      for (unsigned i = 0; i < 64; ++i) row[x][order[i]] = blocks[i];
    }
  }
}

JpegCoefficients::~JpegCoefficients() {
  jpeg_destroy_decompress(&source_->owner);
  delete source_;
}

const std::vector<unsigned char>& JpegCoefficients::encode() {
  jpeg_compress_struct c;
  jpeg_error_mgr errors;
  c.err = jpeg_std_error(&errors);
  jpeg_create_compress(&c);
  c.image_width = width_;
  c.image_height = height_;
  c.input_components = 1;
  c.in_color_space = JCS_GRAYSCALE;
  jpeg_set_defaults(&c);
  unsigned char* out = file_.data();
  unsigned long size = file_.size();
  jpeg_mem_dest(&c, &out, &size);
  jpeg_write_coefficients(&c, source_->arrays);
  jpeg_finish_compress(&c);
  jpeg_destroy_compress(&c);
  return file_;
}

void JpegCoefficients::decode(const std::vector<unsigned char>& file) {
  jpeg_decompress_struct d;
  jpeg_error_mgr errors;
  d.err = jpeg_std_error(&errors);
  jpeg_create_decompress(&d);
  jpeg_mem_src(&d, file.data(), static_cast<unsigned long>(file.size()));
  jpeg_read_header(&d, TRUE);
  jpeg_read_coefficients(&d);
  jpeg_finish_decompress(&d);
  jpeg_destroy_decompress(&d);
}

}  // namespace quorvel::bench
