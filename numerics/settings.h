// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_NUMERICS_SETTINGS_H_
#define QUORVEL_NUMERICS_SETTINGS_H_

namespace quorvel {

double linearPrecision();
double rankCondition();

}  // namespace quorvel

#endif  // QUORVEL_NUMERICS_SETTINGS_H_
