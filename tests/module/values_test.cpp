/** The value helpers over their whole ranges, and calls that no agent makes. */
#include "agent_calls.h"

#include "feature/fabric_conf_server/snmp/configuration/fcs_config_tables.h"
#include "feature/fabric_conf_server/snmp/fabric/fcs_ie_table.h"
#include "feature/fabric_conf_server/snmp/fabric/fcs_port_tables.h"
#include "feature/fabric_conf_server/snmp/frame/fcs_values.h"

#include <gtest/gtest.h>

namespace {

using Codes = std::map<uint32_t, uint32_t>;

void expect_mapping(
    void (*map)(uint32_t *), const Codes &special,
    uint32_t (*otherwise)(uint32_t) = [](uint32_t code) { return code; }) {
  for (uint32_t code = 0; code <= 256; ++code) {
    uint32_t mapped = code;
    map(&mapped);
    EXPECT_EQ(mapped, special.count(code) != 0 ? special.at(code) : otherwise(code)) << code;
  }
}

TEST(Values, CodesOverTheWholeRange) {
  start_module();
  expect_mapping(fcs_map_reason_code, {{7, 7}, {9, 8}, {11, 9}, {255, 10}},
                 [](uint32_t code) { return code + 1; });
  expect_mapping(fcs_map_reason_code_expl,
                 {{0x00, 1},  {0x01, 2},  {0x10, 3},  {0x11, 4},  {0x12, 5},
                  {0x13, 6},  {0x14, 7},  {0x15, 8},  {0x16, 9},  {0x17, 10},
                  {0x30, 11}, {0x31, 12}, {0x32, 13}, {0x34, 14}, {0x36, 15},
                  {0x50, 16}, {0x60, 17}, {0x61, 18}, {0x62, 19}, {0x63, 20}});
  expect_mapping(fcs_map_ie_type, {{1, 3}, {2, 4}, {3, 5}}, [](uint32_t /*code*/) { return 1U; });
  expect_mapping(fcs_map_port_type, {{0x00, 1},
                                     {0x01, 9},
                                     {0x02, 10},
                                     {0x7F, 11},
                                     {0x81, 2},
                                     {0x82, 3},
                                     {0x84, 4},
                                     {0x85, 5},
                                     {0xF9, 18},
                                     {0xFA, 17},
                                     {0xFC, 13},
                                     {0xFD, 7},
                                     {0xFE, 12},
                                     {0xFF, 8}});
  expect_mapping(fcs_map_port_state, {}, [](uint32_t code) { return std::min(code + 1, 6U); });
  expect_mapping(fcs_map_port_tx_type, {});
  Codes types;
  for (uint32_t code = 3; code <= 12; ++code) {
    types[code] = code + 2;
  }
  expect_mapping(fcs_reverse_map_platform_type, types);
  expect_mapping(fcs_map_platform_type, {},
                 [](uint32_t code) { return code >= 5 && code <= 14 ? code - 2 : code; });
}

TEST(Values, TrimmedLength) {
  for (int32_t bit = 0; bit < 2048; ++bit) {
    VsanBitmap bitmap;
    fcs_bitmap_init(&bitmap, VSAN_HALF_BYTES);
    bitmap_set_bit(&bitmap, bit);
    bitmap_set_bit(&bitmap, bit / 2);
    const auto bits = static_cast<uint32_t>(bit + 1);
    EXPECT_EQ(fcs_trim_trailing_blanks(&bitmap), bits / 8 + (bits % 8 == 0 ? 0 : 2));
    EXPECT_EQ(bitmap.bytes[VSAN_HALF_BYTES], 0);
  }
}

TEST(Values, ShiftsMoveByOneAndKeepTheTarget) {
  const auto bitmap_of = [](std::initializer_list<int32_t> bits) {
    VsanBitmap bitmap;
    fcs_bitmap_init(&bitmap, VSAN_WHOLE_BYTES);
    for (const int32_t bit : bits) {
      bitmap_set_bit(&bitmap, bit);
    }
    return bitmap;
  };
  const VsanBitmap source = bitmap_of({0, 7, 2047, 4094, 4095});
  VsanBitmap target = bitmap_of({3});
  fcs_vsan_shift_up(&source, &target); // 4096 lies outside.
  EXPECT_EQ(text_of(target), "1 3 8 2048 4095");
  target = bitmap_of({3});
  fcs_vsan_shift_down(&source, &target); // -1 lies outside.
  EXPECT_EQ(text_of(target), "3 6 2046 4093 4094");
}

TEST(Values, WorldWideNamePrintsBlankPadded) {
  const uint8_t name[8] = {0x20, 0, 0, 0x0d, 0x5e, 1, 2, 3};
  std::string printed;
  for (const std::string &line : lines_of([&] { EXPECT_EQ(print_wwn(name), 2); })) {
    printed += line.substr(2);
  }
  EXPECT_EQ(printed, "20: 0: 0: d:5e: 1: 2: 3");
}

TEST(Values, PendingRowsSortByFirstThenSecondSignedWord) {
  const int32_t ascending[][2] = {{INT32_MIN, 5}, {-1, 9}, {0, -7}, {0, 0}, {0, 3}, {7, INT32_MIN}};
  for (const auto &a : ascending) {
    for (const auto &b : ascending) {
      const int expected = &a == &b ? 0 : (&a < &b ? 1 : -1);
      EXPECT_EQ(mgmt_addr_cmp(a, b), expected);
      EXPECT_EQ(platform_cmp(a, b), expected);
    }
  }
}

// The sanitizers watch that nothing is read or written out of bounds.
TEST(Phases, WithoutThoseInFrontOfThemSendNothing) {
  start_module();
  for (const Bytes &value : {Bytes(600, 0xFF), bytes_of(int32_t{RS_CREATEANDGO})}) {
    for (const variable &object : platform.registered) {
      for (const int phase : {FREE, ACTION, RESERVE2, COMMIT, UNDO}) {
        Binding binding(object, Name(object, {0}), static_cast<u_char>(object.type), value);
        binding.read();
        for (const std::string &line : lines_of([&] { binding.write(phase); })) {
          EXPECT_FALSE(line.starts_with("set") || line.starts_with("delete") ||
                       line.starts_with("send"))
              << "object " << int{object.magic} << ", phase " << phase << ": " << line;
        }
      }
    }
  }
  EXPECT_TRUE(pending_rows().empty());
}

} // namespace
