#pragma once

#include <string>
#include <vector>

#include "protocol/ICommandBodyParser.h"

// The XML body, the default format of the SDK protocol: the declaration with
// CR LF, then a root "Parameters" with Version="1" and one child per record of
// the list, in list order. Element names come from the factory, with the
// entries of m_nodeNames taking precedence.
class SDKNormalXmlBodyParser : public ICommandBodyParser {
  public:
    // The 40 bytes that precede the element tree.
    static const char kDeclaration[];
    static constexpr unsigned kDeclarationLength = 40;
    // Bounds of a body that is read. The XML library reads, copies and prints
    // element trees recursively, so a document nested thousands of levels deep
    // would exhaust the stack; and every element read becomes a node and
    // often a record in the process-wide pointer registry, whose size is
    // limited. A body beyond either bound fails. A datagram of the transport
    // (5600 bytes) cannot reach them.
    static constexpr unsigned kMaxNestingDepth = 256;
    static constexpr unsigned kMaxElements = 4096;

    struct NodeNameEntry {
        int nDomainId;         // a domain identifier, or 99999 for a container
        int nElementDomainId;  // the element identifier of a container, else 0
        std::string strName;
    };

    SDKNormalXmlBodyParser();
    ~SDKNormalXmlBodyParser() override;

    // A record without an element name is left out; a record without a codec,
    // or refused by it, fails the body and leaves `out` as it was.
    bool createCommandBody(const DomainList& domains, CommandBuffer& out) override;
    // An element that no factory knows is skipped; one that its codec refuses
    // fails the body (`domains` then keeps the records read before it).
    bool parseCommandBody(const CommandBuffer& in, DomainList& domains) override;
    // Hook for a parser that makes certain elements itself; this one makes none.
    virtual bool createSpecialDomain(const std::string& name, SafePointer<BaseDomain>& domain);

    bool getNodeName(const SafePointer<BaseDomain>& domain, std::string& name);

  private:
    std::vector<NodeNameEntry> m_nodeNames;
};
