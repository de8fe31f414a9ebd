#pragma once

#include "domain/records/InetAddr.h"
#include "transport/SocketHandle.h"

class WakeUp;

// One operating-system socket, stream or datagram, IPv4 or IPv6.
//
// Results: a byte count (or 0) for success, -1 failure, -2 time-out, -3 the
// call would block; bool operations give true for success. Time-outs are in
// milliseconds: negative waits without limit, 0 polls. The order of the
// operations is fixed; the reserved slots keep their places.
class ISocket {
  public:
    virtual ~ISocket() = default;

    virtual bool open() = 0;
    virtual bool close() = 0;
    virtual SocketHandle getHandle() = 0;
    virtual void setHandle(SocketHandle s) = 0;
    virtual InetAddr* getAddr() = 0;
    virtual bool bind(const char* host, unsigned short port) = 0;
    virtual bool bind(const char* host) = 0;
    virtual bool bind(const InetAddr& addr) = 0;
    virtual int sendToChunked(const void* buf, unsigned len, const char* host, unsigned short port,
                              unsigned chunk) = 0;
    virtual int sendTo(const void* buf, unsigned len, const char* host, unsigned short port) = 0;
    virtual int sendToChunked(const void* buf, unsigned len, InetAddr to, unsigned chunk) = 0;
    virtual int sendTo(const void* buf, unsigned len, InetAddr to) = 0;
    virtual int sendDatagram(const void* buf, unsigned len, InetAddr to) = 0;
    virtual int waitReadable(int timeoutMs) = 0;
    virtual int waitWritable(int timeoutMs) = 0;
    virtual int recvFromTimed(void* buf, unsigned len, InetAddr* from, int timeoutMs) = 0;
    virtual int recvFrom(void* buf, unsigned len, InetAddr* from) = 0;
    virtual int recvFrom(void* buf, unsigned len, char* host, unsigned short* port) = 0;
    virtual bool connectTimed(const char* host, unsigned short port, int timeoutMs) = 0;
    virtual bool connect(const char* host, unsigned short port) = 0;
    virtual bool connectTimed(const InetAddr& addr, int timeoutMs) = 0;
    virtual bool connect(const InetAddr& addr) = 0;
    virtual bool listen(int backlog) = 0;
    virtual int acceptInto(ISocket* out, int timeoutMs) = 0;
    virtual int accept(ISocket** out, int timeoutMs) = 0;
    virtual int sendTimed(const void* buf, unsigned len, int timeoutMs) = 0;
    virtual int send(const void* buf, unsigned len) = 0;
    virtual int sendBlock(const void* buf, unsigned len, bool retry) = 0;
    virtual int recvRaw(void* buf, unsigned len) = 0;
    virtual int recvTimed(void* buf, unsigned len, int timeoutMs, bool skipWait) = 0;
    virtual bool getLocalAddr(InetAddr& out) = 0;
    virtual int sendAll(const void* buf, unsigned len) = 0;
    virtual int recvAll(void* buf, unsigned len) = 0;
    virtual bool setRecvBufferSize(int bytes) = 0;
    virtual bool getRecvBufferSize(int* out) = 0;
    virtual bool setSendBufferSize(int bytes) = 0;
    virtual bool getSendBufferSize(int* out) = 0;
    virtual bool reservedSocketA(int a) = 0;
    virtual bool reservedSocketB(int a) = 0;
    virtual bool setReuseAddr(bool on) = 0;
    virtual bool setBroadcast(bool on) = 0;
    virtual bool joinMulticast(const InetAddr& group) = 0;
    virtual bool bindAndJoin(const InetAddr& group) = 0;
    virtual bool setNonBlocking(bool on) = 0;
    virtual bool setNoDelay() = 0;
    virtual bool getPendingError() = 0;
    virtual int getIPVersion() = 0;
    virtual void reservedSocketC() = 0;
    virtual void reservedSocketD() = 0;
    virtual bool reservedSocketE() = 0;
    virtual bool reservedSocketF(int a) = 0;

    // Additions behind the fixed slots. Every later wait of this socket also
    // ends, as a time-out, when `wakeUp` (not owned; null for none) is raised.
    virtual void setWakeUp(const WakeUp* wakeUp) = 0;
    // Leaves a group that joinMulticast() joined; false when that fails.
    virtual bool leaveMulticast(const InetAddr& group) = 0;
};
