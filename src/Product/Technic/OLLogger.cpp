#include "Product/Technic/OLLogger.h"

#include <cstdio>

#include "Product/Technic/OLTime.h"
#include "Product/Technic/OLTrace.h"

namespace {
constexpr int kLoggerOpenMode = OLFile::kModeWrite | OLFile::kModeAppend;  // 0x22: "ab"
}

OLLogger::OLLogger() : m_nFileCount(0), m_nMaxSize(0), m_nIndex(0), m_nKey(0) {}

OLLogger::~OLLogger() = default;

void OLLogger::init(const char* path, unsigned maxSize, int fileCount) {
    m_strPath = path == nullptr ? "" : path;
    m_nMaxSize = maxSize;
    m_nFileCount = fileCount;
    m_nKey = kValidKey;
}

bool OLLogger::rotate() {
    const int64_t length = getLength();
    if (length < 0) return false;
    if (length < static_cast<int64_t>(m_nMaxSize)) return true;
    close();
    const std::string rotated = m_strPath + "." + std::to_string(m_nIndex + 1);
    std::remove(rotated.c_str());
    std::rename(m_strPath.c_str(), rotated.c_str());
    if (!open(m_strPath.c_str(), kLoggerOpenMode)) return false;
    m_nIndex = m_nFileCount > 0 ? (m_nIndex + 1) % m_nFileCount : 0;
    return true;
}

void OLLogger::write(const char* module, const char* text) {
    std::string line = getTimeString(2);
    line += ",[";
    line += module == nullptr ? "" : module;
    line += "] ";
    line += text == nullptr ? "" : text;
    line += "\n";
    if (m_nKey != kValidKey) {
        OLTrace(3, __FILE__, "Logger is not inition,%s", line.c_str());
        return;
    }
    m_objLock.lock();
    if (!open(m_strPath.c_str(), kLoggerOpenMode)) {
        m_objLock.unlock();
        return;
    }
    if (!rotate()) {
        m_objLock.unlock();
        return;
    }
    OLFile::write(line.data(), static_cast<unsigned>(line.size()));
    flush();
    close();
    m_objLock.unlock();
}

void OLLogger::writeOnce(const char* path, const char* module, const char* text, unsigned maxSize,
                         int fileCount) {
    OLLogger logger;
    logger.init(path, maxSize, fileCount);
    logger.write(module, text);
}
