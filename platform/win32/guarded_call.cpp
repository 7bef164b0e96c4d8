// Fault containment on Windows without compiler support for __try: a
// vectored exception handler, present only while a guarded call runs,
// redirects a faulting guarded thread to a landing function, which jumps
// back to the thread's CallGuarded with __builtin_longjmp. Redirecting
// first lets the system finish its exception dispatch (the handler returns
// EXCEPTION_CONTINUE_EXECUTION) before the stack is cut back.
#include "platform/guarded_call.h"

#include <windows.h>

#include <cstdint>
#include <mutex>

#if !defined(__x86_64__)
#error "guarded calls are implemented for x86-64 Windows"
#endif

namespace quillon::platform {

namespace {

// The jump buffer of __builtin_setjmp: five words.
using JumpBuffer = void* [5];

std::mutex g_install_lock;
int g_active_calls = 0;
PVOID g_handler = nullptr;

thread_local void** t_jump = nullptr;

bool IsHardwareFault(DWORD code) {
  switch (code) {
    case EXCEPTION_ACCESS_VIOLATION:
    case EXCEPTION_IN_PAGE_ERROR:
    case EXCEPTION_DATATYPE_MISALIGNMENT:
    case EXCEPTION_ARRAY_BOUNDS_EXCEEDED:
    case EXCEPTION_INT_DIVIDE_BY_ZERO:
    case EXCEPTION_INT_OVERFLOW:
    case EXCEPTION_FLT_DIVIDE_BY_ZERO:
    case EXCEPTION_FLT_INVALID_OPERATION:
    case EXCEPTION_FLT_OVERFLOW:
    case EXCEPTION_FLT_UNDERFLOW:
    case EXCEPTION_FLT_INEXACT_RESULT:
    case EXCEPTION_FLT_DENORMAL_OPERAND:
    case EXCEPTION_FLT_STACK_CHECK:
    case EXCEPTION_ILLEGAL_INSTRUCTION:
    case EXCEPTION_PRIV_INSTRUCTION:
      return true;
    default:
      return false;
  }
}

[[noreturn]] void Land() {
  void** jump = t_jump;
  t_jump = nullptr;
  __builtin_longjmp(jump, 1);
}

LONG CALLBACK OnException(EXCEPTION_POINTERS* info) {
  if (t_jump == nullptr || !IsHardwareFault(info->ExceptionRecord->ExceptionCode)) {
    return EXCEPTION_CONTINUE_SEARCH;
  }
  // Resume in Land on a stack slot well below the faulting frame, aligned
  // as at a function's entry (rsp = 8 mod 16).
  CONTEXT* context = info->ContextRecord;
  context->Rsp = ((context->Rsp - 4096) & ~static_cast<DWORD64>(15)) - 8;
  context->Rip = reinterpret_cast<DWORD64>(&Land);
  return EXCEPTION_CONTINUE_EXECUTION;
}

void Install() {
  std::lock_guard<std::mutex> lock(g_install_lock);
  if (g_active_calls++ == 0) g_handler = ::AddVectoredExceptionHandler(1, &OnException);
}

void Restore() {
  std::lock_guard<std::mutex> lock(g_install_lock);
  if (--g_active_calls == 0 && g_handler != nullptr) {
    ::RemoveVectoredExceptionHandler(g_handler);
    g_handler = nullptr;
  }
}

// Kept out of line so that __builtin_setjmp's frame is its own.
__attribute__((noinline)) bool RunWithJump(void (*fn)(void*), void* context) {
  JumpBuffer jump;
  void** volatile outer = t_jump;
  if (__builtin_setjmp(jump) == 0) {
    t_jump = jump;
    fn(context);
    t_jump = outer;
    return true;
  }
  t_jump = outer;
  return false;
}

}  // namespace

GuardedCallResult CallGuarded(void (*fn)(void*), void* context) {
  Install();
  const bool returned = RunWithJump(fn, context);
  Restore();
  return returned ? GuardedCallResult::kReturned : GuardedCallResult::kFaulted;
}

}  // namespace quillon::platform
