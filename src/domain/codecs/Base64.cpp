#include "domain/codecs/Base64.h"

#include <climits>

namespace {

const char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr int kNullPointer = -4;
constexpr int kTooSmall = -16;
constexpr int kBadText = -18;

int symbolValue(unsigned char c) {
    if (c >= 'A' && c <= 'Z') return c - 'A';
    if (c >= 'a' && c <= 'z') return c - 'a' + 26;
    if (c >= '0' && c <= '9') return c - '0' + 52;
    if (c == '+') return 62;
    if (c == '/') return 63;
    return -1;
}

}  // namespace

int Base64Encode(const unsigned char* data, int length, char* out, int& outLength) {
    if (data == nullptr || out == nullptr) return kNullPointer;
    if (length <= 0) return 0;
    // In 64 bits: the text of a block near INT_MAX bytes is longer than an int.
    const long long needed = (static_cast<long long>(length) + 2) / 3 * 4 + 1;
    if (outLength < needed) {
        outLength = needed > INT_MAX ? INT_MAX : static_cast<int>(needed);
        return kTooSmall;
    }
    int o = 0;
    for (int i = 0; i < length; i += 3) {
        unsigned value = static_cast<unsigned>(data[i]) << 16;
        int rest = length - i;
        if (rest > 1) value |= static_cast<unsigned>(data[i + 1]) << 8;
        if (rest > 2) value |= data[i + 2];
        out[o++] = kAlphabet[(value >> 18) & 0x3F];
        out[o++] = kAlphabet[(value >> 12) & 0x3F];
        out[o++] = rest > 1 ? kAlphabet[(value >> 6) & 0x3F] : '=';
        out[o++] = rest > 2 ? kAlphabet[value & 0x3F] : '=';
    }
    out[o] = '\0';
    outLength = o;
    return 0;
}

int Base64Decode(const char* text, int length, unsigned char* out, int& outLength) {
    if (text == nullptr || out == nullptr) return kNullPointer;
    if (length <= 0) return 0;
    const unsigned char* in = reinterpret_cast<const unsigned char*>(text);

    // First pass: check the text and count its symbols.
    int symbols = 0;
    int pads = 0;
    for (int i = 0; i < length; ++i) {
        unsigned char c = in[i];
        if (c == '\n') continue;
        if (c == '\r') {
            if (i + 1 < length && in[i + 1] == '\n') {
                ++i;
                continue;
            }
            return kBadText;
        }
        if (c == '=') {
            if (++pads > 2) return kBadText;
            ++symbols;
            continue;
        }
        if (c > 127 || symbolValue(c) < 0 || pads > 0) return kBadText;
        ++symbols;
    }
    if (symbols == 0) return 0;
    const int needed = Base64DecodedRoom(symbols);
    if (outLength < needed) {
        outLength = needed;
        return kTooSmall;
    }

    // Second pass: whole groups of four symbols.
    int written = 0;
    int group[4];
    int count = 0;
    int groupPads = 0;
    for (int i = 0; i < length; ++i) {
        unsigned char c = in[i];
        if (c == '\n' || c == '\r') continue;
        if (c == '=') {
            group[count++] = 0;
            ++groupPads;
        } else {
            group[count++] = symbolValue(c);
        }
        if (count < 4) continue;
        unsigned value = (static_cast<unsigned>(group[0]) << 18) | (static_cast<unsigned>(group[1]) << 12) |
                         (static_cast<unsigned>(group[2]) << 6) | static_cast<unsigned>(group[3]);
        out[written++] = static_cast<unsigned char>(value >> 16);
        if (groupPads < 2) out[written++] = static_cast<unsigned char>(value >> 8);
        if (groupPads < 1) out[written++] = static_cast<unsigned char>(value);
        count = 0;
        groupPads = 0;
    }
    outLength = written;
    return 0;
}

int Base64DecodedRoom(int symbols) {
    if (symbols <= 0) return 0;
    return static_cast<int>((static_cast<long long>(symbols) * 6 + 7) / 8);
}
