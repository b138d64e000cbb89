#include "film/Interrupt.h"

#include <signal.h>
#include <unistd.h>

#include <atomic>

#include "film/Failure.h"
#include "film/OutputFile.h"

namespace film {
namespace {

std::atomic<int> requests = 0;

void onSignal(int) {
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
  signal(SIGXFSZ, SIG_IGN);  // a file that may not grow is told like a full disk
  signal(SIGPIPE, SIG_IGN);
}

bool Interrupted() { return requests > 0; }

}  // namespace film
