// SPDX-License-Identifier: Apache-2.0
// A library of the right name and none of the entry points.
extern "C" __attribute__((visibility("default"))) int unrelated() { return 0; }
