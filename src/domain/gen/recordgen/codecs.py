"""Codec headers: domain/codecs/<Name>Xml.h, the codec class of each record
whose codec is not written by hand."""

import os

from .model import HEADER_NOTE


def emit_codec_header(e):
    n = e.name
    g = ["#pragma once", "", HEADER_NOTE % os.path.basename(e.path)]
    g += ["#include <vector>", "", '#include "domain/codecs/CodecOf.h"', '#include "domain/records/%s.h"' % n,
          '#include "domain/xml/IDomainXml.h"', ""]
    g.append("// Codec of %s (identifier %d); list items are named \"%s\"." % (n, e.id, e.item_name))
    g.append("class %sXml : public IDomainXml {" % n)
    g.append("public:")
    g.append("    static const char* itemName() { return \"%s\"; }" % e.item_name)
    g.append("")
    if e.abstract:
        g += ["    // Only ever a base part: the top-level entry points refuse to work.",
              "    using IDomainXml::createDomainXmlNode;", "    using IDomainXml::parseDomainXmlNode;"]
    else:
        g += ["    bool createDomainXmlNode(const BaseDomain* domain, SafePointer<DomainXmlNode>& node) override;",
              "    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, BaseDomain* domain) override;"]
    g += ["    bool createDomainXmlNode(const %s& record, SafePointer<DomainXmlNode>& node);" % n,
          "    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, %s& record);" % n,
          "    bool createDomainXmlNode(const std::vector<%s>& records, SafePointer<DomainXmlNode>& node);" % n,
          "    bool parseDomainXmlNode(SafePointer<DomainXmlNode>& node, std::vector<%s>& records);" % n, "};", ""]
    g += ["template <>", "struct CodecOf<%s> {" % n, "    typedef %sXml type;" % n, "};"]
    return "\n".join(g) + "\n"
