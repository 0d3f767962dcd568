#include <functional>
#include <new>
#include <span>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Archive/NameTable.h"
#include "Archive/RecordIndex.h"
#include "Support/FailingAllocations.h"

namespace {

using Support::FailingAllocations;

// Entries that all have one name are told apart by the literal procedure, in linear time.
TEST(RecordIndex, AnIndexOfOneNameTakesNoTime) {
  constexpr std::size_t kEntries = 300000;
  const std::vector<std::byte> zeros(kEntries * FlatFile::kIndexEntrySize);
  NameTable names(std::string_view("x\0", 2));
  RecordIndex index;
  index.Load(zeros);
  EXPECT_EQ(index.Find("X", names)->slot, (kEntries - 1) / 2);
  index.Remove(0, names);
  EXPECT_EQ(index.Find("X", names)->slot, kEntries / 2);
  index.Insert(0, {0, 0, 72}, names);
  EXPECT_EQ(index.Find("X", names)->slot, (kEntries - 1) / 2);
}

std::string Encoded(RecordIndex index) {
  const std::span<const std::byte> bytes = index.Encode();
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

TEST(RecordIndex, WhatThrowsLeavesTheIndexAsItWas) {
  const std::string payload = [] {
    std::string bytes;
    for (int i = 0; i < 11; ++i) bytes.append(1, static_cast<char>(2 * i)).append(15, '\0');
    return bytes;
  }();
  const std::string text("a\0b\0c\0d\0e\0f\0g\0h\0i\0j\0k\0l\0", 24);
  const struct {
    const char* name;
    std::function<void(RecordIndex&, NameTable&)> run;
  } operations[] = {
      {"Load", [](RecordIndex& index, NameTable&) { index.Load(std::vector<std::byte>(320)); }},
      {"Find", [](RecordIndex& index, NameTable& names) { index.Find("B", names); }},
      {"FindNameAt", [](RecordIndex& index, NameTable& names) { index.FindNameAt(4, names); }},
      {"append",
       [](RecordIndex& index, NameTable& names) {
         index.Insert(11, {22, 0, 7}, names);
       }},
      {"insert",
       [](RecordIndex& index, NameTable& names) {
         index.Insert(3, {22, 0, 7}, names);
       }},
      {"fill",
       [](RecordIndex& index, NameTable& names) {
         index.Insert(2, {22, 0, 7}, names);
       }},
  };
  for (const auto& [name, run] : operations) {
    for (const bool found : {false, true}) {
      bool fired = true;
      for (int n = 1; fired; ++n) {
        SCOPED_TRACE(testing::Message() << name << ' ' << found << ' ' << n);
        NameTable names{text};
        RecordIndex index;
        index.Load(std::as_bytes(std::span(payload)));
        if (found) index.Find("b", names);
        index.Remove(2, names);
        const std::string good = Encoded(index);
        bool threw = false;
        {
          const FailingAllocations allocations(n);
          try {
            run(index, names);
          } catch (const std::bad_alloc&) {
            threw = true;
          }
          fired = allocations.Fired();
        }
        if (!threw) continue;
        EXPECT_EQ(Encoded(index), good);
        EXPECT_EQ(index.Find("K", names)->slot, 10U);
        EXPECT_FALSE(index.Find("C", names) || index.Find("l", names));
        index.Insert(2, {4, 0, 9}, names);
        EXPECT_EQ(index.Find("C", names)->position, 9U);
      }
    }
  }
}

}  // namespace
