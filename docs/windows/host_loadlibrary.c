// SPDX-License-Identifier: Apache-2.0
// A host in C for any compiler, without an import library: it loads quorvel.dll itself and asks for undecorated names.
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <windows.h>

typedef const char*(__cdecl* TextFunction)(void);
typedef int(__cdecl* RgbFromBayer)(const uint16_t* src, unsigned width, unsigned height, unsigned pitch, uint16_t* r,
                                   uint16_t* g, uint16_t* b, int method);
typedef uint32_t(__cdecl* Checksum)(const uint32_t* data, unsigned nBytes);

enum { kWidth = 128, kHeight = 96, kSamples = kWidth * kHeight, kBayerGradient = 1 };

static void* find(HMODULE library, const char* name) {
  FARPROC function = GetProcAddress(library, name);
  if (function == NULL) {
    fprintf(stderr, "quorvel.dll has no %s\n", name);
    exit(1);
  }
  return (void*)function;
}

int main(void) {
  HMODULE library = LoadLibraryA("quorvel.dll");
  if (library == NULL) {
    fprintf(stderr, "quorvel.dll cannot be loaded: error %lu\n", GetLastError());
    return 1;
  }
  TextFunction version = (TextFunction)find(library, "quorvelVersion");
  TextFunction target = (TextFunction)find(library, "quorvelSimdTarget");
  RgbFromBayer rgbFromBayer = (RgbFromBayer)find(library, "rgbFromBayer");
  Checksum checksum = (Checksum)find(library, "TstSum32");

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
  printf("quorvel %s, %s: checksum %08x\n", version(), target(),
         (unsigned)checksum((const uint32_t*)planes, 3 * kSamples * sizeof *planes));
  free(planes);
  free(frame);
  FreeLibrary(library);
  return 0;
}
