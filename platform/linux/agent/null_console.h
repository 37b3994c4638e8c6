/** What the module prints to standard error, where nobody will see it. */
#pragma once

#include <cstdio>

/**
 * While it lives, prints to standard error are dropped if that is the null device. Each of them
 * would be a system call, and those of a GETBULK together take as long as the exchange with the
 * service.
 */
class NullConsole {
public:
  /** \param request Number of the request being served: each is looked at anew. */
  explicit NullConsole(long request);
  ~NullConsole() { stderr = kept_; }
  NullConsole(const NullConsole &) = delete;
  NullConsole &operator=(const NullConsole &) = delete;

private:
  FILE *kept_;
};
