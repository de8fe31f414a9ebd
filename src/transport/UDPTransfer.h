#pragma once

#include "transport/ITransfer.h"

// The datagram transfer. It remembers the source of the last datagram it
// received (getPeerAddr()).
class UDPTransfer : public ITransfer {
  public:
    // The largest datagram this transport accepts.
    static constexpr int kMaxDatagram = 5600;

    // ipVersion 2 gives an IPv6 socket on open(), any other value IPv4.
    explicit UDPTransfer(int ipVersion);
    ~UDPTransfer() override = default;

    // Creates and opens a datagram socket: 0, or -202 when it cannot.
    int open() override;
    // Sends the buffer's length bytes from its cursor to `to`; datagram sends
    // do not wait, so timeoutMs is unused. 0, -4, or -210.
    int send(CommandBuffer* buffer, const InetAddr& to, int timeoutMs) override;
    int reservedA(int, int) override { return 0; }
    // Waits up to timeoutMs for one datagram and reads it into a fresh
    // 5600-byte block of `buffer`: 0 (source in *from and peer), -4, -2, -212
    // (failure or a longer datagram) or -213 (nothing arrived in time; the
    // buffer is left empty and peer unchanged).
    int recv(CommandBuffer* buffer, int timeoutMs, InetAddr* from) override;
    int reservedB(int) override { return 0; }
    // Datagram sockets connect at once; the time-out is not used.
    int connectTimed(const InetAddr& addr, int timeoutMs) override;
    int reservedC(int) override { return 0; }
    int reservedD(int, int) override { return 0; }
    bool setBroadcast(bool on) override;
    bool joinMulticast(const InetAddr& group) override;
    bool bindAndJoin(const InetAddr& group) override;
    InetAddr getPeerAddr() override { return m_objPeer; }

  private:
    InetAddr m_objPeer;
};
