/**
 * The event history: a fixed ring of octets in a memory-mapped file, full of records as long as
 * their texts. One process writes; any number may read, while the writer runs and after it has
 * died.
 */
#pragma once

#include "fd.h"
#include "mapping_guard.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

struct HistoryFile; // The file's contents, as they lie in memory.

/** One record as it is read back. */
struct EventRecord {
  int64_t time_ns; ///< Time of day at the kernel's last tick, in nanoseconds since the Epoch.
  uint32_t module; ///< Id of the module that wrote it.
  uint32_t level;
  std::string text;
  uint64_t lost; ///< Records that were overwritten before they could be read, just before this one.
};

/** A mapping of the file, unmapped at the end. */
class HistoryMapping {
public:
  HistoryMapping() = default;
  /** Maps the file `fd` whole. \throws std::system_error */
  HistoryMapping(int fd, bool writable);

  HistoryFile *get() const { return file_.get(); }

  /** Whether the file has been truncated since: what is mapped is then no longer in it. */
  bool torn() const { return guard_.torn(); }

private:
  struct Unmap {
    void operator()(HistoryFile *file) const;
  };

  std::unique_ptr<HistoryFile, Unmap> file_;
  MappingGuard guard_;
};

class EventHistoryWriter {
public:
  /** A writer without a file: what it records is dropped. */
  EventHistoryWriter() = default;

  /**
   * Opens the file at `path`, or makes it (mode 0640). The records of an existing history are kept,
   * unless another version wrote them or they are damaged. A file that is no event history is left
   * alone, and so is one that another process writes. \throws std::runtime_error naming the path
   * and what is wrong.
   */
  explicit EventHistoryWriter(const std::string &path);

  bool is_open() const { return mapping_.get() != nullptr; }

  /** Whether the file was truncated and what is appended no longer reaches it. */
  bool is_torn() const { return mapping_.torn(); }

  /** Appends a record: `record` is a 32-bit level word and a text, cut to 516 octets. */
  void append(uint32_t module, const void *record, size_t length);

private:
  Fd file_; ///< Locked.
  HistoryMapping mapping_;
  uint64_t records_ = 0; ///< Number of the last one.
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
  /** Goes to the oldest record. */
  void start();

  HistoryMapping mapping_;
  uint64_t position_ = 0; ///< Where the next record begins.
  uint64_t read_ = 0; ///< Number of the last record that was read, or of the one before the first.
};
