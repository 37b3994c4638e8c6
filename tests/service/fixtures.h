/**
 * What the tests of the service share: a directory of their own, stores with a fabric, processes.
 */
#pragma once

#include "common/system/fd.h"
#include "service/configuration/configuration.h"
#include "service/protocol/record_dispatch.h"
#include "service/store/fabric_store.h"

#include <array>
#include <chrono>
#include <cstring>
#include <filesystem>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <sys/types.h>
#include <vector>

using Bytes = std::vector<uint8_t>;

/** The native words as they lie in memory. */
Bytes words(std::initializer_list<uint32_t> values);

/** A fresh directory, removed at the end. */
class TempDir {
public:
  TempDir();
  TempDir(const TempDir &) = delete;
  TempDir &operator=(const TempDir &) = delete;
  ~TempDir();
  std::string path(const std::string &name) const { return (path_ / name).string(); }

private:
  std::filesystem::path path_;
};

/** A store of its own, and what answers record requests out of it. */
class ServedStore : public testing::Test {
protected:
  fcs::Answer ask(uint32_t operation, fcs::Octets request, uint32_t rows = 1) {
    room_.fill(0xAA);
    return fcs::answer_request({store_, configuration_, "admin", rows}, operation, request, room_);
  }

  /** The answer's record, if it has its length. */
  template <typename Record> Record record(const fcs::Answer &answer) {
    Record copy{};
    EXPECT_EQ(answer.result, FCS_OK);
    EXPECT_EQ(answer.length, sizeof(copy));
    std::memcpy(&copy, room_.data(), sizeof(copy));
    return copy;
  }

  TempDir dir_;
  fcs::FabricStore store_{dir_.path("fabric.db"), std::chrono::milliseconds(100)};
  fcs::NotificationQueue notifications_;
  fcs::Configuration configuration_{store_, notifications_};
  alignas(uint32_t) std::array<uint8_t, size_t{3} * FCS_MESSAGE_ROOM> room_{};
};

/** What a file holds. */
std::string content(const std::string &path);

/** Imports a description into the store; the result is the error, empty for success. */
std::string import_text(fcs::FabricStore &store, const std::string &description);
std::string export_text(fcs::FabricStore &store);

/** A program that is running; killed at the end if it still runs. */
class Process {
public:
  /** Standard output and error go to the file at `log`, what it holds already stays. */
  Process(const std::vector<std::string> &arguments, std::string log);
  Process(const Process &) = delete;
  Process &operator=(const Process &) = delete;
  ~Process();

  pid_t pid() const { return pid_; }
  /** Sends a signal, if not 0, and waits for the end: exit status, or -1 if it does not end. */
  int finish(int signal = 0);
  std::string log() const;
  /** Waits until the log has the text. */
  bool logs(const std::string &text) const;

private:
  pid_t pid_;
  std::string log_;
};

/** Polls until the condition holds; false after ten seconds. */
bool eventually(const std::function<bool()> &condition);

/** Runs a program to its end: exit status and what it printed. */
struct Outcome {
  int status;
  std::string output;
};
Outcome run(std::vector<std::string> command, const std::vector<std::string> &options = {});
