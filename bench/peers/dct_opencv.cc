// SPDX-License-Identifier: Apache-2.0
#include "bench/peers/dct.h"

#include <opencv2/core.hpp>

namespace quorvel::bench {

// Blocks one below another: a transform of the rows of a tall matrix is not what is wanted, so each is its own matrix.
struct OpencvDct::Frames {
  cv::Mat in, out;

  void transform(int flags) {
    for (int y = 0; y < in.rows; y += 8) {
      const cv::Mat block = in.rowRange(y, y + 8);
      cv::Mat result = out.rowRange(y, y + 8);
      cv::dct(block, result, flags);
    }
  }
};

OpencvDct::OpencvDct(const std::uint8_t* frame, unsigned width, unsigned height) : frames_(std::make_unique<Frames>()) {
  cv::setNumThreads(1);
  const int rows = static_cast<int>(width * height / 8);
  cv::Mat(rows, 8, CV_8UC1, const_cast<std::uint8_t*>(frame)).convertTo(frames_->in, CV_32F, 1, -128);
  frames_->out.create(rows, 8, CV_32F);
}

OpencvDct::~OpencvDct() = default;
void OpencvDct::forward() { frames_->transform(0); }
void OpencvDct::inverse() { frames_->transform(cv::DCT_INVERSE); }

}  // namespace quorvel::bench
