#include "common/program/help_text.h"
#include "fabric_lists.h"
#include "interrupt.h"
#include "refusals.h"
#include "snmpfcs.h"
#include "vsan_bitmap.h"

#include <chrono>
#include <iostream>
#include <map>

namespace snmpfcs {

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int kLockTries = 5;
/** A start on many VSANs may pass some over, when the agent has spent its time; one more takes them
 * up. */
constexpr int kStartRounds = 3;
constexpr auto kPollInterval = 500ms;

enum Status { kInProgress = 1, kCompleted = 2, kLocalOnly = 3 };

struct VsanState {
  int64_t status;
  int64_t completed; ///< The agent's uptime in hundredths of a second; 0 for never.
};
using VsanStates = std::map<uint32_t, VsanState>;

struct Options : ShowOptions {
  std::string name;
  bool has_name = false;
  uint32_t time_out = 0; ///< 0 leaves it as it is.
  bool again = false;
};

VsanStates read_states(Session &session, const Ranges &vsans) {
  VsanStates states;
  walk(session, {"fcsDiscoveryStatus", "fcsDiscoveryCompletedTime"}, vsans,
       [&states](const Oid &index, std::span<const Value> values) {
         states[static_cast<uint32_t>(index[0])] = {number_of(values[0]), number_of(values[1])};
       });
  return states;
}

std::vector<uint32_t> vsans_of(const VsanStates &states) {
  std::vector<uint32_t> vsans;
  for (const auto &[vsan, state] : states) {
    vsans.push_back(vsan);
  }
  return vsans;
}

VsanStates choose_vsans(Session &session, const cli::VsanList &wanted) {
  check_module(session);
  VsanStates states = read_states(session, ranges_of(wanted));
  check_found(vsans_of(states), wanted);
  return states;
}

/** A discovery of some VSANs, from its start to what has come of it. */
class Discovery {
public:
  Discovery(Context &context, const Options &options)
      : session_(context.session()), options_(options),
        before_(choose_vsans(session_, options.vsans)), now_(before_), line_(context.progress) {
    for (const uint32_t vsan : vsans_of(before_)) {
      results_[vsan] = {};
    }
  }

  void run() {
    note_interrupts();
    std::vector<uint32_t> vsans = vsans_of(before_);
    for (int round = 0; round < kStartRounds && !vsans.empty() && !is_interrupted(); ++round) {
      start(vsans);
      look();
      std::erase_if(vsans, [this](uint32_t vsan) { return now_[vsan].status != kLocalOnly; });
    }
    follow();
  }

  void report() {
    Report report({{"vsan"}, {"result"}, {"seconds"}}, options_);
    for (const auto &[vsan, result] : results_) {
      report.add({static_cast<int64_t>(vsan), std::string(word_of(vsan)),
                  result.seconds < 0 ? Cell() : Cell(result.seconds)});
    }
    report.finish();
    judge();
  }

private:
  struct Result {
    bool was_in_progress = false;
    bool is_over = false;
    double seconds = -1;
  };

  /** All of it in one request: nothing is left half done, whatever happens on the way. */
  std::vector<Binding> bindings(int64_t lock, const std::vector<uint32_t> &vsans) const {
    std::vector<Binding> all = {{&object("fcsVsanDiscoverySpinLock"), {0}, lock}};
    if (options_.time_out != 0) {
      all.push_back({&object("fcsVsanDiscoveryTimeOut"), {0}, int64_t{options_.time_out}});
    }
    if (options_.has_name) {
      all.push_back({&object("fcsVsanDiscoveryName"), {0}, options_.name});
    }
    for (const VsanHalf &half : kHalves) {
      const std::string bitmap = bitmap_of(vsans, half);
      if (options_.again && !bitmap.empty()) {
        all.push_back({&object(half.invalidate), {0}, bitmap});
      }
    }
    for (const VsanHalf &half : kHalves) { // Both, or what others have left would start, too.
      all.push_back({&object(half.list), {0}, bitmap_of(vsans, half)});
    }
    all.push_back({&object("fcsStartDiscovery"), {0}, int64_t{1}});
    return all;
  }

  void start(const std::vector<uint32_t> &vsans) {
    const Object &spin_lock = object("fcsVsanDiscoverySpinLock");
    for (int tries = 0; tries < kLockTries && !is_interrupted(); ++tries) {
      const std::vector<Value> read =
          session_.get({session_.oid_of(spin_lock) + Oid{0}, kSysUpTime});
      const int64_t lock = number_of(read[0]);
      uptime_ = number_of(read[1]);
      started_ = Clock::now();
      try {
        session_.set(bindings(lock, vsans),
                     [&] { return number_of(session_.get(spin_lock)) != lock; });
        return;
      } catch (const Refused &refused) {
        if (refused.object != &spin_lock ||
            (refused.status != SNMP_ERR_INCONSISTENTVALUE && refused.status != SNMP_ERR_BADVALUE)) {
          throw Failure("discovery of VSAN " + list_text(vsans) + ": " + explain(refused), kFailed);
        }
      }
      wait(std::chrono::milliseconds(50 + lock % 7 * 30));
    }
    if (is_interrupted()) {
      throw Failure("interrupted: nothing was started", kInterrupted);
    }
    throw Failure("another manager has moved the lock on " + std::to_string(kLockTries) +
                      " times in a row: agree on turns, or try again later",
                  kFailed);
  }

  void look() {
    now_ = read_states(session_, ranges_of(vsans_of(before_)));
    for (auto &[vsan, result] : results_) {
      const VsanState state = now_[vsan];
      result.was_in_progress |= state.status == kInProgress;
      result.is_over = state.status != kInProgress;
      if (!result.is_over) {
        result.seconds = -1;
      } else if (result.seconds < 0 && is_new(vsan)) {
        result.seconds = seconds_to(state);
      }
    }
  }

  /** How long it took by the agent's clock; by this machine's, when the agent does not tell. */
  double seconds_to(const VsanState &state) const {
    const int64_t ticks = state.completed - uptime_;
    return state.status == kCompleted && ticks >= 0 && uptime_ > 0
               ? static_cast<double>(ticks) / 100
               : std::chrono::duration<double>(Clock::now() - started_).count();
  }

  bool is_new(uint32_t vsan) const {
    return results_.at(vsan).was_in_progress ||
           now_.at(vsan).completed != before_.at(vsan).completed;
  }

  void follow() {
    const auto left = [this] {
      return std::ranges::count_if(results_, [](const auto &each) { return !each.second.is_over; });
    };
    for (auto count = left(); count > 0 && !is_interrupted(); count = left()) {
      const auto seconds =
          std::chrono::duration_cast<std::chrono::seconds>(Clock::now() - started_).count();
      line_.show(std::to_string(results_.size() - static_cast<size_t>(count)) + " of " +
                 std::to_string(results_.size()) + " VSANs done, " + std::to_string(seconds) +
                 " s" + (is_away_ ? ": the agent does not answer" : ""));
      wait(kPollInterval);
      look_if_there();
    }
  }

  /** An agent that is away for a while is waited for, as long as a discovery may take. */
  void look_if_there() {
    try {
      look();
      is_away_ = false;
      answered_ = Clock::now();
    } catch (const NoAnswer &) {
      is_away_ = true;
      if (Clock::now() - answered_ > 30min) {
        throw;
      }
    }
  }

  std::string_view word_of(uint32_t vsan) const {
    const int64_t status = now_.at(vsan).status;
    const bool was = results_.at(vsan).was_in_progress;
    return status == kInProgress  ? "inProgress"
           : status == kCompleted ? (is_new(vsan) ? "completed" : "known already")
           : status == kLocalOnly ? (was ? "timed out" : "not started")
                                  : "gone";
  }

  std::vector<uint32_t> vsans_with(std::string_view word) const {
    std::vector<uint32_t> vsans;
    for (const auto &[vsan, result] : results_) {
      if (word_of(vsan) == word) {
        vsans.push_back(vsan);
      }
    }
    return vsans;
  }

  void judge() const {
    if (is_interrupted()) {
      throw Failure("interrupted: the discoveries go on; the command vsans shows how they stand",
                    kInterrupted);
    }
    const std::vector<uint32_t> known = vsans_with("known already");
    if (!known.empty()) {
      std::cerr << "snmpfcs: VSAN " << list_text(known)
                << ": was discovered before; --again forgets what was found and starts anew\n";
    }
    for (const auto &[word, why] :
         {std::pair("timed out", "its discovery timed out, or its cache was invalidated meanwhile"),
          std::pair("not started", "the FCS service did not start it: the event history says why"),
          std::pair("gone", "the agent has it no more")}) {
      if (const std::vector<uint32_t> vsans = vsans_with(word); !vsans.empty()) {
        throw Failure("VSAN " + list_text(vsans) + ": " + why, kIncomplete);
      }
    }
  }

  Session &session_;
  const Options &options_;
  VsanStates before_;
  VsanStates now_;
  std::map<uint32_t, Result> results_;
  cli::ProgressLine line_;
  int64_t uptime_ = 0; ///< The agent's at the start.
  Clock::time_point started_ = Clock::now();
  Clock::time_point answered_ = Clock::now();
  bool is_away_ = false;
};

void discover(Context &context, const Options &options) {
  Discovery discovery(context, options);
  discovery.run();
  discovery.report();
}

void invalidate(Context &context, const Options &options) {
  Session &session = context.session();
  const std::vector<uint32_t> vsans = vsans_of(choose_vsans(session, options.vsans));
  std::vector<Binding> bindings;
  for (const VsanHalf &half : kHalves) {
    if (const std::string bitmap = bitmap_of(vsans, half); !bitmap.empty()) {
      bindings.push_back({&object(half.invalidate), {0}, bitmap});
    }
  }
  explained("VSAN " + list_text(vsans), [&] { session.set(bindings); });
  Report report({{"vsan"}, {"status"}}, options);
  std::vector<uint32_t> kept;
  for (const auto &[vsan, state] : read_states(session, ranges_of(vsans))) {
    report.add(
        {static_cast<int64_t>(vsan), cell_of(object("fcsDiscoveryStatus"), Value(state.status))});
    if (state.status != kLocalOnly) {
      kept.push_back(vsan);
    }
  }
  report.finish();
  if (!kept.empty()) {
    throw Failure("VSAN " + list_text(kept) +
                      ": keeps what was found: it is being discovered, or the FCS service did not "
                      "answer",
                  kIncomplete);
  }
}

std::shared_ptr<Options> add_options(CLI::App &command, const std::string &vsans) {
  auto options = std::make_shared<Options>();
  cli::add_vsan_option(command, options->vsans, vsans);
  command.get_option("--vsan")->required();
  add_format_option(command, *options);
  return options;
}

} // namespace

void add_discovery(CLI::App &app, Context &context) {
  CLI::App *const start =
      app.add_subcommand("discover", "Have VSANs discovered, and wait for the outcome");
  const auto options = add_options(*start, "What to discover, such as 1-100,2100");
  start
      ->add_option_function<std::string>(
          "--name",
          [options](const std::string &name) {
            options->name = name;
            options->has_name = true;
          },
          "Name that the notification of the completion is to bear")
      ->type_name("TEXT");
  start->add_option("--timeout", options->time_out, "Seconds after which a VSAN is given up")
      ->check(cli::between(300, 1800))
      ->default_str("");
  start->add_flag("--again", options->again,
                  "Forget first what was found before; otherwise VSANs that have been discovered "
                  "are passed over");
  start->callback([&context, options] { discover(context, *options); });

  CLI::App *const forget =
      app.add_subcommand("invalidate", "Forget what discovery has found beyond the local switch");
  const auto what = add_options(*forget, "Where, such as 1-100,2100");
  forget->callback([&context, what] { invalidate(context, *what); });
}

} // namespace snmpfcs
