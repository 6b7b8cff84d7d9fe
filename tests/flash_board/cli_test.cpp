// SPDX-License-Identifier: BSD-3-Clause OR GPL-2.0-only
//
// flash-board as a program: exit statuses, streams, files, and the documents that describe it.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>

#include "fixtures.hpp"
#include "golden.hpp"
#include "rules.hpp"

namespace {

// A folder of its own for each test.
class cli : public testing::Test {
protected:
	cli()
	{
		auto name = (std::filesystem::temp_directory_path() / "flash-board-test-XXXXXX").string();
		folder_ = mkdtemp(name.data());
	}
	~cli() override { std::filesystem::remove_all(folder_); }

	std::string path(const std::string &name) const { return (folder_ / name).string(); }

	struct outcome {
		int status;
		std::string out, err;
	};

	// Runs it in the folder of the fixtures. What is printed where is kept apart.
	outcome run(const std::string &arguments) const
	{
		const auto command = "cd '" FIXTURES_DIR "' && '" FLASH_BOARD_PROGRAM "' " + arguments + " >'" + path("out") + "' 2>'" +
				     path("err") + "'";
		const int status = std::system(command.c_str());

		return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, fixtures::read(path("out")), fixtures::read(path("err"))};
	}

	void write(const std::string &name, const std::string &content) const { std::ofstream(path(name)) << content; }

private:
	std::filesystem::path folder_;
};

TEST_F(cli, check_of_a_good_board_gives_0)
{
	const auto result = run("check good/section-wraps.xml --mtd partitions.mtd");

	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.out, "good/section-wraps.xml: nothing found\n");
	EXPECT_EQ(result.err, "");
}

TEST_F(cli, check_of_a_bad_board_gives_1_and_the_findings)
{
	const auto result = run("check bad/section-wraps.xml --mtd partitions.mtd");

	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(result.out, fixtures::read(FIXTURES_DIR "/bad/section-wraps.txt"));
	EXPECT_EQ(result.err, "");
}

TEST_F(cli, check_gives_0_where_there_are_warnings_only)
{
	const auto result = run("check bad/section-overlap.xml");

	EXPECT_EQ(result.status, 0);
	EXPECT_NE(result.out.find("0 errors, 1 warning, 0 notes"), std::string::npos);
}

TEST_F(cli, check_gives_the_status_of_the_findings_for_every_fixture)
{
	for (const auto &one : fixtures::bad())
		EXPECT_EQ(run("check --format json --mtd partitions.mtd bad/" + one.name + ".xml").status,
			  flash_board::count_of(one.found(), flash_board::severity::error) ? 1 : 0)
			<< one.name;
}

TEST_F(cli, check_without_a_layout_says_nothing_about_partitions)
{
	EXPECT_EQ(run("check bad/section-no-partition.xml").status, 0);
	EXPECT_EQ(run("check bad/section-no-partition.xml --mtd partitions.mtd").status, 1);
	EXPECT_EQ(run("check bad/section-no-partition.xml --mtdparts 'flash:1M(boot)'").status, 1);
	EXPECT_EQ(run("check bad/section-no-partition.xml --mtdparts 'flash:1M(boots)'").status, 0);
}

TEST_F(cli, check_prints_json_and_sarif)
{
	EXPECT_EQ(run("check bad/variant-missing-single.xml --format json").out,
		  fixtures::read(FIXTURES_DIR "/bad/variant-missing-single.json"));

	auto sarif = fixtures::read(FIXTURES_DIR "/bad/section-wraps.sarif");
	const std::string_view version = "\"1.0\"";
	sarif.replace(sarif.find(version), version.size(), "\"" VERSION "\"");
	EXPECT_EQ(run("check bad/section-wraps.xml --format sarif").out, sarif);
}

TEST_F(cli, wrong_usage_gives_2)
{
	for (const auto *arguments :
	     {"", "unknown", "check", "compile a.xml b.xml -o c", "simulate a.xml b.xml", "check --strict",
	      "check good/section-wraps.xml --format xml", "check good/section-wraps.xml --mtd",
	      "check good/section-wraps.xml --mtd partitions.mtd --mtdparts 'f:1M'", "check good/section-wraps.xml --mtdparts nonsense",
	      "compile good/section-wraps.xml", "map good/section-wraps.xml --bom many", "report good/section-wraps.xml",
	      "diff good/section-wraps.xml", "diff good/malformed.xml good/malformed.xml --new-mtd partitions.mtd",
	      "diff good/malformed.xml good/malformed.xml good/malformed.xml", "explain no-such-rule", "simulate --frmat json x"}) {
		const auto result = run(arguments);
		EXPECT_EQ(result.status, 2) << arguments;
		EXPECT_EQ(result.out, "") << arguments;
		EXPECT_NE(result.err, "") << arguments;
	}
}

TEST_F(cli, a_flag_takes_no_value)
{
	const auto board = " good/section-wraps.xml";

	for (const auto &[line, flag] : std::vector<std::pair<std::string, std::string>>{
		     {"check --strict=0" + std::string(board), "strict"},
		     {"check --strict=true" + std::string(board), "strict"},
		     {"check --json=1" + std::string(board), "json"},
		     {"simulate --json=false" + std::string(board), "json"},
		     {"compile --force=no bad/section-wraps.xml -o '" + path("board.fbd") + "'", "force"},
		     {"compile --force= bad/section-wraps.xml -o '" + path("board.fbd") + "'", "force"},
		     {"explain --markdown=0", "markdown"},
		     {"--version=2", "version"},
		     {"--help=all", "help"},
		     {"check --help=all", "help"}}) {
		const auto result = run(line);
		EXPECT_EQ(result.status, 2) << line;
		EXPECT_EQ(result.out, "") << line;
		EXPECT_EQ(result.err, "flash-board: --" + flag + " takes no value; leave it out where it is not wanted\n") << line;
		EXPECT_FALSE(std::filesystem::exists(path("board.fbd"))) << line;
	}
}

TEST_F(cli, files_that_cannot_be_read_or_written_give_3)
{
	write("noise", "noise\n");
	for (const auto &arguments :
	     {std::string("check none.xml"), std::string("simulate none.xml"), std::string("map none.xml"), std::string("check ."),
	      "compile none.xml -o '" + path("board.fbd") + "'", std::string("compile good/malformed.xml -o none/board.fbd"),
	      std::string("map good/malformed.xml -o none/map.svg"), std::string("report good/malformed.xml -o none/report.html"),
	      "report none.xml -o '" + path("report.html") + "'", std::string("check good/malformed.xml --mtd none.mtd"),
	      "check good/malformed.xml --mtd '" + path("noise") + "'"}) {
		const auto result = run(arguments);
		EXPECT_EQ(result.status, 3) << arguments;
		EXPECT_EQ(result.out, "") << arguments;
		EXPECT_TRUE(result.err.starts_with("flash-board: ")) << arguments << result.err;
	}
}

TEST_F(cli, output_that_cannot_be_written_gives_3)
{
	const int status = std::system("'" FLASH_BOARD_PROGRAM "' explain >/dev/full 2>/dev/null");

	EXPECT_EQ(WEXITSTATUS(status), 3);
	for (const auto *const option : {"--help", "--version", "check --help"})
		EXPECT_EQ(WEXITSTATUS(std::system(("'" FLASH_BOARD_PROGRAM "' " + std::string(option) + " >/dev/full 2>&1").c_str())), 3);
}

TEST_F(cli, a_standard_input_that_cannot_be_read_is_no_empty_board)
{
	EXPECT_EQ(run("check - <.").status, 3);
	EXPECT_EQ(run("check - <&-").status, 3);
	EXPECT_EQ(run("check good/section-wraps.xml --mtd - <.").status, 3);
	EXPECT_NE(run("check - <.").err.find("standard input: cannot be read: Is a directory"), std::string::npos);
}

TEST_F(cli, a_file_without_an_end_is_not_read_to_its_end)
{
	const auto result = run("check /dev/zero");

	EXPECT_EQ(result.status, 1);
	EXPECT_NE(result.out.find("[file-too-long]"), std::string::npos) << result.err;
	EXPECT_EQ(run("check - </dev/zero").status, 1);
}

TEST_F(cli, what_is_named_by_nothing_is_refused)
{
	for (const auto *const line : {"check ''", "check good/section-wraps.xml --mtd ''", "check good/section-wraps.xml --mtdparts ''",
				       "map good/section-wraps.xml -o ''", "map good/section-wraps.xml --output=", "explain ''"})
		EXPECT_EQ(run(line).status, 2) << line;
}

TEST_F(cli, a_file_that_cannot_be_read_is_named_with_the_reason)
{
	EXPECT_EQ(run("check /nonexistent.xml").err, "flash-board: /nonexistent.xml: cannot be read: No such file or directory\n");
	EXPECT_EQ(run("check .").err, "flash-board: .: cannot be read: Is a directory\n");
}

TEST_F(cli, compile_writes_a_board_or_nothing)
{
	EXPECT_EQ(run("compile good/malformed.xml -o '" + path("good.fbd") + "'").status, 0);
	EXPECT_TRUE(fixtures::read(path("good.fbd")).starts_with("FLSHBRD"));
	const auto refused = run("compile bad/duplicate-id.xml -o '" + path("bad.fbd") + "'");
	EXPECT_EQ(refused.status, 1);
	EXPECT_EQ(refused.err,
		  fixtures::read(FIXTURES_DIR "/bad/duplicate-id.txt") + "flash-board: bad/duplicate-id.xml is not compiled\n");
	EXPECT_FALSE(std::filesystem::exists(path("bad.fbd")));
}

TEST_F(cli, compile_refuses_what_check_calls_an_error_unless_it_is_forced)
{
	const auto output = " -o '" + path("board.fbd") + "'";
	const auto refused = run("compile bad/section-wraps.xml" + output);

	EXPECT_EQ(refused.status, 1);
	EXPECT_EQ(refused.out, "");
	EXPECT_EQ(refused.err, fixtures::read(FIXTURES_DIR "/bad/section-wraps.txt") +
				       "flash-board: bad/section-wraps.xml is not compiled; --force compiles it all the same\n");
	EXPECT_FALSE(std::filesystem::exists(path("board.fbd")));
	const auto forced = run("compile --force bad/section-wraps.xml" + output);
	EXPECT_EQ(forced.status, 0);
	EXPECT_EQ(forced.err, fixtures::read(FIXTURES_DIR "/bad/section-wraps.txt"));
	EXPECT_TRUE(fixtures::read(path("board.fbd")).starts_with("FLSHBRD"));
}

TEST_F(cli, compile_cannot_be_forced_to_take_another_form)
{
	EXPECT_EQ(run("compile --force bad/duplicate-id.xml -o '" + path("board.fbd") + "'").status, 1);
	EXPECT_FALSE(std::filesystem::exists(path("board.fbd")));
}

TEST_F(cli, compile_looks_at_partitions_where_they_are_known)
{
	EXPECT_EQ(run("compile bad/section-no-partition.xml -o '" + path("board.fbd") + "'").status, 0);
	EXPECT_EQ(run("compile bad/section-no-partition.xml --mtd partitions.mtd -o '" + path("board.fbd") + "'").status, 1);
}

TEST_F(cli, strict_takes_warnings_for_errors_but_not_notes)
{
	EXPECT_EQ(run("check --strict bad/section-overlap.xml").status, 1);
	EXPECT_EQ(run("compile --strict bad/section-overlap.xml -o '" + path("board.fbd") + "'").status, 1);
	EXPECT_FALSE(std::filesystem::exists(path("board.fbd")));
	EXPECT_EQ(run("compile bad/section-overlap.xml -o '" + path("board.fbd") + "'").status, 0);
	EXPECT_EQ(run("check --strict bad/empty-table.xml").status, 0);
}

TEST_F(cli, check_takes_several_files)
{
	const auto result = run("check bad/section-wraps.xml good/section-wraps.xml bad/section-overlap.xml");

	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(result.out, fixtures::read(FIXTURES_DIR "/bad/section-wraps.txt") + "good/section-wraps.xml: nothing found\n" +
				      fixtures::read(FIXTURES_DIR "/bad/section-overlap.txt"));
	EXPECT_EQ(run("check good/section-wraps.xml good/malformed.xml").status, 0);
}

TEST_F(cli, check_of_several_files_prints_one_json_array_and_one_sarif_run)
{
	const auto all = nlohmann::json::parse(run("check --json bad/section-wraps.xml good/malformed.xml").out);
	const auto sarif = nlohmann::json::parse(run("check --format sarif bad/section-wraps.xml bad/section-overlap.xml").out);

	ASSERT_EQ(all.size(), 2u);
	EXPECT_EQ(all[0]["file"], "bad/section-wraps.xml");
	EXPECT_EQ(all[1]["findings"].size(), 0u);
	ASSERT_EQ(sarif["runs"].size(), 1u);
	EXPECT_EQ(sarif["runs"][0]["results"].size(), 2u);
}

TEST_F(cli, json_is_another_word_for_format_json)
{
	for (const auto *command : {"check bad/section-wraps.xml", "simulate good/section-wraps.xml", "simulate bad/duplicate-id.xml"})
		EXPECT_EQ(run(command + std::string(" --json")).out, run(command + std::string(" --format json")).out) << command;
}

TEST_F(cli, a_dash_is_standard_input_and_standard_output)
{
	EXPECT_EQ(run("check - < bad/section-overlap.xml").out.substr(0, 4), "-:6:");
	EXPECT_EQ(run("check good/malformed.xml --mtd - < partitions.mtd").status, 0);
	EXPECT_TRUE(run("compile - -o - < good/malformed.xml").out.starts_with("FLSHBRD"));
	EXPECT_TRUE(run("map - -o - < good/malformed.xml").out.starts_with("<svg "));
	EXPECT_EQ(run("check - - < good/malformed.xml").status, 2);
	EXPECT_EQ(run("check - --mtd - < good/malformed.xml").status, 2);
}

TEST_F(cli, devices_and_fifos_are_written_to_and_stay)
{
	ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
	EXPECT_TRUE(run("compile good/malformed.xml -o /dev/stdout").out.starts_with("FLSHBRD"));
	EXPECT_EQ(run("compile good/malformed.xml -o /dev/null").status, 0);
	EXPECT_TRUE(std::filesystem::is_character_file("/dev/null"));
	EXPECT_EQ(std::system(("cat '" + path("fifo") + "' >'" + path("read") + "' &").c_str()), 0);
	EXPECT_EQ(run("map good/malformed.xml -o '" + path("fifo") + "'").status, 0);
	EXPECT_TRUE(std::filesystem::is_fifo(path("fifo")));
}

TEST_F(cli, simulate_prints_the_findings_as_json_where_the_board_does_not_compile)
{
	const auto result = run("simulate --format json bad/duplicate-id.xml");
	const auto all = nlohmann::json::parse(result.out);

	EXPECT_EQ(result.status, 1);
	EXPECT_EQ(result.err, "");
	EXPECT_EQ(all["errors"], 1);
	EXPECT_EQ(all["findings"][0]["rule"], "duplicate-id");
}

TEST_F(cli, simulate_gives_1_where_the_module_does_not_load_or_the_board_is_refused)
{
	EXPECT_EQ(run("simulate good/malformed.xml").status, 0);
	EXPECT_EQ(run("simulate bad/mtd-info-number.xml").status, 1);
	const auto refused = run("simulate bad/duplicate-id.xml");
	EXPECT_EQ(refused.status, 1);
	EXPECT_EQ(refused.out, "");
}

TEST_F(cli, simulate_prints_json)
{
	const auto all = nlohmann::json::parse(run("simulate good/section-wraps.xml --mtd partitions.mtd --format json").out);

	EXPECT_EQ(all["load_code"], 0);
	EXPECT_EQ(all["sections"].size(), 1u);
	EXPECT_EQ(all["sections"][0]["last_byte"], 0);
	EXPECT_EQ(all["user_data_partition"], "usrdata");
}

TEST_F(cli, map_draws_on_the_terminal_or_into_a_file)
{
	EXPECT_TRUE(run("map good/malformed.xml").out.starts_with("Flash of board b, "));
	const auto result = run("map good/malformed.xml -o '" + path("map.svg") + "'");
	EXPECT_EQ(result.status, 0);
	EXPECT_EQ(result.out, "");
	EXPECT_TRUE(fixtures::read(path("map.svg")).starts_with("<svg "));
	EXPECT_EQ(run("map bad/duplicate-id.xml").status, 1);
}

TEST_F(cli, diff_gives_0_where_no_data_is_concerned_and_1_where_it_is)
{
	const auto same = run("diff good/section-wraps.xml good/section-wraps.xml --mtd partitions.mtd");
	const auto other = run("diff good/section-wraps.xml good/malformed.xml");

	EXPECT_EQ(same.status, 0);
	EXPECT_NE(same.out.find(": nothing changes; "), std::string::npos) << same.out;
	EXPECT_EQ(other.status, 1);
	EXPECT_NE(other.out.find("[moved]"), std::string::npos) << other.out;
	EXPECT_EQ(other.err, "");
}

TEST_F(cli, diff_refuses_a_board_that_does_not_compile_on_either_side)
{
	const auto refused = run("diff bad/duplicate-id.xml good/malformed.xml");

	EXPECT_EQ(refused.status, 1);
	EXPECT_EQ(refused.out, "");
	EXPECT_EQ(refused.err, fixtures::read(FIXTURES_DIR "/bad/duplicate-id.txt"));
	EXPECT_EQ(nlohmann::json::parse(run("diff --json good/malformed.xml bad/duplicate-id.xml").out)["errors"], 1);
	EXPECT_EQ(run("diff good/malformed.xml none.xml").status, 3);
}

TEST_F(cli, report_writes_a_page_of_a_good_board_and_of_a_wrong_one)
{
	const auto output = " -o '" + path("report.html") + "'";
	const auto good = run("report good/section-wraps.xml --mtd partitions.mtd" + output);

	EXPECT_EQ(good.status, 0);
	EXPECT_EQ(good.out + good.err, "");
	EXPECT_TRUE(fixtures::read(path("report.html")).starts_with("<!DOCTYPE html>"));
	std::filesystem::remove(path("report.html"));
	const auto wrong = run("report bad/section-wraps.xml" + output);
	EXPECT_EQ(wrong.status, 1);
	EXPECT_EQ(wrong.err, fixtures::read(FIXTURES_DIR "/bad/section-wraps.txt"));
	EXPECT_TRUE(fixtures::read(path("report.html")).ends_with("</html>\n"));
	EXPECT_EQ(run("report bad/section-overlap.xml" + output).status, 0);
	EXPECT_EQ(run("report bad/section-overlap.xml --strict" + output).status, 1);
	EXPECT_EQ(run("report bad/duplicate-id.xml" + output).status, 1);
	EXPECT_TRUE(run("report - -o - <good/malformed.xml").out.starts_with("<!DOCTYPE html>"));
}

TEST_F(cli, explain_knows_every_rule_and_suggests_one_for_a_misspelling)
{
	for (const auto &one : flash_board::all_rules()) {
		const auto result = run("explain " + std::string(one.id));
		EXPECT_EQ(result.status, 0);
		EXPECT_TRUE(result.out.starts_with(std::string(one.id) + ": " + std::string(one.title))) << one.id;
	}
	EXPECT_NE(run("explain section-wrap").err.find("did you mean \"section-wraps\"?"), std::string::npos);
	EXPECT_NE(run("explain").out.find("\nsection-wraps"), std::string::npos);
}

TEST_F(cli, help_and_version_go_to_standard_output)
{
	for (const auto *arguments :
	     {"--help", "check --help", "compile --help", "simulate --help", "map --help", "explain --help", "--version"}) {
		const auto result = run(arguments);
		EXPECT_EQ(result.status, 0) << arguments;
		EXPECT_NE(result.out, "") << arguments;
		EXPECT_EQ(result.err, "") << arguments;
	}
}

// ---------------------------------------------------------------------------------------------------------------- documents

TEST_F(cli, the_page_of_rules_is_up_to_date)
{
	expect_golden(run("explain --markdown").out, REPOSITORY_DIR "/docs/board-rules.md", "rules");
}

// The partitions that board/run gives to the board's kernel.
std::string demo_partitions()
{
	const auto script = fixtures::read(REPOSITORY_DIR "/board/run");
	std::smatch found;

	if (!std::regex_search(script, found, std::regex("\"(mtdparts=[^\"]*)\"")))
		throw std::runtime_error("board/run names no partitions");
	return found[1];
}

TEST_F(cli, the_picture_of_the_demo_board_is_up_to_date)
{
	const auto arguments = "map '" REPOSITORY_DIR "/board/xml/plain.xml' --mtdparts '" + demo_partitions() + "' -o ";

	ASSERT_EQ(run(arguments + "'" + path("map.svg") + "'").status, 0);
	expect_golden(fixtures::read(path("map.svg")), REPOSITORY_DIR "/docs/demo-board.svg", "pictures");
}

TEST_F(cli, the_demo_boards_have_no_findings)
{
	for (const auto *name : {"plain", "variants", "cards"})
		EXPECT_EQ(run("check '" REPOSITORY_DIR "/board/xml/" + std::string(name) + ".xml' --mtdparts '" + demo_partitions() + "'")
				  .status,
			  0)
			<< name;
}

std::string without_markup(std::string page)
{
	return std::regex_replace(page, std::regex("\\\\-"), "-");
}

TEST_F(cli, every_option_of_the_help_is_in_the_manual_page)
{
	const auto page = without_markup(fixtures::read(REPOSITORY_DIR "/docs/man/flash-board.1"));
	const std::regex option("--[a-z]+(-[a-z]+)*");
	std::size_t options = 0;

	for (const auto *command : {"", "compile", "check", "simulate", "map", "diff", "report", "explain"}) {
		const auto help = run(std::string(command) + " --help").out;
		EXPECT_NE(page.find(command), page.npos);
		for (auto at = std::sregex_iterator(help.begin(), help.end(), option); at != std::sregex_iterator(); ++at, options++)
			EXPECT_NE(page.find(at->str()), page.npos) << command << " " << at->str();
	}
	EXPECT_GE(options, 15u);
}

TEST_F(cli, every_option_of_the_manual_page_is_in_the_help)
{
	const auto page = without_markup(fixtures::read(REPOSITORY_DIR "/docs/man/flash-board.1"));
	const std::regex option("--[a-z]+(-[a-z]+)*");
	std::string help;

	for (const auto *command : {"", "compile", "check", "simulate", "map", "diff", "report", "explain"})
		help += run(std::string(command) + " --help").out;
	for (auto at = std::sregex_iterator(page.begin(), page.end(), option); at != std::sregex_iterator(); ++at)
		EXPECT_NE(help.find(at->str()), help.npos) << at->str();
}

} // namespace
