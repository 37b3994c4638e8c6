#pragma once

#include "platform/row_index.h"

/** Destroys a container whose owner is about to go, and frees the rows left in it. A null store is
 * ignored. */
void row_index_release(RowIndex *store);
