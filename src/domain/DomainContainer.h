#pragma once

#include <vector>

#include "domain/BaseDomain.h"

// Identifier of every list-valued domain; no record has it.
constexpr int kDomainContainerId = 99999;

// Marks a list-valued domain. The element identifier names the record type
// that the list holds.
class DomainContainer : public BaseDomain {
  public:
    DomainContainer() : m_nElementDomainId(0) { m_nDomainId = kDomainContainerId; }
    DomainContainer(const DomainContainer& other)
        : BaseDomain(other), m_nElementDomainId(other.m_nElementDomainId) {
        m_nDomainId = kDomainContainerId;
    }
    DomainContainer& operator=(const DomainContainer& other) {
        m_nElementDomainId = other.m_nElementDomainId;
        return *this;
    }
    ~DomainContainer() override;

    int getElementDomainId() const { return m_nElementDomainId; }

  protected:
    int m_nElementDomainId;
};

// A list of records of type T, held by value. The element identifier is read
// from a default-constructed T, so the record class is the single source of
// its number.
template <class T>
class DomainVectorContainer : public DomainContainer {
  public:
    DomainVectorContainer() {
        T probe;
        m_nElementDomainId = probe.getDomainId();
    }
    DomainVectorContainer(const DomainVectorContainer& other)
        : DomainContainer(other), m_vecItems(other.m_vecItems) {}
    DomainVectorContainer& operator=(const DomainVectorContainer& other) {
        DomainContainer::operator=(other);
        m_vecItems = other.m_vecItems;
        return *this;
    }
    ~DomainVectorContainer() override = default;

    std::vector<T>& getItems() { return m_vecItems; }
    const std::vector<T>& getItems() const { return m_vecItems; }

  private:
    std::vector<T> m_vecItems;
};

// The container as a list of T, or null when it holds another type. An element
// identifier alone does not tell: a bare DomainContainer, or a list of a record
// that keeps identifier 0, carries the element identifier of BaseDomain.
template <class T>
const DomainVectorContainer<T>* containerOf(const BaseDomain* domain) {
    return dynamic_cast<const DomainVectorContainer<T>*>(domain);
}
template <class T>
DomainVectorContainer<T>* containerOf(BaseDomain* domain) {
    return dynamic_cast<DomainVectorContainer<T>*>(domain);
}
