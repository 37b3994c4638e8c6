#include "event_history.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <stdexcept>
#include <sys/file.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>

namespace {

constexpr char kMagic[8] = "FCSHIST";
constexpr uint32_t kByteOrderMark = 0x01020304;
constexpr uint32_t kVersion = 1;
constexpr uint64_t kSlots = 8192;
/** Octets of a record: the level word, 511 characters and a NUL. */
constexpr size_t kRecordRoom = 516;

using Counter = std::atomic<uint64_t>;
static_assert(Counter::is_always_lock_free && sizeof(Counter) == 8);

struct Slot {
  Counter number; ///< Number of the record, counted from 1; 0 while it is being written.
  int64_t time_ns;
  uint32_t module;
  uint32_t length;
  char record[kRecordRoom];
};

} // namespace

struct HistoryFile {
  char magic[8];
  uint32_t byte_order;
  uint32_t version;
  Counter written; ///< Records written so far; record n lies in slot (n - 1) % kSlots.
  Slot slots[kSlots];
};

namespace {

[[noreturn]] void fail(const std::string &path, const std::string &what) {
  throw std::runtime_error("event history " + path + ": " + what);
}

bool has_this_shape(const HistoryFile &file) {
  return memcmp(file.magic, kMagic, sizeof(kMagic)) == 0 && file.byte_order == kByteOrderMark &&
         file.version == kVersion;
}

} // namespace

HistoryDescriptor::HistoryDescriptor(const std::string &path, int flags)
    : fd_(open(path.c_str(), flags, 0640)) {
  if (fd_ < 0) {
    fail(path, strerror(errno));
  }
}

HistoryDescriptor::HistoryDescriptor(HistoryDescriptor &&other) noexcept
    : fd_(std::exchange(other.fd_, -1)) {}

HistoryDescriptor &HistoryDescriptor::operator=(HistoryDescriptor &&other) noexcept {
  std::swap(fd_, other.fd_);
  return *this;
}

HistoryDescriptor::~HistoryDescriptor() {
  if (fd_ >= 0) {
    close(fd_);
  }
}

size_t HistoryDescriptor::size() const {
  struct stat status {};
  return fstat(fd_, &status) == 0 ? static_cast<size_t>(status.st_size) : 0;
}

HistoryMapping::HistoryMapping(int fd, bool writable) {
  const int protection = writable ? PROT_READ | PROT_WRITE : PROT_READ;
  void *memory = mmap(nullptr, sizeof(HistoryFile), protection, MAP_SHARED, fd, 0);
  if (memory == MAP_FAILED) {
    throw std::system_error(errno, std::generic_category());
  }
  file_ = static_cast<HistoryFile *>(memory);
  guard_ = MappingGuard(memory, sizeof(HistoryFile));
}

HistoryMapping::HistoryMapping(HistoryMapping &&other) noexcept
    : file_(std::exchange(other.file_, nullptr)), guard_(std::move(other.guard_)) {}

HistoryMapping &HistoryMapping::operator=(HistoryMapping &&other) noexcept {
  std::swap(file_, other.file_);
  std::swap(guard_, other.guard_);
  return *this;
}

HistoryMapping::~HistoryMapping() {
  if (file_ != nullptr) {
    munmap(file_, sizeof(HistoryFile));
  }
}

EventHistoryWriter::EventHistoryWriter(const std::string &path)
    : file_(path, O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW) {
  char magic[sizeof(kMagic)] = {};
  if (file_.size() != 0 && (pread(file_.get(), magic, sizeof(magic), 0) != sizeof(magic) ||
                            memcmp(magic, kMagic, sizeof(magic)) != 0)) {
    fail(path, "exists and is not an event history");
  }
  if (flock(file_.get(), LOCK_EX | LOCK_NB) != 0) {
    fail(path, errno == EWOULDBLOCK ? "another process writes it" : strerror(errno));
  }
  // The blocks are taken now: a full disk must not surprise a write into the mapping.
  if (const int error = posix_fallocate(file_.get(), 0, sizeof(HistoryFile)); error != 0) {
    fail(path, strerror(error));
  }
  try {
    mapping_ = HistoryMapping(file_.get(), true);
  } catch (const std::system_error &error) {
    fail(path, error.code().message());
  }
  HistoryFile &history = *mapping_.get();
  if (!has_this_shape(history)) {
    memset(static_cast<void *>(&history), 0, sizeof(history));
    memcpy(history.magic, kMagic, sizeof(kMagic));
    history.byte_order = kByteOrderMark;
    history.version = kVersion;
  }
}

void EventHistoryWriter::append(uint32_t module, const void *record, size_t length) {
  HistoryFile *history = mapping_.get();
  if (history == nullptr) {
    return;
  }
  const uint64_t number = history->written.load(std::memory_order_relaxed) + 1;
  Slot &slot = history->slots[(number - 1) % kSlots];
  slot.number.store(0, std::memory_order_relaxed);
  std::atomic_thread_fence(std::memory_order_release);
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  slot.time_ns = static_cast<int64_t>(now.tv_sec) * 1'000'000'000 + now.tv_nsec;
  slot.module = module;
  slot.length = static_cast<uint32_t>(std::min(length, kRecordRoom));
  memcpy(slot.record, record, slot.length);
  slot.number.store(number, std::memory_order_release);
  history->written.store(number, std::memory_order_release);
}

EventHistoryReader::EventHistoryReader(const std::string &path) {
  const HistoryDescriptor file(path, O_RDONLY | O_CLOEXEC);
  if (file.size() < sizeof(HistoryFile)) {
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
  const uint64_t written = mapping_.get()->written.load(std::memory_order_acquire);
  position_ = written - std::min(written, kSlots);
}

bool EventHistoryReader::next(EventRecord &record) {
  const HistoryFile &history = *mapping_.get();
  record.lost = 0;
  while (true) {
    const uint64_t written = history.written.load(std::memory_order_acquire);
    if (position_ >= written) {
      position_ = written; // Fewer records than before: the history was started anew.
      return false;
    }
    if (written - position_ > kSlots) {
      record.lost += written - position_ - kSlots;
      position_ = written - kSlots;
    }
    const Slot &slot = history.slots[position_ % kSlots];
    const uint64_t number = slot.number.load(std::memory_order_acquire);
    record.time_ns = slot.time_ns;
    record.module = slot.module;
    const size_t length = std::min<size_t>(slot.length, kRecordRoom);
    record.level = 0;
    memcpy(&record.level, slot.record, sizeof(record.level));
    const size_t text_room = length > sizeof(record.level) ? length - sizeof(record.level) : 0;
    const char *text = slot.record + sizeof(record.level);
    record.text.assign(text, strnlen(text, text_room));
    std::atomic_thread_fence(std::memory_order_acquire);
    ++position_;
    if (number == position_ && slot.number.load(std::memory_order_relaxed) == number) {
      return true;
    }
    ++record.lost; // Overwritten while it was being read.
  }
}
