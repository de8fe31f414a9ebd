#include "transport/AdapterBinding.h"

#include <fcntl.h>
#include <linux/filter.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <vector>

#include "transport/AdapterQuery.h"
#include "transport/SocketOptions.h"

namespace {

bool isUnicast4(in_addr a) {
    const uint32_t h = ntohl(a.s_addr);
    return h != INADDR_ANY && h != INADDR_BROADCAST && !IN_MULTICAST(h);
}

bool isUnicast6(const in6_addr& a) {
    return !IN6_IS_ADDR_UNSPECIFIED(&a) && !IN6_IS_ADDR_MULTICAST(&a);
}

void copyIntOption(SocketHandle from, SocketHandle to, int level, int name) {
    int value = 0;
    if (getIntOption(from, level, name, &value)) {
        setIntOption(to, level, name, value);
    }
}

// Buffer sizes read back are the kernel's doubled figures; set half of them.
void copyBufferSize(SocketHandle from, SocketHandle to, int name, int forceName) {
    const int bytes = readIntOption(from, SOL_SOCKET, name, 0) / 2;
    if (bytes > 0 && (forceName == 0 || !setIntOption(to, SOL_SOCKET, forceName, bytes))) {
        setIntOption(to, SOL_SOCKET, name, bytes);
    }
}

// Offset of a load from the packet's network header.
constexpr uint32_t net(int offset) {
    return static_cast<uint32_t>(SKF_NET_OFF + offset);
}

uint32_t word(const void* bytes) {
    uint32_t w;
    std::memcpy(&w, bytes, sizeof(w));
    return ntohl(w);
}

}  // namespace

bool AdapterBinding::find(const sockaddr_storage& local) {
    AdapterAddressInfo info;
    if (!findAdapterOfAddress(reinterpret_cast<const sockaddr*>(&local), info) || info.index == 0) {
        errno = ENODEV;
        return false;
    }
    m_strName = info.name;
    m_nIndex = info.index;
    m_address = local;
    m_broadcast = info.broadcast;
    return true;
}

// Kernel filter: only datagrams for the adapter's address, its broadcast
// addresses and groups pass; the packet's destination is read from its
// network header.
bool AdapterBinding::attachFilter(SocketHandle fd) const {
    std::vector<sock_filter> code;
    if (m_address.ss_family == AF_INET) {
        const uint32_t own = ntohl(reinterpret_cast<const sockaddr_in&>(m_address).sin_addr.s_addr);
        code = {
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, net(16)),  // destination
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, own, 5, 0),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, ntohl(m_broadcast.s_addr), 4, 0),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, INADDR_BROADCAST, 3, 0),
            BPF_STMT(BPF_ALU | BPF_AND | BPF_K, 0xF0000000u),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0xE0000000u, 1, 0),  // 224.0.0.0/4
            BPF_STMT(BPF_RET | BPF_K, 0),
            BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFFu),
        };
    } else {
        const uint8_t* own = reinterpret_cast<const sockaddr_in6&>(m_address).sin6_addr.s6_addr;
        code = {
            BPF_STMT(BPF_LD | BPF_B | BPF_ABS, net(24)),      // first byte of the destination
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, 0xFF, 9, 0),  // a group
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, net(24)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, word(own), 0, 6),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, net(28)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, word(own + 4), 0, 4),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, net(32)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, word(own + 8), 0, 2),
            BPF_STMT(BPF_LD | BPF_W | BPF_ABS, net(36)),
            BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, word(own + 12), 1, 0),
            BPF_STMT(BPF_RET | BPF_K, 0),
            BPF_STMT(BPF_RET | BPF_K, 0xFFFFFFFFu),
        };
    }
    sock_fprog program{static_cast<unsigned short>(code.size()), code.data()};
    return setsockopt(fd, SOL_SOCKET, SO_ATTACH_FILTER, &program, sizeof(program)) == 0;
}

bool AdapterBinding::rebind(SocketHandle fd) const {
    const bool v4 = m_address.ss_family == AF_INET;
    const SocketHandle bound = ::socket(m_address.ss_family, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (bound < 0) {
        return false;
    }
    auto fail = [bound] {
        const int err = errno;
        ::close(bound);
        errno = err;
        return false;
    };
    // Options the caller may have set before the join.
    copyIntOption(fd, bound, SOL_SOCKET, SO_BROADCAST);
    copyBufferSize(fd, bound, SO_SNDBUF, 0);
    copyBufferSize(fd, bound, SO_RCVBUF, SO_RCVBUFFORCE);
    if (v4) {
        copyIntOption(fd, bound, IPPROTO_IP, IP_MULTICAST_TTL);
        copyIntOption(fd, bound, IPPROTO_IP, IP_MULTICAST_LOOP);
        copyIntOption(fd, bound, IPPROTO_IP, IP_TOS);
    } else {
        copyIntOption(fd, bound, IPPROTO_IPV6, IPV6_V6ONLY);
        copyIntOption(fd, bound, IPPROTO_IPV6, IPV6_MULTICAST_HOPS);
        copyIntOption(fd, bound, IPPROTO_IPV6, IPV6_MULTICAST_LOOP);
    }
    const int flags = fcntl(fd, F_GETFL, 0);
    if (flags < 0 || fcntl(bound, F_SETFL, flags) != 0) {
        return fail();
    }
    if (!setIntOption(bound, SOL_SOCKET, SO_REUSEADDR, 1) ||
        setsockopt(bound, SOL_SOCKET, SO_BINDTODEVICE, m_strName.c_str(),
                   static_cast<socklen_t>(m_strName.size())) != 0 ||
        !attachFilter(bound)) {
        return fail();
    }

    sockaddr_storage any{};
    socklen_t anyLength = 0;
    if (v4) {
        const auto& own = reinterpret_cast<const sockaddr_in&>(m_address);
        ip_mreqn outgoing{};
        outgoing.imr_address = own.sin_addr;
        outgoing.imr_ifindex = static_cast<int>(m_nIndex);
        if (!setIntOption(bound, IPPROTO_IP, IP_MULTICAST_ALL, 0) ||
            !setIntOption(bound, IPPROTO_IP, IP_PKTINFO, 1) ||
            setsockopt(bound, IPPROTO_IP, IP_MULTICAST_IF, &outgoing, sizeof(outgoing)) != 0) {
            return fail();
        }
        auto& a = reinterpret_cast<sockaddr_in&>(any);
        a.sin_family = AF_INET;
        a.sin_addr.s_addr = htonl(INADDR_ANY);
        a.sin_port = own.sin_port;
        anyLength = sizeof(sockaddr_in);
    } else {
        const auto& own = reinterpret_cast<const sockaddr_in6&>(m_address);
        if (!setIntOption(bound, IPPROTO_IPV6, IPV6_MULTICAST_ALL, 0) ||
            !setIntOption(bound, IPPROTO_IPV6, IPV6_RECVPKTINFO, 1) ||
            !setIntOption(bound, IPPROTO_IPV6, IPV6_MULTICAST_IF, static_cast<int>(m_nIndex))) {
            return fail();
        }
        auto& a = reinterpret_cast<sockaddr_in6&>(any);
        a.sin6_family = AF_INET6;
        a.sin6_addr = in6addr_any;
        a.sin6_port = own.sin6_port;
        anyLength = sizeof(sockaddr_in6);
    }
    // The caller's socket still holds the port; let the new one share it.
    setIntOption(fd, SOL_SOCKET, SO_REUSEADDR, 1);
    if (::bind(bound, reinterpret_cast<sockaddr*>(&any), anyLength) != 0 ||
        ::dup3(bound, fd, O_CLOEXEC) < 0) {
        return fail();
    }
    ::close(bound);
    return true;
}

bool AdapterBinding::accepts(msghdr& received) const {
    for (cmsghdr* c = CMSG_FIRSTHDR(&received); c != nullptr; c = CMSG_NXTHDR(&received, c)) {
        if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_PKTINFO) {
            in_pktinfo info{};
            std::memcpy(&info, CMSG_DATA(c), sizeof(info));
            const in_addr own = reinterpret_cast<const sockaddr_in&>(m_address).sin_addr;
            const bool otherAddress = isUnicast4(info.ipi_addr) && info.ipi_addr.s_addr != own.s_addr &&
                                      info.ipi_addr.s_addr != m_broadcast.s_addr;
            return info.ipi_ifindex == static_cast<int>(m_nIndex) && !otherAddress;
        }
        if (c->cmsg_level == IPPROTO_IPV6 && c->cmsg_type == IPV6_PKTINFO) {
            in6_pktinfo info{};
            std::memcpy(&info, CMSG_DATA(c), sizeof(info));
            const in6_addr& own = reinterpret_cast<const sockaddr_in6&>(m_address).sin6_addr;
            const bool otherAddress =
                isUnicast6(info.ipi6_addr) && !IN6_ARE_ADDR_EQUAL(&info.ipi6_addr, &own);
            return info.ipi6_ifindex == m_nIndex && !otherAddress;
        }
    }
    return true;
}

size_t AdapterBinding::writeSourceControl(unsigned char* control) const {
    std::memset(control, 0, kSourceControlSpace);
    cmsghdr* c = reinterpret_cast<cmsghdr*>(control);
    if (m_address.ss_family == AF_INET) {
        in_pktinfo info{};
        info.ipi_spec_dst = reinterpret_cast<const sockaddr_in&>(m_address).sin_addr;
        c->cmsg_level = IPPROTO_IP;
        c->cmsg_type = IP_PKTINFO;
        c->cmsg_len = CMSG_LEN(sizeof(info));
        std::memcpy(CMSG_DATA(c), &info, sizeof(info));
        return CMSG_SPACE(sizeof(info));
    }
    in6_pktinfo info{};
    info.ipi6_addr = reinterpret_cast<const sockaddr_in6&>(m_address).sin6_addr;
    info.ipi6_ifindex = m_nIndex;
    c->cmsg_level = IPPROTO_IPV6;
    c->cmsg_type = IPV6_PKTINFO;
    c->cmsg_len = CMSG_LEN(sizeof(info));
    std::memcpy(CMSG_DATA(c), &info, sizeof(info));
    return CMSG_SPACE(sizeof(info));
}
