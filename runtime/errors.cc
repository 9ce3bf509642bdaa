// SPDX-License-Identifier: Apache-2.0
// The error objects that numerical routines throw, and the two switches of the error family.
#include "quorvel/errors.h"

#include <atomic>
#include <cstdio>
#include <cstring>
#include <type_traits>

#include "runtime/error_switch.h"
#include "runtime/error_texts.h"
#include "runtime/messages.h"

namespace {

// Relaxed: the host sets it before it calls from several threads, and nothing else hangs on its value.
std::atomic<int> ignoreErrorFlag{0};

template <std::size_t kRoom>
void append(char (&text)[kRoom], const char* label, const char* value) {
  const std::size_t used = std::strlen(text);
  std::snprintf(text + used, kRoom - used, "\n%s: %s ", label, value);
}

}  // namespace

static_assert(std::is_trivially_copyable_v<CImgErrorText> && sizeof(CImgErrorText) == 4096);
static_assert(std::is_trivially_copyable_v<CMatErrorM>);

CImgErrorText::CImgErrorText() = default;

CImgErrorText::CImgErrorText(int errorCode) : CImgErrorText(errorCode, "") {}

CImgErrorText::CImgErrorText(const char* message) : CImgErrorText(imgErrorTextOnly, message) {}

CImgErrorText::CImgErrorText(int errorCode, const char* message) {
  init(message);
  setError(errorCode);
}

CImgErrorText::CImgErrorText(int errorCode, const char* message, const char* fileName, int systemError)
    : CImgErrorText(errorCode, message) {
  if (fileName != nullptr) append(text, "Filename", fileName);
  if (systemError != 0) {
    char systemText[sizeof text];
    quorvel::systemMessage(systemError, systemText, sizeof systemText);
    append(text, "System", systemText);
  }
}

void CImgErrorText::init(const char* message) {
  if (message == nullptr) message = "Not text descrition";
  const std::size_t length = strnlen(message, sizeof text - 1);
  std::memmove(text, message, length);  // the message may be this very object's text
  text[length] = '\0';
}

void CImgErrorText::setError(int errorCode) { code = errorCode; }

int CImgErrorText::getCode() const { return code; }

const char* CImgErrorText::Text() const { return text; }

CMatErrorM::CMatErrorM(int errorCode, const char* raisedBy) : code(errorCode), function(raisedBy) {}

const char* CMatErrorM::formatText(char* header, char* out, int toOem) const {
  if (header != nullptr) std::sprintf(header, "Mathematic Error %d", code);
  if (out == nullptr) return "";
  const char* message = quorvel::matErrorMessage(code);
  if (message == nullptr) {
    *out = '\0';
    return nullptr;
  }
  char text[260];
  std::snprintf(text, sizeof text, "%s", message);
  if (toOem != 0) quorvel::ansiToConsole(text);
  std::sprintf(out, "%s\n function: %s", text, function != nullptr ? function : "");
  return out;
}

bool quorvel::errorsIgnored() { return ignoreErrorFlag.load(std::memory_order_relaxed) != 0; }

int ignoreError(int flag) {
  ignoreErrorFlag.store(flag, std::memory_order_relaxed);
  return 0;
}

void DebugTrapF(bool) {}
