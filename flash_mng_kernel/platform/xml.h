/* SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only */
/*
 * Services of the platform module "xml_parser": the board's XML configuration, by instance id, module section and node name.
 *
 * A node of a section holds entries; an entry carries attributes and elements. All functions may sleep and must be called in
 * process context. A status is 0 on success; any other value is the parser's own code.
 */
#ifndef FLASH_MNG_PLATFORM_XML_H
#define FLASH_MNG_PLATFORM_XML_H

#include "flash_mng_types.h"

FLASH_MNG_C_BEGIN

/** struct xml_entry - one entry of a node; only its name is public, the rest is the parser's own. */
struct xml_entry {
	const char *name; /* element name, NUL-terminated, for messages */
};

/** struct xml_entry_node - link of a list of entries, owned by the parser and never freed by the caller. */
struct xml_entry_node {
	struct xml_entry_node *next; /* NULL at the end */
	struct xml_entry *entry;
};

/**
 * xml_get_specified_node_num() - count the nodes of a name.
 * @inst_id: instance id
 * @module: section name
 * @node: node name; for "attr" the node "attr" itself and every variant "attr_<number>" count
 * @num: receives the count; written on success only
 */
u32 xml_get_specified_node_num(u32 inst_id, const char *module, const char *node, u32 *num);

/**
 * xml_get_entry_list() - the entries of a node, in the order of the XML.
 * @list: receives the first link, NULL when the node has no entry; written on success only
 * @count: receives the number of links; written on success only
 *
 * The list stays valid as long as the parser module is loaded with this configuration.
 * Return: 0, or the parser's code when the node does not exist.
 */
u32 xml_get_entry_list(u32 inst_id, const char *module, const char *node, struct xml_entry_node **list, u32 *count);

/**
 * xml_get_attr_value_u32() - read a number from an attribute.
 * @value: receives the number; written on success only
 *
 * The text is decimal, or hexadecimal after 0x; anything else, or a value over 32 bits, is a failure.
 */
u32 xml_get_attr_value_u32(struct xml_entry *entry, const char *attr, u32 *value);

/**
 * xml_get_attr_string() - read the text of an attribute.
 * @buf: receives the text and its NUL; left as it was on failure
 * @size: size of @buf in bytes; a text that does not fit with its NUL is refused
 */
u32 xml_get_attr_string(struct xml_entry *entry, const char *attr, char *buf, u32 size);

/**
 * xml_is_node_exist() - whether an instance has a node.
 * @exist: receives 1 or 0; an instance without any configuration gives status 0 and 0 here
 */
u32 xml_is_node_exist(u32 inst_id, const char *module, const char *node, u32 *exist);

/** xml_get_entry_num() - number of entries of a node. */
u32 xml_get_entry_num(u32 inst_id, const char *module, const char *node, u32 *count);

/** xml_get_element_value_u32() - number held by an element of a named entry; @value is written on success only. */
u32 xml_get_element_value_u32(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, u32 *value);

/** xml_get_element_string() - text held by an element of a named entry; same rules as xml_get_attr_string(). */
u32 xml_get_element_string(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, char *buf,
			   u32 len);

/** xml_is_element_exist() - whether a named entry has an element. */
bool xml_is_element_exist(u32 inst_id, const char *module, const char *node, const char *entry, const char *element);

FLASH_MNG_C_END

#endif
