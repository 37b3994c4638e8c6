// SPDX-License-Identifier: BSD-3-Clause
#include "fcs_pending_rows.h"

FcsRowKey fcs_row_key(const FcsRowWrite &write) {
  const oid *index = write.name + write.name_length - 2;
  return {{static_cast<int32_t>(index[0]), static_cast<int32_t>(index[1])}};
}

int fcs_compare_row_keys(const void *a, const void *b) {
  FcsRowKey left;
  FcsRowKey right;
  memcpy(&left, a, sizeof(left));
  memcpy(&right, b, sizeof(right));
  for (int i = 0; i < 2; ++i) {
    if (left.words[i] != right.words[i]) {
      return left.words[i] < right.words[i] ? 1 : -1;
    }
  }
  return 0;
}
