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

// The datagram builders of devsim and of the tests, all through the library's
// own encoders where it has them; false when the encoder refuses.
using Bytes = std::vector<unsigned char>;

// An SDK command `commandId` with `summary` (or, when null, nothing) as body.
bool buildSummaryAnswer(const DeviceSummaryInfo* summary, uint32_t commandId, uint16_t sequence, Bytes& out);
inline bool buildSummaryAnswer(const DeviceSummaryInfo& summary, uint32_t commandId, uint16_t sequence,
                               Bytes& out) {
    return buildSummaryAnswer(&summary, commandId, sequence, out);
}
// An announcement for port 30003: envelope, head and body of `form`.
bool buildAnnouncement(const SimDeviceConfig& config, const DeviceSummaryInfo& summary, Bytes& out);
// The 24-byte envelope in front of an announcement of `payloadLength` bytes.
void appendEnvelope(Bytes& out, uint32_t payloadLength, uint8_t marker = 0xFF);
// A 76-byte announcement head with any identifier and body length, then `body`.
Bytes announcementCommand(int32_t commandId, int32_t bodyLength, const Bytes& body);

// Byte helpers for hand-made datagrams.
// The envelope (marker, payload length) followed by `payload`.
Bytes enveloped(const Bytes& payload, uint8_t marker = 0xFF);
// Text bytes, with the terminating zero unless `withZero` is false.
Bytes textBytes(const std::string& text, bool withZero = true);
// The readable bytes of a buffer.
Bytes bytesOf(const CommandBuffer& buffer);
// A buffer holding `bytes` in a block exactly as large (or of `capacity`), as
// the decoders see a received datagram.
CommandBuffer bufferOf(const Bytes& bytes, unsigned capacity = 0);

// The 24-byte SDK head with a correct check byte.
Bytes sdkHead(uint32_t commandId, uint16_t sequence, uint32_t payloadLength);
// The command identifier and sequence of an SDK datagram; false when shorter than a head.
bool readSdkHead(const Bytes& datagram, uint32_t& commandId, uint16_t& sequence);

// SDK datagrams that no engine may take for an answer, by name: cut, wrong
// check byte, lengths past the end, bodies that are no document, too deep or
// too large, no summary, empty, longer than the transport takes.
struct MalformedDatagram {
    std::string name;
    Bytes bytes;
};
std::vector<MalformedDatagram> malformedAnswers(uint32_t answerCommand);
