#pragma once

#include <cstdio>
#include <string>

#include "devsearch/NetVideoDeviceInfo.h"

// How search and range print the devices they find: a table with a header,
// or one JSON object per line whose keys are the field names of the record.
class DevicePrinter {
  public:
    DevicePrinter(FILE* out, bool json) : m_pOut(out), m_bJson(json) {}

    // The table header; nothing in JSON mode.
    void begin();
    void print(const NetVideoDeviceInfo& record);

    static std::string toJson(const NetVideoDeviceInfo& record);

  private:
    FILE* m_pOut;
    bool m_bJson;
};

// Text in JSON string syntax, quotes included. Bytes are passed through, only
// quote, backslash and control characters are escaped.
std::string jsonString(const std::string& text);
