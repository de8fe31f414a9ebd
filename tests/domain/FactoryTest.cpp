#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "CodecCase.h"
#include "domain/DomainContainer.h"
#include "domain/DomainFactory.h"
#include "domain/DomainXmlFactory.h"
#include "domain/codecs/ThermalTemperatureMeasureParamXml.h"
#include "domain/records/ChannelInfo.h"
#include "domain/records/EtResult.h"

namespace {

// What fn printed with the trace entry open at level 3.
template <class Fn>
std::string traced(Fn fn) {
    codec_case::Capture capture(3);
    fn();
    return capture.log();
}

// The identifier of what createDomain makes of a name, with the element
// identifier of a container: "99999/242"; "none" for nothing.
std::string made(BaseDomain* domain) {
    std::unique_ptr<BaseDomain> owned(domain);
    if (!owned) return "none";
    std::string text = std::to_string(owned->getDomainId());
    if (auto* container = dynamic_cast<DomainContainer*>(owned.get())) {
        text += "/" + std::to_string(container->getElementDomainId());
    }
    return text;
}

TEST(FactoryTest, ElementNames) {
    DomainVectorContainer<EtResult> results;
    DomainVectorContainer<ChannelInfo> channels;
    DomainContainer plain;
    const struct {
        const BaseDomain* domain;
        int id;
        const char* name;
    } rows[] = {{nullptr, 801, "Result"},          {nullptr, 0, "BaseDomain"},
                {nullptr, 242, "PTZNorth"},        {&results, 0, "ResultList"},
                {&channels, 0, "ChannelInfoList"}, {&plain, 0, "BaseDomainList"}};
    for (const auto& row : rows) {
        std::string name;
        EXPECT_TRUE(row.domain ? getDomainName(row.domain, name) : getDomainName(row.id, name)) << row.name;
        EXPECT_EQ(row.name, name);
    }
    std::string name = "unchanged";
    std::string lines = traced([&] { EXPECT_FALSE(getDomainName(7000, name)); });
    EXPECT_EQ("unchanged", name);
    EXPECT_EQ(0u, lines.find("[DomainFactory.cpp getDomainName "));
    EXPECT_NE(std::string::npos, lines.find("] DomainFactory not have Domain(7000) !! Failed\n"));
}

// A name that stands on two rows makes the first row's record; a name with
// "List" a container when a row has it as its list key.
TEST(FactoryTest, NamesAndListKeys) {
    const struct {
        const char* name;
        int id;
    } doubled[] = {{"DeviceSummaryInfo", 409}, {"HostNetwork", 410},  {"RecordPolicy", 411},
                   {"RecordTimeSegment", 413}, {"ScheduleTime", 414}, {"ImageFormat", 143},
                   {"RecordState", 282},       {"AlarmOutId", 1106},  {"Result", 801}};
    for (const auto& d : doubled) {
        EXPECT_EQ(std::to_string(d.id), made(createDomain(d.name))) << d.name;
        EXPECT_EQ("99999/" + std::to_string(d.id), made(createDomain(std::string(d.name) + "List")))
            << d.name;
    }
    const struct {
        const char* key;
        int element;
    } keys[] = {{"PTZNorthV2List", 242},
                {"PTZSpeedParamV2List", 254},
                {"PTZTraceCmdItemV1List", 265},
                {"ScanAbilityParamList", 302}};
    for (const auto& k : keys)
        EXPECT_EQ("99999/" + std::to_string(k.element), made(createDomainContainer(k.key)));

    // What goes wrong, and the lines it prints; "StringList" is a record's own name.
    const struct {
        const char* name;
        std::string made, lines;
    } traces[] = {
        {"PTZNorthList", "none",
         "DomainFactory not have Domain(PTZNorthList)!! \nDomainFactory not have Domain(PTZNorthList)!! \n"},
        {"StringList", "1029", "DomainFactory not have Domain(StringList)!! \n"},
        {"StringListList", "99999/1029", ""},
        {"NoSuchThing", "none", "DomainFactory not have Domain(NoSuchThing)!! \n"}};
    for (const auto& t : traces) {
        std::string result;
        EXPECT_EQ(t.lines, traced([&] { result = made(createDomain(t.name)); })) << t.name;
        EXPECT_EQ(t.made, result) << t.name;
    }
    EXPECT_EQ(nullptr, createDomain("result"));  // case-sensitive
    EXPECT_EQ(nullptr, createSingleDomain("ResultList"));
    EXPECT_EQ(nullptr, createDomainContainer("Result"));
}

TEST(FactoryTest, Codecs) {
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
