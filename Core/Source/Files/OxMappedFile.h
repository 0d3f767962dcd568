#pragma once

#include <cstdint>
#include <string_view>

#include "Foundation/OxString.h"

/// A whole regular file, mapped read-only into memory.
///   Shape:  closed -> Open() -> open -> Close() -> closed; the destructor unmaps.
///   Limits: 1 byte to 4 GiB - 1; an empty or a longer file cannot be mapped.
///   Errors: true or false.
///   The file must not shrink while it is mapped: reading past its end then ends the process (SIGBUS).
class OxMappedFile {
 public:
  OxMappedFile() = default;
  OxMappedFile(const OxMappedFile&) = delete;
  OxMappedFile& operator=(const OxMappedFile&) = delete;
  ~OxMappedFile() { Close(); }

  /// Maps the file, which need not stay open or keep its name. On failure the object is closed.
  bool Open(const OxString& path);
  void Close();                                        ///< Nothing if closed.
  bool IsOpen() const { return address_ != nullptr; }  ///< Since a successful Open().

  /// The first byte, or null when closed.
  const char* GetAddress() const { return address_; }
  std::uint32_t GetSize() const { return size_; }              ///< Bytes; 0 when closed.
  std::string_view view() const { return {address_, size_}; }  ///< The whole file; empty when closed.

  /// Copies what there is of `count` bytes from `offset`; `actual`, unless null, receives the number.
  /// True only if all were there. False, and `actual` left alone, when `offset` is not below the size.
  bool ReadChunk(unsigned long offset, unsigned long count, void* buffer, unsigned long* actual) const;

 private:
  const char* address_ = nullptr;
  std::uint32_t size_ = 0;
};
