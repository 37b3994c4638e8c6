/** The steps of a transcript: what a command has the module, the service or the role do. */
#pragma once

#include "scripted_service.h"

class ModuleSteps {
public:
  /** A module just loaded, a service without rows, a role without restrictions. */
  void start();

  /** Takes a step: see transcript.h. \return what came of it, as events. */
  Lines take(const std::string &command);

private:
  ScriptedService service_;
  std::string hidden_; ///< Functions that begin so do not tell of themselves.
};
