#include "fuzz_platform.h"

#include <cerrno>

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

void take_module_state(FuzzInput &input) {
  for (VsanBitmap *vsans :
       {&fcs_vsan_2k, &fcs_vsan_4k, &fcs_vsan_total_2k, &fcs_vsan_total_4k, &fcs_notif_2k,
        &fcs_notif_4k, &fcs_invalidate_cache_2k, &fcs_invalidate_cache_4k}) {
    take_vsans(input, *vsans);
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

} // namespace

void start_module(FuzzInput &input) {
  reset_platform();
  platform.recording = false;
  platform.service = [&input](const Request &) { return take_reply(input); };
  platform.notif_enabled = platform.enable_result = [&input] { return input.octet(); };
  memset(fcs_discovery_name, 0, sizeof(fcs_discovery_name));
  fcs_spin_lock = 0;
  fcs_discovery_timeout = 900;
  init_fcs_mib();

  const uint8_t flags = input.octet();
  platform.restricted = (flags & 1) != 0;
  platform.role_fails = (flags & 2) != 0;
  platform.role_refuses_writes = (flags & 4) != 0;
  platform.history_filtered = (flags & 8) == 0;
  if (platform.restricted) {
    take_vsans(input, platform.readable);
  }
  if ((flags & 16) != 0) {
    take_module_state(input);
  }
}

const variable &take_object(FuzzInput &input) {
  return platform.registered[input.octet() % platform.registered.size()];
}

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
