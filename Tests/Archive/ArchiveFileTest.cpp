#include <cerrno>
#include <cstring>
#include <random>
#include <span>
#include <string>

#include <gtest/gtest.h>

#include "Archive/ArchiveFile.h"
#include "Support/FaultyFileOps.h"
#include "Support/TemporaryFolder.h"

namespace {

using Support::FaultyFileOps;
using Support::TemporaryFolder;

// An archive that gathers its appends against a string: reads see every write, and a failed operation can be
// tried again.
TEST(ArchiveFile, GatheredAppendsAreSeenAndSurviveFailures) {
  const TemporaryFolder folder;
  std::mt19937 random(11);
  const std::string source = [&] {
    std::string text(300000, ' ');
    for (char& c : text) c = static_cast<char>(random());
    return text;
  }();
  for (int failCall = 0; failCall < 40; ++failCall) {
    const FaultyFileOps faults({.failCall = failCall, .error = ENOSPC, .mostBytes = 100001});
    ArchiveFile file;
    const OxString path(folder.Path(std::to_string(failCall)).c_str());
    const auto tried = [](auto operation) {
      return operation() == kStatusOk || operation() == kStatusOk;
    };
    if (!tried([&] { return file.OpenFile(path, 7, nullptr); })) continue;
    file.GatherAppends();
    std::string model;
    for (int i = 0; i < 60; ++i) {
      const std::size_t count = random() % 3 == 0 ? random() % source.size() : random() % 5000;
      const std::size_t at = random() % 4 == 0 ? random() % (model.size() + 1) : model.size();
      const auto bytes =
          std::as_bytes(std::span(source)).subspan(random() % (source.size() - count), count);
      const Posix::Piece pieces[] = {bytes.first(count / 3), bytes.subspan(count / 3)};
      ASSERT_TRUE(tried([&] { return file.WriteAt(at, pieces); })) << failCall << ' ' << i;
      model.resize(std::max(model.size(), at + count));
      std::memcpy(model.data() + at, bytes.data(), count);
      if (random() % 10 == 0) {
        model.resize(model.size() - random() % (model.size() + 1) / (1 + random() % 1000));
        ASSERT_TRUE(tried([&] { return file.SetEOF(model.size()); }));
      }
      ASSERT_EQ(file.GoToEOF(), kStatusOk);
      ASSERT_EQ(file.GetPosition(), model.size());
      if (random() % 10 != 0) continue;
      std::string back(model.size(), ' ');
      std::size_t got = 0;
      ASSERT_TRUE(tried([&] { return file.ReadAt(0, std::as_writable_bytes(std::span(back)), got); }));
      ASSERT_EQ(back, model);
    }
    const FileStatus closed = file.Close();
    ASSERT_TRUE(closed != kStatusOk || folder.Read(std::to_string(failCall)) == model);
  }
}

}  // namespace
