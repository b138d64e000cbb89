#include "film/Interrupt.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

#include "film/Failure.h"
#include "film/OutputFile.h"

namespace film {
namespace {

std::atomic<int> requests = 0;
std::atomic<pid_t> children[mostChildren];

void onSignal(int) {
  for (const std::atomic<pid_t>& child : children)
    if (const pid_t process = child) kill(process, SIGINT);
  if (requests++ == 0) return;
  RemoveTemporaryFiles();
  _exit(kCancelled);
}

}  // namespace

void CatchInterrupts() {
  struct sigaction action = {};
  action.sa_handler = onSignal;
  sigemptyset(&action.sa_mask);
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
  struct sigaction hangUp = {};
  sigaction(SIGHUP, nullptr, &hangUp);
  if (hangUp.sa_handler != SIG_IGN) sigaction(SIGHUP, &action, nullptr);  // which nohup asks to outlast
  signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is told like a full disk
  signal(SIGPIPE, SIG_IGN);
}

bool Interrupted() { return requests > 0; }

void HandInterruptsTo(pid_t process) {
  for (std::atomic<pid_t>& child : children)
    if (pid_t none = 0; child.compare_exchange_strong(none, process)) break;
  if (Interrupted()) kill(process, SIGINT);
}

void HandNoMoreInterruptsTo(pid_t process) {
  for (std::atomic<pid_t>& child : children)
    if (pid_t held = process; child.compare_exchange_strong(held, 0)) break;
}

}  // namespace film
