// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "page_data.hpp"

#include <array>
#include <map>
#include <tuple>

#include "map.hpp"

namespace flash_board {
namespace {

using json = nlohmann::ordered_json;

template <typename number> json number_or_null(const std::optional<number> &value)
{
	return value ? json(*value) : json();
}

std::string_view name_of(span_kind kind)
{
	constexpr std::array<std::string_view, 3> names = {"section", "usable", "spi_partition"};

	return names[static_cast<std::size_t>(kind)];
}

// The maps of all variants as one: what is in several of them is there once, with the variants that have it.
class merged_maps {
public:
	explicit merged_maps(const document &of) : document_(of) {}

	void add(const board_map &map, std::size_t variant)
	{
		variants_ = variant + 1;
		for (const auto &group : map.groups) {
			std::map<std::string, std::size_t> twins;
			for (const auto &bar : group.bars) {
				const auto place = place_of(group.title, bar, twins[bar.title]++);
				for (const auto &span : bar.spans)
					add(span, place, variant);
			}
		}
	}

	void write(json &to) const
	{
		to["groups"] = groups_;
		to["bars"] = bars_;
		to["spans"] = json::array();
		for (const auto &one : spans_) {
			to["spans"].push_back(one.described);
			to["spans"].back()["variants"] = one.variants.size() == variants_ ? json() : json(one.variants);
		}
	}

private:
	struct merged_span {
		json described;
		std::vector<std::size_t> variants;
	};

	std::size_t place_of(const std::string &group, const map_bar &bar, std::size_t twin)
	{
		const auto [known_group, is_new_group] = group_places_.try_emplace(group, groups_.size());
		if (is_new_group)
			groups_.push_back(group);
		const auto [known, is_new] = bar_places_.try_emplace({known_group->second, bar.title, twin}, bars_.size());
		if (is_new)
			bars_.push_back({{"group", known_group->second},
					 {"title", bar.title},
					 {"place", bar.place},
					 {"size", number_or_null(bar.size)},
					 {"offset", number_or_null(bar.offset)},
					 {"missing", bar.is_missing},
					 {"instance", number_or_null(bar.instance)}});
		return known->second;
	}

	void add(const map_span &span, std::size_t bar, std::size_t variant)
	{
		const auto [known, is_new] = span_places_.try_emplace({span.at, bar}, spans_.size());

		if (is_new)
			spans_.push_back({{{"bar", bar},
					   {"kind", name_of(span.kind)},
					   {"title", span.title},
					   {"from", span.range.begin},
					   {"to", span.range.end},
					   {"address", span.address},
					   {"addresses", span.addresses},
					   {"id", number_or_null(span.id)},
					   {"line", document_.from().at(span.at).line}},
					  {}});
		spans_[known->second].variants.push_back(variant);
	}

	const document &document_;
	std::size_t variants_ = 0;
	std::vector<std::string> groups_;
	std::vector<json> bars_;
	std::vector<merged_span> spans_;
	std::map<std::string, std::size_t> group_places_;
	std::map<std::tuple<std::size_t, std::string, std::size_t>, std::size_t> bar_places_;
	std::map<std::pair<std::size_t, std::size_t>, std::size_t> span_places_; // by the place in the text, and the bar
};

// The board's own variant is always among those that are shown.
std::vector<std::uint32_t> shown_variants(const document &of)
{
	auto variants = variants_of(of);
	const auto own = own_variant(of);

	if (variants.size() > most_shown_variants) {
		const bool is_cut = own > variants[most_shown_variants - 1];
		variants.resize(most_shown_variants);
		if (is_cut)
			variants.back() = own;
	}
	return variants;
}

void add_maps(json &to, const document &of, const mtd_layout *layout)
{
	const auto variants = shown_variants(of);
	merged_maps merged(of);

	for (std::size_t i = 0; i < variants.size(); i++) {
		const auto map = map_of(of, layout, variants[i]);
		const auto about = map.subtitle.substr(map.subtitle.find(", ") + 2);
		to["variants"].push_back(
			{{"number", variants[i]}, {"own", variants[i] == own_variant(of)}, {"about", about}, {"left_out", map.left_out}});
		merged.add(map, i);
	}
	to["variants_left_out"] = variants_of(of).size() - variants.size();
	to["board"] = of.tree().child("board").attribute("name").value();
	merged.write(to);
}

json described(const source &from, const findings &all)
{
	json list = json::array();

	for (const auto &one : all) {
		const auto place = from.at(one.offset);
		list.push_back({{"rule", one.broken->id},
				{"severity", name_of(one.broken->level)},
				{"line", place.line},
				{"message", one.message},
				{"hint", one.hint}});
	}
	return list;
}

json rules_of(const findings &all)
{
	json rules = json::object();

	for (const auto &one : all)
		rules[std::string(one.broken->id)] = {{"title", one.broken->title}, {"explanation", one.broken->explanation}};
	return rules;
}

} // namespace

json page_data(const page_content &of)
{
	json all = {{"tool", of.tool},
		    {"file", of.from.file_name()},
		    {"partitions", of.layout_name},
		    {"board", ""},
		    {"variants", json::array()},
		    {"variants_left_out", 0},
		    {"groups", json::array()},
		    {"bars", json::array()},
		    {"spans", json::array()},
		    {"no_map", of.has_map ? "" : "The description is refused: nothing is drawn until what was found is mended."},
		    {"findings", described(of.from, of.found)},
		    {"rules", rules_of(of.found)},
		    {"source", of.from.text()},
		    {"simulation", of.simulation ? json::parse(as_json(*of.simulation)) : json()},
		    {"no_simulation", of.no_simulation}};

	if (of.has_map)
		add_maps(all, document(of.from), of.layout);
	return all;
}

} // namespace flash_board
