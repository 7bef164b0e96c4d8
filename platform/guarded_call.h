// Calls into foreign code that may fault.
//
// CallGuarded runs a function on the calling thread and turns a hardware
// fault raised inside it into a result instead of the end of the process:
// an access violation, an integer division by zero, an illegal or
// privileged instruction (Windows: the corresponding structured
// exceptions, caught by a vectored handler; POSIX: SIGSEGV, SIGBUS, SIGFPE
// and SIGILL). The handlers are in place only while at least one guarded
// call runs, act only for the threads inside one, and the previous
// handlers are restored when the last guarded call returns; a fault on any
// other thread goes to the handler that was there before.
//
// On a fault the frames between CallGuarded and the fault are abandoned
// without unwinding: `fn` must not own anything that needs a destructor
// or a release at the point where foreign code runs. What the foreign code
// itself held (its own state, a heap lock, half-written heap blocks) stays
// as the fault left it. A stack overflow is not caught.
#pragma once

namespace quillon::platform {

enum class GuardedCallResult {
  kReturned,  // fn returned normally
  kFaulted,   // a hardware fault ended fn
};

// Runs fn(context). C++ exceptions are not caught here; `fn` catches its
// own. Calls may nest and may run on several threads at once.
GuardedCallResult CallGuarded(void (*fn)(void*), void* context);

}  // namespace quillon::platform
