// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "layout_change.hpp"

#include <algorithm>
#include <array>
#include <set>
#include <unordered_map>

#include "layout_items.hpp"
#include "range_index.hpp"

namespace flash_board {
namespace {

constexpr const char *keep_or_copy = "copy what it holds before the update, and write it back behind it";

std::string in_words(const byte_range &range)
{
	return range.end == end_not_known ? "bytes from " + hexadecimal(range.begin) + " on"
					  : human_size(range.end - range.begin) + " (" + range.text() + ")";
}

// One variant of both boards.
class comparison {
public:
	comparison(const board_layout &before, const board_layout &after, std::uint32_t variant)
		: before_(before), after_(after), old_map_(map_of(before.of, before.partitions, variant)),
		  new_map_(map_of(after.of, after.partitions, variant)), old_(items_of(old_map_)), new_(items_of(new_map_))
	{
		for (const auto &one : new_)
			new_titles_.push_back(one.title());
		use_old_names(old_, new_);
		matches_ = matches_of(old_, new_);
	}

	layout_comparison make()
	{
		add_dropped();
		add_removed();
		for (std::size_t i = 0; i < new_.size(); i++) {
			const auto count = made_.changes.size();
			if (matches_[i] == no_match)
				add({change_kind::added, severity::note, new_titles_[i], " is new: " + where(new_[i])}, nullptr, &new_[i]);
			else
				compare(old_[matches_[i]], new_[i], new_titles_[i]);
			made_.unchanged += made_.changes.size() == count;
		}
		add_overlaps();
		return std::move(made_);
	}

private:
	void add(layout_change change, const layout_item *old, const layout_item *now)
	{
		change.message = change.object + change.message;
		change.old_line = old && old->kind != item_kind::partition ? before_.of.from().at(old->at).line : 0;
		change.new_line = now && now->kind != item_kind::partition ? after_.of.from().at(now->at).line : 0;
		made_.changes.push_back(std::move(change));
	}

	static std::string where(const layout_item &one) { return one.place.empty() ? "its place is not known" : one.place; }

	void add_dropped()
	{
		for (const auto &one : new_map_.left_out)
			if (std::find(old_map_.left_out.begin(), old_map_.left_out.end(), one) == old_map_.left_out.end())
				add({change_kind::dropped, severity::error, "the new layout", ": " + one,
				     "flash-board check says what is wrong"},
				    nullptr, nullptr);
	}

	void add_removed()
	{
		std::vector<bool> stays(old_.size());

		for (const auto match : matches_)
			if (match != no_match)
				stays[match] = true;
		for (std::size_t i = 0; i < old_.size(); i++)
			if (!stays[i])
				add({change_kind::removed, severity::warning, old_[i].title(),
				     " is gone: what it holds (" + where(old_[i]) + ") stays on the flash, and nobody reaches it",
				     "remove what it holds with the update if it must not stay, or keep the entry"},
				    &old_[i], nullptr);
	}

	void compare(const layout_item &old, const layout_item &now, const std::string &new_title)
	{
		if (old.title() != new_title)
			add({change_kind::renamed, severity::warning, old.title(),
			     " is " + new_title + " now: the bytes stay, and who asks by the old name or number does not find them",
			     "update those who ask for it with the layout"},
			    &old, &now);
		if (old.space != now.space || (old.has_place && now.has_place && old.range.begin != now.range.begin) ||
		    old.has_place != now.has_place)
			add({change_kind::moved, severity::error, new_title,
			     " moves from " + where(old) + " to " + where(now) +
				     ": what it holds stays at the old place, and other bytes are read at the new one",
			     keep_or_copy},
			    &old, &now);
		else if (old.kind == item_kind::section && old.address != now.address)
			add(readdressed(old, now, new_title), &old, &now);
		if (old.has_size && now.has_size)
			compare_sizes(old, now, new_title);
	}

	static layout_change readdressed(const layout_item &old, const layout_item &now, const std::string &title)
	{
		const byte_range had = {old.address, old.address + old.size()}, has = {now.address, now.address + now.size()};

		return {change_kind::readdressed, severity::error, title,
			" counts from " + hexadecimal(now.address) + " instead of " + hexadecimal(old.address) +
				": the bytes stay, and who asks for an old address gets " +
				(had.overlaps(has) ? "other bytes, or none" : "none"),
			"update those who ask for it with the layout"};
	}

	void compare_sizes(const layout_item &old, const layout_item &now, const std::string &title)
	{
		const bool has_addresses = old.kind == item_kind::section;

		if (now.size() < old.size())
			add({change_kind::shrunk, severity::warning, title,
			     " shrinks from " + human_size(old.size()) + " to " + human_size(now.size()) + ": the last " +
				     human_size(old.size() - now.size()) +
				     (has_addresses ? " (" + byte_range{old.address + now.size(), old.address + old.size()}.text() + ")"
						    : "") +
				     " stay on the flash, and nobody reaches them",
			     "see that what it holds fits into the new size before the update"},
			    &old, &now);
		else if (now.size() > old.size())
			add({change_kind::grown, severity::note, title,
			     " grows from " + human_size(old.size()) + " to " + human_size(now.size()) +
				     ": what lies behind the old end is read as it was left"},
			    &old, &now);
	}

	// What was somebody else's before the update.
	void add_overlaps()
	{
		std::unordered_map<std::string, range_index> old_data;

		for (std::size_t i = 0; i < old_.size(); i++)
			if (old_[i].has_place)
				old_data[old_[i].space].add(old_[i].range, i);
		for (auto &[space, index] : old_data)
			index.finish();
		for (std::size_t i = 0; i < new_.size(); i++) {
			const auto index = old_data.find(new_[i].space);
			if (!new_[i].has_place || index == old_data.end())
				continue;
			const auto *own =
				matches_[i] == no_match || old_[matches_[i]].space != new_[i].space ? nullptr : &old_[matches_[i]];
			for (const auto &piece : pieces_without(new_[i].range, own))
				add_overlap(i, piece, index->second.overlapping(piece));
		}
	}

	static std::vector<byte_range> pieces_without(const byte_range &range, const layout_item *own)
	{
		if (!own || !own->range.overlaps(range))
			return {range};
		return {{range.begin, std::max(range.begin, own->range.begin)}, {std::min(range.end, own->range.end), range.end}};
	}

	void add_overlap(std::size_t now, const byte_range &piece, const range_index::answer &found)
	{
		if (!found.count)
			return;
		const auto &old = old_[found.first];
		const byte_range shared = {std::max(piece.begin, old.range.begin), std::min(piece.end, old.range.end)};

		add({change_kind::overlap, severity::error, new_titles_[now],
		     " covers " + in_words(shared) + " that " + old.title() + " held before" +
			     (found.count > 1 ? ", and bytes of " + std::to_string(found.count - 1) + " more" : "") +
			     ": what is written to it overwrites that data, and it begins with bytes that are not its own",
		     "give it bytes that nobody held, or copy the data away before the update"},
		    &old, &new_[now]);
	}

	const board_layout &before_, &after_;
	const board_map old_map_, new_map_;
	std::vector<layout_item> old_, new_;
	std::vector<std::string> new_titles_; // by their new names
	std::vector<std::size_t> matches_;
	layout_comparison made_;
};

// What has no line, then what is gone, then what is there.
bool comes_before(const layout_change &a, const layout_change &b)
{
	const auto place = [](const layout_change &one) { return std::pair(one.new_line, one.new_line ? 0 : one.old_line); };

	return place(a) < place(b);
}

std::vector<std::uint32_t> variants_of_both(const board_layout &before, const board_layout &after)
{
	const auto first = variants_of(before.of);
	auto second = variants_of(after.of);
	std::set<std::uint32_t> all(first.begin(), first.end());

	if (first.size() == 1 && second.size() == 1)
		return second;
	all.insert(second.begin(), second.end());
	return {all.begin(), all.end()};
}

layout_change variant_change(std::uint32_t before, std::uint32_t after)
{
	return {change_kind::variant, severity::warning, "the board",
		"the board is variant " + std::to_string(after) + " instead of " + std::to_string(before) +
			" where its description decides that: its sections are those of another table",
		"compare the two tables"};
}

// The same change of several variants is one.
class gathered_changes {
public:
	void add(const layout_change &change, std::uint32_t variant)
	{
		const auto key = change.object + '\0' + change.message + '\0' + std::to_string(change.old_line) + '\0' +
				 std::to_string(change.new_line) + '\0' + std::string(name_of(change.kind));
		const auto [place, is_new] = places_.try_emplace(key, changes_.size());

		if (is_new)
			changes_.push_back(change);
		if (auto &variants = changes_[place->second].variants; variants.empty() || variants.back() != variant)
			variants.push_back(variant);
	}

	std::vector<layout_change> take(std::size_t variants)
	{
		for (auto &one : changes_)
			if (one.variants.size() == variants)
				one.variants.clear();
		return std::move(changes_);
	}

private:
	std::vector<layout_change> changes_;
	std::unordered_map<std::string, std::size_t> places_;
};

} // namespace

bool layout_comparison::concerns_data() const
{
	return std::any_of(changes.begin(), changes.end(), [](const layout_change &one) { return one.level != severity::note; });
}

std::string_view name_of(change_kind kind)
{
	constexpr std::array<std::string_view, 10> names = {"dropped", "variant", "removed", "moved", "readdressed",
							    "renamed", "shrunk",  "grown",   "added", "overlap"};

	return names[static_cast<std::size_t>(kind)];
}

layout_comparison compare(const board_layout &before, const board_layout &after)
{
	auto variants = variants_of_both(before, after);
	layout_comparison made;
	gathered_changes gathered;

	made.variants_left_out = variants.size() - std::min(variants.size(), most_compared_variants);
	variants.resize(variants.size() - made.variants_left_out);
	for (const auto variant : variants) {
		const auto one = comparison(before, after, variant).make();
		for (const auto &change : one.changes)
			gathered.add(change, variant);
		made.unchanged += one.unchanged;
	}
	made.changes = gathered.take(variants.size());
	std::stable_sort(made.changes.begin(), made.changes.end(), comes_before);
	if (const auto old = own_variant(before.of), now = own_variant(after.of); old != now && variants.size() > 1)
		made.changes.insert(made.changes.begin(), variant_change(old, now));
	return made;
}

} // namespace flash_board
