#include "transport/ITransfer.h"

ITransfer::~ITransfer() {
    if (m_pSocket != nullptr) {
        m_pSocket->close();
        delete m_pSocket;
        m_pSocket = nullptr;
    }
}

// The parser is passed by value, so it is let go when the call ends.
bool ITransfer::setCommandHeadParser(SafePointer<ICommandHeadParser>) {
    return false;
}

int ITransfer::close() {
    if (m_pSocket != nullptr) {
        m_pSocket->close();
        delete m_pSocket;
        m_pSocket = nullptr;
    }
    return kTransferOk;
}

int ITransfer::setReuseAddr(bool on) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    return m_pSocket->setReuseAddr(on) ? kTransferOk : kTransferReuseFailed;
}

int ITransfer::bindHost(const char* host) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    return m_pSocket->bind(host) ? kTransferOk : kTransferBindFailed;
}

int ITransfer::bindAddr(const InetAddr& addr) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    return m_pSocket->bind(addr) ? kTransferOk : kTransferBindFailed;
}

bool ITransfer::getLocalAddr(InetAddr& out) {
    return m_pSocket != nullptr && m_pSocket->getLocalAddr(out);
}

void ITransfer::setSocket(ISocket* socket) {
    m_pSocket = socket;
}

ISocket* ITransfer::getSocket() {
    return m_pSocket;
}

int ITransfer::connectTimed(const InetAddr& addr, int timeoutMs) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    return m_pSocket->connectTimed(addr, timeoutMs) ? kTransferOk : kTransferConnectFailed;
}

int ITransfer::connect(const InetAddr& addr) {
    if (m_pSocket == nullptr) {
        return kTransferNotOpen;
    }
    return m_pSocket->connect(addr) ? kTransferOk : kTransferConnectFailed;
}

bool ITransfer::setBroadcast(bool) {
    return false;
}

bool ITransfer::joinMulticast(const InetAddr&) {
    return false;
}

bool ITransfer::bindAndJoin(const InetAddr&) {
    return false;
}

int ITransfer::getIPVersion() {
    if (m_pSocket == nullptr) {
        return 1;
    }
    return m_pSocket->getIPVersion() == 2 ? 2 : 1;
}

bool ITransfer::setRecvBufferSize(int bytes) {
    return m_pSocket != nullptr && m_pSocket->setRecvBufferSize(bytes);
}

bool ITransfer::setSendBufferSize(int bytes) {
    return m_pSocket != nullptr && m_pSocket->setSendBufferSize(bytes);
}

void ITransfer::setWakeUp(const WakeUp* wakeUp) {
    m_pWakeUp = wakeUp;
    if (m_pSocket != nullptr) {
        m_pSocket->setWakeUp(wakeUp);
    }
}

bool ITransfer::leaveMulticast(const InetAddr& group) {
    return m_pSocket != nullptr && m_pSocket->leaveMulticast(group);
}
