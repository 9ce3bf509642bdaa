// SPDX-License-Identifier: Apache-2.0
// Dynamic libraries on Windows.
#include <windows.h>

#include "runtime/module_loader.h"

namespace quorvel {

Module openModule(const char* path) { return LoadLibraryA(path); }

EntryPoint findEntryPoint(Module module, const char* decoratedName) {
  return reinterpret_cast<EntryPoint>(GetProcAddress(static_cast<HMODULE>(module), decoratedName));
}

void closeModule(Module module) { FreeLibrary(static_cast<HMODULE>(module)); }

const PathRules systemPaths = kWindowsPaths;

}  // namespace quorvel
