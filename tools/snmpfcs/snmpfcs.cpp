/**
 * snmpfcs: what the MIB module holds, shown and changed over SNMP.
 */
#include "snmpfcs.h"

#include "common/program/help_text.h"
#include "mib.h"
#include "refusals.h"

#include <clocale>
#include <cstdlib>
#include <iomanip>
#include <iostream>

namespace snmpfcs {

namespace {

constexpr char kDefaultRoot[] = "1.3.6.1.4.1.32473.1.1";
constexpr char kUsage[] = "Usage: snmpfcs [SNMP OPTIONS] AGENT COMMAND [OPTIONS]\n"
                          "       snmpfcs help [COMMAND|refusals|objects|options]\n";
constexpr char kFooter[] =
    "SNMP OPTIONS are those of snmpwalk and its kin, such as -v2c -c public; help options lists "
    "them, and\nsnmp.conf holds what is not given. They come first.\n\n"
    "Exit status:\n"
    "  0    done\n"
    "  1    refused by the agent, or failed otherwise\n"
    "  2    wrong command line\n"
    "  3    taken by the agent, but not all has come of it: a VSAN was not discovered, a platform "
    "is invalid\n"
    "  4    no answer from the agent\n"
    "  130  interrupted\n";

Context context;

/** Whether the first two numbers have the octet that they share in a message. */
bool is_encodable(const Oid &id) {
  return id.size() > 1 && id[0] <= 2 && (id[0] == 2 || id[1] < 40);
}

void describe(CLI::App &app) {
  cli::speak_plainly(app, "[SNMP OPTIONS] AGENT");
  app.require_subcommand(1);
  app.fallthrough();
  context.root = *read_oid(kDefaultRoot);
  app.add_option_function<std::string>(
         "--root",
         [](const std::string &text) {
           const std::optional<Oid> root = read_oid(text);
           if (!root || !is_encodable(*root)) {
             throw CLI::ValidationError("--root", "\"" + text + "\" is no object identifier");
           }
           context.root = *root;
         },
         "Root of the MIB module")
      ->envname("FCS_MIB_ROOT")
      ->type_name("OID")
      ->default_str(kDefaultRoot);
  app.add_flag("--progress", context.progress,
               "Say how far it is, even if standard error is no terminal");
  for (const auto add : {add_show, add_discovery, add_configuration, add_watch, add_map}) {
    add(app, context);
  }
  app.footer(kFooter); // Not of the commands that have been added.
}

void print_objects() {
  for (const Object &object : kObjects) {
    std::cout << std::left << std::setw(12) << object.place << std::setw(34) << object.name
              << (object.access == Access::kWrite ? "RW" : "RO");
    const char *separator = "  ";
    for (const Term &term : object.terms) {
      std::cout << separator << term.word << '(' << term.value << ')';
      separator = " ";
    }
    std::cout << '\n';
  }
}

/** The commands whose help is asked for, each one of those of the one before it. */
std::vector<std::string> topic_of_help;

void describe_for_help(CLI::App &app) {
  describe(app);
  const CLI::App *command = &app;
  for (const std::string &word : topic_of_help) {
    const auto named = command->get_subcommands(
        [&word](const CLI::App *each) { return each->get_name() == word; });
    if (named.empty()) {
      throw Failure("there is no help on \"" + word + "\": help names the commands", 2);
    }
    command = named.front();
  }
}

/** What follows "help": a topic, or a command, whose own help it is. */
int help(int argc, char **argv) {
  const std::string topic = argc > 2 ? argv[2] : "";
  if (topic == "refusals") {
    print_refusals(std::cout);
  } else if (topic == "objects") {
    print_objects();
  } else if (topic == "options") {
    snmp_parse_args_usage(stdout);
    std::fputc('\n', stdout);
    snmp_parse_args_descriptions(stdout);
  } else {
    std::vector<char *> words(argv + 2, argv + argc);
    topic_of_help.assign(words.begin(), words.end());
    static char ask[] = "--help";
    words.insert(words.begin(), argv[0]);
    words.push_back(ask);
    return run_program(
        {"snmpfcs", "Shows and changes what the FCS MIB module holds.", describe_for_help},
        static_cast<int>(words.size()), words.data());
  }
  return 0;
}

int run(int argc, char **argv) {
  const std::string_view first = argc > 1 ? argv[1] : "--help";
  if (first == "help") {
    return help(argc, argv);
  }
  int used = 1;
  if (first != "--help" && first != "--version") {
    setenv("POSIXLY_CORRECT", "1", 0); // Options behind the agent are the command's.
    setenv("MIBS", "", 1);             // All names are known here.
    used = snmp_parse_args(argc, argv, &context.described, "", nullptr);
    if (used < 0) {
      std::cerr << (used == NETSNMP_PARSE_ARGS_ERROR_USAGE ? kUsage : "");
      return used == NETSNMP_PARSE_ARGS_SUCCESS_EXIT ? 0 : 2;
    }
  }
  std::vector<char *> words(argv + used, argv + argc);
  words.insert(words.begin(), argv[0]);
  return run_program({"snmpfcs", "Shows and changes what the FCS MIB module holds.", describe},
                     static_cast<int>(words.size()), words.data());
}

} // namespace

Session &Context::session() {
  if (!opened) {
    opened.emplace(described, root);
  }
  return *opened;
}

Ranges ranges_of(const cli::VsanList &vsans) {
  if (vsans.ranges().empty()) {
    return kAnyNumber;
  }
  std::vector<uint32_t> numbers;
  for (const fcs::VsanRange &range : vsans.ranges()) {
    for (uint32_t vsan = range.first; vsan <= range.last; ++vsan) {
      numbers.push_back(vsan);
    }
  }
  return ranges_of(std::move(numbers));
}

void check_found(const std::vector<uint32_t> &found, const cli::VsanList &wanted) {
  for (const fcs::VsanRange &range : wanted.ranges()) {
    if (std::ranges::none_of(found, [&range](uint32_t vsan) { return range.contains(vsan); })) {
      throw Failure("VSAN " + to_text(range) + ": the agent has none, or your role may not read it",
                    kFailed);
    }
  }
}

void add_where_option(CLI::App &command, ReportOptions &options) {
  const auto read = [&options](const std::vector<std::string> &texts) {
    try {
      for (const std::string &text : texts) {
        options.conditions.push_back(read_condition(text));
      }
    } catch (const std::invalid_argument &fault) {
      throw CLI::ValidationError("--where", fault.what());
    }
  };
  command
      .add_option_function<std::vector<std::string>>(
          "--where", read,
          "Only rows for which this holds, such as state=offline or name~edge, with = != ~ < or >; "
          "may be given again")
      ->expected(1)
      ->take_all()
      ->type_name("CONDITION");
}

void add_format_option(CLI::App &command, ReportOptions &options) {
  static const std::map<std::string, Format> kFormats = {
      {"table", Format::kTable}, {"json", Format::kJson}, {"csv", Format::kCsv}};
  command
      .add_option_function<std::string>(
          "--format", [&options](const std::string &word) { options.format = kFormats.at(word); },
          "Table, JSON lines or comma-separated values, of which the latter two have more columns")
      ->check(cli::one_of({"table", "json", "csv"}))
      ->type_name("FORMAT")
      ->default_str("table");
  command.add_flag("--wide", options.wide, "Do not cut rows to the width of the terminal");
}

} // namespace snmpfcs

int main(int argc, char **argv) {
  std::setlocale(LC_CTYPE, "");
  return snmpfcs::run(argc, argv);
}
