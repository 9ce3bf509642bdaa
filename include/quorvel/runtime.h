// SPDX-License-Identifier: Apache-2.0
/// @file
/// What the processor can do, time, small bit functions, and the typed buffers.
///
/// Nothing is detected when the library is loaded: each query asks the processor when it is called, and the cached ones
/// remember their answer for the life of the process. No function here takes a lock; two threads that fill a cache at
/// once store the same value.
///
/// On processors other than x86 `isMMX`, `isEMMX`, `isCommonEMMX`, `isSSE` and `isSSE2` answer 1, because the kernels
/// of those names exist there, and so does `isExtMMX`, which has nothing to execute; every other query answers 0.
#ifndef QUORVEL_RUNTIME_H_
#define QUORVEL_RUNTIME_H_

#include <quorvel/typed_buffers.h>
#include <quorvel/types.h>

extern "C" {

/// @name The library itself
/// @{

/// The library's version, "major.minor.patch".
QUORVEL_API const char* quorvelVersion();
/// The name of the vector target that the kernels of this process run on, for example "AVX3", "NEON" or "SCALAR".
QUORVEL_API const char* quorvelSimdTarget();

/// @}
/// @name Processor queries
/// Result 0 for no and non-zero for yes; 1 unless stated.
/// @{

/// Whether the CPUID instruction exists. Asked anew on every call.
QUORVEL_API int isCPUID();
/// Whether the vendor string is "GenuineIntel". Asked anew on every call.
QUORVEL_API int isIntel();
/// CPUID leaf 1, EDX bit 23. Asked anew on every call.
QUORVEL_API int isMMX();
/// CPUID leaf 1, EDX bit 25: the bit that announces SSE and, with it, the integer MMX extensions. Asked anew on every
/// call.
QUORVEL_API int isEMMX();
/// The same bit as `isEMMX`; the answer is remembered.
QUORVEL_API int isSSE();
/// CPUID leaf 1, EDX bit 26; remembered.
QUORVEL_API int isSSE2();
/// The MMX extensions of leaf 0x80000001, EDX bit 22, as the masked bit itself: 0x400000 or 0; remembered.
QUORVEL_API int isEMMXamd();
/// `isEMMXamd`, or else `isEMMX`; remembered. The forward transforms read this remembered answer without asking, see
/// `calcFDCT16_bq` in `quorvel/codec.h`.
QUORVEL_API int isCommonEMMX();
/// Leaf 0x80000001, EDX bit 31, on processors that are not "GenuineIntel"; remembered.
QUORVEL_API int is3DNow();
/// As `is3DNow`, and EDX bit 30 as well; remembered.
QUORVEL_API int isE3DNow();
/// Leaf 0x80000001, EDX bit 30, as the masked bit itself: 0x40000000 or 0, asked without any other test; remembered.
QUORVEL_API int isE3Damd();
/// Executes one extended-MMX instruction and returns 1. On a processor without it the instruction faults: callers guard
/// the call with their own fault handling. On processors other than x86 there is nothing to execute.
QUORVEL_API int isExtMMX();

/// The signature of CPUID leaf 1 (EAX); 0 on processors other than x86.
QUORVEL_API int cpuID_();
/// Takes the signature apart. `stepping` gets bits 0..3; `model` bits 4..7 with the extended model in its bits 4..7;
/// `family` bits 8..11 with the low four bits of the extended family in its bits 4..7 (joined, not added, and for every
/// base family, unlike the vendors' displayed family).
QUORVEL_API void cpuID(int* family, int* model, int* stepping);
/// Writes the 12 characters of the vendor string and a zero into `vendor`, which has room for at least 13 bytes. An
/// empty string on processors other than x86.
QUORVEL_API void cpuId(char* vendor);

/// @}
/// @name Time
/// @{

/// Milliseconds of the performance counter, modulo 2^32.
QUORVEL_API unsigned timeMS();
/// Microseconds of the performance counter, modulo 2^32.
QUORVEL_API unsigned timeMks();
/// The performance counter divided by 16, modulo 2^32.
QUORVEL_API unsigned timeCounter();
/// Waits `ms` milliseconds by polling `timeMS`, without sleeping or yielding. Times are counted modulo 2^32 ms, about
/// 49.7 days, from the process's first call of this function. Hence two traps: a negative `ms` returns at once only
/// where as much time has passed since the first call, and else waits 2^32 + `ms` milliseconds, about 49.7 days; and in
/// a process that lives beyond 49.7 days a wait over the end of such a period returns at once, while one that ends in
/// its last milliseconds can miss the moment and poll on for another period.
QUORVEL_API void delayMsek(int ms);
/// Estimates the processor's clock in MHz from timed runs of about 100000 dependent increments; the largest of five
/// estimates. Takes a little over 50 milliseconds.
QUORVEL_API int frequencyMHzByIncEAX();
/// Total and available physical memory in kilobytes; the upper 32 bits of both are 0.
QUORVEL_API void checkPhysicalMemory(std::uint64_t& total, std::uint64_t& avail);

/// @}
/// @name Bits
/// @{

/// The number of significant bits of `x`: 0 for 0, 32 for 0x80000000.
QUORVEL_API int log2i(unsigned x);
/// The index of the highest set bit of `x`, -1 for 0.
QUORVEL_API int log2n(unsigned x);
/// The index of the lowest set bit of `x`, -1 for 0.
QUORVEL_API int lowBit(unsigned x);

/// @}
}  // extern "C"

#endif  // QUORVEL_RUNTIME_H_
