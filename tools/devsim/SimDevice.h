#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "domain/records/DeviceSummaryInfo.h"
#include "transport/CommandBuffer.h"

// What a simulated device is and says. Every field is generated from the
// device's index unless an option fixes it.
struct SimDeviceConfig {
    std::string address;  // dotted IPv4 address the device lives on
    int index = 0;        // 0-based
    int form = 23;        // announcement form: 16, 20 or 23
    std::string idPrefix = "SIM";
    std::string model;  // empty: one of the built-in models by index
    std::string manufacturer = "Simulated";
    std::string deviceTime;  // fixed for the whole run, so repeats are equal
    uint16_t controlPort = 30001;
    uint16_t httpPort = 80;
};

// The summary record that a device reports, filled from its configuration.
DeviceSummaryInfo makeSummary(const SimDeviceConfig& config);

// Datagram builders; false when the library's encoder refuses.
// An SDK command `commandId` with the device's DeviceSummaryInfo as body.
bool buildSummaryAnswer(const DeviceSummaryInfo& summary, uint32_t commandId, uint16_t sequence,
                        std::vector<unsigned char>& out);
// An announcement for port 30003: envelope, head and body of `form`.
bool buildAnnouncement(const SimDeviceConfig& config, const DeviceSummaryInfo& summary,
                       std::vector<unsigned char>& out);
// The 24-byte envelope in front of an announcement of `payloadLength` bytes.
void appendEnvelope(std::vector<unsigned char>& out, uint32_t payloadLength);
