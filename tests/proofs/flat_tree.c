// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
/* The check of a board's flattened tree, for any tree of up to MOST bytes: it reads none outside, comes to an end, and wants a root. */
#include "proof.h"

#include "../../reference_platform/xml_parser/flat_tree.c"
#include "bodies.h"

#define MOST 76

static u8 g_all[MOST];
static const u8 *g_tree;
static size_t g_size;

static void any_tree(void)
{
	u32 i;

	for (i = 0; i < MOST; i++)
		g_all[i] = nondet_u8();
	g_size = below(MOST + 1);
	g_tree = g_all + MOST - g_size; /* so that a byte too many is out of bounds */
}

void proof_any_tree(void)
{
	any_tree();
	if (!flat_tree_is_sound(g_tree, g_size))
		return;
	proved(g_size >= FLAT_TREE_HEADER_SIZE, "a sound tree has its header");
	proved(number_at(g_tree, AT_STRUCTURE) <= g_size - 16, "a sound tree has room for a root");
	proved(number_at(g_tree + number_at(g_tree, AT_STRUCTURE), 0) == MARK_NODE, "a sound tree begins with a root");
}
