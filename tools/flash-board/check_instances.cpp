// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "check_instances.hpp"

#include <map>
#include <set>
#include <unordered_map>

#include "tables.hpp"

namespace flash_board {
namespace {

using parents_by_id = std::unordered_map<std::uint32_t, std::optional<std::uint32_t>>;

std::optional<std::uint32_t> parent_of(pugi::xml_node instance)
{
	return number_in(instance.attribute("parent").value());
}

// The instances that are in a circle of more than one.
class circles {
public:
	explicit circles(const parents_by_id &parents) : parents_(parents)
	{
		std::unordered_map<std::uint32_t, std::uint32_t> walk_of; // each instance is walked once

		for (const auto &[start, parent] : parents) {
			std::optional<std::uint32_t> at = start;
			while (at && walk_of.try_emplace(*at, start).second)
				at = parent_of(*at);
			if (at && walk_of[*at] == start && parent_of(*at) != at)
				add(*at);
		}
	}

	bool contain(std::uint32_t id) const { return members_.contains(id); }

	// 0x10, 0x11, 0x10
	std::string path_from(std::uint32_t id) const
	{
		constexpr int most_shown = 8;
		auto path = hexadecimal(id);
		auto at = *parent_of(id);

		for (int shown = 1; at != id && shown < most_shown; shown++, at = *parent_of(at))
			path += ", " + hexadecimal(at);
		return path + (at == id ? ", " : " ... ") + hexadecimal(id);
	}

private:
	std::optional<std::uint32_t> parent_of(std::uint32_t id) const
	{
		const auto found = parents_.find(id);

		return found == parents_.end() ? std::nullopt : found->second;
	}

	void add(std::uint32_t first)
	{
		for (auto at = first; members_.insert(at).second;)
			at = *parent_of(at);
	}

	const parents_by_id &parents_;
	std::set<std::uint32_t> members_;
};

void check_parent(document &of, pugi::xml_node instance, const parents_by_id &parents, const circles &round)
{
	const auto id = id_of(instance), parent = parent_of(instance);
	const auto place = of.offset_of(instance, "parent");

	if (!id || !parent)
		return;
	if (id == parent)
		of.add("parent-itself", instance, place, "instance " + hexadecimal(*id) + " is its own parent");
	else if (round.contain(*id))
		of.add("parent-circular", instance, place, "parents in a circle: " + round.path_from(*id));
	else if (!parents.contains(*parent))
		of.add("parent-not-described", instance, place, "there is no instance " + hexadecimal(*parent));
}

using place_on_carrier = std::pair<std::uint32_t, std::uint32_t>;

void check_card(document &of, pugi::xml_node instance, std::map<place_on_carrier, pugi::xml_node> &taken)
{
	const auto parent = parent_of(instance), card = number_in(instance.attribute("card").value());

	if (!parent || !card)
		return;
	const auto [first, is_free] = taken.try_emplace({*parent, *card}, instance);
	if (!is_free)
		of.add("card-twice", instance, of.offset_of(instance, "card"),
		       "instance " + std::string(first->second.attribute("id").value()) + " in line " +
			       std::to_string(of.from().at(of.offset_of(first->second)).line) + " is card " + std::to_string(*card) +
			       " of " + hexadecimal(*parent) + " too");
}

} // namespace

void check_instances(document &of)
{
	const auto instances = instances_of(of);
	std::map<place_on_carrier, pugi::xml_node> taken;
	parents_by_id parents;

	for (const auto instance : instances)
		if (const auto id = id_of(instance))
			parents.try_emplace(*id, parent_of(instance));
	const circles round(parents);
	for (const auto instance : instances) {
		check_parent(of, instance, parents, round);
		check_card(of, instance, taken);
	}
}

} // namespace flash_board
