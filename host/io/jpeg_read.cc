// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <numeric>
#include <optional>

#include <fmt/format.h>
#include <quorvel/dct_tables.h>
#include <quorvel/quorvel.h>

#include "host/io/jpeg.h"
#include "host/io/jpeg_markers.h"
#include "host/road/transforms.h"

namespace quorvel::host {
namespace {

constexpr std::size_t kBlock = 64;

struct FrameComponent {
  unsigned id = 0, table = 0;
  bool decoded = false;
};

class Reader {
 public:
  Reader(ByteSpan bytes, const fs::path& file) : bytes_(bytes), file_(file) {}

  JpegCoefficients header() && {
    next();
    return std::move(image_);
  }

  JpegCoefficients coefficients() && {
    while (next()) scan();
    const auto missing = std::find_if(frame_.begin(), frame_.end(), [](const auto& c) { return !c.decoded; });
    if (frame_.empty() || missing != frame_.end()) refuse("is cut short: it ends before its picture does");
    return std::move(image_);
  }

 private:
  [[noreturn]] void refuse(const std::string& wrong) const { throw DataError(file_, wrong); }

  // Big-endian fields of a segment.
  class Segment {
   public:
    Segment(ByteSpan rest, const Reader& reader) : rest_(rest), reader_(reader) {}
    unsigned byte() { return take(1)[0]; }
    unsigned word() {
      const ByteSpan two = take(2);
      return unsigned{two[0]} << 8 | two[1];
    }
    ByteSpan take(std::size_t n) {
      if (n > rest_.size()) reader_.refuse("has a damaged header");
      const ByteSpan taken = rest_.first(n);
      rest_ = rest_.subspan(n);
      return taken;
    }
    bool empty() const { return rest_.empty(); }

   private:
    ByteSpan rest_;
    const Reader& reader_;
  };

  // Works through segments up to the next scan, whose header is taken; false at the end of the picture.
  bool next() {
    for (;;) {
      while (at_ < bytes_.size() && bytes_[at_] != 0xFF) ++at_;
      while (at_ < bytes_.size() && bytes_[at_] == 0xFF) ++at_;
      if (at_ == bytes_.size()) refuse("is cut short: it has no end");
      const unsigned marker = bytes_[at_++];
      if (marker == kStartOfImage || marker == 0 || marker == 1 || isRestart(marker)) continue;
      if (marker == kEndOfImage) return false;
      Segment length(bytes_.subspan(at_), *this);
      const unsigned size = length.word();
      if (size < 2) refuse("has a damaged header");
      Segment segment(length.take(size - 2), *this);
      at_ += size;
      if (marker == kQuantiser) {
        quantisers(segment);
      } else if (marker == kCodes) {
        codes(segment);
      } else if (marker == kRestartInterval) {
        image_.restartInterval = segment.word();
      } else if (marker == kAdobe && size >= 14) {
        const ByteSpan name = segment.take(5);
        if (std::equal(name.begin(), name.end(), "Adobe")) adobeTransform_ = segment.take(7)[6];
      } else if (marker == kBaseline || marker == kExtended) {
        frame(segment);
      } else if (marker == kScan) {
        scanHeader(segment);
        return true;
      } else if (marker >= kBaseline && marker <= kLastFrame && marker != kCodes && marker != kArithmetic) {
        refuse("is a JPEG of another kind than baseline (progressive, lossless or arithmetic)");
      }
    }
  }

  void quantisers(Segment& segment) {
    while (!segment.empty()) {
      const unsigned which = segment.byte();
      if (which % 16 > 3 || which / 16 > 1) refuse("has a damaged quantiser");
      auto& steps = quantisers_[which % 16].emplace();
      for (std::uint16_t& step : steps) {
        step = static_cast<std::uint16_t>(which / 16 == 1 ? segment.word() : segment.byte());
        if (step == 0) refuse("has a damaged quantiser");
      }
    }
  }

  void codes(Segment& segment) {
    while (!segment.empty()) {
      const unsigned which = segment.byte();
      if (which % 16 > 3 || which / 16 > 1) refuse("has a damaged code");
      const ByteSpan counts = segment.take(16);
      const unsigned total = std::accumulate(counts.begin(), counts.end(), 0u);
      auto& table = codes_[which % 16][which / 16];
      table = std::make_unique<c_decode_tbl>();
      if (makeDecodeTable(counts.data(), segment.take(total).data(), table.get()) != 0) refuse("has a damaged code");
    }
  }

  void frame(Segment& segment) {
    if (!frame_.empty()) refuse("holds more than one picture");
    if (segment.byte() != 8) refuse("has samples of other than 8 bits");
    image_.height = segment.word();
    image_.width = segment.word();
    const unsigned components = segment.byte();
    if (!sizeIsSane(image_.width, image_.height)) {
      refuse(fmt::format("claims a size of {} x {}, which cannot be worked on", image_.width, image_.height));
    }
    if (components != 1 && components != 3) refuse(fmt::format("has {} components; 1 or 3 are read", components));
    for (unsigned c = 0; c < components; ++c) {
      FrameComponent component;
      component.id = segment.byte();
      const unsigned sampling = segment.byte();
      component.table = segment.byte();
      if (components > 1 && sampling != 0x11) refuse("has colours of another resolution than its luminance");
      if (component.table > 3) refuse("has a damaged header");
      frame_.push_back(component);
    }
    image_.components.resize(components);
    if (components == 3) {
      const bool named = frame_[0].id == 'R' && frame_[1].id == 'G' && frame_[2].id == 'B';
      image_.colour = adobeTransform_ == 0u || (!adobeTransform_ && named) ? JpegColour::Rgb : JpegColour::YCbCr;
    }
  }

  void scanHeader(Segment& segment) {
    if (frame_.empty()) refuse("has a damaged header");
    const unsigned components = segment.byte();
    if (components == 0 || components > frame_.size()) refuse("has a damaged header");
    scan_.clear();
    tables_.clear();
    for (unsigned i = 0; i < components; ++i) {
      const unsigned id = segment.byte(), codes = segment.byte();
      const auto found = std::find_if(frame_.begin(), frame_.end(), [id](const auto& c) { return c.id == id; });
      if (found == frame_.end() || found->decoded || codes % 16 > 3 || codes / 16 > 3) refuse("has a damaged header");
      found->decoded = true;
      const auto &dc = codes_[codes / 16][0], &ac = codes_[codes % 16][1];
      if (!dc || !ac || !quantisers_[found->table]) refuse("lacks a table");
      const auto c = static_cast<std::size_t>(found - frame_.begin());
      image_.components[c].steps = *quantisers_[found->table];
      scan_.push_back(c);
      tables_.push_back(dc.get());
      tables_.push_back(ac.get());
    }
  }

  // The picture data: intervals with restart markers between them, every one with predictions of its own.
  void scan() {
    const std::size_t mcus = std::size_t{image_.columns()} * image_.rows(), components = scan_.size();
    // A block takes two bits at least: a file that is too short for its size is refused before memory is taken.
    if (mcus * components > 4 * (bytes_.size() - at_)) refuse("is cut short: it ends before its picture does");
    for (const std::size_t c : scan_) image_.components[c].blocks.resize(mcus * kBlock);
    const std::size_t interval = image_.restartInterval != 0 ? image_.restartInterval : mcus;
    std::vector<std::int16_t> interleaved(components > 1 ? std::min(interval, mcus) * components * kBlock : 0);
    std::vector<std::uint64_t> stream;
    for (std::size_t first = 0, count = 0; first < mcus; first += interval, ++count) {
      const std::size_t n = std::min(interval, mcus - first), blocks = n * components;
      const ByteSpan rest = bytes_.subspan(at_);
      stream.resize(std::max(stream.size(), intervalWords(rest)));
      unsigned position = 0, produced = 0;
      const int marker = scanJpegData_(rest.data(), static_cast<unsigned>(rest.size()), position,
                                       reinterpret_cast<std::uint8_t*>(stream.data()), produced);
      at_ += position;
      std::int16_t* to = components > 1 ? interleaved.data() : &image_.components[scan_[0]].blocks[first * kBlock];
      CHuffmanProgress progress{};
      const int status = decodeHuffmanFastAllBounded(reinterpret_cast<const std::uint8_t*>(stream.data()), produced, to,
                                                     static_cast<unsigned>(blocks), tables_.data(),
                                                     static_cast<int>(components), 1, 1, 1, &progress);
      if (status != 0) {
        const std::size_t row = 8 * ((first + progress.blocks / components) / image_.columns());
        refuse(fmt::format("{} in row {}", marker == 0 ? "is cut short" : "has damaged picture data", row));
      }
      for (std::size_t c = 0; components > 1 && c < components; ++c) {
        std::int16_t* own = &image_.components[scan_[c]].blocks[first * kBlock];
        for (std::size_t i = 0; i < n; ++i) {
          std::copy_n(&interleaved[(i * components + c) * kBlock], kBlock, own + i * kBlock);
        }
      }
      if (first + n == mcus) return;
      if (marker != static_cast<int>(kFirstRestart + count % 8)) {
        refuse(fmt::format("has damaged picture data in row {}: a restart is missing", 8 * (first / image_.columns())));
      }
      at_ += 2;
    }
  }

  // Words for the bytes of the interval that begins here, up to the next marker.
  static std::size_t intervalWords(ByteSpan rest) {
    std::size_t end = 0;
    for (;;) {
      const auto found = std::find(rest.begin() + static_cast<std::ptrdiff_t>(end), rest.end(), 0xFF);
      end = static_cast<std::size_t>(found - rest.begin());
      if (end + 1 >= rest.size() || rest[end + 1] != 0) break;
      end += 2;
    }
    return std::min(end + 1, rest.size()) / 8 + 1;
  }

  ByteSpan bytes_;
  const fs::path& file_;
  std::size_t at_ = 0;
  JpegCoefficients image_;
  std::array<std::optional<std::array<std::uint16_t, kBlock>>, 4> quantisers_;
  std::array<std::array<std::unique_ptr<c_decode_tbl>, 2>, 4> codes_;  // [number][0 for DC, 1 for AC]
  std::vector<FrameComponent> frame_;
  std::optional<unsigned> adobeTransform_;
  std::vector<std::size_t> scan_;            // the components of the scan
  std::vector<const c_decode_tbl*> tables_;  // DC and AC of each of them
};

// The samples of a component, rows of whole blocks.
std::vector<std::uint8_t> samplesOf(const JpegCoefficients& image, const JpegComponent& component) {
  prepareTransforms();
  const std::size_t pitch = std::size_t{8} * image.columns();
  std::vector<std::uint8_t> samples(pitch * 8 * image.rows());
  const InverseTransform inverse(component.steps);
  for (unsigned row = 0; row < image.rows(); ++row) {
    inverse.blockRow(&component.blocks[std::size_t{row} * image.columns() * kBlock], image.columns(),
                     &samples[row * 8 * pitch], static_cast<unsigned>(pitch));
  }
  return samples;
}

}  // namespace

bool looksLikeJpeg(ByteSpan bytes) {
  return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == kStartOfImage && bytes[2] == 0xFF;
}

JpegCoefficients readJpegHeader(ByteSpan bytes, const fs::path& file) {
  if (!looksLikeJpeg(bytes)) throw DataError(file, "is no JPEG file");
  return Reader(bytes, file).header();
}

JpegCoefficients readJpegCoefficients(ByteSpan bytes, const fs::path& file) {
  if (!looksLikeJpeg(bytes)) throw DataError(file, "is no JPEG file");
  return Reader(bytes, file).coefficients();
}

Picture pictureOf(const JpegCoefficients& image) {
  const std::size_t pitch = std::size_t{8} * image.columns(), pixels = std::size_t{image.width} * image.height;
  const auto channels = static_cast<unsigned>(image.components.size());
  Picture picture{image.width, image.height, 255, std::vector<std::uint8_t>(channels * pixels), channels};
  std::uint8_t* to = std::get<0>(picture.samples).data();
  std::vector<std::vector<std::uint8_t>> planes;
  for (const JpegComponent& component : image.components) planes.push_back(samplesOf(image, component));
  if (image.colour == JpegColour::Grey) {
    for (unsigned y = 0; y < image.height; ++y)
      std::copy_n(&planes[0][y * pitch], image.width, to + std::size_t{y} * image.width);
    return picture;
  }
  std::array<std::vector<float>, 3> row;
  for (auto& plane : row) plane.resize(image.width);
  for (unsigned y = 0; y < image.height; ++y, to += 3 * image.width) {
    if (image.colour == JpegColour::YCbCr) {
      for (std::size_t c = 0; c < 3; ++c) {
        GrayToY8Flt(&planes[c][y * pitch], image.width, image.width, 1, row[c].data(), 128);
      }
      YCbCrPlanesToRGB8Flt(row[0].data(), row[1].data(), row[2].data(), to, image.width, image.width, 1, 128);
      continue;
    }
    for (unsigned x = 0; x < image.width; ++x) {
      for (std::size_t c = 0; c < 3; ++c) to[3 * x + c] = planes[c][y * pitch + x];
    }
  }
  return picture;
}

}  // namespace quorvel::host
