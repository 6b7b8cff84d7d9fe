/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * What a flattened tree must be before Linux makes device nodes of it, which trusts what it reads: 5.10 marks a root that is not there,
 * goes round and round on a property whose length leads back to it, and gives on names that have no end.
 */
#ifndef REFERENCE_PLATFORM_XML_FLAT_TREE_H
#define REFERENCE_PLATFORM_XML_FLAT_TREE_H

#include <linux/types.h>

#define FLAT_TREE_HEADER_SIZE 40
#define FLAT_TREE_MOST_LEVELS 8 /* of nodes within nodes; a board description has 6 */

/* flat_tree_length() - the length in bytes that a tree states; @tree has at least its header and begins at a multiple of 4. */
u32 flat_tree_length(const u8 *tree);

/*
 * flat_tree_is_sound() - whether a tree of @size bytes is what flash-board compile makes, as far as its form goes: one root, each node and
 * property within it, no more levels than FLAT_TREE_MOST_LEVELS, each name with an end.
 * @tree: begins at a multiple of 4
 *
 * Reads nothing outside of the @size bytes.
 */
bool flat_tree_is_sound(const u8 *tree, size_t size);

#endif
