// SPDX-License-Identifier: BSD-3-Clause
/**
 * A sorted keyed container of rows. The rows belong to the caller: the container never frees one.
 * How many it holds is bounded by whoever stands in front of the module: those of a SET that fails
 * stay. The largest SET that a message of 64 KiB has room for begins some 2,000.
 */
#pragma once

#include <cstdint>

struct RowIndex;

/** Compares two keys: 0 when they are equal, positive when `a` sorts before `b`, else negative. */
using RowIndexCompare = int(const void *a, const void *b);

/** Result of row_index_create on success. */
constexpr int ROW_INDEX_CREATED = 2;

/**
 * Creates an empty container.
 * \param store   Receives it.
 * \param options 0.
 * \param unique  1: at most one element for each key.
 * \param compare The order of the keys.
 * \param sorted  1.
 * \return ROW_INDEX_CREATED, or another value on failure; `*store` is then null.
 */
int row_index_create(RowIndex **store, int options, int unique, RowIndexCompare *compare,
                     int sorted);

/**
 * The element with this key, or null.
 * \param options 0.
 */
void *row_index_find(RowIndex *store, const void *key, int options);

/**
 * Adds an element under a key that must stay valid and unchanged as long as the element is in.
 * \return the element, or null when the key is taken or memory is short; nothing is added then.
 */
void *row_index_add(RowIndex *store, void *element, const void *key);

/** Takes the element with this key out. \return the element, now the caller's, or null. */
void *row_index_remove(RowIndex *store, const void *key);

/** Destroys the container; the elements are the caller's. A null store is ignored. */
void row_index_destroy(RowIndex *store);
