// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#define pr_fmt(fmt) KBUILD_MODNAME ": " fmt

#include "board_tree.h"

#include <linux/kernel.h>
#include <linux/mm.h>
#include <linux/mutex.h>
#include <linux/of_fdt.h>
#include <linux/slab.h>
#include <linux/string.h>

#include "board_file.h"

struct board_tree {
	struct list_head all;
	char name[BOARD_NAME_MAX + 1];
	void *flat; /* the device nodes point into it */
	size_t size;
	void *memory; /* of all device nodes */
	struct device_node *root;
	struct list_head nodes; /* struct board_node */
};

static LIST_HEAD(g_trees);
static DEFINE_MUTEX(g_load_lock); /* g_trees, and who writes g_current */
static struct board_tree *g_current;

static void free_tree(struct board_tree *tree)
{
	struct board_node *node, *next;

	list_for_each_entry_safe(node, next, &tree->nodes, all)
		kfree(node);
	kfree(tree->memory);
	kvfree(tree->flat);
	kfree(tree);
}

static void fill_entries(struct board_node *node)
{
	struct device_node *child;
	struct board_entry *entry = node->entries;

	for_each_child_of_node(node->node, child) {
		entry->entry.name = child->name;
		entry->link.entry = &entry->entry;
		entry->link.next = entry + 1 < node->entries + node->count ? &entry[1].link : NULL;
		entry->attributes = child;
		entry++;
	}
}

static int add_node(struct board_tree *tree, struct device_node *node)
{
	u32 count = of_get_child_count(node);
	struct board_node *made = kzalloc(struct_size(made, entries, count), GFP_KERNEL);

	if (!made)
		return -ENOMEM;
	made->node = node;
	made->count = count;
	fill_entries(made);
	node->data = made;
	list_add_tail(&made->all, &tree->nodes);
	return 0;
}

static int add_all_nodes(struct board_tree *tree)
{
	struct device_node *instance, *module, *node;

	for_each_child_of_node(tree->root, instance)
		for_each_child_of_node(instance, module)
			for_each_child_of_node(module, node)
				if (add_node(tree, node))
					return -ENOMEM;
	return 0;
}

static int build_tree(struct board_tree *tree)
{
	tree->memory = of_fdt_unflatten_tree(tree->flat, NULL, &tree->root);
	if (!tree->memory || !tree->root) {
		pr_err("board \"%s\": the tree in the file cannot be unflattened\n", tree->name);
		return -EINVAL;
	}
	return add_all_nodes(tree);
}

static struct board_tree *find_same(const struct board_tree *wanted)
{
	struct board_tree *tree;

	list_for_each_entry(tree, &g_trees, all)
		if (tree->size == wanted->size && !memcmp(tree->flat, wanted->flat, tree->size) && !strcmp(tree->name, wanted->name))
			return tree;
	return NULL;
}

static void publish(struct board_tree *tree)
{
	smp_store_release(&g_current, tree); /* pairs with board_tree_root() */
}

static int load_locked(struct board_tree *tree)
{
	struct board_tree *same;
	int result = board_file_read(tree->name, &tree->flat, &tree->size);

	if (result)
		return result;
	same = find_same(tree);
	if (same) {
		publish(same);
		return -EEXIST;
	}
	result = build_tree(tree);
	if (result)
		return result;
	list_add(&tree->all, &g_trees);
	publish(tree);
	return 0;
}

int board_tree_load(const char *name)
{
	struct board_tree *tree;
	int result = board_name_check(name);

	if (result)
		return result;
	tree = kzalloc(sizeof(*tree), GFP_KERNEL);
	if (!tree)
		return -ENOMEM;
	INIT_LIST_HEAD(&tree->nodes);
	strscpy(tree->name, name, sizeof(tree->name));

	mutex_lock(&g_load_lock);
	result = load_locked(tree);
	mutex_unlock(&g_load_lock);

	if (result)
		free_tree(tree);
	return result == -EEXIST ? 0 : result;
}

void board_tree_name(char *name, size_t size)
{
	mutex_lock(&g_load_lock);
	strscpy(name, g_current->name, size);
	mutex_unlock(&g_load_lock);
}

void board_tree_free_all(void)
{
	struct board_tree *tree, *next;

	list_for_each_entry_safe(tree, next, &g_trees, all)
		free_tree(tree);
}

struct device_node *board_tree_root(void)
{
	return smp_load_acquire(&g_current)->root; /* pairs with publish() */
}

struct device_node *board_tree_instance(u32 inst_id)
{
	struct device_node *instance;
	u32 id;

	for_each_child_of_node(board_tree_root(), instance)
		if (!of_property_read_u32(instance, "reg", &id) && id == inst_id)
			return instance;
	return NULL;
}

struct device_node *board_tree_child(struct device_node *parent, const char *name)
{
	return parent ? of_get_child_by_name(parent, name) : NULL;
}

struct board_node *board_tree_find_node(u32 inst_id, const char *module, const char *node)
{
	struct device_node *found = board_tree_child(board_tree_child(board_tree_instance(inst_id), module), node);

	return found ? found->data : NULL;
}
