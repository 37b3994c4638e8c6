/**
 * A store for fuzzing the service: quick rather than durable, in a file without a name.
 */
#pragma once

#include "service/store/fabric_store.h"

#include <istream>
#include <memory>
#include <sqlite3.h>

class FuzzStore {
public:
  explicit FuzzStore(std::istream &description);

  /** Brings back the fabric described at first, if the store has been changed since. */
  void restore();

  fcs::FabricStore store;

private:
  struct Close {
    void operator()(sqlite3 *handle) const { sqlite3_close_v2(handle); }
  };

  std::unique_ptr<sqlite3, Close> original_;
  int changes_ = 0;
};
