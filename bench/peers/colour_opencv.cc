// SPDX-License-Identifier: Apache-2.0
#include <opencv2/imgproc.hpp>

#include "bench/peers/colour.h"

namespace quorvel::bench {

void opencvYCrCb(const float* rgb, unsigned width, unsigned height) {
  static cv::Mat out;
  cv::setNumThreads(1);
  const cv::Mat in(static_cast<int>(height), static_cast<int>(width), CV_32FC3, const_cast<float*>(rgb));
  cv::cvtColor(in, out, cv::COLOR_RGB2YCrCb);
}

}  // namespace quorvel::bench
