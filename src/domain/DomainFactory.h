#pragma once

#include <string>

#include "domain/BaseDomain.h"

// The element names of the protocol and the records they stand for. Lookups by
// name follow the rows' fixed order: where two rows share a name, the first wins.

// The element name of an identifier; false (and a trace line) without a row.
bool getDomainName(int id, std::string& name);
// The element name of a domain; a container's name is its element's name plus "List".
bool getDomainName(const BaseDomain* domain, std::string& name);

// A new record (or container) for an element name, or null. The caller owns it.
// A name containing "List" is tried as a container key first.
BaseDomain* createDomain(const std::string& name);
// The single-record table.
BaseDomain* createSingleDomain(const std::string& name);
// The container table: keys are element names plus "List", with four exceptions.
BaseDomain* createDomainContainer(const std::string& name);
