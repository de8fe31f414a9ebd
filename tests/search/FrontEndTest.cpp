// The exported front end without any network: the controller's properties,
// the record of the signal, its meta type and the two Qt listener objects.
#include <QCoreApplication>
#include <QMetaMethod>
#include <QMetaType>
#include <QThread>

#include <gtest/gtest.h>

#include <functional>
#include <thread>
#include <vector>

#include "devsearch/DeviceSearch.h"
#include "devsearch/NetVideoDeviceInfo.h"
#include "devsearch/QDeviceSearcherListener.h"
#include "devsearch/QIPsearchListener.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/Version.h"
#include "search/QtTestEnvironment.h"

namespace {

NetVideoDeviceInfo fullRecord() {
    NetVideoDeviceInfo r;
    r.setDeviceId("id-1");
    r.setDeviceType(7);
    r.setDeviceIP("192.0.2.7");
    r.setDevicePort(30001);
    r.setHttpPort(80);
    Version v;
    v.setHardwareVer("hw");
    v.setSoftwareVer("sw");
    r.setVersion(v);
    r.setManufacturerId("mid");
    r.setManufacturerName("mname");
    r.setSpareText1("s1");
    r.setProductModel("model");
    r.setDeviceTime("time");
    r.setDeviceName("name");
    r.setSN("sn");
    r.setSpareText2("s2");
    r.setUpdatePort("9000");
    r.setMACAddr("mac");
    return r;
}

DeviceSummaryInfo summary() {
    DeviceSummaryInfo s;
    s.setDeviceId("dev");
    s.setDeviceType(4);
    s.setDeviceName("front door");
    s.setDeviceIP("192.0.2.9");
    s.setDevicePort(30001);
    s.setMACAddr("00:01:02:03:04:05");
    s.setManufacturerName("Maker Inc");
    s.setManufacturerId("maker-id");
    s.setProductModel("IPC-9");
    s.setSN("SN9");
    s.setSoftWareInfo("sw-9");
    s.setHardWareInfo("hw-9");
    s.setUpdatePort("9001");
    s.setHttpPort("8080");
    s.setDeviceTime("2024-05-06 07:08:09");
    return s;
}

// Collects what a listener object emits, through a direct connection.
template <class Listener>
std::vector<NetVideoDeviceInfo> captureDirect(Listener& listener, const std::function<void()>& action) {
    std::vector<NetVideoDeviceInfo> got;
    QObject context;
    QObject::connect(
        &listener, &Listener::IPSearchSend, &context, [&](const NetVideoDeviceInfo& r) { got.push_back(r); },
        Qt::DirectConnection);
    action();
    return got;
}

TEST(DeviceSearchTest, OneInstanceWithListenersForLife) {
    DeviceSearch* search = DeviceSearch::GetInstance();
    ASSERT_NE(nullptr, search);
    EXPECT_EQ(search, DeviceSearch::GetInstance());
    EXPECT_EQ(30001, search->getPort());
    QIPsearchListener* ip = search->getIPsearchListener();
    ASSERT_NE(nullptr, ip);
    ASSERT_NE(nullptr, search->getDeviceSearcherListener());
    EXPECT_EQ(nullptr, ip->parent());
    search->stopSearch(true);  // nothing runs
    EXPECT_EQ(ip, search->getIPsearchListener());
}

// Equality covers every field: a change in any one makes two records unequal;
// copies are deep (the version included).
TEST(NetVideoDeviceInfoTest, CopiesAndComparesEveryField) {
    const NetVideoDeviceInfo r = fullRecord();
    NetVideoDeviceInfo copy(r);
    EXPECT_EQ(r, copy);
    copy = NetVideoDeviceInfo();
    EXPECT_EQ(NetVideoDeviceInfo(), copy);
    copy = r;
    EXPECT_EQ("hw", copy.getHardwareVer());
    Version other;
    other.setSoftwareVer("changed");
    NetVideoDeviceInfo source = fullRecord();
    const NetVideoDeviceInfo kept(source);
    source.setVersion(other);
    EXPECT_EQ("sw", kept.getSoftwareVer());

    const std::vector<std::function<void(NetVideoDeviceInfo&)>> changes = {
        [](auto& x) { x.setDeviceId("x"); },        [](auto& x) { x.setDeviceType(8); },
        [](auto& x) { x.setDeviceIP("x"); },        [](auto& x) { x.setDevicePort(1); },
        [](auto& x) { x.setHttpPort(81); },         [&](auto& x) { x.setVersion(other); },
        [](auto& x) { x.setManufacturerId("x"); },  [](auto& x) { x.setManufacturerName("x"); },
        [](auto& x) { x.setSpareText1("x"); },      [](auto& x) { x.setProductModel("x"); },
        [](auto& x) { x.setDeviceTime("x"); },      [](auto& x) { x.setDeviceName("x"); },
        [](auto& x) { x.setSN("x"); },              [](auto& x) { x.setSpareText2("x"); },
        [](auto& x) { x.setUpdatePort("x"); },      [](auto& x) { x.setMACAddr("x"); }};
    for (size_t i = 0; i < changes.size(); ++i) {
        NetVideoDeviceInfo changed = r;
        changes[i](changed);
        EXPECT_NE(r, changed) << "field " << i;
    }
}

TEST(NetVideoDeviceInfoTest, IsAMetaTypeUnderItsOwnName) {
    // The listener objects exist since load, and they registered the type.
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    const QMetaType type = QMetaType::fromName("NetVideoDeviceInfo");
    ASSERT_TRUE(type.isValid());
    EXPECT_EQ(QMetaType::fromType<NetVideoDeviceInfo>(), type);
    void* made = type.create(nullptr);
    const NetVideoDeviceInfo source = fullRecord();
    void* copied = type.create(&source);
#else
    const int type = QMetaType::type("NetVideoDeviceInfo");
    ASSERT_NE(0, type);
    EXPECT_EQ(qMetaTypeId<NetVideoDeviceInfo>(), type);
    void* made = QMetaType::create(type, nullptr);
    const NetVideoDeviceInfo source = fullRecord();
    void* copied = QMetaType::create(type, &source);
#endif
    ASSERT_NE(nullptr, made);
    EXPECT_EQ(NetVideoDeviceInfo(), *static_cast<NetVideoDeviceInfo*>(made));
    EXPECT_EQ(source, *static_cast<NetVideoDeviceInfo*>(copied));
#if QT_VERSION >= QT_VERSION_CHECK(6, 0, 0)
    type.destroy(made);
    type.destroy(copied);
#else
    QMetaType::destroy(type, made);
    QMetaType::destroy(type, copied);
#endif
}

TEST(ListenerObjectTest, MetaDataAndInterfaceCasts) {
    QDeviceSearcherListener searcher(nullptr);
    QIPsearchListener ip(nullptr);

    EXPECT_STREQ("QDeviceSearcherListener", searcher.metaObject()->className());
    EXPECT_STREQ("QIPsearchListener", ip.metaObject()->className());
    EXPECT_EQ(&QObject::staticMetaObject, searcher.metaObject()->superClass());
    for (const QMetaObject* meta : {searcher.metaObject(), ip.metaObject()}) {
        EXPECT_EQ(1, meta->methodCount() - meta->methodOffset());
        const QMetaMethod signal = meta->method(meta->methodOffset());
        EXPECT_EQ(QMetaMethod::Signal, signal.methodType());
        EXPECT_EQ(QMetaMethod::Public, signal.access());
        EXPECT_EQ(QByteArray("IPSearchSend(NetVideoDeviceInfo)"), signal.methodSignature());
        EXPECT_EQ(0, meta->propertyCount() - meta->propertyOffset());
        EXPECT_EQ(0, meta->classInfoCount() - meta->classInfoOffset());
        EXPECT_EQ(0, meta->enumeratorCount() - meta->enumeratorOffset());
    }

    EXPECT_EQ(static_cast<void*>(static_cast<IDeviceSearcherListener*>(&searcher)),
              searcher.qt_metacast("IDeviceSearcherListener"));
    EXPECT_EQ(static_cast<void*>(&searcher), searcher.qt_metacast("QDeviceSearcherListener"));
    EXPECT_EQ(static_cast<void*>(static_cast<QObject*>(&searcher)), searcher.qt_metacast("QObject"));
    EXPECT_EQ(nullptr, searcher.qt_metacast("IDeviceDiscoveryListener"));
    EXPECT_EQ(static_cast<void*>(static_cast<IDeviceDiscoveryListener*>(&ip)),
              ip.qt_metacast("IDeviceDiscoveryListener"));
    EXPECT_EQ(nullptr, ip.qt_metacast("Something"));

    // The listener id of the interface is a plain value.
    EXPECT_EQ(0, searcher.getListenerId());
    searcher.setListenerId(5);
    QDeviceSearcherListener other(nullptr);
    static_cast<IDeviceSearcherListener&>(other) = searcher;
    EXPECT_EQ(5, other.getListenerId());
}

TEST(ListenerObjectTest, MulticastRecordBecomesASignalWithItsFields) {
    QIPsearchListener listener(nullptr);
    const std::vector<NetVideoDeviceInfo> got =
        captureDirect(listener, [&] { listener.onDeviceDiscovered(summary()); });
    ASSERT_EQ(1u, got.size());
    const NetVideoDeviceInfo& r = got.front();
    EXPECT_EQ("dev", r.getDeviceId());
    EXPECT_EQ(4, r.getDeviceType());
    EXPECT_EQ("192.0.2.9", r.getDeviceIP());
    EXPECT_EQ(30001, r.getDevicePort());
    EXPECT_EQ(8080, r.getHttpPort());
    EXPECT_EQ("hw-9", r.getHardwareVer());
    EXPECT_EQ("sw-9", r.getSoftwareVer());
    EXPECT_EQ("maker-id", r.getManufacturerId());
    EXPECT_EQ("Maker Inc", r.getManufacturerName());
    EXPECT_EQ("IPC-9", r.getProductModel());
    EXPECT_EQ("2024-05-06 07:08:09", r.getDeviceTime());
    EXPECT_EQ("front door", r.getDeviceName());
    EXPECT_EQ("SN9", r.getSN());
    EXPECT_EQ("9001", r.getUpdatePort());
    EXPECT_EQ("00:01:02:03:04:05", r.getMACAddr());
    EXPECT_EQ("", r.getSpareText1());
    EXPECT_EQ("", r.getSpareText2());
}

TEST(ListenerObjectTest, MulticastRecordFilterAndHttpPortText) {
    QIPsearchListener listener(nullptr);
    DeviceSummaryInfo noModel = summary();
    noModel.setProductModel("");
    EXPECT_TRUE(captureDirect(listener, [&] { listener.onDeviceDiscovered(noModel); }).empty());

    const std::vector<std::pair<std::string, unsigned short>> ports = {
        {"abc", 0}, {"", 0}, {"80x", 0}, {"70000", 4464}, {"-1", 65535}, {"443", 443}};
    for (const auto& p : ports) {
        DeviceSummaryInfo s = summary();
        s.setHttpPort(p.first);
        const auto got = captureDirect(listener, [&] { listener.onDeviceDiscovered(s); });
        ASSERT_EQ(1u, got.size()) << p.first;
        EXPECT_EQ(p.second, got.front().getHttpPort()) << p.first;
    }
}

TEST(ListenerObjectTest, QueuedConnectionDeliversAFullCopyOnTheReceiversThread) {
    QDeviceSearcherListener* listener = DeviceSearch::GetInstance()->getDeviceSearcherListener();
    std::vector<NetVideoDeviceInfo> got;
    std::vector<QThread*> threads;
    QObject receiver;
    QObject::connect(listener, &QDeviceSearcherListener::IPSearchSend, &receiver,
                     [&](const NetVideoDeviceInfo& r) {
                         got.push_back(r);
                         threads.push_back(QThread::currentThread());
                     });
    {
        NetVideoDeviceInfo sent = fullRecord();
        std::thread engine([&] { EXPECT_EQ(0, listener->onSearchResult(sent)); });
        engine.join();
        // The sender's record is gone before the receiver runs: the event holds its own copy.
        sent = NetVideoDeviceInfo();
    }
    EXPECT_TRUE(got.empty());
    ASSERT_TRUE(testqt::processUntil([&] { return !got.empty(); }, std::chrono::milliseconds(2000)));
    ASSERT_EQ(1u, got.size());
    EXPECT_EQ(fullRecord(), got.front());
    EXPECT_EQ(QCoreApplication::instance()->thread(), threads.front());
}

}  // namespace
