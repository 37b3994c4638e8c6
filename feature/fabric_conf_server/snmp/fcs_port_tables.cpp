#include "fcs_mib.h"

// The service answers no port records yet: no instances.

u_char *var_fcsPortListTable(variable * /*vp*/, oid * /*name*/, size_t * /*length*/, int /*exact*/,
                             size_t * /*var_len*/, WriteMethod ** /*write_method*/) {
  return nullptr;
}

u_char *var_fcsPortTable(variable * /*vp*/, oid * /*name*/, size_t * /*length*/, int /*exact*/,
                         size_t * /*var_len*/, WriteMethod ** /*write_method*/) {
  return nullptr;
}

u_char *var_fcsAttachPortNameListTable(variable * /*vp*/, oid * /*name*/, size_t * /*length*/,
                                       int /*exact*/, size_t * /*var_len*/,
                                       WriteMethod ** /*write_method*/) {
  return nullptr;
}
