// Fault containment on POSIX: the signals of a hardware fault are caught
// while a guarded call runs, and a fault on a guarded thread jumps back to
// its CallGuarded with siglongjmp.
#include "platform/guarded_call.h"

#include <setjmp.h>
#include <signal.h>

#include <array>
#include <cstddef>
#include <mutex>

namespace quillon::platform {

namespace {

constexpr std::array<int, 4> kFaultSignals = {SIGSEGV, SIGBUS, SIGFPE, SIGILL};

// The installed handlers are shared by every guarded call in the process:
// the first call to start installs them, the last to end restores the
// previous ones.
std::mutex g_install_lock;
int g_active_calls = 0;
std::array<struct sigaction, kFaultSignals.size()> g_previous{};

// The jump target of the guarded call running on this thread, if any.
thread_local sigjmp_buf* t_jump = nullptr;

const struct sigaction* PreviousAction(int signal) {
  for (std::size_t i = 0; i < kFaultSignals.size(); ++i) {
    if (kFaultSignals[i] == signal) return &g_previous[i];
  }
  return nullptr;
}

void OnFault(int signal, siginfo_t* info, void* context) {
  if (sigjmp_buf* jump = t_jump) {
    t_jump = nullptr;
    siglongjmp(*jump, signal);
  }
  // A thread outside any guarded call: hand the fault to the handler that
  // was there before this module's.
  const struct sigaction* previous = PreviousAction(signal);
  if (previous != nullptr && (previous->sa_flags & SA_SIGINFO) != 0 &&
      previous->sa_sigaction != nullptr) {
    previous->sa_sigaction(signal, info, context);
    return;
  }
  if (previous != nullptr && previous->sa_handler != SIG_DFL && previous->sa_handler != SIG_IGN) {
    previous->sa_handler(signal);
    return;
  }
  // Default action: reinstate it; returning re-executes the faulting
  // instruction, which then ends the process as it would have.
  ::signal(signal, SIG_DFL);
}

void Install() {
  std::lock_guard<std::mutex> lock(g_install_lock);
  if (g_active_calls++ > 0) return;
  struct sigaction action {};
  action.sa_sigaction = &OnFault;
  action.sa_flags = SA_SIGINFO | SA_NODEFER;
  sigemptyset(&action.sa_mask);
  for (std::size_t i = 0; i < kFaultSignals.size(); ++i) {
    ::sigaction(kFaultSignals[i], &action, &g_previous[i]);
  }
}

void Restore() {
  std::lock_guard<std::mutex> lock(g_install_lock);
  if (--g_active_calls > 0) return;
  for (std::size_t i = 0; i < kFaultSignals.size(); ++i) {
    ::sigaction(kFaultSignals[i], &g_previous[i], nullptr);
  }
}

}  // namespace

GuardedCallResult CallGuarded(void (*fn)(void*), void* context) {
  Install();
  sigjmp_buf jump;
  sigjmp_buf* volatile outer = t_jump;  // a guarded call further up
  GuardedCallResult result = GuardedCallResult::kReturned;
  if (sigsetjmp(jump, 1) == 0) {
    t_jump = &jump;
    fn(context);
  } else {
    result = GuardedCallResult::kFaulted;
  }
  t_jump = outer;
  Restore();
  return result;
}

}  // namespace quillon::platform
