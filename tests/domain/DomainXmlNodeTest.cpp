#include <gtest/gtest.h>

#include <string>
#include <utility>

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

// Reads an attribute into a target that holds `start` before: the result and the value.
template <class T>
std::pair<bool, T> read(Node& node, const char* name, T start) {
    bool ok = node->getProperty(name, &start);
    return {ok, start};
}

TEST(DomainXmlNodeTest, NumberAndBoolTextsBothWays) {
    Node node = makeNode("E");
    node->setProperty("f", 1.5f);
    node->setProperty("d", 0.1234567);
    node->setProperty("t", true);
    node->setProperty("big", 1e300);
    EXPECT_EQ(0u, print(node).find("<E f=\"1.500000\" d=\"0.123457\" t=\"true\" big=\""));
    std::string big;
    ASSERT_TRUE(node->getProperty("big", big));
    EXPECT_LE(big.size(), 99u);  // bounded: the write never overruns

    ASSERT_TRUE(DomainXmlNode::fromString(
        "<E i1=\"12abc\" i2=\"abc\" b1=\"TRUE\" b2=\"yes\" b3=\"False\" f=\"2.5x\" fx=\"x\" />", node));
    EXPECT_EQ(std::make_pair(true, 12), read(node, "i1", 99));
    EXPECT_EQ(std::make_pair(true, 0), read(node, "i2", 99));
    EXPECT_EQ(std::make_pair(false, 0), read(node, "missing", 99));  // an int target is set to 0
    EXPECT_EQ(std::make_pair(true, true), read(node, "b1", false));
    EXPECT_EQ(std::make_pair(true, true), read(node, "b2", true));  // neither word: untouched
    EXPECT_EQ(std::make_pair(true, false), read(node, "b3", true));
    EXPECT_EQ(std::make_pair(false, true), read(node, "missing", true));
    EXPECT_EQ(std::make_pair(true, 2.5f), read(node, "f", 7.0f));
    EXPECT_EQ(std::make_pair(true, 7.0f), read(node, "fx", 7.0f));  // nothing converted: untouched
    EXPECT_EQ(std::make_pair(false, 7.0f), read(node, "missing", 7.0f));
    EXPECT_EQ(std::make_pair(false, 3.0), read(node, "missing", 3.0));
    std::string s = "keep";
    EXPECT_FALSE(node->getProperty("missing", s));
    EXPECT_EQ("keep", s);
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
