#pragma once

// IntelligenceLibInfo and the library entries it lists. Written by hand: the
// libraries are LibCommonAbility records inside the record, and the codec reads
// each value from a default of its own (IntelligenceLibInfoXml).

#include <vector>

#include "domain/BaseDomain.h"

// One analysis library of a stream: one <LIB> element. It has an identifier
// but no codec and no factory row; only IntelligenceLibInfoXml reads it.
class LibCommonAbility : public BaseDomain {
  public:
    static constexpr int kDomainId = 2037;

    LibCommonAbility();
    LibCommonAbility(const LibCommonAbility& other);
    LibCommonAbility& operator=(const LibCommonAbility& other);
    ~LibCommonAbility() override;

    int getID() const { return m_nID; }
    void setID(int value) { m_nID = value; }
    bool getenable() const { return m_bEnable; }
    void setenable(bool value) { m_bEnable = value; }
    int getvideoWidth() const { return m_nVideoWidth; }
    void setvideoWidth(int value) { m_nVideoWidth = value; }
    int getvideoHeight() const { return m_nVideoHeight; }
    void setvideoHeight(int value) { m_nVideoHeight = value; }
    int gettotalAnalyseRegionNum() const { return m_nTotalAnalyseRegionNum; }
    void settotalAnalyseRegionNum(int value) { m_nTotalAnalyseRegionNum = value; }
    int getMaxEnableFunsNum() const { return m_nMaxEnableFunsNum; }
    void setMaxEnableFunsNum(int value) { m_nMaxEnableFunsNum = value; }

  protected:
    int m_nID;
    bool m_bEnable;
    int m_nVideoWidth;
    int m_nVideoHeight;
    int m_nTotalAnalyseRegionNum;
    int m_nMaxEnableFunsNum;
};

// The analysis libraries of a stream, identifier 145.
class IntelligenceLibInfo : public BaseDomain {
  public:
    static constexpr int kDomainId = 145;

    IntelligenceLibInfo();
    IntelligenceLibInfo(const IntelligenceLibInfo& other);
    IntelligenceLibInfo& operator=(const IntelligenceLibInfo& other);
    ~IntelligenceLibInfo() override;

    int getVersion() const { return m_nVersion; }
    void setVersion(int value) { m_nVersion = value; }
    int getStreamID() const { return m_nStreamID; }
    void setStreamID(int value) { m_nStreamID = value; }
    const std::vector<LibCommonAbility>& getLIB() const { return m_vecLIB; }
    void setLIB(const std::vector<LibCommonAbility>& value) { m_vecLIB = value; }

  protected:
    int m_nVersion;
    int m_nStreamID;
    std::vector<LibCommonAbility> m_vecLIB;
};
