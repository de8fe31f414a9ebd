#pragma once

#include <vector>

#include "Product/Technic/OLMutex.h"
#include "transport/SocketHandle.h"

class WakeUp;

// Waits on up to 256 sockets at once for something to read.
//
// The sockets sit in four groups of 64. A wait looks at the groups behind the
// one it served last, then at those before it, and blocks only on the group
// it served last, so that no group starves. It answers how many slots of the
// served group to examine; getSocketState() then tells each slot's state.
// Removal is lazy: a removed slot keeps its place (and the indices of a
// running sweep stay valid) until the next wait compacts the groups.
//
// Every public operation holds the object's lock, wait() through its whole
// blocking time; a wake-up given by setWakeUp() ends that wait at once, from
// any thread and without the lock. Adding a socket puts it in non-blocking
// mode.
class SocketReadSelect {
  public:
    static constexpr int kGroups = 4;
    static constexpr int kGroupSize = 64;
    static constexpr int kCapacity = kGroups * kGroupSize;

    // States that getSocketState() gives.
    static constexpr int kNoData = 0;
    static constexpr int kClosed = 1;  // closed or failed; the socket has been removed
    static constexpr int kReadable = 2;

    SocketReadSelect();
    // Forgets every socket; the sockets stay open (they belong to their transfers).
    ~SocketReadSelect();
    SocketReadSelect(const SocketReadSelect&) = delete;
    SocketReadSelect& operator=(const SocketReadSelect&) = delete;

    // False only when 256 sockets are held (even for one already held); a
    // socket already held gives true and changes nothing.
    bool addSocket(SocketHandle s);
    // Marks the first active slot holding s as removed.
    void removeSocket(SocketHandle s);
    // -1 when nothing became readable within timeoutMs (or the set is empty,
    // at once); otherwise n >= 1: examine slots 0 to n-1.
    int wait(int timeoutMs);
    // Slot i of the last wait: its socket, with *state set to 0, 1 or 2.
    // A slot out of range gives kInvalidSocket and state 0.
    SocketHandle getSocketState(int i, int* state);

    // Sockets held, including slots marked for removal.
    int getTotal();
    // While `wakeUp` (not owned; null for none) is raised, wait() returns -1
    // at once, as if nothing had happened.
    void setWakeUp(const WakeUp* wakeUp);

  private:
    void compact();
    int waitGroup(int g, int timeoutMs);
    void removeSlot(int g, int slot);

    int m_nTotal = 0;
    OLMutex m_objLock;
    SocketHandle m_sockets[kGroups][kGroupSize];
    bool m_bActive[kGroups][kGroupSize];
    bool m_bNeedCompact = false;
    int m_nCurrentGroup = 0;
    int m_nFirstIndex = 0;
    int m_nCounts[kGroups] = {0, 0, 0, 0};
    const WakeUp* m_pWakeUp = nullptr;
};

// One bounded wait on any number of sockets, for a caller that holds more
// than a readiness set takes: marks in `ready` (resized to match) the
// sockets that have something to read. The number of them; 0 after the time
// or when `wakeUp` (null for none) is raised.
int pollReadable(const std::vector<SocketHandle>& sockets, int timeoutMs, const WakeUp* wakeUp,
                 std::vector<bool>& ready);
