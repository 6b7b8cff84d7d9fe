// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "layout_items.hpp"

#include <deque>
#include <functional>

namespace flash_board {
namespace {

// Joins what together names an item; the parts cannot run into each other.
template <typename... parts> std::string key(const parts &...of)
{
	std::string made;
	const auto add = [&](const auto &part) {
		if constexpr (std::is_convertible_v<decltype(part), std::string>)
			made += std::string(part) + '\0';
		else
			made += std::to_string(part) + '\0';
	};

	(add(of), ...);
	return made;
}

std::string key_kind(const layout_item &of)
{
	return std::to_string(static_cast<int>(of.kind)) + '\0';
}

using key_maker = std::function<std::string(const layout_item &)>;

// What makes two items the same, the surest first. Nothing is one that has no such key.
const std::vector<key_maker> &keys()
{
	static const std::vector<key_maker> all = {
		[](const layout_item &one) { return key(one.space, one.name, one.id, one.range.begin, one.range.end, one.address); },
		[](const layout_item &one) { return key(one.space, one.name, one.id); },
		[](const layout_item &one) {
			return one.kind == item_kind::section ? key(one.id) : one.kind == item_kind::partition ? key(one.name) : "";
		},
		[](const layout_item &one) {
			const bool has_bytes = one.kind != item_kind::usable && (one.kind != item_kind::partition || one.has_place);
			return has_bytes ? key(one.space, one.range.begin, one.range.end, one.address) : "";
		},
	};

	return all;
}

layout_item partition_of(const map_group &group, const map_bar &bar)
{
	const auto begin = bar.offset.value_or(0);
	const auto end = bar.size ? begin + *bar.size : bar.offset ? end_not_known : begin;

	return {item_kind::partition,
		bar.offset ? "flash " + group.title : "",
		{begin, end},
		begin,
		bar.title,
		0,
		bar.place,
		0,
		bar.size.has_value(),
		bar.offset.has_value()};
}

layout_item item_of(const map_bar &bar, const map_span &span)
{
	const bool is_spi = span.kind == span_kind::spi_partition;
	const auto kind = is_spi ? item_kind::spi_partition : span.kind == span_kind::section ? item_kind::section : item_kind::usable;
	const auto bytes = "bytes " + span.range.text() + " of " + (is_spi ? bar.title : quoted(bar.title));

	return {kind,
		is_spi ? "instance " + std::to_string(*bar.instance) : "partition " + bar.title,
		span.range,
		span.address,
		is_spi ? span.name : bar.title,
		is_spi ? *bar.instance : span.id.value_or(0),
		bytes,
		span.at,
		true,
		true};
}

} // namespace

std::string layout_item::title() const
{
	switch (kind) {
	case item_kind::partition:
		return "partition " + quoted(name);
	case item_kind::section:
		return "section " + std::to_string(id);
	case item_kind::usable:
		return "listed partition " + quoted(name);
	default:
		return "SPI partition " + quoted(name) + " of instance " + hexadecimal(id);
	}
}

std::vector<layout_item> items_of(const board_map &map)
{
	std::vector<layout_item> items;

	for (const auto &group : map.groups)
		for (const auto &bar : group.bars)
			if (bar.is_partition)
				items.push_back(partition_of(group, bar));
	for (const auto &group : map.groups)
		for (const auto &bar : group.bars)
			for (const auto &span : bar.spans)
				items.push_back(item_of(bar, span));
	return items;
}

void use_old_names(const std::vector<layout_item> &before, std::vector<layout_item> &after)
{
	const auto matches = matches_of(before, after);
	std::unordered_map<std::string, std::string> old_names;

	for (std::size_t i = 0; i < after.size(); i++)
		if (after[i].kind == item_kind::partition && matches[i] != no_match && before[matches[i]].name != after[i].name)
			old_names.emplace(after[i].name, before[matches[i]].name);
	for (auto &one : after) {
		const auto old = old_names.find(one.name);
		if (old == old_names.end() || one.kind == item_kind::partition || one.kind == item_kind::spi_partition)
			continue;
		one.name = old->second;
		one.space = "partition " + old->second;
	}
}

std::vector<std::size_t> matches_of(const std::vector<layout_item> &before, const std::vector<layout_item> &after)
{
	std::vector<std::size_t> matches(after.size(), no_match);
	std::vector<bool> is_taken(before.size());

	for (const auto &make_key : keys()) {
		std::unordered_map<std::string, std::deque<std::size_t>> open;
		for (std::size_t i = 0; i < before.size(); i++)
			if (const auto of = make_key(before[i]); !is_taken[i] && !of.empty())
				open[key_kind(before[i]) + of].push_back(i);
		for (std::size_t i = 0; i < after.size(); i++) {
			if (matches[i] != no_match)
				continue;
			const auto same = open.find(key_kind(after[i]) + make_key(after[i]));
			if (same == open.end() || same->second.empty())
				continue;
			matches[i] = same->second.front();
			is_taken[matches[i]] = true;
			same->second.pop_front();
		}
	}
	return matches;
}

} // namespace flash_board
