/** The value helpers at their edges. */
#include "recording_platform.h"

#include "feature/fabric_conf_server/snmp/frame/fcs_values.h"

#include <gmock/gmock.h>
#include <map>

using testing::ElementsAre;

namespace {

VsanBitmap bitmap_of(const std::vector<int32_t> &bits, uint32_t byte_count) {
  VsanBitmap bitmap;
  fcs_bitmap_init(&bitmap, byte_count);
  for (const int32_t bit : bits) {
    bitmap_set_bit(&bitmap, bit);
  }
  return bitmap;
}

TEST(Values, TrimmedLength) {
  const std::map<std::vector<int32_t>, uint32_t> cases = {
      {{}, 0},       {{0}, 2},      {{6}, 2},      {{7}, 1},        {{8}, 3},
      {{15}, 2},     {{16}, 4},     {{0, 23}, 3},  {{2039}, 255},   {{2040}, 257},
      {{2041}, 257}, {{2046}, 257}, {{2047}, 256}, {{3, 2044}, 257}};
  for (const auto &[bits, length] : cases) {
    const VsanBitmap bitmap = bitmap_of(bits, VSAN_HALF_BYTES);
    EXPECT_EQ(fcs_trim_trailing_blanks(&bitmap), length) << "highest bit " << bits.back();
    EXPECT_EQ(bitmap.bytes[256], 0);
  }
}

TEST(Values, ShiftsMoveByOneAndKeepTheTarget) {
  const VsanBitmap source = bitmap_of({0, 7, 2047, 4094, 4095}, VSAN_WHOLE_BYTES);
  VsanBitmap target = bitmap_of({3}, VSAN_WHOLE_BYTES);
  fcs_vsan_shift_up(&source, &target); // 4096 lies outside.
  EXPECT_THAT(bits_of(target), ElementsAre(1, 3, 8, 2048, 4095));
  target = bitmap_of({3}, VSAN_WHOLE_BYTES);
  fcs_vsan_shift_down(&source, &target); // -1 lies outside.
  EXPECT_THAT(bits_of(target), ElementsAre(3, 6, 2046, 4093, 4094));
}

TEST(Values, ReasonCodesOverTheWholeRange) {
  const std::map<uint32_t, uint32_t> special = {{7, 7}, {9, 8}, {11, 9}, {255, 10}};
  for (uint32_t code = 0; code <= 256; ++code) {
    uint32_t mapped = code;
    fcs_map_reason_code(&mapped);
    EXPECT_EQ(mapped, special.count(code) != 0 ? special.at(code) : code + 1) << code;
  }
}

TEST(Values, ExplanationsOverTheWholeRange) {
  const std::map<uint32_t, uint32_t> known = {
      {0x00, 1},  {0x01, 2},  {0x10, 3},  {0x11, 4},  {0x12, 5},  {0x13, 6},  {0x14, 7},
      {0x15, 8},  {0x16, 9},  {0x17, 10}, {0x30, 11}, {0x31, 12}, {0x32, 13}, {0x34, 14},
      {0x36, 15}, {0x50, 16}, {0x60, 17}, {0x61, 18}, {0x62, 19}, {0x63, 20}};
  for (uint32_t explanation = 0; explanation <= 256; ++explanation) {
    uint32_t mapped = explanation;
    fcs_map_reason_code_expl(&mapped);
    EXPECT_EQ(mapped, known.count(explanation) != 0 ? known.at(explanation) : explanation);
  }
}

TEST(Values, WorldWideNamePrintsBlankPadded) {
  const uint8_t name[8] = {0x20, 0, 0, 0x0d, 0x5e, 1, 2, 3};
  int result = 0;
  std::string printed;
  for (const std::string &line : lines_of([&] { result = print_wwn(name); })) {
    printed += line.substr(std::string("stderr ").size());
  }
  EXPECT_EQ(printed, "20: 0: 0: d:5e: 1: 2: 3");
  EXPECT_EQ(result, 2);
}

} // namespace
