// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "survey.hpp"

namespace schedules {

namespace {

bool about_loading(const operation &one)
{
	return one.is == kind::load || one.is == kind::unload;
}

// Load and unload meet commands only: exports can be called when the load is over, and keep the module from being unloaded.
std::vector<start> boards_for(const operation &one, const operation &other)
{
	const operation &first = about_loading(one) ? one : other, &second = about_loading(one) ? other : one;

	if (about_loading(first)) {
		if (second.is != kind::command)
			return {};
		return first.is == kind::load ? std::vector{start::off, start::off_and_broken} : std::vector{start::flash_created};
	}
	if (one.of_spi_flash && other.of_spi_flash)
		return {start::loaded, start::with_driver, start::flash_known, start::flash_created};
	return {one.of_spi_flash || other.of_spi_flash ? start::flash_created : start::loaded};
}

std::vector<scene> pairs()
{
	const auto &all = all_operations();
	std::vector<scene> made;

	for (std::size_t i = 0; i < all.size(); ++i)
		for (std::size_t k = i; k < all.size(); ++k)
			for (start found : boards_for(all[i], all[k]))
				made.push_back({found, {&all[i], &all[k]}});
	return made;
}

std::vector<scene> pairs_and_a_kill()
{
	std::vector<scene> made;

	for (const operation &one : all_operations())
		for (const operation &other : all_operations())
			if (one.moves_sections && other.moves_sections)
				made.push_back({start::loaded, {&one, &other}, true});
	return made;
}

// Three that have one thing in common: an SPI flash without a hardware lock, a listed partition, sections.
std::vector<scene> triples()
{
	std::vector<scene> made;
	const auto add_all_of = [&made](auto belongs, std::initializer_list<start> boards) {
		std::vector<const operation *> group;
		for (const operation &one : all_operations())
			if (belongs(one))
				group.push_back(&one);
		for (start found : boards)
			for (std::size_t i = 0; i < group.size(); ++i)
				for (std::size_t k = i; k < group.size(); ++k)
					for (std::size_t m = k; m < group.size(); ++m)
						made.push_back({found, {group[i], group[k], group[m]}});
	};
	add_all_of([](const operation &one) { return one.of_spi_flash && one.what != "0x21"; },
		   {start::loaded, start::with_driver, start::flash_known, start::flash_created});
	add_all_of([](const operation &one) { return one.what == "usrdata"; }, {start::loaded});
	add_all_of([](const operation &one) { return one.moves_sections; }, {start::loaded});
	return made;
}

} // namespace

std::vector<scene> all_scenes()
{
	std::vector<scene> made = pairs();
	for (auto more : {pairs_and_a_kill(), triples()})
		made.insert(made.end(), more.begin(), more.end());
	return made;
}

} // namespace schedules
