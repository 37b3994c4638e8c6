/**
 * The event history: a fixed ring of records in a memory-mapped file. One process writes; any
 * number may read, while the writer runs and after it has died.
 */
#pragma once

#include "mapping_guard.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

struct HistoryFile; // The file's contents, as they lie in memory.

/** One record as it is read back. */
struct EventRecord {
  int64_t time_ns; ///< Time of day of the record, in nanoseconds since the Epoch.
  uint32_t module; ///< Id of the module that wrote it.
  uint32_t level;
  std::string text;
  uint64_t lost; ///< Records that were overwritten before they could be read, just before this one.
};

/** A descriptor that is closed at the end. */
class HistoryDescriptor {
public:
  HistoryDescriptor() = default;
  /** Opens the file at `path`, or makes it (mode 0640) with O_CREAT. \throws std::runtime_error */
  HistoryDescriptor(const std::string &path, int flags);
  HistoryDescriptor(HistoryDescriptor &&other) noexcept;
  HistoryDescriptor &operator=(HistoryDescriptor &&other) noexcept;
  ~HistoryDescriptor();

  int get() const { return fd_; }
  size_t size() const;

private:
  int fd_ = -1;
};

/** A mapping of the file, unmapped at the end. */
class HistoryMapping {
public:
  HistoryMapping() = default;
  HistoryMapping(HistoryMapping &&other) noexcept;
  HistoryMapping &operator=(HistoryMapping &&other) noexcept;
  ~HistoryMapping();

  /** Maps the file `fd` whole. \throws std::system_error */
  HistoryMapping(int fd, bool writable);

  HistoryFile *get() const { return file_; }

  /** Whether the file has been truncated since: what is mapped is then no longer in it. */
  bool torn() const { return guard_.torn(); }

private:
  HistoryFile *file_ = nullptr;
  MappingGuard guard_;
};

class EventHistoryWriter {
public:
  /** A writer without a file: what it records is dropped. */
  EventHistoryWriter() = default;

  /**
   * Opens the file at `path`, or makes it (mode 0640). The records of an existing history are kept,
   * unless another version wrote them. A file that is no event history is left alone, and so is one
   * that another process writes.
   * \throws std::runtime_error naming the path and what is wrong.
   */
  explicit EventHistoryWriter(const std::string &path);

  bool is_open() const { return mapping_.get() != nullptr; }

  /** Whether the file was truncated and what is appended no longer reaches it. */
  bool is_torn() const { return mapping_.torn(); }

  /** Appends a record: `record` is a 32-bit level word and a text, cut to the room of a slot. */
  void append(uint32_t module, const void *record, size_t length);

private:
  HistoryDescriptor file_; ///< Locked.
  HistoryMapping mapping_;
};

class EventHistoryReader {
public:
  /**
   * Opens the file at `path`, at its oldest record.
   * \throws std::runtime_error naming the path and what is wrong.
   */
  explicit EventHistoryReader(const std::string &path);

  /** Reads the next record. \return false when there is none for now. */
  bool next(EventRecord &record);

  /** Whether the file was truncated: there is nothing more to be read from this reader. */
  bool is_torn() const { return mapping_.torn(); }

private:
  HistoryMapping mapping_;
  uint64_t position_ = 0;
};
