/**
 * Rows on standard output: as a table, as JSON lines or as comma-separated values.
 */
#pragma once

#include "cell.h"
#include "where.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace snmpfcs {

struct ReportColumn {
  std::string_view key; ///< Heading of a table, member of a JSON object, what --where names.
  bool in_table = true; ///< Tables are for people: they leave out what few look for.
};

enum class Format { kTable, kJson, kCsv };

struct ReportOptions {
  Format format = Format::kTable;
  bool wide = false; ///< Rows may be longer than the terminal's.
  std::vector<Condition> conditions;
};

class Report {
public:
  /** Throws CLI::ValidationError when a condition is about a column that there is none. */
  Report(std::vector<ReportColumn> columns, const ReportOptions &options);

  /** Takes the cells in the order of the columns, unless the conditions are against it. */
  void add(std::vector<Cell> row);
  /** Writes what is still to be written. */
  void finish();

  size_t rows() const { return rows_; }

private:
  void write_json(const std::vector<Cell> &row);
  void write_csv(const std::vector<Cell> &row);
  void write_ahead();
  void fit();
  void write_line(const std::vector<std::string> &texts, const std::vector<bool> &numbers);
  void write_row(const std::vector<Cell> &row);

  std::vector<ReportColumn> columns_;
  const ReportOptions &options_;
  std::optional<size_t> room_;                           ///< Columns that a row may take.
  std::vector<std::pair<size_t, Condition>> conditions_; ///< With their columns.
  std::vector<std::vector<Cell>> ahead_;                 ///< Rows of which widths are taken.
  std::vector<size_t> widths_;
  size_t rows_ = 0;
};

} // namespace snmpfcs
