#include "film/ChildRun.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <utility>

#include "film/Failure.h"
#include "film/Interrupt.h"

namespace film {
namespace {

constexpr size_t longestLine = 1 << 20;  // bytes; more is cut off
constexpr int cantRun = 127;             // as shells tell it

struct Pipe {
  int ends[2] = {-1, -1};

  Pipe() {
    if (pipe2(ends, O_CLOEXEC) != 0)
      throw Failure("another process can't be started (" + std::string(std::strerror(errno)) + "); give a smaller -j");
  }
};

/// Holds signals back, so that none meets a process that is no longer this one and not yet the other.
class SignalsHeld {
 public:
  SignalsHeld() {
    sigset_t all;
    sigfillset(&all);
    sigprocmask(SIG_BLOCK, &all, &before);
  }
  ~SignalsHeld() { release(); }
  SignalsHeld(const SignalsHeld&) = delete;
  SignalsHeld& operator=(const SignalsHeld&) = delete;
  void release() const { sigprocmask(SIG_SETMASK, &before, nullptr); }

 private:
  sigset_t before{};
};

}  // namespace

ChildRun::ChildRun(const std::string& program, const std::vector<std::string>& arguments, LineSink outSink,
                   LineSink errSink) {
  const Pipe outPipe, errPipe;
  out.file = outPipe.ends[0];
  err.file = errPipe.ends[0];
  out.sink = std::move(outSink);
  err.sink = std::move(errSink);
  start(program, arguments, outPipe.ends, errPipe.ends);
}

void ChildRun::start(const std::string& program, const std::vector<std::string>& arguments, const int outPipe[2],
                     const int errPipe[2]) {
  std::vector<char*> words{const_cast<char*>("orvane")};
  for (const std::string& argument : arguments) words.push_back(const_cast<char*>(argument.c_str()));
  words.push_back(nullptr);
  const SignalsHeld held;
  process = fork();
  if (process == 0) {
    for (const int number : {SIGINT, SIGTERM}) signal(number, SIG_DFL);
    setpgid(0, 0);                     // the terminal's Ctrl-C goes to the parent alone, which hands it on once
    prctl(PR_SET_PDEATHSIG, SIGTERM);  // and when the parent is killed, nothing goes on unseen
    dup2(outPipe[1], STDOUT_FILENO);
    dup2(errPipe[1], STDERR_FILENO);
    held.release();
    execv(program.c_str(), words.data());
    _exit(cantRun);
  }
  const int trouble = errno;
  close(outPipe[1]);
  close(errPipe[1]);
  if (process < 0)
    throw Failure("another process can't be started (" + std::string(std::strerror(trouble)) + "); give a smaller -j");
  for (const int file : {out.file, err.file}) fcntl(file, F_SETFL, O_NONBLOCK);
  HandInterruptsTo(process);
}

ChildRun::~ChildRun() {
  if (process > 0) {
    kill(process, SIGTERM);
    wait();
  }
  for (const int file : {out.file, err.file})
    if (file >= 0) close(file);
}

void ChildRun::Stream::tell(const std::string& line) const {
  if (!line.empty()) sink(line);
}

void ChildRun::Stream::read() {
  char bytes[4096];
  while (file >= 0) {
    const ssize_t count = ::read(file, bytes, sizeof bytes);
    if (count < 0 && errno == EINTR) continue;
    if (count < 0 && errno == EAGAIN) return;
    if (count <= 0) {
      tell(std::exchange(begun, ""));
      close(std::exchange(file, -1));
      return;
    }
    for (ssize_t i = 0; i < count; ++i)
      if (bytes[i] == '\n')
        tell(std::exchange(begun, ""));
      else if (begun.size() < longestLine)
        begun += bytes[i];
  }
}

bool ChildRun::read() {
  out.read();
  err.read();
  if (out.file >= 0 || err.file >= 0) return true;
  if (process > 0) wait();
  return false;
}

void ChildRun::interrupt() const {
  if (process > 0) kill(process, SIGINT);
}

void ChildRun::wait() {
  int result = 0;
  while (waitpid(process, &result, 0) < 0 && errno == EINTR) continue;
  HandNoMoreInterruptsTo(process);
  process = -1;
  exitStatus = WIFSIGNALED(result) ? -WTERMSIG(result) : WEXITSTATUS(result);
}

}  // namespace film
