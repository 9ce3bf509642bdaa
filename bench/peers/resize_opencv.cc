// SPDX-License-Identifier: Apache-2.0
#include <opencv2/imgproc.hpp>

#include "bench/peers/resize.h"

namespace quorvel::bench {

void opencvArea16(const std::uint16_t* frame, unsigned width, unsigned height, unsigned factor) {
  static cv::Mat out;
  cv::setNumThreads(1);
  const cv::Mat in(static_cast<int>(height), static_cast<int>(width), CV_16UC1, const_cast<std::uint16_t*>(frame));
  cv::resize(in, out, cv::Size(static_cast<int>(width / factor), static_cast<int>(height / factor)), 0, 0,
             cv::INTER_AREA);
}

}  // namespace quorvel::bench
