#pragma once

#include <cstdint>
#include <cstdio>

// A C stream; closed by the destructor.
class OLFile {
  public:
    // Mode bits of open(): exactly one of Read, Write, Update, with modifiers.
    enum Mode {
        kModeRead = 0x01,    // "rb"
        kModeWrite = 0x02,   // "ab"; with kModeTruncate "wb"
        kModeUpdate = 0x04,  // "r+b"; with kModeAppend "a+b"; with both modifiers "w+b"
        kModeAppend = 0x20,
        kModeTruncate = 0x40,
    };

    OLFile() = default;
    virtual ~OLFile();
    OLFile(const OLFile&) = delete;
    OLFile& operator=(const OLFile&) = delete;

    // False for a null path, a mode with none or more than one of the bits 1, 2, 4, or a failed open.
    bool open(const char* path, int mode);
    bool close();
    bool flush();
    // Bytes written; -1 on a null pointer, a closed file or a stream error.
    int write(const char* data, unsigned size);
    // Length in bytes; -1 when closed.
    int64_t getLength();
    bool isOpen() const { return m_pFile != nullptr; }

    // The fopen mode for the bits, or null when they are not valid.
    static const char* modeString(int mode);

  private:
    FILE* m_pFile = nullptr;
};
