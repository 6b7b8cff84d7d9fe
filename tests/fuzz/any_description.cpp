// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "any_description.hpp"

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string_view>

#include "calls.hpp"
#include "platform/xml.h"
#include "simulation.hpp"

namespace fuzz {

namespace {

constexpr u32 no_answer = 0x70010001;
constexpr std::size_t most_entries = 6;

std::optional<input> g_answers;
std::array<xml_entry, most_entries> g_entries;
std::array<xml_entry_node, most_entries> g_links;

input &answers()
{
	static input none{std::span<const uint8_t>()};
	return g_answers ? *g_answers : none;
}

// Most answers are a success, the rest any status.
u32 status()
{
	input &from = answers();
	if (from.is_over())
		return no_answer;
	const u32 choice = from.byte();
	return choice < 240 ? 0 : choice < 248 ? choice : from.number();
}

void answer_number(u32 *value)
{
	*value = answers().size();
}

// A partition's name, or bytes that fill the place to its last.
void answer_text(char *buf, u32 size)
{
	input &from = answers();
	const u32 choice = from.byte();
	if (choice < 192) {
		const std::string_view name = devices[choice % devices.size()].name;
		std::memset(buf, 0, size);
		name.copy(buf, size - 1);
		return;
	}
	const bytes filling = from.some(8);
	for (u32 i = 0; i < size; ++i)
		buf[i] = static_cast<char>(filling[i % filling.size()] | (choice & 1));
}

// Links of which there are as many as there are, and a count of its own.
void answer_list(xml_entry_node **list, u32 *count)
{
	static constexpr const char *names[] = {"entry0", "", "%s%n%x", nullptr};
	input &from = answers();
	const std::size_t length = from.byte() % (most_entries + 1);
	for (std::size_t i = 0; i < length; ++i) {
		g_entries[i].name = from.of(names);
		g_links[i] = {i + 1 < length ? &g_links[i + 1] : nullptr, &g_entries[i]};
	}
	*list = length ? g_links.data() : nullptr;
	const u32 choice = from.byte() % 8;
	*count = choice == 0 ? from.size() : static_cast<u32>(length) + (choice == 1) - (choice == 2);
}

} // namespace

any_description::any_description(input answers)
{
	g_answers = answers;
}

any_description::~any_description()
{
	g_answers.reset();
}

} // namespace fuzz

namespace simulation {

void configure(std::string_view) {}
void lie_about_count(std::uint32_t, unsigned) {}
void lie_with_null_list(unsigned) {}
void reset_xml() {}

instance_facts facts_of_instance(std::uint32_t)
{
	fuzz::input &from = fuzz::answers();
	if (from.is_over())
		return {};
	return {!from.one_in(16), from.byte(), from.byte(), from.byte() % 4};
}

std::optional<lock_values> stated_lock_values(std::uint32_t, std::uint32_t)
{
	return std::nullopt;
}

} // namespace simulation

using namespace fuzz;

u32 xml_get_specified_node_num(u32, const char *, const char *, u32 *num)
{
	if (const u32 failed = status())
		return failed;
	*num = answers().byte() % 4 ? answers().byte() % 4 : answers().number();
	return 0;
}

u32 xml_get_entry_list(u32, const char *, const char *, struct xml_entry_node **list, u32 *count)
{
	if (const u32 failed = status())
		return failed;
	answer_list(list, count);
	return 0;
}

u32 xml_get_attr_value_u32(struct xml_entry *, const char *, u32 *value)
{
	answer_number(value);
	return status();
}

u32 xml_get_attr_string(struct xml_entry *, const char *, char *buf, u32 size)
{
	answer_text(buf, size);
	return status();
}

u32 xml_is_node_exist(u32, const char *, const char *, u32 *exist)
{
	if (const u32 failed = status())
		return failed;
	*exist = answers().byte() % 4;
	return 0;
}

u32 xml_get_entry_num(u32, const char *, const char *, u32 *count)
{
	if (const u32 failed = status())
		return failed;
	answer_number(count);
	return 0;
}

u32 xml_get_element_value_u32(u32, const char *, const char *, const char *, const char *, u32 *value)
{
	*value = answers().one_in(2) ? answers().byte() % 4 : answers().size();
	return status();
}

u32 xml_get_element_string(u32, const char *, const char *, const char *, const char *, char *buf, u32 len)
{
	answer_text(buf, len);
	return status();
}

bool xml_is_element_exist(u32, const char *, const char *, const char *, const char *)
{
	return status() == 0;
}
