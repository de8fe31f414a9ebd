// OLAttributeList: the map of name-value pairs in its AttributeSequence child,
// alone and nested in MessageControlUIOperate.

#include <gtest/gtest.h>

#include <string>

#include "CatalogueTestSupport.h"
#include "domain/codecs/MessageControlUIOperateXml.h"
#include "domain/codecs/hand/OLAttributeListXml.h"

namespace {

using namespace catalogue_test;

TEST(OLAttributeListCodec, PairsInMapOrder) {
    OLAttributeList list;
    list.setAttributeSequenceName("params");
    list.setAttributeSequence({{"zoom", "2"}, {"channel", "a&b"}});
    NodePtr node(new DomainXmlNode("ParamList"));
    ASSERT_TRUE(OLAttributeListXml().createDomainXmlNode(list, node));
    EXPECT_EQ(printXml(node),
              "<ParamList AttributeSequenceName=\"params\">\n"
              "\t<AttributeSequence>\n"
              "\t\t<Attribute AttributeName=\"channel\" AttributeValue=\"a&amp;b\" />\n"
              "\t\t<Attribute AttributeName=\"zoom\" AttributeValue=\"2\" />\n"
              "\t</AttributeSequence>\n"
              "</ParamList>\n");

    OLAttributeList back;
    NodePtr reread = parseXml(printXml(node));
    ASSERT_TRUE(OLAttributeListXml().parseDomainXmlNode(reread, back));
    EXPECT_EQ(back.getAttributeSequence(), list.getAttributeSequence());
    EXPECT_EQ(back.getAttributeSequenceName(), "params");

    // An empty map still writes its (empty) sequence element.
    NodePtr emptyNode(new DomainXmlNode("P"));
    OLAttributeListXml().createDomainXmlNode(OLAttributeList(), emptyNode);
    EXPECT_EQ(printXml(emptyNode), "<P AttributeSequenceName=\"\">\n\t<AttributeSequence />\n</P>\n");
}

TEST(OLAttributeListCodec, ParseSkipsIncompletePairsAndKeepsTheFirst) {
    OLAttributeList list;
    NodePtr node = parseXml(
        "<P AttributeSequenceName=\"n\"><AttributeSequence>"
        "<Attribute AttributeName=\"a\" AttributeValue=\"1\" />"
        "<Pair AttributeName=\"b\" AttributeValue=\"2\" />"
        "<Attribute AttributeName=\"c\" />"
        "<Attribute AttributeValue=\"4\" />"
        "<Attribute AttributeName=\"a\" AttributeValue=\"5\" />"
        "</AttributeSequence></P>");
    ASSERT_TRUE(OLAttributeListXml().parseDomainXmlNode(node, list));
    const OLAttributeList::AttributeMap expected = {{"a", "1"}, {"b", "2"}};
    EXPECT_EQ(list.getAttributeSequence(), expected);

    // Both items reset: absent name and sequence empty the record.
    NodePtr bare = parseXml("<P />");
    ASSERT_TRUE(OLAttributeListXml().parseDomainXmlNode(bare, list));
    EXPECT_TRUE(list.getAttributeSequence().empty());
    EXPECT_EQ(list.getAttributeSequenceName(), "");

    // The list form and the top-level refusal of another record type.
    std::vector<OLAttributeList> lists;
    NodePtr items = parseXml(
        "<L><X><AttributeSequence><A AttributeName=\"k\" AttributeValue=\"v\" /></AttributeSequence>"
        "</X><Y /></L>");
    ASSERT_TRUE(OLAttributeListXml().parseDomainXmlNode(items, lists));
    ASSERT_EQ(lists.size(), 2u);
    EXPECT_EQ(lists[0].getAttributeSequence().at("k"), "v");
    BaseDomain other;
    EXPECT_FALSE(OLAttributeListXml().parseDomainXmlNode(items, &other));
    EXPECT_EQ(OLAttributeList().getDomainId(), 5002);
}

TEST(OLAttributeListCodec, NestedInAControlMessage) {
    MessageControlUIOperate message;
    message.setOperateType(3);
    message.setOperateName("open");
    OLAttributeList params;
    params.setAttributeSequence({{"window", "4"}});
    message.setParamList(params);
    NodePtr node(new DomainXmlNode("MessageControlUIOperate"));
    ASSERT_TRUE(
        MessageControlUIOperateXml().createDomainXmlNode(static_cast<const BaseDomain*>(&message), node));
    MessageControlUIOperate back;
    NodePtr reread = parseXml(printXml(node));
    ASSERT_TRUE(MessageControlUIOperateXml().parseDomainXmlNode(reread, static_cast<BaseDomain*>(&back)));
    EXPECT_EQ(back.getParamList().getAttributeSequence().at("window"), "4");

    // The child is mandatory.
    NodePtr noChild = parseXml("<M OperateType=\"1\" OperateName=\"x\" />");
    EXPECT_FALSE(MessageControlUIOperateXml().parseDomainXmlNode(noChild, back));
}

}  // namespace
