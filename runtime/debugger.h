// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_RUNTIME_DEBUGGER_H_
#define QUORVEL_RUNTIME_DEBUGGER_H_

namespace quorvel {

// Stops in a debugger. Without one the process ends, unless it handles the trap; then execution goes on.
void debuggerBreak();

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_DEBUGGER_H_
