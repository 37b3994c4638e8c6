/**
 * The description of a fabric in JSON: reading it into the store and writing it out.
 */
#pragma once

#include "service/fabric/fabric_source.h"
#include "service/store/fabric_store.h"

#include <cstdint>
#include <functional>
#include <istream>
#include <ostream>
#include <string>

namespace fcs {

/** Told how many VSANs have been read so far; may throw to give up. */
using ImportProgress = std::function<void(uint32_t vsans)>;

/**
 * Replaces the fabric in the store by the one that `in` describes. Only one VSAN at a time is held
 * in memory.
 * \param source_name names the description in errors.
 * Throws std::runtime_error, on one line naming source, place and fault; the store then holds what
 * it held before.
 */
FabricTotals import_fabric(FabricStore &store, std::istream &in, const std::string &source_name,
                           const ImportProgress &progress = {});

/** import_fabric from the file at `path`; a file that cannot be opened is such an error, too. */
FabricTotals import_fabric_file(FabricStore &store, const std::string &path,
                                const ImportProgress &progress = {});

/**
 * Writes the description of a fabric, one VSAN after the other; the same fabric always gives the
 * same text. Failures of `out` are left for the caller to see.
 */
void write_description(FabricSource &fabric, std::ostream &out);

/**
 * Writes the description of the store's fabric; the same fabric always gives the same text, and
 * importing it gives the same fabric. Throws std::runtime_error when the store fails; failures of
 * `out` are left for the caller to see.
 */
void export_fabric(FabricStore &store, std::ostream &out);

} // namespace fcs
