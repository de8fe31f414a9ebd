#pragma once

#include <memory>

#include "domain/BaseDomain.h"

// An owned block of bytes for the binary bodies. m_nLength is both the size
// recorded and the only record of the allocation: a shorter setData keeps the
// larger block.
class DataBuffer : public BaseDomain {
  public:
    static constexpr int kDomainId = 416;

    DataBuffer();
    DataBuffer(const DataBuffer& other);
    DataBuffer& operator=(const DataBuffer& other);
    ~DataBuffer() override;

    // False for null data or a length of zero or less, nothing changed.
    bool setData(const unsigned char* data, int length);
    int getLength() const { return m_nLength; }
    const unsigned char* getData() const { return m_pData.get(); }

  protected:
    int m_nLength;
    std::unique_ptr<unsigned char[]> m_pData;
};

// The same block for serial line data. Assignment empties the target first, so
// assigning an empty ComData leaves an empty target.
class ComData : public BaseDomain {
  public:
    static constexpr int kDomainId = 80;

    ComData();
    ComData(const ComData& other);
    ComData& operator=(const ComData& other);
    ~ComData() override;

    bool setData(const unsigned char* data, int length);
    int getLength() const { return m_nLength; }
    const unsigned char* getData() const { return m_pData.get(); }

  protected:
    int m_nLength;
    std::unique_ptr<unsigned char[]> m_pData;
};
