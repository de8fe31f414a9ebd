#pragma once

#include <cstdint>
#include <string>

#include "Product/Technic/OLFile.h"
#include "Product/Technic/OLMutex.h"

// Small rolling file logger. Each line reads
// "YYYY-MM-DD hh:mm:ss,[module] text\n". Before a line is written, a file that
// has reached maxSize is moved to path + "." + (index + 1) and a new one begun.
// A file that cannot be opened loses the line without a report.
class OLLogger : public OLFile {
  public:
    static constexpr uint32_t kValidKey = 0x99887766u;

    OLLogger();
    ~OLLogger() override;

    void init(const char* path, unsigned maxSize, int fileCount);
    void write(const char* module, const char* text);

    // One line through a logger that lives for this call only; its rotation
    // always goes to path + ".1".
    static void writeOnce(const char* path, const char* module, const char* text, unsigned maxSize,
                          int fileCount);

  private:
    bool rotate();

    std::string m_strPath;
    int m_nFileCount;
    unsigned m_nMaxSize;
    int m_nIndex;
    OLMutexCore m_objLock;
    uint32_t m_nKey;
};
