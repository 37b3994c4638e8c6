/**
 * The module in any state, whatever the service and the role answer: reads of any object with any
 * OID, SETs of any objects with any OID, type, length and value through the phases as the agent
 * goes, and notifications of any payload in any order. The first octet says which of these.
 */
#include "fuzz_input.h"

#include "tests/module/agent_calls.h"

#include <cerrno>
#include <utility>

namespace {

/** Runs of VSANs; a run is its first position and how many more. */
void take_vsans(FuzzInput &input, VsanBitmap &vsans) {
  for (int runs = input.octet() % 8; runs > 0; --runs) {
    auto bit = static_cast<int32_t>(input.up_to(4096));
    for (const int32_t last = bit + input.octet(); bit <= last; ++bit) {
      bitmap_set_bit(&vsans, bit);
    }
  }
}

/** What the service answers next, of any length up to the room; what the input lacks of it is 0. */
Reply take_reply(FuzzInput &input) {
  if (input.empty()) {
    return {FCS_ERR_NO_SUCH_ROW, {}};
  }
  if (input.octet() % 4 == 0) {
    errno = ETIMEDOUT;
    return {input.take<int32_t>(), {}}; // Also 0 and multiples of 256, which bring no response.
  }
  return {FCS_OK, input.octets(input.up_to(IPC_MESSAGE_ROOM))};
}

/** A new module and its surroundings, as the input has them. */
void take_surroundings(FuzzInput &input) {
  start_module();
  platform.service = [&input](const Request &) { return take_reply(input); };
  const uint8_t flags = input.octet();
  platform.restricted = flags & 1;
  platform.role_fails = flags & 2;
  platform.role_refuses_writes = flags & 4;
  platform.history_filtered = ~flags & 8;
  platform.notif_enabled = platform.enable_result = flags >> 5;
  if (platform.restricted != 0) {
    take_vsans(input, platform.readable);
  }
  for (VsanBitmap *vsans :
       {&fcs_vsan_2k, &fcs_vsan_4k, &fcs_vsan_total_2k, &fcs_vsan_total_4k, &fcs_notif_2k,
        &fcs_notif_4k, &fcs_invalidate_cache_2k, &fcs_invalidate_cache_4k}) {
    if ((flags & 16) != 0) {
      take_vsans(input, *vsans);
    }
  }
}

/**
 * An OID: an octet says how much of the object's name it begins with, but no less than `least`;
 * another how many sub-identifiers follow, each an octet, or the word behind an octet of 255.
 */
Name take_name(FuzzInput &input, const variable &object, size_t least) {
  constexpr uint8_t kWordFollows = 255;
  Name name;
  name.length = std::clamp<size_t>(input.octet(), least, object.namelen);
  std::copy_n(object.name, name.length, name.room.begin());
  const size_t index_length = input.octet() % (MAX_OID_LEN - object.namelen + 1U);
  for (const size_t end = name.length + index_length; name.length < end; ++name.length) {
    const uint8_t octet = input.octet();
    name.room[name.length] = octet == kWordFollows ? input.take<uint32_t>() : octet;
  }
  return name;
}

Binding take_binding(FuzzInput &input) {
  constexpr u_char kTypes[] = {ASN_INTEGER,   ASN_OCTET_STR, ASN_UNSIGNED, ASN_OBJECT_ID,
                               ASN_IPADDRESS, ASN_COUNTER64, ASN_NULL,     ASN_OPAQUE};
  const variable &object = registered[input.octet() % registered.size()];
  const Name name = take_name(input, object, object.namelen); // By which the agent has found it.
  const uint8_t type = input.octet();
  const uint8_t length = input.octet();
  return {object, name,
          type < 224 ? static_cast<u_char>(object.type) : kTypes[type % std::size(kTypes)],
          input.octets(length == 255 ? input.up_to(2000) : length)};
}

void take_reads(FuzzInput &input) {
  for (int i = 0; i < 8 && !input.empty(); ++i) {
    const variable &object = registered[input.octet() % registered.size()];
    const bool exact = input.octet() % 2 == 1;
    Name name = take_name(input, object, 0);
    read_name(object, name, exact);
  }
}

void take_sets(FuzzInput &input) {
  std::vector<Binding> all;
  for (int i = 0; i < 4 && !input.empty(); ++i) {
    std::vector<Binding> set;
    for (int more = 1 + input.octet() % 4; more > 0; --more) {
      set.push_back(take_binding(input));
    }
    write_set(set.size(), [&](size_t binding, int phase) { return set[binding].write(phase); });
    all.insert(all.end(), set.begin(), set.end());
  }
  // Rows that a failed ACTION has left pending go with the next SET that fails.
  for (Binding &binding : all) {
    binding.write(FREE);
  }
  for (const RowIndex *store : {temp_mgmt_addr_table, temp_platform_table}) {
    row_index_each(store, [](void *) { require(false, "no row stays behind"); });
  }
}

void take_notifications(FuzzInput &input) {
  constexpr uint32_t kOpcodes[] = {FCS_MSG_REG_REQ_REJ, FCS_MSG_DISC_COMPLETE,
                                   FCS_MSG_DISC_COMP_ON_VSAN, FCS_MSG_TIMEOUT_ON_VSAN,
                                   FCS_MSG_IP_ADDR_CHANGE};
  for (int i = 0; i < 8 && !input.empty(); ++i) {
    const uint8_t choice = input.octet();
    std::optional<Bytes> payload;
    if (choice != 255) {
      payload = input.octets(input.up_to(IPC_MESSAGE_ROOM));
    }
    snmp_free_varbind(deliver(kOpcodes[choice % std::size(kOpcodes)], payload));
    for (const auto &[opcode, sent] : std::exchange(platform.sent, {})) { // To itself.
      snmp_free_varbind(deliver(opcode, sent));
    }
  }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  constexpr void (*kKinds[])(FuzzInput &) = {take_reads, take_sets, take_notifications};
  FuzzInput input(octets, length);
  const size_t kind = input.octet() % std::size(kKinds);
  take_surroundings(input);
  kKinds[kind](input);
  return 0;
}
