// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "services.h"

#include <linux/ctype.h>
#include <linux/export.h>
#include <linux/kernel.h>
#include <linux/string.h>

#include "board_tree.h"
#include "fault_switches.h"
#include "platform/xml.h"
#include "platform_status.h"

#define SWITCH_LIST_COUNT	"xml_get_entry_list:count"
#define SWITCH_LIST_NULL	"xml_get_entry_list:null"

static struct fault_switch g_switch_table[] = {
	{ .function = "xml_get_specified_node_num" },
	{ .function = "xml_get_entry_list" },
	{ .function = SWITCH_LIST_COUNT },
	{ .function = SWITCH_LIST_NULL },
	{ .function = "xml_get_attr_value_u32" },
	{ .function = "xml_get_attr_string" },
	{ .function = "xml_is_node_exist" },
	{ .function = "xml_get_entry_num" },
	{ .function = "xml_get_element_value_u32" },
	{ .function = "xml_get_element_string" },
	{ .function = "xml_is_element_exist" },
};
DEFINE_FAULT_SWITCHES(g_xml_switches, g_switch_table);

static u32 parse_number(const char *text, u32 *value)
{
	bool hexadecimal = text[0] == '0' && (text[1] == 'x' || text[1] == 'X');
	const char *digit;

	if (hexadecimal)
		text += 2;
	for (digit = text; *digit; digit++)
		if (hexadecimal ? !isxdigit(*digit) : !isdigit(*digit))
			return XML_BAD_NUMBER;
	return kstrtou32(text, hexadecimal ? 16 : 10, value) ? XML_BAD_NUMBER : 0;
}

static u32 copy_text(const char *text, char *buf, u32 size)
{
	size_t needed = strlen(text) + 1;

	if (needed > size)
		return XML_TEXT_TOO_LONG;
	memcpy(buf, text, needed);
	return 0;
}

/* is_node_or_variant() - "attr" is the node "attr", as are "attr_1", "attr_27" ... */
static bool is_node_or_variant(const char *name, const char *node)
{
	size_t length = strlen(node);
	const char *digits = name + length + 1;

	if (strncmp(name, node, length))
		return false;
	if (!name[length])
		return true;
	return name[length] == '_' && *digits && strspn(digits, "0123456789") == strlen(digits);
}

u32 xml_get_specified_node_num(u32 inst_id, const char *module, const char *node, u32 *num)
{
	struct device_node *instance, *section, *child;
	u32 status, count = 0;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!module || !node || !num)
		return XML_BAD_ARGUMENT;
	instance = board_tree_instance(inst_id);
	if (!instance)
		return XML_NO_INSTANCE;
	section = board_tree_child(instance, module);
	for_each_child_of_node(section, child)
		count += is_node_or_variant(child->name, node);
	*num = count;
	return 0;
}
EXPORT_SYMBOL(xml_get_specified_node_num);

u32 xml_get_entry_list(u32 inst_id, const char *module, const char *node, struct xml_entry_node **list, u32 *count)
{
	struct board_node *found;
	u32 status, reported;
	bool hide_list;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!module || !node || !list || !count)
		return XML_BAD_ARGUMENT;
	found = board_tree_find_node(inst_id, module, node);
	if (!found)
		return XML_NO_NODE;
	reported = found->count;
	fault_switched(&g_xml_switches, SWITCH_LIST_COUNT, &reported);
	hide_list = fault_switched(&g_xml_switches, SWITCH_LIST_NULL, &status);
	*count = reported;
	*list = found->count && !hide_list ? &found->entries[0].link : NULL;
	return 0;
}
EXPORT_SYMBOL(xml_get_entry_list);

static u32 find_attribute(struct xml_entry *entry, const char *attr, const char **text)
{
	struct board_entry *found = container_of(entry, struct board_entry, entry);

	return of_property_read_string(found->attributes, attr, text) ? XML_NO_ATTRIBUTE : 0;
}

u32 xml_get_attr_value_u32(struct xml_entry *entry, const char *attr, u32 *value)
{
	const char *text;
	u32 status;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!entry || !attr || !value)
		return XML_BAD_ARGUMENT;
	status = find_attribute(entry, attr, &text);
	return status ? status : parse_number(text, value);
}
EXPORT_SYMBOL(xml_get_attr_value_u32);

u32 xml_get_attr_string(struct xml_entry *entry, const char *attr, char *buf, u32 size)
{
	const char *text;
	u32 status;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!entry || !attr || !buf)
		return XML_BAD_ARGUMENT;
	status = find_attribute(entry, attr, &text);
	return status ? status : copy_text(text, buf, size);
}
EXPORT_SYMBOL(xml_get_attr_string);

u32 xml_is_node_exist(u32 inst_id, const char *module, const char *node, u32 *exist)
{
	u32 status;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!module || !node || !exist)
		return XML_BAD_ARGUMENT;
	*exist = board_tree_find_node(inst_id, module, node) ? 1 : 0;
	return 0;
}
EXPORT_SYMBOL(xml_is_node_exist);

u32 xml_get_entry_num(u32 inst_id, const char *module, const char *node, u32 *count)
{
	struct board_node *found;
	u32 status;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!module || !node || !count)
		return XML_BAD_ARGUMENT;
	found = board_tree_find_node(inst_id, module, node);
	if (!found)
		return XML_NO_NODE;
	*count = found->count;
	return 0;
}
EXPORT_SYMBOL(xml_get_entry_num);

static u32 find_element(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, const char **text)
{
	struct board_node *found = board_tree_find_node(inst_id, module, node);
	struct device_node *holder;

	if (!found)
		return XML_NO_NODE;
	holder = board_tree_child(found->node, entry);
	if (!holder)
		return XML_NO_ENTRY;
	return of_property_read_string(board_tree_child(holder, element), "text", text) ? XML_NO_ELEMENT : 0;
}

u32 xml_get_element_value_u32(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, u32 *value)
{
	const char *text;
	u32 status;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!module || !node || !entry || !element || !value)
		return XML_BAD_ARGUMENT;
	status = find_element(inst_id, module, node, entry, element, &text);
	return status ? status : parse_number(text, value);
}
EXPORT_SYMBOL(xml_get_element_value_u32);

u32 xml_get_element_string(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, char *buf, u32 len)
{
	const char *text;
	u32 status;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!module || !node || !entry || !element || !buf)
		return XML_BAD_ARGUMENT;
	status = find_element(inst_id, module, node, entry, element, &text);
	return status ? status : copy_text(text, buf, len);
}
EXPORT_SYMBOL(xml_get_element_string);

bool xml_is_element_exist(u32 inst_id, const char *module, const char *node, const char *entry, const char *element)
{
	const char *text;
	u32 status;

	if (fault_switched(&g_xml_switches, __func__, &status))
		return status;
	if (!module || !node || !entry || !element)
		return false;
	return !find_element(inst_id, module, node, entry, element, &text);
}
EXPORT_SYMBOL(xml_is_element_exist);
