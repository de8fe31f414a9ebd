#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "devsim/SimDevice.h"
#include "discovery/BroadcastCommand.h"
#include "discovery/DeviceBaseInfoCommand.h"
#include "discovery/DiscoveryCommandReceiver.h"
#include "discovery/MulticastCommand.h"
#include "domain/records/DeviceAccessParam.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/HostNetwork.h"
#include "transport/CommandBuffer.h"

namespace {

struct Records {
    DeviceAccessParam access;
    DeviceSummaryInfo summary;
    HostNetwork network;
};

// Runs the receiver's decode path on a datagram held in a receive-sized buffer.
int handle(const Bytes& datagram, Records& r) {
    CommandBuffer in;
    in.alloc(5600);
    if (!datagram.empty()) in.assign(datagram.data(), unsigned(datagram.size()));
    DiscoveryCommandReceiver receiver;
    EXPECT_EQ(2000, receiver.getTimeout());
    return receiver.handle(in, r.access, r.summary, r.network);
}

Bytes wrap(Command& command) {
    CommandBuffer wire;
    EXPECT_EQ(0, command.encode(wire));
    return enveloped(bytesOf(wire));
}

// The fields each form fills in, as one line per record.
std::string filled(const Records& r) {
    const DeviceSummaryInfo& s = r.summary;
    return "summary " + s.getDeviceId() + "|" + std::to_string(s.getDeviceType()) + "|" + s.getDeviceIP() +
           ":" + std::to_string(s.getDevicePort()) + "|" + s.getProductModel() + "|" + s.getHardWareInfo() +
           "|" + s.getSoftWareInfo() + "|" + s.getDeviceTime() + "|" + s.getManufacturerName() + "|" +
           s.getManufacturerId() + "|" + s.getMACAddr() + "; access " + r.access.getLocalIp() + ":" +
           std::to_string(r.access.getControlPort()) + "/" + std::to_string(r.access.getHttpPort()) +
           "; network " + r.network.getLocalIp() + "|" + r.network.getLocalSubnetMask() + "|" +
           r.network.getGateway() + "|" + r.network.getPrimaryDNSIp();
}

TEST(DiscoveryCommandReceiver, EachFormFillsItsFields) {
    DeviceInfoFields f;
    std::strcpy(f.m_szDeviceId, "ID-23");
    f.m_nDeviceType = 7;
    std::strcpy(f.m_szManufacturerName, "not delivered");
    std::strcpy(f.m_szProductModel, "PM");
    std::strcpy(f.m_szMACAddress, "mac");
    std::strcpy(f.m_szHardwareVer, "HV");
    std::strcpy(f.m_szSoftwareVer, "SV");
    std::strcpy(f.m_szDeviceIP, "198.51.100.2");
    std::strcpy(f.m_szSubnetMask, "255.255.255.0");
    std::strcpy(f.m_szGateway, "198.51.100.1");
    std::strcpy(f.m_szPreferredDNSIP, "198.51.100.53");
    f.m_nControlPort = 30001;
    std::strcpy(f.m_szDeviceTime, "T");
    MulticastCommand form23(f);

    DeviceSummaryInfo s;
    s.setDeviceId("ID-16");
    s.setManufacturerId("MI");
    s.setManufacturerName("MN");
    s.setDeviceType(2);
    s.setHardWareInfo("H");
    s.setSoftWareInfo("S");
    s.setDeviceTime("T16");
    DeviceNetwork n;
    n.setLocalIp("203.0.113.9");
    BroadcastCommand form16(s, n);

    DeviceBaseInfo b;
    b.setDeviceID("ID-20");
    b.setDeviceIP("203.0.113.20");
    b.setDevicePort(8000);
    b.setDeviceType(9);
    b.setManufacturerId("MI20");
    b.setManufacturerName("not delivered");
    b.setProductModel("PM20");
    b.setDeviceTime("T20");
    b.setUserID("user");
    Version v;
    v.setSoftwareVer("S20");
    b.setVersion(v);
    DeviceBaseInfoCommand form20(b);

    const struct {
        Command* command;
        const char* expected;
    } cases[] = {
        {&form23,
         "summary ID-23|7|198.51.100.2:30001|PM|HV|SV|T|||; access 198.51.100.2:30001/0; "
         "network 198.51.100.2|255.255.255.0|198.51.100.1|198.51.100.53"},
        // The fixed body carries no model; the network record stays as it was.
        {&form16,
         "summary ID-16|2|203.0.113.9:30001||H|S|T16|MN|MI|; access 203.0.113.9:30001/80; network |||kept"},
        {&form20,
         "summary ID-20|9|203.0.113.20:8000|PM20||S20|T20||MI20|; access 203.0.113.20:8000/0; network "
         "|||kept"},
    };
    for (const auto& c : cases) {
        Records r;
        r.network.setPrimaryDNSIp("kept");
        ASSERT_EQ(0, handle(wrap(*c.command), r));
        EXPECT_EQ(c.expected, filled(r));
    }
}

TEST(DiscoveryCommandReceiver, MalformedDatagramsDeliverNothing) {
    const Bytes xml = textBytes("<DeviceInfo DeviceID=\"x\"/>");
    const Bytes good = enveloped(announcementCommand(23, int32_t(xml.size()), xml));
    Records check;
    ASSERT_EQ(0, handle(good, check));
    ASSERT_EQ("x", check.summary.getDeviceId());

    struct Case {
        const char* what;
        Bytes datagram;
        int expected;
    };
    Bytes wrongMarker = good;
    wrongMarker[0] = 0xFE;
    Bytes lengthPlus = good;
    lengthPlus[23] += 1;
    Bytes lengthMinus = good;
    lengthMinus[23] -= 1;
    Bytes hugeLength = good;
    hugeLength[20] = 0x7F;
    Bytes headOver = enveloped(announcementCommand(23, int32_t(xml.size()) + 1, xml));
    Bytes headHuge = enveloped(announcementCommand(23, 0x7FFFFFFF, xml));
    Bytes headNegative = enveloped(announcementCommand(23, -76, xml));
    Bytes doc = textBytes("<Device DeviceID=\"x\"/>");
    Bytes notXml = textBytes("this is not xml");
    const Case cases[] = {
        {"empty datagram", {}, -231},
        {"23 bytes", Bytes(23, 0xFF), -231},
        {"marker not 255", wrongMarker, -231},
        {"envelope length too high", lengthPlus, -231},
        {"envelope length too low", lengthMinus, -231},
        {"envelope length huge", hugeLength, -231},
        {"envelope only", enveloped({}), -402},
        {"payload under a head", enveloped(Bytes(75, 0)), -402},
        {"body length one too high", headOver, -404},
        {"body length huge", headHuge, -404},
        {"body length negative", headNegative, -404},
        {"top element Device", enveloped(announcementCommand(23, int32_t(doc.size()), doc)), -404},
        {"body not XML", enveloped(announcementCommand(23, int32_t(notXml.size()), notXml)), -404},
        {"identifier 21", enveloped(announcementCommand(21, int32_t(xml.size()), xml)), -401},
        {"identifier 0", enveloped(announcementCommand(0, int32_t(xml.size()), xml)), -401},
        {"identifier -1", enveloped(announcementCommand(-1, int32_t(xml.size()), xml)), -401},
        {"broadcast body 209", enveloped(announcementCommand(16, 209, Bytes(209, 0))), -404},
        {"base info not XML", enveloped(announcementCommand(20, int32_t(notXml.size()), notXml)), -404},
        {"base info wrong element", enveloped(announcementCommand(20, int32_t(xml.size()), xml)), -404},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Records r;
        r.summary.setDeviceId("untouched");
        r.access.setLocalIp("untouched");
        r.network.setGateway("untouched");
        EXPECT_EQ(c.expected, handle(c.datagram, r));
        EXPECT_EQ("untouched", r.summary.getDeviceId());
        EXPECT_EQ("untouched", r.access.getLocalIp());
        EXPECT_EQ("untouched", r.network.getGateway());
    }
}

}  // namespace
