/** The memory that agent and service share. */
#include "platform/linux/lane.h"

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <poll.h>
#include <random>
#include <string>
#include <sys/mman.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using ipc_wire::Frame;
using ipc_wire::FrameHeader;
using ipc_wire::Lane;

struct Ends {
  Lane client = Lane::make();
  Lane service = Lane::take(client.fd());
};

TEST(Lane, FramesGoBothWaysWhileTheReceiverWatches) {
  Ends ends;
  ASSERT_TRUE(ends.client && ends.service);
  EXPECT_TRUE(ends.client.is_taken());
  EXPECT_FALSE(ends.client.peer_watches());
  for (auto [from, to] : {std::pair(&ends.client, &ends.service), {&ends.service, &ends.client}}) {
    Frame frame{};
    to->watch();
    EXPECT_TRUE(from->peer_watches());
    EXPECT_EQ(to->look(frame), -1);
    for (uint32_t sequence = 1; sequence < 4; ++sequence) {
      const std::string payload(sequence, 'x');
      EXPECT_TRUE(from->put({.sequence = sequence}, payload.data(), payload.size()));
      EXPECT_TRUE(to->has_frame());
      EXPECT_EQ(to->look(frame), static_cast<ssize_t>(sizeof(FrameHeader) + sequence));
      EXPECT_EQ(frame.header.sequence, sequence);
      EXPECT_EQ(memcmp(frame.payload, payload.data(), payload.size()), 0);
      EXPECT_FALSE(to->has_frame());
    }
    EXPECT_FALSE(to->stop_watching());
    EXPECT_FALSE(from->put({}, nullptr, 0)) << "the receiver has to be woken";
    EXPECT_TRUE(to->stop_watching()) << "or notices by itself";
  }
}

TEST(Lane, OneThatItsClientCouldTakeAwayIsRefused) {
  const Lane lane = Lane::make();
  struct stat status {};
  ASSERT_EQ(fstat(lane.fd(), &status), 0);
  EXPECT_NE(ftruncate(lane.fd(), 0), 0);
  const int unsealed = memfd_create("lane-test", MFD_CLOEXEC);
  ASSERT_EQ(ftruncate(unsealed, status.st_size), 0);
  const int no_memory = socket(AF_UNIX, SOCK_STREAM, 0);
  for (const int fd : {unsealed, no_memory, -1}) {
    EXPECT_FALSE(Lane::take(fd));
  }
  EXPECT_FALSE(lane.is_taken());
  close(unsealed);
  close(no_memory);
}

TEST(Lane, WhateverTheOtherEndWritesIsContained) {
  Ends ends;
  struct stat status {};
  ASSERT_EQ(fstat(ends.client.fd(), &status), 0);
  const auto size = static_cast<size_t>(status.st_size);
  void *memory = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_SHARED, ends.client.fd(), 0);
  ASSERT_NE(memory, MAP_FAILED);
  std::mt19937 chance(1);
  for (int round = 0; round < 1000; ++round) {
    std::generate_n(static_cast<uint32_t *>(memory), size / 4, [&] { return chance(); });
    struct {
      Frame frame;
      uint32_t behind = 0x5EA1;
    } room;
    for (Lane *end : {&ends.client, &ends.service}) {
      end->look(room.frame);
      EXPECT_FALSE(end->has_frame());
      EXPECT_EQ(room.behind, 0x5EA1U);
    }
  }
  munmap(memory, size);
}

TEST(Lane, NoFrameIsLostBetweenWatchingAndSleeping) {
  constexpr int kFrames = 200'000;
  Ends ends;
  int wake_ups[2];
  ASSERT_EQ(socketpair(AF_UNIX, SOCK_SEQPACKET, 0, wake_ups), 0);
  std::thread service([&] {
    Frame frame{};
    for (int served = 0; served < kFrames; ++served) {
      ends.service.watch();
      while (ends.service.look(frame) < 0) {
        if (ends.service.stop_watching()) {
          continue;
        }
        pollfd readable{wake_ups[0], POLLIN, 0};
        char wake_up = 0;
        if (poll(&readable, 1, 5000) != 1 || recv(wake_ups[0], &wake_up, 1, 0) != 1) {
          ADD_FAILURE() << "nobody woke the service up for frame " << served;
          ends.service.put({.sequence = kFrames}, nullptr, 0);
          return;
        }
      }
      ends.service.put(frame.header, nullptr, 0);
    }
  });
  Frame reply{};
  for (uint32_t sequence = 0; sequence < kFrames && reply.header.sequence != kFrames; ++sequence) {
    if (!ends.client.put({.sequence = sequence}, nullptr, 0)) {
      send(wake_ups[1], "", 1, 0);
    }
    while (ends.client.look(reply) < 0) {
      std::this_thread::yield();
    }
    EXPECT_EQ(reply.header.sequence, sequence);
  }
  service.join();
  close(wake_ups[0]);
  close(wake_ups[1]);
}

} // namespace
