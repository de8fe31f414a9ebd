#include "protocol/ProtocolTestUtil.h"

#include <algorithm>

#include "protocol/SDKCommandHeadParser.h"

namespace protocol_test {

Bytes datagram(unsigned commandId, const Bytes& body, uint32_t declaredLength) {
    SDKCommandHeadInfo head;
    head.nVersion = 1;
    head.nCommandID = commandId;
    head.nPayloadLength = declaredLength;
    Bytes out(SDKCommandHeadParser::kHeadLength + body.size());
    SDKCommandHeadParser::encodeHead(head, out.data());
    std::copy(body.begin(), body.end(), out.begin() + SDKCommandHeadParser::kHeadLength);
    return out;
}

}  // namespace protocol_test
