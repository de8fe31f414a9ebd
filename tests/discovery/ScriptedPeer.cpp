#include "discovery/ScriptedPeer.h"

#include <arpa/inet.h>
#include <net/if.h>
#include <sys/ioctl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>
#include <thread>

#include "protocol/CommandParam.h"
#include "protocol/SDKCommandParser.h"
#include "transport/CommandBuffer.h"

namespace testpeer {

Bytes encodeCommand(uint32_t commandId, uint16_t sequence, const DeviceSummaryInfo* summary) {
    SafePointer<SDKCommandParam> param = makeSafePointer<SDKCommandParam>();
    param->m_objHead.nSequence = sequence;
    param->m_objHead.nCommandID = commandId;
    if (summary != nullptr) {
        param->m_domains.push_back(SafePointer<BaseDomain>(makeSafePointer<DeviceSummaryInfo>(*summary)));
    }
    SDKCommandParser parser;
    CommandBuffer out;
    if (!parser.createCommand(SafePointer<CommandParam>(param), out)) {
        throw std::runtime_error("the encoder refused the command");
    }
    return Bytes(out.getCursor(), out.getCursor() + out.getLength());
}

DeviceSummaryInfo makeSummary(const std::string& id, const std::string& model, const std::string& time) {
    DeviceSummaryInfo s;
    s.setDeviceId(id);
    s.setDeviceType(3);
    s.setDeviceName("name-" + id);
    s.setDeviceIP("10.9.9.9");
    s.setDevicePort(1234);
    s.setMACAddr("00:11:22:33:44:55");
    s.setManufacturerName("maker");
    s.setManufacturerId("m-1");
    s.setProductModel(model);
    s.setSN("sn-" + id);
    s.setSoftWareInfo("sw-2.1");
    s.setHardWareInfo("hw-1.0");
    s.setUpdatePort("9000");
    s.setHttpPort("8080");
    s.setDeviceTime(time);
    return s;
}

Bytes sdkHead(uint32_t commandId, uint16_t sequence, uint32_t payloadLength) {
    Bytes h(24, 0);
    h[0] = 0xAF;
    h[1] = 0xAF;
    h[3] = 1;
    h[4] = uint8_t(sequence >> 8);
    h[5] = uint8_t(sequence);
    for (int i = 0; i < 4; ++i) h[8 + i] = uint8_t(commandId >> (24 - 8 * i));
    for (int i = 0; i < 4; ++i) h[16 + i] = uint8_t(payloadLength >> (24 - 8 * i));
    uint8_t check = 0;
    for (int i = 0; i < 22; ++i) check ^= h[i];
    h[22] = check;
    h[23] = 0x23;
    return h;
}

bool readHead(const Bytes& bytes, uint32_t& commandId, uint16_t& sequence) {
    if (bytes.size() < 24) return false;
    sequence = uint16_t(bytes[4] << 8 | bytes[5]);
    commandId = uint32_t(bytes[8]) << 24 | uint32_t(bytes[9]) << 16 | uint32_t(bytes[10]) << 8 | bytes[11];
    return true;
}

std::vector<BadInput> badInputs(uint32_t answerCommand) {
    const DeviceSummaryInfo summary = makeSummary("bad-device");
    const Bytes good = encodeCommand(answerCommand, 0, &summary);
    auto withBody = [&](const std::string& body) {
        Bytes d = sdkHead(answerCommand, 0, uint32_t(body.size()));
        d.insert(d.end(), body.begin(), body.end());
        return d;
    };
    std::vector<BadInput> cases;
    cases.push_back({"TruncatedHead", Bytes(good.begin(), good.begin() + 10)});
    cases.push_back({"HeadOnlyWithPayloadMissing", Bytes(good.begin(), good.begin() + 24)});
    {
        Bytes d = good;
        d[22] ^= 0x01;
        cases.push_back({"WrongCheckByte", d});
    }
    {
        Bytes d = sdkHead(answerCommand, 0, uint32_t(good.size() - 24 + 100));
        d.insert(d.end(), good.begin() + 24, good.end());
        cases.push_back({"LengthPastTheEnd", d});
    }
    {
        Bytes d = sdkHead(answerCommand, 0, 0xFFFFFFF0u);
        d.insert(d.end(), good.begin() + 24, good.end());
        cases.push_back({"HugeDeclaredLength", d});
    }
    cases.push_back({"BodyNotXml", withBody("this is no document \x01\x02\x03")});
    cases.push_back({"BinaryBody", withBody(std::string("\0\0\0\xff\xfe<", 6))});
    cases.push_back({"UnclosedElement",
                     withBody("<?xml version=\"1.0\"?>\n<Parameters Version=\"1\"><DeviceSummaryInfo ")});
    {
        std::string deep = "<Parameters Version=\"1\">";
        for (int i = 0; i < 600; ++i) deep += "<a>";
        deep += "<DeviceSummaryInfo DeviceId=\"deep\" ProductModel=\"x\" />";
        for (int i = 0; i < 600; ++i) deep += "</a>";
        deep += "</Parameters>";
        cases.push_back({"DeepDocument", withBody(deep)});
    }
    {
        std::string huge = "<Parameters Version=\"1\">";
        while (huge.size() < 5400) huge += "<UnknownElement Attr=\"0123456789\" />";
        huge += "</Parameters>";
        cases.push_back({"HugeDocument", withBody(huge)});
    }
    cases.push_back({"NoSummaryInBody", encodeCommand(answerCommand, 0, nullptr)});
    cases.push_back({"EmptyDatagram", Bytes()});
    {
        Bytes d = good;
        d.resize(6000, ' ');
        cases.push_back({"LongerThanTheTransportTakes", d});
    }
    return cases;
}

namespace {

// Whether the calling thread's namespace reports `ifName` as running.
bool running(const std::string& ifName) {
    const int fd = socket(AF_INET, SOCK_DGRAM, 0);
    if (fd < 0) return false;
    ifreq request{};
    std::strncpy(request.ifr_name, ifName.c_str(), IFNAMSIZ - 1);
    const bool up = ioctl(fd, SIOCGIFFLAGS, &request) == 0 && (request.ifr_flags & IFF_RUNNING) != 0;
    close(fd);
    return up;
}

}  // namespace

bool waitRigRunning(const testsupport::NetnsRig& rig, std::chrono::milliseconds limit) {
    const auto end = std::chrono::steady_clock::now() + limit;
    auto allRunning = [&] {
        bool up = true;
        rig.client().run([&] { up = running(rig.linkA().clientIf) && running(rig.linkB().clientIf); });
        rig.lanA().run([&] { up = up && running(rig.linkA().peerIf); });
        rig.lanB().run([&] { up = up && running(rig.linkB().peerIf); });
        return up;
    };
    while (!allRunning()) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    }
    return true;
}

ScriptedPeer::ScriptedPeer(const testsupport::Netns& ns, unsigned short port,
                           const std::string& joinAddress) {
    ns.run([&] {
        m_nFd = socket(AF_INET, SOCK_DGRAM, 0);
        if (m_nFd < 0) throw std::runtime_error("peer socket");
        int on = 1;
        setsockopt(m_nFd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        setsockopt(m_nFd, IPPROTO_IP, IP_PKTINFO, &on, sizeof(on));
        int big = 4 << 20;
        setsockopt(m_nFd, SOL_SOCKET, SO_RCVBUFFORCE, &big, sizeof(big));
        sockaddr_in local{};
        local.sin_family = AF_INET;
        local.sin_port = htons(port);
        local.sin_addr.s_addr = htonl(INADDR_ANY);
        if (bind(m_nFd, reinterpret_cast<sockaddr*>(&local), sizeof(local)) != 0) {
            throw std::runtime_error(std::string("peer bind: ") + std::strerror(errno));
        }
        if (!joinAddress.empty()) {
            ip_mreq m{};
            m.imr_multiaddr.s_addr = inet_addr("234.5.6.7");
            m.imr_interface.s_addr = inet_addr(joinAddress.c_str());
            if (setsockopt(m_nFd, IPPROTO_IP, IP_ADD_MEMBERSHIP, &m, sizeof(m)) != 0) {
                throw std::runtime_error(std::string("peer join: ") + std::strerror(errno));
            }
            in_addr iface{};
            iface.s_addr = inet_addr(joinAddress.c_str());
            setsockopt(m_nFd, IPPROTO_IP, IP_MULTICAST_IF, &iface, sizeof(iface));
        }
    });
    m_pThread = std::make_unique<testsupport::NetnsThread>(ns.spawn([this] { loop(); }));
}

ScriptedPeer::~ScriptedPeer() {
    m_bStop = true;
    m_pThread.reset();
    if (m_nFd >= 0) close(m_nFd);
}

void ScriptedPeer::setScript(Script script) {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_script = std::move(script);
}

void ScriptedPeer::send(const std::vector<Reply>& replies) {
    sendNow(replies);
}

std::vector<Received> ScriptedPeer::received() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_received;
}

size_t ScriptedPeer::count() {
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_received.size();
}

void ScriptedPeer::clear() {
    std::lock_guard<std::mutex> lock(m_mutex);
    m_received.clear();
}

bool ScriptedPeer::waitFor(size_t n, std::chrono::milliseconds limit) {
    std::unique_lock<std::mutex> lock(m_mutex);
    return m_cv.wait_for(lock, limit, [&] { return m_received.size() >= n; });
}

void ScriptedPeer::sendNow(const std::vector<Reply>& replies) {
    for (const Reply& r : replies) {
        sockaddr_in to{};
        to.sin_family = AF_INET;
        to.sin_port = htons(r.port);
        to.sin_addr.s_addr = inet_addr(r.to.c_str());
        iovec iov{const_cast<uint8_t*>(r.bytes.data()), r.bytes.size()};
        msghdr msg{};
        msg.msg_name = &to;
        msg.msg_namelen = sizeof(to);
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        alignas(cmsghdr) unsigned char control[CMSG_SPACE(sizeof(in_pktinfo))] = {};
        if (!r.from.empty()) {
            msg.msg_control = control;
            msg.msg_controllen = sizeof(control);
            cmsghdr* c = CMSG_FIRSTHDR(&msg);
            c->cmsg_level = IPPROTO_IP;
            c->cmsg_type = IP_PKTINFO;
            c->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
            in_pktinfo info{};
            info.ipi_spec_dst.s_addr = inet_addr(r.from.c_str());
            std::memcpy(CMSG_DATA(c), &info, sizeof(info));
        }
        sendmsg(m_nFd, &msg, 0);
    }
}

void ScriptedPeer::loop() {
    std::vector<uint8_t> buffer(65536);
    while (!m_bStop) {
        pollfd p{m_nFd, POLLIN, 0};
        if (poll(&p, 1, 20) <= 0) continue;
        sockaddr_in from{};
        iovec iov{buffer.data(), buffer.size()};
        alignas(cmsghdr) unsigned char control[256];
        msghdr msg{};
        msg.msg_name = &from;
        msg.msg_namelen = sizeof(from);
        msg.msg_iov = &iov;
        msg.msg_iovlen = 1;
        msg.msg_control = control;
        msg.msg_controllen = sizeof(control);
        const ssize_t n = recvmsg(m_nFd, &msg, 0);
        if (n < 0) continue;
        Received r;
        r.bytes.assign(buffer.begin(), buffer.begin() + n);
        char text[INET_ADDRSTRLEN] = {0};
        inet_ntop(AF_INET, &from.sin_addr, text, sizeof(text));
        r.from = text;
        r.fromPort = ntohs(from.sin_port);
        for (cmsghdr* c = CMSG_FIRSTHDR(&msg); c != nullptr; c = CMSG_NXTHDR(&msg, c)) {
            if (c->cmsg_level == IPPROTO_IP && c->cmsg_type == IP_PKTINFO) {
                in_pktinfo info{};
                std::memcpy(&info, CMSG_DATA(c), sizeof(info));
                char dst[INET_ADDRSTRLEN] = {0};
                inet_ntop(AF_INET, &info.ipi_addr, dst, sizeof(dst));
                r.to = dst;
            }
        }
        Script script;
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            script = m_script;
        }
        if (script) sendNow(script(r));
        {
            std::lock_guard<std::mutex> lock(m_mutex);
            m_received.push_back(std::move(r));
        }
        m_cv.notify_all();
    }
}

}  // namespace testpeer
