#include "agent/Interrupt.h"

#include <unistd.h>

#include <csignal>

namespace Agent {
namespace {

// Only what a signal handler may call.
extern "C" void endInterrupted(int /*signal*/) { _exit(interruptedExitCode); }

}  // namespace

void endOnInterrupt() {
  struct sigaction action{};
  sigaction(SIGINT, nullptr, &action);
  if (action.sa_handler == SIG_IGN) return;
  action.sa_handler = endInterrupted;
  sigaction(SIGINT, &action, nullptr);
}

}  // namespace Agent
