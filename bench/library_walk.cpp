#include "library_walk.h"

#include <algorithm>
#include <array>
#include <memory>
#include <stdexcept>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace bench {

namespace {

struct CloseSession {
  void operator()(void *session) const { snmp_sess_close(session); }
};
using Session = std::unique_ptr<void, CloseSession>;

struct FreePdu {
  void operator()(netsnmp_pdu *pdu) const { snmp_free_pdu(pdu); }
};
using Response = std::unique_ptr<netsnmp_pdu, FreePdu>;

Session open_session(const LibraryWalk &walk) {
  // No files of the machine's, neither configuration nor MIBs.
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_LOAD, 1);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DISABLE_PERSISTENT_SAVE, 1);
  netsnmp_set_mib_directory("");
  init_snmp("bench_manager");
  std::string peer = "udp:127.0.0.1:" + std::to_string(walk.port);
  std::string community = walk.community;
  netsnmp_session settings{};
  snmp_sess_init(&settings);
  settings.version = SNMP_VERSION_2c;
  settings.peername = peer.data();
  settings.community = reinterpret_cast<u_char *>(community.data());
  settings.community_len = community.size();
  settings.retries = 0;
  settings.timeout = 10'000'000;
  Session session(snmp_sess_open(&settings));
  if (session == nullptr) {
    throw std::runtime_error("Net-SNMP's library opens no session with " + peer);
  }
  return session;
}

/** The place of a walk. */
class Position {
public:
  explicit Position(const std::string &root) {
    root_length_ = root_.size();
    if (snmp_parse_oid(root.c_str(), root_.data(), &root_length_) == nullptr) {
      throw std::runtime_error("'" + root + "' is no OID");
    }
    restart();
  }

  void restart() {
    name_ = root_;
    length_ = root_length_;
  }

  void advance(const netsnmp_variable_list &to) {
    std::copy_n(to.name, to.name_length, name_.begin());
    length_ = to.name_length;
  }

  bool holds(const netsnmp_variable_list &binding) const {
    return binding.type != SNMP_ENDOFMIBVIEW &&
           netsnmp_oid_is_subtree(root_.data(), root_length_, binding.name, binding.name_length) ==
               0;
  }

  const oid *name() const { return name_.data(); }
  size_t length() const { return length_; }

private:
  std::array<oid, MAX_OID_LEN> root_{};
  std::array<oid, MAX_OID_LEN> name_{};
  size_t root_length_ = 0;
  size_t length_ = 0;
};

Response ask(const Session &session, const Position &position, int32_t bulk) {
  netsnmp_pdu *request = snmp_pdu_create(bulk == 0 ? SNMP_MSG_GETNEXT : SNMP_MSG_GETBULK);
  if (bulk != 0) {
    request->non_repeaters = 0;
    request->max_repetitions = bulk;
  }
  snmp_add_null_var(request, position.name(), position.length());
  netsnmp_pdu *answer = nullptr;
  const int status = snmp_sess_synch_response(session.get(), request, &answer);
  Response response(answer);
  if (status != STAT_SUCCESS || response->errstat != SNMP_ERR_NOERROR) {
    throw std::runtime_error("the agent does not answer Net-SNMP's library");
  }
  return response;
}

/** Takes the next varbinds of a walk; false when it has ended, and begins anew. */
bool step(const Session &session, Position &position, int32_t bulk, size_t &varbinds) {
  const Response response = ask(session, position, bulk);
  for (const netsnmp_variable_list *binding = response->variables; binding != nullptr;
       binding = binding->next_variable) {
    if (!position.holds(*binding)) {
      position.restart();
      return false;
    }
    ++varbinds;
    position.advance(*binding);
  }
  return true;
}

Clock::time_point after(double seconds) {
  return Clock::now() +
         std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
}

} // namespace

std::string walk_with_library(const LibraryWalk &walk) {
  const Session session = open_session(walk);
  Position position(walk.root);
  size_t ignored = 0;
  for (const auto end = after(walk.warm_up); Clock::now() < end;) {
    step(session, position, walk.bulk, ignored);
  }
  position.restart();
  Sample sample(walk.processes);
  const auto deadline = after(walk.seconds);
  for (bool more = true; more;) {
    size_t varbinds = 0;
    const auto sent = Clock::now();
    const bool within = step(session, position, walk.bulk, varbinds);
    sample.add_request(sent);
    sample.add_varbinds(varbinds);
    more = walk.seconds > 0 ? Clock::now() < deadline : within;
  }
  return sample.finish();
}

} // namespace bench
