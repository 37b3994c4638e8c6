/** Faults of memory accesses while an event history is mapped. */
#include "common/history/event_history.h"
#include "common/system/fd.h"

#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <gtest/gtest.h>
#include <sys/mman.h>

namespace {

int foreign_signals;

TEST(MappingGuard, OtherFaultsAreLeftToWhoeverWasInChargeBefore) {
  foreign_signals = 0;
  const std::string path = testing::TempDir() + "ring." + std::to_string(getpid());
  struct sigaction theirs {};
  theirs.sa_handler = [](int) { ++foreign_signals; };
  struct sigaction original {};
  sigaction(SIGBUS, &theirs, &original);
  {
    EventHistoryWriter writer(path);
    for (const int signals : {1, 2}) {
      raise(SIGBUS);
      EXPECT_EQ(foreign_signals, signals);
#ifndef EMULATED
      std::filesystem::resize_file(path, 0);
      EXPECT_FALSE(writer.append(7, "lost", 5));
      writer.start_anew();
#endif
    }
  }
  struct sigaction left {};
  sigaction(SIGBUS, &original, &left);
  EXPECT_EQ(left.sa_handler, theirs.sa_handler);

  const auto with_the_default_in_charge = [&](auto fault) {
    signal(SIGBUS, SIG_DFL);
    EventHistoryWriter writer(path);
    fault();
  };
  EXPECT_EXIT(with_the_default_in_charge([] { raise(SIGBUS); }), testing::KilledBySignal(SIGBUS),
              "");
  EXPECT_EXIT(with_the_default_in_charge([&] {
                const Fd empty(open((path + ".empty").c_str(), O_RDWR | O_CREAT, 0600));
                *static_cast<volatile char *>(
                    mmap(nullptr, 1, PROT_WRITE, MAP_SHARED, empty.get(), 0)) = 1;
              }),
              testing::KilledBySignal(SIGBUS), "");
}

} // namespace
