/**
 * Reading of a large JSON document one entry at a time.
 */
#pragma once

#include "json_object.h"

#include <istream>
#include <nlohmann/json.hpp>
#include <string_view>

namespace fcs {

/**
 * Takes what stands in a document. The document is an object; each member that is an array is a
 * section, whose entries come one by one and are forgotten after their call.
 */
class DocumentHandler {
public:
  virtual ~DocumentHandler() = default;
  /** An array begins. */
  virtual void begin_section(std::string_view section) = 0;
  virtual void entry(size_t index, const nlohmann::json &entry) = 0;
  /** A member that is no array. */
  virtual void member(std::string_view name, const nlohmann::json &value) = 0;
};

/**
 * Reads the whole document. Throws DescriptionFault for what is not JSON (with line and column),
 * for a document that is no object, for a member given twice, for too deep nesting and for an entry
 * that would take too much memory; what the handler throws passes through.
 */
void read_document(std::istream &in, DocumentHandler &handler);

} // namespace fcs
