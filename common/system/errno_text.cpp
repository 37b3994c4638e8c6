#include "platform/errno_text.h"

#include "feature/fabric_conf_server/fcs_protocol.h"

namespace {

struct ErrorText {
  int32_t code;
  const char *text;
};

constexpr ErrorText kTexts[] = {
    {-1, "the exchange with the FCS service failed"},
    {FCS_OK, "success"},
    {FCS_ERR_NO_SUCH_RECORD, "the FCS service does not serve this record"},
    {FCS_ERR_NO_SUCH_ROW, "no such row"},
    {FCS_ERR_BAD_LENGTH, "the request has a wrong length"},
    {FCS_ERR_BAD_OPERATION, "the record does not take this operation"},
    {FCS_ERR_STORE, "the FCS service could not read or write its store"},
    {FCS_ERR_UNKNOWN_VSAN, "the fabric has no such VSAN"},
    {FCS_ERR_BAD_VALUE, "a value is outside its range"},
    {FCS_ERR_IN_PROGRESS, "a discovery is in progress on the VSAN"},
    {FCS_ERR_ROW_EXISTS, "the row exists already"},
    {FCS_ERR_PLATFORM_NAME_TAKEN, "another platform of the VSAN has this name"},
    {FCS_ERR_NODE_NAME_TAKEN, "another list has this node name"},
    {FCS_ERR_BAD_PLATFORM_NAME, "the platform name is empty or contains a blank"},
    {FCS_ERR_EMPTY_ADDRESS, "the management address is empty"},
    {FCS_ERR_STORE_GONE, "the FCS service's store was deleted or replaced"},
};

} // namespace

const char *errno_text(int32_t code) {
  for (const ErrorText &entry : kTexts) {
    if (entry.code == code) {
      return entry.text;
    }
  }
  return "unknown error code";
}
