// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flash-board simulate against the real module: boards made up on the host, with what was said there about each.
#include <nlohmann/json.hpp>

#include <fstream>

#include "../conformance/partition_words.hpp"

namespace conformance {
namespace {

using nlohmann::json;

constexpr int board_count = 30;
constexpr uint32_t default_instance = 0xFFFFFFFF;

// Texts of damaged names are no UTF-8; both sides replace the same bytes.
json as_printed(const std::string &text)
{
	return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace));
}

json messages()
{
	json all = json::array();
	for (const log_line &line : harness::log())
		all.push_back({{"log", line.module_id ? "flash_mng" : "common"}, {"level", line.level}, {"text", as_printed(line.text)}});
	harness::forget();
	return all;
}

std::string text_in(const bytes &memory, std::size_t offset = 0)
{
	const auto start = memory.begin() + static_cast<std::ptrdiff_t>(offset);
	return {start, std::find(start, memory.end(), 0)};
}

class agreement : public on_board, public testing::WithParamInterface<int> {
protected:
	void SetUp() override
	{
		on_board::SetUp();
		std::ifstream file("/tests/agreement/" + std::to_string(GetParam()) + ".json");
		const json all = json::parse(file);
		expected = all["simulated"];
		for (const json &one : all["layout"])
			harness::add_mtd({.name = one["name"], .size = one["size"], .erase_size = one["erase_size"]});
		harness::configure("agreement/" + std::to_string(GetParam()));
		board_text = all["board"];
	}

	void compare_sections() const
	{
		for (const json &one : expected["sections"]) {
			bytes byte(1);
			const uint32_t last = one["offset"].get<uint32_t>() + one["size"].get<uint32_t>() - 1;
			EXPECT_EQ(harness::call("drv_flash_read", {default_instance, one["id"].get<uint32_t>(), last, &byte, 1}),
				  one["last_byte"].get<uint32_t>())
				<< one;
		}
		harness::forget();
	}

	void compare_flash(const json &one) const
	{
		bytes config(32);
		EXPECT_EQ(harness::call("drv_flash_get_sfc_config", {one["instance"].get<uint32_t>(), &config}),
			  one["code"].get<uint32_t>());
		const char *const fields[] = {"described_by", "chip", "controller", "chip_select", "lock_type"};
		for (std::size_t i = 0; one["code"] == 0 && i < std::size(fields); i++)
			EXPECT_EQ(u32_at(config, 4 * (i + 1)), one[fields[i]].get<uint32_t>()) << fields[i];
	}

	void compare_map(uint32_t instance) const
	{
		for (const json &one : expected["spi_partitions"]) {
			if (one["instance"] != instance)
				continue;
			bytes part(40);
			EXPECT_EQ(harness::call("drv_flash_spi_chip_entry_parse", {instance, one["entry"].get<std::string>(), &part}),
				  one["code"].get<uint32_t>());
			if (one["code"] != 0)
				continue;
			EXPECT_EQ(u32_at(part, 0), one["offset"].get<uint32_t>());
			EXPECT_EQ(u32_at(part, 4), one["size"].get<uint32_t>());
			EXPECT_EQ(text_in(part, 8), one["mtd_name"]);
		}
	}

	json expected;
	std::string board_text;
};

TEST_P(agreement, of_simulation_and_module)
{
	SCOPED_TRACE(board_text);
	ASSERT_EQ(harness::load(), expected["load_code"].get<uint32_t>());
	const auto failure = harness::load_report()->failure;
	EXPECT_EQ(failure ? json(*failure) : json(), expected["failure"]);
	EXPECT_EQ(messages(), expected["load_messages"]);
	if (expected["load_code"] != 0)
		return;
	EXPECT_EQ(text_in(harness::global("g_usrdata_mtd_name", 32)), expected["user_data_partition"]);
	EXPECT_EQ(u32_at(harness::global("g_flash_mtd_info_list_num", 4), 0), expected["partitions"].size());
	compare_sections();
	for (const json &one : expected["spi_flashes"]) {
		compare_flash(one);
		compare_map(one["instance"]);
	}
	EXPECT_EQ(messages(), expected["search_messages"]);
	harness::unload();
}

INSTANTIATE_TEST_SUITE_P(boards, agreement, testing::Range(0, board_count));

} // namespace
} // namespace conformance
