/**
 * Lists of VSANs on the command line.
 */
#pragma once

#include "common/text/vsan_range.h"

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/** As 1-100,2100. */
class VsanList {
public:
  /** Adds what `text` names. \throws std::invalid_argument naming what is no VSAN of 1 to 4096. */
  void add(const std::string &text);

  const std::vector<fcs::VsanRange> &ranges() const { return ranges_; }
  /** Whether the VSAN is one of them; a list to which nothing was added has every VSAN. */
  bool has(uint32_t vsan) const;

private:
  std::vector<fcs::VsanRange> ranges_;
};

/** Adds the option --vsan, which fills `list` and may be given again. */
void add_vsan_option(CLI::App &command, VsanList &list, const std::string &description);

} // namespace cli
