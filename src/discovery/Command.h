#pragma once

#include <string>

#include "discovery/CommandHead.h"

class CommandBuffer;

// Base of the three commands on the multicast receive port: a head and a body
// that each derived class encodes and decodes. Results are 0 or a negative code.
class Command {
  public:
    virtual ~Command();
    virtual int encode(CommandBuffer& out) = 0;
    virtual int decode(CommandBuffer& in) = 0;

    void setCommandId(int id) { m_objHead.m_nCommandId = id; }
    int getCommandId() const { return m_objHead.m_nCommandId; }
    void setBodyLength(int length) { m_objHead.m_nBodyLength = length; }
    int getBodyLength() const { return m_objHead.m_nBodyLength; }
    const CommandHead& getHead() const { return m_objHead; }

    // Allocates `buffer` to 76 bytes and writes the head; -2 on failure.
    int encodeHead(CommandBuffer& buffer);
    // Reads the head at the cursor; -402 when the buffer holds under 76 bytes.
    int decodeHead(CommandBuffer& buffer);

  protected:
    // The usual frame of an encode: head with bodyLength = `length` followed by
    // `length` bytes of `body`, in a buffer of exactly that size.
    int encodeFrame(CommandBuffer& out, const void* body, int length);
    // Checks the identifier and that the body fills the rest of the buffer:
    // 0, -401 for another identifier, -404 for a wrong length.
    int checkFrame(const CommandBuffer& in, int expectedId) const;
    // The frame of a text body: `text` and its terminating zero.
    int encodeTextFrame(CommandBuffer& out, const std::string& text);
    // Reads the head, checks the frame and copies the whole body into `text`:
    // 0, the result of decodeHead or checkFrame, or -404 when the body is not
    // inside the buffer.
    int decodeTextFrame(CommandBuffer& in, int expectedId, std::string& text);

    CommandHead m_objHead;
};
