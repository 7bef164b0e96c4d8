// A child process with pipes on its standard input and output (POSIX).
//
// The child is found by posix_spawnp's PATH look-up; its standard error
// goes to /dev/null and it inherits no other descriptor of this process.
// Writes never raise SIGPIPE in this process, every wait has a deadline,
// and Stop() kills and reaps the child, so none is left as a zombie.
// Not thread-safe: the owner serialises calls.
#pragma once

#include <sys/types.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <span>
#include <string>
#include <vector>

namespace quillon::decoders_internal {

using Clock = std::chrono::steady_clock;

enum class ExchangeResult {
  kDone,      // the output satisfied the caller's test
  kEnded,     // the child closed its output (it exited) before that
  kTimedOut,  // the deadline passed
  kFailed,    // a read or write failed for another reason
};

class ChildProcess {
 public:
  ChildProcess() = default;
  ~ChildProcess() { Stop(); }
  ChildProcess(const ChildProcess&) = delete;
  ChildProcess& operator=(const ChildProcess&) = delete;

  // Starts argv[0] with `argv`, its environment this process's plus the
  // `extra_environment` entries ("NAME=value", replacing a variable of the
  // same name). Returns 0, or the errno of the failure (ENOENT: the program
  // is not on the PATH).
  int Start(const std::vector<std::string>& argv,
            const std::vector<std::string>& extra_environment);

  // True while a started child has not been stopped, and belongs to this
  // process (after a fork the copy's descriptors are dropped, not used).
  bool Running();

  // Writes `input` to the child's standard input (if any) while appending
  // what it prints to `output`, until `done(output)` holds, the child's
  // output ends, or `deadline`. `close_input` closes the child's standard
  // input once `input` is written (the child then sees the end of input).
  ExchangeResult Exchange(std::span<const std::uint8_t> input, bool close_input,
                          std::string& output, const std::function<bool(const std::string&)>& done,
                          Clock::time_point deadline);

  // The child's process ID, -1 when none was started or it was stopped.
  pid_t ProcessId() const { return pid_; }

  // Kills the child (SIGKILL) and reaps it; closes the pipes. Safe to call
  // when nothing runs.
  void Stop();

 private:
  void CloseDescriptors();

  pid_t pid_ = -1;
  pid_t owner_ = -1;  // the process that started the child
  int input_ = -1;    // the child's standard input (our write end)
  int output_ = -1;   // the child's standard output (our read end)
};

}  // namespace quillon::decoders_internal
