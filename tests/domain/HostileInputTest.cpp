// Documents as a hostile peer writes them: sizes it chooses, numbers out of
// range; and containers that are not what their element identifier claims.
#include <gtest/gtest.h>

#include <atomic>
#include <climits>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

#include "domain/DomainContainer.h"
#include "domain/codecs/MultiTripWireRegionParamXml.h"
#include "domain/codecs/DetectionAreaV2Xml.h"
#include "domain/xml/DomainXmlNode.h"
#include "domain/xml/IDomainXml.h"

// The replacements below pair malloc with free; GCC takes free after new for a mismatch.
#if defined(__GNUC__) && !defined(__clang__)
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"
#endif

// Every allocation of this program comes here (all forms, so that a sanitizer
// runtime's own forms never meet these). While a cap is set, a request above it
// is counted and refused, so a test sees any size a document chose.
namespace {
std::atomic<size_t> g_nCap{0};
std::atomic<int> g_nOverCap{0};
}  // namespace

void* operator new(size_t size) {
    const size_t cap = g_nCap.load();
    if (cap != 0 && size > cap) {
        ++g_nOverCap;
        throw std::bad_alloc();
    }
    if (void* block = std::malloc(size != 0 ? size : 1)) return block;
    throw std::bad_alloc();
}
void* operator new[](size_t size) {
    return operator new(size);
}
void* operator new(size_t size, const std::nothrow_t&) noexcept {
    try {
        return operator new(size);
    } catch (const std::bad_alloc&) {
        return nullptr;
    }
}
void* operator new[](size_t size, const std::nothrow_t& tag) noexcept {
    return operator new(size, tag);
}
void operator delete(void* block) noexcept {
    std::free(block);
}
void operator delete[](void* block) noexcept {
    std::free(block);
}
void operator delete(void* block, size_t) noexcept {
    std::free(block);
}
void operator delete[](void* block, size_t) noexcept {
    std::free(block);
}

namespace {

typedef SafePointer<DomainXmlNode> Node;

Node nodeOf(const std::string& text) {
    Node node;
    EXPECT_TRUE(DomainXmlNode::fromString(text, node)) << text;
    return node;
}

class AllocationCap {
  public:
    explicit AllocationCap(size_t bytes) {
        g_nOverCap = 0;
        g_nCap = bytes;
    }
    ~AllocationCap() { g_nCap = 0; }
    int overCap() const { return g_nOverCap; }
};

TEST(HostileInput, DataLengthChoosesNoAllocation) {
    struct Case {
        const char* dataLength;
        std::string data;
        bool parsed;
        int stored;  // bytes in the record
    };
    const Case cases[] = {
        {"2000000000", "AAAA", true, 3},
        {"2147483000", "AAAA", true, 3},  // DataLength + 1024 beyond int
        {"2147483647", "AQID", true, 3},
        {"-5", "AQID", true, 3},
        {"-1021", "AQID", true, 3},  // 3 bytes offered
        {"-1022", "AQID", false, 0},
        // The decoder is offered DataLength + 1024 bytes: 1026 do not fit.
        {"1", std::string(1368, 'A'), false, 0},
        {"2", std::string(1368, 'A'), true, 1026},
    };
    for (const Case& c : cases) {
        const Node node = nodeOf(std::string("<DetectionAreaV2 WidthCellNumber=\"22\" DataLength=\"") +
                                 c.dataLength + "\" Data=\"" + c.data + "\" />");
        DetectionAreaV2 record;
        Node input(node);
        AllocationCap cap(1 << 20);
        EXPECT_EQ(c.parsed, DetectionAreaV2Xml().parseDomainXmlNode(input, record)) << c.dataLength;
        EXPECT_EQ(0, cap.overCap()) << c.dataLength;
        EXPECT_EQ(c.stored, record.getData() != nullptr ? record.getDataLength() : 0) << c.dataLength;
    }
}

TEST(HostileInput, ReadAsFloatSaturates) {
    const struct {
        const char* text;
        int value;
    } cases[] = {{"1e30", INT_MAX}, {"-1e30", INT_MIN},         {"inf", INT_MAX},
                 {"nan", 0},        {"2147483520", 2147483520}, {"-12.9", -12}};
    for (const auto& c : cases) {
        Node node = nodeOf(
            std::string("<R TargetTypeConstrain=\"true\" TargetType=\"1\" TargetSizeConstrain=\"false\" "
                        "MinTargetSize=\"1\" MaxTargetSize=\"2\" TimeInterval=\"3\" TriggerDirection1=\"") +
            c.text + "\" TriggerDirection2=\"" + c.text + "\" />");
        MultiTripWireRegionParam record;
        ASSERT_TRUE(MultiTripWireRegionParamXml().parseDomainXmlNode(node, record)) << c.text;
        EXPECT_EQ(c.value, record.getTriggerDirection1()) << c.text;
        EXPECT_EQ(c.value, record.getTriggerDirection2()) << c.text;
    }
}

// A record class that keeps identifier 0, as BaseDomain does.
struct Unnumbered : BaseDomain {
    char payload[40] = {};
};

TEST(HostileInput, ContainerOfAnotherKindIsRefused) {
    DomainContainer bare;  // element identifier 0, no vector at all
    DomainVectorContainer<Unnumbered> unnumbered;
    unnumbered.getItems().resize(3);
    const BaseDomain* containers[] = {&bare, &unnumbered};
    for (const BaseDomain* container : containers) {
        Node node;
        EXPECT_FALSE(domainToXmlNode("BaseDomainList", container, node));
        Node list = nodeOf("<BaseDomainList><BaseDomain /><BaseDomain /></BaseDomainList>");
        std::string name;
        EXPECT_FALSE(xmlNodeToDomain(list, name, const_cast<BaseDomain*>(container)));
    }
    EXPECT_EQ(3u, unnumbered.getItems().size());

    // The true list of BaseDomain still works both ways.
    DomainVectorContainer<BaseDomain> plain;
    Node list = nodeOf("<BaseDomainList><A /><B /></BaseDomainList>");
    std::string name;
    EXPECT_TRUE(xmlNodeToDomain(list, name, &plain));
    EXPECT_EQ(2u, plain.getItems().size());
    Node built;
    EXPECT_TRUE(domainToXmlNode("BaseDomainList", &plain, built));
}

}  // namespace
