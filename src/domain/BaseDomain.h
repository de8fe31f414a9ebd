#pragma once

// Root of every protocol record. A record names itself by its domain
// identifier, which each class writes in its constructor; the identifier is
// the only thing generic code looks at.
class BaseDomain {
  public:
    BaseDomain() : m_nDomainId(0) {}
    // A copy of a plain BaseDomain has identifier 0; derived classes set their own.
    BaseDomain(const BaseDomain&) : m_nDomainId(0) {}
    // Copies nothing: assignment never changes the target's identifier.
    BaseDomain& operator=(const BaseDomain&) { return *this; }
    virtual ~BaseDomain();

    const int& getDomainId() const { return m_nDomainId; }

    // Equal when the identifiers are equal; no field is compared.
    bool operator==(const BaseDomain& other) const { return m_nDomainId == other.m_nDomainId; }
    bool operator!=(const BaseDomain& other) const { return !(*this == other); }

  protected:
    int m_nDomainId;
};
