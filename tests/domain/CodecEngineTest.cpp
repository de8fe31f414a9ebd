// The presence words on each kind of item, through the same engine as the
// generated codecs, on a test record; then the top-level codec operations.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "CodecCase.h"
#include "domain/DomainFactory.h"
#include "domain/codecs/ChannelInfoXml.h"
#include "domain/codecs/CodecEngine.h"
#include "domain/codecs/EtResultXml.h"
#include "domain/codecs/InetAddrXml.h"
#include "domain/codecs/MachineInfoXml.h"

using namespace codec_case;
using namespace domain_codec;

namespace {

class Probe : public BaseDomain {
  public:
    int reset = 3;
    int optional = 5;
    int logged = 6;
    int64_t wide = 0x100000005LL;  // written as its low 32 bits
    int mandatory = 0;
    int after = 77;
    InetAddr childOptional;
    InetAddr childReset;
    std::vector<MachineInfo> machines;
    std::vector<InetAddr> listLogged;
    std::vector<InetAddr> listOptional;
    std::vector<int> numbers;
    int inner = 42;
    bool strict = false;
    bool mandatoryChild = false;

    template <class V>
    static void visitFields(V& v, Probe& r) {
        using P = Presence;
        v.attr("Reset", P::Reset, r.reset);
        v.attr("Optional", P::Optional, r.optional);
        v.attr("Logged", P::Logged, r.logged);
        v.attr("Wide", P::Optional, r.wide);
        v.child("ChildOptional", P::Optional, r.childOptional);
        v.child("ChildReset", P::Reset, r.childReset);
        v.list("Machines", P::Optional, r.machines, r.strict ? Item().strict() : Item());
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

// A Probe with content in every optional place, or with a strict list or a mandatory child.
enum Start { kFilled, kStrict, kMandatoryChild };

// Parses the text into a Probe as the start leaves it, and builds that Probe again.
template <Start S>
Outcome runProbe(const std::string& text) {
    Node node = parse(text);
    Probe probe;
    probe.childOptional.setIP("kept");
    probe.childReset.setIP("lost");
    probe.listLogged.resize(2);
    probe.listOptional.resize(1);
    probe.numbers = {1};
    probe.strict = S == kStrict;
    probe.mandatoryChild = S == kMandatoryChild;
    Node out(new DomainXmlNode("Probe"));
    Capture capture(0);
    const bool ok = parseFields(kInfo, node, probe);
    return capture.outcome(ok, buildFields(kInfo, probe, out), out);
}

TEST(CodecEngineTest, PresenceWords) {
    const std::string logged = "ProbeXml::parseDomainXmlNode get Logged failed \n";
    const std::string listLogged =
        "getConfigNode NODE_LIST_LOGGED failed\nparseDomainXmlNode objListLogged failed\n";
    const std::string machine = "MachineInfoXml::parseDomainXmlNode get DeviceType failed \n";
    const std::string children =
        "\t<ChildOptional IP=\"kept\" PORT=\"0\" IPProtoVer=\"0\" />\n\t<ChildReset IP=\"\" PORT=\"0\" "
        "IPProtoVer=\"0\" />\n\t<Machines />\n";
    check({
        {"present items are read, list items whatever their names, scalar items by their tag; all written in "
         "the record's order",
         runProbe<kFilled>(
             "<Probe After=\"8\" Mandatory=\"7\" Logged=\"6\" Optional=\"1\" Reset=\"2\"><Inner Value=\"9\" "
             "/><Numbers><Number Number=\"4\" /><X Number=\"5\" /></Numbers><ChildReset IP=\"a\" "
             "/><ListOptional /><ListLogged><Y IP=\"b\" /></ListLogged></Probe>"),
         {true, "",
          "<Probe Reset=\"2\" Optional=\"1\" Logged=\"6\" Wide=\"5\" Mandatory=\"7\" After=\"8\">\n"
          "\t<ChildOptional IP=\"kept\" PORT=\"0\" IPProtoVer=\"0\" />\n\t<ChildReset IP=\"a\" PORT=\"0\" "
          "IPProtoVer=\"0\" />\n\t<Machines />\n\t<ListLogged>\n\t\t<InetAddr IP=\"b\" PORT=\"0\" "
          "IPProtoVer=\"0\" />\n\t</ListLogged>\n\t<ListOptional />\n\t<Numbers>\n\t\t<Number Number=\"4\" "
          "/>\n\t</Numbers>\n\t<Inner Value=\"9\" />\n</Probe>\n"}},
        {"absent items: reset and logged ones clear, optional ones keep; logged ones print",
         runProbe<kFilled>("<Probe Mandatory=\"1\" />"),
         {true, logged + listLogged,
          "<Probe Reset=\"0\" Optional=\"5\" Logged=\"0\" Wide=\"5\" Mandatory=\"1\" After=\"0\">\n" +
              children +
              "\t<ListLogged />\n\t<ListOptional>\n\t\t<InetAddr IP=\"\" PORT=\"0\" IPProtoVer=\"0\" />\n"
              "\t</ListOptional>\n\t<Numbers />\n\t<Inner Value=\"42\" />\n</Probe>\n"}},
        {"a mandatory attribute ends the parse at once",
         runProbe<kFilled>("<Probe Reset=\"9\" After=\"1\" />"),
         {false, logged + listLogged + "ProbeXml::parseDomainXmlNode get Mandatory failed \n",
          "<Probe Reset=\"9\" Optional=\"5\" Logged=\"0\" Wide=\"5\" Mandatory=\"0\" After=\"77\">\n..."}},
        {"so does a mandatory child",
         runProbe<kMandatoryChild>("<Probe Mandatory=\"1\" />"),
         {false, logged + listLogged,
          "<Probe Reset=\"0\" Optional=\"5\" Logged=\"0\" Wide=\"5\" Mandatory=\"0\" After=\"77\">\n..."}},
        {"a list item that fails: an optional list keeps its field",
         runProbe<kFilled>("<Probe Mandatory=\"1\" After=\"4\"><Machines><MachineInfo /></Machines></Probe>"),
         {true, logged + machine + listLogged,
          "<Probe Reset=\"0\" Optional=\"5\" Logged=\"0\" Wide=\"5\" Mandatory=\"1\" After=\"4\">\n" +
              children + "..."}},
        {"a strict list ends the parse",
         runProbe<kStrict>("<Probe Mandatory=\"1\" After=\"4\"><Machines><MachineInfo /></Machines></Probe>"),
         {false, logged + machine,
          "<Probe Reset=\"0\" Optional=\"5\" Logged=\"0\" Wide=\"5\" Mandatory=\"0\" After=\"77\">\n" +
              children + "\t<ListLogged>\n\t\t<InetAddr ..."}},
    });
}

// The top-level operations: identifier checks, containers, and the two free
// functions that bind codecs to records through the factory.
TEST(CodecEngineTest, EntryPoints) {
    Node node;
    EXPECT_FALSE(domainToXmlNode("X", nullptr, node));

    DomainVectorContainer<EtResult> results;
    results.getItems().resize(2);
    results.getItems()[1].setCode(1);
    ASSERT_TRUE(domainToXmlNode("ResultList", &results, node));
    EXPECT_EQ("<ResultList>\n\t<EtResult Code=\"0\" />\n\t<EtResult Code=\"1\" />\n</ResultList>\n",
              print(node));
    DomainVectorContainer<EtResult> parsed;
    std::string name;
    ASSERT_TRUE(xmlNodeToDomain(node, name, &parsed));
    EXPECT_EQ("ResultList", name);
    ASSERT_EQ(2u, parsed.getItems().size());
    EXPECT_EQ(1, parsed.getItems()[1].getCode());

    // A codec refuses a record of another type and a container of another element type.
    ChannelInfoXml channels;
    DomainVectorContainer<ChannelInfo> none;
    Node empty(new DomainXmlNode("ChannelInfoList"));
    EXPECT_TRUE(channels.createDomainXmlNode(&none, empty));
    EXPECT_EQ("<ChannelInfoList />\n", print(empty));
    DomainVectorContainer<InetAddr> addrs;
    InetAddr single;
    EXPECT_FALSE(channels.createDomainXmlNode(&addrs, empty));
    EXPECT_FALSE(channels.createDomainXmlNode(&single, empty));
    EXPECT_FALSE(channels.parseDomainXmlNode(empty, &single));

    // A failed list parse leaves the container as it was.
    DomainVectorContainer<MachineInfo> machines;
    machines.getItems().resize(1);
    Node bad = parse("<MachineInfoList><MachineInfo /></MachineInfoList>");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(MachineInfoXml().parseDomainXmlNode(bad, &machines));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(1u, machines.getItems().size());
}

}  // namespace
