#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Product/Technic/OLTrace.h"
#include "domain/DomainContainer.h"
#include "domain/DomainFactory.h"
#include "domain/DomainXmlFactory.h"
#include "domain/codecs/ThermalTemperatureMeasureParamXml.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/EtResult.h"

namespace {

// Runs fn with the trace entry open at level 3 and returns what it printed.
template <class Fn>
std::string traced(Fn fn) {
    OLTraceConfig& config = OLTraceConfig::getInstance();
    config.setEnabled(true);
    config.setLevel(3);
    testing::internal::CaptureStdout();
    fn();
    std::string text = testing::internal::GetCapturedStdout();
    config.setLevel(0);
    config.setEnabled(false);
    return text;
}

int idOf(const std::unique_ptr<BaseDomain>& domain) {
    return domain ? domain->getDomainId() : -1;
}

int elementIdOf(const std::unique_ptr<BaseDomain>& domain) {
    return static_cast<const DomainContainer*>(domain.get())->getElementDomainId();
}

TEST(FactoryTest, ElementNames) {
    std::string name;
    ASSERT_TRUE(getDomainName(801, name));
    EXPECT_EQ("Result", name);
    ASSERT_TRUE(getDomainName(0, name));
    EXPECT_EQ("BaseDomain", name);
    DomainVectorContainer<EtResult> results;
    ASSERT_TRUE(getDomainName(&results, name));
    EXPECT_EQ("ResultList", name);
    DomainVectorContainer<ChannelInfo> channels;
    getDomainName(&channels, name);
    EXPECT_EQ("ChannelInfoList", name);
    DomainContainer plain;
    getDomainName(&plain, name);
    EXPECT_EQ("BaseDomainList", name);

    name = "unchanged";
    std::string lines = traced([&] { EXPECT_FALSE(getDomainName(7000, name)); });
    EXPECT_EQ("unchanged", name);
    EXPECT_EQ(0u, lines.find("[DomainFactory.cpp getDomainName "));
    EXPECT_NE(std::string::npos, lines.find("] DomainFactory not have Domain(7000) !! Failed\n"));
}

TEST(FactoryTest, DoubledNamesTakeTheFirstRow) {
    const struct {
        const char* name;
        int id;
    } cases[] = {{"DeviceSummaryInfo", 409}, {"HostNetwork", 410},  {"RecordPolicy", 411},
                 {"RecordTimeSegment", 413}, {"ScheduleTime", 414}, {"ImageFormat", 143},
                 {"RecordState", 282},       {"AlarmOutId", 1106},  {"Result", 801}};
    for (const auto& c : cases) {
        std::unique_ptr<BaseDomain> domain(createDomain(c.name));
        EXPECT_EQ(c.id, idOf(domain)) << c.name;
        std::unique_ptr<BaseDomain> list(createDomain(std::string(c.name) + "List"));
        ASSERT_TRUE(list) << c.name;
        EXPECT_EQ(99999, list->getDomainId());
        EXPECT_EQ(c.id, elementIdOf(list)) << c.name;
    }
}

TEST(FactoryTest, ListKeysAndTheListRule) {
    std::string lines = traced([] {
        std::unique_ptr<BaseDomain> north(createDomain("PTZNorthList"));
        EXPECT_FALSE(north);
    });
    EXPECT_EQ(
        "DomainFactory not have Domain(PTZNorthList)!! \nDomainFactory not have Domain(PTZNorthList)!! \n",
        lines);

    const struct {
        const char* key;
        int element;
    } keys[] = {{"PTZNorthV2List", 242},
                {"PTZSpeedParamV2List", 254},
                {"PTZTraceCmdItemV1List", 265},
                {"ScanAbilityParamList", 302}};
    for (const auto& k : keys) {
        std::unique_ptr<BaseDomain> list(createDomainContainer(k.key));
        ASSERT_TRUE(list) << k.key;
        EXPECT_EQ(k.element, elementIdOf(list));
    }
    std::string name;
    getDomainName(242, name);
    EXPECT_EQ("PTZNorth", name);

    std::unique_ptr<BaseDomain> stringList;
    lines = traced([&] { stringList.reset(createDomain("StringList")); });
    EXPECT_EQ(1029, idOf(stringList));
    EXPECT_EQ("DomainFactory not have Domain(StringList)!! \n", lines);
    std::unique_ptr<BaseDomain> lists(createDomain("StringListList"));
    ASSERT_TRUE(lists);
    EXPECT_EQ(1029, elementIdOf(lists));

    lines = traced([] { EXPECT_EQ(nullptr, createDomain("NoSuchThing")); });
    EXPECT_EQ("DomainFactory not have Domain(NoSuchThing)!! \n", lines);
    EXPECT_EQ(nullptr, createDomain("result"));  // case-sensitive
    EXPECT_EQ(nullptr, createSingleDomain("ResultList"));
    EXPECT_EQ(nullptr, createDomainContainer("Result"));
}

TEST(FactoryTest, Codecs) {
    std::unique_ptr<IDomainXml> codec(createDomainXml(144));
    EXPECT_TRUE(codec);
    std::unique_ptr<IDomainXml> thermal(createDomainXml(6405));
    EXPECT_TRUE(dynamic_cast<ThermalTemperatureMeasureParamXml*>(thermal.get()));
    std::unique_ptr<IDomainXml> base(createDomainXml(0));
    EXPECT_TRUE(dynamic_cast<BaseDomainXml*>(base.get()));
    std::string lines = traced([] {
        EXPECT_EQ(nullptr, createDomainXml(5002));  // a nested-only record has no row
        EXPECT_EQ(nullptr, createDomainXml(2000));
        EXPECT_EQ(nullptr, createDomainXml(99999));
    });
    EXPECT_EQ(
        "DomainXmlFactory not have DomainXml(5002)!! \nDomainXmlFactory not have DomainXml(2000)!! \n"
        "DomainXmlFactory not have DomainXml(99999)!! \n",
        lines);
}

}  // namespace
