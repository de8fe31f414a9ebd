// Table-driven round trips over the generated catalogue: every factory row
// with a record, and every record with every field set.
#include <gtest/gtest.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

#include "domain/AllRecords.h"
#include "domain/DomainFactory.h"
#include "domain/DomainFactoryRows.h"
#include "domain/codecs/CodecEngine.h"
#include "support/RecordFiller.h"

using namespace domain_tables;

namespace {

typedef SafePointer<DomainXmlNode> Node;

std::string print(const Node& node) {
    std::string text;
    EXPECT_TRUE(DomainXmlNode::toString(node, text));
    return text;
}

// The row that createDomain reaches for a name: a container key first when the
// name holds "List", else the first row of that name.
const FactoryRow* expectedRow(const std::string& name, bool& container) {
    container = false;
    if (name.find("List") != std::string::npos) {
        for (int i = 0; i < kFactoryRowCount; ++i) {
            if (name == kFactoryRows[i].listKey && kFactoryRows[i].createList != nullptr) {
                container = true;
                return &kFactoryRows[i];
            }
        }
    }
    for (int i = 0; i < kFactoryRowCount; ++i) {
        if (name == kFactoryRows[i].name) return &kFactoryRows[i];
    }
    return nullptr;
}

TEST(RoundTripTest, EveryRowWithADefaultRecord) {
    int checked = 0;
    int redirected = 0;  // rows whose name makes another row's record
    testing::internal::CaptureStdout();
    for (int i = 1; i < kFactoryRowCount; ++i) {  // row 0 is BaseDomain
        const FactoryRow& row = kFactoryRows[i];
        std::unique_ptr<IDomainXml> probe(row.createXml());
        ASSERT_TRUE(probe) << row.className;
        std::unique_ptr<BaseDomain> record(row.create());
        Node node;
        ASSERT_TRUE(domainToXmlNode(row.name, record.get(), node)) << row.className;
        std::string first = print(node);

        bool container = false;
        const FactoryRow* expected = expectedRow(row.name, container);
        std::unique_ptr<BaseDomain> back(createDomain(row.name));
        ASSERT_TRUE(back) << row.name;
        EXPECT_EQ(container ? 99999 : expected->id, back->getDomainId()) << row.name;
        if (container || expected != &row) {
            ++redirected;
            continue;
        }
        Node reread;
        ASSERT_TRUE(DomainXmlNode::fromString(first, reread));
        std::string name;
        EXPECT_TRUE(xmlNodeToDomain(reread, name, back.get())) << row.className;
        EXPECT_EQ(row.name, name);
        Node again;
        ASSERT_TRUE(domainToXmlNode(row.name, back.get(), again));
        EXPECT_EQ(first, print(again)) << row.className;
        ++checked;
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(8, redirected);  // the second rows of the eight doubled names
    EXPECT_EQ(kFactoryRowCount - 1 - redirected, checked);
}

// A record type's codec behind plain functions, so that the checks below are
// compiled once rather than for each of the catalogue's record types.
struct RecordCodec {
    bool (*build)(const BaseDomain& record, Node& node);
    bool (*parse)(Node& node, BaseDomain& record);
};

template <class T>
bool buildRecord(const BaseDomain& record, Node& node) {
    return typename CodecOf<T>::type().createDomainXmlNode(static_cast<const T&>(record), node);
}

template <class T>
bool parseRecord(Node& node, BaseDomain& record) {
    return typename CodecOf<T>::type().parseDomainXmlNode(node, static_cast<T&>(record));
}

std::string buildAll(const RecordCodec& codec, const BaseDomain& record) {
    Node node(new DomainXmlNode("Record"));
    EXPECT_TRUE(codec.build(record, node));
    return print(node);
}

// Prints the filled record, parses the text into back and prints that again.
void checkRoundTrip(const char* className, const RecordCodec& codec, const BaseDomain& record,
                    BaseDomain& back, int& checked) {
    std::string first = buildAll(codec, record);
    Node reread;
    ASSERT_TRUE(DomainXmlNode::fromString(first, reread)) << className;
    EXPECT_TRUE(codec.parse(reread, back)) << className << "\n" << first;
    EXPECT_EQ(first, buildAll(codec, back)) << className;
    EXPECT_EQ(record.getDomainId(), back.getDomainId());
    ++checked;
}

template <class T>
void fillRoundTrip(const char* className, int& checked) {
    T record;
    RecordFiller filler;
    visitAll(filler, record);
    T back;
    checkRoundTrip(className, {&buildRecord<T>, &parseRecord<T>}, record, back, checked);
}

TEST(RoundTripTest, EveryRecordWithEveryFieldSet) {
    int checked = 0;
    testing::internal::CaptureStdout();
#define X(Class) fillRoundTrip<Class>(#Class, checked);
#include "domain/RecordList.inc"
#undef X
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(kRecordCount, checked);
}

}  // namespace
