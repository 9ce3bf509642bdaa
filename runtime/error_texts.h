// SPDX-License-Identifier: Apache-2.0
#ifndef QUORVEL_RUNTIME_ERROR_TEXTS_H_
#define QUORVEL_RUNTIME_ERROR_TEXTS_H_

namespace quorvel {

// The text of a general code (`imgErrorCode`): English for language 0, else Russian in Windows-1251. Null for any other
// code.
const char* imgErrorMessage(int language, int code);

// The text of a mathematical code (`matErrorCode`), Russian in Windows-1251; the default text, in English, for any
// other non-zero code. Null for 0, which is no error.
const char* matErrorMessage(int code);

}  // namespace quorvel

#endif  // QUORVEL_RUNTIME_ERROR_TEXTS_H_
