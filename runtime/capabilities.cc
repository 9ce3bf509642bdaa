// SPDX-License-Identifier: Apache-2.0
// Processor queries. Only here and in isExtMMX does the library touch instructions directly.
#include "runtime/capabilities.h"

#include <cstring>

#include "quorvel/runtime.h"

#if defined(__x86_64__) || defined(__i386__)
#define QUORVEL_X86 1
#include <cpuid.h>
#include <x86intrin.h>
#else
#define QUORVEL_X86 0
#endif

namespace quorvel {
namespace {

#if QUORVEL_X86

bool machineHasCpuid() {
  constexpr unsigned kIdentificationFlag = 0x200000;
  const auto before = __readeflags();
  __writeeflags(before ^ kIdentificationFlag);
  const auto after = __readeflags();
  __writeeflags(before);
  return ((before ^ after) & kIdentificationFlag) != 0;
}

CpuidRegisters machineCpuid(std::uint32_t leaf) {
  CpuidRegisters r;
  __cpuid(leaf, r.eax, r.ebx, r.ecx, r.edx);
  return r;
}

#else

// A made-up processor that announces what the kernels provide: MMX, SSE (and so EMMX) and SSE2, and nothing more.
bool machineHasCpuid() { return false; }

CpuidRegisters machineCpuid(std::uint32_t leaf) {
  CpuidRegisters r;
  if (leaf == 1) r.edx = 1u << 23 | 1u << 25 | 1u << 26;
  return r;
}

#endif

constexpr std::uint32_t kExtendedLeaf = 0x80000000;

bool featureBit(unsigned bit) { return (processor.cpuid(1).edx >> bit & 1) != 0; }

std::int32_t extendedFeature(std::uint32_t mask) {
  return static_cast<std::int32_t>(processor.cpuid(kExtendedLeaf + 1).edx & mask);
}

constexpr std::uint32_t kEmmxAmdMask = 1u << 22;
constexpr std::uint32_t kExtended3dMask = 1u << 30;
constexpr std::uint32_t k3dMask = 1u << 31;

// 3DNow! is refused on every Intel processor, whatever its feature bits say.
bool has3dNowBits(std::uint32_t mask) {
  if (!isCPUID() || isIntel()) return false;
  if (processor.cpuid(kExtendedLeaf).eax <= kExtendedLeaf) return false;
  return (processor.cpuid(kExtendedLeaf + 1).edx & mask) == mask;
}

template <typename Ask>
int remembered(CapabilityCell& cell, Ask ask) {
  if (cell == -1) cell = static_cast<std::int32_t>(ask());
  return cell;
}

}  // namespace

constinit CapabilityCells capabilityCells;
Processor processor = {machineHasCpuid, machineCpuid};

}  // namespace quorvel

using namespace quorvel;

int isCPUID() { return processor.hasCpuid(); }

int isIntel() {
  if (!isCPUID()) return 0;
  char vendor[13];
  cpuId(vendor);
  return std::strcmp(vendor, "GenuineIntel") == 0;
}

int isMMX() { return featureBit(23); }

int isEMMX() { return featureBit(25); }

int isSSE() {
  return remembered(capabilityCells.sse, [] { return featureBit(25); });
}

int isSSE2() {
  return remembered(capabilityCells.sse2, [] { return featureBit(26); });
}

int isEMMXamd() {
  return remembered(capabilityCells.emmxAmd, [] { return extendedFeature(kEmmxAmdMask); });
}

int isCommonEMMX() {
  return remembered(capabilityCells.commonEmmx, [] { return isEMMXamd() != 0 || isEMMX() != 0; });
}

int is3DNow() {
  return remembered(capabilityCells.now3d, [] {
    const bool answer = has3dNowBits(k3dMask);
    capabilityCells.now3dMirror = answer;
    return answer;
  });
}

int isE3DNow() {
  return remembered(capabilityCells.extended3dNow, [] { return has3dNowBits(k3dMask | kExtended3dMask); });
}

int isE3Damd() {
  return remembered(capabilityCells.extended3dAmd, [] { return extendedFeature(kExtended3dMask); });
}

int isExtMMX() {
#if QUORVEL_X86
  // The instruction is the probe: it has to be executed. The clobbered registers are those that it shares with x87.
  __asm__ volatile("pxor %%mm0, %%mm0\n\tpmulhuw %%mm0, %%mm0\n\temms"
                   :
                   :
                   : "st", "st(1)", "st(2)", "st(3)", "st(4)", "st(5)", "st(6)", "st(7)");
#endif
  return 1;
}

int cpuID_() { return static_cast<int>(processor.cpuid(1).eax); }

void cpuID(int* family, int* model, int* stepping) {
  const std::uint32_t signature = processor.cpuid(1).eax;
  const auto field = [signature](int shift) { return static_cast<int>(signature >> shift & 0xF); };
  *stepping = field(0);
  *model = field(4) | field(16) << 4;
  *family = field(8) | field(20) << 4;
}

void cpuId(char* vendor) {
  const CpuidRegisters r = processor.cpuid(0);
  std::memcpy(vendor, &r.ebx, 4);
  std::memcpy(vendor + 4, &r.edx, 4);
  std::memcpy(vendor + 8, &r.ecx, 4);
  vendor[12] = '\0';
}
