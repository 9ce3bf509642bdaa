// SPDX-License-Identifier: Apache-2.0
/// @file
/// Process-level services around the image work: guards that initialise the component object model (COM) for the
/// calling thread, and the loader of the optional GPU library.
///
/// A process has one count of initialising guards and one flag for the kind of apartment that was initialised last.
/// Every guard works on them under one lock, which one thread may enter again. No guard throws: `isValid` tells whether
/// this object holds an initialisation. On systems without COM the guards keep the count, the flag and this protocol,
/// every initialisation succeeds with status 0, and nothing is asked of the system.
#ifndef QUORVEL_GUARDS_H_
#define QUORVEL_GUARDS_H_

#include <quorvel/types.h>

/// Initialises COM for the multithreaded apartment and undoes it on destruction.
///
/// The first guard of a process makes the call; a second one beside it holds nothing. Destroying that second one counts
/// down all the same, so the count can reach 0, and fall below it, while the first still holds COM: where the count
/// matters, keep one guard at a time.
class QUORVEL_API CComMultithread {
 public:
  /// Initialises if the count is 0. A valid status counts up and sets the flag.
  CComMultithread();
  /// Initialises unless COM is initialised as multithreaded already (a count above 0 and the flag set). Where that gave
  /// a valid status and `withSecurity` is not 0, calls `initSecuruty` too; its answer is not kept.
  explicit CComMultithread(int withSecurity);
  /// Copies `result` without any call of COM. Copy and original each undo the initialisation that `result` stands for.
  CComMultithread(const CComMultithread& other);
  CComMultithread& operator=(const CComMultithread& other);
  /// Calls `close`, once for either class of guard.
  virtual ~CComMultithread();

  /// 1 when this object's initialisation succeeded (status 0) or found COM initialised (status 1), else 0.
  int isValid();
  /// Sets the COM security of the process: no security descriptor, default authentication services, no authentication,
  /// impersonation of the client, no capabilities. 0 on success, 3 on failure, as when it has been set before.
  int initSecuruty();
  /// Counts down, whether or not this object initialised, and if it is valid uninitialises COM and sets `result` to -1.
  /// Destruction afterwards counts down once more.
  void close();

  /// The status of the initialisation that this object made; -1 when it made none or undid it.
  std::int32_t result;
};

/// Initialises COM for the calling thread in whatever way it allows: multithreaded if that succeeds, and only where it
/// does not, for the single-threaded apartment.
class QUORVEL_API CComNormal : public CComMultithread {
 public:
  /// As `CComMultithread()`; if the count is 0 after that, makes the single-threaded initialisation, and a valid status
  /// counts up and clears the flag.
  CComNormal();
  CComNormal(const CComNormal& other);
  CComNormal& operator=(const CComNormal& other);
  ~CComNormal() override;
};

extern "C" {

/// @name The GPU library
/// Neither function takes a lock: load and unload from one thread.
/// @{

/// Loads "Ferrox.dll", unless it is loaded already, and binds its entry points `_nrCudaDevices@0`, `_cudaCall@8` and
/// `_deleteCollector@4`.
///
/// `pathHint` is a path whose drive and directory are where the library is looked for first; what follows the last
/// separator is ignored, so a program can pass its own path, and a directory has to end with a separator. Where nothing
/// can be loaded from there, or `pathHint` is null, the system's search finds the library.
///
/// @return 0 when all three entry points are bound, with "\n{Cuda OK!}" on standard output; 2 when no library was
/// found, with "\nCan't load Ferrox.dll" on standard output (the next call tries again); 3 when an entry point is
/// missing: the library stays loaded and nothing is bound. Off Windows an entry point may also have its plain name
/// (`nrCudaDevices`), because tools for ELF read '@' as the start of a version.
QUORVEL_API int loadFerrox(const char* pathHint);

/// Unbinds the entry points, forgets the function that releases collectors, and frees the library, if one is loaded.
/// @return 0
QUORVEL_API int unloadFerrox();

/// @}
}  // extern "C"

#endif  // QUORVEL_GUARDS_H_
