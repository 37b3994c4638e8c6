/**
 * What travels on the FCS service's socket (Unix domain, SOCK_SEQPACKET: the kernel keeps message
 * boundaries), and the rules of the handshake, for both ends.
 *
 * A client sends a Greeting that names the purpose of its connection and waits for the
 * GreetingReply; after an accepted greeting every message is a Frame. A reply carries the sequence
 * number of its request. Words are native, and the byte-order mark proves that both ends agree.
 *
 * One message serves one SNMP request: the request for a row tells how many rows the SNMP request
 * may have a use for, and the reply brings them along, as far as they fit into one message. Where
 * the user's role hides VSANs, the request tells which ones it shows: behind the first row of a
 * hidden VSAN, which tells the module that there is one, the reply goes on with the next shown one.
 */
#pragma once

#include "shown_vsans.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace ipc_wire {

constexpr uint32_t kVersion = 3;
constexpr uint32_t kByteOrderMark = 0x01020304;
constexpr char kMagic[8] = "FCS-IPC";
/** Longest payload of a frame, in octets, but for that of a reply which brings rows along. */
constexpr uint32_t kMessageRoom = 1024;
/** Longest payload of a reply which brings rows along. */
constexpr uint32_t kBatchRoom = 64 * 1024;

/** What a connection is for. */
enum Purpose : uint32_t {
  kExchange = 1,     ///< Requests of the agent, each answered by one reply.
  kNotification = 2, ///< The service sends its notifications here; the client sends nothing.
  kControl = 3,      ///< Requests of the service's own tools.
};

struct Greeting {
  char magic[8];
  uint32_t byte_order;
  uint32_t version;
  uint32_t purpose;
};
static_assert(sizeof(Greeting) == 20);

struct GreetingReply {
  char magic[8];
  uint32_t byte_order;
  uint32_t version;
  uint32_t accepted; ///< 1 accepted, 0 refused.
  char reason[108];  ///< Why the greeting was refused, NUL-terminated.
};
static_assert(sizeof(GreetingReply) == 128);

struct FrameHeader {
  uint32_t sequence; ///< Chosen by the requester, repeated in the reply; 0 in notifications.
  uint32_t opcode;
  uint32_t flag;    ///< Request flag of a request, 0 otherwise.
  int32_t result;   ///< Result of a reply, 0 otherwise.
  uint32_t session; ///< Session id of the SNMP request being served.
  /** Of a request: how many rows are of use, the one asked for and those that follow it; 0 is 1.
   *  Of a reply: how many records of the same length the payload holds, first the one asked for,
   *  each of the others the answer to FCS_OP_GETNEXT behind the one in front of it, or behind the
   *  hidden VSANs that begin there; 0 is 1. */
  uint32_t rows;
  /** Of a reply: the result of FCS_OP_GETNEXT behind its last record, or behind the hidden VSANs
   *  that begin there, where that is known to be a failure; 0 otherwise. */
  int32_t end;
  /** Of a request: one more than the number of the agent's processor, where the service had better
   *  run as well; 0 where the scheduler knows better. */
  uint32_t processor;
  char user[64]; ///< User name of the SNMP request, NUL-terminated, cut to 63 octets.
  /** Of a request for a row whose key begins with a VSAN: the VSANs that are of use, from its own
   *  on. */
  ShownVsans shown;
};
static_assert(offsetof(FrameHeader, rows) == 20 && offsetof(FrameHeader, end) == 24);
static_assert(offsetof(FrameHeader, processor) == 28);
static_assert(offsetof(FrameHeader, user) == 32 && offsetof(FrameHeader, shown) == 96 &&
              sizeof(FrameHeader) == 128);

/** A whole message: the header, then the octets up to the end of the datagram. */
template <uint32_t kRoom> struct Message {
  FrameHeader header;
  alignas(uint32_t) uint8_t payload[kRoom];
};
using Frame = Message<kMessageRoom>;
/** A reply, which may bring rows along. */
using Reply = Message<kBatchRoom>;
static_assert(offsetof(Frame, payload) == sizeof(FrameHeader));
static_assert(offsetof(Reply, payload) == sizeof(FrameHeader));

/** How many records a reply brings; at least 1. */
constexpr uint32_t rows_of(const FrameHeader &header) {
  return header.rows == 0 ? 1 : header.rows;
}

/** The greeting of a client that connects for `purpose`. */
Greeting greeting_for(Purpose purpose);

/**
 * Why a server must refuse the `length` octets received as a greeting; empty when it is acceptable.
 * The text names the mismatch (not an FCS client, byte order, version, purpose).
 */
std::string greeting_fault(const void *message, size_t length);

/** The server's reply: accepting when `fault` is empty, else refusing with it. */
GreetingReply reply_to_greeting(std::string_view fault);

/**
 * Why a client must give up after the `length` octets received as the reply to its greeting; empty
 * when the server accepted.
 */
std::string greeting_reply_fault(const void *message, size_t length);

/**
 * Connects a new close-on-exec SOCK_SEQPACKET socket to the service at `path`.
 * \param type_flags SOCK_NONBLOCK or 0.
 * \return the descriptor, or -1 with errno set (ENAMETOOLONG for a path that no socket can have).
 */
int connect_to(const std::string &path, int type_flags);

} // namespace ipc_wire
