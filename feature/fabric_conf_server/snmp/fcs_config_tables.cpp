#include "fcs_mib.h"

// The service answers no records of the configurable tables yet: no instances.

u_char *var_fcsMgmtAddrListTable(variable * /*vp*/, oid * /*name*/, size_t * /*length*/,
                                 int /*exact*/, size_t * /*var_len*/,
                                 WriteMethod ** /*write_method*/) {
  return nullptr;
}

u_char *var_fcsPlatformTable(variable * /*vp*/, oid * /*name*/, size_t * /*length*/, int /*exact*/,
                             size_t * /*var_len*/, WriteMethod ** /*write_method*/) {
  return nullptr;
}

u_char *var_fcsNodeNameListTable(variable * /*vp*/, oid * /*name*/, size_t * /*length*/,
                                 int /*exact*/, size_t * /*var_len*/,
                                 WriteMethod ** /*write_method*/) {
  return nullptr;
}
