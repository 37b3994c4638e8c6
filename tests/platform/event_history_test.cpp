/** The event history: order, wrap-around, survival, and files that are none. */
#include "agent.h"
#include "common/history/event_history.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <memory>
#include <sys/mman.h>
#include <unistd.h>

namespace {

class EventHistory : public Agent {
protected:
  static bool write(EventHistoryWriter &writer, uint32_t level, const std::string &text) {
    std::string record(sizeof(level), '\0');
    memcpy(record.data(), &level, sizeof(level));
    record += text;
    return writer.append(7, record.c_str(), record.size() + 1);
  }

  static std::string last_of(EventHistoryReader &reader) {
    EventRecord record;
    while (reader.next(record)) {
      EXPECT_LT(record.lost, 20000U) << "more than were ever written";
    }
    return record.text;
  }

  /** Overwrites a 64-bit word of the file: 16 has the position of the oldest record, 24 that behind
   * the last one. */
  void put(std::streamoff offset, uint64_t word) const {
    std::fstream(path_, std::ios::in | std::ios::out | std::ios::binary)
        .seekp(offset)
        .write(reinterpret_cast<const char *>(&word), sizeof(word));
  }

  std::string path_ = std::string(directory_) + "/ring";
};

TEST_F(EventHistory, IsReadAlongAndAfterTheWriterHasGone) {
  EventRecord record;
  {
    EventHistoryWriter writer(path_);
    EventHistoryReader reader(path_);
    EXPECT_FALSE(reader.next(record));
    write(writer, 100, "one\n");
    keep_busy(1234567ns);
    write(writer, 101, std::string(511, 'x'));
    ASSERT_TRUE(reader.next(record));
    const int64_t first_time = record.time_ns;
    EXPECT_GE(first_time, 1'700'000'000'000'000'000);
    EXPECT_EQ(record.text, "one\n");
    EXPECT_EQ(record.level, 100U);
    EXPECT_EQ(record.module, 7U);
    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.text, std::string(511, 'x'));
    EXPECT_EQ(record.time_ns - first_time, 1234567);
    EXPECT_FALSE(reader.next(record));
  }
  EventHistoryWriter again(path_); // A restarted agent carries on.
  write(again, 101, "three\n");
  EventHistoryReader reader(path_);
  for (const char *start : {"one", "xxx", "three"}) {
    ASSERT_TRUE(reader.next(record));
    EXPECT_EQ(record.text.rfind(start, 0), 0U);
    EXPECT_EQ(record.lost, 0U);
  }
}

TEST_F(EventHistory, OverwrittenRecordsAreCountedAsLost) {
  EventHistoryWriter writer(path_);
  EventHistoryReader slow(path_);
  constexpr int kWritten = 20000;
  for (int i = 0; i < kWritten; ++i) {
    write(writer, 101, std::to_string(i));
  }
  EventRecord record;
  ASSERT_TRUE(slow.next(record));
  const uint64_t lost = record.lost;
  EXPECT_GT(lost, 0U);
  EXPECT_EQ(record.text, std::to_string(lost));
  int last = static_cast<int>(lost);
  while (slow.next(record)) {
    EXPECT_EQ(record.text, std::to_string(++last));
    EXPECT_EQ(record.lost, 0U);
  }
  EXPECT_EQ(last, kWritten - 1);
  EventHistoryReader fresh(path_); // Begins at the oldest record, without a loss of its own.
  ASSERT_TRUE(fresh.next(record));
  EXPECT_EQ(record.lost, 0U);
  EXPECT_EQ(record.text, std::to_string(lost));
}

TEST_F(EventHistory, WhatSomebodyElseDoesToTheFileTakesTheFileAndNothingElse) {
  const auto truncate_to = [&](uintmax_t left) { std::filesystem::resize_file(path_, left); };
  const struct {
    const char *what;
    std::function<void()> spoil;
    bool faults = false;
  } cases[] = {
      {"truncated", [&] { truncate_to(0); }, true},
      {"truncated within its head", [&] { truncate_to(100); }, true},
      {"truncated in front of its end", [&] { truncate_to(5000); }, true},
      {"truncated and grown again",
       [&] {
         const uintmax_t size = std::filesystem::file_size(path_);
         truncate_to(0);
         truncate_to(size);
       }},
      {"the oldest record behind the end", [&] { put(16, 1 << 20); }},
      {"no end in sight", [&] { put(24, uint64_t{1} << 60); }},
      {"a record that is none", [&] { put(32, 7); }},
  };
  for (const auto &c : cases) {
#ifdef EMULATED
    if (c.faults) {
      continue; // QEMU swaps the words of the address that a signal handler is told.
    }
#endif
    SCOPED_TRACE(c.what);
    std::filesystem::remove(path_);
    EventHistoryWriter writer(path_);
    EventHistoryReader reader(path_);
    for (int i = 0; i < 300; ++i) { // Far enough to lie behind what is left of the file.
      write(writer, 101, "before");
    }
    c.spoil();
    last_of(reader);
    constexpr int kMoreThanFit = 20000;
    int written = 0;
    while (written < kMoreThanFit && write(writer, 101, "lost")) {
      ++written;
    }
    EXPECT_LT(written, kMoreThanFit);
    last_of(reader);
    writer.start_anew();
    EXPECT_TRUE(write(writer, 101, "after"));
    if (reader.is_torn()) {
      reader = EventHistoryReader(path_);
    }
    EventHistoryReader fresh(path_);
    EXPECT_EQ(last_of(reader), "after");
    EXPECT_EQ(last_of(fresh), "after");
  }
}

int foreign_signals;

TEST_F(EventHistory, OtherFaultsAreLeftToWhoeverWasInChargeBefore) {
  struct sigaction theirs {};
  theirs.sa_handler = [](int) { ++foreign_signals; };
  struct sigaction original {};
  sigaction(SIGBUS, &theirs, &original);
  {
    EventHistoryWriter writer(path_);
    for (const int signals : {1, 2}) {
      raise(SIGBUS);
      EXPECT_EQ(foreign_signals, signals);
#ifndef EMULATED
      std::filesystem::resize_file(path_, 0);
      EXPECT_FALSE(write(writer, 101, "lost"));
      writer.start_anew();
#endif
    }
  }
  struct sigaction left {};
  sigaction(SIGBUS, &original, &left);
  EXPECT_EQ(left.sa_handler, theirs.sa_handler);

  const auto with_the_default_in_charge = [&](auto fault) {
    signal(SIGBUS, SIG_DFL);
    EventHistoryWriter writer(path_);
    fault();
  };
  EXPECT_EXIT(with_the_default_in_charge([] { raise(SIGBUS); }), testing::KilledBySignal(SIGBUS),
              "");
  EXPECT_EXIT(with_the_default_in_charge([&] {
                const Fd empty(open((path_ + ".empty").c_str(), O_RDWR | O_CREAT, 0600));
                *static_cast<volatile char *>(
                    mmap(nullptr, 1, PROT_WRITE, MAP_SHARED, empty.get(), 0)) = 1;
              }),
              testing::KilledBySignal(SIGBUS), "");
}

TEST_F(EventHistory, OtherFilesAreRefusedAndLeftAlone) {
  const auto fault_of = [](auto open) -> std::string {
    try {
      open();
    } catch (const std::runtime_error &error) {
      return error.what();
    }
    return "";
  };
  std::ofstream(path_) << "root:x:0:0\n";
  EXPECT_EQ(fault_of([&] { EventHistoryWriter writer(path_); }),
            "event history " + path_ + ": exists and is not an event history");
  EXPECT_EQ(fault_of([&] { EventHistoryReader reader(path_); }),
            "event history " + path_ + ": is not an event history");
  EXPECT_EQ(std::filesystem::file_size(path_), 11U);
  const std::string nowhere = path_ + "/ring";
  EXPECT_EQ(fault_of([&] { EventHistoryWriter writer(nowhere); }),
            "event history " + nowhere + ": Not a directory");
  const std::string shared = path_ + ".shared";
  EventHistoryWriter first(shared);
  EXPECT_EQ(fault_of([&] { EventHistoryWriter second(shared); }),
            "event history " + shared + ": another process writes it");
  EventHistoryWriter none;
  write(none, 101, "goes nowhere");
}

} // namespace
