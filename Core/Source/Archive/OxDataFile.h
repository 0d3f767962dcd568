#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "Archive/ArchiveErrors.h"
#include "Archive/FlatFileFormat.h"
#include "Archive/LinkTrail.h"
#include "Files/OxFile.h"
#include "Foundation/OxBuffer.h"
#include "Foundation/OxString.h"

class ArchiveState;

/// A flat archive: named byte records in one file, found by name without regard to letter case.
///   Shape:   closed -> Open() -> open -> Close() -> closed. Mode kOpenMapped can only read.
///   Units:   positions and lengths are bytes from the start of the file; FlatFile::kNoPosition = there
///            is no such block.
///   Owns:    the open file or mapping. A Record or Iterator points back here and must not outlive it.
///   Disk:    index, name table and file header live in memory while the archive is open for writing, and
///            are on disk after Close(). Otherwise the index is read when a record is first looked up by
///            its name, and names are read as they are needed. Whatever is read through this object is
///            what was written through it, but another reader of the file sees the archive whole only
///            when it is closed.
///   Errors:  Open() returns false; writers throw. A block that lies outside the file reads as
///            kStatusEndOfFile; in a mapped archive going past its end throws EndOfFile. While the archive
///            is closed, what reads gives kStatusNotOpen and what writes throws.
///   Threads: one for each archive. Operations put the position back, also when they throw, but for FindRecord() and what
///            finds a record by its name, Beginning(), Skip(), ReadBytes(), WriteBytes() and the writers
///            of records.
///   Damage:  what the file says is checked against the file: lengths before memory is taken, links
///            against circles, names for UTF-8.
///   Failure: after a failed write the archive is as if the links of its lists had been written, and they
///            are before anything else is; as long as that fails too, records cannot be read or written.
///            std::bad_alloc leaves all records as they were, but for one that was being overwritten.
class OxDataFile {
 public:
  /// A record is written to a closed archive.
  using FileNotOpen = FlatFile::FileNotOpen;
  /// Bytes are written to an archive that is not open for writing.
  using ReadOnly = FlatFile::ReadOnly;
  /// The mode does not allow it.
  using AccessDenied = FlatFile::AccessDenied;
  /// Past the end of a mapping, or of the file where a record should be.
  using EndOfFile = FlatFile::EndOfFile;
  /// Never thrown.
  class InvalidKey {};
  /// A write failed, or something is too long for the format.
  using FileError = FlatFile::FileError;

  using enum FlatFile::DataType;

  /// Bits of Open()'s mode, but for kOpenMapped, which stands alone and is ignored beside others.
  enum OpenMode : short {
    kOpenRead = 1,
    kOpenWrite = 2,
    kOpenMapped = 4,
    kOpenCreate = 8,      ///< Make the file if missing and empty it if not.
    kOpenProtected = 16,  ///< With kOpenCreate: payloads are scrambled.
    kOpenPrivate = 32,    ///< With kOpenCreate: a file that is made is for its owner alone.
  };
  /// Examines a file that has been opened; false refuses it.
  using FileCheck = std::function<bool(OxFile&)>;

  class Record;
  class Iterator;

  /// Touches nothing on disk. `typeCode` is the archive's kind, FlatFile::kWidget for widgets.
  OxDataFile(std::uint32_t typeCode, const OxString& path);
  OxDataFile(const OxDataFile&) = delete;
  OxDataFile& operator=(const OxDataFile&) = delete;
  /// Closes; a failure to write is lost here, so writers call Close().
  ~OxDataFile();

  // ---- Lifetime

  /// False, and closed, for a file that is missing, cannot be opened or made, is no regular file, or is
  /// no archive of this type. Damaged lists, index or names do not make it fail. A file that was made
  /// or emptied here and could not be begun is removed. An open archive is closed first. `check`, unless
  /// null, may refuse a file (not a mapping) before anything in it is read or changed.
  bool Open(short mode, const FileCheck& check = nullptr);
  bool IsOpen() const;                               ///< Since a successful Open().
  const OxString& GetPath() const { return path_; }  ///< As the constructor was given it.
  /// Writes index and name table, if the archive was opened for writing, and closes. Throws FileError
  /// when something could not be written, but is closed in any case.
  void Close();
  /// This system's own extension: writes everything that Close() would write, but leaves the file open, and locked if
  /// it was. Only for an archive that is open for writing; nothing may be added afterwards. Throws FileError, after
  /// which the archive is damaged.
  void Save();
  /// This system's own extension, for a program that adds many records and, when anything fails, does
  /// away with the archive: appended records reach the disk many at a time, so a failure to write one may
  /// only be told by a later operation or by Close(). Nothing else changes.
  void GatherAppends();
  /// This system's own extension, for a program that knows that no name comes twice: until the archive is closed,
  /// records are added without looking whether there is one of their name. Deliberate: one that there is stays.
  void ExpectNewNames();
  /// Closes without writing index and name table, and removes the file; one that is open as
  /// OxFile::Discard() does, whose status this returns. Never throws.
  FileStatus Delete();
  /// Whether the payloads are scrambled. Deliberate: false while the archive is not open.
  bool IsProtected() const;

  // ---- Records by name

  /// Stores a record. One of that name is overwritten where it lies if `length` fits its block, else
  /// moved to a new block and to the end of the list. Throws FileNotOpen or AccessDenied (not open for
  /// writing), or FileError: too long, and nothing has changed; or not written, and a new record is not
  /// there, one that had to move may be deleted, one that was overwritten has bytes of both. Null `data`
  /// counts as no bytes.
  /// Deliberate: a record that gets a free block's place is written 32 bytes behind the block's start,
  /// over what may follow it, and the block itself reads as a nameless, empty record. That holds for the
  /// index and the name table of Close() as well, so adding to an archive that was closed before, whose
  /// tables outgrow their blocks, may cost names. And a free list that cannot be read (any status but
  /// kStatusEndOfFile) ends the operation without a word.
  void AddRecord(const OxString& name, unsigned long length, const char* data);
  void AddRecord(const OxString& name, const OxBuffer& data);
  /// This system's own extension: stores the bytes of an open file from its beginning to its end (as
  /// its length was last known), in bounded memory whatever the length. Returns the status of reading
  /// the source, kStatusNotOpen for a closed one, which stores nothing; when it cannot be read to its end
  /// the record has the bytes that could be read. Throws as AddRecord().
  FileStatus AddRecordFromFile(const OxString& name, OxFile& source);
  /// False, and `out` untouched, if there is no such record. `out` gets the bytes that are there, which
  /// are fewer than the record says if the file ends inside.
  bool GetRecord(const OxString& name, OxBuffer& out);
  /// False if there is no such record. Throws ReadOnly unless opened for writing, FileError when the
  /// lists could not be written.
  bool DeleteRecord(const OxString& name);
  /// The position of the record's block, to which the current position goes too; kNoPosition, and the
  /// position stays, if there is no such record.
  std::uint64_t FindRecord(const OxString& name);
  /// The payload inside the mapping, as it is stored. Null, with length 0, if there is no such record or
  /// its payload is not wholly inside. Throws AccessDenied unless opened with kOpenMapped, and EndOfFile
  /// when the index of a damaged archive leads out of the mapping.
  const char* GetMappedRecordPtr(const OxString& name, unsigned long& length);

  // ---- Positions and raw access

  std::uint64_t GetPosition() const;  ///< Throws FileNotOpen.
  /// Past the end: the position stands at the end, and the result is kStatusEndOfFile (a file) or
  /// EndOfFile is thrown (a mapping).
  FileStatus SetPosition(std::uint64_t position);
  FileStatus GoToEOF();                     ///< Files only; kStatusNotOpen for a mapping.
  FileStatus SetEOF(std::uint64_t length);  ///< Files only; kStatusNotOpen for a mapping.
  /// To the first record, or to where the first block begins if there is none.
  FileStatus Beginning();
  /// Over the block at the position, to the next one in the file.
  FileStatus Skip();
  /// Reads at the position and moves it; kStatusEndOfFile when fewer bytes are left.
  FileStatus ReadBytes(unsigned long count, void* buffer);
  /// Writes at the position and moves it; throws ReadOnly unless opened for writing.
  FileStatus WriteBytes(unsigned long count, const void* buffer);
  /// With `restore` the position is put back, else it is after the header.
  FileStatus ReadFileHeader(FlatFile::FileHeader& header, bool restore);
  /// Writes the header that this object keeps; it reaches the disk at the next read or at Close(). Throws
  /// ReadOnly unless opened for writing.
  FileStatus WriteFileHeader();
  /// The header of the block at the position; `restore` as above.
  FileStatus ReadRecordHeader(FlatFile::RecordHeader& header, bool restore);
  /// Writes at the position and moves it; throws ReadOnly unless opened for writing.
  FileStatus WriteRecordHeader(const FlatFile::RecordHeader& header);
  /// The payload of the block at the position, as it is stored, as far as the file has it.
  FileStatus ReadCurrent(OxBuffer& out);
  /// The zero-terminated name at an offset of the name table; null beyond its end and for the two
  /// offsets that mean no name. Valid until the next call or change. Throws FileError when the name
  /// cannot be read.
  const char* GetName(unsigned long nameOffset);

  // ---- Upkeep

  /// Rebuilds the index from the list of records, as far as its blocks can be read. Throws EndOfFile where
  /// the list leaves a mapping.
  void BuildIndex();
  /// Deliberate: refuses a writable archive with ReadOnly; of one open for reading it empties the lists
  /// in memory and then throws ReadOnly too, since nothing can be written.
  void Clear();
  /// Free space is never given back and names are never erased: these do nothing.
  void Compact() {}
  void ClearName(unsigned long) {}  ///< Does nothing, as Compact().

  // ---- Iteration, in the order of the list

  Iterator Begin();  ///< At the first record.
  Iterator End();    ///< Behind the last one.

 private:
  bool OpenArchive(short mode, const FileCheck& check);
  bool BeginNewArchive(bool isProtected);
  bool CheckHeader();
  const char* MappedPayload(std::uint64_t block, unsigned long& length);

  std::uint32_t typeCode_;
  OxString path_;
  std::string nameCopy_;  // Of GetName().
  std::unique_ptr<ArchiveState> state_;
};

/// A record as it was when it was read: its header and name.
class OxDataFile::Record {
 public:
  /// No record: no archive, no name, no data.
  Record() = default;
  /// Throws EndOfFile when there is no whole header at `position`, OxString::InvalidEncoding when the
  /// name is no UTF-8, FileError when the name cannot be read.
  Record(OxDataFile* file, std::uint64_t position);

  const OxString& GetName() const { return name_; }                   ///< Empty if the block has none.
  std::uint32_t GetDataLength() const { return header_.dataLength; }  ///< As the header says.
  std::uint64_t GetPosition() const { return position_; }             ///< Of its block.
  /// As it was read.
  const FlatFile::RecordHeader& GetHeader() const { return header_; }

  /// The payload, unscrambled, as far as the file has it.
  FileStatus GetData(OxBuffer& out) const;
  /// This system's own extension: writes what GetData() gives at the position of `target` and moves it,
  /// in bounded memory whatever the length. `readStatus` is kStatusEndOfFile when the archive ends
  /// inside the record.
  CopyResult CopyDataTo(OxFile& target) const;
  /// The payload inside the mapping, as it is stored; null, with length 0, if it is not wholly inside.
  /// Throws AccessDenied unless the archive was opened with kOpenMapped.
  const char* GetMappedRecordPtr(unsigned long& length) const;

 private:
  friend class Iterator;

  void Load(OxDataFile* file, std::uint64_t position);

  OxDataFile* file_ = nullptr;
  OxString name_;
  FlatFile::RecordHeader header_;
  std::uint64_t position_ = 0;
};

/// Walks the records. A record that cannot be loaded ends the walk, and so does one that it has seen since
/// the archive was last changed through its object: records may be deleted and moved on the way.
class OxDataFile::Iterator {
 public:
  /// Dereferencing or advancing past the end.
  class InvalidState {};

  Iterator() = default;
  /// At the first record.
  explicit Iterator(OxDataFile* file);
  /// At the record whose block is there; the end when it cannot be loaded.
  Iterator(OxDataFile* file, std::uint64_t position);

  /// Valid until the iterator moves. Throws InvalidState at the end.
  const Record& operator*() const;
  /// The same record's members.
  const Record* operator->() const { return &**this; }
  /// To the next record of the list, or to the end. Throws InvalidState at the end.
  Iterator& operator++();
  Iterator operator++(int);  ///< The same; gives a copy from before.
  /// Same archive, same position.
  bool operator==(const Iterator& other) const {
    return file_ == other.file_ && position_ == other.position_;
  }
  /// By position alone; the end is the greatest.
  bool operator>(const Iterator& other) const { return position_ > other.position_; }

 private:
  void LoadRecord();

  OxDataFile* file_ = nullptr;
  std::uint64_t position_ = FlatFile::kNoPosition;
  Record record_;
  FlatFile::LinkTrail trail_;
};
