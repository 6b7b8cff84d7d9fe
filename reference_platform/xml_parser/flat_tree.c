// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "flat_tree.h"

#include <linux/kernel.h>
#include <linux/string.h>

/* The header's numbers, and the marks of the structure. All numbers have the largest byte first. */
#define AT_LENGTH 4
#define AT_STRUCTURE 8
#define AT_TEXTS 12
#define AT_VERSION 20
#define AT_TEXTS_SIZE 32
#define AT_STRUCTURE_SIZE 36
#define VERSION 17
#define MARK_NODE 1
#define MARK_NODE_END 2
#define MARK_PROPERTY 3
#define MARK_END 9

/* struct block - a part of the tree, its size in bytes */
struct block {
	const u8 *bytes;
	u32 size;
};

/* struct walk - how far the structure was read, a multiple of 4, and in how many nodes that is */
struct walk {
	struct block structure, texts;
	u32 at;
	u32 levels;
};

static u32 number_at(const u8 *bytes, u32 at)
{
	return be32_to_cpup((const __be32 *)(bytes + at));
}

u32 flat_tree_length(const u8 *tree)
{
	return number_at(tree, AT_LENGTH);
}

static bool has_block(struct block *block, const u8 *tree, size_t size, u32 at_offset, u32 at_size)
{
	u32 offset = number_at(tree, at_offset);

	block->size = number_at(tree, at_size);
	if (offset < FLAT_TREE_HEADER_SIZE || offset > size || block->size > size - offset || offset % 4)
		return false;
	block->bytes = tree + offset;
	return true;
}

static bool has_end(const u8 *text, u32 size)
{
	return size && !text[size - 1];
}

/* take_number() - the next number of the structure */
static bool take_number(struct walk *walk, u32 *number)
{
	if (walk->structure.size - walk->at < 4)
		return false;
	*number = number_at(walk->structure.bytes, walk->at);
	walk->at += 4;
	return true;
}

/* pass() - go on behind so many bytes and what fills them up to a multiple of 4 */
static bool pass(struct walk *walk, u32 size)
{
	if (size > walk->structure.size - walk->at)
		return false;
	walk->at += ALIGN(size, 4);
	return true;
}

static bool enter_node(struct walk *walk)
{
	u32 room = walk->structure.size - walk->at;

	if (walk->levels == FLAT_TREE_MOST_LEVELS || (!walk->levels && walk->at != 4))
		return false;
	walk->levels++;
	return pass(walk, strnlen((const char *)walk->structure.bytes + walk->at, room) + 1);
}

/* The names of nodes are taken from their property "name". */
static bool pass_property(struct walk *walk)
{
	u32 size, name, at;

	if (!walk->levels || !take_number(walk, &size) || !take_number(walk, &name))
		return false;
	at = walk->at;
	if (name >= walk->texts.size || !pass(walk, size))
		return false;
	return strcmp((const char *)walk->texts.bytes + name, "name") || has_end(walk->structure.bytes + at, size);
}

static bool pass_mark(struct walk *walk, u32 mark)
{
	switch (mark) {
	case MARK_NODE:
		return enter_node(walk);
	case MARK_PROPERTY:
		return pass_property(walk);
	case MARK_NODE_END:
		return walk->levels && walk->levels--;
	default:
		return false;
	}
}

static bool is_whole(struct walk *walk)
{
	u32 mark;

	while (take_number(walk, &mark)) {
		if (mark == MARK_END)
			return !walk->levels && walk->at > 4;
		if (!pass_mark(walk, mark))
			return false;
	}
	return false;
}

bool flat_tree_is_sound(const u8 *tree, size_t size)
{
	struct walk walk = {};

	return size >= FLAT_TREE_HEADER_SIZE && number_at(tree, AT_VERSION) >= VERSION &&
	       has_block(&walk.structure, tree, size, AT_STRUCTURE, AT_STRUCTURE_SIZE) && walk.structure.size % 4 == 0 &&
	       has_block(&walk.texts, tree, size, AT_TEXTS, AT_TEXTS_SIZE) &&
	       (!walk.texts.size || has_end(walk.texts.bytes, walk.texts.size)) && is_whole(&walk);
}
