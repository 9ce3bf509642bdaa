// SPDX-License-Identifier: Apache-2.0
// A host in miniature: unpacks a grey frame, demosaics it and keeps objects of every exported template, all through the
// installed headers.
#include <cstdio>
#include <vector>

#include <quorvel/quorvel.h>

int main() {
  constexpr unsigned kWidth = 16, kHeight = 8, kSamples = kWidth * kHeight;
  const std::vector<std::uint16_t> grey(kSamples, 1234);
  std::vector<std::uint8_t> packed(kSamples / 2 * 3);
  std::vector<std::uint16_t> frame(kSamples), r(kSamples), g(kSamples), b(kSamples);
  compr16to12(grey.data(), packed.data(), kSamples);
  decomp12to16(packed.data(), frame.data(), kSamples);
  rgbFromBayer(frame.data(), kWidth, kHeight, kWidth, r.data(), g.data(), b.data(), bayerVariableGradients);

  TMemAlloc<std::uint32_t> memory;
  TPtrAlloc<std::uint32_t> buffer(5), other;
  other.realloc(memory.alloc(2), 2);
  memory.free(other.get());
  other = buffer;
  const bool shared = other.get() == buffer.get();
  other.clrExternalMemory();
  TPtrAllocXYZ<std::uint32_t> block(4, 3, 2);
  TMatrix<float> byRows(3, 2);
  byRows.row(1)[2] = 1;
  CCubeI16 cube;
  cube.cell(1, 0, 0)[2] = 1;
  sMatrixD byColumns(3, 2);
  byColumns(2, 1) = 1;
  const bool kept = shared && block.getNXYZ() == 24 && byRows.data()[5] == 1 && cube.data()[5] == 1 &&
                    byColumns.data()[byColumns.size() - 1] == 1;

  const bool right = r == grey && g == grey && b == grey && kept;
  std::printf("quorvel %s on %s: %s\n", quorvelVersion(), quorvelSimdTarget(), right ? "right" : "wrong");
  return right ? 0 : 1;
}
