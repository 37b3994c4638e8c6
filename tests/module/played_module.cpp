/** The module as a program that transcripts play. */
#include "agent_calls.h"

#include "feature/fabric_conf_server/snmp/frame/fcs_values.h"
#include "tests/played_program.h"

#include <algorithm>
#include <bit>
#include <cerrno>
#include <cstring>
#include <string_view>

namespace {

template <typename Table> auto entry_of(const Table &table, std::string_view name) {
  return std::ranges::find(table, name, [](const auto &entry) { return entry.first; });
}

// ---- State

constexpr std::pair<std::string_view, VsanBitmap *> kBitmaps[] = {
    {"2k", &fcs_vsan_2k},
    {"4k", &fcs_vsan_4k},
    {"total2k", &fcs_vsan_total_2k},
    {"total4k", &fcs_vsan_total_4k},
    {"notif2k", &fcs_notif_2k},
    {"notif4k", &fcs_notif_4k},
    {"invalid2k", &fcs_invalidate_cache_2k},
    {"invalid4k", &fcs_invalidate_cache_4k},
    {"readable", &platform.readable}};
constexpr std::pair<std::string_view, int32_t *> kNumbers[] = {
    {"lock", &fcs_spin_lock},
    {"timeout", &fcs_discovery_timeout},
    {"start", &fcs_start_discovery},
    {"reason", &fcs_rej_reason_code},
    {"explanation", &fcs_rej_reason_code_expl},
    {"restricted", &platform.restricted},
    {"role_fails", &platform.role_fails},
    {"role_refuses_writes", &platform.role_refuses_writes},
    {"notif_enabled", &platform.notif_enabled},
    {"enable_result", &platform.enable_result},
    {"history_filtered", &platform.history_filtered},
    {"console", &platform.console},
    {"failing_adds", &platform.failing_adds},
    {"failing_stores", &platform.failing_stores},
    {"register_result", &register_result},
    {"agent_debugging", &agent_debugging}};

std::vector<std::string> state_then;

void tell_changes() {
  std::string pending;
  const auto show = [&](const RowIndex *store, const std::string &id, size_t length) {
    if (store != nullptr) {
      row_index_each(store, [&](const void *row) {
        pending += (pending.empty() ? "" : " and ") + id + " " + shown(id, row, length);
      });
    }
  };
  show(temp_mgmt_addr_table, "30", sizeof(MgmtAddrEntry));
  show(temp_platform_table, "70", sizeof(PlatformEntry));
  std::vector<std::string> now = {"name=" +
                                      shown("text", fcs_discovery_name, strlen(fcs_discovery_name)),
                                  "pending=" + pending};
  for (const auto &[name, bits] : kBitmaps) {
    now.push_back(std::string(name) + "=" + shown(*bits));
  }
  for (const auto &[name, number] : kNumbers) {
    now.push_back(std::string(name) + "=" + std::to_string(*number));
  }
  for (size_t i = 0; i < state_then.size(); ++i) {
    if (now[i] != state_then[i]) {
      tell(now[i]);
    }
  }
  state_then = now;
}

// ---- Words of commands

/** Octets behind "=", in hexadecimal digits. */
std::optional<Bytes> take_octets(std::istream &in) {
  const auto word = take(in);
  if (!word.starts_with('=')) {
    return {};
  }
  Bytes octets;
  for (size_t i = 1; i < word.size(); i += 2) {
    octets.push_back(static_cast<uint8_t>(std::stoul(word.substr(i, 2), nullptr, 16)));
  }
  return octets;
}

/** An object by its place in the table, its magic, and a whole OID. */
struct Instance {
  explicit Instance(std::istream &in) : object(registered.at(take<size_t>(in))) {
    object.magic = static_cast<u_char>(take<unsigned>(in));
    std::istringstream numbers(take(in));
    for (std::string number; std::getline(numbers, number, '.');) {
      name.room[name.length++] = std::stoul(number);
    }
  }
  variable object;
  Name name;
};

// ---- Commands

/** Requests that begin so, and what they are answered with; the last that fits counts. */
std::vector<std::pair<std::string, Reply>> answers;

void start(std::istream & /*in*/) {
  static const timeval started = {1'000'000, 500'000};
  netsnmp_set_agent_starttime(const_cast<timeval *>(&started));
  start_module();
  platform.listening = true;
  platform.history_filtered = 0;
  answers.clear();
  platform.service = [](const Request &request) {
    const auto answer = std::find_if(answers.rbegin(), answers.rend(), [](const auto &each) {
      return platform.lines.back().starts_with(each.first);
    });
    errno = ECONNRESET;
    return answer == answers.rend() ? platform.fabric.answer(request) : answer->second;
  };
}

void list_objects(std::istream & /*in*/) {
  tell(std::endian::native == std::endian::little ? "little" : "big");
  for (const variable &each : registered) {
    tell(shown(each.name, each.namelen), int{each.magic}, int{static_cast<u_char>(each.type)},
         each.acl == NETSNMP_OLDAPI_RWRITE ? "RW" : "RO");
  }
}

void set_state(std::istream &in) {
  const auto name = take(in);
  if (const auto *numbers = entry_of(kNumbers, name); numbers != std::end(kNumbers)) {
    in >> *numbers->second;
    return;
  }
  VsanBitmap *bitmap = entry_of(kBitmaps, name)->second;
  bitmap_clear(bitmap);
  for (int32_t bit = 0; in >> bit;) {
    bitmap_set_bit(bitmap, bit);
  }
}

void read(std::istream &in) {
  const bool exact = take(in) == "get";
  Instance asked(in);
  const auto answer = read_name(asked.object, asked.name, exact);
  const char *form = asked.object.type == ASN_OCTET_STR ? "octets"
                     : asked.object.type == ASN_INTEGER ? "i"
                                                        : "w";
  const Bytes value = answer.value.value_or(Bytes());
  tell("=", answer.value ? shown(form, value.data(), value.size()) : "none");
  tell("at", shown(asked.name.room.data(), asked.name.length));
  if ((answer.write_method != nullptr) != (asked.object.acl == NETSNMP_OLDAPI_RWRITE)) {
    tell(answer.write_method == nullptr ? "no write handler" : "a write handler");
  }
}

/** A SET as the agent goes, or through some phases until one fails. */
void set(std::istream &in) {
  constexpr std::string_view kPhases = "12ACFU"; // In the order of their numbers.
  const auto phases = take(in);
  std::vector<Binding> bindings;
  while (in >> std::ws && !in.eof()) {
    const Instance instance(in);
    const auto type = static_cast<u_char>(take<unsigned>(in));
    const auto value = take_octets(in).value_or(Bytes());
    bindings.emplace_back(instance.object, instance.name, type, value, take<size_t>(in));
  }
  const auto write = [&](size_t i, int phase) {
    tell(std::string{'[', kPhases[static_cast<size_t>(phase)], "abcdef"[i], ']'});
    const int status = bindings[i].write(phase);
    tell_changes();
    return status;
  };
  int status = phases == "all" ? write_set(bindings.size(), write) : SNMP_ERR_NOERROR;
  for (const char phase : phases == "all" ? "" : phases) {
    status = status != 0 ? status : write(0, static_cast<int>(kPhases.find(phase)));
  }
  if (status != 0) {
    tell("status", snmp_errstring(status));
  }
}

void notify(std::istream &in) {
  const auto opcode = take<uint32_t>(in);
  netsnmp_variable_list *bindings = deliver(opcode, take_octets(in));
  for (const auto *b = bindings; b != nullptr; b = b->next_variable) {
    if (b == bindings) {
      tell("trap", shown(b->val.objid, b->val_len / sizeof(oid)));
      continue;
    }
    tell("with", shown(b->name, b->name_length), "type", int{b->type}, "=",
         b->type == ASN_INTEGER ? std::to_string(*b->val.integer)
                                : shown("octets", b->val.string, b->val_len));
  }
  snmp_free_varbind(bindings);
}

constexpr std::pair<std::string_view, void (*)(std::istream &)> kCommands[] = {
    {"start", start},
    {"objects", list_objects},
    {"state", set_state},
    {"read", read},
    {"set", set},
    {"notify", notify},
    {"row",
     [](std::istream &in) {
       const auto record_id = take<uint32_t>(in);
       platform.fabric.add(record_id, take_octets(in).value_or(Bytes()));
     }},
    {"answer",
     [](std::istream &in) {
       const Reply reply{take<int32_t>(in), take_octets(in)};
       std::string beginning;
       std::getline(in >> std::ws, beginning);
       answers.emplace_back(beginning, reply);
     }},
    {"init",
     [](std::istream & /*in*/) {
       release_stores();
       init_fcs_mib();
     }},
    {"deinit", [](std::istream & /*in*/) { deinit_fcs_mib(); }},
    {"wwn", [](std::istream &in) { tell(print_wwn(take_octets(in).value_or(Bytes()).data())); }},
};

/** A stream whose every print becomes a line behind the label. */
FILE *told_stream(const char *label) {
  const auto write = [](void *name, const char *text, size_t length) {
    tell(static_cast<const char *>(name) + std::string(text, length));
    return static_cast<ssize_t>(length);
  };
  FILE *stream = fopencookie(const_cast<char *>(label), "w", {nullptr, write, nullptr, nullptr});
  setvbuf(stream, nullptr, _IONBF, 0);
  return stream;
}

} // namespace

int main() {
  stdout = told_stream("1>");
  stderr = told_stream("2>");
  answer_commands([](std::istringstream &command) {
    platform.lines.clear();
    entry_of(kCommands, take(command))->second(command);
    tell_changes();
    return platform.lines;
  });
}
