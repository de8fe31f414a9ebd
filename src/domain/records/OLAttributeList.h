#pragma once

// OLAttributeList, written by hand: name-value pairs of a map from string to
// string, carried in the child AttributeSequence (OLAttributeListXml).

#include <map>
#include <string>

#include "domain/BaseDomain.h"

class OLAttributeList : public BaseDomain {
  public:
    static constexpr int kDomainId = 5002;
    typedef std::map<std::string, std::string> AttributeMap;

    OLAttributeList();
    OLAttributeList(const OLAttributeList& other);
    OLAttributeList& operator=(const OLAttributeList& other);
    ~OLAttributeList() override;

    const std::string& getAttributeSequenceName() const { return m_strAttributeSequenceName; }
    void setAttributeSequenceName(const std::string& value) { m_strAttributeSequenceName = value; }
    const AttributeMap& getAttributeSequence() const { return m_mapAttributeSequence; }
    void setAttributeSequence(const AttributeMap& value) { m_mapAttributeSequence = value; }

  protected:
    std::string m_strAttributeSequenceName;
    AttributeMap m_mapAttributeSequence;
};
