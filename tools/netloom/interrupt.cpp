#include "interrupt.h"

#include <atomic>
#include <signal.h>

namespace netloom_cli {
namespace {

std::atomic<bool> g_interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free, "the signal handler needs a lock-free flag");

extern "C" void NoteInterrupt(int) {
    g_interrupted.store(true);
}

} // namespace

void CatchInterrupt() {
    struct sigaction action {};
    action.sa_handler = NoteInterrupt;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESETHAND | SA_RESTART; // the second Ctrl-C takes the default action
    sigaction(SIGINT, &action, nullptr);
}

bool Interrupted() {
    return g_interrupted.load(std::memory_order_relaxed);
}

void ThrowIfInterrupted() {
    if (Interrupted()) {
        throw InterruptedError();
    }
}

} // namespace netloom_cli
