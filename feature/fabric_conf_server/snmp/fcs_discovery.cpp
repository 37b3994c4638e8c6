#include "fcs_mib.h"

// The discovery status of the VSANs is not read yet: no instances.

u_char *var_fcsDiscoveryStatusTable(variable * /*vp*/, oid * /*name*/, size_t * /*length*/,
                                    int /*exact*/, size_t * /*var_len*/,
                                    WriteMethod ** /*write_method*/) {
  return nullptr;
}
