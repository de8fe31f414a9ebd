#include "domain/BaseDomain.h"

#include "domain/DomainContainer.h"
#include "domain/DomainList.h"

BaseDomain::~BaseDomain() = default;

DomainContainer::~DomainContainer() = default;

bool findDomain(int id, int elementId, const DomainList& list, SafePointer<BaseDomain>& out) {
    for (const SafePointer<BaseDomain>& entry : list) {
        const BaseDomain* domain = entry.operator->();
        if (domain->getDomainId() != id) continue;
        if (id == kDomainContainerId &&
            static_cast<const DomainContainer*>(domain)->getElementDomainId() != elementId) {
            continue;
        }
        out = entry;
        return true;
    }
    return false;
}
