// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// What --json prints agrees with the schema, for every command and for failures.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <valijson/adapters/nlohmann_json_adapter.hpp>
#include <valijson/schema.hpp>
#include <valijson/schema_parser.hpp>
#include <valijson/validation_results.hpp>
#include <valijson/validator.hpp>

#include <sstream>

#include "scratch.hpp"
#include "simulated_console.hpp"

using namespace flashctl_tests;
using nlohmann::json;

namespace {

const valijson::Schema &schema()
{
	static valijson::Schema parsed;
	static const bool once = [] {
		const json text = json::parse(scratch::content_of(SOURCE_DIR "/tools/flashctl/flashctl.schema.json"));
		valijson::SchemaParser(valijson::SchemaParser::kDraft7)
			.populateSchema(valijson::adapters::NlohmannJsonAdapter(text), parsed);
		return true;
	}();
	(void)once;
	return parsed;
}

testing::AssertionResult agrees(const json &report)
{
	valijson::ValidationResults results;
	if (valijson::Validator().validate(schema(), valijson::adapters::NlohmannJsonAdapter(report), &results))
		return testing::AssertionSuccess();
	testing::AssertionResult no = testing::AssertionFailure();
	for (valijson::ValidationResults::Error error; results.popError(error);)
		no << error.description << "\n";
	return no << report.dump(2);
}

json report_of(host &host, std::vector<std::string> arguments)
{
	arguments.push_back("--json");
	const int exit = host.run(arguments);
	EXPECT_EQ(host.console.err, "");
	const json report = json::parse(host.console.out);
	EXPECT_TRUE(agrees(report));
	EXPECT_EQ(report["exit"], exit);
	EXPECT_EQ(report["status"] == "done", exit == 0);
	return report;
}

TEST(json_report, of_list)
{
	host host;
	const json report = report_of(host, {"list"});
	EXPECT_EQ(report["result"]["devices"].size(), 6u);
	EXPECT_EQ(report["result"]["devices"][2],
		  json::parse(R"({"number": 2, "name": "usrdata", "type": "nand", "type_number": 4, "size": 32768,
		"erase_size": 4096, "flags": 1024, "flag_names": ["writeable"], "listed": true,
		"writable": true, "usable": null})"));
}

TEST(json_report, of_info)
{
	host host;
	EXPECT_EQ(report_of(host, {"info"})["result"]["user_data"]["size"], 32768);
	host.flash.user_data_exists = false;
	EXPECT_TRUE(report_of(host, {"info", "nor"})["result"]["user_data"].is_null());
}

TEST(json_report, of_health)
{
	host host;
	partition &part = host.flash.part("usrdata");
	part.device.usable = 0x6000;
	part.counts.bad_blocks = 2;
	part.counts.corrected_bits = 5;
	part.counts.ecc_failures = 1;
	const json list = report_of(host, {"list", "--health"})["result"]["devices"][2]["health"];
	EXPECT_EQ(list["spare_blocks"], 0);
	EXPECT_EQ(list["corrected_bits"], 5);
	EXPECT_TRUE(list["ecc_strength"].is_null());
	EXPECT_EQ(list["warnings"][0]["kind"], "no_spare_block");
	EXPECT_EQ(list["warnings"][1]["kind"], "ecc_failures");
	EXPECT_EQ(report_of(host, {"info", "usrdata"})["result"]["partitions"][0]["health"], list);
	EXPECT_FALSE(report_of(host, {"list"})["result"]["devices"][2].contains("health"));
}

TEST(json_report, of_map)
{
	using enum flashctl::block_state;
	host host;
	host.flash.part("usrdata").blocks = {good, bad, worn, good, unreadable, good, good, bad};
	const json report = report_of(host, {"map"});
	EXPECT_EQ(report["result"]["scanned"], false);
	EXPECT_TRUE(report["result"]["partitions"][0]["blocks"].is_null());
	EXPECT_EQ(report["result"]["partitions"][2]["blocks"],
		  json::parse(R"({"count": 8, "bad": [1, 7], "worn": [2], "unreadable": [4]})"));
	EXPECT_EQ(report_of(host, {"map", "usrdata", "--scan"})["result"]["scanned"], true);
	EXPECT_EQ(report_of(host, {"map", "--scan"})["status"], "no_module") << "no character device";
}

TEST(json_report, of_spi_and_explain)
{
	host host;
	EXPECT_EQ(report_of(host, {"spi", "--instance", "5"})["result"]["chip_select"], 3);
	EXPECT_EQ(report_of(host, {"explain", "-1"})["result"]["codes"][0]["hex"], "0xFFFFFFFF");
	EXPECT_GT(report_of(host, {"explain"})["result"]["codes"].size(), 30u);
	EXPECT_TRUE(report_of(host, {"explain"})["result"]["messages"].empty());
}

TEST(json_report, of_a_message)
{
	host host;
	const json result = report_of(host, {"explain", "[ 1.0] log: 27: mtd read: open /dev/mtdblock3 failed ret=-2"})["result"];
	EXPECT_TRUE(result["codes"].empty());
	ASSERT_EQ(result["messages"].size(), 1u);
	const json message = result["messages"][0];
	EXPECT_EQ(message["text"], "log: 27: mtd read: open %s failed ret=%ld");
	EXPECT_EQ(message["group"], "Transfers by name");
	EXPECT_EQ(message["values"][0], json({{"name", "device"}, {"text", "/dev/mtdblock3"}, {"code", nullptr}}));
	EXPECT_EQ(message["values"][1]["code"]["source"], "kernel");
	EXPECT_EQ(report_of(host, {"explain", "read over mtd area"})["result"]["messages"].size(), 2u);
	EXPECT_EQ(report_of(host, {"explain", "no such line at all"})["status"], "not_found");
}

TEST(json_report, of_read_and_verify)
{
	host host;
	scratch folder;
	EXPECT_EQ(report_of(host, {"read", "usrdata", "--length", "16", "-o", folder.path("f")})["result"]["range"]["length"], 16);
	EXPECT_EQ(report_of(host, {"verify", "usrdata", folder.path("f")})["result"]["equal"], true);
	const json report = report_of(host, {"verify", "usrdata", folder.path("f"), "--offset", "1"});
	EXPECT_EQ(report["result"]["difference"]["first"], 1);
	EXPECT_EQ(report["status"], "mismatch");
	report_of(host, {"verify", "usrdata", "--sha256", std::string(64, '0')});
}

TEST(json_report, of_write)
{
	host host;
	host.console.input = bytes(16, std::byte{0x5a});
	EXPECT_EQ(report_of(host, {"write", "usrdata", "-", "--dry-run"})["result"]["action"], "planned");
	EXPECT_EQ(report_of(host, {"write", "usrdata", "-"})["result"]["compared_bytes"], 32768);
	EXPECT_EQ(report_of(host, {"write", "usrdata", "-"})["result"]["action"], "unchanged");
	EXPECT_TRUE(report_of(host, {"write", "usrdata", "-", "--verify", "none"})["result"]["changed_bytes"].is_null());
	EXPECT_EQ(report_of(host, {"write", "usrdata", "-", "--verify", "range", "--offset", "32"})["result"]["verify"], "range");
	host.flash.after_write = [](partition &part) { part.content[100] ^= std::byte{1}; };
	EXPECT_EQ(report_of(host, {"write", "usrdata", "-", "--offset", "64"})["result"]["difference_around"]["first"], 100);
}

TEST(json_report, of_backup_and_restore)
{
	host host;
	scratch folder;
	for (const char *const name : {"config", "usrdata"})
		host.flash.part(name).device.usable = host.flash.part(name).usable;
	EXPECT_EQ(report_of(host, {"backup", folder.path("b")})["result"]["images"][1]["file"], "mtd2-usrdata.img");
	host.flash.part("usrdata").content[0] ^= std::byte{1};
	EXPECT_EQ(report_of(host, {"restore", folder.path("b"), "--dry-run"})["result"]["images"][1]["action"], "planned");
	host.flash.part("config").device.writable = false;
	const json refused = report_of(host, {"restore", folder.path("b")});
	EXPECT_EQ(refused["result"]["images"][0]["action"], "refused");
	EXPECT_TRUE(refused["result"]["images"][0]["changed_bytes"].is_null());
	EXPECT_EQ(refused["status"], "unsupported");
	host.flash.part("config").device.writable = true;
	EXPECT_EQ(report_of(host, {"restore", folder.path("b")})["result"]["images"][1]["action"], "written");
	report_of(host, {"backup", folder.path("b")});
}

// Each line agrees with the schema; the last one is the result.
std::vector<json> lines_of(host &host, std::vector<std::string> arguments)
{
	arguments.insert(arguments.end(), {"--json", "--progress"});
	host.run(arguments);
	EXPECT_EQ(host.console.err, "");
	std::istringstream text(host.console.out);
	std::vector<json> lines;
	for (std::string line; std::getline(text, line);) {
		lines.push_back(json::parse(line));
		EXPECT_TRUE(agrees(lines.back()));
	}
	EXPECT_TRUE(!lines.empty() && lines.back().contains("command")) << host.console.out;
	return lines;
}

TEST(json_progress, of_a_write_tells_its_phases)
{
	host host;
	host.console.input = bytes(16, std::byte{0x5a});
	const auto lines = lines_of(host, {"write", "usrdata", "-"});
	ASSERT_EQ(lines.size(), 7u);
	const std::vector<std::pair<std::string, std::size_t>> phases = {{"read", 0},	    {"read", 0x8000},	{"write", 0x8000},
									 {"write", 0x8010}, {"verify", 0x8010}, {"verify", 0x10010}};
	for (std::size_t i = 0; i < phases.size(); ++i) {
		EXPECT_EQ(lines[i]["phase"], phases[i].first) << i;
		EXPECT_EQ(lines[i]["state"], i % 2 ? "end" : "begin") << i;
		EXPECT_EQ(lines[i]["done_bytes"], phases[i].second) << i;
		EXPECT_EQ(lines[i]["total_bytes"], 0x10010) << i;
	}
	EXPECT_EQ(lines.back()["result"]["action"], "written");
}

TEST(json_progress, of_backup_and_restore_ends_with_all_bytes)
{
	host host;
	scratch folder;
	for (const char *const name : {"config", "usrdata"})
		host.flash.part(name).device.usable = host.flash.part(name).usable;
	const auto backup = lines_of(host, {"backup", folder.path("b")});
	ASSERT_EQ(backup.size(), 9u);
	EXPECT_EQ(backup[0]["total_bytes"], 2 * 0x8000);
	EXPECT_EQ(backup[7]["done_bytes"], 2 * 0x8000);
	host.flash.part("usrdata").content[0] ^= std::byte{1};
	const auto restore = lines_of(host, {"restore", folder.path("b")});
	EXPECT_TRUE(restore[0]["total_bytes"].is_null()) << "what changes is not known yet";
	const json &last = restore[restore.size() - 2];
	EXPECT_EQ(last["done_bytes"], last["total_bytes"]);
	EXPECT_EQ(last["total_bytes"], 0x4000 + 2 * 0x8000 + 0x6000);
}

TEST(json_progress, has_no_end_of_a_transfer_that_fails)
{
	host host;
	host.console.input = bytes(16, std::byte{0x5a});
	host.flash.write_answer = status::from_code(0x70050006);
	const auto lines = lines_of(host, {"write", "usrdata", "-"});
	EXPECT_EQ(lines[lines.size() - 2]["state"], "begin");
	EXPECT_EQ(lines.back()["exit"], 6);
}

TEST(json_progress, is_one_line_without_a_transfer)
{
	host host;
	EXPECT_EQ(lines_of(host, {"list"}).size(), 1u);
	EXPECT_EQ(lines_of(host, {"lst"}).size(), 1u) << "a wrong command line too";
}

TEST(json_progress, tells_the_speed_of_each_transfer)
{
	host host;
	host.console.tick = std::chrono::milliseconds(500);
	const auto lines = lines_of(host, {"verify", "usrdata", "--sha256", std::string(64, '0')});
	ASSERT_EQ(lines.size(), 3u);
	EXPECT_TRUE(lines[0]["bytes_per_second"].is_null());
	EXPECT_EQ(lines[1]["bytes_per_second"], 2 * 0x8000);
	EXPECT_EQ(lines[1]["done_bytes"], lines[1]["total_bytes"]);
}

// What cannot be told does not stop a write, and is no success.
TEST(json_progress, that_nobody_reads_stops_no_write)
{
	host host;
	host.console.input = bytes(16, std::byte{0x5a});
	host.console.output_breaks = true;
	EXPECT_EQ(host.flashctl("write", "usrdata", "-", "--json", "--progress"), 1);
	EXPECT_TRUE(std::ranges::equal(host.console.input, std::span(host.flash.part("usrdata").content).first(16)));
}

TEST(json_report, of_failures)
{
	host host;
	EXPECT_EQ(report_of(host, {"info", "usrdat"})["error"]["hint"], "did you mean \"usrdata\"?");
	EXPECT_EQ(report_of(host, {"write", "boot", "-"})["error"]["code"]["name"], "FLASH_MNG_NOT_LISTED");
	host.flash.fail_call(1, status::from_errno(ENOENT));
	EXPECT_EQ(report_of(host, {"list"})["error"]["system_error"]["errno"], ENOENT);
}

TEST(json_report, of_a_wrong_command_line)
{
	host host;
	EXPECT_EQ(report_of(host, {"lst"})["status"], "usage");
	EXPECT_EQ(report_of(host, {"read", "usrdata", "--offset", "x"})["exit"], 2);
}

TEST(json_report, of_a_name_that_is_no_text)
{
	host host;
	host.flash.parts[0].device.name = "\xff\xfe";
	report_of(host, {"list"});
}

TEST(schema, refuses_what_does_not_agree)
{
	host host;
	const json good = report_of(host, {"list"});
	const auto without = [&good](const char *key) {
		json bad = good;
		bad.erase(key);
		return bad;
	};
	for (const char *key : {"command", "status", "exit", "result", "error"})
		EXPECT_FALSE(agrees(without(key))) << key;
	json bad = good;
	bad["extra"] = 1;
	EXPECT_FALSE(agrees(bad));
	bad = good;
	bad["result"]["devices"][0].erase("listed");
	EXPECT_FALSE(agrees(bad));
	bad = good;
	bad["command"] = "info";
	EXPECT_FALSE(agrees(bad)) << "the result of another command";
	bad = good;
	bad["exit"] = 13;
	EXPECT_FALSE(agrees(bad));
	bad = good;
	bad["status"] = "fine";
	EXPECT_FALSE(agrees(bad));
}

} // namespace
