// SPDX-License-Identifier: Apache-2.0
// The system's loader of dynamic libraries, one implementation file a system.
#ifndef QUORVEL_RUNTIME_MODULE_LOADER_H_
#define QUORVEL_RUNTIME_MODULE_LOADER_H_

#include <string_view>

namespace quorvel {

using Module = void*;
using EntryPoint = void (*)();

// Null where nothing can be loaded. A name without a directory is looked for where the system looks.
Module openModule(const char* path);

// The entry point of that decorated name ("_name@bytes"), or null. Off Windows, where it is missing, the one of the
// plain name ("name"): tools for ELF read '@' as the start of a version and cannot easily export the other.
EntryPoint findEntryPoint(Module module, const char* decoratedName);

void closeModule(Module module);

// How paths are written: the separators of directories, and whether a path may start with a drive ("C:").
struct PathRules {
  std::string_view separators;
  bool drives;
};
inline constexpr PathRules kWindowsPaths = {"\\/", true};
inline constexpr PathRules kPosixPaths = {"/", false};
extern const PathRules systemPaths;

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_MODULE_LOADER_H_
