#pragma once

#include "Product/Technic/SafePointer.h"
#include "transport/CommandBuffer.h"
#include "transport/ISocket.h"
#include "transport/TransferResult.h"

class ICommandHeadParser;
class WakeUp;

// One datagram endpoint with a small numeric result vocabulary: 0 success,
// negative failure (see TransferResult). The transfer owns its socket; it has
// no lock and belongs to one thread at a time. The order of the virtual
// operations is fixed; the reserved slots keep their places.
class ITransfer {
  public:
    ITransfer() = default;
    virtual ~ITransfer();
    ITransfer(const ITransfer&) = delete;
    ITransfer& operator=(const ITransfer&) = delete;

    // Takes no parser: the argument is let go when the call ends. False.
    virtual bool setCommandHeadParser(SafePointer<ICommandHeadParser> parser);
    virtual int open() = 0;
    // Closes and deletes the socket if there is one; 0 either way.
    virtual int close();
    virtual int setReuseAddr(bool on);
    virtual int bindHost(const char* host);
    virtual int bindAddr(const InetAddr& addr);
    virtual bool getLocalAddr(InetAddr& out);
    // Stores the pointer as it is; a socket already held is not deleted.
    virtual void setSocket(ISocket* socket);
    virtual ISocket* getSocket();
    virtual int send(CommandBuffer* buffer, const InetAddr& to, int timeoutMs) = 0;
    virtual int reservedA(int a, int b) = 0;
    virtual int recv(CommandBuffer* buffer, int timeoutMs, InetAddr* from) = 0;
    virtual int reservedB(int a) = 0;
    virtual int connectTimed(const InetAddr& addr, int timeoutMs);
    virtual int connect(const InetAddr& addr);
    virtual int reservedC(int a) = 0;
    virtual int reservedD(int a, int b) = 0;
    virtual bool setBroadcast(bool on);
    virtual bool joinMulticast(const InetAddr& group);
    virtual bool bindAndJoin(const InetAddr& group);
    virtual InetAddr getPeerAddr() = 0;
    // 1 without a socket; otherwise 2 for an IPv6 socket, else 1.
    virtual int getIPVersion();
    virtual bool setRecvBufferSize(int bytes);
    virtual bool setSendBufferSize(int bytes);
    virtual void reservedE() {}
    virtual void reservedF() {}
    virtual bool reservedG() { return false; }
    virtual bool reservedH(int) { return false; }

    // Additions behind the fixed slots.
    // Every later wait of this transfer's socket (one opened later included)
    // also ends, as a time-out, when `wakeUp` (not owned; null for none) is
    // raised, so that a worker that is told to stop never waits out a recv.
    virtual void setWakeUp(const WakeUp* wakeUp);
    // Leaves a group that joinMulticast() joined; false when that fails or the
    // transfer is closed.
    virtual bool leaveMulticast(const InetAddr& group);

  protected:
    ISocket* m_pSocket = nullptr;  // owned; null while the transfer is closed
    const WakeUp* m_pWakeUp = nullptr;
    int m_nFamily = 0;  // IP version code: 1 IPv4, 2 IPv6
    bool m_bFlag = false;
    int m_nKind = 2;
};
