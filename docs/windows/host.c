// SPDX-License-Identifier: Apache-2.0
// A host in C. The headers are C++, so it declares what it calls, and is linked to the import library.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>

#ifdef _WIN32
#define QUORVEL_IMPORT __declspec(dllimport)
#define QUORVEL_CALL __cdecl
#else
#define QUORVEL_IMPORT
#define QUORVEL_CALL
#endif
QUORVEL_IMPORT const char* QUORVEL_CALL quorvelVersion(void);
QUORVEL_IMPORT const char* QUORVEL_CALL quorvelSimdTarget(void);
QUORVEL_IMPORT int QUORVEL_CALL rgbFromBayer(const uint16_t* src, unsigned width, unsigned height, unsigned pitch,
                                             uint16_t* r, uint16_t* g, uint16_t* b, int method);
QUORVEL_IMPORT uint32_t QUORVEL_CALL TstSum32(const uint32_t* data, unsigned nBytes);

enum { kWidth = 128, kHeight = 96, kSamples = kWidth * kHeight, kBayerGradient = 1 };

int main(void) {
  uint16_t* frame = malloc(kSamples * sizeof *frame);
  uint16_t* planes = malloc(3 * kSamples * sizeof *planes);  // red, then green, then blue
  if (frame == NULL || planes == NULL) return 1;
  for (unsigned y = 0; y < kHeight; ++y) {
    for (unsigned x = 0; x < kWidth; ++x) frame[y * kWidth + x] = (uint16_t)((x * 37 + y * 101 + x * y) % 4096);
  }
  int status =
      rgbFromBayer(frame, kWidth, kHeight, kWidth, planes, planes + kSamples, planes + 2 * kSamples, kBayerGradient);
  if (status != 0) {
    fprintf(stderr, "rgbFromBayer: %d\n", status);
    return 1;
  }
  printf("quorvel %s, %s: checksum %08x\n", quorvelVersion(), quorvelSimdTarget(),
         (unsigned)TstSum32((const uint32_t*)planes, 3 * kSamples * sizeof *planes));
  free(planes);
  free(frame);
  return 0;
}
