// SPDX-License-Identifier: Apache-2.0
#include <quorvel/pixel.h>

#include "bench/harness.h"

#ifdef QUORVEL_PEER_OPENCV
#include <opencv2/core.hpp>
#include <opencv2/imgproc.hpp>
#endif

namespace quorvel::bench {
namespace {

#ifdef QUORVEL_PEER_OPENCV
// An image that OpenCV has allocated itself, at the alignment that it likes best.
cv::Mat image(int type) { return {static_cast<int>(kHeight), static_cast<int>(kWidth), type, cv::Scalar::all(1)}; }

// The very buffer that the library works on, for a contest on equal terms.
template <typename T>
cv::Mat sameBuffer(const Samples<T>& samples, int type) {
  return {static_cast<int>(kHeight), static_cast<int>(kWidth), type, const_cast<T*>(samples.data())};
}

template <typename T>
cv::Mat image(const Samples<T>& samples, int type) {
  return sameBuffer(samples, type).clone();
}

std::function<void()> cvMerge(const std::vector<cv::Mat>& planes, cv::Mat pixels) {
  return [planes, pixels]() mutable { cv::merge(planes, pixels); };
}

std::function<void()> cvSplit(const cv::Mat& pixels, std::vector<cv::Mat> planes) {
  return [pixels, planes]() mutable { cv::split(pixels, planes); };
}

std::function<void()> cvConvert(const cv::Mat& pixels, int code, int type) {
  return [pixels, code, out = image(type)]() mutable { cv::cvtColor(pixels, out, code); };
}
#endif

template <typename T>
using Buffers = std::vector<std::shared_ptr<Samples<T>>>;

template <typename T>
Buffers<T> planes(unsigned high) {
  return {randomSamples<T>(kSamples, high, 1), randomSamples<T>(kSamples, high, 2),
          randomSamples<T>(kSamples, high, 3)};
}

// Both ways between planes and pixels of one sample type.
template <typename T>
void registerPlanes(const char* weaving, const char* parting, auto weave, auto part) {
  const auto p = planes<T>(std::is_same_v<T, std::uint8_t> ? 255 : 4095);
  const auto pixels = buffer<T>(3 * std::size_t{kSamples});
  Contest join(weaving, 6 * sizeof(T) * kSamples), split(parting, 6 * sizeof(T) * kSamples);
  join.quorvel([=] { weave(p[0]->data(), p[1]->data(), p[2]->data(), pixels->data(), kSamples); });
  split.quorvel([=] { part(pixels->data(), p[0]->data(), p[1]->data(), p[2]->data(), kSamples); });
#ifdef QUORVEL_PEER_OPENCV
  const int cvType = cv::DataType<T>::type, pixelType = CV_MAKETYPE(cvType, 3);
  std::vector<cv::Mat> own, same;
  for (const auto& plane : p) {
    own.push_back(image(*plane, cvType));
    same.push_back(sameBuffer(*plane, cvType));
  }
  const cv::Mat ownPixels = image(*pixels, pixelType), samePixels = sameBuffer(*pixels, pixelType);
  join.peer("opencv", cvMerge(own, ownPixels)).peer("opencv-same-buffers", cvMerge(same, samePixels));
  split.peer("opencv", cvSplit(ownPixels, own)).peer("opencv-same-buffers", cvSplit(samePixels, same));
#endif
}

void registerPixels() {
  const auto rgb = randomSamples<std::uint8_t>(3 * kSamples, 255);
  Contest widen("copy8_3to4", 7 * std::size_t{kSamples}), grey("RGBtoGray8", 4 * std::size_t{kSamples});
  Contest hiColor("RGBtoHiColor565_MMX", 5 * std::size_t{kSamples});
  widen.quorvel([=, out = buffer<std::uint8_t>(4 * kSamples)] { copy8_3to4(rgb->data(), out->data(), kSamples); });
  grey.quorvel([=, out = buffer<std::uint8_t>(kSamples)] { RGBtoGray8(rgb->data(), out->data(), kSamples); });
  hiColor.quorvel(
      [=, out = buffer<std::uint16_t>(kSamples)] { RGBtoHiColor565_MMX(rgb->data(), out->data(), kSamples); });
#ifdef QUORVEL_PEER_OPENCV
  const cv::Mat pixels = image(*rgb, CV_8UC3);
  widen.peer("opencv", cvConvert(pixels, cv::COLOR_RGB2BGRA, CV_8UC4));
  grey.peer("opencv", cvConvert(pixels, cv::COLOR_RGB2GRAY, CV_8U));
  hiColor.peer("opencv", cvConvert(pixels, cv::COLOR_RGB2BGR565, CV_8UC2));
#endif
}

void registerWords() {
  const auto words = planes<std::uint16_t>(4095);
  const auto out = buffer<std::uint16_t>(kSamples);
  Contest("bswap16_MMX", 4 * std::size_t{kSamples}).quorvel([=] {
    bswap16_MMX(words[0]->data(), out->data(), kSamples);
  });
  RGB_to_Gray coef;
  convertCoef_RGB_to_Gray(0.299, 0.587, 0.114, &coef);
  Contest("convertRGB_to_Gray_MMX", 8 * std::size_t{kSamples}).quorvel([=] {
    convertRGB_to_Gray_MMX(words[0]->data(), words[1]->data(), words[2]->data(), out->data(), kSamples, &coef);
  });
  Contest sum("sumWords", 2 * std::size_t{kSamples});
  sum.quorvel([=] { benchmark::DoNotOptimize(sumWords(words[0]->data(), kSamples)); });
#ifdef QUORVEL_PEER_OPENCV
  sum.peer("opencv", [frame = image(*words[0], CV_16U)] { benchmark::DoNotOptimize(cv::sum(frame)); });
#endif
  const auto data = randomSamples<std::uint32_t>(kSamples / 2, 0xFFFFFFFE);
  Contest("TstSum32", 2 * std::size_t{kSamples}).quorvel([=] {
    benchmark::DoNotOptimize(TstSum32(data->data(), 2 * kSamples));
  });
}

}  // namespace

void registerLayoutContests() {
#ifdef QUORVEL_PEER_OPENCV
  cv::setNumThreads(1);
#endif
  registerPlanes<std::uint8_t>("copy8_3_1", "copy8_1_3", copy8_3_1, copy8_1_3);
  registerPlanes<std::uint16_t>("copy16_3_1", "copy16_3_toPlane", copy16_3_1, copy16_3_toPlane);
  registerPixels();
  registerWords();
}

}  // namespace quorvel::bench
