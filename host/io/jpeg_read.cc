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
    if (!next()) refuse("holds no picture");
    return std::move(image_);
  }

  // Decodes all scans. `begin(image, component)` comes once for a component when all that the header says is known,
  // then `row(component, r, blocks)` with each of its rows of blocks.
  template <typename Begin, typename Row>
  JpegCoefficients decode(Begin begin, Row row) && {
    while (next()) scan(begin, row);
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

  // The picture data, row by row of blocks, through the library's pre-decoder: what a row needs stays in the cache.
  template <typename Begin, typename Row>
  void scan(Begin begin, Row row) {
    const std::size_t columns = image_.columns(), components = scan_.size();
    // A block takes two bits at least: a file that is too short for its size is refused before memory is taken.
    if (columns * image_.rows() * components > 4 * (bytes_.size() - at_)) {
      refuse("is cut short: it ends before its picture does");
    }
    for (const std::size_t c : scan_) begin(image_, c);
    std::vector<std::int16_t> blocks(columns * components * kBlock);
    CHuffman_state state;
    startInterval(state);
    std::size_t left = image_.restartInterval;
    for (unsigned r = 0, restarts = 0; r < image_.rows(); ++r) {
      for (std::size_t x = 0; x < columns; ++x) {
        if (image_.restartInterval != 0 && left-- == 0) {
          restart(restarts++, r);
          startInterval(state);
          left = image_.restartInterval - 1;
        }
        for (std::size_t c = 0; c < components; ++c) {
          const int status = decode_HuffmanBlock(static_cast<int>(c), &state, &blocks[(c * columns + x) * kBlock],
                                                 tables_[2 * c], tables_[2 * c + 1], pre_.get());
          if (status == 0) continue;
          const bool atEnd = status != -1 && pre_->marker == 0;
          refuse(fmt::format("{} in row {}", atEnd ? "is cut short" : "has damaged picture data", 8 * r));
        }
      }
      for (std::size_t c = 0; c < components; ++c) row(scan_[c], r, &blocks[c * columns * kBlock]);
    }
    at_ += pre_->position;
  }

  void startInterval(CHuffman_state& state) {
    const ByteSpan rest = bytes_.subspan(at_);
    startPreDecoder(pre_.get(), rest.data(), static_cast<unsigned>(std::min<std::size_t>(rest.size(), 0xFFFFFFFFu)),
                    &state);
  }

  void restart(unsigned count, unsigned row) {
    at_ += pre_->position;
    while (at_ + 1 < bytes_.size() && (bytes_[at_] != 0xFF || bytes_[at_ + 1] == 0)) ++at_;
    if (at_ + 1 >= bytes_.size()) refuse(fmt::format("is cut short in row {}", 8 * row));
    if (bytes_[at_ + 1] != kFirstRestart + count % 8) {
      refuse(fmt::format("has damaged picture data in row {}: a restart is missing", 8 * row));
    }
    at_ += 2;
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
  std::unique_ptr<CPreDecoder> pre_ = std::make_unique<CPreDecoder>();
};

// A component on its way to samples, rows of whole blocks.
struct SamplePlane {
  void begin(const JpegCoefficients& image, const JpegComponent& component) {
    pitch = std::size_t{8} * image.columns();
    samples.resize(pitch * 8 * image.rows());
    inverse.emplace(component.steps);
  }
  void row(unsigned r, const std::int16_t* blocks) {
    inverse->blockRow(blocks, static_cast<unsigned>(pitch / 8), &samples[r * 8 * pitch], static_cast<unsigned>(pitch));
  }

  std::size_t pitch = 0;
  std::vector<std::uint8_t> samples;
  std::optional<InverseTransform> inverse;
};

// Leaves out what stands beyond the picture in the last blocks.
std::vector<std::uint8_t> greyOf(SamplePlane plane, unsigned width, unsigned height) {
  std::uint8_t* const samples = plane.samples.data();
  for (std::size_t y = 1; y < height && width != plane.pitch; ++y) {
    std::copy_n(samples + y * plane.pitch, width, samples + y * width);
  }
  plane.samples.resize(std::size_t{width} * height);
  return std::move(plane.samples);
}

std::vector<std::uint8_t> coloursOf(const std::array<SamplePlane, 3>& planes, const JpegCoefficients& image) {
  std::vector<std::uint8_t> pixels(std::size_t{3} * image.width * image.height);
  std::array<std::vector<float>, 3> row;
  for (auto& plane : row) plane.resize(image.width);
  std::uint8_t* to = pixels.data();
  for (unsigned y = 0; y < image.height; ++y, to += std::size_t{3} * image.width) {
    for (std::size_t c = 0; c < 3; ++c) {
      const std::uint8_t* from = &planes[c].samples[y * planes[c].pitch];
      if (image.colour == JpegColour::YCbCr) {
        GrayToY8Flt(from, image.width, image.width, 1, row[c].data(), 128);
      } else {
        for (unsigned x = 0; x < image.width; ++x) to[3 * x + c] = from[x];
      }
    }
    if (image.colour != JpegColour::YCbCr) continue;
    YCbCrPlanesToRGB8Flt(row[0].data(), row[1].data(), row[2].data(), to, image.width, image.width, 1, 128);
  }
  return pixels;
}

Reader readerOf(ByteSpan bytes, const fs::path& file) {
  if (!looksLikeJpeg(bytes)) throw DataError(file, "is no JPEG file");
  return Reader(bytes, file);
}

}  // namespace

bool looksLikeJpeg(ByteSpan bytes) {
  return bytes.size() >= 3 && bytes[0] == 0xFF && bytes[1] == kStartOfImage && bytes[2] == 0xFF;
}

JpegCoefficients readJpegHeader(ByteSpan bytes, const fs::path& file) { return readerOf(bytes, file).header(); }

JpegCoefficients readJpegCoefficients(ByteSpan bytes, const fs::path& file) {
  std::array<std::vector<std::int16_t>, 3> all;
  std::size_t row = 0;
  JpegCoefficients image = readerOf(bytes, file)
                               .decode(
                                   [&](const JpegCoefficients& head, std::size_t c) {
                                     row = head.columns() * kBlock;
                                     all[c].reserve(row * head.rows());
                                   },
                                   [&](std::size_t c, unsigned, const std::int16_t* blocks) {
                                     all[c].insert(all[c].end(), blocks, blocks + row);
                                   });
  for (std::size_t c = 0; c < image.components.size(); ++c) image.components[c].blocks = std::move(all[c]);
  return image;
}

Picture readJpeg(ByteSpan bytes, const fs::path& file) {
  prepareTransforms();
  std::array<SamplePlane, 3> planes;
  const JpegCoefficients image =
      readerOf(bytes, file)
          .decode([&](const JpegCoefficients& head, std::size_t c) { planes[c].begin(head, head.components[c]); },
                  [&](std::size_t c, unsigned r, const std::int16_t* blocks) { planes[c].row(r, blocks); });
  const bool grey = image.colour == JpegColour::Grey;
  return {image.width, image.height, 255,
          grey ? greyOf(std::move(planes[0]), image.width, image.height) : coloursOf(planes, image), grey ? 1u : 3u};
}

}  // namespace quorvel::host
