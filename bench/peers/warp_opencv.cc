// SPDX-License-Identifier: Apache-2.0
#include <opencv2/imgproc.hpp>

#include "bench/peers/warp.h"

namespace quorvel::bench {
namespace {

template <int kType, typename Sample>
void warp(const Sample* src, unsigned side, const double m[6], unsigned width, unsigned height, bool cubic) {
  static cv::Mat out;
  cv::setNumThreads(1);
  const cv::Mat in(static_cast<int>(side), static_cast<int>(side), kType, const_cast<Sample*>(src));
  const cv::Mat mapping(2, 3, CV_64F, const_cast<double*>(m));
  cv::warpAffine(in, out, mapping, cv::Size(static_cast<int>(width), static_cast<int>(height)),
                 cv::WARP_INVERSE_MAP | (cubic ? cv::INTER_CUBIC : cv::INTER_LINEAR));
}

}  // namespace

void opencvWarp(const std::uint8_t* src, unsigned side, const double m[6], unsigned width, unsigned height,
                bool cubic) {
  warp<CV_8UC1>(src, side, m, width, height, cubic);
}

void opencvWarp(const std::uint16_t* src, unsigned side, const double m[6], unsigned width, unsigned height,
                bool cubic) {
  warp<CV_16UC1>(src, side, m, width, height, cubic);
}

std::vector<std::uint8_t> opencvWarpPicture(const std::vector<std::uint8_t>& picture, unsigned width, unsigned height,
                                            unsigned channels, const double m[6], bool cubic) {
  const int type = CV_8UC(static_cast<int>(channels)), columns = static_cast<int>(width),
            rows = static_cast<int>(height);
  std::vector<std::uint8_t> out(picture.size());
  const cv::Mat in(rows, columns, type, const_cast<std::uint8_t*>(picture.data()));
  cv::Mat made(rows, columns, type, out.data());
  const cv::Mat mapping(2, 3, CV_64F, const_cast<double*>(m));
  cv::warpAffine(in, made, mapping, made.size(), cv::WARP_INVERSE_MAP | (cubic ? cv::INTER_CUBIC : cv::INTER_LINEAR),
                 cv::BORDER_REPLICATE);
  return out;
}

}  // namespace quorvel::bench
