// Base64 text of a peer: the decoder first tells the room it needs, then
// decodes into a block of exactly that size; what it yields must survive an
// encode and a second decode.
#include <algorithm>
#include <vector>

#include "FuzzSupport.h"
#include "domain/codecs/Base64.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size > kMaxDatagram) return 0;
    const char* text = reinterpret_cast<const char*>(data);
    const int length = static_cast<int>(size);

    unsigned char probe = 0;
    int needed = 0;
    const int asked = Base64Decode(text, length, &probe, needed);
    if (asked != -16) return 0;  // not base64, or nothing to decode
    // DetectionAreaV2 sizes its block by this bound.
    if (needed < 1 || needed > Base64DecodedRoom(length)) __builtin_trap();

    std::vector<unsigned char> bytes(static_cast<size_t>(needed));
    int written = needed;
    if (Base64Decode(text, length, bytes.data(), written) != 0 || written > needed) __builtin_trap();
    if (written == 0) return 0;

    std::vector<char> encoded(static_cast<size_t>(written + 2) / 3 * 4 + 1);
    int encodedLength = static_cast<int>(encoded.size());
    if (Base64Encode(bytes.data(), written, encoded.data(), encodedLength) != 0) __builtin_trap();
    std::vector<unsigned char> back(static_cast<size_t>(Base64DecodedRoom(encodedLength)));
    int backLength = static_cast<int>(back.size());
    if (Base64Decode(encoded.data(), encodedLength, back.data(), backLength) != 0 || backLength != written ||
        !std::equal(bytes.begin(), bytes.begin() + written, back.begin())) {
        __builtin_trap();
    }
    return 0;
}
