/** The FCS service's ends of the agent's two connections, and what it says and hears on them. */
#pragma once

#include "common/system/fd.h"
#include "common/wire/ipc_wire.h"

#include <string>

struct ServiceEnds {
  struct End {
    std::string name;
    ipc_wire::Purpose purpose;
    Fd peer = {};

    void say(const std::string &octets) const;
    void say(const ipc_wire::FrameHeader &header, const std::string &payload) const;
    /** Tells the messages that the agent has sent, and whether it has hung up. */
    void hear();
  };

  ServiceEnds();

  void greet(const End &end) const;
  void hear();

  End exchanges{"", ipc_wire::kExchange};
  End notifications{"notifications: ", ipc_wire::kNotification};
  bool is_deaf = false; ///< What the agent sends is left unread.
  int refusal = 0;      ///< The errno with which a connection fails.
  /** Of the connections for exchanges, those for notifications are greeted well. */
  ipc_wire::GreetingReply greeting = ipc_wire::reply_to_greeting("");
  size_t greeting_length = sizeof(greeting); ///< 0: there is no greeting.
};

/** Of the last exchange: the agent goes on counting as long as it runs. */
inline uint32_t last_sequence;

/** A text as it is, and of other octets how many there are. */
std::string readable(const std::string &octets);
