#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "domain/DomainList.h"
#include "domain/codecs/Base64.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/DataBuffer.h"
#include "domain/records/DetectionAreaV2.h"
#include "domain/records/DeviceSummaryInfo.h"
#include "domain/records/EtFileDataPack.h"
#include "domain/records/EtResult.h"
#include "domain/records/InetAddr.h"
#include "domain/records/SMTPActionParam.h"
#include "domain/records/SearchDeviceInfoEx.h"

namespace {

const unsigned char kBytes[] = {1, 2, 3, 4, 5, 6, 7, 8};

// Identifiers belong to the class: copies keep them, assignments leave the
// target's, a plain BaseDomain copy has 0, and BaseDomain's equality compares
// nothing else. Copies and comparisons of the records' own fields.
TEST(DomainRecordsTest, IdentifiersAndCopies) {
    DomainVectorContainer<ChannelInfo> channels;
    DomainVectorContainer<ChannelInfo> copy(channels);
    EXPECT_EQ(99999, copy.getDomainId());
    EXPECT_EQ(67, copy.getElementDomainId());
    EXPECT_EQ(0, DomainVectorContainer<BaseDomain>().getElementDomainId());

    SMTPActionParam smtp;
    smtp.setActionName("mail");
    EXPECT_EQ(5062, SMTPActionParam(smtp).getDomainId());
    EXPECT_EQ(0, BaseDomain(smtp).getDomainId());
    AlarmActionParam base;
    base = smtp;
    EXPECT_EQ(5058, base.getDomainId());
    EXPECT_EQ("mail", base.getActionName());
    InetAddr addr;
    static_cast<BaseDomain&>(addr) = EtResult();
    EXPECT_EQ(144, addr.getDomainId());
    ChannelInfo a;
    a.setChannelName("one");
    EXPECT_TRUE(static_cast<const BaseDomain&>(a) == static_cast<const BaseDomain&>(ChannelInfo()));

    // A fixed text field refuses an overlong text and keeps the old one.
    SearchDeviceInfoEx info;
    const std::string name32(32, 'n');
    EXPECT_TRUE(info.setDeviceName(name32.c_str()));
    EXPECT_FALSE(info.setDeviceName(std::string(33, 'x').c_str()));
    EXPECT_FALSE(info.setDeviceName(nullptr));
    EXPECT_EQ(name32, SearchDeviceInfoEx(info).getDeviceName());

    // A device summary compares every field.
    DeviceSummaryInfo x, y;
    y.setDevicePort(80);
    EXPECT_TRUE(x != y);
    x.setDevicePort(80);
    EXPECT_TRUE(x == y);
}

TEST(DomainRecordsTest, FindDomainAndExtractDomain) {
    DomainList list;
    SafePointer<BaseDomain> out;
    EXPECT_FALSE(findDomain(801, 0, list, out));
    EXPECT_TRUE(out.isNull());

    ChannelInfo* single = new ChannelInfo;
    DomainVectorContainer<ChannelInfo>* channels = new DomainVectorContainer<ChannelInfo>;
    list.push_back(SafePointer<BaseDomain>(new DomainVectorContainer<InetAddr>));
    list.push_back(SafePointer<BaseDomain>(single));
    list.push_back(SafePointer<BaseDomain>(channels));
    for (int code : {7, 8}) {
        EtResult* result = new EtResult;
        result->setCode(code);
        list.push_back(SafePointer<BaseDomain>(result));
    }
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
    EXPECT_THROW(findDomain(415, 0, list, out), std::exception);
}

// A shorter block keeps the allocation; an empty DataBuffer assigned leaves
// the target alone, an empty ComData empties it; records that hold blocks copy them.
TEST(DomainRecordsTest, DataBlocks) {
    DataBuffer buffer;
    EXPECT_FALSE(buffer.setData(kBytes, 0));
    EXPECT_FALSE(buffer.setData(nullptr, 3));
    ASSERT_TRUE(buffer.setData(kBytes, 8));
    const unsigned char* block = buffer.getData();
    EXPECT_FALSE(buffer.setData(kBytes, -1));
    ASSERT_TRUE(buffer.setData(kBytes + 4, 2));
    EXPECT_EQ(block, buffer.getData());
    EXPECT_EQ(2, buffer.getLength());
    EXPECT_EQ(5, buffer.getData()[0]);
    buffer = DataBuffer();
    EXPECT_EQ(2, buffer.getLength());
    ComData com;
    com.setData(kBytes, 3);
    com = ComData();
    EXPECT_EQ(nullptr, com.getData());

    EtFileDataPack pack;
    pack.getData().setData(kBytes, 4);
    EtFileDataPack packCopy(pack);
    ASSERT_EQ(4, packCopy.getData().getLength());
    EXPECT_EQ(0, std::memcmp(kBytes, packCopy.getData().getData(), 4));

    DetectionAreaV2 area;
    EXPECT_EQ(-4, area.setData(nullptr, 2));
    ASSERT_EQ(0, area.setData(kBytes, 5));
    DetectionAreaV2 copy(area);
    ASSERT_EQ(5, copy.getDataLength());
    EXPECT_EQ(0, std::memcmp(kBytes, copy.getData(), 5));
    DetectionAreaV2 empty;  // without a block: the target drops its own and takes the size
    empty.clearData(7);
    copy = empty;
    EXPECT_EQ(nullptr, copy.getData());
    EXPECT_EQ(7, copy.getDataLength());
}

// 8 bytes need 12 characters and the terminator; "AQ==" asks for 3 bytes
// though it yields one; a short trailing group yields nothing.
TEST(DomainRecordsTest, Base64SizesAndCodes) {
    const struct {
        int length, room, code, roomAfter;
        const char* text;
    } encodes[] = {{3, 16, 0, 4, "AQID"},
                   {1, 16, 0, 4, "AQ=="},
                   {8, 12, -16, 13, ""},
                   {8, 13, 0, 12, "AQIDBAUGBwg="},
                   {0, 99, 0, 99, ""}};
    for (const auto& e : encodes) {
        char text[16] = "";
        int room = e.room;
        EXPECT_EQ(e.code, Base64Encode(kBytes, e.length, text, room)) << e.text;
        EXPECT_EQ(e.roomAfter, room) << e.text;
        EXPECT_STREQ(e.text, text);
    }
    int room = 16;
    char text[16];
    EXPECT_EQ(-4, Base64Encode(nullptr, 3, text, room));
    EXPECT_EQ(-4, Base64Encode(kBytes, 3, nullptr, room));

    const struct {
        std::string text;
        int room, code, size;
    } decodes[] = {{"AQID\r\nBAUGBwg=", 16, 0, 8},
                   {"AQ==", 2, -16, 3},
                   {"AQ==", 3, 0, 1},
                   {"AQ", 16, 0, 0},
                   {"\n\r\n", 77, 0, 77},
                   {"AQ\rID", 16, -18, -1},
                   {"AQ=I", 16, -18, -1},
                   {"A===", 16, -18, -1},
                   {"AQ*D", 16, -18, -1},
                   {"AQ\xC3\xA9", 16, -18, -1}};
    for (const auto& d : decodes) {
        unsigned char out[16];
        int size = d.room;
        EXPECT_EQ(d.code, Base64Decode(d.text.data(), static_cast<int>(d.text.size()), out, size)) << d.text;
        EXPECT_TRUE(d.size < 0 || d.size == size) << d.text << ": " << size;
        EXPECT_TRUE(d.code != 0 || d.size > 8 || std::memcmp(kBytes, out, static_cast<size_t>(size)) == 0)
            << d.text;
    }
    int size = 16;
    unsigned char out[16];
    EXPECT_EQ(-4, Base64Decode(nullptr, 4, out, size));
}

}  // namespace
