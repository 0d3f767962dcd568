#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "Archive/FlatFileFormat.h"
#include "Foundation/OxString.h"

/// The archive engine's procedures, step by step on a file in memory: no caches, no deferred writes, no lookup table.
/// It is slow and plain, and the real engine is compared with it.
class LiteralArchive {
 public:
  explicit LiteralArchive(std::uint32_t typeCode, bool isProtected = false);

  /// Writes index and name table, as closing does.
  void Close();
  /// Reads a closed archive's bytes, which may be damaged. False if they are not an archive of this type.
  bool Open(std::string file);
  /// Name and stored payload of every record, in the order of the used list.
  std::vector<std::pair<OxString, std::string>> Records() const;
  void AddRecord(const OxString& name, const std::string& data);
  bool DeleteRecord(const OxString& name);
  bool GetRecord(const OxString& name, std::string& data) const;

  const std::string& file() const { return file_; }

 private:
  enum class Type { kRecord, kIndex, kNameTable };
  using Direction = std::uint64_t FlatFile::RecordHeader::*;

  bool ReadHeader(std::uint64_t position, FlatFile::RecordHeader& header) const;
  void WriteAt(std::uint64_t position, const void* bytes, std::size_t count);
  void WriteHeader(std::uint64_t position, const FlatFile::RecordHeader& header);
  void WriteFileHeader();
  std::string ReadPayload(std::uint64_t position) const;

  std::string NameAt(std::uint32_t offset) const;
  bool LookUp(const OxString& name, std::uint64_t& position, std::size_t& slot) const;
  bool Matches(const OxString& name, std::size_t slot, int& order) const;
  void RemoveFromIndex(std::uint32_t nameOffset);

  void SetLink(std::uint64_t block, Direction direction, std::uint64_t value);
  void Link(std::uint64_t block, FlatFile::RecordHeader& header, FlatFile::LinkedList& list);
  void Unlink(FlatFile::RecordHeader& header, FlatFile::LinkedList& list);

  void DeleteBlock(std::uint64_t block);
  bool FindFreeBlock(std::size_t needed, std::uint64_t& block, FlatFile::RecordHeader& header);
  void WriteData(const OxString& name, const std::string& data, Type type);

  std::string file_;
  FlatFile::FileHeader header_;
  std::vector<FlatFile::IndexEntry> index_;
  std::string names_;
};
