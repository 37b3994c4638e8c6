/**
 * The event history: a fixed ring of octets in a memory-mapped file, full of records as long as
 * their texts. One process writes; any number may read, also after the writer has died.
 */
#pragma once

#include "common/system/fd.h"
#include "mapping_guard.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
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

private:
  struct Unmap {
    void operator()(HistoryFile *file) const;
  };

  std::unique_ptr<HistoryFile, Unmap> file_;
  MappingGuard guard_;
};

/** Where the records of a history lie, and which they are. */
struct HistoryExtent {
  uint64_t oldest = 0; ///< Position of the oldest record.
  uint64_t end = 0;    ///< Position behind the last one.
  uint64_t first = 1;  ///< Number of the oldest record.
  uint64_t next = 1;   ///< Number of the record that comes next.
};

class EventHistoryWriter {
public:
  /** Most octets of a record: a 32-bit level word, 511 characters and a NUL. */
  static constexpr size_t kRecordRoom = 516;

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

  /**
   * Appends a record: `record` is a 32-bit level word and a text, cut to kRecordRoom.
   * \return false when the file is not as it was left, because somebody has truncated it or written
   * into it: nothing is appended then until it has been started anew.
   */
  [[nodiscard]] bool append(uint32_t module, const void *record, size_t length);

  /** Starts the history anew in its open file. \throws std::runtime_error as above. */
  void start_anew();

private:
  void map();
  void clear();
  /** Whether the file says what was last written there. */
  bool is_as_it_was_left() const;
  /** Gives up the oldest records until there is room up to the position `end`.
   *  \return false when something else stands in their place. */
  bool make_room(uint64_t end);

  std::string path_;
  Fd file_; ///< Locked.
  HistoryMapping mapping_;
  HistoryExtent extent_;
};

class EventHistoryReader {
public:
  /**
   * Opens the file at `path`, at its oldest record.
   * \throws std::runtime_error naming the path and what is wrong.
   */
  explicit EventHistoryReader(const std::string &path);

  /**
   * Reads the next record. What stands in the place of records and is none is passed over.
   * \return false when there is none for now.
   */
  bool next(EventRecord &record);

  /** Whether the file was truncated or damaged: there is nothing to be read from this reader until
   * the file has been started anew. */
  bool is_torn() const;

private:
  /** Goes to the oldest record. */
  void start();

  HistoryMapping mapping_;
  uint64_t position_ = 0; ///< Where the next record begins.
  /** Number of the last record read, or of the one before the first; none behind damage. */
  std::optional<uint64_t> read_;
};
