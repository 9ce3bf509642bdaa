// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>
#include <vector>

#include <libraw/libraw.h>

#include "bench/peers/demosaic.h"

namespace quorvel::bench {

class LibRawVng::Access : public LibRaw {
 public:
  Access(const std::uint16_t* frame, unsigned width, unsigned height) : frame_(frame, frame + width * height) {
    const int opened = open_bayer(
        reinterpret_cast<unsigned char*>(frame_.data()), static_cast<unsigned>(frame_.size() * sizeof(std::uint16_t)),
        static_cast<ushort>(width), static_cast<ushort>(height), 0, 0, 0, 0, 0, LIBRAW_OPENBAYER_GRBG, 0, 0, 0);
    if (opened != LIBRAW_SUCCESS || unpack() != LIBRAW_SUCCESS || raw2image() != LIBRAW_SUCCESS) {
      throw std::runtime_error("LibRaw does not take the frame");
    }
    pre_interpolate();
  }
  void interpolate() { vng_interpolate(); }

 private:
  std::vector<std::uint16_t> frame_;
};

LibRawVng::LibRawVng(const std::uint16_t* frame, unsigned width, unsigned height)
    : raw_(std::make_unique<Access>(frame, width, height)) {}
LibRawVng::~LibRawVng() = default;
void LibRawVng::interpolate() { raw_->interpolate(); }

}  // namespace quorvel::bench
