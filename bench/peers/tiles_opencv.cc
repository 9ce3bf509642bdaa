// SPDX-License-Identifier: Apache-2.0
#include <opencv2/imgproc.hpp>

#include "bench/peers/tiles.h"

namespace quorvel::bench {
namespace {

template <int kType, typename Sample>
cv::Mat matrixOf(const Sample* tile, unsigned width, unsigned height) {
  cv::setNumThreads(1);
  return {static_cast<int>(height), static_cast<int>(width), kType, const_cast<Sample*>(tile)};
}

void turnMatrix(OpencvTurn turn, const cv::Mat& in) {
  static cv::Mat out;
  switch (turn) {
    case OpencvTurn::Quarter:
      return cv::rotate(in, out, cv::ROTATE_90_CLOCKWISE);
    case OpencvTurn::Half:
      return cv::rotate(in, out, cv::ROTATE_180);
    case OpencvTurn::ThreeQuarters:
      return cv::rotate(in, out, cv::ROTATE_90_COUNTERCLOCKWISE);
    case OpencvTurn::Mirror:
      return cv::flip(in, out, 1);
    case OpencvTurn::HalfInPlace:
      return cv::flip(in, in, -1);
  }
}

void borderMatrix(const cv::Mat& in, int border) {
  static cv::Mat out;
  cv::copyMakeBorder(in, out, border, border, border, border, cv::BORDER_REPLICATE);
}

}  // namespace

void opencvTurn(OpencvTurn turn, const std::uint8_t* tile, unsigned width, unsigned height) {
  turnMatrix(turn, matrixOf<CV_8UC1>(tile, width, height));
}

void opencvTurn(OpencvTurn turn, const std::uint16_t* tile, unsigned width, unsigned height) {
  turnMatrix(turn, matrixOf<CV_16UC1>(tile, width, height));
}

void opencvBorder(const std::uint8_t* tile, unsigned width, unsigned height, int border) {
  borderMatrix(matrixOf<CV_8UC1>(tile, width, height), border);
}

void opencvBorder(const std::uint16_t* tile, unsigned width, unsigned height, int border) {
  borderMatrix(matrixOf<CV_16UC1>(tile, width, height), border);
}

void opencvHistogram(const std::uint16_t* frame, unsigned width, unsigned height) {
  static cv::Mat histogram;
  const cv::Mat in = matrixOf<CV_16UC1>(frame, width, height);
  const int bins = 65536;
  const float range[] = {0, 65536};
  const float* const ranges = range;
  cv::calcHist(&in, 1, nullptr, cv::Mat(), histogram, 1, &bins, const_cast<const float**>(&ranges));
}

}  // namespace quorvel::bench
