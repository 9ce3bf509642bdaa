// SPDX-License-Identifier: Apache-2.0
// COM itself.
#include <objbase.h>

#include "runtime/com.h"

namespace quorvel {
namespace {

std::int32_t initialiseMultithreaded() { return CoInitializeEx(nullptr, COINIT_MULTITHREADED); }

std::int32_t initialiseSingleThreaded() { return CoInitialize(nullptr); }

std::int32_t initialiseSecurity() {
  constexpr LONG kDefaultServices = -1;
  return CoInitializeSecurity(nullptr, kDefaultServices, nullptr, nullptr, RPC_C_AUTHN_LEVEL_NONE,
                              RPC_C_IMP_LEVEL_IMPERSONATE, nullptr, EOAC_NONE, nullptr);
}

void uninitialise() { CoUninitialize(); }

}  // namespace

ComCalls comCalls = {initialiseMultithreaded, initialiseSingleThreaded, initialiseSecurity, uninitialise};

}  // namespace quorvel
