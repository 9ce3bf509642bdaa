// SPDX-License-Identifier: Apache-2.0
#include <opencv2/imgproc.hpp>

#include "bench/peers/demosaic.h"

namespace quorvel::bench {
namespace {

template <int kType, typename Sample>
void convert(const Sample* frame, unsigned width, unsigned height, int code) {
  static cv::Mat out;
  cv::setNumThreads(1);
  const cv::Mat in(static_cast<int>(height), static_cast<int>(width), kType, const_cast<Sample*>(frame));
  cv::cvtColor(in, out, code);
}

}  // namespace

void opencvBilinear16(const std::uint16_t* frame, unsigned width, unsigned height) {
  convert<CV_16UC1>(frame, width, height, cv::COLOR_BayerGB2RGB);
}

void opencvEdgeAware16(const std::uint16_t* frame, unsigned width, unsigned height) {
  convert<CV_16UC1>(frame, width, height, cv::COLOR_BayerGB2RGB_EA);
}

void opencvVng8(const std::uint8_t* frame, unsigned width, unsigned height) {
  convert<CV_8UC1>(frame, width, height, cv::COLOR_BayerGB2RGB_VNG);
}

}  // namespace quorvel::bench
