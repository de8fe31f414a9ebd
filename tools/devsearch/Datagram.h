#pragma once

#include <string>
#include <vector>

#include "Product/Technic/SafePointer.h"
#include "protocol/CommandParam.h"

// Parses one raw datagram with the library's SDK parser. On failure `reason`
// holds one line that says what was wrong with it.
bool parseDatagram(const std::vector<unsigned char>& bytes, SafePointer<CommandParam>& param,
                   std::string& reason);

// The name of the body format of a command identifier, e.g. "XML" or
// "PTZOperationBodyParser".
std::string bodyFormatName(unsigned commandId);
