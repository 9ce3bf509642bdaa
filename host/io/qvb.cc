// SPDX-License-Identifier: Apache-2.0
#include "host/io/qvb.h"

#include <algorithm>
#include <array>
#include <numeric>

#include <fmt/format.h>

#include "host/io/notes.h"

namespace quorvel::host {
namespace {

// The high first byte and the line ends show a transfer that took the file for text.
constexpr std::array<std::uint8_t, 8> kMagic = {0x89, 'Q', 'V', 'B', '\r', '\n', 0x1A, '\n'};
constexpr std::array<std::uint8_t, 4> kStripMark = {0xF5, 'S', 'T', 'R'};
constexpr unsigned kVersion = 1;
constexpr std::size_t kMostNotes = 1 << 16;
// Rows of cells: 64 rows of the frame are lost with a damaged strip, and a strip is long enough for its lengths and
// first coefficients to be nothing beside it.
constexpr unsigned kStripRows = 32;
constexpr std::uint8_t kCoded = 0, kStored = 1;
constexpr std::size_t kRecordHead = kStripMark.size() + 3 * sizeof(std::uint32_t);

// Memory that a header may ask for, in samples: this much at all events, else no more than the file can hold, which is
// 16 zeros a bit.
constexpr std::uint64_t kFreeSamples = 1 << 24, kMostSamplesOfByte = 128;

bool padsLeft(Phase phase) { return phase == Phase::RGGB || phase == Phase::GBRG; }
bool padsTop(Phase phase) { return phase == Phase::BGGR || phase == Phase::GBRG; }

CellGrid gridOf(unsigned width, unsigned height, Phase phase, unsigned stripRows = kStripRows) {
  return {width, height, padsLeft(phase), padsTop(phase), stripRows};
}

std::size_t symbolsOf(ByteSpan counts) { return std::accumulate(counts.begin(), counts.end(), std::size_t{0}); }

std::vector<std::uint8_t> headerBytes(const QvbHeader& header) {
  std::vector<std::uint8_t> body;
  append(body, static_cast<std::uint16_t>(kVersion));
  append(body, static_cast<std::uint8_t>(header.form));
  append(body, static_cast<std::uint8_t>(header.quality));
  append(body, std::uint32_t{header.grid.width});
  append(body, std::uint32_t{header.grid.height});
  append(body, static_cast<std::uint16_t>(header.grid.stripRows));
  append(body, static_cast<std::uint16_t>(header.shift));
  append(body, static_cast<std::uint8_t>(header.phase));
  if (header.form == QvbForm::Transformed) {
    for (const auto& plane : header.steps) {
      for (const std::uint16_t step : plane) append(body, step);
    }
  }
  for (const HuffmanDefinition& code : header.codes) {
    append(body, code.counts);
    append(body, ByteSpan(code.symbols).first(symbolsOf(code.counts)));
  }
  append(body, static_cast<std::uint32_t>(header.notes.size()));
  append(body, {reinterpret_cast<const std::uint8_t*>(header.notes.data()), header.notes.size()});

  std::vector<std::uint8_t> bytes(kMagic.begin(), kMagic.end());
  append(bytes, static_cast<std::uint32_t>(body.size()));
  append(bytes, body);
  append(bytes, crc32(bytes));
  return bytes;
}

struct ReadHeader {
  QvbHeader header;
  std::size_t length;
};

// Nothing where the bytes do not begin with a header whose checksum holds.
std::optional<ReadHeader> takeHeader(ByteSpan bytes, const fs::path& file) {
  ByteReader in(bytes);
  if (const ByteSpan magic = in.take(kMagic.size());
      !std::equal(magic.begin(), magic.end(), kMagic.begin(), kMagic.end())) {
    return std::nullopt;
  }
  ByteReader body(in.take(in.take<std::uint32_t>()));
  const std::size_t checked = bytes.size() - in.rest().size();
  if (in.take<std::uint32_t>() != crc32(bytes.first(checked)) || in.failed()) return std::nullopt;

  const auto refuse = [&](const std::string& what) { throw DataError(file, what); };
  if (const unsigned version = body.take<std::uint16_t>(); version != kVersion) {
    refuse(fmt::format("is of version {} of its format; this program reads version {}", version, kVersion));
  }
  QvbHeader header;
  const auto form = body.take<std::uint8_t>();
  header.form = QvbForm{form};
  header.quality = body.take<std::uint8_t>();
  const auto width = body.take<std::uint32_t>();
  const auto height = body.take<std::uint32_t>();
  const auto stripRows = body.take<std::uint16_t>();
  header.shift = body.take<std::uint16_t>();
  const auto phase = body.take<std::uint8_t>();
  if (form > 1 || phase > 3 || stripRows == 0 || header.shift == 0 || header.shift > 32768) {
    refuse("its header makes no sense");
  }
  if (!sizeIsSane(width, height) ||
      std::uint64_t{width} * height > std::max(kFreeSamples, kMostSamplesOfByte * bytes.size())) {
    refuse(fmt::format("claims a size of {} x {}, which cannot be worked on", width, height));
  }
  header.phase = Phase{phase};
  header.grid = gridOf(width, height, header.phase, stripRows);
  if (header.form == QvbForm::Transformed) {
    for (auto& plane : header.steps) {
      for (std::uint16_t& step : plane) {
        step = body.take<std::uint16_t>();
        if (step == 0) refuse("its quantiser makes no sense");
      }
    }
  }
  for (HuffmanDefinition& code : header.codes) {
    const ByteSpan counts = body.take(sizeof code.counts), symbols = body.take(symbolsOf(counts));
    if (symbols.size() > sizeof code.symbols) refuse("its codes make no sense");
    std::copy(counts.begin(), counts.end(), code.counts);
    std::copy(symbols.begin(), symbols.end(), code.symbols);
  }
  const ByteSpan notes = body.take(body.take<std::uint32_t>());
  header.notes.assign(notes.begin(), notes.end());
  if (body.failed() || !body.rest().empty() || notes.size() > kMostNotes) refuse("its header makes no sense");
  return ReadHeader{std::move(header), bytes.size() - in.rest().size()};
}

// The copy of the header at the end, which a length follows.
std::optional<ReadHeader> takeTrailer(ByteSpan bytes, const fs::path& file) {
  if (bytes.size() < sizeof(std::uint32_t)) return std::nullopt;
  const ByteSpan before = bytes.first(bytes.size() - sizeof(std::uint32_t));
  const auto length = ByteReader(bytes.last(sizeof(std::uint32_t))).take<std::uint32_t>();
  if (length > before.size()) return std::nullopt;
  auto trailer = takeHeader(before.last(length), file);
  return trailer && trailer->length == length ? std::move(trailer) : std::nullopt;
}

// A strip as the file has it: where it lies, which one it is, and its bytes.
struct Record {
  unsigned index;
  ByteSpan payload;
  std::size_t end;  // in the file
};

// Checks the record that may begin at `at`. `budget` is what may still be spent on checksums, so that a file full of
// false beginnings cannot take for ever.
std::optional<Record> recordAt(ByteSpan bytes, std::size_t at, std::uint64_t& budget) {
  ByteReader in(bytes.subspan(at));
  if (const ByteSpan mark = in.take(kStripMark.size());
      !std::equal(mark.begin(), mark.end(), kStripMark.begin(), kStripMark.end())) {
    return std::nullopt;
  }
  const auto index = in.take<std::uint32_t>();
  const auto length = in.take<std::uint32_t>();
  const auto sum = in.take<std::uint32_t>();
  const ByteSpan payload = in.take(length);
  if (in.failed() || length > budget) return std::nullopt;
  budget -= length;
  if (sum != crc32(payload, crc32(bytes.subspan(at + kStripMark.size(), 8)))) return std::nullopt;
  return Record{index, payload, at + kRecordHead + payload.size()};
}

void appendRecord(std::vector<std::uint8_t>& bytes, unsigned index, const std::vector<std::uint8_t>& payload) {
  append(bytes, kStripMark);
  const std::size_t checked = bytes.size();
  append(bytes, std::uint32_t{index});
  append(bytes, static_cast<std::uint32_t>(payload.size()));
  append(bytes, crc32(payload, crc32(ByteSpan(bytes).subspan(checked))));
  append(bytes, payload);
}

// The samples of a strip from its payload, or nothing.
std::optional<std::vector<std::uint16_t>> samplesOfPayload(const QvbHeader& header, const StripDecoder& decoder,
                                                           unsigned index, ByteSpan payload) {
  ByteReader in(payload);
  const auto kind = in.take<std::uint8_t>();
  const std::size_t cells = header.grid.cellsOf(index);
  if (kind == kStored) {
    if (in.rest().size() != 8 * cells) return std::nullopt;
    std::vector<std::uint16_t> samples(4 * cells);
    for (std::uint16_t& sample : samples) sample = in.take<std::uint16_t>();
    return samples;
  }
  if (kind != kCoded) return std::nullopt;
  const bool lossless = header.form == QvbForm::Lossless;
  const auto strip = decoder.decode(
      in.rest(), lossless ? losslessBlocks(header.grid, index) : transformedBlocks(header.grid, index), cells);
  if (!strip) return std::nullopt;
  return lossless ? samplesOfLossless(*strip, header.grid, index, header.shift)
                  : samplesOfTransformed(*strip, header.grid, index, header.steps);
}

// Both forms: the strips are made by `stripOf`, counted, and coded with the code that fits all of them.
template <typename StripOf>
std::vector<std::uint8_t> file(QvbHeader header, const std::vector<std::uint16_t>& frame, StripOf stripOf) {
  std::vector<Strip> strips(header.grid.strips);
  SymbolCounts counts(header.firstValue());
  for (unsigned i = 0; i < header.grid.strips; ++i) {
    strips[i] = stripOf(samplesOf(frame, header.grid, i), i);
    counts.add(strips[i]);
  }
  header.codes = counts.best();
  const StripEncoder encoder(header.codes, header.firstValue());
  const std::vector<std::uint8_t> head = headerBytes(header);
  std::vector<std::uint8_t> bytes = head;
  for (unsigned i = 0; i < header.grid.strips; ++i) {
    std::vector<std::uint8_t> payload = {kCoded};
    append(payload, encoder.encode(strips[i]));
    strips[i] = {};
    if (header.form == QvbForm::Lossless && payload.size() > 8 * header.grid.cellsOf(i)) {  // noise of 16 bits
      payload = {kStored};
      for (const std::uint16_t sample : samplesOf(frame, header.grid, i)) append(payload, sample);
    }
    appendRecord(bytes, i, payload);
  }
  append(bytes, head);
  append(bytes, static_cast<std::uint32_t>(head.size()));
  return bytes;
}

}  // namespace

bool looksLikeQvb(ByteSpan bytes) {
  return bytes.size() >= kMagic.size() && std::equal(kMagic.begin(), kMagic.end(), bytes.begin());
}

std::vector<std::uint8_t> compressed(const RawFrame& frame, int quality) {
  QvbHeader header;
  header.quality = quality;
  header.grid = gridOf(frame.width, frame.height, header.phase);
  header.steps = stepsOfQuality(quality);
  header.notes = notesOf(frame);
  return file(header, frame.samples, [&](const std::vector<std::uint16_t>& samples, unsigned index) {
    return transformedStrip(samples, header.grid, index, header.steps);
  });
}

std::vector<std::uint8_t> compressedLossless(const Mosaic& mosaic) {
  QvbHeader header;
  header.form = QvbForm::Lossless;
  header.phase = mosaic.phase;
  header.shift = shiftFor(mosaic.frame.samples);
  header.grid = gridOf(mosaic.frame.width, mosaic.frame.height, mosaic.phase);
  header.notes = notesOf(mosaic.frame);
  return file(header, mosaic.frame.samples, [&](const std::vector<std::uint16_t>& samples, unsigned index) {
    return losslessStrip(samples, header.grid, index, header.shift);
  });
}

QvbHeader readQvbHeader(ByteSpan bytes, const fs::path& file) {
  auto head = takeHeader(bytes, file);
  if (!head) head = takeTrailer(bytes, file);
  if (!head)
    throw DataError(file, looksLikeQvb(bytes) ? "its header is damaged, and so is the copy" : "is no .qvb file");
  return std::move(head->header);
}

ExpandedFrame expanded(ByteSpan bytes, const fs::path& file) {
  ExpandedFrame result;
  const auto head = takeHeader(bytes, file);
  result.header = readQvbHeader(bytes, file);
  const QvbHeader& header = result.header;
  const CellGrid& grid = header.grid;
  const auto decoder = StripDecoder::make(header.codes, header.firstValue());
  if (!decoder) throw DataError(file, "its codes make no sense");

  RawFrame& frame = result.mosaic.frame;
  applyNotes(header.notes, result.mosaic, file);
  result.mosaic.phase = header.phase;
  frame.width = grid.width;
  frame.height = grid.height;
  frame.samples.resize(std::size_t{grid.width} * grid.height);

  // Where a record ought to be and is not, the next one is looked for byte by byte.
  std::vector<bool> known(grid.strips);
  std::uint64_t budget = std::uint64_t{8} * bytes.size();
  std::size_t at = head ? head->length : 0;
  unsigned next = 0;
  result.damaged = !head;
  while (at < bytes.size() && next < grid.strips) {
    const auto record = recordAt(bytes, at, budget);
    if (!record || record->index < next || record->index >= grid.strips) {
      result.damaged = true;
      ++at;
      continue;
    }
    at = record->end;
    result.damaged |= record->index != next;
    next = record->index + 1;
    if (const auto samples = samplesOfPayload(header, *decoder, record->index, record->payload)) {
      putSamples(*samples, grid, record->index, frame.samples);
      known[record->index] = true;
    }
  }
  // The end has to be what the beginning was.
  if (head) {
    const auto copy = takeTrailer(bytes, file);
    const ByteSpan first = bytes.first(head->length), tail = bytes.subspan(std::min(at, bytes.size()));
    result.damaged |= !copy || tail.size() != first.size() + sizeof(std::uint32_t) ||
                      !std::equal(first.begin(), first.end(), tail.begin());
  }
  for (unsigned strip = 0; strip < grid.strips; ++strip) {
    if (known[strip]) continue;
    const unsigned first = grid.firstSampleRow(strip), end = grid.endSampleRow(strip);
    for (unsigned y = first; y < end; ++y) {
      for (unsigned x = 0; x < grid.width; ++x) {
        frame.samples[std::size_t{y} * grid.width + x] = static_cast<std::uint16_t>(frame.black[y % 2 * 2 + x % 2]);
      }
    }
    if (!result.lost.empty() && result.lost.back().end == first) {
      result.lost.back().end = end;
    } else {
      result.lost.push_back({first, end});
    }
  }
  result.damaged |= !result.lost.empty();
  return result;
}

std::string textOf(const std::vector<RowRange>& lost) {
  std::string text;
  for (const RowRange& rows : lost) {
    text += fmt::format("{} {} to {}", text.empty() ? "rows" : ",", rows.first, rows.end - 1);
  }
  return text;
}

}  // namespace quorvel::host
