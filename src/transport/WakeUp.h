#pragma once

#include "transport/SocketHandle.h"

// A flag that one thread raises to end another thread's waits at once. It
// stays raised until cleared, so a wait that begins after the raise ends at
// once too. Waits watch handle() beside their sockets (an eventfd, readable
// while raised). Without a handle (no descriptor was left when it was made)
// waits end at their time-outs only; the owner's own stop flag still ends its
// loop.
class WakeUp {
  public:
    WakeUp();
    ~WakeUp();
    WakeUp(const WakeUp&) = delete;
    WakeUp& operator=(const WakeUp&) = delete;

    // Safe from any thread, lock-free; never blocks.
    void raise();
    void clear();
    bool isRaised() const;
    // kInvalidSocket when no eventfd could be made.
    SocketHandle handle() const { return m_hEvent; }
    // Sleeps `ms` milliseconds or until raised; false when raised.
    bool sleepFor(int ms) const;

  private:
    SocketHandle m_hEvent;
};
