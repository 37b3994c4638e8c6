/** What the agent host does with the containers, besides what the module does with them. */
#pragma once

#include "platform/row_index.h"

#include <cstddef>

/** Rows in all containers that were added while a request of `user` was served. */
size_t row_index_rows_of(const char *user);

/** Destroys a container whose owner is about to go, and frees the rows left in it; null is none. */
void row_index_release(RowIndex *store);
