// SPDX-License-Identifier: Apache-2.0
#include <opencv2/imgproc.hpp>

#include "bench/peers/colour.h"

namespace quorvel::bench {
namespace {

template <typename Sample>
void transform(const Sample* src, Sample* dst, unsigned width, unsigned height, const double* m) {
  cv::setNumThreads(1);
  const int type = CV_MAKETYPE(cv::DataType<Sample>::type, 3);
  const cv::Mat in(static_cast<int>(height), static_cast<int>(width), type, const_cast<Sample*>(src));
  cv::Mat out(static_cast<int>(height), static_cast<int>(width), type, dst);
  cv::transform(in, out, cv::Mat(3, 3, CV_64F, const_cast<double*>(m)));
}

}  // namespace

void opencvYCrCb(const float* rgb, unsigned width, unsigned height) {
  static cv::Mat out;
  cv::setNumThreads(1);
  const cv::Mat in(static_cast<int>(height), static_cast<int>(width), CV_32FC3, const_cast<float*>(rgb));
  cv::cvtColor(in, out, cv::COLOR_RGB2YCrCb);
}

void opencvTransform(const std::uint16_t* src, std::uint16_t* dst, unsigned width, unsigned height, const double* m) {
  transform(src, dst, width, height, m);
}

void opencvTransform(const std::uint8_t* src, std::uint8_t* dst, unsigned width, unsigned height, const double* m) {
  transform(src, dst, width, height, m);
}

}  // namespace quorvel::bench
