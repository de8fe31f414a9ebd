#pragma once

// Base64 of RFC 4648 (alphabet with "+" and "/", "=" padding), used by the
// binary value of DetectionAreaV2.
//
// Both return 0 on success, -4 for a null pointer, -16 when outLength is too
// small (the needed size is then written to outLength); the decoder returns -18
// for a text that is not base64. A length of 0 gives 0 and writes nothing.

// outLength: room in out on entry (the text plus its terminator must fit), the
// text length without terminator on success.
int Base64Encode(const unsigned char* data, int length, char* out, int& outLength);

// Skips line ends (LF, CR LF). Asks for (symbols * 6 + 7) / 8 bytes, counting
// each "=" as a symbol; a trailing group of fewer than four symbols yields
// nothing. outLength: room in out on entry, bytes written on success.
int Base64Decode(const char* text, int length, unsigned char* out, int& outLength);

// The room that Base64Decode asks for a text of `symbols` alphabet bytes and
// "=" (line ends not counted): (symbols * 6 + 7) / 8, computed without overflow.
// Every text of n bytes decodes within Base64DecodedRoom(n).
int Base64DecodedRoom(int symbols);
