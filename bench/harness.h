// SPDX-License-Identifier: Apache-2.0
// One routine, several contestants: the routine of this library, `memcpy` of the same bytes, and the strongest peers,
// timed in one run and compared at its end.
#ifndef QUORVEL_BENCH_HARNESS_H_
#define QUORVEL_BENCH_HARNESS_H_

#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include <benchmark/benchmark.h>

namespace quorvel::bench {

// The frame that every figure is measured on.
inline constexpr unsigned kWidth = 4096, kHeight = 3072;
inline constexpr unsigned kSamples = kWidth * kHeight;

// Frame buffers begin at a cache line, as a host's and as the peers' own images do.
template <typename T>
struct CacheLineAllocator {
  using value_type = T;
  static constexpr std::align_val_t kLine{64};
  CacheLineAllocator() = default;
  template <typename U>
  explicit CacheLineAllocator(const CacheLineAllocator<U>&) {}
  T* allocate(std::size_t n) { return static_cast<T*>(::operator new(n * sizeof(T), kLine)); }
  void deallocate(T* p, std::size_t) { ::operator delete(p, kLine); }
  bool operator==(const CacheLineAllocator&) const = default;
};
template <typename T>
using Samples = std::vector<T, CacheLineAllocator<T>>;

// Registers the contest for one routine. Every contestant does the same work a call; `bytesMoved` is what the routine
// reads and writes a call, and the memcpy contestant copies half as many, so that it moves the same.
class Contest {
 public:
  Contest(std::string routine, std::size_t bytesMoved) : routine_(std::move(routine)), bytesMoved_(bytesMoved) {
    auto buffers = std::make_shared<std::pair<Samples<char>, Samples<char>>>();
    add("memcpy", [half = bytesMoved / 2, buffers] {
      if (buffers->first.empty()) buffers->first.assign(half, 1), buffers->second.assign(half, 2);
      std::memcpy(buffers->second.data(), buffers->first.data(), half);
      benchmark::DoNotOptimize(buffers->second.data());
    });
  }

  Contest& quorvel(std::function<void()> work) { return add("quorvel", std::move(work)); }
  Contest& peer(const std::string& name, std::function<void()> work) { return add(name, std::move(work)); }

 private:
  Contest& add(const std::string& name, std::function<void()> work) {
    benchmark::RegisterBenchmark((routine_ + "/" + name).c_str(), [work = std::move(work),
                                                                   bytes = bytesMoved_](benchmark::State& state) {
      work();  // touches every page and fills lazy tables before the clock runs
      for (auto _ : state) {
        work();
        benchmark::ClobberMemory();
      }
      state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes));
    })->Unit(benchmark::kMillisecond);
    return *this;
  }

  std::string routine_;
  std::size_t bytesMoved_;
};

// Random samples of a frame; equal seeds give equal samples.
template <typename T>
std::shared_ptr<Samples<T>> randomSamples(std::size_t n, unsigned high, unsigned seed = 1) {
  std::minstd_rand engine(seed);
  auto out = std::make_shared<Samples<T>>(n);
  for (T& v : *out) v = static_cast<T>((engine() >> 8) % (high + 1));
  return out;
}

template <typename T>
std::shared_ptr<Samples<T>> buffer(std::size_t n) {
  return std::make_shared<Samples<T>>(n);
}

// Each room's file registers its contests here; main calls them all.
void registerBayerCalibrationContests();
void registerBayerContests();
void registerBayerReductionContests();
void registerBayerPlanesContests();
void registerDctContests();
void registerGeometryResampleContests();
void registerGeometryMappingContests();
void registerColourContests();
void registerGeometryTileContests();
void registerHuffmanContests();
void registerJpegContests();
void registerLayoutContests();
void registerNumericsContests();
void registerPixelContests();

}  // namespace quorvel::bench

#endif  // QUORVEL_BENCH_HARNESS_H_
