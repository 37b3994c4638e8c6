#include "event_history.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <stdexcept>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr char kMagic[8] = "FCSHIST";
constexpr uint32_t kByteOrderMark = 0x01020304;
/** Of the file's shape: a reader knows the places of the records by it alone. */
constexpr uint32_t kVersion = 2;
/** Octets of the ring: some 6,000 lines, and little enough to stay in a processor's cache. */
constexpr size_t kRing = 512 << 10;
constexpr size_t kRecordRoom = EventHistoryWriter::kRecordRoom;

using Counter = std::atomic<uint64_t>;
static_assert(Counter::is_always_lock_free && sizeof(Counter) == 8);

/** What stands in front of a record. */
struct Entry {
  uint64_t number; ///< Counted from 1.
  int64_t time_ns;
  uint32_t module;
  uint32_t length; ///< Octets of the record.

  bool is_record(uint64_t expected) const { return number == expected && length <= kRecordRoom; }
  size_t record_octets() const { return std::min<size_t>(length, kRecordRoom); }
  size_t size() const { return aligned(sizeof(Entry) + record_octets()); }

  static constexpr size_t aligned(size_t octets) { return (octets + 7) / 8 * 8; }
};
constexpr size_t kMostEntry = Entry::aligned(sizeof(Entry) + kRecordRoom);

} // namespace

/**
 * Positions count octets since the history began. An entry lies in one piece: one that begins in
 * front of the end of the ring goes on behind it, and the next one begins as far behind the start.
 */
struct HistoryFile {
  char magic[8];
  uint32_t byte_order;
  uint32_t version;
  Counter oldest; ///< Position of the oldest whole entry.
  Counter end;    ///< Position behind the last whole entry.
  char ring[kRing + kMostEntry];
};
static_assert(kVersion == 2 && sizeof(HistoryFile) == 524864, "another shape is another version");

namespace {

[[noreturn]] void fail(const std::string &path, const std::string &what) {
  throw std::runtime_error("event history " + path + ": " + what);
}

/** Opens the file at `path`, or makes it (mode 0640) with O_CREAT. */
Fd open_file(const std::string &path, int flags) {
  Fd file(open(path.c_str(), flags, 0640));
  if (!file) {
    fail(path, strerror(errno));
  }
  return file;
}

size_t size_of(const Fd &file) {
  struct stat status {};
  return fstat(file.get(), &status) == 0 ? static_cast<size_t>(status.st_size) : 0;
}

/** Where the file says that its records lie. */
struct Bounds {
  uint64_t oldest;
  uint64_t end;

  bool are_sound() const { return end - oldest <= kRing; }
};

/** Of one moment, also while somebody writes. */
Bounds bounds_of(const HistoryFile &history) {
  while (true) {
    const Bounds bounds{history.oldest.load(), history.end.load()};
    if (history.oldest.load() == bounds.oldest) {
      return bounds;
    }
  }
}

bool has_this_shape(const HistoryFile &file) {
  return memcmp(file.magic, kMagic, sizeof(kMagic)) == 0 && file.byte_order == kByteOrderMark &&
         file.version == kVersion;
}

Entry entry_at(const HistoryFile &history, uint64_t position) {
  Entry entry{};
  memcpy(&entry, history.ring + position % kRing, sizeof(entry));
  return entry;
}

const char *record_at(const HistoryFile &history, uint64_t position) {
  return history.ring + position % kRing + sizeof(Entry);
}

struct Fetched {
  Entry entry;
  char record[kRecordRoom + 1]; ///< Ends with a NUL in any case.
};

/** Reads the entry at `position`, which is moved to the oldest one if that has been overwritten. */
Fetched fetch(const HistoryFile &history, uint64_t &position) {
  while (true) {
    Fetched fetched{entry_at(history, position), {}};
    memcpy(fetched.record, record_at(history, position), fetched.entry.record_octets());
    std::atomic_thread_fence(std::memory_order_acquire);
    const uint64_t oldest = history.oldest.load(std::memory_order_relaxed);
    if (position >= oldest) {
      return fetched;
    }
    position = oldest;
  }
}

/** Whether an entry is the one behind the entry with number `last`, or a later one when that has
 * been overwritten. */
bool follows(const Entry &entry, std::optional<uint64_t> last, bool overwritten) {
  return entry.number > last.value_or(0) &&
         entry.is_record(!last || overwritten ? entry.number : *last + 1);
}

/** The records of a history; none when something else stands where they should be. */
std::optional<HistoryExtent> extent_of(const HistoryFile &history) {
  const Bounds bounds = bounds_of(history);
  HistoryExtent extent{.oldest = bounds.oldest, .end = bounds.end};
  if (!has_this_shape(history) || !bounds.are_sound()) {
    return std::nullopt;
  }
  if (extent.oldest != extent.end) {
    extent.first = extent.next = entry_at(history, extent.oldest).number;
  }
  uint64_t position = extent.oldest;
  while (position < extent.end) {
    const Entry entry = entry_at(history, position);
    if (entry.number == 0 || !entry.is_record(extent.next)) {
      return std::nullopt;
    }
    ++extent.next;
    position += entry.size();
  }
  return position == extent.end ? std::optional(extent) : std::nullopt;
}

int64_t time_of_day() {
  timespec now{};
  // The exact time would cost more than all the rest of a record.
  clock_gettime(CLOCK_REALTIME_COARSE, &now);
  return static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
}

} // namespace

HistoryMapping::HistoryMapping(int fd, bool writable) {
  const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
  void *memory = mmap(nullptr, sizeof(HistoryFile), protection, MAP_SHARED, fd, 0);
  if (memory == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category());
  }
  file_.reset(static_cast<HistoryFile *>(memory));
  guard_ = MappingGuard(memory, sizeof(HistoryFile));
}

void HistoryMapping::Unmap::operator()(HistoryFile *file) const {
  munmap(file, sizeof(HistoryFile));
}

EventHistoryWriter::EventHistoryWriter(const std::string &path)
    : path_(path), file_(open_file(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW)) {
  char magic[sizeof(kMagic)] = {};
  if (size_of(file_) != 0 && (pread(file_.get(), magic, sizeof(magic), 0) != sizeof(magic) ||
                              memcmp(magic, kMagic, sizeof(magic)) != 0)) {
    fail(path, "exists and is not an event history");
  }
  if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
    fail(path, errno == EWOULDBLOCK ? "another process writes it" : strerror(errno));
  }
  map();
  if (const std::optional<HistoryExtent> kept = extent_of(*mapping_.get()); kept) {
    extent_ = *kept;
  } else {
    clear();
  }
}

void EventHistoryWriter::start_anew() {
  map();
  clear();
}

void EventHistoryWriter::map() {
  // The blocks are taken now: a full disk must not surprise a write into the mapping.
  if (const int error = posix_fallocate(file_.get(), 0, sizeof(HistoryFile)); error != 0) {
    fail(path_, strerror(error));
  }
  try {
    mapping_ = HistoryMapping(file_.get(), true);
  } catch (const std::system_error &error) {
    fail(path_, error.code().message());
  }
}

void EventHistoryWriter::clear() {
  HistoryFile &history = *mapping_.get();
  extent_ = HistoryExtent();
  memset(static_cast<void *>(&history), 0, sizeof(history));
  memcpy(history.magic, kMagic, sizeof(kMagic));
  history.byte_order = kByteOrderMark;
  history.version = kVersion;
}

bool EventHistoryWriter::is_as_it_was_left() const {
  const HistoryFile &history = *mapping_.get();
  return has_this_shape(history) &&
         history.oldest.load(std::memory_order_relaxed) == extent_.oldest &&
         history.end.load(std::memory_order_relaxed) == extent_.end;
}

bool EventHistoryWriter::make_room(uint64_t end) {
  HistoryFile &history = *mapping_.get();
  while (end - extent_.oldest > kRing) {
    const Entry entry = entry_at(history, extent_.oldest);
    if (!entry.is_record(extent_.first)) {
      return false;
    }
    ++extent_.first;
    extent_.oldest += entry.size();
  }
  history.oldest.store(extent_.oldest, std::memory_order_relaxed);
  std::atomic_thread_fence(std::memory_order_release);
  return true;
}

bool EventHistoryWriter::append(uint32_t module, const void *record, size_t length) {
  HistoryFile *history = mapping_.get();
  if (history == nullptr) {
    return true;
  }
  const Entry entry{extent_.next, time_of_day(), module,
                    static_cast<uint32_t>(std::min(length, kRecordRoom))};
  const uint64_t end = extent_.end + entry.size();
  if (!is_as_it_was_left() || !make_room(end)) {
    return false;
  }
  char *place = history->ring + extent_.end % kRing;
  memcpy(place, &entry, sizeof(entry));
  memcpy(place + sizeof(entry), record, entry.length);
  history->end.store(end, std::memory_order_release);
  extent_.end = end;
  ++extent_.next;
  return true;
}

EventHistoryReader::EventHistoryReader(const std::string &path) {
  const Fd file = open_file(path, O_RDONLY | O_CLOEXEC);
  if (size_of(file) < sizeof(HistoryFile)) {
    fail(path, "is not an event history");
  }
  try {
    mapping_ = HistoryMapping(file.get(), false);
  } catch (const std::system_error &error) {
    fail(path, error.code().message());
  }
  if (!has_this_shape(*mapping_.get())) {
    fail(path, "is not an event history of this version");
  }
  if (is_torn()) {
    fail(path, "is damaged");
  }
  start();
}

bool EventHistoryReader::is_torn() const {
  return !has_this_shape(*mapping_.get()) || !bounds_of(*mapping_.get()).are_sound();
}

void EventHistoryReader::start() {
  position_ = 0;
  const uint64_t number = fetch(*mapping_.get(), position_).entry.number;
  read_ = number == 0 ? 0 : number - 1; // There is none in a history that has just begun.
}

bool EventHistoryReader::next(EventRecord &record) {
  const HistoryFile &history = *mapping_.get();
  const uint64_t end = history.end.load(std::memory_order_acquire);
  if (position_ > end) { // The history was started anew.
    start();
  }
  if (position_ >= end || is_torn()) {
    return false;
  }
  const uint64_t expected = position_;
  const Fetched next = fetch(history, position_);
  const bool overwritten = position_ != expected;
  if (!follows(next.entry, read_, overwritten)) {
    position_ = end;
    read_.reset();
    return false;
  }
  position_ += next.entry.size();
  record.time_ns = next.entry.time_ns;
  record.module = next.entry.module;
  memcpy(&record.level, next.record, sizeof(record.level));
  record.text = next.record + sizeof(record.level);
  record.lost = read_ ? next.entry.number - *read_ - 1 : 0;
  read_ = next.entry.number;
  return true;
}
