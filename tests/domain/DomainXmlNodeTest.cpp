#include <gtest/gtest.h>

#include <string>

#include "domain/xml/DomainXmlNode.h"

namespace {

typedef SafePointer<DomainXmlNode> Node;

Node makeNode(const char* name) {
    return Node(new DomainXmlNode(name));
}

std::string print(const Node& node) {
    std::string text;
    EXPECT_TRUE(DomainXmlNode::toString(node, text));
    return text;
}

TEST(DomainXmlNodeTest, PrintedFormIsTabIndentedWithSpaceSlash) {
    Node root = makeNode("Parameters");
    root->setProperty("Version", 1);
    Node result = makeNode("Result");
    result->setProperty("Code", 0);
    root->addConfigNode(result);
    Node list = makeNode("ChannelInfoList");
    Node item = makeNode("ChannelInfo");
    item->setProperty("LocalChannelID", 1);
    item->setProperty("ChannelName", std::string("c1"));
    list->addConfigNode(item);
    root->addConfigNode(list);
    EXPECT_EQ(
        "<Parameters Version=\"1\">\n"
        "\t<Result Code=\"0\" />\n"
        "\t<ChannelInfoList>\n"
        "\t\t<ChannelInfo LocalChannelID=\"1\" ChannelName=\"c1\" />\n"
        "\t</ChannelInfoList>\n"
        "</Parameters>\n",
        print(root));
    EXPECT_EQ("<Empty />\n", print(makeNode("Empty")));
}

TEST(DomainXmlNodeTest, EscapingAndQuoteRule) {
    Node node = makeNode("E");
    node->setProperty("a", std::string("x&y<z>'"));
    node->setProperty("b", std::string("say \"hi\""));
    node->setProperty("c", std::string("tab\there\x01"));
    node->setProperty("d", std::string("&#x41;\xC3\xA9"));
    // Debian's TinyXML 2.6 escapes the ampersand of a "&#x" sequence too
    // (its entity-encoding fix); bytes of 128 and above pass unchanged.
    EXPECT_EQ(
        "<E a=\"x&amp;y&lt;z&gt;&apos;\" b='say &quot;hi&quot;' c=\"tab&#x09;here&#x01;\" "
        "d=\"&amp;#x41;\xC3\xA9\" />\n",
        print(node));
}

TEST(DomainXmlNodeTest, SettingAnAttributeAgainKeepsItsPlace) {
    Node node = makeNode("E");
    node->setProperty("a", 1);
    node->setProperty("b", 2);
    node->setProperty("a", 3);
    EXPECT_EQ("<E a=\"3\" b=\"2\" />\n", print(node));
}

TEST(DomainXmlNodeTest, NumberAndBoolTexts) {
    Node node = makeNode("E");
    node->setProperty("f", 1.5f);
    node->setProperty("d", 0.1234567);
    node->setProperty("t", true);
    node->setProperty("n", -7);
    node->setProperty("big", 1e300);
    std::string big;
    ASSERT_TRUE(node->getProperty("big", big));
    EXPECT_LE(big.size(), 99u);  // bounded: the write never overruns
    std::string f;
    node->getProperty("f", f);
    EXPECT_EQ("1.500000", f);
    std::string d;
    node->getProperty("d", d);
    EXPECT_EQ("0.123457", d);
    std::string t;
    node->getProperty("t", t);
    EXPECT_EQ("true", t);
}

TEST(DomainXmlNodeTest, GetPropertyConversions) {
    Node node;
    ASSERT_TRUE(DomainXmlNode::fromString(
        "<E i1=\"12abc\" i2=\"abc\" b1=\"TRUE\" b2=\"yes\" b3=\"False\" f=\"2.5x\" fx=\"x\" />", node));
    int i = 99;
    EXPECT_TRUE(node->getProperty("i1", &i));
    EXPECT_EQ(12, i);
    EXPECT_TRUE(node->getProperty("i2", &i));
    EXPECT_EQ(0, i);
    i = 99;
    EXPECT_FALSE(node->getProperty("missing", &i));
    EXPECT_EQ(0, i);

    bool b = false;
    EXPECT_TRUE(node->getProperty("b1", &b));
    EXPECT_TRUE(b);
    EXPECT_TRUE(node->getProperty("b2", &b));
    EXPECT_TRUE(b);  // untouched
    EXPECT_TRUE(node->getProperty("b3", &b));
    EXPECT_FALSE(b);
    b = true;
    EXPECT_FALSE(node->getProperty("missing", &b));
    EXPECT_TRUE(b);

    float f = 7.0f;
    EXPECT_TRUE(node->getProperty("f", &f));
    EXPECT_FLOAT_EQ(2.5f, f);
    f = 7.0f;
    EXPECT_TRUE(node->getProperty("fx", &f));
    EXPECT_FLOAT_EQ(7.0f, f);
    EXPECT_FALSE(node->getProperty("missing", &f));
    EXPECT_FLOAT_EQ(7.0f, f);
    double d = 3.0;
    EXPECT_FALSE(node->getProperty("missing", &d));
    EXPECT_DOUBLE_EQ(3.0, d);

    std::string s = "keep";
    EXPECT_FALSE(node->getProperty("missing", s));
    EXPECT_EQ("keep", s);
    std::string name;
    EXPECT_TRUE(node->getName(name));
    EXPECT_EQ("E", name);
}

TEST(DomainXmlNodeTest, ChildrenAreDeepCopies) {
    Node node;
    ASSERT_TRUE(DomainXmlNode::fromString("<R><A n=\"1\" /><B /><!-- c --><A n=\"2\" /><C /></R>", node));
    Node first;
    ASSERT_TRUE(node->getConfigNode("A", first));
    int n = 0;
    first->getProperty("n", &n);
    EXPECT_EQ(1, n);
    first->setProperty("n", 9);
    Node again;
    node->getConfigNode("A", again);
    again->getProperty("n", &n);
    EXPECT_EQ(1, n);

    Node untouched = makeNode("keep");
    EXPECT_FALSE(node->getConfigNode("Z", untouched));
    std::string name;
    untouched->getName(name);
    EXPECT_EQ("keep", name);

    DomainXmlNode::NodeVector as;
    as.push_back(makeNode("pre"));
    EXPECT_TRUE(node->getConfigNodes("A", as));
    ASSERT_EQ(3u, as.size());  // not cleared first
    as[2]->getProperty("n", &n);
    EXPECT_EQ(2, n);
    DomainXmlNode::NodeVector none;
    EXPECT_FALSE(node->getConfigNodes("Z", none));
    DomainXmlNode::NodeVector all;
    EXPECT_TRUE(node->getAllConfigNodes(all));
    EXPECT_EQ(4u, all.size());  // the comment is skipped

    // A child added and then changed: the parent keeps the copy of the moment.
    Node parent = makeNode("P");
    Node child = makeNode("K");
    parent->addConfigNode(child);
    child->setProperty("late", 1);
    EXPECT_EQ("<P>\n\t<K />\n</P>\n", print(parent));
    EXPECT_THROW(parent->addConfigNode(Node()), std::exception);
}

TEST(DomainXmlNodeTest, FromStringEdgeCases) {
    Node node;
    EXPECT_FALSE(DomainXmlNode::fromString("", node));
    EXPECT_FALSE(DomainXmlNode::fromString("<?xml version=\"1.0\"?>", node));
    EXPECT_FALSE(DomainXmlNode::fromString("<A><B></A>", node));
    // A text that ends inside a multi-byte character is refused, not overrun.
    EXPECT_FALSE(DomainXmlNode::fromString("<?xml version=\"1.0\" encoding=\"UTF-8\"?><A b=\"\xE1", node));
    EXPECT_FALSE(DomainXmlNode::fromString("<A b=\"x\" \xF0", node));
    EXPECT_TRUE(node.isNull());
    ASSERT_TRUE(DomainXmlNode::fromString(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- x --><Root a=\"1\" />", node));
    std::string name;
    node->getName(name);
    EXPECT_EQ("Root", name);
    std::string text;
    EXPECT_THROW(DomainXmlNode::toString(Node(), text), std::exception);
}

}  // namespace
