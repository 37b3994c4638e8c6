/**
 * Rows in SQL: its texts, and the values that go in and come out.
 */
#pragma once

#include "service/fabric/fabric_columns.h"
#include "sqlite.h"

#include <cstdint>
#include <string>
#include <type_traits>

namespace fcs {

/** The names of the first columns, with commas between them, each behind the prefix. */
template <typename Row>
std::string column_names(const std::string &prefix = "", size_t count = SIZE_MAX) {
  std::string names;
  const Row row{};
  visit_columns(row, [&](const char *name, const auto &, const JsonMember &) {
    if (count > 0) {
      names += (names.empty() ? "" : ", ") + prefix + name;
      --count;
    }
  });
  return names;
}

template <typename Row> std::string select_sql(const std::string &table) {
  return "SELECT " + column_names<Row>() + " FROM " + table;
}

template <typename Row> std::string insert_sql(const std::string &table) {
  std::string parameters;
  const Row row{};
  visit_columns(row, [&parameters](const char *, const auto &, const JsonMember &) {
    parameters += parameters.empty() ? "?" : ", ?";
  });
  return "INSERT INTO " + table + " (" + column_names<Row>() + ") VALUES (" + parameters + ")";
}

/** Runs the statement of insert_sql. */
template <typename Row> void insert_row(Statement &statement, const Row &row) {
  int position = 0;
  visit_columns(row, [&](const char *, const auto &field, const JsonMember &) {
    statement.bind(++position, value_of(field));
  });
  statement.execute();
}

/** A row out of the columns of select_sql. It is active, if it can be anything else. */
template <typename Row> Row read_row(const Rows &rows) {
  Row row{};
  int column = 0;
  visit_columns(row, [&](const char *, auto &&field, const JsonMember &) {
    if constexpr (std::is_same_v<decltype(value_of(field)), Octets>) {
      set_value(field, rows.octets(column++));
    } else if constexpr (std::is_same_v<decltype(value_of(field)), double>) {
      set_value(field, rows.real(column++));
    } else {
      set_value(field, rows.word(column++));
    }
  });
  if constexpr (requires { row.row_status; }) {
    row.row_status = FCS_ROW_ACTIVE;
  }
  return row;
}

} // namespace fcs
