/**
 * bench_micro: the pieces of which the answer to one variable binding consists, each by itself. The
 * module and the whole Linux platform take part; only the transport is replaced, by a service that
 * answers at once.
 */
#include "feature/fabric_conf_server/fcs_protocol.h"
#include "feature/fabric_conf_server/snmp/fcs_mib.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_exchange.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_row_lookup.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_trace.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_values.h"
#include "platform/ipc.h"
#include "platform/linux/configuration_tokens.h"
#include "platform/linux/trace/trace_output.h"
#include "platform/role.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ext/stdio_filebuf.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <system_error>
#include <unistd.h>

const uint32_t ipc_response_queue = 1;

namespace {

/** Octets that the service's answers have. */
uint32_t answer_octets = sizeof(FcsPortRecord);

} // namespace

int32_t ipc_req_resp(uint32_t /*opcode*/, uint32_t /*flag*/, const void *request, void **response,
                     uint32_t *length, const char * /*user*/, uint32_t /*session*/,
                     uint32_t /*service*/, uint32_t /*queue*/, uint32_t /*reserved*/) {
  *response = calloc(1, answer_octets);
  memcpy(*response, static_cast<const FcsRequest *>(request)->payload, sizeof(FcsPortKey));
  *length = answer_octets;
  return 0;
}

namespace {

/** A directory that goes with its contents. */
class TemporaryDirectory {
public:
  TemporaryDirectory() {
    std::string pattern = std::filesystem::temp_directory_path() / "fcs-micro-XXXXXX";
    if (mkdtemp(pattern.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), pattern);
    }
    path_ = pattern;
  }
  ~TemporaryDirectory() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
  }
  TemporaryDirectory(const TemporaryDirectory &) = delete;
  TemporaryDirectory &operator=(const TemporaryDirectory &) = delete;
  const std::filesystem::path &path() const { return path_; }

private:
  std::filesystem::path path_;
};

/** Where the platform reads its configuration. */
std::filesystem::path configuration_file;

/** Has the platform read lines of snmpd.conf; what it has read before stays. */
void configure(const std::string &lines) {
  std::ofstream(configuration_file) << lines;
  configuration_tokens_read();
}

void record_history(const char *level) {
  configure(std::string("fcsHistoryLevel ") + level + '\n');
  trace_output_open();
  const int filtered = trace_hist_filtered(FCS_TRACE_MODULE, FCS_TRACE_DETAIL);
  if (filtered != (std::strcmp(level, "none") == 0 ? 1 : 0)) {
    throw std::runtime_error("the event history cannot be switched to " + std::string(level));
  }
}

// ---- Trace

void trace(benchmark::State &state, const char *level) {
  record_history(level);
  int number = 0;
  while (state.KeepRunning()) {
    FCS_DETAIL_VALUES("%s:vsan index %d\n", ++number);
  }
}

void trace_to_nowhere(benchmark::State &state) {
  trace(state, "none");
}
BENCHMARK(trace_to_nowhere);

void trace_to_history(benchmark::State &state) {
  trace(state, "detail");
}
BENCHMARK(trace_to_history);

void fixed_trace_to_history(benchmark::State &state) {
  record_history("detail");
  while (state.KeepRunning()) {
    FCS_DETAIL("%s:entering\n");
  }
}
BENCHMARK(fixed_trace_to_history);

// ---- Exchange and index

/** The module's part of an exchange: records, copies, and the lines that it prints. */
void exchange_without_transport(benchmark::State &state) {
  record_history("none");
  answer_octets = static_cast<uint32_t>(state.range(0));
  const FcsPortKey key{1, {}};
  FcsAnswer<FcsPortRecord> answer;
  while (state.KeepRunning()) {
    fcs_get_data(FCS_REC_PORT, FCS_OP_GETNEXT, &key, sizeof(key), &answer);
    benchmark::DoNotOptimize(answer);
  }
}
BENCHMARK(exchange_without_transport)->Arg(sizeof(FcsPortRecord))->Arg(sizeof(IeEntry));

/** A whole answer of the module but for the transport. */
void port_handler(benchmark::State &state, const char *level) {
  record_history(level);
  answer_octets = sizeof(FcsPortRecord);
  variable column{};
  column.magic = fcsPortType;
  const oid base[] = {1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 1, 15, 1, 2};
  column.namelen = static_cast<u_char>(std::size(base));
  std::copy(std::begin(base), std::end(base), column.name);
  while (state.KeepRunning()) {
    oid name[MAX_OID_LEN] = {1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 1, 15, 1, 2, 7, 33, 0, 0, 0, 94};
    size_t length = 20;
    size_t value_length = 0;
    WriteMethod *write = nullptr;
    benchmark::DoNotOptimize(var_fcsPortTable(&column, name, &length, 0, &value_length, &write));
  }
}

void handler_without_history(benchmark::State &state) {
  port_handler(state, "none");
}
BENCHMARK(handler_without_history);

void handler_with_history(benchmark::State &state) {
  port_handler(state, "detail");
}
BENCHMARK(handler_with_history);

void index_step(benchmark::State &state) {
  const oid base[] = {1, 3, 6, 1, 4, 1, 32473, 1, 1, 1, 1, 15, 1, 2};
  const FcsNameIndex form{.name_octets = FCS_WWN_LENGTH,
                          .next_octets = sizeof(FcsPortRecord) - sizeof(uint32_t)};
  FcsPortRecord record{};
  oid name[MAX_OID_LEN];
  std::copy(std::begin(base), std::end(base), name);
  std::fill_n(name + std::size(base), 1 + FCS_WWN_LENGTH, 33);
  size_t length = std::size(base) + 1 + FCS_WWN_LENGTH;
  size_t value_length = 0;
  WriteMethod *write = nullptr;
  const FcsRowRequest request{base, std::size(base), name, &length, 0, &value_length, &write};
  while (state.KeepRunning()) {
    benchmark::DoNotOptimize(fcs_read_index(form, request, &record));
    fcs_write_index(form, request, &record);
  }
}
BENCHMARK(index_step);

// ---- Roles and bitmaps

void role_copy_and_test(benchmark::State &state) {
  VsanBitmap allowed;
  while (state.KeepRunning()) {
    fcs_bitmap_init(&allowed, VSAN_WHOLE_BYTES);
    benchmark::DoNotOptimize(role_allowed_vsans(&allowed, nullptr, 0, ROLE_ACCESS_READ));
    benchmark::DoNotOptimize(role_vsan_allowed(100, allowed));
  }
}
BENCHMARK(role_copy_and_test);

VsanBitmap every_tenth(uint32_t byte_count) {
  VsanBitmap bitmap;
  fcs_bitmap_init(&bitmap, byte_count);
  for (int32_t position = 0; position < 2048; position += 10) {
    bitmap_set_bit(&bitmap, position);
  }
  return bitmap;
}

template <void shift(const VsanBitmap *, VsanBitmap *)> void bitmap_shift(benchmark::State &state) {
  const VsanBitmap source = every_tenth(VSAN_HALF_BYTES);
  VsanBitmap target;
  fcs_bitmap_init(&target, VSAN_WHOLE_BYTES);
  while (state.KeepRunning()) {
    shift(&source, &target);
    benchmark::DoNotOptimize(target);
  }
}
BENCHMARK(bitmap_shift<fcs_vsan_shift_up>);
BENCHMARK(bitmap_shift<fcs_vsan_shift_down>);

/** Runs the benchmarks; standard output gets their results and not what the module prints there. */
void run() {
  const TemporaryDirectory directory;
  __gnu_cxx::stdio_filebuf<char> real_output(dup(STDOUT_FILENO), std::ios::out);
  std::ostream results(&real_output);
  if (!real_output.is_open() || std::freopen("/dev/null", "w", stdout) == nullptr ||
      std::freopen("/dev/null", "w", stderr) == nullptr) {
    throw std::runtime_error("standard output cannot be redirected");
  }
  configuration_file = directory.path() / "snmpd.conf";
  netsnmp_ds_set_boolean(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_DONT_READ_CONFIGS, 1);
  netsnmp_ds_set_string(NETSNMP_DS_LIBRARY_ID, NETSNMP_DS_LIB_OPTIONALCONFIG,
                        configuration_file.c_str());
  configure("fcsHistoryFile " + (directory.path() / "history").string() +
            "\nfcsRole everything all all\n");
  benchmark::ConsoleReporter reporter(benchmark::ConsoleReporter::OO_Tabular);
  reporter.SetOutputStream(&results);
  benchmark::RunSpecifiedBenchmarks(&reporter);
}

} // namespace

int main(int argc, char **argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
    return 2;
  }
  const int console = dup(STDERR_FILENO);
  try {
    run();
  } catch (const std::exception &error) {
    dprintf(console, "bench_micro: %s\n", error.what());
    return 1;
  }
  return 0;
}
