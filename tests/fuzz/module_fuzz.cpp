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
  platform.recording = false;
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

const variable &take_object(FuzzInput &input) {
  return platform.registered[input.octet() % platform.registered.size()];
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
  constexpr size_t kLongestValue = 2000;
  constexpr uint8_t kLongValue = 255;
  const variable &object = take_object(input);
  Name name = take_name(input, object, object.namelen); // The agent has found the object by it.
  const uint8_t other_type = input.octet();
  const u_char type =
      other_type < 224 ? static_cast<u_char>(object.type) : kTypes[other_type % std::size(kTypes)];
  const uint8_t short_length = input.octet();
  const size_t length = short_length == kLongValue ? input.up_to(kLongestValue) : short_length;
  return {object, std::move(name), type, input.octets(length)};
}

void take_reads(FuzzInput &input) {
  for (int i = 0; i < 8 && !input.empty(); ++i) {
    const variable &object = take_object(input);
    const bool exact = input.octet() % 2 == 1;
    Name name = take_name(input, object, 0);
    read_name(object, name, exact);
  }
}

void take_sets(FuzzInput &input) {
  std::vector<std::vector<Binding>> sets;
  while (sets.size() < 4 && !input.empty()) {
    std::vector<Binding> &set = sets.emplace_back();
    for (int i = 1 + input.octet() % 4; i > 0; --i) {
      set.push_back(take_binding(input));
    }
    write_set(set);
  }
  // Rows that a failed ACTION has left pending go with the next SET that fails.
  for (std::vector<Binding> &set : sets) {
    for (Binding &binding : set) {
      binding.write(FREE);
    }
  }
  require(pending_rows().empty(), "no row stays behind");
}

void take_notifications(FuzzInput &input) {
  constexpr uint32_t kOpcodes[] = {FCS_MSG_REG_REQ_REJ, FCS_MSG_DISC_COMPLETE,
                                   FCS_MSG_DISC_COMP_ON_VSAN, FCS_MSG_TIMEOUT_ON_VSAN,
                                   FCS_MSG_IP_ADDR_CHANGE};
  constexpr uint8_t kNoMessage = 255;
  for (int i = 0; i < 8 && !input.empty(); ++i) {
    const uint8_t choice = input.octet();
    const uint32_t opcode = kOpcodes[choice % std::size(kOpcodes)];
    if (choice == kNoMessage) {
      notify(opcode, {});
      continue;
    }
    notify(opcode, input.octets(input.up_to(IPC_MESSAGE_ROOM)));
    for (const SentMessage &sent : std::exchange(platform.sent, {})) { // The module's to itself.
      notify(sent.opcode, sent.payload);
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
