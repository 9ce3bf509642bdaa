// SPDX-License-Identifier: Apache-2.0
// Dynamic libraries on POSIX systems.
#include <dlfcn.h>

#include "runtime/module_loader.h"

namespace quorvel {

// Everything is bound at once, so that a library that cannot work fails here and not at its first call.
Module openModule(const char* path) { return dlopen(path, RTLD_NOW | RTLD_LOCAL); }

EntryPoint findEntryPoint(Module module, const char* decoratedName) {
  void* found = dlsym(module, decoratedName);
  if (found == nullptr) {
    const std::string_view decorated = decoratedName;
    char plain[64] = {};  // all that the library asks for are shorter
    decorated.substr(1, decorated.find('@') - 1).copy(plain, sizeof plain - 1);
    found = dlsym(module, plain);
  }
  return reinterpret_cast<EntryPoint>(found);
}

void closeModule(Module module) { dlclose(module); }

const PathRules systemPaths = kPosixPaths;

}  // namespace quorvel
