// The exported front end without any network: the controller's singleton,
// the record of the signal, its meta type and the two Qt listener objects
// (their queued delivery to other threads is the device list's test).
#include <QMetaType>

#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "devsearch/DeviceSearch.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsearch/QDeviceSearcherListener.h"
#include "devsearch/QIPsearchListener.h"
#include "devsim/SimDevice.h"

namespace {

// A summary with every field set, each to a value of its own.
DeviceSummaryInfo summary() {
    SimDeviceConfig device;
    device.address = "192.0.2.9";
    device.index = 4;
    device.deviceTime = "2024-05-06 07:08:09";
    return makeSummary(device);
}

// What the multicast listener object emits for one summary, through a direct connection.
std::vector<NetVideoDeviceInfo> emitted(const DeviceSummaryInfo& s) {
    QIPsearchListener listener(nullptr);
    std::vector<NetVideoDeviceInfo> got;
    QObject::connect(&listener, &QIPsearchListener::IPSearchSend,
                     [&](const NetVideoDeviceInfo& r) { got.push_back(r); });
    listener.onDeviceDiscovered(s);
    return got;
}

TEST(DeviceSearchTest, OneInstanceWithListenersForLife) {
    DeviceSearch* search = DeviceSearch::GetInstance();
    EXPECT_EQ(30001, search->getPort());
    QIPsearchListener* ip = search->getIPsearchListener();
    EXPECT_EQ(nullptr, ip->parent());
    search->stopSearch(true);  // nothing runs
    EXPECT_EQ(search, DeviceSearch::GetInstance());
    EXPECT_EQ(ip, search->getIPsearchListener());
}

// Equality, copies and assignment cover every field; a copy keeps a version
// of its own.
TEST(NetVideoDeviceInfoTest, CopiesAndComparesEveryField) {
    const std::vector<std::function<void(NetVideoDeviceInfo&)>> changes = {
        [](auto& x) { x.setDeviceId("x"); },         [](auto& x) { x.setDeviceType(8); },
        [](auto& x) { x.setDeviceIP("x"); },         [](auto& x) { x.setDevicePort(1); },
        [](auto& x) { x.setHttpPort(81); },          [](auto& x) { x.setHardwareVer("x"); },
        [](auto& x) { x.setSoftwareVer("x"); },      [](auto& x) { x.setManufacturerId("x"); },
        [](auto& x) { x.setManufacturerName("x"); }, [](auto& x) { x.setSpareText1("x"); },
        [](auto& x) { x.setProductModel("x"); },     [](auto& x) { x.setDeviceTime("x"); },
        [](auto& x) { x.setDeviceName("x"); },       [](auto& x) { x.setSN("x"); },
        [](auto& x) { x.setSpareText2("x"); },       [](auto& x) { x.setUpdatePort("x"); },
        [](auto& x) { x.setMACAddr("x"); }};
    for (size_t i = 0; i < changes.size(); ++i) {
        NetVideoDeviceInfo changed;
        changes[i](changed);
        EXPECT_NE(NetVideoDeviceInfo(), changed) << "field " << i;
        NetVideoDeviceInfo assigned;
        assigned = changed;
        const NetVideoDeviceInfo copied(assigned);
        assigned = NetVideoDeviceInfo();
        EXPECT_EQ(changed, copied) << "field " << i;
    }
}

// The listener objects exist since load, and they registered the type by
// name (looked up first: qMetaTypeId registers it by itself).
TEST(NetVideoDeviceInfoTest, IsAMetaTypeUnderItsOwnName) {
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const int byName = QMetaType::fromName("NetVideoDeviceInfo").id();
#else
    const int byName = QMetaType::type("NetVideoDeviceInfo");
#endif
    EXPECT_EQ(qMetaTypeId<NetVideoDeviceInfo>(), byName);
}

TEST(ListenerObjectTest, MetaDataAndInterfaceCasts) {
    QDeviceSearcherListener searcher(nullptr);
    QIPsearchListener ip(nullptr);
    EXPECT_STREQ("QDeviceSearcherListener", searcher.metaObject()->className());
    EXPECT_STREQ("QIPsearchListener", ip.metaObject()->className());
    // A QObject with one signal of its own, and nothing else.
    for (const QMetaObject* meta : {searcher.metaObject(), ip.metaObject()}) {
        EXPECT_EQ(&QObject::staticMetaObject, meta->superClass());
        EXPECT_EQ(1, meta->methodCount() - meta->methodOffset());
        EXPECT_EQ(meta->methodOffset(), meta->indexOfSignal("IPSearchSend(NetVideoDeviceInfo)"));
    }
    EXPECT_EQ(static_cast<void*>(static_cast<IDeviceSearcherListener*>(&searcher)),
              searcher.qt_metacast("IDeviceSearcherListener"));
    EXPECT_EQ(nullptr, searcher.qt_metacast("IDeviceDiscoveryListener"));
    EXPECT_EQ(static_cast<void*>(static_cast<IDeviceDiscoveryListener*>(&ip)),
              ip.qt_metacast("IDeviceDiscoveryListener"));
    EXPECT_EQ(nullptr, ip.qt_metacast("Something"));
}

// A summary becomes a record with every field in its place (the fields that
// the device list shows are checked there); one without a product model is
// dropped; the HTTP port text is read as a decimal int cut to 16 bits,
// anything else is 0.
TEST(ListenerObjectTest, MulticastRecordItsFieldsFilterAndHttpPortText) {
    const DeviceSummaryInfo s = summary();
    const std::vector<NetVideoDeviceInfo> got = emitted(s);
    ASSERT_EQ(1u, got.size());
    const NetVideoDeviceInfo& r = got.front();
    EXPECT_EQ(s.getDeviceType(), r.getDeviceType());
    EXPECT_EQ(s.getHttpPort(), std::to_string(r.getHttpPort()));
    EXPECT_EQ(s.getManufacturerId(), r.getManufacturerId());
    EXPECT_EQ(s.getManufacturerName(), r.getManufacturerName());
    EXPECT_EQ(s.getDeviceTime(), r.getDeviceTime());
    EXPECT_EQ(s.getSN(), r.getSN());
    EXPECT_EQ(s.getUpdatePort(), r.getUpdatePort());
    EXPECT_EQ("", r.getSpareText1() + r.getSpareText2());

    DeviceSummaryInfo noModel = s;
    noModel.setProductModel("");
    EXPECT_TRUE(emitted(noModel).empty());
    const std::vector<std::pair<std::string, unsigned short>> ports = {
        {"abc", 0}, {"", 0}, {"80x", 0}, {"70000", 4464}, {"-1", 65535}, {"443", 443}};
    for (const auto& p : ports) {
        DeviceSummaryInfo port = s;
        port.setHttpPort(p.first);
        const auto one = emitted(port);
        ASSERT_EQ(1u, one.size()) << p.first;
        EXPECT_EQ(p.second, one.front().getHttpPort()) << p.first;
    }
}

}  // namespace
