/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Loaded board descriptions as trees of the kernel's own device nodes.
 *
 *   /                        reg-like numbers of the board: "bom"
 *     instance@<id>          "reg" = id; "parent", "card", "bom" when stated
 *       hard_lock@<type>     "reg" = type; "lock_val", "unlock_val"
 *       <module>             a section
 *         <node>
 *           <entry>@<index>  attributes as strings, "name" among them
 *             <element>      "text" as string
 *
 * A tree stays in memory until the module is unloaded, because callers keep entry lists. The current tree is published with one store,
 * so readers take no lock; loading is serialised by a mutex.
 */
#ifndef REFERENCE_PLATFORM_XML_BOARD_TREE_H
#define REFERENCE_PLATFORM_XML_BOARD_TREE_H

#include <linux/list.h>
#include <linux/of.h>

#include "platform/xml.h"

/* struct board_entry - an entry of a node: what callers see, the link they walk, and where its attributes are */
struct board_entry {
	struct xml_entry entry;
	struct xml_entry_node link;
	struct device_node *attributes;
};

/* struct board_node - a node of a section with its entries in the order of the XML */
struct board_node {
	struct list_head all;
	struct device_node *node;
	u32 count;
	struct board_entry entries[];
};

/*
 * board_tree_load() - make the board of this name the current one; sleeps.
 *
 * A description that is loaded already is taken up again. On failure the current board stays.
 * Return: 0 or a negative errno, with the reason in the kernel log.
 */
int board_tree_load(const char *name);

/* board_tree_name() - copy the name of the current board; sleeps. */
void board_tree_name(char *name, size_t size);

/* board_tree_free_all() - free every tree; nobody may use one any more. */
void board_tree_free_all(void);

/* board_tree_root() - the current tree. */
struct device_node *board_tree_root(void);

/* board_tree_instance() - the instance of an id in the current tree, or NULL. */
struct device_node *board_tree_instance(u32 inst_id);

/* board_tree_child() - the child of this name, or NULL; @parent may be NULL. */
struct device_node *board_tree_child(struct device_node *parent, const char *name);

/* board_tree_find_node() - a node of a section of an instance, or NULL. */
struct board_node *board_tree_find_node(u32 inst_id, const char *module, const char *node);

#endif
