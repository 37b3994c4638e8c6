/**
 * What the tests of the service share: a directory of their own, stores with a fabric, processes.
 */
#pragma once

#include "service/fabric_store.h"
#include "service/fd.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

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
Outcome run(const std::vector<std::string> &arguments);
