#include <filesystem>
#include <string>

#include <benchmark/benchmark.h>
#include <unistd.h>

#include "Archive/OxDataFile.h"
#include "Archive/Scramble.h"
#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"

namespace {

using FlatFile::kWidget;
constexpr short kRead = 1;
constexpr short kReadWriteCreate = 11;

// An archive in the temporary folder, deleted with this object.
class TemporaryArchive {
 public:
  TemporaryArchive()
      : path_((std::filesystem::temp_directory_path() / ("ox-benchmark-" + std::to_string(getpid())))
                  .c_str()) {}
  TemporaryArchive(const TemporaryArchive&) = delete;
  TemporaryArchive& operator=(const TemporaryArchive&) = delete;
  ~TemporaryArchive() { std::filesystem::remove(path_.c_str()); }

  const OxString& path() const { return path_; }

  void Fill(std::int64_t records) const {
    OxDataFile file(kWidget, path_);
    file.Open(kReadWriteCreate);
    for (std::int64_t i = 0; i < records; ++i) file.AddRecord(Name(i), 10, "0123456789");
    file.Close();
  }

  static OxString Name(std::int64_t i) {
    OxString name;
    name.format("Images/icon-%07d.png", static_cast<int>(i));
    return name;
  }

 private:
  OxString path_;
};

void BM_AddRecords(benchmark::State& state) {
  const TemporaryArchive archive;
  for (auto _ : state) archive.Fill(state.range(0));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_AddRecords)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

void BM_LookUp(benchmark::State& state) {
  const TemporaryArchive archive;
  archive.Fill(state.range(0));
  OxDataFile file(kWidget, archive.path());
  file.Open(kRead);
  std::int64_t i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(file.FindRecord(TemporaryArchive::Name(i)));
    i = (i + 7919) % state.range(0);
  }
}
BENCHMARK(BM_LookUp)->RangeMultiplier(10)->Range(100, 100000);

void BM_Iterate(benchmark::State& state) {
  const TemporaryArchive archive;
  archive.Fill(state.range(0));
  for (auto _ : state) {
    OxDataFile file(kWidget, archive.path());
    file.Open(kRead);
    std::size_t bytes = 0;
    for (OxDataFile::Iterator it = file.Begin(); !(it == file.End()); ++it)
      bytes += (*it).GetName().size();
    benchmark::DoNotOptimize(bytes);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(BM_Iterate)->RangeMultiplier(10)->Range(100, 100000)->Complexity(benchmark::oN);

void BM_Scramble(benchmark::State& state) {
  const std::string data(static_cast<std::size_t>(state.range(0)), 'x');
  for (auto _ : state) benchmark::DoNotOptimize(WobScrambleData(data.data(), data.size(), true));
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * state.range(0));
}
BENCHMARK(BM_Scramble)->Arg(100)->Arg(1 << 20);

}  // namespace
