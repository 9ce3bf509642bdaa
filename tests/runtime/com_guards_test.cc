// SPDX-License-Identifier: Apache-2.0
#include <chrono>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <type_traits>
#include <utility>

#include <gtest/gtest.h>
#include <quorvel/guards.h>

#include "runtime/com.h"

#ifdef _WIN32
#include <objbase.h>
#endif

namespace quorvel::test {
namespace {

using Guard = std::unique_ptr<CComMultithread>;

Guard byDefault() { return std::make_unique<CComMultithread>(); }
Guard insecure() { return std::make_unique<CComMultithread>(0); }
Guard secure() { return std::make_unique<CComMultithread>(-1); }
Guard normal() { return std::make_unique<CComNormal>(); }

void setState(std::int32_t count, std::int32_t flag) {
  comState().count = count;
  comState().multithreaded = flag;
}

// Plays COM: answers with the given statuses and writes down the calls, M multithreaded, S single-threaded, X security
// and U undone, each with the depth at which the lock was held.
class ComGuards : public testing::Test {
 protected:
  ComGuards() : system_(comCalls) {
    played = this;
    comCalls = {[] { return played->called('M', played->multithreaded); },
                [] { return played->called('S', played->singleThreaded); },
                [] { return played->called('X', played->security); }, [] { played->called('U', 0); }};
    setState(0, 0);
  }
  ~ComGuards() override {
    EXPECT_EQ(comState().nesting, 0);
    comCalls = system_;
    setState(0, 0);
  }
  std::string takeCalls() { return std::exchange(calls, {}); }

  std::int32_t multithreaded = 0, singleThreaded = 0, security = 0;
  std::string calls;
  std::function<void()> duringSecurity = [] {};

 private:
  std::int32_t called(char name, std::int32_t status) {
    calls += name + std::to_string(comState().nesting);
    if (name == 'X') duringSecurity();
    return status;
  }
  static inline ComGuards* played = nullptr;
  ComCalls system_;
};

TEST_F(ComGuards, WhoInitialisesAndWhatComesOfIt) {
  const struct {
    Guard (*make)();
    std::int32_t count, flag, multithreaded, singleThreaded;  // before, and what COM answers
    const char* calls;
    std::int32_t result, countAfter, flagAfter;
  } cases[] = {
      {byDefault, 0, 0, 0, -9, "M1", 0, 1, 1},  {byDefault, 0, 0, 1, -9, "M1", 1, 1, 1},
      {byDefault, 0, 0, -5, 0, "M1", -5, 0, 0}, {byDefault, 0, 1, 2, 0, "M1", 2, 0, 1},
      {byDefault, 1, 0, 0, 0, "", -1, 1, 0},    {byDefault, -1, 1, 0, 0, "", -1, -1, 1},
      {insecure, 0, 1, 0, -9, "M1", 0, 1, 1},   {insecure, 1, 0, 0, -9, "M1", 0, 2, 1},
      {secure, 0, 0, 0, -9, "M1X2", 0, 1, 1},   {secure, 7, 1, 0, -9, "", -1, 7, 1},
      {secure, -1, 1, 1, -9, "M1X2", 1, 0, 1},  {secure, 1, 0, -5, 0, "M1", -5, 1, 0},
      {normal, 0, 0, 0, 0, "M1", 0, 1, 1},      {normal, 0, 1, -5, 0, "M1S1", 0, 1, 0},
      {normal, 0, 1, -5, 1, "M1S1", 1, 1, 0},   {normal, 0, 1, -5, -7, "M1S1", -7, 0, 1},
      {normal, 2, 0, 0, 0, "", -1, 2, 0},       {normal, -1, 0, 0, 0, "", -1, -1, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - cases);
    setState(c.count, c.flag);
    multithreaded = c.multithreaded;
    singleThreaded = c.singleThreaded;
    Guard guard = c.make();
    EXPECT_EQ(takeCalls(), c.calls);
    EXPECT_EQ(guard->result, c.result);
    const bool valid = c.result == 0 || c.result == 1;
    EXPECT_EQ(guard->isValid(), valid);
    EXPECT_EQ(comState().count, c.countAfter);
    EXPECT_EQ(comState().multithreaded, c.flagAfter);
    guard.reset();
    EXPECT_EQ(takeCalls(), valid ? "U1" : "");
    EXPECT_EQ(comState().count, c.countAfter - 1) << "closed once, whoever initialised";
  }
}

TEST_F(ComGuards, SecurityAnswers0Or3) {
  CComMultithread guard;
  for (const auto& [status, answer] : {std::pair(0, 0), std::pair(1, 0), std::pair(-2147417831, 3)}) {
    security = status;
    EXPECT_EQ(guard.initSecuruty(), answer);
  }
  EXPECT_EQ(takeCalls(), "M1X1X1X1");
}

TEST_F(ComGuards, CopiesCallNothingAndEachOfThemUndoes) {
  static_assert(std::has_virtual_destructor_v<CComMultithread> && sizeof(CComNormal) <= 2 * sizeof(void*));
  const CComNormal original;
  {
    CComNormal copy(original), assigned;
    assigned = original;
    CComMultithread base(original);
    EXPECT_EQ(takeCalls(), "M1");
    EXPECT_EQ(copy.result + assigned.result + base.result, 0);
    copy.close();
    EXPECT_EQ(copy.result, -1);
  }
  EXPECT_EQ(takeCalls(), "U1U1U1");
  EXPECT_EQ(comState().count, 1 - 4) << "the one that was closed counts down again";
}

TEST_F(ComGuards, OneThreadWaitsForAnother) {
  CComMultithread guard;
  std::thread other;
  duringSecurity = [&] {
    other = std::thread([] { insecure(); });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(comState().count, 1) << "the other guard has counted down inside the lock";
  };
  guard.initSecuruty();
  other.join();
  EXPECT_EQ(comState().count, 0);
}

TEST(ComOfTheSystem, InitialisesAndUndoes) {
  setState(0, 0);
  std::thread([] {
    CComMultithread guard;
    EXPECT_EQ(guard.result, 0);
#ifdef _WIN32
    EXPECT_EQ(CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED), RPC_E_CHANGED_MODE) << "it is multithreaded";
    guard.close();
    EXPECT_EQ(CoInitialize(nullptr), S_OK) << "it was undone";
    CComMultithread refused;
    EXPECT_EQ(refused.result, RPC_E_CHANGED_MODE);
    CComNormal second;
    EXPECT_EQ(second.result, S_FALSE) << "the thread has its single-threaded apartment already";
    EXPECT_EQ(comState().multithreaded, 0);
    CoUninitialize();
#else
    EXPECT_EQ(guard.initSecuruty(), 0);
#endif
  }).join();
  setState(0, 0);
}

}  // namespace
}  // namespace quorvel::test
