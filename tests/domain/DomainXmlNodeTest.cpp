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

// Tabs, " />", the quote rule and the escapes. Debian's TinyXML 2.6 escapes
// the ampersand of a "&#x" sequence too; bytes of 128 and above pass
// unchanged. An attribute set again keeps its place; a child added is a copy
// of the moment.
TEST(DomainXmlNodeTest, Writing) {
    Node root = makeNode("Parameters");
    root->setProperty("Version", 1);
    root->setProperty("a", std::string("x&y<z>'"));
    root->setProperty("b", std::string("say \"hi\""));
    root->setProperty("c", std::string("tab\there\x01"));
    root->setProperty("d", std::string("&#x41;\xC3\xA9"));
    root->setProperty("f", 1.5f);
    root->setProperty("g", 0.1234567);
    root->setProperty("t", true);
    root->setProperty("Version", 2);
    Node list = makeNode("ChannelInfoList");
    Node item = makeNode("ChannelInfo");
    item->setProperty("ChannelName", std::string("c1"));
    list->addConfigNode(item);
    item->setProperty("late", 1);
    root->addConfigNode(makeNode("Result"));
    root->addConfigNode(list);
    EXPECT_EQ(
        "<Parameters Version=\"2\" a=\"x&amp;y&lt;z&gt;&apos;\" b='say &quot;hi&quot;' "
        "c=\"tab&#x09;here&#x01;\" d=\"&amp;#x41;\xC3\xA9\" f=\"1.500000\" g=\"0.123457\" t=\"true\">\n"
        "\t<Result />\n\t<ChannelInfoList>\n\t\t<ChannelInfo ChannelName=\"c1\" />\n\t</ChannelInfoList>\n"
        "</Parameters>\n",
        print(root));
    EXPECT_THROW(root->addConfigNode(Node()), std::exception);
    std::string text;
    EXPECT_THROW(DomainXmlNode::toString(Node(), text), std::exception);

    Node big = makeNode("E");
    big->setProperty("big", 1e300);
    ASSERT_TRUE(big->getProperty("big", text));
    EXPECT_LE(text.size(), 99u);  // bounded: the write never overruns
}

// Reads an attribute into a target that holds `start` before: the result and the value.
template <class T>
std::pair<bool, T> read(Node& node, const char* name, T start) {
    bool ok = node->getProperty(name, &start);
    return {ok, start};
}

TEST(DomainXmlNodeTest, NumberAndBoolTexts) {
    Node node;
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
    ASSERT_TRUE(
        DomainXmlNode::fromString("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\r\n<!-- x --><R><A n=\"1\" "
                                  "/><B /><!-- c --><A n=\"2\" /><C /></R>",
                                  node));
    Node first, again;
    ASSERT_TRUE(node->getConfigNode("A", first));
    first->setProperty("n", 9);
    node->getConfigNode("A", again);
    EXPECT_EQ("<A n=\"1\" />\n", print(again));
    Node untouched = makeNode("keep");
    EXPECT_FALSE(node->getConfigNode("Z", untouched));
    EXPECT_EQ("<keep />\n", print(untouched));

    DomainXmlNode::NodeVector as(1, makeNode("pre"));
    EXPECT_TRUE(node->getConfigNodes("A", as));
    ASSERT_EQ(3u, as.size());  // not cleared first
    EXPECT_EQ("<A n=\"2\" />\n", print(as[2]));
    DomainXmlNode::NodeVector none;
    EXPECT_FALSE(node->getConfigNodes("Z", none));
    DomainXmlNode::NodeVector all;
    EXPECT_TRUE(node->getAllConfigNodes(all));
    EXPECT_EQ(4u, all.size());  // the comment is skipped
}

// Nodes share what they read and what is added to them; a write through one
// node never shows in another, whichever of them writes and whichever lives on.
TEST(DomainXmlNodeTest, SharedTreesBehaveAsCopies) {
    Node root;
    ASSERT_TRUE(DomainXmlNode::fromString("<R v=\"1\"><A n=\"1\" /></R>", root));
    Node copy(new DomainXmlNode(*root));
    Node child;
    ASSERT_TRUE(root->getConfigNode("A", child));
    root->setProperty("v", 2);
    copy->setProperty("w", 3);
    root->addConfigNode(child);  // a child of its own tree: copied
    root->addConfigNode(root);   // itself: copied, no loop
    child->setProperty("n", 4);
    root.reset();  // the views keep the tree
    EXPECT_EQ("<A n=\"4\" />\n", print(child));
    EXPECT_EQ("<R v=\"1\" w=\"3\">\n\t<A n=\"1\" />\n</R>\n", print(copy));
    ASSERT_TRUE(copy->getConfigNode("A", child));
    EXPECT_EQ("<A n=\"1\" />\n", print(child));

    Node parent = makeNode("P");
    Node added = makeNode("C");
    parent->addConfigNode(added);  // given away, still readable
    parent->setProperty("p", 1);
    parent->addConfigNode(added);
    added->setProperty("c", 2);
    EXPECT_EQ("<C c=\"2\" />\n", print(added));
    EXPECT_EQ("<P p=\"1\">\n\t<C />\n\t<C />\n</P>\n", print(parent));
}

TEST(DomainXmlNodeTest, FromStringRefusals) {
    // A text that ends inside a multi-byte character is refused, not overrun.
    const char* texts[] = {"", "<?xml version=\"1.0\"?>", "<A><B></A>",
                           "<?xml version=\"1.0\" encoding=\"UTF-8\"?><A b=\"\xE1", "<A b=\"x\" \xF0"};
    for (const char* text : texts) {
        Node node;
        EXPECT_FALSE(DomainXmlNode::fromString(text, node)) << text;
        EXPECT_TRUE(node.isNull());
    }
}

}  // namespace
