#include "domain/DomainFactory.h"

#include <cstring>
#include <new>

#include "Product/Technic/OLTrace.h"
#include "domain/DomainContainer.h"
#include "domain/DomainFactoryRows.h"
#include "domain/DomainXmlFactory.h"

// The lookups walk sorted indexes of the generated rows instead of the rows
// themselves; the indexes keep the first row of a doubled name, so results and
// log lines are those of a walk in row order.

namespace domain_tables {

BaseDomain* createBaseDomain() {
    return new (std::nothrow) BaseDomain;
}
BaseDomain* createListBaseDomain() {
    return new (std::nothrow) DomainVectorContainer<BaseDomain>;
}
IDomainXml* createBaseDomainXml() {
    return new (std::nothrow) BaseDomainXml;
}

}  // namespace domain_tables

using namespace domain_tables;

namespace {

const char kFile[] = "DomainFactory.cpp";

const FactoryRow* findById(int id) {
    int low = 0;
    int high = kFactoryRowCount - 1;
    while (low <= high) {
        int mid = (low + high) / 2;
        const FactoryRow& row = kFactoryRows[kRowsById[mid]];
        if (row.id == id) return &row;
        if (row.id < id) {
            low = mid + 1;
        } else {
            high = mid - 1;
        }
    }
    return nullptr;
}

const FactoryRow* findByText(const unsigned short* index, int count, const char* FactoryRow::*field,
                             const std::string& text) {
    int low = 0;
    int high = count - 1;
    while (low <= high) {
        int mid = (low + high) / 2;
        const FactoryRow& row = kFactoryRows[index[mid]];
        int order = std::strcmp(row.*field, text.c_str());
        if (order == 0) return text.size() == std::strlen(row.*field) ? &row : nullptr;
        if (order < 0) {
            low = mid + 1;
        } else {
            high = mid - 1;
        }
    }
    return nullptr;
}

BaseDomain* notFound(const std::string& name) {
    OLTrace(3, kFile, "DomainFactory not have Domain(%s)!! \n", name.c_str());
    return nullptr;
}

}  // namespace

bool getDomainName(int id, std::string& name) {
    const FactoryRow* row = findById(id);
    if (row == nullptr) {
        OLTrace(3, kFile, "[%s %s %d] DomainFactory not have Domain(%d) !! Failed\n", kFile, __FUNCTION__,
                __LINE__, id);
        return false;
    }
    name = row->name;
    return true;
}

bool getDomainName(const BaseDomain* domain, std::string& name) {
    if (domain == nullptr) return false;
    int id = domain->getDomainId();
    bool isContainer = id == kDomainContainerId;
    if (isContainer) id = static_cast<const DomainContainer*>(domain)->getElementDomainId();
    if (!getDomainName(id, name)) return false;
    if (isContainer) name += "List";
    return true;
}

BaseDomain* createSingleDomain(const std::string& name) {
    const FactoryRow* row = findByText(kRowsByName, kRowsByNameCount, &FactoryRow::name, name);
    if (row == nullptr || row->create == nullptr) return notFound(name);
    return row->create();
}

BaseDomain* createDomainContainer(const std::string& name) {
    const FactoryRow* row = findByText(kRowsByListKey, kRowsByListKeyCount, &FactoryRow::listKey, name);
    if (row == nullptr || row->createList == nullptr) return notFound(name);
    return row->createList();
}

BaseDomain* createDomain(const std::string& name) {
    if (name.find("List") != std::string::npos) {
        BaseDomain* container = createDomainContainer(name);
        if (container != nullptr) return container;
    }
    return createSingleDomain(name);
}

IDomainXml* createDomainXml(int id) {
    const FactoryRow* row = findById(id);
    if (row == nullptr || row->createXml == nullptr) {
        OLTrace(3, kFile, "DomainXmlFactory not have DomainXml(%d)!! \n", id);
        return nullptr;
    }
    return row->createXml();
}
