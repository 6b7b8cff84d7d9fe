// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "groups.h"
#include "platform/board_capability.h"
#include "platform/xml.h"
#include "platform_status.h"

#define SECTION		"flash_mng"
#define OWN_BOM_ID	0x103
#define UNKNOWN_ID	0x999

static void check_node_numbers(void)
{
	u32 number = 77;

	CHECK_EQ(xml_get_specified_node_num(UNKNOWN_ID, SECTION, "attr", &number), XML_NO_INSTANCE);
	CHECK_EQ(xml_get_specified_node_num(CHECK_BOARD_ID, SECTION, "attr", NULL), XML_BAD_ARGUMENT);
	CHECK_EQ(number, 77);
	CHECK_EQ(xml_get_specified_node_num(CHECK_BOARD_ID, SECTION, "attr", &number), 0);
	CHECK_EQ(number, 3); /* attr, attr_1, attr_27; not attr_x, attr_, attr12 */
	CHECK_EQ(xml_get_specified_node_num(CHECK_BOARD_ID, SECTION, "absent", &number), 0);
	CHECK_EQ(number, 0);
	CHECK_EQ(xml_get_specified_node_num(CHECK_BOARD_ID, "absent", "attr", &number), 0);
	CHECK_EQ(number, 0);
}

static void check_existence(void)
{
	u32 exist = 77;

	CHECK_EQ(xml_is_node_exist(CHECK_BOARD_ID, SECTION, "attr_27", &exist), 0);
	CHECK_EQ(exist, 1);
	CHECK_EQ(xml_is_node_exist(CHECK_BOARD_ID, SECTION, "empty", &exist), 0);
	CHECK_EQ(exist, 1);
	CHECK_EQ(xml_is_node_exist(CHECK_BOARD_ID, SECTION, "absent", &exist), 0);
	CHECK_EQ(exist, 0);
	CHECK_EQ(xml_is_node_exist(UNKNOWN_ID, SECTION, "attr", &exist), 0);
	CHECK_EQ(exist, 0);
	CHECK_EQ(xml_is_node_exist(CHECK_BOARD_ID, SECTION, "attr", NULL), XML_BAD_ARGUMENT);
}

static void check_lists(void)
{
	struct xml_entry_node *list = NULL;
	u32 count = 77;

	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, SECTION, "absent", &list, &count), XML_NO_NODE);
	CHECK_EQ(count, 77);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, SECTION, "attr", &list, &count), 0);
	CHECK_EQ(count, 3);
	CHECK(!strcmp(list->entry->name, "twice"));
	CHECK(!strcmp(list->next->entry->name, "other"));
	CHECK(!strcmp(list->next->next->entry->name, "twice"));
	CHECK(!list->next->next->next);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, SECTION, "empty", &list, &count), 0);
	CHECK_EQ(count, 0);
	CHECK(!list);
	CHECK_EQ(xml_get_entry_num(CHECK_BOARD_ID, SECTION, "attr", &count), 0);
	CHECK_EQ(count, 3);
	CHECK_EQ(xml_get_entry_num(CHECK_BOARD_ID, SECTION, "absent", &count), XML_NO_NODE);
	CHECK_EQ(count, 3);
}

static void check_one_number(struct xml_entry *entry, const char *attribute, u32 status, u32 number)
{
	u32 value = 77;

	CHECK_EQ(xml_get_attr_value_u32(entry, attribute, &value), status);
	CHECK_EQ(value, status ? 77 : number);
}

static void check_attribute_numbers(struct xml_entry *entry)
{
	u32 value = 77;

	check_one_number(entry, "decimal", 0, 4294967295U);
	check_one_number(entry, "hexadecimal", 0, 0xfeedU);
	check_one_number(entry, "zeros", 0, 10);
	check_one_number(entry, "too_large", XML_BAD_NUMBER, 0);
	check_one_number(entry, "negative", XML_BAD_NUMBER, 0);
	check_one_number(entry, "positive", XML_BAD_NUMBER, 0);
	check_one_number(entry, "blank", XML_BAD_NUMBER, 0);
	check_one_number(entry, "empty", XML_BAD_NUMBER, 0);
	check_one_number(entry, "bare_0x", XML_BAD_NUMBER, 0);
	check_one_number(entry, "letters", XML_BAD_NUMBER, 0);
	check_one_number(entry, "absent", XML_NO_ATTRIBUTE, 0);
	CHECK_EQ(xml_get_attr_value_u32(NULL, "decimal", &value), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_attr_value_u32(entry, NULL, &value), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_attr_value_u32(entry, "decimal", NULL), XML_BAD_ARGUMENT);
	CHECK_EQ(value, 77);
}

static void check_attribute_texts(struct xml_entry *entry)
{
	char text[8] = "old";

	CHECK_EQ(xml_get_attr_string(NULL, "letters", text, sizeof(text)), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_attr_string(entry, NULL, text, sizeof(text)), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_attr_string(entry, "letters", NULL, sizeof(text)), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_attr_string(entry, "absent", text, sizeof(text)), XML_NO_ATTRIBUTE);
	CHECK_EQ(xml_get_attr_string(entry, "letters", text, 6), XML_TEXT_TOO_LONG);
	CHECK_EQ(xml_get_attr_string(entry, "letters", text, 0), XML_TEXT_TOO_LONG);
	CHECK(!strcmp(text, "old"));
	CHECK_EQ(xml_get_attr_string(entry, "letters", text, 7), 0);
	CHECK(!strcmp(text, "abc<&>"));
	CHECK_EQ(xml_get_attr_string(entry, "name", text, sizeof(text)), 0);
	CHECK(!strcmp(text, "other"));
	CHECK_EQ(xml_get_attr_string(entry, "empty", text, 1), 0);
	CHECK_EQ(text[0], 0);
}

static void check_attributes(void)
{
	struct xml_entry_node *list = NULL;
	u32 count;

	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, SECTION, "attr", &list, &count), 0);
	check_attribute_numbers(list->next->entry);
	check_attribute_texts(list->next->entry);
	check_one_number(list->entry, "place", 0, 1);
	check_one_number(list->next->next->entry, "place", 0, 2);
}

static void check_elements(void)
{
	char text[8] = "old";
	u32 value = 77;

	CHECK_EQ(xml_get_element_value_u32(CHECK_BOARD_ID, SECTION, "absent", "entry0", "number", &value), XML_NO_NODE);
	CHECK_EQ(xml_get_element_value_u32(CHECK_BOARD_ID, SECTION, "elements", "entry1", "number", &value), XML_NO_ENTRY);
	CHECK_EQ(xml_get_element_value_u32(CHECK_BOARD_ID, SECTION, "elements", "entry0", "absent", &value), XML_NO_ELEMENT);
	CHECK_EQ(xml_get_element_value_u32(CHECK_BOARD_ID, SECTION, "elements", "entry0", "text", &value), XML_BAD_NUMBER);
	CHECK_EQ(value, 77);
	CHECK_EQ(xml_get_element_value_u32(CHECK_BOARD_ID, SECTION, "elements", "entry0", "number", &value), 0);
	CHECK_EQ(value, 0x1234);
	CHECK_EQ(xml_get_element_string(CHECK_BOARD_ID, SECTION, "elements", "entry0", "text", text, 5), XML_TEXT_TOO_LONG);
	CHECK(!strcmp(text, "old"));
	CHECK_EQ(xml_get_element_string(CHECK_BOARD_ID, SECTION, "elements", "entry0", "text", text, 6), 0);
	CHECK(!strcmp(text, "words"));
	CHECK(xml_is_element_exist(CHECK_BOARD_ID, SECTION, "elements", "entry0", "nothing"));
	CHECK(!xml_is_element_exist(CHECK_BOARD_ID, SECTION, "elements", "entry0", "absent"));
	CHECK(!xml_is_element_exist(CHECK_BOARD_ID, SECTION, "elements", "entry0", "name"));
	CHECK(!xml_is_element_exist(UNKNOWN_ID, SECTION, "elements", "entry0", "text"));
}

/* Every argument that may be NULL where it must not, one at a time. */
static void check_missing_questions(void)
{
	struct xml_entry_node *list = NULL;
	u32 number = 77;

	CHECK_EQ(xml_get_specified_node_num(CHECK_BOARD_ID, NULL, "attr", &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_specified_node_num(CHECK_BOARD_ID, SECTION, NULL, &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_is_node_exist(CHECK_BOARD_ID, NULL, "attr", &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_is_node_exist(CHECK_BOARD_ID, SECTION, NULL, &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, NULL, "attr", &list, &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, SECTION, NULL, &list, &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, SECTION, "attr", NULL, &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_entry_list(CHECK_BOARD_ID, SECTION, "attr", &list, NULL), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_entry_num(CHECK_BOARD_ID, NULL, "attr", &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_entry_num(CHECK_BOARD_ID, SECTION, NULL, &number), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_entry_num(CHECK_BOARD_ID, SECTION, "attr", NULL), XML_BAD_ARGUMENT);
	CHECK_EQ(number, 77);
	CHECK(!list);
}

/* All that asks for an element. */
static void check_element_question(const char *module, const char *node, const char *entry, const char *element, u32 status)
{
	char text[8] = "old";
	u32 value = 77;

	CHECK_EQ(xml_get_element_value_u32(CHECK_BOARD_ID, module, node, entry, element, &value), status);
	CHECK_EQ(xml_get_element_string(CHECK_BOARD_ID, module, node, entry, element, text, sizeof(text)), status);
	CHECK(!xml_is_element_exist(CHECK_BOARD_ID, module, node, entry, element));
	CHECK_EQ(value, 77);
	CHECK(!strcmp(text, "old"));
}

static void check_element_questions(void)
{
	check_element_question(NULL, "elements", "entry0", "number", XML_BAD_ARGUMENT);
	check_element_question(SECTION, NULL, "entry0", "number", XML_BAD_ARGUMENT);
	check_element_question(SECTION, "elements", NULL, "number", XML_BAD_ARGUMENT);
	check_element_question(SECTION, "elements", "entry0", NULL, XML_BAD_ARGUMENT);
	check_element_question("absent", "elements", "entry0", "number", XML_NO_NODE);
	check_element_question(SECTION, "absent", "entry0", "number", XML_NO_NODE);
	check_element_question(SECTION, "elements", "entry1", "number", XML_NO_ENTRY);
	check_element_question(SECTION, "elements", "entry0", "absent", XML_NO_ELEMENT);
	CHECK_EQ(xml_get_element_value_u32(CHECK_BOARD_ID, SECTION, "elements", "entry0", "number", NULL), XML_BAD_ARGUMENT);
	CHECK_EQ(xml_get_element_string(CHECK_BOARD_ID, SECTION, "elements", "entry0", "text", NULL, 8), XML_BAD_ARGUMENT);
}

static void check_bom(void)
{
	u32 value = 77;

	CHECK_EQ(drv_board_get_bom_value(CHECK_BOARD_ID, 0x100001, &value), CAPABILITY_UNKNOWN);
	CHECK_EQ(drv_board_get_bom_value(CHECK_BOARD_ID, 0x100000, NULL), CAPABILITY_BAD_ARGUMENT);
	CHECK_EQ(value, 77);
	CHECK_EQ(drv_board_get_bom_value(CHECK_BOARD_ID, 0x100000, &value), 0);
	CHECK_EQ(value, 27);
	CHECK_EQ(drv_board_get_bom_value(OWN_BOM_ID, 0x100000, &value), 0);
	CHECK_EQ(value, 3);
	CHECK_EQ(drv_board_get_bom_value(UNKNOWN_ID, 0x100000, &value), 0);
	CHECK_EQ(value, 27);
}

void check_configuration(void)
{
	check_node_numbers();
	check_existence();
	check_lists();
	check_attributes();
	check_elements();
	check_missing_questions();
	check_element_questions();
	check_bom();
}
