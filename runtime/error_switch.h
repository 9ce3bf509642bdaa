// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_RUNTIME_ERROR_SWITCH_H_
#define QUORVEL_RUNTIME_ERROR_SWITCH_H_

namespace quorvel {

// Whether the host has set `ignoreError`.
bool errorsIgnored();

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_ERROR_SWITCH_H_
