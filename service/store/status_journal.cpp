#include "status_journal.h"

#include "sqlite.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace fcs {

StatusJournal::StatusJournal(std::string path)
    : path_(std::move(path)),
      file_(open(path_.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600)) {
  struct stat file {};
  if (!file_ || fstat(file_.get(), &file) != 0) {
    fail();
  }
  length_ = file.st_size;
}

std::vector<StatusJournal::Change> StatusJournal::begin(int64_t fabric) {
  int64_t written_for = 0;
  const ssize_t got = pread(file_.get(), &written_for, sizeof(written_for), 0);
  if (got != sizeof(written_for) || written_for != fabric) {
    clear();
    write(&fabric, sizeof(fabric));
    return {};
  }
  // A killed service may have left a part of a change, which it has not acknowledged.
  std::vector<Change> changes((static_cast<size_t>(length_) - sizeof(fabric)) / sizeof(Change));
  const size_t octets = changes.size() * sizeof(Change);
  if (pread(file_.get(), changes.data(), octets, sizeof(fabric)) != static_cast<ssize_t>(octets)) {
    fail();
  }
  length_ = static_cast<off_t>(sizeof(fabric) + octets);
  return changes;
}

void StatusJournal::append(const Change &change) {
  write(&change, sizeof(change));
}

void StatusJournal::clear() {
  if (ftruncate(file_.get(), 0) != 0) {
    fail();
  }
  length_ = 0;
}

void StatusJournal::write(const void *data, size_t length) {
  errno = ENOSPC; // For a write that is cut short.
  if (pwrite(file_.get(), data, length, length_) != static_cast<ssize_t>(length)) {
    fail();
  }
  length_ += static_cast<off_t>(length);
}

void StatusJournal::fail() const {
  throw SqliteError(SQLITE_IOERR, path_ + ": " + std::strerror(errno));
}

} // namespace fcs
