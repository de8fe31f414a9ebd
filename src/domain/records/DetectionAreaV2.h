#pragma once

#include "domain/BaseDomain.h"

// A motion detection grid: cell counts and the cells as an owned byte block of
// DataLength bytes (base64 text on the wire).
class DetectionAreaV2 : public BaseDomain {
  public:
    static constexpr int kDomainId = 96;

    DetectionAreaV2();
    DetectionAreaV2(const DetectionAreaV2& other);
    DetectionAreaV2& operator=(const DetectionAreaV2& other);
    ~DetectionAreaV2() override;

    int getWidthCellNumber() const { return m_nWidthCellNumber; }
    void setWidthCellNumber(int value) { m_nWidthCellNumber = value; }
    int getHighCellNumber() const { return m_nHighCellNumber; }
    void setHighCellNumber(int value) { m_nHighCellNumber = value; }
    int getDataLength() const { return m_nDataLength; }
    const unsigned char* getData() const { return m_pData; }

    // -4 for null data (nothing changed) or a failed allocation; else stores a
    // copy of length bytes (a new block when the size changes) and returns 0.
    // A length of 0 stores nothing: the record is left without a block.
    int setData(const unsigned char* data, int length);
    // Frees the block and records length without bytes.
    void clearData(int length = 0);

  private:
    void copyFrom(const DetectionAreaV2& other);

    int m_nWidthCellNumber;
    int m_nHighCellNumber;
    unsigned char* m_pData;
    int m_nDataLength;
};
