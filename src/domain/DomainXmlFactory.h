#pragma once

#include "domain/xml/IDomainXml.h"

// A new codec for a domain identifier, or null with a trace line. The caller
// owns it (wrap it in SafePointer<IDomainXml>).
IDomainXml* createDomainXml(int id);

// The same function under the name of its table.
struct DomainXmlFactory {
    static IDomainXml* createDomainXml(int id) { return ::createDomainXml(id); }
};
