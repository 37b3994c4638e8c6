#include "settings.h"

static Settings in_force;

const Settings &settings() {
  return in_force;
}

Settings &settings_for_change() {
  return in_force;
}
