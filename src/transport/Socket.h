#pragma once

#include <netinet/in.h>
#include <sys/socket.h>

#include <memory>
#include <string>

#include "transport/AdapterBinding.h"
#include "transport/ISocket.h"

class WakeUp;

// The one implementation of ISocket, over POSIX sockets.
//
// A stream socket that fails with a reported error latches that error: every
// latched operation then fails at once, without a system call, until open()
// clears it. Datagram sockets never latch.
//
// A datagram socket bound to an adapter's own address that joins a group is
// tied to that adapter (see AdapterBinding). Every wait also ends when the
// wake-up given by setWakeUp() is raised, as a time-out.
class Socket : public ISocket {
  public:
    // ipVersion 2 is IPv6, every other value IPv4; type 1 is a stream, 2 a
    // datagram socket. No system socket is created yet.
    Socket(int ipVersion, int type);
    ~Socket() override;
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    bool open() override;
    bool close() override;
    SocketHandle getHandle() override { return m_hSocket; }
    void setHandle(SocketHandle s) override { m_hSocket = s; }
    InetAddr* getAddr() override { return &m_objAddr; }
    bool bind(const char* host, unsigned short port) override;
    bool bind(const char* host) override;
    bool bind(const InetAddr& addr) override;
    int sendToChunked(const void* buf, unsigned len, const char* host, unsigned short port,
                      unsigned chunk) override;
    int sendTo(const void* buf, unsigned len, const char* host, unsigned short port) override;
    int sendToChunked(const void* buf, unsigned len, InetAddr to, unsigned chunk) override;
    int sendTo(const void* buf, unsigned len, InetAddr to) override;
    int sendDatagram(const void* buf, unsigned len, InetAddr to) override;
    int waitReadable(int timeoutMs) override;
    int waitWritable(int timeoutMs) override;
    int recvFromTimed(void* buf, unsigned len, InetAddr* from, int timeoutMs) override;
    int recvFrom(void* buf, unsigned len, InetAddr* from) override;
    int recvFrom(void* buf, unsigned len, char* host, unsigned short* port) override;
    bool connectTimed(const char* host, unsigned short port, int timeoutMs) override;
    bool connect(const char* host, unsigned short port) override;
    bool connectTimed(const InetAddr& addr, int timeoutMs) override;
    bool connect(const InetAddr& addr) override;
    bool listen(int backlog) override;
    int acceptInto(ISocket* out, int timeoutMs) override;
    int accept(ISocket** out, int timeoutMs) override;
    int sendTimed(const void* buf, unsigned len, int timeoutMs) override;
    int send(const void* buf, unsigned len) override;
    int sendBlock(const void* buf, unsigned len, bool retry) override;
    int recvRaw(void* buf, unsigned len) override;
    int recvTimed(void* buf, unsigned len, int timeoutMs, bool skipWait) override;
    bool getLocalAddr(InetAddr& out) override;
    int sendAll(const void* buf, unsigned len) override;
    int recvAll(void* buf, unsigned len) override;
    // Asks for `bytes` of receive buffer beyond the system's limit where the
    // process may (SO_RCVBUFFORCE), else within it (SO_RCVBUF), and traces
    // what the kernel granted (level 3). A datagram socket then also counts
    // the datagrams the kernel dropped for want of room: each read that learns
    // of new drops traces their number (level 2).
    bool setRecvBufferSize(int bytes) override;
    // The kernel's figure, which counts its bookkeeping (about twice the request).
    bool getRecvBufferSize(int* out) override;
    bool setSendBufferSize(int bytes) override;
    bool getSendBufferSize(int* out) override;
    bool reservedSocketA(int) override { return false; }
    bool reservedSocketB(int) override { return false; }
    bool setReuseAddr(bool on) override;
    bool setBroadcast(bool on) override;
    bool joinMulticast(const InetAddr& group) override;
    bool bindAndJoin(const InetAddr& group) override;
    bool setNonBlocking(bool on) override;
    bool setNoDelay() override;
    // True when SO_ERROR could be read and holds no error; otherwise false,
    // with the pending error (now cleared) left in errno.
    bool getPendingError() override;
    int getIPVersion() override { return m_nIPVersion; }
    void reservedSocketC() override {}
    void reservedSocketD() override {}
    bool reservedSocketE() override { return true; }
    bool reservedSocketF(int) override { return true; }
    void setWakeUp(const WakeUp* wakeUp) override { m_pWakeUp = wakeUp; }
    bool leaveMulticast(const InetAddr& group) override;

    // Datagrams the kernel dropped on this socket since setRecvBufferSize(),
    // as far as the reads so far have learnt.
    unsigned getDroppedCount() const { return m_nDropped; }

    // The latched error of a stream socket, 0 when there is none.
    int getLastError() const { return m_nLastError; }
    // The send buffer size read back on a stream socket; -1 on datagram sockets.
    int getCachedSendBufferSize() const { return m_nSendBufferSize; }
    // True once joinMulticast() has tied this datagram socket to one adapter.
    bool isAdapterBound() const { return m_pBinding != nullptr; }

  private:
    void reportError(const char* name);
    bool latched() const { return m_nLastError != 0; }
    bool isDatagram() const { return m_nType == 2; }
    int waitFor(short events, int timeoutMs);
    // recvFrom without the latch check: the count, -1, kDropped for a datagram
    // that the adapter filter discards, kWouldBlock when nothing was queued.
    // `flags` adds to recvmsg's own (MSG_DONTWAIT for a read without a wait).
    int receiveOne(void* buf, unsigned len, char* host, unsigned short* port, int flags = 0);
    int sendOne(const void* buf, unsigned len, const sockaddr* to, socklen_t toLen);
    // Ties a datagram socket bound to a unicast address to that address's
    // adapter; true when there is nothing to tie.
    bool bindToAdapter();
    void chooseMulticastInterface();
    bool setOption(int level, int name, int value, bool report);
    // Reads an int option into *out; false (reported) when getsockopt fails.
    bool readOption(int level, int name, int* out);
    // Takes the kernel's drop counter from the control data of a read.
    void noteDrops(msghdr& received);

    static constexpr int kDropped = -100;
    static constexpr int kWouldBlock = -101;

    SocketHandle m_hSocket = kInvalidSocket;
    InetAddr m_objAddr;
    int m_nIPVersion;
    int m_nFamily;
    int m_nType;
    int m_nLastError = 0;
    int m_nSendBufferSize = -1;
    int m_nSendTimeout = 0;

    std::unique_ptr<AdapterBinding> m_pBinding;  // set by joinMulticast() on an adapter's address
    bool m_bMulticastIfChosen = false;
    bool m_bCountDrops = false;  // SO_RXQ_OVFL is on
    unsigned m_nDropped = 0;
    const WakeUp* m_pWakeUp = nullptr;  // not owned
};
