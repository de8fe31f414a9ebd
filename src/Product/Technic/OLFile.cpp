#include "Product/Technic/OLFile.h"

#include <sys/types.h>

OLFile::~OLFile() {
    close();
}

const char* OLFile::modeString(int mode) {
    const int kinds = mode & (kModeRead | kModeWrite | kModeUpdate);
    if (kinds == kModeRead) return "rb";
    if (kinds == kModeWrite) return (mode & kModeTruncate) ? "wb" : "ab";
    if (kinds == kModeUpdate) {
        if (!(mode & kModeAppend)) return "r+b";
        return (mode & kModeTruncate) ? "w+b" : "a+b";
    }
    return nullptr;
}

bool OLFile::open(const char* path, int mode) {
    const char* how = modeString(mode);
    if (path == nullptr || how == nullptr) return false;
    close();
    m_pFile = std::fopen(path, how);
    return m_pFile != nullptr;
}

bool OLFile::close() {
    if (m_pFile == nullptr) return false;
    const bool ok = std::fclose(m_pFile) == 0;
    m_pFile = nullptr;
    return ok;
}

bool OLFile::flush() {
    return m_pFile != nullptr && std::fflush(m_pFile) == 0;
}

int OLFile::write(const char* data, unsigned size) {
    if (data == nullptr || m_pFile == nullptr) return -1;
    const size_t written = std::fwrite(data, 1, size, m_pFile);
    if (std::ferror(m_pFile)) return -1;
    return static_cast<int>(written);
}

int64_t OLFile::getLength() {
    if (m_pFile == nullptr) return -1;
    const off_t position = ftello(m_pFile);
    if (position < 0 || fseeko(m_pFile, 0, SEEK_END) != 0) return -1;
    const off_t length = ftello(m_pFile);
    fseeko(m_pFile, position, SEEK_SET);
    return static_cast<int64_t>(length);
}
