#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "domain/DomainList.h"
#include "domain/codecs/Base64.h"
#include "domain/records/DetectionAreaV2.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/DataBuffer.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/EtCOMWriteData.h"
#include "domain/records/EtFileDataPack.h"
#include "domain/records/EtResult.h"
#include "domain/records/InetAddr.h"
#include "domain/records/SMTPActionParam.h"
#include "domain/records/SearchDeviceInfoEx.h"
#include "domain/records/Version.h"

namespace {

const unsigned char kBytes[] = {1, 2, 3, 4, 5, 6, 7, 8};

TEST(DomainRecordsTest, ContainerIdentifiers) {
    DomainVectorContainer<ChannelInfo> channels;
    EXPECT_EQ(99999, channels.getDomainId());
    EXPECT_EQ(67, channels.getElementDomainId());
    DomainVectorContainer<BaseDomain> plain;
    EXPECT_EQ(0, plain.getElementDomainId());
    channels.getItems().push_back(ChannelInfo());
    DomainVectorContainer<ChannelInfo> copy(channels);
    EXPECT_EQ(99999, copy.getDomainId());
    EXPECT_EQ(1u, copy.getItems().size());
}

TEST(DomainRecordsTest, IdentifierSurvivesCopyAndAssignment) {
    SMTPActionParam smtp;
    EXPECT_EQ(5062, smtp.getDomainId());
    smtp.setActionName("mail");
    SMTPActionParam copy(smtp);
    EXPECT_EQ(5062, copy.getDomainId());
    EXPECT_EQ("mail", copy.getActionName());
    BaseDomain sliced(smtp);
    EXPECT_EQ(0, sliced.getDomainId());

    // Assigning through the base part leaves the target's identifier alone.
    AlarmActionParam base;
    base = smtp;
    EXPECT_EQ(5058, base.getDomainId());
    EXPECT_EQ("mail", base.getActionName());
    InetAddr addr;
    static_cast<BaseDomain&>(addr) = EtResult();
    EXPECT_EQ(144, addr.getDomainId());

    // BaseDomain's equality compares identifiers only.
    ChannelInfo a;
    ChannelInfo b;
    a.setChannelName("one");
    EXPECT_TRUE(static_cast<const BaseDomain&>(a) == static_cast<const BaseDomain&>(b));
}

TEST(DomainRecordsTest, SummaryAndVersionCompareAllFields) {
    DeviceSummaryInfo a;
    DeviceSummaryInfo b;
    EXPECT_TRUE(a == b);
    b.setSN("x");
    EXPECT_FALSE(a == b);
    a.setSN("x");
    a.setDevicePort(80);
    EXPECT_TRUE(a != b);
    Version v1;
    Version v2;
    v2.setSoftwareVer("1.0");
    EXPECT_FALSE(v1 == v2);
}

TEST(DomainRecordsTest, FixedTextFieldRefusesOverlongText) {
    SearchDeviceInfoEx info;
    EXPECT_STREQ("", info.getDeviceName());
    std::string name32(32, 'n');
    EXPECT_TRUE(info.setDeviceName(name32.c_str()));
    EXPECT_EQ(name32, info.getDeviceName());
    EXPECT_FALSE(info.setDeviceName(std::string(33, 'x').c_str()));
    EXPECT_EQ(name32, info.getDeviceName());
    EXPECT_FALSE(info.setDeviceName(nullptr));
    EXPECT_TRUE(info.setDeviceId(std::string(128, 'i').c_str()));
    SearchDeviceInfoEx copy(info);
    EXPECT_EQ(name32, copy.getDeviceName());
    EXPECT_EQ(5018, copy.getDomainId());
}

TEST(DomainRecordsTest, FindDomainAndExtractDomain) {
    DomainList list;
    SafePointer<BaseDomain> out;
    EXPECT_FALSE(findDomain(801, 0, list, out));
    EXPECT_TRUE(out.isNull());

    DomainVectorContainer<InetAddr>* addrs = new DomainVectorContainer<InetAddr>;
    list.push_back(SafePointer<BaseDomain>(addrs));
    ChannelInfo* single = new ChannelInfo;
    single->setChannelName("single");
    list.push_back(SafePointer<BaseDomain>(single));
    DomainVectorContainer<ChannelInfo>* channels = new DomainVectorContainer<ChannelInfo>;
    list.push_back(SafePointer<BaseDomain>(channels));
    EtResult* first = new EtResult;
    first->setCode(7);
    list.push_back(SafePointer<BaseDomain>(first));
    EtResult* second = new EtResult;
    second->setCode(8);
    list.push_back(SafePointer<BaseDomain>(second));

    ASSERT_TRUE(findDomain(99999, 67, list, out));
    EXPECT_EQ(channels, out.get());  // shared, not copied
    ASSERT_TRUE(findDomain(67, 12345, list, out));
    EXPECT_EQ(single, out.get());
    EXPECT_FALSE(findDomain(99999, 801, list, out));

    EtResult result;
    ASSERT_TRUE(extractDomain(result, list));
    EXPECT_EQ(7, result.getCode());
    DeviceSummaryInfo summary;
    EXPECT_FALSE(extractDomain(summary, list));

    list.push_back(SafePointer<BaseDomain>());
    EXPECT_FALSE(findDomain(415, 0, DomainList(1, SafePointer<BaseDomain>(new EtResult)), out));
    EXPECT_THROW(findDomain(415, 0, list, out), std::exception);
}

TEST(DomainRecordsTest, DataBufferKeepsTheLargerBlock) {
    DataBuffer buffer;
    EXPECT_EQ(416, buffer.getDomainId());
    EXPECT_FALSE(buffer.setData(kBytes, 0));
    EXPECT_FALSE(buffer.setData(nullptr, 3));
    EXPECT_EQ(nullptr, buffer.getData());
    ASSERT_TRUE(buffer.setData(kBytes, 8));
    const unsigned char* block = buffer.getData();
    EXPECT_FALSE(buffer.setData(kBytes, -1));
    EXPECT_EQ(8, buffer.getLength());
    ASSERT_TRUE(buffer.setData(kBytes + 4, 2));
    EXPECT_EQ(block, buffer.getData());  // same allocation, shorter length
    EXPECT_EQ(2, buffer.getLength());
    EXPECT_EQ(5, buffer.getData()[0]);

    // Assigning an empty DataBuffer leaves the target; an empty ComData empties it.
    DataBuffer empty;
    buffer = empty;
    EXPECT_EQ(2, buffer.getLength());
    ComData com;
    com.setData(kBytes, 3);
    com = ComData();
    EXPECT_EQ(0, com.getLength());
    EXPECT_EQ(nullptr, com.getData());

    EtFileDataPack pack;
    pack.getData().setData(kBytes, 4);
    pack.setFlag(1);
    EtFileDataPack packCopy(pack);
    EXPECT_EQ(1125, packCopy.getDomainId());
    EXPECT_EQ(4, packCopy.getData().getLength());
    EXPECT_EQ(0, std::memcmp(kBytes, packCopy.getData().getData(), 4));
    EtCOMWriteData write;
    EXPECT_EQ(1067, write.getDomainId());
    write.getComData().setData(kBytes, 2);
    EtCOMWriteData writeCopy;
    writeCopy = write;
    EXPECT_EQ(2, writeCopy.getComData().getLength());
}

TEST(DomainRecordsTest, Base64SizesAndCodes) {
    char text[16];
    int room = sizeof(text);
    ASSERT_EQ(0, Base64Encode(kBytes, 3, text, room));
    EXPECT_EQ(4, room);
    EXPECT_STREQ("AQID", text);
    room = sizeof(text);
    ASSERT_EQ(0, Base64Encode(kBytes, 1, text, room));
    EXPECT_STREQ("AQ==", text);
    room = 8;  // 8 bytes need 12 characters and the terminator
    EXPECT_EQ(-16, Base64Encode(kBytes, 8, text, room));
    EXPECT_EQ(13, room);
    room = 12;
    EXPECT_EQ(-16, Base64Encode(kBytes, 8, text, room));
    room = 13;
    EXPECT_EQ(0, Base64Encode(kBytes, 8, text, room));
    EXPECT_STREQ("AQIDBAUGBwg=", text);
    EXPECT_EQ(-4, Base64Encode(nullptr, 3, text, room));
    EXPECT_EQ(-4, Base64Encode(kBytes, 3, nullptr, room));
    room = 99;
    EXPECT_EQ(0, Base64Encode(kBytes, 0, text, room));
    EXPECT_EQ(99, room);

    unsigned char out[16];
    int size = sizeof(out);
    ASSERT_EQ(0, Base64Decode("AQID\r\nBAUGBwg=", 14, out, size));
    ASSERT_EQ(8, size);
    EXPECT_EQ(0, std::memcmp(kBytes, out, 8));
    size = 2;  // "AQ==" asks for 3 bytes though it yields one
    EXPECT_EQ(-16, Base64Decode("AQ==", 4, out, size));
    EXPECT_EQ(3, size);
    size = 3;
    ASSERT_EQ(0, Base64Decode("AQ==", 4, out, size));
    EXPECT_EQ(1, size);
    size = sizeof(out);
    EXPECT_EQ(0, Base64Decode("AQ", 2, out, size));  // a short trailing group yields nothing
    EXPECT_EQ(0, size);
    size = 77;
    EXPECT_EQ(0, Base64Decode("\n\r\n", 3, out, size));
    EXPECT_EQ(77, size);
    size = sizeof(out);
    EXPECT_EQ(-18, Base64Decode("AQ\rID", 5, out, size));
    EXPECT_EQ(-18, Base64Decode("AQ=I", 4, out, size));
    EXPECT_EQ(-18, Base64Decode("A===", 4, out, size));
    EXPECT_EQ(-18, Base64Decode("AQ*D", 4, out, size));
    EXPECT_EQ(-18, Base64Decode("AQ\xC3\xA9", 4, out, size));
    EXPECT_EQ(-4, Base64Decode(nullptr, 4, out, size));
}

TEST(DomainRecordsTest, DetectionAreaV2Block) {
    DetectionAreaV2 area;
    EXPECT_EQ(-4, area.setData(nullptr, 2));
    ASSERT_EQ(0, area.setData(kBytes, 5));
    DetectionAreaV2 copy(area);
    ASSERT_EQ(5, copy.getDataLength());
    EXPECT_EQ(0, std::memcmp(kBytes, copy.getData(), 5));
    // From a source without a block the target drops its own and takes the size.
    DetectionAreaV2 empty;
    empty.clearData(7);
    copy = empty;
    EXPECT_EQ(nullptr, copy.getData());
    EXPECT_EQ(7, copy.getDataLength());
}

}  // namespace
