#pragma once

#include <vector>

#include "Product/Technic/SafePointer.h"
#include "domain/DomainContainer.h"

// The body of a command in memory: records and containers in document order.
typedef std::vector<SafePointer<BaseDomain>> DomainList;

// The first entry whose identifier is id (and, for containers, whose element
// identifier is elementId) is shared into out. False, out untouched, when none.
bool findDomain(int id, int elementId, const DomainList& list, SafePointer<BaseDomain>& out);

// Copies the first single record of record's own identifier into record, which
// must be default-constructed so that its identifier is set.
template <class T>
bool extractDomain(T& record, const DomainList& list) {
    SafePointer<BaseDomain> found;
    if (!findDomain(record.getDomainId(), 0, list, found)) return false;
    record = static_cast<const T&>(*found);
    return true;
}
