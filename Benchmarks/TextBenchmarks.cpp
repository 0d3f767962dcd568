#include <string>

#include <benchmark/benchmark.h>

#include "Utilities/TextDecoding.h"

namespace {

std::string Description(const char* declaration, const char* word, std::size_t bytes) {
  std::string text = declaration;
  text += "<widget>\n";
  while (text.size() < bytes) {
    text += "  <image src=\"Images/face.png\" alt=\"";
    text += word;
    text += "\"/>\n";
  }
  return text + "</widget>\n";
}

void Decode(benchmark::State& state, const std::string& bytes) {
  const OxBuffer buffer(bytes.data(), bytes.size());
  for (auto _ : state) {
    unsigned int encoding = 0xFFFFFFFF;
    benchmark::DoNotOptimize(WobHandleCharacterEncodings(buffer, encoding));
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
}

void BM_DecodeUtf8(benchmark::State& state) {
  Decode(state, Description("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n", "\xC3\x9Chr", 1 << 20));
}
BENCHMARK(BM_DecodeUtf8);

void BM_DecodeLatin1(benchmark::State& state) {
  Decode(state, Description("<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n", "\xDChr", 1 << 20));
}
BENCHMARK(BM_DecodeLatin1);

// No encoding is declared, but every line begins like a declaration, so the search has to read all of them.
void BM_SearchForDeclaration(benchmark::State& state) {
  std::string text;
  while (text.size() < static_cast<std::size_t>(state.range(0))) text += "<?<meta ";
  const OxString searched(text.c_str());
  for (auto _ : state) benchmark::DoNotOptimize(WobCheckForExplicitEncoding(searched));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_SearchForDeclaration)->RangeMultiplier(10)->Range(1000, 1000000)->Complexity(benchmark::oN);

}  // namespace
