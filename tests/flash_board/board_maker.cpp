// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
#include "board_maker.hpp"

#include <random>
#include <vector>

namespace made_up {
namespace {

class board_maker {
public:
	explicit board_maker(unsigned seed) : random_(seed) {}

	std::string make()
	{
		std::string nodes;

		for (const auto *name : {"attr", "attr_1", "attr_2", "attr_02"})
			if (chance(name == std::string("attr") ? 90 : 20))
				nodes += node(name, 3, [this](int i) { return section(i); });
		if (chance(60))
			nodes += node("mtd_info", 3, [this](int i) { return listed(i); });
		auto text = "<board name='b' bom='" + std::to_string(pick(3)) + "'>" + instance("id='0xffffffff'", nodes);
		text += instance("id='0x10'", chance(70) ? node("spi_flash_info", 3, [this](int i) { return settings(i); }) : "");
		for (unsigned card = 1; card <= 2; card++)
			text += instance("id='" + std::to_string(card) + "' parent='0x10' card='" + std::to_string(card) + "'",
					 card_nodes());
		return text + "</board>";
	}

private:
	unsigned pick(unsigned below) { return static_cast<unsigned>(random_() % below); }
	bool chance(unsigned percent) { return pick(100) < percent; }
	std::string one_of(const std::vector<std::string> &usual, const std::vector<std::string> &odd)
	{
		const auto &from = chance(93) ? usual : odd;
		return from[pick(static_cast<unsigned>(from.size()))];
	}

	static std::string instance(const std::string &attributes, const std::string &nodes)
	{
		return "<instance " + attributes + "><module name='flash_mng'>" + nodes + "</module></instance>";
	}

	template <typename maker> std::string node(const std::string &name, unsigned most, maker entry)
	{
		auto text = "<node name='" + name + "'>";

		for (unsigned i = 0, count = pick(most + 1); i < count; i++)
			text += entry(static_cast<int>(i));
		return text + "</node>";
	}

	std::string number(const std::vector<std::string> &usual)
	{
		return one_of(usual, {"0", "4294967295", "0xfffff000", "4294967296", "-1", "", " 1", "0x", "one", "0X10"});
	}

	std::string field(const std::string &name, const std::string &value) { return chance(98) ? " " + name + "='" + value + "'" : ""; }
	std::string value(const std::string &name, const std::string &text)
	{
		return chance(98) ? "<" + name + ">" + text + "</" + name + ">" : "";
	}

	std::string partition_name()
	{
		return one_of({"boot", "config", "usrdata", "rootfs"},
			      {"", "none", "a_name_of_exactly_31_characters", "a_name_of_exactly_31_characters!",
			       "a_name_of_exactly_39_characters_is_this", "a_name_of_exactly_39_characters_is_this!"});
	}

	std::string section(int index)
	{
		return "<entry name='s" + std::to_string(index) + "'" + field("section_id", number({"1", "2", "0x2"})) +
		       field("mtd_name", partition_name()) + field("offset", number({"0", "0x800", "0x1000", "0x2000"})) +
		       field("size", number({"0x800", "0x1000", "0x2000", "0x100000"})) + "/>";
	}

	std::string listed(int index)
	{
		return "<entry name='p" + std::to_string(index) + "'" + field("mtd_name", partition_name()) +
		       field("avail_size", number({"0x20000", "0x100000"})) + "/>";
	}

	std::string settings(int index)
	{
		return "<entry name='" + one_of({"entry" + std::to_string(index)}, {"entry", "entry9", "entry0"}) + "'>" +
		       value("flash_id", number({"1", "2", "0xffffffff"})) + value("sfc_chip_id", number({"0"})) +
		       value("sfc_ctrl", number({"1"})) + value("sfc_cs", number({"2"})) + "</entry>";
	}

	std::string map_entry(int index)
	{
		return "<entry name='" + one_of({"map" + std::to_string(index)}, {"map0"}) + "'>" +
		       value("mtd_name", one_of({"firmware", "log"}, {"", "eighteen_character", "eighteen_characters"})) +
		       value("offset", number({"0", "0x10000"})) + value("size", number({"0x10000"})) + "</entry>";
	}

	std::string card_nodes()
	{
		std::string nodes;

		if (chance(20))
			nodes += node("spi_flash_info", 2, [this](int i) { return settings(i); });
		if (chance(50))
			nodes += node("spi_flash_map", 3, [this](int i) { return map_entry(i); });
		return nodes;
	}

	std::mt19937 random_;
};

} // namespace

std::string made_up_board(unsigned seed)
{
	return board_maker(seed).make();
}

flash_board::mtd_layout layout()
{
	return flash_board::read_proc_mtd("mtd0: 00100000 00020000 \"boot\"\nmtd1: 00080000 00020000 \"config\"\n"
					  "mtd2: 00200000 00020000 \"usrdata\"\nmtd3: 00400000 00020000 \"rootfs\"\n");
}

} // namespace made_up
