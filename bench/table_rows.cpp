#include "table_rows.h"

#include <fstream>
#include <sstream>
#include <stdexcept>

namespace bench {

namespace {

/** Where a table's index begins: behind the table, its entry and the column. */
constexpr size_t kIndex = 3;

std::vector<oid> parse_name(const std::string &text) {
  std::vector<oid> name;
  std::istringstream stream(text);
  for (std::string number; std::getline(stream, number, '.');) {
    name.push_back(std::stoul(number));
  }
  if (name.size() <= kIndex) {
    throw std::invalid_argument("the name has no index");
  }
  return name;
}

Value parse_value(u_char type, const std::string &text) {
  Value value{type, {}};
  if (type != ASN_OCTET_STR) {
    const long number = std::stol(text);
    const auto *octets = reinterpret_cast<const u_char *>(&number);
    value.octets.assign(octets, octets + sizeof(number));
  } else if (text != "-") {
    for (size_t at = 0; at < text.size(); at += 2) {
      value.octets.push_back(static_cast<u_char>(std::stoul(text.substr(at, 2), nullptr, 16)));
    }
  }
  return value;
}

} // namespace

std::map<unsigned, Table> read_tables(const std::string &path) {
  std::ifstream file(path);
  std::map<unsigned, Table> tables;
  size_t number = 0;
  for (std::string line; std::getline(file, line);) {
    ++number;
    try {
      std::istringstream words(line);
      std::string name_word;
      std::string value_word;
      unsigned type = 0;
      if (!(words >> name_word >> type >> value_word)) {
        throw std::invalid_argument("three words belong there");
      }
      const std::vector<oid> name = parse_name(name_word);
      const std::vector<oid> index(name.begin() + kIndex, name.end());
      tables[static_cast<unsigned>(name[0])][index][static_cast<unsigned>(name[2])] =
          parse_value(static_cast<u_char>(type), value_word);
    } catch (const std::logic_error &error) {
      throw std::runtime_error(path + ", line " + std::to_string(number) + ": " + error.what());
    }
  }
  if (tables.empty()) {
    throw std::runtime_error(path + ": cannot be read, or holds no row");
  }
  return tables;
}

} // namespace bench
