/** The module's writable objects, as the log calls them and as roles protect them. */
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <string>

#include <net-snmp/net-snmp-config.h>

#include <net-snmp/net-snmp-includes.h>

/** What the index of an object's instances tells of a VSAN. */
enum class VsanScope : uint8_t {
  kNone,
  kChecked, ///< It begins with one; the module keeps users out of what they may not write.
  kGuarded, ///< It begins with one, and the agent host has to.
};

/** The OID of an object behind the module root. */
struct ObjectPath {
  std::array<oid, 5> ids;
  size_t length;
};

struct WritableObject {
  const char *name;
  ObjectPath path;
  VsanScope scope = VsanScope::kNone;
  bool begins_rows = false; ///< Of which the module keeps what it has not sent.
};

/** An instance, taken apart. */
struct WritableInstance {
  const WritableObject *object; ///< Null: none of the module's writable objects.
  std::span<const oid> index;   ///< What follows the object's OID; the whole name without object.
};

WritableInstance writable_instance(std::span<const oid> name);

/**
 * An instance by name, with the VSAN where its index tells: "fcsPlatformName.1.7 (VSAN 1)".
 * What is no writable object of the module is given in dotted form.
 */
std::string writable_instance_text(const oid *name, size_t length);
