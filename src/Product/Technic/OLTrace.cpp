#include "Product/Technic/OLTrace.h"

#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <sstream>

OLTraceConfig::OLTraceConfig() : m_bEnabled(true), m_nLevel(0), m_pFiles(), m_nCount(0) {}

OLTraceConfig& OLTraceConfig::getInstance() {
    static OLTraceConfig config;
    return config;
}

bool OLTraceConfig::addFile(const char* file) {
    if (file == nullptr || m_nCount >= kMaxFiles) return false;
    m_pFiles[m_nCount++] = file;
    return true;
}

void OLTraceConfig::clearFiles() {
    for (int i = 0; i < kMaxFiles; ++i) m_pFiles[i] = nullptr;
    m_nCount = 0;
}

int OLTrace(int level, const char* file, const char* format, ...) {
    const OLTraceConfig& config = OLTraceConfig::getInstance();
    if (!config.isEnabled() || config.getLevel() < level || format == nullptr) return 0;

    va_list args;
    va_start(args, format);
    va_list measure;
    va_copy(measure, args);
    const int needed = std::vsnprintf(nullptr, 0, format, measure);
    va_end(measure);
    if (needed <= 0) {
        va_end(args);
        return needed;
    }
    char buffer[OLTraceConfig::kBufferSize] = {0};
    std::vsnprintf(buffer, sizeof(buffer), format, args);
    va_end(args);
    const size_t length = std::strlen(buffer);

    if (config.getFileCount() == 0) {
        std::fwrite(buffer, 1, length, stdout);
    } else if (file != nullptr) {
        for (int i = 0; i < config.getFileCount(); ++i) {
            const char* entry = config.getFile(i);
            if (entry == nullptr) break;
            if (std::strcmp(entry, file) == 0) {
                std::fwrite(buffer, 1, length, stdout);
                break;
            }
        }
    }
    return static_cast<int>(length);
}

void OLReportLine(const char* text, const char* file, int line) {
    std::ostringstream stream;
    stream << (text == nullptr ? "" : text) << " in:" << (file == nullptr ? "" : file) << " line:" << line
           << "\n";
}
