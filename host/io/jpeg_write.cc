// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <memory>
#include <numeric>

#include <quorvel/dct_tables.h>
#include <quorvel/huffman_tables.h>
#include <quorvel/quorvel.h>

#include "host/io/jpeg.h"
#include "host/io/jpeg_markers.h"
#include "host/road/transforms.h"

namespace quorvel::host {
namespace {

constexpr std::size_t kBlock = 64;
// What a block takes at most, stuffed bytes counted.
constexpr std::size_t kMostBytesOfBlock = 512;

// Luminance and chrominance have tables of their own; each has a code for first coefficients and one for the others.
struct Codes {
  HuffmanDefinition dc, ac;
};
using Frequencies = std::array<std::array<std::uint32_t, 256>, 2>;  // DC, AC

constexpr std::array<Codes, 2> kUsualCodes = {Codes{kLuminanceDC, kLuminanceAC}, Codes{kChrominanceDC, kChrominanceAC}};

Codes bestFor(const Frequencies& frequencies) {
  Codes codes{};
  makeOptimalTable(frequencies[0].data(), codes.dc.counts, codes.dc.symbols);
  makeOptimalTable(frequencies[1].data(), codes.ac.counts, codes.ac.symbols);
  return codes;
}

// The picture as rows of quantised blocks, components interleaved, made as they are asked for.
class BlockRows {
 public:
  BlockRows(const Picture& picture, int quality)
      : picture_(picture),
        columns_((picture.width + 7) / 8),
        rows_((picture.height + 7) / 8),
        tables_{ForwardTransform(jpegSteps(kJpegLuminanceSteps, quality)),
                ForwardTransform(jpegSteps(kJpegChrominanceSteps, quality))},
        strips_(picture.channels, std::vector<std::uint8_t>(std::size_t{64} * columns_)),
        single_(picture.channels > 1 ? kBlock * columns_ : 0),
        blocks_(kBlock * columns_ * picture.channels) {
    if (picture.channels > 1) {
      for (auto& plane : floats_) plane.resize(picture.width);
    }
    prepareTransforms();
  }

  std::size_t rows() const { return rows_; }
  std::size_t count() const { return std::size_t{columns_} * picture_.channels; }
  std::size_t components() const { return picture_.channels; }
  const ForwardTransform& tables(std::size_t component) const { return tables_[component != 0]; }

  // The blocks of a row, in zig-zag order, valid until the next call.
  const std::int16_t* operator()(std::size_t row) {
    const auto& samples = std::get<0>(picture_.samples);
    const std::size_t components = picture_.channels, pitch = std::size_t{8} * columns_;
    const std::size_t first = 8 * row, have = std::min<std::size_t>(8, picture_.height - first);
    if (components == 1 && have == 8 && picture_.width == pitch) {
      tables_[0].blockRow(&samples[first * pitch], pitch, columns_, blocks_.data());
      return blocks_.data();
    }
    for (std::size_t y = 0; y < 8; ++y) {
      if (y < have) {
        planesOf(&samples[(first + y) * picture_.width * components], y * pitch);
      } else {  // rows below the picture repeat its last one
        for (auto& strip : strips_) std::copy_n(&strip[(have - 1) * pitch], pitch, &strip[y * pitch]);
      }
    }
    if (components == 1) {
      tables_[0].blockRow(strips_[0].data(), pitch, columns_, blocks_.data());
      return blocks_.data();
    }
    for (std::size_t c = 0; c < components; ++c) {
      tables(c).blockRow(strips_[c].data(), pitch, columns_, single_.data());
      for (std::size_t i = 0; i < columns_; ++i) {
        std::copy_n(&single_[i * kBlock], kBlock, &blocks_[(i * components + c) * kBlock]);
      }
    }
    return blocks_.data();
  }

 private:
  // One row of the picture into the strips, the columns beyond it like its last one.
  void planesOf(const std::uint8_t* pixels, std::size_t to) {
    const unsigned width = picture_.width;
    if (picture_.channels == 1) {
      std::copy_n(pixels, width, &strips_[0][to]);
    } else {
      RGB8ToYCbCrPlanesFlt(pixels, width, width, 1, floats_[0].data(), floats_[1].data(), floats_[2].data(), 128);
      for (std::size_t c = 0; c < floats_.size(); ++c) {
        // From -128 to 127.5: after the addition truncation rounds, and the top of the range is limited.
        std::transform(floats_[c].begin(), floats_[c].end(), &strips_[c][to],
                       [](float v) { return static_cast<std::uint8_t>(std::min(v + 128.5f, 255.0f)); });
      }
    }
    for (auto& strip : strips_) std::fill_n(&strip[to + width], 8 * columns_ - width, strip[to + width - 1]);
  }

  const Picture& picture_;
  unsigned columns_, rows_;
  std::array<ForwardTransform, 2> tables_;
  std::vector<std::vector<std::uint8_t>> strips_;
  std::array<std::vector<float>, 3> floats_;
  std::vector<std::int16_t> single_, blocks_;
};

// The codes of luminance and chrominance that take the fewest bits for this picture.
std::array<Codes, 2> codesFor(BlockRows& rows) {
  std::array<Frequencies, 2> frequencies{};
  CHuffman_state state{};
  for (std::size_t row = 0; row < rows.rows(); ++row) {
    const std::int16_t* blocks = rows(row);
    for (std::size_t i = 0; i < rows.count(); ++i) {
      const std::size_t component = i % rows.components();
      auto& [dc, ac] = frequencies[component != 0];
      countHuffmanSymbols(static_cast<int>(component), &state, blocks + i * kBlock, dc.data(), ac.data());
    }
  }
  return {bestFor(frequencies[0]), bestFor(frequencies[1])};
}

// Markers and the fields behind them, high bytes first.
class Segments {
 public:
  explicit Segments(std::vector<std::uint8_t>& out) : out_(out) {}

  void marker(unsigned code) {
    byte(0xFF);
    byte(code);
  }
  void byte(std::size_t v) { out_.push_back(static_cast<std::uint8_t>(v)); }
  void word(std::size_t v) {
    byte(v >> 8);
    byte(v);
  }
  void bytes(ByteSpan more) { append(out_, more); }

 private:
  std::vector<std::uint8_t>& out_;
};

void writeHeader(Segments out, const Picture& picture, const BlockRows& rows, const std::array<Codes, 2>& codes) {
  const std::size_t components = rows.components(), tables = components > 1 ? 2 : 1;
  constexpr std::array<std::uint8_t, 14> kJfifFields = {'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0};
  out.marker(kStartOfImage);
  out.marker(kJfif);
  out.word(2 + kJfifFields.size());
  out.bytes(kJfifFields);
  out.marker(kQuantiser);
  out.word(2 + 65 * tables);
  for (std::size_t t = 0; t < tables; ++t) {
    out.byte(t);
    for (const std::uint16_t step : rows.tables(t).zigzagSteps()) out.byte(step);
  }
  out.marker(kBaseline);
  out.word(8 + 3 * components);
  out.byte(8);
  out.word(picture.height);
  out.word(picture.width);
  out.byte(components);
  for (std::size_t c = 0; c < components; ++c) {
    out.byte(c + 1);
    out.byte(0x11);
    out.byte(c != 0);
  }
  for (std::size_t t = 0; t < tables; ++t) {
    for (const auto& [kind, code] : {std::pair(0u, &codes[t].dc), std::pair(16u, &codes[t].ac)}) {
      out.marker(kCodes);
      const std::size_t symbols = std::accumulate(std::begin(code->counts), std::end(code->counts), std::size_t{0});
      out.word(2 + 17 + symbols);
      out.byte(kind + t);
      out.bytes(code->counts);
      out.bytes(ByteSpan(code->symbols).first(symbols));
    }
  }
  out.marker(kScan);
  out.word(6 + 2 * components);
  out.byte(components);
  for (std::size_t c = 0; c < components; ++c) {
    out.byte(c + 1);
    out.byte(c != 0 ? 0x11 : 0);
  }
  out.bytes(std::array<std::uint8_t, 3>{0, 63, 0});  // all coefficients at once
}

}  // namespace

std::vector<std::uint8_t> encodeJpeg(const Picture& picture, const JpegOptions& options) {
  BlockRows rows(picture, options.quality);
  const std::array<Codes, 2> codes = options.optimize ? codesFor(rows) : kUsualCodes;
  struct Tables {
    c_derived_tbl dc, ac;
  };
  const auto tables = std::make_unique<std::array<Tables, 2>>();
  for (std::size_t t = 0; t < tables->size(); ++t) {
    makeDerivedTable(codes[t].dc.counts, codes[t].dc.symbols, &(*tables)[t].dc);
    makeDerivedTable(codes[t].ac.counts, codes[t].ac.symbols, &(*tables)[t].ac);
    prepareBigCache(&(*tables)[t].ac, 0);
  }
  std::vector<std::uint8_t> file;
  file.reserve(picture.samples.index() == 0 ? std::get<0>(picture.samples).size() / 4 : 0);
  writeHeader(Segments(file), picture, rows, codes);

  CHuffman_state state{};
  std::vector<std::uint64_t> row(rows.count() * kMostBytesOfBlock / 8 + 8);
  auto* const begin = reinterpret_cast<std::uint8_t*>(row.data());
  const auto flush = [&] {
    append(file, ByteSpan(begin, reinterpret_cast<std::uint8_t*>(state.word)));
    state.word = row.data();
  };
  state.word = row.data();
  for (std::size_t r = 0; r < rows.rows(); ++r) {
    const std::int16_t* blocks = rows(r);
    for (std::size_t i = 0; i < rows.count(); ++i) {
      const std::size_t component = i % rows.components();
      const Tables& t = (*tables)[component != 0];
      encodeHuffmanBlock8BigCache(static_cast<int>(component), &state, blocks + i * kBlock, &t.dc, &t.ac);
    }
    flush();
  }
  flushHuffmanBlock8(&state);
  flush();
  Segments(file).marker(kEndOfImage);
  return file;
}

}  // namespace quorvel::host
