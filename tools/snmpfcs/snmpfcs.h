/**
 * The commands of snmpfcs. Each adds itself to the command line; when it was chosen, it does its
 * work and throws Failure, or another std::exception, whose text is all that the user gets to see.
 */
#pragma once

#include "report.h"
#include "session.h"
#include "table_walk.h"
#include "tools/command_line/progress_line.h"
#include "tools/command_line/vsan_list.h"

#include <CLI/CLI.hpp>
#include <memory>
#include <optional>
#include <string>

namespace snmpfcs {

/** Whom the commands ask, and how they tell. */
struct Context {
  netsnmp_session described{};
  Oid root;
  bool progress = false;
  std::optional<Session> opened;

  /** The session with the agent, which is opened when it is first asked for. */
  Session &session();
};

/** What the commands that show rows have in common. */
struct ShowOptions : ReportOptions {
  cli::VsanList vsans;
};

/** Adds --format and --wide. */
void add_format_option(CLI::App &command, ReportOptions &options);
/** Adds --where. */
void add_where_option(CLI::App &command, ReportOptions &options);

/** The VSANs of a list as ranges of a walk; any number for an empty list. */
Ranges ranges_of(const cli::VsanList &vsans);

/** \throws Failure naming a VSAN, or a range, of which none was found. */
void check_found(const std::vector<uint32_t> &found, const cli::VsanList &wanted);

/** \throws Failure when the agent has no module, or the service behind it does not answer. */
void check_module(Session &session);

/** Shows a platform as the command platforms does. */
void show_platform(Context &context, uint32_t vsan, uint32_t index);

void add_show(CLI::App &app, Context &context);
void add_discovery(CLI::App &app, Context &context);
void add_configuration(CLI::App &app, Context &context);
void add_watch(CLI::App &app, Context &context);
void add_map(CLI::App &app, Context &context);

} // namespace snmpfcs
