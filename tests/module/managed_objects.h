/** The objects as managers are told of them. */
#pragma once

#include <string>
#include <vector>

struct ManagedObject {
  std::string suffix; ///< Of its OID, behind the module root.
  std::string name;
  std::string syntax; ///< "INTEGER RW"
};

std::vector<ManagedObject> managed_objects();
