/**
 * Configuration: the rows that managers create, change and delete.
 */
#pragma once

#include "service/reports/notification_queue.h"
#include "service/store/configuration_store.h"

#include <string>
#include <string_view>
#include <vector>

namespace fcs {

/**
 * Decides which rows may be stored. Each call of `apply` is one transaction: when it returns FCS_OK
 * the change is durable, otherwise, and when it throws SqliteError because the database fails,
 * nothing has changed. What a row has already is not judged again when it is changed, as imported
 * fabrics may hold what a manager may not set.
 */
class Configuration {
public:
  /** \param notifications takes the changes of elements' addresses; has to outlive this, as has the
   * store. */
  Configuration(FabricStore &store, NotificationQueue &notifications);

  /**
   * Does what a request to set or delete a row asks for, and logs it.
   * \param operation FCS_OP_SET or FCS_OP_DELETE.
   * \param user who asks, for the log.
   * \return FCS_OK; FCS_ERR_BAD_VALUE, FCS_ERR_ROW_EXISTS or FCS_ERR_NO_SUCH_ROW; for a management
   * address also FCS_ERR_EMPTY_ADDRESS.
   */
  FcsResult apply(FcsOperation operation, const MgmtAddrEntry &entry, std::string_view user);
  /** For a platform also FCS_ERR_UNKNOWN_VSAN, FCS_ERR_BAD_PLATFORM_NAME or
   * FCS_ERR_PLATFORM_NAME_TAKEN. */
  FcsResult apply(FcsOperation operation, const PlatformEntry &entry, std::string_view user);
  /** For a node name also FCS_ERR_NODE_NAME_TAKEN. */
  FcsResult apply(FcsOperation operation, const NodeNameEntry &entry, std::string_view user);

private:
  FcsResult set(const MgmtAddrEntry &entry);
  FcsResult remove(const MgmtAddrEntry &entry);
  FcsResult set(const PlatformEntry &entry);
  FcsResult remove(const PlatformEntry &entry);
  FcsResult set(const NodeNameEntry &entry);
  FcsResult remove(const NodeNameEntry &entry);

  FcsResult platform_fault(const PlatformEntry &entry);
  FcsValidationResult validation_result(const PlatformEntry &entry);
  FcsValidationResult validate(const PlatformEntry &entry);

  template <typename Entry>
  FcsResult change(FcsOperation operation, const Entry &entry, uint32_t row_status,
                   const std::string &row, std::string_view user);
  void announce(uint32_t mgmt_addr_list, Octets address);

  ConfigurationStore store_;
  NotificationQueue &notifications_;
  std::vector<Notification> announcements_; ///< Of the transaction, due with its commit.
};

} // namespace fcs
