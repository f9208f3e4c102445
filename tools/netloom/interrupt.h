#pragma once

// Ctrl-C (SIGINT) stops a run cleanly: the handler only takes note; the
// layout's progress monitor reads the note and stops the layout, and the run
// then writes nothing and exits with kInterruptedStatus.

#include <stdexcept>

namespace netloom_cli {

constexpr int kInterruptedStatus = 130; // 128 + SIGINT, as shells report it

class InterruptedError : public std::runtime_error {
public:
    InterruptedError() : std::runtime_error("interrupted; nothing written") {}
};

// Installs the handler. A second Ctrl-C ends the process at once.
void CatchInterrupt();
bool Interrupted();
// Throws InterruptedError once Ctrl-C was pressed.
void ThrowIfInterrupted();

} // namespace netloom_cli
