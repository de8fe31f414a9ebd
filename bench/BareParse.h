#pragma once

#include <benchmark/benchmark.h>
#include <tinyxml.h>

#include <string>

// The yardstick of the parsing benchmarks: TinyXML alone parsing `body`, as
// the protocol's parsers hand it a document, once per iteration.
inline void runBareParse(benchmark::State& state, const std::string& body) {
    for (auto _ : state) {
        TiXmlDocument document;
        document.Parse(body.c_str(), nullptr, TIXML_ENCODING_UNKNOWN);
        if (document.Error()) {
            state.SkipWithError("the body is not a document");
            break;
        }
        benchmark::DoNotOptimize(document.RootElement());
    }
}
