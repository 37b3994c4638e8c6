#include "configuration_tokens.h"

#include "platform/linux/roles/roles.h"
#include "platform/linux/settings/settings.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <fstream>
#include <pwd.h>
#include <sstream>
#include <stdexcept>
#include <sys/un.h>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

namespace {

std::string trimmed(const char *text) {
  const std::string_view all(text);
  const size_t first = all.find_first_not_of(" \t");
  if (first == std::string_view::npos) {
    return {};
  }
  return std::string(all.substr(first, all.find_last_not_of(" \t\r\n") - first + 1));
}

std::string set_service_socket(const char *arguments) {
  const std::string path = trimmed(arguments);
  if (path.empty() || path.front() != '/' || path.size() >= sizeof(sockaddr_un::sun_path)) {
    return "'" + path + "' is not an absolute path of at most " +
           std::to_string(sizeof(sockaddr_un::sun_path) - 1) + " characters";
  }
  settings_for_change().service_socket = path;
  return {};
}

std::string set_service_user(const char *arguments) {
  const std::string user = trimmed(arguments);
  const passwd *entry = getpwnam(user.c_str());
  settings_for_change().service_uid = entry == nullptr ? kNobody : entry->pw_uid;
  return entry == nullptr ? "there is no user '" + user + "'" : std::string();
}

std::string set_exchange_timeout(const char *arguments) {
  const std::string text = trimmed(arguments);
  int milliseconds = 0;
  const char *end = text.data() + text.size();
  const auto [rest, error] = std::from_chars(text.data(), end, milliseconds);
  if (error != std::errc() || rest != end || milliseconds < 10 || milliseconds > 10000) {
    return "'" + text + "' is not a number of milliseconds within 10 to 10000";
  }
  settings_for_change().exchange_timeout = std::chrono::milliseconds(milliseconds);
  return {};
}

std::string set_history_file(const char *arguments) {
  const std::string path = trimmed(arguments);
  if (path.empty() || path.front() != '/') {
    return "'" + path + "' is not an absolute path";
  }
  settings_for_change().history_file = path;
  return {};
}

std::string set_history_level(const char *arguments) {
  const std::string level = trimmed(arguments);
  if (level == "none") {
    settings_for_change().history_level = 0;
  } else if (level == "event") {
    settings_for_change().history_level = FCS_TRACE_EVENT;
  } else if (level == "detail") {
    settings_for_change().history_level = FCS_TRACE_DETAIL;
  } else {
    return "'" + level + "' is none of none, event, detail";
  }
  return {};
}

struct Token {
  const char *name;
  std::string (*parse)(const char *arguments); ///< Returns what is wrong with a line, or nothing.
  const char *help;
};

constexpr Token kTokens[] = {
    {"fcsServiceSocket", set_service_socket, "PATH"},
    {"fcsServiceUser", set_service_user, "USER"},
    {"fcsExchangeTimeout", set_exchange_timeout, "MILLISECONDS"},
    {"fcsHistoryFile", set_history_file, "PATH"},
    {"fcsHistoryLevel", set_history_level, "none|event|detail"},
    {"fcsRole", roles_define, "NAME READ-LIST WRITE-LIST"},
    {"fcsRoleUser", roles_assign, "SECURITY-NAME ROLE"},
};

/** The agent's report of a bad line names file and line. */
void parse_line(const char *name, char *arguments) {
  for (const Token &token : kTokens) {
    if (strcasecmp(token.name, name) == 0) {
      if (const std::string fault = token.parse(arguments); !fault.empty()) {
        netsnmp_config_error("%s: %s", token.name, fault.c_str());
      }
    }
  }
}

/** Before the agent reads its configuration again, and when the tokens are taken out. */
void forget() {
  settings_for_change() = Settings();
  roles_reset();
}

using OwnLines = std::array<config_line, std::size(kTokens)>;

/** Makes the tokens a list of their own, for a reading that is to skip all others. */
void link_own_lines(OwnLines &lines) {
  for (size_t i = 0; i < lines.size(); ++i) {
    lines[i].config_token = const_cast<char *>(kTokens[i].name);
    lines[i].parse_line = parse_line;
    lines[i].config_time = NORMAL_CONFIG;
    lines[i].next = i + 1 < lines.size() ? &lines[i + 1] : nullptr;
  }
}

} // namespace

void configuration_tokens_register() {
  for (const Token &token : kTokens) {
    register_app_config_handler(token.name, parse_line, &token == kTokens ? forget : nullptr,
                                token.help);
  }
}

void configuration_tokens_unregister() {
  for (const Token &token : kTokens) {
    unregister_app_config_handler(token.name);
  }
}

void configuration_tokens_read_file(const std::string &path) {
  if (std::ifstream file(path); file.peek() == std::ifstream::traits_type::eof() && !file.eof()) {
    throw std::runtime_error("cannot read " + path + ": " + strerror(errno));
  }
  forget();
  OwnLines lines{};
  link_own_lines(lines);
  read_config(path.c_str(), lines.data(), NORMAL_CONFIG);
}

void configuration_tokens_read() {
  OwnLines lines{};
  link_own_lines(lines);
  const int warnings =
      netsnmp_ds_get_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_NO_TOKEN_WARNINGS);
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_NO_TOKEN_WARNINGS, 1);
  char type[] = "snmpd";
  config_files files{};
  files.fileHeader = type;
  files.start = lines.data();
  if (netsnmp_ds_get_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS) == 0) {
    read_config_files_of_type(NORMAL_CONFIG, &files);
  }
  if (const char *named =
          netsnmp_ds_get_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG);
      named != nullptr) {
    std::istringstream paths(named);
    for (std::string path; std::getline(paths, path, ',');) {
      read_config(path.c_str(), lines.data(), NORMAL_CONFIG);
    }
  }
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_NO_TOKEN_WARNINGS, warnings);
}
