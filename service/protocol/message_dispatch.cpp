#include "message_dispatch.h"

#include "fcs_control.h"
#include "service/reports/log.h"

#include <algorithm>
#include <cstring>

namespace fcs {

namespace {

using Room = std::span<uint8_t>;

/** A message that asks discovery for something and is answered by the result alone. */
template <typename Payload, FcsResult (*act)(Discovery &, const Payload &)>
Answer answer_act(const MessageContext &context, const uint8_t *bytes, Room /*room*/) {
  Payload payload{};
  std::memcpy(&payload, bytes, sizeof(payload));
  return {act(context.discovery, payload), 0};
}

template <typename Payload, FcsResult (*act)(Discovery &, const Payload &)>
constexpr ServedMessage act_row(uint32_t opcode, uint32_t flag) {
  return {opcode, flag, sizeof(Payload), answer_act<Payload, act>};
}

FcsResult start(Discovery &discovery, const FcsStartDiscovery &request) {
  return request.reserved == 0 ? discovery.start(request.vsan) : FCS_ERR_BAD_VALUE;
}

FcsResult set_timeout(Discovery &discovery, const uint32_t &seconds) {
  return discovery.set_timeout(seconds);
}

FcsResult invalidate(Discovery &discovery, const uint32_t &vsan) {
  return discovery.invalidate(vsan);
}

FcsResult reject(Discovery &discovery, const FcsControlReject &request) {
  return discovery.reject(request.vsan, request.reject);
}

FcsResult change_address(Discovery &discovery, const FcsAddressNotif &change) {
  return discovery.change_address(change);
}

FcsResult complete(Discovery &discovery, const FcsVsanNotif &request) {
  return discovery.complete(request.vsan);
}

FcsResult time_out(Discovery &discovery, const FcsVsanNotif &request) {
  return discovery.time_out(request.vsan);
}

Answer answer_wanted(const MessageContext &context, const uint8_t *payload, Room room) {
  FcsControlWanted wanted{};
  std::memcpy(&wanted, payload, sizeof(wanted));
  if (wanted.rejects > FCS_CTL_AS_IS || wanted.completions > FCS_CTL_AS_IS) {
    return {FCS_ERR_BAD_VALUE, 0};
  }
  ServiceSettings &settings = context.store.settings();
  WriteTransaction transaction = context.store.write();
  const auto apply = [&settings](Setting setting, uint32_t &word) {
    if (word != FCS_CTL_AS_IS) {
      settings.set(setting, word);
    }
    word = settings.get(setting);
  };
  apply(Setting::kRejectNotifications, wanted.rejects);
  apply(Setting::kCompleteNotifications, wanted.completions);
  transaction.commit();
  std::memcpy(room.data(), &wanted, sizeof(wanted));
  return {FCS_OK, sizeof(wanted)};
}

constexpr ServedMessage kAgentTable[] = {
    act_row<FcsStartDiscovery, start>(FCS_MSG_START_DISCOVERY, 0),
    act_row<uint32_t, set_timeout>(FCS_MSG_SET_DISC_TIMEOUT, FCS_OP_SET),
    act_row<uint32_t, invalidate>(FCS_MSG_INVALIDATE_CACHE, FCS_OP_SET),
};

constexpr ServedMessage kControlTable[] = {
    act_row<FcsControlReject, reject>(FCS_CTL_REJECT, 0),
    act_row<FcsAddressNotif, change_address>(FCS_CTL_CHANGE_ADDRESS, 0),
    act_row<FcsVsanNotif, complete>(FCS_CTL_COMPLETE, 0),
    act_row<FcsVsanNotif, time_out>(FCS_CTL_TIME_OUT, 0),
    {FCS_CTL_WANT, 0, sizeof(FcsControlWanted), answer_wanted},
};

} // namespace

const std::span<const ServedMessage> kAgentMessages = kAgentTable;
const std::span<const ServedMessage> kControlMessages = kControlTable;

Answer answer_message(std::span<const ServedMessage> served, const MessageContext &context,
                      const ipc_wire::FrameHeader &header, Octets payload,
                      std::span<uint8_t> room) {
  const auto message = std::ranges::find(served, header.opcode, &ServedMessage::opcode);
  if (message == served.end()) {
    return {FCS_ERR_NO_SUCH_RECORD, 0};
  }
  if (header.flag != message->flag) {
    return {FCS_ERR_BAD_OPERATION, 0};
  }
  if (payload.size() != message->length) {
    return {FCS_ERR_BAD_LENGTH, 0};
  }
  try {
    return message->answer(context, payload.data(), room);
  } catch (const SqliteError &error) {
    log_line("cannot use the store %s for message %u: %s", context.store.path().c_str(),
             header.opcode, error.what());
    return {result_of(error), 0};
  }
}

} // namespace fcs
