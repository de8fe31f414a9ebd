#pragma once

// Trace entry and source-line report.
//
// OLTrace prints to standard output when the configured level is at least the
// call's level (1 failures, 2 ordinary events, 3 detail). The level stands at
// 0, so in the default configuration nothing is printed.

// Configuration of the trace entry, built on first use.
class OLTraceConfig {
  public:
    static constexpr int kMaxFiles = 50;
    static constexpr int kBufferSize = 2048;

    static OLTraceConfig& getInstance();

    bool isEnabled() const { return m_bEnabled; }
    int getLevel() const { return m_nLevel; }
    int getFileCount() const { return m_nCount; }
    const char* getFile(int i) const { return (i >= 0 && i < m_nCount) ? m_pFiles[i] : nullptr; }

    // Not used by the library itself: its configuration stays at the defaults.
    // They exist for tools and tests, and must be called before other threads trace.
    void setEnabled(bool enabled) { m_bEnabled = enabled; }
    void setLevel(int level) { m_nLevel = level; }
    // Adds a file name to the filter (the pointer is kept, not copied); false when full.
    bool addFile(const char* file);
    void clearFiles();

  private:
    OLTraceConfig();

    bool m_bEnabled;
    int m_nLevel;
    const char* m_pFiles[kMaxFiles];
    int m_nCount;
};

// Formats at most 2047 characters and writes them to standard output, unless the
// level or the file filter holds the call back. Returns the formatted length
// (0 when the call does not pass the level).
int OLTrace(int level, const char* file, const char* format, ...) __attribute__((format(printf, 3, 4)));

// Composes text + " in:" + file + " line:" + line and drops it: the report has no sink.
void OLReportLine(const char* text, const char* file, int line);
