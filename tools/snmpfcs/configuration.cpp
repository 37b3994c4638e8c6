#include "common/program/help_text.h"
#include "common/text/octets.h"
#include "fabric_lists.h"
#include "refusals.h"
#include "snmpfcs.h"

#include <iostream>

namespace snmpfcs {

namespace {

enum RowStatus { kCreateAndGo = 4, kDestroy = 6 };

/** A row that can be created and deleted, and how people call it. */
struct Row {
  const char *row_status;
  Oid index;
  std::string what;
};

bool is_there(Session &session, const Row &row) {
  return !std::holds_alternative<std::monostate>(session.get(object(row.row_status), row.index));
}

Binding status_of(const Row &row, RowStatus status) {
  return {&object(row.row_status), row.index, int64_t{status}};
}

/** Creates a row by all of the bindings. */
void create(Session &session, const Row &row, const std::vector<Binding> &bindings) {
  if (is_there(session, row)) {
    throw Failure(row.what + ": is there already", kFailed);
  }
  explained(row.what, [&] { session.set(bindings, [&] { return is_there(session, row); }); });
}

void destroy(Context &context, const Row &row) {
  Session &session = context.session();
  check_module(session);
  if (!is_there(session, row)) {
    throw Failure(row.what + ": is not there, or your role may not read it", kFailed);
  }
  explained(row.what, [&] {
    session.set({status_of(row, kDestroy)}, [&] { return !is_there(session, row); });
  });
}

// Platforms

struct Platform {
  uint32_t vsan = 0;
  uint32_t index = 0;
  std::string name;
  std::string type;
  std::optional<uint32_t> node_names;
  std::optional<uint32_t> addresses;
};

Row row_of(const Platform &platform) {
  return {"fcsPlatformRowStatus",
          {platform.vsan, platform.index},
          "platform " + std::to_string(platform.index) + " of VSAN " +
              std::to_string(platform.vsan)};
}

std::vector<Binding> columns_of(const Platform &platform) {
  const Oid index = row_of(platform).index;
  std::vector<Binding> columns;
  if (!platform.type.empty()) {
    const Object &type = object("fcsPlatformType");
    columns.push_back({&type, index, *value_of(type.terms, platform.type)});
  }
  if (platform.node_names) {
    columns.push_back(
        {&object("fcsPlatformNodeNameListIndex"), index, int64_t{*platform.node_names}});
  }
  if (platform.addresses) {
    columns.push_back(
        {&object("fcsPlatformMgmtAddrListIndex"), index, int64_t{*platform.addresses}});
  }
  return columns;
}

/** What can be seen to stand against a new platform; the FCS service itself does not say. */
void check_platform(Session &session, const Platform &platform) {
  const std::string vsan = std::to_string(platform.vsan);
  if (std::holds_alternative<std::monostate>(
          session.get(object("fcsDiscoveryStatus"), {platform.vsan}))) {
    throw Failure("VSAN " + vsan + ": the agent has none, or your role may not read it", kFailed);
  }
  walk(session, {"fcsPlatformName"}, {{platform.vsan, platform.vsan}},
       [&](const Oid &index, std::span<const Value> values) {
         if (values[0] == Value(platform.name) && index.back() != platform.index) {
           throw Failure(row_of(platform).what + ": platform " + std::to_string(index.back()) +
                             " of the VSAN has this name already",
                         kFailed);
         }
       });
}

void add_platform(Context &context, const Platform &platform) {
  Session &session = context.session();
  check_module(session);
  check_platform(session, platform);
  const Row row = row_of(platform);
  std::vector<Binding> bindings = {{&object("fcsPlatformName"), row.index, platform.name},
                                   status_of(row, kCreateAndGo)};
  std::ranges::move(columns_of(platform), std::back_inserter(bindings));
  create(session, row, bindings);
  show_platform(context, platform.vsan, platform.index);
}

void change_platform(Context &context, const Platform &platform) {
  const std::vector<Binding> columns = columns_of(platform);
  if (columns.empty()) {
    throw CLI::RequiredError("one of --type, --node-names and --addresses");
  }
  check_module(context.session());
  explained(row_of(platform).what, [&] { context.session().set(columns); });
  show_platform(context, platform.vsan, platform.index);
}

void validate_platform(Context &context, const Platform &platform) {
  Session &session = context.session();
  check_module(session);
  const Row row = row_of(platform);
  explained(row.what, [&] {
    session.set({{&object("fcsPlatformValidation"), row.index, int64_t{1}}});
  });
  const Object &result = object("fcsPlatformValidationResult");
  const std::string word = text_of(cell_of(result, session.get(result, row.index)));
  std::cout << word << '\n';
  if (word != "valid") {
    throw Failure(row.what + ": is not valid: its lists of node names and addresses, where it has "
                             "them, need rows",
                  kIncomplete);
  }
}

std::shared_ptr<Platform> add_platform_options(CLI::App &command) {
  auto platform = std::make_shared<Platform>();
  command.add_option("VSAN", platform->vsan, "VSAN")
      ->required()
      ->check(cli::between(1, 4096))
      ->default_str("");
  command.add_option("INDEX", platform->index, "Number of the platform in its VSAN")
      ->required()
      ->check(cli::between(1, 0x7FFFFFFF))
      ->default_str("");
  return platform;
}

void add_column_options(CLI::App &command, Platform &platform) {
  std::vector<std::string> types;
  for (const Term &term : object("fcsPlatformType").terms.subspan(1)) {
    types.emplace_back(term.word);
  }
  const auto list = CLI::Range(uint32_t{0}, uint32_t{0x7FFFFFFF}).description("0 for none");
  command.add_option("--type", platform.type, "Type")->check(cli::one_of(types))->type_name("TYPE");
  command.add_option("--node-names", platform.node_names, "List of its node names")
      ->check(list)
      ->type_name("LIST");
  command.add_option("--addresses", platform.addresses, "List of its management addresses")
      ->check(list)
      ->type_name("LIST");
}

void add_platform_commands(CLI::App &app, Context &context) {
  CLI::App *const platform = app.add_subcommand("platform", "Configure platforms");
  platform->require_subcommand(1);

  CLI::App *const add = platform->add_subcommand("add", "Create a platform");
  const auto added = add_platform_options(*add);
  add->add_option("NAME", added->name, "Name: without blanks, the only one of the VSAN")
      ->required();
  add_column_options(*add, *added);
  add->callback([&context, added] { add_platform(context, *added); });

  CLI::App *const change = platform->add_subcommand("change", "Change type or lists of a platform");
  const auto changed = add_platform_options(*change);
  add_column_options(*change, *changed);
  change->callback([&context, changed] { change_platform(context, *changed); });

  CLI::App *const validate =
      platform->add_subcommand("validate", "Have the FCS service look whether its lists have rows");
  const auto validated = add_platform_options(*validate);
  validate->callback([&context, validated] { validate_platform(context, *validated); });

  CLI::App *const remove = platform->add_subcommand("delete", "Delete a platform, not its lists");
  const auto removed = add_platform_options(*remove);
  remove->callback([&context, removed] { destroy(context, row_of(*removed)); });
}

// Management addresses and node names

struct ListRow {
  uint32_t list = 0;
  uint32_t index = 0;
  std::string text; ///< The address, or the world-wide name in writing.
};

Row address_row(const ListRow &row) {
  return {"fcsMgmtAddrRowStatus",
          {row.list, row.index},
          "address " + std::to_string(row.index) + " of list " + std::to_string(row.list)};
}

Row node_name_row(const ListRow &row) {
  return {"fcsNodeNameRowStatus", named_index(row.list, *fcs::from_hex(row.text)),
          "node name " + row.text + " of list " + std::to_string(row.list)};
}

void add_address(Context &context, const ListRow &address) {
  check_module(context.session());
  const Row row = address_row(address);
  create(context.session(), row,
         {status_of(row, kCreateAndGo), {&object("fcsMgmtAddr"), row.index, address.text}});
}

void add_node_name(Context &context, const ListRow &name) {
  Session &session = context.session();
  check_module(session);
  const Row row = node_name_row(name);
  walk(session, {"fcsNodeNameConfigSource"}, kAnyNumber, [&](const Oid &index, auto) {
    if (std::equal(index.begin() + 1, index.end(), row.index.begin() + 1, row.index.end()) &&
        index[0] != row.index[0]) {
      throw Failure(row.what + ": list " + std::to_string(index[0]) + " has this name already",
                    kFailed);
    }
  });
  create(session, row, {status_of(row, kCreateAndGo)});
}

std::shared_ptr<ListRow> add_list_option(CLI::App &command) {
  auto row = std::make_shared<ListRow>();
  command.add_option("LIST", row->list, "Number of the list, which begins with its first row")
      ->required()
      ->check(cli::between(1, 0x7FFFFFFF))
      ->default_str("");
  return row;
}

void add_index_option(CLI::App &command, ListRow &row) {
  command.add_option("INDEX", row.index, "Number of the address in its list")
      ->required()
      ->check(cli::between(1, 0x7FFFFFFF))
      ->default_str("");
}

void add_wwn_option(CLI::App &command, ListRow &row) {
  command.add_option("NAME", row.text, "World-wide name, as 20:00:00:00:5e:00:53:c8")
      ->required()
      ->check([](const std::string &text) {
        const auto octets = fcs::from_hex(text);
        return octets && octets->size() == sizeof(Wwn)
                   ? ""
                   : "\"" + text + "\" is no world-wide name of eight octets in hexadecimal";
      });
}

void add_list_commands(CLI::App &app, Context &context) {
  CLI::App *const address = app.add_subcommand("address", "Configure management addresses");
  address->require_subcommand(1);
  CLI::App *const add = address->add_subcommand("add", "Add an address to a list");
  const auto added = add_list_option(*add);
  add_index_option(*add, *added);
  add->add_option("ADDRESS", added->text, "Address, 1 to 255 octets")->required();
  add->callback([&context, added] { add_address(context, *added); });
  CLI::App *const remove = address->add_subcommand("delete", "Delete an address from a list");
  const auto removed = add_list_option(*remove);
  add_index_option(*remove, *removed);
  remove->callback([&context, removed] { destroy(context, address_row(*removed)); });

  CLI::App *const name = app.add_subcommand("node-name", "Configure node names");
  name->require_subcommand(1);
  CLI::App *const add_name = name->add_subcommand("add", "Add a node name to a list");
  const auto added_name = add_list_option(*add_name);
  add_wwn_option(*add_name, *added_name);
  add_name->callback([&context, added_name] { add_node_name(context, *added_name); });
  CLI::App *const remove_name = name->add_subcommand("delete", "Delete a node name from a list");
  const auto removed_name = add_list_option(*remove_name);
  add_wwn_option(*remove_name, *removed_name);
  remove_name->callback(
      [&context, removed_name] { destroy(context, node_name_row(*removed_name)); });
}

// Notifications

struct Switch {
  std::string which;
  std::string position;
};

void set_switch(Context &context, const Switch &wanted) {
  Session &session = context.session();
  check_module(session);
  const Object &enable = object(wanted.which == "rejects" ? "fcsReqRejNotifyEnable"
                                                          : "fcsDiscoveryCompleteNotifyEnable");
  explained("notifications of " + wanted.which, [&] {
    session.set({{&enable, {0}, int64_t{wanted.position == "on" ? 1 : 2}}});
  });
}

void add_notification_command(CLI::App &app, Context &context) {
  CLI::App *const command = app.add_subcommand(
      "notifications", "Switch on or off what the agent notifies; summary shows how they stand");
  const auto wanted = std::make_shared<Switch>();
  command->add_option("WHICH", wanted->which, "Rejected requests, or completed discoveries")
      ->required()
      ->check(cli::one_of({"rejects", "completion"}));
  command->add_option("POSITION", wanted->position, "Whether they are sent")
      ->required()
      ->check(cli::one_of({"on", "off"}));
  command->callback([&context, wanted] { set_switch(context, *wanted); });
}

} // namespace

void add_configuration(CLI::App &app, Context &context) {
  add_platform_commands(app, context);
  add_list_commands(app, context);
  add_notification_command(app, context);
}

} // namespace snmpfcs
