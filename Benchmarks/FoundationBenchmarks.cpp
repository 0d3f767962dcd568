#include <string>

#include <benchmark/benchmark.h>

#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"

namespace {

std::string Sentence(std::size_t bytes, bool ascii) {
  const std::string unit = ascii ? "The clock shows the time. "
                                 : "L\xC3\xA4nge der Stra\xC3\x9F"
                                   "e, 5 \xE2\x82\xAC. ";
  std::string text;
  while (text.size() < bytes) text += unit;
  return text;
}

void BM_AppendCharacters(benchmark::State& state) {
  for (auto _ : state) {
    OxString text;
    for (std::int64_t i = 0; i < state.range(0); ++i) text += 'x';
    benchmark::DoNotOptimize(text);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_AppendCharacters)->RangeMultiplier(10)->Range(100, 1000000)->Complexity(benchmark::oN);

void BM_SetText(benchmark::State& state) {
  const std::string source = Sentence(static_cast<std::size_t>(state.range(0)), state.range(1) != 0);
  for (auto _ : state) benchmark::DoNotOptimize(OxString(source.data(), source.size()));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * source.size()));
}
BENCHMARK(BM_SetText)->Args({10, 1})->Args({1 << 20, 1})->Args({1 << 20, 0});

// Texts that differ only in the case of their last letter.
void BM_CompareNoCase(benchmark::State& state) {
  const OxString a((Sentence(static_cast<std::size_t>(state.range(0)), true) + "a").c_str());
  const OxString b((Sentence(static_cast<std::size_t>(state.range(0)), true) + "A").c_str());
  for (auto _ : state) benchmark::DoNotOptimize(a.compare(b, OxString::kCaseInsensitive));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_CompareNoCase)->RangeMultiplier(10)->Range(10, 100000)->Complexity(benchmark::oN);

void BM_FindInText(benchmark::State& state) {
  const OxString text(Sentence(1 << 20, state.range(0) != 0).c_str());
  for (auto _ : state) benchmark::DoNotOptimize(text.find("no such words", 0));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * text.size()));
}
BENCHMARK(BM_FindInText)->Arg(1)->Arg(0);

void BM_Base64(benchmark::State& state) {
  const std::string bytes = Sentence(static_cast<std::size_t>(state.range(0)), false);
  for (auto _ : state) {
    OxBuffer buffer(bytes.data(), bytes.size());
    buffer.ToBase64();
    benchmark::DoNotOptimize(buffer.FromBase64());
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * bytes.size()));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Base64)->RangeMultiplier(10)->Range(100, 1000000)->Complexity(benchmark::oN);

}  // namespace
