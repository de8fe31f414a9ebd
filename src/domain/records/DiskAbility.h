#pragma once

// DiskAbility, identifier 5086, and the RecordAbility that it carries.
// Written by hand because DiskAbility holds a member that never travels:
// RecordAbility (identifier 5108) has no fields, no codec and no name in the
// factories. The codec of DiskAbility is generated from visitFields below.

#include <vector>

#include "domain/BaseDomain.h"
#include "domain/codecs/CodecItems.h"
#include "domain/codecs/DiskAttributeExXml.h"
#include "domain/codecs/DiskSummaryInfoXml.h"
#include "domain/codecs/FileSystemXml.h"
#include "domain/codecs/RaidAbilityXml.h"

class RecordAbility : public BaseDomain {
  public:
    static constexpr int kDomainId = 5108;

    RecordAbility() { m_nDomainId = kDomainId; }
    RecordAbility(const RecordAbility& other) : BaseDomain(other) { m_nDomainId = kDomainId; }
    RecordAbility& operator=(const RecordAbility& other) {
        if (this == &other) return *this;
        BaseDomain::operator=(other);
        return *this;
    }
    ~RecordAbility() override;
};

class DiskAbility : public BaseDomain {
  public:
    static constexpr int kDomainId = 5086;

    DiskAbility();
    DiskAbility(const DiskAbility& other);
    DiskAbility& operator=(const DiskAbility& other);
    ~DiskAbility() override;

    const std::vector<FileSystem>& getFileSystemList() const { return m_vecFileSystemList; }
    void setFileSystemList(const std::vector<FileSystem>& value) { m_vecFileSystemList = value; }
    const std::vector<DiskAttributeEx>& getDiskAttributeExList() const { return m_vecDiskAttributeExList; }
    void setDiskAttributeExList(const std::vector<DiskAttributeEx>& value) {
        m_vecDiskAttributeExList = value;
    }
    const std::vector<DiskSummaryInfo>& getDiskSummaryInfoList() const { return m_vecDiskSummaryInfoList; }
    void setDiskSummaryInfoList(const std::vector<DiskSummaryInfo>& value) {
        m_vecDiskSummaryInfoList = value;
    }
    const RaidAbility& getRaidAbility() const { return m_objRaidAbility; }
    void setRaidAbility(const RaidAbility& value) { m_objRaidAbility = value; }
    // Not on the wire: neither built nor parsed.
    const RecordAbility& getRecordAbility() const { return m_objRecordAbility; }
    void setRecordAbility(const RecordAbility& value) { m_objRecordAbility = value; }

    // The items of the element build, for the codec engine (RecordAbility is not one).
    template <class V>
    static void visitFields(V& v, DiskAbility& r) {
        using P = Presence;
        v.list("FileSystemList", P::Reset, r.m_vecFileSystemList);
        v.list("DiskAttributeExList", P::Reset, r.m_vecDiskAttributeExList);
        v.list("DiskSummaryInfoList", P::Reset, r.m_vecDiskSummaryInfoList);
        v.child("RaidAbility", P::Reset, r.m_objRaidAbility);
    }

  protected:
    std::vector<FileSystem> m_vecFileSystemList;
    std::vector<DiskAttributeEx> m_vecDiskAttributeExList;
    std::vector<DiskSummaryInfo> m_vecDiskSummaryInfoList;
    RaidAbility m_objRaidAbility;
    RecordAbility m_objRecordAbility;
};
