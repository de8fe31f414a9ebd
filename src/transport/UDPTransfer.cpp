#include "transport/UDPTransfer.h"

#include <memory>

#include "Product/Technic/OLTrace.h"
#include "transport/Socket.h"

UDPTransfer::UDPTransfer(int ipVersion) {
    m_nFamily = ipVersion;
    m_nKind = 1;
}

int UDPTransfer::open() {
    // A socket still open from an earlier open() goes first.
    close();
    auto socket = std::make_unique<Socket>(m_nFamily == 2 ? 2 : 1, 2);
    if (!socket->open()) {
        return kTransferCreateFailed;
    }
    socket->setWakeUp(m_pWakeUp);
    m_pSocket = socket.release();
    return kTransferOk;
}

int UDPTransfer::send(CommandBuffer* buffer, const InetAddr& to, int /*timeoutMs*/) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    if (buffer == nullptr) {
        return kTransferSendFailed;
    }
    const int n = m_pSocket->sendTo(buffer->getCursor(), buffer->getLength(), InetAddr(to));
    if (n == -1) {
        return kTransferSendFailed;
    }
    if (n == -2) {
        return kTransferSendTimeout;
    }
    return kTransferOk;
}

int UDPTransfer::recv(CommandBuffer* buffer, int timeoutMs, InetAddr* from) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    // alloc keeps a block of this size but clears it, so nothing of an
    // earlier datagram survives.
    if (buffer == nullptr || !buffer->alloc(kMaxDatagram)) {
        OLReportLine("p_objRecvBuf.alloc failed ", __FILE__, __LINE__);
        return kTransferNoMemory;
    }
    InetAddr source;
    const int n = m_pSocket->recvFromTimed(buffer->getCursor(), buffer->getCapacity(), &source, timeoutMs);
    if (n == -2) {
        return kTransferRecvTimeout;
    }
    if (n < 0) {
        OLReportLine("recv socket error!", __FILE__, __LINE__);
        return kTransferRecvFailed;
    }
    buffer->setLength(static_cast<unsigned>(n));
    if (from != nullptr) {
        *from = source;
    }
    m_objPeer = source;
    return kTransferOk;
}

int UDPTransfer::connectTimed(const InetAddr& addr, int /*timeoutMs*/) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    return m_pSocket->connect(addr) ? kTransferOk : kTransferConnectFailed;
}

bool UDPTransfer::setBroadcast(bool on) {
    return m_pSocket != nullptr && m_pSocket->setBroadcast(on);
}

bool UDPTransfer::joinMulticast(const InetAddr& group) {
    return m_pSocket != nullptr && m_pSocket->joinMulticast(group);
}

bool UDPTransfer::bindAndJoin(const InetAddr& group) {
    return m_pSocket != nullptr && m_pSocket->bindAndJoin(group);
}
