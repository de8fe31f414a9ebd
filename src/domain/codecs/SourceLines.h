#pragma once

// Codec lines that say where they were printed: the format begins "%s%d",
// which take the source file's name and the line; the values follow. They go
// to standard output, beside the codecs' other lines.

#include <cstdio>

namespace domain_codec {

template <class... Values>
void printSourceLine(const char* file, int line, const char* format, Values... values) {
    std::printf(format, file, line, values...);
}

}  // namespace domain_codec
