#include <string>

#include <benchmark/benchmark.h>

#include "Foundation/OxString.h"
#include "Xml/OxXMLDoc.h"
#include "Xml/OxXMLError.h"
#include "Xml/OxXMLParser.h"
#include "Xml/OxXMLScanner.h"

namespace {

OxString Description(std::int64_t elements) {
  std::string text = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<widget>\n";
  for (std::int64_t i = 0; i < elements; ++i) {
    text += "  <image src=\"Images/face-" + std::to_string(i) +
            ".png\" hOffset=\"10\">One &amp; two</image>\n";
  }
  text += "</widget>\n";
  return OxString(text.data(), text.size());
}

// Names and what stands between them, as a parser's tokens fall.
void BM_Scan(benchmark::State& state) {
  const OxString text = Description(state.range(0));
  for (auto _ : state) {
    OxXMLScanner scanner;
    scanner.SetData(text, 1);
    OxString name;
    while (scanner.PeekByte() != 0) {
      if (!scanner.MatchName(name)) scanner.TakeByte();
      scanner.SkipWhitespace();
    }
    benchmark::DoNotOptimize(name);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Scan)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

void BM_Parse(benchmark::State& state) {
  const OxString text = Description(state.range(0));
  for (auto _ : state) {
    Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
    OxXMLParser parser;
    const OxXMLError error = parser.Parse(text, document);
    benchmark::DoNotOptimize(error);
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Parse)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

void BM_WriteOut(benchmark::State& state) {
  const OxString text = Description(state.range(0));
  Hux::SmartPtr<OxXMLDoc> document = OxXMLDoc::Make();
  OxXMLParser().Parse(text, document);
  for (auto _ : state) benchmark::DoNotOptimize(document->GetAsString(0));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_WriteOut)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

}  // namespace
