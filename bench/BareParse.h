#pragma once

#include <benchmark/benchmark.h>
#include <tinyxml.h>

#include <string>

// The yardstick of the parsing benchmarks: TinyXML alone parsing `body`, as
// the protocol's parsers hand it a document, once per iteration. A tab size
// of 0 turns TinyXML's row and column tracking off (4 is its default).
inline void runBareParse(benchmark::State& state, const std::string& body, int tabSize = 4) {
    for (auto _ : state) {
        TiXmlDocument document;
        document.SetTabSize(tabSize);
        document.Parse(body.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
        if (document.Error()) {
            state.SkipWithError("the body is not a document");
            break;
        }
        benchmark::DoNotOptimize(document.RootElement());
    }
}
