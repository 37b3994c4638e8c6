#include "fcs_mib.h"

// The module raises no SNMP notification yet: it takes every message and sends nothing.

static netsnmp_variable_list *nothing_to_send(int *send) {
  *send = 0;
  return nullptr;
}

netsnmp_variable_list *handle_fcs_reg_req_rej_notif(const IpcMessage * /*message*/,
                                                    oid * /*trap_oid*/,
                                                    size_t * /*trap_oid_length*/, int *send) {
  return nothing_to_send(send);
}

netsnmp_variable_list *handle_fcs_disc_comp_notif(const IpcMessage * /*message*/,
                                                  oid * /*trap_oid*/, size_t * /*trap_oid_length*/,
                                                  int *send) {
  return nothing_to_send(send);
}

netsnmp_variable_list *handle_fcs_disc_comp_on_vsan_notif(const IpcMessage * /*message*/,
                                                          oid * /*trap_oid*/,
                                                          size_t * /*trap_oid_length*/, int *send) {
  return nothing_to_send(send);
}

netsnmp_variable_list *handle_fcs_timeout_on_vsan_notif(const IpcMessage * /*message*/,
                                                        oid * /*trap_oid*/,
                                                        size_t * /*trap_oid_length*/, int *send) {
  return nothing_to_send(send);
}

netsnmp_variable_list *handle_fcs_ip_addr_change_notif(const IpcMessage * /*message*/,
                                                       oid * /*trap_oid*/,
                                                       size_t * /*trap_oid_length*/, int *send) {
  return nothing_to_send(send);
}
