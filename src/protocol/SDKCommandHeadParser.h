#pragma once

#include "protocol/CommandHeadInfo.h"
#include "protocol/ICommandHeadParser.h"

// The 24-byte head of the SDK protocol, big-endian:
//   0  magic 0xAF 0xAF         2  nVersion        4  nSequence
//   6  flag byte A (bit 7)     7  flag byte B (bit 7)
//   8  nCommandID              12 nContext        16 nPayloadLength
//   20 reserved (0)            22 xor of bytes 0..21    23 end mark '#'
class SDKCommandHeadParser : public ICommandHeadParser {
  public:
    static constexpr unsigned kHeadLength = 24;
    static constexpr unsigned char kMagic = 0xAF;
    static constexpr unsigned char kEndMark = 0x23;
    static constexpr unsigned char kFlagBit = 0x80;

    // Why a head was refused; the parser itself only answers true or false.
    enum class HeadCheck { Ok, TooShort, BadMagic, BadEndMark, BadCheckByte };

    ~SDKCommandHeadParser() override;

    unsigned getHeadLength() override { return kHeadLength; }
    // Refuses a head that is not an SDK head (m_nProtocolType other than 1).
    bool createCommandHead(const SafePointer<CommandHeadInfo>& head, CommandBuffer& out) override;
    bool parseCommandHead(const char* data, unsigned length, SafePointer<CommandHeadInfo>& head) override;
    bool parseCommandHead(const CommandBuffer& in, SafePointer<CommandHeadInfo>& head) override;

    // The 24 head bytes of `head` (its own m_nProtocolType is not looked at).
    static void encodeHead(const SDKCommandHeadInfo& head, unsigned char bytes[kHeadLength]);
    // Allocates `out` with 24 bytes and writes the head into it.
    static bool writeHead(const SDKCommandHeadInfo& head, CommandBuffer& out);
    // Checks the framing of the first 24 of `length` bytes.
    static HeadCheck checkHead(const unsigned char* data, unsigned length);
    // Checks the framing and on success stores the fields into `head`.
    static bool readHead(const unsigned char* data, unsigned length, SDKCommandHeadInfo& head);
    // Exclusive or of bytes 0 to 21.
    static unsigned char checkByte(const unsigned char* bytes);
};
