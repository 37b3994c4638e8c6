/** The FCS service of a transcript: it has rows, and answers some requests otherwise. */
#pragma once

#include "recording_platform.h"

#include <algorithm>
#include <map>
#include <vector>

class ScriptedService {
public:
  /** A row that the service has from here on, answered to reads in the order of keys. */
  void add_row(uint32_t record_id, const Bytes &row);

  /** What requests that begin so are answered with; the last that fits counts. */
  void add_answer(const std::string &beginning, const Reply &reply);

  Reply operator()(const Request &request);

private:
  std::vector<std::pair<std::string, Reply>> answers_;
  using Key = std::vector<uint32_t>;
  /** On a big-endian machine GCC 12 compares two vectors wrongly by `<`. */
  struct InOrder {
    bool operator()(const Key &a, const Key &b) const {
      return std::ranges::lexicographical_compare(a, b);
    }
  };
  std::map<uint32_t, std::map<Key, Bytes, InOrder>> rows_;
};
