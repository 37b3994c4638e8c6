#include "report.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iostream>
#include <stdexcept>
#include <sys/ioctl.h>
#include <unistd.h>

namespace snmpfcs {

namespace {

/** Rows that decide how wide the columns of a table are: what comes later is cut or sticks out. */
constexpr size_t kRowsToMeasure = 1000;
constexpr size_t kLeastWidth = 4;
constexpr std::string_view kGap = "  ";

/** Columns of the terminal; nothing when standard output is none. */
std::optional<size_t> terminal_width() {
  winsize size{};
  if (isatty(STDOUT_FILENO) != 1 || ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 ||
      size.ws_col == 0) {
    return std::nullopt;
  }
  return size.ws_col;
}

bool is_number(const Cell &cell) {
  return std::holds_alternative<int64_t>(cell) || std::holds_alternative<double>(cell);
}

std::string csv_field(const std::string &text) {
  if (text.find_first_of(",\"") == std::string::npos) {
    return text;
  }
  std::string quoted = "\"";
  for (const char letter : text) {
    quoted += letter == '"' ? "\"\"" : std::string(1, letter);
  }
  return quoted + "\"";
}

std::string keys_of(const std::vector<ReportColumn> &columns) {
  std::string keys;
  for (const ReportColumn &column : columns) {
    keys += (keys.empty() ? "" : ", ") + std::string(column.key);
  }
  return keys;
}

} // namespace

Report::Report(std::vector<ReportColumn> columns, const ReportOptions &options)
    : columns_(std::move(columns)), options_(options),
      room_(options.wide ? std::nullopt : terminal_width()) {
  for (const Condition &condition : options.conditions) {
    const auto column = std::ranges::find(columns_, condition.key, &ReportColumn::key);
    if (column == columns_.end()) {
      throw CLI::ValidationError("--where", "there is no \"" + condition.key + "\" here, but " +
                                                keys_of(columns_));
    }
    conditions_.emplace_back(column - columns_.begin(), condition);
  }
  if (options_.format == Format::kCsv) {
    const char *separator = "";
    for (const ReportColumn &column : columns_) {
      std::cout << separator << column.key;
      separator = ",";
    }
    std::cout << '\n';
  }
}

void Report::add(std::vector<Cell> row) {
  if (!std::ranges::all_of(conditions_, [&row](const auto &condition) {
        return condition.second.holds(row[condition.first]);
      })) {
    return;
  }
  ++rows_;
  switch (options_.format) {
  case Format::kJson: write_json(row); break;
  case Format::kCsv: write_csv(row); break;
  case Format::kTable:
    if (!widths_.empty()) {
      write_row(row);
      break;
    }
    ahead_.push_back(std::move(row));
    if (ahead_.size() == kRowsToMeasure) {
      write_ahead();
    }
  }
  if (!std::cout) {
    throw std::runtime_error("standard output: cannot be written");
  }
}

void Report::write_json(const std::vector<Cell> &row) {
  std::string line;
  for (size_t i = 0; i < columns_.size(); ++i) {
    line += line.empty() ? "{\"" : ",\"";
    line += columns_[i].key;
    line += "\":" + json_of(row[i]);
  }
  std::cout << line << "}\n";
}

void Report::write_csv(const std::vector<Cell> &row) {
  std::string line;
  for (size_t i = 0; i < columns_.size(); ++i) {
    line += (i == 0 ? "" : ",") + csv_field(text_of(row[i]));
  }
  std::cout << line << '\n';
}

void Report::write_ahead() {
  widths_.assign(columns_.size(), 0);
  for (size_t i = 0; i < columns_.size(); ++i) {
    widths_[i] = columns_[i].key.size();
    for (const std::vector<Cell> &row : ahead_) {
      widths_[i] = std::max(widths_[i], width_of(text_of(row[i])));
    }
  }
  fit();
  std::vector<std::string> headings;
  std::vector<bool> numbers;
  for (size_t i = 0; i < columns_.size(); ++i) {
    headings.emplace_back(columns_[i].key);
    numbers.push_back(
        std::ranges::any_of(ahead_, [i](const auto &row) { return is_number(row[i]); }));
  }
  write_line(headings, numbers);
  for (const std::vector<Cell> &row : ahead_) {
    write_row(row);
  }
  ahead_.clear();
}

/** Takes from the widest columns until a row is no longer than the terminal's. */
void Report::fit() {
  const auto length = [this] {
    size_t sum = 0;
    for (size_t i = 0; i < widths_.size(); ++i) {
      sum += columns_[i].in_table ? widths_[i] + kGap.size() : 0;
    }
    return sum - kGap.size();
  };
  while (room_ && length() > *room_) {
    size_t widest = 0;
    for (size_t i = 0; i < widths_.size(); ++i) {
      if (columns_[i].in_table && (!columns_[widest].in_table || widths_[i] > widths_[widest])) {
        widest = i;
      }
    }
    if (widths_[widest] <= kLeastWidth) {
      break;
    }
    --widths_[widest];
  }
}

void Report::write_line(const std::vector<std::string> &texts, const std::vector<bool> &numbers) {
  std::string line;
  for (size_t i = 0; i < texts.size(); ++i) {
    if (columns_[i].in_table) {
      const std::string text = room_ ? cut(texts[i], widths_[i]) : texts[i];
      const std::string blanks(widths_[i] - std::min(widths_[i], width_of(text)), ' ');
      line +=
          (line.empty() ? "" : std::string(kGap)) + (numbers[i] ? blanks + text : text + blanks);
    }
  }
  line.erase(line.find_last_not_of(' ') + 1);
  std::cout << (room_ ? cut(line, *room_) : line) << '\n';
}

void Report::write_row(const std::vector<Cell> &row) {
  std::vector<std::string> texts;
  std::vector<bool> numbers;
  for (const Cell &cell : row) {
    texts.push_back(text_of(cell));
    numbers.push_back(is_number(cell));
  }
  write_line(texts, numbers);
}

void Report::finish() {
  if (!ahead_.empty()) {
    write_ahead();
  }
  std::cout.flush();
  if (!std::cout) {
    throw std::runtime_error("standard output: cannot be written");
  }
}

} // namespace snmpfcs
