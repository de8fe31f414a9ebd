#pragma once

// Lists that travel as one attribute text: formatted pieces joined by ";".

#include <string>
#include <vector>

namespace domain_codec {

// Text lists: pieces joined by ";", none behind the last one.
inline std::string joinPieces(const std::vector<std::string>& pieces) {
    std::string text;
    for (size_t i = 0; i < pieces.size(); ++i) {
        if (i != 0) text += ';';
        text += pieces[i];
    }
    return text;
}

// Splits at each ";"; an empty text gives no piece at all.
inline std::vector<std::string> splitPieces(const std::string& text) {
    std::vector<std::string> pieces;
    if (text.empty()) return pieces;
    size_t begin = 0;
    for (;;) {
        size_t end = text.find(';', begin);
        if (end == std::string::npos) {
            pieces.push_back(text.substr(begin));
            return pieces;
        }
        pieces.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
}

}  // namespace domain_codec
