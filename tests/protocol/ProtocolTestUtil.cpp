#include "protocol/ProtocolTestUtil.h"

#include "protocol/SDKCommandHeadParser.h"

namespace protocol_test {

Bytes datagram(unsigned commandId, const Bytes& body, uint32_t declaredLength) {
    SDKCommandHeadInfo head;
    head.nVersion = 1;
    head.nCommandID = commandId;
    head.nPayloadLength = declaredLength;
    unsigned char bytes[SDKCommandHeadParser::kHeadLength];
    SDKCommandHeadParser::encodeHead(head, bytes);
    Bytes out(bytes, bytes + sizeof(bytes));
    out.insert(out.end(), body.begin(), body.end());
    return out;
}

}  // namespace protocol_test
