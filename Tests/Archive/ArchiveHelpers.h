#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "Archive/OxDataFile.h"
#include "Foundation/OxBuffer.h"
#include "Support/TemporaryFolder.h"

// What the tests of archives share.

using FlatFile::kWidget;
constexpr short kRead = OxDataFile::kOpenRead;
constexpr short kEdit = OxDataFile::kOpenRead | OxDataFile::kOpenWrite;
constexpr short kCreate = kEdit | OxDataFile::kOpenCreate;
constexpr short kCreateProtected = kCreate | OxDataFile::kOpenProtected;

inline void Add(OxDataFile& file, const char* name, std::string_view data) {
  file.AddRecord(name, data.size(), data.data());
}

inline std::string Get(OxDataFile& file, const char* name) {
  OxBuffer data;
  return file.GetRecord(name, data) ? std::string(data.view()) : "(none)";
}

/// "name=payload" of every record, in the order of the list.
inline std::vector<std::string> Contents(OxDataFile& file) {
  std::vector<std::string> contents;
  for (OxDataFile::Iterator it = file.Begin(); !(it == file.End()); ++it) {
    OxBuffer data;
    it->GetData(data);
    contents.push_back(std::string(it->GetName().view()) + '=' + std::string(data.view()));
  }
  return contents;
}

/// The file at `path`, which can be opened so.
inline std::unique_ptr<OxFile> Opened(const std::string& path, unsigned long permission) {
  auto file = std::make_unique<OxFile>(path.c_str());
  EXPECT_EQ(file->Open(permission), 0) << path;
  return file;
}

inline std::string Hex(std::string_view bytes) {
  const OxBuffer hex = OxBuffer(bytes.data(), bytes.size()).ConvertToHex();
  return std::string(hex.view());
}
