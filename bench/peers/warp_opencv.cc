// SPDX-License-Identifier: Apache-2.0
#include <opencv2/imgproc.hpp>

#include "bench/peers/warp.h"

namespace quorvel::bench {

std::vector<std::uint8_t> opencvWarp(const std::vector<std::uint8_t>& picture, unsigned width, unsigned height,
                                     unsigned channels, const double (&m)[6], bool cubic) {
  cv::setNumThreads(1);
  const int type = CV_8UC(static_cast<int>(channels)), columns = static_cast<int>(width),
            rows = static_cast<int>(height);
  std::vector<std::uint8_t> out(picture.size());
  const cv::Mat in(rows, columns, type, const_cast<std::uint8_t*>(picture.data()));
  cv::Mat made(rows, columns, type, out.data());
  const cv::Mat matrix(2, 3, CV_64F, const_cast<double*>(m));
  cv::warpAffine(in, made, matrix, made.size(), (cubic ? cv::INTER_CUBIC : cv::INTER_LINEAR) | cv::WARP_INVERSE_MAP,
                 cv::BORDER_REPLICATE);
  return out;
}

}  // namespace quorvel::bench
