#include "privileges.h"

#include <cerrno>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <system_error>
#include <unistd.h>

namespace fcs {

void give_up_privileges() {
  __user_cap_header_struct header{_LINUX_CAPABILITY_VERSION_3, 0};
  const __user_cap_data_struct none[_LINUX_CAPABILITY_U32S_3] = {};
  // The C library has no call for it.
  if (prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) != 0 || syscall(SYS_capset, &header, none) != 0) {
    throw std::system_error(errno, std::generic_category(), "cannot give up privileges");
  }
}

} // namespace fcs
