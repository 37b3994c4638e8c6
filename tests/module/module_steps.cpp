#include "module_steps.h"

#include "agent_calls.h"
#include "managed_objects.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <stdexcept>

namespace {

// ---- State

struct State {
  std::string name;
  VsanBitmap *bits;
  int32_t *number;
};

const State kState[] = {{"2k", &fcs_vsan_2k, nullptr},
                        {"4k", &fcs_vsan_4k, nullptr},
                        {"total2k", &fcs_vsan_total_2k, nullptr},
                        {"total4k", &fcs_vsan_total_4k, nullptr},
                        {"notif2k", &fcs_notif_2k, nullptr},
                        {"notif4k", &fcs_notif_4k, nullptr},
                        {"invalid2k", &fcs_invalidate_cache_2k, nullptr},
                        {"invalid4k", &fcs_invalidate_cache_4k, nullptr},
                        {"lock", nullptr, &fcs_spin_lock},
                        {"timeout", nullptr, &fcs_discovery_timeout},
                        {"start", nullptr, &fcs_start_discovery},
                        {"reason", nullptr, &fcs_rej_reason_code},
                        {"explanation", nullptr, &fcs_rej_reason_code_expl},
                        {"readable", &platform.readable, nullptr},
                        {"restricted", nullptr, &platform.restricted},
                        {"role_fails", nullptr, &platform.role_fails},
                        {"role_refuses_writes", nullptr, &platform.role_refuses_writes},
                        {"notif_enabled", nullptr, &platform.notif_enabled},
                        {"enable_result", nullptr, &platform.enable_result},
                        {"failing_adds", nullptr, &platform.failing_adds}};

Lines state_now() {
  const std::string name = fcs_discovery_name;
  Lines state = {"name=" + text_of_octets(Bytes(name.begin(), name.end()), 1),
                 "pending=" + joined(pending_rows(), " and ")};
  for (const auto &[label, bits, number] : kState) {
    state.push_back(label + "=" + (bits != nullptr ? text_of(*bits) : std::to_string(*number)));
  }
  return state;
}

void record_changes(Lines &since) {
  const Lines now = state_now();
  for (size_t i = 0; i < now.size(); ++i) {
    if (now[i] != since[i]) {
      record(now[i]);
    }
  }
  since = now;
}

void set_state(const std::string &name, const Lines &values) {
  const State *known = std::ranges::find(kState, name, &State::name);
  if (known == std::end(kState)) {
    throw std::invalid_argument("unknown: " + name);
  }
  if (known->number != nullptr) {
    *known->number = std::stoi(values.at(0));
    return;
  }
  bitmap_clear(known->bits);
  for (const std::string &bit : values) {
    bitmap_set_bit(known->bits, std::stoi(bit));
  }
}

// ---- What is asked of the module

std::vector<oid> sub_identifiers(const std::string &text) {
  std::vector<oid> numbers;
  for (const std::string &number : words_of(text, '.')) {
    numbers.push_back(std::stoul(number));
  }
  return numbers;
}

/** A variable and a name: "OBJECT.INDEX", "OBJECT@SUFFIX" or "OBJECT#MAGIC". */
struct Instance {
  explicit Instance(const std::string &text)
      : object_name(text.substr(0, text.find_first_of(".@#"))) {
    const auto told = managed_objects();
    const auto known = std::ranges::find(told, object_name, &ManagedObject::name);
    if (known == told.end()) {
      throw std::invalid_argument("no object " + object_name);
    }
    const std::string suffix = known->suffix;
    object = *std::ranges::find_if(platform.registered, [&](const variable &each) {
      return text_of(each.name, each.namelen) == suffix;
    });
    std::string rest = text.substr(object_name.size());
    if (rest.starts_with("#")) {
      object.magic = static_cast<u_char>(std::stoi(rest.substr(1)));
      rest.erase(0, rest.find('.'));
    }
    name = Name(object, sub_identifiers(rest.starts_with(".") ? rest : ""));
    if (rest.starts_with("@")) {
      const std::vector<oid> elsewhere = sub_identifiers(rest.substr(1));
      name.length = object.namelen - sub_identifiers(suffix).size() + elsewhere.size();
      std::ranges::copy(elsewhere,
                        name.room.begin() + static_cast<ptrdiff_t>(name.length - elsewhere.size()));
    }
  }
  std::string oid_text() const { return text_of(name.room.data(), name.length); }

  std::string object_name;
  variable object;
  Name name;
};

void read(Instance &asked, bool exact) {
  const std::string before = asked.oid_text();
  const Answer answer = read_name(asked.object, asked.name, exact);
  const std::string after = asked.oid_text();
  const bool text = asked.object.type == ASN_OCTET_STR;
  const Bytes value = answer.value.value_or(Bytes());
  const std::string shown =
      text ? text_of_octets(value)
           : text_of_record(asked.object.type == ASN_INTEGER ? "i" : "w", value);
  record("= " + (answer.value ? shown : "none"));
  if (after != before) {
    const std::string column = text_of(asked.object.name, asked.object.namelen);
    record("at " + (after.starts_with(column + ".") ? after.substr(column.size()) : after));
  }
  if ((answer.write_method != nullptr) != (asked.object.acl == NETSNMP_OLDAPI_RWRITE)) {
    record(answer.write_method == nullptr ? "no write handler" : "a write handler");
  }
}

Binding binding_of(const Instance &instance, std::string value) {
  static const std::map<char, u_char> kTypes = {{'i', ASN_INTEGER},
                                                {'u', ASN_UNSIGNED},
                                                {'s', ASN_OCTET_STR},
                                                {'o', ASN_OBJECT_ID},
                                                {'n', ASN_NULL}};
  auto type = static_cast<u_char>(instance.object.type);
  if (value.size() > 1 && value[1] == ':') {
    type = kTypes.at(value[0]);
    value.erase(0, 2);
  }
  const size_t told = value.find('#');
  const std::string own = value.substr(0, told);
  Binding binding(instance.object, instance.name, type,
                  type == ASN_OCTET_STR ? octets_of_text(own) : record_of_text("w", {own}));
  if (told != std::string::npos) {
    binding.tell_length(std::stoul(value.substr(told + 1)));
  }
  return binding;
}

/** A SET as the agent goes, or through some phases until one fails. */
void set(const Lines &words, const std::string &phases, Lines &state) {
  constexpr std::string_view kPhases = "12ACFU"; // In the order of their numbers.
  std::vector<Instance> instances;
  std::vector<Binding> bindings;
  for (size_t i = 0; i < words.size(); i += 2) {
    instances.emplace_back(words[i]);
  }
  bindings.reserve(instances.size());
  for (const Instance &instance : instances) {
    bindings.push_back(binding_of(instance, words.at(2 * bindings.size() + 1)));
  }
  const auto write = [&](size_t i, int phase) {
    const char name = kPhases[static_cast<size_t>(phase)];
    if (phase == RESERVE1 || phases.starts_with(name)) {
      bindings[i].read();
    }
    record(std::string("[") + name + (bindings.size() > 1 ? std::string(1, "abcdef"[i]) : "") +
           "] " + instances[i].object_name + " " + instances[i].oid_text());
    const int status = bindings[i].write(phase);
    record_changes(state);
    return status;
  };
  int status = phases.empty() ? write_set(bindings.size(), write) : 0;
  for (const char phase : phases) {
    status = status != 0 ? status : write(0, static_cast<int>(kPhases.find(phase)));
  }
  if (status != 0) { // The system's text begins with the name, or with the name in parentheses.
    const std::string text = snmp_errstring(status);
    const size_t begin = text.starts_with("(") ? 1 : 0;
    record("= " + text.substr(begin, text.find_first_of(" )") - begin));
  }
}

// ---- Lines as events

/** Takes out what goes with every exchange where it is as it has to be. */
Lines without_usual_lines(Lines lines) {
  for (size_t i = platform.exchanges.size(); i > 0; --i) {
    const auto &[line, before, after] = platform.exchanges[i - 1];
    if (line < before.size() || line + after.size() >= lines.size()) {
      continue;
    }
    const auto begin = lines.begin() + static_cast<ptrdiff_t>(line - before.size());
    const auto end = lines.begin() + static_cast<ptrdiff_t>(line + 1 + after.size());
    Lines usual = before;
    usual.push_back(lines.at(line));
    usual.insert(usual.end(), after.begin(), after.end());
    if (std::equal(begin, end, usual.begin())) {
      *begin = usual[before.size()];
      lines.erase(begin + 1, end);
    }
  }
  return lines;
}

class Events {
public:
  explicit Events(std::string hidden) : hidden_(std::move(hidden)) {}

  /** What was asked next: of an object, in a phase of a SET. */
  void ask(const std::string &phase, const std::string &object, const std::string &oid_text) {
    phase_ = phase;
    object_ = object;
    oid_ = oid_text;
    function_ = "write_" + object;
    known_ = {function_};
  }

  void add(std::string line) {
    if (line.starts_with("[")) {
      const Lines words = words_of(line);
      ask(words[0] + " ", words[1], words[2]);
      return;
    }
    if (line.ends_with("\n")) {
      line.pop_back();
    }
    if (line.ends_with(" ")) {
      line.replace(line.size() - 1, 1, "\\s");
    }
    if (line.starts_with("101 ")) {
      const std::string function = line.substr(4, line.find(':') - 4);
      if (!hidden_.empty() && function.starts_with(hidden_.substr(0, hidden_.find('*')))) {
        return;
      }
      const bool of_a_kind = known_.count(function) != 0 && !function.starts_with("fcs_");
      line.erase(0, 4);
      if (function == function_ || of_a_kind) {
        line.replace(0, function.size(),
                     function == function_ ? "" : function.substr(0, function.find('_')));
      }
      function_ = function;
      known_.insert(function);
    } else if (line.starts_with("100 ")) {
      line.replace(0, 4, "!");
    } else if (line.starts_with("2>") && !object_.empty()) {
      replace_all(line, object_, "~");
    } else if (line.starts_with("role ")) {
      replace_all(line, " " + oid_, "");
    }
    events.push_back(phase_ + line);
    phase_.clear();
  }

  Lines events;

private:
  std::string hidden_, phase_, object_, oid_, function_;
  std::set<std::string> known_; ///< Functions that have traced.
};

} // namespace

void ModuleSteps::start() {
  start_module();
  static const timeval started = {1'000'000, 500'000};
  netsnmp_set_agent_starttime(const_cast<timeval *>(&started));
  service_ = {};
  platform.service = [this](const Request &request) { return service_(request); };
  hidden_.clear();
}

Lines ModuleSteps::take(const std::string &command) {
  Lines words = words_of(command);
  const std::string what = words.at(0);
  words.erase(words.begin());
  const auto id = [&](size_t i) { return static_cast<uint32_t>(std::stoul(words.at(i))); };
  const auto record_from = [&](uint32_t form, auto first) {
    return record_of_text(form_of(form), {first, words.end()});
  };
  Events events(hidden_);
  Lines state = state_now();
  std::function<void()> action;
  if (what == "get" || what == "next") {
    events.ask("", "", Instance(words.at(0)).oid_text());
    action = [&] {
      Instance asked(words.at(0));
      read(asked, what == "get");
    };
  } else if (what.starts_with("set")) {
    action = [&] { set(words, what.substr(std::min<size_t>(4, what.size())), state); };
  } else if (what == "notify") {
    action = [&] {
      notify(id(0), words.at(1) == "none" ? std::nullopt
                                          : std::optional(record_from(id(0), words.begin() + 1)));
    };
  } else if (what == "row") {
    service_.add_row(id(0), record_from(id(0), words.begin() + 1));
  } else if (what == "answer") {
    const auto arrow = std::ranges::find(words, "->");
    Reply reply{std::stoi(arrow[1]), {}};
    if (words.end() - arrow > 2) {
      reply.response = record_from(id(1), arrow + 3);
    }
    service_.add_answer(joined({words.begin(), arrow}, " "), reply);
  } else if (what == "hide") {
    hidden_ = words.at(0);
  } else {
    set_state(what, words);
  }
  if (action) {
    const Lines lines = lines_of([&] {
      action();
      record_changes(state);
    });
    for (const std::string &line : without_usual_lines(lines)) {
      events.add(line);
    }
  }
  return events.events;
}
