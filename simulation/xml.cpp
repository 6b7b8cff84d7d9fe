// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// The platform module "xml_parser", straight from the board's XML:
//   <board> <instance> <module name> <node name> <entry name attribute...> <element>text</element>
#include "platform/xml.h"

#include <pugixml.hpp>

#include <charconv>
#include <cstring>
#include <deque>
#include <map>

#include "../../reference_platform/include/platform_status.h"
#include "simulation.hpp"

namespace simulation {

namespace {

// One entry as the module sees it, and the XML behind it. Stays where it is as long as the configuration is selected.
struct entry : xml_entry {
	explicit entry(pugi::xml_node source) : xml_entry{source.attribute("name").value()}, xml(source) {}

	pugi::xml_node xml;
	xml_entry_node link{};
};

struct node {
	std::deque<entry> entries;
};

struct configuration {
	pugi::xml_document document;
	std::map<pugi::xml_node, node> nodes; // those whose list was asked for
};

struct list_lie {
	unsigned remaining; // lists until it strikes, that one counted; 0 when spent
	std::optional<u32> count;
};

std::string g_selected = "plain";
std::unique_ptr<configuration> g_configuration; // read when it is first asked for something
std::vector<list_lie> g_lies;

std::optional<u32> number(std::string_view text)
{
	const bool hexadecimal = text.starts_with("0x") || text.starts_with("0X");
	u32 value = 0;

	if (hexadecimal)
		text.remove_prefix(2);
	const auto [end, error] = std::from_chars(text.begin(), text.end(), value, hexadecimal ? 16 : 10);
	if (error != std::errc() || end != text.end())
		return std::nullopt;
	return value;
}

u32 number_or(pugi::xml_attribute attribute, u32 otherwise)
{
	return number(attribute.value()).value_or(otherwise);
}

configuration &configuration_locked()
{
	if (g_configuration)
		return *g_configuration;
	const auto path = g_selected.starts_with('/') ? g_selected : SIMULATION_BOARDS_DIR "/" + g_selected + ".xml";
	g_configuration = std::make_unique<configuration>();
	const auto result = g_configuration->document.load_file(path.c_str());
	if (!result)
		misuse("%s: %s (at byte %td)", path.c_str(), result.description(), result.offset);
	return *g_configuration;
}

pugi::xml_node instance_locked(u32 inst_id)
{
	for (auto instance : configuration_locked().document.child("board").children("instance")) {
		if (number(instance.attribute("id").value()) == inst_id)
			return instance;
	}
	return {};
}

pugi::xml_node node_locked(u32 inst_id, const char *module, const char *name)
{
	return instance_locked(inst_id).find_child_by_attribute("module", "name", module).find_child_by_attribute("node", "name", name);
}

node &node_entries_locked(pugi::xml_node xml)
{
	auto [place, added] = configuration_locked().nodes.try_emplace(xml);
	auto &entries = place->second.entries;

	if (!added)
		return place->second;
	for (auto child : xml.children("entry")) {
		auto &entry = entries.emplace_back(child);
		entry.link.entry = &entry;
	}
	for (std::size_t i = 1; i < entries.size(); ++i)
		entries[i - 1].link.next = &entries[i].link;
	return place->second;
}

// Only entries that this configuration handed out have a meaning.
const entry &known_entry_locked(const char *function, const xml_entry *wanted)
{
	for (const auto &[xml, node] : configuration_locked().nodes) {
		for (const auto &entry : node.entries) {
			if (&entry == wanted)
				return entry;
		}
	}
	misuse("%s(%p): no entry of the selected configuration", function, static_cast<const void *>(wanted));
}

bool is_node_or_variant(std::string_view name, std::string_view node)
{
	if (!name.starts_with(node))
		return false;
	name.remove_prefix(node.size());
	if (name.empty())
		return true;
	return name.size() > 1 && name[0] == '_' && name.find_first_not_of("0123456789", 1) == name.npos;
}

u32 copy_text(const char *text, char *buf, u32 size)
{
	const auto needed = std::strlen(text) + 1;

	if (needed > size)
		return XML_TEXT_TOO_LONG;
	std::memcpy(buf, text, needed);
	return 0;
}

u32 copy_number(const char *text, u32 *value)
{
	const auto read = number(text);

	if (read)
		*value = *read;
	return read ? 0 : XML_BAD_NUMBER;
}

void lie_locked(xml_entry_node **list, u32 *count)
{
	for (auto &lie : g_lies) {
		if (lie.remaining == 0 || --lie.remaining > 0)
			continue;
		if (lie.count)
			*count = *lie.count;
		else
			*list = nullptr;
		count_hit_locked();
	}
}

u32 find_element_locked(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, const char **text)
{
	const auto holder = node_locked(inst_id, module, node);

	if (!holder)
		return XML_NO_NODE;
	const auto found = holder.find_child_by_attribute("entry", "name", entry);
	if (!found)
		return XML_NO_ENTRY;
	*text = found.child_value(element);
	return found.child(element) ? 0 : XML_NO_ELEMENT;
}

} // namespace

void configure(std::string_view name)
{
	state_guard guard;

	g_selected = name;
	g_configuration.reset();
}

void lie_about_count(std::uint32_t reported, unsigned nth)
{
	state_guard guard;
	g_lies.push_back({nth, reported});
}

void lie_with_null_list(unsigned nth)
{
	state_guard guard;
	g_lies.push_back({nth, std::nullopt});
}

void reset_xml()
{
	configure("plain");
	state_guard guard;
	g_lies.clear();
}

instance_facts facts_of_instance(std::uint32_t inst_id)
{
	state_guard guard;
	const auto instance = instance_locked(inst_id);
	const auto of_board = number_or(configuration_locked().document.child("board").attribute("bom"), 0);

	return {!instance.empty(), number(instance.attribute("parent").value()), number(instance.attribute("card").value()),
		number_or(instance.attribute("bom"), of_board)};
}

std::optional<lock_values> stated_lock_values(std::uint32_t inst_id, std::uint32_t lock_type)
{
	state_guard guard;
	for (auto lock : instance_locked(inst_id).children("hard_lock"))
		if (number(lock.attribute("type").value()) == lock_type)
			return lock_values{number_or(lock.attribute("lock_val"), 0), number_or(lock.attribute("unlock_val"), 0)};
	return std::nullopt;
}

} // namespace simulation

using namespace simulation;

u32 xml_get_specified_node_num(u32 inst_id, const char *module, const char *node, u32 *num)
{
	if (auto forced = seen(call::xml_get_specified_node_num, {inst_id, module, node, num}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const auto instance = instance_locked(inst_id);

	if (!instance)
		return XML_NO_INSTANCE;
	u32 count = 0;
	for (auto child : instance.find_child_by_attribute("module", "name", module).children("node"))
		count += is_node_or_variant(child.attribute("name").value(), node);
	*num = count;
	return 0;
}

u32 xml_get_entry_list(u32 inst_id, const char *module, const char *node, struct xml_entry_node **list, u32 *count)
{
	if (auto forced = seen(call::xml_get_entry_list, {inst_id, module, node, list, count}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const auto found = node_locked(inst_id, module, node);

	if (!found)
		return XML_NO_NODE;
	auto &entries = node_entries_locked(found).entries;
	*list = entries.empty() ? nullptr : &entries.front().link;
	*count = static_cast<u32>(entries.size());
	lie_locked(list, count);
	return 0;
}

u32 xml_get_attr_value_u32(struct xml_entry *entry, const char *attr, u32 *value)
{
	if (auto forced = seen(call::xml_get_attr_value_u32, {entry, attr, value}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const auto found = known_entry_locked("xml_get_attr_value_u32", entry).xml.attribute(attr);

	return found ? copy_number(found.value(), value) : XML_NO_ATTRIBUTE;
}

u32 xml_get_attr_string(struct xml_entry *entry, const char *attr, char *buf, u32 size)
{
	if (auto forced = seen(call::xml_get_attr_string, {entry, attr, buf, size}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const auto found = known_entry_locked("xml_get_attr_string", entry).xml.attribute(attr);

	return found ? copy_text(found.value(), buf, size) : XML_NO_ATTRIBUTE;
}

u32 xml_is_node_exist(u32 inst_id, const char *module, const char *node, u32 *exist)
{
	if (auto forced = seen(call::xml_is_node_exist, {inst_id, module, node, exist}))
		return static_cast<u32>(*forced);
	state_guard guard;

	*exist = node_locked(inst_id, module, node) ? 1 : 0;
	return 0;
}

u32 xml_get_entry_num(u32 inst_id, const char *module, const char *node, u32 *count)
{
	if (auto forced = seen(call::xml_get_entry_num, {inst_id, module, node, count}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const auto found = node_locked(inst_id, module, node);

	if (!found)
		return XML_NO_NODE;
	*count = static_cast<u32>(node_entries_locked(found).entries.size());
	return 0;
}

u32 xml_get_element_value_u32(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, u32 *value)
{
	if (auto forced = seen(call::xml_get_element_value_u32, {inst_id, module, node, entry, element, value}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const char *text;
	const u32 status = find_element_locked(inst_id, module, node, entry, element, &text);

	return status ? status : copy_number(text, value);
}

u32 xml_get_element_string(u32 inst_id, const char *module, const char *node, const char *entry, const char *element, char *buf, u32 len)
{
	if (auto forced = seen(call::xml_get_element_string, {inst_id, module, node, entry, element, buf, len}))
		return static_cast<u32>(*forced);
	state_guard guard;
	const char *text;
	const u32 status = find_element_locked(inst_id, module, node, entry, element, &text);

	return status ? status : copy_text(text, buf, len);
}

bool xml_is_element_exist(u32 inst_id, const char *module, const char *node, const char *entry, const char *element)
{
	if (auto forced = seen(call::xml_is_element_exist, {inst_id, module, node, entry, element}))
		return *forced != 0;
	state_guard guard;
	const char *text;

	return find_element_locked(inst_id, module, node, entry, element, &text) == 0;
}
