#include "platform/guarded_call.h"

#include <gtest/gtest.h>

#include <cstdint>

#if !defined(_WIN32)
#include <signal.h>
#endif

namespace quillon::platform {
namespace {

// Writes to an unmapped low address (not null, which the sanitizers would
// report before the fault happens).
void WriteToNowhere(void*) {
  static volatile std::uintptr_t address = 16;
  *reinterpret_cast<volatile int*>(address) = 1;
}

TEST(GuardedCall, AFaultEndsTheCallAndTheNextCallRuns) {
  EXPECT_EQ(CallGuarded(&WriteToNowhere, nullptr), GuardedCallResult::kFaulted);
  int calls = 0;
  EXPECT_EQ(CallGuarded([](void* p) { ++*static_cast<int*>(p); }, &calls),
            GuardedCallResult::kReturned);
  EXPECT_EQ(calls, 1);
}

TEST(GuardedCall, NestedCallsFaultToTheInnermost) {
  struct Outer {
    GuardedCallResult inner = GuardedCallResult::kReturned;
    bool after_inner = false;
  } outer;
  const auto run = [](void* p) {
    auto* o = static_cast<Outer*>(p);
    o->inner = CallGuarded(&WriteToNowhere, nullptr);
    o->after_inner = true;
  };
  EXPECT_EQ(CallGuarded(run, &outer), GuardedCallResult::kReturned);
  EXPECT_EQ(outer.inner, GuardedCallResult::kFaulted);
  EXPECT_TRUE(outer.after_inner);
}

#if !defined(_WIN32)
void CountingHandler(int) {}

TEST(GuardedCall, EverySignalOfAFaultIsCaughtAndThePreviousHandlersReturn) {
  for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL}) {
    struct sigaction mine {
    }, previous{}, after{};
    mine.sa_handler = &CountingHandler;
    sigemptyset(&mine.sa_mask);
    ASSERT_EQ(::sigaction(signal, &mine, &previous), 0);
    int raised = signal;
    EXPECT_EQ(CallGuarded([](void* p) { ::raise(*static_cast<int*>(p)); }, &raised),
              GuardedCallResult::kFaulted)
        << signal;
    ::sigaction(signal, &previous, &after);
    EXPECT_EQ(after.sa_handler, &CountingHandler) << signal;
  }
}
#endif

}  // namespace
}  // namespace quillon::platform
