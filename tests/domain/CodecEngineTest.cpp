// The codec pattern on a test record that exercises each item kind and
// presence word through the same engine as the generated codecs.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "domain/codecs/CodecEngine.h"
#include "domain/DomainFactory.h"
#include "domain/codecs/ChannelInfoXml.h"
#include "domain/codecs/EtResultXml.h"
#include "domain/codecs/InetAddrXml.h"
#include "domain/codecs/MachineInfoXml.h"

using namespace domain_codec;

namespace {

class Probe : public BaseDomain {
  public:
    Probe() { std::memset(text, 0, sizeof(text)); }

    int reset = 3;
    int optional = 5;
    int logged = 6;
    int mandatory = 0;
    int after = 0;
    unsigned short port = 0;
    unsigned char small = 0;
    int64_t wide = 0;
    char text[4 + 1];
    float asInt = 0.0f;
    int asFloat = 0;
    int absent = 0;
    InetAddr childOptional;
    InetAddr childReset;
    std::vector<InetAddr> listLogged;
    std::vector<InetAddr> listOptional;
    std::vector<int> numbers;
    std::vector<MachineInfo> machines;
    int inner = 0;

    bool mandatoryChild = false;
    bool strictChild = false;

    template <class V>
    static void visitFields(V& v, Probe& r) {
        using P = Presence;
        v.attr("Reset", P::Reset, r.reset);
        v.attr("Optional", P::Optional, r.optional);
        v.attr("Logged", P::Logged, r.logged);
        v.attr("Port", P::Reset, r.port);
        v.attr("Small", P::Reset, r.small);
        v.attr("Wide", P::Reset, r.wide);
        v.text("Text", P::Reset, r.text, 4);
        v.floatAsInt("AsInt", P::Reset, r.asInt);
        v.intReadAsFloat("AsFloat", P::Reset, r.asFloat);
        v.attrOr("Absent", P::Logged, r.absent, 1, Item().line("getProperty get nAbsent =%d failed \n", 1));
        v.child("ChildOptional", P::Optional, r.childOptional);
        v.child("ChildReset", P::Reset, r.childReset);
        if (r.strictChild) {
            v.list("Machines", P::Optional, r.machines, Item().strict());
        } else {
            v.list("Machines", P::Optional, r.machines);
        }
        v.list("ListLogged", P::Logged, r.listLogged, Item().node("NODE_LIST_LOGGED"));
        v.list("ListOptional", P::Optional, r.listOptional);
        v.scalarList("Numbers", "Number", P::Reset, P::Reset, r.numbers);
        v.inlineChild("Inner", P::Optional, [&](auto& v) { v.attr("Value", P::Reset, r.inner); });
        if (r.mandatoryChild) v.child("MustHave", P::Mandatory, r.childReset);
        v.attr("Mandatory", P::Mandatory, r.mandatory);
        v.attr("After", P::Reset, r.after);
    }
};

const CodecInfo kInfo = {"ProbeXml", "ProbeXml.cpp", 0, 3};

SafePointer<DomainXmlNode> parseText(const std::string& text) {
    SafePointer<DomainXmlNode> node;
    EXPECT_TRUE(DomainXmlNode::fromString(text, node));
    return node;
}

TEST(CodecEngineTest, BuildWritesEveryItemInOrder) {
    Probe probe;
    probe.port = 8000;
    probe.wide = 0x100000005LL;
    std::strcpy(probe.text, "abcd");
    probe.asInt = 2.75f;
    probe.asFloat = 9;
    probe.childOptional.setIP("10.0.0.1");
    probe.listLogged.resize(1);
    probe.numbers = {4, 5};
    probe.inner = 11;
    SafePointer<DomainXmlNode> node(new DomainXmlNode("Probe"));
    ASSERT_TRUE(buildFields(kInfo, probe, node));
    std::string text;
    DomainXmlNode::toString(node, text);
    EXPECT_EQ(
        "<Probe Reset=\"3\" Optional=\"5\" Logged=\"6\" Port=\"8000\" Small=\"0\" Wide=\"5\" Text=\"abcd\" "
        "AsInt=\"2\" "
        "AsFloat=\"9\" Absent=\"0\" Mandatory=\"0\" After=\"0\">\n"
        "\t<ChildOptional IP=\"10.0.0.1\" PORT=\"0\" IPProtoVer=\"0\" />\n"
        "\t<ChildReset IP=\"\" PORT=\"0\" IPProtoVer=\"0\" />\n"
        "\t<Machines />\n"
        "\t<ListLogged>\n"
        "\t\t<InetAddr IP=\"\" PORT=\"0\" IPProtoVer=\"0\" />\n"
        "\t</ListLogged>\n"
        "\t<ListOptional />\n"
        "\t<Numbers>\n"
        "\t\t<Number Number=\"4\" />\n"
        "\t\t<Number Number=\"5\" />\n"
        "\t</Numbers>\n"
        "\t<Inner Value=\"11\" />\n"
        "</Probe>\n",
        text);
}

TEST(CodecEngineTest, PresenceWordsOnAbsentItems) {
    Probe probe;
    probe.childOptional.setIP("kept");
    probe.childReset.setIP("lost");
    probe.listOptional.resize(2);
    probe.listLogged.resize(2);
    probe.inner = 42;
    std::strcpy(probe.text, "old");
    SafePointer<DomainXmlNode> node = parseText("<Probe Mandatory=\"1\" />");
    testing::internal::CaptureStdout();
    ASSERT_TRUE(parseFields(kInfo, node, probe));
    std::string lines = testing::internal::GetCapturedStdout();
    EXPECT_EQ(0, probe.reset);     // reset: the zero local
    EXPECT_EQ(5, probe.optional);  // optional: the constructor value stays
    EXPECT_EQ(0, probe.logged);
    EXPECT_EQ(1, probe.absent);  // the absent value in place of 0
    EXPECT_STREQ("", probe.text);
    EXPECT_EQ("kept", probe.childOptional.getIP());
    EXPECT_EQ("", probe.childReset.getIP());
    EXPECT_TRUE(probe.listLogged.empty());
    EXPECT_EQ(2u, probe.listOptional.size());
    EXPECT_EQ(42, probe.inner);  // optional inline child absent: its fields stay
    EXPECT_EQ(
        "ProbeXml::parseDomainXmlNode get Logged failed \n"
        "getProperty get nAbsent =0 failed \n"
        "getConfigNode NODE_LIST_LOGGED failed\n"
        "parseDomainXmlNode objListLogged failed\n",
        lines);
}

TEST(CodecEngineTest, MandatoryFailureStopsAtOnce) {
    Probe probe;
    probe.after = 77;
    SafePointer<DomainXmlNode> node = parseText("<Probe Reset=\"9\" After=\"1\" />");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(parseFields(kInfo, node, probe));
    std::string lines = testing::internal::GetCapturedStdout();
    EXPECT_EQ(9, probe.reset);   // read before the failure
    EXPECT_EQ(77, probe.after);  // never read
    EXPECT_NE(std::string::npos, lines.find("ProbeXml::parseDomainXmlNode get Mandatory failed \n"));

    Probe needsChild;
    needsChild.mandatoryChild = true;
    SafePointer<DomainXmlNode> noChild = parseText("<Probe Mandatory=\"1\" />");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(parseFields(kInfo, noChild, needsChild));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(0, needsChild.mandatory);  // stopped at the child
}

TEST(CodecEngineTest, EmptyListChildGivesEmptyVector) {
    Probe probe;
    probe.listOptional.resize(3);
    probe.numbers = {1};
    SafePointer<DomainXmlNode> node = parseText("<Probe Mandatory=\"1\"><ListOptional /><Numbers /></Probe>");
    testing::internal::CaptureStdout();
    ASSERT_TRUE(parseFields(kInfo, node, probe));
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(probe.listOptional.empty());
    EXPECT_TRUE(probe.numbers.empty());
}

TEST(CodecEngineTest, StrictChildEndsTheParse) {
    // A list whose item lacks a mandatory attribute fails its nested parse.
    SafePointer<DomainXmlNode> node =
        parseText("<Probe Mandatory=\"1\" After=\"4\"><Machines><MachineInfo /></Machines></Probe>");
    Probe lenient;
    lenient.machines.resize(2);
    testing::internal::CaptureStdout();
    EXPECT_TRUE(parseFields(kInfo, node, lenient));
    EXPECT_EQ(2u, lenient.machines.size());  // optional: a failed nested parse keeps the field
    EXPECT_EQ(4, lenient.after);

    Probe strict;
    strict.strictChild = true;
    EXPECT_FALSE(parseFields(kInfo, node, strict));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(0, strict.mandatory);  // the parse ended at the list
}

// The top-level operations: identifier checks, containers, and the two free
// functions that bind codecs to records through the factory.
TEST(CodecEngineTest, EntryPoints) {
    EtResult result;
    result.setCode(-3);
    SafePointer<DomainXmlNode> node;
    ASSERT_TRUE(domainToXmlNode("Result", &result, node));
    std::string text;
    DomainXmlNode::toString(node, text);
    EXPECT_EQ("<Result Code=\"-3\" />\n", text);
    EXPECT_FALSE(domainToXmlNode("X", nullptr, node));

    DomainVectorContainer<EtResult> results;
    results.getItems().resize(2);
    results.getItems()[1].setCode(1);
    ASSERT_TRUE(domainToXmlNode("ResultList", &results, node));
    DomainXmlNode::toString(node, text);
    EXPECT_EQ("<ResultList>\n\t<EtResult Code=\"0\" />\n\t<EtResult Code=\"1\" />\n</ResultList>\n", text);
    DomainVectorContainer<EtResult> parsed;
    std::string name;
    ASSERT_TRUE(xmlNodeToDomain(node, name, &parsed));
    EXPECT_EQ("ResultList", name);
    ASSERT_EQ(2u, parsed.getItems().size());
    EXPECT_EQ(1, parsed.getItems()[1].getCode());

    // A codec refuses a record of another type and a container of another element type.
    ChannelInfoXml channels;
    DomainVectorContainer<ChannelInfo> none;
    SafePointer<DomainXmlNode> empty(new DomainXmlNode("ChannelInfoList"));
    EXPECT_TRUE(channels.createDomainXmlNode(&none, empty));
    DomainXmlNode::toString(empty, text);
    EXPECT_EQ("<ChannelInfoList />\n", text);
    DomainVectorContainer<InetAddr> addrs;
    InetAddr single;
    EXPECT_FALSE(channels.createDomainXmlNode(&addrs, empty));
    EXPECT_FALSE(channels.createDomainXmlNode(&single, empty));
    EXPECT_FALSE(channels.parseDomainXmlNode(empty, &single));

    // A failed list parse leaves the container as it was.
    DomainVectorContainer<MachineInfo> machines;
    machines.getItems().resize(1);
    SafePointer<DomainXmlNode> bad = parseText("<MachineInfoList><MachineInfo /></MachineInfoList>");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(MachineInfoXml().parseDomainXmlNode(bad, &machines));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(1u, machines.getItems().size());
}

}  // namespace
