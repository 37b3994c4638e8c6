/**
 * Fabric descriptions of any text: refused on one line with the store as it was, or the fabric that
 * the store describes from then on.
 */
#include "fuzz_input.h"
#include "fuzz_store.h"

#include "service/description/fabric_json.h"

#include <sstream>

namespace {

std::string description_of(fcs::FabricStore &store) {
  std::ostringstream out;
  fcs::export_fabric(store, out);
  return out.str();
}

/** \return the fault; empty for none. */
std::string import(fcs::FabricStore &store, const std::string &description) {
  std::istringstream in(description);
  try {
    fcs::import_fabric(store, in, "fuzzed");
  } catch (const std::runtime_error &fault) {
    return fault.what();
  }
  return {};
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *octets, size_t length) {
  static std::istringstream original(R"({"vsans": [{"id": 1, "elements": []}]})");
  static FuzzStore fuzzed(original);
  static const fcs::FabricTotals before = fuzzed.store.totals();
  const std::string fault = import(fuzzed.store, {octets, octets + length});
  if (!fault.empty()) {
    require(fault.starts_with("fuzzed: ") && fault.find('\n') == std::string::npos,
            "a fault is told on one line that names the description");
    const fcs::FabricTotals now = fuzzed.store.totals();
    require(memcmp(&now, &before, sizeof(now)) == 0, "a refused fabric changes nothing");
    return 0;
  }
  const std::string description = description_of(fuzzed.store);
  require(import(fuzzed.store, description).empty(), "what is exported can be imported");
  require(description_of(fuzzed.store) == description, "and gives the same description");
  fuzzed.restore();
  return 0;
}
