#include "decoders/internal/child_process.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

extern char** environ;

namespace quillon::decoders_internal {

namespace {

constexpr std::size_t kReadChunk = 64 * 1024;

// Writes to a pipe whose reader may be gone. SIGPIPE is blocked on this
// thread around the write, and one that the write raised is taken off the
// thread's pending set before the mask is restored, so the host's handler
// (or the default action, ending the process) never sees it.
ssize_t WriteNoSigpipe(int fd, const std::uint8_t* data, std::size_t length) {
  sigset_t pipe_set;
  sigset_t old_mask;
  sigemptyset(&pipe_set);
  sigaddset(&pipe_set, SIGPIPE);
  sigset_t pending;
  sigpending(&pending);
  const bool was_pending = sigismember(&pending, SIGPIPE) == 1;
  pthread_sigmask(SIG_BLOCK, &pipe_set, &old_mask);
  const ssize_t written = write(fd, data, length);
  const int saved = errno;
  if (written < 0 && saved == EPIPE && !was_pending) {
    const timespec no_wait{0, 0};
    while (sigtimedwait(&pipe_set, nullptr, &no_wait) < 0 && errno == EINTR) {
    }
  }
  pthread_sigmask(SIG_SETMASK, &old_mask, nullptr);
  errno = saved;
  return written;
}

int MillisecondsUntil(Clock::time_point deadline) {
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
  if (left.count() <= 0) return 0;
  return left.count() > 60000 ? 60000 : static_cast<int>(left.count());
}

std::vector<std::string> Environment(const std::vector<std::string>& extra) {
  std::vector<std::string> entries;
  for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
    const std::string_view text(*entry);
    bool replaced = false;
    for (const std::string& add : extra) {
      const std::size_t name_end = add.find('=');
      if (text.substr(0, name_end + 1) == std::string_view(add).substr(0, name_end + 1)) {
        replaced = true;
      }
    }
    if (!replaced) entries.emplace_back(text);
  }
  entries.insert(entries.end(), extra.begin(), extra.end());
  return entries;
}

std::vector<char*> Pointers(std::vector<std::string>& strings) {
  std::vector<char*> pointers;
  for (std::string& s : strings) pointers.push_back(s.data());
  pointers.push_back(nullptr);
  return pointers;
}

}  // namespace

int ChildProcess::Start(const std::vector<std::string>& argv,
                        const std::vector<std::string>& extra_environment) {
  Stop();
  int to_child[2];
  int from_child[2];
  if (pipe2(to_child, O_CLOEXEC) != 0) return errno;
  if (pipe2(from_child, O_CLOEXEC) != 0) {
    const int error = errno;
    close(to_child[0]);
    close(to_child[1]);
    return error;
  }
  posix_spawn_file_actions_t actions;
  posix_spawn_file_actions_init(&actions);
  posix_spawn_file_actions_adddup2(&actions, to_child[0], STDIN_FILENO);
  posix_spawn_file_actions_adddup2(&actions, from_child[1], STDOUT_FILENO);
  posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
  // The child starts with default signal handling and an empty mask,
  // whatever this process has set up.
  posix_spawnattr_t attributes;
  posix_spawnattr_init(&attributes);
  sigset_t none;
  sigset_t all;
  sigemptyset(&none);
  sigfillset(&all);
  posix_spawnattr_setsigmask(&attributes, &none);
  posix_spawnattr_setsigdefault(&attributes, &all);
  posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);

  std::vector<std::string> arguments = argv;
  std::vector<std::string> environment = Environment(extra_environment);
  std::vector<char*> arg_pointers = Pointers(arguments);
  std::vector<char*> env_pointers = Pointers(environment);
  pid_t pid = -1;
  const int error = posix_spawnp(&pid, arg_pointers[0], &actions, &attributes, arg_pointers.data(),
                                 env_pointers.data());
  posix_spawn_file_actions_destroy(&actions);
  posix_spawnattr_destroy(&attributes);
  close(to_child[0]);
  close(from_child[1]);
  if (error != 0) {
    close(to_child[1]);
    close(from_child[0]);
    return error;
  }
  pid_ = pid;
  owner_ = getpid();
  input_ = to_child[1];
  output_ = from_child[0];
  fcntl(input_, F_SETFL, fcntl(input_, F_GETFL) | O_NONBLOCK);
  fcntl(output_, F_SETFL, fcntl(output_, F_GETFL) | O_NONBLOCK);
  return 0;
}

bool ChildProcess::Running() {
  if (pid_ < 0) return false;
  if (owner_ != getpid()) {
    // A forked copy of this process: the child is the parent's.
    CloseDescriptors();
    pid_ = -1;
    return false;
  }
  return true;
}

ExchangeResult ChildProcess::Exchange(std::span<const std::uint8_t> input, bool close_input,
                                      std::string& output,
                                      const std::function<bool(const std::string&)>& done,
                                      Clock::time_point deadline) {
  if (!Running()) return ExchangeResult::kFailed;
  std::size_t written = 0;
  for (;;) {
    if (written == input.size() && close_input && input_ >= 0) {
      close(input_);
      input_ = -1;
    }
    pollfd fds[2] = {{output_, POLLIN, 0}, {-1, POLLOUT, 0}};
    if (written < input.size()) fds[1].fd = input_;
    const int ready = poll(fds, 2, MillisecondsUntil(deadline));
    if (ready < 0 && errno != EINTR) return ExchangeResult::kFailed;
    if (ready == 0 && Clock::now() >= deadline) return ExchangeResult::kTimedOut;
    if (ready <= 0) continue;
    if (fds[1].revents != 0) {
      const ssize_t n = WriteNoSigpipe(input_, input.data() + written, input.size() - written);
      if (n < 0 && errno != EAGAIN && errno != EINTR) return ExchangeResult::kFailed;
      if (n > 0) written += static_cast<std::size_t>(n);
    }
    if (fds[0].revents != 0) {
      // Read straight into the output (no buffer on the host thread's stack).
      const std::size_t had = output.size();
      output.resize(had + kReadChunk);
      const ssize_t n = read(output_, output.data() + had, kReadChunk);
      output.resize(had + static_cast<std::size_t>(n > 0 ? n : 0));
      if (n == 0) return done(output) ? ExchangeResult::kDone : ExchangeResult::kEnded;
      if (n < 0 && errno != EAGAIN && errno != EINTR) return ExchangeResult::kFailed;
      if (n > 0 && written == input.size() && done(output)) return ExchangeResult::kDone;
    }
  }
}

void ChildProcess::CloseDescriptors() {
  if (input_ >= 0) close(input_);
  if (output_ >= 0) close(output_);
  input_ = output_ = -1;
}

void ChildProcess::Stop() {
  if (!Running()) return;
  CloseDescriptors();
  kill(pid_, SIGKILL);
  // The kill is certain, so the wait is short. With SIGCHLD ignored by the
  // host the system reaps the child itself and waitpid answers ECHILD.
  while (waitpid(pid_, nullptr, 0) < 0 && errno == EINTR) {
  }
  pid_ = -1;
}

}  // namespace quillon::decoders_internal
